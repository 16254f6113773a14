// Priorities as an activation applies them, and those that it skips.

#include <gtest/gtest.h>

#include <iostream>

#include "kit/activation-fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class ActivationPriorityTest : public ActivationTest {};
class NullHighPriorityTest : public ActivationTest {};
class SkippedPriorityTest : public ActivationTest {};

}  // namespace

// ---- with a high interaction -------------------------------------------------------------------

TEST_F(ActivationPriorityTest, TheHighOneDominatesTheLowOne) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  EXPECT_EQ(activated(), "high low");  // a mark, not a removal
  EXPECT_TRUE(only(low)->dominated());
  EXPECT_FALSE(only(high)->dominated());
  EXPECT_TRUE(priority->evaluated());
  EXPECT_TRUE(priority->applied());
}

TEST_F(ActivationPriorityTest, WithoutFeasibleHighNothingIsDominated) {
  TestConnector *low = legal("low"), *high = illegal("high");
  TestPriority* priority = below(low, high);
  activated();
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

TEST_F(ActivationPriorityTest, WithoutFeasibleLowItCountsAsEvaluated) {
  TestConnector *low = illegal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  activated();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

TEST_F(ActivationPriorityTest, OneWhoseGuardFailsCountsAsEvaluatedUntilItsLinksAreReset) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  bool holds = false;
  priority->onGuard = [&] { return holds; };
  activated();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied()) << "the first time";
  EXPECT_FALSE(only(low)->dominated()) << "the first time";
  holds = true;
  activated();
  EXPECT_FALSE(priority->applied()) << "the second time";
  EXPECT_FALSE(only(low)->dominated()) << "the second time";
  low->resetLink();
  activated();
  EXPECT_TRUE(priority->applied());
  EXPECT_TRUE(only(low)->dominated());
}

TEST_F(ActivationPriorityTest, TheGuardIsAskedEveryTime) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  Events asked;
  priority->events = &asked;
  activated();
  activated();
  EXPECT_EQ(asked, (Events{"guard p", "guard p"}));
  priority->events = nullptr;
}

TEST_F(ActivationPriorityTest, AnInteractionContainedInNoFeasibleOneChangesNothing) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* byLow = compound.priority("p", Interaction::Create(low, setOf({5})), only(high));
  TestPriority* byHigh = compound.priority("q", only(low), Interaction::Create(high, setOf({5})));
  byLow->setup();
  byHigh->setup();
  activated();
  for (TestPriority* priority : {byLow, byHigh}) {
    SCOPED_TRACE(priority == byLow ? "by the low one" : "by the high one");
    EXPECT_TRUE(priority->evaluated());
    EXPECT_FALSE(priority->applied());
  }
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_FALSE(low->recomputexPort());
}

// Every feasible interaction that contains the high one dominates every one that contains the low
// one.
TEST_F(ActivationPriorityTest, ConcernsEveryFeasibleInteractionThatContainsTheGivenOnes) {
  Constraint often(nullptr, 0, 100, LAZY), seldom(nullptr, 40, 50, LAZY);
  TestConnector* low =
      compound.broadcast("low", atom->enabled("l0", &often), atom->enabled("l1", &seldom));
  TestConnector* high = legal("high");
  TestPriority* whole = compound.priority("p", Interaction::Create(low, setOf({1})), only(high));
  whole->setup();
  activated();
  ASSERT_EQ(sets(low->feasibleInter()), "{0} {0,1}");
  EXPECT_FALSE(Interaction::Create(low, setOf({0}))->dominated());
  EXPECT_TRUE(Interaction::Create(low, setOf({0, 1}))->dominated()) << "by the priority over {1}";

  TestPriority* both = compound.priority("q", Interaction::Create(low, setOf({0})), only(high));
  both->setup();
  low->resetLink();
  activated();
  EXPECT_TRUE(Interaction::Create(low, setOf({0}))->dominated());
  EXPECT_TRUE(Interaction::Create(low, setOf({0, 1}))->dominated()) << "by the priority over {0}";
}

