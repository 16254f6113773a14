#include "connector.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "constraint.hpp"
#include "exploration/signals.hpp"
#include "port.hpp"
#include "priority.hpp"
#include "work-stack.hpp"

HashTable<Interaction> Interaction::TABLE;
char Connector::LABEL[1024];

namespace {

const char* const TOO_MANY_PORTS = "vesk: connector %s: %d ports, at most %d are possible\n";
const char* const PORT_RING = "vesk: connector %s: its exported port depends on itself\n";

const char* const MANY_SETS =
    "vesk: connector %s: a broadcast with %d enabled timed ports looks at 2^%d sets of ports\n";

constexpr int INITIAL_CAPACITY = 4;
constexpr int MANY_TIMED_PORTS = 16;  // more are reported

const char* textOf(const char* name) {
  return name != nullptr ? name : "";
}

// Writes a text as it is, whatever width the model has left on the stream.
void write(const char* text) {
  std::cout.write(text, static_cast<std::streamsize>(std::strlen(text)));
}

void checkPortCount(const char* name, int count) {
  if (count <= Connector::MAX_PORTS) return;
  std::fprintf(stderr, TOO_MANY_PORTS, textOf(name), count, Connector::MAX_PORTS);
  std::abort();
}

const GenericClock* clockOf(const Compound* compound) {
  return compound != nullptr ? compound->clock() : nullptr;
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

// ---- The interactions of one connector ----------------------------------------------------------

namespace Vesk {

// Owns the interactions of one connector and finds them by their set: a few one by one, more by a
// table of open addressing.
class InteractionIndex {
 public:
  InteractionIndex() = default;
  InteractionIndex(const InteractionIndex&) = delete;
  InteractionIndex& operator=(const InteractionIndex&) = delete;
  ~InteractionIndex() {
    for (Interaction* interaction : mAll) {
      Interaction::TABLE.remove(interaction->mCell);
      delete interaction;
    }
  }

  // Null when there is none.
  Interaction* find(const BitVector& set) const {
    if (!mSlots.empty()) return mSlots[slotOf(set)];
    for (Interaction* interaction : mAll) {
      if (interaction->synced() == set) return interaction;
    }
    return nullptr;
  }

  // Takes ownership of an interaction whose set is not in the index, and puts it into the table.
  // Changes nothing when there is no memory for that.
  void add(std::unique_ptr<Interaction> interaction) {
    makeRoom();
    interaction->mCell = Interaction::TABLE.add(interaction->hash(HashTable<Interaction>::CHAINS),
                                                interaction.get());
    Interaction* const owned = interaction.release();  // there is room for it
    mAll.push_back(owned);
    if (!mSlots.empty()) mSlots[slotOf(owned->synced())] = owned;
  }

 private:
  static constexpr std::size_t FEW = 8;

  // Where the set is, or would be. Requires: there are free slots.
  std::size_t slotOf(const BitVector& set) const {
    const std::size_t last = mSlots.size() - 1;
    std::size_t slot = set.scattered() & last;
    while (mSlots[slot] != nullptr && mSlots[slot]->synced() != set) slot = (slot + 1) & last;
    return slot;
  }

  void makeRoom() {
    const std::size_t count = mAll.size() + 1;
    if (count > mAll.capacity()) mAll.reserve(2 * count);
    if (count <= FEW || 2 * count <= mSlots.size()) return;
    std::vector<Interaction*> slots(mSlots.empty() ? 4 * FEW : 2 * mSlots.size());
    mSlots.swap(slots);
    for (Interaction* interaction : mAll) mSlots[slotOf(interaction->synced())] = interaction;
  }

  std::vector<Interaction*> mAll;    // in the order of their making
  std::vector<Interaction*> mSlots;  // a power of two, at most half full; empty while there are few
};

}  // namespace Vesk

// ---- Interaction -------------------------------------------------------------------------------

Interaction::Interaction(const Connector* connector, const BitVector& set)
    : mConnector(const_cast<Connector*>(connector)),  // firing it fires the connector's ports
      mSynced(set),
      mInhibitors(INITIAL_CAPACITY),
      mNext(nullptr),
      mCell(nullptr) {
  keepOwnConstraint();
}

Interaction::Interaction(const Interaction& other) : Interaction(other.mConnector, other.mSynced) {
  mMark = other.mMark;
  mDominated = other.mDominated;
  if (other.mConstraint != nullptr) useOwnConstraint(nullptr) = *other.mConstraint;
}

Interaction::~Interaction() {
  dropConstraint();
}

Interaction* Interaction::copy() const {
  return new Interaction(*this);
}

Interaction* Interaction::Create(const Connector* connector, const BitVector& set) {
  Vesk::InteractionIndex& index = *connector->mInteractions;
  Interaction* interaction = index.find(set);
  if (interaction == nullptr) {
    auto made = std::make_unique<Interaction>(connector, set);
    interaction = made.get();
    index.add(std::move(made));
  }
  return interaction;
}

Interaction* Interaction::Create(const Connector* connector, int n, ...) {
  BitVector set;
  va_list indices;
  va_start(indices, n);
  for (int i = 0; i < n; ++i) set.add(va_arg(indices, int));
  va_end(indices);
  return Create(connector, set);
}

Interaction* Interaction::CreateRealTime(const Connector* connector, const BitVector&,
                                         const BitVector& set) {
  Interaction* interaction = Create(connector, set);
  interaction->intersectPortConstraints();
  const Constraint* constraint = interaction->constraint();
  return constraint != nullptr && constraint->empty() ? nullptr : interaction;
}

// The constraint that always holds, over the clock of the connector's holder.
Constraint& Interaction::freshConstraint() {
  const GenericClock* clock = clockOf(mConnector->holder());
  if (mConstraint == nullptr) return useOwnConstraint(clock);
  mConstraint->reset();
  mConstraint->setClock(clock);
  mConstraint->setDisplayClock(clock);
  return *mConstraint;
}

void Interaction::intersectPortConstraints() {
  Array<Port, false>& ports = mConnector->ports();
  Constraint* result = nullptr;
  for (int i = 0; i < ports.count(); ++i) {
    if (!mSynced.in(i) || ports[i]->constraint() == nullptr) continue;
    if (result == nullptr) result = &freshConstraint();
    *result &= *ports[i]->constraint();
  }
  if (result == nullptr) dropConstraint();
}

char* Interaction::label() {
  return mConnector->rt_label(mSynced);
}

void Interaction::execute(const Vesk::Time& t) {
  if (mConnector->xPort() != nullptr) mConnector->xPort()->setSynced(false);
  Array<Port, false>& ports = mConnector->ports();
  for (int i = 0; i < ports.count(); ++i) {
    if (mSynced.in(i)) ports[i]->execute(t);
  }
}

void Interaction::actuate(const Vesk::Time& t) {
  mConnector->dn();
  Array<Port, false>& ports = mConnector->ports();
  for (int i = 0; i < ports.count(); ++i) {
    if (mSynced.in(i)) ports[i]->actuate(t);
  }
}

Vesk::Time Interaction::deadline(const Vesk::Time& t) const {
  return mConstraint != nullptr ? mConstraint->deadline(t) : Vesk::Time::MAX;
}

Vesk::Time Interaction::next(const Vesk::Time& t) const {
  return mConstraint != nullptr ? mConstraint->next(t) : t;
}

GenericClock* Interaction::displayClock() const {
  const Compound* holder = mConnector->holder();
  return holder != nullptr ? holder->clock() : nullptr;
}

bool Interaction::equal(const Interaction* other) const {
  return mConnector == other->mConnector && mSynced == other->mSynced;
}

bool Interaction::isSubset(const Interaction* other, bool& equal) const {
  if (mConnector != other->mConnector || !(mSynced <= other->mSynced)) return false;
  equal = mSynced == other->mSynced;
  return true;
}

unsigned int Interaction::hash(unsigned int n) const {
  unsigned int sum = 0;
  for (const char* c = textOf(mConnector->name()); *c != '\0'; ++c) {
    sum = sum * 5 + static_cast<unsigned int>(static_cast<signed char>(*c));
  }
  return (sum + mSynced.hash(n)) % n;
}

void Interaction::print() const {
  Array<Port, false>& ports = mConnector->ports();
  for (int i = 0; i < ports.count(); ++i) {
    if (!mSynced.in(i)) continue;
    if (i != 0) write("|");
    write(textOf(ports[i]->name()));
  }
}

// ---- Connector: construction -------------------------------------------------------------------

Connector::Connector(const char* name, const Compound* holder, bool subconn)
    : mName(Vesk::duplicate(name)),
      mHolder(const_cast<Compound*>(holder)),  // priorities reach the connectors of the compound
      mPorts(INITIAL_CAPACITY),
      mxPort(nullptr),
      mLegal(false),
      mDominated(false),
      mDominatedPriorities(INITIAL_CAPACITY),
      mDominatorPriorities(INITIAL_CAPACITY),
      mFeasibleInter(nullptr),
      mSubconn(subconn),
      mSubconnSameHolder(false),
      mPriority(NO_LEVEL),
      mQueued(false),
      mNext(nullptr),
      mEval(false),
      mRecomputexPort(false),
      mLinks(INITIAL_CAPACITY),
      mEvaluating(false),
      mReported(false),
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

Connector::~Connector() {
  delete mInteractions;
  if (mxPort != nullptr) mxPort->dropConstraint();
  delete mxPort;
  std::free(mName);
}

void Connector::setVarPorts(int n, va_list ports) {
  checkPortCount(mName, mPorts.count() + n);
  for (int i = 0; i < n; ++i) {
    Port* port = va_arg(ports, Port*);
    port->setConnected();
    mPorts.add(port);
    port->setLink(this);
  }
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
  int port = 0;
  if (nextProvider(port) != nullptr) {
    evalDepthFirst(incremental);
  } else {
    evalAlone();
  }
}

// The connectors that own the exported ports of a connector before that connector, in the order of
// its ports.
void Connector::evalDepthFirst(bool incremental) {
  EvalVisits visits;
  visits.enter(this);
  while (Connector* connector = visits.current()) {
    Connector* provider = connector->nextProvider(visits.nextPort());
    if (provider == nullptr) {
      visits.leave();
      connector->evalAlone();
    } else if (!incremental || !provider->mEval) {
      visits.enter(provider);
    }
  }
}

Connector* Connector::evaluate(Connector* list, bool subconn, bool incremental) {
  eval(incremental);
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
  computexPort();
  if (mLegal) up();
  mEval = true;
}

bool Connector::maximal() const {
  for (Port* port : mPorts) {
    if (!port->synced()) return false;
  }
  return true;
}

bool Connector::guard(const BitVector& set) {
  const UnderConsideration current(*this, Interaction::Create(this, set));
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
  if (!isBroadcast()) {
    createFeasibleRendezvous();
    return;
  }
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
  const BitVector all = BitVector::below(mPorts.count());
  mFeasibleInter = guard(all) ? Interaction::CreateRealTime(this, all, all) : nullptr;
  if (mFeasibleInter == nullptr) return;
  mFeasibleInter->setDominated(false);
  mFeasibleInter->setNext(nullptr);
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
  if (set.constraint() == nullptr) set.useOwnConstraint(clockOf(set.connector()->holder()));
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
// far.
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

void Connector::computexPort() {
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
  if (!mEval) return;
  Vesk::WorkStack<Connector*> pending;
  resetAlone(pending);
  while (!pending.empty()) {
    Connector* connector = pending.pop();
    if (connector->mEval) connector->resetAlone(pending);
  }
}

void Connector::resetAlone(Vesk::WorkStack<Connector*>& dependent) {
  mEval = false;
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
// port 0 has one right after the connector's name.
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
