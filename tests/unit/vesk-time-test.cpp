#include "vesk-time.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

using Vesk::Time;

namespace {

constexpr long long LEAST = -2147483648LL;
constexpr long long GREATEST = 2147483647LL;
constexpr long long LOWEST = std::numeric_limits<long long>::min();
constexpr long long HIGHEST = std::numeric_limits<long long>::max();

std::string text(const Time& t) {
  std::ostringstream out;
  out << t;
  return out.str();
}

static_assert(Time::milliseconds(25).microseconds() == 25000);

// A number in all operations, on both sides, against the time that stands for it.
template <class Number>
void expectToMeanMicroseconds(Number n, const Time& meant) {
  for (const Time& t : {meant, Time(7), Time(-7), Time::MAX, Time::MIN, Time(HIGHEST)}) {
    EXPECT_EQ(t == n, t == meant);
    EXPECT_EQ(n == t, meant == t);
    EXPECT_EQ(t != n, t != meant);
    EXPECT_EQ(n != t, meant != t);
    EXPECT_EQ(t < n, t < meant);
    EXPECT_EQ(n < t, meant < t);
    EXPECT_EQ(t <= n, t <= meant);
    EXPECT_EQ(n <= t, meant <= t);
    EXPECT_EQ(t > n, t > meant);
    EXPECT_EQ(n > t, meant > t);
    EXPECT_EQ(t >= n, t >= meant);
    EXPECT_EQ(n >= t, meant >= t);
    EXPECT_EQ(t + n, t + meant);
    EXPECT_EQ(n + t, meant + t);
    EXPECT_EQ(t - n, t - meant);
    EXPECT_EQ(n - t, meant - t);
  }
}

// What a global of a model sees that is initialised with the program's own statics.
const Time EARLY_MIN = Time::MIN;
const Time EARLY_SUM = Time::MAX + Time(1);

// What code sees that runs before the constructors of every library.
long long firstMin = 0;
long long firstMax = 0;
void readBeforeAnyConstructor() {
  firstMin = Time::MIN.microseconds();
  firstMax = Time::MAX.microseconds();
}
__attribute__((section(".preinit_array"),
               used)) void (*const BEFORE_ANY_CONSTRUCTOR)() = readBeforeAnyConstructor;

}  // namespace

static_assert(sizeof(Time) == 8, "a time is one 64-bit value");
static_assert(std::is_trivially_copyable_v<Time>, "a time is a plain value");
static_assert(Time(-3).microseconds() == -3 && Time().microseconds() == 0,
              "times can be built at compile time");

TEST(VeskTimeTest, ADefaultTimeIsZero) {
  EXPECT_EQ(Time().microseconds(), 0);
  EXPECT_EQ(text(Time()), "0ms");
}

TEST(VeskTimeTest, IntegersAreTakenAsMicroseconds) {
  EXPECT_EQ(Time(-7).microseconds(), -7);
  EXPECT_EQ(Time(7L).microseconds(), 7);
  const long long wide = 5000000000LL;
  EXPECT_EQ(Time(wide).microseconds(), 5000000000LL);
  EXPECT_EQ(Time(Time(9)).microseconds(), 9);
  EXPECT_EQ(Time(std::numeric_limits<int>::min()), Time::MIN);
  EXPECT_EQ(Time(std::numeric_limits<int>::max()), Time::MAX);
}

TEST(VeskTimeTest, ADoubleIsTruncatedTowardsZero) {
  EXPECT_EQ(Time(2.9).microseconds(), 2);
  EXPECT_EQ(Time(-2.9).microseconds(), -2);
  EXPECT_EQ(Time(-0.5).microseconds(), 0);
  EXPECT_EQ(Time(5e9).microseconds(), 5000000000LL);
}

