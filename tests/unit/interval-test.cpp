#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <type_traits>

#include "constraint-probe.hpp"

using Vesk::Time;

namespace {

std::string text(const Interval& interval) {
  std::ostringstream out;
  out << interval;
  return out.str();
}

Interval make(long long low, long long high, Urgency urgency = LAZY) {
  return Piece(low, high, urgency).interval();
}

Piece minus(const Interval& a, const Interval& b) {
  Interval result = a;
  result -= b;
  return Piece(result);
}

Piece delayed(const Interval& interval, const Time& delay) {
  Interval result = interval;
  result.applyDelay(delay);
  return Piece(result);
}

const Piece CANONICAL_EMPTY(EVER, NEVER);

}  // namespace

static_assert(LAZY == 0 && DELAYABLE == 1 && EAGER == 2 && sizeof(Urgency) == 4,
              "urgencies are ordered 32-bit integers");
static_assert(std::has_virtual_destructor_v<Interval>, "an interval is a polymorphic class");
static_assert(
    std::is_same_v<decltype(&Interval::empty), bool (Interval::*)() const> &&
        std::is_same_v<decltype(&Interval::low), const Time& (Interval::*)() const> &&
        std::is_same_v<decltype(&Interval::operator<), bool (Interval::*)(const Interval&) const>,
    "reading an interval does not change it");

// ---------------------------------------------------------------------------------------------
// Construction and accessors

TEST(IntervalTest, IsBuiltFromItsFiveFields) {
  const Interval interval(Time(3), Time(8), DELAYABLE, true, false);
  EXPECT_EQ(Piece(interval), Piece(3, 8, DELAYABLE, DOMINATED, HIDDEN));
}

TEST(IntervalTest, ACopyHasAllFiveFields) {
  const Interval original(Time(3), Time(8), DELAYABLE, true, false);
  const Interval copy(original);
  EXPECT_EQ(Piece(copy), Piece(original));
  Interval assigned = make(0, 1);
  EXPECT_EQ(&(assigned = original), &assigned);
  EXPECT_EQ(Piece(assigned), Piece(original)) << "assigned from another one";
  const Interval& same = assigned;
  assigned = same;
  EXPECT_EQ(Piece(assigned), Piece(original)) << "assigned from itself";
}

TEST(IntervalTest, NewBoundsTakeTheOtherAttributesOfAModel) {
  const Interval model(Time(3), Time(8), EAGER, true, false);
  EXPECT_EQ(Piece(Interval(Time(5), Time(6), model)), Piece(5, 6, EAGER, DOMINATED, HIDDEN));
}

TEST(IntervalTest, NewBoundsWithADominatedFlagOfTheirOwnTakeTheRestOfAModel) {
  const Interval model(Time(3), Time(8), EAGER, true, false);
  EXPECT_EQ(Piece(Interval(Time(5), Time(6), model, false)), Piece(5, 6, EAGER, FREE, HIDDEN));
  EXPECT_EQ(Piece(Interval(Time(5), Time(6), model, true)), Piece(5, 6, EAGER, DOMINATED, HIDDEN));
}

TEST(IntervalTest, BoundsCanBeGivenOtherAttributes) {
  const Interval bounds(Time(3), Time(8), EAGER, true, false);
  EXPECT_EQ(Piece(Interval(bounds, false, DELAYABLE, true)), Piece(3, 8, DELAYABLE));
}

TEST(IntervalTest, SettersChangeOneFieldEach) {
  Interval interval = make(0, 10);
  interval.setLow(Time(1));
  interval.setHigh(Time(9));
  EXPECT_EQ(Piece(interval), Piece(1, 9));
  interval.setUrgency(EAGER);
  EXPECT_EQ(Piece(interval), Piece(1, 9, EAGER));
  interval.setDominated(true);
  EXPECT_EQ(Piece(interval), Piece(1, 9, EAGER, DOMINATED));
  interval.setObservable(false);
  EXPECT_EQ(Piece(interval), Piece(1, 9, EAGER, DOMINATED, HIDDEN));
}

TEST(IntervalTest, TheMoreUrgentOfTwoUrgenciesIsKept) {
  Interval interval = make(0, 10, DELAYABLE);
  interval.setMaxUrgency(LAZY);
  EXPECT_EQ(interval.urgency(), DELAYABLE);
  interval.setMaxUrgency(EAGER);
  EXPECT_EQ(interval.urgency(), EAGER);
}

TEST(IntervalTest, ObservableIsKeptWhenEitherIs) {
  Interval interval(Time(0), Time(1), LAZY, false, false);
  interval.setMaxObservable(false);
  EXPECT_FALSE(interval.observable());
  interval.setMaxObservable(true);
  EXPECT_TRUE(interval.observable()) << "with true";
  interval.setMaxObservable(false);
  EXPECT_TRUE(interval.observable()) << "with false after true";
}

