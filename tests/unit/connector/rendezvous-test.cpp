// Which interaction a rendezvous offers.

#include "connector.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class RendezvousTest : public ConnectorTest {};

}  // namespace

TEST_F(RendezvousTest, OffersAllPortsWhenTheGuardHolds) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr, nullptr, nullptr}));
  Interaction* all = Interaction::Create(connector, setOf({0, 1, 2}));
  all->setDominated(true);
  all->setNext(connector->feasibleInter());
  connector->createFeasibleInters();
  EXPECT_EQ(connector->feasibleInter(), all);
  EXPECT_FALSE(all->dominated());
  EXPECT_EQ(all->next(), nullptr);
}

TEST_F(RendezvousTest, OffersNothingWhenTheGuardFails) {
  const Ports ports = synced({nullptr, nullptr});
  TestConnector* connector = over(RENDEZVOUS, ports);
  ports[1]->setSynced(false);
  connector->createFeasibleInters();
  EXPECT_EQ(connector->feasibleInter(), nullptr);
}

// Deliberate: a rendezvous does not test its ports by itself; its guard does.
TEST_F(RendezvousTest, DoesNotTestItsPortsByItself) {
  const Ports ports = synced({nullptr, nullptr});
  ports[1]->setSynced(false);
  class Careless : public TestConnector {
   public:
    using TestConnector::guard;
    using TestConnector::TestConnector;
    bool guard() override { return true; }
  };
  Careless* connector =
      compound.add(new Careless(RENDEZVOUS, "k", &compound, false, ports[0], ports[1]));
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0,1}");
}

TEST_F(RendezvousTest, AsksTheGuardOnceAboutTheSetOfAllPorts) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr, nullptr}));
  std::string asked;
  connector->onGuard = [&] {
    asked += sets(connector->feasibleInter());
    return true;
  };
  connector->createFeasibleInters();
  EXPECT_EQ(asked, "{0,1}");
}

TEST_F(RendezvousTest, IntersectsTheConstraintsOfItsPorts) {
  Constraint first(nullptr, 0, 20, LAZY), second(nullptr, 10, 30, DELAYABLE);
  TestConnector* connector = over(RENDEZVOUS, synced({&first, nullptr, &second}));
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0,1,2}");
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[10,20] delayable");
}

TEST_F(RendezvousTest, IsNotFeasibleWhenItsConstraintsNeverMeet) {
  Constraint early(nullptr, 0, 5, LAZY), late(nullptr, 10, 20, LAZY);
  TestConnector* connector = over(RENDEZVOUS, synced({&early, &late}));
  connector->eval(false);
  EXPECT_EQ(connector->feasibleInter(), nullptr);
  EXPECT_FALSE(connector->legal());
}

TEST_F(RendezvousTest, WithoutPortsOffersTheEmptySet) {
  TestConnector* connector = over(RENDEZVOUS, {});
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{}");
}

TEST_F(RendezvousTest, LeavesTheSyncedFlagsAlone) {
  const Ports ports = synced({nullptr, nullptr});
  ports[0]->setSynced(false);
  over(RENDEZVOUS, ports)->createFeasibleInters();
  EXPECT_FALSE(ports[0]->synced());
  EXPECT_TRUE(ports[1]->synced());
}

TEST(RendezvousOracleTest, AgreesWithTheIntersectionOnRandomConnectors) {
  std::mt19937 random(7);
  int legal = 0;
  for (int round = 0; round < 1000; ++round) {
    System compound("C");
    TestAtom* atom = compound.atom("A");
    TestConnector* connector = compound.add(new TestConnector(RENDEZVOUS, "k", &compound, false));
    std::vector<std::unique_ptr<Constraint>> constraints;
    std::unique_ptr<Constraint> expected;
    const std::size_t count = 1 + random() % 6;
    for (std::size_t i = 0; i < count; ++i) {
      constraints.push_back(nullptr);
      if (random() % 2 == 0) {
        constraints.back() = std::make_unique<Constraint>(nullptr, 0, 0, LAZY);
        randomize(*constraints.back(), random);
        if (expected == nullptr) {
          expected = std::make_unique<Constraint>(nullptr, Vesk::Time::MIN, Vesk::Time::MAX, LAZY);
        }
        *expected &= *constraints.back();
      }
      connector->addPorts({atom->enabled("p", constraints.back().get())});
    }
    connector->eval(false);
    if (expected != nullptr && expected->empty()) {
      ASSERT_EQ(connector->feasibleInter(), nullptr) << round;
    } else {
      ASSERT_NE(connector->feasibleInter(), nullptr) << round;
      ASSERT_EQ(spans(connector->feasibleInter()->constraint()), spans(expected.get())) << round;
      ++legal;
    }
    for (Port* port : elements(atom->ports())) port->setConstraint(nullptr);
  }
  EXPECT_GT(legal, 300);
}
