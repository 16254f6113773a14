// A state that a search has still to look at. Private to the engine.
#ifndef VESK_EXPLORATION_PENDING_STATE_HPP
#define VESK_EXPLORATION_PENDING_STATE_HPP

#include <cstdint>
#include <memory>

#include "states.hpp"

namespace Vesk {

using Tree = std::unique_ptr<Node>;

// States are numbered from 0 in the order in which they are found.
using StateNumber = std::uint32_t;

// A state on the queue or stack of a search. Its tree is the one that the model gave; or, when
// there are many or numbers stand for texts, there is none, and the state's text stands for it.
struct PendingState {
  StateNumber number;
  unsigned int outTrans : 31;  // transitions that have still to be taken; the tree counts them too
  unsigned int isPacked : 1;   // it has no tree, its text stands for it
  Tree tree;
};

}  // namespace Vesk

#endif
