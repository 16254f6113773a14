// Where the nodes of state trees get their memory. A source of its own, because compilers that see
// both halves at once take the pool for a mismatch of new and delete.
#include <cstddef>
#include <new>

#include "states.hpp"

namespace {

// A sanitizer has to see every block come and go.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t POOLED_SIZE = 0;
#else
constexpr std::size_t POOLED_SIZE = 64;
#endif
constexpr std::size_t GRAIN = 16;

struct FreeBlock {
  FreeBlock* next;
};

// Per size in grains, the blocks that wait for their next object.
FreeBlock* freeBlocks[POOLED_SIZE / GRAIN + 1] = {};

std::size_t grains(std::size_t size) {
  return (size + GRAIN - 1) / GRAIN;
}

}  // namespace

void* Vesk::Pooled::operator new(std::size_t size) {
  if (size > POOLED_SIZE) return ::operator new(size);
  FreeBlock*& first = freeBlocks[grains(size)];
  if (first == nullptr) return ::operator new(grains(size) * GRAIN);
  FreeBlock* block = first;
  first = block->next;
  return block;
}

void* Vesk::Pooled::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return ::operator new(grains(size) * GRAIN, std::nothrow);
}

void Vesk::Pooled::operator delete(void* block, std::size_t size) noexcept {
  if (block == nullptr) return;
  if (size > POOLED_SIZE) return ::operator delete(block);
  FreeBlock*& first = freeBlocks[grains(size)];
  first = new (block) FreeBlock{first};
}
