// What a connector is made with, holds and deletes.

#include "connector.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

TEST_F(ConnectorTest, StartsWithTheEmptyInteractionAndNothingElse) {
  Connector connector("k", &compound, true);
  EXPECT_STREQ(connector.name(), "k");
  EXPECT_EQ(connector.holder(), &compound);
  EXPECT_TRUE(connector.isSubconn());
  EXPECT_EQ(connector.ports().count(), 0);
  EXPECT_EQ(connector.links().count(), 0);
  EXPECT_EQ(connector.xPort(), nullptr);
  EXPECT_FALSE(connector.legal());
  EXPECT_FALSE(connector.dominated());
  EXPECT_FALSE(connector.isSubconnSameHolder());
  EXPECT_FALSE(connector.queued());
  EXPECT_EQ(connector.next(), nullptr);
  EXPECT_FALSE(connector.evaluated());
  EXPECT_FALSE(connector.recomputexPort());
  EXPECT_EQ(connector.getPriority(), -9999);
  EXPECT_TRUE(connector.noPrio());
  EXPECT_TRUE(ConnectorFields::dominated(connector).empty());
  EXPECT_TRUE(ConnectorFields::dominator(connector).empty());
  ASSERT_NE(connector.feasibleInter(), nullptr);
  EXPECT_EQ(connector.feasibleInter(), Interaction::Create(&connector, BitVector::EMPTY));
}

TEST_F(ConnectorTest, CopiesItsNameAndKeepsANullOne) {
  char name[] = "k";
  const Connector named(name, &compound, false), nameless(nullptr, &compound, false);
  name[0] = 'q';
  EXPECT_STREQ(named.name(), "k");
  EXPECT_EQ(nameless.name(), nullptr);
}

TEST_F(ConnectorTest, NumbersItsPortsInOrderConnectsAndLinksThem) {
  Port *p = atom->port("p"), *q = atom->port("q");
  Connector connector("k", &compound, false, 3, q, p, q);
  EXPECT_FALSE(connector.isSubconn());
  EXPECT_EQ(elements(connector.ports()), (Ports{q, p, q}));
  EXPECT_TRUE(p->isConnected());
  EXPECT_TRUE(q->isConnected());
  EXPECT_EQ(elements(atom->links()), (std::vector<Connector*>{&connector, &connector, &connector}));
}

TEST_F(ConnectorTest, ListOfPortsIsTakenAsTheVariableNumberOfThem) {
  Port *p = atom->port("p"), *q = atom->port("q");
  Connector connector("k", &compound, true, {q, p, q}), empty("e", &compound, false, {});
  EXPECT_TRUE(connector.isSubconn());
  EXPECT_EQ(elements(connector.ports()), (Ports{q, p, q}));
  EXPECT_TRUE(p->isConnected());
  EXPECT_TRUE(q->isConnected());
  EXPECT_EQ(elements(atom->links()), (std::vector<Connector*>{&connector, &connector, &connector}));
  EXPECT_EQ(empty.ports().count(), 0);
}

TEST_F(ConnectorTest, TakesMorePortsLater) {
  Port *p = atom->port("p"), *q = atom->port("q");
  TestConnector connector(RENDEZVOUS, "k", &compound, false, p);
  connector.addPorts({q});
  EXPECT_EQ(elements(connector.ports()), (Ports{p, q}));
  EXPECT_TRUE(q->isConnected());
}

TEST_F(ConnectorTest, DefaultsOfTheHooks) {
  Connector connector("k", &compound, false);
  EXPECT_TRUE(connector.isBroadcast());
  EXPECT_FALSE(connector.complete());
  EXPECT_TRUE(connector.guard());
  EXPECT_TRUE(connector.guard(setOf({3})));
  connector.up();
  connector.up(setOf({3}));
  connector.dn();
  connector.dn(setOf({3}));
  connector.define();
}

