// The scheduler's own timed loop: chooses by deadlines what fires next, waits for it on the logical
// clock and watches how far that clock lags behind the platform.

#include <sys/times.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ostream>

#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "plain-output.hpp"
#include "port.hpp"
#include "run-observer.hpp"
#include "scheduler.hpp"
#include "states.hpp"

namespace {

constexpr auto END_LINE = Vesk::PlainOutput::END_LINE;

constexpr char STEP[] = "scheduler [l: ";
constexpr char CAUGHT_UP[] = " -> [l: ";
constexpr char PLATFORM[] = ", r: ";
constexpr char DEADLOCK[] = " deadlock!";
constexpr char MISSED_DEADLINE[] = "miss deadline! (deadline ";
constexpr char TOO_MUCH_DRIFT[] =
    "too much drift beetween logical clock and real-time clock! (drift is ";
constexpr char RANDOM_WAIT[] = ", (random) wait for ";
constexpr char CHOICE[] = "choose ";
constexpr char WAIT[] = ", wait for ";
constexpr char EXECUTE[] = " execute...";
constexpr char CPU_TIME[] = "time : %f\n";

// Something that can be fired, and when, seen from one instant of the logical clock. A constraint
// is asked in the time of its own clock, and the answer is translated back.
class Candidate {
 public:
  Candidate(Interaction* interaction, Vesk::Time now)
      : mInteraction(interaction),
        mPort(nullptr),
        mConstraint(interaction->constraint()),
        mNow(now),
        mOffset(0) {}
  Candidate(Port* port, Vesk::Time now, const GenericClock* logical)
      : mInteraction(nullptr),
        mPort(port),
        mConstraint(port->constraint()),
        mNow(now),
        mOffset(offset(mConstraint, logical)) {}

  // Exactly one of the two is not null.
  Interaction* interaction() const { return mInteraction; }
  Port* port() const { return mPort; }
  Vesk::Time next() const {
    return mConstraint == nullptr ? mNow : mConstraint->next(mNow - mOffset) + mOffset;
  }
  Vesk::Time deadline() const {
    return mConstraint == nullptr ? Vesk::Time::MAX
                                  : mConstraint->deadline(mNow - mOffset) + mOffset;
  }

 private:
  static Vesk::Time offset(const Constraint* constraint, const GenericClock* logical) {
    if (constraint == nullptr || constraint->clock() == nullptr) return Vesk::Time(0);
    return constraint->clock()->drift(logical);
  }

  Interaction* mInteraction;
  Port* mPort;
  const Constraint* mConstraint;
  Vesk::Time mNow;
  Vesk::Time mOffset;  // logical time minus the time of the constraint's clock
};

// The best of the candidates seen so far. Among those with the same times every one has the same
// chance.
class Choice {
 public:
  // Delta is the time that it takes to execute a candidate.
  explicit Choice(Vesk::Time delta)
      : mDelta(delta),
        mInteraction(nullptr),
        mPort(nullptr),
        mNext(Vesk::Time::MAX),
        mDeadline(Vesk::Time::MAX),
        mEqualOnes(0) {}

  // At most one of the two is not null.
  Interaction* interaction() const { return mInteraction; }
  Port* port() const { return mPort; }
  Vesk::Time next() const { return mNext; }
  Vesk::Time deadline() const { return mDeadline; }

  // Takes a candidate that is better than the present choice, or wins the draw against its equals.
  // One that can never fire is no candidate.
  void consider(const Candidate& candidate) {
    const Vesk::Time next = candidate.next();
    if (next == Vesk::Time::MAX) return;
    const Vesk::Time deadline = candidate.deadline();
    if (isFirst() || isSooner(next) || isMoreUrgent(deadline)) {
      take(candidate, next, deadline);
      mEqualOnes = 1;
    } else if (next == mNext && deadline == mDeadline) {
      ++mEqualOnes;
      const bool drawn = std::rand() % mEqualOnes == 0;
      if (drawn) take(candidate, next, deadline);
    }
  }

