#include "scheduler.hpp"

#include <iostream>
#include <memory>

#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "exploration/untimed-priorities.hpp"
#include "interaction-index.hpp"
#include "lookahead.hpp"
#include "plain-output.hpp"
#include "port.hpp"
#include "random-draw.hpp"
#include "reports.hpp"
#include "run-observer.hpp"

namespace {

constexpr auto END_LINE = Vesk::PlainOutput::END_LINE;

constexpr char TRACE_PREFIX[] = "scheduler : ";
constexpr char MAXIMAL_DEADLOCK[] = "scheduler : deadlock";
constexpr char HEAP_DEADLOCK[] = "Error or Deadlock!\n";

int countUndominated(const Connector* list) {
  int count = 0;
  for (const Connector* connector : Vesk::Chain(list)) {
    if (!connector->dominated()) ++count;
  }
  return count;
}

// Gives the connectors of a system that no plan has the numbers that a plan would give them, from
// the given one on. Returns the number behind the last.
std::size_t number(Compound& compound, std::size_t next) {
  for (Component* component : compound.components()) {
    if (component->isCompound()) next = number(static_cast<Compound&>(*component), next);
  }
  for (Connector* connector : compound.connectors()) {
    Vesk::InteractionIndex& place = connector->interactions();
    if (place.plan == nullptr) place.rank = static_cast<decltype(place.rank)>(next);
    ++next;
  }
  return next + 1;
}

// For a loop that has no plan; null for a small system.
std::unique_ptr<Vesk::Lookahead> lookAhead(Compound& root) {
  const std::size_t count = number(root, 0);
  return Vesk::Lookahead::pays(count) ? std::make_unique<Vesk::Lookahead>(count) : nullptr;
}

void fire(Connector& connector) {
  Vesk::tellFiring(connector);
  connector.execute();
}

// Gives false, which ends a loop.
bool endAtLimit() {
  Vesk::tellStepEnd();
  Vesk::tellEnd(Vesk::RunEnd::LIMIT);
  return false;
}

// Queues the connectors that depend on the ports that the connector has just fired.
void notifyFiredPorts(Connector& connector) {
  const Interaction* fired = connector.feasibleInter();
  if (fired == nullptr) return;
  for (int i = 0; i < connector.ports().count(); ++i) {
    if (fired->synced().in(i)) connector.ports()[i]->notifyDependentPorts();
  }
}

}  // namespace

// ---- Construction ----------------------------------------------------------------------------

Scheduler::Scheduler(Compound* system, int mode, bool quiet, int runMode, int traverse,
                     int optimizationMode)
    : mSystem(system),
      mLegal(nullptr),
      mInternals(nullptr),
      mPlatformClock(nullptr),
      mLogicalClock(nullptr),
      mConnectorChoice(nullptr),
      mChoice(nullptr),
      mChoicePort(nullptr),
      mChoiceNext(Vesk::Time::MAX),
      mChoiceDeadline(Vesk::Time::MAX),
      mDeadline(Vesk::Time::MAX),
      mMode(mode),
      mIntQuiet(0),
      mQuiet(quiet),
      mRunMode(runMode),
      mTraverse(traverse),
      mOptimizationMode(optimizationMode),
      mSimLimit(false),
      mMaxSimLimit(0),
      mSimStep(0),
      mDisable_output(0),
      disable_output(false),
      mTrace(0),
      mRandSeed(1),
      aut_file(nullptr),
      state_file(nullptr),
      pruned_paths(nullptr),
      deadlock_states(nullptr),
      mZeroWaiting(1),
      mMaxWait(100),
      mDrift(0),
      mMaxDrift(40),
      mDelta(80),
      mTolerance(0),
      simout(&std::cout),
      mIdleClock(nullptr) {}

Scheduler::~Scheduler() {
  delete mLogicalClock;
  delete mPlatformClock;
  delete mIdleClock;
  if (simout_file.is_open()) {
    simout_file.close();
    if (simout_file.fail()) Vesk::reportLost("the trace");
  }
  leaveConsole();
}

void Scheduler::setChoice(Interaction* interaction, Vesk::Time next, Vesk::Time deadline) {
  mChoice = interaction;
  mChoiceNext = next;
  mChoiceDeadline = deadline;
}

void Scheduler::setChoice(Port* port, Vesk::Time next, Vesk::Time deadline) {
  mChoicePort = port;
  mChoiceNext = next;
  mChoiceDeadline = deadline;
}

