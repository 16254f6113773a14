// The memory of the parts of systems, and what the classes that models derive from say about
// theirs: a source of its own, because compilers that see both halves at once take it for a
// mismatch of new and delete.
#include "blocks.hpp"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <new>

#include "component.hpp"
#include "connector.hpp"
#include "exploration/memory.hpp"
#include "port.hpp"
#include "structure.hpp"

namespace Vesk {

Blocks::Kept* Blocks::sKept[] = {};
char* Blocks::sFree = nullptr;
char* Blocks::sEnd = nullptr;
std::size_t Blocks::sUsed = 0;
Blocks::Slab* Blocks::sSlabs = nullptr;
std::size_t Blocks::sCount = 0;
std::size_t Blocks::sRoom = 0;
bool Blocks::sLeft = false;
Blocks::Slab Blocks::sLast = {nullptr, nullptr};

namespace {

constexpr std::size_t LARGE_PAGE = std::size_t{1} << 21;
constexpr std::size_t DOUBLINGS = 7;  // from the smallest slab to the largest one

// The strictest alignment that operator new has to keep for a class of this size, which is a
// multiple of its alignment. A power of two.
std::size_t alignmentOf(std::size_t bytes) {
  return std::min<std::size_t>(bytes & (~bytes + 1), __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}

// aligned_alloc() that reports exhausted memory as operator new does.
char* allocate(std::size_t alignment, std::size_t bytes) {
  for (;;) {
    if (void* block = std::aligned_alloc(alignment, bytes)) return static_cast<char*>(block);
    // Lets the new-handler make room, and reports exhausted memory when it cannot.
    ::operator delete(::operator new(bytes));
  }
}

}  // namespace

// ---- Blocks ------------------------------------------------------------------------------------

void* Blocks::take(std::size_t bytes) {
  assert(bytes > 0 && fits(bytes));
  Kept*& kept = sKept[bytes / sizeof(Kept)];
  void* block = kept;
  if (block == nullptr) {
    block = cut(bytes);
  } else {
    kept = kept->next;
  }
  ++sUsed;
  return block;
}

void Blocks::giveBack(void* block, std::size_t bytes) {
  if (sLeft) return;
  Kept*& kept = sKept[bytes / sizeof(Kept)];
  kept = new (block) Kept{kept};
  if (--sUsed == 0 && sCount > 1) endAll();
}

// The next block of the newest slab.
void* Blocks::cut(std::size_t bytes) {
  const std::size_t alignment = alignmentOf(bytes);
  for (;;) {
    const std::size_t skipped = -reinterpret_cast<std::uintptr_t>(sFree) & (alignment - 1);
    if (static_cast<std::size_t>(sEnd - sFree) >= skipped + bytes) {
      char* const block = sFree + skipped;
      sFree = block + bytes;
      return block;
    }
    addSlab();
  }
}

// Each slab is twice as large as the one before. Changes nothing when there is no memory for it.
void Blocks::addSlab() {
  if (sCount == sRoom) makeRoom();
  const std::size_t bytes =
      std::min(SMALLEST_SLAB << std::min<std::size_t>(sCount, DOUBLINGS), LARGEST_SLAB);
  const bool large = bytes >= LARGE_PAGE;
  char* const begin = allocate(large ? LARGE_PAGE : alignof(std::max_align_t), bytes);
  if (large) preferLargePages(begin, bytes);
  Slab* place = sSlabs + sCount++;
  for (; place > sSlabs && std::less<>()(begin, place[-1].begin); --place) *place = place[-1];
  *place = {begin, begin + bytes};
  sFree = begin;
  sEnd = begin + bytes;
}

void Blocks::makeRoom() {
  const std::size_t room = 2 * sRoom + 16;
  sSlabs = static_cast<Slab*>(reallocate(sSlabs, room * sizeof(Slab)));
  sRoom = room;
}

bool Blocks::isInSlab(const void* block) {
  const Slab* const first = sSlabs;
  const Slab* const behind =
      std::upper_bound(first, first + sCount, block, [](const void* wanted, const Slab& slab) {
        return std::less<>()(wanted, static_cast<const void*>(slab.begin));
      });
  if (behind == first || !behind[-1].has(block)) return false;
  sLast = behind[-1];
  return true;
}

// All blocks are kept ones: forgets them, and all slabs.
void Blocks::endAll() {
  std::fill(std::begin(sKept), std::end(sKept), nullptr);
  for (std::size_t i = 0; i < sCount; ++i) std::free(sSlabs[i].begin);
  sCount = 0;
  sFree = sEnd = nullptr;
  sLast = {nullptr, nullptr};
}

void* newObject(std::size_t size) {
  return Blocks::fits(size) ? Blocks::take(size) : ::operator new(size);
}

void endObject(void* object, std::size_t size) noexcept {
  if (Blocks::has(object)) {
    Blocks::giveBack(object, size);
  } else {
    ::operator delete(object);
  }
}

}  // namespace Vesk

// ---- Objects of models -------------------------------------------------------------------------

void* Port::operator new(std::size_t size) {
  return Vesk::newObject(size);
}

void* Port::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return ::operator new(size, std::nothrow);
}

void* Port::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}

void Port::operator delete(void* block, std::size_t size) noexcept {
  Vesk::endObject(block, size);
}

void Port::operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {
  ::operator delete(block, alignment);
}

void* Connector::operator new(std::size_t size) {
  return Vesk::newObject(size);
}

void* Connector::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return ::operator new(size, std::nothrow);
}

void* Connector::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}

void Connector::operator delete(void* block, std::size_t size) noexcept {
  Vesk::endObject(block, size);
}

void Connector::operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {
  ::operator delete(block, alignment);
}

void* Component::operator new(std::size_t size) {
  return Vesk::newObject(size);
}

void* Component::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return ::operator new(size, std::nothrow);
}

void* Component::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}

void Component::operator delete(void* block, std::size_t size) noexcept {
  Vesk::endObject(block, size);
}

void Component::operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {
  ::operator delete(block, alignment);
}
