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

constexpr std::uint32_t STILL_NEAR = 8;   // firings since it was brought
constexpr std::size_t LINE = 64;          // bytes
constexpr std::size_t FIELDS = 64;        // of a class of the model, behind those of the engine
constexpr std::size_t FEW_PORTS = 8;      // of one connector or atom, and of its links
constexpr std::size_t LABEL_BYTES = 1024;  // in a port, which steps do not need

std::uintptr_t addressOf(const void* object) {
  return reinterpret_cast<std::uintptr_t>(object);
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

void Lookahead::Free::operator()(Entry* entries) const {
  std::free(entries);
}

// Memory that is not touched costs nothing, so all of it is asked for at once and steps need none.
Lookahead::Lookahead(std::size_t limit)
    : mLimit(limit),
      mNow(0),
      mBase((addressOf(this) / LINE) & ~std::uintptr_t{0xFFFFFFFF}),
      mEntries(static_cast<Entry*>(std::calloc(limit, sizeof(Entry)))) {
  if (mEntries == nullptr) throw std::bad_alloc();
  mLines.reserve(limit * LINES + MOST_LINES);
}

// ---- Use ---------------------------------------------------------------------------------------

// Compilers take calls away that have no effect; the empty instruction counts as one.
void Lookahead::bring(std::size_t number) {
  if (number >= mLimit) return;
  asm volatile("");
  Entry& entry = mEntries[number];
  if (entry.who == nullptr || mNow - entry.brought < STILL_NEAR) return;
  entry.brought = mNow;
  const std::uint32_t* line = mLines.data() + entry.first;
  for (const std::uint32_t* const end = line + entry.count; line != end; ++line) {
    __builtin_prefetch(reinterpret_cast<const void*>((mBase + *line) * LINE));
  }
}

// Where there are few neighbours, those behind them are brought: that leaves more time.
void Lookahead::fires(std::size_t number, Connector& connector) {
  if (number >= mLimit) return;
  ++mNow;
  const Entry& entry = mEntries[number];
  if (entry.who != &connector) {
    if (hasRoom()) learn(number, connector);
    return;
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

void Lookahead::fires(std::size_t number, const Port& port) {
  ++mNow;
  if (number >= mLimit || mEntries[number].who == &port || !hasRoom()) return;
  begin(number, &port);
  notePort(port);
  end(number);
}

// ---- Learning ----------------------------------------------------------------------------------

void Lookahead::begin(std::size_t number, const void* who) {
  mEntries[number] = {who, static_cast<std::uint32_t>(mLines.size()), 0, mNow, {}};
}

// Each line once.
void Lookahead::end(std::size_t number) {
  Entry& entry = mEntries[number];
  const auto first = mLines.begin() + static_cast<std::ptrdiff_t>(entry.first);
  std::sort(first, mLines.end());
  mLines.erase(std::unique(first, mLines.end()), mLines.end());
  entry.count = static_cast<std::uint32_t>(mLines.size()) - entry.first;
}

void Lookahead::learn(std::size_t number, Connector& connector) {
  begin(number, &connector);
  note(&connector, sizeof connector);
  note(blockOf(connector.ports()), sizeof(Port*));
  if (connector.links().count() > 0) note(blockOf(connector.links()), sizeof(Connector*));
  note(&connector.interactions(), LINE / 2);
  if (connector.feasibleInter() != nullptr) noteInteraction(*connector.feasibleInter());
  for (int i = 0; i < few(connector.ports().count()); ++i) notePort(*connector.ports()[i]);
  end(number);
  meet(number, connector);
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

void Lookahead::noteInteraction(const Interaction& interaction) {
  note(&interaction, sizeof interaction);
  noteConstraint(interaction.constraint());
}

// All of a port but its label, and its atom.
void Lookahead::notePort(const Port& port) {
  note(&port, LINE / 2);
  note(reinterpret_cast<const char*>(&port) + LABEL_BYTES + LINE / 2, sizeof port - LABEL_BYTES);
  noteConstraint(port.constraint());
  if (port.atomHolder() != nullptr) noteAtom(*port.atomHolder());
}

void Lookahead::noteAtom(Atom& atom) {
  note(&atom, sizeof atom + FIELDS);
  note(blockOf(atom.links()), sizeof(Connector*));
  note(blockOf(atom.ports()), sizeof(Port*));
}

void Lookahead::noteConstraint(Constraint* constraint) {
  if (constraint == nullptr) return;
  note(constraint, sizeof *constraint);
  if (!constraint->empty()) note(&(*constraint)[0], sizeof(Interval));
  if (constraint->clock() != nullptr) note(constraint->clock(), sizeof(Clock));
}

void Lookahead::note(const void* object, std::size_t bytes) {
  if (object == nullptr) return;
  const std::uintptr_t last = (addressOf(object) + bytes - 1) / LINE;
  for (std::uintptr_t line = addressOf(object) / LINE; line <= last; ++line) {
    const bool known = mLines.size() < mLines.capacity() && line - mBase <= 0xFFFFFFFF;
    if (known) mLines.push_back(static_cast<std::uint32_t>(line - mBase));
  }
}

}  // namespace Vesk
