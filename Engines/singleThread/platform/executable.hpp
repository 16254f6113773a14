// What the timed engine fires: an interaction of a connector or an internal port of an atom, seen
// through one interface. Models meet it where they choose by themselves:
//
//     // What must fire first of two; the first one when both may wait for ever.
//     Executable* moreUrgent(Executable* one, Executable* other, const Vesk::Time& now) {
//       return other->deadline(now) < one->deadline(now) ? other : one;
//     }
#ifndef VESK_EXECUTABLE_HPP
#define VESK_EXECUTABLE_HPP

#include <iosfwd>

#include "vesk-time.hpp"

class Constraint;
class GenericClock;

namespace Vesk {

// The constraint that an executable owns: one object, made when it is first needed, kept for the
// next use, and deleted with its owner.
class OwnConstraint {
 public:
  OwnConstraint() : mConstraint(nullptr) {}
  OwnConstraint(const OwnConstraint&) = delete;
  OwnConstraint& operator=(const OwnConstraint&) = delete;
  ~OwnConstraint();
  // Gives it as the constraint that always holds, over the given clock, which may be null.
  Constraint& use(const GenericClock* clock);
  bool is(const Constraint* constraint) const { return constraint == mConstraint; }

 private:
  Constraint* mConstraint;  // null until first needed
};

}  // namespace Vesk

// Something that can fire.
class Executable {
 public:
  Executable() : mMark(0), mConstraint(nullptr), mDominated(false), mKeepsOwn(false) {}
  Executable(const Executable&) = delete;
  Executable& operator=(const Executable&) = delete;
  virtual ~Executable();

  // Slot order is fixed: generated code is built against it.
  // The printable name, for traces and dialogues. The text belongs to the executable or is shared:
  // copy it before the next call. Called once for each line that shows it; must not change
  // anything.
  virtual char* label() = 0;
  // Fires at time t: runs the transitions of the atoms, which announce their ports again. Called
  // once for a choice, after actuate(t). It changes the model; the lists of the step are stale
  // after it.
  virtual void execute(const Vesk::Time& t) = 0;
  // The data side of firing at t: connectors write the variables of the ports. The timed engine
  // calls it once, just before execute(t); loops without time and explorations do not call it. Must
  // not run transitions.
  virtual void actuate(const Vesk::Time& t) = 0;
  // The latest time, seen from t, by which it must fire; MAX when nothing forces it. A pure query:
  // called several times in a step by the filters, it must give the same each time and change
  // nothing.
  virtual Vesk::Time deadline(const Vesk::Time& t) const = 0;
  // The first time not before t at which it is enabled; MAX when it is never enabled again. A pure
  // query like deadline().
  virtual Vesk::Time next(const Vesk::Time& t) const = 0;
  // The clock in whose values its constraint is printed; null: no translation.
  virtual GenericClock* displayClock() const = 0;

  // Bit k is set by the filter of level k; filters remove by marking. A run of the timed engine
  // makes the marks of each step, but in a large system it writes only those that change: one that
  // a model sets by itself may last longer than the step.
  unsigned int mark() const { return mMark; }
  void setMark(unsigned int mark) { mMark = mark; }
  // When it is enabled; null: time never restricts it. Setting one transfers no ownership by
  // itself: what the derived classes own is said there.
  Constraint* constraint() const { return mConstraint; }
  void setConstraint(Constraint* constraint) { mConstraint = constraint; }
  // Ruled out altogether by a priority: no walk of Executables sees it.
  bool dominated() const { return mDominated; }
  void setDominated(bool dominated) { mDominated = dominated; }

  // Gives this priority over the other: without a constraint the other becomes dominated; with one,
  // the times of this (moved down by the delay) are marked dominated in the other's constraint,
  // which is made when it has none and then belongs to whoever owns the other; ports and
  // interactions see to theirs themselves.
  void dominate(Executable& other, const Vesk::Time& delay);

  // Makes the constraint that always holds, over the given clock (which may be null), this
  // executable's constraint and returns it. It is this executable's own: one object, made on first
  // use, used again by the next call, deleted with the executable.
  Constraint& useOwnConstraint(const GenericClock* clock);

 protected:
  // Leaves the executable without constraint. For those that own their constraint: one set from
  // outside is deleted, the own one is kept aside for its next use.
  void dropConstraint();
  // Lets dominate() make the constraint with useOwnConstraint(). For constructors.
  void keepOwnConstraint() { mKeepsOwn = true; }

  unsigned int mMark;
  Constraint* mConstraint;
  bool mDominated;

 private:
  bool mKeepsOwn;            // see keepOwnConstraint()
  Vesk::OwnConstraint mOwn;  // may be out of use
};

// Writes the label, a blank and the constraint, which is set to print in the values of
// displayClock(). Requires: not null.
std::ostream& operator<<(std::ostream& out, Executable& executable);
std::ostream& operator<<(std::ostream& out, Executable* executable);

#endif
