#include "connector.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "activation-plan.hpp"
#include "blocks.hpp"
#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "constraint.hpp"
#include "exploration/signals.hpp"
#include "interaction-index.hpp"
#include "names.hpp"
#include "on-demand.hpp"
#include "port.hpp"
#include "priority.hpp"
#include "work-stack.hpp"

using Vesk::textOf;

char Connector::LABEL[1024];

namespace {

const char* const TOO_MANY_PORTS = "vesk: connector %s: %d ports, at most %d are possible\n";
const char* const PORT_RING = "vesk: connector %s: its exported port depends on itself\n";

const char* const MANY_SETS =
    "vesk: connector %s: a broadcast with %d enabled timed ports looks at 2^%d sets of ports\n";

constexpr int MANY_TIMED_PORTS = 16;  // more are reported

void checkPortCount(const char* name, int count) {
  if (count <= Connector::MAX_PORTS) return;
  std::fprintf(stderr, TOO_MANY_PORTS, textOf(name), count, Connector::MAX_PORTS);
  std::abort();
}

void connect(Connector& connector, Port* port) {
  port->setConnected();
  connector.ports().add(port);
  port->setLink(&connector);
}

// Makes an interaction the one under consideration for the life of this object.
class UnderConsideration {
 public:
  UnderConsideration(Connector& connector, Interaction* interaction)
      : mConnector(connector), mFormer(connector.feasibleInter()), mCurrent(interaction) {
    mConnector.setFeasibleInter(interaction);
  }
  UnderConsideration(const UnderConsideration&) = delete;
  UnderConsideration& operator=(const UnderConsideration&) = delete;
  ~UnderConsideration() { mConnector.setFeasibleInter(mFormer); }

  bool unchanged() const { return mConnector.feasibleInter() == mCurrent; }

 private:
  Connector& mConnector;
  Interaction* mFormer;
  Interaction* mCurrent;
};

// Clears the synced flags of the ports for the life of this object, then restores them.
class ClearedFlags {
 public:
  explicit ClearedFlags(Array<Port, false>& ports) : mPorts(ports) {
    for (int i = 0; i < mPorts.count(); ++i) {
      if (mPorts[i]->synced()) mEnabled.add(i);
    }
    for (Port* port : mPorts) port->setSynced(false);
  }
  ClearedFlags(const ClearedFlags&) = delete;
  ClearedFlags& operator=(const ClearedFlags&) = delete;
  ~ClearedFlags() {
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(mEnabled.in(i) != 0);
  }

  // The ports whose flags were set.
  BitVector& enabled() { return mEnabled; }

 private:
  Array<Port, false>& mPorts;
  BitVector mEnabled;
};

}  // namespace

// ---- Connector: construction -------------------------------------------------------------------

Connector::Connector(const char* name, const Compound* holder, bool subconn)
    : mName(Vesk::duplicate(name)),
      mHolder(const_cast<Compound*>(holder)),  // priorities reach the connectors of the compound
      mPorts(Vesk::ON_DEMAND),
      mxPort(nullptr),
      mLegal(false),
      mDominated(false),
      mDominatedPriorities(Vesk::ON_DEMAND),
      mDominatorPriorities(Vesk::ON_DEMAND),
      mFeasibleInter(nullptr),
      mSubconn(subconn),
      mSubconnSameHolder(false),
      mPriority(NO_LEVEL),
      mQueued(false),
      mNext(nullptr),
      mEval(false),
      mRecomputexPort(false),
      mLinks(Vesk::ON_DEMAND),
      mEvaluating(false),
      mReported(false),
      mLocality(Vesk::Locality::UNDECLARED),
      mInteractions(new Vesk::InteractionIndex) {
  mFeasibleInter = Interaction::Create(this, BitVector::EMPTY);
}

Connector::Connector(const char* name, const Compound* holder, bool subconn, int n, ...)
    : Connector(name, holder, subconn) {
  va_list ports;
  va_start(ports, n);
  setVarPorts(n, ports);
  va_end(ports);
}

Connector::Connector(const char* name, const Compound* holder, bool subconn,
                     std::initializer_list<Port*> ports)
    : Connector(name, holder, subconn) {
  checkPortCount(mName, static_cast<int>(ports.size()));
  for (Port* port : ports) connect(*this, port);
}

Connector::~Connector() {
  delete mInteractions;
  if (mxPort != nullptr) mxPort->dropConstraint();
  delete mxPort;
  Vesk::endName(mName);
}

