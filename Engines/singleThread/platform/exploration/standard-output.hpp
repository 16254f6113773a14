// Standard output of a search, which a reader that has stopped reading must not hold up when the
// search is asked to stop. Private to the engine.
#ifndef VESK_EXPLORATION_STANDARD_OUTPUT_HPP
#define VESK_EXPLORATION_STANDARD_OUTPUT_HPP

#include <cstddef>

namespace Vesk {

// Hands everything over that was printed. Waits until it is taken, or until the grace after a
// request to stop is over: then it is dropped, with all that follows.
void flushOutput();

// Before so many characters are printed: afterwards they need not be handed over at once.
void makeOutputRoom(std::size_t length);

}  // namespace Vesk

#endif
