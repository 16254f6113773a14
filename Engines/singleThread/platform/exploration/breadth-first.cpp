#include "exploration/breadth-first.hpp"

#include <utility>

#include "exploration/signals.hpp"

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
  PendingState state = std::move(mQueue.front());
  mQueue.pop_front();
  --mStored;
  mSpace->restore(state);
  mSpace->activate();
  if (enumerationCut) return mSpace->end(std::move(state));
  writeState(state);
  Transition transition;
  if (mSpace->firstLegal(transition)) {
    expand(state, transition);
  } else {
    meetDeadlock(state);
  }
  mSpace->end(std::move(state));
}

void BreadthFirst::endAll() {
  for (PendingState& state : mQueue) mSpace->end(std::move(state));
  mQueue.clear();
  mStored = 0;
}

// The text that the state has after the model has restored it.
void BreadthFirst::writeState(const PendingState& state) {
  if (!mFiles.states().isOpen()) return;
  const StateSpace::Text text = mSpace->restoredText(state);
  mFiles.writeState(state.number, text.data, text.length);
}

void BreadthFirst::meetDeadlock(const PendingState& state) {
  mFiles.deadlocks().put(state.number);
  mFiles.deadlocks().endLine();
  ++mCounters.deadlocks;
}

// Takes the transitions of the legal connectors up to the first dominated one.
void BreadthFirst::expand(const PendingState& state, Transition& transition) {
  mSpace->expectLegal();
  while (!transition.connector->dominated()) {
    if (!follow(state, transition)) return;
    if (!mSpace->nextLegal(transition) || isStopped()) return;
    mSpace->restore(state);
  }
}

// Fires the connector and looks where that leads. False when it leads to an error, or nowhere
// because model code has asked for an enumeration that was cut.
// Deliberate: the transition into an error is counted, but not written, because the state that it
// leads to is not stored. (docs/decisions/0024-errors-in-the-two-searches.md)
bool BreadthFirst::follow(const PendingState& state, const Transition& transition) {
  if (!mSpace->fire(transition, mLabel)) return false;
  ++mCounters.transitions;
  if (global_error) {
    mSpace->drop();
    return false;
  }
  const StateSpace::Found target = mSpace->find();
  if (target.isNew) {
    arrive();
  } else {
    mSpace->drop();
  }
  writeTransition(state.number, target.number);
  return true;
}

void BreadthFirst::arrive() {
  if (!global_prune) {
    put(mSpace->keep());
    return;
  }
  writePath(mFiles.prunedPaths());
  mSpace->drop();
  ++mCounters.pruned;
}

}  // namespace Vesk