void Connector::setVarPorts(int n, va_list ports) {
  checkPortCount(mName, mPorts.count() + n);
  for (int i = 0; i < n; ++i) connect(*this, va_arg(ports, Port*));
}

void Connector::setDominatedPriority(Priority* priority) {
  if (!mDominatedPriorities.Belongs(priority)) mDominatedPriorities.add(priority);
}

void Connector::setDominatorPriority(Priority* priority) {
  if (!mDominatorPriorities.Belongs(priority)) mDominatorPriorities.add(priority);
}

// ---- Connector: evaluation ---------------------------------------------------------------------

// The connectors that eval() is in the middle of, each with the port at which it goes on.
class Connector::EvalVisits {
 public:
  EvalVisits() = default;
  EvalVisits(const EvalVisits&) = delete;
  EvalVisits& operator=(const EvalVisits&) = delete;
  ~EvalVisits() {
    while (!mVisits.empty()) leave();
  }

  // The connector entered last, null when there is none.
  Connector* current() { return mVisits.empty() ? nullptr : mVisits.top().connector; }
  int& nextPort() { return mVisits.top().port; }
  // Refuses a connector that it is in the middle of, so that a ring of exported ports ends.
  void enter(Connector* connector) {
    if (connector->mEvaluating) {
      std::fprintf(stderr, PORT_RING, textOf(connector->name()));
      return;
    }
    connector->mEvaluating = true;
    mVisits.push({connector, 0});
  }
  void leave() { mVisits.pop().connector->mEvaluating = false; }

 private:
  struct Visit {
    Connector* connector;
    int port;
  };
  Vesk::WorkStack<Visit> mVisits;
};

void Connector::eval(bool incremental) {
  if (incremental && mEval) return;
  evalNow(incremental);
  noteEvaluation();
}

// Does not note for the plan that this connector has been evaluated. Steps spend most of their time
// here, so all calls to what stands in this file are inlined.
[[gnu::flatten]] void Connector::evalNow(bool incremental) {
  int port = 0;
  if (nextProvider(port) != nullptr) {
    evalDepthFirst(incremental);
  } else {
    evalAlone();
  }
}

// The connectors that own the exported ports of a connector before that connector, in the order of
// its ports.
[[gnu::noinline]] void Connector::evalDepthFirst(bool incremental) {
  EvalVisits visits;
  visits.enter(this);
  while (Connector* connector = visits.current()) {
    Connector* provider = connector->nextProvider(visits.nextPort());
    if (provider == nullptr) {
      visits.leave();
      connector->evalAlone();
      connector->noteEvaluation();
    } else if (!incremental || !provider->mEval) {
      visits.enter(provider);
    }
  }
}

Connector* Connector::evaluate(Connector* list, bool subconn, bool incremental) {
  eval(incremental);
  if (mInteractions->plan != nullptr) mInteractions->plan->disturb();
  if (!subconn && mLegal) {
    mNext = list;
    return this;
  }
  mNext = nullptr;
  return list;
}

// The connector of the next exported port from a port index on, which moves behind it; null when
// there is none.
Connector* Connector::nextProvider(int& port) const {
  while (port < mPorts.count()) {
    Connector* provider = mPorts[port++]->connHolder();
    if (provider != nullptr) return provider;
  }
  return nullptr;
}

void Connector::evalAlone() {
  createFeasibleInters();
  mLegal = mFeasibleInter != nullptr;
  if (mxPort != nullptr) computexPort();
  if (mLegal) up();
  mEval = true;
}

// Tells the plan of the activation that this connector evaluates again, or has been evaluated.
void Connector::noteEvaluation() {
  if (mInteractions->plan != nullptr) mInteractions->plan->noteEvaluation(mInteractions->rank);
}

void Connector::noteStale() {
  if (mInteractions->plan != nullptr) mInteractions->plan->noteStale(mInteractions->rank);
}

void Connector::noteDomination() {
  if (mInteractions->plan != nullptr) mInteractions->plan->noteDomination(mInteractions->rank);
}

bool Connector::maximal() const {
  for (Port* port : mPorts) {
    if (!port->synced()) return false;
  }
  return true;
}

bool Connector::guard(const BitVector& set) {
  Interaction* const known = mInteractions->find(set);
  const UnderConsideration current(*this,
                                   known != nullptr ? known : Interaction::Create(this, set));
  return guard() && current.unchanged();
}

void Connector::up(const BitVector& set) {
  const UnderConsideration current(*this, Interaction::Create(this, set));
  up();
}

