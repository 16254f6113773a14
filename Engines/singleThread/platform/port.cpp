#include "port.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "blocks.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "internal-ports.hpp"
#include "names.hpp"
#include "structure.hpp"

using Vesk::textOf;

namespace {

const char* const NOT_SYNCED =
    "ERROR: the port %s.%s seems to appars several time in a connector\n";

const char* nameOf(const Component* component) {
  return component != nullptr ? textOf(component->name()) : "";
}

// How far the clock of the port's holder is ahead of the clock of its constraint.
Vesk::Time driftOf(const Constraint& constraint, const GenericClock* holder) {
  const GenericClock* clock = constraint.clock();
  return clock != nullptr ? clock->drift(holder) : Vesk::Time(0);
}

}  // namespace

unsigned int Port::sReports = 0;

Port::Port(const char* name, const Atom* holder)
    : mName(Vesk::duplicate(name)),
      mAtomHolder(const_cast<Atom*>(holder)),  // firing the port moves the atom
      mConnHolder(nullptr),
      mSynced(false),
      mConstraint(nullptr),
      mElected(false),
      mConnected(false),
      mInternal(false),
      mNext(nullptr),
      mLongLabel(nullptr) {
  LABEL[0] = '\0';  // the rest stays untouched until the label is built
  keepOwnConstraint();
}

Port::Port(const char* name, const Connector* holder) : Port(name, static_cast<Atom*>(nullptr)) {
  mConnHolder = const_cast<Connector*>(holder);  // firing the port fires the connector
}

Port::~Port() {
  std::free(mLongLabel);
  Vesk::endName(mName);
}

// ---- Label -------------------------------------------------------------------------------------

const char* Port::labelHolder() const {
  return mConnHolder != nullptr ? nameOf(mConnHolder->holder()) : nameOf(mAtomHolder);
}

const char* Port::labelName() const {
  return textOf(mConnHolder != nullptr ? mConnHolder->name() : mName);
}

char* Port::label() {
  if (mLongLabel != nullptr) return mLongLabel;
  if (LABEL[0] != '\0') return LABEL;
  const std::string text = std::string(labelHolder()) + ":" + labelName();
  if (text.size() >= sizeof LABEL) return mLongLabel = Vesk::duplicate(text.c_str());
  std::memcpy(LABEL, text.c_str(), text.size() + 1);
  return LABEL;
}

// ---- Firing ------------------------------------------------------------------------------------

void Port::execute() {
  execute(Vesk::Time(0));
}

void Port::execute(const Vesk::Time& t) {
  if (mAtomHolder != nullptr) {
    if (!mSynced) {
      std::fprintf(stderr, NOT_SYNCED, nameOf(mAtomHolder), textOf(mName));
      ++sReports;
    }
    mAtomHolder->execute(this);
    mAtomHolder->resetLink();
  } else if (mConnHolder != nullptr) {
    mConnHolder->execute(t);
  }
}

void Port::actuate(const Vesk::Time& t) {
  if (mConnHolder != nullptr) mConnHolder->actuate(t);
}

// ---- Queries -----------------------------------------------------------------------------------

Vesk::Time Port::deadline(const Vesk::Time& t) const {
  const Constraint* timing = constraint();
  if (timing == nullptr) return Vesk::Time::MAX;
  const Vesk::Time drift = driftOf(*timing, displayClock());
  return timing->deadline(t - drift) + drift;
}

Vesk::Time Port::next(const Vesk::Time& t) const {
  const Constraint* timing = constraint();
  if (timing == nullptr) return t;
  const Vesk::Time drift = driftOf(*timing, displayClock());
  return timing->next(t - drift) + drift;
}

GenericClock* Port::displayClock() const {
  return mAtomHolder != nullptr ? mAtomHolder->clock() : nullptr;
}

bool Port::guard() const {
  if (mAtomHolder != nullptr) return true;
  return mConnHolder != nullptr && mConnHolder->guard();
}

// ---- Internal ports ----------------------------------------------------------------------------

void Port::noteInternal() const {
  if (mAtomHolder != nullptr) Vesk::InternalPorts::noteChanged(*mAtomHolder);
}

// ---- Links -------------------------------------------------------------------------------------

void Port::setLink(Connector* connector) {
  if (mAtomHolder != nullptr) {
    mAtomHolder->links().add(connector);
  } else if (mConnHolder != nullptr) {
    mConnHolder->links().add(connector);
    if (connector->holder() == mConnHolder->holder()) mConnHolder->setSubconnSameHolder(true);
  }
}

void Port::notifyDependentPorts() {
  if (mAtomHolder != nullptr) mAtomHolder->notifyDependentConn();
}
