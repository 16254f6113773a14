// Where the parts of systems get their memory. Private to the engine.
#ifndef VESK_BLOCKS_HPP
#define VESK_BLOCKS_HPP

#include <cstddef>
#include <cstdlib>
#include <functional>

// What tools have that look for leaks and stale pointers, or measure the heap: two sanitizers, and
// those of Valgrind in their place of malloc(). Null in programs without one.
extern "C" {
[[gnu::weak]] void __asan_init();                    // NOLINT(bugprone-reserved-identifier)
[[gnu::weak]] void __lsan_init();                    // NOLINT(bugprone-reserved-identifier)
[[gnu::weak]] void _vgr10010ZU_libcZdsoZa_malloc();  // NOLINT(bugprone-reserved-identifier)
}

namespace Vesk {

// Blocks of memory that stand one behind the other in slabs, without anything between them: a large
// system has a dozen for each atom, most of them small, and touches a third fewer pages than with
// blocks of the heap. A slab of a large system has large pages where there are some.
//
// A block that was given back is kept for the next one of its size. When all have been given back,
// so has their memory, but for that of small systems. Nothing is ever initialised or destroyed
// here: parts may be made before main() and end after it. Not thread-safe.
class Blocks {
 public:
  // Whether it has blocks of this size. Others, and all of them where a tool has to see every block
  // come and go, are left to the heap.
  static bool fits(std::size_t bytes) {
    return bytes <= LARGEST && bytes % sizeof(Kept) == 0 && !isWatched();
  }
  // A block that suits every class of this size, and has to be given back. Requires: fits(bytes),
  // and not 0.
  static void* take(std::size_t bytes);
  // Requires: take(bytes) has given it.
  static void giveBack(void* block, std::size_t bytes);
  // The program ends, and the system gives all memory back at once: from now on blocks and names
  // are left to it. Not where a tool would take them for lost.
  static void leaveAll() { sLeft = !isWatched(); }
  static bool areLeft() { return sLeft; }
  // Whether take() has given the block, in contrast to the heap.
  static bool has(const void* block) { return sLast.has(block) || isInSlab(block); }

 private:
  static constexpr std::size_t LARGEST = 4096;
  static constexpr std::size_t SMALLEST_SLAB = std::size_t{1} << 17;
  static constexpr std::size_t LARGEST_SLAB = std::size_t{1} << 24;

  // A block that waits for its next use.
  struct Kept {
    Kept* next;
  };
  struct Slab {
    char* begin;
    char* end;
    bool has(const void* block) const {
      const std::less<const void*> before;
      return !before(block, begin) && before(block, end);
    }
  };

  static bool isWatched() {
    return __asan_init != nullptr || __lsan_init != nullptr ||
           _vgr10010ZU_libcZdsoZa_malloc != nullptr;
  }
  static bool isInSlab(const void* block);
  static void* cut(std::size_t bytes);
  static void addSlab();
  static void makeRoom();
  static void endAll();

  static Kept* sKept[LARGEST / sizeof(Kept) + 1];  // by size
  static char* sFree;                              // the rest of the newest slab
  static char* sEnd;
  static std::size_t sUsed;  // blocks that have not been given back
  static Slab* sSlabs;       // malloc; in the order of their addresses
  static std::size_t sCount;
  static std::size_t sRoom;
  static bool sLeft;
  static Slab sLast;  // the one that has() has found last
};

// Blocks for objects of classes of models: those that do not fit are left to the global operator
// new and operator delete. An object may also come from there and end here, as those do that code
// has made which was compiled earlier.
void* newObject(std::size_t size);
void endObject(void* object, std::size_t size) noexcept;

// Ends the name of a part of a system, which may be null.
inline void endName(char* name) {
  if (!Blocks::areLeft()) std::free(name);
}

}  // namespace Vesk

#endif
