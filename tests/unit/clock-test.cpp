#include "clock.hpp"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using Vesk::Time;

namespace {

// Writes down who is read, in which order.
class LoggingClock : public GenericClock {
 public:
  LoggingClock(char letter, Time reading, std::string& log)
      : mLetter(letter), mReading(reading), mLog(log) {}
  Time time() const override {
    mLog += mLetter;
    return mReading;
  }

 private:
  char mLetter;
  Time mReading;
  std::string& mLog;
};

// A platform that shows a given time and writes down for what it had to wait.
class ScriptedPlatform : public PlatformClock {
 public:
  ScriptedPlatform() : PlatformClock("platform") {}
  Time time() const override { return reading; }
  void wait(const Time& t) override {
    waits.push_back(t.microseconds());
    if (watched != nullptr) seenWhileWaiting = watched->time();
  }

  Time reading;
  std::vector<long long> waits;
  const LogicalClock* watched = nullptr;
  Time seenWhileWaiting;
};

class OpenSimuClock : public SimuClock {
 public:
  using SimuClock::setTime;
  using SimuClock::SimuClock;
};

class OpenLogicalClock : public LogicalClock {
 public:
  using LogicalClock::LogicalClock;
  using LogicalClock::setTime;
};

class OpenClock : public Clock {
 public:
  using Clock::Clock;
  using Clock::intermediateTime;
  using Clock::logicalClock;
  using Clock::resetTime;
  using Clock::setIntermediateTime;
  using Clock::setResetTime;
  using Clock::setStopped;
};

// A model clock that runs twice as fast.
class FastClock : public Clock {
 public:
  using Clock::Clock;
  Time time() const override { return Clock::time() + Clock::time(); }
};

template <class C>
constexpr bool COPIES = std::is_copy_constructible_v<C> || std::is_copy_assignable_v<C> ||
                        std::is_move_constructible_v<C> || std::is_move_assignable_v<C>;

template <class C, class = void>
struct HasPublicSetTime : std::false_type {};
template <class C>
struct HasPublicSetTime<C, std::void_t<decltype(std::declval<C&>().setTime(Time()))>>
    : std::true_type {};

class ClockTest : public testing::Test {
 protected:
  ClockTest() : platform("simu_clock"), logical("logical_clock", platform) {}

  SimuClock platform;
  OpenLogicalClock logical;
};

}  // namespace

static_assert(!COPIES<SimuClock> && !COPIES<LogicalClock> && !COPIES<Clock>,
              "two clocks would free the same name");
static_assert(std::is_abstract_v<GenericClock> && std::is_abstract_v<PlatformClock>,
              "a clock must say how it reads");
static_assert(std::has_virtual_destructor_v<GenericClock>, "clocks are deleted by their base");
static_assert(
    std::is_same_v<decltype(&GenericClock::time), Time (GenericClock::*)() const> &&
        std::is_same_v<decltype(&PlatformClock::wait), void (PlatformClock::*)(const Time&)> &&
        std::is_same_v<decltype(&Clock::isStopped), bool (Clock::*)() const>,
    "reading a clock does not change it, waiting may");
static_assert(HasPublicSetTime<Clock>::value && !HasPublicSetTime<SimuClock>::value &&
                  !HasPublicSetTime<LogicalClock>::value,
              "models set their own clocks only");

// ---------------------------------------------------------------------------------------------
// Names and drift

TEST_F(ClockTest, AClockKeepsACopyOfItsName) {
  char name[] = "x";
  Clock clock(name, logical);
  name[0] = 'y';
  EXPECT_STREQ(clock.name(), "x");
  EXPECT_STREQ(platform.name(), "simu_clock");
  EXPECT_STREQ(logical.name(), "logical_clock");
}

TEST_F(ClockTest, ANullNameStaysNull) {
  Clock clock(nullptr, logical);
  EXPECT_EQ(clock.name(), nullptr);
  std::string log;
  EXPECT_EQ(LoggingClock('a', Time(0), log).name(), nullptr);
}

