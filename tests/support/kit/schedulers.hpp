// A scheduler whose fields can be seen and set, and what its loops trace.
#ifndef VESK_TESTS_KIT_SCHEDULERS_HPP
#define VESK_TESTS_KIT_SCHEDULERS_HPP

#include <functional>
#include <string>
#include <vector>

#include "vesk.hpp"

namespace kit {

// As main builds it, or in another mode; all fields are open to the test.
class OpenScheduler : public Scheduler {
 public:
  explicit OpenScheduler(Compound* system, int mode = 0, int runMode = 1, int optimization = 0);
  ~OpenScheduler() override;

  void parse(const std::vector<std::string>& arguments);

  using Scheduler::aut_file;
  using Scheduler::deadlock_states;
  using Scheduler::disable_output;
  using Scheduler::mChoice;
  using Scheduler::mChoiceDeadline;
  using Scheduler::mChoiceNext;
  using Scheduler::mChoicePort;
  using Scheduler::mConnectorChoice;
  using Scheduler::mDeadline;
  using Scheduler::mDelta;
  using Scheduler::mDisable_output;
  using Scheduler::mDrift;
  using Scheduler::mInternals;
  using Scheduler::mIntQuiet;
  using Scheduler::mLegal;
  using Scheduler::mLogicalClock;
  using Scheduler::mMaxDrift;
  using Scheduler::mMaxSimLimit;
  using Scheduler::mMaxWait;
  using Scheduler::mMode;
  using Scheduler::mOptimizationMode;
  using Scheduler::mPlatformClock;
  using Scheduler::mQuiet;
  using Scheduler::mRandSeed;
  using Scheduler::mRunMode;
  using Scheduler::mSimLimit;
  using Scheduler::mSimStep;
  using Scheduler::mSystem;
  using Scheduler::mTolerance;
  using Scheduler::mTrace;
  using Scheduler::mTraverse;
  using Scheduler::mZeroWaiting;
  using Scheduler::pruned_paths;
  using Scheduler::simout_file;
  using Scheduler::state_file;
  using Scheduler::stepLimitReached;
};

// The trace of one call of a loop of the scheduler.
std::string traceOf(Scheduler& scheduler, const std::function<void()>& loop);

}  // namespace kit

#endif
