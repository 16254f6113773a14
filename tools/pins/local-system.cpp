#include "local-system.hpp"

#include <algorithm>
#include <memory>
#include <utility>

#include "component.hpp"
#include "connector.hpp"
#include "exploration/flags.hpp"
#include "fault.hpp"

namespace Vesk::Pins {

LocalSystem::LocalSystem(SystemParts parts, bool oneGroup)
    : mParts(std::move(parts)),
      mIsRepeatable(mParts.locality() == Locality::REPEATABLE),
      mShown(mParts.atoms().size(), UNSETTLED) {
  for (const SystemParts::AtomPart& part : mParts.atoms()) addSlot(pathOf(*part.atom));
  makeGroups(oneGroup);
  readInitialState();
}

// A connector that only takes part in others is in the groups of those. The connector that an
// exploration fires first comes first.
void LocalSystem::makeGroups(bool oneGroup) {
  std::vector<Index> firing;
  for (auto i = static_cast<Index>(mParts.connectors().size()); i > 0; --i) {
    if (!connector(i - 1).isSubconn()) firing.push_back(i - 1);
  }
  if (!oneGroup) {
    for (const Index each : firing) mGroups.push_back({{each}, members(each)});
    if (mGroups.empty()) mGroups.emplace_back();  // the symbolic tool wants one
    return;
  }
  std::vector<Index> all(mParts.atoms().size());
  for (Index i = 0; i < all.size(); ++i) all[i] = i;
  mGroups.push_back({std::move(firing), std::move(all)});
}

void LocalSystem::readInitialState() {
  clearFlags();
  std::vector<Number> state;
  for (Index i = 0; i < mShown.size(); ++i) state.push_back(read(i));
  setInitialState(std::move(state));
  const Number* initial = initialState().data();
  checkFlags(isError(initial), isPruned(initial), "the initial state");
}

// ---- Atoms -----------------------------------------------------------------------------------

Number LocalSystem::read(Index atom) {
  std::unique_ptr<Node> node(this->atom(atom).getState());
  if (node != nullptr && !node->isLeaf()) {
    throw Fault(slotName(atom) + ": the state of the atom is no text");
  }
  return texts(atom).number(std::move(node));
}

// Brings the atoms of a connector into a state.
void LocalSystem::settle(Index connector, const Number* state) {
  for (const Index member : members(connector)) {
    if (mShown[member] == state[member]) continue;
    atom(member).setState(texts(member).node(state[member]));
    mShown[member] = state[member];
  }
}

// ---- Connectors ------------------------------------------------------------------------------

void LocalSystem::visitTransitions(const Number* state, EdgeVisitor& visitor) {
  for (Index group = 0; group < mGroups.size(); ++group) {
    for (const Index each : mGroups[group].connectors) visitConnector(group, each, state, visitor);
  }
}

void LocalSystem::visitGroup(std::size_t group, const Number* state, EdgeVisitor& visitor) {
  if (mGroups.size() == 1) return visitAll(state, visitor);
  const auto index = static_cast<Index>(group);
  for (const Index each : mGroups[group].connectors) visitConnector(index, each, state, visitor);
}

bool LocalSystem::canMove(const Number* state) {
  for (const Group& group : mGroups) {
    for (const Index each : group.connectors) {
      if (outcome(each, state).isLegal) return true;
    }
  }
  return false;
}

void LocalSystem::visitConnector(Index group, Index connector, const Number* state,
                                 EdgeVisitor& visitor) {
  Outcomes::Outcome& found = outcome(connector, state);
  if (!found.isLegal) return;
  if (!found.isKnown) {
    evaluate(connector, state);
    fire(connector, found);
    found.isKnown = mIsRepeatable;
  }
  visitor.visit({group, found.label.text, members(connector), mOutcomes.after(found)});
}

// What is remembered of the connector in a state; whether it is legal is known then.
Outcomes::Outcome& LocalSystem::outcome(Index connector, const Number* state) {
  mBefore.clear();
  for (const Index member : members(connector)) mBefore.push_back(state[member]);
  const Outcomes::Key key(connector, mBefore.data(), static_cast<Index>(mBefore.size()));
  Outcomes::Outcome* known = mOutcomes.find(key);
  if (known != nullptr) return *known;
  if (mOutcomes.bytes() > MOST_BYTES) mOutcomes.clear();
  const bool isLegal = evaluate(connector, state);
  Outcomes::Outcome& added = mOutcomes.add(key);
  added.isLegal = isLegal;
  return added;
}

bool LocalSystem::evaluate(Index connector, const Number* state) {
  settle(connector, state);
  Connector& evaluated = this->connector(connector);
  evaluated.eval(false);
  return evaluated.legal();
}

void LocalSystem::fire(Index connector, Outcomes::Outcome& outcome) {
  Connector& fired = this->connector(connector);
  outcome.label = mLabels.of(fired);
  clearFlags();
  fired.execute();
  Number* after = mOutcomes.after(outcome);
  bool hasError = false;
  bool hasPrune = false;
  for (const Index member : members(connector)) {
    mShown[member] = UNSETTLED;
    const Number shown = read(member);
    hasError = hasError || texts(member).marker(shown) == Marker::ERROR;
    hasPrune = hasPrune || texts(member).marker(shown) == Marker::PRUNE;
    *after++ = shown;
  }
  checkFlags(hasError, hasPrune, outcome.label.text);
}

}  // namespace Vesk::Pins
