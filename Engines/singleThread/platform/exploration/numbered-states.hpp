// The states of a model whose parts are local, known by the numbers of the texts of its atoms. Only
// what a transition touches is read, restored and evaluated. Private to the engine.
#ifndef VESK_EXPLORATION_NUMBERED_STATES_HPP
#define VESK_EXPLORATION_NUMBERED_STATES_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "exploration/atom-texts.hpp"
#include "exploration/key-layout.hpp"
#include "exploration/key-table.hpp"
#include "exploration/state-space.hpp"
#include "exploration/state-text.hpp"
#include "exploration/system-parts.hpp"

namespace Vesk {

// A set of numbers below a bound, visited in both directions.
class BitSet {
 public:
  explicit BitSet(std::size_t size) : mWords((size + 63) / 64, 0) {}
  bool has(std::size_t i) const { return (mWords[i / 64] >> (i % 64) & 1) != 0; }
  void set(std::size_t i, bool value = true) {
    const std::uint64_t bit = std::uint64_t{1} << (i % 64);
    mWords[i / 64] = value ? mWords[i / 64] | bit : mWords[i / 64] & ~bit;
  }
  // Takes all out, smallest first.
  template <class Visit>
  void takeAll(Visit visit) {
    for (std::size_t w = 0; w < mWords.size(); ++w) {
      for (std::uint64_t rest = mWords[w]; rest != 0; rest &= rest - 1) {
        visit(64 * w + static_cast<std::size_t>(__builtin_ctzll(rest)));
      }
      mWords[w] = 0;
    }
  }
  // The largest one below i; NONE when there is none.
  std::size_t below(std::size_t i) const {
    std::size_t w = i / 64;
    std::uint64_t word = i % 64 != 0 ? mWords[w] & ((std::uint64_t{1} << (i % 64)) - 1) : 0;
    while (word == 0) {
      if (w == 0) return NONE;
      word = mWords[--w];
    }
    return 64 * w + 63 - static_cast<std::size_t>(__builtin_clzll(word));
  }

  static constexpr std::size_t NONE = SIZE_MAX;

 private:
  std::vector<std::uint64_t> mWords;
};

// What local and repeatable states have in common. They differ in how a connector is evaluated and
// fired.
class NumberedStates : public StateSpace {
 public:
  NumberedStates(Locality kind, const Place& place, SystemParts parts);
  ~NumberedStates() override;

  StateNumber count() const override { return mTable.count(); }
  void read() override;
  Found find() override;
  PendingState keep() override { return {mFound, 0, 1, nullptr}; }
  void drop() override;
  void restore(const PendingState& state) override;
  Text restoredText(const PendingState& state) override;
  void addTransition(PendingState& state) override { ++state.outTrans; }
  void takeTransition(PendingState& state) override { --state.outTrans; }
  void settle(PendingState&) override {}
  void end(PendingState) override {}
  Text text(StateNumber number) override;
  void activate() override;
  bool firstLegal(Transition& transition) override;
  bool nextLegal(Transition& transition) override;

 protected:
  using Number = KeyLayout::Number;
  using Index = SystemParts::Index;

  // ---- What the two kinds do
  // Finds whether the connector is legal in the state that the system is in.
  virtual bool isLegal(std::size_t part) = 0;
  // Another state has been restored in which this atom shows another text.
  virtual void changed(std::size_t) {}
  // A state has been restored.
  virtual void restored() {}
  // What the evaluation of connectors depends on: they are evaluated again when it is another one.
  virtual std::uint64_t configuration(std::size_t atom) const { return number(atom); }