 private:
  bool isFirst() const { return mInteraction == nullptr && mPort == nullptr; }
  // It can fire earlier, with time left to execute it before the choice must fire.
  bool isSooner(Vesk::Time next) const { return next < mNext && next + mDelta < mDeadline; }
  // It must fire earlier, and firing the choice first would leave no time to execute it.
  bool isMoreUrgent(Vesk::Time deadline) const {
    return deadline < mDeadline && deadline <= mNext + mDelta;
  }
  void take(const Candidate& candidate, Vesk::Time next, Vesk::Time deadline) {
    mInteraction = candidate.interaction();
    mPort = candidate.port();
    mNext = next;
    mDeadline = deadline;
  }

  Vesk::Time mDelta;
  Interaction* mInteraction;
  Port* mPort;
  Vesk::Time mNext;
  Vesk::Time mDeadline;
  int mEqualOnes;  // candidates with the times of the choice, itself included
};

// Visits the interactions of the undominated connectors, then the internal ports, both in the order
// of their lists, until a visit returns false. True when none did.
template <class Visit>
bool everyCandidate(Connector* legals, Port* internals, Vesk::Time now, const GenericClock* logical,
                    Visit visit) {
  for (Connector* legal : Vesk::Chain(legals)) {
    if (legal->dominated()) continue;
    for (Interaction* feasible : Vesk::Chain(legal->feasibleInter())) {
      if (!visit(Candidate(feasible, now))) return false;
    }
  }
  for (Port* internal : Vesk::Chain(internals)) {
    if (!visit(Candidate(internal, now, logical))) return false;
  }
  return true;
}

// The user CPU time of this process since construction.
class CpuWatch {
 public:
  CpuWatch() : mTicksPerSecond(static_cast<float>(sysconf(_SC_CLK_TCK))), mStart(now()) {}
  float seconds() const { return now() - mStart; }

 private:
  float now() const {
    tms usage;
    times(&usage);
    return static_cast<float>(usage.tms_utime) / mTicksPerSecond;
  }

  float mTicksPerSecond;
  float mStart;
};

// rand() times 2^-31 times the bound, truncated towards zero.
Vesk::Time randomWait(int bound) {
  return Vesk::Time(static_cast<long long>(std::rand()) * bound / (1LL << 31));
}

}  // namespace

// ---- The choice ------------------------------------------------------------------------------

bool Scheduler::deadlock(Vesk::Time now) {
  return everyCandidate(mLegal, mInternals, now, mLogicalClock, [](const Candidate& candidate) {
    return candidate.next() >= Vesk::Time::MAX;
  });
}

void Scheduler::setDeadline(Vesk::Time now) {
  mDeadline = Vesk::Time::MAX;
  everyCandidate(mLegal, mInternals, now, mLogicalClock, [this](const Candidate& candidate) {
    mDeadline = std::min(mDeadline, candidate.deadline());
    return true;
  });
}

// One choice among interactions and ports, so that equal ones of both kinds have the same chance.
// All are asked: which one is the better of two depends on those before it, and each equal one
// takes a draw.
void Scheduler::rt_choose(Vesk::Time now) {
  Choice choice(mDelta);
  everyCandidate(mLegal, mInternals, now, mLogicalClock, [&choice](const Candidate& candidate) {
    choice.consider(candidate);
    return true;
  });
  setChoice(choice.interaction(), choice.next(), choice.deadline());
  setChoice(choice.port(), choice.next(), choice.deadline());
}

// ---- The loop --------------------------------------------------------------------------------

void Scheduler::runRandomExecution() {
  if (mLogicalClock == nullptr) {
    std::fprintf(stderr, "vesk: a timed execution needs the clocks that parseCmdFile makes\n");
    return;
  }
  std::srand(static_cast<unsigned int>(mRandSeed));
  const CpuWatch watch;
  mSystem->setup(this);
  mSystem->initialize(mLogicalClock);
  Vesk::tellStarted(*mSystem, mLogicalClock);
  while (timedStep()) {
  }
  std::printf(CPU_TIME, static_cast<double>(watch.seconds()));
}

