#include <gtest/gtest.h>

#include <cstddef>
#include <tuple>

#include "constraint-probe.hpp"

using Vesk::Time;

namespace {

using Place = std::tuple<int, int>;  // what position() returns and what it leaves in `after`
using Met = std::tuple<bool, int, int>;

Place place(const Probe& probe, long long t) {
  int after = 77;
  const int index = probe.position(Time(t), after);
  return {index, after};
}

Met run(const Probe& probe, const Piece& piece) {
  int low = 77;
  int high = 77;
  const bool met = probe.intersect(piece.interval(), low, high);
  return {met, low, high};
}

long long next(const Probe& probe, long long t) {
  return probe.next(Time(t)).microseconds();
}
long long deadline(const Probe& probe, long long t) {
  return probe.deadline(Time(t)).microseconds();
}
long long observableDeadline(const Probe& probe, long long t) {
  return probe.observableDeadline(Time(t)).microseconds();
}

const Probe NONE({});
const Probe ONE({{0, 10}});
const Probe TWO({{0, 10}, {20, 30}});

}  // namespace

// ---------------------------------------------------------------------------------------------
// Places

TEST(ConstraintQueryTest, PositionGivesTheIntervalThatHoldsTheTime) {
  EXPECT_EQ(place(TWO, 0), Place(0, -1));
  EXPECT_EQ(place(TWO, 10), Place(0, -1));
  EXPECT_EQ(place(TWO, 20), Place(1, -1));
  EXPECT_EQ(place(TWO, 30), Place(1, -1));
  EXPECT_EQ(TWO.position(Time(25)), 1);
}

TEST(ConstraintQueryTest, PositionGivesTheFirstIntervalAfterATimeInAGap) {
  EXPECT_EQ(place(TWO, -5), Place(-1, 0));
  EXPECT_EQ(place(TWO, 15), Place(-1, 1));
  EXPECT_EQ(place(TWO, 35), Place(-1, 2));
  EXPECT_EQ(TWO.position(Time(15)), -1);
}

TEST(ConstraintQueryTest, WithoutIntervalsThereIsNoPosition) {
  EXPECT_EQ(place(NONE, 5), Place(-1, -1));
  EXPECT_EQ(NONE.position(Time(5)), -1);
}

TEST(ConstraintQueryTest, PositionFindsEveryPlaceInLongConstraints) {
  for (int count = 1; count <= 33; ++count) {
    Pieces pieces;
    for (int i = 0; i < count; ++i) pieces.push_back({10 * i, 10 * i + 4});
    const Probe probe(pieces);
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(place(probe, 10 * i - 1), Place(-1, i)) << count << ' ' << i;
      EXPECT_EQ(place(probe, 10 * i), Place(i, -1)) << count << ' ' << i;
      EXPECT_EQ(place(probe, 10 * i + 4), Place(i, -1)) << count << ' ' << i;
    }
    EXPECT_EQ(place(probe, 10 * count), Place(-1, count)) << count;
    EXPECT_EQ(place(probe, EVER), Place(-1, count)) << count;
    EXPECT_EQ(place(probe, NEVER), Place(-1, 0)) << count;
  }
}

TEST(ConstraintQueryTest, InfiniteBoundsHoldTheInfinities) {
  const Probe probe({{NEVER, 10}, {20, EVER}});
  EXPECT_EQ(place(probe, NEVER), Place(0, -1));
  EXPECT_EQ(place(probe, EVER), Place(1, -1));
  EXPECT_EQ(place(probe, EVER + 1), Place(-1, 2));
  EXPECT_EQ(place(probe, NEVER - 1), Place(-1, 0));
}

TEST(ConstraintQueryTest, IntersectGivesTheRunThatAnIntervalMeets) {
  const Probe probe({{0, 10}, {20, 30}, {40, 50}});
  EXPECT_EQ(run(probe, {5, 45}), Met(true, 0, 2));
  EXPECT_EQ(run(probe, {15, 45}), Met(true, 1, 2));
  EXPECT_EQ(run(probe, {5, 35}), Met(true, 0, 1));
  EXPECT_EQ(run(probe, {-5, 60}), Met(true, 0, 2));
  EXPECT_EQ(run(probe, {15, 35}), Met(true, 1, 1));
  EXPECT_EQ(run(probe, {22, 23}), Met(true, 1, 1));
  EXPECT_EQ(run(probe, {10, 20}), Met(true, 0, 1));
}

