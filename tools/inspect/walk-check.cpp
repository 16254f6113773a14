#include "walk-check.hpp"

#include <map>
#include <utility>

#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "exploration/untimed-priorities.hpp"
#include "findings.hpp"
#include "names.hpp"
#include "port.hpp"
#include "states.hpp"
#include "stuck-watch.hpp"

namespace Vesk::Inspect {

// ---- Runs ------------------------------------------------------------------------------------

RunCheck::RunCheck(std::string way, Seen& seen, Findings& findings)
    : mWay(std::move(way)), mSeen(seen), mFindings(findings) {}

RunCheck::~RunCheck() = default;

void RunCheck::configured(Compound*, const Scheduler&) {
  StuckWatch::progress(mWay);
}

void RunCheck::started(Compound& system, const LogicalClock*) {
  mParts = std::make_unique<Parts>(system);
  checkConstraints();
}

void RunCheck::stepBegins(Connector*, Port*) {
  StuckWatch::progress(mWay);
  mFired.clear();
  lookAtStep(*mParts, mSeen, mFindings);
}

// Only loops without time fire connectors, and one of them several in a step.
void RunCheck::firing(Connector& connector) {
  Interaction* first = connector.feasibleInter();
  if (first == nullptr) return;
  for (Port* port : portsOf(connector, first->synced())) {
    if (!mFired.insert(port).second) mTwice.insert(mParts->nameOf(*port));
  }
}

void RunCheck::finish() {
  if (mTwice.empty()) return;
  std::string names;
  std::size_t shown = 0;
  for (const std::string& name : mTwice) {
    if (++shown > MOST_NAMES) break;
    names += (names.empty() ? "" : ", ") + name;
  }
  if (mTwice.size() > MOST_NAMES) {
    names += " and " + std::to_string(mTwice.size() - MOST_NAMES) + " more";
  }
  mFindings.add(
      {mWay, "a port fires twice in one step: " + names,
       "maximal synchronisation fires every connector that was legal at the beginning of a "
       "step, also those that exclude each other",
       "do not run this model with " + mWay +
           ", or let connectors that exclude each other never be legal at once"});
}

void RunCheck::checkConstraints() {
  for (std::size_t i = 0; i < mParts->atoms().size(); ++i) {
    for (Constraint* constraint : mParts->atoms()[i].part->constraints()) {
      if (constraint != nullptr) checkConstraint(*constraint, i);
      mFindings.note(
          "the model has timing constraints; explorations, --opt1 and --opt2 know no time");
    }
  }
}

// What is wrong with the bounds; empty when nothing is.
static std::string mistakeOf(const Interval& interval) {
  const bool startsBeyond = interval.low() >= Time::MAX;
  const bool endsBeyond = interval.high() > Time::MAX;
  if (startsBeyond || endsBeyond) return "an interval beyond 2147.48 s, where time ends";
  if (interval.empty()) return "an interval whose lower bound is above the upper one";
  if (interval.high() < Time(0)) return "an interval that ends before 0";
  return "";
}

// The clock must be the atom's own, or that of the whole run. The other atoms' clocks are few.
void RunCheck::checkConstraint(const Constraint& constraint, std::size_t index) {
  const Parts::Placed<Atom>& placed = mParts->atoms()[index];
  for (unsigned int i = 0; i < constraint.size(); ++i) {
    const Interval interval = constraint[i];
    const std::string what = mistakeOf(interval);
    if (what.empty()) continue;
    mFindings.add({placed.path, "it has a constraint with " + what,
                   "a port under it is never enabled, or for ever",
                   "look at the order and the unit of the bounds: they are microseconds"});
  }
  for (const auto& other : mParts->atoms()) {
    if (other.part == placed.part) continue;
    for (Clock* clock : other.part->clocks()) {
      if (clock == nullptr || clock != constraint.clock()) continue;
      mFindings.add(
          {placed.path, "it has a constraint over a clock of " + other.path,
           "when that atom resets its clock, the ports of this one are not announced again",
           "give this atom a clock of its own"});
    }
  }
}

// ---- A step ----------------------------------------------------------------------------------

void lookAtStep(const Parts& parts, Seen& seen, Findings& findings) {
  for (const auto& placed : parts.ports()) {
    if (placed.part->synced()) seen.ports.insert(placed.path);
  }
  for (const auto& placed : parts.connectors()) {
    Connector& connector = *placed.part;
    if (!connector.evaluated() || !connector.legal()) continue;
    seen.connectors.insert(placed.path);
    if (connector.isBroadcast()) continue;
    for (Port* port : connector.ports()) {
      if (port->synced()) continue;
      findings.add(
          {placed.path,
           "its guard holds although its port " + parts.nameOf(*port) + " is not enabled",
           "a rendezvous fires all its ports, so the atom is asked for a transition that it "
           "did not announce",
           "begin its guard() with: return maximal() && ..."});
    }
  }
}

namespace {

class UnseenReport {
 public:
  UnseenReport(const Parts& parts, const Seen& seen, unsigned int steps, Findings& findings)
      : mParts(parts),
        mSeen(seen),
        mFindings(findings),
        mOften(" in " + std::to_string(steps) + " steps of every way to run") {}