TEST_F(ActivationPriorityTest, ATimedHighOneNarrowsTheLowOne) {
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low", &early), *high = legal("high", &now);
  below(low, high);
  activated();
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_EQ(spans(only(low)->constraint()), "[0,9] [21,30]");
  EXPECT_EQ(spans(only(high)->constraint()), "[10,20]");
}

TEST_F(ActivationPriorityTest, TheDelayOfThePriorityCounts) {
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low", &early), *high = legal("high", &now);
  below(low, high, Vesk::Time(4));
  activated();
  EXPECT_EQ(spans(only(low)->constraint()), "[0,5] [21,30]");
}

TEST_F(ActivationPriorityTest, ATimedHighOneGivesAnUntimedLowOneAConstraint) {
  Constraint now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low"), *high = legal("high", &now);
  below(low, high);
  for (int round = 0; round < 3; ++round) {
    activated();
    EXPECT_EQ(spans(only(low)->constraint()), "[MIN,9] [21,MAX]") << round;
    low->resetLink();
  }
}

TEST_F(ActivationPriorityTest, AnUntimedHighOneRulesOutATimedLowOneAltogether) {
  Constraint now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low", &now), *high = legal("high");
  below(low, high);
  activated();
  EXPECT_TRUE(only(low)->dominated());
  EXPECT_EQ(spans(only(low)->constraint()), "[10,20]");
}

TEST_F(ActivationPriorityTest, AreAppliedInIndexOrder) {
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *a = legal("a"), *b = legal("b"), *c = legal("c");
  TestPriority *one = below(a, b), *two = below(b, c);
  Events order;
  one->onGuard = [&] {
    order.push_back("one");
    return true;
  };
  two->onGuard = [&] {
    order.push_back("two");
    return true;
  };
  activated();
  EXPECT_EQ(order, (Events{"one", "two"}));
  EXPECT_TRUE(only(a)->dominated());  // also by a dominated one
  EXPECT_TRUE(only(b)->dominated());
}

// A high one that was itself narrowed dominates with its domination marks still in place.
TEST_F(ActivationPriorityTest, MarkedPartsOfTheHighOneStillCountUntilTheCleanUp) {
  Constraint all(nullptr, 0, 30, LAZY), some(nullptr, 0, 20, LAZY), few(nullptr, 5, 10, LAZY);
  TestConnector *a = legal("a", &all), *b = legal("b", &some), *c = legal("c", &few);
  below(b, c);
  below(a, b);
  activated();
  EXPECT_EQ(spans(only(b)->constraint()), "[0,4] [11,20]");
  EXPECT_EQ(spans(only(a)->constraint()), "[21,30]");
}