TEST(VeskTimeTest, ADoubleOutOfRangeBecomesTheNearestLimitAndNanBecomesZero) {
  EXPECT_EQ(Time(1e300).microseconds(), HIGHEST);
  EXPECT_EQ(Time(-1e300).microseconds(), LOWEST);
  EXPECT_EQ(Time(std::numeric_limits<double>::infinity()).microseconds(), HIGHEST);
  EXPECT_EQ(Time(-std::numeric_limits<double>::infinity()).microseconds(), LOWEST);
  EXPECT_EQ(Time(0x1p63).microseconds(), HIGHEST);
  EXPECT_EQ(Time(-0x1p63).microseconds(), LOWEST);
  EXPECT_EQ(Time(std::numeric_limits<double>::quiet_NaN()).microseconds(), 0);
}

TEST(VeskTimeTest, TheInfinitiesAreTheLimitsOfA32BitIntAlthoughATimeIsWider) {
  EXPECT_EQ(Time::MIN.microseconds(), LEAST);
  EXPECT_EQ(Time::MAX.microseconds(), GREATEST);
}

TEST(VeskTimeTest, FiniteTimesBeyondTheInfinitiesExist) {
  const Time above(2147483648LL);
  EXPECT_GT(above, Time::MAX);
  EXPECT_EQ(text(above), "2147483ms");
  EXPECT_EQ((above + Time(1)).microseconds(), 2147483649LL);
  EXPECT_EQ((above - Time(2)).microseconds(), 2147483646LL);
  const Time below(-2147483649LL);
  EXPECT_LT(below, Time::MIN);
  EXPECT_EQ(text(below), "-2147483ms");
  EXPECT_EQ((below + Time(2)).microseconds(), -2147483647LL);
}

TEST(VeskTimeTest, AFiniteSumThatReachesMaxIsMaxFromThenOn) {
  const Time sum = Time(2147483000) + Time(647);
  EXPECT_EQ(sum, Time::MAX);
  EXPECT_EQ(text(sum), "_");
  EXPECT_EQ(sum - Time(647), Time::MAX);
}

TEST(VeskTimeTest, AnInfinityWinsASumTheLeftOperandFirst) {
  EXPECT_EQ(Time::MAX + Time::MIN, Time::MAX);
  EXPECT_EQ(Time::MIN + Time::MAX, Time::MIN);
  EXPECT_EQ(Time::MAX + Time::MAX, Time::MAX);
  EXPECT_EQ(Time::MIN + Time::MIN, Time::MIN);
  EXPECT_EQ(Time::MAX + Time(-5), Time::MAX);
  EXPECT_EQ(Time::MIN + Time(5), Time::MIN);
  EXPECT_EQ(Time(5) + Time::MAX, Time::MAX);
  EXPECT_EQ(Time(5) + Time::MIN, Time::MIN);
  EXPECT_EQ((Time(5) + Time(-8)).microseconds(), -3);
}

TEST(VeskTimeTest, AnInfiniteLeftOperandStaysInADifference) {
  EXPECT_EQ(Time::MAX - Time::MAX, Time::MAX);
  EXPECT_EQ(Time::MIN - Time::MIN, Time::MIN);
  EXPECT_EQ(Time::MAX - Time::MIN, Time::MAX);
  EXPECT_EQ(Time::MIN - Time::MAX, Time::MIN);
  EXPECT_EQ(Time::MAX - Time(5), Time::MAX);
  EXPECT_EQ(Time::MIN - Time(5), Time::MIN);
}

TEST(VeskTimeTest, AFiniteTimeMinusAnInfinityIsTheOppositeInfinity) {
  EXPECT_EQ(Time(5) - Time::MAX, Time::MIN);
  EXPECT_EQ(Time(5) - Time::MIN, Time::MAX);
  EXPECT_EQ((Time(5) - Time(8)).microseconds(), -3);
}

