#include "exploration/promise-check.hpp"

#include <algorithm>
#include <cstdint>

#include "chain.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "exploration/flags.hpp"
#include "port.hpp"

namespace Vesk {

namespace {

const char* textOf(const char* name) {
  return name != nullptr ? name : "";
}

// The names of the compounds above a part, each followed by a slash.
std::string placeOf(const Compound* holder) {
  return holder != nullptr ? placeOf(holder->holder()) + textOf(holder->name()) + "/" : "";
}

// The sets of ports that may fire, as labels.
std::string feasibleOf(Connector& connector) {
  std::string sets;
  for (Interaction* feasible : Chain(connector.feasibleInter())) {
    sets += (sets.empty() ? "" : " ") + std::string(feasible->label());
  }
  return sets.empty() ? "nothing" : sets;
}

}  // namespace

std::string BrokenPromise::message() const {
  return part + " " + what + "\n  in the state " + state + "\n  expected " + expected +
         "\n  found    " + found + "\n";
}

PromiseCheck::PromiseCheck(Compound& system)
    : mParts((system.initialize(nullptr), system)),
      mAnnounced(mParts.atoms().size()),
      mFeasible(mParts.connectors().size()),
      mAfter(mParts.connectors().size()) {
  for (std::size_t atom = 0; atom < mParts.atoms().size(); ++atom) {
    mTexts.emplace_back(*mParts.atoms()[atom].atom, atom);
  }
}

std::optional<BrokenPromise> PromiseCheck::run(std::size_t mostStates) {
  if (promise() == Locality::UNDECLARED) return std::nullopt;
  const KeptFlags kept;
  mFirst = read();
  add(mFirst);
  while (!mWaiting.empty() && mExamined < mostStates) {
    const State state = mWaiting.front();
    mWaiting.pop_front();
    ++mExamined;
    if (!examine(state)) break;
  }
  return mBroken;
}

// The generator of Numerical Recipes, so that the way does not depend on the library.
std::optional<BrokenPromise> PromiseCheck::walk(std::size_t steps, unsigned int seed) {
  const KeptFlags kept;
  std::uint32_t random = seed;
  State state = mFirst;
  for (std::size_t step = 0; step < steps && !mBroken; ++step) {
    ++mExamined;
    if (!examine(state)) break;
    random = random * 1664525u + 1013904223u;
    if (mNext.empty()) {
      state = mFirst;
    } else {
      state = mNext[(std::uint64_t{random} * mNext.size()) >> 32];
    }
  }
  return mBroken;
}

// ---- States ----------------------------------------------------------------------------------

void PromiseCheck::add(const State& state) {
  if (mFound.insert(state).second) mWaiting.push_back(state);
}

PromiseCheck::State PromiseCheck::read() {
  State state;
  for (AtomTexts& texts : mTexts) state.push_back(texts.read());
  return state;
}

void PromiseCheck::restore(const State& state) {
  for (std::size_t atom = 0; atom < mTexts.size(); ++atom) mTexts[atom].restore(state[atom]);
}

std::string PromiseCheck::announcedBy(std::size_t atom) const {
  std::string ports;
  for (Port* port : mParts.atoms()[atom].atom->ports()) {
    if (!ports.empty()) ports += ' ';
    ports += (port->synced() ? "+" : "-") + std::string(Vesk::textOf(port->name()));
  }
  return ports;
}

PromiseCheck::Announced PromiseCheck::announced() const {
  Announced all;
  for (std::size_t atom = 0; atom < mTexts.size(); ++atom) all.push_back(announcedBy(atom));
  return all;
}

PromiseCheck::Row PromiseCheck::row(std::size_t part, const State& state) const {
  Row numbers;
  for (const Index atom : members(part)) numbers.push_back(state[atom]);
  return numbers;
}

std::string PromiseCheck::textOf(const State& state) const {
  std::string text;
  for (std::size_t atom = 0; atom < state.size(); ++atom) text += mTexts[atom].text(state[atom]);
  return text;
}

std::string PromiseCheck::textOf(std::size_t part, const Row& row) const {
  std::string text;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const Index atom = members(part)[i];
    if (i != 0) text += ' ';
    text += std::string(Vesk::textOf(mParts.atoms()[atom].atom->name())) + ":" +
            mTexts[atom].text(row[i]);
  }
  return text;
}

// A search goes no further from such a state.
bool PromiseCheck::raisesFlag(const State& state) const {
  for (std::size_t atom = 0; atom < state.size(); ++atom) {
    const AtomTexts::Raised& raised = mTexts[atom].raised(state[atom]);
    if (raised.prune || raised.error) return true;
  }
  return false;
}

// ---- What a state shows ----------------------------------------------------------------------

bool PromiseCheck::examine(const State& state) {
  mNext.clear();
  if (!checkRestored(state) || !checkReading(state) || !checkEvaluation(state)) return false;
  for (std::size_t part = 0; part < mParts.connectors().size(); ++part) {
    if (connector(part).isSubconn() || mFeasible[part][row(part, state)] == "nothing") continue;
    if (!checkFiring(state, part)) return false;
  }
  return true;
}

bool PromiseCheck::checkRestored(const State& state) {
  restore(state);
  for (std::size_t atom = 0; atom < state.size(); ++atom) {
    const std::string ports = announcedBy(atom);
    const std::string& before = mAnnounced[atom].emplace(state[atom], ports).first->second;
    if (before != ports) {
      return breaksAtom(atom, "announces other ports after setState() with the same text", state,
                        before, ports);
    }
  }
  const State shown = read();
  for (std::size_t atom = 0; atom < state.size(); ++atom) {
    if (shown[atom] == state[atom]) continue;
    return breaksAtom(atom, "shows another text after setState()", state,
                      mTexts[atom].text(state[atom]), mTexts[atom].text(shown[atom]));
  }
  return true;
}

