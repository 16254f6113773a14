// Interactions: their sets, hashes and texts, the table that keeps them, and their constraints.

#include "interaction.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

#include "kit/clocks.hpp"
#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class InteractionTest : public ConnectorTest {};
class InteractionTableTest : public ConnectorTest {};
class CreateRealTimeTest : public ConnectorTest {};

}  // namespace

// ---- sets, times and texts ---------------------------------------------------------------------

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
  EXPECT_FALSE(equal) << "to a larger set";
  EXPECT_FALSE(large.isSubset(&small, equal));
  EXPECT_FALSE(small.isSubset(&apart, equal));
  EXPECT_FALSE(small.isSubset(&foreign, equal));
  const Interaction empty(one, BitVector::EMPTY);
  EXPECT_TRUE(empty.isSubset(&small, equal));
  EXPECT_FALSE(equal) << "of the empty set";
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
  EXPECT_EQ(timed->deadline(Vesk::Time(7)), Vesk::Time(20)) << "the first time";
  EXPECT_EQ(timed->deadline(Vesk::Time(7)), Vesk::Time(20)) << "the second time";
}

TEST_F(InteractionTest, ShowsItsConstraintOnTheClockOfTheCompound) {
  const Interaction interaction(over(RENDEZVOUS, {}), BitVector::EMPTY);
  EXPECT_EQ(interaction.displayClock(), nullptr);
  HandClock clock(Vesk::Time(0));
  compound.setClock(&clock);
  EXPECT_EQ(interaction.displayClock(), &clock);
}

TEST_F(InteractionTest, WithoutACompoundThereIsNoClock) {
  Port* p = atom->enabled("p");
  TestConnector loose(RENDEZVOUS, "k", nullptr, false, p, atom->enabled("q"));
  Interaction* all = Interaction::Create(&loose, 2, 0, 1);
  EXPECT_EQ(all->displayClock(), nullptr);
  EXPECT_STREQ(all->label(), "/k/A:p|A:q");
  loose.eval(false);
  ASSERT_NE(loose.feasibleInter(), nullptr);
  EXPECT_EQ(loose.feasibleInter()->constraint(), nullptr);
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
  EXPECT_EQ(Interaction::TABLE.count(), before + 1) << "made";
  EXPECT_EQ(Interaction::Create(connector, setOf({1})), first);
  EXPECT_EQ(Interaction::TABLE.count(), before + 1) << "found again";
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

TEST_F(InteractionTableTest, CreateFromAListFindsTheSameObject) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr, nullptr, nullptr}));
  EXPECT_EQ(Interaction::Create(connector, {2, 0}), Interaction::Create(connector, 2, 0, 2));
  EXPECT_EQ(Interaction::Create(connector, {0}), Interaction::Create(connector, 1, 0));
  EXPECT_EQ(Interaction::Create(connector, {2, 2}), Interaction::Create(connector, 1, 2));
  EXPECT_EQ(Interaction::Create(connector, {}), Interaction::Create(connector, 0));
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
    SCOPED_TRACE(text(expected->synced()));
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
    EXPECT_EQ(Interaction::TABLE.count(), before + 6) << leaving;
    connectors[leaving].reset();
    EXPECT_EQ(Interaction::TABLE.count(), before + 4) << leaving;
    std::vector<Interaction*> left;
    for (auto* cell = Interaction::TABLE.chain(109); cell != nullptr; cell = cell->next()) {
      left.push_back(cell->element());
    }
    std::vector<Interaction*> expected;
    for (int i = 2; i >= 0; --i) {
      if (i != leaving) expected.push_back(stored[i]);
    }
    EXPECT_EQ(left, expected) << leaving;
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
      ASSERT_EQ(Interaction::Create(connector, 2, i, j), stored[index]) << i << ' ' << j;
      ASSERT_EQ(stored[index++]->synced(), setOf({i, j})) << i << ' ' << j;
    }
  }
}

// The first two interactions of a connector stand elsewhere than the others.
TEST_F(InteractionTableTest, ConnectorsThatComeAndGoKeepManyInteractionsApart) {
  const int before = Interaction::TABLE.count();
  std::unique_ptr<TestConnector> connectors[8];
  std::vector<Interaction*> stored[8];
  for (std::size_t round = 0; round < 60; ++round) {
    const std::size_t renewed = round * 5 % 8;
    connectors[renewed] = std::make_unique<TestConnector>(RENDEZVOUS, "k", &compound, false);
    stored[renewed].clear();
    for (int i = 0; i < static_cast<int>(round % 6); ++i) {
      stored[renewed].push_back(Interaction::Create(connectors[renewed].get(), setOf({i})));
    }
    for (std::size_t c = 0; c < 8; ++c) {
      for (std::size_t i = 0; i < stored[c].size(); ++i) {
        const auto port = static_cast<int>(i);
        ASSERT_EQ(Interaction::Create(connectors[c].get(), setOf({port})), stored[c][i]) << round;
        ASSERT_EQ(stored[c][i]->connector(), connectors[c].get()) << round;
      }
    }
  }
  for (auto& connector : connectors) connector.reset();
  EXPECT_EQ(Interaction::TABLE.count(), before);
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
              "[0,20]")
        << round;
    ports[0]->setConstraint(nullptr);
    ASSERT_EQ(Interaction::CreateRealTime(connector, setOf({0}), setOf({0}))->constraint(), nullptr)
        << round;
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
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({0, 1})), nullptr)
      << "disjoint";
  EXPECT_NE(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({1})), nullptr);
  early.clear();
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0}), setOf({0})), nullptr);
  ports[1]->setConstraint(&early);
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({0, 1})), nullptr)
      << "both empty";
}

TEST_F(CreateRealTimeTest, TheSetOfEnabledPortsPlaysNoPart) {
  Constraint within(nullptr, 0, 20, LAZY);
  TestConnector* connector = over(RENDEZVOUS, synced({&within, nullptr}));
  Interaction* made = Interaction::CreateRealTime(connector, BitVector::EMPTY, setOf({0}));
  EXPECT_EQ(spans(made->constraint()), "[0,20]");
  EXPECT_EQ(Interaction::CreateRealTime(connector, setOf({0, 1}), setOf({0})), made);
}
