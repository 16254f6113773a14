// What an observer is told by each loop.
#include "run-observer.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "chain.hpp"
#include "kit/output.hpp"
#include "kit/processes.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::RunEnd;

namespace {

constexpr char LABEL[] = "System/ca/A:go";
constexpr bool QUIET = true;

// Writes down what it is told.
class Watcher : public Vesk::RunObserver {
 public:
  Watcher() { Vesk::watchRuns(this); }
  ~Watcher() override { Vesk::watchRuns(nullptr); }

  void configured(Compound*, const Scheduler&) override { told.push_back("configured"); }
  void started(Compound&, const LogicalClock* clock) override {
    told.push_back(clock != nullptr ? "timed" : "untimed");
  }
  void stepBegins(Connector* legals, Port*) override {
    std::string enabled = "enabled:";
    for (Connector* legal : Vesk::Chain(legals)) enabled += std::string(" ") + legal->label();
    told.push_back(enabled);
  }
  void firing(Executable& choice, const Vesk::Time& time) override {
    told.push_back(choice.label() + (" at " + std::to_string(time.microseconds())));
  }
  void firing(Connector& connector) override { told.push_back(connector.label()); }
  void stepEnds() override { told.push_back("done"); }
  void ended(RunEnd end, const char* line) override {
    told.push_back("end " + std::to_string(static_cast<int>(end)));
    if (line != nullptr) lines.push_back(line);
  }
  std::ostream& line() override { return mLine; }
  void lineEnds() override {
    lines.push_back(mLine.str());
    mLine.str("");
  }

  std::vector<std::string> told;
  std::vector<std::string> lines;

 private:
  std::ostringstream mLine;
};

std::string end(RunEnd why) {
  return "end " + std::to_string(static_cast<int>(why));
}

// A counter that fires twice.
class RunObserverTest : public testing::Test {
 protected:
  RunObserverTest() { system.counter("A", "ca", 2); }

  // The words for a step that fires the counter.
  static std::vector<std::string> twoSteps(const std::string& first, const std::string& fired) {
    const std::string enabled = std::string("enabled: ") + LABEL;
    return {first, enabled, fired, "done", enabled, fired, "done"};
  }
  void runTimed(bool quiet, unsigned int limit) {
    SimuClock platform("platform");
    LogicalClock clock("logical", platform);
    StandardSemantics semantics;
    EDFScheduler earliestDeadline;
    StandardExecuter executer(system, clock, semantics, earliestDeadline, quiet, limit, trace, 1,
                              Vesk::Time(40000));
    executer.initialize();
    executer.run();
  }

  System system;
  std::ostringstream trace;
};

}  // namespace

TEST_F(RunObserverTest, TheTimedEngineTellsEachStepAndTheDeadlock) {
  Watcher watcher;
  runTimed(!QUIET, 0);
  std::vector<std::string> expected = twoSteps("timed", std::string(LABEL) + " at 0");
  expected.push_back("enabled:");
  expected.push_back(end(RunEnd::DEADLOCK));
  EXPECT_EQ(watcher.told, expected);
}

TEST_F(RunObserverTest, TheLinesAreThoseOfTheTraceAlsoInAQuietRun) {
  runTimed(!QUIET, 0);
  const std::string unwatched = trace.str();
  trace.str("");
  System quiet;
  quiet.counter("A", "ca", 2);
  Watcher watcher;
  SimuClock platform("platform");
  LogicalClock clock("logical", platform);
  StandardSemantics semantics;
  EDFScheduler earliestDeadline;
  StandardExecuter executer(quiet, clock, semantics, earliestDeadline, QUIET, 0, trace, 1,
                            Vesk::Time(40000));
  executer.initialize();
  executer.run();
  std::string lines;
  for (const std::string& line : watcher.lines) lines += line + "\n";
  EXPECT_EQ(lines, unwatched);
  EXPECT_EQ("", trace.str());
}