// ---- What to run -----------------------------------------------------------------------------

void Scheduler::run() {
  if (mRunMode == Vesk::EXPLORE) explore();
  if (mRunMode == Vesk::EXECUTE || mRunMode == Vesk::REALTIME) run_execution();
}

void Scheduler::run_execution() {
  if (mOptimizationMode == Vesk::MAXIMAL_SYNCHRONISATION) return runOptimizedExecution();
  if (mOptimizationMode == Vesk::PRIORITY_HEAP) return runOptimizedExec2();
  switch (mMode) {
    case Vesk::STANDARD:
      return runRandomExecution();
    case Vesk::INTERACTIVE:
      return runSinglestepExecution();
    case Vesk::RANDOM:
      mZeroWaiting = 0;
      return runRandomExecution();
    default:
      return;
  }
}

// ---- Untimed loops ---------------------------------------------------------------------------

// Counts a step. Compares bit patterns, so that a negative limit is met after the counter has gone
// round; a limit of 0 is never met.
bool Scheduler::stepLimitReached() {
  if (!mSimLimit) return false;
  mSimStep = static_cast<int>(static_cast<unsigned int>(mSimStep) + 1u);
  return mMaxSimLimit != 0 && mSimStep == mMaxSimLimit;
}

void Scheduler::traceFired(Connector& connector) {
  if (!mQuiet) Vesk::PlainOutput(*simout) << TRACE_PREFIX << connector.label() << END_LINE;
}

void Scheduler::runOptimizedExecution() {
  mSystem->initialize(nullptr);
  const bool underPriorities = Vesk::prioritiesActEverywhere(*mSystem);
  Vesk::tellStarted(*mSystem, nullptr);
  do {
    mLegal = underPriorities ? Vesk::activateUnderPriorities(*mSystem) : mSystem->activate(true);
    Vesk::tellStep(mLegal, nullptr);
  } while (execMaxSynchronize(mLegal));
}

// Deliberate: a step fires the whole list without evaluating again in between, and ends at the
// first dominated connector even when undominated ones follow: that is what a maximal step is.
// (docs/decisions/0027-firing-in-the-loops-without-time.md)
bool Scheduler::execMaxSynchronize(Connector* connector) {
  if (connector == nullptr || connector->dominated()) {
    Vesk::PlainOutput(*simout) << MAXIMAL_DEADLOCK << END_LINE;
    Vesk::tellEnd(Vesk::RunEnd::DEADLOCK, MAXIMAL_DEADLOCK);
    return false;
  }
  for (Connector* legal : Vesk::Chain(connector)) {
    if (legal->dominated()) break;
    traceFired(*legal);
    fire(*legal);
    if (stepLimitReached()) return endAtLimit();
  }
  Vesk::tellStepEnd();
  return true;
}

// All calls are inlined, which saves a tenth of the time of a step.
// Deliberate: a connector whose interactions are all impossible at time zero fires nothing, but
// what depends on its ports is queued all the same, because the loop knows no time.
// (docs/decisions/0027-firing-in-the-loops-without-time.md)
[[gnu::flatten]] void Scheduler::runOptimizedExec2() {
  mSystem->setup(this);
  mSystem->initialize(nullptr);
  mSystem->setStaticPrioLevel();
  mSystem->initPrioHeap(this);
  const std::unique_ptr<Vesk::Lookahead> lookahead = lookAhead(*mSystem);
  Vesk::tellStarted(*mSystem, nullptr);
  while (Connector* top = mPrioHeap.get()) {
    top->setQueued(false);
    Connector* legal = top->evaluate(nullptr, false, true);
    if (legal == nullptr) continue;
    Vesk::tellStep(legal, nullptr);
    traceFired(*legal);
    if (lookahead != nullptr) lookahead->fires(legal->interactions().rank, *legal);
    fire(*legal);
    if (stepLimitReached()) {
      endAtLimit();
      return;
    }
    Vesk::tellStepEnd();
    notifyFiredPorts(*legal);
  }
  std::printf("%s", HEAP_DEADLOCK);
  Vesk::tellEnd(Vesk::RunEnd::DEADLOCK, HEAP_DEADLOCK);
}

Connector* Scheduler::choose() const {
  const int count = countUndominated(mLegal);
  if (count == 0) return nullptr;
  long long ahead = Vesk::RandomDraw().of(count);
  Connector* pick = mLegal;
  while (pick->dominated() || ahead-- > 0) pick = pick->next();
  return pick;
}
