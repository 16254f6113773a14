/* What a plugin has, and how it ends the host. */
#ifndef VESK_TEST_LTSMIN_DLOPEN_API_H
#define VESK_TEST_LTSMIN_DLOPEN_API_H

#include <ltsmin/pins.h>

void ltsmin_abort(int code) __attribute__((noreturn));

extern char pins_plugin_name[];
void pins_model_init(model_t model);

#endif
