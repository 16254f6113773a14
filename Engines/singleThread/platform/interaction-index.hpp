// The interactions of one connector. Private to the engine.
#ifndef VESK_INTERACTION_INDEX_HPP
#define VESK_INTERACTION_INDEX_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "activation-plan.hpp"
#include "interaction.hpp"

namespace Vesk {

// Owns the interactions of one connector and finds them by their set: a few one by one, more by a
// table of open addressing.
class InteractionIndex {
 public:
  InteractionIndex() = default;
  InteractionIndex(const InteractionIndex&) = delete;
  InteractionIndex& operator=(const InteractionIndex&) = delete;
  ~InteractionIndex() {
    if (plan != nullptr) plan->forget(rank);
    for (HashTable<Interaction>::Cell* cell : mAll) {
      Interaction* interaction = cell->element();
      Interaction::TABLE.remove(cell);
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

  // Takes ownership of an interaction whose set is not in the index, and puts it into the table.
  // Changes nothing when there is no memory for that.
  void add(std::unique_ptr<Interaction> interaction) {
    makeRoom();
    HashTable<Interaction>::Cell* cell = Interaction::TABLE.add(
        interaction->hash(HashTable<Interaction>::CHAINS), interaction.get());
    Interaction* const owned = interaction.release();  // there is room for it
    mAll.push_back(cell);
    if (!mSlots.empty()) mSlots[slotOf(owned->synced())] = owned;
  }

 private:
  static constexpr std::size_t FEW = 8;

  Interaction* search(const BitVector& set) const {
    if (!mSlots.empty()) return mSlots[slotOf(set)];
    for (const HashTable<Interaction>::Cell* cell : mAll) {
      if (cell->element()->synced() == set) return cell->element();
    }
    return nullptr;
  }

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
    for (const HashTable<Interaction>::Cell* cell : mAll) {
      mSlots[slotOf(cell->element()->synced())] = cell->element();
    }
  }

  Interaction* mLast = nullptr;  // that was found last; a rendezvous asks for one set all the time
  std::vector<HashTable<Interaction>::Cell*> mAll;  // in the order of their making
  std::vector<Interaction*> mSlots;  // a power of two, at most half full; empty while there are few
};

}  // namespace Vesk

#endif
