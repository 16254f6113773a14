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

  // What is remembered for a connector and the numbers of its atoms; null when nothing is.
  Outcome* find(Index part, const Number* numbers, Index members);
  // Remembers something new, which is not legal and not known. Valid until the next one is added.
  Outcome& add(Index part, const Number* numbers, Index members);

  Outcome& operator[](Index index) { return mOutcomes[index]; }
  Index indexOf(const Outcome& outcome) const {
    return static_cast<Index>(&outcome - mOutcomes.data());
  }
  const Number* before(const Outcome& outcome) const { return mNumbers.data() + outcome.numbers; }
  Number* after(const Outcome& outcome) {
    return mNumbers.data() + outcome.numbers + outcome.members;
  }

  // What all this takes.
  std::size_t bytes() const;
  void clear();

 private:
  struct Cell {
    std::uint32_t hash;
    Index used;  // the outcome's index plus 1; 0: a free cell
  };

  std::size_t cellOf(std::uint32_t hash, Index part, const Number* numbers, Index members) const;
  void grow();

  std::vector<Outcome> mOutcomes;
  std::vector<Number> mNumbers;
  std::vector<Cell> mCells{FIRST_CELLS, Cell{0, 0}};  // a power of two, at most half full
  static constexpr std::size_t FIRST_CELLS = 1024;
};

}  // namespace Vesk

#endif
