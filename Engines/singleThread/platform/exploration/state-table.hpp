// The states that an exploration has found, each stored once, as its text. Private to the engine.
#ifndef VESK_EXPLORATION_STATE_TABLE_HPP
#define VESK_EXPLORATION_STATE_TABLE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "exploration/state-shape.hpp"
#include "exploration/state-text.hpp"

namespace Vesk {

// Blocks of memory that are filled from their start and released all at once.
class TextArena {
 public:
  // Room for so many characters, not initialised. It never moves. WORD more can be read behind it.
  char* allocate(std::size_t length);

 private:
  std::vector<std::unique_ptr<char[]>> mBlocks;
  char* mFree = nullptr;  // in the last block
  std::size_t mRoom = 0;
};

class StateTable {
 public:
  // The largest number of states that can be told apart.
  static constexpr StateNumber MOST = UINT32_MAX - 1;

  struct Text {
    const char* data;  // not terminated; valid as long as the table
    std::size_t length;
  };
  struct Found {
    StateNumber number;
    bool isNew;
    bool isPacked;  // the tree can be built again from what the table keeps
  };

  // A search that finds more states than the given number ends by std::length_error.
  explicit StateTable(StateNumber most = MOST);

  // Looks the tree's text up and adds it when it is new. Missing children are reported on standard
  // error.
  Found insert(const Node* tree);
  // How many states there are. The next new one gets this number.
  StateNumber count() const { return static_cast<StateNumber>(mTexts.size()); }
  // The text under which a state is known, and the lengths of its parts when it was packed.
  Text text(StateNumber number) const { return mTexts[number]; }
  const unsigned char* lengths(StateNumber number) const {
    return reinterpret_cast<const unsigned char*>(mTexts[number].data + mTexts[number].length);
  }
  // What the packed trees have in common.
  const StateShape& shape() const { return mShape; }

 private:
  struct Slot {
    std::uint32_t hash;
    std::uint32_t used;  // the state's number plus 1; 0: a free slot
  };

  bool pack(const Node* tree);
  StateNumber add(std::size_t slot, std::uint32_t hash);
  std::size_t find(std::uint32_t hash) const;
  bool holds(const Slot& slot, std::uint32_t hash) const;
  void grow();

  const StateNumber mMost;
  TextArena mArena;  // per state the text, then the lengths of its leaves
  std::vector<Text> mTexts;
  std::vector<Slot> mSlots;  // a power of two, at most half full
  StateShape mShape;
  StateText mText;   // of the tree that is looked up
  Lengths mLengths;  // empty when the tree is not packed
};

}  // namespace Vesk

#endif
