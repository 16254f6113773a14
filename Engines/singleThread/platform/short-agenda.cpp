#include "short-agenda.hpp"

#include <algorithm>

#include "executable.hpp"

namespace Vesk {

bool ShortAgenda::add(Executable& executable, const Times& times) {
  if (mCount == MOST) return false;
  mEntries[mCount++] = {&executable, times, 0, 0, true};
  mUntil = std::min(mUntil, times.until);
  return true;
}

void ShortAgenda::remove(Entry& entry, unsigned int mark) {
  entry.left = false;
  entry.executable->setMark(entry.executable->mark() | mark);
}

Times::Number ShortAgenda::open(Number t, Number latest) {
  for (std::size_t i = 0; i < mCount; ++i) {
    Entry& entry = mEntries[i];
    if (!entry.left) continue;
    entry.next = entry.times.low < Times::MAX ? std::max(entry.times.low, t) : Times::MAX;
    entry.deadline = entry.times.eager ? entry.next : entry.times.deadline;
    latest = std::min(latest, entry.deadline);
  }
  for (std::size_t i = 0; i < mCount; ++i) {
    Entry& entry = mEntries[i];
    if (entry.left && (entry.next >= Times::MAX || entry.next > latest)) remove(entry, CLOSED_MARK);
  }
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
    if (!entry.left) continue;
    lower(urgent, entry.deadline, entry.next);
    lower(soonest, entry.next, entry.deadline);
  }
  const bool waits = margin != Times::MAX && soonest.first + margin < urgent.first;
  const Pair limit = waits ? Pair{soonest.second, soonest.first} : urgent;
  for (std::size_t i = 0; i < mCount; ++i) {
    Entry& entry = mEntries[i];
    if (!entry.left) continue;
    if (entry.next > limit.second || entry.deadline > limit.first) remove(entry, LATER_MARK);
  }
}

std::size_t ShortAgenda::count() const {
  std::size_t left = 0;
  for (std::size_t i = 0; i < mCount; ++i) {
    if (mEntries[i].left) ++left;
  }
  return left;
}

const ShortAgenda::Entry& ShortAgenda::entryAt(std::size_t index) const {
  std::size_t i = 0;
  while (!mEntries[i].left || index-- > 0) ++i;
  return mEntries[i];
}

}  // namespace Vesk
