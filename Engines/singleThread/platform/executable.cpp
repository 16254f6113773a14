#include "executable.hpp"

#include <ostream>

#include "constraint.hpp"
#include "plain-output.hpp"

namespace {

Constraint* newConstraint(const GenericClock* clock) {
  return new Constraint(clock, Vesk::Time::MIN, Vesk::Time::MAX, LAZY);
}

}  // namespace

// ---- The own constraint ----------------------------------------------------------------------

Vesk::OwnConstraint::~OwnConstraint() {
  delete mConstraint;
}

Constraint& Vesk::OwnConstraint::use(const GenericClock* clock) {
  if (mConstraint == nullptr) {
    mConstraint = newConstraint(clock);
  } else {
    mConstraint->reset();
    mConstraint->setClock(clock);
    mConstraint->setDisplayClock(clock);
  }
  return *mConstraint;
}

// ---- Executable ------------------------------------------------------------------------------

Executable::~Executable() = default;

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
  mConstraint = &mOwn.use(clock);
  return *mConstraint;
}

void Executable::dropConstraint() {
  if (!mOwn.is(mConstraint)) delete mConstraint;
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