  const SystemParts& parts() const { return mParts; }
  const std::vector<Index>& members(std::size_t part) const {
    return mParts.connectors()[part].members;
  }
  Connector& connector(std::size_t part) const { return *mParts.connectors()[part].connector; }
  const AtomTexts& texts(std::size_t atom) const { return mTexts[atom]; }
  StateNumber restoredState() const { return mRestored; }
  // The number of the atom's text in the state that the system is in.
  Number number(std::size_t atom) const { return mLayout.get(mKey.data(), atom); }
  // The number of the text that the atom shows. There is room for it in a key then.
  Number readNumber(std::size_t atom);
  // The connector has fired: the system is in another state, in which its members have the numbers
  // that they are given now.
  void leaveBy(std::size_t part) { mFired = part; }
  void setNumber(std::size_t atom, Number number) { mLayout.set(mKey.data(), atom, number); }
  // The sum of the differences that new numbers make to the hash of the restored state.
  void setHash(std::uint64_t difference) { mHash = mBaseHash + difference; }
  std::uint64_t difference(std::size_t atom, Number number) const;
  // The state that differs by so much from the one that the system is in, for expectSlot() and
  // expectKey().
  std::uint32_t expectation(std::uint64_t difference) const {
    return KeyTable::folded(mHash + difference);
  }
  // The state is going to be looked up: some time before that, and soon.
  __attribute__((always_inline)) void expectSlot(std::uint32_t expected) const {
    mTable.prefetchSlot(expected);
  }
  __attribute__((always_inline)) void expectKey(std::uint32_t expected) const {
    mTable.prefetchKey(expected);
  }
  // Raises the flags for the state that the system is in.
  void raiseFlags() {
    if (mRaiseAnything) raiseWhatIsThere();
  }
  // The atom may have another configuration than at the last activation.
  void noteTouched(std::size_t atom);
  // Evaluates the connector at the next activation in any case.
  void markDirty(std::size_t part) { mDirty.set(part); }
  void markAllDirty();

  const Place mPlace;
  Labels mLabels;

 private:
  bool giveLegalBelow(std::size_t bound, Transition& transition) const;
  void undo();
  void enter(StateNumber number);
  void takeByte(std::size_t byte, const unsigned char* key);
  void replace(std::size_t atom, Number number);
  void raiseWhatIsThere();
  void raiseFlagsOf(std::size_t atom);
  void widen(std::size_t atom);
  void takeTextsOf(std::size_t atom);
  void goOnByText();
  void appendText(const unsigned char* key, StateText& text) const;
  void makeRow();
  void putIntoRow(std::size_t atom, Number number, char* row) const;

  static constexpr std::size_t NOTHING = SIZE_MAX;

  const SystemParts mParts;
  std::vector<AtomTexts> mTexts;                 // per atom
  std::vector<const AtomTexts::Short*> mShorts;  // per atom, by number
  std::vector<std::size_t> mLengths;             // per atom, of its longest text
  std::size_t mLongest = 0;                      // no state has a longer text
  bool mHaveOneLength = true;                    // the texts of each atom
  std::vector<char> mRow;            // the text of the restored state, if so; empty: not made yet
  std::vector<std::size_t> mPlaces;  // of the atoms in it
  KeyLayout mLayout;
  KeyTable mTable;
  std::vector<unsigned char> mBase;  // the key of the restored state
  std::vector<unsigned char> mKey;   // of the state that the system is in
  std::uint64_t mBaseHash = 0;
  std::uint64_t mHash = 0;
  StateNumber mRestored = 0;       // the restored state; at first the one that is read first
  std::size_t mFired = NOTHING;    // the connector whose members may differ from the restored state
  bool mIsEvaluatedThere = false;  // activation has looked at the state that it has led to
  StateNumber mFound = 0;

  std::vector<std::uint64_t> mEvaluated;  // per atom, its configuration at the last activation
  std::vector<Index> mTouched;            // atoms that may have another one now
  std::vector<char> mIsTouched;
  BitSet mDirty;  // connectors to evaluate
  BitSet mLegal;

  std::size_t mRaising = 0;     // atoms in the restored state for which something is raised
  Leaf* mRaised = nullptr;      // the last leaf of the states' own for which something was raised
  bool mRaiseAnything = false;  // any of the texts
  bool mArePrefixFree = true;   // the texts of each atom
  bool mAreSuffixFree = true;
  bool mByText = false;          // numbers no longer decide whether states are equal
  StateText mText;               // of the state that is looked up or written
  mutable StateText mOtherText;  // of one that is compared with it
};

}  // namespace Vesk

#endif