TEST_F(ActivationPriorityTest, OfAnInnerCompoundActOnConnectorsElsewhere) {
  System* inner = compound.compound("D");
  TestConnector *low = legal("low"), *high = legalIn(*inner, "high");
  TestPriority* priority = inner->priority("p", only(low), only(high));
  priority->setup();
  // The inner compound comes first, when the outer connector has nothing but its first, empty
  // interaction: applied too early, and not again.
  activated();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(ActivationPriorityTest, WithinOneConnectorASmallerSetMayYieldToALargerOne) {
  Constraint often(nullptr, 0, 100, LAZY), seldom(nullptr, 40, 50, LAZY);
  TestConnector* connector =
      compound.broadcast("k", atom->enabled("l0", &often), atom->enabled("l1", &seldom));
  // {0} is contained in both: it yields to {0,1}, and so does {0,1} to itself.
  compound
      .priority("p", Interaction::Create(connector, setOf({0})),
                Interaction::Create(connector, setOf({0, 1})))
      ->setup();
  activated();
  EXPECT_EQ(spans(Interaction::Create(connector, setOf({0}))->constraint()), "[0,39] [51,100]");
  EXPECT_EQ(spans(Interaction::Create(connector, setOf({0, 1}))->constraint()), "none");
}

// ---- without a high interaction ----------------------------------------------------------------

TEST_F(NullHighPriorityTest, YieldsToEveryOtherLegalConnector) {
  TestConnector *low = legal("low"), *other = legal("other");
  TestPriority* priority = below(low, nullptr);
  activated();
  EXPECT_TRUE(only(low)->dominated());
  EXPECT_FALSE(only(other)->dominated());
  EXPECT_TRUE(priority->evaluated());
  EXPECT_TRUE(priority->applied());
}

TEST_F(NullHighPriorityTest, DoesNotYieldToItsOwnConnector) {
  Constraint often(nullptr, 0, 100, LAZY), seldom(nullptr, 40, 50, LAZY);
  TestConnector* low =
      compound.broadcast("low", atom->enabled("l0", &often), atom->enabled("l1", &seldom));
  TestPriority* priority = compound.priority("p", Interaction::Create(low, setOf({0})), nullptr);
  priority->setup();
  illegal("other");
  activated();
  EXPECT_EQ(sets(low->feasibleInter()), "{0} {0,1}");
  EXPECT_EQ(spans(low->feasibleInter()->constraint()), "[0,39] [51,100]");
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

TEST_F(NullHighPriorityTest, YieldsToSubcompoundsAndToConnectorsEvaluatedEarlierAndLater) {
  Constraint all(nullptr, 0, 100, LAZY), one(nullptr, 0, 10, LAZY), two(nullptr, 20, 30, LAZY),
      three(nullptr, 40, 50, LAZY);
  System* inner = compound.compound("D");
  legalIn(*inner, "inner", &one);
  legal("earlier", &two);
  TestConnector* low = legal("low", &all);
  legal("later", &three);
  below(low, nullptr);
  activated();
  EXPECT_EQ(spans(only(low)->constraint()), "[11,19] [31,39] [51,100]");
}

TEST_F(NullHighPriorityTest, YieldsToEveryFeasibleInteractionOfTheOthers) {
  Constraint all(nullptr, 0, 100, LAZY), often(nullptr, 20, 30, LAZY),
      seldom(nullptr, 25, 40, LAZY);
  TestConnector* low = legal("low", &all);
  TestConnector* other =
      compound.broadcast("other", atom->enabled("o0", &often), atom->enabled("o1", &seldom));
  below(low, nullptr);
  activated();
  // {0,1} is [25,30], {0} is [20,24].
  ASSERT_EQ(sets(other->feasibleInter()), "{0} {0,1}");
  EXPECT_EQ(spans(only(low)->constraint()), "[0,19] [31,100]");
}

TEST_F(NullHighPriorityTest, DoesNotYieldToConnectorsThatAreNotLegalOrSubconnectors) {
  TestConnector* low = legal("low");
  illegal("other");
  compound.exported(RENDEZVOUS, "sub", atom->enabled("s"));
  TestPriority* priority = below(low, nullptr);
  activated();
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_TRUE(priority->evaluated());
}

TEST_F(NullHighPriorityTest, DoesNotYieldToConnectorsOfACompoundAbove) {
  System* inner = compound.compound("D");
  TestConnector* low = legalIn(*inner, "low");
  legal("above");
  inner->priority("p", only(low), nullptr)->setup();
  activated();
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(NullHighPriorityTest, WithoutFeasibleLowItCountsAsEvaluated) {
  TestConnector* low = illegal("low");
  legal("other");
  TestPriority* priority = below(low, nullptr);
  activated();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

TEST_F(NullHighPriorityTest, ConcernsOnlyInteractionsThatContainTheLowOne) {
  TestConnector* low = legal("low");
  legal("other");
  TestPriority* priority = compound.priority("p", Interaction::Create(low, setOf({5})), nullptr);
  priority->setup();
  activated();
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

// ---- skipped -----------------------------------------------------------------------------------

TEST_F(SkippedPriorityTest, WithoutHighWarnsAboutALowSubconnectorEveryTime) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  legal("other");
  TestPriority* priority = below(inner, nullptr);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(errorsOf([&] { activated(); }),
              "WARNING: skip priority inner < _: inner is a subconnector!\n")
        << round;
    EXPECT_FALSE(priority->evaluated()) << round;
    EXPECT_FALSE(only(inner)->dominated()) << round;
  }
}

TEST_F(SkippedPriorityTest, WarnsAboutALowSubconnector) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  TestPriority* priority = below(inner, legal("high"));
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(errorsOf([&] { activated(); }),
              "WARNING: skip priority inner < high: inner is a subconnector!\n")
        << round;
    EXPECT_FALSE(priority->evaluated()) << round;
    EXPECT_FALSE(only(inner)->dominated()) << round;
  }
}

TEST_F(SkippedPriorityTest, WarnsAboutAHighSubconnector) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  TestConnector* low = legal("low");
  TestPriority* priority = below(low, inner);
  EXPECT_EQ(errorsOf([&] { activated(); }),
            "WARNING: skip priority low < inner: inner is a subconnector!\n");
  EXPECT_FALSE(priority->evaluated());
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(SkippedPriorityTest, WarnsAboutTwoSubconnectors) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* two = compound.exported(RENDEZVOUS, "two", atom->enabled("q"));
  compound.rendezvous("outer", one->xPort(), two->xPort());
  TestPriority* priority = below(one, two);
  EXPECT_EQ(errorsOf([&] { activated(); }),
            "WARNING: skip priority one < two: one and two are subconnectors!\n");
  EXPECT_FALSE(priority->evaluated());
}

