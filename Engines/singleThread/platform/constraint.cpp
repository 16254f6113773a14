#include "constraint.hpp"

#include <cassert>
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

// Time is discrete. Deliberate: infinities absorb, so the instant after MAX is MAX itself.
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
// urgency lies at its upper bound.
bool fuse(const Interval& previous, const Interval& next) {
  if (previous.urgency() == DELAYABLE || next.low() != instantAfter(previous.high())) return false;
  if (previous.dominated() != next.dominated()) return false;
  if (previous.observable() != next.observable()) return false;
  return previous.urgency() == next.urgency() ||
         (previous.urgency() == LAZY && next.urgency() == DELAYABLE);
}

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
}

// Deliberate: a delay of MIN gives MIN, where the subtraction of times would give MAX.
void Interval::applyDelay(const Vesk::Time& delay) {
  if (empty()) return;
  mLow = delay == Vesk::Time::MIN ? Vesk::Time::MIN : mLow - delay;
}

Interval& Interval::operator&=(const Interval& other) {
  if (mLow < other.mLow) mLow = other.mLow;
  if (other.mHigh < mHigh) mHigh = other.mHigh;
  setMaxUrgency(other.mUrgency);
  setMaxObservable(other.mObservable);
  return *this;
}

// Deliberate: when the other interval lies strictly inside, the right piece is lost, and an
// interval wholly left of the other is stretched up to it.
Interval& Interval::operator-=(const Interval& other) {
  if (empty() || other.empty()) return *this;
  if (mLow < other.mLow) {
    mHigh = instantBefore(other.mLow);
  } else if (other.mHigh < mHigh) {
    mLow = instantAfter(other.mHigh);
  } else {
    setEmpty();
  }
  return *this;
}

Interval& Interval::operator+=(const Vesk::Time& t) {
  return *this = *this + t;
}

Interval& Interval::operator-=(const Vesk::Time& t) {
  return *this = *this - t;
}

Interval Interval::operator+(const Vesk::Time& t) const {
  return Interval(mLow + t, mHigh + t, *this);
}

Interval Interval::operator-(const Vesk::Time& t) const {
  return Interval(mLow - t, mHigh - t, *this);
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

// For each interval of the operand, in its order:
// 1. Translate it and find the run of intervals that it meets.
// 2. Split off from the last of them what the operand's next interval needs.
// 3. Cut the run down to it.
// 4. Drop the intervals between the run before and this one, which nothing meets.
// In the end drop what lies behind the last run.
Constraint& Constraint::operator&=(const Constraint& constraint) {
  if (&constraint == this) return *this &= Constraint(constraint);
  const Vesk::Time drift = offset(constraint);
  int done = -1;  // last interval of the run before
  for (int i = 0; i <= constraint.lastIndex(); ++i) {
    const Interval part = constraint.at(i) - drift;
    int first;
    int hit;
    if (!intersect(part, first, hit)) continue;
    if (i < constraint.lastIndex()) splitBeforeNext(hit, part, constraint.at(i + 1) - drift);
    for (int k = first; k <= hit; ++k) at(k) &= part;
    done = erase(done + 1, first - 1) ? hit - (first - 1 - done) : hit;
  }
  erase(done + 1, lastIndex());
  return *this;
}

Constraint& Constraint::operator|=(const Constraint& constraint) {
  if (&constraint == this) return *this |= Constraint(constraint);
  const Vesk::Time drift = offset(constraint);
  for (const Interval& interval : constraint.mIntervals) {
    const Interval part = interval - drift;
    insertUnlessEmpty(place(part.low()), part);
  }
  return clean();
}

Constraint& Constraint::operator-=(const Constraint& constraint) {
  if (&constraint == this) return *this -= Constraint(constraint);
  const Vesk::Time drift = offset(constraint);
  for (const Interval& interval : constraint.mIntervals) {
    Interval part = interval - drift;
    part.applyDelay(mDelay);
    int first;
    int last;
    if (intersect(part, first, last)) subtract(first, last, part);
  }
  return clean();
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
  mIntervals.clear();
  mIntervals.emplace_back(Vesk::Time::MIN, Vesk::Time::MAX, LAZY, false, true);
  return *this;
}

Constraint& Constraint::clear() {
  mIntervals.clear();
  return *this;
}

Constraint& Constraint::clean() {
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
  return *this;
}

Constraint& Constraint::applyDomination() {
  int kept = 0;
  for (const Interval& interval : mIntervals) {
    if (!interval.dominated()) at(kept++) = interval;
  }
  erase(kept, lastIndex());
  return *this;
}

// ---------------------------------------------------------------------------------------------
// Constraints: steps of the algebra

// What is added to this constraint's clock to read the other's.
Vesk::Time Constraint::offset(const Constraint& other) const {
  return mClock == nullptr ? Vesk::Time(0) : mClock->drift(other.mClock);
}

// Keeps the part of an interval behind current for the operand's next interval, when that begins
// within it: the cut to current would take it away.
void Constraint::splitBeforeNext(int index, const Interval& current, const Interval& next) {
  const Interval& whole = at(index);
  if (!whole.in(next.low())) return;
  insertUnlessEmpty(index + 1, Interval(instantAfter(current.high()), whole.high(), whole));
}

// Takes the part away from the run of intervals that it meets, or marks what it covers.
void Constraint::subtract(int first, int last, const Interval& part) {
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
void Constraint::subtractInside(int index, const Interval& part) {
  const Interval whole = at(index);
  at(index).setHigh(instantBefore(part.low()));
  insertUnlessEmpty(index + 1, Interval(instantAfter(part.high()), whole.high(), whole));
  if (mDomination) insertUnlessEmpty(index + 1, Interval(part.low(), part.high(), whole, true));
}

// Deliberate: what decides whether the last interval met survives is the interval at `first`. When
// the first interval met is wholly covered, a remainder at the right of the last one is lost too.
// Deliberate: a last interval that is wholly covered may stay as an empty one until the final
// clean(), and hides what lies at its left from a later, overlapping part of the operand.
void Constraint::subtractAcross(int first, int last, const Interval& part) {
  at(first) -= part;
  if (!at(first).empty()) ++first;
  at(last) -= part;
  if (first <= lastIndex() && !at(first).empty()) --last;
  erase(first, last);
}

// Splits the ends of the run where the part begins and ends, unless they are dominated anyway, and
// marks what lies between.
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
  setDominated(first, last, true);
}

bool Constraint::clamp(int& low, int& high) const {
  if (low < 0) low = 0;
  if (high > lastIndex()) high = lastIndex();
  return low <= high;
}

void Constraint::erase(int i) {
  assert(0 <= i && i <= lastIndex());
  mIntervals.erase(mIntervals.begin() + i);
}

bool Constraint::erase(int low, int high) {
  if (!clamp(low, high)) return false;
  mIntervals.erase(mIntervals.begin() + low, mIntervals.begin() + high + 1);
  return true;
}

void Constraint::insert(int index, const Interval& interval) {
  assert(0 <= index && index <= lastIndex() + 1);
  mIntervals.insert(mIntervals.begin() + index, interval);
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
  return low <= high;
}

// Index of the interval that holds t, else of the first one after it; 0 when there are none.
int Constraint::place(const Vesk::Time& t) const {
  if (empty()) return 0;
  int gap;
  const int holder = position(t, gap);
  return holder >= 0 ? holder : gap;
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
