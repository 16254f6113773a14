// Three small containers that carry the component model: the set of port indices of one connector,
// the growable list of object pointers, and the heap of connectors by priority level. None checks
// indices in release builds; none is thread-safe. When memory is exhausted, they throw
// std::bad_alloc.
//
// An author of a model loops over lists and asks sets:
//
//     // The ports of a connector that are enabled, by index.
//     BitVector enabledPorts(Connector& connector) {
//       BitVector enabled;
//       for (int i = 0; i < connector.ports().count(); ++i) {
//         if (connector.ports()[i]->synced()) enabled.add(i);
//       }
//       return enabled;
//     }
//
//     // What an atom does before it announces its ports.
//     void takeBackAll(Atom& atom) {
//       for (Port* port : atom.ports()) port->setSynced(false);
//     }
//
//     // Whether two interactions of one connector have a port in common.
//     bool haveCommonPort(const Interaction& one, const Interaction& other) {
//       BitVector common = one.synced();
//       common &= other.synced();
//       return common != BitVector::EMPTY;
//     }
#ifndef VESK_STRUCTURE_HPP
#define VESK_STRUCTURE_HPP

#include <cassert>
#include <cstddef>
#include <cstdlib>

namespace Vesk {

// realloc() that never gives null: exhausted memory is reported as operator new reports it. A null
// block gives a new one. The caller frees with std::free. Requires: bytes is not 0.
void* reallocate(void* block, std::size_t bytes);

// For lists: a larger block with what stands in the former one, which may be null or one from
// reallocate() and ends; exhausted memory is reported as operator new reports it. The caller frees
// with endList(), which takes the same blocks. Requires: formerBytes is the size of the former
// block, bytes that of the block.
void* growList(void* former, std::size_t formerBytes, std::size_t bytes);
void endList(void* block, std::size_t bytes) noexcept;

// strdup() that never gives null for a text: exhausted memory is reported as operator new reports
// it. A null text stays null. The caller frees with std::free. All names of components, ports and
// clocks are copied by it.
char* duplicate(const char* text);

// Marks the lists that the engine makes for its own classes. See on-demand.hpp, which is private to
// the engine.
class OnDemand;

}  // namespace Vesk

// A set of the numbers 0 to 127: the ports of a connector that take part in an interaction, each by
// its place in the list of the connector's ports. A plain value of four words: copies are cheap and
// independent, nothing is allocated, and sets can be compared.
class BitVector {
 public:
  // The empty set, and the set of number 0 alone. Both can be used while the globals of a model are
  // initialised.
  static const BitVector EMPTY;   // {}
  static const BitVector SINGLE;  // {0}
  // How many numbers a set can have, and so how many ports a connector.
  static constexpr int CAPACITY = 128;

  // The empty set. For use before anything is added; `== BitVector::EMPTY` asks for it.
  constexpr BitVector() : m_data{0, 0, 0, 0} {}
  // The set {i}, not the set of i numbers. The conversion is implicit. Requires: 0 <= i < CAPACITY.
  constexpr BitVector(int i) : m_data{word(i, 0), word(i, 1), word(i, 2), word(i, 3)} {}
  // Copies are independent sets.
  BitVector(const BitVector&) = default;
  BitVector& operator=(const BitVector&) = default;
  ~BitVector() = default;
  // The set {0, ..., n-1}, for example all ports of a connector with n ports. Requires: 0 <= n <=
  // CAPACITY.
  static BitVector below(int n) {
    assert(0 <= n && n <= CAPACITY);
    BitVector set;
    unsigned int* word = set.m_data;
    for (; n >= 32; n -= 32) *word++ = ~0u;
    if (n > 0) *word = mask(n) - 1u;
    return set;
  }

  // Put i into the set, or take it out. Nothing happens when it is in the set, or out of it,
  // already. Requires for these and for in(): 0 <= i < CAPACITY.
  void add(int i) { m_data[index(i)] |= mask(i); }
  void rem(int i) { m_data[index(i)] &= ~mask(i); }
  // 1 when i is in the set, else 0. In the guard of a connector, feasibleInter()->synced().in(i)
  // tells whether port i takes part.
  int in(int i) const { return (m_data[index(i)] & mask(i)) != 0 ? 1 : 0; }

  // Keep what is in both; take up what is in the other. In place; the other set is not changed. The
  // operand may be the set itself.
  BitVector& operator&=(const BitVector& other);
  BitVector& operator|=(const BitVector& other);

