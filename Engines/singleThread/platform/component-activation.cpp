// Activation: what can fire in the current state, with priorities applied.
#include <iostream>

#include "activation-check.hpp"
#include "activation-plan.hpp"
#include "chain.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "internal-ports.hpp"
#include "plain-output.hpp"
#include "port.hpp"
#include "priority.hpp"

using Vesk::Chain;
using Vesk::LegalConnectors;

namespace {

const char* const SKIP_PRIORITY = "WARNING: skip priority ";
const char* const IS_A_SUBCONNECTOR = " is a subconnector";
const char* const ARE_SUBCONNECTORS = " are subconnectors";

void warnAboutLow(const Connector& low) {
  const Vesk::PlainOutput plain(std::cerr);
  plain << SKIP_PRIORITY << low.name() << " < _: " << low.name() << IS_A_SUBCONNECTOR << "!"
        << Vesk::PlainOutput::END_LINE;
}

void warnAboutPair(const Connector& low, const Connector& high) {
  const Vesk::PlainOutput plain(std::cerr);
  plain << SKIP_PRIORITY << low.name() << " < " << high.name() << ": ";
  if (low.isSubconnSameHolder() && high.isSubconnSameHolder()) {
    plain << low.name() << " and " << high.name() << ARE_SUBCONNECTORS;
  } else {
    plain << (low.isSubconnSameHolder() ? low : high).name() << IS_A_SUBCONNECTOR;
  }
  plain << "!" << Vesk::PlainOutput::END_LINE;
}

bool contains(const Interaction& feasible, const Interaction& part) {
  bool equal = false;
  return part.isSubset(&feasible, equal);
}

void dominate(Priority& priority, Interaction& low, Interaction& high) {
  priority.apply(low, high);
  low.connector()->setRecomputexPort(true);
}

// The low interaction gives way to everything else that is legal. False when it cannot be applied.
bool yieldToAll(Priority& priority, const LegalConnectors& legals) {
  Connector* lower = priority.low()->connector();
  if (lower->isSubconnSameHolder()) {
    warnAboutLow(*lower);
    return false;
  }
  for (Interaction* low : Chain(lower->feasibleInter())) {
    if (!contains(*low, *priority.low())) continue;
    for (Connector* legal = legals.first; legal != legals.end; legal = legal->next()) {
      if (legal == lower) continue;
      for (Interaction* high : Chain(legal->feasibleInter())) dominate(priority, *low, *high);
    }
  }
  return true;
}

// The low interaction gives way to the high one. False when it cannot be applied.
bool yieldToHigh(Priority& priority) {
  Connector* lower = priority.low()->connector();
  Connector* higher = priority.high()->connector();
  if (lower->isSubconnSameHolder() || higher->isSubconnSameHolder()) {
    warnAboutPair(*lower, *higher);
    return false;
  }
  for (Interaction* low : Chain(lower->feasibleInter())) {
    if (!contains(*low, *priority.low())) continue;
    for (Interaction* high : Chain(higher->feasibleInter())) {
      if (contains(*high, *priority.high())) dominate(priority, *low, *high);
    }
  }
  return true;
}

}  // namespace

// 1. The legal connectors and internal ports of the components.
// 2. The connectors of this compound, in front of those.
// 3. The priorities of this compound.
// 4. What the priorities have changed.
// Every step does this, so all calls but those of the walk are inlined.
[[gnu::flatten, gnu::noinline]] Connector* Compound::activate(bool incremental) {
  Vesk::ActivationPlan* const plan = incremental ? Vesk::ActivationPlan::of(*this) : nullptr;
  if (plan != nullptr) {
    plan->run();
  } else {
    subactivate(incremental);
    activateAlone(incremental);
  }
#ifdef VESK_VALIDATE
  Vesk::checkActivation(*this);
#endif
  return mLegalHead;
}

