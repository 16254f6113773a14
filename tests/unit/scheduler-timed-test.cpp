// The scheduler's own timed loop, with whole traces.

#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <string>

#include "kit/atoms.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"
#include "scripted-rand.hpp"

using namespace kit;
using Vesk::Time;

namespace {

constexpr int HALF = 1 << 30;     // a draw that gives half of the bound
constexpr int QUARTER = 1 << 29;  // a draw that gives a quarter

// A platform clock that the model can move, as if executing took time.
class SlowPlatform : public PlatformClock {
 public:
  SlowPlatform() : PlatformClock("slow") {}
  Time time() const override { return mNow; }
  void wait(const Time& t) override {
    if (t > mNow) mNow = t;
  }
  void pass(Time duration) { mNow += duration; }

 private:
  Time mNow;
};

// A system with one timed atom, and a scheduler over it.
struct TimedRun {
  explicit TimedRun(int mode = 0) : scheduler(&system, mode) {}

  void count(int firings, const Interval& when) { system.timedCounter("A", "k", firings, when); }
  // Every firing takes this long on the platform.
  void countSlowly(int firings, const Interval& when, Time duration) {
    TestAtom* atom = system.atom("A");
    system.rendezvous("k", atom->timedRule(
                               "go", when, [=] { return atom->fired < firings; },
                               [this, duration] { platform->pass(duration); }));
  }
  void useSlowPlatform() {
    delete scheduler.mLogicalClock;
    delete scheduler.mPlatformClock;
    platform = new SlowPlatform;
    scheduler.mPlatformClock = platform;
    scheduler.mLogicalClock = new LogicalClock("logical", *platform);
  }
  // The trace of the whole run; what goes to standard output is in `out`.
  std::string trace() {
    testing::internal::CaptureStdout();
    const std::string text = traceOf(scheduler, [this] { scheduler.run(); });
    out = testing::internal::GetCapturedStdout();
    return text;
  }

  System system;
  OpenScheduler scheduler;
  SlowPlatform* platform = nullptr;  // the scheduler's
  std::string out;
};

void expectCpuTime(const std::string& text) {
  const std::string title = "time : ";
  ASSERT_EQ(text.compare(0, title.size(), title), 0) << text;
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str() + title.size(), &end);
  EXPECT_GE(seconds, 0.0);
  EXPECT_STREQ(end, "\n");
  EXPECT_EQ(text.size() - text.find('.'), std::string(".000000\n").size());
}

}  // namespace

// ---- Whole traces ----------------------------------------------------------------------------

TEST(TimedLoopTest, ADelayableRunWaitsForEachFiringAndEndsInADeadlock) {
  TimedRun run;
  run.count(2, within(2000, 5000, DELAYABLE));
  run.scheduler.parse({});
  EXPECT_EQ(run.trace(),
            "scheduler [l: 0ms, r: 0ms] -> [l: 0ms, r: 0ms]"
            "choose System/k/A:go delayable (2ms,5ms) , wait for 2ms, execute...\n"
            "scheduler [l: 2ms, r: 2ms] -> [l: 2ms, r: 2ms]"
            "choose System/k/A:go delayable (4ms,7ms) , wait for 4ms, execute...\n"
            "scheduler [l: 4ms, r: 4ms] deadlock!\n");
  expectCpuTime(run.out);
  EXPECT_EQ(run.scheduler.platformClock()->time(), Time(4000));
}

TEST(TimedLoopTest, AnUrgentStepDoesNotCatchUpWithThePlatform) {
  TimedRun run;
  run.count(1, within(0, 0, EAGER));
  run.scheduler.parse({});
  EXPECT_EQ(run.trace(),
            "scheduler [l: 0ms, r: 0ms]"
            "choose System/k/A:go eager (0ms,0ms) , wait for 0ms, execute...\n"
            "scheduler [l: 0ms, r: 0ms] deadlock!\n");
}

