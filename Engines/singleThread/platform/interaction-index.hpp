// The interactions of one connector. Private to the engine.
#ifndef VESK_INTERACTION_INDEX_HPP
#define VESK_INTERACTION_INDEX_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "activation-plan.hpp"
#include "blocks.hpp"
#include "immortal.hpp"
#include "interaction.hpp"

namespace Vesk {

// An interaction with its place in the table, in one block.
struct StoredInteraction final : Interaction {
  StoredInteraction(const Connector* connector, const BitVector& set)
      : Interaction(connector, set) {}
  using Interaction::intersectPortConstraints;

  HashTable<Interaction>::Cell cell;
};

// The interactions of a connector beyond the first ones. Finds them by their set: a few one by one,
// more by a table of open addressing.
class MoreInteractions {
 public:
  // Null when there is none.
  Interaction* find(const BitVector& set) const {
    if (!mSlots.empty()) return mSlots[slotOf(set)];
    for (const auto& interaction : mAll) {
      if (interaction->synced() == set) return interaction.get();
    }
    return nullptr;
  }
  // Makes the interaction of a set that it does not have.
  StoredInteraction& make(const Connector* connector, const BitVector& set) {
    auto made = std::make_unique<StoredInteraction>(connector, set);
    makeRoom();
    StoredInteraction& interaction = *made;
    mAll.push_back(std::move(made));
    if (!mSlots.empty()) mSlots[slotOf(set)] = &interaction;
    return interaction;
  }
  // In the order of their making.
  const std::vector<std::unique_ptr<StoredInteraction>>& all() const { return mAll; }

 private:
  static constexpr std::size_t FEW = 8;

  // Where the set is, or would be. Requires: there are free slots.
  std::size_t slotOf(const BitVector& set) const {
    const std::size_t last = mSlots.size() - 1;
    std::size_t slot = set.scattered() & last;
    while (mSlots[slot] != nullptr && mSlots[slot]->synced() != set) slot = (slot + 1) & last;
    return slot;
  }

  void makeRoom() {
    const std::size_t count = mAll.size() + 1;
    if (count > mAll.capacity()) mAll.reserve(2 * count);
    if (count <= FEW || 2 * count <= mSlots.size()) return;
    std::vector<Interaction*> slots(mSlots.empty() ? 4 * FEW : 2 * mSlots.size());
    mSlots.swap(slots);
    for (const auto& interaction : mAll) mSlots[slotOf(interaction->synced())] = interaction.get();
  }

  std::vector<std::unique_ptr<StoredInteraction>> mAll;
  std::vector<Interaction*> mSlots;  // a power of two, at most half full; empty while there are few
};

// What connectors have that have more than the first interactions, by numbers, which take half of
// the room of a pointer.
class MoreByNumber {
 public:
  static constexpr unsigned int BITS = 24;  // of what is made of a number and a little more
  static constexpr std::size_t LIMIT = (std::size_t{1} << BITS) - 8;

  static std::uint32_t add() {
    Table& table = all();
    if (table.more.size() == LIMIT && table.free.empty()) throw std::bad_alloc();
    auto made = std::make_unique<MoreInteractions>();
    if (table.free.empty()) {
      // So that end() needs no memory.
      if (table.free.capacity() <= table.more.size()) table.free.reserve(2 * table.more.size() + 8);
      table.more.push_back(std::move(made));
      return static_cast<std::uint32_t>(table.more.size() - 1);
    }
    const std::uint32_t number = table.free.back();
    table.free.pop_back();
    table.more[number] = std::move(made);
    return number;
  }
  static MoreInteractions& at(std::uint32_t number) { return *all().more[number]; }
  static void end(std::uint32_t number) {
    Table& table = all();
    table.more[number].reset();
    table.free.push_back(number);
  }

