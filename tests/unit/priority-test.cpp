#include "priority.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"
#include "stack.hpp"

using namespace kit;

namespace {

constexpr int NO_LEVEL = -9999;

// Connectors without ports, each with one interaction, and priorities between those.
class PriorityTest : public testing::Test {
 protected:
  PriorityTest() : compound("C") {}

  TestConnector* connector(const char* name) { return compound.rendezvous(name); }
  static Interaction* of(Connector* owner) { return Interaction::Create(owner, BitVector::EMPTY); }
  TestPriority* below(Connector* low, Connector* high) {
    return compound.priority("p", of(low), high != nullptr ? of(high) : nullptr);
  }
  // Sets up all priorities, then computes the levels in index order.
  void computeLevels() {
    compound.setup(nullptr);
    compound.setStaticPrioLevel();
  }

  Events events;
  System compound;
};

class PriorityLevelTest : public PriorityTest {};

}  // namespace

TEST_F(PriorityTest, StoresItsFourValues) {
  Connector *a = connector("a"), *b = connector("b");
  const Priority priority(&compound, of(a), of(b), Vesk::Time(7));
  EXPECT_EQ(priority.holder(), &compound);
  EXPECT_EQ(priority.low(), of(a));
  EXPECT_EQ(priority.high(), of(b));
  EXPECT_EQ(priority.delay(), Vesk::Time(7));
  EXPECT_FALSE(priority.evaluated());
  EXPECT_FALSE(priority.applied());
}

TEST_F(PriorityTest, HoldsUnlessItsGuardSaysOtherwise) {
  Priority priority(&compound, of(connector("a")), nullptr, Vesk::Time(0));
  EXPECT_TRUE(priority.guard());
}

TEST_F(PriorityTest, AccessorsKeepWhatWasSet) {
  Priority priority(&compound, of(connector("a")), nullptr, Vesk::Time(0));
  priority.setEvaluated(true);
  EXPECT_TRUE(priority.evaluated());
  EXPECT_FALSE(priority.applied());
  priority.setApplied(true);
  priority.setEvaluated(false);
  EXPECT_FALSE(priority.evaluated());
  EXPECT_TRUE(priority.applied());
}

TEST_F(PriorityTest, ResetClearsBothFlags) {
  Priority priority(&compound, of(connector("a")), nullptr, Vesk::Time(0));
  priority.setEvaluated(true);
  priority.setApplied(true);
  priority.reset();
  EXPECT_FALSE(priority.evaluated());
  EXPECT_FALSE(priority.applied());
}

TEST_F(PriorityTest, OwnsNeitherInteraction) {
  Connector *a = connector("a"), *b = connector("b");
  const int stored = Interaction::TABLE.count();
  { const Priority priority(&compound, of(a), of(b), Vesk::Time(0)); }
  EXPECT_EQ(Interaction::TABLE.count(), stored);
}

TEST_F(PriorityTest, SetupMakesItKnownToInteractionAndConnectors) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  TestPriority* priority = below(a, b);
  priority->setup();
  EXPECT_EQ(elements(of(a)->inhibitors()), std::vector<Priority*>{priority});
  EXPECT_EQ(of(b)->inhibitors().count(), 0);
  EXPECT_EQ(ConnectorFields::dominated(*a), std::vector<Priority*>{priority});
  EXPECT_EQ(ConnectorFields::dominator(*a).size(), 0u);
  EXPECT_EQ(ConnectorFields::dominated(*b).size(), 0u);
  EXPECT_EQ(ConnectorFields::dominator(*b), std::vector<Priority*>{priority});
  EXPECT_EQ(ConnectorFields::dominator(*c).size(), 0u);
}

TEST_F(PriorityTest, SetupTwiceRepeatsInTheInteractionOnly) {
  Connector *a = connector("a"), *b = connector("b");
  TestPriority* priority = below(a, b);
  priority->setup();
  priority->setup();
  EXPECT_EQ(elements(of(a)->inhibitors()), (std::vector<Priority*>{priority, priority}));
  EXPECT_EQ(ConnectorFields::dominated(*a), std::vector<Priority*>{priority});
  EXPECT_EQ(ConnectorFields::dominator(*b), std::vector<Priority*>{priority});
}

