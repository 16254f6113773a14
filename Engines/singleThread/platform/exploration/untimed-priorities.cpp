#include "exploration/untimed-priorities.hpp"

#include "chain.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "priority.hpp"
#include "work-stack.hpp"

namespace Vesk {

namespace {

// The compounds of a tree, each before those below it, on a stack of its own because trees may be
// very deep.
class Compounds {
 public:
  explicit Compounds(Compound& root) { mPending.push(&root); }

  // The next one, null when there is none.
  Compound* next() {
    if (mPending.empty()) return nullptr;
    Compound* compound = mPending.pop();
    for (Component* component : compound->components()) {
      if (component->isCompound()) mPending.push(static_cast<Compound*>(component));
    }
    return compound;
  }

 private:
  WorkStack<Compound*> mPending;
};

// Makes the next activation start afresh. Exploration restores states behind the back of connectors
// and priorities, so what these know is that of another state.
void forget(Compound& system) {
  Compounds compounds(system);
  while (Compound* compound = compounds.next()) {
    for (Connector* connector : compound->connectors()) connector->setEvaluated(false);
    for (Priority* priority : compound->priorities()) priority->reset();
  }
}

bool mayFire(const Interaction& feasible) {
  if (feasible.dominated()) return false;
  return feasible.constraint() == nullptr || feasible.constraint()->in(Time(0));
}

// Puts those that may fire in front of the others; both keep their order.
void putFirst(Connector& connector) {
  Interaction* heads[2] = {nullptr, nullptr};
  Interaction* tails[2] = {nullptr, nullptr};
  for (Interaction* feasible : Chain(connector.feasibleInter())) {
    const int part = mayFire(*feasible) ? 0 : 1;
    if (tails[part] == nullptr) {
      heads[part] = feasible;
    } else {
      tails[part]->setNext(feasible);
    }
    tails[part] = feasible;
  }
  if (tails[1] != nullptr) tails[1]->setNext(nullptr);
  if (tails[0] != nullptr) tails[0]->setNext(heads[1]);
  connector.setFeasibleInter(heads[0] != nullptr ? heads[0] : heads[1]);
}

// The list without the connectors that may fire nothing.
Connector* withoutDominated(Connector* list) {
  Connector* head = nullptr;
  Connector* tail = nullptr;
  while (list != nullptr) {
    Connector* const connector = list;
    list = connector->next();
    connector->setNext(nullptr);
    if (!mayFire(*connector->feasibleInter())) continue;
    if (tail != nullptr) {
      tail->setNext(connector);
    } else {
      head = connector;
    }
    tail = connector;
  }
  return head;
}

}  // namespace

bool prioritiesActEverywhere(Compound& system) {
  if (system.declaredPriorities() != Priorities::EVERYWHERE) return false;
  Compounds compounds(system);
  while (Compound* compound = compounds.next()) {
    if (compound->priorities().count() != 0) return true;
  }
  return false;
}

Connector* activateUnderPriorities(Compound& system) {
  forget(system);
  Connector* const legals = system.activate(true);
  Compounds compounds(system);
  while (Compound* compound = compounds.next()) {
    for (Connector* connector : compound->connectors()) putFirst(*connector);
  }
  return withoutDominated(legals);
}

}  // namespace Vesk
