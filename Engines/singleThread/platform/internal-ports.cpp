#include "internal-ports.hpp"

#include "address-map.hpp"
#include "component.hpp"
#include "immortal.hpp"
#include "port.hpp"

namespace {

constexpr std::size_t MANY_ATOMS = 512;  // from which an update does not look at all of them
constexpr std::size_t LOOKS = 1;         // but at so many

bool isListed(const Port& port) {
  return port.isInternal() && port.synced() && port.constraint() != nullptr;
}

}  // namespace

namespace Vesk {

// ---- Who looks at which atom -------------------------------------------------------------------

struct InternalPorts::Registry {
  struct Entry {
    InternalPorts* ports = nullptr;
    std::size_t index = 0;
  };

  static AddressMap<Entry>& entries() {
    static Immortal<AddressMap<Entry>> all;
    return *all;
  }
  // Null when nobody looks at the atom. An atom that moves is asked for several times.
  static Entry* find(const Atom& atom) {
    if (sLastAtom != &atom) {
      sLast = entries().find(&atom);
      sLastAtom = &atom;
    }
    return sLast;
  }
  static void set(const Atom& atom, const Entry& entry) {
    entries()[&atom] = entry;
    sLastAtom = nullptr;
  }
  static void erase(const Atom& atom) {
    entries().erase(&atom);
    sLastAtom = nullptr;
  }

