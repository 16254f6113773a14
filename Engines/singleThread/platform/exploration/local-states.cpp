#include "exploration/local-states.hpp"

#include <utility>

#include "exploration/signals.hpp"

namespace Vesk {

LocalStates::LocalStates(const Place& place, SystemParts parts)
    : NumberedStates(Locality::LOCAL, place, std::move(parts)),
      mIsUnsettled(this->parts().atoms().size(), false) {}

// ---- Atoms -----------------------------------------------------------------------------------

void LocalStates::changed(std::size_t atom) {
  if (mIsUnsettled[atom]) return;
  mIsUnsettled[atom] = true;
  mUnsettled.push_back(static_cast<Index>(atom));
}

void LocalStates::restored() {
  for (const Index atom : mUnsettled) {
    mIsUnsettled[atom] = false;
    texts(atom).restore(number(atom));
    noteTouched(atom);
  }
  mUnsettled.clear();
}

// What an atom announces after it has been executed may be something else after each firing.
std::uint64_t LocalStates::configuration(std::size_t atom) const {
  return mIsUnsettled[atom] ? 2 * mFirings + 1 : 2 * std::uint64_t{number(atom)};
}

// ---- Connectors ------------------------------------------------------------------------------

bool LocalStates::isLegal(std::size_t part) {
  Connector& evaluated = connector(part);
  evaluated.eval(false);
  return evaluated.legal() && !evaluated.isSubconn();
}

bool LocalStates::fire(const Transition& transition, Label& label) {
  Connector& fired = *transition.connector;
  mPlace.choice = &fired;
  label = mLabels.of(fired);
  clearFlags();
  fired.execute();
  if (enumerationCut) return false;
  readMembers(transition.part);
  return true;
}

bool LocalStates::fireFrozen(const PendingState&, Transition& transition, Label& label) {
  Connector& fired = *transition.connector;
  const std::size_t part = transition.part;
  Interaction* interaction = frozenInteraction(transition);
  if (usesExportedPort(fired)) evaluateFor(part);
  if (enumerationCut) return false;
  markDirty(part);  // since all interactions are taken away from it
  const OneInteraction installed(fired, interaction);
  mPlace.choice = &fired;
  label = mLabels.of(fired);
  fired.execute();
  if (enumerationCut) return false;
  clearFlags();
  readMembers(part);
  return true;
}

// Connectors below may have other interactions then than at the last activation.
void LocalStates::evaluateFor(std::size_t part) {
  for (const Index atom : members(part)) {
    for (const Index touched : parts().atoms()[atom].connectors) markDirty(touched);
  }
  connector(part).eval(false);
}

void LocalStates::readMembers(std::size_t part) {
  leaveBy(part);
  ++mFirings;
  std::uint64_t sum = 0;
  for (const Index atom : members(part)) {
    changed(atom);
    const Number shown = readNumber(atom);
    sum += difference(atom, shown);
    setNumber(atom, shown);
    noteTouched(atom);
  }
  setHash(sum);
  raiseFlags();
}

}  // namespace Vesk
