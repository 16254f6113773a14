#include "exploration/depth-first.hpp"

#include <utility>

#include "exploration/signals.hpp"
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

// Deliberate: an initial state without transitions is no deadlock here, because only entries of the
// stack are reported. (docs/decisions/0004-the-path-to-a-deadlock.md)
void DepthFirst::begin() {
  Tree root = capture();
  const StateTable::Found found = mStates.insert(root.get());
  writeState(found.number);
  activate();
  if (enumerationCut) return bury(std::move(root));
  mSources.push_back(mPending.add(found, std::move(root)));
  for (Connector* legal = mPlace.legal; legal != nullptr && !legal->dominated();
       legal = legal->next()) {
    push(mSources.back(), legal);
  }
}

// The interaction is made again when the transition is taken, unless it has something that it may
// have lost by then.
void DepthFirst::push(PendingState& state, Connector* connector) {
  Interaction* interaction = connector->feasibleInter();
  std::unique_ptr<Interaction> frozen;
  const bool isBare =
      interaction->constraint() == nullptr && !interaction->dominated() && interaction->mark() == 0;
  if (!isBare) frozen.reset(interaction->copy());
  mPending.addTransition(state);
  mStack.push_back({connector, interaction, std::move(frozen)});
}

void DepthFirst::takeOne() {
  Transition transition = std::move(mStack.back());
  mStack.pop_back();
  if (transition.connector != nullptr) mPending.takeTransition(mSources.back());
  if (mSources.back().outTrans != 0) {
    PendingState& state = mSources.back();
    take(state, transition);
    mPending.settle(state);
  } else {
    PendingState state = popSource();
    take(state, transition);
    end(std::move(state));
  }
}

PendingState DepthFirst::popSource() {
  PendingState state = std::move(mSources.back());
  mSources.pop_back();
  return state;
}

void DepthFirst::endAll() {
  mStack.clear();
  while (!mSources.empty()) end(popSource());
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
  Connector& connector = *transition.connector;
  if (transition.frozen == nullptr) {
    transition.frozen = std::make_unique<Interaction>(&connector, transition.interaction->synced());
  }
  restore(state);
  if (usesExportedPort(connector)) connector.eval(false);
  if (enumerationCut) return;
  Tree tree = fire(TransNode(mPending.restore(state), &connector, transition.frozen.get()));
  if (enumerationCut) return;
  transition.frozen.reset();
  const StateTable::Found target = mStates.insert(tree.get());
  writeTransition(state.number, target.number);
  if (target.isNew) {
    arrive(target, std::move(tree));
  } else {
    bury(std::move(tree));
  }
}

// Fires the transition and reads the state that it leads to, which is not to be used when an
// enumeration was cut.
// Deliberate: the flags are cleared after the connector has fired, so only those count that are set
// while the state is read, and a state with an error is stored like any other.
// (docs/decisions/0024-errors-in-the-two-searches.md)
Tree DepthFirst::fire(const TransNode& transition) {
  const OneInteraction installed(*transition.trans(), transition.inter());
  choose(transition.trans());
  transition.trans()->execute();
  if (enumerationCut) return nullptr;
  clearFlags();
  ++mCounters.transitions;
  Tree tree = capture();
  if (tree != nullptr) tree->setIndex(mStates.count());
  return tree;
}

void DepthFirst::arrive(const StateTable::Found& found, Tree tree) {
  writeState(found.number);
  if (global_prune) return prune(found.number, std::move(tree));
  activate();
  if (enumerationCut) return bury(std::move(tree));
  mSources.push_back(mPending.add(found, std::move(tree)));
  if (mPlace.legal == nullptr) {
    mStack.push_back({nullptr, nullptr, nullptr});
    return;
  }
  for (Connector* legal = mPlace.legal; legal != nullptr && !legal->dominated() && !global_error;
       legal = legal->next()) {
    push(mSources.back(), legal);
    mPath.addPending();
  }
  if (mSources.back().outTrans == 0) end(popSource());
}

void DepthFirst::prune(StateNumber number, Tree tree) {
  mFiles.prunedPaths().put(number);
  mFiles.prunedPaths().put(" || ");
  writePath(mFiles.prunedPaths());
  bury(std::move(tree));
  ++mCounters.pruned;
}

void DepthFirst::writeState(StateNumber number) {
  if (!mFiles.states().isOpen()) return;
  const StateTable::Text text = mStates.text(number);
  mFiles.writeState(number, text.data, text.length);
}

}  // namespace Vesk