TEST_F(ClockTest, SettingANameCopiesItAndReleasesTheOldOne) {
  Clock clock("first", logical);
  char name[] = "second";
  clock.setName(name);
  name[0] = 'S';
  EXPECT_STREQ(clock.name(), "second");
  clock.setName(nullptr);
  EXPECT_EQ(clock.name(), nullptr);
  clock.setName("third");
  EXPECT_STREQ(clock.name(), "third");
}

TEST_F(ClockTest, AClockMayBeNamedByPartOfItsOwnName) {
  Clock clock("engine.x", logical);
  clock.setName(clock.name() + 7);
  EXPECT_STREQ(clock.name(), "x");
}

TEST_F(ClockTest, DriftIsHowFarTheOtherClockIsAheadAndThisClockIsReadFirst) {
  std::string log;
  const LoggingClock here('h', Time(30), log);
  const LoggingClock other('o', Time(100), log);
  EXPECT_EQ(here.drift(other), Time(70));
  EXPECT_EQ(log, "ho");
  EXPECT_EQ(other.drift(&here), Time(-70));
  EXPECT_EQ(log, "hooh");
}

TEST_F(ClockTest, TheDriftToANullClockIs0AndReadsNothing) {
  std::string log;
  const LoggingClock here('h', Time(30), log);
  EXPECT_EQ(here.drift(nullptr), Time(0));
  EXPECT_EQ(log, "");
}

TEST_F(ClockTest, DriftFollowsTheInfinityRulesOfSubtraction) {
  std::string log;
  const LoggingClock endless('e', Time::MAX, log);
  const LoggingClock finite('f', Time(5), log);
  EXPECT_EQ(finite.drift(endless), Time::MAX);
  EXPECT_EQ(endless.drift(finite), Time::MIN);
  EXPECT_EQ(endless.drift(endless), Time::MAX);
}

// ---------------------------------------------------------------------------------------------
// Simulated time

TEST(SimuClockTest, StartsAt0) {
  EXPECT_EQ(SimuClock("simu_clock").time(), Time(0));
}

TEST(SimuClockTest, WaitingJumpsToTheTime) {
  SimuClock clock("simu_clock");
  PlatformClock& platform = clock;
  platform.wait(Time(5000));
  EXPECT_EQ(platform.time(), Time(5000));
}

TEST(SimuClockTest, WaitingForAnEarlierOrTheSameTimeChangesNothing) {
  SimuClock clock("simu_clock");
  clock.wait(Time(100));
  clock.wait(Time(99));
  EXPECT_EQ(clock.time(), Time(100)) << "after waiting for less";
  clock.wait(Time(100));
  EXPECT_EQ(clock.time(), Time(100)) << "after waiting for now";
  clock.wait(Time(-1));
  EXPECT_EQ(clock.time(), Time(100)) << "after waiting for the past";
}

TEST(SimuClockTest, ADerivedClockMaySetTheTimeBack) {
  OpenSimuClock clock("simu_clock");
  clock.wait(Time(100));
  clock.setTime(Time(40));
  EXPECT_EQ(clock.time(), Time(40));
}

// ---------------------------------------------------------------------------------------------
// Logical time

TEST(LogicalClockTest, StartsAt0OverThePlatformItWasGiven) {
  ScriptedPlatform platform;
  platform.reading = Time(77);
  const LogicalClock logical("logical_clock", platform);
  EXPECT_EQ(logical.time(), Time(0));
  EXPECT_EQ(&logical.platformClock(), &platform);
}

TEST(LogicalClockTest, WaitingJumpsAtOnceAndThenLetsThePlatformWait) {
  ScriptedPlatform platform;
  LogicalClock logical("logical_clock", platform);
  platform.watched = &logical;
  logical.wait(Time(250));
  EXPECT_EQ(platform.waits, (std::vector<long long>{250}));
  EXPECT_EQ(platform.seenWhileWaiting, Time(250));
  EXPECT_EQ(logical.time(), Time(250));
}

