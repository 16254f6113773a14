// How long things live: globals of a model before and after main, many models in one process, and
// trees and chains that are deeper than any recursion should be.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"
#include "stack.hpp"

using namespace kit;

// ---- globals of a model ------------------------------------------------------------------------

namespace {

// A model may keep parts in globals, whose constructors and destructors run in an unknown order
// relative to those of the engine's library.
class GlobalModel {
 public:
  GlobalModel()
      : never(Vesk::Time::MAX),
        always(Vesk::Time::MIN),
        none(BitVector::EMPTY),
        first(BitVector::SINGLE),
        countBefore(Interaction::TABLE.count()),
        root("G"),
        connector(root.rendezvous("k", root.atom("A")->enabled("p"))),
        interaction(Interaction::Create(connector, setOf({0}))),
        constraint(nullptr, Vesk::Time::MIN, Vesk::Time::MAX, LAZY) {}
  ~GlobalModel() {
    // Whatever has been destroyed already, the table works.
    const int count = Interaction::TABLE.count();
    Interaction* again = Interaction::Create(connector, setOf({0}));
    Interaction* fresh = Interaction::Create(connector, setOf({7}));
    if (again != interaction || fresh == again) std::abort();
    if (Interaction::TABLE.count() != count + 1) std::abort();
    if (std::string(interaction->label()) != "G/k/A:p") std::abort();
    root.activate(true);
  }

  Vesk::Time never, always;
  BitVector none, first;
  int countBefore;
  System root;
  TestConnector* connector;
  Interaction* interaction;
  Constraint constraint;
};

__attribute__((init_priority(101))) GlobalModel beforeMain;

}  // namespace

TEST(GlobalModelTest, ConstantsAndTableAreReadyBeforeMain) {
  EXPECT_EQ(beforeMain.never.microseconds(), 2147483647);
  EXPECT_EQ(beforeMain.always.microseconds(), -2147483647 - 1);
  EXPECT_TRUE(beforeMain.none == BitVector());
  EXPECT_EQ(beforeMain.first.in(0), 1);
  EXPECT_EQ(beforeMain.countBefore, 0);
  EXPECT_EQ(spans(&beforeMain.constraint), "[MIN,MAX]");
}

TEST(GlobalModelTest, WhatWasMadeBeforeMainIsStillThere) {
  EXPECT_EQ(Interaction::Create(beforeMain.connector, setOf({0})), beforeMain.interaction);
  EXPECT_EQ(names(beforeMain.root.activate(true)), "k");
}

// ---- many models in one process ----------------------------------------------------------------

namespace {

// Two levels with exported ports, timed ports and priorities: everything that owns something.
std::unique_ptr<System> buildModel() {
  auto root = std::make_unique<System>("R");
  System* inner = root->compound("D");
  TestAtom *a = inner->atom("A"), *b = inner->atom("B"), *c = root->atom("C");
  a->ctrlStates().add(new CtrlState("idle"));
  TestConnector* exported = inner->exported(BROADCAST, "x", a->enabled("p", a->within(0, 10)),
                                            b->enabled("q", b->within(5, 20)));
  TestConnector* beside = inner->rendezvous("y", a->enabled("r"));
  TestConnector* user = root->rendezvous("k", exported->xPort(), c->enabled("s"));
  TestConnector* apart = root->rendezvous("l", c->enabled("t", c->within(0, 3, EAGER)));
  Port* internal = c->internal("i");
  internal->setSynced(true);
  internal->setConstraint(c->within(1, 2));
  root->priority("p", Interaction::Create(user, 2, 0, 1), Interaction::Create(apart, 1, 0));
  inner->priority("q", Interaction::Create(exported, 1, 0), nullptr, Vesk::Time(2));
  inner->priority("r", Interaction::Create(beside, 1, 0), Interaction::Create(exported, 1, 0));
  return root;
}

}  // namespace

