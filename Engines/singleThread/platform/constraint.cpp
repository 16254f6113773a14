#include "constraint.hpp"

#include <cassert>
#include <limits>
#include <ostream>

#include "clock.hpp"
#include "plain-output.hpp"

namespace {

constexpr char EMPTY_TEXT[] = "empty";
constexpr char LAZY_TEXT[] = "lazy";
constexpr char LAZY_PREFIX[] = "lazy ";
constexpr char DELAYABLE_PREFIX[] = "delayable ";
constexpr char EAGER_PREFIX[] = "eager ";
constexpr char NO_PREFIX[] = "";
constexpr char SEPARATOR[] = " or ";

// Time is discrete. Deliberate: infinities absorb, as in every sum of times, so the instant after
// MAX is MAX itself. (docs/decisions/0014-infinite-bounds-and-delays.md)
Vesk::Time instantAfter(const Vesk::Time& t) {
  return t + Vesk::Time(1);
}
Vesk::Time instantBefore(const Vesk::Time& t) {
  return t - Vesk::Time(1);
}

const char* prefix(Urgency urgency) {
  switch (urgency) {
    case LAZY:
      return LAZY_PREFIX;
    case DELAYABLE:
      return DELAYABLE_PREFIX;
    case EAGER:
      return EAGER_PREFIX;
  }
  return NO_PREFIX;
}

// Whether next can be made part of the interval before it and nothing is lost. Deliberate: only
// exact neighbours fuse, overlaps never do; a delayable interval is never extended, because its
// urgency lies at its upper bound. (docs/decisions/0015-which-intervals-become-one.md)
bool fuse(const Interval& previous, const Interval& next) {
  if (previous.urgency() == DELAYABLE || next.low() != instantAfter(previous.high())) return false;
  if (previous.dominated() != next.dominated()) return false;
  if (previous.observable() != next.observable()) return false;
  return previous.urgency() == next.urgency() ||
         (previous.urgency() == LAZY && next.urgency() == DELAYABLE);
}

// An operand's intervals as an operation meets them: moved by the drift, and made longer by the
// delay.
class Operand {
 public:
  Operand(const Constraint& constraint, const Vesk::Time& drift, const Vesk::Time& delay)
      : mConstraint(constraint), mDrift(drift), mDelay(delay) {}
  unsigned int size() const { return mConstraint.size(); }
  Interval operator[](unsigned int i) const {
    Interval interval = mConstraint[i] - mDrift;
    interval.applyDelay(mDelay);
    return interval;
  }

 private:
  const Constraint& mConstraint;
  Vesk::Time mDrift;
  Vesk::Time mDelay;
};

// ---- What the operations ensure, for asserts alone ----

#ifdef NDEBUG
constexpr bool CHECKED = false;
#else
constexpr bool CHECKED = true;
#endif

[[maybe_unused]] bool isInfinite(const Vesk::Time& t) {
  return t == Vesk::Time::MIN || t == Vesk::Time::MAX;
}

// Non-empty, sorted and disjoint, but for neighbours that meet in an infinite bound.
template <class List>
bool inOrder(const List& list) {
  for (unsigned int i = 0; i < list.size(); ++i) {
    const Interval interval = list[i];
    if (interval.empty()) return false;
    if (i == 0) continue;
    const Vesk::Time before = list[i - 1].high();
    if (interval.low() < before) return false;
    if (interval.low() == before && !isInfinite(before)) return false;
  }
  return true;
}

// Whether every bound has a time before it and one behind it. At the ends of 64 bits sums go round:
// there neighbours are no neighbours, and nothing is ensured.
template <class List>
bool isCountable(const List& list) {
  const Vesk::Time first(std::numeric_limits<long long>::min());
  const Vesk::Time last(std::numeric_limits<long long>::max());
  for (unsigned int i = 0; i < list.size(); ++i) {
    const Interval interval = list[i];
    if (interval.low() == first || interval.high() == last) return false;
  }
  return true;
}

// What the operations need to ensure something about two lists.
template <class List>
bool areInOrder(const Constraint& list, const List& operand) {
  return inOrder(list) && inOrder(operand) && isCountable(list) && isCountable(operand);
}

#ifndef NDEBUG

// What clean() leaves.
bool isClean(const Constraint& list) {
  for (unsigned int i = 0; i < list.size(); ++i) {
    if (list[i].empty() || (i > 0 && fuse(list[i - 1], list[i]))) return false;
  }
  return true;
}

// No instant in common but an infinite one.
bool apart(const Interval& one, const Interval& other) {
  const Vesk::Time low = one.low() < other.low() ? other.low() : one.low();
  const Vesk::Time high = one.high() < other.high() ? one.high() : other.high();
  return low > high || (low == high && isInfinite(low));
}

// Both in order. Each interval of the one lies in an interval of the other.
template <class List>
bool liesWithin(const Constraint& list, const List& other) {
  unsigned int holder = 0;
  for (unsigned int i = 0; i < list.size(); ++i) {
    while (holder < other.size() && !other[holder].in(list[i])) ++holder;
    if (holder == other.size()) return false;
  }
  return true;
}

// Both in order. They have no instant in common but infinite ones.
template <class List>
bool areApart(const Constraint& list, const List& other) {
  unsigned int i = 0;
  unsigned int k = 0;
  while (i < list.size() && k < other.size()) {
    if (!apart(list[i], other[k])) return false;
    if (list[i].high() < other[k].high()) {
      ++i;
    } else {
      ++k;
    }
  }
  return true;
}

// Each non-empty interval of the operand lies in an interval of the list.
template <class List>
bool holdsAll(const Constraint& list, const List& operand) {
  for (unsigned int k = 0; k < operand.size(); ++k) {
    const Interval part = operand[k];
    bool held = part.empty();
    for (unsigned int i = 0; i < list.size() && !held; ++i) held = list[i].in(part);
    if (!held) return false;
  }
  return true;
}

// What applyDomination() leaves.
bool noneDominated(const Constraint& list) {
  for (unsigned int i = 0; i < list.size(); ++i) {
    if (list[i].dominated()) return false;
  }
  return true;
}

#endif

}  // namespace

