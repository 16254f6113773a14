#include "clock.hpp"

#include <cstdlib>

#include "clock-changes.hpp"
#include "immortal.hpp"
#include "structure.hpp"

namespace {

// What stands under the clocks of a run without time: it stays at 0. Never destroyed, because
// clocks may be read by the destructors of globals.
const LogicalClock& stillClock() {
  static SimuClock* const platform = new SimuClock(nullptr);
  static const LogicalClock* const logical = new LogicalClock(nullptr, *platform);
  return *logical;
}

}  // namespace

bool Vesk::ClockChanges::sRecording = false;

std::vector<const GenericClock*>& Vesk::ClockChanges::record() {
  static Immortal<std::vector<const GenericClock*>> changes;
  return *changes;
}

GenericClock::GenericClock(const char* name) : mName(Vesk::duplicate(name)) {}

GenericClock::~GenericClock() {
  std::free(mName);
}

void GenericClock::setName(const char* name) {
  char* copy = Vesk::duplicate(name);  // first: the name given may be this clock's own
  std::free(mName);
  mName = copy;
}

Vesk::Time GenericClock::drift(const GenericClock& clock) const {
  const Vesk::Time here = time();
  return clock.time() - here;
}

Vesk::Time GenericClock::drift(const GenericClock* clock) const {
  return clock == nullptr ? Vesk::Time(0) : drift(*clock);
}

void SimuClock::wait(const Vesk::Time& t) {
  if (t > mTime) mTime = t;
}

void LogicalClock::wait(const Vesk::Time& date) {
  if (date <= time()) return;
  mTime = date;
  mPlatformClock.wait(date);
}

void LogicalClock::update() {
  mTime = mPlatformClock.time();
}

void LogicalClock::reset() {
  mTime = Vesk::Time(0);
}

Clock::Clock(const char* name, const LogicalClock* logical)
    : Clock(name, logical != nullptr ? *logical : stillClock()) {}

void Clock::setTime(const Vesk::Time& t) {
  Vesk::ClockChanges::note(*this);
  if (mStopped) {
    mIntermediateTime = t;
  } else {
    mResetTime = mLogicalClock.time() - t;
  }
}

Vesk::Time Clock::time() const {
  return mStopped ? mIntermediateTime : mLogicalClock.time() - mResetTime;
}

void Clock::reset() {
  Vesk::ClockChanges::note(*this);
  if (mStopped) {
    mIntermediateTime = Vesk::Time(0);
  } else {
    mResetTime = mLogicalClock.time();
  }
}

void Clock::stop() {
  if (mStopped) return;
  Vesk::ClockChanges::note(*this);
  mIntermediateTime = time();
  mStopped = true;
}

// Nobody keeps times of what stands still, so nobody has to be told.
void Clock::go() {
  if (!mStopped) return;
  mResetTime = mLogicalClock.time() - mIntermediateTime;
  mStopped = false;
}
