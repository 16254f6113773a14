// The engine's interface for models; the only header that a model includes.
#ifndef VESK_HPP
#define VESK_HPP

#if defined(VESK_POINTER_BYTES) && VESK_POINTER_BYTES != __SIZEOF_POINTER__
#error "vesk was found for another word width: point PKG_CONFIG_PATH to the package of this width"
#endif

#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "debug.hpp"
#include "engine.hpp"
#include "executable.hpp"
#include "executables.hpp"
#include "filter.hpp"
#include "interaction.hpp"
#include "linux-clock.hpp"
#include "port.hpp"
#include "priority.hpp"
#include "scheduler.hpp"
#include "state-nodes.hpp"
#include "states.hpp"
#include "structure.hpp"
#include "vesk-time.hpp"

#endif
