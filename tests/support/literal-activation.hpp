// Activation in its plainest form: a walk of the whole tree. What the engine does without walking
// is compared with it.
#ifndef VESK_TESTS_LITERAL_ACTIVATION_HPP
#define VESK_TESTS_LITERAL_ACTIVATION_HPP

#include <vector>

#include "kit/lists.hpp"
#include "vesk.hpp"

namespace kit::literal {

inline bool matches(const Interaction* feasible, const Interaction* part) {
  bool equal = false;
  return part->isSubset(feasible, equal);
}

inline void dominate(Priority* priority, Interaction* low, Interaction* high) {
  priority->apply(*low, *high);
  low->connector()->setRecomputexPort(true);
}

// The interactions by which a priority may dominate.
inline std::vector<Interaction*> dominators(Priority* priority, Connector* legals) {
  std::vector<Interaction*> all;
  if (priority->high() != nullptr) {
    for (Interaction* high : listOf(priority->high()->connector()->feasibleInter())) {
      if (matches(high, priority->high())) all.push_back(high);
    }
    return all;
  }
  for (Connector* legal : listOf(legals)) {
    if (legal == priority->low()->connector()) continue;
    for (Interaction* high : listOf(legal->feasibleInter())) all.push_back(high);
  }
  return all;
}

inline void applyPriority(Priority* priority, Connector* legals) {
  if (!priority->guard()) {
    priority->setEvaluated(true);
    return;
  }
  if (priority->evaluated()) return;
  Connector* low = priority->low()->connector();
  const Connector* upper = priority->high() != nullptr ? priority->high()->connector() : low;
  if (low->isSubconnSameHolder() || upper->isSubconnSameHolder()) return;
  for (Interaction* feasible : listOf(low->feasibleInter())) {
    if (!matches(feasible, priority->low())) continue;
    for (Interaction* high : dominators(priority, legals)) dominate(priority, feasible, high);
  }
  priority->setEvaluated(true);
}

inline void settle(Connector* connector) {
  for (Interaction* feasible : listOf(connector->feasibleInter())) {
    if (feasible->constraint() != nullptr && !feasible->dominated()) {
      feasible->constraint()->applyDomination();
    }
  }
  if (!connector->recomputexPort()) return;
  connector->setRecomputexPort(false);
  connector->computexPort();
  connector->resetDependentLinks();
}

template <class T>
T* inFrontOf(T* list, T* other) {
  if (list == nullptr) return other;
  T* last = list;
  while (last->next() != nullptr) last = last->next();
  last->setNext(other);
  return list;
}

inline Connector* activate(Compound& compound, bool incremental) {
  Connector* legals = nullptr;
  Port* internals = nullptr;
  for (Component* component : elements(compound.components())) {
    if (component->isCompound()) {
      auto& part = static_cast<Compound&>(*component);
      legals = inFrontOf(activate(part, incremental), legals);
      internals = inFrontOf(part.internals(), internals);
    } else if (component->isAtom()) {
      for (Port* port : elements(static_cast<Atom*>(component)->ports())) {
        if (!port->isInternal() || !port->synced() || port->constraint() == nullptr) continue;
        port->setNext(internals);
        internals = port;
      }
    }
  }
  compound.setInternals(internals);
  for (Connector* connector : elements(compound.connectors())) {
    legals = connector->evaluate(legals, connector->isSubconn(), incremental);
  }
  for (Priority* priority : elements(compound.priorities())) applyPriority(priority, legals);
  for (Connector* connector : elements(compound.connectors())) settle(connector);
  return legals;
}

}  // namespace kit::literal

#endif
