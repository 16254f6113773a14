// The states that an exploration has found. Each is stored once, as its text; a tree is built from
// that text when the state has to be restored. Private to the engine.
#ifndef VESK_EXPLORATION_STATE_TABLE_HPP
#define VESK_EXPLORATION_STATE_TABLE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "exploration/state-text.hpp"
#include "states.hpp"

namespace Vesk {

// States are numbered from 0 in the order in which they are found.
using StateNumber = std::uint32_t;

// Blocks of memory that are filled from their start and released all at once.
class TextArena {
 public:
  // Room for so many characters, not initialised. It never moves.
  char* allocate(std::size_t length);

 private:
  std::vector<std::unique_ptr<char[]>> mBlocks;
  char* mFree = nullptr;  // in the last block
  std::size_t mRoom = 0;
};

// One tree that is filled with the texts of one state after the other. All states of a model have
// the same shape, unless the model does something special.
class StateShape {
 public:
  // Takes the shape of this tree, unless it is special: contains null or nodes of derived classes.
  void take(Node* tree);
  // Appends the text of the tree and the length of every leaf's text. False when the tree has
  // another shape; then the text is not complete.
  bool pack(const Node* tree, StateText& text, std::vector<unsigned char>& lengths) const;
  // Gives the tree the texts that were packed. It is valid until the next call, and its owner is
  // this object. Requires: pack() has given text and lengths.
  Node* unpack(const char* text, const unsigned char* lengths);

 private:
  std::unique_ptr<Node> mTree;    // null: nothing has this shape
  std::vector<Atomleaf*> mAtoms;  // of its leaves in order
  std::vector<char> mWord;
};

class StateTable {
 public:
  struct Text {
    const char* data;  // not terminated; valid as long as the table
    std::size_t length;
  };
  struct Found {
    StateNumber number;
    bool isNew;
  };

  StateTable();

  // Looks the tree's text up and adds it when it is new. The tree stays the caller's.
  Found insert(Node* tree);
  // How many states there are. The next new one gets this number.
  StateNumber count() const { return static_cast<StateNumber>(mTexts.size()); }
  // The text under which a state is known.
  Text text(StateNumber number) const { return mTexts[number]; }

  // A tree whose shape is special cannot be built again: keep() takes it from the caller when it
  // belongs to a new state that is to be restored. Others are left to the caller.
  void keep(StateNumber number, std::unique_ptr<Node>& tree);
  // The tree of a state that has not been forgotten, with the number as its index. It stays the
  // table's and is valid until the next call.
  Node* restore(StateNumber number);
  // The state will not be restored again.
  void forget(StateNumber number);
  // The kept tree of a state, or null.
  const Node* kept(StateNumber number) const;

 private:
  struct Slot {
    std::uint32_t hash;
    std::uint32_t used;  // the state's number plus 1; 0: a free slot
  };

  bool pack(Node* tree);
  StateNumber add(std::size_t slot, std::uint32_t hash);
  std::size_t find(std::uint32_t hash) const;
  bool holds(const Slot& slot, std::uint32_t hash) const;
  void grow();

  TextArena mArena;  // per state the text, then the lengths of its leaves
  std::vector<Text> mTexts;
  std::vector<Slot> mSlots;  // a power of two, at most half full
  StateShape mShape;
  std::unordered_map<StateNumber, std::unique_ptr<Node>> mKept;
  StateText mText;  // of the tree that is looked up, and the lengths of its leaves
  std::vector<unsigned char> mLengths;  // empty when the tree is special
  bool mPacked;                         // false: the tree that was looked up last is special
  Node* mRestored;                      // the tree that restore() has given last, or null
};

}  // namespace Vesk

#endif
