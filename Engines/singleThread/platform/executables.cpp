#include "executables.hpp"

#include "connector.hpp"
#include "port.hpp"

namespace {

bool isVisible(const Executable& executable, unsigned int mask) {
  return (executable.mark() & mask) == 0 && !executable.dominated();
}

Interaction* firstInteraction(const Connector* connector) {
  return connector != nullptr ? connector->feasibleInter() : nullptr;
}

}  // namespace

// The walk

void Executables::init(Connector*& connector, Interaction*& interaction, Port*&) {
  if (connector != nullptr) interaction = connector->feasibleInter();
}

// Moves on to the first visible executable at or after the given position.
void Executables::advance(unsigned int mask, Connector*& connector, Interaction*& interaction,
                          Port*& internal) {
  while (connector != nullptr) {
    for (; interaction != nullptr; interaction = interaction->next()) {
      if (isVisible(*interaction, mask)) return;
    }
    connector = connector->next();
    interaction = firstInteraction(connector);
  }
  while (internal != nullptr && !isVisible(*internal, mask)) internal = internal->next();
}

void Executables::next(unsigned int mask, Connector*& connector, Interaction*& interaction,
                       Port*& internal) {
  if (interaction != nullptr) {
    interaction = interaction->next();
  } else if (connector != nullptr) {
    connector = connector->next();
    interaction = firstInteraction(connector);
  } else if (internal != nullptr) {
    internal = internal->next();
  }
  advance(mask, connector, interaction, internal);
}

void Executables::iterator::next() {
  Executables::next(mMask, mConnector, mInteraction, mInternal);
}

Executables::iterator& Executables::iterator::operator++() {
  next();
  return *this;
}

Executables::iterator Executables::iterator::operator++(int) {
  iterator before(*this);
  next();
  return before;
}

Executables::iterator& Executables::iterator::operator+=(int n) {
  for (; n > 0; --n) next();
  return *this;
}

Executables::iterator Executables::iterator::operator+(int n) const {
  iterator result(*this);
  result += n;
  return result;
}

Executable* Executables::iterator::operator*() const {
  if (mInteraction != nullptr) return mInteraction;
  return mInternal;
}

bool Executables::iterator::operator==(const iterator& other) const {
  return mMask == other.mMask && mConnector == other.mConnector &&
         mInteraction == other.mInteraction && mInternal == other.mInternal;
}

// The set

void Executables::initialize(Connector* connector, Port* internals) {
  mConnector = connector;
  mInternals = internals;
}

Executables::iterator Executables::begin(unsigned int mask) const {
  Connector* connector = mConnector;
  Interaction* interaction = nullptr;
  Port* internal = mInternals;
  init(connector, interaction, internal);
  advance(mask, connector, interaction, internal);
  return iterator(mask, connector, interaction, internal);
}

int Executables::count(unsigned int mask) const {
  int visible = 0;
  const iterator last = end(mask);
  for (iterator it = begin(mask); it != last; ++it) ++visible;
  return visible;
}

Executable* Executables::operator[](unsigned int i) const {
  iterator it = begin();
  const iterator last = end();
  for (; i > 0 && it != last; --i) ++it;
  return *it;
}

void Executables::mark(iterator position, unsigned int bits) {
  Executable& current = **position;
  current.setMark(current.mark() | bits);
}

// Deliberate: the negation is logical, not bitwise. Any bits but 0 clear every mark of the
// executable, as policies of models expect.
// (docs/decisions/0017-marks-are-cleared-together.md)
void Executables::unmark(iterator position, unsigned int bits) {
  Executable& current = **position;
  current.setMark(current.mark() & (bits == 0 ? 1u : 0u));
}

void Executables::markAll(unsigned int bits) {
  const iterator last = end(0);
  for (iterator it = begin(0); it != last; ++it) mark(it, bits);
}

void Executables::unmarkAll(unsigned int bits) {
  const iterator last = end(0);
  for (iterator it = begin(0); it != last; ++it) unmark(it, bits);
}
