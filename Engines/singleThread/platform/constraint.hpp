// Timing constraints: unions of closed intervals of a clock's values, each with its urgency, and
// the algebra and queries that the engines need. Time is discrete: the instant after h is h + 1, so
// there are no open bounds.
//
// A model makes its constraints once, gives them to its atom, and hands one with each timed port to
// Atom::rt_sync(). It need not use the algebra:
//
//     // Possible 25 to 30 ms after the clock was reset, and must have happened after 30 ms.
//     Constraint* readyToServe(Atom& atom, const Clock* sinceStart) {
//       auto* ready = new Constraint(sinceStart, Vesk::Time(25000), Vesk::Time(30000), DELAYABLE);
//       atom.constraints().add(ready);  // the atom owns it from now on
//       return ready;
//     }
//
//     // Possible in the first 10 ms, and again, at once, from 20 ms on.
//     // Intervals are added from left to right, without overlaps.
//     Constraint* twice(Atom& atom, const Clock* clock) {
//       auto* times = new Constraint(clock, Vesk::Time(0), Vesk::Time(10000), LAZY);
//       *times |= Constraint(clock, Vesk::Time(20000), Vesk::Time::MAX, EAGER);
//       atom.constraints().add(times);
//       return times;
//     }
#ifndef VESK_CONSTRAINT_HPP
#define VESK_CONSTRAINT_HPP

#ifdef _GLIBCXX_DEBUG
#error "Build models without _GLIBCXX_DEBUG: it changes the layout of Constraint."
#endif

#include <cassert>
#include <iosfwd>
#include <vector>

#include "vesk-time.hpp"

class GenericClock;

// How soon an enabled executable must be taken. Larger is more urgent.
enum Urgency : int {
  LAZY = 0,       // may wait for ever
  DELAYABLE = 1,  // may wait, but not beyond the upper bound of its interval
  EAGER = 2       // must be taken as soon as it is enabled
};

// One interval of a timing constraint: a closed range of clock values and how urgent they are.
// Empty when low > high; the canonical empty interval is [MAX, MIN]. Observable is a mark for those
// who watch a model: Constraint::observable() and observableDeadline() ask for it, the choices of
// the engine never do.
//
// No operation requires anything of its operands: bounds may be infinite, and intervals empty. What
// an operation ensures beyond its description stands with it, and debug builds of the engine test
// it. Urgency, dominated and observable stay as they are where nothing else is said.
class Interval {
 public:
  Interval(Vesk::Time low, Vesk::Time high, Urgency urgency, bool dominated, bool observable);
  Interval(const Interval&) = default;
  // The given bounds with the other attributes of a model interval, in the second form with a
  // dominated flag of its own.
  Interval(const Vesk::Time& low, const Vesk::Time& high, const Interval& model);
  Interval(const Vesk::Time& low, const Vesk::Time& high, const Interval& model, bool dominated);
  // The bounds of an interval with other attributes.
  Interval(const Interval& bounds, bool dominated, Urgency urgency, bool observable);
  virtual ~Interval() = default;

  const Vesk::Time& low() const { return mLow; }
  const Vesk::Time& high() const { return mHigh; }
  void setLow(const Vesk::Time& t) { mLow = t; }
  void setHigh(const Vesk::Time& t) { mHigh = t; }
  bool dominated() const { return mDominated; }
  void setDominated(bool dominated) { mDominated = dominated; }
  Urgency urgency() const { return mUrgency; }
  void setUrgency(Urgency urgency) { mUrgency = urgency; }
  // Keeps the more urgent of the two.
  void setMaxUrgency(Urgency urgency) { mUrgency = mUrgency < urgency ? urgency : mUrgency; }
  bool observable() const { return mObservable; }
  void setObservable(bool observable) { mObservable = observable; }
  // Keeps observable when either is.
  void setMaxObservable(bool observable) { mObservable = mObservable || observable; }

