// What a step costs: calls of the allocator and of the model's guards, for rings of stations that
// pass a token on.

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <memory>
#include <vector>

#include "allocations.hpp"
#include "dialogue.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::Time;

namespace {

// What a run counts.
struct Tally {
  long guards = 0;
  long steps = 0;
  // Guard calls up to the first and the last step of a window.
  long firstStep = 0, lastStep = 0;
  long guardsAtFirst = 0, guardsAtLast = 0;

  void step() {
    ++steps;
    if (steps == firstStep) guardsAtFirst = guards;
    if (steps == lastStep) guardsAtLast = guards;
  }
};

// Station i passes the token on to station i + 1; station 0 has it first.
class Ring : public System {
 public:
  Ring(int stations, Tally& tally) : System("R"), mTally(tally) {
    std::vector<TestAtom*> all;
    for (int i = 0; i < stations; ++i) all.push_back(station(i == 0));
    for (std::size_t i = 0; i < all.size(); ++i) {
      TestAtom* next = all[(i + 1) % all.size()];
      rendezvous("pass", all[i]->ports()[0], next->ports()[1])->beforeGuard = [&tally] {
        ++tally.guards;
      };
    }
  }

 private:
  // Gives the token away when it has it, takes it when not: every second firing is a step.
  TestAtom* station(bool token) {
    TestAtom* made = atom("S");
    const auto has = [made, token] { return (made->fired % 2 == 0) == token; };
    made->rule("give", has);
    made->rule(
        "take", [has] { return !has(); }, [this] { mTally.step(); });
    return made;
  }

  Tally& mTally;
};

class LimitedScheduler : public Scheduler {
 public:
  LimitedScheduler(Compound* system, int optimization, int limit)
      : Scheduler(system, 0, true, 1, -1, optimization) {
    mSimLimit = true;
    mMaxSimLimit = limit;
  }
};

Tally runRing(int stations, long first, long last,
              const std::function<void(Compound&, int limit)>& run) {
  Tally tally;
  tally.firstStep = first;
  tally.lastStep = last;
  Ring ring(stations, tally);
  run(ring, static_cast<int>(last));
  EXPECT_EQ(tally.steps, last);
  return tally;
}

Tally runRing(int stations, int optimization, long first, long last) {
  return runRing(stations, first, last, [optimization](Compound& ring, int limit) {
    LimitedScheduler(&ring, optimization, limit).run_execution();
  });
}

}  // namespace

TEST(AllocationCountTest, TheCounterCounts) {
  ASSERT_TRUE(COUNTING);
  const long made = Allocations::made, freed = Allocations::freed;
  const std::unique_ptr<std::vector<int>> block(new std::vector<int>(10));
  EXPECT_EQ(Allocations::made, made + 2);
  EXPECT_EQ(Allocations::freed, freed);
}

// Two levels with an exported port, a broadcast and priorities; every round the connectors of one
// atom are evaluated again.
TEST(AllocationCountTest, ActivationsOfAnUntimedModelAllocateNothing) {
  System root("R");
  System* inner = root.compound("D");
  TestAtom *a = inner->atom("A"), *b = root.atom("B");
  Port *trigger = a->enabled("t"), *always = a->enabled("l"), *sometimes = a->port("m");
  TestConnector* exported = inner->exported(BROADCAST, "x", trigger, always, sometimes);
  TestConnector* user = root.rendezvous("k", exported->xPort(), b->enabled("s"));
  TestConnector* apart = root.rendezvous("y", b->enabled("u"));
  root.priority("p", Interaction::Create(user, 2, 0, 1), Interaction::Create(apart, 1, 0));
  root.setup(nullptr);
  long made = 0;
  for (int round = 0; round < 10100; ++round) {
    if (round == 100) made = Allocations::made;
    sometimes->setSynced(round % 3 == 0);
    a->resetLink();
    root.activate(round % 7 != 0);
  }
  EXPECT_EQ(Allocations::made, made);
  EXPECT_TRUE(user->feasibleInter()->dominated());
}

// In maximal synchronisation a step evaluates the connectors of the two stations that have moved:
// the one before, the one that fired and the one behind.
TEST(GuardCountTest, StepsOfMaximalSynchronisationEvaluateThreeConnectors) {
  for (int stations : {10, 1000}) {
    const Tally tally = runRing(stations, 1, 100, 300);
    EXPECT_EQ(tally.guardsAtLast - tally.guardsAtFirst, 3 * 200) << stations;
  }
}

