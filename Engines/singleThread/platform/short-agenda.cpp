#include "short-agenda.hpp"

#include <algorithm>

#include "executable.hpp"

namespace Vesk {

bool ShortAgenda::add(Executable& executable, const Times& times) {
  if (mCount == MOST) return false;
  mEntries[mCount++] = {&executable, times, 0, 0};
  mUntil = std::min(mUntil, times.until);
  return true;
}

// Marks and takes out those for which the test holds.
template <class Test>
void ShortAgenda::removeIf(Test test, unsigned int mark) {
  std::size_t left = 0;
  for (std::size_t i = 0; i < mCount; ++i) {
    const Entry& entry = mEntries[i];
    if (test(entry)) {
      entry.executable->setMark(entry.executable->mark() | mark);
    } else {
      if (left < i) mEntries[left] = entry;
      ++left;
    }
  }
  mCount = left;
}

Times::Number ShortAgenda::open(Number t, Number latest) {
  for (std::size_t i = 0; i < mCount; ++i) {
    Entry& entry = mEntries[i];
    entry.next = entry.times.low < Times::MAX ? std::max(entry.times.low, t) : Times::MAX;
    entry.deadline = entry.times.eager ? entry.next : entry.times.deadline;
    latest = std::min(latest, entry.deadline);
  }
  const auto isClosed = [latest](const Entry& entry) {
    return entry.next >= Times::MAX || entry.next > latest;
  };
  removeIf(isClosed, CLOSED_MARK);
  return latest;
}

// The smallest pair, by the first, then by the second.
void ShortAgenda::lower(Pair& pair, Number first, Number second) {
  if (first < pair.first || (first == pair.first && second < pair.second)) pair = {first, second};
}

void ShortAgenda::choose(Number margin) {
  if (mCount < 2) return;
  Pair urgent{Times::MAX, Times::MAX};   // deadline, next
  Pair soonest{Times::MAX, Times::MAX};  // next, deadline
  for (std::size_t i = 0; i < mCount; ++i) {
    const Entry& entry = mEntries[i];
    lower(urgent, entry.deadline, entry.next);
    lower(soonest, entry.next, entry.deadline);
  }
  const bool waits = margin != Times::MAX && soonest.first + margin < urgent.first;
  const Pair limit = waits ? Pair{soonest.second, soonest.first} : urgent;
  const auto isLater = [&limit](const Entry& entry) {
    return entry.next > limit.second || entry.deadline > limit.first;
  };
  removeIf(isLater, LATER_MARK);
}

}  // namespace Vesk