TEST(IntervalTest, BothBoundsAreIncluded) {
  const Interval interval = make(3, 8);
  for (int t : {3, 5, 8}) {
    EXPECT_TRUE(interval.in(Time(t))) << t;
    EXPECT_TRUE(interval.inside(Time(t))) << t;
  }
  for (int t : {2, 9}) {
    EXPECT_FALSE(interval.in(Time(t))) << t;
    EXPECT_FALSE(interval.inside(Time(t))) << t;
  }
  EXPECT_TRUE(make(NEVER, EVER).in(Time::MAX));
  EXPECT_FALSE(make(NEVER, EVER).in(Time(EVER + 1)));
}

TEST(IntervalTest, AnIntervalIsInAnotherThatHoldsBothItsBounds) {
  const Interval interval = make(3, 8);
  EXPECT_TRUE(interval.in(make(3, 8)));
  EXPECT_TRUE(interval.in(make(4, 7)));
  EXPECT_TRUE(interval.inside(make(4, 8)));
  EXPECT_FALSE(interval.in(make(2, 8)));
  EXPECT_FALSE(interval.in(make(3, 9)));
  EXPECT_FALSE(interval.inside(make(0, 20)));
}

TEST(IntervalTest, AnIntervalIsEmptyWhenItsLowerBoundIsAbove) {
  EXPECT_TRUE(make(1, 0).empty());
  EXPECT_FALSE(make(0, 1).empty());
}

TEST(IntervalTest, AnIntervalOfOneInstantIsNotEmpty) {
  EXPECT_FALSE(make(4, 4).empty());
  EXPECT_TRUE(make(4, 4).singleton());
  EXPECT_FALSE(make(4, 5).singleton());
  EXPECT_FALSE(make(5, 4).singleton());
}

TEST(IntervalTest, TheCanonicalEmptyIntervalRunsFromMaxToMin) {
  Interval interval(Time(0), Time(1), EAGER, true, false);
  interval.setEmpty();
  EXPECT_EQ(Piece(interval), Piece(EVER, NEVER, EAGER, DOMINATED, HIDDEN));
  EXPECT_TRUE(interval.empty());
}

// ---------------------------------------------------------------------------------------------
// Delay

TEST(IntervalTest, ADelayMovesTheLowerBoundDown) {
  EXPECT_EQ(delayed(make(10, 20), Time(3)), Piece(7, 20));
  EXPECT_EQ(delayed(make(10, 20), Time(-3)), Piece(13, 20));
  EXPECT_EQ(delayed(make(10, EVER), Time(3)), Piece(7, EVER));
  const Interval flagged(Time(10), Time(20), EAGER, true, false);
  EXPECT_EQ(delayed(flagged, Time(3)), Piece(7, 20, EAGER, DOMINATED, HIDDEN));
}

TEST(IntervalTest, ADelayOf0ChangesNothing) {
  EXPECT_EQ(delayed(make(10, 20), Time(0)), Piece(10, 20));
}

TEST(IntervalTest, ADelayLeavesEmptyIntervalsAlone) {
  EXPECT_EQ(delayed(make(20, 10), Time(3)), Piece(20, 10));
  EXPECT_EQ(delayed(make(20, 10), Time::MIN), Piece(20, 10));
  EXPECT_EQ(delayed(CANONICAL_EMPTY.interval(), Time::MIN), CANONICAL_EMPTY);
}

TEST(IntervalTest, ADelayLeavesInfiniteLowerBoundsAlone) {
  EXPECT_EQ(delayed(make(NEVER, 20), Time(3)), Piece(NEVER, 20));
  EXPECT_EQ(delayed(make(NEVER, 20), Time::MAX), Piece(NEVER, 20));
  EXPECT_EQ(delayed(make(EVER, EVER), Time(3)), Piece(EVER, EVER));
  EXPECT_EQ(delayed(make(EVER, EVER), Time::MAX), Piece(EVER, EVER));
}

TEST(IntervalTest, ADelayOfMaxGivesMin) {
  EXPECT_EQ(delayed(make(10, 20), Time::MAX), Piece(NEVER, 20));
}

TEST(IntervalTest, ADelayOfMinGivesMinWhereTheSubtractionOfTimesWouldGiveMax) {
  EXPECT_EQ(delayed(make(10, 20), Time::MIN), Piece(NEVER, 20));
  EXPECT_EQ(delayed(make(EVER, EVER), Time::MIN), Piece(NEVER, EVER));
  EXPECT_EQ(Time(10) - Time::MIN, Time::MAX);
}

