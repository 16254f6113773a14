// The kinds of state space by name. Private to the engine.
#ifndef VESK_EXPLORATION_SPACE_KINDS_HPP
#define VESK_EXPLORATION_SPACE_KINDS_HPP

#include "exploration/local-states.hpp"
#include "exploration/repeatable-states.hpp"
#include "exploration/text-states.hpp"

namespace Vesk {

// Calls step with the space as the class that it is of. A step of a search consists of little else
// than operations of the space: these are called directly then, and most become part of the step.
template <class Step>
void withKindOf(StateSpace& space, Step step) {
  switch (space.kind()) {
    case Locality::UNDECLARED:
      return step(static_cast<TextStates&>(space));
    case Locality::LOCAL:
      return step(static_cast<LocalStates&>(space));
    case Locality::REPEATABLE:
      return step(static_cast<RepeatableStates&>(space));
  }
}

}  // namespace Vesk

#endif
