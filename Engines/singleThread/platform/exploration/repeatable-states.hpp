// The states of a model whose parts promise that what they do depends on the texts of the atoms
// alone: a connector is evaluated and fired once for each row of texts of its atoms. Private to the
// engine.
#ifndef VESK_EXPLORATION_REPEATABLE_STATES_HPP
#define VESK_EXPLORATION_REPEATABLE_STATES_HPP

#include <vector>

#include "exploration/numbered-states.hpp"
#include "exploration/outcomes.hpp"

// Tests of the forgetting set it to a small number.
#ifndef VESK_MOST_OUTCOME_BYTES
#define VESK_MOST_OUTCOME_BYTES (std::size_t{64} << 20)
#endif

namespace Vesk {

class RepeatableStates final : public NumberedStates {
 public:
  // Outcomes that take more memory than this are forgotten, all at once.
  static constexpr std::size_t MOST_BYTES = VESK_MOST_OUTCOME_BYTES;
  // What a connector with more atoms does is not remembered.
  static constexpr std::size_t MOST_MEMBERS = 32;

  RepeatableStates(const Place& place, SystemParts parts);

  void restore(const PendingState& state) override;
  void expectLegal() override;
  bool fire(const Transition& transition, Label& label) override;
  bool fireFrozen(const PendingState& state, Transition& transition, Label& label) override;
  void freeze(const Transition* legal) override;
  Transition thaw() override;
  void dropFrozen() override { mFrozen.clear(); }
  void expectFrozen(std::size_t count) const override;
  void expectFrozenNow(std::size_t count) const override;

 private:
  using Outcome = Outcomes::Outcome;

  // A frozen transition: the number of its outcome, or of its connector; and where it leads, as
  // far as that is expected.
  class Frozen {
   public:
    static Frozen none() { return Frozen(UINT32_MAX, 0); }
    static Frozen outcome(Outcomes::Index index, std::uint32_t expected) {
      return Frozen(index, expected);
    }
    static Frozen part(std::size_t part) { return Frozen(static_cast<Index>(part) | IS_PART, 0); }
    bool isNone() const { return mNumber == UINT32_MAX; }
    bool isPart() const { return (mNumber & IS_PART) != 0; }
    Index number() const { return mNumber & ~IS_PART; }
    std::uint32_t expected() const { return mExpected; }

   private:
    static constexpr Index IS_PART = Index{1} << 31;
    Frozen(Index number, std::uint32_t expected) : mNumber(number), mExpected(expected) {}
    Index mNumber;
    std::uint32_t mExpected;
  };

  bool isLegal(std::size_t part) override;
  bool isRemembered(std::size_t part) const { return members(part).size() <= MOST_MEMBERS; }
  void makeRows();
  Outcomes::Index outcomeOf(std::size_t part);
  Outcomes::Index lookUp(std::size_t part);
  void forgetIfTooMany();
  void forgetFrozen(Frozen& frozen);
  Frozen frozenOutcome(std::size_t part) const;
  void settleAtoms(std::size_t part);
  bool evaluate(std::size_t part);
  bool fireForReal(std::size_t part, Label& label);
  bool learn(std::size_t part, Outcomes::Index index, Label& label);
  bool repeat(std::size_t part, Outcomes::Index index, Label& label);

  static constexpr Number UNKNOWN = UINT32_MAX;
  static constexpr std::size_t MOST_CELLS = std::size_t{1} << 18;  // of all rows

  // Where the outcomes of a connector stand in mCells while the numbers of its atoms have at most
  // so many bits each: one behind the other these are the place in the row.
  struct Row {
    Index start;
    unsigned int bits;
  };

  std::vector<Number> mActual;  // per atom: the text that setState has given it last, or UNKNOWN
  Outcomes mOutcomes;
  std::vector<Row> mRows;  // per connector
  std::vector<Outcomes::Index> mCells;
  std::vector<Outcomes::Index> mCurrent;  // per connector, its outcome at the last activation
  std::vector<Frozen> mFrozen;
  Frozen mThawed = Frozen::none();
  std::vector<std::uint32_t> mExpected;  // of legal connectors
  Labels mKeptLabels{SIZE_MAX};          // of the outcomes
};

}  // namespace Vesk

#endif
