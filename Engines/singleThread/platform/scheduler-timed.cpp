// The scheduler's own timed loop: chooses by deadlines what fires next, waits for it on the logical
// clock and watches how far that clock lags behind the platform.

#include <sys/times.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ostream>

#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "plain-output.hpp"
#include "port.hpp"
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

// Visits the interactions of the undominated connectors, then the internal ports, both in the order
// of their lists, until a visit returns false. True when none did.
template <class Visit>
bool everyCandidate(Connector* legal, Port* internals, Vesk::Time now, const GenericClock* logical,
                    Visit visit) {
  for (; legal != nullptr; legal = legal->next()) {
    if (legal->dominated()) continue;
    for (Interaction* i = legal->feasibleInter(); i != nullptr; i = i->next()) {
      if (!visit(Candidate(i, now))) return false;
    }
  }
  for (; internals != nullptr; internals = internals->next()) {
    if (!visit(Candidate(internals, now, logical))) return false;
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

// A candidate takes the place of the present choice when it
// 1. is the first one, or
// 2. can fire earlier, with time left to execute it before the choice must fire, or
// 3. must fire earlier, and firing the choice first would leave no time to execute it, or
// 4. has exactly the same times and wins the draw against those seen so far.
void Scheduler::rt_choose(Vesk::Time now) {
  mChoice = nullptr;
  mChoicePort = nullptr;
  mChoiceNext = Vesk::Time::MAX;
  mChoiceDeadline = Vesk::Time::MAX;
  int ties = 1;
  everyCandidate(mLegal, mInternals, now, mLogicalClock, [&](const Candidate& candidate) {
    const Vesk::Time next = candidate.next();
    if (next == Vesk::Time::MAX) return true;
    const Vesk::Time deadline = candidate.deadline();
    const bool first = mChoice == nullptr && mChoicePort == nullptr;
    if (first || (next < mChoiceNext && next + mDelta < mChoiceDeadline) ||
        (deadline < mChoiceDeadline && deadline <= mChoiceNext + mDelta)) {
      ties = 1;
    } else if (next != mChoiceNext || deadline != mChoiceDeadline || std::rand() % ++ties != 0) {
      return true;
    }
    mChoice = nullptr;
    mChoicePort = nullptr;
    if (candidate.interaction() != nullptr) setChoice(candidate.interaction(), next, deadline);
    if (candidate.port() != nullptr) setChoice(candidate.port(), next, deadline);
    return true;
  });
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
  while (timedStep()) {
  }
  std::printf(CPU_TIME, static_cast<double>(watch.seconds()));
}

// False when the run is over.
bool Scheduler::timedStep() {
  mLegal = mSystem->activate(true);
  mInternals = mSystem->internals();
  setDeadline(mLogicalClock->time());
  if (!mQuiet) traceTimes(STEP);
  if (deadlock(mLogicalClock->time())) {
    Vesk::PlainOutput(*simout) << DEADLOCK << END_LINE;
    return false;
  }
  catchUpWithPlatform();
  if (!deadlineIsMet() || !driftIsBounded()) return false;
  if (mZeroWaiting == 0) waitAtRandom();
  rt_choose(mLogicalClock->time());
  waitAndFire();
  if (mTrace != 0) traceState();
  return !stepLimitReached();
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
  return false;
}

bool Scheduler::driftIsBounded() {
  mDrift = mLogicalClock->drift(mPlatformClock);
  if (mDrift <= mMaxDrift) return true;
  Vesk::PlainOutput(*simout) << TOO_MUCH_DRIFT << mDrift << ')' << END_LINE;
  return false;
}

// Deliberate: the target is a date, and yet it is added to the current time once more.
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
  if (choice != nullptr) choice->execute(mLogicalClock->time());
}

// Deliberate: the step number counts only while there is a limit, and is the number before this
// step.
void Scheduler::traceState() {
  Node* state = mSystem->getState();
  char* text = state->printNode();
  if (!disable_output) Vesk::PlainOutput(*simout) << mSimStep << " : " << text << END_LINE;
  std::free(text);
  delete state;
}
