#include "engine.hpp"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "clock.hpp"
#include "component.hpp"
#include "filter.hpp"
#include "plain-output.hpp"
#include "random-draw.hpp"
#include "run-observer.hpp"
#include "selection.hpp"
#include "virtual-table.hpp"

namespace {

constexpr char STEP[] = "scheduler [";
constexpr char STEP_END[] = "] ";
constexpr char PLATFORM[] = " (platform=";
constexpr char PLATFORM_END[] = ")";
constexpr char CAUGHT_UP[] = "-> ";
constexpr char WAIT[] = ", wait for ";
constexpr char WAIT_END[] = ", ";
constexpr char DEADLOCK[] = "] deadlock!";
constexpr char URGENCY[] = "urgency violated! (at least one transition is urgent at ";
constexpr char URGENCY_END[] = ")";
constexpr char DRIFT[] = "too much drift beetween logical clock and real-time clock! (drift is ";
constexpr char DRIFT_END[] = ")";
constexpr char NO_CHOICE[] =
    "Interactions computation error: deadlock found that does not exist! (there is an engine bug)";
constexpr char LIMIT[] = "Execution limit size (";
constexpr char LIMIT_END[] = ") reached!";

// What a run writes unless it is quiet. Who watches the run gets it in any case.
class Trace {
 public:
  Trace(std::ostream& out, bool quiet) : mOut(quiet ? nullptr : &out) {}

  template <class T>
  const Trace& operator<<(const T& item) const {
    if (mOut != nullptr) Vesk::PlainOutput(*mOut) << item;
    if (Vesk::runObserver != nullptr) Vesk::PlainOutput(Vesk::runObserver->line()) << item;
    return *this;
  }
  void endLine() const {
    if (mOut != nullptr) Vesk::PlainOutput(*mOut) << Vesk::PlainOutput::END_LINE;
    if (Vesk::runObserver != nullptr) Vesk::runObserver->lineEnds();
  }

 private:
  std::ostream* mOut;
};

}  // namespace

// Engine and Explorer

Engine::Engine(Compound& system, LogicalClock& clock, Filter& semantics, bool quiet,
               unsigned int maxSimLimit, std::ostream& simout)
    : mSystem(system),
      mLogicalClock(clock),
      mPlatformClock(clock.platformClock()),
      mSemantics(semantics),
      mWait(Vesk::Time::MIN, Vesk::Time::MAX, LAZY, false, true),
      mQuiet(quiet),
      mMaxSimLimit(maxSimLimit),
      mSimout(simout) {}

Explorer::Explorer(Compound& system, LogicalClock& clock, Filter& semantics, bool quiet)
    : Engine(system, clock, semantics, quiet, 0, std::cout) {}

void Explorer::initialize() {
  system().setup(nullptr);
  system().initialize(&logicalClock());
}

void Explorer::run() {
  if (maxSimLimit() == 0) {
    for (;;) pause();
  }
  const Trace trace(simout(), quiet());
  trace << LIMIT << maxSimLimit() << LIMIT_END;
  trace.endLine();
}

// The step loop

Executer::Executer(Compound& system, LogicalClock& clock, Filter& semantics, Filter& scheduler,
                   bool quiet, unsigned int maxSimLimit, std::ostream& simout, int randSeed,
                   Vesk::Time maxDrift)
    : Engine(system, clock, semantics, quiet, maxSimLimit, simout),
      mScheduler(scheduler),
      mChoice(nullptr),
      mMaxDrift(maxDrift),
      mRandSeed(randSeed) {}

void Executer::initialize() {
  system().setup(nullptr);
  system().initialize(&logicalClock());
  std::srand(static_cast<unsigned int>(mRandSeed));
}

// A policy of this engine chooses from the selection; one of a program looks at what the filters
// have left, and may do whatever it likes with it. Steps of small systems are so short that all
// calls are inlined but those that few steps make.
[[gnu::flatten]] void Executer::run() {
  unsigned int steps = 0;
  Vesk::Selection selection(
      {system(), logicalClock(), interactions(), wait(), semantics(), scheduler()},
      policyIsKnown());
  Vesk::tellStarted(system(), &logicalClock());
  for (;;) {
    beginStep(selection);
    if (!semanticsLeavesSomething(selection)) return Vesk::tellEnd(Vesk::RunEnd::DEADLOCK);
    catchUpWithPlatform(selection);
    if (!urgencyIsRespected()) return Vesk::tellEnd(Vesk::RunEnd::URGENCY);
    if (!driftIsBounded()) return Vesk::tellEnd(Vesk::RunEnd::DRIFT);
    if (!pickExecutable(selection)) return Vesk::tellEnd(Vesk::RunEnd::NO_CHOICE);
    waitAndFire();
    if (limitReached(steps)) return Vesk::tellEnd(Vesk::RunEnd::LIMIT);
  }
}

namespace {

// One of each policy, to tell their class by: never destroyed, and never run.
struct Examples {
  Compound root{"", nullptr};
  SimuClock platform{""};
  LogicalClock clock{"", platform};
  StandardSemantics semantics;
  EmptyScheduler scheduler;
  StandardExecuter standard{root, clock, semantics, scheduler, true, 1, std::cout, 1, 0};
  RandomExecuter random{root, clock, semantics, scheduler, true, 1, std::cout, 1, 0};
  InteractiveExecuter interactive{root, clock, semantics, scheduler, true, 1, std::cout, 0};
};

[[gnu::noinline]] const Examples& examples() {
  static const Examples* const made = new Examples;
  return *made;
}

bool isOf(const Executer& executer, const Executer& example) {
  return Vesk::tableOf(executer) == Vesk::tableOf(example);
}

}  // namespace