// ---------------------------------------------------------------------------------------------
// Intervals

Interval::Interval(Vesk::Time low, Vesk::Time high, Urgency urgency, bool dominated,
                   bool observable)
    : mLow(low), mHigh(high), mDominated(dominated), mUrgency(urgency), mObservable(observable) {}

Interval::Interval(const Vesk::Time& low, const Vesk::Time& high, const Interval& model)
    : Interval(low, high, model, model.mDominated) {}

Interval::Interval(const Vesk::Time& low, const Vesk::Time& high, const Interval& model,
                   bool dominated)
    : Interval(low, high, model.mUrgency, dominated, model.mObservable) {}

Interval::Interval(const Interval& bounds, bool dominated, Urgency urgency, bool observable)
    : Interval(bounds.mLow, bounds.mHigh, urgency, dominated, observable) {}

void Interval::setEmpty() {
  mLow = Vesk::Time::MAX;
  mHigh = Vesk::Time::MIN;
  assert(empty());
}

// Deliberate: a delay of MIN gives MIN, where the subtraction of times would give MAX, because a
// delay only makes an interval start earlier. (docs/decisions/0014-infinite-bounds-and-delays.md)
void Interval::applyDelay(const Vesk::Time& delay) {
  if (empty()) return;
  [[maybe_unused]] const Vesk::Time high = mHigh;
  mLow = delay == Vesk::Time::MIN ? Vesk::Time::MIN : mLow - delay;
  assert(mHigh == high);
}

Interval& Interval::operator&=(const Interval& other) {
  [[maybe_unused]] const Interval before = *this;
  if (mLow < other.mLow) mLow = other.mLow;
  if (other.mHigh < mHigh) mHigh = other.mHigh;
  setMaxUrgency(other.mUrgency);
  setMaxObservable(other.mObservable);
  assert(before.in(*this) && other.in(*this));
  return *this;
}

// Deliberate: when the other interval lies strictly inside, the right piece is lost, and an
// interval wholly left of the other is stretched up to it. What a model may do depends on it.
// (docs/decisions/0001-losses-in-the-interval-algebra.md)
Interval& Interval::operator-=(const Interval& other) {
  if (empty() || other.empty()) return *this;
  if (mLow < other.mLow) {
    mHigh = instantBefore(other.mLow);
  } else if (other.mHigh < mHigh) {
    mLow = instantAfter(other.mHigh);
  } else {
    setEmpty();
  }
  assert(apart(*this, other));
  return *this;
}

Interval& Interval::operator+=(const Vesk::Time& t) {
  return *this = *this + t;
}

Interval& Interval::operator-=(const Vesk::Time& t) {
  return *this = *this - t;
}

