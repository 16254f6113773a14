// What an activation folds into constraints and exported ports at its end.

#include <gtest/gtest.h>

#include "kit/activation-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class CleanUpTest : public ActivationTest {};

}  // namespace

TEST_F(CleanUpTest, FoldsTheMarksOfUndominatedInteractionsIntoTheirConstraints) {
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low", &early), *high = legal("high", &now), *top = legal("top");
  below(low, high);
  activated();
  EXPECT_EQ(spans(only(low)->constraint()), "[0,9] [21,30]");
  low->resetLink();
  below(low, top);  // rules it out altogether: the marks of the first priority stay
  activated();
  EXPECT_TRUE(only(low)->dominated());
  EXPECT_EQ(spans(only(low)->constraint()), "[0,9] [10,20] dominated [21,30]");
}

TEST_F(CleanUpTest, DoesNotReachConnectorsOfOtherCompounds) {
  System* inner = compound.compound("D");
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *low = legalIn(*inner, "low", &early), *high = legal("high", &now);
  below(low, high);  // of the outer compound
  activated();
  EXPECT_EQ(spans(only(low)->constraint()), "[0,9] [10,20] dominated [21,30]");
}

TEST_F(CleanUpTest, TheExportedPortReflectsWhatSurvives) {
  System* inner = compound.compound("D");
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector* low = inner->exported(RENDEZVOUS, "low", atom->enabled("l", &early));
  TestConnector* high = legalIn(*inner, "high", &now);
  TestConnector* outer = compound.rendezvous("outer", low->xPort());
  inner->priority("p", only(low), only(high))->setup();
  EXPECT_EQ(activated(), "outer high");
  EXPECT_EQ(spans(low->xPort()->constraint()), "[0,9] [21,30]");
  EXPECT_FALSE(low->recomputexPort());
  EXPECT_EQ(spans(only(outer)->constraint()), "[0,9] [21,30]");
}

TEST_F(CleanUpTest, AnExportedPortOfADominatedInteractionIsDisabled) {
  System* inner = compound.compound("D");
  TestConnector* low = inner->exported(RENDEZVOUS, "low", atom->enabled("l"));
  TestConnector* high = legalIn(*inner, "high");
  compound.rendezvous("outer", low->xPort());
  inner->priority("p", only(low), only(high))->setup();
  EXPECT_EQ(activated(), "high");
  EXPECT_FALSE(low->xPort()->synced());
}

TEST_F(CleanUpTest, ConnectorsAboveAreEvaluatedAgainOncePerChangedConnector) {
  System* inner = compound.compound("D");
  TestConnector* low = inner->exported(RENDEZVOUS, "low", atom->enabled("l"));
  TestConnector *one = legalIn(*inner, "one"), *two = legalIn(*inner, "two");
  TestConnector* outer = compound.rendezvous("outer", low->xPort());
  outer->setEvaluated(true);
  // Two priorities change the same connector.
  inner->priority("p", only(low), only(one))->setup();
  inner->priority("q", only(low), only(two))->setup();
  activated();
  EXPECT_EQ(outer->guards, 1);
  activated();
  EXPECT_EQ(outer->guards, 1);  // nothing was changed this time
  EXPECT_EQ(low->guards, 1);
}

TEST_F(CleanUpTest, TheFlagOfTheExportedPortIsClearedInEveryConnector) {
  TestConnector *one = legal("one"), *two = legal("two");
  one->setRecomputexPort(true);
  two->setRecomputexPort(true);
  activated();
  EXPECT_FALSE(one->recomputexPort());
  EXPECT_FALSE(two->recomputexPort());
}

// Deliberate: a fresh evaluation of a connector above computes the exported ports below it again,
// without the priorities there.
TEST_F(CleanUpTest, AFreshEvaluationAboveForgetsThePrioritiesBelow) {
  System* inner = compound.compound("D");
  TestConnector* low = inner->exported(RENDEZVOUS, "low", atom->enabled("l"));
  TestConnector* high = legalIn(*inner, "high");
  compound.rendezvous("outer", low->xPort());
  inner->priority("p", only(low), only(high))->setup();
  EXPECT_EQ(activated(false), "outer high");
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(CleanUpTest, ADominatedConnectorIsNeverMarkedItself) {
  TestConnector *low = legal("low"), *high = legal("high");
  below(low, high);
  activated();
  EXPECT_FALSE(low->dominated());
  EXPECT_FALSE(high->dominated());
}