TEST_F(PriorityTest, SetupWithoutHighMakesEveryOtherConnectorOfTheCompoundADominator) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  System* elsewhere = compound.compound("D");
  Connector* d = elsewhere->rendezvous("d");
  TestPriority* priority = below(b, nullptr);
  priority->setup();
  EXPECT_EQ(ConnectorFields::dominated(*b), std::vector<Priority*>{priority});
  EXPECT_EQ(ConnectorFields::dominator(*b).size(), 0u);
  EXPECT_EQ(ConnectorFields::dominator(*a), std::vector<Priority*>{priority});
  EXPECT_EQ(ConnectorFields::dominator(*c), std::vector<Priority*>{priority});
  EXPECT_EQ(ConnectorFields::dominator(*d).size(), 0u);
}

// The compound that counts is the one that holds the low connector, not the priority's own.
TEST_F(PriorityTest, SetupWithoutHighLooksAtTheCompoundOfTheLowConnector) {
  System* elsewhere = compound.compound("D");
  Connector *low = elsewhere->rendezvous("low"), *beside = elsewhere->rendezvous("beside"),
            *above = connector("above");
  below(low, nullptr)->setup();
  EXPECT_EQ(ConnectorFields::dominator(*beside).size(), 1u);
  EXPECT_EQ(ConnectorFields::dominator(*above).size(), 0u);
}

TEST_F(PriorityTest, ApplyLetsHighDominateLowWithItsDelay) {
  Connector *a = connector("a"), *b = connector("b");
  Priority priority(&compound, of(a), of(b), Vesk::Time(4));
  Constraint above(nullptr, 10, 20, LAZY);
  of(b)->useOwnConstraint(nullptr) = above;
  of(a)->useOwnConstraint(nullptr) = Constraint(nullptr, 0, 30, LAZY);
  priority.apply(*of(a), *of(b));
  EXPECT_EQ(spans(of(a)->constraint()), "[0,5] [6,20] dominated [21,30]");
  EXPECT_EQ(of(a)->constraint()->delay(), Vesk::Time(4));
  EXPECT_TRUE(priority.applied());
  EXPECT_FALSE(priority.evaluated());
}

TEST_F(PriorityTest, ApplyMarksItAppliedEvenIfNothingChanges) {
  Connector *a = connector("a"), *b = connector("b");
  Priority priority(&compound, of(a), of(b), Vesk::Time(0));
  of(b)->useOwnConstraint(nullptr).clear();
  of(a)->useOwnConstraint(nullptr) = Constraint(nullptr, 0, 30, LAZY);
  priority.apply(*of(a), *of(b));
  EXPECT_EQ(spans(of(a)->constraint()), "[0,30]");
  EXPECT_TRUE(priority.applied());
}

TEST_F(PriorityTest, ApplyWithAnUntimedHighSetsTheDominatedFlag) {
  Connector *a = connector("a"), *b = connector("b");
  Priority priority(&compound, of(a), of(b), Vesk::Time(0));
  priority.apply(*of(a), *of(b));
  EXPECT_TRUE(of(a)->dominated());
  EXPECT_FALSE(of(b)->dominated());
}

// ---- levels ------------------------------------------------------------------------------------

TEST_F(PriorityLevelTest, OfOnePriorityAreZeroAndOne) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  below(a, b);
  computeLevels();
  EXPECT_EQ(a->getPriority(), 0);
  EXPECT_EQ(b->getPriority(), 1);
  EXPECT_EQ(c->getPriority(), NO_LEVEL);
  EXPECT_TRUE(c->noPrio());
}

TEST_F(PriorityLevelTest, OfAChainVisitedUpwards) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  TestPriority *first = below(a, b), *second = below(b, c);
  first->setup();
  second->setup();
  first->setupPrioLevel();
  EXPECT_EQ(a->getPriority(), 0);
  EXPECT_EQ(b->getPriority(), 1);
  EXPECT_EQ(c->getPriority(), 2);  // by propagation through the inhibitors of b
  second->setupPrioLevel();
  EXPECT_EQ(c->getPriority(), 2);
}

TEST_F(PriorityLevelTest, OfAChainVisitedDownwards) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  below(b, c);
  below(a, b);
  computeLevels();
  EXPECT_EQ(b->getPriority(), 0);
  EXPECT_EQ(c->getPriority(), 1);
  EXPECT_EQ(a->getPriority(), -1);
}

TEST_F(PriorityLevelTest, OfAGivenHighAreOneBelowIt) {
  Connector *a = connector("a"), *b = connector("b");
  b->setPriority(40);
  below(a, b);
  computeLevels();
  EXPECT_EQ(a->getPriority(), 39);
  EXPECT_EQ(b->getPriority(), 40);
}