// The numbers worked out by hand: 2^63 - 1 + 1 is -2^63 in 64 bits, and so on.
TEST(VeskTimeTest, SumsAndDifferencesBeyond64BitsWrap) {
  EXPECT_EQ((Time(HIGHEST) + Time(1)).microseconds(), LOWEST);
  EXPECT_EQ((Time(LOWEST) + Time(-1)).microseconds(), HIGHEST);
  EXPECT_EQ((Time(HIGHEST) + Time(HIGHEST)).microseconds(), -2);
  EXPECT_EQ((Time(LOWEST) + Time(LOWEST)).microseconds(), 0);
  EXPECT_EQ((Time(LOWEST) - Time(1)).microseconds(), HIGHEST);
  EXPECT_EQ((Time(HIGHEST) - Time(-1)).microseconds(), LOWEST);
  EXPECT_EQ((Time(HIGHEST) - Time(LOWEST)).microseconds(), -1);
  EXPECT_EQ((Time(0) - Time(LOWEST)).microseconds(), LOWEST);
}

TEST(VeskTimeTest, UnaryMinusExchangesTheInfinitiesAndWrapsAtTheLowestTime) {
  EXPECT_EQ(-Time::MAX, Time::MIN);
  EXPECT_EQ(-Time::MIN, Time::MAX);
  EXPECT_EQ((-Time(5)).microseconds(), -5);
  EXPECT_EQ((-Time(-5)).microseconds(), 5);
  EXPECT_EQ((-Time(LOWEST)).microseconds(), LOWEST);
}

TEST(VeskTimeTest, CompoundAssignmentFollowsTheSameInfinityRules) {
  const Time operands[] = {Time::MIN,     Time(-5),           Time(0),     Time(3), Time::MAX,
                           Time(HIGHEST), Time(2147483648LL), Time(LOWEST)};
  for (const Time& a : operands) {
    for (const Time& t : operands) {
      SCOPED_TRACE(std::to_string(a.microseconds()) + " and " + std::to_string(t.microseconds()));
      Time sum = a;
      EXPECT_EQ(&(sum += t), &sum);
      EXPECT_EQ(sum, a + t);
      Time difference = a;
      EXPECT_EQ(&(difference -= t), &difference);
      EXPECT_EQ(difference, a - t);
    }
  }
  Time own(4);
  const Time& same = own;
  own += same;
  EXPECT_EQ(own.microseconds(), 8);
  own -= same;
  EXPECT_EQ(own.microseconds(), 0);
}

TEST(VeskTimeTest, ComparisonsArePlainAndMakeNoExceptionForTheInfinities) {
  const long long ordered[] = {LOWEST, LEAST - 1,    LEAST,    LEAST + 1,    -1,     0,
                               1,      GREATEST - 1, GREATEST, GREATEST + 1, HIGHEST};
  for (const long long& a : ordered) {
    for (const long long& b : ordered) {
      EXPECT_EQ(Time(a) < Time(b), a < b) << a << " " << b;
      EXPECT_EQ(Time(a) <= Time(b), a <= b) << a << " " << b;
      EXPECT_EQ(Time(a) > Time(b), a > b) << a << " " << b;
      EXPECT_EQ(Time(a) >= Time(b), a >= b) << a << " " << b;
      EXPECT_EQ(Time(a) == Time(b), a == b) << a << " " << b;
      EXPECT_EQ(Time(a) != Time(b), a != b) << a << " " << b;
    }
  }
}

TEST(VeskTimeTest, ConversionsGiveMicroseconds) {
  const double number = Time(1500);
  EXPECT_EQ(number, 1500.0);
  EXPECT_EQ(static_cast<int>(Time(-1500)), -1500);
  EXPECT_EQ(static_cast<long>(Time(1500)), 1500L);
  EXPECT_EQ(static_cast<double>(Time::MAX), 2147483647.0);
}

TEST(VeskTimeTest, IntegerConversionsKeepTheLowBitsAndMicrosecondsTheWholeValue) {
  const Time wide(4294967301LL);  // 2^32 + 5
  EXPECT_EQ(static_cast<int>(wide), 5);
  EXPECT_EQ(static_cast<long>(wide), sizeof(long) == 4 ? 5L : static_cast<long>(4294967301LL));
  EXPECT_EQ(wide.microseconds(), 4294967301LL);
}

