#include "activation-check.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "chain.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "port.hpp"
#include "priority.hpp"
#include "work-stack.hpp"

namespace {

const char* const FAULT = "vesk: activation: %s: %s\n";

const char* const LEGALS_DIFFER = "not what the list of legal connectors has at its place";
const char* const LEGALS_GO_ON = "behind the end of the list of legal connectors";
const char* const LEGALS_ENDS = "first or last legal connector is wrong";
const char* const LINKED = "linked, but it has no place in the list of legal connectors";
const char* const INTERNALS_DIFFER = "not what the list of internal ports has at its place";
const char* const INTERNALS_GO_ON = "behind the end of the list of internal ports";
const char* const INTERNALS_ENDS = "first or last internal port is wrong";
const char* const LEGAL_MARK = "its mark as legal does not fit its interactions";
const char* const RING = "its feasible interactions form a ring";
const char* const STRANGER = "has an interaction of another connector";
const char* const TOO_MANY_PORTS = "has an interaction with ports that it does not have";
const char* const PORTS_CONSTRAINT = "an interaction has the constraint of a port";
const char* const FOREIGN_PORT = "exports a port of another connector";
const char* const DEAD_PORT = "its exported port is enabled, but nothing is feasible";
const char* const EMPTY_PORT = "its exported port is enabled under an empty constraint";
const char* const MARKED = "dominated times are left in an interaction";
const char* const NOT_COMPUTED = "its exported port is still to be computed again";
const char* const DISORDER = "the constraint of an interaction is not in order";
const char* const TWO_OWNERS = "a constraint has two owners";

[[noreturn]] void refuse(const char* fault, const char* name) {
  std::fprintf(stderr, FAULT, name != nullptr ? name : "", fault);
  std::abort();
}

void demand(bool holds, const char* fault, const char* name) {
  if (!holds) refuse(fault, name);
}

// The first fault of a kind. It counts unless an excuse for it is found later in the walk.
class Excusable {
 public:
  explicit Excusable(const char* fault) : mFault(fault), mFailed(nullptr) {}
  void demand(bool holds, const Connector& connector) {
    if (!holds && mFailed == nullptr) mFailed = &connector;
  }
  void settle(bool excused) const {
    if (mFailed != nullptr && !excused) refuse(mFault, mFailed->name());
  }

 private:
  const char* mFault;
  const Connector* mFailed;
};

// Follows a list while the tree is walked in the order in which the list must come out.
template <class T>
class Follower {
 public:
  // Where the list of a compound begins within that of the whole system.
  struct Place {
    T* next;
    long passed;
  };

  explicit Follower(T* head) : mPlace{head, 0}, mLast(nullptr) {}
  const Place& place() const { return mPlace; }
  bool isNext(const T* element) const { return mPlace.next == element; }
  void pass(T* element, const char* fault) {
    demand(isNext(element), fault, element->name());
    mLast = element;
    mPlace = {element->next(), mPlace.passed + 1};
  }
  // Whether these are the ends of the list that has been passed since a place.
  bool areEnds(const Place& since, const T* head, const T* tail) const {
    const bool none = mPlace.passed == since.passed;
    return none ? head == nullptr && tail == nullptr : head == since.next && tail == mLast;
  }
  void end(const char* fault) const {
    if (mPlace.next != nullptr) refuse(fault, mPlace.next->name());
  }

 private:
  Place mPlace;
  T* mLast;
};

// Notices that a walk along links comes back to an element.
class Rounds {
 public:
  bool comeBackTo(const void* element) {
    if (element == mOld) return true;
    if (++mSteps == mLimit) {
      mOld = element;
      mSteps = 0;
      mLimit *= 2;
    }
    return false;
  }