TEST(GuardCountTest, StepsOfTheTimedEngineEvaluateThreeConnectors) {
  const auto runTimed = [](Compound& ring, int limit) {
    SimuClock platform("platform");
    LogicalClock logical("logical", platform);
    StandardSemantics semantics;
    EDFScheduler scheduler;
    StandardExecuter executer(ring, logical, semantics, scheduler, true,
                              static_cast<unsigned int>(limit), std::cout, 1, Time(0));
    executer.initialize();
    executer.run();
  };
  for (int stations : {10, 1000}) {
    const Tally tally = runRing(stations, 100, 300, runTimed);
    EXPECT_EQ(tally.guardsAtLast - tally.guardsAtFirst, 3 * 200) << stations;
  }
}

TEST(GuardCountTest, StepsOfTheSchedulersTimedLoopEvaluateThreeConnectors) {
  const auto runTimed = [](Compound& ring, int limit) {
    LimitedScheduler scheduler(&ring, 0, limit);
    char name[] = "model";
    char* arguments[] = {name, nullptr};
    scheduler.parseCmdFile(1, arguments);
    testing::internal::CaptureStdout();
    scheduler.run_execution();
    testing::internal::GetCapturedStdout();
  };
  for (int stations : {10, 1000}) {
    const Tally tally = runRing(stations, 100, 300, runTimed);
    EXPECT_EQ(tally.guardsAtLast - tally.guardsAtFirst, 3 * 200) << stations;
  }
}

// Tells how often it is read: a walk of the executables reads it for each internal port.
class ReadClock : public LogicalClock {
 public:
  explicit ReadClock(PlatformClock& platform) : LogicalClock("logical", platform) {}
  Time time() const override {
    ++readings;
    return LogicalClock::time();
  }

  mutable long readings = 0;
};

// Atoms that tick in turn, each alone in a connector or through an internal port.
struct Timers {
  Timers(int number, bool internal) : root("R"), platform("platform"), clock(platform) {
    for (int i = 0; i < number; ++i) {
      TestAtom* atom = root.atom("T");
      Port* tick = atom->timedRule(
          "t", within(100 + i, 100 + i, EAGER), [] { return true; }, [this] { ++ticks; });
      internal ? tick->setInternal() : void(root.rendezvous("k", tick));
      atom->onExecute = [this](Port*) { note(); };
    }
  }
  template <class Policy>
  void run(Filter&& scheduler) {
    StandardSemantics semantics;
    Policy executer(root, clock, semantics, scheduler, true, LAST, std::cout, 1, Time(0));
    executer.initialize();
    executer.run();
  }
  // A dialogue that leaves everything to chance.
  void runByAnswers() {
    RepeatedAnswers answers("r\n");
    Nowhere nowhere;
    const Redirected console(&answers, &nowhere);
    StandardSemantics semantics;
    EmptyScheduler scheduler;
    InteractiveExecuter executer(root, clock, semantics, scheduler, true, LAST, std::cout, Time(0));
    executer.initialize();
    executer.run();
  }
  void note() {
    if (ticks == FIRST) {
      readings = clock.readings;
      made = Allocations::made;
    }
    if (ticks + 1 == LAST) {
      readings = clock.readings - readings;
      made = Allocations::made - made;
    }
  }

  static constexpr int FIRST = 4000;
  static constexpr int LAST = 5000;

  System root;
  SimuClock platform;
  ReadClock clock;
  int ticks = 0;
  long readings = 0;
  long made = 0;
};

// A step reads the clock some ten times for the engine, and for the atom that moves.
TEST(ReadingCountTest, StepsOfTheTimedEngineDoNotAskAllInternalPorts) {
  for (const int number : {20, 1000}) {
    Timers timers(number, true);
    timers.run<StandardExecuter>(EDFScheduler());
    EXPECT_EQ(timers.ticks, Timers::LAST);
    EXPECT_LT(timers.readings, 40 * (Timers::LAST - Timers::FIRST)) << number;
  }
}