  void run() {
    for (const auto& placed : mParts.atoms()) reportAtom(placed);
    for (const auto& placed : mParts.connectors()) reportConnector(placed);
  }

 private:
  bool isSeen(Port& port) const { return mSeen.ports.count(mParts.nameOf(port)) != 0; }
  // Ports that nothing joins have been reported by their structure.
  static bool isOfInterest(const Port& port) { return port.isConnected() && !port.isInternal(); }

  void reportAtom(const Parts::Placed<Atom>& placed) {
    std::vector<Port*> unseen;
    bool silent = true;
    for (Port* port : placed.part->ports()) {
      if (!isOfInterest(*port)) continue;
      if (isSeen(*port)) silent = false;
      if (!isSeen(*port)) unseen.push_back(port);
    }
    if (silent && !unseen.empty()) {
      mFindings.add({placed.path, "it has announced no port" + mOften,
                     "it takes no part in anything",
                     "call sync() or rt_sync() at the end of initialize(), execute() and "
                     "setState()"});
      return;
    }
    for (Port* port : unseen) {
      mFindings.add({mParts.nameOf(*port), "it was never enabled" + mOften,
                     "its transition is never taken",
                     "look at the condition under which it is announced, or take more --steps"});
    }
  }

  // A connector whose ports are reported needs no report of its own.
  void reportConnector(const Parts::Placed<Connector>& placed) {
    if (mSeen.connectors.count(placed.path) != 0) return;
    for (Port* port : placed.part->ports()) {
      if (port->atomHolder() != nullptr && !isSeen(*port)) return;
    }
    mFindings.add({placed.path, "it was never possible" + mOften, "it never fires",
                   "look at its guard(), at complete() and at when its ports are enabled, or take "
                   "more --steps"});
  }

  const Parts& mParts;
  const Seen& mSeen;
  Findings& mFindings;
  const std::string mOften;
};

}  // namespace

void reportUnseen(const Parts& parts, const Seen& seen, unsigned int steps, Findings& findings) {
  UnseenReport(parts, seen, steps, findings).run();
}

// ---- States ----------------------------------------------------------------------------------

namespace {

class StateCheck {
 public:
  StateCheck(Compound& system, Seen& seen, Findings& findings)
      : mSystem(system),
        mParts(system),
        mPriorities(prioritiesActEverywhere(system)),
        mSeen(seen),
        mFindings(findings) {}

  void run(unsigned int steps, unsigned int seed) {
    StuckWatch::progress("initialize()");
    mSystem.initialize(nullptr);
    mKnown.resize(mParts.atoms().size());
    for (std::size_t i = 0; i < mParts.atoms().size(); ++i) remember(i);
    mRandom = seed;
    for (unsigned int step = 0; step < steps; ++step) {
      StuckWatch::progress("an exploration");
      Connector* legals = mPriorities ? activateUnderPriorities(mSystem) : mSystem.activate(false);
      lookAtStep(mParts, mSeen, mFindings);
      Connector* chosen = choose(legals);
      if (chosen == nullptr) break;
      mFiring = mParts.nameOf(*chosen);
      chosen->execute();
      for (std::size_t i = 0; i < mParts.atoms().size(); ++i) checkAtom(i);
    }
    checkBorders();
  }

 private:
  // What is known of an atom: the ports that it has announced with each of its texts.
  struct Known {
    std::map<std::string, std::string> announced;
    std::string first;  // the text at the start
    std::string now;
    bool lengthVaries = false;
  };

