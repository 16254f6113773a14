// The headers of LTSmin, as installed where the plugin is built. Private to the plugin.
#ifndef VESK_PINS_LTSMIN_INTERFACE_HPP
#define VESK_PINS_LTSMIN_INTERFACE_HPP

// What they include is for C++ as well and must not be included within the block.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

extern "C" {
#include <ltsmin/dlopen-api.h>
#include <ltsmin/pins-util.h>
#include <ltsmin/pins.h>
}

#endif