Interval Interval::operator+(const Vesk::Time& t) const {
  const Interval shifted(mLow + t, mHigh + t, *this);
  assert(!isInfinite(mLow) || shifted.mLow == mLow);
  assert(!isInfinite(mHigh) || shifted.mHigh == mHigh);
  return shifted;
}

Interval Interval::operator-(const Vesk::Time& t) const {
  const Interval shifted(mLow - t, mHigh - t, *this);
  assert(!isInfinite(mLow) || shifted.mLow == mLow);
  assert(!isInfinite(mHigh) || shifted.mHigh == mHigh);
  return shifted;
}

bool Interval::operator<(const Interval& other) const {
  return mLow < other.mLow || (mLow == other.mLow && mHigh < other.mHigh);
}

bool Interval::operator==(const Interval& other) const {
  return mLow == other.mLow && mHigh == other.mHigh;
}

std::ostream& operator<<(std::ostream& out, const Interval& interval) {
  const Vesk::PlainOutput plain(out);
  if (interval.empty()) {
    plain << EMPTY_TEXT;
  } else {
    plain << prefix(interval.urgency()) << '(' << interval.low() << ',' << interval.high() << ')';
  }
  return out;
}

// ---------------------------------------------------------------------------------------------
// Constraints: construction and algebra

Constraint::Constraint(const GenericClock* clock, Vesk::Time low, Vesk::Time high, Urgency urgency)
    : Constraint(clock, Interval(low, high, urgency, false, true)) {}

Constraint::Constraint(const GenericClock* clock, Interval interval)
    : mClock(const_cast<GenericClock*>(clock)),  // handed out again by clock()
      mDisplayClock(mClock),
      mDomination(false),
      mDelay(0),
      mIntervals(1, interval) {}

Constraint::Constraint(Interval interval) : Constraint(nullptr, interval) {}

Constraint& Constraint::operator&=(const Constraint& constraint) {
  if (&constraint == this) return *this &= Constraint(constraint);
  const Operand operand(constraint, offset(constraint), Vesk::Time(0));
  [[maybe_unused]] const bool ordered = CHECKED && areInOrder(*this, operand);
  const bool single = mIntervals.size() == 1 && operand.size() == 1;
  if (single) {
    meetOne(operand[0]);
  } else {
    meetAll(operand);
  }
  assert(!ordered || (inOrder(*this) && liesWithin(*this, operand)));
  return *this;
}

// For each interval of the operand, in its order:
// 1. Translate it and find the run of intervals that it meets.
// 2. Split off from the last of them what the operand's next interval needs.
// 3. Cut the run down to it.
// 4. Drop the intervals between the run before and this one, which nothing meets.
// After the last interval of the operand, drop what lies behind its run.
template <class List>
void Constraint::meetAll(const List& operand) {
  int done = -1;  // last interval of the run before
  for (unsigned int i = 0; i < operand.size(); ++i) {
    const Interval part = operand[i];
    int first;
    int last;
    if (!intersect(part, first, last)) continue;
    if (i + 1 < operand.size()) splitBeforeNext(last, part, operand[i + 1]);
    cut(first, last, part);
    done = dropBetween(done, first, last);
  }
  erase(done + 1, lastIndex());
}

Constraint& Constraint::operator|=(const Constraint& constraint) {
  if (&constraint == this) return *this |= Constraint(constraint);
  const Operand operand(constraint, offset(constraint), Vesk::Time(0));
  [[maybe_unused]] const bool countable = CHECKED && isCountable(*this) && isCountable(operand);
  for (unsigned int i = 0; i < operand.size(); ++i) {
    const Interval part = operand[i];
    insertUnlessEmpty(place(part.low()), part);
  }
  clean();
  assert(!countable || holdsAll(*this, operand));
  return *this;
}

Constraint& Constraint::operator-=(const Constraint& constraint) {
  if (&constraint == this) return *this -= Constraint(constraint);
  const Operand operand(constraint, offset(constraint), mDelay);
  [[maybe_unused]] const bool ordered = CHECKED && areInOrder(*this, operand);
  for (unsigned int i = 0; i < operand.size(); ++i) {
    const Interval part = operand[i];
    int first;
    int last;
    if (intersect(part, first, last)) subtract(first, last, part);
  }
  clean();
  assert(!ordered || (inOrder(*this) && (mDomination || areApart(*this, operand))));
  return *this;
}

Constraint& Constraint::operator+=(const Vesk::Time& t) {
  const Vesk::Time shift = t;  // t may be a bound of this constraint
  if (shift == Vesk::Time(0)) return *this;
  for (Interval& interval : mIntervals) interval += shift;
  return *this;
}

