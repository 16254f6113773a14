// Global states as trees that mirror the component tree: a Nonleaf per compound, a Leaf with one
// text per atom, and the helpers with which generated code writes an atom's variables into that
// text and reads them back.
//
// An atom writes its values one after the other and reads them in the same order. The engine puts
// the texts of all atoms together without separators and takes equal texts for equal states, so
// each atom must mark where its values end; the comma before each value does:
//
//     // In getState(): ",3,T" for three cups and brewing.
//     Node* write(int cups, bool brewing) {
//       char text[32] = "";
//       setVariableState(text, "cups", cups);
//       setVariableState(text, "brewing", brewing);
//       return new Leaf(new Atomleaf(text));
//     }
//
//     // In setState(): each reader takes a value and the comma behind it.
//     void read(Node* state, int& cups, bool& brewing) {
//       char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;
//       cups = getIntVariableState(cursor);
//       brewing = getBoolVariableState(cursor);
//     }
#ifndef VESK_STATES_HPP
#define VESK_STATES_HPP

#include <cstddef>
#include <new>

class Leaf;

// Set by Compound::getState() when an atom's text contains "ERROR" or, with precedence, "PRUNE";
// model code may set them too. Exploration clears them around every transition and reads them.
extern bool global_error;
extern bool global_prune;
// The leaf that set one of the flags, or null. Not owned. Explorations show its text as the faulty
// atom and set it to null when its tree is deleted.
extern Leaf* faulty_leaf;

namespace Vesk {

// Base of small objects that are made and deleted in great numbers: a freed block is kept for the
// next object of its size. Not thread-safe.
class Pooled {
 public:
  // Take a kept block, or a new one from the heap; give it back to be kept. Blocks of classes with
  // a stricter alignment than usual are not kept.
  static void* operator new(std::size_t size);
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
  static void* operator new(std::size_t size, std::align_val_t alignment);
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* block, std::size_t size) noexcept;
  static void operator delete(void* block, std::size_t size, std::align_val_t alignment) noexcept;
  static void operator delete(void*, void*) noexcept {}

 private:
  // A sanitizer has to see every block come and go.
#if defined(__SANITIZE_ADDRESS__)
  static constexpr std::size_t POOLED_SIZE = 0;
#else
  static constexpr std::size_t POOLED_SIZE = 64;
#endif

  struct FreeBlock {
    FreeBlock* next;
  };
  // The blocks of one size. Every one has come from the global operator new for exactly this size,
  // whoever has asked for it: an object that a model made by that may end here, and one made here
  // may end by the global operator delete.
  struct Blocks {
    FreeBlock* free;   // waiting for their next object
    std::size_t used;  // given to objects that have not ended here; what ends beyond was not made
                       // here
  };

  // Larger objects, and sizes that no class of the engine has, come from the heap and go back to
  // it.
  static bool isPooled(std::size_t size) {
    return size <= POOLED_SIZE && size % sizeof(FreeBlock) == 0;
  }
  // From and to the heap. Not inline: compilers that see both halves of the pool at once take it
  // for a mismatch of new and delete.
  static void* makeBlock(std::size_t size);
  static void endBlock(void* block) noexcept;

  // Never given back to the heap: the next search needs the same blocks again.
  static Blocks sPool[64 / sizeof(FreeBlock) + 1];  // by size
};

}  // namespace Vesk

// The state text of one atom: all that a search compares and writes of it, and all from which the
// atom can be restored. Texts of up to 23 characters need no memory of their own, so short texts
// make a search faster; a line end in a text makes the list of states hard to read. Null texts are
// allowed and count as empty ones.
class Atomleaf : public Vesk::Pooled {
 public:
  // No text: getVal() is null.
  Atomleaf() : value(nullptr) {}
  // Copies the text; null stays null.
  Atomleaf(const char* text);
  // Copies the other one's text.
  Atomleaf(const Atomleaf& other);
  Atomleaf& operator=(const Atomleaf&) = delete;
  virtual ~Atomleaf();

