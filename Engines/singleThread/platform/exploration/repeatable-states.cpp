#include "exploration/repeatable-states.hpp"

#include <algorithm>
#include <utility>

#include "exploration/signals.hpp"
#include "port.hpp"

namespace Vesk {

RepeatableStates::RepeatableStates(const Place& place, SystemParts parts)
    : NumberedStates(Locality::REPEATABLE, place, std::move(parts)),
      mActual(this->parts().atoms().size(), UNKNOWN),
      mCurrent(this->parts().connectors().size(), 0) {
  makeRows();
}

// The more connectors there are, the shorter are their rows.
void RepeatableStates::makeRows() {
  unsigned int bits = 8;
  while (bits != 0 && parts().connectors().size() << bits > MOST_CELLS) --bits;
  Index cells = 0;
  for (const SystemParts::ConnectorPart& part : parts().connectors()) {
    const auto count = static_cast<unsigned int>(part.members.size());
    const unsigned int each = bits / std::max(count, 1u);
    mRows.push_back({cells, each});
    cells += Index{1} << (each * count);
  }
  mCells.assign(cells, Outcomes::NONE);
}

// ---- States ----------------------------------------------------------------------------------

// Outcomes are forgotten while none is in use and the last label has been written. Those of the
// restored state are in use until another one is restored.
void RepeatableStates::restore(const PendingState& state) {
  if (state.number != restoredState()) forgetIfTooMany();
  NumberedStates::restore(state);
}

void RepeatableStates::forgetIfTooMany() {
  if (mOutcomes.bytes() + mKeptLabels.bytes() <= MOST_BYTES) return;
  forgetFrozen(mThawed);
  for (Frozen& frozen : mFrozen) forgetFrozen(frozen);
  mOutcomes.clear();
  mKeptLabels.clear();
  std::fill(mCells.begin(), mCells.end(), Outcomes::NONE);
  markAllDirty();
}

void RepeatableStates::forgetFrozen(Frozen& frozen) {
  if (!frozen.isNone() && !frozen.isPart()) frozen = Frozen::part(mOutcomes[frozen.number()].part);
}

// Puts the atoms of a connector into the state that the key says.
void RepeatableStates::settleAtoms(std::size_t part) {
  for (const Index atom : members(part)) {
    if (mActual[atom] == number(atom)) continue;
    texts(atom).restore(number(atom));
    mActual[atom] = number(atom);
  }
}

// ---- Evaluation ------------------------------------------------------------------------------

bool RepeatableStates::isLegal(std::size_t part) {
  if (connector(part).isSubconn()) return false;
  if (!isRemembered(part)) return evaluate(part);
  mCurrent[part] = outcomeOf(part);
  return mOutcomes[mCurrent[part]].isLegal;
}

void RepeatableStates::expectLegal() {
  Transition legal;
  for (bool more = firstLegal(legal); more; more = nextLegal(legal)) {
    const Outcome* outcome = isRemembered(legal.part) ? &mOutcomes[mCurrent[legal.part]] : nullptr;
    if (outcome == nullptr || !outcome->isKnown) continue;
    mExpected.push_back(expectation(outcome->difference));
    expectSlot(mExpected.back());
  }
  for (const std::uint32_t expected : mExpected) expectKey(expected);
  mExpected.clear();
}

bool RepeatableStates::evaluate(std::size_t part) {
  settleAtoms(part);
  connector(part).eval(false);
  return connector(part).legal();
}

// The outcome for the state that the system is in. While the numbers are small, it stands in the
// row of the connector.
Outcomes::Index RepeatableStates::outcomeOf(std::size_t part) {
  const Row row = mRows[part];
  std::size_t place = 0;
  Number bits = 0;
  for (const Index atom : members(part)) {
    bits |= number(atom);
    place = place << row.bits | number(atom);
  }
  if (bits >> row.bits != 0) return lookUp(part);
  Outcomes::Index& cell = mCells[row.start + place];
  if (cell == Outcomes::NONE) cell = lookUp(part);
  return cell;
}

Outcomes::Index RepeatableStates::lookUp(std::size_t part) {
  Number numbers[MOST_MEMBERS];
  Index count = 0;
  for (const Index atom : members(part)) numbers[count++] = number(atom);
  const Outcomes::Key key(static_cast<Index>(part), numbers, count);
  const Outcomes::Index known = mOutcomes.find(key);
  return known != Outcomes::NONE ? known : mOutcomes.add(key, evaluate(part));
}

// ---- Firing ----------------------------------------------------------------------------------

bool RepeatableStates::fire(const Transition& transition, Label& label) {
  mPlace.choice = transition.connector;
  clearFlags();
  const std::size_t part = transition.part;
  return isRemembered(part) ? repeat(part, mCurrent[part], label) : fireForReal(part, label);
}

bool RepeatableStates::fireFrozen(const PendingState&, Transition& transition, Label& label) {
  mPlace.choice = transition.connector;
  clearFlags();
  const std::size_t part = transition.part;
  if (!isRemembered(part)) return fireForReal(part, label);
  const bool isKept = !mThawed.isPart();
  const Outcomes::Index outcome = isKept ? mThawed.number() : outcomeOf(part);
  return repeat(part, outcome, label);
}

// Reads where the connector has led. The atoms may announce something else than after setState.
bool RepeatableStates::fireForReal(std::size_t part, Label& label) {
  evaluate(part);
  label = mKeptLabels.of(connector(part));
  connector(part).execute();
  if (enumerationCut) return false;
  leaveBy(part);
  std::uint64_t sum = 0;
  for (const Index atom : members(part)) {
    mActual[atom] = UNKNOWN;
    const Number shown = readNumber(atom);
    sum += difference(atom, shown);
    setNumber(atom, shown);
  }
  setHash(sum);
  raiseFlags();
  return true;
}

bool RepeatableStates::repeat(std::size_t part, Outcomes::Index index, Label& label) {
  if (!mOutcomes[index].isKnown) return learn(part, index, label);
  const Outcome& outcome = mOutcomes[index];
  const Number* after = mOutcomes.after(outcome);
  leaveBy(part);
  for (const Index atom : members(part)) setNumber(atom, *after++);
  setHash(outcome.difference);
  raiseFlags();
  label = outcome.label;
  return true;
}

// What is reported is reported each time, so the connector then fires for real the next time, too.
bool RepeatableStates::learn(std::size_t part, Outcomes::Index index, Label& label) {
  const unsigned int reports = Port::sReports;
  if (!fireForReal(part, label)) return false;
  if (Port::sReports != reports) return true;
  Outcome& outcome = mOutcomes[index];
  Number* after = mOutcomes.after(outcome);
  std::uint64_t sum = 0;
  for (const Index atom : members(part)) {
    sum += difference(atom, number(atom));
    *after++ = number(atom);
  }
  outcome.difference = sum;
  outcome.label = label;
  outcome.isKnown = true;
  return true;
}

// ---- Frozen transitions ----------------------------------------------------------------------

void RepeatableStates::freeze(const Transition* legal) {
  if (legal == nullptr) {
    mFrozen.push_back(Frozen::none());
  } else if (isRemembered(legal->part)) {
    mFrozen.push_back(frozenOutcome(legal->part));
  } else {
    mFrozen.push_back(Frozen::part(legal->part));
  }
}

RepeatableStates::Frozen RepeatableStates::frozenOutcome(std::size_t part) const {
  const Outcome& outcome = mOutcomes[mCurrent[part]];
  const std::uint32_t expected = outcome.isKnown ? expectation(outcome.difference) : 0;
  return Frozen::outcome(mCurrent[part], expected);
}

Transition RepeatableStates::thaw() {
  mThawed = mFrozen.back();
  mFrozen.pop_back();
  Transition transition;
  if (mThawed.isNone()) return transition;
  transition.part = mThawed.isPart() ? mThawed.number() : mOutcomes[mThawed.number()].part;
  transition.connector = &connector(transition.part);
  return transition;
}

void RepeatableStates::expectFrozen(std::size_t count) const {
  for (std::size_t i = mFrozen.size(); count != 0; --count) expectSlot(mFrozen[--i].expected());
}

void RepeatableStates::expectFrozenNow(std::size_t count) const {
  expectKey(mThawed.expected());
  for (std::size_t i = mFrozen.size(); count != 0; --count) expectKey(mFrozen[--i].expected());
}

}  // namespace Vesk