Constraint& Constraint::operator-=(const Vesk::Time& t) {
  const Vesk::Time shift = t;  // t may be a bound of this constraint
  if (shift == Vesk::Time(0)) return *this;
  for (Interval& interval : mIntervals) interval -= shift;
  return *this;
}

Constraint& Constraint::reset() {
  mDomination = false;
  mDelay = Vesk::Time(0);
  const Interval always(Vesk::Time::MIN, Vesk::Time::MAX, LAZY, false, true);
  if (mIntervals.size() == 1) {
    mIntervals.front() = always;
  } else {
    mIntervals.assign(1, always);
  }
  assert(check());
  return *this;
}

Constraint& Constraint::clear() {
  mIntervals.clear();
  assert(empty());
  return *this;
}

Constraint& Constraint::clean() {
  [[maybe_unused]] const bool countable = CHECKED && isCountable(*this);
  int kept = 0;  // the intervals before this index are in order
  for (const Interval& interval : mIntervals) {
    if (interval.empty()) continue;
    if (kept > 0 && fuse(at(kept - 1), interval)) {
      at(kept - 1).setHigh(interval.high());
      at(kept - 1).setUrgency(interval.urgency());
    } else {
      at(kept++) = interval;
    }
  }
  erase(kept, lastIndex());
  assert(!countable || isClean(*this));
  return *this;
}

Constraint& Constraint::applyDomination() {
  if (mIntervals.size() == 1 && !mIntervals.front().dominated()) return *this;
  int kept = 0;
  for (const Interval& interval : mIntervals) {
    if (!interval.dominated()) at(kept++) = interval;
  }
  erase(kept, lastIndex());
  assert(noneDominated(*this));
  return *this;
}

// ---------------------------------------------------------------------------------------------
// Constraints: steps of the algebra

// What is added to this constraint's clock to read the other's.
Vesk::Time Constraint::offset(const Constraint& other) const {
  return mClock == nullptr ? Vesk::Time(0) : mClock->drift(other.mClock);
}

// What meetAll() does for one interval on each side: most constraints have no more.
void Constraint::meetOne(const Interval& part) {
  Interval& only = mIntervals.front();
  const bool beginsInTime = part.low() < only.low() || only.in(part.low());
  if (beginsInTime && part.high() >= only.low()) {
    only &= part;
  } else {
    mIntervals.clear();
  }
}

// First and last index of some intervals of this list.
bool Constraint::isRun(int first, int last) const {
  return 0 <= first && first <= last && last <= lastIndex();
}

// Keeps the part of an interval behind current for the operand's next interval, when that begins
// within it: the cut to current would take it away.
//
//   list     [0 ............. 30]
//   operand    [3 . 7]    [20 .. 40]
//   after    [0 ............. 30] [8 .. 30]     the cut leaves [3,7] of the first one
void Constraint::splitBeforeNext(int index, const Interval& current, const Interval& next) {
  const Interval& whole = at(index);
  if (!whole.in(next.low())) return;
  insertUnlessEmpty(index + 1, Interval(instantAfter(current.high()), whole.high(), whole));
}

// Cuts a run down to the part.
void Constraint::cut(int first, int last, const Interval& part) {
  assert(isRun(first, last));
  for (int i = first; i <= last; ++i) at(i) &= part;
}

// Drops what stands between the run before, which ends at `done`, and the run first .. last.
// Returns the index at which this run ends now.
//
//   before   .. done | a | b | first .. last | ..     no interval of the operand meets a and b
//   after    .. done | first .. last | ..             the run ends two places further left
int Constraint::dropBetween(int done, int first, int last) {
  assert(-1 <= done && done <= lastIndex() && isRun(first, last));
  const int countBefore = lastIndex() + 1;
  erase(done + 1, first - 1);
  const int dropped = countBefore - (lastIndex() + 1);
  assert(isRun(0, last - dropped));
  return last - dropped;
}

// Takes the part away from the run of intervals that it meets, or marks what it covers.
void Constraint::subtract(int first, int last, const Interval& part) {
  assert(isRun(first, last));
  const Interval& whole = at(first);
  const bool inside = whole.low() < part.low() && part.high() < whole.high();
  if (inside && !(mDomination && whole.dominated())) {
    subtractInside(first, part);
  } else if (mDomination) {
    dominateAcross(first, last, part);
  } else {
    subtractAcross(first, last, part);
  }
}