  static const Atom* sLastAtom;
  static Entry* sLast;
};

const Atom* InternalPorts::Registry::sLastAtom = nullptr;
InternalPorts::Registry::Entry* InternalPorts::Registry::sLast = nullptr;
unsigned int InternalPorts::sKept = 0;
unsigned int InternalPorts::sInternal = 0;

bool InternalPorts::hasInternalPorts(const Atom& atom) {
  for (const Port* port : const_cast<Atom&>(atom).ports()) {
    if (port->isInternal()) return true;
  }
  return false;
}

void InternalPorts::noteMovedAtom(const Atom& atom) {
  if (hasInternalPorts(atom)) noteChangedAtom(atom);
}

void InternalPorts::noteChangedAtom(const Atom& atom) {
  if (const Registry::Entry* entry = Registry::find(atom)) {
    entry->ports->note(entry->index);
  } else {
    ++sInternal;
  }
}

void InternalPorts::noteLinkedAtom(const Atom& atom) {
  if (const Registry::Entry* entry = Registry::find(atom)) entry->ports->mDisturbed = true;
}

void InternalPorts::note(std::size_t index) {
  if (mAtoms[index].noted) return;
  mAtoms[index].noted = true;
  mNoted.push_back(index);
}

std::array<const void*, 3> InternalPorts::kept(std::size_t rank) const {
  const Place& place = mPorts[rank];
  const Registry::Entry* const entry = Registry::find(*place.port->atomHolder());
  return {&place, entry, entry != nullptr ? &mAtoms[entry->index] : nullptr};
}

// ---- Construction ------------------------------------------------------------------------------

InternalPorts::InternalPorts()
    : mLevel(0), mLookedAt(0), mInternal(sInternal), mDisturbed(false), mUnnoted(false) {
  ++sKept;
}

InternalPorts::~InternalPorts() {
  --sKept;
  for (const Watched& watched : mAtoms) {
    const Registry::Entry* entry = Registry::find(*watched.atom);
    if (entry != nullptr && entry->ports == this) Registry::erase(*watched.atom);
  }
}

void InternalPorts::enter(Compound& compound) {
  compound.setInternals(nullptr);
  const std::size_t around = mLevels.empty() ? 0 : mLevel;
  mLevel = mLevels.size();
  mLevels.push_back({&compound, around, mPorts.size(), 0});
}

// An atom that stands in two places, or that somebody else looks at, keeps its last one.
void InternalPorts::add(Atom& atom) {
  if (const Registry::Entry* entry = Registry::find(atom)) entry->ports->mDisturbed = true;
  Registry::set(atom, {this, mAtoms.size()});
  mAtoms.push_back({&atom, mPorts.size(), atom.ports().count(), false});
  for (Port* port : atom.ports()) mPorts.push_back({port, mLevel, nullptr});
}

void InternalPorts::leave() {
  mLevels[mLevel].end = mPorts.size();
  mLevel = mLevels[mLevel].around;
}

void InternalPorts::begin() {
  mListed.reset(mPorts.size());
  for (std::size_t index = 0; index < mAtoms.size(); ++index) note(index);
  update();
}

// ---- Update ------------------------------------------------------------------------------------

bool InternalPorts::update() {
  mChanged.clear();
  if (mDisturbed || mInternal != sInternal) return false;
  bool differs = false;
  for (const std::size_t index : mNoted) {
    mAtoms[index].noted = false;
    if (!refresh(mAtoms[index], true, differs)) return false;
  }
  mNoted.clear();
  if (!look()) return false;
  setEnds();
  return true;
}

// A change that nobody has noted. Of many atoms only some have been looked at: then the others are
// looked at now.
bool InternalPorts::look() {
  if (mAtoms.empty() || (looksAtAll() && allLookUnchanged())) return true;
  bool differs = false;
  std::size_t looks = looksAtAll() ? mAtoms.size() : LOOKS;
  for (std::size_t i = 0; i < looks; ++i) {
    if (mLookedAt >= mAtoms.size()) mLookedAt = 0;
    if (!refresh(mAtoms[mLookedAt++], false, differs)) return false;
    if (!differs || mUnnoted) continue;
    mUnnoted = true;
    looks = i + mAtoms.size();
  }
  return true;
}

bool InternalPorts::looksAtAll() const {
  return mUnnoted || mAtoms.size() < MANY_ATOMS;
}

// Whether refresh() would find nothing.
bool InternalPorts::allLookUnchanged() const {
  for (const Watched& watched : mAtoms) {
    if (watched.atom->ports().count() != watched.ports) return false;
  }
  const Port* below = nullptr;
  std::size_t rank = 0;
  std::size_t nextListed = mListed.from(0);
  for (const Place& place : mPorts) {
    const Port& port = *place.port;
    const bool listed = rank == nextListed;
    ++rank;
    if (!listed && !port.isInternal()) continue;
    if (isListed(port) != listed || port.constraint() != place.constraint) return false;
    if (!listed) continue;
    if (port.next() != below) return false;
    below = &port;
    nextListed = mListed.from(rank);
  }
  return true;
}

// Looks at the ports of an atom. False when they are not those that it had.
[[gnu::noinline]] bool InternalPorts::refresh(const Watched& watched, bool noted, bool& differs) {
  if (watched.atom->ports().count() != watched.ports) return false;
  for (int i = 0; i < watched.ports; ++i) {
    const std::size_t rank = watched.first + static_cast<std::size_t>(i);
    Place& place = mPorts[rank];
    if (!place.port->isInternal() && !mListed.has(rank)) continue;
    const bool enabled = isListed(*place.port);
    const bool same = enabled == mListed.has(rank) && place.port->constraint() == place.constraint;
    if (!same) {
      differs = true;
      place.constraint = place.port->constraint();
    }
    if (noted || !same) mChanged.push_back(rank);
    if (enabled != mListed.has(rank)) {
      list(rank, enabled);
    } else if (enabled && place.port->next() != portAt(mListed.below(rank))) {
      return false;
    }
  }
  return true;
}

// Puts a port into the list, or takes it out. One that is out keeps its link, as with the walk.
void InternalPorts::list(std::size_t rank, bool listed) {
  const std::size_t above = mListed.from(rank + 1);
  Port* const next = portAt(mListed.below(rank));
  Port* const port = mPorts[rank].port;
  if (listed) {
    mListed.add(rank);
    port->setNext(next);
  } else {
    mListed.remove(rank);
  }
  if (above != RankSet::NONE) mPorts[above].port->setNext(listed ? port : next);
  setHeads(rank);
}

void InternalPorts::setHeads(std::size_t rank) {
  std::size_t index = mPorts[rank].level;
  for (;;) {
    const Level& level = mLevels[index];
    const std::size_t last = mListed.below(level.end);
    const bool none = last == RankSet::NONE || last < level.first;
    level.compound->setInternals(none ? nullptr : portAt(last));
    if (level.around == index) return;
    index = level.around;
  }
}

// The next walk finds the ends again; only the check of the lists asks for them before that.
void InternalPorts::setEnds() {
#ifdef VESK_VALIDATE
  for (const Level& level : mLevels) {
    Port* const head = level.compound->internals();
    level.compound->mInternalTail = head != nullptr ? portAt(mListed.from(level.first)) : nullptr;
  }
#endif
}

Port* InternalPorts::portAt(std::size_t rank) const {
  return rank != RankSet::NONE ? mPorts[rank].port : nullptr;
}

}  // namespace Vesk
