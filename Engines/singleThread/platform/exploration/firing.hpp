// What both kinds of state space do to fire a connector. Private to the engine.
#ifndef VESK_EXPLORATION_FIRING_HPP
#define VESK_EXPLORATION_FIRING_HPP

#include <deque>

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

// Transitions that wait, each with what it needs to be fired.
class FrozenTransitions {
 public:
  // Null: it stands for a state without transitions.
  void push(const Transition* legal);
  Transition pop();
  void clear() { mStack.clear(); }

 private:
  std::deque<Transition> mStack;
};

// The interaction that a transition from the stack fires.
Interaction* frozenInteraction(Transition& transition);

}  // namespace Vesk

#endif
