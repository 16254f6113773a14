// Whole runs of random systems, in every mode, against runs that walk everything in every step:
// the same calls of all hooks in the same order, the same lists, marks, traces and dialogues. The
// systems have nested compounds, exported ports, broadcasts, priorities, port priorities, internal
// ports, and clocks that are set and stopped; some are untimed, some small and some large.
//
// VESK_RANDOM_SYSTEMS says how many systems there are; `./check long activation` takes 10,000.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "dialogue.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "literal-run.hpp"
#include "random-system.hpp"
#include "run-observer.hpp"

using namespace kit;

using kit::literal::Policy;
using kit::literal::Watcher;
using Vesk::Time;

namespace {

#ifdef VESK_LARGE_RUNS
constexpr int SYSTEMS = 400;
#else
constexpr int SYSTEMS = 100;
#endif
constexpr int SHARDS = 10;
constexpr unsigned int STEPS = 40;
constexpr long long MAX_DRIFT = 40000;

int systemsOfShard() {
  const char* const text = std::getenv("VESK_RANDOM_SYSTEMS");
  const int all = text != nullptr ? std::atoi(text) : SYSTEMS;
  return (all + SHARDS - 1) / SHARDS;
}

// A run's way: its policy, and time that passes by itself or not.
struct Mode {
  const char* name;
  Policy policy;
  Time delta;
  bool realTime;
};

const Mode MODES[] = {{"earliest deadline", Policy::DEADLINE, 0, false},
                      {"real time", Policy::DELTA, Time(40000), true},
                      {"small margin", Policy::DELTA, Time(2000), false},
                      {"no scheduler", Policy::EVERYTHING, 0, true},
                      {"random", Policy::RANDOM, 0, false},
                      {"random in real time", Policy::RANDOM, 0, true},
                      {"dialogue", Policy::DIALOGUE, 0, false},
                      {"dialogue in real time", Policy::DIALOGUE, 0, true}};

// Time that passes by itself at some of the looks.
class RestlessClock : public PlatformClock {
 public:
  RestlessClock(unsigned int seed, bool passes)
      : PlatformClock("p"), mDraw(seed), mPasses(passes) {}
  Time time() const override {
    if (mPasses && mDraw.below(8) == 0) mTime = mTime + Time(mDraw.below(3000));
    return mTime;
  }
  void wait(const Time& t) override {
    if (t > mTime) mTime = t;
  }

 private:
  mutable Draw mDraw;
  const bool mPasses;
  mutable Time mTime;
};

// Writes down, among the calls of hooks, what each step begins with and what fires.
class Record : public Vesk::RunObserver {
 public:
  Record() {
    watcher.begins = [this](Connector* legals, Port* internals) { begin(legals, internals); };
    watcher.fires = [this](Executable& choice, Time time) { fire(choice, time); };
    watcher.firesWithoutTime = [this](Connector& connector) { fire(connector); };
  }
  ~Record() override { Vesk::watchRuns(nullptr); }
  void watch() { Vesk::watchRuns(this); }

  // The engine tells this.
  void configured(Compound*, const Scheduler&) override {}
  void started(Compound&, const LogicalClock*) override {}
  void stepBegins(Connector* legals, Port* internals) override { begin(legals, internals); }
  void firing(Executable& choice, const Time& time) override { fire(choice, time); }
  void firing(Connector& connector) override { fire(connector); }
  void stepEnds() override {}
  void ended(Vesk::RunEnd, const char*) override {}
  std::ostream& line() override { return mLine; }
  void lineEnds() override { mLine.str(""); }

  std::vector<std::string> events;
  std::ostringstream trace;
  std::ostringstream dialogue;
  Watcher watcher;  // the literal run this
  long steps = 0;

  // The marks of everything that is listed.
  std::string marks() const {
    std::string text;
    for (const Executable* executable : mListed) {
      text += executable->dominated() ? " dominated " : " ";
      text += std::to_string(executable->mark());
    }
    return text;
  }

 private:
  void begin(Connector* legals, Port* internals) {
    ++steps;
    mListed.clear();
    std::string text = "step";
    for (Connector* legal : listOf(legals)) {
      text += std::string(" ") + legal->name() + ":";
      for (Interaction* feasible : listOf(legal->feasibleInter())) {
        text += kit::text(feasible->synced()) + (feasible->dominated() ? "dominated" : "") +
                spans(feasible->constraint());
        mListed.push_back(feasible);
      }
    }
    for (Port* port : listOf(internals)) {
      text += std::string(" ") + port->label();
      mListed.push_back(port);
    }
    events.push_back(text);
  }
  void fire(Executable& choice, Time time) {
    events.push_back(std::string("fire ") + choice.label() + " at " + kit::text(time) + marks());
  }
  void fire(Connector& connector) { events.push_back(std::string("fire ") + connector.label()); }

