// Priorities that act everywhere, in small systems with expectations made by hand.

#include "exploration/untimed-priorities.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/explorations.hpp"
#include "kit/output.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::Priorities;

namespace {

// Low may fire twice, high once.
struct TwoCounters {
  TwoCounters() {
    low = Interaction::Create(connectorOf(system->counter("L", "low", 2)), {0});
    high = Interaction::Create(connectorOf(system->counter("H", "high", 1)), {0});
  }
  static Connector* connectorOf(TestAtom* atom) { return atom->links()[0]; }

  std::unique_ptr<System> system = std::make_unique<System>("s");
  Interaction* low;
  Interaction* high;
};

// The transitions of a breadth-first search, without the header.
std::string transitionsOf(Compound& system, Traversal traversal = BFS) {
  const std::string aut = explored(system, traversal).aut;
  const std::size_t first = aut.find('\n', 38) == std::string::npos ? 0 : aut.find("\n(") + 1;
  return first == 0 ? "" : aut.substr(first);
}

std::string maximalTrace(Compound& system) {
  OpenScheduler scheduler(&system, 0, 1, 1);
  return traceOf(scheduler, [&] { scheduler.runOptimizedExecution(); });
}

std::vector<std::string> labelsOf(Connector* legals) {
  std::vector<std::string> labels;
  for (; legals != nullptr; legals = legals->next()) labels.push_back(legals->label());
  return labels;
}

}  // namespace

// ---- the declaration ---------------------------------------------------------------------------

TEST(UntimedPrioritiesTest, CompoundHasDeclaredNothingUntilItDoesAndTheLastWordCounts) {
  System one("one"), other("other");
  EXPECT_EQ(one.declaredPriorities(), Priorities::UNDECLARED);
  one.declare(Priorities::EVERYWHERE);
  EXPECT_EQ(one.declaredPriorities(), Priorities::EVERYWHERE);
  EXPECT_EQ(other.declaredPriorities(), Priorities::UNDECLARED);
  one.declare(Priorities::UNDECLARED);
  EXPECT_EQ(one.declaredPriorities(), Priorities::UNDECLARED);
}

TEST(UntimedPrioritiesTest, DeclarationEndsWithItsCompound) {
  alignas(System) unsigned char place[sizeof(System)];
  System* compound = new (place) System("one");
  compound->declare(Priorities::EVERYWHERE);
  compound->~System();
  compound = new (place) System("two");
  EXPECT_EQ(compound->declaredPriorities(), Priorities::UNDECLARED);
  compound->~System();
}

TEST(UntimedPrioritiesTest, OnlyTheRootIsAskedAndOnlyWhenThereIsAPriority) {
  System root("root");
  System* part = root.compound("part");
  part->declare(Priorities::EVERYWHERE);
  Interaction* low = Interaction::Create(part->rendezvous("low"), {});
  EXPECT_FALSE(Vesk::prioritiesActEverywhere(root));
  root.declare(Priorities::EVERYWHERE);
  EXPECT_FALSE(Vesk::prioritiesActEverywhere(root));
  part->priority(low, nullptr);
  EXPECT_TRUE(Vesk::prioritiesActEverywhere(root));
}

// ---- explorations ------------------------------------------------------------------------------

TEST(UntimedPrioritiesTest, WithoutDeclarationExplorationTakesWhatIsDominated) {
  TwoCounters model;
  model.system->priority(model.low, model.high);
  EXPECT_EQ(transitionsOf(*model.system),
            "(0, s/high/H:go, 1)\n(0, s/low/L:go, 2)\n(1, s/low/L:go, 3)\n(2, s/high/H:go, 3)\n"
            "(2, s/low/L:go, 4)\n(3, s/low/L:go, 5)\n(4, s/high/H:go, 5)\n");
}

