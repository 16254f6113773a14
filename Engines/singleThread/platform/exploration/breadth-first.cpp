#include "exploration/breadth-first.hpp"

#include <utility>

#include "exploration/signals.hpp"
#include "exploration/space-kinds.hpp"

namespace Vesk {

void BreadthFirst::begin() {
  mSpace->read();
  mSpace->find();
  put(mSpace->keep());
}

void BreadthFirst::put(PendingState state) {
  mQueue.push_back(std::move(state));
  ++mStored;
}

void BreadthFirst::takeOne() {
  withKindOf(*mSpace, [this](auto& space) { takeOneOf(space); });
}

// The state stays in the queue until its end: a hook may throw, and the summary still tells of a
// leaf of its tree.
template <class Space>
void BreadthFirst::takeOneOf(Space& space) {
  PendingState& state = mQueue.front();
  --mStored;
  space.restore(state);
  space.activate();
  if (!enumerationCut) lookAt(space, state);
  space.end(std::move(state));
  mQueue.pop_front();
}

template <class Space>
void BreadthFirst::lookAt(Space& space, const PendingState& state) {
  writeState(space, state);
  Transition transition;
  if (space.firstLegal(transition)) {
    expand(space, state, transition);
  } else {
    meetDeadlock(state);
  }
}

void BreadthFirst::endAll() {
  for (PendingState& state : mQueue) mSpace->end(std::move(state));
  mQueue.clear();
  mStored = 0;
}

// The text that the state has after the model has restored it.
template <class Space>
void BreadthFirst::writeState(Space& space, const PendingState& state) {
  if (!mFiles.states().isOpen()) return;
  const StateSpace::Text text = space.restoredText(state);
  mFiles.writeState(state.number, text.data, text.length);
}

void BreadthFirst::meetDeadlock(const PendingState& state) {
  mFiles.deadlocks().put(state.number);
  mFiles.deadlocks().endLine();
  ++mCounters.deadlocks;
}

// Takes the transitions of the legal connectors up to the first dominated one.
template <class Space>
void BreadthFirst::expand(Space& space, const PendingState& state, Transition& transition) {
  space.expectLegal();
  while (!transition.connector->dominated()) {
    if (!follow(space, state, transition)) return;
    if (!space.nextLegal(transition) || isStopped()) return;
    space.restore(state);
  }
}

// Fires the connector and looks where that leads. False when it leads to an error, or nowhere
// because model code has asked for an enumeration that was cut.
// Deliberate: the transition into an error is counted, but not written, because the state that it
// leads to is not stored. (docs/decisions/0024-errors-in-the-two-searches.md)
template <class Space>
bool BreadthFirst::follow(Space& space, const PendingState& state, const Transition& transition) {
  if (!space.fire(transition, mLabel)) return false;
  ++mCounters.transitions;
  if (global_error) {
    space.drop();
    return false;
  }
  const StateSpace::Found target = space.find();
  if (target.isNew) {
    arrive(space);
  } else {
    space.drop();
  }
  writeTransition(state.number, target.number);
  return true;
}

template <class Space>
void BreadthFirst::arrive(Space& space) {
  if (!global_prune) {
    put(space.keep());
    return;
  }
  writePath(mFiles.prunedPaths());
  space.drop();
  ++mCounters.pruned;
}

}  // namespace Vesk