TEST(VeskTimeTest, NumbersNextToATimeCountMicroseconds) {
  const Time t(5);
  EXPECT_EQ(t, 5);
  EXPECT_EQ(5u, t);
  EXPECT_NE(t, 6L);
  EXPECT_LT(4.5, t);
  EXPECT_GE(t, sizeof(int));
  EXPECT_EQ((t + 5).microseconds(), 10);
  EXPECT_EQ((5 - t).microseconds(), 0);
  EXPECT_EQ((t - 2.9).microseconds(), 3);
  expectToMeanMicroseconds(true, Time(1));
  expectToMeanMicroseconds('\x09', Time(9));
  expectToMeanMicroseconds(static_cast<short>(-9), Time(-9));
  expectToMeanMicroseconds(9, Time(9));
  expectToMeanMicroseconds(-9L, Time(-9));
  expectToMeanMicroseconds(9000000000LL, Time(9000000000LL));
  expectToMeanMicroseconds(4000000000u, Time(4000000000LL));
  expectToMeanMicroseconds(std::size_t{9}, Time(9));
  expectToMeanMicroseconds(9ull, Time(9));
  expectToMeanMicroseconds(-2.9f, Time(-2));
  expectToMeanMicroseconds(2.9, Time(2));
  expectToMeanMicroseconds(2.9L, Time(2));
}

TEST(VeskTimeTest, NumbersThatDoNotFitBecomeTheNearestLimit) {
  expectToMeanMicroseconds(LOWEST, Time(LOWEST));
  expectToMeanMicroseconds(HIGHEST, Time(HIGHEST));
  expectToMeanMicroseconds(0x8000000000000000ull, Time(HIGHEST));
  expectToMeanMicroseconds(~0ull, Time(HIGHEST));
  expectToMeanMicroseconds(1e300, Time(HIGHEST));
  expectToMeanMicroseconds(-1e300L, Time(LOWEST));
  expectToMeanMicroseconds(-std::numeric_limits<float>::infinity(), Time(LOWEST));
  expectToMeanMicroseconds(std::numeric_limits<double>::quiet_NaN(), Time(0));
}

TEST(VeskTimeTest, SumsAndDifferencesWithNumbersFollowTheInfinityRules) {
  EXPECT_EQ(Time::MAX + 5, Time::MAX);
  EXPECT_EQ(5 + Time::MIN, Time::MIN);
  EXPECT_EQ(5 - Time::MAX, Time::MIN);
  EXPECT_EQ(5 - Time::MIN, Time::MAX);
  EXPECT_EQ(Time::MIN - 5.0, Time::MIN);
  EXPECT_EQ(Time(5) + 2147483647, Time::MAX);
  EXPECT_EQ(Time(5) - 2147483647u, Time::MIN);
  EXPECT_EQ((Time(HIGHEST) + 1).microseconds(), LOWEST);
  EXPECT_EQ((LOWEST - Time(1)).microseconds(), HIGHEST);
}

TEST(VeskTimeTest, ADerivedTimeMixesWithNumbersAndTimes) {
  struct Delay : Time {
    using Time::Time;
  };
  const Delay delay(5);
  EXPECT_TRUE(delay == 5 && 6 > delay && delay == Time(5) && Time(6) > delay);
  EXPECT_EQ((delay + 1).microseconds(), 6);
}

TEST(VeskTimeTest, TheWholeValueCanBeAskedForAsLongLong) {
  EXPECT_EQ(static_cast<long long>(Time(5000000000LL)), 5000000000LL);
  EXPECT_EQ((long long)Time(LOWEST), LOWEST);  // NOLINT: the form that is tested
  EXPECT_TRUE((std::is_constructible_v<long long, Time>));
}