bool PromiseCheck::checkReading(const State& state) {
  const State shown = read();
  for (std::size_t atom = 0; atom < state.size(); ++atom) {
    const std::string what = "is changed by its getState()";
    if (shown[atom] != state[atom]) {
      return breaksAtom(atom, what, state, mTexts[atom].text(state[atom]),
                        mTexts[atom].text(shown[atom]));
    }
    const std::string& before = mAnnounced[atom][state[atom]];
    if (announcedBy(atom) != before) {
      return breaksAtom(atom, what, state, before, announcedBy(atom));
    }
  }
  return true;
}

bool PromiseCheck::checkEvaluation(const State& state) {
  restore(state);
  for (std::size_t part = 0; part < mParts.connectors().size(); ++part) {
    const Announced before = announced();
    connector(part).eval(false);
    const std::string sets = feasibleOf(connector(part));
    const std::string& known = mFeasible[part].emplace(row(part, state), sets).first->second;
    if (known != sets) {
      return breaksConnector(part, "may fire something else while its atoms are the same", state,
                             known, sets);
    }
    if (announced() != before) {
      return breaksConnector(part, "changes atoms when it is evaluated", state, "no change",
                             "other announcements");
    }
  }
  const State shown = read();
  for (std::size_t atom = 0; atom < state.size(); ++atom) {
    if (shown[atom] == state[atom]) continue;
    return breaksAtom(atom, "is changed by hooks of connectors", state,
                      mTexts[atom].text(state[atom]), mTexts[atom].text(shown[atom]));
  }
  return true;
}

// ---- What firing does ------------------------------------------------------------------------

bool PromiseCheck::checkFiring(const State& state, std::size_t part) {
  State after;
  if (!fire(state, part, false, after)) return false;
  if (isRepeatable()) {
    const std::string other = "does something else although its atoms are the same";
    if (!checkRepetition(state, part, after, other)) return false;
    if (!checkAnnounced(state, part, after)) return false;
    State again;
    if (!fire(state, part, false, again)) return false;
    if (!checkRepetition(state, part, again, other)) return false;
    if (!fire(state, part, true, again)) return false;
    if (!checkRepetition(state, part, again, "does something else after getState() of its atoms")) {
      return false;
    }
  }
  if (raisesFlag(after)) return true;
  mNext.push_back(after);
  add(after);
  return true;
}

// Reads: getState() of all atoms is called before.
bool PromiseCheck::fire(const State& state, std::size_t part, bool reads, State& after) {
  restore(state);
  if (reads) read();
  connector(part).eval(false);
  const Announced before = announced();
  clearFlags();
  connector(part).execute();
  const bool raised = global_error || global_prune || faulty_leaf != nullptr;
  clearFlags();
  if (raised && isRepeatable()) {
    return breaksConnector(part, "raises a flag when it fires", state, "none", "a flag");
  }
  mLastAnnounced = announced();
  after = read();
  return checkOthers(state, part, after, before);
}

bool PromiseCheck::checkOthers(const State& state, std::size_t part, const State& after,
                               const Announced& before) {
  const std::vector<Index>& own = members(part);
  for (Index atom = 0; atom < state.size(); ++atom) {
    if (std::binary_search(own.begin(), own.end(), atom)) continue;
    const std::string what =
        "changes when " + std::string(connector(part).label()) + " fires, where it has no part";
    if (after[atom] != state[atom]) {
      return breaksAtom(atom, what, state, mTexts[atom].text(state[atom]),
                        mTexts[atom].text(after[atom]));
    }
    if (mLastAnnounced[atom] != before[atom]) {
      return breaksAtom(atom, what, state, before[atom], mLastAnnounced[atom]);
    }
  }
  return true;
}

bool PromiseCheck::checkRepetition(const State& state, std::size_t part, const State& after,
                                   const std::string& what) {
  const Row shown = row(part, after);
  const Row& known = mAfter[part].emplace(row(part, state), shown).first->second;
  for (std::size_t i = 0; i < shown.size(); ++i) {
    if (shown[i] == known[i]) continue;
    return breaksAtom(members(part)[i],
                      what + " when " + std::string(connector(part).label()) + " fires", state,
                      textOf(part, known), textOf(part, shown));
  }
  return true;
}

// Compares what the atoms have announced after they were executed.
bool PromiseCheck::checkAnnounced(const State& state, std::size_t part, const State& after) {
  for (const Index atom : members(part)) {
    mTexts[atom].restore(after[atom]);
    const std::string ports = announcedBy(atom);
    if (ports == mLastAnnounced[atom]) continue;
    return breaksAtom(atom,
                      "announces other ports after execute() than after setState() with " +
                          mTexts[atom].text(after[atom]),
                      state, ports, mLastAnnounced[atom]);
  }
  return true;
}

// ---- What is reported ------------------------------------------------------------------------

bool PromiseCheck::breaksAtom(std::size_t atom, const std::string& what, const State& state,
                              const std::string& expected, const std::string& found) {
  const Atom& named = *mParts.atoms()[atom].atom;
  mBroken = BrokenPromise{"atom " + placeOf(named.holder()) + Vesk::textOf(named.name()), what,
                          textOf(state), expected, found};
  return false;
}

bool PromiseCheck::breaksConnector(std::size_t part, const std::string& what, const State& state,
                                   const std::string& expected, const std::string& found) {
  const Connector& named = connector(part);
  mBroken = BrokenPromise{"connector " + placeOf(named.holder()) + Vesk::textOf(named.name()), what,
                          textOf(state), expected, found};
  return false;
}

}  // namespace Vesk
