#include "connector.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <initializer_list>
#include <iomanip>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/clocks.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

using Ports = std::vector<Port*>;

std::string feasible(const Connector* connector) {
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

class InteractionTest : public ConnectorTest {};
class InteractionTableTest : public ConnectorTest {};
class CreateRealTimeTest : public ConnectorTest {};
class ConnectorGuardTest : public ConnectorTest {};
class RendezvousTest : public ConnectorTest {};
class BroadcastTest : public ConnectorTest {};
class EvaluationTest : public ConnectorTest {};
class ExportedPortTest : public ConnectorTest {};
class FireTest : public ConnectorTest {};
class ResetLinkTest : public ConnectorTest {};
class LabelTest : public ConnectorTest {};

}  // namespace

// ---- construction ------------------------------------------------------------------------------

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
  for (int i = 0; i < 128; ++i) EXPECT_EQ(connector->feasibleInter()->synced().in(i), 1);
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

// ---- interactions ------------------------------------------------------------------------------

TEST_F(InteractionTest, StartsOverItsConnectorAndSetOnly) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr, nullptr}));
  Interaction interaction(connector, setOf({1}));
  EXPECT_EQ(interaction.connector(), connector);
  EXPECT_EQ(interaction.synced(), setOf({1}));
  EXPECT_EQ(interaction.inhibitors().count(), 0);
  EXPECT_EQ(interaction.next(), nullptr);
  EXPECT_EQ(interaction.constraint(), nullptr);
  EXPECT_EQ(interaction.mark(), 0u);
  EXPECT_FALSE(interaction.dominated());
}

TEST_F(InteractionTest, ACopyKeepsMarkAndFlagAndOwnsItsConstraint) {
  Constraint within(nullptr, 0, 10, EAGER);
  TestConnector* connector = over(RENDEZVOUS, synced({&within}));
  Interaction* original = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  original->setMark(5);
  original->setDominated(true);
  original->setNext(connector->feasibleInter());
  TestPriority priority("p", &compound, original, nullptr);
  original->inhibitors().add(&priority);

  const int stored = Interaction::TABLE.count();
  std::unique_ptr<Interaction> copy(original->copy());
  EXPECT_EQ(Interaction::TABLE.count(), stored);
  EXPECT_NE(copy.get(), original);
  EXPECT_EQ(copy->connector(), connector);
  EXPECT_EQ(copy->synced(), setOf({0}));
  EXPECT_EQ(copy->mark(), 5u);
  EXPECT_TRUE(copy->dominated());
  EXPECT_EQ(copy->next(), nullptr);
  EXPECT_EQ(copy->inhibitors().count(), 0);
  EXPECT_NE(copy->constraint(), original->constraint());
  EXPECT_EQ(spans(copy->constraint()), "[0,10] eager");
  copy->constraint()->clear();
  EXPECT_EQ(spans(original->constraint()), "[0,10] eager");
  EXPECT_TRUE(original->equal(copy.get()));
}

TEST_F(InteractionTest, ACopyOfAnUntimedOneIsUntimed) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  const Interaction original(connector, setOf({0}));
  const Interaction copy(original);
  EXPECT_EQ(copy.constraint(), nullptr);
  EXPECT_EQ(copy.synced(), setOf({0}));
}

TEST_F(InteractionTest, IsEqualForTheSameConnectorAndSet) {
  TestConnector *one = over(RENDEZVOUS, {}, "k"), *two = over(RENDEZVOUS, {}, "k");
  const Interaction interaction(one, setOf({0, 40})), same(one, setOf({40, 0})),
      otherSet(one, setOf({0})), otherConnector(two, setOf({0, 40}));
  EXPECT_TRUE(interaction.equal(&same));
  EXPECT_TRUE(interaction.equal(&interaction));
  EXPECT_FALSE(interaction.equal(&otherSet));
  EXPECT_FALSE(interaction.equal(&otherConnector));
}

TEST_F(InteractionTest, IsASubsetWithinOneConnectorOnly) {
  TestConnector *one = over(RENDEZVOUS, {}, "k"), *two = over(RENDEZVOUS, {}, "k");
  const Interaction small(one, setOf({3})), large(one, setOf({3, 100})), apart(one, setOf({4})),
      same(one, setOf({3})), foreign(two, setOf({3}));
  bool equal = false;
  EXPECT_TRUE(small.isSubset(&same, equal));
  EXPECT_TRUE(equal);
  EXPECT_TRUE(small.isSubset(&large, equal));
  EXPECT_FALSE(equal);
  EXPECT_FALSE(large.isSubset(&small, equal));
  EXPECT_FALSE(small.isSubset(&apart, equal));
  EXPECT_FALSE(small.isSubset(&foreign, equal));
  const Interaction empty(one, BitVector::EMPTY);
  EXPECT_TRUE(empty.isSubset(&small, equal));
  EXPECT_FALSE(equal);
}

// "k" is 107; "ab" is 97 * 5 + 98 = 583. {1} is the word 2, {0} the word 1, {32} a 1 in the second
// word.
TEST_F(InteractionTest, HashCombinesNameAndSet) {
  TestConnector *k = over(RENDEZVOUS, {}, "k"), *ab = over(RENDEZVOUS, {}, "ab");
  EXPECT_EQ(Interaction(k, setOf({1})).hash(511), 109u);
  EXPECT_EQ(Interaction(k, setOf({1})).hash(10), 9u);
  EXPECT_EQ(Interaction(k, setOf({1, 32})).hash(511), 110u);
  EXPECT_EQ(Interaction(k, BitVector::EMPTY).hash(511), 107u);
  EXPECT_EQ(Interaction(ab, setOf({0})).hash(511), 73u);
}

// The byte 0xFF is -1, so the sum is 2^32 - 1: 31 modulo 511, since 2^9 is 1 modulo 511. With {0}
// it wraps to 0.
TEST_F(InteractionTest, HashTakesCharactersAsSignedAndWraps) {
  TestConnector* connector = over(RENDEZVOUS, {}, "\xFF");
  EXPECT_EQ(Interaction(connector, BitVector::EMPTY).hash(511), 31u);
  EXPECT_EQ(Interaction(connector, setOf({0})).hash(511), 0u);
}

TEST_F(InteractionTest, HashOfANullNameIsTheHashOfTheSet) {
  TestConnector* connector = over(RENDEZVOUS, {}, nullptr);
  EXPECT_EQ(Interaction(connector, setOf({3})).hash(511), 8u);
}

TEST_F(InteractionTest, WithoutConstraintIsPossibleNowAndHasNoDeadline) {
  const Interaction interaction(over(RENDEZVOUS, {}), BitVector::EMPTY);
  EXPECT_EQ(interaction.next(Vesk::Time(7)), Vesk::Time(7));
  EXPECT_EQ(interaction.deadline(Vesk::Time(7)), Vesk::Time::MAX);
}

TEST_F(InteractionTest, WithAConstraintAsksIt) {
  HandClock now(Vesk::Time(100));
  compound.setClock(&now);
  Constraint within(&now, 10, 20, DELAYABLE);
  TestConnector* connector = over(RENDEZVOUS, synced({&within}));
  const Interaction* timed = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  EXPECT_EQ(timed->next(Vesk::Time(7)), Vesk::Time(10));
  EXPECT_EQ(timed->next(Vesk::Time(15)), Vesk::Time(15));
  EXPECT_EQ(timed->next(Vesk::Time(21)), Vesk::Time::MAX);
  EXPECT_EQ(timed->deadline(Vesk::Time(7)), Vesk::Time(20));
  EXPECT_EQ(timed->deadline(Vesk::Time(7)), Vesk::Time(20));
}

