// The states that a search has still to look at, each with a tree for the model. Private to the
// engine.
#ifndef VESK_EXPLORATION_PENDING_STATES_HPP
#define VESK_EXPLORATION_PENDING_STATES_HPP

#include <cstddef>
#include <optional>

#include "exploration/pending-state.hpp"
#include "exploration/state-table.hpp"

// Tests of the building of trees set it to 0.
#ifndef VESK_MOST_PENDING_NODES
#define VESK_MOST_PENDING_NODES (std::size_t{1} << 17)
#endif

namespace Vesk {

// A tree that stands for one packed state after the other.
class StandIn {
 public:
  explicit StandIn(const StateTable& table) : mTable(table) {}

  bool standsFor(const PendingState& state) const {
    return state.isPacked && mNumber == state.number;
  }
  // Makes the tree, unless it is there.
  void build();
  // Requires: it has been built.
  void become(const PendingState& state);
  // The tree, as become() has left it or as the model has changed it since.
  Node* tree() const { return mTree->root(); }
  // The model has changed the tree. Requires: it stands for the state.
  bool isChanged(const PendingState& state) const;
  // Gives the tree away. Another one is made meanwhile, at another place.
  Tree take();

 private:
  const StateTable& mTable;
  std::optional<PackedTree> mTree;
  std::optional<StateNumber> mNumber;  // none as long as it stands for no state
};

class PendingStates {
 public:
  // As long as the trees of all pending states have fewer nodes than this, each keeps its own.
  static constexpr std::size_t MOST_NODES = VESK_MOST_PENDING_NODES;

  explicit PendingStates(const StateTable& table, std::size_t mostNodes = MOST_NODES)
      : mTable(table), mMostNodes(mostNodes), mStandIns{StandIn(table), StandIn(table)} {}

  // Makes a state pending, without transitions. Requires: insert() has found the tree.
  PendingState add(const StateTable::Found& found, Tree tree);
  // The tree of a state, which stays here. Until another state is restored it is the same one, with
  // all that the model has done to it. Trees of different states that are given one after the other
  // have no node in common.
  Node* restore(const PendingState& state);
  // One transition more, or less, has still to be taken.
  void addTransition(PendingState& state);
  void takeTransition(PendingState& state);
  // Stores the changes that the model has made to the tree of the state.
  void settle(PendingState& state);
  // Ends a state. Returns its tree if the model may still know one of its nodes, else null.
  Tree remove(PendingState state);

 private:
  bool isFull() const;
  Node* present(const PendingState& state) const;

  const StateTable& mTable;
  const std::size_t mMostNodes;
  std::size_t mTrees = 0;  // of pending states
  StandIn mStandIns[2];
  int mCurrent = 0;  // the one that was given last
};

}  // namespace Vesk

#endif
