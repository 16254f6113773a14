#include "selection.hpp"

#include <algorithm>
#include <cstdlib>

#include "activation-plan.hpp"
#include "chain.hpp"
#include "clock-changes.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "executables.hpp"
#include "filter.hpp"
#include "port.hpp"
#include "virtual-table.hpp"

using Number = Vesk::Times::Number;
using Vesk::Time;
using Vesk::Times;

namespace {

constexpr unsigned int FEW_STEPS = 8;       // an agenda that has served fewer has not paid
constexpr unsigned int MOST_WALKED = 1023;  // between two attempts

constexpr std::size_t FEW_REFRESHED = 8;  // slots that are remembered

// Whether a time is none of those that the operations of times treat in a special way.
bool isOrdinary(Number t) {
  return Time::MIN.microseconds() < t && t < Times::MAX;
}

// Whether sums with ordinary times may not fit into 64 bits: those wrap around, and nothing stays
// in order.
bool isFar(const Time& t) {
  constexpr Number FAR = Number{1} << 62;
  return t.microseconds() < -FAR || t.microseconds() > FAR;
}

// Later by some time; infinite times stay as they are.
Number shifted(const Time& t, Number shift) {
  const bool infinite = t == Time::MIN || t == Time::MAX;
  return infinite ? t.microseconds() : t.microseconds() + shift;
}

// The operations deadline() and next() of an executable's class stand in these slots of its table,
// behind the destructors and the three operations before them.
constexpr std::size_t FIRST_ASKED = 5;
constexpr std::size_t END_ASKED = 7;

// Whether the class of an executable leaves deadline() and next() as they are in another class.
bool answersAs(const Executable& executable, const Executable& other) {
  const auto* const table = static_cast<const void* const*>(Vesk::tableOf(executable));
  const auto* const expected = static_cast<const void* const*>(Vesk::tableOf(other));
  return table == expected ||
         std::equal(table + FIRST_ASKED, table + END_ASKED, expected + FIRST_ASKED);
}

bool isPlain(const Interaction& interaction) {
  static const Interaction* const plain = new Interaction(nullptr, BitVector::EMPTY);
  return answersAs(interaction, *plain);
}

bool isPlain(const Port& port) {
  static const Port* const plain = new Port("", static_cast<const Atom*>(nullptr));
  return answersAs(port, *plain);
}

// The deadline under the intervals from one of them on, none of them being eager and current.
Time deadlineFrom(Constraint& constraint, unsigned int index) {
  for (; index < constraint.size(); ++index) {
    const Interval& interval = constraint[index];
    if (interval.urgency() == LAZY) continue;
    return interval.urgency() == DELAYABLE ? interval.high() : interval.low();
  }
  return Time::MAX;
}

// What a constraint says from now on, with the values of its clock so much later in those of the
// run's clock. False when it has times that cannot be foretold in this way.
bool foretell(Constraint& constraint, Number shift, const Time& now, Times& result) {
  const Number t = now.microseconds() - shift;
  if (!isOrdinary(t) || (constraint.size() > 1 && !constraint.check())) return false;
  unsigned int index = 0;
  while (index < constraint.size() && constraint[index].high() < Time(static_cast<long long>(t))) {
    ++index;
  }
  result = {Times::MAX, Times::MAX, Times::MAX, false};
  if (index == constraint.size()) return true;
  const Interval& interval = constraint[index];
  const Time deadline = deadlineFrom(constraint, index);
  if (isFar(interval.low()) || isFar(interval.high()) || isFar(deadline)) return false;
  const bool unbounded = interval.high() == Time::MAX;
  result.low = shifted(interval.low(), shift);
  result.eager = interval.urgency() == EAGER;
  result.deadline = shifted(deadline, shift);
  if (unbounded && shift < 0) result.until = Times::MAX + shift - 1;
  if (!unbounded && interval.urgency() == LAZY)
    result.until = interval.high().microseconds() + shift;
  return result.deadline <= Times::MAX && (!result.eager || result.low < Times::MAX);
}

// Whether an object is of the class of another one. Models may be built without run-time type
// information.
template <class Base>
bool isLike(const Base& object, const Base& other) {
  return Vesk::tableOf(object) == Vesk::tableOf(other);
}

bool isPlainScheduler(const Filter& scheduler, Vesk::Agenda::Policy& policy, Number& margin) {
  margin = Times::MAX;
  policy = Vesk::Agenda::Policy::EVERYTHING;
  if (scheduler.level() != 1) return false;
  if (isLike<Filter>(scheduler, EmptyScheduler())) return true;
  policy = Vesk::Agenda::Policy::EARLIEST_DEADLINE;
  if (isLike<Filter>(scheduler, EDFScheduler())) return true;
  if (!isLike<Filter>(scheduler, EDFdeltaScheduler(Time::MAX))) return false;
  margin = static_cast<const EDFdeltaScheduler&>(scheduler).delta().microseconds();
  return 0 <= margin && margin <= Times::MAX;
}

bool isPlainSemantics(const Filter& semantics) {
  return isLike<Filter>(semantics, StandardSemantics()) && semantics.level() == 0;
}

bool isPlain(const GenericClock& clock) {
  static const Clock* const plain = new Clock("", static_cast<const LogicalClock*>(nullptr));
  return isLike<GenericClock>(clock, *plain);
}

}  // namespace