TEST(TimedLoopTest, AnUntimedInteractionFiresAtOnce) {
  TimedRun run;
  run.system.counter("A", "k", 1);
  run.scheduler.parse({});
  EXPECT_EQ(run.trace(),
            "scheduler [l: 0ms, r: 0ms] -> [l: 0ms, r: 0ms]"
            "choose System/k/A:go lazy , wait for 0ms, execute...\n"
            "scheduler [l: 0ms, r: 0ms] deadlock!\n");
}

TEST(TimedLoopTest, InternalPortsFireInTheTimeOfTheirClock) {
  TimedRun run;
  TestAtom* atom = run.system.atom("A");
  atom->timedRule("tick", within(1000, 3000, DELAYABLE), [=] { return atom->fired < 2; })
      ->setInternal();
  run.scheduler.parse({});
  EXPECT_EQ(run.trace(),
            "scheduler [l: 0ms, r: 0ms] -> [l: 0ms, r: 0ms]"
            "choose A:tick delayable (1ms,3ms) , wait for 1ms, execute...\n"
            "scheduler [l: 1ms, r: 1ms] -> [l: 1ms, r: 1ms]"
            "choose A:tick delayable (2ms,4ms) , wait for 2ms, execute...\n"
            "scheduler [l: 2ms, r: 2ms] deadlock!\n");
}

TEST(TimedLoopTest, QuietKeepsTheDeadlockAndTheCpuTime) {
  TimedRun run;
  run.count(2, within(2000, 5000, DELAYABLE));
  run.scheduler.parse({"--quiet"});
  EXPECT_EQ(run.trace(), " deadlock!\n");
  expectCpuTime(run.out);
  EXPECT_EQ(run.scheduler.logicalClock()->time(), Time(4000));
}

TEST(TimedLoopTest, AllConnectorsDominatedIsADeadlock) {
  TimedRun run;
  run.count(2, within(2000, 5000, DELAYABLE));
  run.system.connectors()[0]->setDominated(true);
  run.scheduler.parse({});
  EXPECT_EQ(run.trace(), "scheduler [l: 0ms, r: 0ms] deadlock!\n");
}

TEST(TimedLoopTest, AnEmptySystemIsADeadlock) {
  TimedRun run;
  run.scheduler.parse({});
  EXPECT_EQ(run.trace(), "scheduler [l: 0ms, r: 0ms] deadlock!\n");
}

TEST(TimedLoopTest, TheLimitEndsTheLoopWithTheCpuTime) {
  TimedRun run;
  run.count(9, within(2000, 5000, DELAYABLE));
  run.scheduler.parse({"--limit", "1"});
  EXPECT_EQ(run.trace(),
            "scheduler [l: 0ms, r: 0ms] -> [l: 0ms, r: 0ms]"
            "choose System/k/A:go delayable (2ms,5ms) , wait for 2ms, execute...\n");
  expectCpuTime(run.out);
}

