#include "lookahead.hpp"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "interaction-index.hpp"
#include "port.hpp"

namespace {

constexpr std::uint32_t STILL_NEAR = 8;  // firings since it was brought
constexpr std::size_t LINE = 64;         // bytes
constexpr std::size_t FIELDS = 64;       // of a class of the model, behind those of the engine
// Bytes of a region in front of what it was made for; all of them in a program of 32 bits.
constexpr auto HALF = static_cast<std::uintptr_t>((1ull << 36) - 1);
constexpr std::size_t FEW_PORTS = 8;       // of one connector or atom, and of its links
constexpr std::size_t LABEL_BYTES = 1024;  // in a port, which steps do not need

std::uintptr_t addressOf(const void* object) {
  return reinterpret_cast<std::uintptr_t>(object);
}

// The beginning of a region that has an object, mostly in its first half, on a line of the cache.
const char* baseAround(const void* object) {
  const std::uintptr_t before = std::min(addressOf(object), HALF) / LINE * LINE;
  return static_cast<const char*>(object) - before - addressOf(object) % LINE;
}

// Where the elements of a list stand.
template <class T, bool Owning>
const void* blockOf(const Array<T, Owning>& list) {
  struct Access : Array<T, Owning> {
    static const void* of(const Array<T, Owning>& list) { return list.*(&Access::m_elem); }
  };
  return Access::of(list);
}

int few(int count) {
  return std::min(count, static_cast<int>(FEW_PORTS));
}

}  // namespace