TEST_F(InteractionTest, ShowsItsConstraintOnTheClockOfTheCompound) {
  const Interaction interaction(over(RENDEZVOUS, {}), BitVector::EMPTY);
  EXPECT_EQ(interaction.displayClock(), nullptr);
  HandClock clock(Vesk::Time(0));
  compound.setClock(&clock);
  EXPECT_EQ(interaction.displayClock(), &clock);
}

TEST_F(InteractionTest, PrintWritesThePortNamesSeparatedByIndex) {
  TestConnector* connector = over(RENDEZVOUS, {atom->port("a"), atom->port("b"), atom->port("%s")});
  EXPECT_EQ(outputOf([&] { Interaction(connector, setOf({0, 1, 2})).print(); }), "a|b|%s");
  EXPECT_EQ(outputOf([&] { Interaction(connector, setOf({1})).print(); }), "|b");
  EXPECT_EQ(outputOf([&] { Interaction(connector, BitVector::EMPTY).print(); }), "");
}

TEST_F(InteractionTest, PrintWritesThroughTheBufferAndPastTheFormatOfTheOutputStream) {
  TestConnector* connector = over(RENDEZVOUS, {atom->port("a"), atom->port(nullptr)});
  std::ostringstream out;
  std::streambuf* const before = std::cout.rdbuf(out.rdbuf());
  std::cout << std::setw(9) << std::setfill('*');
  Interaction(connector, setOf({0, 1})).print();
  std::cout.rdbuf(before);
  std::cout << std::setw(0) << std::setfill(' ');
  EXPECT_EQ(out.str(), "a|");
  EXPECT_TRUE(std::cout.good());
}

// ---- table of interactions ---------------------------------------------------------------------

TEST_F(InteractionTableTest, CreateTwiceGivesTheSameObjectAndCountsOnce) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr, nullptr}));
  const int before = Interaction::TABLE.count();
  Interaction* first = Interaction::Create(connector, setOf({1}));
  EXPECT_EQ(Interaction::TABLE.count(), before + 1);
  EXPECT_EQ(Interaction::Create(connector, setOf({1})), first);
  EXPECT_EQ(Interaction::TABLE.count(), before + 1);
  EXPECT_EQ(first->connector(), connector);
  EXPECT_EQ(first->synced(), setOf({1}));
}

TEST_F(InteractionTableTest, CreateFromIndicesFindsTheSameObject) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr, nullptr, nullptr}));
  Interaction* first = Interaction::Create(connector, 2, 2, 0);
  EXPECT_EQ(first->synced(), setOf({0, 2}));
  EXPECT_EQ(Interaction::Create(connector, setOf({0, 2})), first);
  EXPECT_EQ(Interaction::Create(connector, 3, 0, 2, 0), first);
  EXPECT_EQ(Interaction::Create(connector, 0), Interaction::Create(connector, BitVector::EMPTY));
}

TEST_F(InteractionTableTest, ConnectorsOfTheSameNameHaveTheirOwn) {
  TestConnector *one = over(RENDEZVOUS, {}, "k"), *two = over(RENDEZVOUS, {}, "k");
  EXPECT_NE(Interaction::Create(one, setOf({0})), Interaction::Create(two, setOf({0})));
}

TEST_F(InteractionTableTest, HasFiveHundredAndElevenChains) {
  EXPECT_EQ(HashTable<Interaction>::CHAINS, 511u);
}

TEST_F(InteractionTableTest, TheNewestStandsFirstInItsChain) {
  TestConnector *one = over(RENDEZVOUS, {}, "k"), *two = over(RENDEZVOUS, {}, "k"),
                *three = over(RENDEZVOUS, {}, "k");
  Interaction* stored[] = {Interaction::Create(two, setOf({1})),
                           Interaction::Create(one, setOf({1})),
                           Interaction::Create(three, setOf({1}))};
  const HashTable<Interaction>::Cell* cell = Interaction::TABLE.chain(109);
  for (Interaction* expected : {stored[2], stored[1], stored[0]}) {
    ASSERT_NE(cell, nullptr);
    EXPECT_EQ(cell->element(), expected);
    cell = cell->next();
  }
}

TEST_F(InteractionTableTest, FindingOneDoesNotMoveIt) {
  TestConnector *one = over(RENDEZVOUS, {}, "k"), *two = over(RENDEZVOUS, {}, "k");
  Interaction* older = Interaction::Create(one, setOf({1}));
  Interaction* newer = Interaction::Create(two, setOf({1}));
  EXPECT_EQ(Interaction::Create(one, setOf({1})), older);
  EXPECT_EQ(Interaction::TABLE.chain(109)->element(), newer);
}

// A connector leaves from the front, the middle and the end of a chain.
TEST_F(InteractionTableTest, AConnectorTakesItsInteractionsWithIt) {
  const int before = Interaction::TABLE.count();
  for (int leaving = 0; leaving < 3; ++leaving) {
    std::unique_ptr<TestConnector> connectors[3];
    Interaction* stored[3];
    for (int i = 0; i < 3; ++i) {
      connectors[i] = std::make_unique<TestConnector>(RENDEZVOUS, "k", &compound, false);
      stored[i] = Interaction::Create(connectors[i].get(), setOf({1}));
    }
    EXPECT_EQ(Interaction::TABLE.count(), before + 6);
    connectors[leaving].reset();
    EXPECT_EQ(Interaction::TABLE.count(), before + 4);
    std::vector<Interaction*> left;
    for (auto* cell = Interaction::TABLE.chain(109); cell != nullptr; cell = cell->next()) {
      left.push_back(cell->element());
    }
    std::vector<Interaction*> expected;
    for (int i = 2; i >= 0; --i) {
      if (i != leaving) expected.push_back(stored[i]);
    }
    EXPECT_EQ(left, expected);
  }
  EXPECT_EQ(Interaction::TABLE.count(), before);
}

TEST_F(InteractionTableTest, AnInteractionMadeByHandIsNotInTheTable) {
  TestConnector* connector = over(RENDEZVOUS, {});
  const int before = Interaction::TABLE.count();
  Interaction byHand(connector, setOf({1}));
  EXPECT_EQ(Interaction::TABLE.count(), before);
  EXPECT_NE(Interaction::Create(connector, setOf({1})), &byHand);
}

TEST_F(InteractionTableTest, EverySetOfManyKeepsItsOwnObject) {
  TestConnector* connector = over(RENDEZVOUS, {});
  const int before = Interaction::TABLE.count();
  std::vector<Interaction*> stored;
  for (int i = 0; i < 128; ++i) {
    for (int j = i; j < 128; ++j) stored.push_back(Interaction::Create(connector, 2, i, j));
  }
  EXPECT_EQ(Interaction::TABLE.count(), before + 128 * 129 / 2);
  std::size_t index = 0;
  for (int i = 0; i < 128; ++i) {
    for (int j = i; j < 128; ++j) {
      ASSERT_EQ(Interaction::Create(connector, 2, i, j), stored[index]);
      ASSERT_EQ(stored[index++]->synced(), setOf({i, j}));
    }
  }
}

TEST_F(CreateRealTimeTest, FindsTheStoredInteraction) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  Interaction* stored = Interaction::Create(connector, setOf({0}));
  const int before = Interaction::TABLE.count();
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0}), setOf({0})), stored);
  EXPECT_EQ(Interaction::TABLE.count(), before);
}

TEST_F(CreateRealTimeTest, WithoutATimedPortHasNoConstraint) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr, nullptr}));
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({0, 1}))->constraint(),
            nullptr);
}

TEST_F(CreateRealTimeTest, IntersectsTheConstraintsOfTheSetOnly) {
  HandClock clock(Vesk::Time(0));
  compound.setClock(&clock);
  Constraint first(&clock, 0, 20, LAZY), second(&clock, 10, 30, EAGER), third(&clock, 50, 60, LAZY);
  TestConnector* connector = over(RENDEZVOUS, synced({&first, nullptr, &second, &third}));
  Interaction* made = Interaction::CreateRealTime(connector, setOf({0, 1, 2, 3}), setOf({0, 1, 2}));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(spans(made->constraint()), "[10,20] eager");
  EXPECT_EQ(made->constraint()->clock(), &clock);
  EXPECT_EQ(made->constraint()->displayClock(), &clock);
  EXPECT_EQ(spans(&first), "[0,20]");
}

