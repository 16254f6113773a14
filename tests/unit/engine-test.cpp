#include "engine.hpp"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "allocation-count.hpp"
#include "kit/scripted.hpp"
#include "kit/systems.hpp"
#include "priority.hpp"
#include "scripted-rand.hpp"

using namespace kit;

namespace {

using Vesk::Time;

constexpr int MAX_DRIFT = 40000;
constexpr int SEED = 1;
constexpr bool LOUD = false;
constexpr bool QUIET = true;

const char BUG[] =
    "Interactions computation error: deadlock found that does not exist! (there is an engine "
    "bug)\n";

// Lets a test see what an executer has chosen.
template <class Policy>
class Exposed : public Policy {
 public:
  using Policy::choice;
  using Policy::Policy;
  using Policy::time;
};

// Chooses what the test says.
class Scripting : public Executer {
 public:
  using Executer::Executer;

  std::function<Executable*()> pick;
  Time at;

 protected:
  void choose() override {
    setChoice(pick());
    setTime(at);
  }
};

// A system of one atom whose internal ports the test adds, over clocks that the test sets.
class EngineTest : public testing::Test {
 protected:
  EngineTest() { scriptDraws({}); }

  ScriptedPort& add(const char* name, const Window& times = {}) {
    return atom.add(name, times, &log);
  }
  template <class Policy>
  Exposed<Policy> make(Filter& scheduler, unsigned int limit, bool quiet = LOUD) {
    return Exposed<Policy>(root, logical, semantics, scheduler, quiet, limit, out, SEED,
                           Time(MAX_DRIFT));
  }
  // The trace of a run by earliest deadline first.
  std::string trace(unsigned int limit = 1, bool quiet = LOUD) {
    make<StandardExecuter>(earliestDeadline, limit, quiet).run();
    return out.str();
  }