TEST(ConstraintQueryTest, IntersectGivesThePlaceOfTheGapWhenNothingIsMet) {
  EXPECT_EQ(run(TWO, {12, 18}), Met(false, 1, 0));
  EXPECT_EQ(run(TWO, {-5, -1}), Met(false, 0, -1));
  EXPECT_EQ(run(TWO, {35, 60}), Met(false, 2, 1));
  EXPECT_EQ(run(NONE, {0, 10}), Met(false, 0, 0));
}

TEST(ConstraintQueryTest, BeforeGivesTheIntervalJustBeforeAGap) {
  EXPECT_EQ(ONE.before(Time(5)), -2);
  EXPECT_EQ(ONE.before(Time(15)), 0);
  EXPECT_EQ(ONE.before(Time(-5)), -1);
  EXPECT_EQ(TWO.before(Time(15)), 0);
  EXPECT_EQ(TWO.before(Time(35)), 1);
  EXPECT_EQ(NONE.before(Time(5)), -2);
}

TEST(ConstraintQueryTest, AfterGivesTheIntervalJustAfterAGap) {
  EXPECT_EQ(ONE.after(Time(-5)), 0);
  EXPECT_EQ(ONE.after(Time(15)), 1);
  EXPECT_EQ(ONE.after(Time(5)), -1);
  EXPECT_EQ(TWO.after(Time(15)), 1);
  EXPECT_EQ(NONE.after(Time(5)), -1);
}

// ---------------------------------------------------------------------------------------------
// Membership

TEST(ConstraintQueryTest, ATimeIsInWhenAnIntervalHoldsIt) {
  for (int t : {0, 5, 10, 20, 30}) EXPECT_TRUE(TWO.in(Time(t))) << t;
  for (int t : {-1, 11, 15, 19, 31}) EXPECT_FALSE(TWO.in(Time(t))) << t;
  EXPECT_FALSE(NONE.in(Time(0)));
}

TEST(ConstraintQueryTest, AnIntervalIsInWhenASingleIntervalHoldsIt) {
  EXPECT_TRUE(ONE.in(Piece(2, 4).interval()));
  EXPECT_TRUE(ONE.in(Piece(0, 10).interval()));
  EXPECT_FALSE(ONE.in(Piece(5, 15).interval()));
  EXPECT_FALSE(ONE.in(Piece(-5, 5).interval()));
  EXPECT_FALSE(TWO.in(Piece(5, 25).interval()));
  EXPECT_FALSE(TWO.in(Piece(12, 18).interval()));
  EXPECT_FALSE(Probe({{0, 10, EAGER}, {11, 20}}).in(Piece(10, 11).interval()));
  EXPECT_FALSE(NONE.in(Piece(0, 0).interval()));
}

// ---------------------------------------------------------------------------------------------
// Next instants and deadlines

TEST(ConstraintQueryTest, NextIsTheTimeItselfOrTheNextLowerBound) {
  EXPECT_EQ(next(TWO, 5), 5);
  EXPECT_EQ(next(TWO, 15), 20);
  EXPECT_EQ(next(TWO, 35), EVER);
  EXPECT_EQ(next(TWO, -5), 0);
  EXPECT_EQ(next(TWO, 10), 10);
  EXPECT_EQ(next(TWO, 11), 20);
  EXPECT_EQ(next(NONE, 5), EVER);
}

TEST(ConstraintQueryTest, NothingForcesALazyConstraint) {
  EXPECT_EQ(deadline(TWO, 5), EVER);
  EXPECT_EQ(deadline(TWO, 15), EVER);
  EXPECT_EQ(deadline(NONE, 5), EVER);
}

TEST(ConstraintQueryTest, ADelayableIntervalForcesAtItsUpperBound) {
  const Probe probe({{0, 10}, {20, 30, DELAYABLE}});
  EXPECT_EQ(deadline(probe, 5), 30);
  EXPECT_EQ(deadline(probe, 15), 30);
  EXPECT_EQ(deadline(probe, 20), 30);
  EXPECT_EQ(deadline(probe, 30), 30);
  EXPECT_EQ(deadline(probe, 31), EVER);
}