TEST_F(CreateRealTimeTest, AskedAgainStartsAfresh) {
  Constraint within(nullptr, 0, 20, LAZY);
  TestConnector* connector = over(RENDEZVOUS, synced({&within}));
  Interaction* made = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  made->constraint()->setDomination(true);
  made->constraint()->setDelay(Vesk::Time(5));
  *made->constraint() -= Constraint(nullptr, 0, 10, LAZY);
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0}), setOf({0})), made);
  EXPECT_EQ(spans(made->constraint()), "[0,20]");
  EXPECT_FALSE(made->constraint()->domination());
  EXPECT_EQ(made->constraint()->delay(), Vesk::Time(0));
}

TEST_F(CreateRealTimeTest, TheConstraintGoesAwayWithTheLastTimedPortAndComesBack) {
  Constraint within(nullptr, 0, 20, LAZY);
  const Ports ports = synced({&within});
  TestConnector* connector = over(RENDEZVOUS, ports);
  for (int round = 0; round < 1000; ++round) {
    ports[0]->setConstraint(&within);
    ASSERT_EQ(spans(Interaction::CreateRealTime(connector, setOf({0}), setOf({0}))->constraint()),
              "[0,20]");
    ports[0]->setConstraint(nullptr);
    ASSERT_EQ(Interaction::CreateRealTime(connector, setOf({0}), setOf({0}))->constraint(),
              nullptr);
  }
}

TEST_F(CreateRealTimeTest, BothClocksFollowTheCompound) {
  HandClock late(Vesk::Time(0));
  Constraint within(nullptr, 0, 20, LAZY);
  TestConnector* connector = over(RENDEZVOUS, synced({&within}));
  Interaction* made = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  EXPECT_EQ(made->constraint()->clock(), nullptr);
  compound.setClock(&late);
  Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  EXPECT_EQ(made->constraint()->clock(), &late);
  EXPECT_EQ(made->constraint()->displayClock(), &late);
}

// The compound's clock reads 100 when the port's reads 40: its 10 is the compound's 70.
TEST_F(CreateRealTimeTest, TranslatesIntoTheClockOfTheCompound) {
  HandClock logical(Vesk::Time(100)), own(Vesk::Time(40));
  compound.setClock(&logical);
  Constraint within(&own, 10, 20, LAZY);
  TestConnector* connector = over(RENDEZVOUS, synced({&within}));
  EXPECT_EQ(spans(Interaction::CreateRealTime(connector, setOf({0}), setOf({0}))->constraint()),
            "[70,80]");
}

TEST_F(CreateRealTimeTest, AnEmptyIntersectionGivesNull) {
  Constraint early(nullptr, 0, 5, LAZY), late(nullptr, 10, 20, LAZY);
  const Ports ports = synced({&early, &late});
  TestConnector* connector = over(RENDEZVOUS, ports);
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({0, 1})), nullptr);
  EXPECT_NE(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({1})), nullptr);
  early.clear();
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0}), setOf({0})), nullptr);
  ports[1]->setConstraint(&early);
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({0, 1})), nullptr);
}

TEST_F(CreateRealTimeTest, TheSetOfEnabledPortsPlaysNoPart) {
  Constraint within(nullptr, 0, 20, LAZY);
  TestConnector* connector = over(RENDEZVOUS, synced({&within, nullptr}));
  Interaction* made = Interaction::CreateRealTime(connector, BitVector::EMPTY, setOf({0}));
  EXPECT_EQ(spans(made->constraint()), "[0,20]");
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({0})), made);
}

// ---- hooks with a set --------------------------------------------------------------------------

TEST_F(ConnectorGuardTest, OfASetAsksTheGuardAboutThatInteraction) {
  TestConnector* connector = over(BROADCAST, synced({nullptr, nullptr}));
  Interaction* head = Interaction::Create(connector, setOf({0}));
  connector->setFeasibleInter(head);
  std::string asked;
  bool answer = true;
  connector->onGuard = [&] {
    asked = sets(connector->feasibleInter());
    EXPECT_EQ(connector->feasibleInter(), Interaction::Create(connector, setOf({1})));
    return answer;
  };
  EXPECT_TRUE(connector->guard(setOf({1})));
  EXPECT_EQ(asked, "{1}");
  EXPECT_EQ(connector->feasibleInter(), head);
  answer = false;
  EXPECT_FALSE(connector->guard(setOf({1})));
  EXPECT_EQ(connector->feasibleInter(), head);
  EXPECT_EQ(connector->guards, 2);
}

TEST_F(ConnectorGuardTest, OfASetFailsWhenTheGuardChangesTheInteraction) {
  TestConnector* connector = over(BROADCAST, synced({nullptr, nullptr}));
  Interaction* head = connector->feasibleInter();
  connector->onGuard = [&] {
    connector->setFeasibleInter(Interaction::Create(connector, setOf({0})));
    return true;
  };
  EXPECT_FALSE(connector->guard(setOf({1})));
  EXPECT_TRUE(connector->guard(setOf({0})));
  EXPECT_EQ(connector->feasibleInter(), head);
}

TEST_F(ConnectorGuardTest, OfASetWorksWithAnEmptyList) {
  TestConnector* connector = over(BROADCAST, synced({nullptr}));
  connector->setFeasibleInter(nullptr);
  EXPECT_TRUE(connector->guard(setOf({0})));
  EXPECT_EQ(connector->feasibleInter(), nullptr);
}

TEST_F(ConnectorGuardTest, UpAndDnOfASetWorkOnThatInteraction) {
  TestConnector* connector = over(BROADCAST, synced({nullptr, nullptr}));
  Interaction* head = connector->feasibleInter();
  std::string seen;
  connector->onUp = [&] { seen += "up" + sets(connector->feasibleInter()); };
  connector->onDn = [&] { seen += "dn" + sets(connector->feasibleInter()); };
  connector->up(setOf({0}));
  EXPECT_EQ(connector->feasibleInter(), head);
  connector->dn(setOf({1}));
  EXPECT_EQ(connector->feasibleInter(), head);
  EXPECT_EQ(seen, "up{0}dn{1}");
}

TEST_F(ConnectorGuardTest, UpAndDnOfASetRestoreWhatTheHookChanged) {
  TestConnector* connector = over(BROADCAST, synced({nullptr, nullptr}));
  Interaction* head = connector->feasibleInter();
  connector->onUp = connector->onDn = [&] { connector->setFeasibleInter(nullptr); };
  connector->up(setOf({0}));
  EXPECT_EQ(connector->feasibleInter(), head);
  connector->dn(setOf({0}));
  EXPECT_EQ(connector->feasibleInter(), head);
}

// ---- rendezvous --------------------------------------------------------------------------------

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

// ---- broadcast ---------------------------------------------------------------------------------

TEST_F(BroadcastTest, EnabledUntimedPortsAreAlwaysTaken) {
  const Ports ports = synced({nullptr, nullptr, nullptr});
  ports[1]->setSynced(false);
  TestConnector* connector = open(ports);
  std::string asked;
  connector->onGuard = [&] {
    asked += sets(connector->feasibleInter());
    return true;
  };
  connector->createFeasibleInters();
  EXPECT_EQ(asked, "{0,2}");
  EXPECT_EQ(feasible(connector), "{0,2}");
}

TEST_F(BroadcastTest, OneTimedPortGivesTheSetWithoutItInFront) {
  Constraint within(nullptr, 0, 10, LAZY);
  TestConnector* connector = open(synced({nullptr, &within}));
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0} {0,1}");
  Interaction* without = connector->feasibleInter();
  EXPECT_EQ(spans(without->next()->constraint()), "[0,10]");
  EXPECT_EQ(spans(without->constraint()), "[MIN,-1] [11,MAX]");
}

