// Activation without time for systems whose root has declared Vesk::Priorities::EVERYWHERE. Private
// to the engine.
#ifndef VESK_EXPLORATION_UNTIMED_PRIORITIES_HPP
#define VESK_EXPLORATION_UNTIMED_PRIORITIES_HPP

class Compound;
class Connector;

namespace Vesk {

// Whether the root has declared it and there is any priority below.
bool prioritiesActEverywhere(Compound& system);

// Finds what can fire in the current state under its priorities: returns the head of the list of
// legal connectors without the dominated ones. The interaction that a connector is to fire stands
// first in its list, as in the lists of the connectors below it. Nothing found earlier is used, so
// it takes time in proportion to the system: each state is judged by itself, whatever was before.
Connector* activateUnderPriorities(Compound& system);

}  // namespace Vesk

#endif
