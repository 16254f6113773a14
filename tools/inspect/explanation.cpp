#include "explanation.hpp"

#include <sstream>
#include <vector>

#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "names.hpp"
#include "port.hpp"
#include "priority.hpp"
#include "scheduler.hpp"

namespace Vesk::Inspect {

namespace {

constexpr std::size_t MOST_LINES = 20;  // of a list

// As a trace shows it.
template <class T>
std::string shown(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

std::string quoted(const std::string& text) {
  return "\"" + utf8(text) + "\"";
}

// With the constraint in the values of the clock that traces show.
std::string shownExecutable(Executable& executable) {
  return utf8(shown(&executable));
}

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "" : ", ") + text;
  return all;
}

}  // namespace

Explanation::Explanation() = default;
Explanation::~Explanation() = default;

void Explanation::configured(Compound*, const Scheduler& settings) {
  mAtRandom = settings.mode() == RANDOM;
  mAsksUser = settings.mode() == INTERACTIVE;
  mByLevels = settings.optimizationMode() == PRIORITY_HEAP;
}

void Explanation::started(Compound& system, const LogicalClock* clock) {
  mSystem = &system;
  mClock = clock;
  mParts = std::make_unique<Parts>(system);
}

void Explanation::stepBegins(Connector* legals, Port* internals) {
  mLegals = legals;
  mInternals = internals;
  if (mClock != nullptr) mBefore = mClock->time();
}

void Explanation::ended(RunEnd end, const char*) {
  mText.clear();
  switch (end) {
    case RunEnd::DEADLOCK:
      if (isEndOfTime()) return explainEndOfTime();
      if (mClock == nullptr && mByLevels) return explainEmptyHeap();
      return explainDeadlock();
    case RunEnd::URGENCY:
      return explainUrgency();
    case RunEnd::DRIFT:
      return explainDrift();
    case RunEnd::NO_CHOICE:
      return explainNoChoice();
    case RunEnd::LIMIT:
      return explainLimit();
  }
}

template <class Visit>
void Explanation::everyExecutable(Visit visit) const {
  for (Connector* legal : Chain(mLegals)) {
    for (Interaction* feasible : Chain(legal->feasibleInter())) {
      if (!feasible->dominated()) visit(*feasible);
    }
  }
  for (Port* internal : Chain(mInternals)) {
    if (!internal->dominated()) visit(*internal);
  }
}

// ---- The end of time -------------------------------------------------------------------------

bool Explanation::isEndOfTime() const {
  if (mClock == nullptr) return false;
  if (mClock->time() >= Time::MAX) return true;
  for (const auto& placed : mParts->ports()) {
    if (placed.part->synced() && startBeyondTime(*placed.part) != 0) return true;
  }
  return false;
}

// When the port is enabled next, in microseconds of the model's clock, if that is a time that no
// clock reaches; else 0.
long long Explanation::startBeyondTime(const Port& port) const {
  const Constraint* constraint = port.constraint();
  if (constraint == nullptr || constraint->clock() == nullptr) return 0;
  const Time offset = constraint->clock()->drift(mClock);
  for (unsigned int i = 0; i < constraint->size(); ++i) {
    const Time low = (*constraint)[i].low();
    if (low == Time::MIN || low == Time::MAX) continue;
    const long long start = low.microseconds() + offset.microseconds();
    if (start >= Time::MAX.microseconds()) return start;
  }
  return 0;
}

void Explanation::explainEndOfTime() {
  add("why: this is the end of time, 2147483.647ms, and no deadlock: no clock goes further");
  for (const auto& placed : mParts->ports()) {
    if (!placed.part->synced()) continue;
    const long long start = startBeyondTime(*placed.part);
    if (start != 0) {
      add("  " + utf8(placed.path) + " waits for " + std::to_string(start / 1000) + "ms");
    }
  }
  if (mAtRandom) explainRandomTimes();
}

void Explanation::explainRandomTimes() {
  add("  --random draws each time from the interval in which a step may fire. Where nothing is "
      "urgent that has no end, so a few steps lead to the end of time.");
  add("  Give the constraints upper bounds and make them delayable or eager, or run without "
      "--random.");
}

// ---- Deadlock --------------------------------------------------------------------------------

void Explanation::explainDeadlock() {
  const std::string when = mClock != nullptr ? " at " + shown(mClock->time()) : "";
  add("why: a deadlock" + when + ": nothing can fire any more");
  std::size_t count = 0;
  for (const auto& placed : mParts->connectors()) {
    if (placed.part->isSubconn()) continue;
    if (++count <= MOST_LINES) add("  " + utf8(placed.path) + ": " + whyNot(*placed.part));
  }
  if (count > MOST_LINES) add("  and " + std::to_string(count - MOST_LINES) + " connectors more");
  for (const auto& placed : mParts->ports()) {
    if (!placed.part->isInternal() || !placed.part->synced()) continue;
    add("  " + utf8(placed.path) + ": its time has passed: " + shownExecutable(*placed.part));
  }
  addStates();
}