// The guard leaves no set, since a list of a hundred thousand interactions takes its time.
TEST_F(BroadcastTest, MoreThanSixteenEnabledTimedPortsAreReportedOncePerConnector) {
  Constraint within(nullptr, 0, 10, LAZY);
  Ports ports;
  for (int i = 0; i < 20; ++i) {
    ports.push_back(atom->enabled(("p" + std::to_string(i)).c_str(), i < 17 ? &within : nullptr));
  }
  ports.push_back(atom->port("off"));
  TestConnector *k = open(ports), *l = over(BROADCAST, ports, "l");
  TestConnector* rendezvous = over(RENDEZVOUS, ports, "r");
  for (TestConnector* connector : {k, l, rendezvous}) connector->onGuard = [] { return false; };
  EXPECT_EQ(errorsOf([&] {
              ports[0]->setSynced(false);  // sixteen are left
              k->createFeasibleInters();
              rendezvous->createFeasibleInters();
            }),
            "");
  EXPECT_EQ(errorsOf([&] {
              ports[0]->setSynced(true);
              k->createFeasibleInters();
              k->createFeasibleInters();
              l->createFeasibleInters();
            }),
            "vesk: connector k: a broadcast with 17 enabled timed ports looks at 2^17 sets of "
            "ports\n"
            "vesk: connector l: a broadcast with 17 enabled timed ports looks at 2^17 sets of "
            "ports\n");
  EXPECT_EQ(k->guards, (1 << 16) + 2 * (1 << 17));
}

TEST_F(BroadcastTest, LargerSetsAreConsideredFirst) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 20, 30, LAZY),
      third(nullptr, 40, 50, LAZY);
  TestConnector* connector = open(synced({&first, &second, &third}));
  std::string asked;
  connector->onGuard = [&] {
    asked += sets(connector->feasibleInter());
    return false;
  };
  connector->createFeasibleInters();
  EXPECT_EQ(asked, "{0,1,2}{0,1}{0,2}{0}{1,2}{1}{2}{}");
  EXPECT_EQ(connector->feasibleInter(), nullptr);
}

TEST_F(BroadcastTest, SyncedFlagsAreTheCurrentSetDuringTheEnumerationAndRestoredAfterIt) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 0, 10, LAZY);
  const Ports ports = synced({&first, nullptr, nullptr, &second});
  ports[2]->setSynced(false);
  TestConnector* connector = over(BROADCAST, ports);
  std::string seen;
  const auto look = [&] {
    BitVector now;
    for (int i = 0; i < 4; ++i) {
      if (ports[static_cast<std::size_t>(i)]->synced()) now.add(i);
    }
    seen += text(now);
    return now;
  };
  connector->onGuard = [&] { return look() == connector->feasibleInter()->synced(); };
  connector->onComplete = [&] {
    look();
    return false;
  };
  connector->createFeasibleInters();
  EXPECT_EQ(seen, "{0,1,3}{0,1,3}{0,1}{0,1}{1,3}{1,3}{1}{1}");
  EXPECT_TRUE(ports[0]->synced());
  EXPECT_TRUE(ports[1]->synced());
  EXPECT_FALSE(ports[2]->synced());
  EXPECT_TRUE(ports[3]->synced());
}

TEST_F(BroadcastTest, AnIncompleteSetMustBeMaximal) {
  Constraint within(nullptr, 0, 10, LAZY);
  const Ports ports = synced({nullptr, &within});
  TestConnector* connector = over(BROADCAST, ports);
  connector->onComplete = [] { return false; };
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0,1}");
  ports[0]->setSynced(false);
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "none");
}

TEST_F(BroadcastTest, ATriggerMakesTheSetsThatContainItComplete) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 20, 30, LAZY);
  const Ports ports = synced({&first, &second});
  TestConnector* connector = over(BROADCAST, ports);
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0}");
  second.reset();
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "none");
}

TEST_F(BroadcastTest, CompletenessIsAskedOnlyWhenTheGuardHolds) {
  TestConnector* connector = over(BROADCAST, synced({nullptr}));
  int asked = 0;
  connector->onComplete = [&] {
    ++asked;
    return true;
  };
  connector->onGuard = [] { return false; };
  connector->createFeasibleInters();
  EXPECT_EQ(asked, 0);
}

TEST_F(BroadcastTest, TheGuardSelectsSets) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 20, 30, LAZY);
  TestConnector* connector = open(synced({&first, &second}));
  connector->onGuard = [&] { return connector->feasibleInter()->synced().in(1) == 0; };
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{} {0}");
}

TEST_F(BroadcastTest, NewInteractionsAreNotDominated) {
  Constraint within(nullptr, 0, 10, LAZY);
  TestConnector* connector = open(synced({&within}));
  Interaction* one = Interaction::Create(connector, setOf({0}));
  Interaction* none = Interaction::Create(connector, BitVector::EMPTY);
  one->setDominated(true);
  none->setDominated(true);
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{} {0}");
  EXPECT_FALSE(one->dominated());
  EXPECT_FALSE(none->dominated());
}

TEST_F(BroadcastTest, ALargerSetTakesItsTimesFromASmallerOne) {
  Constraint first(nullptr, 0, 30, EAGER), second(nullptr, 10, 20, LAZY);
  TestConnector* connector = open(synced({&first, &second}));
  connector->createFeasibleInters();
  // {0,1} is [10,20]; {0} keeps the rest of [0,30]; {1} would be empty.
  EXPECT_EQ(feasible(connector), "{}");
  connector->onGuard = [&] { return connector->feasibleInter()->synced().in(0) == 1; };
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0} {0,1}");
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[0,9] eager [21,30] eager");
  EXPECT_EQ(spans(connector->feasibleInter()->next()->constraint()), "[10,20] eager");
}

// {0,1} is [0,10]; {0} loses all of it, which throws {0,1} away too; {1} finds an empty list and is
// [0,10]; the empty set keeps the rest of all times.
// Deliberate: a set that loses all of its times discards the whole list found so far.
TEST_F(BroadcastTest, ASetThatLosesAllOfItsTimesDiscardsTheWholeListFoundSoFar) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 0, 10, LAZY);
  TestConnector* connector = open(synced({&first, &second}));
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{} {1}");
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[MIN,-1] [11,MAX]");
  EXPECT_EQ(spans(connector->feasibleInter()->next()->constraint()), "[0,10]");
}

// Deliberate: an untimed superset discards the whole list found so far.
TEST_F(BroadcastTest, AnUntimedSupersetDiscardsTheWholeListFoundSoFar) {
  Constraint within(nullptr, 0, 10, LAZY);
  const Ports ports = synced({&within, nullptr});
  TestConnector* connector = open(ports);
  Interaction* timed = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  Interaction* untimed = Interaction::Create(connector, setOf({0, 1}));
  timed->setNext(untimed);
  untimed->setNext(nullptr);
  BitVector enabled = setOf({1}), set;
  ports[1]->setSynced(true);
  EXPECT_EQ(connector->createFeasibleBroadcast(enabled, set, 0, timed), nullptr);
}

TEST_F(BroadcastTest, AnInteractionThatIsNoSupersetTakesNothing) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 5, 15, LAZY);
  const Ports ports = synced({&first, &second});
  TestConnector* connector = open(ports);
  Interaction* other = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  other->setNext(nullptr);
  BitVector enabled = setOf({1}), set;
  connector->onGuard = [&] { return connector->feasibleInter()->synced().in(1) == 1; };
  Interaction* list = connector->createFeasibleBroadcast(enabled, set, 0, other);
  EXPECT_EQ(sets(list), "{1} {0}");
  EXPECT_EQ(spans(list->constraint()), "[5,15]");
}

