#include "filter.hpp"

#include "constraint.hpp"
#include "executables.hpp"

namespace {

// A pair of times, ordered by the first, then by the second.
struct Pair {
  Vesk::Time first = Vesk::Time::MAX;
  Vesk::Time second = Vesk::Time::MAX;

  void lower(const Vesk::Time& newFirst, const Vesk::Time& newSecond) {
    if (newFirst < first) {
      first = newFirst;
      second = newSecond;
    } else if (newFirst == first && newSecond < second) {
      second = newSecond;
    }
  }
};

// Marks what is possible only after next or need not fire before a time after deadline.
void markLater(const Filter& filter, Executables& executables, const Vesk::Time& now,
               const Vesk::Time& deadline, const Vesk::Time& next) {
  const Executables::iterator last = executables.end(filter.mask());
  for (Executables::iterator it = executables.begin(filter.mask()); it != last; ++it) {
    if ((*it)->next(now) > next || (*it)->deadline(now) > deadline) {
      executables.mark(it, filter.mark());
    }
  }
}

}  // namespace

void StandardSemantics::filter(Executables& executables, Interval& wait) const {
  const Vesk::Time now = wait.low();
  Vesk::Time latest = wait.high();
  const Executables::iterator last = executables.end(mask());
  for (Executables::iterator it = executables.begin(mask()); it != last; ++it) {
    const Vesk::Time deadline = (*it)->deadline(now);
    if (deadline < latest) latest = deadline;
  }
  for (Executables::iterator it = executables.begin(mask()); it != last; ++it) {
    const Vesk::Time next = (*it)->next(now);
    if (next == Vesk::Time::MAX || next > latest) executables.mark(it, mark());
  }
  wait.setHigh(latest);
}

void EmptyScheduler::filter(Executables&, Interval&) const {}

void EDFScheduler::filter(Executables& executables, Interval& wait) const {
  const Vesk::Time now = wait.low();
  Pair earliest;  // deadline, next
  const Executables::iterator last = executables.end(mask());
  for (Executables::iterator it = executables.begin(mask()); it != last; ++it) {
    const Vesk::Time next = (*it)->next(now);
    const Vesk::Time deadline = (*it)->deadline(now);
    earliest.lower(deadline, next);
  }
  markLater(*this, executables, now, earliest.first, earliest.second);
}

void EDFdeltaScheduler::filter(Executables& executables, Interval& wait) const {
  const Vesk::Time now = wait.low();
  Pair mostUrgent;  // deadline, next
  Pair soonest;     // next, deadline
  const Executables::iterator last = executables.end(mask());
  for (Executables::iterator it = executables.begin(mask()); it != last; ++it) {
    const Vesk::Time deadline = (*it)->deadline(now);
    const Vesk::Time next = (*it)->next(now);
    mostUrgent.lower(deadline, next);
    soonest.lower(next, deadline);
  }
  const bool fireSoonest = mDelta != Vesk::Time::MAX && soonest.first + mDelta < mostUrgent.first;
  if (fireSoonest) {
    markLater(*this, executables, now, soonest.second, soonest.first);
  } else {
    markLater(*this, executables, now, mostUrgent.first, mostUrgent.second);
  }
}
