// Three small containers that carry the component model: the set of port indices of one connector,
// the growable list of object pointers, and the heap of connectors by priority level. None checks
// indices in release builds; none is thread-safe.
#ifndef VESK_STRUCTURE_HPP
#define VESK_STRUCTURE_HPP

#include <cassert>
#include <cstddef>
#include <cstdlib>

namespace Vesk {

// realloc() that never gives null: exhausted memory is reported as operator new reports it. The
// caller frees with std::free.
void* reallocate(void* block, std::size_t bytes);

// strdup() that never gives null for a text: exhausted memory is reported as operator new reports
// it. A null text stays null. The caller frees with std::free.
char* duplicate(const char* text);

}  // namespace Vesk

// A set of the numbers 0 to 127: the ports of a connector that take part in an interaction. A plain
// value of four words.
class BitVector {
 public:
  static const BitVector EMPTY;   // {}
  static const BitVector SINGLE;  // {0}
  static constexpr int CAPACITY = 128;

  constexpr BitVector() : m_data{0, 0, 0, 0} {}
  // The set {i}. Requires: 0 <= i < CAPACITY.
  constexpr BitVector(int i) : m_data{word(i, 0), word(i, 1), word(i, 2), word(i, 3)} {}
  BitVector(const BitVector&) = default;
  BitVector& operator=(const BitVector&) = default;
  ~BitVector() = default;
  // The set {0, ..., n-1}. Requires: 0 <= n <= CAPACITY.
  static BitVector below(int n) {
    assert(0 <= n && n <= CAPACITY);
    BitVector set;
    unsigned int* word = set.m_data;
    for (; n >= 32; n -= 32) *word++ = ~0u;
    if (n > 0) *word = mask(n) - 1u;
    return set;
  }

  // Requires for all three: 0 <= i < CAPACITY.
  void add(int i) { m_data[index(i)] |= mask(i); }
  void rem(int i) { m_data[index(i)] &= ~mask(i); }
  // 1 when i is in the set, else 0.
  int in(int i) const { return (m_data[index(i)] & mask(i)) != 0 ? 1 : 0; }

  // Keep what is in both; take up what is in the other.
  BitVector& operator&=(const BitVector& other);
  BitVector& operator|=(const BitVector& other);

  // Deliberate: the shifts follow the printed form, in which 0 stands first. `<<` moves every
  // number i to i - n (those below n are lost), `>>` to i + n (those above 127 are lost). In place;
  // 0 changes nothing. (docs/decisions/0006-opposite-shift-operators.md)
  // Requires: 0 <= n < 32.
  BitVector& operator<<(int n);
  BitVector& operator>>(int n);

  // The same numbers.
  bool operator==(const BitVector& other) const {
    return m_data[0] == other.m_data[0] && m_data[1] == other.m_data[1] &&
           m_data[2] == other.m_data[2] && m_data[3] == other.m_data[3];
  }
  bool operator!=(const BitVector& other) const { return !(*this == other); }
  // Subset; `<` is proper subset.
  bool operator<=(const BitVector& other) const {
    return (m_data[0] & ~other.m_data[0]) == 0 && (m_data[1] & ~other.m_data[1]) == 0 &&
           (m_data[2] & ~other.m_data[2]) == 0 && (m_data[3] & ~other.m_data[3]) == 0;
  }
  bool operator<(const BitVector& other) const { return *this <= other && *this != other; }
  bool operator>=(const BitVector& other) const { return other <= *this; }
  bool operator>(const BitVector& other) const { return other < *this; }

  // A well-mixed number, equal for equal sets, for tables with a power of two of slots.
  std::size_t scattered() const;

  // A number in 0 .. n-1. Requires: n is not 0.
  unsigned int hash(unsigned int n) const;
  // Writes "[", one digit per number from 0 to the largest in the set ("0" for the empty set), then
  // "] ", to standard output.
  void print() const;

 protected:
  unsigned int m_data[4];  // number i is bit i % 32 of word i / 32

 private:
  static constexpr std::size_t index(int i) {
    assert(0 <= i && i < CAPACITY);
    return static_cast<std::size_t>(i) / 32;
  }
  static constexpr unsigned int mask(int i) { return 1u << (static_cast<unsigned int>(i) & 31u); }
  static constexpr unsigned int word(int i, std::size_t w) { return index(i) == w ? mask(i) : 0u; }
};