// The part lies strictly inside one interval: two pieces remain, with domination also the covered
// one between them.
//
//   list     [0 ............ 10]
//   part          [3 . 5]
//   after    [0 2]       [6 . 10]     with domination also [3,5] between them, marked
void Constraint::subtractInside(int index, const Interval& part) {
  const Interval whole = at(index);
  assert(whole.low() < part.low() && part.high() < whole.high());
  at(index).setHigh(instantBefore(part.low()));
  insertUnlessEmpty(index + 1, Interval(instantAfter(part.high()), whole.high(), whole));
  if (mDomination) insertUnlessEmpty(index + 1, Interval(part.low(), part.high(), whole, true));
}

// The part begins or ends outside of the run, or covers it.
//
//   list     [0 ... 10]  [12 . 14]  [20 ... 30]
//   part         [5 ................... 25]
//   after    [0 4]                        [26 30]
//
// Deliberate: whether the last interval is erased is decided by the one that stands where erasing
// begins. When the first one is wholly covered, what is left of the last one is lost with it. What
// a model may do depends on it. (docs/decisions/0001-losses-in-the-interval-algebra.md)
//
// Deliberate: a last interval that is wholly covered may stay as an empty one until the final
// clean(), and hides what lies at its left from a later, overlapping part of the operand.
// (docs/decisions/0001-losses-in-the-interval-algebra.md)
void Constraint::subtractAcross(int first, int last, const Interval& part) {
  at(first) -= part;
  const bool leftRemains = !at(first).empty();
  const int begin = leftRemains ? first + 1 : first;
  at(last) -= part;
  const bool spareLast = begin <= lastIndex() && !at(begin).empty();
  erase(begin, spareLast ? last - 1 : last);
}

// Splits the ends of the run where the part begins and ends, unless they are dominated anyway, and
// marks what lies between.
//
//   list     [0 ..... 10]   [20 ..... 30]
//   part          [5 ............. 25]
//   after    [0 4][5 . 10]  [20 . 25][26 30]     first and last are now the marked two
void Constraint::dominateAcross(int first, int last, const Interval& part) {
  const Interval left = at(first);
  if (!left.dominated() && left.low() < part.low() && part.low() <= left.high()) {
    insert(first + 1, Interval(part.low(), left.high(), left, true));
    at(first) -= part;
    ++first;
    ++last;
  }
  const Interval right = at(last);
  if (!right.dominated() && right.low() <= part.high() && part.high() < right.high()) {
    insert(last, Interval(right.low(), part.high(), right, true));
    at(last + 1) -= part;
  }
  assert(isRun(first, last));
  setDominated(first, last, true);
}

bool Constraint::clamp(int& low, int& high) const {
  if (low < 0) low = 0;
  if (high > lastIndex()) high = lastIndex();
  const bool some = low <= high;
  assert(!some || isRun(low, high));
  return some;
}

void Constraint::erase(int i) {
  assert(isRun(i, i));
  [[maybe_unused]] const unsigned int before = size();
  mIntervals.erase(mIntervals.begin() + i);
  assert(size() + 1 == before);
}

bool Constraint::erase(int low, int high) {
  if (!clamp(low, high)) return false;
  [[maybe_unused]] const int before = lastIndex();
  mIntervals.erase(mIntervals.begin() + low, mIntervals.begin() + high + 1);
  assert(lastIndex() == before - (high - low + 1));
  return true;
}

void Constraint::insert(int index, const Interval& interval) {
  assert(0 <= index && index <= lastIndex() + 1);
  [[maybe_unused]] const unsigned int before = size();
  mIntervals.insert(mIntervals.begin() + index, interval);
  assert(size() == before + 1);
}

void Constraint::insertUnlessEmpty(int index, const Interval& interval) {
  if (!interval.empty()) insert(index, interval);
}

bool Constraint::setDominated(int low, int high, bool dominated) {
  if (!clamp(low, high)) return false;
  for (int i = low; i <= high; ++i) at(i).setDominated(dominated);
  return true;
}

void Constraint::setAllDominated(bool dominated) {
  for (Interval& interval : mIntervals) interval.setDominated(dominated);
}

bool Constraint::setUrgency(int low, int high, Urgency urgency) {
  if (!clamp(low, high)) return false;
  for (int i = low; i <= high; ++i) at(i).setUrgency(urgency);
  return true;
}

bool Constraint::setMaxUrgency(int low, int high, Urgency urgency) {
  if (!clamp(low, high)) return false;
  for (int i = low; i <= high; ++i) at(i).setMaxUrgency(urgency);
  return true;
}

