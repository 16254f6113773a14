#include "kept-agenda.hpp"

#include <algorithm>

#include "activation-plan.hpp"
#include "chain.hpp"
#include "clock-changes.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "port.hpp"
#include "short-agenda.hpp"

using Vesk::Time;
using Vesk::Times;

namespace {

constexpr unsigned int FEW_STEPS = 8;       // an agenda that has served fewer has not paid
constexpr unsigned int MOST_WALKED = 1023;  // between two attempts

constexpr std::size_t FEW_REFRESHED = 8;  // slots that are remembered

}  // namespace

namespace Vesk {

// ---- The slots that look at a clock ------------------------------------------------------------

void ClockUsers::clear() {
  mFirst.clear();
  mFurther.clear();
}

void ClockUsers::add(const GenericClock* clock, std::size_t slot) {
  User* user = mFirst.find(clock);
  if (user == nullptr) {
    mFirst[clock] = {slot, NOBODY};
    return;
  }
  while (user->slot != slot && user->next != NOBODY) user = &mFurther[user->next];
  if (user->slot == slot) return;
  user->next = mFurther.size();
  mFurther.push_back({slot, NOBODY});
}

// ---- The agenda --------------------------------------------------------------------------------

KeptAgenda::KeptAgenda(Compound& system, const LogicalClock& clock, Agenda::Policy policy,
                       Times::Number margin)
    : mSystem(system),
      mClock(clock),
      mForetelling(clock),
      mPolicy(policy),
      mMargin(margin),
      mPlan(nullptr),
      mPlanNumber(0),
      mConnectors(0),
      mPorts(0),
      mUpcoming(Agenda::NONE),
      mFewSteps(0),
      mWalks(0),
      mPatience(0),
      mSteps(0) {}

KeptAgenda::~KeptAgenda() {
  if (mAgenda != nullptr) ClockChanges::setRecording(false);
}

// Small systems go without. There is one at a time, which the changes of clocks are recorded for.
bool KeptAgenda::makeAgenda() {
  if (ClockChanges::recording()) return false;
  mAgenda = std::make_unique<Agenda>(mPolicy, mMargin);
  ClockChanges::setRecording(true);
  mRefreshed.reserve(FEW_REFRESHED);
  return true;
}

void KeptAgenda::forgetClocks() {
  if (mAgenda != nullptr) ClockChanges::record().clear();
}

void KeptAgenda::giveUp() {
  mPlanNumber = 0;
  mPatience = mSteps < FEW_STEPS ? std::min(2 * mPatience + 1, MOST_WALKED) : 1;
  mWalks = mPatience;
}

// Gives the agenda up when there have been few executables for so long that this has paid for the
// next one.
void KeptAgenda::leaveWhenFew() {
  mFewSteps = mAgenda->size() <= ShortAgenda::MOST ? mFewSteps + 1 : 0;
  if (mFewSteps > mConnectors + mPorts) mPlanNumber = 0;
}

// ---- What has changed --------------------------------------------------------------------------

[[gnu::noinline]] bool KeptAgenda::takeUp() {
  ActivationPlan* const plan = ActivationPlan::lastOf(mSystem);
  mPlan = plan;
  const Time now = mClock.time();
  if (plan == nullptr || !isOrdinary(now)) {
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
  if (mAgenda == nullptr && !makeAgenda()) return false;
  const bool done = goesOn ? takeUpChanges(*plan, now) : takeUpAll(*plan, now);
  plan->record();
  done ? leaveWhenFew() : giveUp();
  ++mSteps;
  return done;
}

bool KeptAgenda::takeUpAll(ActivationPlan& plan, const Time& now) {
  mPlanNumber = plan.number();
  mConnectors = plan.ranks();
  mPorts = plan.internals().ranks();
  mSteps = 0;
  mFewSteps = 0;
  mUsers.clear();
  mClockOf.assign(mPorts, nullptr);
  mAgenda->reset(mConnectors + mPorts);
  mOpened = now;
  for (std::size_t slot = 0; slot < mConnectors + mPorts; ++slot) {
    if (!refresh(slot, now)) return false;
  }
  return true;
}

bool KeptAgenda::takeUpChanges(ActivationPlan& plan, const Time& now) {
  mRefreshed.clear();
  for (const std::size_t rank : plan.changed()) {
    if (!refreshOnce(slotOfConnector(rank), now)) return false;
  }
  for (const std::size_t rank : plan.internals().changed()) {
    if (!refreshOnce(slotOfPort(rank), now)) return false;
  }
  return takeUpClocks(now);
}

bool KeptAgenda::takeUpClocks(const Time& now) {
  for (const GenericClock* clock : ClockChanges::record()) {
    const auto visit = [&](std::size_t slot) { return refreshOnce(slot, now); };
    if (!mUsers.visitAll(clock, visit)) return false;
  }
  return true;
}

// Nothing changes within a step, so twice would be in vain.
bool KeptAgenda::refreshOnce(std::size_t slot, const Time& now) {
  if (std::find(mRefreshed.begin(), mRefreshed.end(), slot) != mRefreshed.end()) return true;
  if (mRefreshed.size() < FEW_REFRESHED) mRefreshed.push_back(slot);
  return refresh(slot, now);
}

bool KeptAgenda::refresh(std::size_t slot, const Time& now) {
  mAgenda->clear(slot);
  return slot < mConnectors ? refreshConnector(slot, now) : refreshPort(slot, now);
}

bool KeptAgenda::refreshConnector(std::size_t slot, const Time& now) {
  const Connector* const connector = mPlan->listed(mConnectors - 1 - slot);
  if (connector == nullptr) return true;
  Agenda::Id before = Agenda::NONE;
  for (Interaction* feasible : Chain(connector->feasibleInter())) {
    if (feasible->dominated()) continue;
    Times times{};
    if (!mForetelling.tell(*feasible, now, times)) return false;
    before = mAgenda->add(slot, before, *feasible, times);
  }
  return true;
}

bool KeptAgenda::refreshPort(std::size_t slot, const Time& now) {
  Port* const port = mPlan->internals().listed(mConnectors + mPorts - 1 - slot);
  if (port == nullptr || port->dominated()) return true;
  Times times{};
  if (!mForetelling.tell(*port, now, times)) return false;
  watchClock(slot, *port);
  mAgenda->add(slot, Agenda::NONE, *port, times);
  return true;
}

// From now on the port is looked at when its clock changes.
void KeptAgenda::watchClock(std::size_t slot, const Port& port) {
  const GenericClock* const clock = port.constraint()->clock();
  const GenericClock*& known = mClockOf[slot - mConnectors];
  if (clock == nullptr || clock == known) return;
  known = clock;
  mUsers.add(clock, slot);
}

// ---- A step ------------------------------------------------------------------------------------

[[gnu::noinline]] bool KeptAgenda::open(const Time& t, Interval& wait) {
  if (t < mOpened || t > wait.high() || !isOrdinary(t)) return false;
  mExpired.clear();
  mAgenda->expire(t.microseconds(), mExpired);
  for (const std::size_t slot : mExpired) {
    if (!refresh(slot, t)) return false;
  }
  mOpened = t;
  mLatest =
      Time(static_cast<long long>(mAgenda->open(t.microseconds(), wait.high().microseconds())));
  wait.setHigh(mLatest);
  lookAhead();
  return true;
}

Executable* KeptAgenda::pick(std::size_t index, Time& next) {
  Agenda::Place place{};
  Executable* const picked = mAgenda->at(index, place);
  if (picked == nullptr) return nullptr;
  next = Time(static_cast<long long>(place.next));
  lookAhead(place.slot, *picked);
  return picked;
}

bool KeptAgenda::collect(std::vector<Executable*>& left) const {
  Agenda::Place place{};
  for (std::size_t i = 0; i < mAgenda->count(); ++i) {
    Executable* const found = mAgenda->at(i, place);
    if (found == nullptr) {
      left.clear();
      return false;
    }
    left.push_back(found);
  }
  return true;
}

// ---- Looking ahead -----------------------------------------------------------------------------

// Its number for the plan's lookahead.
std::size_t KeptAgenda::lookaheadOf(std::size_t slot) const {
  return slot < mConnectors ? mConnectors - 1 - slot : slot;
}

// Before the draw: what will be enabled next.
void KeptAgenda::lookAhead() {
  mUpcoming = mPlan->lookahead() != nullptr ? mAgenda->upcoming() : Agenda::NONE;
  if (mUpcoming != Agenda::NONE) mPlan->lookahead()->comesNear(lookaheadOf(mUpcoming));
}

// What fires, and what will fire after it.
void KeptAgenda::lookAhead(std::size_t slot, Executable& picked) {
  Lookahead* const lookahead = mPlan->lookahead();
  if (lookahead == nullptr) return;
  lookahead->bring(lookaheadOf(slot));
  const bool isPort = slot >= mConnectors;
  if (isPort && !lookahead->fires(slot, static_cast<Port&>(picked))) {
    learn(*lookahead, slot, static_cast<Port&>(picked));
  }
  if (mUpcoming != Agenda::NONE) lookahead->bring(lookaheadOf(mUpcoming));
}

void KeptAgenda::learn(Lookahead& lookahead, std::size_t slot, const Port& port) {
  const auto kept = mPlan->internals().kept(mConnectors + mPorts - 1 - slot);
  const GenericClock* const clock = port.constraint()->clock();
  const void* const users = clock != nullptr ? mUsers.placeOf(clock) : nullptr;
  lookahead.learn(slot, port, {kept[0], kept[1], kept[2], users, &mClockOf[slot - mConnectors]});
}

}  // namespace Vesk