// False when the run is over.
bool Scheduler::timedStep() {
  mLegal = mSystem->activate(true);
  mInternals = mSystem->internals();
  Vesk::tellStep(mLegal, mInternals);
  setDeadline(mLogicalClock->time());
  if (!mQuiet) traceTimes(STEP);
  if (deadlock(mLogicalClock->time())) {
    Vesk::PlainOutput(*simout) << DEADLOCK << END_LINE;
    Vesk::tellEnd(Vesk::RunEnd::DEADLOCK);
    return false;
  }
  catchUpWithPlatform();
  if (!deadlineIsMet() || !driftIsBounded()) return false;
  if (mZeroWaiting == 0) waitAtRandom();
  rt_choose(mLogicalClock->time());
  waitAndFire();
  if (mTrace != 0) traceState();
  if (!stepLimitReached()) return true;
  Vesk::tellEnd(Vesk::RunEnd::LIMIT);
  return false;
}

void Scheduler::traceTimes(const char* title) {
  Vesk::PlainOutput(*simout) << title << mLogicalClock->time() << PLATFORM
                             << mLogicalClock->platformClock().time() << ']';
}

void Scheduler::catchUpWithPlatform() {
  if (mDeadline - mTolerance <= mLogicalClock->time()) return;
  mLogicalClock->update();
  if (!mQuiet) traceTimes(CAUGHT_UP);
}

bool Scheduler::deadlineIsMet() {
  if (mDeadline >= mLogicalClock->time()) return true;
  Vesk::PlainOutput(*simout) << MISSED_DEADLINE << mDeadline << ')' << END_LINE;
  Vesk::tellEnd(Vesk::RunEnd::URGENCY);
  return false;
}

bool Scheduler::driftIsBounded() {
  mDrift = mLogicalClock->drift(mPlatformClock);
  if (mDrift <= mMaxDrift) return true;
  Vesk::PlainOutput(*simout) << TOO_MUCH_DRIFT << mDrift << ')' << END_LINE;
  Vesk::tellEnd(Vesk::RunEnd::DRIFT);
  return false;
}

// Deliberate: the target is a date, and yet it is added to the current time once more, because
// traces depend on it. (docs/decisions/0007-the-random-wait-is-added-twice.md)
void Scheduler::waitAtRandom() {
  const Vesk::Time slack = mDeadline - mLogicalClock->time();
  const int bound = static_cast<int>(std::min(mMaxWait, slack));
  const Vesk::Time target = mLogicalClock->time() + randomWait(bound);
  if (!mQuiet) Vesk::PlainOutput(*simout) << RANDOM_WAIT << target << ", ";
  mLogicalClock->wait(mLogicalClock->time() + target);
}

// With nothing to choose the clock still waits, and nothing fires.
void Scheduler::waitAndFire() {
  Executable* choice = mChoice;
  if (choice == nullptr) choice = mChoicePort;
  if (!mQuiet) {
    const Vesk::PlainOutput plain(*simout);
    plain << CHOICE;
    if (choice != nullptr) plain << choice;
    plain << ' ' << WAIT << mChoiceNext << ',';
  }
  mLogicalClock->wait(mChoiceNext);
  if (!mQuiet) Vesk::PlainOutput(*simout) << EXECUTE << END_LINE;
  if (choice == nullptr) return;
  const Vesk::Time now = mLogicalClock->time();
  Vesk::tellFiring(*choice, now);
  choice->execute(now);
  Vesk::tellStepEnd();
}

// Deliberate: the step number is the counter of the limit before this step, so it counts only while
// there is a limit. (docs/decisions/0023-the-step-number-of-a-printed-state.md)
void Scheduler::traceState() {
  Node* state = mSystem->getState();
  char* text = state->printNode();
  if (!disable_output) Vesk::PlainOutput(*simout) << mSimStep << " : " << text << END_LINE;
  std::free(text);
  delete state;
}