  // The text, owned by this object; null when none was ever given.
  char* getVal() const { return value; }
  // Replaces the text by a copy of the given one, which may be this object's own.
  void setVal(const char* text);
  // 0 when the texts are equal, else 1.
  int compare(const Atomleaf* other) const;
  // The first character, sign-extended to 32 bits, modulo size; 0 for size 0.
  unsigned int hash(unsigned int size) const;
  // A new object with the same text, which the caller owns. Not virtual: a copy of an object of a
  // derived class is a plain Atomleaf.
  Atomleaf* copy() const;

 protected:
  char* value;  // mShort, or new[] for longer texts, or null; deleted by the destructor

 private:
  char* copyOf(const char* text);
  static char* copyOfLong(const char* text);

  char mShort[24];
};

// A global state or a part of one.
class Node : public Vesk::Pooled {
 public:
  // For derived classes, which are Leaf and Nonleaf alone: code that asks isLeaf() converts to
  // these.
  Node(bool leaf, unsigned int number = 0) : index(number), isleaf(leaf), nOutTrans(0) {}
  Node& operator=(const Node&) = delete;
  virtual ~Node() {}

  // Slot order is fixed: generated code is built against it.
  // 0 when the other tree has the same shape and the same texts, else 1. A null tree differs.
  virtual int compare(Node* other) const = 0;
  // A number below size; 0 for size 0.
  virtual unsigned int hash(unsigned int size) const = 0;
  // A deep copy that the caller owns, with the same index and no outgoing transitions. A model that
  // wants to keep a state that an exploration gives it keeps a copy: the tree is deleted when the
  // search has done with the state.
  virtual Node* copy() = 0;

  // A number that the owner may give the state; 0 at first. An exploration numbers the states that
  // it finds from 0.
  unsigned int getIndex() const { return index; }
  void setIndex(unsigned int number) { index = number; }
  bool isLeaf() const { return isleaf; }
  // Transitions out of the state that a depth-first search has still to take; 0 at first and in
  // copies.
  int outTrans() const { return nOutTrans; }
  void resetOutTrans() { nOutTrans = 0; }
  void incrOutTrans() { ++nOutTrans; }
  void decrOutTrans() { --nOutTrans; }

  // True for the same shape and leaves that hold the very same Atomleaf objects. Deliberate: equal
  // texts do not count, because compare() compares texts.
  // (docs/decisions/0018-two-ways-to-compare-states.md)
  bool equals(Node* other);
  // True when compare() gives 0.
  bool operator==(Node& other);
  // The texts of all leaves in order, without separators. The caller releases the text with free().
  // A missing child adds nothing and is reported on standard error.
  char* printNode() const;

  // Readers of one value from a state text; they move the cursor past the value and its separator,
  // as getVariableState(), getIntVariableState(), getFloatVariableState() and
  // getBoolVariableState() below do.
  static char* string2veskState(char*& cursor);  // the caller releases the text with free()
  static char* string2objState(char*& cursor);   // the caller releases the text with free()
  static int string2int(char*& cursor);
  static float string2float(char*& cursor);
  static bool string2bool(char*& cursor);
  static bool string2bool(const char* text);  // looks at the first character of a text of its own

 protected:
  Node(const Node& other) : index(other.index), isleaf(other.isleaf), nOutTrans(0) {}

  unsigned int index;
  bool isleaf;
  int nOutTrans;
};

// The state of an atom, as Atom::getState() gives it.
class Leaf : public Node {
 public:
  // Takes ownership of the atom's text. Null is allowed and counts as an empty text.
  Leaf(Atomleaf* text);
  // A copy with a text of its own and the same index.
  Leaf(const Leaf& other);
  ~Leaf() override;
  int compare(Node* other) const override;
  unsigned int hash(unsigned int size) const override;
  Node* copy() override;

  Atomleaf* getAleaf() const { return aleaf; }
  // Takes ownership; the previous text is destroyed. Giving the present one again does nothing.
  void setAleaf(Atomleaf* text);

 protected:
  Atomleaf* aleaf;  // owned
};

