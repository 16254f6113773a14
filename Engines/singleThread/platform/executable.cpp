#include "executable.hpp"

#include <ostream>

#include "constraint.hpp"
#include "plain-output.hpp"

namespace {

Constraint* newConstraint(const GenericClock* clock) {
  return new Constraint(clock, Vesk::Time::MIN, Vesk::Time::MAX, LAZY);
}

}  // namespace

Executable::~Executable() {
  delete mOwned;
}

void Executable::dominate(Executable& other, const Vesk::Time& delay) {
  if (mConstraint == nullptr) {
    other.mDominated = true;
    return;
  }
  if (other.mConstraint == nullptr) {
    other.mConstraint = other.mKeepsOwn ? &other.useOwnConstraint(nullptr) : newConstraint(nullptr);
  }
  other.mConstraint->setDelay(delay);
  other.mConstraint->setDomination(true);
  *other.mConstraint -= *mConstraint;
}

Constraint& Executable::useOwnConstraint(const GenericClock* clock) {
  if (mOwned == nullptr) {
    mOwned = newConstraint(clock);
  } else {
    mOwned->reset();
    mOwned->setClock(clock);
    mOwned->setDisplayClock(clock);
  }
  mConstraint = mOwned;
  return *mOwned;
}

void Executable::dropConstraint() {
  if (mConstraint != mOwned) delete mConstraint;
  mConstraint = nullptr;
}

std::ostream& operator<<(std::ostream& out, Executable& executable) {
  Constraint* constraint = executable.constraint();
  if (constraint != nullptr) constraint->setDisplayClock(executable.displayClock());
  Vesk::PlainOutput(out) << executable.label() << " " << constraint;
  return out;
}

std::ostream& operator<<(std::ostream& out, Executable* executable) {
  return out << *executable;
}
