// What the tests of activation start from.
#ifndef VESK_TESTS_KIT_ACTIVATION_FIXTURE_HPP
#define VESK_TESTS_KIT_ACTIVATION_FIXTURE_HPP

#include <gtest/gtest.h>

#include <string>

#include "kit/lists.hpp"
#include "kit/systems.hpp"

namespace kit {

// The names of a list of ports, "A:p B:q", or "none".
inline std::string internals(const Compound& compound) {
  std::string list;
  for (Port* port : listOf(compound.internals())) {
    list += (list.empty() ? "" : " ") + std::string(port->label());
  }
  return list.empty() ? "none" : list;
}

// A compound with an atom, and connectors over single ports of that atom.
class ActivationTest : public testing::Test {
 protected:
  ActivationTest() : within(nullptr, 0, 10, LAZY), compound("C"), atom(compound.atom("A")) {}

  // A legal rendezvous over one port, which may be timed.
  TestConnector* legal(const char* name, Constraint* constraint = nullptr) {
    return legalIn(compound, name, constraint);
  }
  TestConnector* legalIn(System& holder, const char* name, Constraint* constraint = nullptr) {
    TestConnector* made = holder.rendezvous(name, atom->enabled(name, constraint));
    made->events = &events;
    return made;
  }
  TestConnector* illegal(const char* name) { return compound.rendezvous(name, atom->port(name)); }
  static Interaction* only(Connector* connector) {
    return Interaction::Create(connector, setOf({0}));
  }
  TestPriority* below(Connector* low, Connector* high, Vesk::Time delay = Vesk::Time(0)) {
    TestPriority* made =
        compound.priority("p", only(low), high != nullptr ? only(high) : nullptr, delay);
    made->setup();
    return made;
  }
  std::string activated(bool incremental = true) { return names(compound.activate(incremental)); }

  Events events;
  Constraint within;
  System compound;
  TestAtom* atom;
};

}  // namespace kit

#endif
