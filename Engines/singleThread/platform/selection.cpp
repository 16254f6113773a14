#include "selection.hpp"

#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "executables.hpp"
#include "filter.hpp"
#include "port.hpp"
#include "virtual-table.hpp"

using Vesk::Time;
using Vesk::Times;

namespace {

// Whether an object is of the class of another one. Models may be built without run-time type
// information.
bool isLike(const Filter& object, const Filter& other) {
  return Vesk::tableOf(object) == Vesk::tableOf(other);
}

bool isPlainScheduler(const Filter& scheduler, Vesk::Agenda::Policy& policy,
                      Times::Number& margin) {
  margin = Times::MAX;
  policy = Vesk::Agenda::Policy::EVERYTHING;
  if (scheduler.level() != 1) return false;
  if (isLike(scheduler, EmptyScheduler())) return true;
  policy = Vesk::Agenda::Policy::EARLIEST_DEADLINE;
  if (isLike(scheduler, EDFScheduler())) return true;
  if (!isLike(scheduler, EDFdeltaScheduler(Time::MAX))) return false;
  margin = static_cast<const EDFdeltaScheduler&>(scheduler).delta().microseconds();
  return 0 <= margin && margin <= Times::MAX;
}

bool isPlainSemantics(const Filter& semantics) {
  return isLike(semantics, StandardSemantics()) && semantics.level() == 0;
}

}  // namespace

namespace Vesk {

Selection::Filters Selection::filtersOf(const Run& run) {
  Filters filters{};
  filters.areKnown = isPlainSemantics(run.semantics) &&
                     isPlainScheduler(run.scheduler, filters.policy, filters.margin);
  return filters;
}

Selection::Selection(const Run& run, bool policyIsKnown)
    : mRun(run),
      mPolicyIsKnown(policyIsKnown),
      mFilters(policyIsKnown ? filtersOf(run) : Filters{}),
      mForetelling(run.clock),
      mAgenda(run.system, run.clock, mFilters.policy, mFilters.margin),
      mWay(Way::WALK),
      mAsked(0),
      mScheduled(false) {}

// A run that ends before the scheduler of a step leaves the marks of the semantics alone.
Selection::~Selection() {
  if (mWay == Way::AGENDA && !mScheduled) walkAgain();
}

// ---- The ways of a step ------------------------------------------------------------------------

void Selection::begin() {
  mAsked = 0;
  mScheduled = false;
  mWay = mFilters.areKnown ? chooseWay() : Way::WALK;
  mAgenda.forgetClocks();
  if (mWay == Way::WALK) mRun.executables.unmarkAll();
}

Selection::Way Selection::chooseWay() {
  if (!mAgenda.isUpToDate() && takeUpFew()) return Way::SHORT;
  return mAgenda.takeUp() ? Way::AGENDA : Way::WALK;
}

// Does what has been done in this step once more, by asking the filters.
[[gnu::noinline]] void Selection::walkAgain() {
  if (mWay == Way::AGENDA) mAgenda.giveUp();
  mWay = Way::WALK;
  mRun.executables.unmarkAll();
  mRun.wait.setHigh(Time::MAX);
  for (std::size_t i = 0; i < mAsked; ++i) {
    mRun.wait.setLow(mTimes[i]);
    mRun.semantics.filter(mRun.executables, mRun.wait);
  }
  if (mScheduled) mRun.scheduler.filter(mRun.executables, mRun.wait);
}

// ---- What a step does --------------------------------------------------------------------------

void Selection::applySemantics() {
  const Time& t = mRun.wait.low();
  if (mAsked < mTimes.size()) mTimes[mAsked++] = t;
  if (mWay == Way::WALK) {
    mRun.semantics.filter(mRun.executables, mRun.wait);
  } else if (!(mWay == Way::SHORT ? openFew(t) : mAgenda.open(t, mRun.wait))) {
    walkAgain();
  }
}

bool Selection::empty() const {
  if (mWay == Way::AGENDA) return mAgenda.empty();
  if (mWay == Way::SHORT) return mFew.count() == 0;
  return mRun.executables.begin() == mRun.executables.end();
}

void Selection::applyScheduler() {
  mScheduled = true;
  if (mWay == Way::AGENDA) {
    mAgenda.choose();
  } else if (mWay == Way::SHORT) {
    if (mFilters.policy == Agenda::Policy::EARLIEST_DEADLINE) mFew.choose(mFilters.margin);
  } else {
    mRun.scheduler.filter(mRun.executables, mRun.wait);
  }
}

std::size_t Selection::count() const {
  if (mWay == Way::AGENDA) return mAgenda.count();
  if (mWay == Way::SHORT) return mFew.count();
  return static_cast<std::size_t>(mRun.executables.count());
}

Executable* Selection::pick() {
  const std::size_t count = this->count();
  if (count == 0) return nullptr;
  const RandomDraw draw;
  const auto index = static_cast<std::size_t>(draw.of(static_cast<long long>(count)));
  if (mWay == Way::SHORT) {
    mNext = Time(static_cast<long long>(mFew.nextAt(index)));
    return mFew.at(index);
  }
  if (mWay == Way::AGENDA) {
    if (Executable* const picked = mAgenda.pick(index, mNext)) return picked;
    walkAgain();
  }
  return pickByWalk(draw);
}

[[gnu::noinline]] Executable* Selection::pickByWalk(RandomDraw draw) {
  const int count = mRun.executables.count();
  if (count == 0) return nullptr;
  Executable* const picked = *(mRun.executables.begin() + static_cast<int>(draw.of(count)));
  mNext = picked->next(mRun.wait.low());
  return picked;
}

// All of it before any is given: what the agenda does not know any more makes the step a walk.
void Selection::collectLeft() {
  mLeft.clear();
  if (mWay == Way::AGENDA && !mAgenda.collect(mLeft)) walkAgain();
  if (mWay == Way::SHORT) {
    for (std::size_t i = 0; i < mFew.count(); ++i) mLeft.push_back(mFew.at(i));
  } else if (mWay == Way::WALK) {
    const Executables::iterator last = mRun.executables.end();
    for (auto it = mRun.executables.begin(); it != last; ++it) mLeft.push_back(*it);
  }
}

// ---- A few executables -------------------------------------------------------------------------

// False when there are more, or some that cannot be foretold.
bool Selection::takeUpFew() {
  const Time now = mRun.clock.time();
  if (!isOrdinary(now)) return false;
  mFew.clear();
  Times times{};
  for (Connector* connector : Chain(mRun.executables.connector())) {
    for (Interaction* feasible : Chain(connector->feasibleInter())) {
      if (feasible->dominated()) continue;
      if (!mForetelling.tell(*feasible, now, times) || !addFew(*feasible, times)) return false;
    }
  }
  for (Port* port : Chain(mRun.executables.internals())) {
    if (port->dominated()) continue;
    if (!mForetelling.tell(*port, now, times) || !addFew(*port, times)) return false;
  }
  return true;
}

bool Selection::addFew(Executable& executable, const Times& times) {
  if (!mFew.add(executable, times)) return false;
  if (executable.mark() != 0) executable.setMark(0);
  return true;
}

bool Selection::openFew(const Time& t) {
  if (mAsked > 1 && t == mTimes[mAsked - 2]) return true;  // nothing has changed since
  const Time& latest = mRun.wait.high();
  if (t > latest || !isOrdinary(t) || mFew.isOver(t.microseconds())) return false;
  mRun.wait.setHigh(
      Time(static_cast<long long>(mFew.open(t.microseconds(), latest.microseconds()))));
  return true;
}

}  // namespace Vesk
