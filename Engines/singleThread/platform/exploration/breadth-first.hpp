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
  template <class Space>
  void takeOneOf(Space& space);
  template <class Space>
  void lookAt(Space& space, const PendingState& state);
  void put(PendingState state);
  template <class Space>
  void writeState(Space& space, const PendingState& state);
  void meetDeadlock(const PendingState& state);
  template <class Space>
  void expand(Space& space, const PendingState& state, Transition& transition);
  template <class Space>
  bool follow(Space& space, const PendingState& state, const Transition& transition);
  template <class Space>
  void arrive(Space& space);

  std::deque<PendingState> mQueue;  // states whose transitions have still to be taken
};

}  // namespace Vesk

#endif