 private:
  const void* mOld = nullptr;
  long mSteps = 0;
  long mLimit = 1;
};

// check(), except that neighbours may meet in an infinite bound.
bool isInOrder(const Constraint& constraint) {
  if (constraint.check()) return true;
  for (unsigned int i = 0; i < constraint.size(); ++i) {
    const Interval interval = constraint[i];
    if (interval.empty()) return false;
    if (i == 0) continue;
    const Vesk::Time before = constraint[i - 1].high();
    const bool infinite = before == Vesk::Time::MIN || before == Vesk::Time::MAX;
    if (interval.low() < before || (interval.low() == before && !infinite)) return false;
  }
  return true;
}

bool hasDominatedTimes(const Constraint& constraint) {
  for (unsigned int i = 0; i < constraint.size(); ++i) {
    if (constraint[i].dominated()) return true;
  }
  return false;
}

// Whether cutting a model's constraint out of another one leaves that one in order.
bool isOrdinary(const Constraint& constraint) {
  for (unsigned int i = 0; i < constraint.size(); ++i) {
    const bool beyond = constraint[i].low() == Vesk::Time::MAX;
    if (beyond || constraint[i].high() == Vesk::Time::MIN) return false;
  }
  return constraint.check();
}

// The constraints that have one owner each. The room is kept for the next activation.
std::vector<const Constraint*>& ownedConstraints() {
  static std::vector<const Constraint*>* owned = new std::vector<const Constraint*>;
  return *owned;
}

}  // namespace

// ---- The walk ----------------------------------------------------------------------------------

namespace Vesk {

// Walks the tree in the order of the lists: what was linked last comes first. One walk checks them
// all, those of inner compounds as parts of those of the root.
class ActivationCheck {
 public:
  explicit ActivationCheck(Compound& root)
      : mLegals(root.mLegalHead),
        mInternals(root.mInternals),
        mOwned(ownedConstraints()),
        mForeignPriority(false),
        mOddConstraint(false),
        mMarked(MARKED),
        mNotComputed(NOT_COMPUTED),
        mDeadPort(DEAD_PORT),
        mDisorder(DISORDER) {
    mOwned.clear();
    enter(root);
  }

  void run() {
    while (!mVisits.empty()) {
      Visit& visit = mVisits.top();
      if (visit.components > 0) {
        checkComponent(visit.compound->components()[--visit.components]);
      } else {
        leave(mVisits.pop());
      }
    }
    mLegals.end(LEGALS_GO_ON);
    mInternals.end(INTERNALS_GO_ON);
    settle();
  }

 private:
  // A compound in whose components the walk is.
  struct Visit {
    Compound* compound;
    int components;  // still to be visited
    Follower<Connector>::Place legals;
    Follower<Port>::Place internals;
  };

  void enter(Compound& compound);
  void leave(const Visit& visit);
  void settle();
  void checkComponent(Component* component);
  void checkAtom(Atom& atom);
  void checkPriority(const Compound& compound, const Priority& priority);
  void checkPlace(Connector& connector);
  void checkConnector(Connector& connector);
  void checkInteraction(Connector& connector, Interaction& interaction, bool flat);
  void checkExportedPort(Connector& connector, const Port& port);

