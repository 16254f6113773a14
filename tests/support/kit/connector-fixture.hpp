// What the tests of connectors and interactions start from.
#ifndef VESK_TESTS_KIT_CONNECTOR_FIXTURE_HPP
#define VESK_TESTS_KIT_CONNECTOR_FIXTURE_HPP

#include <gtest/gtest.h>

#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "kit/lists.hpp"
#include "kit/systems.hpp"

namespace kit {

using Ports = std::vector<Port*>;

inline std::string feasible(const Connector* connector) {
  return sets(connector->feasibleInter());
}

// A compound with one atom; connectors over ports of that atom.
class ConnectorTest : public testing::Test {
 protected:
  ConnectorTest() : compound("C1"), atom(compound.atom("A")) {}

  // Ports p0, p1, ... of the atom, each with a constraint or, for null, without.
  Ports synced(std::initializer_list<Constraint*> constraints) {
    Ports ports;
    for (Constraint* constraint : constraints) {
      const std::string name = "p" + std::to_string(ports.size());
      ports.push_back(atom->enabled(name.c_str(), constraint));
    }
    return ports;
  }
  TestConnector* over(Kind kind, const Ports& ports, const char* name = "k") {
    TestConnector* made = compound.add(new TestConnector(kind, name, &compound, false));
    made->addPorts(ports);
    return made;
  }
  // A broadcast in which every set is complete.
  TestConnector* open(const Ports& ports) {
    TestConnector* made = over(BROADCAST, ports);
    made->onComplete = [] { return true; };
    return made;
  }

  Events events;  // outlives the compound, whose parts record their end
  System compound;
  TestAtom* atom;
};

// One interval or two, with bounds from 0 to about 60 and any urgency.
inline void randomize(Constraint& constraint, std::mt19937& random) {
  const auto bound = [&] { return static_cast<int>(random() % 40); };
  constraint.clear();
  const int count = 1 + static_cast<int>(random() % 2);
  int low = bound();
  for (int i = 0; i < count; ++i) {
    const int high = low + static_cast<int>(random() % 12);
    constraint |= Constraint(nullptr, low, high, static_cast<Urgency>(random() % 3));
    low = high + 2 + static_cast<int>(random() % 10);
  }
}

}  // namespace kit

#endif
