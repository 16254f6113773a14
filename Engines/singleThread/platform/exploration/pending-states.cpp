#include "exploration/pending-states.hpp"

#include <utility>

namespace Vesk {

// ---- Stand-in --------------------------------------------------------------------------------

void StandIn::build() {
  if (!mTree.has_value()) mTree.emplace(mTable.shape().build());
}

void StandIn::become(const PendingState& state) {
  mTree->unpack(mTable.text(state.number).data, mTable.lengths(state.number));
  mNumber = state.number;
  Node& root = *mTree->root();
  root.setIndex(state.number);
  root.resetOutTrans();
  for (unsigned int i = 0; i < state.outTrans; ++i) root.incrOutTrans();
}

bool StandIn::isChanged(const PendingState& state) const {
  const Node& root = *mTree->root();
  if (root.getIndex() != state.number) return true;
  if (root.outTrans() != static_cast<int>(state.outTrans)) return true;
  return !mTree->holds(mTable.text(state.number).data, mTable.lengths(state.number));
}

Tree StandIn::take() {
  Tree tree = mTree->release();
  mTree.reset();
  mNumber.reset();
  build();
  return tree;
}

// ---- Pending states --------------------------------------------------------------------------

bool PendingStates::isFull() const {
  return mTrees * mTable.shape().nodes() >= mMostNodes;
}

PendingState PendingStates::add(const StateTable::Found& found, Tree tree) {
  if (tree != nullptr) tree->setIndex(found.number);
  if (found.isPacked && isFull() && !contains(tree.get(), faulty_leaf)) {
    // Built before the tree goes, so that they get addresses other than those that the model knows.
    for (StandIn& standIn : mStandIns) standIn.build();
    return {found.number, 0, 1, nullptr};
  }
  ++mTrees;
  return {found.number, 0, 0, std::move(tree)};
}

Node* PendingStates::restore(const PendingState& state) {
  if (!state.isPacked) return state.tree.get();
  if (!mStandIns[mCurrent].standsFor(state)) {
    mCurrent = 1 - mCurrent;
    if (!mStandIns[mCurrent].standsFor(state)) mStandIns[mCurrent].become(state);
  }
  return mStandIns[mCurrent].tree();
}

// The tree of a state, null when it is not there at present.
Node* PendingStates::present(const PendingState& state) const {
  if (!state.isPacked) return state.tree.get();
  for (const StandIn& standIn : mStandIns) {
    if (standIn.standsFor(state)) return standIn.tree();
  }
  return nullptr;
}

void PendingStates::addTransition(PendingState& state) {
  ++state.outTrans;
  if (Node* tree = present(state)) tree->incrOutTrans();
}

void PendingStates::takeTransition(PendingState& state) {
  --state.outTrans;
  if (Node* tree = present(state)) tree->decrOutTrans();
}

void PendingStates::settle(PendingState& state) {
  StandIn& standIn = mStandIns[mCurrent];
  if (!standIn.standsFor(state) || !standIn.isChanged(state)) return;
  state.tree = standIn.take();
  state.isPacked = 0;
  ++mTrees;
}

Tree PendingStates::remove(PendingState state) {
  if (!state.isPacked) {
    --mTrees;
    return std::move(state.tree);
  }
  StandIn& standIn = mStandIns[mCurrent];
  if (!standIn.standsFor(state)) return nullptr;
  const bool known = standIn.isChanged(state) || contains(standIn.tree(), faulty_leaf);
  return known ? standIn.take() : nullptr;
}

}  // namespace Vesk