TEST_F(BroadcastTest, EnumeratesFromTheGivenIndexInFrontOfTheGivenList) {
  const Ports ports = synced({nullptr, nullptr, nullptr});
  TestConnector* connector = open(ports);
  BitVector enabled = setOf({2}), set = setOf({0});
  for (Port* port : ports) port->setSynced(false);
  ports[0]->setSynced(true);
  Interaction* list = connector->createFeasibleBroadcast(enabled, set, 1, nullptr);
  EXPECT_EQ(sets(list), "{0,2}");
}

TEST_F(BroadcastTest, ADominationDoesNotOutliveTheSubtraction) {
  Constraint within(nullptr, 0, 10, LAZY);
  TestConnector* connector = open(synced({nullptr, &within}));
  connector->createFeasibleInters();
  Constraint* rest = connector->feasibleInter()->constraint();
  EXPECT_FALSE(rest->domination());
  EXPECT_EQ(rest->delay(), Vesk::Time(0));
}

TEST_F(BroadcastTest, TheConstraintOfAnUntimedSetIsOverTheClockOfTheCompound) {
  HandClock clock(Vesk::Time(0));
  compound.setClock(&clock);
  Constraint within(&clock, 0, 10, EAGER);
  TestConnector* connector = open(synced({nullptr, &within}));
  connector->createFeasibleInters();
  EXPECT_EQ(connector->feasibleInter()->constraint()->clock(), &clock);
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[MIN,-1] [11,MAX]");
}

// {0,1,2} can never happen and is left out; the rest goes on.
TEST_F(BroadcastTest, ASetWhoseConstraintsNeverMeetIsSkipped) {
  Constraint early(nullptr, 0, 5, LAZY), late(nullptr, 10, 20, LAZY);
  TestConnector* connector = over(BROADCAST, synced({nullptr, &early, &late}));
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0} {0,2} {0,1}");
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[MIN,-1] [6,9] [21,MAX]");
}

TEST_F(BroadcastTest, AGuardThatThrowsLeavesTheSyncedFlagsAsTheyWere) {
  Constraint within(nullptr, 0, 10, LAZY), late(nullptr, 5, 10, LAZY);
  const Ports ports = synced({&within, nullptr, &late});
  ports[1]->setSynced(false);
  TestConnector* connector = over(BROADCAST, ports);
  Interaction* head = connector->feasibleInter();
  connector->onGuard = []() -> bool { throw std::runtime_error("guard"); };
  EXPECT_THROW(connector->eval(false), std::runtime_error);
  EXPECT_TRUE(ports[0]->synced());
  EXPECT_FALSE(ports[1]->synced());
  EXPECT_TRUE(ports[2]->synced());
  EXPECT_EQ(connector->feasibleInter(), head);
  connector->onGuard = nullptr;
  EXPECT_EQ(errorsOf([&] { connector->eval(false); }), "");
  EXPECT_TRUE(connector->legal());
}

TEST_F(BroadcastTest, WithoutPortsOffersTheEmptySet) {
  TestConnector* connector = over(BROADCAST, {});
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{}");  // maximal
}

// ---- evaluation --------------------------------------------------------------------------------

TEST_F(EvaluationTest, MarksEvaluatedLegalAndCallsUpOnce) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->events = &events;
  connector->eval(false);
  EXPECT_TRUE(connector->evaluated());
  EXPECT_TRUE(connector->legal());
  EXPECT_EQ(events, (Events{"guard k", "up k"}));
}

TEST_F(EvaluationTest, WithoutAFeasibleInteractionIsNotLegalAndDoesNotCallUp) {
  const Ports ports = synced({nullptr});
  TestConnector* connector = over(RENDEZVOUS, ports);
  connector->eval(false);
  ports[0]->setSynced(false);
  connector->events = &events;
  connector->eval(false);
  EXPECT_TRUE(connector->evaluated());
  EXPECT_FALSE(connector->legal());
  EXPECT_EQ(events, Events{"guard k"});
}

TEST_F(EvaluationTest, IncrementalSkipsAnEvaluatedConnector) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->eval(true);
  connector->eval(true);
  EXPECT_EQ(connector->guards, 1);
  connector->eval(false);
  EXPECT_EQ(connector->guards, 2);
  connector->setEvaluated(false);
  connector->eval(true);
  EXPECT_EQ(connector->guards, 3);
}

TEST_F(EvaluationTest, UpComesAfterTheExportedPortIsComputed) {
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p"));
  bool computed = false;
  connector->onUp = [&] { computed = connector->xPort()->synced(); };
  connector->eval(false);
  EXPECT_TRUE(computed);
}

TEST_F(EvaluationTest, ProvidersOfExportedPortsComeFirstInIndexOrder) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* two = compound.exported(RENDEZVOUS, "two", atom->enabled("q"));
  TestConnector* outer =
      compound.rendezvous("outer", two->xPort(), atom->enabled("r"), one->xPort());
  for (TestConnector* connector : {one, two, outer}) connector->events = &events;
  outer->eval(false);
  EXPECT_EQ(events,
            (Events{"guard two", "up two", "guard one", "up one", "guard outer", "up outer"}));
  EXPECT_EQ(feasible(outer), "{0,1,2}");
}

TEST_F(EvaluationTest, IncrementalSkipsProvidersThatAreStillEvaluated) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* two = compound.exported(RENDEZVOUS, "two", atom->enabled("q"));
  TestConnector* outer = compound.rendezvous("outer", one->xPort(), two->xPort());
  outer->eval(true);
  outer->setEvaluated(false);
  two->setEvaluated(false);
  outer->eval(true);
  EXPECT_EQ(one->guards, 1);
  EXPECT_EQ(two->guards, 2);
  EXPECT_EQ(outer->guards, 2);
  outer->eval(false);
  EXPECT_EQ(one->guards, 2);
  EXPECT_EQ(two->guards, 3);
  EXPECT_EQ(outer->guards, 3);
}

TEST_F(EvaluationTest, AnEvaluatedConnectorDoesNotEvaluateItsProviders) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", one->xPort());
  outer->eval(true);
  one->setEvaluated(false);
  outer->eval(true);
  EXPECT_EQ(one->guards, 1);
}

TEST_F(EvaluationTest, ALegalConnectorGoesInFrontOfTheList) {
  TestConnector* one = over(RENDEZVOUS, synced({nullptr}), "k1");
  TestConnector* two = over(RENDEZVOUS, synced({nullptr}), "k2");
  Connector* list = one->evaluate(nullptr, false, false);
  EXPECT_EQ(list, one);
  EXPECT_EQ(one->next(), nullptr);
  list = two->evaluate(list, false, false);
  EXPECT_EQ(list, two);
  EXPECT_EQ(two->next(), one);
}

TEST_F(EvaluationTest, AnIllegalConnectorLeavesTheListAndLosesItsLink) {
  const Ports ports = synced({nullptr});
  TestConnector* head = over(RENDEZVOUS, synced({nullptr}), "head");
  TestConnector* connector = over(RENDEZVOUS, ports);
  ports[0]->setSynced(false);
  connector->setNext(head);
  EXPECT_EQ(connector->evaluate(head, false, false), head);
  EXPECT_EQ(connector->next(), nullptr);
}

TEST_F(EvaluationTest, ASubconnectorLeavesTheListAndLosesItsLink) {
  TestConnector* head = over(RENDEZVOUS, synced({nullptr}), "head");
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->setNext(head);
  EXPECT_EQ(connector->evaluate(head, true, false), head);
  EXPECT_EQ(connector->next(), nullptr);
  EXPECT_TRUE(connector->legal());
}

TEST_F(EvaluationTest, AnEvaluatedLegalConnectorIsListedWithoutEvaluation) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->eval(false);
  EXPECT_EQ(connector->evaluate(nullptr, false, true), connector);
  EXPECT_EQ(connector->guards, 1);
}

