// Where the nodes of state trees get their memory. A source of its own, because compilers that see
// both halves at once take the pool for a mismatch of new and delete.
#include <cstddef>
#include <new>

#include "states.hpp"

Vesk::Pooled::Blocks Vesk::Pooled::sPool[] = {};

// Counts the block when it is there.
void* Vesk::Pooled::makeBlock(std::size_t size) {
  void* fresh = ::operator new(size);
  if (isPooled(size)) ++sPool[size / sizeof(FreeBlock)].used;
  return fresh;
}

void Vesk::Pooled::endBlock(void* block) noexcept {
  ::operator delete(block);
}

void* Vesk::Pooled::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return ::operator new(size, std::nothrow);
}

void* Vesk::Pooled::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}

void Vesk::Pooled::operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {
  ::operator delete(block, alignment);
}