TEST_F(PriorityLevelTest, OfAGivenLowAreOneAboveIt) {
  Connector *a = connector("a"), *b = connector("b");
  a->setPriority(40);
  below(a, b);
  computeLevels();
  EXPECT_EQ(a->getPriority(), 40);
  EXPECT_EQ(b->getPriority(), 41);
}

// Deliberate: levels that are set already stay, even when they contradict the priority.
TEST_F(PriorityLevelTest, LevelsThatAreSetAlreadyStayEvenWhenTheyContradictThePriority) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  a->setPriority(5);
  b->setPriority(5);
  below(a, b);
  below(b, c);
  compound.setup(nullptr);
  compound.priorities()[0]->setupPrioLevel();
  EXPECT_EQ(a->getPriority(), 5);
  EXPECT_EQ(b->getPriority(), 5);
  EXPECT_EQ(c->getPriority(), NO_LEVEL);  // nothing is propagated either
}

// Deliberate: the propagation follows interactions, not connectors.
TEST_F(PriorityLevelTest, ThePropagationFollowsInteractionsNotConnectors) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  below(a, b);
  compound.priority("q", Interaction::Create(b, 1, 0), of(c));
  compound.setup(nullptr);
  compound.priorities()[0]->setupPrioLevel();
  EXPECT_EQ(b->getPriority(), 1);
  EXPECT_EQ(c->getPriority(), NO_LEVEL);
  compound.priorities()[1]->setupPrioLevel();
  EXPECT_EQ(c->getPriority(), 2);
}

TEST_F(PriorityLevelTest, OfTwoHighsOfOneLowAreTheSame) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  below(a, b);
  below(a, c);
  computeLevels();
  EXPECT_EQ(a->getPriority(), 0);
  EXPECT_EQ(b->getPriority(), 1);
  EXPECT_EQ(c->getPriority(), 1);
}

TEST_F(PriorityLevelTest, APriorityWithinOneConnectorGivesItTheLevelOfTheHighOne) {
  Connector* a = connector("a");
  compound.priority("p", of(a), Interaction::Create(a, 1, 0));
  computeLevels();
  EXPECT_EQ(a->getPriority(), 1);
}

TEST_F(PriorityLevelTest, WithoutHighNothingGetsALevel) {
  Connector *a = connector("a"), *b = connector("b");
  below(a, nullptr);
  computeLevels();
  EXPECT_EQ(a->getPriority(), NO_LEVEL);
  EXPECT_EQ(b->getPriority(), NO_LEVEL);
}

TEST_F(PriorityLevelTest, WithoutHighAmongTheInhibitorsThePropagationGoesOn) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  below(a, b);
  below(b, nullptr);
  below(b, c);
  compound.setup(nullptr);
  compound.priorities()[0]->setupPrioLevel();
  EXPECT_EQ(c->getPriority(), 2);
}

TEST_F(PriorityLevelTest, OfCyclesAreGivenOnceAndThePropagationEnds) {
  for (int length = 2; length <= 20; ++length) {
    System ring("R");
    std::vector<Connector*> connectors;
    for (int i = 0; i < length; ++i) connectors.push_back(ring.rendezvous("k"));
    for (std::size_t i = 0; i < connectors.size(); ++i) {
      ring.priority("p", of(connectors[i]), of(connectors[(i + 1) % connectors.size()]));
    }
    ring.setup(nullptr);
    ring.setStaticPrioLevel();
    for (int i = 0; i < length; ++i) {
      EXPECT_EQ(connectors[static_cast<std::size_t>(i)]->getPriority(), i) << length << ' ' << i;
    }
  }
}

// A priority that a model overrides is asked by the propagation, too.
TEST_F(PriorityLevelTest, ThePropagationAsksThePrioritiesThroughTheirHook) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  TestPriority* first = compound.priority("1", of(a), of(b));
  TestPriority* second = compound.priority("2", of(b), of(c));
  first->events = second->events = &events;
  first->setup();
  second->setup();
  events.clear();
  first->setupPrioLevel();
  EXPECT_EQ(events, (Events{"level 1", "level 1", "level 2"}));
  EXPECT_EQ(c->getPriority(), 2);
}

// The inhibitors of the low interaction come before those of the high one, so c gets its level from
// a before it could get one from b.
TEST_F(PriorityLevelTest, TheInhibitorsOfTheLowOneComeFirst) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c");
  below(a, b);
  below(a, c);
  below(b, c);
  compound.setup(nullptr);
  compound.priorities()[0]->setupPrioLevel();
  EXPECT_EQ(a->getPriority(), 0);
  EXPECT_EQ(b->getPriority(), 1);
  EXPECT_EQ(c->getPriority(), 1);  // from a; from b it would be 2
}

