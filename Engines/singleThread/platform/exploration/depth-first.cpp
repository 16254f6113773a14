#include "exploration/depth-first.hpp"

#include <utility>

#include "exploration/signals.hpp"
#include "exploration/space-kinds.hpp"

namespace Vesk {

// Deliberate: an initial state without transitions is no deadlock here, because only entries of the
// stack are reported. (docs/decisions/0004-the-path-to-a-deadlock.md)
void DepthFirst::begin() {
  mSpace->read();
  writeState(*mSpace, mSpace->find().number);
  mSpace->activate();
  if (enumerationCut) return mSpace->drop();
  mSources.push_back(mSpace->keep());
  Transition transition;
  for (bool legal = mSpace->firstLegal(transition); legal && !transition.connector->dominated();
       legal = mSpace->nextLegal(transition)) {
    push(*mSpace, mSources.back(), transition);
  }
}

template <class Space>
void DepthFirst::push(Space& space, PendingState& state, const Transition& legal) {
  space.freeze(&legal);
  ++mStored;
  space.addTransition(state);
}

void DepthFirst::takeOne() {
  withKindOf(*mSpace, [this](auto& space) { takeOneOf(space); });
}

template <class Space>
void DepthFirst::takeOneOf(Space& space) {
  Transition transition = space.thaw();
  --mStored;
  if (transition.connector != nullptr) space.takeTransition(mSources.back());
  if (mSources.back().outTrans != 0) {
    PendingState& state = mSources.back();
    take(space, state, transition);
    space.settle(state);
  } else {
    PendingState& state = mLeaving.emplace(popSource());
    if (!mSources.empty()) expect(space, mSources.back());
    take(space, state, transition);
    space.end(std::move(state));
    mLeaving.reset();
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
  if (mLeaving) mSpace->end(std::move(*mLeaving));
  mLeaving.reset();
  while (!mSources.empty()) mSpace->end(popSource());
}

template <class Space>
void DepthFirst::take(Space& space, PendingState& state, Transition& transition) {
  mPath.enter(state.number);
  if (transition.connector == nullptr) {
    meetDeadlock(state.number);
  } else {
    follow(space, state, transition);
  }
  mPath.backtrack();
}

void DepthFirst::meetDeadlock(StateNumber state) {
  mFiles.deadlocks().put(state);
  mFiles.deadlocks().put(" || ");
  writePath(mFiles.deadlocks());
  ++mCounters.deadlocks;
}

template <class Space>
void DepthFirst::follow(Space& space, PendingState& state, Transition& transition) {
  expectTransitionsOf(space, state);
  space.restore(state);
  if (!space.fireFrozen(state, transition, mLabel)) return;
  ++mCounters.transitions;
  const StateSpace::Found target = space.find();
  writeTransition(state.number, target.number);
  if (target.isNew) {
    arrive(space, target.number);
  } else {
    space.drop();
  }
}

// When the last transition of a state leads to a known one, the state below is looked at next.
template <class Space>
void DepthFirst::expect(Space& space, const PendingState& state) {
  mExpected = state.number;
  space.expectFrozen(state.outTrans);
}

// The first transition of a state mostly leads to a new one, and on from there. When the search is
// here again, the others mostly lead to known states, so that they are taken one after the other.
template <class Space>
void DepthFirst::expectTransitionsOf(Space& space, const PendingState& state) {
  const bool isFirst = state.number == mArrived;
  mArrived = NO_STATE;
  if (isFirst || state.number == mExpectedNow) return;
  mExpectedNow = state.number;
  if (state.number != mExpected) space.expectFrozen(state.outTrans);
  space.expectFrozenNow(state.outTrans);
}

template <class Space>
void DepthFirst::arrive(Space& space, StateNumber number) {
  writeState(space, number);
  if (global_prune) return prune(space, number);
  space.activate();
  if (enumerationCut) return space.drop();
  mSources.push_back(space.keep());
  mArrived = number;
  Transition transition;
  if (!space.firstLegal(transition)) {
    space.freeze(nullptr);
    ++mStored;
    return;
  }
  for (bool legal = true; legal && !transition.connector->dominated() && !global_error;
       legal = space.nextLegal(transition)) {
    push(space, mSources.back(), transition);
    mPath.addPending();
  }
  if (mSources.back().outTrans == 0) return space.end(popSource());
  space.expectFrozen(1);  // it is taken next
}

template <class Space>
void DepthFirst::prune(Space& space, StateNumber number) {
  mFiles.prunedPaths().put(number);
  mFiles.prunedPaths().put(" || ");
  writePath(mFiles.prunedPaths());
  space.drop();
  ++mCounters.pruned;
}

template <class Space>
void DepthFirst::writeState(Space& space, StateNumber number) {
  if (!mFiles.states().isOpen()) return;
  const StateSpace::Text text = space.text(number);
  mFiles.writeState(number, text.data, text.length);
}

}  // namespace Vesk