namespace Vesk {

// In the builds for tests small systems have one as well.
bool Lookahead::pays(std::size_t count) {
#ifdef VESK_VALIDATE
  constexpr std::size_t MANY = 8;
#else
  constexpr std::size_t MANY = 4096;
#endif
  return count >= MANY;
}

// Memory that is not touched costs nothing, so all of it is asked for at once and steps need none.
Lookahead::Lookahead(std::size_t limit)
    : mLimit(limit), mNow(STILL_NEAR), mBlock(std::calloc(limit + 1, sizeof(Entry))) {
  if (mBlock == nullptr) throw std::bad_alloc();
  void* place = mBlock.get();
  std::size_t room = (limit + 1) * sizeof(Entry);
  mEntries = static_cast<Entry*>(std::align(alignof(Entry), limit * sizeof(Entry), place, room));
  mBases = {baseAround(this), baseAround(mEntries)};
}

// ---- Use ---------------------------------------------------------------------------------------

// Compilers take calls away that have no effect; the empty instruction counts as one.
void Lookahead::bring(std::size_t number) {
  if (number >= mLimit) return;
  asm volatile("");
  Entry& entry = mEntries[number];
  if (entry.who == nullptr || mNow - entry.brought < STILL_NEAR) return;
  entry.brought = mNow;
  for (std::uint32_t i = 0; i < entry.count; ++i) {
    const std::uint32_t line = entry.lines[i];
    __builtin_prefetch(mBases[line / REGION] + line % REGION * LINE);
  }
}

void Lookahead::comesNear(const Connector* connector) {
  asm volatile("");
  const char* const fields = reinterpret_cast<const char*>(connector);
  __builtin_prefetch(fields + LINE / 2);
  __builtin_prefetch(fields + 3 * LINE / 2);
}

void Lookahead::comesNear(std::size_t number) const {
  asm volatile("");
  const char* const entry = reinterpret_cast<const char*>(mEntries + number);
  for (std::size_t i = 0; i < sizeof(Entry); i += LINE) __builtin_prefetch(entry + i);
}

// Where there are few neighbours, those behind them are brought: that leaves more time.
void Lookahead::fires(std::size_t number, Connector& connector) {
  if (number >= mLimit) return;
  ++mNow;
  Entry& entry = mEntries[number];
  if (entry.who != &connector) {
    learn(entry, connector);
    meet(number, connector);
  }
  const bool few = entry.neighbours.back() == NOBODY;
  for (const std::uint32_t neighbour : entry.neighbours) {
    if (neighbour == NOBODY) return;
    few ? bringNeighbours(neighbour - 1) : bring(neighbour - 1);
  }
}

void Lookahead::bringNeighbours(std::size_t number) {
  for (const std::uint32_t neighbour : mEntries[number].neighbours) {
    if (neighbour == NOBODY) return;
    bring(neighbour - 1);
  }
}

bool Lookahead::fires(std::size_t number, const Port& port) {
  ++mNow;
  return number >= mLimit || mEntries[number].who == &port;
}

// ---- Learning ----------------------------------------------------------------------------------

void Lookahead::learn(std::size_t number, const Port& port,
                      std::initializer_list<const void*> kept) {
  Entry& entry = mEntries[number];
  entry = {&port, mNow, 0, {}, {}};
  notePort(entry, port);
  for (const void* object : kept) note(entry, object, 1);
}

void Lookahead::learn(Entry& entry, Connector& connector) {
  entry = {&connector, mNow, 0, {}, {}};
  note(entry, &connector, sizeof connector);
  note(entry, blockOf(connector.ports()), 1);
  if (connector.links().count() > 0) note(entry, blockOf(connector.links()), 1);
  note(entry, &connector.interactions(), LINE / 2);
  if (connector.feasibleInter() != nullptr) noteInteraction(entry, *connector.feasibleInter());
  for (int i = 0; i < few(connector.ports().count()); ++i) notePort(entry, *connector.ports()[i]);
}

// Makes it a neighbour of those that have been learned already.
void Lookahead::meet(std::size_t number, Connector& connector) {
  for (int i = 0; i < few(connector.ports().count()); ++i) {
    Atom* const atom = connector.ports()[i]->atomHolder();
    if (atom == nullptr) continue;
    for (int k = 0; k < few(atom->links().count()); ++k) {
      const Connector* const other = atom->links()[k];
      const std::size_t its = other->interactions().rank;
      if (other == &connector || its >= mLimit || mEntries[its].who != other) continue;
      addNeighbour(number, its);
      addNeighbour(its, number);
    }
  }
}

void Lookahead::addNeighbour(std::size_t number, std::size_t neighbour) {
  for (std::uint32_t& place : mEntries[number].neighbours) {
    if (place == neighbour + 1) return;
    if (place != NOBODY) continue;
    place = static_cast<std::uint32_t>(neighbour + 1);
    return;
  }
}

void Lookahead::noteInteraction(Entry& entry, const Interaction& interaction) {
  note(entry, &interaction, sizeof interaction);
  noteConstraint(entry, interaction.constraint());
}

// All of a port but its label, and its atom.
void Lookahead::notePort(Entry& entry, const Port& port) {
  note(entry, &port, LINE / 2);
  note(entry, reinterpret_cast<const char*>(&port) + LABEL_BYTES + LINE / 2,
       sizeof port - LABEL_BYTES - LINE / 2);
  noteConstraint(entry, port.constraint());
  if (port.atomHolder() != nullptr) noteAtom(entry, *port.atomHolder());
}

void Lookahead::noteAtom(Entry& entry, Atom& atom) {
  note(entry, &atom, sizeof atom + FIELDS);
  note(entry, blockOf(atom.links()), 1);
  note(entry, blockOf(atom.ports()), 1);
}

void Lookahead::noteConstraint(Entry& entry, Constraint* constraint) {
  if (constraint == nullptr) return;
  note(entry, constraint, sizeof *constraint);
  if (!constraint->empty()) note(entry, &(*constraint)[0], sizeof(Interval));
  if (constraint->clock() != nullptr) note(entry, constraint->clock(), sizeof(Clock));
}

// Each line once.
void Lookahead::note(Entry& entry, const void* object, std::size_t bytes) {
  if (object == nullptr) return;
  const std::uintptr_t last = (addressOf(object) + bytes - 1) / LINE;
  for (std::uintptr_t line = addressOf(object) / LINE; line <= last; ++line) {
    const std::uintptr_t region = line - addressOf(mBases[0]) / LINE < REGION ? 0 : 1;
    const std::uintptr_t place = line - addressOf(mBases[region]) / LINE;
    if (entry.count == LINES || place >= REGION) return;
    const auto number = static_cast<std::uint32_t>(region * REGION + place);
    const auto end = entry.lines.begin() + entry.count;
    if (std::find(entry.lines.begin(), end, number) == end) entry.lines[entry.count++] = number;
  }
}

}  // namespace Vesk