// ---------------------------------------------------------------------------------------------
// Constraints: queries

// The results stay in range for any list of intervals, also for one with overlaps.
int Constraint::position(const Vesk::Time& time, int& after) const {
  after = -1;
  if (empty()) return -1;
  int low = 0;
  int high = lastIndex();
  while (low != high) {
    const int middle = low + (high - low) / 2;
    if (at(middle).high() < time) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  const Interval& found = at(low);
  if (found.in(time)) return low;
  after = time < found.low() ? low : low + 1;
  assert(0 <= after && after <= lastIndex() + 1);
  return -1;
}

int Constraint::position(const Vesk::Time& t) const {
  int gap;
  return position(t, gap);
}

bool Constraint::intersect(const Interval& interval, int& low, int& high) const {
  low = 0;
  high = 0;
  if (empty()) return false;
  low = place(interval.low());
  int gap;
  high = position(interval.high(), gap);
  if (high < 0) high = gap - 1;
  const bool some = low <= high;
  assert(!some || isRun(low, high));
  return some;
}

// Index of the interval that holds t, else of the first one after it; 0 when there are none.
int Constraint::place(const Vesk::Time& t) const {
  if (empty()) return 0;
  int gap;
  const int holder = position(t, gap);
  const int index = holder >= 0 ? holder : gap;
  assert(0 <= index && index <= lastIndex() + 1);
  return index;
}

int Constraint::before(const Vesk::Time& t) const {
  int gap;
  position(t, gap);
  return gap < 0 ? -2 : gap - 1;
}

int Constraint::after(const Vesk::Time& t) const {
  int gap;
  position(t, gap);
  return gap;
}

bool Constraint::in(const Vesk::Time& t) const {
  return position(t) >= 0;
}

bool Constraint::in(const Interval& interval) const {
  const int holder = position(interval.low());
  return holder >= 0 && holder == position(interval.high());
}

Vesk::Time Constraint::next(const Vesk::Time& t) const {
  int gap;
  if (position(t, gap) >= 0) return t;
  return 0 <= gap && gap <= lastIndex() ? at(gap).low() : Vesk::Time::MAX;
}

Vesk::Time Constraint::deadline(const Vesk::Time& t) const {
  return deadlineFrom(t, false);
}

Vesk::Time Constraint::observableDeadline(const Vesk::Time& t) const {
  return deadlineFrom(t, true);
}

Vesk::Time Constraint::deadlineFrom(const Vesk::Time& t, bool observableOnly) const {
  const int begin = place(t);
  for (int i = begin; i <= lastIndex(); ++i) {
    const Interval& interval = at(i);
    if (interval.urgency() == LAZY || (observableOnly && !interval.observable())) continue;
    if (interval.urgency() == DELAYABLE) return interval.high();
    return i == begin && interval.in(t) ? t : interval.low();
  }
  return Vesk::Time::MAX;
}

bool Constraint::urgent(const Vesk::Time& t) const {
  const int holder = position(t);
  if (holder < 0) return false;
  const Interval& interval = at(holder);
  return interval.urgency() == EAGER || (interval.urgency() == DELAYABLE && t == interval.high());
}

bool Constraint::observable(const Vesk::Time& t) const {
  const int holder = position(t);
  return holder >= 0 && at(holder).observable();
}

bool Constraint::existUrgency(int low, int high, Urgency urgency) const {
  if (!clamp(low, high)) return false;
  for (int i = low; i <= high; ++i) {
    if (at(i).urgency() == urgency) return true;
  }
  return false;
}

bool Constraint::check() const {
  for (int i = 0; i <= lastIndex(); ++i) {
    if (at(i).empty()) return false;
    if (i > 0 && at(i).low() <= at(i - 1).high()) return false;
  }
  return true;
}

// ---------------------------------------------------------------------------------------------
// Constraints: output

std::ostream& operator<<(std::ostream& out, const Constraint& constraint) {
  const GenericClock* clock = constraint.clock();
  const Vesk::Time drift =
      clock == nullptr ? Vesk::Time(0) : clock->drift(constraint.displayClock());
  const Vesk::PlainOutput plain(out);
  for (unsigned int i = 0; i < constraint.size(); ++i) {
    if (i > 0) plain << SEPARATOR;
    plain << constraint[i] + drift;
  }
  return out;
}

std::ostream& operator<<(std::ostream& out, const Constraint* constraint) {
  if (constraint != nullptr) return out << *constraint;
  Vesk::PlainOutput(out) << LAZY_TEXT;
  return out;
}