TEST(LogicalClockTest, WaitingForATimeThatIsNotLaterCallsNoPlatformWait) {
  ScriptedPlatform platform;
  LogicalClock logical("logical_clock", platform);
  logical.wait(Time(0));
  logical.wait(Time(-1));
  EXPECT_TRUE(platform.waits.empty());
  logical.wait(Time(10));
  logical.wait(Time(10));
  logical.wait(Time(9));
  EXPECT_EQ(platform.waits, (std::vector<long long>{10}));
  EXPECT_EQ(logical.time(), Time(10));
}

TEST(LogicalClockTest, WaitAsksTheOverriddenTime) {
  class Ahead : public LogicalClock {
   public:
    using LogicalClock::LogicalClock;
    Time time() const override { return Time(1000); }
  };
  ScriptedPlatform platform;
  Ahead logical("logical_clock", platform);
  logical.wait(Time(1000));
  EXPECT_TRUE(platform.waits.empty());
  logical.wait(Time(1001));
  EXPECT_EQ(platform.waits, (std::vector<long long>{1001}));
}

TEST(LogicalClockTest, UpdateCatchesUpWithThePlatform) {
  ScriptedPlatform platform;
  LogicalClock logical("logical_clock", platform);
  logical.wait(Time(500));
  platform.reading = Time(720);
  logical.update();
  EXPECT_EQ(logical.time(), Time(720));
  platform.reading = Time(3);
  logical.update();
  EXPECT_EQ(logical.time(), Time(3));
  EXPECT_EQ(platform.waits, (std::vector<long long>{500}));
}

TEST(LogicalClockTest, ResetGoesBackTo0AndLeavesThePlatformAlone) {
  SimuClock platform("simu_clock");
  LogicalClock logical("logical_clock", platform);
  logical.wait(Time(500));
  logical.reset();
  EXPECT_EQ(logical.time(), Time(0));
  EXPECT_EQ(platform.time(), Time(500));
}

// ---------------------------------------------------------------------------------------------
// Model clocks

TEST_F(ClockTest, ANewClockRunsAndReadsTheLogicalTimeItself) {
  logical.setTime(Time(40));
  const Clock clock("x", logical);
  EXPECT_FALSE(clock.isStopped());
  EXPECT_EQ(clock.time(), Time(40));
  logical.setTime(Time(41));
  EXPECT_EQ(clock.time(), Time(41));
}

TEST_F(ClockTest, BothConstructorsGiveTheSameClock) {
  OpenClock byReference("x", logical);
  OpenClock byPointer("x", &logical);
  EXPECT_EQ(&byReference.logicalClock(), &logical);
  EXPECT_EQ(&byPointer.logicalClock(), &logical);
  EXPECT_EQ(byPointer.resetTime(), Time(0));
  EXPECT_EQ(byPointer.intermediateTime(), Time(0));
}

TEST_F(ClockTest, ResettingARunningClockMakesItCountFrom0) {
  OpenClock clock("x", logical);
  logical.setTime(Time(40));
  clock.reset();
  EXPECT_EQ(clock.time(), Time(0));
  EXPECT_EQ(clock.resetTime(), Time(40));
  logical.setTime(Time(55));
  EXPECT_EQ(clock.time(), Time(15));
}

TEST_F(ClockTest, AStoppedClockKeepsItsReading) {
  Clock clock("x", logical);
  logical.setTime(Time(40));
  clock.stop();
  EXPECT_TRUE(clock.isStopped());
  logical.setTime(Time(90));
  EXPECT_EQ(clock.time(), Time(40));
}

TEST_F(ClockTest, StoppingTwiceKeepsTheFirstFrozenValue) {
  Clock clock("x", logical);
  logical.setTime(Time(40));
  clock.stop();
  logical.setTime(Time(90));
  clock.stop();
  EXPECT_EQ(clock.time(), Time(40));
  EXPECT_TRUE(clock.isStopped());
}

TEST_F(ClockTest, GoResumesFromTheFrozenValue) {
  Clock clock("x", logical);
  logical.setTime(Time(40));
  clock.stop();
  logical.setTime(Time(90));
  clock.go();
  EXPECT_FALSE(clock.isStopped());
  EXPECT_EQ(clock.time(), Time(40));
  logical.setTime(Time(100));
  EXPECT_EQ(clock.time(), Time(50));
}

