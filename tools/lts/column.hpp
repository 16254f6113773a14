// A growing array of numbers for very many of them.
#ifndef VESK_LTS_COLUMN_HPP
#define VESK_LTS_COLUMN_HPP

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace Vesk::Lts {

// Large blocks are moved by the system and not copied when they grow, and the room behind the last
// element takes no memory until it is used. So a column never needs much more than its elements.
template <class T>
class Column {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  Column() = default;
  // Of zeros.
  explicit Column(std::size_t size) { resize(size); }
  Column(Column&& other) noexcept { swap(other); }
  Column& operator=(Column&& other) noexcept {
    swap(other);
    return *this;
  }
  Column(const Column&) = delete;
  Column& operator=(const Column&) = delete;
  ~Column() { std::free(mData); }

  std::size_t size() const { return mSize; }
  bool empty() const { return mSize == 0; }
  T* data() { return mData; }
  const T* data() const { return mData; }
  T& operator[](std::size_t at) { return mData[at]; }
  const T& operator[](std::size_t at) const { return mData[at]; }
  T& back() { return mData[mSize - 1]; }
  const T* begin() const { return mData; }
  const T* end() const { return mData + mSize; }

  void push(T value) {
    if (mSize == mCapacity) reserve(mSize < 16 ? 32 : mSize * 2);
    mData[mSize++] = value;
  }
  void append(const T* values, std::size_t count) {
    if (count > mCapacity - mSize) reserve((mSize + count) * 2);
    if (count != 0) std::memcpy(mData + mSize, values, count * sizeof(T));
    mSize += count;
  }
  // New elements are zero.
  void resize(std::size_t size) {
    if (size > mCapacity) reserve(size < mSize * 2 ? mSize * 2 : size);
    if (size > mSize) std::memset(static_cast<void*>(mData + mSize), 0, (size - mSize) * sizeof(T));
    mSize = size;
  }
  // Gives unused room back.
  void trim() {
    if (mSize != 0 && mSize != mCapacity) allocate(mSize);
  }
  void clear() {
    std::free(mData);
    mData = nullptr;
    mSize = mCapacity = 0;
  }

 private:
  void swap(Column& other) {
    std::swap(mData, other.mData);
    std::swap(mSize, other.mSize);
    std::swap(mCapacity, other.mCapacity);
  }
  void reserve(std::size_t capacity) {
    if (capacity > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T)) throw std::bad_alloc();
    allocate(capacity);
  }
  void allocate(std::size_t capacity) {
    void* data = std::realloc(static_cast<void*>(mData), capacity * sizeof(T));
    if (data == nullptr) throw std::bad_alloc();
    mData = static_cast<T*>(data);
    mCapacity = capacity;
  }

  T* mData = nullptr;  // malloc
  std::size_t mSize = 0;
  std::size_t mCapacity = 0;
};

}  // namespace Vesk::Lts

#endif
