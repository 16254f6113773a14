// Linked with one of the example models: their quiet steps allocate nothing.

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "allocation-count.hpp"
#include "vesk.hpp"

namespace {

constexpr unsigned int WARM_UP = 100;
constexpr unsigned int STEPS = 400;
constexpr bool QUIET = true;
constexpr int SEED = 2;

// Simulated time. Notes how many blocks have been allocated when it is first waited for a time
// beyond the given one, and when it is waited for the last time.
class NotingClock : public SimuClock {
 public:
  NotingClock() : SimuClock("simulated") {}
  void wait(const Vesk::Time& t) override {
    SimuClock::wait(t);
    if (t <= from) return;
#if VESK_COUNTS_ALLOCATIONS
    if (waits++ == 0) before = allocationCount;
    after = allocationCount;
#endif
  }

  Vesk::Time from = Vesk::Time::MAX;
  int waits = 0;
  long before = 0;
  long after = 0;
};

// A run of the model over simulated time.
template <class Policy, class Scheduling>
class ModelRun {
 public:
  ModelRun()
      : mName("model"), mArguments{&mName[0], nullptr}, mSystem(Compound::Create(1, mArguments)) {}

  // Goes on for so many steps.
  void run(unsigned int steps) {
    Policy executer(*mSystem, mClock, mSemantics, mScheduling, QUIET, steps, mTrace, SEED,
                    Vesk::Time(40000));
    if (!mInitialized) executer.initialize();
    mInitialized = true;
    executer.run();
  }
  const std::string text() const { return mTrace.str(); }
  Vesk::Time time() const { return mClock.time(); }

  NotingClock platform;

 private:
  std::string mName;
  char* mArguments[2];
  std::unique_ptr<Compound> mSystem;
  StandardSemantics mSemantics;
  Scheduling mScheduling;
  LogicalClock mClock{"logical", platform};
  std::ostringstream mTrace;
  bool mInitialized = false;
};

#if VESK_COUNTS_ALLOCATIONS

// Quiet steps after the first ones allocate nothing, while time passes.
template <class Model>
void expectNoAllocation() {
  Model first;
  first.run(WARM_UP);
  Model model;
  model.platform.from = first.time();
  model.run(WARM_UP + STEPS);
  EXPECT_GT(model.platform.waits, 1);
  EXPECT_EQ(model.platform.after, model.platform.before);
  EXPECT_EQ(model.text(), "");
}

TEST(TimedStepsTest, QuietStepsByEarliestDeadlineAllocateNothing) {
  expectNoAllocation<ModelRun<StandardExecuter, EDFScheduler>>();
}

#ifndef VESK_RANDOM_RUN_ENDS
TEST(TimedStepsTest, QuietRandomStepsAllocateNothing) {
  expectNoAllocation<ModelRun<RandomExecuter, EmptyScheduler>>();
}
#endif

#endif

TEST(TimedStepsTest, EqualSeedsGiveEqualRuns) {
  ModelRun<RandomExecuter, EmptyScheduler> first;
  ModelRun<RandomExecuter, EmptyScheduler> second;
  first.run(STEPS);
  second.run(STEPS);
  EXPECT_EQ(first.time(), second.time());
  EXPECT_GT(first.time(), Vesk::Time(0));
}

}  // namespace
