#include "exploration/text-states.hpp"

#include <utility>

#include "component.hpp"
#include "exploration/signals.hpp"
#include "exploration/untimed-priorities.hpp"
#include "state-nodes.hpp"

namespace Vesk {

TextStates::TextStates(const Place& place)
    : StateSpace(Locality::UNDECLARED),
      mPlace(place),
      mPriorities(prioritiesActEverywhere(place.system)),
      mPending(mStates) {}

// ---- States ----------------------------------------------------------------------------------

void TextStates::read() {
  mTree.reset(mPlace.system.getState());
}

StateSpace::Found TextStates::find() {
  mFound = mStates.insert(mTree.get());
  return {mFound.number, mFound.isNew};
}

PendingState TextStates::keep() {
  return mPending.add(mFound, std::move(mTree));
}

// One in which an error was found stays until the summary. A leaf of the model's own stays what it
// is.
void TextStates::bury(Tree tree) {
  if (!contains(tree.get(), faulty_leaf)) return;
  if (global_error) {
    mErrorState = std::move(tree);
  } else {
    faulty_leaf = nullptr;
  }
}

void TextStates::restore(const PendingState& state) {
  mPlace.system.setState(mPending.restore(state));
}

StateSpace::Text TextStates::restoredText(const PendingState& state) {
  const Node* tree = mPending.restore(state);
  mText.clear();
  mLengths.clear();
  if (!mStates.shape().pack(tree, mText, mLengths)) {
    mText.clear();
    mText.append(tree);
  }
  return {mText.data(), mText.length()};
}

StateSpace::Text TextStates::text(StateNumber number) {
  const StateTable::Text text = mStates.text(number);
  return {text.data, text.length};
}

// ---- Transitions -----------------------------------------------------------------------------

void TextStates::activate() {
  mPlace.legal =
      mPriorities ? activateUnderPriorities(mPlace.system) : mPlace.system.activate(false);
}

bool TextStates::firstLegal(Transition& transition) {
  transition.connector = mPlace.legal;
  return transition.connector != nullptr;
}

bool TextStates::nextLegal(Transition& transition) {
  transition.connector = transition.connector->next();
  return transition.connector != nullptr;
}

bool TextStates::fire(const Transition& transition, Label& label) {
  mPlace.choice = transition.connector;
  label = mLabels.of(*transition.connector);
  clearFlags();
  transition.connector->execute();
  if (enumerationCut) return false;
  read();
  return true;
}

// What the connectors below one fire depends on their priorities.
void TextStates::evaluateAfresh(Connector& connector) {
  if (mPriorities) {
    activateUnderPriorities(mPlace.system);
  } else {
    connector.eval(false);
  }
}

bool TextStates::fireFrozen(const PendingState& state, Transition& transition, Label& label) {
  Connector& connector = *transition.connector;
  Interaction* interaction = frozenInteraction(transition);
  if (usesExportedPort(connector)) evaluateAfresh(connector);
  if (enumerationCut) return false;
  if (!fireThis(TransNode(mPending.restore(state), &connector, interaction), label)) return false;
  transition.frozen.reset();
  return true;
}

// Deliberate: the flags are cleared after the connector has fired, so only those count that are set
// while the state is read, and a state with an error is stored like any other.
// (docs/decisions/0024-errors-in-the-two-searches.md)
bool TextStates::fireThis(const TransNode& transition, Label& label) {
  const OneInteraction installed(*transition.trans(), transition.inter());
  mPlace.choice = transition.trans();
  label = mLabels.of(*transition.trans());
  transition.trans()->execute();
  if (enumerationCut) return false;
  clearFlags();
  read();
  if (mTree != nullptr) mTree->setIndex(mStates.count());
  return true;
}

}  // namespace Vesk
