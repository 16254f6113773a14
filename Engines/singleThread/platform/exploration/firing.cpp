#include "exploration/firing.hpp"

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
Transition freezeFeasible(Connector& connector) {
  Interaction* interaction = connector.feasibleInter();
  const bool isBare =
      interaction->constraint() == nullptr && !interaction->dominated() && interaction->mark() == 0;
  Transition transition;
  transition.connector = &connector;
  transition.interaction = interaction;
  if (!isBare) transition.frozen.reset(interaction->copy());
  return transition;
}

Interaction* thaw(Transition& transition) {
  if (transition.frozen == nullptr) {
    transition.frozen =
        std::make_unique<Interaction>(transition.connector, transition.interaction->synced());
  }
  return transition.frozen.get();
}

}  // namespace Vesk
