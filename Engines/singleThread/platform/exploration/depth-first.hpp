// A search that follows the transition found last. Private to the engine.
#ifndef VESK_EXPLORATION_DEPTH_FIRST_HPP
#define VESK_EXPLORATION_DEPTH_FIRST_HPP

#include <deque>
#include <optional>

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
  template <class Space>
  void takeOneOf(Space& space);
  template <class Space>
  void push(Space& space, PendingState& state, const Transition& legal);
  PendingState popSource();
  template <class Space>
  void take(Space& space, PendingState& state, Transition& transition);
  template <class Space>
  void expect(Space& space, const PendingState& state);
  template <class Space>
  void expectTransitionsOf(Space& space, const PendingState& state);
  void meetDeadlock(StateNumber state);
  template <class Space>
  void follow(Space& space, PendingState& state, Transition& transition);
  template <class Space>
  void arrive(Space& space, StateNumber number);
  template <class Space>
  void prune(Space& space, StateNumber number);
  template <class Space>
  void writeState(Space& space, StateNumber number);

  static constexpr StateNumber NO_STATE = UINT32_MAX;

  // Of the frozen transitions, each once; the top is at the back.
  std::deque<PendingState> mSources;
  // The one whose last transition is taken: a hook may throw, and the summary still tells of a leaf
  // of its tree.
  std::optional<PendingState> mLeaving;
  StateNumber mArrived = NO_STATE;  // the state that was found last, until it is looked at
  // The states whose transitions were announced last: that they are coming, that they are there.
  StateNumber mExpected = NO_STATE;
  StateNumber mExpectedNow = NO_STATE;
  Path mPath;
};

}  // namespace Vesk

#endif