TEST_F(ClockTest, GoOnARunningClockChangesNothing) {
  OpenClock clock("x", logical);
  logical.setTime(Time(40));
  clock.reset();
  clock.setIntermediateTime(Time(7));
  logical.setTime(Time(60));
  clock.go();
  EXPECT_EQ(clock.time(), Time(20));
  EXPECT_EQ(clock.resetTime(), Time(40));
}

TEST_F(ClockTest, AStoppedClockThatIsResetReads0UntilItGoesAndThenCountsUpFrom0) {
  Clock clock("x", logical);
  logical.setTime(Time(40));
  clock.stop();
  clock.reset();
  EXPECT_TRUE(clock.isStopped());
  EXPECT_EQ(clock.time(), Time(0)) << "after the reset";
  logical.setTime(Time(90));
  EXPECT_EQ(clock.time(), Time(0)) << "while stopped";
  clock.go();
  EXPECT_EQ(clock.time(), Time(0)) << "when it goes on";
  logical.setTime(Time(93));
  EXPECT_EQ(clock.time(), Time(3));
}

TEST_F(ClockTest, SettingTheTimeHoldsForRunningAndStoppedClocks) {
  Clock clock("x", logical);
  logical.setTime(Time(40));
  clock.setTime(Time(100));
  EXPECT_EQ(clock.time(), Time(100));
  logical.setTime(Time(41));
  EXPECT_EQ(clock.time(), Time(101));
  clock.stop();
  clock.setTime(Time(-5));
  EXPECT_TRUE(clock.isStopped());
  EXPECT_EQ(clock.time(), Time(-5)) << "while stopped";
  logical.setTime(Time(50));
  clock.go();
  EXPECT_EQ(clock.time(), Time(-5)) << "when it goes on";
}

TEST_F(ClockTest, ALogicalClockAtMaxGivesEveryRunningClockMax) {
  Clock fresh("x", logical);
  Clock reset("y", logical);
  Clock stopped("z", logical);
  logical.setTime(Time(40));
  reset.reset();
  stopped.stop();
  logical.setTime(Time::MAX);
  EXPECT_EQ(fresh.time(), Time::MAX) << "never reset";
  EXPECT_EQ(reset.time(), Time::MAX);
  EXPECT_EQ(stopped.time(), Time(40));
  fresh.reset();
  EXPECT_EQ(fresh.time(), Time::MAX) << "after a reset";
}

TEST_F(ClockTest, StopFreezesTheOverriddenReading) {
  FastClock clock("x", logical);
  logical.setTime(Time(40));
  clock.stop();
  EXPECT_EQ(static_cast<Clock&>(clock).Clock::time(), Time(80));
}

TEST_F(ClockTest, ProtectedSettersReachEveryField) {
  OpenClock clock("x", logical);
  logical.setTime(Time(100));
  clock.setResetTime(Time(30));
  EXPECT_EQ(clock.time(), Time(70)) << "before it is stopped";
  clock.setIntermediateTime(Time(9));
  clock.setStopped(true);
  EXPECT_TRUE(clock.isStopped());
  EXPECT_EQ(clock.time(), Time(9));
  clock.setStopped(false);
  EXPECT_EQ(clock.time(), Time(70)) << "when it goes on";
}

TEST_F(ClockTest, OverANullLogicalClockTheLogicalTimeCountsAs0) {
  Clock clock("x", nullptr);
  EXPECT_EQ(clock.time(), Time(0)) << "as it is made";
  clock.reset();
  EXPECT_EQ(clock.time(), Time(0)) << "after a reset";
  clock.setTime(Time(12));
  EXPECT_EQ(clock.time(), Time(12)) << "as it was set";
  clock.stop();
  clock.go();
  EXPECT_EQ(clock.time(), Time(12)) << "after going on";
  Clock other("y", logical);
  logical.setTime(Time(40));
  EXPECT_EQ(clock.drift(other), Time(28));
}

TEST_F(ClockTest, ClocksAreReadAndDeletedThroughTheirBase) {
  GenericClock* clock = new Clock("x", logical);
  logical.setTime(Time(6));
  EXPECT_EQ(clock->time(), Time(6));
  delete clock;
}
