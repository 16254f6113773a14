#include "linux-clock.hpp"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstddef>
#include <type_traits>
#include <vector>

using Vesk::Time;

namespace {

struct Reading {
  time_t seconds;
  int microseconds;
};

// What the wall clock shows, reading by reading; when it is used up, an hour more at each reading.
std::vector<Reading> script;
std::size_t readings = 0;
bool zoneAsked = false;
int pauses = 0;

void showOnTheWall(const std::vector<Reading>& shown) {
  script = shown;
  readings = 0;
  zoneAsked = false;
  pauses = 0;
}

bool scriptEnough() {
  return readings <= script.size();
}

class OpenLinuxClock : public LinuxClock {
 public:
  using LinuxClock::LinuxClock;
  using LinuxClock::setStart;
  using LinuxClock::start;
  using LinuxClock::TIME;
};

// Reads one microsecond more at each reading, without the wall clock.
class CountingClock : public LinuxClock {
 public:
  CountingClock() : LinuxClock("linux_clock") {}
  Time time() const override { return Time(++count); }
  mutable int count = 0;
};

}  // namespace

static_assert(!std::is_copy_constructible_v<LinuxClock> && !std::is_copy_assignable_v<LinuxClock>,
              "two clocks would free the same name");

// The system's wall clock and its ways to pause, in the place of the C library's.
extern "C" int gettimeofday(timeval* now, void* zone) noexcept {
  if (zone != nullptr) zoneAsked = true;
  const std::size_t index = readings++;
  Reading reading = script.empty() ? Reading{0, 0} : script.back();
  if (index < script.size()) {
    reading = script[index];
  } else {
    reading.seconds += static_cast<time_t>(3600 * (index - script.size() + 1));
  }
  now->tv_sec = reading.seconds;
  now->tv_usec = reading.microseconds;
  return 0;
}
extern "C" int sched_yield() noexcept {
  ++pauses;
  return 0;
}
extern "C" int usleep(useconds_t) {
  ++pauses;
  return 0;
}
extern "C" int nanosleep(const timespec*, timespec*) {
  ++pauses;
  return 0;
}

TEST(LinuxClockTest, ReadsTheMicrosecondsSinceItsConstruction) {
  showOnTheWall({{1700000000, 999999}, {1700000000, 999999}, {1700000001, 0}, {1700000003, 5}});
  const LinuxClock clock("linux_clock");
  EXPECT_STREQ(clock.name(), "linux_clock");
  EXPECT_EQ(clock.time(), Time(0));
  EXPECT_EQ(clock.time(), Time(1));
  EXPECT_EQ(clock.time(), Time(2000006));
  EXPECT_EQ(readings, 4u);
}

TEST(LinuxClockTest, AsksForNoTimeZone) {
  showOnTheWall({{10, 0}, {11, 0}});
  const LinuxClock clock("linux_clock");
  clock.time();
  EXPECT_FALSE(zoneAsked);
}

// 1700000000 s and 250000 us are 1700000000250000 us, far beyond 32 bits.
TEST(LinuxClockTest, TheAbsoluteReadingIsSecondsTimesAMillionPlusMicroseconds) {
  showOnTheWall({{0, 0}, {1700000000, 250000}, {-1, 999999}});
  const OpenLinuxClock clock("linux_clock");
  EXPECT_EQ(clock.TIME().microseconds(), 1700000000250000LL);
  EXPECT_EQ(clock.TIME().microseconds(), -1LL);
}

// In the last second that 32 bits can count: 2147483647 s.
TEST(LinuxClockTest, SecondsAreWidenedBeforeTheMultiplication) {
  showOnTheWall({{0, 0}, {2147483647, 999999}});
  const OpenLinuxClock clock("linux_clock");
  EXPECT_EQ(clock.TIME().microseconds(), 2147483647999999LL);
}

TEST(LinuxClockTest, RunsOnWhenTheSecondsOutgrow32Bits) {
  ASSERT_EQ(sizeof(time_t), 8u);
  const time_t beyond = static_cast<time_t>(2147483648LL);
  showOnTheWall({{2147483647, 0}, {beyond, 0}, {beyond, 7}});
  const OpenLinuxClock clock("linux_clock");
  EXPECT_EQ(clock.time(), Time(1000000));
  EXPECT_EQ(clock.TIME().microseconds(), 2147483648000007LL);
}

TEST(LinuxClockTest, WaitReturnsAsSoonAsTheTimeIsReached) {
  showOnTheWall({{50, 0}, {50, 0}, {50, 99}, {50, 100}, {50, 101}});
  LinuxClock clock("linux_clock");
  clock.wait(Time(100));
  EXPECT_EQ(readings, 4u);
}

TEST(LinuxClockTest, WaitReturnsWhenTheTimeIsOvershot) {
  showOnTheWall({{50, 0}, {50, 99}, {70, 0}});
  LinuxClock clock("linux_clock");
  clock.wait(Time(100));
  EXPECT_EQ(readings, 3u);
}

TEST(LinuxClockTest, WaitingForATimeThatIsPastReturnsAfterOneReading) {
  showOnTheWall({{50, 0}, {51, 0}});
  LinuxClock clock("linux_clock");
  clock.wait(Time(100));
  EXPECT_EQ(readings, 2u);
}

TEST(LinuxClockTest, WaitNeitherSleepsNorYieldsForExactReleaseTimes) {
  std::vector<Reading> shown = {{50, 0}};
  for (int i = 0; i <= 100; ++i) shown.push_back({50, i});
  showOnTheWall(shown);
  LinuxClock clock("linux_clock");
  clock.wait(Time(100));
  EXPECT_EQ(readings, 102u);
  EXPECT_EQ(pauses, 0);
}

TEST(LinuxClockTest, WaitReadsTheOverriddenTime) {
  showOnTheWall({{50, 0}});
  CountingClock clock;
  static_cast<PlatformClock&>(clock).wait(Time(7));
  EXPECT_EQ(clock.count, 7);
  EXPECT_EQ(readings, 1u);
}

TEST(LinuxClockTest, FollowsTheWallClockWhenThatIsSetBack) {
  showOnTheWall({{50, 0}, {40, 0}, {49, 999999}, {51, 0}});
  LinuxClock clock("linux_clock");
  EXPECT_EQ(clock.time(), Time(-10000000));
  clock.wait(Time(1000000));
  EXPECT_TRUE(scriptEnough());
  EXPECT_EQ(readings, 4u);
}

TEST(LinuxClockTest, TheStartIsTheWallClockReadingOfTheConstruction) {
  showOnTheWall({{50, 7}, {60, 0}});
  const OpenLinuxClock clock("linux_clock");
  EXPECT_EQ(clock.start(), Time(50000007));
  EXPECT_EQ(readings, 1u);
}

TEST(LinuxClockTest, TheStartCanBeSetToAnyWallClockReading) {
  showOnTheWall({{50, 0}, {60, 0}});
  OpenLinuxClock clock("linux_clock");
  clock.setStart(Time(59000000));
  EXPECT_EQ(clock.start(), Time(59000000));
  EXPECT_EQ(clock.time(), Time(1000000));
}

TEST(LinuxClockTest, ALogicalClockOverItCatchesUpAfterARealTimeStep) {
  showOnTheWall({{50, 0}, {50, 100}, {50, 130}});
  LinuxClock clock("linux_clock");
  LogicalClock logical("logical_clock", clock);
  logical.wait(Time(90));
  EXPECT_EQ(logical.time(), Time(90));
  logical.update();
  EXPECT_EQ(logical.time(), Time(130));
  EXPECT_TRUE(scriptEnough());
}