TEST_F(EvaluationTest, DeepNestingOfExportedPortsEvaluates) {
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p"));
  for (int level = 0; level < 1000; ++level) {
    connector = compound.exported(RENDEZVOUS, "k", connector->xPort());
  }
  connector->eval(false);
  EXPECT_TRUE(connector->legal());
  int fired = 0;
  atom->onExecute = [&](Port*) { ++fired; };
  connector->execute();
  EXPECT_EQ(fired, 1);
}

TEST_F(EvaluationTest, ARingOfExportedPortsIsReportedAndEnds) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one");
  TestConnector* two = compound.exported(RENDEZVOUS, "two", one->xPort());
  one->addPorts({two->xPort()});
  const std::string errors = errorsOf([&] { one->eval(false); });
  EXPECT_EQ(errors.substr(0, 6), "vesk: ");
  EXPECT_EQ(errors.find('\n'), errors.size() - 1);
  EXPECT_NE(errors.find("one"), std::string::npos);
}

TEST_F(EvaluationTest, AProviderThatThrowsLeavesTheConnectorsReadyForTheNextEvaluation) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  inner->onGuard = []() -> bool { throw std::runtime_error("guard"); };
  EXPECT_THROW(outer->eval(false), std::runtime_error);
  EXPECT_FALSE(outer->evaluated());
  inner->onGuard = nullptr;
  EXPECT_EQ(errorsOf([&] { outer->eval(false); }), "");
  EXPECT_TRUE(outer->legal());
}

// ---- exported ports ----------------------------------------------------------------------------

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
  EXPECT_TRUE(connector->xPort()->synced());
  EXPECT_EQ(connector->xPort()->constraint(), nullptr);

  untimed->setNext(timed);
  timed->setNext(nullptr);
  connector->setFeasibleInter(untimed);
  connector->computexPort();
  EXPECT_TRUE(connector->xPort()->synced());
  EXPECT_EQ(connector->xPort()->constraint(), nullptr);
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
    ASSERT_EQ(spans(connector->xPort()->constraint()), "[10,20]");
    port->setConstraint(nullptr);
    connector->eval(false);
    ASSERT_EQ(connector->xPort()->constraint(), nullptr);
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

// ---- firing ------------------------------------------------------------------------------------

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
  EXPECT_EQ(events, Events{"execute p0 of A"});
  events.clear();
  connector->execute(Vesk::Time(30));
  EXPECT_EQ(events, (Events{"execute p0 of A", "execute p1 of A"}));
  events.clear();
  connector->execute(Vesk::Time(41));
  EXPECT_EQ(events, Events{"execute p0 of A"});
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
  EXPECT_EQ(events, Events());
  connector->setFeasibleInter(nullptr);
  connector->execute(Vesk::Time(7));
  connector->execute();
  connector->actuate(Vesk::Time(7));
  EXPECT_EQ(events, Events());
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

// ---- reset of links ----------------------------------------------------------------------------

TEST_F(ResetLinkTest, OfAConnectorThatIsNotEvaluatedDoesNothing) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  TestConnector* other = over(RENDEZVOUS, synced({nullptr}), "other");
  TestConnector* dependent = over(RENDEZVOUS, {}, "dependent");
  TestPriority* priority = compound.priority("p", Interaction::Create(connector, setOf({0})),
                                             Interaction::Create(other, setOf({0})));
  priority->setup();
  priority->setEvaluated(true);
  connector->links().add(dependent);
  dependent->setEvaluated(true);
  connector->resetLink();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_TRUE(dependent->evaluated());
}

TEST_F(ResetLinkTest, ResetsThePrioritiesThatDominateIt) {
  TestConnector* low = over(RENDEZVOUS, synced({nullptr}), "low");
  TestConnector* high = over(RENDEZVOUS, synced({nullptr}), "high");
  TestPriority* priority = compound.priority("p", Interaction::Create(low, setOf({0})),
                                             Interaction::Create(high, setOf({0})));
  priority->setup();
  low->eval(false);
  high->eval(false);
  priority->setEvaluated(true);
  priority->setApplied(true);
  low->resetLink();
  EXPECT_FALSE(low->evaluated());
  EXPECT_FALSE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
  EXPECT_TRUE(high->evaluated());
}

TEST_F(ResetLinkTest, ResetsWhatItHasDominatedWhenThePriorityWasApplied) {
  TestConnector* low = over(RENDEZVOUS, synced({nullptr}), "low");
  TestConnector* high = over(RENDEZVOUS, synced({nullptr}), "high");
  TestPriority* priority = compound.priority("p", Interaction::Create(low, setOf({0})),
                                             Interaction::Create(high, setOf({0})));
  priority->setup();
  for (bool applied : {false, true}) {
    low->eval(false);
    high->eval(false);
    priority->setEvaluated(true);
    priority->setApplied(applied);
    high->resetLink();
    EXPECT_FALSE(high->evaluated());
    EXPECT_EQ(low->evaluated(), !applied);
    EXPECT_FALSE(priority->evaluated());
    EXPECT_FALSE(priority->applied());
  }
}

TEST_F(ResetLinkTest, GoesUpThroughExportedPorts) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* middle = compound.exported(RENDEZVOUS, "middle", inner->xPort());
  TestConnector* one = compound.rendezvous("one", middle->xPort());
  TestConnector* two = compound.rendezvous("two", middle->xPort());
  TestConnector* apart = compound.rendezvous("apart", atom->enabled("q"));
  for (TestConnector* connector : {one, two, apart}) connector->eval(false);
  inner->resetLink();
  EXPECT_FALSE(inner->evaluated());
  EXPECT_FALSE(middle->evaluated());
  EXPECT_FALSE(one->evaluated());
  EXPECT_FALSE(two->evaluated());
  EXPECT_TRUE(apart->evaluated());
}

TEST_F(ResetLinkTest, DoesNotGoDown) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  outer->eval(false);
  outer->resetLink();
  EXPECT_TRUE(inner->evaluated());
}

TEST_F(ResetLinkTest, DependentLinksAloneLeaveTheConnectorEvaluated) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  outer->eval(false);
  inner->resetDependentLinks();
  EXPECT_TRUE(inner->evaluated());
  EXPECT_FALSE(outer->evaluated());
}

TEST_F(ResetLinkTest, EndsOnPrioritiesInARing) {
  TestConnector* one = over(RENDEZVOUS, synced({nullptr}), "one");
  TestConnector* two = over(RENDEZVOUS, synced({nullptr}), "two");
  Interaction *first = Interaction::Create(one, setOf({0})),
              *second = Interaction::Create(two, setOf({0}));
  for (auto* priority :
       {compound.priority("p", first, second), compound.priority("q", second, first)}) {
    priority->setup();
    priority->setApplied(true);
    priority->setEvaluated(true);
  }
  one->eval(false);
  two->eval(false);
  one->resetLink();
  EXPECT_FALSE(one->evaluated());
  EXPECT_FALSE(two->evaluated());
  for (Priority* priority : elements(compound.priorities())) {
    EXPECT_FALSE(priority->evaluated());
    EXPECT_FALSE(priority->applied());
  }
}