void Connector::dn(const BitVector& set) {
  const UnderConsideration current(*this, Interaction::Create(this, set));
  dn();
}

// ---- Connector: feasible interactions ----------------------------------------------------------

void Connector::createFeasibleInters() {
  checkPortCount(mName, mPorts.count());
  isBroadcast() ? createFeasibleSets() : createFeasibleRendezvous();
}

[[gnu::noinline]] void Connector::createFeasibleSets() {
  BitVector set;
  ClearedFlags flags(mPorts);
  reportManySets(flags.enabled());
  mFeasibleInter = createFeasibleBroadcast(flags.enabled(), set, 0, nullptr);
}

// Each timed port doubles the sets of a broadcast, and the time that it takes.
void Connector::reportManySets(const BitVector& enabled) {
  if (mReported || mPorts.count() <= MANY_TIMED_PORTS) return;
  int timed = 0;
  for (int i = 0; i < mPorts.count(); ++i) {
    if (enabled.in(i) && mPorts[i]->constraint() != nullptr) ++timed;
  }
  if (timed <= MANY_TIMED_PORTS) return;
  std::fprintf(stderr, MANY_SETS, textOf(mName), timed, timed);
  mReported = true;
}

void Connector::createFeasibleRendezvous() {
  auto* const all = mInteractions->ofAllPorts(mPorts.count());
  if (all == nullptr) {
    mFeasibleInter = unknownRendezvous();
  } else {
    mFeasibleInter = guard(all->synced()) && all->intersectPortConstraints() ? all : nullptr;
  }
  if (mFeasibleInter == nullptr) return;
  mFeasibleInter->setDominated(false);
  mFeasibleInter->setNext(nullptr);
}

// The interaction of all ports, looked for by its set; null when it is not possible.
[[gnu::noinline]] Interaction* Connector::unknownRendezvous() {
  const BitVector all = BitVector::below(mPorts.count());
  Interaction* const found = guard(all) ? Interaction::CreateRealTime(this, all, all) : nullptr;
  mInteractions->learnAllPorts(mPorts.count());
  return found;
}

// Larger sets first: an enabled port without constraint is always taken, one with a constraint is
// first taken, then left out. A search that is asked to stop gets a part of the list.
Interaction* Connector::createFeasibleBroadcast(BitVector& enabled, BitVector& set, int i,
                                                Interaction* list) {
  for (; i < mPorts.count(); ++i) {
    Port* port = mPorts[i];
    if (enabled.in(i)) {
      set.add(i);
      port->setSynced(true);
      if (port->constraint() == nullptr) continue;
      list = createFeasibleBroadcast(enabled, set, i + 1, list);
      if (Vesk::cutEnumeration()) return list;
    }
    set.rem(i);
    port->setSynced(false);
  }
  return addFeasible(enabled, set, list);
}

namespace {

// When a set of ports may fire apart from the larger ones.
enum class Remainder {
  SOMETIMES,  // at the times that its constraint leaves
  NEVER,
  UNKNOWN  // the search has been asked to stop
};

// The constraint of a set, ready to have the times of larger ones taken away.
Constraint& timesOf(Interaction& set) {
  if (set.constraint() == nullptr) set.useOwnConstraint(set.displayClock());
  set.constraint()->setDelay(Vesk::Time(0));
  set.constraint()->setDomination(false);
  return *set.constraint();
}

// Takes the times of the larger sets in the list away from those of a set.
Remainder leaveToLarger(Interaction& set, Interaction* list) {
  bool equal = false;
  for (Interaction* larger : Vesk::Chain(list)) {
    if (Vesk::cutEnumeration()) return Remainder::UNKNOWN;
    if (!set.isSubset(larger, equal)) continue;
    if (larger->constraint() == nullptr) return Remainder::NEVER;
    timesOf(set) -= *larger->constraint();
  }
  const bool never = set.constraint() != nullptr && set.constraint()->empty();
  return never ? Remainder::NEVER : Remainder::SOMETIMES;
}

}  // namespace

// The interaction of a set that guard and completeness allow and that has a time; null when there
// is none.
Interaction* Connector::possible(const BitVector& enabled, const BitVector& set) {
  if (Vesk::cutEnumeration() || !guard(set)) return nullptr;
  if (!complete() && !maximal()) return nullptr;
  return Interaction::CreateRealTime(this, enabled, set);
}