TEST_F(ConnectorTest, AccessorsKeepWhatWasSet) {
  Connector connector("k", &compound, false), other("l", &compound, false);
  connector.setDominated(true);
  connector.setSubconnSameHolder(true);
  connector.setPriority(0);
  connector.setQueued(true);
  connector.setNext(&other);
  connector.setEvaluated(true);
  connector.setRecomputexPort(true);
  connector.setFeasibleInter(nullptr);
  EXPECT_TRUE(connector.dominated());
  EXPECT_TRUE(connector.isSubconnSameHolder());
  EXPECT_EQ(connector.getPriority(), 0);
  EXPECT_FALSE(connector.noPrio());
  EXPECT_TRUE(connector.queued());
  EXPECT_EQ(connector.next(), &other);
  EXPECT_TRUE(connector.evaluated());
  EXPECT_TRUE(connector.recomputexPort());
  EXPECT_EQ(connector.feasibleInter(), nullptr);
}

TEST_F(ConnectorTest, HoldsUpTo128Ports) {
  Ports ports;
  for (int i = 0; i < 128; ++i) ports.push_back(atom->enabled("p"));
  TestConnector* connector = over(RENDEZVOUS, Ports(ports.begin(), ports.begin() + 127));
  connector->addPorts({ports[127]});
  connector->eval(false);
  EXPECT_TRUE(connector->legal());
  for (int i = 0; i < 128; ++i) EXPECT_EQ(connector->feasibleInter()->synced().in(i), 1) << i;
}

TEST_F(ConnectorTest, TooManyPortsEndTheProgramAndNameTheConnector) {
  Ports ports;
  for (int i = 0; i < 1000; ++i) ports.push_back(atom->port("p"));
  EXPECT_EXIT(over(RENDEZVOUS, Ports(ports.begin(), ports.begin() + 129), "crowded"),
              testing::KilledBySignal(SIGABRT), "^vesk: .*crowded.*\n$");
  EXPECT_EXIT(over(RENDEZVOUS, ports, "crowded"), testing::KilledBySignal(SIGABRT),
              "^vesk: .*crowded.*\n$");
}

TEST_F(ConnectorTest, IsMaximalWhenEveryPortIsSynced) {
  const Ports ports = synced({nullptr, nullptr});
  TestConnector* connector = over(RENDEZVOUS, ports);
  EXPECT_TRUE(connector->maximal());
  ports[1]->setSynced(false);
  EXPECT_FALSE(connector->maximal());
  EXPECT_TRUE(over(RENDEZVOUS, {})->maximal());
}

TEST_F(ConnectorTest, RecordsEachPriorityOnce) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  Interaction* low = Interaction::Create(connector, setOf({0}));
  TestPriority first("p", &compound, low, nullptr), second("q", &compound, low, nullptr);
  for (int round = 0; round < 2; ++round) {
    connector->setDominatedPriority(&first);
    connector->setDominatedPriority(&second);
    connector->setDominatorPriority(&second);
  }
  EXPECT_EQ(ConnectorFields::dominated(*connector), (std::vector<Priority*>{&first, &second}));
  EXPECT_EQ(ConnectorFields::dominator(*connector), (std::vector<Priority*>{&second}));
}

TEST_F(ConnectorTest, DeletesItsExportedPortWithItsConstraint) {
  Constraint within(nullptr, 0, 10, LAZY);
  {
    TestConnector connector(RENDEZVOUS, "k", &compound, true, atom->enabled("p", &within));
    connector.exportPort();
    connector.eval(false);
    EXPECT_NE(connector.xPort()->constraint(), &within);
    EXPECT_EQ(spans(connector.xPort()->constraint()), "[0,10]");
  }
  EXPECT_EQ(spans(&within), "[0,10]");  // the rest is the leak checker's
}

TEST_F(ConnectorTest, DeletesAConstraintThatWasGivenToItsExportedPort) {
  struct Ending : Constraint {
    explicit Ending(int& ends) : Constraint(nullptr, 0, 10, LAZY), mEnds(ends) {}
    Ending(const Ending&) = default;
    ~Ending() override { ++mEnds; }
    int& mEnds;
  };
  int ends = 0;
  {
    TestConnector connector(RENDEZVOUS, "k", &compound, true);
    connector.exportPort()->setConstraint(new Ending(ends));
    EXPECT_EQ(ends, 0) << "while the connector lives";
  }
  EXPECT_EQ(ends, 1) << "with the connector";
}