TEST(VeskTimeTest, PrintsMillisecondsTruncatedTowardsZero) {
  EXPECT_EQ(text(Time(1500)), "1ms");
  EXPECT_EQ(text(Time(-1500)), "-1ms");
  EXPECT_EQ(text(Time(999)), "0ms");
  EXPECT_EQ(text(Time(-999)), "0ms");
  EXPECT_EQ(text(Time(0)), "0ms");
  EXPECT_EQ(text(Time(2147483646)), "2147483ms");
  EXPECT_EQ(text(Time(1700000000000000LL)), "1700000000000ms");
}

TEST(VeskTimeTest, PrintsBothInfinitiesAsOneUnderscore) {
  EXPECT_EQ(text(Time::MAX), "_");
  EXPECT_EQ(text(Time::MIN), "_");
}

TEST(VeskTimeTest, PrintingGivesTheStreamBackAndWritesNoLineEnd) {
  std::ostringstream out;
  EXPECT_EQ(&(out << Time(2000)), &out);
  out << Time::MAX << Time(3000);
  EXPECT_EQ(out.str(), "2ms_3ms");
}

TEST(VeskTimeTest, GlobalsOfOtherTranslationUnitsMayUseTheInfinities) {
  EXPECT_EQ(EARLY_MIN.microseconds(), LEAST);
  EXPECT_EQ(EARLY_SUM.microseconds(), GREATEST);
}

TEST(VeskTimeTest, TheInfinitiesStandBeforeAnyConstructorHasRun) {
  EXPECT_EQ(firstMin, LEAST);
  EXPECT_EQ(firstMax, GREATEST);
}

// ---- milliseconds ------------------------------------------------------------------------------

TEST(VeskTimeTest, MillisecondsAreThousandsOfMicroseconds) {
  EXPECT_EQ(Time::milliseconds(0), 0);
  EXPECT_EQ(Time::milliseconds(-3), -3000);
  EXPECT_EQ(Time::milliseconds(short{7}), 7000);
  EXPECT_EQ(Time::milliseconds(7u), 7000);
  EXPECT_EQ(Time::milliseconds(3000000000ull).microseconds(), 3000000000000LL);
  EXPECT_EQ(Time::milliseconds(0.5), 500);
  EXPECT_EQ(Time::milliseconds(-2.5f), -2500);
  EXPECT_EQ(text(Time::milliseconds(25)), "25ms");
}

// No thousandfold of a whole number is one of the two infinities.
TEST(VeskTimeTest, WholeMillisecondsAreFinite) {
  EXPECT_EQ(text(Time::milliseconds(2147483)), "2147483ms");
  EXPECT_EQ(text(Time::milliseconds(2147484)), "2147484ms");
  EXPECT_EQ(text(Time::milliseconds(-2147484)), "-2147484ms");
}

TEST(VeskTimeTest, MillisecondsBeyondTheRangeAreItsLimits) {
  EXPECT_EQ(Time::milliseconds(HIGHEST).microseconds(), HIGHEST);
  EXPECT_EQ(Time::milliseconds(LOWEST).microseconds(), LOWEST);
  EXPECT_EQ(Time::milliseconds(HIGHEST / 1000).microseconds(), HIGHEST / 1000 * 1000);
  EXPECT_EQ(Time::milliseconds(HIGHEST / 1000 + 1).microseconds(), HIGHEST);
  EXPECT_EQ(Time::milliseconds(-(HIGHEST / 1000) - 1).microseconds(), LOWEST);
  EXPECT_EQ(Time::milliseconds(std::numeric_limits<unsigned long long>::max()).microseconds(),
            HIGHEST);
  EXPECT_EQ(Time::milliseconds(1e300).microseconds(), HIGHEST);
  EXPECT_EQ(Time::milliseconds(-1e300).microseconds(), LOWEST);
  EXPECT_EQ(Time::milliseconds(std::numeric_limits<double>::quiet_NaN()), 0);
}