  std::vector<const Executable*> mListed;
  std::ostringstream mLine;
};

std::unique_ptr<RandomRoot> makeSystem(unsigned int seed, std::vector<std::string>& calls) {
  SeededChoices choices(seed);
  Habits habits;
  habits.raises = habits.throws = habits.lies = false;
  habits.wide = 35;
  habits.busy = true;
  habits.calls = &calls;
  return makeRandomSystem(choices, habits);
}

// ---- The engine's runs -------------------------------------------------------------------------

std::unique_ptr<Filter> schedulerOf(const Mode& mode) {
  if (mode.policy == Policy::DEADLINE) return std::make_unique<EDFScheduler>();
  if (mode.policy == Policy::DELTA) return std::make_unique<EDFdeltaScheduler>(mode.delta);
  return std::make_unique<EmptyScheduler>();
}

void runEngine(Compound& system, LogicalClock& clock, const Mode& mode, int seed,
               std::ostream& trace) {
  constexpr bool LOUD = false;
  StandardSemantics semantics;
  const std::unique_ptr<Filter> scheduler = schedulerOf(mode);
  std::unique_ptr<Executer> executer;
  if (mode.policy == Policy::DIALOGUE) {
    executer = std::make_unique<InteractiveExecuter>(system, clock, semantics, *scheduler, LOUD,
                                                     STEPS, trace, Time(MAX_DRIFT));
  } else if (mode.policy == Policy::RANDOM) {
    executer = std::make_unique<RandomExecuter>(system, clock, semantics, *scheduler, LOUD, STEPS,
                                                trace, seed, Time(MAX_DRIFT));
  } else {
    executer = std::make_unique<StandardExecuter>(system, clock, semantics, *scheduler, LOUD, STEPS,
                                                  trace, seed, Time(MAX_DRIFT));
  }
  executer->initialize();
  executer->run();
}

class MaximalScheduler : public Scheduler {
 public:
  MaximalScheduler(Compound* system, std::ostream& trace) : Scheduler(system, 0, false, 1, -1, 1) {
    mSimLimit = true;
    mMaxSimLimit = static_cast<int>(STEPS);
    simout = &trace;
  }
};

// ---- Both --------------------------------------------------------------------------------------

enum class By { ENGINE, WALK };

void runTimed(unsigned int seed, const Mode& mode, By by, Record& record) {
  const std::unique_ptr<RandomRoot> system = makeSystem(seed, record.events);
  RestlessClock platform(seed, mode.realTime);
  LogicalClock clock("l", platform);
  SuitableAnswers answers(seed, clock, record.dialogue);
  const Redirected console(&answers, record.dialogue.rdbuf());
  const int number = static_cast<int>(seed);
  if (by == By::ENGINE) {
    record.watch();
    runEngine(*system, clock, mode, number, record.trace);
  } else {
    literal::TimedRun(*system, clock, platform, mode.policy, mode.delta, STEPS, record.trace,
                      number, Time(MAX_DRIFT), record.watcher)
        .run();
  }
  record.events.push_back("end" + record.marks());
}

void runMaximal(unsigned int seed, By by, Record& record) {
  const std::unique_ptr<RandomRoot> system = makeSystem(seed, record.events);
  system->declare(Vesk::Priorities::UNDECLARED);
  if (by == By::ENGINE) {
    record.watch();
    MaximalScheduler(system.get(), record.trace).run_execution();
  } else {
    literal::runMaximalSteps(*system, STEPS, record.trace, record.watcher);
  }
}

struct Sums {
  long systems = 0;
  long runs = 0;
  long steps = 0;
  long calls = 0;
};

Sums sums;

void compare(const Record& engine, const Record& walk, const std::string& where) {
  ++sums.runs;
  sums.steps += engine.steps;
  sums.calls += static_cast<long>(engine.events.size());
  ASSERT_EQ(engine.trace.str(), walk.trace.str()) << where;
  ASSERT_EQ(engine.dialogue.str(), walk.dialogue.str()) << where;
  ASSERT_EQ(engine.events, walk.events) << where;
}

void compareRunsOf(unsigned int seed) {
  ++sums.systems;
  for (const Mode& mode : MODES) {
    Record engine;
    Record walk;
    runTimed(seed, mode, By::WALK, walk);
    runTimed(seed, mode, By::ENGINE, engine);
    compare(engine, walk, std::string(mode.name) + ", seed " + std::to_string(seed));
  }
  Record engine;
  Record walk;
  runMaximal(seed, By::WALK, walk);
  runMaximal(seed, By::ENGINE, engine);
  compare(engine, walk, "maximal steps, seed " + std::to_string(seed));
}

class RunRandomTest : public testing::TestWithParam<int> {
 protected:
  static void SetUpTestSuite() { start = std::chrono::steady_clock::now(); }
  static void TearDownTestSuite() {
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    std::cout << sums.systems << " systems, " << sums.runs << " runs, " << sums.steps << " steps, "
              << sums.calls << " events, " << static_cast<int>(spent.count()) << " s\n";
  }

  static std::chrono::steady_clock::time_point start;
};

std::chrono::steady_clock::time_point RunRandomTest::start;

}  // namespace

TEST_P(RunRandomTest, EveryStepIsThatOfTheLiteralRun) {
  const int systems = systemsOfShard();
  for (int i = 0; i < systems && !HasFatalFailure(); ++i) {
    // What the engine says about such systems is left out.
    errorsOf([&] { compareRunsOf(static_cast<unsigned int>(GetParam() * systems + i)); });
  }
}

INSTANTIATE_TEST_SUITE_P(Shard, RunRandomTest, testing::Range(0, SHARDS));
