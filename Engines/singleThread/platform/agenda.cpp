#include "agenda.hpp"

#include <algorithm>

#include "executable.hpp"

using Number = Vesk::Times::Number;

namespace {

constexpr std::size_t FEW = 64;  // executables beyond one for each slot

}  // namespace

namespace Vesk {

Agenda::Agenda(Policy policy, Number margin)
    : mPolicy(policy),
      mMargin(margin),
      mSize(0),
      mFree(NONE),
      mWaitingEager(0),
      mTarget{Kind::NONE, false, 0, 0},
      mNow(0),
      mLatest(0) {}

// ---- What there is -----------------------------------------------------------------------------

void Agenda::reset(std::size_t slots) {
  mEntries.clear();
  mSize = 0;
  mFree = NONE;
  mSlots.assign(slots, NONE);
  for (KeyedHeap<Number>* heap :
       {&mClosed, &mClosedEager, &mWaiting, &mWaitingLast, &mReadyDue, &mExpiry}) {
    heap->clear();
  }
  mWaitingDue.clear();
  mReadyEager.clear();
  mWaitingEager = 0;
  mLeft.reset(slots);
  mLeftIds.clear();
  mTarget = {Kind::NONE, false, 0, 0};
  reserve(slots + FEW);
}

// All at once, so that steps need memory only when there are more executables than ever before.
void Agenda::reserve(std::size_t entries) {
  mEntries.reserve(entries);
  for (KeyedHeap<Number>* heap :
       {&mClosed, &mClosedEager, &mWaiting, &mWaitingLast, &mReadyDue, &mExpiry}) {
    heap->reserve(entries);
  }
  mWaitingDue.reserve(entries);
  mReadyEager.reserve(entries);
  mLeftIds.reserve(entries);
  mGathered.reserve(entries);
}

// It is closed until open() finds that it is not.
Agenda::Id Agenda::add(std::size_t slot, Id before, Executable& executable, const Times& times) {
  Id id = mFree;
  if (id != NONE) {
    mFree = mEntries[id].behind;
  } else {
    id = static_cast<Id>(mEntries.size());
    if (mEntries.size() == mEntries.capacity()) reserve(2 * mEntries.size());
    mEntries.emplace_back();
  }
  mEntries[id] = {&executable, times, static_cast<Id>(slot), NONE, State::NEVER, false};
  ++mSize;
  (before == NONE ? mSlots[slot] : mEntries[before].behind) = id;
  if (times.until < Times::MAX) mExpiry.add(id, times.until);
  enter(id, times.low < Times::MAX ? State::CLOSED : State::NEVER);
  return id;
}

void Agenda::clear(std::size_t slot) {
  Id id = mSlots[slot];
  mSlots[slot] = NONE;
  while (id != NONE) {
    const Id behind = mEntries[id].behind;
    quit(id);
    mExpiry.remove(id);
    --mSize;
    mEntries[id].behind = mFree;
    mFree = id;
    id = behind;
  }
}

void Agenda::expire(Number t, std::vector<std::size_t>& slots) {
  while (!mExpiry.empty() && mExpiry.topKey() < t) {
    slots.push_back(mEntries[mExpiry.top()].slot);
    mExpiry.remove(mExpiry.top());
  }
}

// ---- States ------------------------------------------------------------------------------------

void Agenda::move(Id id, State state) {
  quit(id);
  enter(id, state);
}

void Agenda::enter(Id id, State state) {
  Entry& entry = mEntries[id];
  const Times& times = entry.times;
  entry.state = state;
  if (state == State::CLOSED) {
    (times.eager ? mClosedEager : mClosed).add(id, times.low);
  } else if (state == State::WAITING) {
    mWaiting.add(id, times.low);
    mWaitingLast.add(id, -times.low);
    times.eager ? void(++mWaitingEager) : mWaitingDue.add(id, {times.deadline, times.low});
  } else if (state == State::READY) {
    times.eager ? mReadyEager.add(id) : mReadyDue.add(id, times.deadline);
  }
  const bool open = state == State::WAITING || state == State::READY;
  if (open && (mPolicy == Policy::EVERYTHING || isMeant(entry))) setLeft(id, true);
  mark(entry);
}

void Agenda::quit(Id id) {
  const Entry& entry = mEntries[id];
  if (entry.left) setLeft(id, false);
  if (entry.state == State::CLOSED) {
    (entry.times.eager ? mClosedEager : mClosed).remove(id);
  } else if (entry.state == State::WAITING) {
    mWaiting.remove(id);
    mWaitingLast.remove(id);
    entry.times.eager ? void(--mWaitingEager) : mWaitingDue.remove(id);
  } else if (entry.state == State::READY) {
    entry.times.eager ? mReadyEager.remove(id) : mReadyDue.remove(id);
  }
}

void Agenda::setLeft(Id id, bool left) {
  Entry& entry = mEntries[id];
  entry.left = left;
  left ? mLeft.increase(entry.slot) : mLeft.decrease(entry.slot);
  if (mPolicy == Policy::EVERYTHING) return;
  left ? mLeftIds.add(id) : mLeftIds.remove(id);
}

// A mark that is right already is not written, so that it stays clean in the cache.
void Agenda::mark(const Entry& entry) {
  const bool open = entry.state == State::WAITING || entry.state == State::READY;
  const unsigned int mark = !open ? CLOSED_MARK : entry.left ? 0 : LATER_MARK;
  if (entry.executable->mark() != mark) entry.executable->setMark(mark);
}

// ---- The semantics -----------------------------------------------------------------------------

Number Agenda::open(Number t, Number latest) {
  mNow = t;
  becomeReady();
  mLatest = openUntil(latestOf(latest));
  closeAfter(mLatest);
  return mLatest;
}

void Agenda::becomeReady() {
  while (!mWaiting.empty() && mWaiting.topKey() <= mNow) move(mWaiting.top(), State::READY);
}

// The earliest deadline of those that are open and of the eager ones.
Number Agenda::latestOf(Number latest) const {
  if (!mReadyEager.empty()) latest = std::min(latest, mNow);
  if (mWaitingEager > 0) latest = std::min(latest, mLatest);
  if (!mClosedEager.empty()) latest = std::min(latest, std::max(mClosedEager.topKey(), mNow));
  if (!mReadyDue.empty()) latest = std::min(latest, mReadyDue.topKey());
  if (!mWaitingDue.empty()) latest = std::min(latest, mWaitingDue.topKey().first);
  return latest;
}

// Opens what is enabled until the latest time, which falls to the deadlines of what is opened. None
// of them is before the time at which it is enabled, so nothing is opened that had to stay closed.
Number Agenda::openUntil(Number latest) {
  while (!mClosed.empty() && mClosed.topKey() <= latest) {
    const Id id = mClosed.top();
    const Times& times = mEntries[id].times;
    latest = std::min(latest, times.deadline);
    move(id, times.low <= mNow ? State::READY : State::WAITING);
  }
  while (!mClosedEager.empty() && mClosedEager.topKey() <= latest) {
    const bool ready = mClosedEager.topKey() <= mNow;
    move(mClosedEager.top(), ready ? State::READY : State::WAITING);
  }
  return latest;
}

void Agenda::closeAfter(Number latest) {
  while (!mWaitingLast.empty() && -mWaitingLast.topKey() > latest) {
    move(mWaitingLast.top(), State::CLOSED);
  }
}

// Brings what it keeps about the one after that near, so that it can be told next time.
Agenda::Id Agenda::upcoming() const {
  const bool eager =
      mClosed.empty() || (!mClosedEager.empty() && mClosedEager.topKey() < mClosed.topKey());
  const KeyedHeap<Number>& closed = eager ? mClosedEager : mClosed;
  if (closed.size() < 2) return NONE;
  const Id second = closed.second();
  __builtin_prefetch(&mEntries[second]);
  closed.comesNear(second);
  const std::size_t slot = mEntries[closed.top()].slot;
  __builtin_prefetch(&mSlots[slot]);
  mLeft.comesNear(slot);
  return static_cast<Id>(slot);
}

bool Agenda::empty() const {
  return mWaiting.empty() && mReadyDue.empty() && mReadyEager.empty();
}

// ---- The scheduler -----------------------------------------------------------------------------

// Ready ones that are meant again stay as they are: those that have come since were looked at then.
[[gnu::noinline]] void Agenda::choose() {
  if (mPolicy == Policy::EVERYTHING || empty()) return;
  Target target = earliest();
  if (mMargin != Times::MAX) {
    const bool ready = !mReadyDue.empty() || !mReadyEager.empty();
    const Number next = ready ? mNow : mWaiting.topKey();
    if (next + mMargin < target.deadline) target = soonest();
  }
  if (target == mTarget && target.kind == Kind::READY) return;
  while (!mLeftIds.empty()) {
    const Id id = mLeftIds.ids().back();
    setLeft(id, false);
    mark(mEntries[id]);
  }
  mTarget = target;
  gatherMeant();
}

// The earliest deadline, and of those that have it what is enabled first: what is ready.
Agenda::Target Agenda::earliest() const {
  if (!mReadyEager.empty()) return {Kind::READY, true, mNow, 0};
  const Target waiting = earliestWaiting();
  if (mReadyDue.empty()) return waiting;
  const Number deadline = mReadyDue.topKey();
  if (waiting.kind != Kind::NONE && waiting.deadline < deadline) return waiting;
  return {Kind::READY, deadline == mNow, deadline, 0};
}

Agenda::Target Agenda::earliestWaiting() const {
  if (mWaiting.empty()) return {Kind::NONE, false, 0, 0};
  if (mWaitingDue.empty()) return {Kind::WAITING, true, mLatest, mLatest};
  const Pair due = mWaitingDue.topKey();
  if (mWaitingEager == 0 || due < Pair(mLatest, mLatest)) {
    return {Kind::WAITING, false, due.first, due.second};
  }
  return {Kind::WAITING, true, mLatest, mLatest};
}

// What is enabled first, and of that what has the earliest deadline. Requires: none of it is eager,
// because its deadline would be the earliest one.
Agenda::Target Agenda::soonest() {
  if (!mReadyDue.empty()) return {Kind::READY, false, mReadyDue.topKey(), 0};
  mGathered.clear();
  mWaiting.gatherTop(mGathered);
  Number deadline = Times::MAX;
  for (const Id id : mGathered) deadline = std::min(deadline, mEntries[id].times.deadline);
  return {Kind::SOONEST, false, deadline, mWaiting.topKey()};
}

bool Agenda::isMeant(const Entry& entry) const {
  const Times& times = entry.times;
  const bool ready = entry.state == State::READY;
  if (mTarget.kind == Kind::NONE || ready != (mTarget.kind == Kind::READY)) return false;
  if (times.eager) return mTarget.eager;
  return times.deadline == mTarget.deadline && (ready || times.low == mTarget.next);
}

// All of them are at the top of a heap, those that are eager and waiting as the last ones.
void Agenda::gatherMeant() {
  mGathered.clear();
  if (mTarget.kind == Kind::READY) {
    if (!mReadyDue.empty()) mReadyDue.gatherTop(mGathered);
    const std::vector<Id>& eager = mReadyEager.ids();
    if (mTarget.eager) mGathered.insert(mGathered.end(), eager.begin(), eager.end());
  } else if (mTarget.kind == Kind::SOONEST) {
    mWaiting.gatherTop(mGathered);
  } else if (mTarget.eager) {
    mWaitingLast.gatherTop(mGathered);
  } else {
    mWaitingDue.gatherTop(mGathered);
  }
  for (const Id id : mGathered) {
    if (!isMeant(mEntries[id])) continue;
    setLeft(id, true);
    mark(mEntries[id]);
  }
}

Executable* Agenda::at(std::size_t index, Place& place) const {
  place.slot = mLeft.find(index);
  Id id = mSlots[place.slot];
  while (!mEntries[id].left || index-- > 0) id = mEntries[id].behind;
  const Entry& entry = mEntries[id];
  const Executable& found = *entry.executable;
  const Time now(static_cast<long long>(mNow));
  const Number next = std::max(entry.times.low, mNow);
  place.next = next;
  const bool asSaid =
      !found.dominated() && found.mark() == 0 && found.next(now).microseconds() == next &&
      found.deadline(now).microseconds() == (entry.times.eager ? next : entry.times.deadline);
  return asSaid ? entry.executable : nullptr;
}

}  // namespace Vesk
