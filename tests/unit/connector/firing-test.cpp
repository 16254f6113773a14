// What firing an interaction or a connector calls, in which order.

#include "connector.hpp"

#include <gtest/gtest.h>

#include <string>

#include "kit/atoms.hpp"
#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class FireTest : public ConnectorTest {};

}  // namespace

TEST_F(FireTest, AnInteractionFiresItsPortsInIndexOrder) {
  atom->events = &events;
  Ports ports = synced({nullptr, nullptr, nullptr});
  TestConnector* connector = over(RENDEZVOUS, {ports[2], ports[0], ports[1]});
  Interaction::Create(connector, setOf({0, 1, 2}))->execute(Vesk::Time(0));
  EXPECT_EQ(events, (Events{"execute p2 of A", "execute p0 of A", "execute p1 of A"}));
  events.clear();
  Interaction::Create(connector, setOf({0, 2}))->execute(Vesk::Time(0));
  EXPECT_EQ(events, (Events{"execute p2 of A", "execute p1 of A"}));
}

TEST_F(FireTest, AnInteractionDisablesTheExportedPortFirst) {
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p"));
  connector->eval(false);
  ASSERT_TRUE(connector->xPort()->synced());
  bool synced = true;
  atom->onExecute = [&](Port*) { synced = connector->xPort()->synced(); };
  connector->feasibleInter()->execute(Vesk::Time(0));
  EXPECT_FALSE(synced);
}

TEST_F(FireTest, AnInteractionHandsItsTimeDownToExportedPorts) {
  Constraint early(nullptr, 0, 10, LAZY);
  atom->events = &events;
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p", &early));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  outer->eval(false);
  ASSERT_EQ(feasible(outer), "{0}");
  outer->feasibleInter()->execute(Vesk::Time(11));
  EXPECT_EQ(events, Events());
  outer->feasibleInter()->execute(Vesk::Time(10));
  EXPECT_EQ(events, Events{"execute p of A"});
}

TEST_F(FireTest, AConnectorFiresTheFirstInteractionThatIsPossible) {
  Constraint late(nullptr, 30, 40, LAZY);
  atom->events = &events;
  TestConnector* connector = open(synced({nullptr, &late}));
  connector->createFeasibleInters();
  ASSERT_EQ(feasible(connector), "{0} {0,1}");
  connector->execute(Vesk::Time(29));
  EXPECT_EQ(events, Events{"execute p0 of A"}) << "before the times of the other one";
  events.clear();
  connector->execute(Vesk::Time(30));
  EXPECT_EQ(events, (Events{"execute p0 of A", "execute p1 of A"}));
  events.clear();
  connector->execute(Vesk::Time(41));
  EXPECT_EQ(events, Events{"execute p0 of A"}) << "after the times of the other one";
}

TEST_F(FireTest, AConnectorWithNothingPossibleDoesNothing) {
  Constraint within(nullptr, 5, 10, LAZY);
  atom->events = &events;
  TestConnector* connector = over(RENDEZVOUS, synced({&within}));
  connector->events = &events;
  connector->createFeasibleInters();
  events.clear();
  connector->execute(Vesk::Time(4));
  connector->execute(Vesk::Time(11));
  connector->actuate(Vesk::Time(4));
  connector->execute();
  EXPECT_EQ(events, Events()) << "outside of its times";
  connector->setFeasibleInter(nullptr);
  connector->execute(Vesk::Time(7));
  connector->execute();
  connector->actuate(Vesk::Time(7));
  EXPECT_EQ(events, Events()) << "without an interaction";
}

TEST_F(FireTest, WithoutATimeAConnectorFiresAtZero) {
  Constraint negative(nullptr, -5, 0, LAZY), positive(nullptr, 1, 9, LAZY);
  atom->events = &events;
  const Ports ports = synced({&negative});
  TestConnector* connector = over(RENDEZVOUS, ports);
  connector->createFeasibleInters();
  connector->execute();
  EXPECT_EQ(events, Events{"execute p0 of A"});
  events.clear();
  ports[0]->setConstraint(&positive);
  connector->createFeasibleInters();
  connector->execute();
  EXPECT_EQ(events, Events());
}

// Deliberate: the mark of a priority does not keep a connector from firing an interaction.
TEST_F(FireTest, ADominatedInteractionIsFiredLikeAnyOther) {
  atom->events = &events;
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->createFeasibleInters();
  connector->feasibleInter()->setDominated(true);
  connector->execute();
  EXPECT_EQ(events, Events{"execute p0 of A"});
}

TEST_F(FireTest, AnInteractionActuatesTheConnectorThenItsPortsInIndexOrder) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* two = compound.exported(RENDEZVOUS, "two", atom->enabled("q"));
  TestConnector* outer =
      compound.rendezvous("outer", two->xPort(), atom->enabled("r"), one->xPort());
  outer->eval(false);
  for (TestConnector* connector : {one, two, outer}) connector->events = &events;
  atom->events = &events;
  outer->feasibleInter()->actuate(Vesk::Time(0));
  EXPECT_EQ(events, (Events{"dn outer", "dn two", "dn one"}));
}

// Deliberate: dn() sees the head of the list, also when another interaction is fired.
TEST_F(FireTest, DnSeesTheHeadOfTheListAlsoWhenAnotherInteractionIsFired) {
  Constraint late(nullptr, 30, 40, LAZY);
  TestConnector* connector = open(synced({nullptr, &late}));
  connector->createFeasibleInters();
  std::string seen;
  connector->onDn = [&] { seen += text(connector->feasibleInter()->synced()); };
  connector->actuate(Vesk::Time(30));
  EXPECT_EQ(seen, "{0}");
}

TEST_F(FireTest, ActuateChoosesTheInteractionThatExecuteFires) {
  Constraint late(nullptr, 30, 40, LAZY);
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p", &late));
  TestConnector* connector = over(BROADCAST, {atom->enabled("t"), inner->xPort()});
  connector->eval(false);
  ASSERT_EQ(feasible(connector), "{0} {0,1}");
  inner->events = &events;
  connector->actuate(Vesk::Time(29));
  EXPECT_EQ(events, Events());
  connector->actuate(Vesk::Time(30));
  EXPECT_EQ(events, Events{"dn inner"});
}