  // True when t lies between the bounds, both included. The two names mean the same.
  bool in(const Vesk::Time& t) const { return mLow <= t && t <= mHigh; }
  bool inside(const Vesk::Time& t) const { return in(t); }
  // True when the other interval lies within this one. The two names mean the same.
  bool in(const Interval& other) const { return mLow <= other.mLow && other.mHigh <= mHigh; }
  bool inside(const Interval& other) const { return in(other); }
  // Ensures: empty(), with the canonical bounds.
  void setEmpty();
  bool empty() const { return mLow > mHigh; }
  bool singleton() const { return mLow == mHigh; }

  // Moves the lower bound down by a delay: an executable delayed by it may start that much earlier
  // on this interval's clock. Empty intervals and infinite lower bounds stay. Ensures: the upper
  // bound is as before. Deliberate: a delay of MIN gives MIN, unlike a subtraction of times,
  // because a delay only makes an interval start earlier.
  // (docs/decisions/0014-infinite-bounds-and-delays.md)
  void applyDelay(const Vesk::Time& delay);
  Interval& operator=(const Interval&) = default;
  // Keeps what lies in both; the higher urgency wins, observable when either is. The result may be
  // empty. Ensures: the bounds lie within those of both.
  Interval& operator&=(const Interval& other);
  // Takes the other interval away. The result is one interval, so of two remaining pieces the right
  // one is lost; an interval wholly left of the other is stretched up to it. Ensures: unless
  // one of the two was empty, they have no instant in common but an infinite one. Deliberate: the
  // constraint algebra splits first and calls this on overlaps, so there nothing is lost.
  // (docs/decisions/0001-losses-in-the-interval-algebra.md)
  Interval& operator-=(const Interval& other);
  // Shift both bounds; infinite bounds stay. Ensures: nothing else changes.
  Interval& operator+=(const Vesk::Time& t);
  Interval& operator-=(const Vesk::Time& t);
  Interval operator+(const Vesk::Time& t) const;
  Interval operator-(const Vesk::Time& t) const;

  // Order by lower bound, then by upper bound; the attributes do not count.
  bool operator<(const Interval& other) const;
  bool operator<=(const Interval& other) const { return !(other < *this); }
  bool operator>(const Interval& other) const { return other < *this; }
  bool operator>=(const Interval& other) const { return !(*this < other); }
  bool operator==(const Interval& other) const;
  bool operator!=(const Interval& other) const { return !(*this == other); }

 protected:
  Vesk::Time mLow;   // included; MIN: unbounded below
  Vesk::Time mHigh;  // included; MAX: unbounded above
  bool mDominated;   // covered by something with priority over this
  Urgency mUrgency;
  bool mObservable;
};

// Writes the urgency and the bounds, "eager (0ms,5ms)", or "empty".
std::ostream& operator<<(std::ostream& out, const Interval& interval);

// A timing constraint: a sorted list of disjoint, non-empty intervals over one clock. Operations
// between constraints over different clocks translate the operand into this constraint's clock by
// the drift between the two; a null clock has drift 0. Union and difference end with clean(). Only
// the union may leave overlapping intervals, see operator|=; queries on those stay in range but may
// overlook an interval.
//
// Operations between constraints take every list, and the operand may be the constraint itself.
// What they ensure for lists "in order" holds when the intervals of this one and of the translated
// operand are non-empty, sorted and disjoint: check(), except that neighbours may meet in an
// infinite bound, where a shift or a cut cannot part them. Debug builds of the engine test all that
// is required and ensured. No operation between constraints changes the clocks, the domination flag
// or the delay of either.
class Constraint {
 public:
  // One interval, observable and not dominated. The clock is not owned and may be null; it is also
  // the display clock.
  Constraint(const GenericClock* clock, Vesk::Time low, Vesk::Time high, Urgency urgency);
  Constraint(const GenericClock* clock, Interval interval);
  // Without a clock.
  Constraint(Interval interval);
  Constraint(const Constraint&) = default;
  Constraint& operator=(const Constraint&) = default;
  virtual ~Constraint() = default;