TEST(ReadingCountTest, StepsAtRandomTimesDoNotAskAllInternalPorts) {
  for (const int number : {20, 1000}) {
    Timers timers(number, true);
    timers.run<RandomExecuter>(EmptyScheduler());
    EXPECT_EQ(timers.ticks, Timers::LAST);
    EXPECT_LT(timers.readings, 40 * (Timers::LAST - Timers::FIRST)) << number;
  }
}

TEST(ReadingCountTest, StepsOfADialogueDoNotAskAllInternalPorts) {
  for (const int number : {20, 1000}) {
    Timers timers(number, true);
    timers.runByAnswers();
    EXPECT_EQ(timers.ticks, Timers::LAST);
    EXPECT_LT(timers.readings, 40 * (Timers::LAST - Timers::FIRST)) << number;
    EXPECT_EQ(timers.made, 0);
  }
}

TEST(AllocationCountTest, StepsOfTheTimedEngineAllocateNothing) {
  for (const bool internal : {false, true}) {
    Timers timers(1000, internal);
    timers.run<StandardExecuter>(EDFdeltaScheduler(Time(10)));
    EXPECT_EQ(timers.ticks, Timers::LAST);
    EXPECT_EQ(timers.made, 0) << internal;
  }
}

// Once all connectors have been looked at, a step evaluates the connector before the one that fired
// (not legal) and the one behind it, which fires; the one that fired waits in the heap and is
// queued again before its turn comes.
TEST(GuardCountTest, StepsOfThePriorityHeapLoopDoNotDependOnTheNumberOfStations) {
  for (int stations : {10, 1000, 100000}) {
    const Tally tally = runRing(stations, 2, 100, 1100);
    EXPECT_EQ(tally.guardsAtLast - tally.guardsAtFirst, 2 * 1000) << stations;
  }
}

// A timed broadcast with an exported port, a port priority and an interaction priority, activated
// again and again while its ports change between timed and untimed.
TEST(FlatMemoryTest, ATimedModelKeepsItsNumberOfBlocks) {
  System root("R");
  System* inner = root.compound("D");
  TestAtom *a = inner->atom("A"), *b = root.atom("B");
  Constraint* often = a->within(0, 100);
  Constraint* seldom = a->within(40, 60);
  Port *trigger = a->port("t"), *low = a->port("l"), *high = a->port("h");
  TestConnector* exported = inner->exported(BROADCAST, "x", trigger, low, high);
  TestConnector* user = root.rendezvous("k", exported->xPort(), b->enabled("s"));
  TestConnector* apart = root.rendezvous("y", b->enabled("u", b->within(10, 20)));
  root.priority("p", Interaction::Create(user, 2, 0, 1), Interaction::Create(apart, 1, 0))->setup();
  int round = 0;
  const auto announce = [&] {
    for (Port* port : {trigger, low, high}) {
      port->setSynced(false);
      port->setDominated(false);
    }
    seldom->reset();
    *seldom &= Constraint(nullptr, 40, 60, EAGER);
    Constraint* const lowC = round % 3 == 0 ? nullptr : often;
    Constraint* const highC = round % 2 == 0 && lowC != nullptr ? seldom : nullptr;
    a->applyPriority(low, lowC, high, highC);
    a->rt_sync(3, trigger, 1, round % 5 == 0 ? often : static_cast<Constraint*>(nullptr), low, 1,
               lowC, high, 1, highC);
    often->reset();
  };
  long live = 0;
  for (; round < 20000; ++round) {
    announce();
    a->resetLink();
    root.activate(true);
    if (round == 1000) live = Allocations::live();
  }
  EXPECT_EQ(Allocations::live(), live);
}

TEST(FlatMemoryTest, ADominatedUntimedPortKeepsItsNumberOfBlocks) {
  TestAtom atom("A", nullptr);
  Constraint above(nullptr, 0, 10, LAZY);
  Port *low = atom.port("l"), *high = atom.port("h");
  long live = 0;
  for (int round = 0; round < 100000; ++round) {
    high->setConstraint(&above);
    low->setConstraint(nullptr);
    high->dominate(*low, Time(0));
    low->setSynced(true);
    atom.sync(1, low, 1);
    if (round == 100) live = Allocations::live();
  }
  EXPECT_EQ(Allocations::live(), live);
}
