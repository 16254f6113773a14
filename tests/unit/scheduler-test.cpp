// The scheduler without time: settings, dispatch, maximal synchronisation, the priority heap and
// the step limit.

#include "scheduler.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/output.hpp"
#include "kit/processes.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

constexpr char FIRED_A[] = "scheduler : System/ca/A:go\n";
constexpr char FIRED_B[] = "scheduler : System/cb/B:go\n";

// Two independent counters.
struct Pair : System {
  Pair(int firingsOfA, int firingsOfB)
      : a(counter("A", "ca", firingsOfA)), b(counter("B", "cb", firingsOfB)) {}
  TestAtom* a;
  TestAtom* b;
};

std::string times(int n, const std::string& text) {
  std::string all;
  for (int i = 0; i < n; ++i) all += text;
  return all;
}

std::string runTrace(Scheduler& scheduler) {
  return traceOf(scheduler, [&] { scheduler.run(); });
}

}  // namespace

// ---- Settings --------------------------------------------------------------------------------

TEST(SchedulerTest, ANewSchedulerHasItsDefaults) {
  System system;
  const OpenScheduler scheduler(&system, 2, 3, 1);
  EXPECT_EQ(scheduler.mSystem, &system);
  EXPECT_EQ(scheduler.mLegal, nullptr);
  EXPECT_EQ(scheduler.mInternals, nullptr);
  EXPECT_EQ(scheduler.platformClock(), nullptr);
  EXPECT_EQ(scheduler.logicalClock(), nullptr);
  EXPECT_EQ(scheduler.mConnectorChoice, nullptr);
  EXPECT_EQ(scheduler.choice(), nullptr);
  EXPECT_EQ(scheduler.choicePort(), nullptr);
  EXPECT_EQ(scheduler.choiceNext(), Vesk::Time::MAX);
  EXPECT_EQ(scheduler.choiceDeadline(), Vesk::Time::MAX);
  EXPECT_EQ(scheduler.deadline(), Vesk::Time::MAX);
  EXPECT_EQ(scheduler.mode(), 2);
  EXPECT_EQ(scheduler.mIntQuiet, 0);
  EXPECT_FALSE(scheduler.quiet());
  EXPECT_EQ(scheduler.runMode(), 3);
  EXPECT_EQ(scheduler.mTraverse, 0);
  EXPECT_EQ(scheduler.optimizationMode(), 1);
  EXPECT_FALSE(scheduler.simLimit());
  EXPECT_EQ(scheduler.maxSimLimit(), 0);
  EXPECT_EQ(scheduler.mSimStep, 0);
  EXPECT_EQ(scheduler.mDisable_output, 0);
  EXPECT_FALSE(scheduler.disable_output);
  EXPECT_EQ(scheduler.mTrace, 0);
  EXPECT_EQ(scheduler.randSeed(), 1);
  EXPECT_EQ(scheduler.aut_file, nullptr);
  EXPECT_EQ(scheduler.state_file, nullptr);
  EXPECT_FALSE(scheduler.simout_file.is_open());
  EXPECT_EQ(scheduler.pruned_paths, nullptr);
  EXPECT_EQ(scheduler.deadlock_states, nullptr);
  EXPECT_EQ(scheduler.zeroWaiting(), 1);
  EXPECT_EQ(scheduler.maxWait(), Vesk::Time(100));
  EXPECT_EQ(scheduler.drift(), Vesk::Time(0));
  EXPECT_EQ(scheduler.mMaxDrift, Vesk::Time(40));
  EXPECT_EQ(scheduler.mDelta, Vesk::Time(80));
  EXPECT_EQ(scheduler.mTolerance, Vesk::Time(0));
  EXPECT_EQ(scheduler.simout, &std::cout);
}

TEST(SchedulerTest, TheHeapStartsEmptyAndIsHandedOut) {
  System system;
  OpenScheduler scheduler(&system);
  EXPECT_EQ(scheduler.prioHeap().getCount(), 0);
  scheduler.prioHeap().put(system.counter("A", "ca", 1)->links()[0]);
  EXPECT_EQ(scheduler.prioHeap().getCount(), 1);
}