TEST(TimedLoopTest, WithoutClocksTheLoopRefusesToRun) {
  TimedRun run;
  run.count(9, within(2000, 5000, DELAYABLE));
  testing::internal::CaptureStderr();
  EXPECT_EQ(run.trace(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "vesk: a timed execution needs the clocks that parseCmdFile makes\n");
  EXPECT_EQ(run.out, "");
}

TEST(TimedLoopTest, ARunInExploreModeHasAnIdleClock) {
  TimedRun run;
  run.count(1, within(2000, 5000, DELAYABLE));
  run.scheduler.parse({"--explore", "--disable-output"});
  testing::internal::CaptureStdout();
  const std::string trace = traceOf(run.scheduler, [&] { run.scheduler.runRandomExecution(); });
  expectCpuTime(testing::internal::GetCapturedStdout());
  EXPECT_EQ(trace,
            "scheduler [l: 0ms, r: 0ms] -> [l: 0ms, r: 0ms]"
            "choose System/k/A:go delayable (2ms,5ms) , wait for 2ms, execute...\n"
            "scheduler [l: 2ms, r: 2ms] deadlock!\n");
}

// ---- Lateness --------------------------------------------------------------------------------

TEST(TimedLoopTest, ASlowExecutionMissesTheNextDeadline) {
  for (const bool quiet : {false, true}) {
    TimedRun run;
    run.countSlowly(9, within(2000, 5000, DELAYABLE), Time(10000));
    run.scheduler.parse({});
    run.scheduler.mQuiet = quiet;
    run.useSlowPlatform();
    EXPECT_EQ(run.trace(), quiet ? "miss deadline! (deadline 7ms)\n"
                                 : "scheduler [l: 0ms, r: 0ms] -> [l: 0ms, r: 0ms]choose "
                                   "System/k/A:go delayable (2ms,5ms) , wait for 2ms, execute...\n"
                                   "scheduler [l: 2ms, r: 12ms] -> [l: 12ms, r: 12ms]"
                                   "miss deadline! (deadline 7ms)\n")
        << quiet;
    expectCpuTime(run.out);
  }
}

TEST(TimedLoopTest, ADeadlineThatIsJustReachedIsNotMissed) {
  TimedRun run;
  run.countSlowly(2, within(2000, 5000, DELAYABLE), Time(5000));
  run.scheduler.parse({"--quiet"});
  run.useSlowPlatform();
  EXPECT_EQ(run.trace(), " deadlock!\n");
  EXPECT_EQ(run.scheduler.choiceNext(), Time(7000));
}

TEST(TimedLoopTest, TooMuchDriftEndsTheRun) {
  for (const bool quiet : {false, true}) {
    TimedRun run;
    run.countSlowly(9, within(0, 0, EAGER), Time(50000));
    run.scheduler.parse({});
    run.scheduler.mQuiet = quiet;
    run.useSlowPlatform();
    const std::string message =
        "too much drift beetween logical clock and real-time clock! (drift is 50ms)\n";
    EXPECT_EQ(run.trace(), quiet ? message
                                 : "scheduler [l: 0ms, r: 0ms]choose System/k/A:go eager (0ms,0ms) "
                                   ", wait for 0ms, execute...\n"
                                   "scheduler [l: 0ms, r: 50ms]" +
                                       message)
        << quiet;
    expectCpuTime(run.out);
    EXPECT_EQ(run.scheduler.drift(), Time(50000)) << quiet;
  }
}

TEST(TimedLoopTest, ADriftEqualToTheMaximumIsAccepted) {
  for (const int drift : {40, 41}) {
    TimedRun run;
    run.countSlowly(2, within(0, 0, EAGER), Time(drift));
    run.scheduler.parse({"--quiet"});
    run.useSlowPlatform();
    EXPECT_EQ(run.trace(), drift == 40 ? " deadlock!\n"
                                       : "too much drift beetween logical clock and real-time "
                                         "clock! (drift is 0ms)\n")
        << drift;
    EXPECT_EQ(run.scheduler.drift(), Time(drift)) << drift;
  }
}

TEST(TimedLoopTest, WithinTheToleranceOfADeadlineTheClockDoesNotCatchUp) {
  TimedRun run;
  run.count(1, within(2000, 5000, DELAYABLE));
  run.scheduler.parse({"--limit", "1"});
  run.scheduler.mTolerance = Time(5000);
  EXPECT_EQ(run.trace(),
            "scheduler [l: 0ms, r: 0ms]"
            "choose System/k/A:go delayable (2ms,5ms) , wait for 2ms, execute...\n");
  TimedRun earlier;
  earlier.count(1, within(2000, 5000, DELAYABLE));
  earlier.scheduler.parse({"--limit", "1"});
  earlier.scheduler.mTolerance = Time(4999);
  EXPECT_EQ(earlier.trace(),
            "scheduler [l: 0ms, r: 0ms] -> [l: 0ms, r: 0ms]"
            "choose System/k/A:go delayable (2ms,5ms) , wait for 2ms, execute...\n");
}

// ---- Random waiting --------------------------------------------------------------------------

TEST(TimedLoopTest, TheTargetOfARandomWaitIsAddedToTheCurrentTimeOnceMore) {
  TimedRun run(2);
  run.count(5, within(2000, 5000, DELAYABLE));
  run.scheduler.parse({"--seed", "17"});
  run.scheduler.mMaxWait = Time(3000);
  scriptDraws({HALF, QUARTER, HALF});
  EXPECT_EQ(run.trace(),
            "scheduler [l: 0ms, r: 0ms] -> [l: 0ms, r: 0ms], (random) wait for 1ms, "
            "choose System/k/A:go delayable (2ms,5ms) , wait for 2ms, execute...\n"
            // 2000 us + 750 us = 2750 us; the clock then waits until 2000 us + 2750 us = 4750 us
            "scheduler [l: 2ms, r: 2ms] -> [l: 2ms, r: 2ms], (random) wait for 2ms, "
            "choose System/k/A:go delayable (4ms,7ms) , wait for 4ms, execute...\n"
            // 4750 us + 6250 us = 11000 us, beyond the end of the interval at 9750 us
            "scheduler [l: 4ms, r: 4ms] -> [l: 4ms, r: 4ms], (random) wait for 6ms, "
            "choose  , wait for _, execute...\n"
            "scheduler [l: _, r: _] deadlock!\n");
  EXPECT_EQ(drawCount, 3);
  EXPECT_EQ(seeds.back(), 17u);
  EXPECT_EQ(run.scheduler.zeroWaiting(), 0);
}

TEST(TimedLoopTest, OnlyTheRandomModeWaitsAtRandom) {
  TimedRun run(0);
  run.count(5, within(2000, 5000, DELAYABLE));
  run.scheduler.parse({"--quiet"});
  scriptDraws({});
  run.trace();
  EXPECT_EQ(drawCount, 0);
  EXPECT_EQ(run.scheduler.zeroWaiting(), 1);
}

TEST(TimedLoopTest, ARandomWaitIsBoundedByTheMaximumAndByTheDeadline) {
  struct Case {
    Interval when;
    Time maxWait;
    int draw;
    Time firing;
  };
  const Case cases[] = {
      {within(0, 50, DELAYABLE), Time(100), HALF, Time(25)},
      {within(0, 500, DELAYABLE), Time(100), HALF, Time(50)},
      {within(0, 500, LAZY), Time(100), HALF, Time(50)},
      {within(0, 500, LAZY), Time(100), INT_MAX, Time(99)},
      {within(0, 500, LAZY), Time(100), 0, Time(0)},
      {within(0, 500, LAZY), Time(0), INT_MAX, Time(0)},
      {within(0, 500, LAZY), Time(8 - (1LL << 32)), HALF, Time(4)},  // the low 32 bits are 8
      {within(0, 500, LAZY), Time(-100), HALF, Time(0)},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(&one - cases);
    TimedRun run(2);
    run.count(5, one.when);
    run.scheduler.parse({"--quiet", "--limit", "1"});
    run.scheduler.mMaxWait = one.maxWait;
    scriptDraws({one.draw});
    EXPECT_EQ(run.trace(), "");
    EXPECT_EQ(run.scheduler.choiceNext(), one.firing);
    EXPECT_EQ(run.scheduler.logicalClock()->time(), one.firing);
  }
}

// ---- State trace -----------------------------------------------------------------------------

TEST(TimedLoopTest, TheStateIsTracedWithTheNumberOfTheStep) {
  const std::string fired =
      "scheduler [l: 0ms, r: 0ms]"
      "choose System/k/A:go eager (0ms,0ms) , wait for 0ms, execute...\n";
  TimedRun run;
  run.count(9, within(0, 0, EAGER));
  run.scheduler.parse({"--trace", "--limit", "2"});
  EXPECT_EQ(run.trace(), fired + "0 : 1;\n" + fired + "1 : 2;\n");
}

TEST(TimedLoopTest, WithoutALimitTheNumberOfTheStepStaysZero) {
  TimedRun run;
  run.count(2, within(0, 0, EAGER));
  run.scheduler.parse({"--trace", "--quiet"});
  EXPECT_EQ(run.trace(), "0 : 1;\n0 : 2;\n deadlock!\n");
}

TEST(TimedLoopTest, WithDisabledOutputNoStateIsTraced) {
  TimedRun run;
  run.count(2, within(0, 0, EAGER));
  run.scheduler.parse({"--trace", "--quiet", "--disable-output"});
  EXPECT_EQ(run.trace(), " deadlock!\n");
}

TEST(TimedLoopTest, TracingTheStateOfManyStepsKeepsNoMemory) {
  TimedRun run;
  run.count(INT_MAX, within(0, 0, EAGER));
  std::ofstream nowhere("/dev/null");
  run.scheduler.parse({"--trace", "--quiet", "--limit", "100"});
  run.scheduler.simout = &nowhere;
  testing::internal::CaptureStdout();
  run.scheduler.run();
  const std::size_t before = mallinfo2().uordblks;
  run.scheduler.mMaxSimLimit = 100100;
  run.scheduler.run();
  const std::size_t after = mallinfo2().uordblks;
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(run.scheduler.mSimStep, 100100);
  EXPECT_LT(after, before + 65536);
}

// ---- Untimed random choice -------------------------------------------------------------------

TEST(RandomChoiceTest, NothingIsChosenFromNothing) {
  System system;
  OpenScheduler scheduler(&system);
  EXPECT_EQ(scheduler.choose(), nullptr) << "nothing is legal";
  system.counter("A", "k", 1);
  system.connectors()[0]->setDominated(true);
  scheduler.mLegal = system.connectors()[0];
  EXPECT_EQ(scheduler.choose(), nullptr) << "all are dominated";
}

TEST(RandomChoiceTest, TheIndexIsTheDrawTimesTheCountInWholeParts) {
  constexpr int MOST = 1000;
  System system;
  for (int i = 0; i < MOST; ++i) system.counter("A", "k", 1);
  OpenScheduler scheduler(&system);
  std::deque<int> draws = {0, 1, HALF - 1, HALF};
  for (int i = 63; i >= 0; --i) draws.push_back(RAND_MAX - i);
  for (int count = 1; count <= MOST; ++count) {
    Connector* head = system.connectors()[MOST - count];
    if (count > 1) head->setNext(system.connectors()[MOST - count + 1]);
    scheduler.mLegal = head;
    scriptDraws(draws);
    for (const int draw : draws) {
      const long long index = static_cast<long long>(draw) * count / 2147483648LL;
      ASSERT_LT(index, count) << count << ' ' << draw;
      ASSERT_EQ(scheduler.choose(), system.connectors()[MOST - count + static_cast<int>(index)])
          << draw << " of " << count;
    }
  }
}

TEST(RandomChoiceTest, DominatedConnectorsAreNeitherCountedNorChosen) {
  System system;
  for (int i = 0; i < 5; ++i) system.counter("A", "k", 1);
  Array<Connector, true>& connectors = system.connectors();
  for (int i = 0; i < 4; ++i) connectors[i]->setNext(connectors[i + 1]);
  for (const int i : {0, 2, 4}) connectors[i]->setDominated(true);
  OpenScheduler scheduler(&system);
  scheduler.mLegal = connectors[0];
  scriptDraws({HALF - 1, HALF, RAND_MAX});
  EXPECT_EQ(scheduler.choose(), connectors[1]);
  EXPECT_EQ(scheduler.choose(), connectors[3]) << "the second draw";
  EXPECT_EQ(scheduler.choose(), connectors[3]) << "the third draw";
}