// The loop by levels evaluates only what may have changed, so the rest is looked at now.
void Explanation::explainEmptyHeap() {
  mLegals = mSystem->activate(false);
  if (mLegals == nullptr) return explainDeadlock();
  add("why: no connector waits for its turn, although these are possible:");
  for (Connector* legal : Chain(mLegals)) add("  " + utf8(mParts->nameOf(*legal)));
  add("  --opt2 evaluates a connector again only when an atom of its own ports has moved. That is "
      "not enough for exported ports and for guards that read other atoms; run without --opt2.");
}

std::string Explanation::whyNot(Connector& connector) const {
  return connector.legal() ? whyNotNow(connector) : whyNotFeasible(connector);
}

// Something is feasible, so priorities or time rule it out.
std::string Explanation::whyNotNow(Connector& connector) const {
  std::vector<std::string> reasons;
  for (Interaction* feasible : Chain(connector.feasibleInter())) {
    if (feasible->dominated()) {
      reasons.push_back("it gives way to " + dominatorsOf(*feasible));
    } else if (feasible->constraint() != nullptr && feasible->constraint()->empty()) {
      reasons.push_back("it gives way to " + dominatorsOf(*feasible) + " at all of its times");
    } else {
      reasons.push_back("its time has passed: " + shownExecutable(*feasible));
    }
  }
  return joined(reasons);
}

std::string Explanation::dominatorsOf(Interaction& interaction) const {
  std::vector<std::string> names;
  for (Connector* legal : Chain(mLegals)) {
    if (legal == interaction.connector() || legal->holder() != interaction.connector()->holder())
      continue;
    for (const auto& placed : mParts->priorities()) {
      const Interaction* low = placed.part->low();
      const Interaction* high = placed.part->high();
      if (low->connector() != interaction.connector()) continue;
      if (high != nullptr && high->connector() != legal) continue;
      names.push_back(utf8(mParts->nameOf(*legal)));
      break;
    }
  }
  return names.empty() ? "others" : joined(names);
}

std::string Explanation::whyNotFeasible(Connector& connector) const {
  std::vector<std::string> reasons;
  for (Port* port : connector.ports()) {
    if (!port->synced()) reasons.push_back(whyNotPort(*port));
  }
  if (connector.isBroadcast()) {
    if (static_cast<int>(reasons.size()) == connector.ports().count()) return joined(reasons);
    const std::string none = "guard() and complete() allow no set of the enabled ports";
    return reasons.empty() ? none : none + "; " + joined(reasons);
  }
  if (!reasons.empty()) return joined(reasons);
  if (!connector.guard(BitVector::below(connector.ports().count()))) return "its guard() says no";
  for (Port* port : connector.ports()) {
    if (port->constraint() != nullptr) reasons.push_back(shownExecutable(*port));
  }
  return "its ports have no time in common: " + joined(reasons);
}

std::string Explanation::whyNotPort(Port& port) const {
  const std::string text = utf8(mParts->nameOf(port)) + " is not enabled";
  if (Atom* atom = port.atomHolder()) {
    const std::size_t index = mParts->indexOf(atom);
    if (index == Parts::NONE) return text + " (its atom is not in the tree)";
    const StateText state = stateOf(*atom);
    return state.given ? text + " in the state " + quoted(state.text) : text;
  }
  Connector* below = port.connHolder();
  return below != nullptr ? text + " (" + whyNot(*below) + ")" : text;
}

void Explanation::addStates() {
  add("  the states of the atoms:");
  std::size_t count = 0;
  for (const auto& placed : mParts->atoms()) {
    if (++count > MOST_LINES) continue;
    const StateText state = stateOf(*placed.part);
    add("    " + utf8(placed.path) + " " + (state.given ? quoted(state.text) : "(none)"));
  }
  if (count > MOST_LINES) add("    and " + std::to_string(count - MOST_LINES) + " more");
}

// ---- Time ------------------------------------------------------------------------------------

void Explanation::explainUrgency() {
  add("why: at " + shown(mClock->time()) + " something is overdue that had to fire before:");
  everyExecutable([this](Executable& executable) {
    const Time deadline = executable.deadline(mBefore);
    if (deadline >= mClock->time()) return;
    add("  " + utf8(executable.label()) + ": by " + shown(deadline));
  });
  add("  The step began at " + shown(mBefore) + ", and the clock of the platform has gone on " +
      "since: transitions take longer than the constraints allow.");
}

void Explanation::explainDrift() {
  add("why: the clock of the platform is at " + shown(mClock->platformClock().time()) +
      ", that of the model at " + shown(mClock->time()) +
      ", more than the 40ms apart that are allowed");
  add("  Something that is urgent keeps the model from catching up, while its transitions take "
      "longer than that.");
}

void Explanation::explainNoChoice() {
  if (mAsksUser) {
    add("why: the dialogue was left, by 0 or by the end of the input. No bug was found: the line "
        "about one is always written then");
  } else if (mAtRandom) {
    add("why: the time that was drawn is after the last one at which anything is possible, or "
        "beyond "
        "the end of time, 2147483.647ms. No bug was found");
    explainRandomTimes();
  } else {
    add("why: nothing was chosen, although something is possible: the policy has removed it");
  }
}

void Explanation::explainLimit() {
  add("why: the limit of steps was reached; the model itself has not ended");
}

}  // namespace Vesk::Inspect