  // The clock whose values the intervals are expressed in.
  GenericClock* clock() const { return mClock; }
  void setClock(const GenericClock* clock) { mClock = const_cast<GenericClock*>(clock); }
  // The clock in whose values the constraint is printed.
  GenericClock* displayClock() const { return mDisplayClock; }
  void setDisplayClock(const GenericClock* clock) {
    mDisplayClock = const_cast<GenericClock*>(clock);
  }
  // With domination set, operator-= marks what it covers as dominated instead of removing it.
  bool domination() const { return mDomination; }
  void setDomination(bool domination) { mDomination = domination; }
  // Applied by operator-= to every interval of its operand, see Interval::applyDelay.
  const Vesk::Time& delay() const { return mDelay; }
  void setDelay(const Vesk::Time& delay) { mDelay = delay; }
  bool empty() const { return mIntervals.empty(); }
  unsigned int size() const { return static_cast<unsigned int>(mIntervals.size()); }
  // A copy of interval number i, from 0 in the order of the list. Requires: i < size().
  Interval operator[](unsigned int i) const {
    assert(i < size());
    return mIntervals[i];
  }
  // The interval itself. Who changes it keeps the list in order. Requires: i < size().
  Interval& operator[](unsigned int i) {
    assert(i < size());
    return mIntervals[i];
  }

  // Intersection: the tighter bounds, the higher urgency, observable when either is. Ensures: of
  // lists in order the result is in order, and each of its intervals lies in one of the operand.
  Constraint& operator&=(const Constraint& constraint);
  // Union. Ensures: what clean() does, and each non-empty interval of the operand lies in one of
  // the result. Deliberate: an overlapping interval is kept as an entry of its own before the one
  // that holds its lower bound; only exactly adjacent, compatible intervals are fused. What a model
  // may do depends on it. (docs/decisions/0001-losses-in-the-interval-algebra.md)
  Constraint& operator|=(const Constraint& constraint);
  // Difference; with domination set the covered parts are marked instead. The operand counts with
  // the delay of this constraint. Ensures: what clean() does; of lists in order the result is in
  // order and, without domination, has no finite instant in common with the operand. Deliberate:
  // when the first interval met is wholly covered, a remainder at the right of the last interval
  // met is lost as well. What a model may do depends on it.
  // (docs/decisions/0001-losses-in-the-interval-algebra.md)
  Constraint& operator-=(const Constraint& constraint);
  // Shift all intervals; infinite bounds stay. Ensures: the number of intervals is as before.
  Constraint& operator+=(const Vesk::Time& t);
  Constraint& operator-=(const Vesk::Time& t);
  // The constraint that always holds: one lazy, observable interval [MIN, MAX]; domination and
  // delay are cleared. Ensures: check().
  Constraint& reset();
  // Removes the intervals and keeps everything else. Ensures: empty().
  Constraint& clear();
  // Drops empty intervals and fuses exactly adjacent ones with equal flags when nothing is lost: a
  // delayable interval is never extended, a lazy one followed by a delayable one becomes delayable.
  // Ensures: no interval is empty, and no two neighbours can be fused any more.
  Constraint& clean();
  // Removes the dominated intervals. Ensures: none is left, and the others keep their order.
  Constraint& applyDomination();

  // Queries. The times are values of this constraint's clock. They require nothing; what they say
  // about lists that are not in order may overlook an interval.