TEST(UntimedPrioritiesTest, DeclaredExplorationTakesTheLowOneOnlyWhereTheHighOneIsNotPossible) {
  TwoCounters model;
  model.system->priority(model.low, model.high);
  model.system->declare(Priorities::EVERYWHERE);
  const char* const line = "(0, s/high/H:go, 1)\n(1, s/low/L:go, 2)\n(2, s/low/L:go, 3)\n";
  EXPECT_EQ(transitionsOf(*model.system), line);
  EXPECT_EQ(transitionsOf(*model.system, DFS), line);
}

TEST(UntimedPrioritiesTest, WithoutPrioritiesADeclaredSystemIsExploredAsEver) {
  TwoCounters plain, declared;
  declared.system->declare(Priorities::EVERYWHERE);
  EXPECT_EQ(explored(*declared.system, BFS), explored(*plain.system, BFS));
}

TEST(UntimedPrioritiesTest, DelayPlaysNoPart) {
  TwoCounters model;
  model.system->priority("delayed", model.low, model.high, Vesk::Time::milliseconds(7));
  model.system->declare(Priorities::EVERYWHERE);
  EXPECT_EQ(transitionsOf(*model.system),
            "(0, s/high/H:go, 1)\n(1, s/low/L:go, 2)\n(2, s/low/L:go, 3)\n");
}

// High goes first only while L has not fired yet: afterwards both may.
TEST(UntimedPrioritiesTest, GuardIsAskedInEveryState) {
  System system("s");
  TestAtom* l = system.counter("L", "low", 1);
  TestAtom* h = system.counter("H", "high", 2);
  TestAtom* other = system.counter("O", "other", 1);
  system.priority(Interaction::Create(l->links()[0], {0}), Interaction::Create(h->links()[0], {0}))
      ->onGuard = [other] { return other->fired == 0; };
  system.declare(Priorities::EVERYWHERE);
  const std::string transitions = transitionsOf(system);
  EXPECT_EQ(transitions.find("(0, s/low/L:go"), std::string::npos);
  EXPECT_NE(transitions.find("(0, s/other/O:go, 1)\n"), std::string::npos);
  EXPECT_NE(transitions.find("(1, s/low/L:go"), std::string::npos);
}

// Each gives way to the other, so nothing is left.
TEST(UntimedPrioritiesTest, DominatedInteractionsDominateOthersAllTheSame) {
  TwoCounters model;
  model.system->priority(model.low, model.high);
  model.system->priority(model.high, model.low);
  model.system->declare(Priorities::EVERYWHERE);
  const Explored found = explored(*model.system, BFS);
  EXPECT_EQ(found.aut, header("des(0, 0, 1)"));
  EXPECT_EQ(found.deadlock, "0\n");
}

TEST(UntimedPrioritiesTest, WithoutHighOneEverythingElseGoesFirst) {
  System system("s");
  TestAtom* l = system.counter("L", "low", 1);
  system.compound("part")->counter("P", "inner", 1);
  system.counter("H", "high", 1);
  system.priority(Interaction::Create(l->links()[0], {0}), nullptr);
  system.declare(Priorities::EVERYWHERE);
  EXPECT_EQ(transitionsOf(system),
            "(0, s/high/H:go, 1)\n(0, part/inner/P:go, 2)\n(1, part/inner/P:go, 3)\n"
            "(2, s/high/H:go, 3)\n(3, s/low/L:go, 4)\n");
}

