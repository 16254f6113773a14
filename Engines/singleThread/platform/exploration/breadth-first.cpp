#include "exploration/breadth-first.hpp"

#include <utility>

#include "connector.hpp"
#include "exploration/signals.hpp"

namespace Vesk {

void BreadthFirst::begin() {
  Tree root = capture();
  const StateTable::Found found = mStates.insert(root.get());
  mQueue.push_back(mPending.add(found, std::move(root)));
}

void BreadthFirst::takeOne() {
  PendingState state = std::move(mQueue.front());
  mQueue.pop_front();
  restore(state);
  activate();
  if (enumerationCut) return end(std::move(state));
  writeState(state);
  if (mPlace.legal != nullptr) {
    expand(state);
  } else {
    meetDeadlock(state);
  }
  end(std::move(state));
}

void BreadthFirst::endAll() {
  for (PendingState& state : mQueue) end(std::move(state));
  mQueue.clear();
}

// The text that the state has after the model has restored it.
void BreadthFirst::writeState(const PendingState& state) {
  if (!mFiles.states().isOpen()) return;
  mText.clear();
  mText.append(mPending.restore(state));
  mFiles.writeState(state.number, mText.data(), mText.length());
}

void BreadthFirst::meetDeadlock(const PendingState& state) {
  mFiles.deadlocks().put(state.number);
  mFiles.deadlocks().endLine();
  ++mCounters.deadlocks;
}

// Takes the transitions of the legal connectors up to the first dominated one.
void BreadthFirst::expand(const PendingState& state) {
  Connector* connector = mPlace.legal;
  while (!connector->dominated()) {
    if (!follow(state, connector)) return;
    connector = connector->next();
    if (connector == nullptr || isStopped()) return;
    restore(state);
  }
}

// Fires the connector and looks where that leads. False when it leads to an error, or nowhere
// because model code has asked for an enumeration that was cut.
// Deliberate: the transition into an error is counted, but not written, because the state that it
// leads to is not stored. (docs/decisions/0024-errors-in-the-two-searches.md)
bool BreadthFirst::follow(const PendingState& state, Connector* connector) {
  choose(connector);
  clearFlags();
  connector->execute();
  if (enumerationCut) return false;
  ++mCounters.transitions;
  Tree tree = capture();
  if (global_error) {
    bury(std::move(tree));
    return false;
  }
  const StateTable::Found target = mStates.insert(tree.get());
  if (target.isNew) {
    arrive(target, std::move(tree));
  } else {
    bury(std::move(tree));
  }
  writeTransition(state.number, target.number);
  return true;
}

void BreadthFirst::arrive(const StateTable::Found& found, Tree tree) {
  if (!global_prune) {
    mQueue.push_back(mPending.add(found, std::move(tree)));
    return;
  }
  writePath(mFiles.prunedPaths());
  bury(std::move(tree));
  ++mCounters.pruned;
}

}  // namespace Vesk