  // Deliberate: the shifts follow the printed form, in which 0 stands first. `<<` moves every
  // number i to i - n (those below n are lost), `>>` to i + n (those above 127 are lost). In place;
  // 0 changes nothing. (docs/decisions/0006-opposite-shift-operators.md)
  // Requires: 0 <= n < 32.
  BitVector& operator<<(int n);
  BitVector& operator>>(int n);

  // The same numbers, so for sets of one connector the same ports.
  bool operator==(const BitVector& other) const {
    return m_data[0] == other.m_data[0] && m_data[1] == other.m_data[1] &&
           m_data[2] == other.m_data[2] && m_data[3] == other.m_data[3];
  }
  bool operator!=(const BitVector& other) const { return !(*this == other); }
  // Subset; `<` is proper subset, `>=` and `>` are the same with the sets exchanged. This is no
  // order for sorting: of {0} and {1} none is `<=` the other.
  bool operator<=(const BitVector& other) const {
    return (m_data[0] & ~other.m_data[0]) == 0 && (m_data[1] & ~other.m_data[1]) == 0 &&
           (m_data[2] & ~other.m_data[2]) == 0 && (m_data[3] & ~other.m_data[3]) == 0;
  }
  bool operator<(const BitVector& other) const { return *this <= other && *this != other; }
  bool operator>=(const BitVector& other) const { return other <= *this; }
  bool operator>(const BitVector& other) const { return other < *this; }

  // A well-mixed number, equal for equal sets, for tables with a power of two of slots. It depends
  // on the width of std::size_t, so nothing that is printed may follow from it.
  std::size_t scattered() const;

  // A number in 0 .. n-1, equal for equal sets and on all machines: the sum of the four words, in
  // which carries are lost. Interaction::hash() uses it. Requires: n is not 0.
  unsigned int hash(unsigned int n) const;
  // Writes "[", one digit per number from 0 to the largest in the set ("0" for the empty set), then
  // "] ", to standard output: {0, 2} is "[101] ". For a look at a set while a model is debugged;
  // the engine does not call it.
  void print() const;

 protected:
  // Derived classes may read and write the words; there are no other bits.
  unsigned int m_data[4];  // number i is bit i % 32 of word i / 32

 private:
  // Where a number stands: its word, its bit there, and the word w of the set {i}.
  static constexpr std::size_t index(int i) {
    assert(0 <= i && i < CAPACITY);
    return static_cast<std::size_t>(i) / 32;
  }
  static constexpr unsigned int mask(int i) { return 1u << (static_cast<unsigned int>(i) & 31u); }
  static constexpr unsigned int word(int i, std::size_t w) { return index(i) == w ? mask(i) : 0u; }
};

// A growable list of object pointers, for all lists of the component tree. With Owning it deletes
// its elements when it is destroyed: then everything in it is made with `new`, stands there once,
// and is deleted by nobody else; constructor and destructor of the holder stand in a source file
// that sees the whole element type. Without Owning it only points, and an element that is deleted
// elsewhere stays in the list as a dangling pointer. Never shrinks, and nothing can be taken out;
// elements keep the order in which they were added, which is the order of walks and of choices;
// duplicates and null are allowed by the list, but null only where its holder says so.
template <class T, bool Owning>
class Array {
 public:
  // A place in a list, for `for (Port* port : ports())`. It is an index, so it stays right when the
  // list grows. Comparing places of different lists means nothing. Requires: the list exists.
  class Iterator {
   public:
    // begin() and end() make places.
    Iterator(const Array& list, int index) : mList(&list), mIndex(index) {}
    // The element, which may be null. Requires: 0 <= index < count().
    T* operator*() const { return mList->m_elem[mIndex]; }
    // To the next place; the end is reached behind the last element.
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

  // An empty list with room for n elements; it grows beyond them as needed. A number below 1 means
  // no room yet.
  Array(int n)
      : m_elem(static_cast<T**>(Vesk::reallocate(nullptr, bytesOf(n)))),
        m_count(0),
        m_size(n > 0 ? n : 0) {}
  // For the lists of the engine's classes, most of which stay empty or short: it has no block
  // before the first element comes, then one for two.
  explicit Array(const Vesk::OnDemand&) : m_elem(nullptr), m_count(0), m_size(0) {}
  // A list is not copied: of two with the same elements both would delete them.
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  // Deletes the elements in index order (null ones are skipped, ones added meanwhile are seen),
  // then frees the list. Without Owning it only frees the list. Destructors of elements must not
  // use the list after that.
  ~Array() {
    if constexpr (Owning) {
      for (int i = 0; i < m_count; ++i) delete m_elem[i];
    }
    if (m_elem != nullptr) Vesk::endList(m_elem, bytesOf(m_size));
  }