namespace Vesk {

bool PortTimes::shift(const Port& port, const LogicalClock& clock, Number& result) {
  const GenericClock* const own = port.constraint()->clock();
  const GenericClock* const shown = port.displayClock();
  result = 0;
  if (own == nullptr || shown == nullptr || own == shown) return true;
  if (shown != &clock) return false;
  if (!isPlain(*own)) return false;
  const auto& running = static_cast<const Clock&>(*own);
  if (running.isStopped() || &running.mLogicalClock != &clock) return false;
  result = own->drift(shown).microseconds();
  return isOrdinary(result);
}

// ---- Selection ---------------------------------------------------------------------------------

Selection::Selection(const Run& run, bool policyIsKnown)
    : mRun(run),
      mPolicyIsKnown(policyIsKnown),
      mForetells(false),
      mPolicy(Agenda::Policy::EVERYTHING),
      mMargin(0),
      mPlan(nullptr),
      mPlanNumber(0),
      mConnectors(0),
      mPorts(0),
      mUpcoming(Agenda::NONE),
      mWay(Way::WALK),
      mFewSteps(0),
      mWalks(0),
      mPatience(0),
      mSteps(0),
      mAsked(0),
      mScheduled(false) {
  mForetells = policyIsKnown && isPlainSemantics(run.semantics) &&
               isPlainScheduler(run.scheduler, mPolicy, mMargin);
}

// Small systems go without. There is one at a time, which the changes of clocks are recorded for.
bool Selection::makeAgenda() {
  if (ClockChanges::recording()) return false;
  mAgenda = std::make_unique<Agenda>(mPolicy, mMargin);
  ClockChanges::setRecording(true);
  mRefreshed.reserve(FEW_REFRESHED);
  return true;
}

// A run that ends before the scheduler of a step leaves the marks of the semantics alone.
Selection::~Selection() {
  if (mWay == Way::AGENDA && !mScheduled) walkAgain();
  if (mAgenda != nullptr) ClockChanges::setRecording(false);
}

void Selection::begin() {
  mAsked = 0;
  mScheduled = false;
  mWay = mForetells ? chooseWay() : Way::WALK;
  if (mAgenda != nullptr) ClockChanges::record().clear();
  if (mWay == Way::WALK) mRun.executables.unmarkAll();
}

Selection::Way Selection::chooseWay() {
  if (mPlanNumber == 0 && takeUpFew()) return Way::SHORT;
  return takeUp() ? Way::AGENDA : Way::WALK;
}

void Selection::applySemantics() {
  if (mAsked < mTimes.size()) mTimes[mAsked++] = mRun.wait.low();
  const Time& t = mRun.wait.low();
  if (mWay == Way::WALK) {
    mRun.semantics.filter(mRun.executables, mRun.wait);
  } else if (!(mWay == Way::SHORT ? openFewAt(t) : openAt(t))) {
    walkAgain();
  }
}

bool Selection::empty() const {
  if (mWay == Way::AGENDA) return mAgenda->empty();
  if (mWay == Way::SHORT) return mFew.count() == 0;
  return mRun.executables.begin() == mRun.executables.end();
}

void Selection::applyScheduler() {
  mScheduled = true;
  if (mWay == Way::AGENDA) {
    mAgenda->choose();
  } else if (mWay == Way::SHORT) {
    if (mPolicy == Agenda::Policy::EARLIEST_DEADLINE) mFew.choose(mMargin);
  } else {
    mRun.scheduler.filter(mRun.executables, mRun.wait);
  }
}

std::size_t Selection::count() const {
  if (mWay == Way::AGENDA) return mAgenda->count();
  if (mWay == Way::SHORT) return mFew.count();
  return static_cast<std::size_t>(mRun.executables.count());
}

Executable* Selection::pick() {
  const std::size_t count = this->count();
  if (count == 0) return nullptr;
  const long double fraction = std::rand() * 0x1p-31L;
  const auto index = static_cast<std::size_t>(count * fraction);
  if (mWay == Way::SHORT) {
    mNext = Time(static_cast<long long>(mFew.nextAt(index)));
    return mFew.at(index);
  }
  if (mWay == Way::AGENDA) {
    Agenda::Place place{};
    if (Executable* const picked = mAgenda->at(index, place)) {
      mNext = Time(static_cast<long long>(place.next));
      lookAhead(place.slot, *picked);
      return picked;
    }
    walkAgain();
  }
  return pickByWalk(fraction);
}

Executable* Selection::pickByWalk(long double fraction) {
  const int count = mRun.executables.count();
  if (count == 0) return nullptr;
  Executable* const picked = *(mRun.executables.begin() + static_cast<int>(count * fraction));
  mNext = picked->next(mRun.wait.low());
  return picked;
}

// All of it before any is given: what the agenda does not know any more makes the step a walk.
void Selection::collectLeft() {
  mLeft.clear();
  if (mWay == Way::AGENDA && !collectFromAgenda()) walkAgain();
  if (mWay == Way::SHORT) {
    for (std::size_t i = 0; i < mFew.count(); ++i) mLeft.push_back(mFew.at(i));
  } else if (mWay == Way::WALK) {
    const Executables::iterator last = mRun.executables.end();
    for (auto it = mRun.executables.begin(); it != last; ++it) mLeft.push_back(*it);
  }
}

bool Selection::collectFromAgenda() {
  Agenda::Place place{};
  for (std::size_t i = 0; i < mAgenda->count(); ++i) {
    Executable* const found = mAgenda->at(i, place);
    if (found == nullptr) {
      mLeft.clear();
      return false;
    }
    mLeft.push_back(found);
  }
  return true;
}

std::size_t Selection::numberOf(std::size_t slot) const {
  return slot < mConnectors ? mConnectors - 1 - slot : slot;
}

// Before the draw: what will be enabled next.
void Selection::lookAhead() {
  mUpcoming = mPlan->lookahead() != nullptr ? mAgenda->upcoming() : Agenda::NONE;
  if (mUpcoming != Agenda::NONE) mPlan->lookahead()->comesNear(numberOf(mUpcoming));
}

// What fires, and what will fire after it.
void Selection::lookAhead(std::size_t slot, Executable& picked) {
  Lookahead* const lookahead = mPlan->lookahead();
  if (lookahead == nullptr) return;
  lookahead->bring(numberOf(slot));
  const bool isPort = slot >= mConnectors;
  if (isPort && !lookahead->fires(slot, static_cast<Port&>(picked))) {
    learn(*lookahead, slot, static_cast<Port&>(picked));
  }
  if (mUpcoming != Agenda::NONE) lookahead->bring(numberOf(mUpcoming));
}

void Selection::learn(Lookahead& lookahead, std::size_t slot, const Port& port) {
  const auto kept = mPlan->internals().kept(mConnectors + mPorts - 1 - slot);
  const GenericClock* const clock = port.constraint()->clock();
  const void* const users = clock != nullptr ? mUsers.find(clock) : nullptr;
  lookahead.learn(slot, port, {kept[0], kept[1], kept[2], users, &mClockOf[slot - mConnectors]});
}

// ---- A few executables -------------------------------------------------------------------------

// False when there are more, or some that cannot be foretold.
bool Selection::takeUpFew() {
  const Time now = mRun.clock.time();
  if (!isOrdinary(now.microseconds())) return false;
  mFew.clear();
  for (Connector* connector : Chain(mRun.executables.connector())) {
    for (Interaction* feasible : Chain(connector->feasibleInter())) {
      if (feasible->dominated()) continue;
      if (!isPlain(*feasible) || !addFew(*feasible, 0, now)) return false;
    }
  }
  for (Port* port : Chain(mRun.executables.internals())) {
    if (port->dominated()) continue;
    Number shift = 0;
    if (!isPlain(*port) || !PortTimes::shift(*port, mRun.clock, shift)) return false;
    if (!addFew(*port, shift, now)) return false;
  }
  return true;
}

bool Selection::addFew(Executable& executable, Number shift, const Time& now) {
  Times times{Time::MIN.microseconds(), Times::MAX, Times::MAX, false};
  Constraint* const constraint = executable.constraint();
  if (constraint != nullptr && !foretell(*constraint, shift, now, times)) return false;
  if (!mFew.add(executable, times)) return false;
  if (executable.mark() != 0) executable.setMark(0);
  return true;
}

bool Selection::openFewAt(const Time& t) {
  if (t > mRun.wait.high() || !isOrdinary(t.microseconds()) || mFew.isOver(t.microseconds())) {
    return false;
  }
  mRun.wait.setHigh(
      Time(static_cast<long long>(mFew.open(t.microseconds(), mRun.wait.high().microseconds()))));
  return true;
}

// Gives the agenda up when there have been few executables for so long that this has paid for the
// next one.
void Selection::leaveWhenFew() {
  mFewSteps = mAgenda->size() <= ShortAgenda::MOST ? mFewSteps + 1 : 0;
  if (mFewSteps > mConnectors + mPorts) mPlanNumber = 0;
}

// ---- What has changed --------------------------------------------------------------------------

// False when this step is to be walked.
bool Selection::takeUp() {
  ActivationPlan* const plan = ActivationPlan::lastOf(mRun.system);
  mPlan = plan;
  const Time now = mRun.clock.time();
  if (plan == nullptr || !isOrdinary(now.microseconds())) {
    mPlanNumber = 0;
    return false;
  }
  const bool goesOn =
      plan->number() == mPlanNumber && plan->recordIsWhole() && mOpened <= now && now <= mLatest;
  if (!goesOn && mWalks > 0) {
    --mWalks;
    mPlanNumber = 0;
    return false;
  }
  if (mAgenda == nullptr && !makeAgenda()) return mForetells = false;
  const bool done = goesOn ? takeUpChanges(*plan, now) : takeUpAll(*plan, now);
  plan->record();
  done ? leaveWhenFew() : giveUp();
  ++mSteps;
  return done;
}

bool Selection::takeUpAll(ActivationPlan& plan, const Time& now) {
  mPlanNumber = plan.number();
  mConnectors = plan.ranks();
  mPorts = plan.internals().ranks();
  mSteps = 0;
  mFewSteps = 0;
  mUsers.clear();
  mMoreUsers.clear();
  mClockOf.assign(mPorts, nullptr);
  mAgenda->reset(mConnectors + mPorts);
  mOpened = now;
  for (std::size_t slot = 0; slot < mConnectors + mPorts; ++slot) {
    if (!refresh(slot, now)) return false;
  }
  return true;
}

bool Selection::takeUpChanges(ActivationPlan& plan, const Time& now) {
  mRefreshed.clear();
  for (const std::size_t rank : plan.changed()) {
    if (!refreshOnce(slotOfConnector(rank), now)) return false;
  }
  for (const std::size_t rank : plan.internals().changed()) {
    if (!refreshOnce(slotOfPort(rank), now)) return false;
  }
  return takeUpClocks(now);
}

bool Selection::takeUpClocks(const Time& now) {
  for (const GenericClock* clock : ClockChanges::record()) {
    const User* const first = mUsers.find(clock);
    if (first == nullptr) continue;
    User user = *first;  // a copy: the tables may grow
    for (;;) {
      if (!refreshOnce(user.slot, now)) return false;
      if (user.next == NOBODY) break;
      user = mMoreUsers[user.next];
    }
  }
  return true;
}

// Nothing changes within a step, so twice would be in vain.
bool Selection::refreshOnce(std::size_t slot, const Time& now) {
  if (std::find(mRefreshed.begin(), mRefreshed.end(), slot) != mRefreshed.end()) return true;
  if (mRefreshed.size() < FEW_REFRESHED) mRefreshed.push_back(slot);
  return refresh(slot, now);
}

bool Selection::refresh(std::size_t slot, const Time& now) {
  mAgenda->clear(slot);
  return slot < mConnectors ? refreshConnector(slot, now) : refreshPort(slot, now);
}

bool Selection::refreshConnector(std::size_t slot, const Time& now) {
  const Connector* const connector = mPlan->listed(mConnectors - 1 - slot);
  if (connector == nullptr) return true;
  Agenda::Id before = Agenda::NONE;
  for (Interaction* feasible : Chain(connector->feasibleInter())) {
    if (feasible->dominated()) continue;
    if (!isPlain(*feasible)) return false;
    Times times{Time::MIN.microseconds(), Times::MAX, Times::MAX, false};
    Constraint* const constraint = feasible->constraint();
    if (constraint != nullptr && !foretell(*constraint, 0, now, times)) return false;
    before = mAgenda->add(slot, before, *feasible, times);
  }
  return true;
}

bool Selection::refreshPort(std::size_t slot, const Time& now) {
  Port* const port = mPlan->internals().listed(mConnectors + mPorts - 1 - slot);
  if (port == nullptr || port->dominated()) return true;
  Number shift = 0;
  Times times{};
  if (!isPlain(*port) || !PortTimes::shift(*port, mRun.clock, shift)) return false;
  if (!foretell(*port->constraint(), shift, now, times)) return false;
  watchClock(slot, *port);
  mAgenda->add(slot, Agenda::NONE, *port, times);
  return true;
}

// From now on the port is looked at when its clock changes.
void Selection::watchClock(std::size_t slot, const Port& port) {
  const GenericClock* const clock = port.constraint()->clock();
  const GenericClock*& known = mClockOf[slot - mConnectors];
  if (clock == nullptr || clock == known) return;
  known = clock;
  User* user = mUsers.find(clock);
  if (user == nullptr) {
    mUsers[clock] = {slot, NOBODY};
    return;
  }
  while (user->slot != slot && user->next != NOBODY) user = &mMoreUsers[user->next];
  if (user->slot == slot) return;
  user->next = mMoreUsers.size();
  mMoreUsers.push_back({slot, NOBODY});
}

// ---- The quick way, and back -------------------------------------------------------------------

bool Selection::openAt(const Time& t) {
  if (t < mOpened || t > mRun.wait.high() || !isOrdinary(t.microseconds())) return false;
  mExpired.clear();
  mAgenda->expire(t.microseconds(), mExpired);
  for (const std::size_t slot : mExpired) {
    if (!refresh(slot, t)) return false;
  }
  mOpened = t;
  mLatest = Time(
      static_cast<long long>(mAgenda->open(t.microseconds(), mRun.wait.high().microseconds())));
  mRun.wait.setHigh(mLatest);
  lookAhead();
  return true;
}

// The marks are no longer those that the agenda knows.
void Selection::giveUp() {
  mPlanNumber = 0;
  mPatience = mSteps < FEW_STEPS ? std::min(2 * mPatience + 1, MOST_WALKED) : 1;
  mWalks = mPatience;
}

// Does what has been done in this step once more, by asking the filters.
void Selection::walkAgain() {
  if (mWay == Way::AGENDA) giveUp();
  mWay = Way::WALK;
  mRun.executables.unmarkAll();
  mRun.wait.setHigh(Time::MAX);
  for (std::size_t i = 0; i < mAsked; ++i) {
    mRun.wait.setLow(mTimes[i]);
    mRun.semantics.filter(mRun.executables, mRun.wait);
  }
  if (mScheduled) mRun.scheduler.filter(mRun.executables, mRun.wait);
}

}  // namespace Vesk