TEST(SchedulerTest, AChoiceIsStoredWithItsTimes) {
  System system;
  TestAtom* atom = system.counter("A", "ca", 1);
  Interaction* interaction = system.connectors()[0]->feasibleInter();
  OpenScheduler scheduler(&system);
  scheduler.setChoice(interaction, Vesk::Time(3), Vesk::Time(5));
  EXPECT_EQ(scheduler.choice(), interaction) << "as it was set";
  EXPECT_EQ(scheduler.choiceNext(), Vesk::Time(3));
  EXPECT_EQ(scheduler.choiceDeadline(), Vesk::Time(5));
  scheduler.setChoice(atom->ports()[0], Vesk::Time(7), Vesk::Time(9));
  EXPECT_EQ(scheduler.choicePort(), atom->ports()[0]);
  EXPECT_EQ(scheduler.choice(), interaction) << "beside a port";
  EXPECT_EQ(scheduler.choiceNext(), Vesk::Time(7));
  EXPECT_EQ(scheduler.choiceDeadline(), Vesk::Time(9));
  scheduler.setDrift(Vesk::Time(11));
  EXPECT_EQ(scheduler.drift(), Vesk::Time(11));
}

// ---- Dispatch --------------------------------------------------------------------------------

TEST(SchedulerTest, AnUnknownRunModeRunsNothing) {
  for (const int runMode : {-1, 2, 4}) {
    Pair system(1, 1);
    OpenScheduler scheduler(&system, 0, runMode, 1);
    EXPECT_EQ(runTrace(scheduler), "") << runMode;
  }
}