// The state of a compound: the states of its parts, in the order of its components, as
// Compound::getState() makes it. Null children are allowed; in texts they are left out. A model
// that overrides getState() or setState() of a compound overrides both.
class Nonleaf : public Node {
 public:
  // A node with n null children, which the owner then sets; none for n below 1.
  Nonleaf(int n);
  // A deep copy with the same index.
  Nonleaf(const Nonleaf& other);
  ~Nonleaf() override;
  int compare(Node* other) const override;
  unsigned int hash(unsigned int size) const override;
  Node* copy() override;

  // Requires for both: 0 <= i < getNumChild(). Children are owned; setChild does not delete the
  // child it replaces, which belongs to the caller from then on.
  Node* getChild(int i) const { return children[i]; }
  void setChild(Node* node, int i) { children[i] = node; }
  int getNumChild() const { return numChild; }
  // Leaves in the whole tree; 0 when there are none.
  // Null children count as none.
  int getNumLeaf() const;
  // Leaf number pos of a node whose children are all leaves; null when there is none. Deliberate:
  // on deeper trees the index is decreased by the position of a child, not by the leaves before it,
  // because this is made for nodes whose children are all leaves.
  // (docs/decisions/0019-leaves-are-found-by-position.md)
  Leaf* getLeaf(int pos);

 protected:
  int numChild;
  Node** children;  // new[]; the children are owned
};

// Writers: append one value to the state text in st, a buffer of the caller that holds a text
// already, at first an empty one, and is large enough: nothing looks at its size. A null buffer is
// left alone. The name, for the reader of the model, is not written. The separator "," stands
// before a value, and after the "T" or "F" of a control place.
void setVariableState(char* st, const char* varName, const char* value);  // no separator
void setVariableState(char* st, const char* varName, bool value);         // ",T" or ",F"
void setVariableState(char* st, const char* varName, int value);
void setVariableState(char* st, const char* varName, float value);  // six decimals
void setStatePlace(char* st, const char* placeName, bool value);    // "T," or "F,"

// Readers: consume one value and the separator that follows it, and move the cursor. At the end of
// the text they give null, 0, 0.0 and false, and the cursor stays. The text up to the token
// character; the caller releases it with free(). SIZE is the expected length and no limit.
char* vesk_strtok(char*& start, char token, int SIZE);
char* getVariableState(char*& cursor);  // the caller releases the text with free()
int getIntVariableState(char*& cursor);
float getFloatVariableState(char*& cursor);
bool getBoolVariableState(char*& cursor);  // false for "F", true for any other letter

// ---- What models call for every state -----------------------------------------------------------

// A search makes a Leaf and an Atomleaf for every atom whenever it reads a state, and ends them as
// soon as it has looked the state up. So these are inline: most blocks come from the pool and go
// back to it without a call, and most texts are a few characters long, which lie in the object
// itself. The library has each of them too, for models that were compiled without them.
#ifndef VESK_STATES_INLINE
#define VESK_STATES_INLINE inline
#endif

VESK_STATES_INLINE void* Vesk::Pooled::operator new(std::size_t size) {
  if (!isPooled(size)) return makeBlock(size);
  Blocks& blocks = sPool[size / sizeof(FreeBlock)];
  FreeBlock* block = blocks.free;
  if (block == nullptr) return makeBlock(size);
  ++blocks.used;
  blocks.free = block->next;
  return block;
}

VESK_STATES_INLINE void Vesk::Pooled::operator delete(void* block, std::size_t size) noexcept {
  if (block == nullptr) return;
  if (!isPooled(size)) return endBlock(block);
  Blocks& blocks = sPool[size / sizeof(FreeBlock)];
  if (blocks.used == 0) return endBlock(block);
  --blocks.used;
  blocks.free = new (block) FreeBlock{blocks.free};
}

VESK_STATES_INLINE Atomleaf::Atomleaf(const char* text) : value(copyOf(text)) {}

// The text may be a part of this object's own. Most are a few characters long.
VESK_STATES_INLINE char* Atomleaf::copyOf(const char* text) {
  if (text == nullptr) return nullptr;
  for (std::size_t i = 0; i < sizeof mShort; ++i) {
    mShort[i] = text[i];
    if (text[i] == '\0') return mShort;
  }
  return copyOfLong(text);
}

VESK_STATES_INLINE Leaf::Leaf(Atomleaf* text) : Node(true), aleaf(text) {}

#endif