// The closure over links and applied priorities, compared with a search from the reset connector.
TEST_F(ResetLinkTest, ReachesExactlyTheClosure) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    System system("S");
    constexpr int COUNT = 7;
    std::vector<TestConnector*> connectors;
    for (int i = 0; i < COUNT; ++i) connectors.push_back(system.exported(RENDEZVOUS, "k"));
    bool reach[COUNT][COUNT] = {};
    struct Edge {
      int low, high;
      bool applied;
      Priority* priority;
    };
    std::vector<Edge> edges;
    for (int n = 0; n < 6; ++n) {
      const int from = static_cast<int>(random() % COUNT), to = static_cast<int>(random() % COUNT);
      connectors[static_cast<std::size_t>(from)]->links().add(
          connectors[static_cast<std::size_t>(to)]);
      reach[from][to] = true;
    }
    for (int n = 0; n < 5; ++n) {
      Edge edge{static_cast<int>(random() % COUNT), static_cast<int>(random() % COUNT),
                random() % 2 == 0, nullptr};
      edge.priority = system.priority(
          "p",
          Interaction::Create(connectors[static_cast<std::size_t>(edge.low)], BitVector::EMPTY),
          Interaction::Create(connectors[static_cast<std::size_t>(edge.high)], BitVector::EMPTY));
      edge.priority->setup();
      edge.priority->setEvaluated(true);
      edge.priority->setApplied(edge.applied);
      edges.push_back(edge);
    }
    bool evaluated[COUNT], reset[COUNT] = {};
    for (int i = 0; i < COUNT; ++i) {
      evaluated[i] = random() % 4 != 0;
      connectors[static_cast<std::size_t>(i)]->setEvaluated(evaluated[i]);
    }
    // A priority whose low side was reset before its high side is no longer applied then, but its
    // low side has been reset already: the order does not matter.
    std::vector<int> open{0};
    while (!open.empty()) {
      const int at = open.back();
      open.pop_back();
      if (!evaluated[at] || reset[at]) continue;
      reset[at] = true;
      for (int to = 0; to < COUNT; ++to) {
        if (reach[at][to]) open.push_back(to);
      }
      for (const Edge& edge : edges) {
        if (edge.high == at && edge.applied) open.push_back(edge.low);
      }
    }
    connectors[0]->resetLink();
    for (int i = 0; i < COUNT; ++i) {
      EXPECT_EQ(connectors[static_cast<std::size_t>(i)]->evaluated(), evaluated[i] && !reset[i]);
    }
    for (const Edge& edge : edges) {
      const bool touched = reset[edge.low] || reset[edge.high];
      EXPECT_EQ(edge.priority->evaluated(), !touched);
      EXPECT_EQ(edge.priority->applied(), edge.applied && !touched);
    }
  }
}

// ---- labels ------------------------------------------------------------------------------------

TEST_F(LabelTest, NamesCompoundConnectorAndPorts) {
  TestAtom* other = compound.atom("B");
  TestConnector* connector = over(RENDEZVOUS, {atom->port("p"), other->port("q"), atom->port("r")});
  EXPECT_STREQ(connector->rt_label(setOf({0, 1, 2})), "C1/k/A:p|B:q|A:r");
  EXPECT_STREQ(connector->rt_label(setOf({0, 2})), "C1/k/A:p|A:r");
  EXPECT_STREQ(connector->rt_label(setOf({0})), "C1/k/A:p");
  EXPECT_STREQ(connector->rt_label(BitVector::EMPTY), "C1/k/");
}

// Deliberate: a set without port 0 has the separator right after the second slash.
TEST_F(LabelTest, ASetWithoutPortZeroHasTheSeparatorRightAfterTheSecondSlash) {
  TestConnector* connector = over(RENDEZVOUS, {atom->port("o"), atom->port("p"), atom->port("q")});
  EXPECT_STREQ(connector->rt_label(setOf({1})), "C1/k/|A:p");
  EXPECT_STREQ(connector->rt_label(setOf({1, 2})), "C1/k/|A:p|A:q");
}

TEST_F(LabelTest, AnExportedPortIsNamedByCompoundAndConnector) {
  System* below = compound.compound("D");
  TestConnector* inner = below->exported(RENDEZVOUS, "inner", atom->port("p"));
  TestConnector* outer = over(RENDEZVOUS, {inner->xPort(), atom->port("q")});
  EXPECT_STREQ(outer->rt_label(setOf({0, 1})), "C1/k/D:inner|A:q");
}

TEST_F(LabelTest, OfAConnectorIsThatOfItsFirstFeasibleInteraction) {
  TestConnector* connector = over(BROADCAST, {atom->port("p"), atom->port("q")});
  Interaction *first = Interaction::Create(connector, setOf({1})),
              *second = Interaction::Create(connector, setOf({0, 1}));
  first->setNext(second);
  connector->setFeasibleInter(first);
  EXPECT_STREQ(connector->label(), "C1/k/|A:q");
  EXPECT_STREQ(second->label(), "C1/k/A:p|A:q");
  EXPECT_STREQ(first->label(), "C1/k/|A:q");
}

TEST_F(LabelTest, WithoutFeasibleInteractionIsThatOfTheEmptySet) {
  TestConnector* connector = over(BROADCAST, {atom->port("p")});
  connector->setFeasibleInter(nullptr);
  EXPECT_STREQ(connector->label(), "C1/k/");
}

TEST_F(LabelTest, TheNextLabelOverwritesTheText) {
  TestConnector* one = over(RENDEZVOUS, {atom->port("p")}, "k1");
  TestConnector* two = over(RENDEZVOUS, {atom->port("q")}, "k2");
  char* const first = one->rt_label(setOf({0}));
  char* const second = two->rt_label(setOf({0}));
  EXPECT_EQ(first, Connector::LABEL);
  EXPECT_EQ(second, Connector::LABEL);
  EXPECT_STREQ(first, "C1/k2/A:q");
  EXPECT_EQ(sizeof(Connector::LABEL), 1024u);
}

// The rest of the label, "C1/" and "/", takes four characters.
TEST_F(LabelTest, IsWholeAtEveryLength) {
  for (const std::size_t length :
       std::initializer_list<std::size_t>{1, 5, 1018, 1019, 1020, 1021, 4096, 1000000}) {
    const std::string name(length, 'k');
    TestConnector* connector = over(RENDEZVOUS, {}, name.c_str());
    char* const label = connector->rt_label(BitVector::EMPTY);
    EXPECT_EQ(label, "C1/" + name + "/");
    EXPECT_EQ(label == Connector::LABEL, length + 4 < 1024) << length;
  }
  EXPECT_STREQ(over(RENDEZVOUS, {}, "k")->rt_label(BitVector::EMPTY), "C1/k/");
}

TEST_F(LabelTest, Of128PortsIsWhole) {
  for (const std::size_t length : std::initializer_list<std::size_t>{8, 20, 1000}) {
    const std::string name(length, 'p');
    Ports ports;
    BitVector all;
    std::string expected = "C1/k/";
    for (int i = 0; i < 128; ++i) {
      ports.push_back(atom->port((name + std::to_string(i)).c_str()));
      all.add(i);
      expected += (i == 0 ? "A:" : "|A:") + name + std::to_string(i);
    }
    EXPECT_EQ(over(RENDEZVOUS, ports)->rt_label(all), expected);
  }
}

TEST_F(LabelTest, TwoLongLabelsWithACommonBeginningDiffer) {
  const std::string common(3000, 'p');
  TestConnector* connector =
      over(RENDEZVOUS, {atom->port((common + "1").c_str()), atom->port((common + "2").c_str())});
  const std::string first = connector->rt_label(setOf({0}));
  EXPECT_NE(first, connector->rt_label(setOf({1})));
}

TEST_F(LabelTest, NullNamesAreEmptyTexts) {
  System nameless(nullptr);
  TestAtom* atomWithout = nameless.atom(nullptr);
  TestConnector* connector = nameless.rendezvous(nullptr, atomWithout->port(nullptr));
  EXPECT_STREQ(connector->rt_label(setOf({0})), "//:");
}

TEST_F(LabelTest, AFormatInANameIsPlainText) {
  System strange("%n");
  TestAtom* atomOf = strange.atom("%s%99999d");
  TestConnector* connector = strange.rendezvous("%c", atomOf->port("%p"));
  EXPECT_STREQ(connector->rt_label(setOf({0})), "%n/%c/%s%99999d:%p");
}

