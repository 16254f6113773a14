// Memory that a search reads at random places. Private to the engine.
#ifndef VESK_EXPLORATION_MEMORY_HPP
#define VESK_EXPLORATION_MEMORY_HPP

#include <cstddef>

namespace Vesk {

// Asks the system for large pages, which make random reads cheaper, if the block is large. Best
// before it is used for the first time. That the system has none does not matter.
void preferLargePages(void* block, std::size_t bytes);

}  // namespace Vesk

#endif