// ---------------------------------------------------------------------------------------------
// Intersection and difference

TEST(IntervalTest, AnIntersectionKeepsTheTighterBoundsAndTheHigherUrgency) {
  Interval interval = make(0, 10, DELAYABLE);
  EXPECT_EQ(&(interval &= make(5, 20, LAZY)), &interval);
  EXPECT_EQ(Piece(interval), Piece(5, 10, DELAYABLE));
  interval &= make(0, 7, EAGER);
  EXPECT_EQ(Piece(interval), Piece(5, 7, EAGER)) << "with a tighter bound";
  interval &= make(NEVER, EVER);
  EXPECT_EQ(Piece(interval), Piece(5, 7, EAGER)) << "with all times";
}

TEST(IntervalTest, AnIntersectionIsObservableWhenEitherIs) {
  const Interval hidden(Time(0), Time(10), LAZY, false, false);
  Interval interval = hidden;
  interval &= hidden;
  EXPECT_FALSE(interval.observable());
  interval &= make(0, 10);
  EXPECT_TRUE(interval.observable());
}

TEST(IntervalTest, AnIntersectionKeepsItsOwnDominatedFlag) {
  Interval free = make(0, 10);
  Interval dominated(Time(0), Time(10), LAZY, true, true);
  Interval other = free;
  free &= dominated;
  EXPECT_FALSE(free.dominated());
  dominated &= other;
  EXPECT_TRUE(dominated.dominated());
}

TEST(IntervalTest, AnEmptyIntersectionIsNotMadeCanonical) {
  Interval interval = make(0, 10);
  interval &= make(15, 20);
  EXPECT_EQ(Piece(interval), Piece(15, 10));
  EXPECT_TRUE(interval.empty());
}

TEST(IntervalTest, ADifferenceThatCoversEverythingIsTheCanonicalEmptyInterval) {
  EXPECT_EQ(minus(make(0, 10), make(0, 10)), CANONICAL_EMPTY);
  EXPECT_EQ(minus(make(3, 7), make(0, 10)), CANONICAL_EMPTY);
  EXPECT_EQ(text(minus(make(0, 10), make(0, 10)).interval()), "empty");
  Interval own = make(0, 10);
  const Interval& same = own;
  own -= same;
  EXPECT_EQ(Piece(own), CANONICAL_EMPTY);
}

TEST(IntervalTest, ADifferenceKeepsThePartThatSticksOut) {
  EXPECT_EQ(minus(make(0, 10), make(5, 20)), Piece(0, 4));
  EXPECT_EQ(minus(make(0, 10), make(5, 10)), Piece(0, 4));
  EXPECT_EQ(minus(make(5, 20), make(0, 10)), Piece(11, 20));
  EXPECT_EQ(minus(make(5, 20), make(5, 10)), Piece(11, 20));
  EXPECT_EQ(minus(make(NEVER, EVER), make(5, EVER)), Piece(NEVER, 4));
  EXPECT_EQ(minus(make(0, EVER), make(NEVER, 5)), Piece(6, EVER));
}

TEST(IntervalTest, WhenTheOtherIntervalLiesStrictlyInsideTheRightPieceIsLost) {
  EXPECT_EQ(minus(make(0, 10), make(3, 5)), Piece(0, 2));
}

TEST(IntervalTest, AnIntervalWhollyLeftOfTheOtherIsStretchedUpToIt) {
  EXPECT_EQ(minus(make(0, 5), make(10, 20)), Piece(0, 9));
}

// [10, 20] lies wholly right of [0, 5]: the piece right of the other is what begins at 6.
TEST(IntervalTest, AnIntervalWhollyRightOfTheOtherIsStretchedDownToIt) {
  EXPECT_EQ(minus(make(10, 20), make(0, 5)), Piece(6, 20));
}

TEST(IntervalTest, ADifferenceWithAnEmptyIntervalChangesNothing) {
  EXPECT_EQ(minus(make(0, 10), make(5, 4)), Piece(0, 10));
  EXPECT_EQ(minus(make(5, 4), make(0, 10)), Piece(5, 4));
}

TEST(IntervalTest, ADifferenceLeavesUrgencyAndFlagsAlone) {
  const Interval flagged(Time(0), Time(10), DELAYABLE, true, false);
  EXPECT_EQ(minus(flagged, make(5, 20, EAGER)), Piece(0, 4, DELAYABLE, DOMINATED, HIDDEN));
  EXPECT_EQ(minus(flagged, make(0, 20, EAGER)), Piece(EVER, NEVER, DELAYABLE, DOMINATED, HIDDEN));
}