[[gnu::noinline]] void Compound::activateAlone(bool incremental) {
  evaluateConnectors(incremental);
  applyPriorities({mLegalHead, nullptr});
  settleConnectors();
}

// One frame per level of the tree, and a small one: trees may be very deep.
[[gnu::noinline]] Connector* Compound::subactivate(bool incremental) {
  mLegalHead = mLegalTail = nullptr;
  mInternals = mInternalTail = nullptr;
  for (int i = 0; i < mComponents.count(); ++i) {
    Component* component = mComponents[i];
    if (component->isCompound()) {
      Compound* part = static_cast<Compound*>(component);
      part->subactivate(incremental);
      part->activateAlone(incremental);
      takeListsOf(*part);
    } else if (component->isAtom()) {
      takeInternalsOf(*static_cast<Atom*>(component));
    }
  }
  return mLegalHead;
}

// The lists of a later component stand before those of an earlier one.
void Compound::takeListsOf(Compound& part) {
  if (part.mLegalHead != nullptr) {
    part.mLegalTail->setNext(mLegalHead);
    if (mLegalHead == nullptr) mLegalTail = part.mLegalTail;
    mLegalHead = part.mLegalHead;
  }
  takeInternalsOf(part);
}

void Compound::takeInternalsOf(Compound& part) {
  if (part.mInternals != nullptr) {
    part.mInternalTail->setNext(mInternals);
    if (mInternals == nullptr) mInternalTail = part.mInternalTail;
    mInternals = part.mInternals;
  }
}

bool Compound::isTimedInternal(const Port& port) {
  return port.isInternal() && port.synced() && port.constraint() != nullptr;
}

void Compound::takeInternalsOf(Atom& atom) {
  const Array<Port, true>& ports = atom.ports();
  for (int i = 0; i < ports.count(); ++i) {
    Port* const port = ports[i];
    if (!isTimedInternal(*port)) continue;
    port->setNext(mInternals);
    if (mInternals == nullptr) mInternalTail = port;
    mInternals = port;
    Vesk::InternalPorts::noteLinked(atom);
  }
}

void Compound::evaluateConnectors(bool incremental) {
  for (Connector* connector : mConnectors) {
    Connector* head = connector->evaluate(mLegalHead, connector->isSubconn(), incremental);
    if (mLegalHead == nullptr) mLegalTail = head;
    mLegalHead = head;
  }
}

// A priority whose guard does not hold counts as evaluated until the links of its connectors are
// reset. One that cannot be applied is tried again, with its warning, at every activation.
[[gnu::noinline]] void Compound::applyPriorities(const LegalConnectors& legals) {
  for (Priority* priority : mPriorities) {
    if (!priority->guard()) {
      priority->setEvaluated(true);
      continue;
    }
    if (priority->evaluated()) continue;
    const bool done =
        priority->high() != nullptr ? yieldToHigh(*priority) : yieldToAll(*priority, legals);
    if (done) priority->setEvaluated(true);
  }
}

void Compound::settleConnectors() {
  for (Connector* connector : mConnectors) settle(*connector);
}

// Whether settle() would find nothing to do. False when it takes long to tell.
bool Compound::isSettled(const Connector& connector) {
  if (connector.recomputexPort()) return false;
  for (const Interaction* feasible : Chain(connector.feasibleInter())) {
    const Constraint* const constraint = feasible->constraint();
    if (constraint == nullptr || feasible->dominated()) continue;
    if (constraint->size() != 1 || (*constraint)[0].dominated()) return false;
  }
  return true;
}

[[gnu::noinline]] void Compound::settle(Connector& connector) {
  for (Interaction* feasible : Chain(connector.feasibleInter())) {
    if (feasible->constraint() == nullptr || feasible->dominated()) continue;
    feasible->constraint()->applyDomination();
  }
  if (!connector.recomputexPort()) return;
  connector.setRecomputexPort(false);
  connector.computexPort();
  connector.resetDependentLinks();
}