 private:
  struct Table {
    std::vector<std::unique_ptr<MoreInteractions>> more;
    std::vector<std::uint32_t> free;  // numbers without interactions
  };
  static Table& all() {
    static Immortal<Table> table;
    return *table;
  }
};

// Owns the interactions of one connector and finds them by their set. Every connector has that of
// no ports, and after an evaluation a rendezvous has that of all ports and no more: these two stand
// in here, so that large systems need one block for each connector.
class InteractionIndex {
 public:
  InteractionIndex() : mCount(0), mAllPorts(0) {}
  InteractionIndex(const InteractionIndex&) = delete;
  InteractionIndex& operator=(const InteractionIndex&) = delete;
  ~InteractionIndex() {
    if (plan != nullptr) plan->forget(rank);
    for (std::uint32_t i = 0; i < firsts(); ++i) {
      Interaction::TABLE.takeOut(first(i).cell);
      first(i).~StoredInteraction();
    }
    if (!hasMore()) return;
    for (const auto& interaction : more().all()) Interaction::TABLE.takeOut(interaction->cell);
    MoreByNumber::end(mCount - FIRST - 1);
  }

  // It stands with the connectors.
  static void* operator new(std::size_t size) { return newObject(size); }
  static void operator delete(void* block, std::size_t size) noexcept { endObject(block, size); }

  // The plan of activations that has the connector, which may be none, and its rank there. They
  // stand here because models that were compiled earlier know the size of a connector.
  ActivationPlan* plan = nullptr;
  std::uint32_t rank = 0;

  // Null when there is none. Mostly the second one is looked for, by its own set.
  Interaction* find(const BitVector& set) {
    if (mCount > SECOND && &first(SECOND).synced() == &set) return &first(SECOND);
    return findEqual(set);
  }
  [[gnu::noinline]] Interaction* findEqual(const BitVector& set) {
    for (std::uint32_t i = firsts(); i-- > 0;) {
      if (first(i).synced() == set) return &first(i);
    }
    return hasMore() ? more().find(set) : nullptr;
  }

  // Makes the interaction of a set that is not in the index, and puts it into the table. Changes
  // nothing when there is no memory for that.
  [[gnu::noinline]] Interaction* make(const Connector* connector, const BitVector& set) {
    StoredInteraction& made = mCount < FIRST
                                  ? *new (&mFirst[mCount]) StoredInteraction(connector, set)
                                  : makeMore().make(connector, set);
    if (mCount < FIRST) ++mCount;
    Interaction::TABLE.add(made.hash(HashTable<Interaction>::CHAINS), &made, made.cell);
    return &made;
  }

  // The interaction of all ports of a connector that has so many; null when that is not known. A
  // rendezvous asks for it all the time.
  StoredInteraction* ofAllPorts(int ports) {
    return mAllPorts == ports && ports > 0 ? &first(SECOND) : nullptr;
  }
  // Looks where it is.
  void learnAllPorts(int ports) {
    if (mCount <= SECOND || first(SECOND).synced() != BitVector::below(ports)) return;
    mAllPorts = static_cast<std::uint32_t>(ports) & 0xFFu;
  }

 private:
  static constexpr std::uint32_t FIRST = 2;
  static constexpr std::uint32_t SECOND = 1;  // index of the second one
  static constexpr std::uint32_t MOST = (std::uint32_t{1} << MoreByNumber::BITS) - 1;

  struct alignas(StoredInteraction) Room {
    unsigned char bytes[sizeof(StoredInteraction)];
  };

  std::uint32_t firsts() const { return mCount < FIRST ? mCount : FIRST; }
  StoredInteraction& first(std::uint32_t index) {
    return *std::launder(reinterpret_cast<StoredInteraction*>(&mFirst[index]));
  }
  bool hasMore() const { return mCount > FIRST; }
  MoreInteractions& more() const { return MoreByNumber::at(mCount - FIRST - 1); }
  MoreInteractions& makeMore() {
    if (!hasMore()) mCount = (FIRST + 1 + MoreByNumber::add()) & MOST;
    return more();
  }

  // Of the first ones; above FIRST it tells the number of the others, counted from FIRST + 1.
  std::uint32_t mCount : MoreByNumber::BITS;
  std::uint32_t mAllPorts : 8;  // of how many ports the second one is the set of all; 0: unknown
  Room mFirst[FIRST];
};

}  // namespace Vesk

#endif
