// The interactions of one connector. Private to the engine.
#ifndef VESK_INTERACTION_INDEX_HPP
#define VESK_INTERACTION_INDEX_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "activation-plan.hpp"
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

// Owns the interactions of one connector and finds them by their set. Every connector has that of
// no ports, and after an evaluation a rendezvous has that of all ports and no more: these two stand
// in here, so that large systems need one block for each connector.
class InteractionIndex {
 public:
  InteractionIndex() = default;
  InteractionIndex(const InteractionIndex&) = delete;
  InteractionIndex& operator=(const InteractionIndex&) = delete;
  ~InteractionIndex() {
    if (plan != nullptr) plan->forget(rank);
    for (std::uint8_t i = 0; i < mCount; ++i) {
      Interaction::TABLE.takeOut(first(i).cell);
      first(i).~StoredInteraction();
    }
    if (mMore == nullptr) return;
    for (const auto& interaction : mMore->all()) Interaction::TABLE.takeOut(interaction->cell);
  }

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
    for (std::uint8_t i = mCount; i-- > 0;) {
      if (first(i).synced() == set) return &first(i);
    }
    return mMore != nullptr ? mMore->find(set) : nullptr;
  }

  // Makes the interaction of a set that is not in the index, and puts it into the table. Changes
  // nothing when there is no memory for that.
  [[gnu::noinline]] Interaction* make(const Connector* connector, const BitVector& set) {
    StoredInteraction& made = mCount < FIRST
                                  ? *new (&mFirst[mCount]) StoredInteraction(connector, set)
                                  : more().make(connector, set);
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
    mAllPorts = static_cast<std::uint8_t>(ports);
  }

 private:
  static constexpr std::uint8_t FIRST = 2;
  static constexpr std::uint8_t SECOND = 1;  // index of the second one

  struct alignas(StoredInteraction) Room {
    unsigned char bytes[sizeof(StoredInteraction)];
  };

  StoredInteraction& first(std::uint8_t index) {
    return *std::launder(reinterpret_cast<StoredInteraction*>(&mFirst[index]));
  }
  MoreInteractions& more() {
    if (mMore == nullptr) mMore = std::make_unique<MoreInteractions>();
    return *mMore;
  }

  std::uint8_t mCount = 0;     // of the first ones
  std::uint8_t mAllPorts = 0;  // of how many ports the second one is the set of all; 0: unknown
  Room mFirst[FIRST];
  std::unique_ptr<MoreInteractions> mMore;
};

}  // namespace Vesk

#endif
