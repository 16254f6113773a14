// Finds the states of one system in another.
#ifndef VESK_LTS_MATCHING_HPP
#define VESK_LTS_MATCHING_HPP

#include <vector>

#include "column.hpp"
#include "exploration.hpp"
#include "graph.hpp"

namespace Vesk::Lts {

class Progress;

// States with the same text are the same. A state without a text, such as a pruned one of a
// breadth-first search, is the one that the same label leads to from the same state.
class Matching {
 public:
  static constexpr State NONE = Graph::NO_STATE;

  Matching(const Exploration& a, const Exploration& b, Progress& progress);

  State inB(State a) const { return mInB[a]; }
  State inA(State b) const { return mInA[b]; }
  // The number in A of a label of B. Labels that A does not have come behind all of A's.
  Label labelInA(Label b) const { return mLabelInA[b]; }
  // The transitions of a state with the numbers of A, sorted. Targets that A does not have are
  // NONE.
  std::vector<Edge> outOfA(State a) const;
  std::vector<Edge> outOfB(State b) const;
  // Some states without texts could not be told apart.
  bool isAmbiguous() const { return mIsAmbiguous; }

 private:
  void matchLabels();
  void matchTexts(Progress& progress);
  void walk();
  void matchTargets(State a, State b);
  void match(State a, State b);
  std::vector<Edge> freeTargets(const std::vector<Edge>& edges, const Column<State>& matched) const;
  bool canMatch(State a, State b) const;

  const Exploration& mA;
  const Exploration& mB;
  Column<State> mInB;  // of each state of A
  Column<State> mInA;  // of each state of B
  Column<std::uint8_t> mHasTextA;
  Column<std::uint8_t> mHasTextB;
  std::vector<Label> mLabelInA;  // of each label of B
  bool mIsAmbiguous = false;
};

}  // namespace Vesk::Lts

#endif