  // Knuth's generator for 32 bits: the same walk everywhere.
  unsigned int draw(unsigned int count) {
    mRandom = mRandom * 1664525u + 1013904223u;
    return static_cast<unsigned int>((static_cast<unsigned long long>(mRandom) * count) >> 32);
  }

  Connector* choose(Connector* legals) {
    unsigned int count = 0;
    for (Connector* legal : Chain(legals)) {
      (void)legal;
      ++count;
    }
    if (count == 0) return nullptr;
    Connector* chosen = legals;
    for (unsigned int ahead = draw(count); ahead != 0; --ahead) chosen = chosen->next();
    return chosen;
  }

  Atom& atom(std::size_t index) const { return *mParts.atoms()[index].part; }

  std::string announcedBy(std::size_t index) const {
    std::string ports;
    for (Port* port : atom(index).ports()) {
      if (port->synced()) ports += (ports.empty() ? "" : " ") + std::string(textOf(port->name()));
    }
    return ports.empty() ? "nothing" : ports;
  }

  void remember(std::size_t index) {
    Known& known = mKnown[index];
    known.now = known.first = stateOf(atom(index)).text;
    known.announced[known.now] = announcedBy(index);
  }

  // An atom that has moved is put back into its first state and then into the present one: both
  // must be the same again.
  void checkAtom(std::size_t index) {
    Known& known = mKnown[index];
    const std::string text = stateOf(atom(index)).text;
    if (text == known.now) return;
    const std::string announced = announcedBy(index);
    const auto [place, isNew] = known.announced.emplace(text, announced);
    if (place->second != announced) {
      report(index, "after execute() in the state " + shown(text), place->second, announced);
    }
    known.lengthVaries = known.lengthVaries || text.size() != known.now.size();
    const std::string before = known.now;
    known.now = text;
    if (!isNew && before != known.first) return;
    restore(index, before);
    restore(index, text);
  }

  void restore(std::size_t index, const std::string& text) {
    Leaf leaf(new Atomleaf(text.c_str()));
    atom(index).setState(&leaf);
    const std::string found = stateOf(atom(index)).text;
    if (found != text) {
      mFindings.add(
          {mParts.atoms()[index].path, "setState() does not restore what getState() has given",
           "restored " + shown(text) + ", then getState() gives " + shown(found) +
               ": an exploration goes on from other states than it has found",
           "let setState() set every variable that getState() writes, in the same order"});
      return;
    }
    const std::string announced = announcedBy(index);
    const std::string& known = mKnown[index].announced.at(text);
    if (known == announced) return;
    report(index, "after setState() with the state " + shown(text), known, announced);
  }

  void report(std::size_t index, const std::string& when, const std::string& expected,
              const std::string& found) {
    mFindings.add({mParts.atoms()[index].path, "it announces other ports in the same state",
                   "it has announced " + expected + ", and " + when + " it announces " + found +
                       ": an exploration follows only one of them",
                   "write every variable that decides about ports into getState(), and announce in "
                   "the same way everywhere"});
  }

  static std::string shown(const std::string& text) { return "\"" + utf8(text) + "\""; }
  static bool isWordSign(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
           c == '.';
  }

  // The texts of neighbours, which the engine puts together without a separator.
  void checkBorders() {
    for (std::size_t i = 1; i < mKnown.size(); ++i) {
      const std::string& left = mKnown[i - 1].now;
      const std::string& right = mKnown[i].now;
      if (left.empty() || right.empty()) continue;
      if (!mKnown[i - 1].lengthVaries && !mKnown[i].lengthVaries) continue;
      if (!isWordSign(left.back()) || !isWordSign(right.front())) continue;
      mFindings.add({mParts.atoms()[i - 1].path,
                     "its state runs into that of " + mParts.atoms()[i].path,
                     "states are compared as one text without separators: " + shown(left) +
                         " and " + shown(right) + " give " + shown(left + right) +
                         ", and so may other states, which an exploration takes for the same",
                     "let each text begin or end with a comma"});
    }
  }

  Compound& mSystem;
  const Parts mParts;
  const bool mPriorities;  // they act in explorations
  Seen& mSeen;
  Findings& mFindings;
  std::vector<Known> mKnown;  // per atom
  std::string mFiring;
  unsigned int mRandom = 0;
};

}  // namespace

void checkStates(Compound& system, unsigned int steps, unsigned int seed, Seen& seen,
                 Findings& findings) {
  StateCheck(system, seen, findings).run(steps, seed);
}

}  // namespace Vesk::Inspect