  // How many elements there are, null ones and duplicates included. A list that grows while a loop
  // by index runs is longer at the next look.
  int count() const { return m_count; }
  // Element number i, in the order of adding. Requires: 0 <= i < count().
  T* operator[](int i) const { return m_elem[i]; }
  // All elements in index order. A loop visits those that the list has when the loop begins:
  // elements may be added meanwhile, which may move the list in memory, but are not visited. To
  // visit those as well, count with an index up to count().
  Iterator begin() const { return Iterator(*this, 0); }
  Iterator end() const { return Iterator(*this, m_count); }
  // Appends x. A list with Owning deletes it from now on.
  void add(const T* x) {
    if (m_count == m_size) resize();
    m_elem[m_count++] = const_cast<T*>(x);  // the list hands out what it was given to keep
  }
  // True when x itself is an element; equal objects do not count. Looks through the list from its
  // start.
  bool Belongs(const T* x) const {
    for (const T* element : *this) {
      if (element == x) return true;
    }
    return false;
  }

 protected:
  // Freed by the destructor: malloc, or for a list that is made on demand a block of growList(),
  // and null while that is empty.
  T** m_elem;
  int m_count;  // elements in use
  int m_size;   // room

 private:
  static constexpr int FIRST_ROOM = 2;

  // Makes room for a third more elements, and one, so that adding costs the same on average however
  // long the list is. A list without a block was made on demand; models that were compiled before
  // there were such lists give it room for one, which works as well.
  void resize() {
    const int size = m_elem == nullptr ? FIRST_ROOM : m_count + m_count / 3 + 1;
    m_elem = static_cast<T**>(Vesk::growList(m_elem, bytesOf(m_count), bytesOf(size)));
    m_size = size;
  }
  // Of a block of so many pointers, at least one.
  static std::size_t bytesOf(int size) {
    return static_cast<std::size_t>(size > 0 ? size : 1) * sizeof(T*);
  }
};

// A max-heap of objects that are not owned, ordered by getPriority(): get() gives an object of the
// highest level. Among equal levels the object put first stays nearer the top as long as no removal
// moves it. Never shrinks. The heap of a scheduler holds connectors (Scheduler::prioHeap()); a
// level must not change while its object is in the heap.
template <class T>
class VeskHeap {
 public:
  // An empty heap.
  VeskHeap() : m_length(4), m_objects(nullptr), m_count(0) { reserve(); }
  VeskHeap(const VeskHeap&) = delete;
  VeskHeap& operator=(const VeskHeap&) = delete;
  // Frees the heap alone; its objects stay.
  virtual ~VeskHeap() { std::free(m_objects); }

  // How many objects are in the heap. An object that was inserted twice counts twice.
  int getCount() const { return m_count; }

  // Inserts c, again when it is in the heap already: the caller marks it as queued and asks for
  // that mark before it inserts. Not null.
  void put(const T* c) {
    if (m_count == m_length - 1) {
      m_length *= 2;
      reserve();
    }
    m_objects[++m_count] = const_cast<T*>(c);  // the heap hands out what it was given to keep
    siftUp(m_count);
  }

  // Removes and returns the object with the highest level, null when the heap is empty. The caller
  // clears its queued mark. Which of several objects of one level comes first depends on the order
  // of all insertions and removals, and is the same in every run.
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
  // The priority of the object in a slot.
  int level(int slot) const { return m_objects[slot]->getPriority(); }
  // Lets the objects of two slots change places.
  void exchange(int one, int other) {
    T* object = m_objects[one];
    m_objects[one] = m_objects[other];
    m_objects[other] = object;
  }
  // Moves an object up until the one above it is not lower.
  void siftUp(int slot) {
    for (; slot > 1 && level(slot / 2) < level(slot); slot /= 2) exchange(slot / 2, slot);
  }
  // Moves an object down until those below it are not higher; of two children the higher one takes
  // its place, the left one when they are equal.
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
