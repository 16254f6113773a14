// The texts that an atom has shown, each with a number. Private to the engine.
#ifndef VESK_EXPLORATION_ATOM_TEXTS_HPP
#define VESK_EXPLORATION_ATOM_TEXTS_HPP

#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "exploration/pending-state.hpp"

class Atom;

namespace Vesk {

class AtomTexts {
 public:
  using Number = std::uint32_t;

  // What is needed of a text all the time: its beginning, the whole of a short one, and what it
  // adds to the hash of a state.
  struct Short {
    char text[12];
    std::uint32_t length;
    std::uint64_t key;
  };

  // What is raised whenever the text is read: for the marker in it, and by the atom itself.
  struct Raised {
    bool prune = false;
    bool error = false;
    bool isOwn = false;    // the leaf is one of node(number)
    Leaf* leaf = nullptr;  // for which it is raised; null: for none
    bool anything() const { return prune || error || leaf != nullptr; }
  };

  // The position makes the keys of different atoms differ.
  AtomTexts(Atom& atom, std::size_t position) : mAtom(&atom), mPosition(position) {}
  AtomTexts(AtomTexts&&) = default;

  Atom& atom() const { return *mAtom; }
  Number count() const { return static_cast<Number>(mTexts.size()); }
  const std::string& text(Number number) const { return mTexts[number]; }
  // By number. Valid until there is a new text.
  const Short* shorts() const { return mShorts.data(); }
  std::size_t longest() const { return mLongest; }
  const Raised& raised(Number number) const { return mStates[number].raised; }
  // As the atom gave it first.
  Node* node(Number number) const { return mStates[number].node.get(); }
  // The number of the text that the atom shows now; new texts get the next one. Calls getState(),
  // and leaves the flags as they were.
  Number read();
  // Puts the atom into the state with this text.
  void restore(Number number) const;

  bool haveOneLength() const { return mHaveOneLength; }
  // No text is the beginning, or the end, of another one. Texts that stand one behind the other can
  // then be told apart from the left, or from the right.
  bool isPrefixFree() const { return mIsPrefixFree; }
  bool isSuffixFree() const { return mIsSuffixFree; }

 private:
  struct State {
    Tree node;
    Raised raised;
  };
  using Sorted = std::set<std::string_view>;
  struct Backwards {
    bool operator()(std::string_view one, std::string_view other) const;
  };
  using SortedBackwards = std::set<std::string_view, Backwards>;

  Number add(Tree node, std::string_view text);
  Number find(std::string_view text) const;
  std::size_t slotOf(std::string_view text) const;
  void index(Number number);
  void compareWithAll(std::string_view text);
  void sortAll();

  Atom* mAtom;
  std::uint64_t mPosition;
  std::deque<std::string> mTexts;  // they never move
  std::vector<State> mStates;
  std::vector<Short> mShorts;
  std::size_t mLongest = 0;
  std::vector<Number> mSlots;  // numbers plus 1 by the hash of the text; empty while there are few
  bool mIsPrefixFree = true;
  bool mIsSuffixFree = true;
  bool mHaveOneLength = true;  // then nothing has to be sorted
  Sorted mSorted;
  SortedBackwards mSortedBackwards;
};

}  // namespace Vesk

#endif
