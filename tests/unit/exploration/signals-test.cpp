// When a signal is an echo of the first, and when it kills: by a clock that the test sets.
#include "exploration/signals.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <vector>

using Vesk::SearchSignals;

namespace {

long long fakeMilliseconds = -1;  // negative: the clock is that of the system

itimerspec ticks = {};  // what a timer was set to last

}  // namespace

// Timers tick as they would.
extern "C" int timer_settime(timer_t timer, int flags, const itimerspec* times,
                             itimerspec* former) noexcept {
  using Function = int (*)(timer_t, int, const itimerspec*, itimerspec*);
  // Where times have more bits than words, this name stands for another function.
  static const char* const name =
      sizeof(std::time_t) > sizeof(long) ? "__timer_settime64" : "timer_settime";
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
  ticks = *times;
  return real(timer, flags, times, former);
}

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
  if (fakeMilliseconds < 0) return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
  now->tv_sec = static_cast<decltype(now->tv_sec)>(fakeMilliseconds / 1000);
  now->tv_nsec = static_cast<decltype(now->tv_nsec)>(fakeMilliseconds % 1000 * 1000000 + 999999);
  return 0;
}

namespace {

struct Arrival {
  long long at;
  int signal;
};

constexpr int ONE_REQUEST = 0;

// The signal that ends a process when these arrive during a search; ONE_REQUEST when none does.
int killedBy(const std::vector<Arrival>& arrivals) {
  const pid_t child = fork();
  if (child == 0) {
    SearchSignals signals;
    for (const Arrival& arrival : arrivals) {
      fakeMilliseconds = arrival.at;
      raise(arrival.signal);
    }
    _exit(signals.caught() == arrivals[0].signal ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
  return WIFSIGNALED(status) ? WTERMSIG(status) : ONE_REQUEST;
}

int again(long long first, long long later) {
  return killedBy({{first, SIGINT}, {first + later, SIGINT}});
}

}  // namespace

TEST(SearchSignalsTest, TheSameSignalWithinThirtyMillisecondsIsAnEcho) {
  // Within a second, over its end, and where milliseconds leave 31 and 32 bits.
  for (const long long first : {0LL, 5000LL, 5970LL, 5990LL, 5999LL, 86399999LL, 2147483640LL,
                                4294967290LL, 9999999999LL}) {
    EXPECT_EQ(ONE_REQUEST, again(first, 0)) << first;
    EXPECT_EQ(ONE_REQUEST, again(first, 29)) << first;
    EXPECT_EQ(ONE_REQUEST, again(first, 30)) << first;
    EXPECT_EQ(SIGINT, again(first, 31)) << first;
    EXPECT_EQ(SIGINT, again(first, 999)) << first;
    EXPECT_EQ(SIGINT, again(first, 1000)) << first;
    EXPECT_EQ(SIGINT, again(first, 1001)) << first;
    EXPECT_EQ(SIGINT, again(first, 60000)) << first;
  }
}

TEST(SearchSignalsTest, TheTimeOfAnEchoCountsFromTheFirst) {
  EXPECT_EQ(ONE_REQUEST, killedBy({{990, SIGTERM}, {1010, SIGTERM}, {1020, SIGTERM}}));
  EXPECT_EQ(SIGTERM, killedBy({{990, SIGTERM}, {1010, SIGTERM}, {1021, SIGTERM}}));
}

TEST(SearchSignalsTest, AnotherSignalIsNoEcho) {
  const int signals[] = {SIGINT, SIGTERM, SIGHUP, SIGXCPU};
  for (const int first : signals) {
    for (const int second : signals) {
      EXPECT_EQ(first == second ? ONE_REQUEST : second, killedBy({{7, first}, {7, second}}))
          << first << ' ' << second;
    }
  }
}

TEST(SearchSignalsTest, OtherSignalsKeepTheirActions) {
  for (const int other : {SIGQUIT, SIGALRM, SIGUSR1, SIGVTALRM}) {
    EXPECT_EQ(other, killedBy({{7, SIGINT}, {7, other}})) << other;
  }
}

TEST(SearchSignalsTest, SystemCallsAreInterruptedAgainAndAgainAfterTheRequest) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  SearchSignals signals;
  const int waits[] = {0, 1, 2};
  for (const int wait : waits) {
    if (wait == 0) {
      sigevent event = {};
      event.sigev_notify = SIGEV_SIGNAL;
      event.sigev_signo = SIGTERM;
      timer_t timer;
      const itimerspec soon = {{0, 0}, {0, 20000000}};
      ASSERT_EQ(0, timer_create(CLOCK_MONOTONIC, &event, &timer)) << wait;
      ASSERT_EQ(0, timer_settime(timer, 0, &soon, nullptr)) << wait;
    }
    char byte;
    errno = 0;
    EXPECT_EQ(-1, read(ends[0], &byte, 1)) << wait;
    EXPECT_EQ(EINTR, errno) << wait;
    EXPECT_EQ(SIGTERM, signals.caught()) << wait;
  }
  close(ends[0]);
  close(ends[1]);
}

// The grace and one tick make half a second at most.
TEST(SearchSignalsTest, TheTicksOfARequestComeTenTimesASecondOrMore) {
  const SearchSignals signals;
  ticks = {};
  raise(SIGINT);
  for (const timespec& time : {ticks.it_value, ticks.it_interval}) {
    EXPECT_EQ(0, time.tv_sec);
    EXPECT_LT(0, time.tv_nsec);
    EXPECT_GE(100000000, time.tv_nsec);
  }
}

TEST(SearchSignalsTest, AnEnumerationThatWasCutIsForgottenWithTheSearch) {
  {
    const SearchSignals signals;
    Vesk::enumerationCut = true;
  }
  EXPECT_FALSE(Vesk::enumerationCut);
}

TEST(SearchSignalsTest, TheGraceEndsAfterTheRequest) {
  EXPECT_FALSE(Vesk::graceIsOver()) << "without a search";
  {
    const SearchSignals signals;
    fakeMilliseconds = 5700;
    EXPECT_FALSE(Vesk::graceIsOver()) << "without a request";
    raise(SIGINT);
    EXPECT_FALSE(Vesk::graceIsOver()) << "at the request";
    fakeMilliseconds = 6100;
    EXPECT_FALSE(Vesk::graceIsOver()) << "400 ms after it";
    fakeMilliseconds = 6101;
    EXPECT_TRUE(Vesk::graceIsOver());
    fakeMilliseconds = -1;
  }
  EXPECT_FALSE(Vesk::graceIsOver()) << "the request is forgotten with the search";
  EXPECT_FALSE(Vesk::cutEnumeration());
}
