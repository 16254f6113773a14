#include "exploration/pending-states.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kit/trees.hpp"

using namespace kit;

using Vesk::PendingState;
using Vesk::PendingStates;
using Vesk::StateTable;
using Vesk::Tree;

namespace {

PendingState addTo(PendingStates& pending, StateTable& table, Tree tree) {
  const StateTable::Found found = table.insert(tree.get());
  return pending.add(found, std::move(tree));
}

Leaf* leafOf(Node* tree, int i) {
  return static_cast<Leaf*>(static_cast<Nonleaf*>(tree)->getChild(i));
}

class PendingStatesTest : public testing::Test {
 protected:
  void SetUp() override {
    faulty_leaf = nullptr;
    global_error = global_prune = false;
  }
  void TearDown() override { faulty_leaf = nullptr; }

  StateTable table;
  PendingStates kept{table};
  PendingStates packing{table, 0};
};

}  // namespace

TEST_F(PendingStatesTest, AStateKeepsTheTreeThatTheModelGave) {
  Tree tree = pairOf("a", "b");
  Node* given = tree.get();
  const PendingState state = addTo(kept, table, std::move(tree));
  EXPECT_EQ(given, kept.restore(state));
  EXPECT_EQ(0U, given->getIndex());
  EXPECT_FALSE(state.isPacked);
}

TEST_F(PendingStatesTest, TreesBeyondTheBoundAreBuiltFromTheirTexts) {
  const std::vector<std::string> texts = {"",
                                          "a",
                                          "a,b",
                                          std::string(8, 'u'),
                                          std::string(9, 't'),
                                          std::string(254, 'x'),
                                          std::string(255, 'y'),
                                          std::string(256, 'z'),
                                          std::string(70000, 'w'),
                                          std::string(2000000, 'v')};
  std::vector<PendingState> states;
  for (const std::string& one : texts) {
    for (const std::string& other : texts) {
      states.push_back(addTo(packing, table, pairOf(one + "|", other)));
      EXPECT_TRUE(states.back().isPacked) << one << ' ' << other;
    }
  }
  for (int round = 0; round < 2; ++round) {
    auto state = states.begin();
    for (const std::string& one : texts) {
      for (const std::string& other : texts) {
        Node* tree = packing.restore(*state);
        EXPECT_EQ(0, tree->compare(pairOf(one + "|", other).get()))
            << round << ' ' << one << ' ' << other;
        EXPECT_EQ(state->number, tree->getIndex()) << round << ' ' << one << ' ' << other;
        EXPECT_EQ(tree, packing.restore(*state)) << round << ' ' << one << ' ' << other;
        ++state;
      }
    }
  }
}

TEST_F(PendingStatesTest, TreesOfDifferentStatesHaveNoNodeInCommon) {
  PendingState one = addTo(packing, table, pairOf("a", "1"));
  PendingState other = addTo(packing, table, pairOf("a", "2"));
  Node* first = packing.restore(one);
  Leaf* leaf = leafOf(first, 0);
  const Atomleaf* text = leaf->getAleaf();
  EXPECT_EQ(nullptr, packing.remove(std::move(one)));
  Node* second = packing.restore(other);
  EXPECT_NE(first, second);
  EXPECT_NE(leaf, leafOf(second, 0));
  EXPECT_NE(text, leafOf(second, 0)->getAleaf());
}

TEST_F(PendingStatesTest, TheBoundCountsNodesOfPendingTrees) {
  PendingStates few(table, 6);  // two trees of three nodes
  PendingState first = addTo(few, table, pairOf("a", "1"));
  const PendingState second = addTo(few, table, pairOf("a", "2"));
  const PendingState third = addTo(few, table, pairOf("a", "3"));
  EXPECT_FALSE(first.isPacked);
  EXPECT_FALSE(second.isPacked);
  EXPECT_TRUE(third.isPacked);
  EXPECT_NE(nullptr, few.remove(std::move(first)));
  EXPECT_FALSE(addTo(few, table, pairOf("a", "4")).isPacked);
}

TEST_F(PendingStatesTest, ATreeWithTheFaultyLeafIsKept) {
  addTo(packing, table, pairOf("a", "1"));
  Tree tree = pairOf("a", "2");
  faulty_leaf = leafOf(tree.get(), 1);
  const PendingState state = addTo(packing, table, std::move(tree));
  EXPECT_FALSE(state.isPacked);
  EXPECT_EQ(faulty_leaf, leafOf(packing.restore(state), 1));
}

