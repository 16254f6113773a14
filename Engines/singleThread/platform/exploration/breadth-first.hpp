// A search that looks at the states in the order in which they were found. Private to the engine.
#ifndef VESK_EXPLORATION_BREADTH_FIRST_HPP
#define VESK_EXPLORATION_BREADTH_FIRST_HPP

#include <deque>

#include "exploration/search.hpp"

namespace Vesk {

class BreadthFirst : public Search {
 public:
  using Search::Search;

 private:
  void begin() override;
  void takeOne() override;
  void endAll() override;
  void put(PendingState state);
  void writeState(const PendingState& state);
  void meetDeadlock(const PendingState& state);
  void expand(const PendingState& state, Transition& transition);
  bool follow(const PendingState& state, const Transition& transition);
  void arrive();

  std::deque<PendingState> mQueue;  // states whose transitions have still to be taken
};

}  // namespace Vesk

#endif