TEST(ConstraintQueryTest, AnEagerIntervalForcesAtItsLowerBoundAndAtOnceWithin) {
  const Probe probe({{0, 10}, {20, 30, EAGER}});
  EXPECT_EQ(deadline(probe, 5), 20);
  EXPECT_EQ(deadline(probe, 25), 25);
  EXPECT_EQ(deadline(probe, 20), 20);
  EXPECT_EQ(deadline(probe, -5), 20);
  EXPECT_EQ(deadline(probe, 31), EVER);
}

TEST(ConstraintQueryTest, TheFirstIntervalThatIsNotLazyDecides) {
  const Probe probe({{0, 10, DELAYABLE}, {20, 30, EAGER}});
  EXPECT_EQ(deadline(probe, -5), 10);
  EXPECT_EQ(deadline(probe, 10), 10);
  EXPECT_EQ(deadline(probe, 11), 20);
  const Probe unbounded({{0, 10}, {20, EVER, DELAYABLE}});
  EXPECT_EQ(deadline(unbounded, 5), EVER);
}

TEST(ConstraintQueryTest, OnlyObservableIntervalsCountForTheObservableDeadline) {
  const Probe probe({{0, 10, EAGER, FREE, HIDDEN},
                     {20, 30, DELAYABLE, FREE, HIDDEN},
                     {40, 50, LAZY},
                     {60, 70, EAGER}});
  EXPECT_EQ(deadline(probe, 5), 5);
  EXPECT_EQ(observableDeadline(probe, 5), 60);
  EXPECT_EQ(deadline(probe, 15), 30);
  EXPECT_EQ(observableDeadline(probe, 15), 60);
  EXPECT_EQ(observableDeadline(probe, 65), 65);
  EXPECT_EQ(observableDeadline(probe, 71), EVER);
  EXPECT_EQ(observableDeadline(NONE, 5), EVER);
}

TEST(ConstraintQueryTest, AnObservableDelayableIntervalForcesObservably) {
  const Probe probe({{0, 10, DELAYABLE}, {20, 30, EAGER}});
  EXPECT_EQ(observableDeadline(probe, 5), 10);
  EXPECT_EQ(observableDeadline(probe, 15), 20);
}

// ---------------------------------------------------------------------------------------------
// Urgency, observability, order

TEST(ConstraintQueryTest, ADelayableIntervalIsUrgentAtItsUpperBoundOnly) {
  const Probe probe({{0, 10, DELAYABLE}});
  EXPECT_TRUE(probe.urgent(Time(10)));
  EXPECT_FALSE(probe.urgent(Time(9)));
  EXPECT_FALSE(probe.urgent(Time(11)));
}

TEST(ConstraintQueryTest, AnEagerIntervalIsUrgentThroughoutAndALazyOneNever) {
  const Probe probe({{0, 10, EAGER}, {20, 30, LAZY}});
  for (int t : {0, 5, 10}) EXPECT_TRUE(probe.urgent(Time(t))) << t;
  for (int t : {-1, 15, 20, 25, 30, 31}) EXPECT_FALSE(probe.urgent(Time(t))) << t;
  EXPECT_FALSE(NONE.urgent(Time(0)));
}

TEST(ConstraintQueryTest, ATimeIsObservableInAnObservableIntervalOnly) {
  const Probe probe({{0, 10}, {20, 30, LAZY, FREE, HIDDEN}});
  EXPECT_TRUE(probe.observable(Time(10)));
  EXPECT_FALSE(probe.observable(Time(15)));
  EXPECT_FALSE(probe.observable(Time(20)));
  EXPECT_FALSE(NONE.observable(Time(0)));
}

TEST(ConstraintQueryTest, AnUrgencyExistsOnlyWhenItIsExactlyThatInTheClampedRange) {
  const Probe probe({{0, 1, LAZY}, {2, 3, DELAYABLE}, {4, 5, EAGER}});
  EXPECT_TRUE(probe.existUrgency(0, 0, LAZY));
  EXPECT_FALSE(probe.existUrgency(0, 0, DELAYABLE));
  EXPECT_TRUE(probe.existUrgency(0, 2, DELAYABLE));
  EXPECT_FALSE(probe.existUrgency(0, 1, EAGER));
  EXPECT_TRUE(probe.existUrgency(-7, 99, EAGER));
  EXPECT_FALSE(probe.existUrgency(1, 2, LAZY));
  EXPECT_FALSE(probe.existUrgency(2, 1, EAGER));
  EXPECT_FALSE(probe.existUrgency(3, 9, EAGER));
  EXPECT_FALSE(probe.existUrgency(-3, -1, LAZY));
  EXPECT_FALSE(NONE.existUrgency(0, 9, LAZY));
}

