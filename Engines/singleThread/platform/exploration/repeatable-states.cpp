#include "exploration/repeatable-states.hpp"

#include <utility>

#include "exploration/signals.hpp"

namespace Vesk {

RepeatableStates::RepeatableStates(const Place& place, SystemParts parts)
    : NumberedStates(place, std::move(parts)),
      mActual(this->parts().atoms().size(), UNKNOWN),
      mCurrent(this->parts().connectors().size(), 0) {}

// ---- States ----------------------------------------------------------------------------------

// Now, while no outcome is in use and the last label has been written.
void RepeatableStates::restore(const PendingState& state) {
  forgetIfTooMany();
  NumberedStates::restore(state);
}

void RepeatableStates::forgetIfTooMany() {
  if (mOutcomes.bytes() + mKeptLabels.bytes() <= MOST_BYTES) return;
  mOutcomes.clear();
  mKeptLabels.clear();
  markAllDirty();
}

// Puts the atoms of a connector into the state that the key says.
void RepeatableStates::settle(std::size_t part) {
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
  Outcome& outcome = outcomeOf(part);
  mCurrent[part] = mOutcomes.indexOf(outcome);
  return outcome.isLegal;
}

bool RepeatableStates::evaluate(std::size_t part) {
  settle(part);
  connector(part).eval(false);
  return connector(part).legal();
}

// The outcome for the state that the system is in.
RepeatableStates::Outcome& RepeatableStates::outcomeOf(std::size_t part) {
  Number numbers[MOST_MEMBERS];
  Index count = 0;
  for (const Index atom : members(part)) numbers[count++] = number(atom);
  const auto index = static_cast<Index>(part);
  if (Outcome* known = mOutcomes.find(index, numbers, count)) return *known;
  const bool isLegal = evaluate(part);
  Outcome& added = mOutcomes.add(index, numbers, count);
  added.isLegal = isLegal;
  return added;
}

// ---- Firing ----------------------------------------------------------------------------------

Transition RepeatableStates::freeze(const Transition& legal) {
  Transition transition;
  transition.connector = legal.connector;
  transition.part = legal.part;
  return transition;
}

bool RepeatableStates::fire(const Transition& transition, Label& label) {
  mPlace.choice = transition.connector;
  clearFlags();
  const std::size_t part = transition.part;
  return isRemembered(part) ? repeat(part, mCurrent[part], label) : fireForReal(part, label);
}

bool RepeatableStates::fireFrozen(const PendingState& state, Transition& transition, Label& label) {
  restore(state);
  mPlace.choice = transition.connector;
  clearFlags();
  const std::size_t part = transition.part;
  if (!isRemembered(part)) return fireForReal(part, label);
  return repeat(part, mOutcomes.indexOf(outcomeOf(part)), label);
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

bool RepeatableStates::learn(std::size_t part, Outcomes::Index index, Label& label) {
  if (!fireForReal(part, label)) return false;
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

}  // namespace Vesk