TEST_F(RunObserverTest, TheTimedEngineTellsTheLimit) {
  Watcher watcher;
  runTimed(QUIET, 2);
  std::vector<std::string> expected = twoSteps("timed", std::string(LABEL) + " at 0");
  expected.push_back(end(RunEnd::LIMIT));
  EXPECT_EQ(watcher.told, expected);
  EXPECT_EQ(watcher.lines.back(), "Execution limit size (2) reached!");
}

TEST_F(RunObserverTest, MaximalSynchronisationTellsAllConnectorsOfAStep) {
  system.counter("B", "cb", 1);
  Watcher watcher;
  OpenScheduler scheduler(&system, 0, 1, Vesk::MAXIMAL_SYNCHRONISATION);
  traceOf(scheduler, [&] { scheduler.run(); });
  const std::vector<std::string> expected = {"untimed",
                                             "enabled: System/cb/B:go System/ca/A:go",
                                             "System/cb/B:go",
                                             LABEL,
                                             "done",
                                             "enabled: System/ca/A:go",
                                             LABEL,
                                             "done",
                                             "enabled:",
                                             end(RunEnd::DEADLOCK)};
  EXPECT_EQ(watcher.told, expected);
  EXPECT_EQ(watcher.lines.back(), "scheduler : deadlock");
}

TEST_F(RunObserverTest, TheLoopByLevelsTellsTheConnectorWhoseTurnItIs) {
  Watcher watcher;
  OpenScheduler scheduler(&system, 0, 1, Vesk::PRIORITY_HEAP);
  outputOf([&] { traceOf(scheduler, [&] { scheduler.run(); }); });
  std::vector<std::string> expected = twoSteps("untimed", LABEL);
  expected.push_back(end(RunEnd::DEADLOCK));
  EXPECT_EQ(watcher.told, expected);
}

TEST_F(RunObserverTest, AStepThatReachesTheLimitIsToldWhole) {
  for (const char* way : {"--opt1", "--opt2"}) {
    System fresh;
    fresh.counter("A", "ca", 2);
    Watcher watcher;
    OpenScheduler scheduler(&fresh);
    scheduler.parse({way, "--limit", "2"});
    traceOf(scheduler, [&] { scheduler.run(); });
    std::vector<std::string> expected = twoSteps("untimed", LABEL);
    expected.push_back(end(RunEnd::LIMIT));
    EXPECT_EQ(watcher.told, expected) << way;
  }
}

TEST_F(RunObserverTest, TheSelfTimedLoopTellsEachStepAndTheDeadlock) {
  Watcher watcher;
  OpenScheduler scheduler(&system);
  scheduler.parse({});
  outputOf([&] { traceOf(scheduler, [&] { scheduler.run(); }); });
  std::vector<std::string> expected = twoSteps("timed", std::string(LABEL) + " at 0");
  expected.push_back("enabled:");
  expected.push_back(end(RunEnd::DEADLOCK));
  EXPECT_EQ(watcher.told, expected);
}

// The words of the observer go to standard error, apart from the dialogue.
TEST_F(RunObserverTest, SingleStepsTellWhatTheUserFires) {
  const Outcome outcome = isolated(
      [] {
        System fresh;
        fresh.counter("A", "ca", 2);
        Watcher watcher;
        OpenScheduler scheduler(&fresh, Vesk::INTERACTIVE);
        scheduler.run();
        for (const std::string& word : watcher.told) std::fprintf(stderr, "%s\n", word.c_str());
        return 0;
      },
      "1\n0\n");
  const std::string enabled = std::string("enabled: ") + LABEL + "\n";
  EXPECT_EQ(outcome.err,
            "untimed\n" + enabled + LABEL + "\ndone\n" + enabled + end(RunEnd::NO_CHOICE) + "\n");
}

TEST_F(RunObserverTest, NobodyIsToldWhoDoesNotWatch) {
  Watcher watcher;
  Vesk::watchRuns(nullptr);
  runTimed(QUIET, 0);
  EXPECT_TRUE(watcher.told.empty());
}