TEST(ConstraintQueryTest, CheckWantsNonEmptySortedDisjointIntervals) {
  EXPECT_TRUE(NONE.check());
  EXPECT_TRUE(TWO.check());
  EXPECT_TRUE(Probe({{4, 4}}).check());
  EXPECT_TRUE(Probe({{0, 10}, {11, 20}}).check());
  EXPECT_FALSE(Probe({{0, 10}, {10, 20}}).check());
  EXPECT_FALSE(Probe({{20, 30}, {0, 10}}).check());
  EXPECT_FALSE(Probe({{5, 4}}).check());
  EXPECT_FALSE(Probe({{0, 10}, {EVER, NEVER}}).check());
}

// ---------------------------------------------------------------------------------------------
// Any list of intervals

namespace {

constexpr int ROUNDS = 100000;

bool inRange(int value, int low, int high) {
  return low <= value && value <= high;
}

void askEverything(const Probe& probe, long long t) {
  const int size = static_cast<int>(probe.size());
  const auto [index, after] = place(probe, t);
  ASSERT_TRUE(inRange(index, -1, size - 1));
  ASSERT_TRUE(inRange(after, -1, size));
  if (size > 0) {
    ASSERT_NE(index < 0, after < 0);
  }
  ASSERT_TRUE(inRange(probe.before(Time(t)), -2, size - 1));
  ASSERT_TRUE(inRange(probe.after(Time(t)), -1, size));
  ASSERT_EQ(probe.in(Time(t)), index >= 0);
  const long long expected = index >= 0 ? t
                             : size > after && after >= 0
                                 ? probe.pieces()[static_cast<std::size_t>(after)].low
                                 : EVER;
  ASSERT_EQ(next(probe, t), expected);
  probe.deadline(Time(t));
  probe.observableDeadline(Time(t));
  probe.urgent(Time(t));
  probe.observable(Time(t));
}

}  // namespace

TEST(ConstraintQueryTest, QueriesStayInRangeForAnyListOfIntervals) {
  Draw draw(11);
  for (int round = 0; round < ROUNDS; ++round) {
    const Probe probe(randomMess(draw));
    const int size = static_cast<int>(probe.size());
    ASSERT_NO_FATAL_FAILURE(askEverything(probe, randomBound(draw))) << round;
    const Piece piece(randomBound(draw), randomBound(draw));
    const auto [met, low, high] = run(probe, piece);
    ASSERT_TRUE(inRange(low, 0, size)) << round;
    ASSERT_TRUE(inRange(high, -1, size == 0 ? 0 : size - 1)) << round;
    if (met) {
      ASSERT_TRUE(inRange(low, 0, size - 1) && inRange(high, low, size - 1)) << round;
    }
    probe.in(piece.interval());
    probe.existUrgency(draw.between(-9, 9), draw.between(-9, 9), EAGER);
    probe.check();
  }
}

// 3 lies in [0, 10] only; the bisection ends at [5, 15], whose upper bound lies behind it.
TEST(ConstraintQueryTest, AnOverlapMayHideAnInterval) {
  const Probe probe({{5, 15}, {0, 10}});
  EXPECT_FALSE(probe.check());
  EXPECT_EQ(place(probe, 12), Place(0, -1));
  EXPECT_EQ(place(probe, 7), Place(0, -1));
  EXPECT_EQ(place(probe, 3), Place(-1, 0));
  EXPECT_EQ(next(probe, 3), 5);
}

// The lazy interval holds 7; the eager one behind it answers as if it were still to come.
TEST(ConstraintQueryTest, AnOverlappingEagerIntervalForcesAtItsLowerBoundEvenWhenThatIsPast) {
  const Probe probe({{0, 10}, {5, 15, EAGER}});
  EXPECT_EQ(deadline(probe, 7), 5);
  EXPECT_EQ(observableDeadline(probe, 7), 5);
  EXPECT_EQ(deadline(probe, 12), 12);
}
