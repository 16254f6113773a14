// A heap of numbered things by a key, from which any of them can be taken out. Private to the
// engine.
#ifndef VESK_KEYED_HEAP_HPP
#define VESK_KEYED_HEAP_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vesk {

// The smallest key is at the top. Things are numbered from 0, and the heap remembers where each of
// them is, so that it keeps room for the largest number it has seen. Each cell has four below it: a
// way down is half as long as with two and meets fewer lines of the cache.
template <class Key>
class KeyedHeap {
 public:
  using Id = std::uint32_t;

  bool empty() const { return mCells.empty(); }
  std::size_t size() const { return mCells.size(); }
  bool has(Id id) const { return id < mPlaces.size() && mPlaces[id] != NOWHERE; }
  // Requires: not empty.
  Id top() const { return mCells[0].id; }
  const Key& topKey() const { return mCells[0].key; }

  // What will be at the top without its present thing. Requires: two are in the heap.
  Id second() const {
    std::size_t least = 1;
    for (std::size_t other = 2; other <= WAYS && other < mCells.size(); ++other) {
      if (mCells[other].key < mCells[least].key) least = other;
    }
    return mCells[least].id;
  }
  // Its place will be needed.
  void comesNear(Id id) const { __builtin_prefetch(&mPlaces[id]); }

  void clear() {
    mCells.clear();
    mPlaces.clear();
  }
  // Makes room, so that things with numbers below this one need no memory.
  void reserve(std::size_t count) {
    mCells.reserve(count);
    mPlaces.reserve(count);
  }
  // Requires: it is not in the heap.
  void add(Id id, const Key& key) {
    if (id >= mPlaces.size()) mPlaces.resize(id + std::size_t{1}, NOWHERE);
    mCells.push_back({key, id});
    rise(mCells.size() - 1, {key, id});
  }
  // Nothing when it is not in the heap.
  void remove(Id id) {
    if (!has(id)) return;
    const std::size_t gap = mPlaces[id];
    mPlaces[id] = NOWHERE;
    const Cell last = mCells.back();
    mCells.pop_back();
    if (gap == mCells.size()) return;
    if (gap > 0 && last.key < mCells[(gap - 1) / WAYS].key) {
      rise(gap, last);
    } else {
      sink(gap, last);
    }
  }
  // Appends the things that have the key of the top, in any order. Requires: not empty.
  void gatherTop(std::vector<Id>& found) const {
    const std::size_t begin = found.size();
    const Key key = topKey();
    found.push_back(0);  // places first, which are replaced by the things at the end
    for (std::size_t next = begin; next < found.size(); ++next) {
      const std::size_t below = WAYS * std::size_t{found[next]} + 1;
      for (std::size_t place = below; place < below + WAYS && place < mCells.size(); ++place) {
        if (!(key < mCells[place].key)) found.push_back(static_cast<Id>(place));
      }
    }
    for (std::size_t i = begin; i < found.size(); ++i) found[i] = mCells[found[i]].id;
  }

 private:
  static constexpr std::size_t WAYS = 4;
  static constexpr std::size_t FAR = 1000;  // cells from which on the cache has few
  static constexpr Id NOWHERE = ~Id{0};

  struct Cell {
    Key key;
    Id id;
  };

  void put(std::size_t place, const Cell& cell) {
    mCells[place] = cell;
    mPlaces[cell.id] = static_cast<Id>(place);
  }
  void rise(std::size_t place, const Cell& cell) {
    while (place > 0 && cell.key < mCells[(place - 1) / WAYS].key) {
      put(place, mCells[(place - 1) / WAYS]);
      place = (place - 1) / WAYS;
    }
    put(place, cell);
  }
  // All that can come after the cells from a place on, as a way goes on from one of them.
  void comeNear(std::size_t below) const {
    const std::size_t first = WAYS * below + 1;
    if (first < FAR || first + WAYS * WAYS > mCells.size()) return;
    for (std::size_t i = 0; i < WAYS; ++i) __builtin_prefetch(&mCells[first + WAYS * i]);
  }
  void sink(std::size_t place, const Cell& cell) {
    for (std::size_t below = WAYS * place + 1; below < mCells.size(); below = WAYS * place + 1) {
      comeNear(below);
      std::size_t least = below;
      for (std::size_t other = below + 1; other < below + WAYS && other < mCells.size(); ++other) {
        if (mCells[other].key < mCells[least].key) least = other;
      }
      if (!(mCells[least].key < cell.key)) break;
      put(place, mCells[least]);
      place = least;
    }
    put(place, cell);
  }

  std::vector<Cell> mCells;
  std::vector<Id> mPlaces;  // by number
};

}  // namespace Vesk

#endif
