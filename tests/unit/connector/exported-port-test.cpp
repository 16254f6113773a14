// What an exported port shows of the interactions of its connector.

#include "connector.hpp"

#include <gtest/gtest.h>

#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class ExportedPortTest : public ConnectorTest {};

}  // namespace

TEST_F(ExportedPortTest, WithoutOneNothingIsComputed) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->createFeasibleInters();
  connector->computexPort();
  EXPECT_EQ(connector->xPort(), nullptr);
}

TEST_F(ExportedPortTest, AnUntimedInteractionEnablesItWithoutConstraint) {
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p"));
  connector->createFeasibleInters();
  connector->computexPort();
  EXPECT_TRUE(connector->xPort()->synced());
  EXPECT_EQ(connector->xPort()->constraint(), nullptr);
}

TEST_F(ExportedPortTest, WithoutInteractionItIsNotEnabled) {
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->port("p"));
  connector->xPort()->setSynced(true);
  connector->createFeasibleInters();
  connector->computexPort();
  EXPECT_FALSE(connector->xPort()->synced());
}

TEST_F(ExportedPortTest, CarriesTheConstraintOfATimedInteraction) {
  Constraint within(nullptr, 10, 20, EAGER);
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p", &within));
  connector->createFeasibleInters();
  connector->computexPort();
  EXPECT_TRUE(connector->xPort()->synced());
  EXPECT_EQ(spans(connector->xPort()->constraint()), "[10,20] eager");
  EXPECT_EQ(connector->xPort()->constraint()->clock(), nullptr);
}

TEST_F(ExportedPortTest, UnitesTheConstraintsOfTheInteractions) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 20, 30, EAGER);
  TestConnector* connector =
      compound.exported(BROADCAST, "k", atom->enabled("p", &first), atom->enabled("q", &second));
  connector->onComplete = [] { return true; };
  connector->onGuard = [&] { return connector->feasibleInter()->synced() != BitVector::EMPTY; };
  connector->createFeasibleInters();
  ASSERT_EQ(feasible(connector), "{1} {0}");
  connector->computexPort();
  EXPECT_TRUE(connector->xPort()->synced());
  EXPECT_EQ(spans(connector->xPort()->constraint()), "[0,10] [20,30] eager");
}

TEST_F(ExportedPortTest, LeavesDominatedInteractionsOut) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 20, 30, EAGER);
  TestConnector* connector =
      compound.exported(BROADCAST, "k", atom->enabled("p", &first), atom->enabled("q", &second));
  connector->onComplete = [] { return true; };
  connector->onGuard = [&] { return connector->feasibleInter()->synced() != BitVector::EMPTY; };
  connector->createFeasibleInters();
  connector->feasibleInter()->setDominated(true);
  connector->computexPort();
  EXPECT_EQ(spans(connector->xPort()->constraint()), "[0,10]");
  connector->feasibleInter()->next()->setDominated(true);
  connector->computexPort();
  EXPECT_FALSE(connector->xPort()->synced());
}

TEST_F(ExportedPortTest, AnEmptyUnionDoesNotEnableIt) {
  Constraint within(nullptr, 10, 20, EAGER);
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p", &within));
  connector->createFeasibleInters();
  connector->feasibleInter()->constraint()->clear();
  connector->xPort()->setSynced(true);
  connector->computexPort();
  EXPECT_FALSE(connector->xPort()->synced());
  EXPECT_EQ(spans(connector->xPort()->constraint()), "none");
}

// {} comes first in the list and is timed, {0} is timed, {0,1} untimed would end the walk: here the
// list is made by hand.
TEST_F(ExportedPortTest, AnUntimedInteractionEndsTheWalkAndDropsTheConstraint) {
  Constraint within(nullptr, 10, 20, EAGER);
  TestConnector* connector =
      compound.exported(BROADCAST, "k", atom->enabled("p", &within), atom->enabled("q"));
  Interaction* timed = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  Interaction* untimed = Interaction::CreateRealTime(connector, setOf({1}), setOf({1}));
  timed->setNext(untimed);
  untimed->setNext(nullptr);
  connector->setFeasibleInter(timed);
  connector->computexPort();
  EXPECT_TRUE(connector->xPort()->synced()) << "the untimed one first";
  EXPECT_EQ(connector->xPort()->constraint(), nullptr) << "the untimed one first";

  untimed->setNext(timed);
  timed->setNext(nullptr);
  connector->setFeasibleInter(untimed);
  connector->computexPort();
  EXPECT_TRUE(connector->xPort()->synced()) << "the untimed one last";
  EXPECT_EQ(connector->xPort()->constraint(), nullptr) << "the untimed one last";
}

TEST_F(ExportedPortTest, ADominatedUntimedInteractionDoesNotEndTheWalk) {
  Constraint within(nullptr, 10, 20, EAGER);
  TestConnector* connector =
      compound.exported(BROADCAST, "k", atom->enabled("p", &within), atom->enabled("q"));
  Interaction* timed = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  Interaction* untimed = Interaction::CreateRealTime(connector, setOf({1}), setOf({1}));
  untimed->setDominated(true);
  untimed->setNext(timed);
  timed->setNext(nullptr);
  connector->setFeasibleInter(untimed);
  connector->computexPort();
  EXPECT_TRUE(connector->xPort()->synced());
  EXPECT_EQ(spans(connector->xPort()->constraint()), "[10,20] eager");
}

TEST_F(ExportedPortTest, ChangesBetweenTimedAndUntimedWithItsPorts) {
  Constraint within(nullptr, 10, 20, LAZY);
  Port* port = atom->enabled("p");
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", port);
  for (int round = 0; round < 1000; ++round) {
    port->setConstraint(&within);
    connector->eval(false);
    ASSERT_EQ(spans(connector->xPort()->constraint()), "[10,20]") << round;
    port->setConstraint(nullptr);
    connector->eval(false);
    ASSERT_EQ(connector->xPort()->constraint(), nullptr) << round;
  }
}

// Deliberate: with every interaction dominated the constraint of the exported port stays as it was.
TEST_F(ExportedPortTest, WithEveryInteractionDominatedTheConstraintStaysAsItWas) {
  Constraint within(nullptr, 10, 20, LAZY);
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p", &within));
  connector->eval(false);
  connector->feasibleInter()->setDominated(true);
  connector->computexPort();
  EXPECT_FALSE(connector->xPort()->synced());
  EXPECT_EQ(spans(connector->xPort()->constraint()), "[10,20]");
}