TEST_F(PriorityLevelTest, ThePropagationGoesDepthFirst) {
  Connector *a = connector("a"), *b = connector("b"), *c = connector("c"), *d = connector("d"),
            *e = connector("e");
  below(a, b);  // visited
  below(b, c);  // first inhibitor of b: c 2, then at once d 3
  below(b, d);  // second inhibitor of b: would give d 2
  below(c, d);
  below(d, e);
  compound.setup(nullptr);
  compound.priorities()[0]->setupPrioLevel();
  EXPECT_EQ(c->getPriority(), 2);
  EXPECT_EQ(d->getPriority(), 3);
  EXPECT_EQ(e->getPriority(), 4);
}

TEST_F(PriorityLevelTest, AreComputedInTreeOrder) {
  System* inner = compound.compound("D");
  Connector *a = inner->rendezvous("a"), *b = inner->rendezvous("b");
  TestPriority* within = inner->priority("inner", of(a), of(b));
  TestPriority* across = compound.priority("outer", of(connector("k")), of(connector("l")));
  within->events = across->events = &events;
  compound.setStaticPrioLevel();
  EXPECT_EQ(events, (Events{"level outer", "level inner"}));
}

// ---- the literal rule --------------------------------------------------------------------------

namespace {

// The rule as recursion over plain numbers. Interactions are numbered by their connectors.
struct LiteralLevels {
  explicit LiteralLevels(int connectors)
      : level(static_cast<std::size_t>(connectors), NO_LEVEL),
        inhibitors(static_cast<std::size_t>(connectors)) {}

  void add(int low, int high) {
    priorities.push_back({low, high});
    inhibitors[static_cast<std::size_t>(low)].push_back(priorities.size() - 1);
  }
  void visit(std::size_t priority) {
    const auto [lowNumber, highNumber] = priorities[priority];
    if (highNumber < 0) return;
    const std::size_t low = static_cast<std::size_t>(lowNumber),
                      high = static_cast<std::size_t>(highNumber);
    if (level[low] == NO_LEVEL && level[high] == NO_LEVEL) {
      level[low] = 0;
      level[high] = 1;
      for (std::size_t next : inhibitors[low]) visit(next);
      for (std::size_t next : inhibitors[high]) visit(next);
    } else if (level[low] == NO_LEVEL) {
      level[low] = level[high] - 1;
      for (std::size_t next : inhibitors[low]) visit(next);
    } else if (level[high] == NO_LEVEL) {
      level[high] = level[low] + 1;
      for (std::size_t next : inhibitors[high]) visit(next);
    }
  }

  std::vector<int> level;
  std::vector<std::pair<int, int>> priorities;
  std::vector<std::vector<std::size_t>> inhibitors;
};

}  // namespace

TEST_F(PriorityLevelTest, AgreeWithTheLiteralRuleOnRandomRelations) {
  std::mt19937 random(11);
  for (int round = 0; round < 2000; ++round) {
    System system("S");
    const int count = 2 + static_cast<int>(random() % 8);
    LiteralLevels literal(count);
    std::vector<Connector*> connectors;
    for (int i = 0; i < count; ++i) connectors.push_back(system.rendezvous("k"));
    const int relations = static_cast<int>(random() % 14);
    for (int i = 0; i < relations; ++i) {
      const int low = static_cast<int>(random()) & 0xFFFF,
                high = static_cast<int>(random()) & 0xFFFF;
      const bool open = random() % 8 == 0;
      literal.add(low % count, open ? -1 : high % count);
      system.priority("p", of(connectors[static_cast<std::size_t>(low % count)]),
                      open ? nullptr : of(connectors[static_cast<std::size_t>(high % count)]));
    }
    system.setup(nullptr);
    for (std::size_t i = 0; i < literal.priorities.size(); ++i) literal.visit(i);
    system.setStaticPrioLevel();
    for (std::size_t i = 0; i < connectors.size(); ++i) {
      ASSERT_EQ(connectors[i]->getPriority(), literal.level[i]) << "round " << round;
    }
  }
}

// ---- long chains -------------------------------------------------------------------------------