TEST_F(SkippedPriorityTest, WarnsBeforeItLooksForFeasibleInteractions) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->port("p"));
  compound.rendezvous("outer", inner->xPort());
  TestPriority* priority = below(inner, nullptr);
  EXPECT_EQ(errorsOf([&] { activated(); }),
            "WARNING: skip priority inner < _: inner is a subconnector!\n");
  EXPECT_FALSE(priority->evaluated());
}

TEST_F(SkippedPriorityTest, WithAFailingGuardIsNotWarnedAbout) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  TestPriority* priority = below(inner, nullptr);
  priority->onGuard = [] { return false; };
  EXPECT_EQ(errorsOf([&] { activated(); }), "");
  EXPECT_TRUE(priority->evaluated());
}

TEST_F(SkippedPriorityTest, ASubconnectorOfTheEnclosingCompoundIsNoReasonToSkip) {
  System* below = compound.compound("D");
  TestConnector* inner = below->exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* high = legalIn(*below, "high");
  compound.rendezvous("outer", inner->xPort());
  TestPriority* priority = below->priority("p", only(inner), only(high));
  priority->setup();
  EXPECT_EQ(errorsOf([&] { activated(); }), "");
  EXPECT_TRUE(only(inner)->dominated());
}

TEST_F(SkippedPriorityTest, ANullNameMakesStandardErrorBadInsteadOfBeingWritten) {
  TestConnector* inner = compound.exported(RENDEZVOUS, nullptr, atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  below(inner, nullptr);
  bool bad = false;
  EXPECT_EQ(errorsOf([&] {
              activated();
              bad = std::cerr.bad();
              std::cerr.clear();
            }),
            "WARNING: skip priority ");
  EXPECT_TRUE(bad);
}

TEST_F(SkippedPriorityTest, ANullNameOfTheHighOneCutsTheSecondFormShort) {
  TestConnector* inner = compound.exported(RENDEZVOUS, nullptr, atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  below(legal("low"), inner);
  bool bad = false;
  EXPECT_EQ(errorsOf([&] {
              activated();
              bad = std::cerr.bad();
              std::cerr.clear();
            }),
            "WARNING: skip priority low < ");
  EXPECT_TRUE(bad);
}

TEST_F(SkippedPriorityTest, AFormatInANameIsPlainText) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "%n%s", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  below(inner, nullptr);
  EXPECT_EQ(errorsOf([&] { activated(); }),
            "WARNING: skip priority %n%s < _: %n%s is a subconnector!\n");
}