  Log log;
  Compound root{"root", nullptr};
  ScriptedAtom& atom = *new ScriptedAtom(root);
  ScriptedClock platform;
  LogicalClock logical{"logical", platform};
  StandardSemantics semantics;
  EDFScheduler earliestDeadline;
  EmptyScheduler everything;
  std::ostringstream out;
};

class RunTest : public EngineTest {};
class StandardExecuterTest : public EngineTest {};
class RandomExecuterTest : public EngineTest {};
class InitializeTest : public EngineTest {};
class ExplorerTest : public EngineTest {};

std::string limitLine(int n) {
  return "Execution limit size (" + std::to_string(n) + ") reached!\n";
}

// What it is made of

class Opened : public Scripting {
 public:
  using Scripting::choice;
  using Scripting::deadlock;
  using Scripting::interactions;
  using Scripting::logicalClock;
  using Scripting::maxDrift;
  using Scripting::maxSimLimit;
  using Scripting::platformClock;
  using Scripting::quiet;
  using Scripting::randSeed;
  using Scripting::scheduler;
  using Scripting::Scripting;
  using Scripting::semantics;
  using Scripting::setMaxDrift;
  using Scripting::simout;
  using Scripting::system;
  using Scripting::time;
  using Scripting::wait;
};

TEST_F(RunTest, AnExecuterHoldsWhatItWasGiven) {
  Opened executer(root, logical, semantics, earliestDeadline, QUIET, 7, out, 9, Time(11));
  EXPECT_EQ(&executer.system(), &root);
  EXPECT_EQ(&executer.logicalClock(), &logical);
  EXPECT_EQ(&executer.platformClock(), &platform);
  EXPECT_EQ(&executer.semantics(), &semantics);
  EXPECT_EQ(&executer.scheduler(), &earliestDeadline);
  EXPECT_TRUE(executer.quiet());
  EXPECT_EQ(executer.maxSimLimit(), 7u);
  EXPECT_EQ(&executer.simout(), &out);
  EXPECT_EQ(executer.randSeed(), 9);
  EXPECT_EQ(executer.maxDrift(), Time(11));
  executer.setMaxDrift(Time(12));
  EXPECT_EQ(executer.maxDrift(), Time(12));
}

TEST_F(RunTest, AnExecuterStartsWithoutChoiceAndWithAllTimesAllowed) {
  Opened executer(root, logical, semantics, everything, LOUD, 0, out, SEED, Time(MAX_DRIFT));
  EXPECT_EQ(executer.choice(), nullptr);
  EXPECT_EQ(executer.time(), Time(0));
  EXPECT_EQ(executer.interactions().connector(), nullptr);
  EXPECT_EQ(executer.interactions().internals(), nullptr);
  EXPECT_TRUE(executer.deadlock());
  EXPECT_EQ(executer.wait().low(), Time::MIN);
  EXPECT_EQ(executer.wait().high(), Time::MAX);
  EXPECT_EQ(executer.wait().urgency(), LAZY);
  EXPECT_FALSE(executer.wait().dominated());
  EXPECT_TRUE(executer.wait().observable());
}

// The trace line

TEST_F(RunTest, NothingEnabledEndsTheLineWithDeadlockRightAfterTheTime) {
  EXPECT_EQ(trace(0), "scheduler [0ms] deadlock!\n");
}

TEST_F(RunTest, DeadlockIsReportedBeforeThePlatformIsRead) {
  ScriptedClock logging({Time(7000)}, &log);
  LogicalClock clock("logical", logging);
  StandardExecuter(root, clock, semantics, everything, LOUD, 0, out, SEED, Time(MAX_DRIFT)).run();
  EXPECT_EQ(out.str(), "scheduler [0ms] deadlock!\n");
  EXPECT_EQ(log, Log{});
}

TEST_F(RunTest, AStepOfTheCurrentTimeHasNothingBetweenTimeAndExecutable) {
  add("a");
  EXPECT_EQ(trace(), "scheduler [0ms] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, AChoiceThatIsEnabledLaterIsWaitedFor) {
  add("a", {Time(5000)});
  EXPECT_EQ(trace(2),
            "scheduler [0ms] , wait for 5ms, a lazy (_,_)\n"
            "scheduler [5ms] a lazy (_,_)\n" +
                limitLine(2));
  EXPECT_EQ(logical.time(), Time(5000));
}

TEST_F(RunTest, AStepThatMayWaitCatchesUpWithThePlatform) {
  add("a");
  platform.set({Time(3000)});
  EXPECT_EQ(trace(), "scheduler [0ms-> 3ms] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, ACatchUpBelowAMillisecondIsShownAsAChange) {
  add("a");
  platform.set({Time(1)});
  EXPECT_EQ(trace(), "scheduler [0ms-> 0ms] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, ACatchUpAndAWaitStandInOneLine) {
  add("a", {Time(5000)});
  platform.set({Time(3000)});
  EXPECT_EQ(trace(), "scheduler [0ms-> 3ms] , wait for 5ms, a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, AStepThatMustFireAtOnceShowsAPlatformThatDiffers) {
  add("a", {Time(0), Time::MAX, Time(0)});
  platform.set({Time(2000)});
  EXPECT_EQ(trace(), "scheduler [0ms (platform=2ms)] a lazy (_,_)\n" + limitLine(1));
  EXPECT_EQ(logical.time(), Time(0));
}

TEST_F(RunTest, AStepThatMustFireAtOnceShowsAPlatformThatIsBehind) {
  add("a", {Time(0), Time::MAX, Time(0)});
  platform.set({Time(-2000)});
  EXPECT_EQ(trace(), "scheduler [0ms (platform=-2ms)] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, AStepThatMustFireAtOnceShowsNoPlatformThatAgrees) {
  add("a", {Time(0), Time::MAX, Time(0)});
  EXPECT_EQ(trace(), "scheduler [0ms] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, ADeadlineOneUnitAheadLetsTheStepCatchUp) {
  add("a", {Time(0), Time::MAX, Time(1)});
  platform.set({Time(1)});
  EXPECT_EQ(trace(), "scheduler [0ms-> 0ms] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, ATimeThatIsInfiniteIsPrintedAsAnUnderscore) {
  platform.set({Time::MAX});
  logical.update();
  EXPECT_EQ(trace(0), "scheduler [_] deadlock!\n");
}

TEST_F(RunTest, EveryTraceLineIsFlushed) {
  class FlushCounter : public std::stringbuf {
   public:
    int flushes = 0;

   protected:
    int sync() override {
      ++flushes;
      return 0;
    }
  } buffer;
  std::ostream stream(&buffer);
  add("a");
  StandardExecuter(root, logical, semantics, everything, LOUD, 3, stream, SEED, Time(MAX_DRIFT))
      .run();
  EXPECT_EQ(buffer.flushes, 4);
}

// The step limit

TEST_F(RunTest, ALimitOfThreeFiresExactlyThreeExecutables) {
  int fired = 0;
  add("a").onExecute = [&] { ++fired; };
  const std::string line = "scheduler [0ms] a lazy (_,_)\n";
  EXPECT_EQ(trace(3), line + line + line + limitLine(3));
  EXPECT_EQ(fired, 3);
}

TEST_F(RunTest, ALimitOfZeroRunsUntilSomethingElseEndsIt) {
  int fired = 0;
  ScriptedPort& port = add("a");
  port.onExecute = [&] {
    if (++fired == 50) port.window.from = Time::MAX;
  };
  const std::string text = trace(0);
  EXPECT_EQ(fired, 50);
  EXPECT_EQ(text.substr(text.size() - 26), "scheduler [0ms] deadlock!\n");
}

TEST_F(RunTest, ADeadlockBeforeTheLimitMentionsNoLimit) {
  ScriptedPort& port = add("a");
  port.onExecute = [&] { port.window.until = Time(-1); };
  EXPECT_EQ(trace(2), "scheduler [0ms] a lazy (_,_)\nscheduler [0ms] deadlock!\n");
}

TEST_F(RunTest, TheLimitCountsFromZeroInEveryRun) {
  add("a");
  Exposed<StandardExecuter> executer = make<StandardExecuter>(everything, 2);
  executer.run();
  executer.run();
  const std::string line = "scheduler [0ms] a lazy (_,_)\n";
  EXPECT_EQ(out.str(), line + line + limitLine(2) + line + line + limitLine(2));
}

TEST_F(RunTest, AnUrgentPortThatNeverMovesOnRunsToTheLimitInNoTime) {
  int fired = 0;
  ScriptedPort& port = *new ScriptedPort("a", {Time(0), Time::MAX, Time(0)}, nullptr, &atom);
  atom.addPort(&port);
  port.onExecute = [&] { ++fired; };
  EXPECT_EQ(trace(100000, QUIET), "");
  EXPECT_EQ(fired, 100000);
  EXPECT_EQ(logical.time(), Time(0));
}

// Urgency

TEST_F(RunTest, CatchingUpBeyondADeadlineViolatesUrgency) {
  add("a", {Time(0), Time::MAX, Time(5000)});
  platform.set({Time(6000)});
  EXPECT_EQ(trace(0),
            "scheduler [0ms-> 6ms] urgency violated! (at least one transition is urgent at 5ms)\n");
  EXPECT_EQ(drawCount, 0);
}

TEST_F(RunTest, CatchingUpOneUnitBeyondADeadlineViolatesUrgency) {
  add("a", {Time(0), Time::MAX, Time(5000)});
  platform.set({Time(5001)});
  EXPECT_EQ(trace(0),
            "scheduler [0ms-> 5ms] urgency violated! (at least one transition is urgent at 5ms)\n");
}

TEST_F(RunTest, CatchingUpExactlyToTheDeadlineIsInTime) {
  add("a", {Time(0), Time::MAX, Time(5000)});
  platform.set({Time(5000)});
  EXPECT_EQ(trace(), "scheduler [0ms-> 5ms] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, ADeadlineThatHasPassedEndsTheRunAsDeadlock) {
  logical.wait(Time(9000));
  add("a", {Time(0), Time::MAX, Time::MAX});
  add("late", {Time::MAX, Time::MAX, Time(8999)});
  EXPECT_EQ(trace(0), "scheduler [9ms] deadlock!\n");
}

TEST_F(RunTest, UrgencyIsCheckedBeforeDrift) {
  add("a", {Time(0), Time::MAX, Time(5000)});
  platform.set({Time(6000), Time(3600000000LL)});
  EXPECT_EQ(trace(0),
            "scheduler [0ms-> 6ms] urgency violated! (at least one transition is urgent at 5ms)\n");
}

// Drift

TEST_F(RunTest, ADriftOfExactlyTheMaximumIsAccepted) {
  add("a", {Time(0), Time::MAX, Time(0)});
  platform.set({Time(MAX_DRIFT)});
  EXPECT_EQ(trace(), "scheduler [0ms (platform=40ms)] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, ADriftOneUnitAboveTheMaximumEndsTheRun) {
  add("a", {Time(0), Time::MAX, Time(0)});
  platform.set({Time(MAX_DRIFT + 1)});
  EXPECT_EQ(trace(0),
            "scheduler [0ms (platform=40ms)] too much drift beetween logical clock and real-time "
            "clock! (drift is 40ms)\n");
}

TEST_F(RunTest, TheDriftIsReadAfterTheCatchUp) {
  add("a");
  platform.set({Time(1000), Time(MAX_DRIFT + 2000)});
  EXPECT_EQ(trace(0),
            "scheduler [0ms-> 1ms] too much drift beetween logical clock and real-time clock! "
            "(drift is 41ms)\n");
}

TEST_F(RunTest, APlatformFarBehindIsNoDrift) {
  logical.wait(Time(100000));
  platform.set({Time(0)});
  add("a", {Time(0), Time::MAX, Time(100000)});
  EXPECT_EQ(trace(), "scheduler [100ms (platform=0ms)] a lazy (_,_)\n" + limitLine(1));
}

// A platform clock that jumps

TEST_F(RunTest, AClockSetBackTakesTheLogicalTimeWithIt) {
  add("a");
  logical.wait(Time(10000));
  platform.set({Time(3000)});
  EXPECT_EQ(trace(), "scheduler [10ms-> 3ms] a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, AClockSetBackByAnHourIsWaitedForAgain) {
  logical.wait(Time(1000));
  add("a", {Time(2000), Time::MAX, Time(2000)});
  platform.set({Time(-3600000000LL)});
  EXPECT_EQ(trace(), "scheduler [1ms-> -3600000ms] , wait for 2ms, a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RunTest, AClockSetForwardByAnHourIsTooMuchDriftForAnUrgentStep) {
  add("a", {Time(0), Time::MAX, Time(0)});
  platform.set({Time(3600000000LL)});
  EXPECT_EQ(trace(0),
            "scheduler [0ms (platform=3600000ms)] too much drift beetween logical clock and "
            "real-time clock! (drift is 3600000ms)\n");
}

TEST_F(RunTest, AClockSetForwardBeyondInfinityViolatesAnInfiniteDeadline) {
  add("a");
  platform.set({Time(3600000000LL)});
  EXPECT_EQ(trace(0),
            "scheduler [0ms-> 3600000ms] urgency violated! (at least one transition is urgent at "
            "_)\n");
}

TEST_F(RunTest, AFrozenPlatformLetsTheModelRunAhead) {
  ScriptedPort& port = add("a", {Time(1000), Time::MAX, Time(1000)});
  platform.stuck = true;
  port.onExecute = [&] {
    port.window.from = port.window.from + Time(1000);
    port.window.due = port.window.from;
  };
  EXPECT_EQ(trace(2),
            "scheduler [0ms] , wait for 1ms, a lazy (_,_)\n"
            "scheduler [1ms-> 0ms] , wait for 2ms, a lazy (_,_)\n" +
                limitLine(2));
}

// What a step asks, and in which order

TEST_F(RunTest, AStepThatMayWaitAsksInThisOrder) {
  ScriptedClock logging({Time(0)}, &log);
  LogicalClock clock("logical", logging);
  add("a", {Time(5000)});
  StandardExecuter(root, clock, semantics, earliestDeadline, LOUD, 1, out, SEED, Time(MAX_DRIFT))
      .run();
  EXPECT_EQ(log, (Log{"a.deadline(0)", "a.next(0)",                                //
                      "platform.time(0)",                                          // catch-up
                      "a.deadline(0)", "a.next(0)",                                //
                      "platform.time(0)",                                          // drift
                      "a.next(0)", "a.deadline(0)", "a.next(0)", "a.deadline(0)",  // scheduler
                      "a.next(0)",                                                 // choice
                      "platform.wait(5000)", "a.actuate(5000)", "a.execute(5000)"}));
}

TEST_F(RunTest, AStepThatMustFireAtOnceAsksInThisOrder) {
  ScriptedClock logging({Time(0)}, &log);
  LogicalClock clock("logical", logging);
  add("a", {Time(0), Time::MAX, Time(0)});
  StandardExecuter(root, clock, semantics, everything, LOUD, 1, out, SEED, Time(MAX_DRIFT)).run();
  EXPECT_EQ(log, (Log{"a.deadline(0)", "a.next(0)", "platform.time(0)", "platform.time(0)",
                      "a.next(0)", "a.actuate(0)", "a.execute(0)"}));
}

TEST_F(RunTest, AQuietStepThatMustFireAtOnceReadsThePlatformForTheDriftAlone) {
  ScriptedClock logging({Time(0)}, &log);
  LogicalClock clock("logical", logging);
  add("a", {Time(0), Time::MAX, Time(0)});
  StandardExecuter(root, clock, semantics, everything, QUIET, 1, out, SEED, Time(MAX_DRIFT)).run();
  EXPECT_EQ(log, (Log{"a.deadline(0)", "a.next(0)", "platform.time(0)", "a.next(0)", "a.actuate(0)",
                      "a.execute(0)"}));
}

TEST_F(RunTest, TheSecondFilteringStartsAtTheCaughtUpTimeAndKeepsMarks) {
  add("late", {Time(10000)});
  add("a", {Time(0), Time::MAX, Time(5000)});
  platform.set({Time(2000)});
  make<StandardExecuter>(everything, 1).run();
  EXPECT_EQ(log, (Log{"a.deadline(0)", "late.deadline(0)", "a.next(0)", "late.next(0)",  //
                      "a.deadline(2000)", "a.next(2000)",                                //
                      "a.next(2000)", "a.actuate(2000)", "a.execute(2000)"}));
}

TEST_F(RunTest, AllMarksAreClearedAtTheStartOfEveryStep) {
  ScriptedPort& first = add("first", {Time(0), Time::MAX, Time(9000)});
  ScriptedPort& second = add("second", {Time(0), Time::MAX, Time(8000)});
  second.onExecute = [&] {
    EXPECT_EQ(first.mark(), 2u);
    second.window.due = Time(9500);
  };
  first.setMark(~0u);
  EXPECT_EQ(trace(2),
            "scheduler [0ms] second lazy (_,_)\n"
            "scheduler [0ms] first lazy (_,_)\n" +
                limitLine(2));
}

TEST_F(RunTest, TheExecutableFiresAtTheChosenTimeEvenWhenThatHasPassed) {
  ScriptedPort& port = add("a");
  logical.wait(Time(9000));
  Scripting executer(root, logical, semantics, everything, LOUD, 1, out, SEED, Time(MAX_DRIFT));
  executer.pick = [&] { return &port; };
  executer.at = Time(4000);
  log.clear();
  executer.run();
  EXPECT_EQ(out.str(), "scheduler [9ms] a lazy (_,_)\n" + limitLine(1));
  EXPECT_EQ(log.back(), "a.execute(4000)");
  EXPECT_EQ(logical.time(), Time(9000));
}

TEST_F(RunTest, AnEmptyChoiceEndsTheRun) {
  add("a");
  Scripting executer(root, logical, semantics, everything, LOUD, 0, out, SEED, Time(MAX_DRIFT));
  executer.pick = [] { return nullptr; };
  executer.at = Time(5000);
  executer.run();
  EXPECT_EQ(out.str(), std::string("scheduler [0ms] ") + BUG);
  EXPECT_EQ(logical.time(), Time(0));
}

TEST_F(RunTest, WhatExpiredDuringTheCatchUpLeavesAnEmptyChoice) {
  add("a", {Time(0), Time(2000)});
  platform.set({Time(3000)});
  EXPECT_EQ(trace(0), std::string("scheduler [0ms-> 3ms] ") + BUG);
}

// Quiet runs

TEST_F(RunTest, AQuietDeadlockIsSilent) {
  EXPECT_EQ(trace(0, QUIET), "");
}

TEST_F(RunTest, QuietStepsAndAQuietLimitAreSilent) {
  add("a", {Time(5000)});
  EXPECT_EQ(trace(3, QUIET), "");
  EXPECT_EQ(logical.time(), Time(5000));
}

TEST_F(RunTest, AQuietUrgencyViolationIsSilent) {
  add("a", {Time(0), Time::MAX, Time(5000)});
  platform.set({Time(6000)});
  EXPECT_EQ(trace(0, QUIET), "");
}

TEST_F(RunTest, AQuietDriftIsSilent) {
  add("a", {Time(0), Time::MAX, Time(0)});
  platform.set({Time(MAX_DRIFT + 1)});
  EXPECT_EQ(trace(0, QUIET), "");
}

// Deliberate: the message of an empty choice is written in quiet runs too.
TEST_F(RunTest, TheMessageOfAnEmptyChoiceIsWrittenInQuietRunsToo) {
  add("a", {Time(0), Time(2000)});
  platform.set({Time(3000)});
  EXPECT_EQ(trace(0, QUIET), BUG);
}

#if VESK_COUNTS_ALLOCATIONS

TEST_F(RunTest, QuietStepsAllocateNothing) {
  SimuClock simulated("simulated");
  LogicalClock clock("logical", simulated);
  int fired[2] = {0, 0};
  for (int i = 0; i < 2; ++i) {
    ScriptedPort& port = *new ScriptedPort("p", {Time(0), Time::MAX, Time(5)}, nullptr, &atom);
    atom.addPort(&port);
    port.onExecute = [&port, &fired, i] {
      ++fired[i];
      port.window.from += Time(7 - i);
      port.window.due = port.window.from + Time(5);
    };
  }
  StandardExecuter standard(root, clock, semantics, earliestDeadline, QUIET, 1000, out, SEED,
                            Time(MAX_DRIFT));
  RandomExecuter random(root, clock, semantics, everything, QUIET, 1000, out, SEED,
                        Time(MAX_DRIFT));
  standard.run();
  const long before = allocationCount;
  standard.run();
  random.run();
  EXPECT_EQ(allocationCount, before);
  EXPECT_EQ(fired[0] + fired[1], 3000);
  EXPECT_GT(fired[0], 1000);
  EXPECT_GT(fired[1], 1000);
}

#endif

// Uniform choice

TEST_F(StandardExecuterTest, TheIndexIsTheCountTimesTheDrawInThirtyFirstParts) {
  for (long long count : {1, 2, 3, 5, 7, 10, 64, 100, 333, 999, 1000}) {
    Compound system("system", nullptr);
    ScriptedAtom& holder = *new ScriptedAtom(system);
    long long fired = -1;
    // The list has the port added last in front.
    for (long long i = count - 1; i >= 0; --i) {
      holder.add("p").onExecute = [&fired, i] { fired = i; };
    }
    StandardExecuter executer(system, logical, semantics, everything, QUIET, 1, out, SEED,
                              Time(MAX_DRIFT));
    std::deque<int> draws{0, 1, 1 << 29, 1 << 30, (1 << 30) - 1};
    for (int below = 63; below >= 0; --below) draws.push_back(RAND_MAX - below);
    for (int draw : draws) {
      scriptDraws({draw});
      executer.run();
      ASSERT_EQ(fired, (count * draw) >> 31) << count << " executables, draw " << draw;
      ASSERT_EQ(drawCount, 1) << count << ' ' << draw;
    }
  }
}

TEST_F(StandardExecuterTest, OneExecutableIsDrawnForAsWell) {
  add("a");
  trace(5);
  EXPECT_EQ(drawCount, 5);
}

TEST_F(StandardExecuterTest, NothingToChooseFromDrawsNothing) {
  add("a", {Time(0), Time(2000)});
  platform.set({Time(3000)});
  Exposed<StandardExecuter> executer = make<StandardExecuter>(everything, 0);
  executer.run();
  EXPECT_EQ(executer.choice(), nullptr);
  EXPECT_EQ(executer.time(), Time(3000));
  EXPECT_EQ(drawCount, 0);
}

TEST_F(StandardExecuterTest, TheChoiceFiresAtItsEarliestTime) {
  add("a", {Time(4000)});
  Exposed<StandardExecuter> executer = make<StandardExecuter>(everything, 1);
  executer.run();
  EXPECT_EQ(executer.time(), Time(4000));
}

TEST_F(StandardExecuterTest, OnlyWhatTheSchedulerKeptIsChosen) {
  add("a", {Time(0), Time::MAX, Time(2000)});
  add("b", {Time(0), Time::MAX, Time(3000)});
  scriptDraws({0, RAND_MAX});
  EXPECT_EQ(trace(2),
            "scheduler [0ms] a lazy (_,_)\nscheduler [0ms] a lazy (_,_)\n" + limitLine(2));
}

// Nobody notes a constraint that is written in place while its atom stands still. What is drawn is
// asked once more, and when it answers something else all the others are, in this step and in the
// next one.
TEST_F(StandardExecuterTest, WhatHasBeenDrawnInVainIsNotCountedInTheNextStep) {
  System system("R");
  std::vector<Port*> ports;
  std::vector<int> fired;
  for (int i = 0; i < 12; ++i) {
    const auto effect = [&, i] {
      fired.push_back(i);
      if (fired.size() == 4) (*ports[5]->constraint())[0] = within(-9, -5, DELAYABLE);
    };
    ports.push_back(system.atom("A")->timedRule(
        "t", within(0, 1000000, DELAYABLE), [] { return true; }, effect));
    ports.back()->setInternal();
  }
  StandardExecuter executer(system, logical, semantics, everything, QUIET, 6, out, SEED,
                            Time(MAX_DRIFT));
  executer.initialize();
  const auto part = [](double share) { return static_cast<int>(share * 0x1p31); };
  // The list begins with port 11. Of twelve the fifth draw is port 5, the only one that is gone,
  // and of the eleven that are left port 6. The sixth is number 8 of both, port 2; of twelve that
  // were port 3.
  scriptDraws({0, 0, 0, 0, part(0.54), part(0.74)});
  executer.run();
  EXPECT_EQ(fired, std::vector<int>({11, 11, 11, 11, 6, 2}));
}

// Random time

TEST_F(RandomExecuterTest, TheTimeIsTheDrawnPartOfTheInterval) {
  add("a", {Time(0), Time::MAX, Time(10000)});
  scriptDraws({1 << 30, 0});
  make<RandomExecuter>(everything, 1).run();
  EXPECT_EQ(out.str(), "scheduler [0ms] , wait for 5ms, a lazy (_,_)\n" + limitLine(1));
  EXPECT_EQ(drawCount, 2);
}

// Deliberate: the latest possible time is never drawn unless it is the only one.
TEST_F(RandomExecuterTest, TheLatestPossibleTimeIsNeverDrawnUnlessItIsTheOnlyOne) {
  ScriptedPort& port = add("a", {Time(0), Time::MAX, Time(10000)});
  scriptDraws({RAND_MAX, 0});
  Exposed<RandomExecuter> executer = make<RandomExecuter>(everything, 1);
  executer.run();
  EXPECT_EQ(executer.time(), Time(9999)) << "due at 10000";
  port.window.due = Time(9999);
  scriptDraws({RAND_MAX, 0});
  executer.run();
  EXPECT_EQ(executer.time(), Time(9999)) << "due at 9999";
}

TEST_F(RandomExecuterTest, TheTimeIsTruncated) {
  add("a", {Time(0), Time::MAX, Time(10)});
  Exposed<RandomExecuter> executer = make<RandomExecuter>(everything, 1);
  // 10 * 214748365 / 2^31 is just above 1, with one less just below.
  scriptDraws({214748364, 0});
  executer.run();
  EXPECT_EQ(executer.time(), Time(0));
  scriptDraws({214748365, 0});
  executer.run();
  EXPECT_EQ(executer.time(), Time(1));
}

TEST_F(RandomExecuterTest, TheDrawnTimeIsExactForEveryWidth) {
  ScriptedPort& port = add("a");
  Exposed<RandomExecuter> executer = make<RandomExecuter>(everything, 1, QUIET);
  for (long long width :
       {1LL, 2LL, 3LL, 1000LL, 999983LL, 40000001LL, 2147483641LL, 2147483646LL}) {
    for (int draw : {0, 1, 2, 3, 715827882, 715827883, 1 << 30, (1 << 30) - 1, 1431655765,
                     RAND_MAX - 2, RAND_MAX - 1, RAND_MAX}) {
      logical.reset();
      platform.set({Time(0)});
      port.window.due = Time(width);
      scriptDraws({draw, 0});
      executer.run();
      ASSERT_EQ(executer.time(), Time((width * draw) >> 31)) << width << " wide, draw " << draw;
    }
  }
}

TEST_F(RandomExecuterTest, WithoutADeadlineTheWholeHorizonIsDrawnFrom) {
  add("a");
  scriptDraws({RAND_MAX, 0});
  Exposed<RandomExecuter> executer = make<RandomExecuter>(everything, 1);
  executer.run();
  // (2^31 - 1)^2 / 2^31, truncated.
  EXPECT_EQ(executer.time(), Time(2147483646));
}

// The width of an interval without upper bound is infinite wherever it begins.
TEST_F(RandomExecuterTest, WithoutADeadlineALaterStepSoonDrawsATimeBeyondInfinity) {
  add("a");
  scriptDraws({1 << 30, 0, (1 << 30) + 2, 0});
  make<RandomExecuter>(everything, 0).run();
  EXPECT_EQ(out.str(), std::string("scheduler [0ms] , wait for 1073741ms, a lazy (_,_)\n"
                                   "scheduler [1073741ms] ") +
                           BUG);
  EXPECT_EQ(drawCount, 3);
}

TEST_F(RandomExecuterTest, TheTimeIsDrawnEvenWhenOnlyOneIsPossible) {
  add("a", {Time(0), Time::MAX, Time(0)});
  scriptDraws({RAND_MAX, RAND_MAX});
  make<RandomExecuter>(everything, 1).run();
  EXPECT_EQ(out.str(), "scheduler [0ms] a lazy (_,_)\n" + limitLine(1));
  EXPECT_EQ(drawCount, 2);
}

TEST_F(RandomExecuterTest, WhatHasExpiredAtTheDrawnTimeIsNotChosen) {
  add("short", {Time(0), Time(4000)});
  add("long", {Time(0), Time::MAX, Time(10000)});
  scriptDraws({1 << 30, RAND_MAX});
  make<RandomExecuter>(everything, 1).run();
  EXPECT_EQ(out.str(), "scheduler [0ms] , wait for 5ms, long lazy (_,_)\n" + limitLine(1));
}

TEST_F(RandomExecuterTest, NothingLeftAtTheDrawnTimeDrawsNoSecondTime) {
  add("a", {Time(0), Time(4000)});
  scriptDraws({1 << 30, 0});
  Exposed<RandomExecuter> executer = make<RandomExecuter>(everything, 0);
  executer.run();
  EXPECT_EQ(executer.choice(), nullptr);
  EXPECT_EQ(executer.time(), Time(1073741823));
  EXPECT_EQ(out.str(), std::string("scheduler [0ms] ") + BUG);
  EXPECT_EQ(drawCount, 1);
  EXPECT_EQ(logical.time(), Time(0));
}

TEST_F(RandomExecuterTest, TheChoiceFiresAtItsEarliestTimeAfterTheDrawnOne) {
  add("a", {Time(8000), Time::MAX, Time(10000)});
  scriptDraws({1 << 30, 0});
  make<RandomExecuter>(everything, 1).run();
  EXPECT_EQ(out.str(), "scheduler [0ms] , wait for 8ms, a lazy (_,_)\n" + limitLine(1));
}

TEST_F(RandomExecuterTest, TheThirdFilteringStartsAtTheDrawnTimeAndKeepsMarks) {
  add("a", {Time(0), Time::MAX, Time(10000)});
  add("b", {Time(0), Time::MAX, Time(12000)});
  scriptDraws({1 << 30, 0});
  make<RandomExecuter>(earliestDeadline, 1).run();
  const Log end(log.end() - 7, log.end());
  EXPECT_EQ(end, (Log{"b.deadline(5000)", "a.deadline(5000)", "b.next(5000)", "a.next(5000)",  //
                      "a.next(5000)", "a.actuate(5000)", "a.execute(5000)"}));
}

TEST_F(RandomExecuterTest, AnInfiniteLowerBoundIsTheDrawnTime) {
  add("a");
  scriptDraws({RAND_MAX, 0, RAND_MAX});
  Exposed<RandomExecuter> executer = make<RandomExecuter>(everything, 1);
  platform.set({Time::MIN});
  logical.update();
  executer.run();
  EXPECT_EQ(executer.time(), Time(0));
  EXPECT_EQ(out.str(), "scheduler [_] , wait for 0ms, a lazy (_,_)\n" + limitLine(1));
  platform.set({Time::MAX, Time(0)});
  executer.run();
  EXPECT_EQ(executer.choice(), nullptr);
  EXPECT_EQ(executer.time(), Time::MAX);
}

// Set-up

class CountingPriority : public Priority {
 public:
  CountingPriority(Compound* holder, Log* log)
      : Priority(holder, nullptr, nullptr, Time(0)), mLog(log) {}
  void setup() override { mLog->push_back("setup"); }
  void setupPrioLevel() override { mLog->push_back("level"); }

 private:
  Log* mLog;
};

TEST_F(InitializeTest, TheSystemIsSetUpAndThenInitialisedWithTheLogicalClock) {
  root.priorities().add(new CountingPriority(&root, &log));
  seeds.clear();
  Exposed<StandardExecuter>(root, logical, semantics, everything, LOUD, 0, out, 77, Time(0))
      .initialize();
  EXPECT_EQ(log, Log{"setup"});
  EXPECT_EQ(atom.initializedWith, &logical);
  EXPECT_EQ(atom.initializations, 1);
  EXPECT_EQ(root.clock(), &logical);
  EXPECT_EQ(atom.mScheduler, nullptr);
  EXPECT_EQ(seeds, std::vector<unsigned int>{77});
  EXPECT_EQ(drawCount, 0);
}

TEST_F(InitializeTest, ANegativeSeedKeepsItsBits) {
  seeds.clear();
  RandomExecuter(root, logical, semantics, everything, LOUD, 0, out, -1, Time(0)).initialize();
  EXPECT_EQ(seeds, std::vector<unsigned int>{4294967295u});
}

TEST_F(InitializeTest, AnInteractiveRunIsSeededWithOne) {
  seeds.clear();
  InteractiveExecuter(root, logical, semantics, everything, LOUD, 0, out, Time(0)).initialize();
  EXPECT_EQ(seeds, std::vector<unsigned int>{1});
}

// The placeholder

TEST_F(ExplorerTest, InitialisingSetsTheSystemUpAndDoesNotSeed) {
  root.priorities().add(new CountingPriority(&root, &log));
  seeds.clear();
  Explorer(root, logical, semantics, LOUD).initialize();
  EXPECT_EQ(log, Log{"setup"});
  EXPECT_EQ(atom.initializedWith, &logical);
  EXPECT_EQ(seeds.size(), 0u);
}

TEST_F(ExplorerTest, OneThatADerivedClassHasGivenALimitReportsThat) {
  class Limited : public Explorer {
   public:
    Limited(Compound& system, LogicalClock& clock, Filter& semantics, bool quiet)
        : Explorer(system, clock, semantics, quiet) {
      mMaxSimLimit = 5;
    }
  };
  for (const bool quiet : {false, true}) {
    std::ostringstream text;
    std::streambuf* const former = std::cout.rdbuf(text.rdbuf());
    Limited(root, logical, semantics, quiet).run();
    std::cout.rdbuf(former);
    EXPECT_EQ(text.str(), quiet ? "" : "Execution limit size (5) reached!\n");
  }
}

TEST_F(ExplorerTest, RunningNeverReturns) {
  add("a");
  const auto runForAMoment = [this] {
    signal(SIGALRM, [](int) { std::exit(7); });
    const itimerval moment{{0, 0}, {0, 50000}};
    setitimer(ITIMER_REAL, &moment, nullptr);
    Explorer(root, logical, semantics, LOUD).run();
    std::_Exit(0);
  };
  EXPECT_EXIT(runForAMoment(), testing::ExitedWithCode(7), "");
}

}  // namespace
