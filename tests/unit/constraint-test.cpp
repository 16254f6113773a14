#include "constraint.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <type_traits>

#include "allocations.hpp"
#include "constraint-probe.hpp"
#include "kit/lists.hpp"

using Vesk::Time;

namespace {

template <class T>
std::string text(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

Pieces intersection(const Pieces& a, const Pieces& b) {
  Probe probe(a);
  probe &= Probe(b);
  return probe.pieces();
}

Pieces unionOf(const Pieces& a, const Pieces& b) {
  Probe probe(a);
  probe |= Probe(b);
  return probe.pieces();
}

Pieces difference(const Pieces& a, const Pieces& b) {
  Probe probe(a);
  probe -= Probe(b);
  return probe.pieces();
}

Pieces domination(const Pieces& a, const Pieces& b) {
  Probe probe(a);
  probe.setDomination(true);
  probe -= Probe(b);
  return probe.pieces();
}

Pieces cleaned(const Pieces& a) {
  Probe probe(a);
  probe.clean();
  return probe.pieces();
}

const Pieces NOTHING;

}  // namespace

static_assert(std::has_virtual_destructor_v<Constraint>, "a constraint is a polymorphic class");
static_assert(std::is_copy_constructible_v<Constraint> && std::is_copy_assignable_v<Constraint>,
              "constraints are values");
static_assert(
    std::is_same_v<decltype(&Constraint::next), Time (Constraint::*)(const Time&) const> &&
        std::is_same_v<decltype(&Constraint::deadline), Time (Constraint::*)(const Time&) const> &&
        std::is_same_v<decltype(&Constraint::observableDeadline),
                       Time (Constraint::*)(const Time&) const> &&
        std::is_same_v<decltype(&Constraint::urgent), bool (Constraint::*)(const Time&) const> &&
        std::is_same_v<decltype(&Constraint::observable),
                       bool (Constraint::*)(const Time&) const> &&
        std::is_same_v<decltype(&Constraint::existUrgency),
                       bool (Constraint::*)(int, int, Urgency) const> &&
        std::is_same_v<decltype(&Constraint::check), bool (Constraint::*)() const>,
    "asking a constraint does not change it");

// ---------------------------------------------------------------------------------------------
// Construction and accessors

TEST(ConstraintTest, BoundsGiveOneObservableIntervalThatIsNotDominated) {
  const ShownClock clock(Time(0));
  const Constraint constraint(&clock, Time(2), Time(9), DELAYABLE);
  EXPECT_EQ(constraint.clock(), &clock);
  EXPECT_EQ(constraint.displayClock(), &clock);
  EXPECT_FALSE(constraint.domination());
  EXPECT_EQ(constraint.delay(), Time(0));
  ASSERT_EQ(constraint.size(), 1u);
  EXPECT_EQ(Piece(constraint[0]), Piece(2, 9, DELAYABLE));
}

TEST(ConstraintTest, AnIntervalIsCopiedWithItsFlags) {
  const ShownClock clock(Time(0));
  const Piece piece(2, 9, EAGER, DOMINATED, HIDDEN);
  const Constraint constraint(&clock, piece.interval());
  EXPECT_EQ(constraint.clock(), &clock);
  EXPECT_EQ(constraint.displayClock(), &clock);
  EXPECT_FALSE(constraint.domination());
  ASSERT_EQ(constraint.size(), 1u);
  EXPECT_EQ(Piece(constraint[0]), piece);
}

TEST(ConstraintTest, AnIntervalAloneHasNoClocks) {
  const Constraint constraint(Piece(2, 9).interval());
  EXPECT_EQ(constraint.clock(), nullptr);
  EXPECT_EQ(constraint.displayClock(), nullptr);
  EXPECT_EQ(constraint.delay(), Time(0));
  EXPECT_EQ(constraint.size(), 1u);
}

TEST(ConstraintTest, CopiesAndAssignmentsTakeEverything) {
  const ShownClock clock(Time(0));
  const ShownClock display(Time(0));
  Probe original({{0, 10}, {20, 30, EAGER}}, &clock);
  original.setDisplayClock(&display);
  original.setDomination(true);
  original.setDelay(Time(7));
  const Probe copy(original);
  Probe assigned({{1, 2}});
  assigned = original;
  original.clear();
  for (const Probe* probe : {&copy, static_cast<const Probe*>(&assigned)}) {
    SCOPED_TRACE(probe == &copy ? "copy" : "assigned");
    EXPECT_EQ(probe->clock(), &clock);
    EXPECT_EQ(probe->displayClock(), &display);
    EXPECT_TRUE(probe->domination());
    EXPECT_EQ(probe->delay(), Time(7));
    EXPECT_EQ(probe->pieces(), (Pieces{{0, 10}, {20, 30, EAGER}}));
  }
}

TEST(ConstraintTest, AccessorsChangeOneThingEach) {
  const ShownClock clock(Time(0));
  const ShownClock display(Time(0));
  Probe probe({{0, 10}});
  probe.setClock(&clock);
  EXPECT_EQ(probe.clock(), &clock) << "the clock was set";
  EXPECT_EQ(probe.displayClock(), nullptr);
  probe.setDisplayClock(&display);
  EXPECT_EQ(probe.clock(), &clock) << "the display clock was set";
  EXPECT_EQ(probe.displayClock(), &display);
  probe.setDomination(true);
  EXPECT_TRUE(probe.domination());
  probe.setDelay(Time(4));
  EXPECT_EQ(probe.delay(), Time(4));
  EXPECT_FALSE(probe.empty());
  EXPECT_TRUE(Probe(NOTHING).empty());
}

TEST(ConstraintTest, AnIndexGivesACopyOrAReference) {
  Probe probe({{0, 10}, {20, 30}});
  const Constraint& constant = probe;
  Interval copy = constant[1];
  copy.setHigh(Time(99));
  EXPECT_EQ(Piece(constant[1]), Piece(20, 30));
  probe[1].setHigh(Time(40));
  EXPECT_EQ(Piece(constant[1]), Piece(20, 40));
}

// ---------------------------------------------------------------------------------------------
// Maintenance

TEST(ConstraintTest, ResetGivesTheConstraintThatAlwaysHolds) {
  const ShownClock clock(Time(0));
  Probe probe({{0, 10, EAGER, DOMINATED, HIDDEN}, {20, 30}}, &clock);
  probe.setDomination(true);
  probe.setDelay(Time(7));
  EXPECT_EQ(&probe.reset(), &probe);
  EXPECT_EQ(probe.pieces(), (Pieces{{NEVER, EVER}}));
  EXPECT_FALSE(probe.domination());
  EXPECT_EQ(probe.delay(), Time(0));
  EXPECT_EQ(probe.clock(), &clock);
  EXPECT_EQ(text(static_cast<Constraint&>(probe)), "lazy (_,_)");
}

TEST(ConstraintTest, ClearRemovesTheIntervalsAndKeepsEverythingElse) {
  const ShownClock clock(Time(0));
  Probe probe({{0, 10}, {20, 30}}, &clock);
  probe.setDomination(true);
  probe.setDelay(Time(7));
  EXPECT_EQ(&probe.clear(), &probe);
  EXPECT_TRUE(probe.empty());
  EXPECT_TRUE(probe.domination());
  EXPECT_EQ(probe.delay(), Time(7));
  EXPECT_EQ(probe.clock(), &clock);
}

TEST(ConstraintTest, CleanRemovesEmptyIntervals) {
  EXPECT_EQ(cleaned({{5, 4}, {0, 10}, {EVER, NEVER}, {EVER, NEVER}, {20, 30}, {40, 39}}),
            (Pieces{{0, 10}, {20, 30}}));
  EXPECT_EQ(cleaned({{5, 4}}), NOTHING);
  EXPECT_EQ(cleaned(NOTHING), NOTHING);
}

TEST(ConstraintTest, CleanFusesExactNeighboursOfOneKind) {
  EXPECT_EQ(cleaned({{0, 10}, {11, 20}, {21, 30}}), (Pieces{{0, 30}}));
  EXPECT_EQ(cleaned({{0, 10, EAGER}, {11, 20, EAGER}}), (Pieces{{0, 20, EAGER}}));
  EXPECT_EQ(cleaned({{0, 10, EAGER, DOMINATED, HIDDEN}, {11, 20, EAGER, DOMINATED, HIDDEN}}),
            (Pieces{{0, 20, EAGER, DOMINATED, HIDDEN}}));
}

TEST(ConstraintTest, CleanFusesAcrossAnEmptyInterval) {
  EXPECT_EQ(cleaned({{0, 10}, {5, 4}, {11, 20}}), (Pieces{{0, 20}}));
}

TEST(ConstraintTest, OnlyExactNeighboursFuseOverlapsNeverDo) {
  EXPECT_EQ(cleaned({{0, 10}, {12, 20}}), (Pieces{{0, 10}, {12, 20}}));
  EXPECT_EQ(cleaned({{0, 10}, {10, 20}}), (Pieces{{0, 10}, {10, 20}}));
  EXPECT_EQ(cleaned({{0, 10}, {0, 10}}), (Pieces{{0, 10}, {0, 10}}));
}

TEST(ConstraintTest, NeighboursWithDifferentFlagsDoNotFuse) {
  const Pieces dominated = {{0, 10, LAZY, DOMINATED}, {11, 20}};
  EXPECT_EQ(cleaned(dominated), dominated);
  const Pieces hidden = {{0, 10}, {11, 20, LAZY, FREE, HIDDEN}};
  EXPECT_EQ(cleaned(hidden), hidden);
}

TEST(ConstraintTest, ADelayableIntervalIsNeverExtendedBecauseItsUrgencyLiesAtItsUpperBound) {
  const Pieces twice = {{0, 10, DELAYABLE}, {11, 20, DELAYABLE}};
  EXPECT_EQ(cleaned(twice), twice);
  const Pieces thenLazy = {{0, 10, DELAYABLE}, {11, 20, LAZY}};
  EXPECT_EQ(cleaned(thenLazy), thenLazy);
  const Pieces thenEager = {{0, 10, DELAYABLE}, {11, 20, EAGER}};
  EXPECT_EQ(cleaned(thenEager), thenEager);
}

TEST(ConstraintTest, ALazyIntervalFollowedByADelayableOneBecomesDelayable) {
  EXPECT_EQ(cleaned({{0, 10, LAZY}, {11, 20, DELAYABLE}, {21, 30, DELAYABLE}}),
            (Pieces{{0, 20, DELAYABLE}, {21, 30, DELAYABLE}}));
}

TEST(ConstraintTest, OtherUrgenciesDoNotFuse) {
  const Pieces lazyEager = {{0, 10, LAZY}, {11, 20, EAGER}};
  EXPECT_EQ(cleaned(lazyEager), lazyEager);
  const Pieces eagerLazy = {{0, 10, EAGER}, {11, 20, LAZY}};
  EXPECT_EQ(cleaned(eagerLazy), eagerLazy);
  const Pieces eagerDelayable = {{0, 10, EAGER}, {11, 20, DELAYABLE}};
  EXPECT_EQ(cleaned(eagerDelayable), eagerDelayable);
}

TEST(ConstraintTest, TheInstantAfterMaxIsMaxItself) {
  EXPECT_EQ(cleaned({{0, EVER}, {EVER, EVER}}), (Pieces{{0, EVER}}));
  EXPECT_EQ(difference({{0, EVER + 1, DELAYABLE}}, {{5, EVER}}),
            (Pieces{{0, 4, DELAYABLE}, {EVER, EVER + 1, DELAYABLE}}));
}

TEST(ConstraintTest, ApplyDominationRemovesTheDominatedIntervalsAndKeepsTheOrder) {
  Probe probe({{0, 1, LAZY, DOMINATED}, {2, 3, EAGER}, {4, 5, LAZY, DOMINATED}, {6, 7}, {8, 9}});
  EXPECT_EQ(&probe.applyDomination(), &probe);
  EXPECT_EQ(probe.pieces(), (Pieces{{2, 3, EAGER}, {6, 7}, {8, 9}}));
  probe.setAllDominated(true);
  EXPECT_TRUE(probe.applyDomination().empty()) << "the first time";
  EXPECT_TRUE(probe.applyDomination().empty()) << "the second time";
}

TEST(ConstraintTest, IndexRangesAreClampedAndEmptyOnesRefused) {
  Probe probe({{0, 1}, {2, 3}, {4, 5}});
  EXPECT_TRUE(probe.setDominated(-5, 0, true));
  EXPECT_TRUE(probe.setUrgency(2, 99, EAGER));
  EXPECT_TRUE(probe.setMaxUrgency(-1, 3, DELAYABLE));
  EXPECT_EQ(probe.pieces(),
            (Pieces{{0, 1, DELAYABLE, DOMINATED}, {2, 3, DELAYABLE}, {4, 5, EAGER}}));
  const Pieces before = probe.pieces();
  EXPECT_FALSE(probe.setDominated(2, 1, true));
  EXPECT_FALSE(probe.setUrgency(3, 9, LAZY));
  EXPECT_FALSE(probe.setMaxUrgency(-3, -1, EAGER));
  EXPECT_FALSE(probe.erase(1, 0));
  EXPECT_FALSE(probe.erase(3, 3));
  EXPECT_EQ(probe.pieces(), before);
  EXPECT_TRUE(probe.setDominated(0, 0, false));
  EXPECT_TRUE(probe.setUrgency(1, 1, LAZY));
  EXPECT_EQ(probe.pieces(), (Pieces{{0, 1, DELAYABLE}, {2, 3, LAZY}, {4, 5, EAGER}}));
}

TEST(ConstraintTest, RangesOfAConstraintWithoutIntervalsAreEmpty) {
  Probe probe(NOTHING);
  EXPECT_FALSE(probe.setDominated(0, 0, true));
  EXPECT_FALSE(probe.setUrgency(-1, 1, EAGER));
  EXPECT_FALSE(probe.setMaxUrgency(0, 5, EAGER));
  EXPECT_FALSE(probe.erase(0, 0));
  EXPECT_FALSE(probe.existUrgency(0, 0, LAZY));
  probe.setAllDominated(true);
  EXPECT_TRUE(probe.empty());
}

TEST(ConstraintTest, EraseClosesTheGapAndInsertOpensOne) {
  Probe probe({{0, 1}, {2, 3}, {4, 5}, {6, 7}});
  probe.erase(1);
  EXPECT_EQ(probe.pieces(), (Pieces{{0, 1}, {4, 5}, {6, 7}}));
  EXPECT_TRUE(probe.erase(-1, 1));
  EXPECT_EQ(probe.pieces(), (Pieces{{6, 7}}));
  probe.insert(0, Piece(0, 1, EAGER).interval());
  probe.insert(2, Piece(8, 9).interval());
  EXPECT_EQ(probe.pieces(), (Pieces{{0, 1, EAGER}, {6, 7}, {8, 9}}));
}

TEST(ConstraintTest, AnIntervalOfTheConstraintMayBeInsertedIntoItself) {
  Probe probe({{0, 1}, {2, 3}});
  for (int i = 0; i < 20; ++i) probe.insert(0, probe[probe.size() - 1]);
  for (const Piece& piece : probe.pieces()) {
    EXPECT_TRUE(piece == Piece(2, 3) || piece == Piece(0, 1)) << piece.low;
  }
  EXPECT_EQ(Piece(probe[0]), Piece(2, 3));
  EXPECT_EQ(probe.size(), 22u);
}

// ---------------------------------------------------------------------------------------------
// Shifts

TEST(ConstraintTest, AShiftBy0ChangesNothing) {
  const ShownClock clock(Time(0));
  Probe probe({{0, 10, EAGER, DOMINATED, HIDDEN}, {20, EVER}}, &clock);
  const Pieces before = probe.pieces();
  EXPECT_EQ(&(probe += Time(0)), &probe);
  EXPECT_EQ(&(probe -= Time(0)), &probe);
  EXPECT_EQ(probe.pieces(), before);
}

TEST(ConstraintTest, AShiftMovesFiniteBoundsAndLeavesFlagsAndInfinitiesAlone) {
  Probe probe({{NEVER, 10}, {20, 30, EAGER, DOMINATED, HIDDEN}, {40, EVER, DELAYABLE}});
  probe += Time(5);
  EXPECT_EQ(probe.pieces(),
            (Pieces{{NEVER, 15}, {25, 35, EAGER, DOMINATED, HIDDEN}, {45, EVER, DELAYABLE}}));
  probe -= Time(15);
  EXPECT_EQ(probe.pieces(),
            (Pieces{{NEVER, 0}, {10, 20, EAGER, DOMINATED, HIDDEN}, {30, EVER, DELAYABLE}}));
}

TEST(ConstraintTest, AnInfiniteShiftMakesFiniteBoundsInfinite) {
  Probe up({{NEVER, 10}, {20, EVER}});
  up += Time::MAX;
  EXPECT_EQ(up.pieces(), (Pieces{{NEVER, EVER}, {EVER, EVER}}));
  Probe down({{NEVER, 10}, {20, EVER}});
  down -= Time::MAX;
  EXPECT_EQ(down.pieces(), (Pieces{{NEVER, NEVER}, {NEVER, EVER}}));
}

TEST(ConstraintTest, AConstraintMayBeShiftedByItsOwnBound) {
  Probe probe({{5, 10}, {20, 30}});
  probe -= probe[0].low();
  EXPECT_EQ(probe.pieces(), (Pieces{{0, 5}, {15, 25}}));
  probe += probe[1].high();
  EXPECT_EQ(probe.pieces(), (Pieces{{25, 30}, {40, 50}}));
  EXPECT_TRUE((Probe(NOTHING) += Time(5)).empty());
  EXPECT_TRUE((Probe(NOTHING) -= Time(5)).empty());
}

// ---------------------------------------------------------------------------------------------
// Intersection

TEST(ConstraintTest, AnIntersectionKeepsWhatLiesInBoth) {
  EXPECT_EQ(intersection({{0, 10}}, {{5, 20}}), (Pieces{{5, 10}}));
  EXPECT_EQ(intersection({{0, 10}, {20, 30}}, {{5, 25}}), (Pieces{{5, 10}, {20, 25}}));
}

TEST(ConstraintTest, AnIntersectionWithNothingIsNothing) {
  EXPECT_EQ(intersection({{0, 10}, {20, 30}}, NOTHING), NOTHING);
  EXPECT_EQ(intersection(NOTHING, {{0, 10}}), NOTHING);
  EXPECT_EQ(intersection({{0, 10}, {20, 30}}, {{12, 18}, {40, 50}}), NOTHING);
}

TEST(ConstraintTest, AnIntersectionDropsWhatLiesBeforeBetweenAndBehind) {
  EXPECT_EQ(intersection({{0, 10}, {20, 30}, {40, 50}}, {{20, 25}}), (Pieces{{20, 25}}));
  EXPECT_EQ(intersection({{0, 1}, {2, 3}, {4, 5}, {6, 7}, {8, 9}}, {{2, 2}, {7, 8}}),
            (Pieces{{2, 2}, {7, 7}, {8, 8}}));
  EXPECT_EQ(intersection({{0, 1}, {2, 3}, {4, 5}, {6, 7}, {8, 9}}, {{4, 5}, {9, 20}}),
            (Pieces{{4, 5}, {9, 9}}));
}

TEST(ConstraintTest, AnIntersectionServesSeveralIntervalsOfTheOperandFromOne) {
  EXPECT_EQ(intersection({{0, 100}}, {{5, 10}, {20, 30}, {90, 200}}),
            (Pieces{{5, 10}, {20, 30}, {90, 100}}));
}

TEST(ConstraintTest, AnIntersectionTakesTheHigherUrgencyAndIsObservableWhenEitherIs) {
  EXPECT_EQ(intersection({{0, 100, DELAYABLE, DOMINATED, HIDDEN}},
                         {{5, 10, EAGER, FREE, HIDDEN}, {20, 30, LAZY}}),
            (Pieces{{5, 10, EAGER, DOMINATED, HIDDEN}, {20, 30, DELAYABLE, DOMINATED}}));
}

TEST(ConstraintTest, AnIntersectionLeavesNeighboursUnfused) {
  EXPECT_EQ(intersection({{0, 20}}, {{0, 5}, {6, 10}}), (Pieces{{0, 5}, {6, 10}}));
}

// ---------------------------------------------------------------------------------------------
// Union

TEST(ConstraintTest, AUnionInsertsIntoTheGap) {
  EXPECT_EQ(unionOf({{0, 10}, {40, 50}}, {{20, 30, EAGER}}),
            (Pieces{{0, 10}, {20, 30, EAGER}, {40, 50}}));
  EXPECT_EQ(unionOf({{40, 50}}, {{0, 10}, {60, 70}}), (Pieces{{0, 10}, {40, 50}, {60, 70}}));
  EXPECT_EQ(unionOf(NOTHING, {{0, 10}, {60, 70}}), (Pieces{{0, 10}, {60, 70}}));
  EXPECT_EQ(unionOf({{0, 10}}, NOTHING), (Pieces{{0, 10}}));
}

TEST(ConstraintTest, AUnionFusesExactlyAdjacentCompatibleIntervals) {
  EXPECT_EQ(unionOf({{0, 10}}, {{11, 20}}), (Pieces{{0, 20}}));
  EXPECT_EQ(unionOf({{11, 20}}, {{0, 10}}), (Pieces{{0, 20}}));
  EXPECT_EQ(unionOf({{0, 10, DELAYABLE}}, {{11, 20, DELAYABLE}}),
            (Pieces{{0, 10, DELAYABLE}, {11, 20, DELAYABLE}}));
}

TEST(ConstraintTest, AUnionKeepsAnOverlapAsAnEntryBeforeTheOneThatHoldsItsLowerBound) {
  EXPECT_EQ(unionOf({{0, 10}}, {{5, 15}}), (Pieces{{5, 15}, {0, 10}}));
  EXPECT_EQ(unionOf({{0, 10}, {20, 30}}, {{12, 25}}), (Pieces{{0, 10}, {12, 25}, {20, 30}}));
  EXPECT_EQ(unionOf({{0, 10}}, {{0, 10}}), (Pieces{{0, 10}, {0, 10}}));
}

TEST(ConstraintTest, AUnionSkipsEmptyIntervals) {
  EXPECT_EQ(unionOf({{0, 10}}, {{5, 4}, {20, 19}}), (Pieces{{0, 10}}));
  EXPECT_EQ(unionOf(NOTHING, {{5, 4}}), NOTHING);
}

// ---------------------------------------------------------------------------------------------
// Difference

TEST(ConstraintTest, ADifferenceInsideOneIntervalLeavesTwoPieces) {
  EXPECT_EQ(difference({{0, 10}}, {{3, 5}}), (Pieces{{0, 2}, {6, 10}}));
  EXPECT_EQ(difference({{0, 10, EAGER, DOMINATED, HIDDEN}}, {{3, 5}}),
            (Pieces{{0, 2, EAGER, DOMINATED, HIDDEN}, {6, 10, EAGER, DOMINATED, HIDDEN}}));
}

TEST(ConstraintTest, ADifferenceCutsTheEndsOfTheRunAndDropsItsMiddle) {
  EXPECT_EQ(difference({{0, 10}, {20, 30}}, {{5, 25}}), (Pieces{{0, 4}, {26, 30}}));
  EXPECT_EQ(difference({{0, 10}, {12, 15}, {20, 30}}, {{5, 25}}), (Pieces{{0, 4}, {26, 30}}));
  EXPECT_EQ(difference({{0, 10}, {12, 15}, {20, 30}}, {{5, 35}}), (Pieces{{0, 4}}));
  EXPECT_EQ(difference({{5, 20}, {30, 40}}, {{0, 10}}), (Pieces{{11, 20}, {30, 40}}));
  EXPECT_EQ(difference({{0, 10}, {20, 30}}, {{0, 10}}), (Pieces{{20, 30}}));
  EXPECT_EQ(difference({{0, 10}, {20, 30}}, {{12, 18}, {40, 50}}), (Pieces{{0, 10}, {20, 30}}));
}

TEST(ConstraintTest, WhenTheFirstIntervalMetIsWhollyCoveredARemainderAtTheRightIsLostToo) {
  EXPECT_EQ(difference({{0, 10}, {20, 30}}, {{0, 25}}), NOTHING);
  EXPECT_EQ(difference({{0, 10}, {12, 15}, {20, 30}, {40, 50}}, {{0, 25}}), (Pieces{{40, 50}}));
}

TEST(ConstraintTest, ADifferenceWithNothingOnlyCleans) {
  EXPECT_EQ(difference({{0, 10}, {5, 4}, {11, 20}}, NOTHING), (Pieces{{0, 20}}));
  EXPECT_EQ(domination({{0, 10}, {5, 4}, {11, 20}}, NOTHING), (Pieces{{0, 20}}));
}

// After [5, 25] there are [0, 4], in the place of [20, 22] an empty interval from MAX to MIN, and
// [30, 40]. The bisection for 3 begins at the empty one, whose upper bound lies before, and goes on
// at its right: [0, 4] is passed by.
TEST(ConstraintTest, AnEmptiedIntervalHidesWhatLiesAtItsLeftFromALaterOverlappingPart) {
  Probe probe({{0, 10}, {12, 15}, {20, 22}, {30, 40}});
  probe -= Probe({{5, 25}, {3, 35}});
  EXPECT_EQ(probe.pieces(), (Pieces{{0, 4}, {36, 40}}));
  Probe alone({{0, 4}, {30, 40}});
  alone -= Probe({{3, 35}});
  EXPECT_EQ(alone.pieces(), (Pieces{{0, 2}, {36, 40}}));
}

TEST(ConstraintTest, TheDelayWidensEveryIntervalOfTheOperandDownwards) {
  Probe probe({{0, 100}});
  probe.setDelay(Time(5));
  probe -= Probe({{20, 30}, {50, 60}});
  EXPECT_EQ(probe.pieces(), (Pieces{{0, 14}, {31, 44}, {61, 100}}));
  Probe endless({{0, 100}});
  endless.setDelay(Time::MIN);
  endless -= Probe({{20, 30}});
  EXPECT_EQ(endless.pieces(), (Pieces{{31, 100}}));
}

TEST(ConstraintTest, TheDelayOfTheOperandDoesNotCount) {
  Probe probe({{0, 100}});
  Probe operand({{20, 30}});
  operand.setDelay(Time(5));
  operand.setDomination(true);
  probe -= operand;
  EXPECT_EQ(probe.pieces(), (Pieces{{0, 19}, {31, 100}}));
}

// ---------------------------------------------------------------------------------------------
// Difference with domination

TEST(ConstraintTest, WithDominationTheCoveredPartIsMarkedInstead) {
  EXPECT_EQ(domination({{0, 10}}, {{3, 5}}), (Pieces{{0, 2}, {3, 5, LAZY, DOMINATED}, {6, 10}}));
  EXPECT_EQ(domination({{0, 10, EAGER, FREE, HIDDEN}}, {{3, 5, DELAYABLE}}),
            (Pieces{{0, 2, EAGER, FREE, HIDDEN},
                    {3, 5, EAGER, DOMINATED, HIDDEN},
                    {6, 10, EAGER, FREE, HIDDEN}}));
}

TEST(ConstraintTest, WithDominationTheEndsOfTheRunAreSplit) {
  EXPECT_EQ(domination({{0, 10}, {12, 15}, {20, 30}}, {{5, 25}}), (Pieces{{0, 4},
                                                                          {5, 10, LAZY, DOMINATED},
                                                                          {12, 15, LAZY, DOMINATED},
                                                                          {20, 25, LAZY, DOMINATED},
                                                                          {26, 30}}));
  EXPECT_EQ(domination({{0, 10}}, {{5, 20}}), (Pieces{{0, 4}, {5, 10, LAZY, DOMINATED}}));
  EXPECT_EQ(domination({{5, 20}}, {{0, 10}}), (Pieces{{5, 10, LAZY, DOMINATED}, {11, 20}}));
}

TEST(ConstraintTest, WithDominationARemainderAtTheRightIsKept) {
  EXPECT_EQ(domination({{0, 10}, {20, 30}}, {{0, 25}}),
            (Pieces{{0, 10, LAZY, DOMINATED}, {20, 25, LAZY, DOMINATED}, {26, 30}}));
}

TEST(ConstraintTest, WhatIsDominatedAlreadyIsNotSplit) {
  const Pieces dominated = {{0, 10, LAZY, DOMINATED}};
  EXPECT_EQ(domination(dominated, {{3, 5}}), dominated);
  EXPECT_EQ(domination(dominated, {{3, 15}}), dominated);
  EXPECT_EQ(domination(dominated, {{-3, 5}}), dominated);
}

// ---------------------------------------------------------------------------------------------
// Operands: the object itself, other clocks

TEST(ConstraintTest, TheOperandMayBeTheObjectItself) {
  Probe both({{0, 10}, {20, 30, EAGER}, {40, 50}});
  EXPECT_EQ(&(both &= both), &both);
  EXPECT_EQ(both.pieces(), (Pieces{{0, 10}, {20, 30, EAGER}, {40, 50}}));
  Probe twice({{0, 10}, {20, 30}, {40, 50}});
  EXPECT_EQ(&(twice |= twice), &twice);
  EXPECT_EQ(twice.pieces(), (Pieces{{0, 10}, {0, 10}, {20, 30}, {20, 30}, {40, 50}, {40, 50}}));
  Probe none({{0, 10}, {20, 30}, {40, 50}});
  const Probe& same = none;
  EXPECT_EQ(&(none -= same), &none);
  EXPECT_EQ(none.pieces(), NOTHING);
  Probe marked({{0, 10}, {20, 30}, {40, 50}});
  marked.setDomination(true);
  const Probe& sameMarked = marked;
  marked -= sameMarked;
  EXPECT_EQ(
      marked.pieces(),
      (Pieces{{0, 10, LAZY, DOMINATED}, {20, 30, LAZY, DOMINATED}, {40, 50, LAZY, DOMINATED}}));
}

// The other clock shows 70 more: its 120 is this one's 50.
TEST(ConstraintTest, AnOperandOverAnotherClockIsTranslatedByTheDrift) {
  const ShownClock here(Time(30));
  const ShownClock there(Time(100));
  const Probe operand({{120, 130}, {170, EVER}}, &there);
  Probe both({{0, 55}, {90, 110}}, &here);
  both &= operand;
  EXPECT_EQ(both.pieces(), (Pieces{{50, 55}, {100, 110}}));
  Probe either({{0, 10}}, &here);
  either |= operand;
  EXPECT_EQ(either.pieces(), (Pieces{{0, 10}, {50, 60}, {100, EVER}}));
  Probe rest({{0, 55}, {90, 110}}, &here);
  rest -= operand;
  EXPECT_EQ(rest.pieces(), (Pieces{{0, 49}, {90, 99}}));
  EXPECT_EQ(operand.pieces(), (Pieces{{120, 130}, {170, EVER}}));
}

TEST(ConstraintTest, WithoutAClockNoTranslationTakesPlace) {
  const ShownClock clock(Time(100));
  Probe here({{0, 55}});
  here &= Probe({{50, 60}}, &clock);
  EXPECT_EQ(here.pieces(), (Pieces{{50, 55}}));
  Probe there({{0, 55}}, &clock);
  there &= Probe({{50, 60}});
  EXPECT_EQ(there.pieces(), (Pieces{{50, 55}}));
}

// ---------------------------------------------------------------------------------------------
// Output

TEST(ConstraintTest, PrintsTheIntervalsSeparatedByOr) {
  const Probe probe({{0, 10000}, {20000, EVER, EAGER}});
  EXPECT_EQ(text(static_cast<const Constraint&>(probe)), "lazy (0ms,10ms) or eager (20ms,_)");
}

TEST(ConstraintTest, PrintsNothingWithoutIntervals) {
  const Probe probe(NOTHING);
  EXPECT_EQ(text(static_cast<const Constraint&>(probe)), "");
  EXPECT_EQ(text(static_cast<const Constraint*>(&probe)), "");
}

TEST(ConstraintTest, PrintsInTheValuesOfTheDisplayClock) {
  const ShownClock clock(Time(1000));
  const ShownClock display(Time(4000));
  Probe probe({{NEVER, 10000, DELAYABLE}, {20000, 30000}}, &clock);
  EXPECT_EQ(text(static_cast<const Constraint&>(probe)), "delayable (_,10ms) or lazy (20ms,30ms)")
      << "over its clock alone";
  probe.setDisplayClock(&display);
  EXPECT_EQ(text(static_cast<const Constraint&>(probe)), "delayable (_,13ms) or lazy (23ms,33ms)");
  probe.setDisplayClock(nullptr);
  EXPECT_EQ(text(static_cast<const Constraint&>(probe)), "delayable (_,10ms) or lazy (20ms,30ms)")
      << "when the display clock is taken away";
  probe.setClock(nullptr);
  probe.setDisplayClock(&display);
  EXPECT_EQ(text(static_cast<const Constraint&>(probe)), "delayable (_,10ms) or lazy (20ms,30ms)")
      << "with a display clock alone";
}

TEST(ConstraintTest, ANullPointerPrintsLazyAndAnyOtherWhatItPointsTo) {
  const Constraint* none = nullptr;
  EXPECT_EQ(text(none), "lazy");
  const Probe probe({{0, 1000, EAGER}});
  EXPECT_EQ(text(static_cast<const Constraint*>(&probe)), "eager (0ms,1ms)");
}

TEST(ConstraintTest, PrintingGivesTheStreamBack) {
  std::ostringstream out;
  const Probe probe({{0, 1000}});
  const Constraint* none = nullptr;
  EXPECT_EQ(&(out << static_cast<const Constraint&>(probe)), &out);
  EXPECT_EQ(&(out << none), &out);
  EXPECT_EQ(out.str(), "lazy (0ms,1ms)lazy");
}

// ---------------------------------------------------------------------------------------------
// Memory

TEST(ConstraintTest, OperationsAllocateNothingOnceTheRoomIsThere) {
  const ShownClock here(Time(30));
  const ShownClock there(Time(100));
  const Probe model({{0, 20}, {30, 50, DELAYABLE}, {60, 80, EAGER}}, &here);
  const Probe other({{75, 85}, {110, 135}, {150, EVER}}, &there);
  Probe work(model);
  const auto step = [&] {
    work.reset();
    work &= model;
    work &= other;
    static_cast<Constraint&>(work) = model;
    work |= other;
    static_cast<Constraint&>(work) = model;
    work -= other;
    work.setDomination(true);
    static_cast<Constraint&>(work) = model;
    work.setDomination(true);
    work -= other;
    work.clean();
    work += Time(5);
    work -= Time(5);
    work.applyDomination();
    work.next(Time(3));
    work.deadline(Time(3));
  };
  for (int i = 0; i < 100; ++i) step();
  ASSERT_TRUE(kit::COUNTING);
  const long before = kit::Allocations::made;
  for (int i = 0; i < 1000; ++i) step();
  EXPECT_EQ(kit::Allocations::made, before);
  EXPECT_GT(before, 0);
}

// ---------------------------------------------------------------------------------------------
// What the operations require. Builds without asserts leave it to the caller.

#ifndef NDEBUG

TEST(ConstraintContractTest, AnIndexBeyondTheLastIntervalEndsADebugBuild) {
  Probe probe({{0, 10}, {20, 30}});
  const Constraint& constant = probe;
  EXPECT_DEATH(probe[2].setLow(0), "i < size()");
  EXPECT_DEATH(constant[2].low(), "i < size()");
  EXPECT_DEATH(probe.erase(2), "isRun");
  EXPECT_DEATH(probe.erase(-1), "isRun");
  EXPECT_DEATH(probe.insert(3, probe[0]), "index <= ");
  EXPECT_DEATH(probe.insert(-1, probe[0]), "0 <= index");
}

#endif

// The operations take every list, so no debug build may end here.
TEST(ConstraintContractTest, TheAlgebraRequiresNothingOfItsOperands) {
  const Pieces lists[] = {{},
                          {{EVER, NEVER}},
                          {{10, 5}, {0, 20}},
                          {{0, 20}, {5, 10}, {0, 20}},
                          {{NEVER, NEVER}, {NEVER, EVER}, {EVER, EVER}},
                          {{NEVER - 5, NEVER}, {EVER, EVER + 5}}};
  const ShownClock here(Time(0));
  for (const Time shown : {Time(0), Time(7), Time::MIN, Time::MAX}) {
    const ShownClock there(shown);
    for (const Pieces& list : lists) {
      for (const Pieces& operand : lists) {
        const Probe other(operand, &there);
        SCOPED_TRACE(kit::spans(&other) + " and a list of " + std::to_string(list.size()));
        EXPECT_LE((Probe(list, &here) &= other).size(), list.size() + operand.size());
        EXPECT_LE((Probe(list, &here) |= other).size(), list.size() + operand.size());
        EXPECT_LE((Probe(list, &here) -= other).size(), list.size() + operand.size());
      }
    }
  }
}
