// The engine's interface for models; the only header that a model includes.
//
// Each header below is the manual of its area; most begin with an example. An author of a model
// needs them in this order:
//
//   component.hpp    atoms, compounds, and the hooks that a model overrides; begin here
//   port.hpp         what atoms announce and connectors join
//   connector.hpp    rendezvous and broadcasts: guards, and the transfer of data
//   vesk-time.hpp, clock.hpp, constraint.hpp    when something may happen, and how urgent it is
//   priority.hpp     who gives way to whom
//   states.hpp       how an atom writes its state down, so that all states can be explored
//   locality.hpp     what a model may promise, so that explorations are faster
//   structure.hpp    the lists of a component, and sets of ports
//   debug.hpp        how a model shows its data to the console
//
// Programs with a `main` of their own, or with policies of their own, use the other headers:
// scheduler.hpp and engine.hpp first, then filter.hpp, executables.hpp, executable.hpp,
// interaction.hpp, linux-clock.hpp and state-nodes.hpp.
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
