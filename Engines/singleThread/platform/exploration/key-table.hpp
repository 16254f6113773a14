// The states that an exploration has found, each stored once, as its key. Private to the engine.
#ifndef VESK_EXPLORATION_KEY_TABLE_HPP
#define VESK_EXPLORATION_KEY_TABLE_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "exploration/key-layout.hpp"
#include "exploration/pending-state.hpp"
#include "exploration/words.hpp"

namespace Vesk {

// Keys of equal length, numbered in the order in which they are added, and a table of open
// addressing that finds the number of a hash. What makes two states equal is the user's business.
class KeyTable {
 public:
  static constexpr StateNumber MOST = UINT32_MAX - 1;

  explicit KeyTable(std::size_t bytes);

  StateNumber count() const { return mCount; }
  const unsigned char* key(StateNumber number) const {
    return mChunks[number >> mShift].get() + (number & ((1u << mShift) - 1)) * mBytes;
  }
  // What is kept of a hash.
  static std::uint32_t folded(std::uint64_t hash) {
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
  }
  // Bring what find() is going to look at into the cache: first the slot of a folded hash, then,
  // when that is there, the key that it names. A call that is not inline would be removed, since it
  // has no result.
  __attribute__((always_inline)) void prefetchSlot(std::uint32_t wanted) const {
    __builtin_prefetch(&mSlots[wanted & mLast]);
  }
  __attribute__((always_inline)) void prefetchKey(std::uint32_t wanted) const {
    std::size_t slot = wanted & mLast;
    while (mSlots[slot].used != 0 && mSlots[slot].hash != wanted) slot = (slot + 1) & mLast;
    if (mSlots[slot].used == 0) return;
    const unsigned char* start = key(mSlots[slot].used - 1);
    __builtin_prefetch(start);
    __builtin_prefetch(start + mBytes - 1);
  }
  // Whether the state has this key.
  bool holds(StateNumber number, const unsigned char* key) const;
  // The state with this hash for which isThis(number) holds; count() when there is none.
  template <class IsThis>
  StateNumber find(std::uint64_t hash, IsThis isThis) const {
    const std::uint32_t wanted = folded(hash);
    for (std::size_t slot = wanted & mLast; mSlots[slot].used != 0; slot = (slot + 1) & mLast) {
      if (mSlots[slot].hash == wanted && isThis(mSlots[slot].used - 1))
        return mSlots[slot].used - 1;
    }
    return mCount;
  }
  // Gives a key, which is not there, the next number. Throws std::length_error when there are too
  // many; nothing is changed then, nor when there is no memory.
  void add(const unsigned char* key, std::uint64_t hash);
  // Finds the states by other hashes from now on.
  template <class HashOf>
  void rehash(HashOf hashOf) {
    mSlots = makeSlots(mLast + 1);
    for (StateNumber number = 0; number < mCount; ++number) {
      put({folded(hashOf(number)), number + 1});
    }
  }
  // Gives the keys another layout.
  void convert(const KeyLayout& from, const KeyLayout& to);

 private:
  struct Slot {
    std::uint32_t hash;
    std::uint32_t used;  // the state's number plus 1; 0: a free slot
  };
  using Chunk = std::unique_ptr<unsigned char[]>;

  static std::unique_ptr<Slot[]> makeSlots(std::size_t count);
  void addChunk();
  void put(const Slot& added);
  void grow();
  void takeBytes(std::size_t bytes);
  std::size_t chunkBytes() const { return mBytes << mShift; }

  std::size_t mBytes;   // of a key
  unsigned int mShift;  // a chunk has 2^mShift keys
  StateNumber mCount = 0;
  std::vector<Chunk> mChunks;
  std::unique_ptr<Slot[]> mSlots;  // at most three quarters full
  std::size_t mLast;               // slot; their number is a power of two
};

// Eight bytes at a time. The last ones are compared with some before them once more.
inline bool KeyTable::holds(StateNumber number, const unsigned char* key) const {
  const unsigned char* own = this->key(number);
  if (mBytes < WORD) return std::equal(own, own + mBytes, key);
  const std::size_t last = mBytes - WORD;
  for (std::size_t i = 0; i < last; i += WORD) {
    if (wordAt(own + i) != wordAt(key + i)) return false;
  }
  return wordAt(own + last) == wordAt(key + last);
}

}  // namespace Vesk

#endif
