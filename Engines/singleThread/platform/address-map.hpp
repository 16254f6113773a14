// Finds something by the address of an object. Private to the engine.
#ifndef VESK_ADDRESS_MAP_HPP
#define VESK_ADDRESS_MAP_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vesk {

// A table of open addressing that is at most half full, so that a search mostly meets one line of
// the cache. Nobody sees the order of what is in it.
template <class Value>
class AddressMap {
 public:
  // Null when there is none. Valid until something is added or removed.
  Value* find(const void* key) {
    if (mCount == 0) return nullptr;
    Cell& cell = mCells[placeOf(key)];
    return cell.key != nullptr ? &cell.value : nullptr;
  }
  // The one of a key, made when there is none yet. Requires: the key is not null.
  Value& operator[](const void* key) {
    if (2 * (mCount + 1) > mCells.size()) grow();
    Cell& cell = mCells[placeOf(key)];
    if (cell.key == nullptr) {
      cell = {key, Value()};
      ++mCount;
    }
    return cell.value;
  }
  // Nothing when there is none. What stands behind it moves up, so that searches find no gap.
  void erase(const void* key) {
    if (find(key) == nullptr) return;
    std::size_t gap = placeOf(key);
    for (std::size_t next = after(gap); mCells[next].key != nullptr; next = after(next)) {
      const std::size_t way = distance(home(mCells[next].key), next);
      if (way < distance(gap, next)) continue;
      mCells[gap] = mCells[next];
      gap = next;
    }
    mCells[gap].key = nullptr;
    --mCount;
  }
  void clear() {
    mCells.clear();
    mCount = 0;
  }

 private:
  struct Cell {
    const void* key;  // null: free
    Value value;
  };

  std::size_t last() const { return mCells.size() - 1; }
  std::size_t after(std::size_t place) const { return (place + 1) & last(); }
  std::size_t distance(std::size_t from, std::size_t to) const { return (to - from) & last(); }
  // Where a search for a key begins.
  std::size_t home(const void* key) const {
    const std::uint64_t address = reinterpret_cast<std::uintptr_t>(key);
    return static_cast<std::size_t>((address * 0x9E3779B97F4A7C15u) >> 32) & last();
  }
  // Where the key is, or would be.
  std::size_t placeOf(const void* key) const {
    std::size_t place = home(key);
    while (mCells[place].key != nullptr && mCells[place].key != key) place = after(place);
    return place;
  }
  void grow() {
    std::vector<Cell> cells(mCells.empty() ? 16 : 2 * mCells.size(), Cell{nullptr, Value()});
    mCells.swap(cells);
    for (const Cell& cell : cells) {
      if (cell.key != nullptr) mCells[placeOf(cell.key)] = cell;
    }
  }

  std::vector<Cell> mCells;  // a power of two
  std::size_t mCount = 0;
};

}  // namespace Vesk

#endif