  WorkStack<Visit> mVisits;
  Follower<Connector> mLegals;
  Follower<Port> mInternals;
  std::vector<const Constraint*>& mOwned;
  bool mForeignPriority;  // the low interaction belongs to another compound
  bool mOddConstraint;    // a model's own constraint is not in order, or a delay negative
  Excusable mMarked;
  Excusable mNotComputed;
  Excusable mDeadPort;
  Excusable mDisorder;
};

void ActivationCheck::enter(Compound& compound) {
  mVisits.push({&compound, compound.components().count(), mLegals.place(), mInternals.place()});
  for (const Priority* priority : compound.priorities()) checkPriority(compound, *priority);
  for (int i = compound.connectors().count() - 1; i >= 0; --i) {
    checkPlace(*compound.connectors()[i]);
    checkConnector(*compound.connectors()[i]);
  }
}

void ActivationCheck::leave(const Visit& visit) {
  const Compound& compound = *visit.compound;
  demand(mLegals.areEnds(visit.legals, compound.mLegalHead, compound.mLegalTail), LEGALS_ENDS,
         compound.name());
  demand(mInternals.areEnds(visit.internals, compound.mInternals, compound.mInternalTail),
         INTERNALS_ENDS, compound.name());
}

// A priority of another compound acts after the compound of its low interaction has been settled,
// so its marks stay for a while.
void ActivationCheck::settle() {
  mMarked.settle(mForeignPriority);
  mNotComputed.settle(mForeignPriority);
  mDeadPort.settle(mForeignPriority);
  mDisorder.settle(mOddConstraint);
  std::sort(mOwned.begin(), mOwned.end());
  const bool shared = std::adjacent_find(mOwned.begin(), mOwned.end()) != mOwned.end();
  demand(!shared, TWO_OWNERS, "");
}

void ActivationCheck::checkComponent(Component* component) {
  if (component->isCompound()) {
    enter(*static_cast<Compound*>(component));
  } else if (component->isAtom()) {
    checkAtom(*static_cast<Atom*>(component));
  }
}

void ActivationCheck::checkAtom(Atom& atom) {
  for (int i = atom.ports().count() - 1; i >= 0; --i) {
    Port* port = atom.ports()[i];
    if (Compound::isTimedInternal(*port)) mInternals.pass(port, INTERNALS_DIFFER);
  }
  for (const Constraint* constraint : atom.constraints()) mOwned.push_back(constraint);
}

void ActivationCheck::checkPriority(const Compound& compound, const Priority& priority) {
  if (priority.low()->connector()->holder() != &compound) mForeignPriority = true;
  if (priority.delay() < Time(0)) mOddConstraint = true;
}

// A connector that exports a port may have been evaluated again since it was listed.
void ActivationCheck::checkPlace(Connector& connector) {
  const bool listed = mLegals.isNext(&connector);
  const bool final = connector.xPort() == nullptr || connector.isSubconn();
  const bool expected = final ? connector.legal() && !connector.isSubconn() : listed;
  if (expected) {
    mLegals.pass(&connector, LEGALS_DIFFER);
  } else {
    demand(!final || connector.next() == nullptr, LINKED, connector.name());
  }
}

void ActivationCheck::checkConnector(Connector& connector) {
  const bool feasible = connector.feasibleInter() != nullptr;
  demand(connector.legal() == feasible, LEGAL_MARK, connector.name());
  bool flat = true;
  for (const Port* port : connector.ports()) {
    if (port->connHolder() != nullptr) flat = false;
    const Constraint* constraint = port->connHolder() == nullptr ? port->constraint() : nullptr;
    if (constraint != nullptr && !isOrdinary(*constraint)) mOddConstraint = true;
  }
  Rounds rounds;
  for (Interaction* interaction : Chain(connector.feasibleInter())) {
    demand(!rounds.comeBackTo(interaction), RING, connector.name());
    checkInteraction(connector, *interaction, flat);
  }
  mNotComputed.demand(!connector.recomputexPort(), connector);
  if (connector.xPort() != nullptr) checkExportedPort(connector, *connector.xPort());
}

// A union, which is what exported ports have, may overlap, and so may what is cut out of it.
void ActivationCheck::checkInteraction(Connector& connector, Interaction& interaction, bool flat) {
  const BitVector all = BitVector::below(connector.ports().count());
  demand(interaction.connector() == &connector, STRANGER, connector.name());
  demand(interaction.synced() <= all, TOO_MANY_PORTS, connector.name());
  const Constraint* constraint = interaction.constraint();
  if (constraint == nullptr) return;
  mOwned.push_back(constraint);
  for (const Port* port : connector.ports()) {
    demand(port->constraint() != constraint, PORTS_CONSTRAINT, connector.name());
  }
  if (!interaction.dominated()) mMarked.demand(!hasDominatedTimes(*constraint), connector);
  if (flat) mDisorder.demand(isInOrder(*constraint), connector);
}

void ActivationCheck::checkExportedPort(Connector& connector, const Port& port) {
  demand(port.connHolder() == &connector, FOREIGN_PORT, connector.name());
  const Constraint* constraint = port.constraint();
  if (constraint != nullptr) mOwned.push_back(constraint);
  if (!port.synced()) return;
  demand(constraint == nullptr || !constraint->empty(), EMPTY_PORT, connector.name());
  bool feasible = false;
  for (const Interaction* interaction : Chain(connector.feasibleInter())) {
    feasible = feasible || !interaction->dominated();
  }
  mDeadPort.demand(feasible, connector);
}

void checkActivation(Compound& root) {
  ActivationCheck(root).run();
}

}  // namespace Vesk