// Puts the interaction of a set in front of the list, at the times at which no larger set is
// possible. Returns the new list.
// Deliberate: a set that is never possible apart from larger ones discards the whole list found so
// far, because traces of models depend on what can fire.
// (docs/decisions/0002-the-discarded-broadcast-list.md)
Interaction* Connector::addFeasible(const BitVector& enabled, const BitVector& set,
                                    Interaction* list) {
  Interaction* const added = possible(enabled, set);
  if (added == nullptr) return list;
  added->setDominated(false);
  switch (leaveToLarger(*added, list)) {
    case Remainder::UNKNOWN:
      return list;
    case Remainder::NEVER:
      return nullptr;
    case Remainder::SOMETIMES:
      break;
  }
  added->setNext(list);
  return added;
}

[[gnu::noinline]] void Connector::computexPort() {
  if (mxPort == nullptr) return;
  mxPort->setSynced(false);
  bool found = false;
  for (Interaction* feasible : Vesk::Chain(mFeasibleInter)) {
    if (feasible->dominated()) continue;
    if (feasible->constraint() == nullptr) {
      mxPort->dropConstraint();
      found = true;
      break;
    }
    if (!found) {
      if (mxPort->constraint() == nullptr) mxPort->useOwnConstraint(nullptr);
      mxPort->constraint()->clear();
      found = true;
    }
    *mxPort->constraint() |= *feasible->constraint();
  }
  if (!found) return;
  if (mxPort->constraint() == nullptr || !mxPort->constraint()->empty()) mxPort->setSynced(true);
}

// ---- Connector: firing -------------------------------------------------------------------------

void Connector::execute() {
  execute(Vesk::Time(0));
}

void Connector::execute(const Vesk::Time& t) {
  if (Interaction* interaction = firstPossible(t)) interaction->execute(t);
}

void Connector::actuate(const Vesk::Time& t) {
  if (Interaction* interaction = firstPossible(t)) interaction->actuate(t);
}

Interaction* Connector::firstPossible(const Vesk::Time& t) const {
  for (Interaction* feasible : Vesk::Chain(mFeasibleInter)) {
    if (feasible->constraint() == nullptr || feasible->constraint()->in(t)) return feasible;
  }
  return nullptr;
}

// In any order, since a connector is reset once and resetting a priority twice changes nothing.
void Connector::resetLink() {
  if (!mEval) return noteStale();
  if (mLinks.count() + mDominatedPriorities.count() + mDominatorPriorities.count() == 0) {
    mEval = false;
    noteEvaluation();
  } else {
    resetAll();
  }
}

// Resets this connector and all that depends on it, however long the chain is.
[[gnu::noinline]] void Connector::resetAll() {
  Vesk::WorkStack<Connector*> pending;
  resetAlone(pending);
  while (!pending.empty()) {
    Connector* connector = pending.pop();
    connector->mEval ? connector->resetAlone(pending) : connector->noteStale();
  }
}

void Connector::resetAlone(Vesk::WorkStack<Connector*>& dependent) {
  mEval = false;
  noteEvaluation();
  for (Priority* priority : mDominatedPriorities) priority->reset();
  for (Priority* priority : mDominatorPriorities) {
    if (priority->applied()) dependent.push(priority->low()->connector());
    priority->reset();
  }
  for (Connector* user : mLinks) dependent.push(user);
}

void Connector::resetDependentLinks() {
  for (Connector* user : mLinks) user->resetLink();
}

// ---- Connector: labels -------------------------------------------------------------------------

// Deliberate: the separator depends on the index of a port, not on being first, so a set without
// port 0 has one right after the connector's name. Labels are compared in traces and files.
// (docs/decisions/0026-the-separator-in-labels.md)
char* Connector::rt_label(const BitVector& set) {
  static std::string& text = *new std::string;  // keeps a label that is too long for LABEL
  text = mHolder != nullptr ? textOf(mHolder->name()) : "";
  text.append("/").append(textOf(mName)).append("/");
  for (int i = 0; i < mPorts.count(); ++i) {
    if (!set.in(i)) continue;
    if (i != 0) text.append("|");
    text.append(mPorts[i]->labelHolder()).append(":").append(mPorts[i]->labelName());
  }
  if (text.size() >= sizeof LABEL) return text.data();
  std::memcpy(LABEL, text.c_str(), text.size() + 1);
  return LABEL;
}

char* Connector::label() {
  return rt_label(mFeasibleInter != nullptr ? mFeasibleInter->synced() : BitVector::EMPTY);
}
