#include "interaction.hpp"

#include <cstdarg>
#include <cstring>
#include <iostream>

#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "interaction-index.hpp"
#include "names.hpp"
#include "on-demand.hpp"
#include "port.hpp"

using Vesk::textOf;

HashTable<Interaction> Interaction::TABLE;

namespace {

// Writes a text as it is, whatever width the model has left on the stream.
void write(const char* text) {
  std::cout.write(text, static_cast<std::streamsize>(std::strlen(text)));
}

}  // namespace

Interaction::Interaction(const Connector* connector, const BitVector& set)
    : mConnector(const_cast<Connector*>(connector)),  // firing it fires the connector's ports
      mSynced(set),
      mInhibitors(Vesk::ON_DEMAND),
      mNext(nullptr) {
  keepOwnConstraint();
}

Interaction::Interaction(const Interaction& other) : Interaction(other.mConnector, other.mSynced) {
  mMark = other.mMark;
  mDominated = other.mDominated;
  if (other.mConstraint != nullptr) useOwnConstraint(nullptr) = *other.mConstraint;
}

Interaction::~Interaction() {
  dropConstraint();
}

Interaction* Interaction::copy() const {
  return new Interaction(*this);
}

Interaction* Interaction::Create(const Connector* connector, const BitVector& set) {
  Vesk::InteractionIndex& index = connector->interactions();
  Interaction* const interaction = index.find(set);
  return interaction != nullptr ? interaction : index.make(connector, set);
}

Interaction* Interaction::Create(const Connector* connector, int n, ...) {
  BitVector set;
  va_list indices;
  va_start(indices, n);
  for (int i = 0; i < n; ++i) set.add(va_arg(indices, int));
  va_end(indices);
  return Create(connector, set);
}

Interaction* Interaction::Create(const Connector* connector, std::initializer_list<int> indices) {
  BitVector set;
  for (int index : indices) set.add(index);
  return Create(connector, set);
}

Interaction* Interaction::CreateRealTime(const Connector* connector, const BitVector&,
                                         const BitVector& set) {
  Interaction* interaction = Create(connector, set);
  return interaction->intersectPortConstraints() ? interaction : nullptr;
}

// A constraint that somebody else has set is used again as it would be if it were the own one.
bool Interaction::intersectPortConstraints() {
  const Array<Port, false>& ports = mConnector->ports();
  const int count = ports.count();
  bool found = false;
  for (int i = 0; i < count; ++i) {
    if (!mSynced.in(i)) continue;
    const Constraint* const constraint = ports[i]->constraint();
    if (constraint == nullptr) continue;
    if (!found) resetConstraint();
    found = true;
    *mConstraint &= *constraint;
  }
  if (found) return !mConstraint->empty();
  if (mConstraint != nullptr) dropConstraint();
  return true;
}

// Makes it the constraint that always holds, over the clock of the connector's holder.
[[gnu::noinline]] void Interaction::resetConstraint() {
  const GenericClock* clock = Interaction::displayClock();
  if (mConstraint == nullptr) {
    useOwnConstraint(clock);
  } else {
    mConstraint->reset();
    mConstraint->setClock(clock);
    mConstraint->setDisplayClock(clock);
  }
}

char* Interaction::label() {
  return mConnector->rt_label(mSynced);
}

// Tells the plan of the activation that code of the model runs.
void Interaction::noteFired() const {
  const Vesk::InteractionIndex& place = mConnector->interactions();
  if (place.plan != nullptr) place.plan->noteFired(place.rank);
}

void Interaction::execute(const Vesk::Time& t) {
  noteFired();
  if (mConnector->xPort() != nullptr) mConnector->xPort()->setSynced(false);
  Array<Port, false>& ports = mConnector->ports();
  for (int i = 0; i < ports.count(); ++i) {
    if (mSynced.in(i)) ports[i]->execute(t);
  }
}

void Interaction::actuate(const Vesk::Time& t) {
  noteFired();
  mConnector->dn();
  Array<Port, false>& ports = mConnector->ports();
  for (int i = 0; i < ports.count(); ++i) {
    if (mSynced.in(i)) ports[i]->actuate(t);
  }
}

Vesk::Time Interaction::deadline(const Vesk::Time& t) const {
  return mConstraint != nullptr ? mConstraint->deadline(t) : Vesk::Time::MAX;
}

Vesk::Time Interaction::next(const Vesk::Time& t) const {
  return mConstraint != nullptr ? mConstraint->next(t) : t;
}

GenericClock* Interaction::displayClock() const {
  const Compound* holder = mConnector->holder();
  return holder != nullptr ? holder->clock() : nullptr;
}

bool Interaction::equal(const Interaction* other) const {
  return mConnector == other->mConnector && mSynced == other->mSynced;
}

bool Interaction::isSubset(const Interaction* other, bool& equal) const {
  if (mConnector != other->mConnector || !(mSynced <= other->mSynced)) return false;
  equal = mSynced == other->mSynced;
  return true;
}

unsigned int Interaction::hash(unsigned int n) const {
  unsigned int sum = 0;
  for (const char* c = textOf(mConnector->name()); *c != '\0'; ++c) {
    sum = sum * 5 + static_cast<unsigned int>(static_cast<signed char>(*c));
  }
  return (sum + mSynced.hash(n)) % n;
}

void Interaction::print() const {
  Array<Port, false>& ports = mConnector->ports();
  for (int i = 0; i < ports.count(); ++i) {
    if (!mSynced.in(i)) continue;
    if (i != 0) write("|");
    write(textOf(ports[i]->name()));
  }
}
