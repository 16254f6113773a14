#include "exploration/depth-first.hpp"

#include <utility>

#include "port.hpp"
#include "scheduler.hpp"

namespace Vesk {

namespace {

// Gives a connector an interaction to fire, then takes all away from it.
class OneInteraction {
 public:
  OneInteraction(Connector& connector, Interaction* interaction) : mConnector(connector) {
    mConnector.setFeasibleInter(interaction);
  }
  OneInteraction(const OneInteraction&) = delete;
  OneInteraction& operator=(const OneInteraction&) = delete;
  ~OneInteraction() { mConnector.setFeasibleInter(nullptr); }

 private:
  Connector& mConnector;
};

bool usesExportedPort(Connector& connector) {
  for (int i = 0; i < connector.ports().count(); ++i) {
    if (connector.ports()[i]->connHolder() != nullptr) return true;
  }
  return false;
}

}  // namespace

// Deliberate: an initial state without transitions is no deadlock here.
void DepthFirst::begin() {
  Tree root = capture();
  const StateNumber number = mStates.insert(root.get()).number;
  writeState(number);
  activate();
  for (Connector* legal = mPlace.legal; legal != nullptr && !legal->dominated();
       legal = legal->next()) {
    push(number, legal);
  }
  if (!mStack.empty()) mStates.keep(number, root);
  release(std::move(root));
}

void DepthFirst::push(StateNumber state, Connector* connector) {
  Interaction* interaction = connector->feasibleInter();
  std::unique_ptr<Interaction> frozen;
  if (interaction->constraint() != nullptr) frozen.reset(interaction->copy());
  mStack.push_back({state, connector, interaction, std::move(frozen)});
}

// Asked about the state whose entry is or was the top: all entries of one state lie together.
bool DepthFirst::hasPending(StateNumber state) const {
  return !mStack.empty() && mStack.back().state == state;
}

void DepthFirst::takeOne() {
  Pending entry = std::move(mStack.back());
  mStack.pop_back();
  const bool last = !hasPending(entry.state);
  mPath.enter(entry.state);
  if (entry.connector == nullptr) {
    meetDeadlock(entry.state);
  } else {
    follow(entry);
  }
  mPath.backtrack();
  if (last) mStates.forget(entry.state);
}

void DepthFirst::meetDeadlock(StateNumber state) {
  mFiles.deadlocks().put(state);
  mFiles.deadlocks().put(" || ");
  writePath(mFiles.deadlocks());
  ++mCounters.deadlocks;
}

// Deliberate: the flags are cleared after the connector has fired, so only those count that are set
// while the state is read, and the search looks at a state with an error like at any other.
void DepthFirst::follow(Pending& entry) {
  if (entry.frozen == nullptr) {
    entry.frozen = std::make_unique<Interaction>(entry.connector, entry.interaction->synced());
  }
  restore(entry.state);
  if (usesExportedPort(*entry.connector)) entry.connector->eval(false);
  fire(TransNode(nullptr, entry.connector, entry.frozen.get()));
  clearFlags();
  ++mCounters.transitions;
  Tree tree = capture();
  const StateTable::Found target = mStates.insert(tree.get());
  writeTransition(entry.state, target.number);
  if (target.isNew) arrive(target.number, tree);
  release(std::move(tree));
}

void DepthFirst::fire(const TransNode& transition) {
  const OneInteraction installed(*transition.trans(), transition.inter());
  mPlace.choice = transition.trans();
  mLabel.set(transition.trans());
  transition.trans()->execute();
}

void DepthFirst::arrive(StateNumber state, Tree& tree) {
  writeState(state);
  if (global_prune) return prune(state);
  activate();
  if (mPlace.legal == nullptr) {
    mStack.push_back({state, nullptr, nullptr, nullptr});
    return;
  }
  for (Connector* legal = mPlace.legal; legal != nullptr && !legal->dominated() && !global_error;
       legal = legal->next()) {
    push(state, legal);
    mPath.addPending();
  }
  if (hasPending(state)) mStates.keep(state, tree);
}

void DepthFirst::prune(StateNumber state) {
  mFiles.prunedPaths().put(state);
  mFiles.prunedPaths().put(" || ");
  writePath(mFiles.prunedPaths());
  ++mCounters.pruned;
}

}  // namespace Vesk