// The group gives way to the other connector of its compound, so the broadcast above goes without
// it as long as that one is possible.
TEST(UntimedPrioritiesTest, ExportedPortIsNotEnabledWhereItsConnectorIsDominated) {
  for (Traversal traversal : {BFS, DFS}) {
    System system("s");
    System* part = system.compound("part");
    TestAtom* member = part->counter("M", "unused", 0);
    Port* inner = member->rule("in", [member] { return member->fired == 0; });
    TestConnector* group = part->group("group", {inner});
    TestAtom* urgent = part->counter("U", "urgent", 1);
    TestAtom* caller = system.counter("C", "unused too", 0);
    Port* call = caller->rule("call", [caller] { return caller->fired < 1; });
    system.join("all", {call, group->xPort()}, BROADCAST);
    part->priority(Interaction::Create(group, {0}), Interaction::Create(urgent->links()[0], {0}));
    system.declare(Priorities::EVERYWHERE);
    const std::string transitions = transitionsOf(system, traversal);
    EXPECT_NE(transitions.find("(0, s/all/C:call, "), std::string::npos) << transitions;
    EXPECT_EQ(transitions.find("(0, s/all/C:call|part:group"), std::string::npos);
    EXPECT_NE(transitions.find(", s/all/C:call|part:group, "), std::string::npos);
  }
}

// ---- which interaction fires -------------------------------------------------------------------

// A broadcast that may take one of its two receivers, each at times of its own, so that there are
// two sets; the priority takes one of them away.
class TwoSets : public testing::Test {
 protected:
  TwoSets() {
    TestAtom* atom = system.atom("A");
    Port* trigger = atom->enabled("t");
    Port* one = system.atom("B")->enabled("b", &times);
    Port* two = system.atom("C")->enabled("c", &times);
    connector = system.broadcast("k", trigger, one, two);
    connector->onGuard = [this] {
      const BitVector& set = connector->feasibleInter()->synced();
      return set.in(1) + set.in(2) == 1;
    };
    high = Interaction::Create(system.rendezvous("h", system.atom("D")->enabled("d")), {0});
    system.declare(Priorities::EVERYWHERE);
  }

  Constraint times{nullptr, 0, 10, LAZY};
  System system{"s"};
  TestConnector* connector;
  Interaction* high;
};

TEST_F(TwoSets, WithoutDominationTheFirstOneStandsInFront) {
  system.priority(Interaction::Create(connector, {1, 2}), high);
  EXPECT_EQ(labelsOf(Vesk::activateUnderPriorities(system)),
            (std::vector<std::string>{"s/h/D:d", "s/k/A:t|C:c"}));
}

TEST_F(TwoSets, TheOneThatIsNotDominatedStandsInFront) {
  system.priority(Interaction::Create(connector, {2}), high);
  EXPECT_EQ(labelsOf(Vesk::activateUnderPriorities(system)),
            (std::vector<std::string>{"s/h/D:d", "s/k/A:t|B:b"}));
  EXPECT_EQ(labelsOf(Vesk::activateUnderPriorities(system)),
            (std::vector<std::string>{"s/h/D:d", "s/k/A:t|B:b"}));
}

TEST_F(TwoSets, WhereBothAreDominatedTheConnectorIsNotLegal) {
  system.priority(Interaction::Create(connector, {0}), high);
  EXPECT_EQ(labelsOf(Vesk::activateUnderPriorities(system)), (std::vector<std::string>{"s/h/D:d"}));
}

TEST_F(TwoSets, ThoseThatMayNotFireStandBehindTheOthers) {
  system.priority(Interaction::Create(connector, {2}), high);
  Vesk::activateUnderPriorities(system);
  const Interaction* first = connector->feasibleInter();
  ASSERT_NE(nullptr, first);
  EXPECT_TRUE(first->synced().in(1));
  ASSERT_NE(nullptr, first->next());
  EXPECT_TRUE(first->next()->synced().in(2));
  EXPECT_TRUE(first->next()->dominated());
  EXPECT_EQ(nullptr, first->next()->next());
}

TEST_F(TwoSets, OnlyTimeZeroCounts) {
  const std::vector<std::string> onlyHigh{"s/h/D:d"};
  const std::vector<std::string> both{"s/h/D:d", "s/k/A:t|C:c"};
  system.priority(Interaction::Create(connector, {1, 2}), high);
  times = Constraint(nullptr, 1, 10, LAZY);
  EXPECT_EQ(labelsOf(Vesk::activateUnderPriorities(system)), onlyHigh);
  times = Constraint(nullptr, 0, 0, LAZY);
  EXPECT_EQ(labelsOf(Vesk::activateUnderPriorities(system)), both);
}