  // True when t lies in an interval.
  bool in(const Vesk::Time& t) const;
  // True when the whole interval lies in a single interval of the constraint.
  bool in(const Interval& interval) const;
  // The first instant at or after t at which the constraint holds; MAX when there is none. Ensures:
  // the result is t, the lower bound of an interval, or MAX.
  Vesk::Time next(const Vesk::Time& t) const;
  // The latest instant, from t on, by which the executable must be taken; MAX when nothing forces
  // it. Ensures: the result is t, a bound of an interval that is not lazy, or MAX.
  Vesk::Time deadline(const Vesk::Time& t) const;
  // The same over the observable intervals alone.
  Vesk::Time observableDeadline(const Vesk::Time& t) const;
  // True when the executable must be taken at t.
  bool urgent(const Vesk::Time& t) const;
  // True when t lies in an observable interval.
  bool observable(const Vesk::Time& t) const;
  // True when an interval with an index in low .. high (clamped) has exactly this urgency.
  bool existUrgency(int low, int high, Urgency urgency) const;
  // True when the intervals are non-empty, sorted and disjoint.
  bool check() const;

 protected:
  // Index of the interval that holds the time, or -1. After is -1 when there is one (or no interval
  // at all), else the index of the first interval after the time (size() when none). Ensures: of
  // both exactly one is -1, unless there are no intervals.
  int position(const Vesk::Time& time, int& after) const;
  int position(const Vesk::Time& t) const;
  // The run low .. high of intervals that the given one meets; false when it meets none. Ensures:
  // when it meets some, 0 <= low <= high < size().
  bool intersect(const Interval& interval, int& low, int& high) const;
  // Index of the interval just before t, -1 when none; -2 when t lies in an interval or there are
  // no intervals.
  int before(const Vesk::Time& t) const;
  // Index of the interval just after t, size() when none; -1 when t lies in an interval or there
  // are no intervals.
  int after(const Vesk::Time& t) const;

  // Requires: 0 <= i < size(). Ensures: one interval less.
  void erase(int i);
  // The range operations clamp low to 0 and high to size() - 1 and return false when nothing is
  // left of the range. Ensures: intervals outside of the range are as before.
  bool erase(int low, int high);
  // The interval gets the index. Requires: 0 <= index <= size(). Ensures: one interval more.
  void insert(int index, const Interval& interval);
  bool setDominated(int low, int high, bool dominated);
  void setAllDominated(bool dominated);
  bool setUrgency(int low, int high, Urgency urgency);
  bool setMaxUrgency(int low, int high, Urgency urgency);

  GenericClock* mClock;         // not owned; null: no translation takes place
  GenericClock* mDisplayClock;  // not owned
  bool mDomination;
  Vesk::Time mDelay;
  std::vector<Interval> mIntervals;

 private:
  bool clamp(int& low, int& high) const;
  // Requires for both: 0 <= i <= lastIndex().
  Interval& at(int i) {
    assert(0 <= i && i <= lastIndex());
    return mIntervals[static_cast<std::size_t>(i)];
  }
  const Interval& at(int i) const {
    assert(0 <= i && i <= lastIndex());
    return mIntervals[static_cast<std::size_t>(i)];
  }
  int lastIndex() const { return static_cast<int>(mIntervals.size()) - 1; }
  Vesk::Time offset(const Constraint& other) const;
  Vesk::Time deadlineFrom(const Vesk::Time& t, bool observableOnly) const;
  int place(const Vesk::Time& t) const;
  void insertUnlessEmpty(int index, const Interval& interval);
  void meetOne(const Interval& part);
  template <class List>
  [[gnu::noinline]] void meetAll(const List& operand);
  bool isRun(int first, int last) const;
  void splitBeforeNext(int index, const Interval& current, const Interval& next);
  void cut(int first, int last, const Interval& part);
  int dropBetween(int done, int first, int last);
  void subtract(int first, int last, const Interval& part);
  void subtractInside(int index, const Interval& part);
  void subtractAcross(int first, int last, const Interval& part);
  void dominateAcross(int first, int last, const Interval& part);
};

// Writes the intervals in the values of the display clock, separated by " or "; nothing when there
// are none.
std::ostream& operator<<(std::ostream& out, const Constraint& constraint);
// The same; a null pointer, which never restricts anything, is "lazy".
std::ostream& operator<<(std::ostream& out, const Constraint* constraint);

#endif
