// Standard output of a search, which a reader that has stopped reading must not hold up when the
// search is asked to stop. Private to the engine.
#ifndef VESK_EXPLORATION_STANDARD_OUTPUT_HPP
#define VESK_EXPLORATION_STANDARD_OUTPUT_HPP

#include <cstddef>

namespace Vesk {

// Hands everything over that was printed, and waits until it is taken. When a request to stop has
// been waiting for too long, it is dropped, with all that follows.
void flushOutput();

// Called before so many characters are printed. Makes room for them, so that printing them does not
// block.
void makeOutputRoom(std::size_t length);

}  // namespace Vesk

#endif
