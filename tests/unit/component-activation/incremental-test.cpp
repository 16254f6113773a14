// What an activation evaluates again.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kit/activation-fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class IncrementalActivationTest : public ActivationTest {};

}  // namespace

TEST_F(IncrementalActivationTest, EvaluatesNothingThatHasNotBeenReset) {
  TestConnector *one = legal("one"), *two = legal("two");
  activated();
  activated();
  EXPECT_EQ(one->guards, 1) << "nothing was reset";
  EXPECT_EQ(two->guards, 1);
  two->resetLink();
  activated();
  EXPECT_EQ(one->guards, 1) << "still nothing was reset";
  EXPECT_EQ(two->guards, 2);
}

TEST_F(IncrementalActivationTest, AFreshOneEvaluatesEverything) {
  System* inner = compound.compound("D");
  TestConnector *one = legal("one"), *two = legalIn(*inner, "two");
  activated(false);
  activated(false);
  EXPECT_EQ(one->guards, 2);
  EXPECT_EQ(two->guards, 2);
}

TEST_F(IncrementalActivationTest, AFiredAtomHasItsConnectorsEvaluatedAgain) {
  TestAtom* other = compound.atom("B");
  Port* port = other->enabled("q");
  TestConnector* mine = compound.rendezvous("mine", port);
  TestConnector* apart = legal("apart");
  other->onExecute = [](Port* fired) { fired->setSynced(false); };
  EXPECT_EQ(activated(), "apart mine");
  mine->execute();
  EXPECT_EQ(activated(), "apart");
  EXPECT_EQ(mine->guards, 2);
  EXPECT_EQ(apart->guards, 1);
}

// Deliberate: a priority that counts as evaluated is not applied again by a fresh activation.
TEST_F(IncrementalActivationTest, APriorityThatCountsAsEvaluatedIsNotAppliedAgainByAFreshOne) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  activated();
  EXPECT_TRUE(only(low)->dominated()) << "without a change";
  activated(false);
  EXPECT_FALSE(only(low)->dominated());
  priority->reset();
  activated(false);
  EXPECT_TRUE(only(low)->dominated()) << "by a fresh one";
}

TEST_F(IncrementalActivationTest, AMarkStaysUntilTheLowOneIsEvaluatedAgain) {
  TestConnector *low = legal("low"), *high = legal("high");
  below(low, high);
  activated();
  activated();
  EXPECT_TRUE(only(low)->dominated());
  high->ports()[0]->setSynced(false);
  high->resetLink();  // which has the low one evaluated again
  activated();
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(IncrementalActivationTest, AgreesWithAFreshOneOnRandomSystems) {
  std::mt19937 random(5);
  for (int round = 0; round < 200; ++round) {
    System system("S");
    System* inner = system.compound("D");
    std::vector<TestAtom*> atoms{system.atom("A"), inner->atom("B"), inner->atom("C")};
    std::vector<std::unique_ptr<Constraint>> constraints;
    for (int i = 0; i < 6; ++i) {
      constraints.push_back(
          std::make_unique<Constraint>(nullptr, 5 * i, 5 * i + 12, static_cast<Urgency>(i % 3)));
    }
    std::vector<Port*> ports;
    const auto announce = [&](TestAtom* mover) {
      for (Port* port : elements(mover->ports())) {
        port->setSynced(random() % 3 != 0);
        port->setConstraint(random() % 2 == 0 ? constraints[random() % 6].get() : nullptr);
      }
    };
    for (TestAtom* mover : atoms) {
      for (const char* name : {"p", "q", "r"}) ports.push_back(mover->port(name));
      mover->onExecute = [&announce, mover](Port*) { announce(mover); };
      announce(mover);
    }
    std::vector<TestConnector*> connectors;
    const auto pick = [&] { return ports[random() % ports.size()]; };
    TestConnector* exported = inner->exported(BROADCAST, "x", pick(), pick());
    connectors.push_back(exported);
    for (int i = 0; i < 3; ++i) {
      connectors.push_back(inner->rendezvous("r", pick(), pick()));
      connectors.push_back(system.broadcast("b", pick(), pick(), pick()));
      connectors.push_back(system.broadcast("o", pick(), exported->xPort()));
    }
    const auto described = [&](Connector* head) {
      std::string text = names(head);
      for (TestConnector* connector : connectors) {
        for (Interaction* feasible : listOf(connector->feasibleInter())) {
          text += " " + kit::text(feasible->synced()) + spans(feasible->constraint());
        }
        text += ";";
      }
      return text;
    };
    for (int step = 0; step < 12; ++step) {
      const std::string incremental = described(system.activate(true));
      ASSERT_EQ(incremental, described(system.activate(false))) << round << " " << step;
      // Fires an arbitrary port, enabled or not: only the atom's own ports change.
      Port* fired = pick();
      fired->setSynced(true);
      fired->execute();
    }
    for (Port* port : ports) port->setConstraint(nullptr);
  }
}
