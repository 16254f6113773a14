#include "exploration/memory.hpp"

#include <sys/mman.h>

#include <cstdint>

namespace Vesk {

namespace {

constexpr std::size_t LARGE_PAGE = std::size_t{1} << 21;
constexpr std::size_t PAGE = 4096;

}  // namespace

// Whole pages of the block. The system uses a large one where it fits.
void preferLargePages(void* block, std::size_t bytes) {
  if (bytes < LARGE_PAGE) return;
  const std::size_t before = (PAGE - reinterpret_cast<std::uintptr_t>(block) % PAGE) % PAGE;
  madvise(static_cast<char*>(block) + before, (bytes - before) / PAGE * PAGE, MADV_HUGEPAGE);
}

}  // namespace Vesk
