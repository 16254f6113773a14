#include "exploration/firing.hpp"

#include <utility>

#include "port.hpp"

namespace Vesk {

bool usesExportedPort(Connector& connector) {
  for (Port* port : connector.ports()) {
    if (port->connHolder() != nullptr) return true;
  }
  return false;
}

// The interaction is made again when the transition is taken, unless it has something that it may
// have lost by then.
void FrozenTransitions::push(const Transition* legal) {
  Transition transition;
  if (legal != nullptr) {
    Interaction* interaction = legal->connector->feasibleInter();
    const bool isBare = interaction->constraint() == nullptr && !interaction->dominated() &&
                        interaction->mark() == 0;
    transition.connector = legal->connector;
    transition.part = legal->part;
    transition.interaction = interaction;
    if (!isBare) transition.frozen.reset(interaction->copy());
  }
  mStack.push_back(std::move(transition));
}

Transition FrozenTransitions::pop() {
  Transition transition = std::move(mStack.back());
  mStack.pop_back();
  return transition;
}

Interaction* frozenInteraction(Transition& transition) {
  if (transition.frozen == nullptr) {
    transition.frozen =
        std::make_unique<Interaction>(transition.connector, transition.interaction->synced());
  }
  return transition.frozen.get();
}

}  // namespace Vesk