namespace {

// k0 < k1 < ... < kn, visited from k0 upwards or from kn downwards.
std::vector<int> levelsOfChain(int priorities, bool upwards) {
  System chain("C");
  std::vector<Interaction*> links;
  for (int i = 0; i <= priorities; ++i) {
    links.push_back(Interaction::Create(chain.rendezvous("k"), BitVector::EMPTY));
  }
  for (std::size_t i = 0; i + 1 < links.size(); ++i) {
    const std::size_t low = upwards ? i : links.size() - 2 - i;
    chain.priority("p", links[low], links[low + 1]);
  }
  chain.setup(nullptr);
  chain.setStaticPrioLevel();
  std::vector<int> levels;
  for (Connector* connector : elements(chain.connectors())) {
    levels.push_back(connector->getPriority());
  }
  return levels;
}

// Upwards the first visit gives all levels. Downwards each visit gives one, until it is the number
// that means no level: the next visit finds neither level set.
std::vector<int> expectedLevels(int priorities, bool upwards) {
  std::vector<int> levels(static_cast<std::size_t>(priorities) + 1);
  for (std::size_t i = 0; i < levels.size(); ++i) levels[i] = static_cast<int>(i);
  if (upwards) return levels;
  levels.back() = NO_LEVEL;
  for (std::size_t low = levels.size() - 1; low-- > 0;) {
    if (levels[low + 1] == NO_LEVEL) {
      levels[low] = 0;
      levels[low + 1] = 1;
    } else {
      levels[low] = levels[low + 1] - 1;
    }
  }
  return levels;
}

}  // namespace

TEST(PriorityChainTest, LevelsDownwardsStartAgainAtTheNumberThatMeansNoLevel) {
  const std::vector<int> shorter = expectedLevels(10000, false);
  EXPECT_EQ(shorter[0], NO_LEVEL);
  EXPECT_EQ(shorter[1], -9998);
  EXPECT_EQ(shorter[10000], 1);
  const std::vector<int> longer = expectedLevels(10001, false);
  EXPECT_EQ(longer[0], 0);
  EXPECT_EQ(longer[1], 1);
  EXPECT_EQ(longer[2], -9998);
}

class PriorityChainLengthTest : public testing::TestWithParam<int> {};

TEST_P(PriorityChainLengthTest, GetsItsLevelsInBothOrdersOnADefaultStack) {
  onDefaultStack([] {
    for (bool upwards : {true, false}) {
      EXPECT_EQ(levelsOfChain(GetParam(), upwards), expectedLevels(GetParam(), upwards)) << upwards;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Lengths, PriorityChainLengthTest,
                         testing::Values(100, 9999, 10000, 10001, 100000));

// A level of -10000 makes the next one above it -9999: the walk ends all the same.
TEST_F(PriorityLevelTest, ALevelThatMeansNoLevelDoesNotKeepTheWalkFromEnding) {
  Connector *a = connector("a"), *b = connector("b");
  a->setPriority(-10000);
  below(a, b);
  below(b, a);
  computeLevels();
  EXPECT_EQ(a->getPriority(), -10000);
}

// A walk through 100,000 applied priorities and links resets everything without deep recursion.
TEST(PriorityChainTest, ResettingALongChainOfAppliedPrioritiesDoesNotOverflowTheStack) {
  onDefaultStack([] {
    System chain("C");
    std::vector<TestConnector*> connectors;
    for (int i = 0; i <= 100000; ++i) connectors.push_back(chain.rendezvous("k"));
    for (std::size_t i = 0; i + 1 < connectors.size(); ++i) {
      chain
          .priority("p", Interaction::Create(connectors[i], BitVector::EMPTY),
                    Interaction::Create(connectors[i + 1], BitVector::EMPTY))
          ->setup();
      chain.priorities()[static_cast<int>(i)]->setApplied(true);
    }
    for (TestConnector* connector : connectors) connector->setEvaluated(true);
    connectors.back()->resetLink();
    for (TestConnector* connector : connectors)
      ASSERT_FALSE(connector->evaluated()) << connector->name();
    for (Priority* priority : elements(chain.priorities()))
      ASSERT_FALSE(priority->applied()) << "one of the priorities";
  });
}

TEST(PriorityChainTest, EvaluatingAndResettingALongChainOfExportedPortsDoesNotOverflowTheStack) {
  onDefaultStack([] {
    System chain("C");
    TestConnector* first = chain.exported(RENDEZVOUS, "k", chain.atom("A")->enabled("p"));
    TestConnector* last = first;
    for (int i = 0; i < 100000; ++i) last = chain.exported(RENDEZVOUS, "k", last->xPort());
    last->eval(false);
    EXPECT_TRUE(last->legal());
    first->resetLink();
    for (Connector* connector : elements(chain.connectors()))
      ASSERT_FALSE(connector->evaluated()) << connector->name();
  });
}
