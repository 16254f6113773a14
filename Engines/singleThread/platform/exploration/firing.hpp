// What both kinds of state space do to fire a connector. Private to the engine.
#ifndef VESK_EXPLORATION_FIRING_HPP
#define VESK_EXPLORATION_FIRING_HPP

#include "connector.hpp"
#include "exploration/state-space.hpp"

namespace Vesk {

// Gives a connector an interaction to fire, then takes all away from it.
class OneInteraction {
 public:
  OneInteraction(Connector& connector, Interaction* interaction) : mConnector(connector) {
    mConnector.setFeasibleInter(interaction);
  }
  OneInteraction(const OneInteraction&) = delete;
  OneInteraction& operator=(const OneInteraction&) = delete;
  ~OneInteraction() { mConnector.setFeasibleInter(nullptr); }

 private:
  Connector& mConnector;
};

// Whether a connector below this one has to be evaluated before this one fires.
bool usesExportedPort(Connector& connector);

// A transition that fires what the connector would fire now.
Transition freezeFeasible(Connector& connector);

// The interaction that a frozen transition fires.
Interaction* thaw(Transition& transition);

}  // namespace Vesk

#endif