// Whether the class is one of this engine. The last two apply the semantics once more at a time of
// their own, and what a scheduler left before that is known only when it leaves everything.
bool Executer::policyIsKnown() const {
  if (isOf(*this, examples().standard)) return true;
  if (!isOf(*this, examples().random) && !isOf(*this, examples().interactive)) return false;
  return Vesk::tableOf(mScheduler) == Vesk::tableOf<Filter>(examples().scheduler);
}

void Executer::beginStep(Vesk::Selection& selection) {
  Connector* legals = system().activate(true);
  interactions().initialize(legals, system().internals());
  selection.begin();
  Vesk::tellStep(legals, system().internals());
  Trace(simout(), quiet()) << STEP << logicalClock().time();
}

bool Executer::semanticsLeavesSomething(Vesk::Selection& selection) {
  wait().setLow(logicalClock().time());
  wait().setHigh(Vesk::Time::MAX);
  selection.applySemantics();
  if (!selection.empty()) return true;
  const Trace trace(simout(), quiet());
  trace << DEADLOCK;
  trace.endLine();
  return false;
}

// A step that must fire at once goes on at the logical time, however late the platform is; one that
// may wait goes on at the platform's time. Marks of the first filtering stay, so the step can only
// become narrower.
void Executer::catchUpWithPlatform(Vesk::Selection& selection) {
  const Trace trace(simout(), quiet());
  const Vesk::Time now = logicalClock().time();
  if (wait().high() > now) {
    logicalClock().update();
    wait().setLow(logicalClock().time());
    selection.applySemantics();
    if (logicalClock().time() != now) trace << CAUGHT_UP << logicalClock().time();
  } else if (!quiet()) {
    const Vesk::Time platform = platformClock().time();
    if (platform != now) trace << PLATFORM << platform << PLATFORM_END;
  }
  trace << STEP_END;
}

bool Executer::urgencyIsRespected() {
  if (wait().high() >= logicalClock().time()) return true;
  const Trace trace(simout(), quiet());
  trace << URGENCY << wait().high() << URGENCY_END;
  trace.endLine();
  return false;
}

bool Executer::driftIsBounded() {
  const Vesk::Time drift = logicalClock().drift(&platformClock());
  if (drift <= mMaxDrift) return true;
  const Trace trace(simout(), quiet());
  trace << DRIFT << drift << DRIFT_END;
  trace.endLine();
  return false;
}

// Deliberate: the message of an empty choice is written in quiet runs too. It also ends every
// interactive run that the user leaves, and programs that drive the dialogue look for it.
// (docs/decisions/0008-an-interactive-run-ends-with-a-bug-line.md)
bool Executer::pickExecutable(Vesk::Selection& selection) {
  selection.applyScheduler();
  if (selection.policyIsKnown()) {
    chooseFrom(selection);
  } else {
    choose();
  }
  if (mChoice != nullptr) return true;
  const Trace trace(simout(), false);
  trace << NO_CHOICE;
  trace.endLine();
  return false;
}

void Executer::waitAndFire() {
  const Trace trace(simout(), quiet());
  if (logicalClock().time() < mTime) {
    trace << WAIT << mTime << WAIT_END;
    logicalClock().wait(mTime);
  }
  trace << mChoice;
  trace.endLine();
  Vesk::tellFiring(*mChoice, mTime);
  mChoice->actuate(mTime);
  mChoice->execute(mTime);
  Vesk::tellStepEnd();
}

bool Executer::limitReached(unsigned int& steps) {
  if (maxSimLimit() == 0) return false;
  ++steps;
  if (steps != maxSimLimit()) return false;
  const Trace trace(simout(), quiet());
  trace << LIMIT << steps << LIMIT_END;
  trace.endLine();
  return true;
}

// Choice by chance.

long double Executer::randomFraction() {
  return Vesk::RandomDraw().fraction();
}

Executable* Executer::pickAtRandom() {
  const int count = interactions().count();
  if (count == 0) return nullptr;
  return *(interactions().begin() + static_cast<int>(Vesk::RandomDraw().of(count)));
}

// What choose() of the classes of this engine does.
void Executer::chooseFrom(Vesk::Selection& selection) {
  if (isOf(*this, examples().interactive)) {
    return static_cast<InteractiveExecuter&>(*this).askFor(selection);
  }
  if (isOf(*this, examples().random)) {
    wait().setLow(drawTime());
    selection.applySemantics();
  }
  setChoice(selection.pick());
  setTime(choice() != nullptr ? selection.next() : wait().low());
}

// Deliberate: the latest possible time is never drawn unless it is the only one, because a seed
// gives the times that it has always given.
// (docs/decisions/0013-the-latest-time-of-a-random-draw.md)
Vesk::Time Executer::drawTime() const {
  const Vesk::Time width = mWait.high() - mWait.low();
  return mWait.low() + Vesk::Time(Vesk::RandomDraw().of(width.microseconds()));
}

void StandardExecuter::choose() {
  const Vesk::Time now = wait().low();
  setChoice(pickAtRandom());
  setTime(choice() != nullptr ? choice()->next(now) : now);
}

void RandomExecuter::choose() {
  const Vesk::Time chosen = drawTime();
  wait().setLow(chosen);
  semantics().filter(interactions(), wait());
  setChoice(pickAtRandom());
  setTime(choice() != nullptr ? choice()->next(chosen) : chosen);
}