TEST(ManyModelsTest, ATableThatReturnsToItsFormerCount) {
  const int before = Interaction::TABLE.count();
  for (int round = 0; round < 1000; ++round) {
    std::unique_ptr<System> root = buildModel();
    Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
    root->setup(&scheduler);
    root->initialize(nullptr);
    root->setStaticPrioLevel();
    root->initPrioHeap(&scheduler);
    Connector* legal = root->activate(true);
    // y yields to x wherever x is possible, and x to y altogether, so k has no partner.
    ASSERT_EQ(names(legal), "l y") << round;
    legal->execute();
    root->activate(true);
    root->activate(false);
    ASSERT_GT(Interaction::TABLE.count(), before) << round;
    root.reset();
    ASSERT_EQ(Interaction::TABLE.count(), before) << round;
  }
}

TEST(ManyModelsTest, AConnectorAtAFormerAddressFindsNothingOfTheFormerOne) {
  System holder("C");
  alignas(TestConnector) unsigned char place[sizeof(TestConnector)];
  for (int round = 0; round < 100; ++round) {
    TestConnector* connector = new (place) TestConnector(RENDEZVOUS, "k", &holder, false);
    Interaction* interaction = Interaction::Create(connector, setOf({1}));
    EXPECT_EQ(interaction->inhibitors().count(), 0) << round;
    EXPECT_EQ(interaction->constraint(), nullptr) << round;
    EXPECT_FALSE(interaction->dominated()) << round;
    TestPriority priority("p", &holder, interaction, nullptr);
    interaction->inhibitors().add(&priority);
    interaction->setDominated(true);
    interaction->useOwnConstraint(nullptr);
    connector->~TestConnector();
  }
}

TEST(ManyModelsTest, TwoModelsOfTheSameShapeShareNothing) {
  const std::unique_ptr<System> one = buildModel(), two = buildModel();
  one->setup(nullptr);
  EXPECT_EQ(ConnectorFields::dominated(*one->connectors()[0]).size(), 1u);
  EXPECT_EQ(ConnectorFields::dominated(*two->connectors()[0]).size(), 0u);
  EXPECT_NE(Interaction::Create(one->connectors()[0], setOf({0})),
            Interaction::Create(two->connectors()[0], setOf({0})));
}

// ---- deep and wide trees -----------------------------------------------------------------------

// A hundred thousand levels in optimised code; without optimisation frames are larger.
#ifdef NDEBUG
constexpr int MANY_LEVELS = 100000;
#else
constexpr int MANY_LEVELS = 10000;
#endif

TEST(DeepTreeTest, ManyLevelsAreWalkedOnADefaultStack) {
  onDefaultStack([] {
    constexpr int LEVELS = MANY_LEVELS;
    Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
    SimuClock platform("platform");
    LogicalClock clock("logical", platform);
    auto root = std::make_unique<System>("R");
    System* level = root.get();
    TestConnector* connector = level->rendezvous("k", level->atom("A")->enabled("p"));
    for (int i = 1; i < LEVELS; ++i) {
      level = level->compound("L");
      connector = level->rendezvous("k", level->atom("A")->enabled("p"));
      level->priority("p", Interaction::Create(connector, 1, 0),
                      Interaction::Create(connector, 1, 5));
    }
    root->setup(&scheduler);
    root->initialize();
    root->initialize(&clock);
    EXPECT_EQ(level->clock(), &clock);
    root->setStaticPrioLevel();
    root->initPrioHeap(&scheduler);
    EXPECT_EQ(scheduler.prioHeap().getCount(), LEVELS);
    EXPECT_EQ(listOf(root->activate(true)).size(), static_cast<std::size_t>(LEVELS));
    EXPECT_EQ(listOf(root->activate(false)).size(), static_cast<std::size_t>(LEVELS));
    const std::unique_ptr<Node> state(root->getState());
    root->setState(state.get());
    const std::unique_ptr<Node> copy(state->copy());
    EXPECT_EQ(copy->compare(state.get()), 0);
    root.reset();
  });
}