// A growable list of object pointers. With Owning it deletes its elements: then constructor and
// destructor of the holder stand in a source file that sees the whole element type. Never shrinks;
// elements keep their order; duplicates are allowed.
template <class T, bool Owning>
class Array {
 public:
  // A place in a list, for `for (Port* port : ports())`. It is an index, so it stays right when the
  // list grows. Requires: the list exists.
  class Iterator {
   public:
    Iterator(const Array& list, int index) : mList(&list), mIndex(index) {}
    // Requires: 0 <= index < count().
    T* operator*() const { return mList->m_elem[mIndex]; }
    Iterator& operator++() {
      ++mIndex;
      return *this;
    }
    bool operator==(const Iterator& other) const { return mIndex == other.mIndex; }
    bool operator!=(const Iterator& other) const { return mIndex != other.mIndex; }

   private:
    const Array* mList;
    int mIndex;
  };

  // An empty list with room for n elements.
  Array(int n) : m_elem(nullptr), m_count(0), m_size(n > 0 ? n : 0) {
    if (m_size > 0) reserve();
  }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  // Deletes the elements in index order (null ones are skipped, ones added meanwhile are seen),
  // then frees the list.
  ~Array() {
    if constexpr (Owning) {
      for (int i = 0; i < m_count; ++i) delete m_elem[i];
    }
    std::free(m_elem);
  }

  int count() const { return m_count; }
  // Requires: 0 <= i < count().
  T* operator[](int i) const { return m_elem[i]; }
  // All elements in index order. A loop visits those that the list has when the loop begins:
  // elements may be added meanwhile, which may move the list in memory, but are not visited.
  Iterator begin() const { return Iterator(*this, 0); }
  Iterator end() const { return Iterator(*this, m_count); }
  // Appends x.
  void add(const T* x) {
    if (m_count == m_size) resize();
    m_elem[m_count++] = const_cast<T*>(x);  // the list hands out what it was given to keep
  }
  // True when x is an element; looks through the whole list.
  bool Belongs(const T* x) const {
    for (const T* element : *this) {
      if (element == x) return true;
    }
    return false;
  }

 protected:
  T** m_elem;   // malloc; freed by the destructor
  int m_count;  // elements in use
  int m_size;   // room

 private:
  void resize() {
    m_size = m_count + m_count / 3 + 1;
    reserve();
  }
  void reserve() {
    m_elem =
        static_cast<T**>(Vesk::reallocate(m_elem, static_cast<std::size_t>(m_size) * sizeof(T*)));
  }
};

// A max-heap of objects that are not owned, ordered by getPriority(). Among equal levels the object
// put first stays nearer the top as long as no removal moves it. Never shrinks.
template <class T>
class VeskHeap {
 public:
  VeskHeap() : m_length(4), m_objects(nullptr), m_count(0) { reserve(); }
  VeskHeap(const VeskHeap&) = delete;
  VeskHeap& operator=(const VeskHeap&) = delete;
  virtual ~VeskHeap() { std::free(m_objects); }

  int getCount() const { return m_count; }

  // Inserts c. The caller marks it as queued.
  void put(const T* c) {
    if (m_count == m_length - 1) {
      m_length *= 2;
      reserve();
    }
    m_objects[++m_count] = const_cast<T*>(c);  // the heap hands out what it was given to keep
    siftUp(m_count);
  }

  // Removes and returns the object with the highest level, null when the heap is empty. The caller
  // clears its queued mark.
  T* get() {
    if (m_count == 0) return nullptr;
    T* top = m_objects[1];
    m_objects[1] = m_objects[m_count--];
    siftDown(1);
    return top;
  }

 protected:
  int m_length;   // slots of the block
  T** m_objects;  // malloc; slot 0 is unused, the children of slot k are 2k and 2k + 1
  int m_count;    // objects in the heap

 private:
  void reserve() {
    const std::size_t bytes = static_cast<std::size_t>(m_length) * sizeof(T*);
    m_objects = static_cast<T**>(Vesk::reallocate(m_objects, bytes));
  }
  int level(int slot) const { return m_objects[slot]->getPriority(); }
  void exchange(int one, int other) {
    T* object = m_objects[one];
    m_objects[one] = m_objects[other];
    m_objects[other] = object;
  }
  void siftUp(int slot) {
    for (; slot > 1 && level(slot / 2) < level(slot); slot /= 2) exchange(slot / 2, slot);
  }
  void siftDown(int slot) {
    while (2 * slot <= m_count) {
      int child = 2 * slot;
      if (child < m_count && level(child + 1) > level(child)) ++child;
      if (level(slot) >= level(child)) return;
      exchange(slot, child);
      slot = child;
    }
  }
};

#endif
