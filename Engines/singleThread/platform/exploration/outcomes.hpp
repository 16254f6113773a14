// What firing a connector does, remembered for the states of its atoms. Private to the engine.
#ifndef VESK_EXPLORATION_OUTCOMES_HPP
#define VESK_EXPLORATION_OUTCOMES_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "exploration/labels.hpp"

namespace Vesk {

class Outcomes {
 public:
  using Index = std::uint32_t;
  static constexpr Index NONE = UINT32_MAX;
  using Number = std::uint32_t;

  struct Outcome {
    Index part;     // the connector
    Index numbers;  // where the numbers of its atoms stand: first those before, then those after
    Index members;  // how many atoms it has
    bool isLegal;   // for the numbers before
    bool isKnown;   // what firing does: then the rest is valid
    std::uint64_t difference;  // that it makes to the hash of a state
    Label label;
  };

  // The connector and the numbers of its atoms: what an outcome is remembered for. A few small
  // numbers are their own code, in eight bits each.
  class Key {
   public:
    Key(Index part, const Number* numbers, Index members)
        : mNumbers(numbers), mMembers(members), mPart(part), mKind(2 * part + EXACT), mCode(0) {
      Number bits = 0;
      for (Index i = 0; i < members; ++i) {
        bits |= numbers[i];
        mCode = mCode << 8 | numbers[i];
      }
      if (members > sizeof mCode || bits > UINT8_MAX) mix();
    }

   private:
    friend class Outcomes;

    void mix();

    const Number* mNumbers;
    Index mMembers;
    Index mPart;
    Index mKind;          // the part, and whether different numbers have different codes
    std::uint64_t mCode;  // of the numbers
  };

  // What is remembered; NONE when nothing is.
  Index find(const Key& key) const { return mCells[cellOf(key)].used - 1; }
  // Remembers something new, which is not known.
  Index add(const Key& key, bool isLegal);

  // Valid until one is added.
  Outcome& operator[](Index index) { return mOutcomes[index]; }
  const Outcome& operator[](Index index) const { return mOutcomes[index]; }
  // The numbers of the atoms when the connector has fired.
  Number* after(const Outcome& outcome) {
    return mNumbers.data() + outcome.numbers + outcome.members;
  }

  // What all this takes.
  std::size_t bytes() const { return mBytes; }
  void clear();

 private:
  struct Cell {
    std::uint64_t code;
    Index kind;  // of the key
    Index used;  // the outcome's index plus 1; 0: a free cell
  };

  static constexpr Index EXACT = 1;

  static std::size_t hashOf(std::uint64_t code, Index kind) {
    const std::uint64_t hash = (code ^ kind * 0xC4CEB9FE1A85EC53u) * 0x9E3779B97F4A7C15u;
    return static_cast<std::size_t>(hash >> 32);
  }
  // Where the outcome is, or would be.
  std::size_t cellOf(const Key& key) const {
    const std::size_t last = mCells.size() - 1;
    std::size_t i = hashOf(key.mCode, key.mKind) & last;
    while (mCells[i].used != 0 && !isFor(mCells[i], key)) i = (i + 1) & last;
    return i;
  }
  bool isFor(const Cell& cell, const Key& key) const {
    if (cell.code != key.mCode || cell.kind != key.mKind) return false;
    return key.mKind % 2 == EXACT || hasNumbers(mOutcomes[cell.used - 1], key);
  }
  bool hasNumbers(const Outcome& outcome, const Key& key) const;
  void grow();

  std::vector<Outcome> mOutcomes;
  std::vector<Number> mNumbers;
  std::size_t mBytes = 0;
  std::vector<Cell> mCells{FIRST_CELLS, Cell{0, 0, 0}};  // a power of two, at most half full
  static constexpr std::size_t FIRST_CELLS = 1024;
};

}  // namespace Vesk

#endif