// Every level exports what the level below exports; the root uses it.
TEST(DeepTreeTest, TenThousandLevelsOfExportedPortsFireOnADefaultStack) {
  onDefaultStack([] {
    constexpr int LEVELS = 10000;
    System root("R");
    std::vector<System*> levels{&root};
    for (int i = 1; i < LEVELS; ++i) levels.push_back(levels.back()->compound("L"));
    TestAtom* atom = levels.back()->atom("A");
    Port* port = atom->enabled("p");
    for (int i = LEVELS - 1; i > 0; --i) {
      port = levels[static_cast<std::size_t>(i)]->exported(RENDEZVOUS, "x", port)->xPort();
    }
    TestConnector* user = root.rendezvous("k", port);
    int fired = 0;
    atom->onExecute = [&](Port*) { ++fired; };
    for (int round = 0; round < 2; ++round) {
      ASSERT_EQ(root.activate(true), user) << round;
      user->actuate(Vesk::Time(0));
      user->execute(Vesk::Time(0));
      EXPECT_FALSE(user->evaluated()) << round;
    }
    EXPECT_EQ(fired, 2);
  });
}

TEST(DeepTreeTest, TheListsOfEveryLevelKeepTheirOrder) {
  constexpr int LEVELS = 1000, PER_LEVEL = 20;
  System root("R");
  Constraint within(nullptr, 0, 10, LAZY);
  System* level = &root;
  std::vector<Connector*> expected;
  std::vector<Port*> expectedPorts;
  for (int i = 0; i < LEVELS; ++i) {
    TestAtom* atom = level->atom("A");
    std::vector<Connector*> own;
    for (int k = 0; k < PER_LEVEL; ++k) own.push_back(level->rendezvous("k", atom->enabled("p")));
    expected.insert(expected.end(), own.rbegin(), own.rend());
    Port* internal = atom->internal("i");
    internal->setSynced(true);
    internal->setConstraint(&within);
    expectedPorts.insert(expectedPorts.begin(), internal);  // a component after the atom of a level
    level = level->compound("L");
  }
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(listOf(root.activate(true)), expected) << round;
    EXPECT_EQ(listOf(root.internals()), expectedPorts) << round;
  }
}

TEST(WideTreeTest, AHundredThousandConnectorsAreListed) {
  constexpr int WIDTH = 100000;
  System root("R");
  TestAtom* atom = root.atom("A");
  Port* port = atom->enabled("p");
  for (int i = 0; i < WIDTH; ++i) root.rendezvous("k", port);
  const std::vector<Connector*> legal = listOf(root.activate(true));
  ASSERT_EQ(legal.size(), static_cast<std::size_t>(WIDTH));
  for (int i = 0; i < WIDTH; ++i) {
    ASSERT_EQ(legal[static_cast<std::size_t>(i)], root.connectors()[WIDTH - 1 - i]) << i;
  }
}

// ---- many interactions -------------------------------------------------------------------------

// With a search through the 511 chains alone this would take hours.
TEST(ManyInteractionsTest, AMillionOfOneConnectorAreFoundAgain) {
  constexpr unsigned int COUNT = 1000000;
  const int before = Interaction::TABLE.count();
  System holder("C");
  TestConnector* connector = holder.broadcast("k");
  const auto numbered = [](unsigned int number) {
    BitVector set(127);  // never the empty set, which exists already
    for (int bit = 0; bit < 20; ++bit) {
      if ((number >> bit & 1u) != 0) set.add(5 * bit);
    }
    return set;
  };
  std::vector<Interaction*> made;
  made.reserve(COUNT);
  for (unsigned int i = 0; i < COUNT; ++i) {
    made.push_back(Interaction::Create(connector, numbered(i)));
  }
  EXPECT_EQ(Interaction::TABLE.count(), before + 1 + static_cast<int>(COUNT)) << "all are made";
  for (unsigned int i = 0; i < COUNT; ++i) {
    ASSERT_EQ(Interaction::Create(connector, numbered(i)), made[i]) << i;
  }
  EXPECT_EQ(Interaction::TABLE.count(), before + 1 + static_cast<int>(COUNT))
      << "all are found again";
}
