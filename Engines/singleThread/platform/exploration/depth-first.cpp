#include "exploration/depth-first.hpp"

#include <utility>

#include "exploration/signals.hpp"

namespace Vesk {

// Deliberate: an initial state without transitions is no deadlock here, because only entries of the
// stack are reported. (docs/decisions/0004-the-path-to-a-deadlock.md)
void DepthFirst::begin() {
  mSpace->read();
  writeState(mSpace->find().number);
  mSpace->activate();
  if (enumerationCut) return mSpace->drop();
  mSources.push_back(mSpace->keep());
  Transition transition;
  for (bool legal = mSpace->firstLegal(transition); legal && !transition.connector->dominated();
       legal = mSpace->nextLegal(transition)) {
    push(mSources.back(), transition);
  }
}

void DepthFirst::push(PendingState& state, const Transition& legal) {
  mSpace->freeze(&legal);
  ++mStored;
  mSpace->addTransition(state);
}

void DepthFirst::takeOne() {
  Transition transition = mSpace->thaw();
  --mStored;
  if (transition.connector != nullptr) mSpace->takeTransition(mSources.back());
  if (mSources.back().outTrans != 0) {
    PendingState& state = mSources.back();
    take(state, transition);
    mSpace->settle(state);
  } else {
    PendingState state = popSource();
    if (!mSources.empty()) expect(mSources.back());
    take(state, transition);
    mSpace->end(std::move(state));
  }
}

PendingState DepthFirst::popSource() {
  PendingState state = std::move(mSources.back());
  mSources.pop_back();
  return state;
}

void DepthFirst::endAll() {
  mSpace->dropFrozen();
  mStored = 0;
  while (!mSources.empty()) mSpace->end(popSource());
}

void DepthFirst::take(PendingState& state, Transition& transition) {
  mPath.enter(state.number);
  if (transition.connector == nullptr) {
    meetDeadlock(state.number);
  } else {
    follow(state, transition);
  }
  mPath.backtrack();
}

void DepthFirst::meetDeadlock(StateNumber state) {
  mFiles.deadlocks().put(state);
  mFiles.deadlocks().put(" || ");
  writePath(mFiles.deadlocks());
  ++mCounters.deadlocks;
}

void DepthFirst::follow(PendingState& state, Transition& transition) {
  expectTransitionsOf(state);
  mSpace->restore(state);
  if (!mSpace->fireFrozen(state, transition, mLabel)) return;
  ++mCounters.transitions;
  const StateSpace::Found target = mSpace->find();
  writeTransition(state.number, target.number);
  if (target.isNew) {
    arrive(target.number);
  } else {
    mSpace->drop();
  }
}

// When the last transition of a state leads to a known one, the state below is looked at next.
void DepthFirst::expect(const PendingState& state) {
  mExpected = state.number;
  mSpace->expectFrozen(state.outTrans);
}

// The first transition of a state mostly leads to a new one, and on from there. When the search is
// here again, the others mostly lead to known states, so that they are taken one after the other.
void DepthFirst::expectTransitionsOf(const PendingState& state) {
  const bool isFirst = state.number == mArrived;
  mArrived = NO_STATE;
  if (isFirst || state.number == mExpectedNow) return;
  mExpectedNow = state.number;
  if (state.number != mExpected) mSpace->expectFrozen(state.outTrans);
  mSpace->expectFrozenNow(state.outTrans);
}

void DepthFirst::arrive(StateNumber number) {
  writeState(number);
  if (global_prune) return prune(number);
  mSpace->activate();
  if (enumerationCut) return mSpace->drop();
  mSources.push_back(mSpace->keep());
  mArrived = number;
  Transition transition;
  if (!mSpace->firstLegal(transition)) {
    mSpace->freeze(nullptr);
    ++mStored;
    return;
  }
  for (bool legal = true; legal && !transition.connector->dominated() && !global_error;
       legal = mSpace->nextLegal(transition)) {
    push(mSources.back(), transition);
    mPath.addPending();
  }
  if (mSources.back().outTrans == 0) mSpace->end(popSource());
}

void DepthFirst::prune(StateNumber number) {
  mFiles.prunedPaths().put(number);
  mFiles.prunedPaths().put(" || ");
  writePath(mFiles.prunedPaths());
  mSpace->drop();
  ++mCounters.pruned;
}

void DepthFirst::writeState(StateNumber number) {
  if (!mFiles.states().isOpen()) return;
  const StateSpace::Text text = mSpace->text(number);
  mFiles.writeState(number, text.data, text.length);
}

}  // namespace Vesk