TEST(SchedulerTest, TheOptimisationSelectsTheLoopInBothExecutionModes) {
  for (const int runMode : {1, 3}) {
    Pair maximal(1, 1);
    OpenScheduler first(&maximal, 0, runMode, 1);
    EXPECT_EQ(runTrace(first), std::string(FIRED_B) + FIRED_A + "scheduler : deadlock\n")
        << runMode;
    Pair heap(1, 1);
    OpenScheduler second(&heap, 0, runMode, 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(runTrace(second), std::string(FIRED_A) + FIRED_B) << runMode;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error or Deadlock!\n") << runMode;
  }
}

TEST(SchedulerTest, AnUnknownModeOfChoiceRunsNothing) {
  Pair system(1, 1);
  OpenScheduler scheduler(&system, 3);
  EXPECT_EQ(runTrace(scheduler), "");
}

TEST(SchedulerTest, ExplorationWithoutTraversalCreatesAndClosesTheFiles) {
  const WorkingFolder folder;
  Pair system(1, 1);
  OpenScheduler scheduler(&system);
  scheduler.parse({"--explore"});
  scheduler.run();
  for (const char* name : {"vesk.aut", "vesk.state", "vesk.pruned", "vesk.deadlock"}) {
    EXPECT_TRUE(std::filesystem::exists(name)) << name;
    EXPECT_EQ(contents(name), "") << name;
  }
  EXPECT_EQ(scheduler.aut_file, nullptr);
  EXPECT_EQ(scheduler.state_file, nullptr);
  EXPECT_EQ(scheduler.pruned_paths, nullptr);
  EXPECT_EQ(scheduler.deadlock_states, nullptr);
  EXPECT_EQ(system.a->fired, 0);
  scheduler.run();  // closes nothing twice
}

// ---- Maximal synchronisation -----------------------------------------------------------------

TEST(SchedulerTest, AMaximalStepFiresAllLegalConnectorsInListOrder) {
  Pair system(2, 1);
  OpenScheduler scheduler(&system, 0, 1, 1);
  EXPECT_EQ(runTrace(scheduler),
            std::string(FIRED_B) + FIRED_A + FIRED_A + "scheduler : deadlock\n");
}

TEST(SchedulerTest, TheDeadlockIsReportedAlsoWhenQuiet) {
  Pair system(2, 1);
  OpenScheduler scheduler(&system, 0, 1, 1);
  scheduler.mQuiet = true;
  EXPECT_EQ(runTrace(scheduler), "scheduler : deadlock\n");
  EXPECT_EQ(system.a->fired, 2);
  EXPECT_EQ(system.b->fired, 1);
}

TEST(SchedulerTest, AnEmptySystemIsADeadlockAtOnce) {
  System system;
  OpenScheduler scheduler(&system, 0, 1, 1);
  EXPECT_EQ(runTrace(scheduler), "scheduler : deadlock\n");
}

TEST(SchedulerTest, ADominatedConnectorEndsTheStepAndWhatStandsBehindItDoesNotFire) {
  System system;
  TestAtom* first = system.counter("A", "ca", 9);
  TestAtom* second = system.counter("B", "cb", 9);
  TestAtom* third = system.counter("C", "cc", 2);
  system.connectors()[1]->setDominated(true);
  OpenScheduler scheduler(&system, 0, 1, 1);
  EXPECT_EQ(runTrace(scheduler),
            times(2, "scheduler : System/cc/C:go\n") + "scheduler : deadlock\n");
  EXPECT_EQ(first->fired, 0);
  EXPECT_EQ(second->fired, 0);
  EXPECT_EQ(third->fired, 2);
}

TEST(SchedulerTest, AStepFiresTheWholeListWithoutEvaluatingAgainInBetween) {
  System system;
  TestAtom* atom = system.counter("A", "k1", 1);
  system.rendezvous("k2", atom->ports()[0]);
  OpenScheduler scheduler(&system, 0, 1, 1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(runTrace(scheduler),
            "scheduler : System/k2/A:go\nscheduler : System/k1/A:go\nscheduler : deadlock\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ERROR: the port A.go seems to appars several time in a connector\n");
  EXPECT_EQ(atom->fired, 2);
}

TEST(SchedulerTest, TheLimitStopsInTheMiddleOfAMaximalStep) {
  Pair system(9, 9);
  OpenScheduler scheduler(&system, 0, 1, 1);
  scheduler.mSimLimit = true;
  scheduler.mMaxSimLimit = 3;
  EXPECT_EQ(runTrace(scheduler), std::string(FIRED_B) + FIRED_A + FIRED_B);
  EXPECT_EQ(scheduler.mSimStep, 3);
}

TEST(SchedulerTest, ExecMaxSynchronizeTellsWhetherTheRunGoesOn) {
  Pair system(9, 9);
  OpenScheduler scheduler(&system, 0, 1, 1);
  system.initialize(nullptr);
  scheduler.mLegal = system.activate(true);
  traceOf(scheduler, [&] { EXPECT_TRUE(scheduler.execMaxSynchronize(scheduler.mLegal)); });
  traceOf(scheduler, [&] { EXPECT_FALSE(scheduler.execMaxSynchronize(nullptr)); });
}

// ---- Priority heap ---------------------------------------------------------------------------

TEST(SchedulerTest, TheHeapFiresWhatHasWaitedLongestAmongEqualLevels) {
  Pair system(2, 1);
  OpenScheduler scheduler(&system, 0, 1, 2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(runTrace(scheduler), std::string(FIRED_A) + FIRED_B + FIRED_A);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error or Deadlock!\n");
}

TEST(SchedulerTest, TheHeapRunsASystemThatSomebodyElseHasActivated) {
  const auto trace = [](bool activated) {
    System root("R");
    for (int i = 0; i < 20; ++i) root.counter("A", "k", 1 + i % 3);
    if (activated) {
      root.setup(nullptr);
      root.initialize();
      for (int i = 0; i < 3; ++i) root.activate(true);
    }
    OpenScheduler scheduler(&root, 0, 1, 2);
    testing::internal::CaptureStdout();
    const std::string text = traceOf(scheduler, [&] { scheduler.run(); });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error or Deadlock!\n");
    return text;
  };
  const std::string fresh = trace(false);
  EXPECT_EQ(std::count(fresh.begin(), fresh.end(), '\n'), 39) << "firings";
  EXPECT_EQ(trace(true), fresh);
}

TEST(SchedulerTest, TheHeapReportsItsEndAlsoWhenQuiet) {
  Pair system(2, 1);
  OpenScheduler scheduler(&system, 0, 1, 2);
  scheduler.mQuiet = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(runTrace(scheduler), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error or Deadlock!\n");
  EXPECT_EQ(system.a->fired, 2);
}

TEST(SchedulerTest, TheHeapFiresTheHigherLevelFirst) {
  Pair system(2, 2);
  Array<Connector, true>& connectors = system.connectors();
  system.priority(Interaction::Create(connectors[0], BitVector(0)),
                  Interaction::Create(connectors[1], BitVector(0)));
  OpenScheduler scheduler(&system, 0, 1, 2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(runTrace(scheduler), times(2, FIRED_B) + times(2, FIRED_A));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error or Deadlock!\n");
}

TEST(SchedulerTest, TheHeapLoopSetsTheSchedulerOfEveryAtom) {
  Pair system(1, 1);
  OpenScheduler scheduler(&system, 0, 1, 2);
  testing::internal::CaptureStdout();
  runTrace(scheduler);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(system.a->mScheduler, &scheduler);
  EXPECT_EQ(system.b->mScheduler, &scheduler);
}

// Priorities are set up by the loops that use them, before anything is initialised, and levels are
// computed after that.
TEST(SchedulerTest, EachLoopSetsTheSystemUpInItsOwnWay) {
  using Log = std::vector<std::string>;
  struct LoggedPriority : Priority {
    LoggedPriority(Compound* holder, Interaction* low, Interaction* high, Log& entries)
        : Priority(holder, low, high, Vesk::Time(0)), log(entries) {}
    void setup() override { log.push_back("setup"); }
    void setupPrioLevel() override { log.push_back("level"); }
    bool guard() override { return false; }
    Log& log;
  };
  struct LoggedSystem : Pair {
    explicit LoggedSystem(Log& entries) : Pair(0, 0), log(entries) {
      mPriorities.add(new LoggedPriority(this, Interaction::Create(mConnectors[0], 1, 0),
                                         Interaction::Create(mConnectors[1], 1, 0), log));
    }
    using System::initialize;
    void initialize(LogicalClock* clock) override {
      log.push_back(clock == nullptr ? "initialize" : "initialize with a clock");
      System::initialize(clock);
    }
    Log& log;
  };
  struct Case {
    int mode;
    int optimization;
    Log expected;
  };
  for (const Case& one : std::vector<Case>{{0, 0, {"setup", "initialize with a clock"}},
                                           {2, 0, {"setup", "initialize with a clock"}},
                                           {1, 0, {"initialize"}},
                                           {0, 1, {"initialize"}},
                                           {0, 2, {"setup", "initialize", "level"}}}) {
    const Outcome outcome = isolated([&one] {
      Log log;
      LoggedSystem system(log);
      OpenScheduler scheduler(&system, one.mode, 1, one.optimization);
      scheduler.parse({});
      scheduler.run();
      return log == one.expected ? 0 : 1;
    });
    EXPECT_EQ(outcome.status, 0) << one.mode << one.optimization;
  }
}

TEST(SchedulerTest, TheHeapQueuesOnlyWhatDependsOnTheFiredPorts) {
  System system;
  TestAtom* sender = system.atom("S");
  TestAtom* receiver = system.atom("R");
  Port* idle = receiver->rule("idle", [] { return false; });
  system.broadcast("bus", sender->rule("send", [=] { return sender->fired < 5; }),
                   receiver->rule("receive", [] { return false; }));
  const TestConnector* counting = system.rendezvous("counting", idle);
  OpenScheduler scheduler(&system, 0, 1, 2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(runTrace(scheduler), times(5, "scheduler : System/bus/S:send\n"));
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(counting->guards, 1);  // the receiver took part in no interaction
}

TEST(SchedulerTest, AnInteractionThatTheModelTakesAwayWhileItFiresQueuesNothing) {
  System system;
  TestAtom* atom = system.atom("A");
  Port* port = atom->rule(
      "go", [] { return true; }, [&] { system.connectors()[0]->setFeasibleInter(nullptr); });
  system.rendezvous("ca", port);
  OpenScheduler scheduler(&system, 0, 1, 2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(runTrace(scheduler), FIRED_A);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error or Deadlock!\n");
}

TEST(SchedulerTest, AConnectorThatIsImpossibleAtTimeZeroFiresNothingAndIsQueuedAllTheSame) {
  struct Late : Atom {
    explicit Late(const Compound* holder)
        : Atom("A", holder),
          when(new Constraint(nullptr, Vesk::Time(5), Vesk::Time(9), LAZY)),
          port(new Port("go", this)) {
      mConstraints.add(when);
      addPort(port);
    }
    using Atom::initialize;
    void initialize() override { rt_sync(1, port, 1, when); }
    void execute(Port*) override { fired = true; }
    Node* getState() override { return nullptr; }
    void setState(Node*) override {}
    Constraint* when;
    Port* port;
    bool fired = false;
  };
  System system;
  Late* atom = new Late(&system);
  system.components().add(atom);
  system.rendezvous("ca", atom->port);
  OpenScheduler scheduler(&system, 0, 1, 2);
  scheduler.mSimLimit = true;
  scheduler.mMaxSimLimit = 1000;
  EXPECT_EQ(runTrace(scheduler), times(1000, FIRED_A));
  EXPECT_FALSE(atom->fired);
}

TEST(SchedulerTest, TheLimitEndsTheHeapLoopWithoutAWord) {
  Pair system(9, 9);
  OpenScheduler scheduler(&system, 0, 1, 2);
  scheduler.mSimLimit = true;
  scheduler.mMaxSimLimit = 3;
  testing::internal::CaptureStdout();
  EXPECT_EQ(runTrace(scheduler), std::string(FIRED_A) + FIRED_B + FIRED_A);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// ---- Step limit ------------------------------------------------------------------------------

TEST(SchedulerTest, WithoutALimitNoStepIsCounted) {
  OpenScheduler scheduler(nullptr);
  EXPECT_FALSE(scheduler.stepLimitReached());
  EXPECT_EQ(scheduler.mSimStep, 0);
}

TEST(SchedulerTest, ALimitOfZeroNeverStops) {
  OpenScheduler scheduler(nullptr);
  scheduler.mSimLimit = true;
  scheduler.mSimStep = -1;
  EXPECT_FALSE(scheduler.stepLimitReached()) << "from step -1";
  EXPECT_EQ(scheduler.mSimStep, 0);
  EXPECT_FALSE(scheduler.stepLimitReached()) << "from step 0";

  Pair system(5, 5);
  OpenScheduler running(&system, 0, 1, 1);
  running.mSimLimit = true;
  EXPECT_EQ(runTrace(running), times(5, std::string(FIRED_B) + FIRED_A) + "scheduler : deadlock\n");
}

TEST(SchedulerTest, ANegativeLimitIsMetWhenTheCounterHasGoneRound) {
  OpenScheduler scheduler(nullptr);
  scheduler.mSimLimit = true;
  scheduler.mMaxSimLimit = -1;
  EXPECT_FALSE(scheduler.stepLimitReached()) << "from step 0";
  scheduler.mSimStep = INT_MAX;
  EXPECT_FALSE(scheduler.stepLimitReached()) << "from the largest step";
  EXPECT_EQ(scheduler.mSimStep, INT_MIN);
  scheduler.mSimStep = -3;
  EXPECT_FALSE(scheduler.stepLimitReached()) << "from step -3";
  EXPECT_TRUE(scheduler.stepLimitReached());
}

// ---- Several schedulers ----------------------------------------------------------------------

TEST(SchedulerTest, TwoSchedulersDoNotDisturbEachOther) {
  Pair one(2, 1);
  Pair other(1, 1);
  OpenScheduler first(&one, 0, 1, 1);
  {
    OpenScheduler second(&other);
    first.parse({"--opt1", "--limit", "2"});
    second.parse({"--opt2", "--quiet", "--seed", "7"});
    EXPECT_EQ(first.optimizationMode(), 1);
    EXPECT_FALSE(first.quiet());
    EXPECT_EQ(first.randSeed(), 1);
    EXPECT_EQ(second.optimizationMode(), 2);
    EXPECT_TRUE(second.quiet());
    EXPECT_FALSE(second.simLimit());
    testing::internal::CaptureStdout();
    EXPECT_EQ(runTrace(second), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error or Deadlock!\n");
  }
  EXPECT_EQ(runTrace(first), std::string(FIRED_B) + FIRED_A);
  first.parse({"--opt2"});  // the options of the dead scheduler are no more written to
  EXPECT_EQ(first.optimizationMode(), 2);
}
