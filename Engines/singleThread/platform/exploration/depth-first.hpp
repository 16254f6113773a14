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
  static constexpr StateNumber NO_STATE = UINT32_MAX;

  void begin() override;
  Count stored() const override { return mPending; }
  void takeOne() override;
  void endAll() override;
  const Path* path() const override { return &mPath; }
  void push(PendingState& state, const Transition& legal);
  PendingState popSource();
  void take(PendingState& state, Transition& transition);
  void meetDeadlock(StateNumber state);
  void follow(PendingState& state, Transition& transition);
  void expectTransitionsOf(const PendingState& state);
  void arrive(StateNumber number);
  void prune(StateNumber number);
  void writeState(StateNumber number);

  std::deque<PendingState>
      mSources;                      // of the frozen transitions, each once; the top is at the back
  StateNumber mExpected = NO_STATE;  // the state whose transitions were announced last
  StateNumber mArrived = NO_STATE;   // the state that was found last, until it is looked at
  Count mPending = 0;                // frozen transitions
  Path mPath;
};

}  // namespace Vesk

#endif