// ---- priorities of a connector -----------------------------------------------------------------

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
  TestConnector connector(RENDEZVOUS, "k", &compound, true);
  connector.exportPort()->setConstraint(new Constraint(nullptr, 0, 10, LAZY));
  SUCCEED();  // the leak checker sees whether it is released
}

// ---- against a literal enumeration -------------------------------------------------------------

namespace {

// What the enumeration has found: a set and its constraint, if any. The newest stands first.
struct Found {
  BitVector set;
  std::unique_ptr<Constraint> constraint;
};
using FoundList = std::vector<std::shared_ptr<Found>>;

// The enumeration, spelt out over plain values. A list that was discarded is empty.
class SlowBroadcast {
 public:
  SlowBroadcast(const Ports& ports, const BitVector& enabled,
                std::function<bool(const BitVector&)> guard,
                std::function<bool(const BitVector&)> complete)
      : mPorts(ports), mEnabled(enabled), mGuard(guard), mComplete(complete) {}

  FoundList enumerate(BitVector set, int i, const FoundList& list) {
    if (i == static_cast<int>(mPorts.size())) return finish(set, list);
    const Constraint* constraint = mPorts[static_cast<std::size_t>(i)]->constraint();
    BitVector with = set;
    with.add(i);
    if (mEnabled.in(i) == 0) return enumerate(set, i + 1, list);
    if (constraint == nullptr) return enumerate(with, i + 1, list);
    return enumerate(set, i + 1, enumerate(with, i + 1, list));
  }

 private:
  FoundList finish(const BitVector& set, const FoundList& list) {
    if (!mGuard(set)) return list;
    if (!mComplete(set) && !isMaximal(set)) return list;
    auto made = std::make_shared<Found>();
    made->set = set;
    for (std::size_t i = 0; i < mPorts.size(); ++i) {
      const Constraint* constraint = mPorts[i]->constraint();
      if (set.in(static_cast<int>(i)) == 0 || constraint == nullptr) continue;
      if (made->constraint == nullptr) made->constraint = always();
      *made->constraint &= *constraint;
    }
    if (made->constraint != nullptr && made->constraint->empty()) return list;
    for (const auto& other : list) {
      if (!(set <= other->set)) continue;
      if (other->constraint == nullptr) return {};
      if (made->constraint == nullptr) made->constraint = always();
      made->constraint->setDelay(Vesk::Time(0));
      made->constraint->setDomination(false);
      *made->constraint -= *other->constraint;
    }
    if (made->constraint != nullptr && made->constraint->empty()) return {};
    FoundList longer{made};
    longer.insert(longer.end(), list.begin(), list.end());
    return longer;
  }
  bool isMaximal(const BitVector& set) const {
    for (std::size_t i = 0; i < mPorts.size(); ++i) {
      if (set.in(static_cast<int>(i)) == 0) return false;
    }
    return true;
  }
  static std::unique_ptr<Constraint> always() {
    return std::make_unique<Constraint>(nullptr, Vesk::Time::MIN, Vesk::Time::MAX, LAZY);
  }

  const Ports& mPorts;
  BitVector mEnabled;
  std::function<bool(const BitVector&)> mGuard;
  std::function<bool(const BitVector&)> mComplete;
};

std::string listed(const FoundList& list) {
  std::string lines;
  for (const auto& found : list) {
    lines += text(found->set) + " " + spans(found->constraint.get()) + "\n";
  }
  return lines;
}

std::string listed(Interaction* head) {
  std::string lines;
  for (const Interaction* found : listOf(head)) {
    lines += text(found->synced()) + " " + spans(found->constraint()) + "\n";
  }
  return lines;
}

// A number of the low six bits of a set of at most six ports.
unsigned int bitsOf(const BitVector& set) {
  unsigned int bits = 0;
  for (int i = 0; i < 6; ++i) bits |= static_cast<unsigned int>(set.in(i)) << i;
  return bits;
}

void randomize(Constraint& constraint, std::mt19937& random) {
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

}  // namespace

TEST(BroadcastOracleTest, AgreesWithALiteralEnumerationOnRandomConnectors) {
  std::mt19937 random(20240229);
  int nonEmpty = 0, discarded = 0;
  for (int round = 0; round < 3000; ++round) {
    System compound("C");
    TestAtom* atom = compound.atom("A");
    const std::size_t count = random() % 7;
    Ports ports;
    std::vector<std::unique_ptr<Constraint>> constraints;
    BitVector enabled;
    for (std::size_t i = 0; i < count; ++i) {
      Port* port = atom->port("p");
      ports.push_back(port);
      if (random() % 5 != 0) {
        port->setSynced(true);
        enabled.add(static_cast<int>(i));
      }
      if (random() % 3 != 0) {
        constraints.push_back(std::make_unique<Constraint>(nullptr, 0, 0, LAZY));
        randomize(*constraints.back(), random);
        port->setConstraint(constraints.back().get());
      }
    }
    // Guards and completeness are tables over the 64 sets.
    std::vector<bool> guard(64), complete(64);
    const bool lenient = random() % 2 == 0;
    for (std::size_t i = 0; i < 64; ++i) {
      guard[i] = lenient || random() % 3 != 0;
      complete[i] = random() % 4 != 0;
    }
    TestConnector* connector = compound.add(new TestConnector(BROADCAST, "k", &compound, false));
    connector->addPorts(ports);
    std::string asked, askedSlowly;
    connector->onGuard = [&] {
      asked += text(connector->feasibleInter()->synced());
      return guard[bitsOf(connector->feasibleInter()->synced())];
    };
    connector->onComplete = [&] {
      BitVector now;
      for (std::size_t i = 0; i < count; ++i) {
        if (ports[i]->synced()) now.add(static_cast<int>(i));
      }
      return complete[bitsOf(now)];
    };
    SlowBroadcast slow(
        ports, enabled,
        [&](const BitVector& set) {
          askedSlowly += text(set);
          return guard[bitsOf(set)];
        },
        [&](const BitVector& set) { return complete[bitsOf(set)]; });
    const FoundList expected = slow.enumerate(BitVector::EMPTY, 0, {});
    connector->eval(false);
    ASSERT_EQ(listed(connector->feasibleInter()), listed(expected)) << "round " << round;
    ASSERT_EQ(asked, askedSlowly) << "round " << round;
    ASSERT_EQ(connector->legal(), !expected.empty());
    for (std::size_t i = 0; i < count; ++i) {
      ASSERT_EQ(ports[i]->synced(), enabled.in(static_cast<int>(i)) == 1);
    }
    nonEmpty += expected.size() > 2 ? 1 : 0;
    discarded += expected.empty() ? 1 : 0;
    for (Port* port : ports) port->setConstraint(nullptr);
  }
  EXPECT_GT(nonEmpty, 300);
  EXPECT_GT(discarded, 100);
}

TEST(BroadcastOracleTest, TwelveTimedPortsEndInReasonableTime) {
  System compound("C");
  TestAtom* atom = compound.atom("A");
  TestConnector* connector = compound.add(new TestConnector(BROADCAST, "k", &compound, false));
  std::vector<std::unique_ptr<Constraint>> constraints;
  for (int i = 0; i < 12; ++i) {
    constraints.push_back(std::make_unique<Constraint>(nullptr, i, 100 - i, LAZY));
    connector->addPorts({atom->enabled("p", constraints.back().get())});
  }
  connector->onComplete = [] { return true; };
  connector->eval(false);
  EXPECT_EQ(connector->guards, 4096);
  EXPECT_TRUE(connector->legal());
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
      ASSERT_EQ(connector->feasibleInter(), nullptr);
    } else {
      ASSERT_NE(connector->feasibleInter(), nullptr);
      ASSERT_EQ(spans(connector->feasibleInter()->constraint()), spans(expected.get()));
      ++legal;
    }
    for (Port* port : elements(atom->ports())) port->setConstraint(nullptr);
  }
  EXPECT_GT(legal, 300);
}
