#include "clock.hpp"

#include <cstdlib>

#include "structure.hpp"

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

void Clock::setTime(const Vesk::Time& t) {
  if (mStopped) {
    mIntermediateTime = t;
  } else {
    mResetTime = logicalTime() - t;
  }
}

Vesk::Time Clock::time() const {
  return mStopped ? mIntermediateTime : logicalTime() - mResetTime;
}

void Clock::reset() {
  if (mStopped) {
    mIntermediateTime = Vesk::Time(0);
  } else {
    mResetTime = logicalTime();
  }
}

void Clock::stop() {
  if (mStopped) return;
  mIntermediateTime = time();
  mStopped = true;
}

void Clock::go() {
  if (!mStopped) return;
  mResetTime = logicalTime() - mIntermediateTime;
  mStopped = false;
}

Vesk::Time Clock::logicalTime() const {
  return mLogicalClock == nullptr ? Vesk::Time(0) : mLogicalClock->time();
}