TEST_F(PendingStatesTest, ABuiltTreeWithTheFaultyLeafIsGivenAtTheEnd) {
  PendingState state = addTo(packing, table, pairOf("a", "1"));
  faulty_leaf = leafOf(packing.restore(state), 0);
  const Tree tree = packing.remove(std::move(state));
  ASSERT_NE(nullptr, tree);
  EXPECT_EQ(faulty_leaf, leafOf(tree.get(), 0));
}

TEST_F(PendingStatesTest, WhatTheModelChangesStaysChanged) {
  const auto change = [this](const std::string& text, void (*apply)(Node*)) {
    PendingState state = addTo(packing, table, pairOf("x", text));
    PendingState other = addTo(packing, table, pairOf("other", text));
    apply(packing.restore(state));
    Node* changed = packing.restore(state);
    const std::string expected = stateText(changed);
    const unsigned int index = changed->getIndex();
    const unsigned int part = leafOf(changed, 0)->getIndex();
    packing.settle(state);
    EXPECT_FALSE(state.isPacked) << text;
    EXPECT_EQ("other" + text, stateText(packing.restore(other)));
    EXPECT_EQ(changed, packing.restore(state));
    EXPECT_EQ(expected, stateText(packing.restore(state)));
    EXPECT_EQ(index, packing.restore(state)->getIndex());
    EXPECT_EQ(part, leafOf(packing.restore(state), 0)->getIndex());
    packing.remove(std::move(state));
    packing.remove(std::move(other));
  };
  change("setVal", [](Node* tree) { leafOf(tree, 1)->getAleaf()->setVal("new"); });
  change("longer", [](Node* tree) { leafOf(tree, 0)->getAleaf()->setVal("xx"); });
  change("cut", [](Node* tree) { leafOf(tree, 1)->getAleaf()->getVal()[1] = '\0'; });
  change("setAleaf", [](Node* tree) { leafOf(tree, 0)->setAleaf(new Atomleaf("x")); });
  change("setChild", [](Node* tree) {
    delete leafOf(tree, 0);
    static_cast<Nonleaf*>(tree)->setChild(new Leaf(new Atomleaf("x")), 0);
    leafOf(tree, 0)->setIndex(1);
  });
  change("index", [](Node* tree) { tree->setIndex(1000); });
  change("part", [](Node* tree) { leafOf(tree, 0)->setIndex(5); });
  change("count", [](Node* tree) { leafOf(tree, 0)->incrOutTrans(); });
  change("root", [](Node* tree) { tree->incrOutTrans(); });
}

TEST_F(PendingStatesTest, AnUnchangedTreeIsBuiltAgainWhenItIsNeeded) {
  PendingState state = addTo(packing, table, pairOf("a", "1"));
  leafOf(packing.restore(state), 0)->getAleaf()->setVal("a");
  packing.settle(state);
  EXPECT_TRUE(state.isPacked);
}

TEST_F(PendingStatesTest, TheRootCountsTheTransitionsThatHaveStillToBeTaken) {
  for (PendingStates* pending : {&kept, &packing}) {
    SCOPED_TRACE(pending == &kept ? "kept" : "packing");
    const std::string name = pending == &kept ? "kept" : "packed";
    PendingState state = addTo(*pending, table, pairOf("a", name));
    PendingState other = addTo(*pending, table, pairOf("b", name));
    for (int i = 0; i < 3; ++i) pending->addTransition(state);
    EXPECT_EQ(3, pending->restore(state)->outTrans());
    pending->takeTransition(state);
    EXPECT_EQ(2, pending->restore(state)->outTrans());
    pending->settle(state);
    EXPECT_EQ(0, pending->restore(other)->outTrans());
    EXPECT_EQ(0, pending->restore(other)->outTrans());
    pending->settle(other);
    pending->takeTransition(state);
    EXPECT_EQ(1, pending->restore(state)->outTrans());
    EXPECT_EQ(pending == &packing, state.isPacked);
  }
}

TEST_F(PendingStatesTest, ATreeThatIsMissingIsRestoredAsNull) {
  testing::internal::CaptureStderr();
  PendingState state = addTo(packing, table, nullptr);
  testing::internal::GetCapturedStderr();
  EXPECT_FALSE(state.isPacked);
  EXPECT_EQ(nullptr, packing.restore(state));
  EXPECT_EQ(nullptr, packing.remove(std::move(state)));
}
