// A search that follows the transition found last. Private to the engine.
#ifndef VESK_EXPLORATION_DEPTH_FIRST_HPP
#define VESK_EXPLORATION_DEPTH_FIRST_HPP

#include <deque>

#include "exploration/search.hpp"

namespace Vesk {

class DepthFirst : public Search {
 public:
  using Search::Search;

 private:
  void begin() override;
  void takeOne() override;
  void endAll() override;
  const Path* path() const override { return &mPath; }
  void push(PendingState& state, const Transition& legal);
  PendingState popSource();
  void take(PendingState& state, Transition& transition);
  void expect(const PendingState& state);
  void expectTransitionsOf(const PendingState& state);
  void meetDeadlock(StateNumber state);
  void follow(PendingState& state, Transition& transition);
  void arrive(StateNumber number);
  void prune(StateNumber number);
  void writeState(StateNumber number);

  static constexpr StateNumber NO_STATE = UINT32_MAX;

  std::deque<PendingState>
      mSources;                     // of the frozen transitions, each once; the top is at the back
  StateNumber mArrived = NO_STATE;  // the state that was found last, until it is looked at
  // The states whose transitions were announced last: that they are coming, that they are there.
  StateNumber mExpected = NO_STATE;
  StateNumber mExpectedNow = NO_STATE;
  Path mPath;
};

}  // namespace Vesk

#endif