TEST_F(TwoSets, ConnectorWithoutAnInteractionAtTimeZeroIsNotLegal) {
  system.priority(Interaction::Create(connector, {1, 2}), high);
  times = Constraint(nullptr, 5, 10, LAZY);
  EXPECT_EQ(labelsOf(Vesk::activateUnderPriorities(system)), (std::vector<std::string>{"s/h/D:d"}));
}

// Each receiver alone: the set of the last one is found last and stands in front.
TEST(UntimedPrioritiesTest, ASetThatMayNotFireGoesBehindAllOthers) {
  Constraint times(nullptr, 0, 10, LAZY);
  System system("s");
  std::vector<Port*> ports = {system.atom("A")->enabled("t")};
  for (const char* name : {"B", "C", "D"}) ports.push_back(system.atom(name)->enabled("p", &times));
  TestConnector* const connector = system.broadcast("k", ports[0], ports[1], ports[2], ports[3]);
  connector->onGuard = [connector] {
    const BitVector& set = connector->feasibleInter()->synced();
    return set.in(1) + set.in(2) + set.in(3) == 1;
  };
  Interaction* high =
      Interaction::Create(system.rendezvous("h", system.atom("E")->enabled("e")), {0});
  system.priority(Interaction::Create(connector, {2}), high);
  system.declare(Priorities::EVERYWHERE);
  Vesk::activateUnderPriorities(system);
  std::vector<int> receivers;
  for (const Interaction* set = connector->feasibleInter(); set != nullptr; set = set->next()) {
    for (const int port : {1, 2, 3}) {
      if (set->synced().in(port)) receivers.push_back(port);
    }
  }
  EXPECT_EQ(receivers, (std::vector<int>{3, 1, 2}));
}

// ---- maximal synchronisation -------------------------------------------------------------------

TEST(UntimedPrioritiesTest, MaximalStepLeavesOutWhatIsDominated) {
  System system("s");
  TestAtom* l = system.counter("L", "low", 1);
  TestAtom* h = system.counter("H", "high", 2);
  system.priority(Interaction::Create(l->links()[0], {0}), Interaction::Create(h->links()[0], {0}));
  EXPECT_EQ(maximalTrace(system),
            "scheduler : s/high/H:go\nscheduler : s/low/L:go\nscheduler : s/high/H:go\n"
            "scheduler : deadlock\n");
  l->fired = h->fired = 0;
  system.declare(Priorities::EVERYWHERE);
  EXPECT_EQ(maximalTrace(system),
            "scheduler : s/high/H:go\nscheduler : s/high/H:go\nscheduler : s/low/L:go\n"
            "scheduler : deadlock\n");
}

// What a large system remembers from one activation to the next must not know the old list.
TEST(UntimedPrioritiesTest, LargeSystemsAreJudgedAfreshInEveryStep) {
  constexpr int PAIRS = 400;
  System system("s");
  for (int i = 0; i < PAIRS; ++i) {
    TestAtom* l = system.counter(("L" + std::to_string(i)).c_str(), "low", 1);
    TestAtom* h = system.counter(("H" + std::to_string(i)).c_str(), "high", i % 3);
    system.priority(Interaction::Create(l->links()[0], {0}),
                    Interaction::Create(h->links()[0], {0}));
  }
  system.declare(Priorities::EVERYWHERE);
  std::string expected;
  for (int step = 0; step < 3; ++step) {
    for (int i = PAIRS - 1; i >= 0; --i) {
      const std::string number = std::to_string(i);
      if (step < i % 3) expected += "scheduler : s/high/H" + number + ":go\n";
      if (step == i % 3) expected += "scheduler : s/low/L" + number + ":go\n";
    }
  }
  EXPECT_EQ(maximalTrace(system), expected + "scheduler : deadlock\n");
}
