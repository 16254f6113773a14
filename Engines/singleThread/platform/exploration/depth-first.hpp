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
  Count stored() const override { return mStack.size(); }
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

  std::deque<Transition> mStack;       // the top is at the back; those of one state lie together
  std::deque<PendingState> mSources;   // the states of the transitions on the stack, each once
  StateNumber mExpected = UINT32_MAX;  // the state whose transitions were announced last
  StateNumber mArrived = UINT32_MAX;   // the state that was found last, until it is looked at
  Path mPath;
};

}  // namespace Vesk

#endif