// MAX - 1 is MAX and MIN + 1 is MIN, so an infinite bound of the other cannot be cut off.
TEST(IntervalTest, ADifferenceCannotCutOffAnInfiniteBound) {
  EXPECT_EQ(minus(make(0, EVER), make(EVER, EVER)), Piece(0, EVER));
  EXPECT_EQ(minus(make(0, EVER + 1), make(0, EVER)), Piece(EVER, EVER + 1));
  EXPECT_EQ(minus(make(NEVER, 10), make(NEVER, NEVER)), Piece(NEVER, 10));
}

// ---------------------------------------------------------------------------------------------
// Shifts and order

TEST(IntervalTest, AShiftMovesBothBoundsAndNothingElse) {
  const Interval flagged(Time(3), Time(8), EAGER, true, false);
  EXPECT_EQ(Piece(flagged + Time(5)), Piece(8, 13, EAGER, DOMINATED, HIDDEN));
  EXPECT_EQ(Piece(flagged - Time(5)), Piece(-2, 3, EAGER, DOMINATED, HIDDEN));
  Interval interval = flagged;
  EXPECT_EQ(&(interval += Time(5)), &interval);
  EXPECT_EQ(Piece(interval), Piece(8, 13, EAGER, DOMINATED, HIDDEN));
  EXPECT_EQ(&(interval -= Time(5)), &interval);
  EXPECT_EQ(Piece(interval), Piece(flagged));
}

TEST(IntervalTest, AShiftLeavesInfiniteBoundsAlone) {
  EXPECT_EQ(Piece(make(NEVER, 8) + Time(5)), Piece(NEVER, 13));
  EXPECT_EQ(Piece(make(3, EVER) - Time(5)), Piece(-2, EVER));
  EXPECT_EQ(Piece(make(3, 8) + Time::MAX), Piece(EVER, EVER));
  EXPECT_EQ(Piece(make(3, 8) - Time::MAX), Piece(NEVER, NEVER));
}

TEST(IntervalTest, AnIntervalMayBeShiftedByItsOwnBound) {
  Interval interval = make(3, 8);
  interval -= interval.low();
  EXPECT_EQ(Piece(interval), Piece(0, 5));
  interval += interval.high();
  EXPECT_EQ(Piece(interval), Piece(5, 10));
}

TEST(IntervalTest, TheOrderIsByLowerBoundThenByUpperBoundAndForgetsTheAttributes) {
  const Interval ordered[] = {make(NEVER, 3), make(0, 3), make(0, 5), make(1, 2), make(1, EVER)};
  for (int a = 0; a < 5; ++a) {
    for (int b = 0; b < 5; ++b) {
      EXPECT_EQ(ordered[a] < ordered[b], a < b) << a << ' ' << b;
      EXPECT_EQ(ordered[a] <= ordered[b], a <= b) << a << ' ' << b;
      EXPECT_EQ(ordered[a] > ordered[b], a > b) << a << ' ' << b;
      EXPECT_EQ(ordered[a] >= ordered[b], a >= b) << a << ' ' << b;
      EXPECT_EQ(ordered[a] == ordered[b], a == b) << a << ' ' << b;
      EXPECT_EQ(ordered[a] != ordered[b], a != b) << a << ' ' << b;
    }
  }
  EXPECT_TRUE(make(0, 3) == Interval(Time(0), Time(3), EAGER, true, false));
}

// ---------------------------------------------------------------------------------------------
// Output

TEST(IntervalTest, PrintsTheUrgencyAndBothBoundsInMilliseconds) {
  EXPECT_EQ(text(make(0, 5000, EAGER)), "eager (0ms,5ms)");
  EXPECT_EQ(text(make(-1500, 999, DELAYABLE)), "delayable (-1ms,0ms)");
  EXPECT_EQ(text(make(1000, EVER)), "lazy (1ms,_)");
  EXPECT_EQ(text(make(NEVER, EVER)), "lazy (_,_)");
}

TEST(IntervalTest, PrintsEmptyForAnyEmptyInterval) {
  EXPECT_EQ(text(make(1, 0, EAGER)), "empty");
  EXPECT_EQ(text(CANONICAL_EMPTY.interval()), "empty");
}

TEST(IntervalTest, AnUnknownUrgencyPrintsNoPrefix) {
  Interval interval = make(0, 5000);
  interval.setUrgency(static_cast<Urgency>(3));
  EXPECT_EQ(text(interval), "(0ms,5ms)");
}

TEST(IntervalTest, FlagsAreNotPrintedAndTheStreamComesBack) {
  std::ostringstream out;
  const Interval flagged(Time(0), Time(5000), EAGER, true, false);
  EXPECT_EQ(&(out << flagged), &out);
  EXPECT_EQ(out.str(), "eager (0ms,5ms)");
}
