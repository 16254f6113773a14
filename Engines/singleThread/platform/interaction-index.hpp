// The interactions of one connector. Private to the engine.
#ifndef VESK_INTERACTION_INDEX_HPP
#define VESK_INTERACTION_INDEX_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "activation-plan.hpp"
#include "interaction.hpp"

namespace Vesk {

// An interaction with its place in the table and in the list of its connector, in one block.
struct StoredInteraction : Interaction {
  StoredInteraction(const Connector* connector, const BitVector& set)
      : Interaction(connector, set) {}

  HashTable<Interaction>::Cell cell;
  StoredInteraction* later = nullptr;  // the next one that was made for this connector
};

// Owns the interactions of one connector and finds them by their set: a few one by one, more by a
// table of open addressing.
class InteractionIndex {
 public:
  InteractionIndex() = default;
  InteractionIndex(const InteractionIndex&) = delete;
  InteractionIndex& operator=(const InteractionIndex&) = delete;
  ~InteractionIndex() {
    if (plan != nullptr) plan->forget(rank);
    while (StoredInteraction* interaction = mFirst) {
      mFirst = interaction->later;
      Interaction::TABLE.takeOut(interaction->cell);
      delete interaction;
    }
  }

  // The plan of activations that has the connector, which may be none, and its rank there. They
  // stand here because models that were compiled earlier know the size of a connector.
  ActivationPlan* plan = nullptr;
  std::size_t rank = 0;

  // Null when there is none.
  Interaction* find(const BitVector& set) {
    if (mLast == nullptr || mLast->synced() != set) mLast = search(set);
    return mLast;
  }

  // Makes the interaction of a set that is not in the index, and puts it into the table. Changes
  // nothing when there is no memory for that.
  Interaction* make(const Connector* connector, const BitVector& set) {
    auto made = std::make_unique<StoredInteraction>(connector, set);
    makeRoom();
    StoredInteraction* const owned = made.release();
    Interaction::TABLE.add(owned->hash(HashTable<Interaction>::CHAINS), owned, owned->cell);
    (mFirst == nullptr ? mFirst : mNewest->later) = owned;
    mNewest = owned;
    ++mCount;
    if (!mSlots.empty()) mSlots[slotOf(set)] = owned;
    return owned;
  }

 private:
  static constexpr std::size_t FEW = 8;

  Interaction* search(const BitVector& set) const {
    if (!mSlots.empty()) return mSlots[slotOf(set)];
    StoredInteraction* interaction = mFirst;
    while (interaction != nullptr && interaction->synced() != set) interaction = interaction->later;
    return interaction;
  }

  // Where the set is, or would be. Requires: there are free slots.
  std::size_t slotOf(const BitVector& set) const {
    const std::size_t last = mSlots.size() - 1;
    std::size_t slot = set.scattered() & last;
    while (mSlots[slot] != nullptr && mSlots[slot]->synced() != set) slot = (slot + 1) & last;
    return slot;
  }

  void makeRoom() {
    const std::size_t count = mCount + 1;
    if (count <= FEW || 2 * count <= mSlots.size()) return;
    std::vector<Interaction*> slots(mSlots.empty() ? 4 * FEW : 2 * mSlots.size());
    mSlots.swap(slots);
    for (StoredInteraction* it = mFirst; it != nullptr; it = it->later) {
      mSlots[slotOf(it->synced())] = it;
    }
  }

  Interaction* mLast = nullptr;  // that was found last; a rendezvous asks for one set all the time
  StoredInteraction* mFirst = nullptr;  // of all, in the order of their making
  StoredInteraction* mNewest = nullptr;
  std::size_t mCount = 0;
  std::vector<Interaction*> mSlots;  // a power of two, at most half full; empty while there are few
};

}  // namespace Vesk

#endif
