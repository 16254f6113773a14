#include "exploration/breadth-first.hpp"

#include <utility>

#include "connector.hpp"

namespace Vesk {

void BreadthFirst::begin() {
  Tree root = capture();
  const StateNumber number = mStates.insert(root.get()).number;
  mQueue.push_back(number);
  mStates.keep(number, root);
  release(std::move(root));
}

void BreadthFirst::takeOne() {
  const StateNumber state = mQueue.front();
  mQueue.pop_front();
  restore(state);
  activate();
  writeState(state);
  if (mPlace.legal != nullptr) {
    expand(state);
  } else {
    mFiles.deadlocks().put(state);
    mFiles.deadlocks().put("\n");
    ++mCounters.deadlocks;
  }
  mStates.forget(state);
}

// Takes the transitions of the legal connectors up to the first dominated one.
void BreadthFirst::expand(StateNumber state) {
  Connector* connector = mPlace.legal;
  while (!connector->dominated()) {
    if (!follow(state, connector)) return;
    connector = connector->next();
    if (connector == nullptr) return;
    restore(state);
  }
}

// Fires the connector and looks where that leads. False when it leads to an error.
// Deliberate: the transition into an error is counted, but not written.
bool BreadthFirst::follow(StateNumber state, Connector* connector) {
  mPlace.choice = connector;
  mLabel.set(connector);
  clearFlags();
  connector->execute();
  ++mCounters.transitions;
  Tree tree = capture();
  if (!global_error) {
    const StateTable::Found target = mStates.insert(tree.get());
    if (target.isNew) arrive(target.number, tree);
    writeTransition(state, target.number);
  }
  release(std::move(tree));
  return !global_error;
}

void BreadthFirst::arrive(StateNumber state, Tree& tree) {
  if (global_prune) {
    writePath(mFiles.prunedPaths());
    ++mCounters.pruned;
  } else {
    mQueue.push_back(state);
    mStates.keep(state, tree);
  }
}

}  // namespace Vesk
