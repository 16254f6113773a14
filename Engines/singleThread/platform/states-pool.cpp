// Where the nodes of state trees get their memory. A source of its own, because compilers that see
// both halves at once take the pool for a mismatch of new and delete.
#include <cstddef>
#include <new>

#include "states.hpp"

namespace {

// A sanitizer has to see every allocation and every release.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t POOLED_SIZE = 0;
#else
constexpr std::size_t POOLED_SIZE = 64;
#endif

struct FreeBlock {
  FreeBlock* next;
};

// The blocks of one size. Every one has come from the global operator new for exactly this size,
// whoever has asked for it: an object that a model made by `::new` may end here, and one made here
// may end by `::delete`.
struct Blocks {
  FreeBlock* free;  // waiting for their next object
  std::size_t
      used;  // given to objects that have not ended here; what ends beyond was not made here
};

Blocks pool[POOLED_SIZE / sizeof(FreeBlock) + 1] = {};

bool isPooled(std::size_t size) {
  return size <= POOLED_SIZE && size % sizeof(FreeBlock) == 0;
}

}  // namespace

void* Vesk::Pooled::operator new(std::size_t size) {
  if (!isPooled(size)) return ::operator new(size);
  Blocks& blocks = pool[size / sizeof(FreeBlock)];
  FreeBlock* block = blocks.free;
  if (block == nullptr) {
    void* fresh = ::operator new(size);
    ++blocks.used;
    return fresh;
  }
  ++blocks.used;
  blocks.free = block->next;
  return block;
}

void* Vesk::Pooled::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return ::operator new(size, std::nothrow);
}

void* Vesk::Pooled::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}

void Vesk::Pooled::operator delete(void* block, std::size_t size) noexcept {
  if (block == nullptr) return;
  if (!isPooled(size)) return ::operator delete(block);
  Blocks& blocks = pool[size / sizeof(FreeBlock)];
  if (blocks.used == 0) return ::operator delete(block);
  --blocks.used;
  blocks.free = new (block) FreeBlock{blocks.free};
}

void Vesk::Pooled::operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {
  ::operator delete(block, alignment);
}
