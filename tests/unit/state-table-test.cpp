#include "exploration/state-table.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>

#include "trees.hpp"

using Vesk::StateNumber;
using Vesk::StateTable;

namespace {

// A leaf that knows more than its text.
class RichLeaf : public Leaf {
 public:
  explicit RichLeaf(const char* text) : Leaf(new Atomleaf(text)) {}
};

std::string textOf(const StateTable& table, StateNumber number) {
  const StateTable::Text text = table.text(number);
  return std::string(text.data != nullptr ? text.data : "", text.length);
}

}  // namespace

TEST(StateTableTest, NumbersTextsInTheOrderOfTheirInsertion) {
  StateTable table;
  for (int round = 0; round < 2; ++round) {
    for (StateNumber i = 0; i < 20000; ++i) {
      auto tree = pairOf(std::to_string(i), ",x");
      const StateTable::Found found = table.insert(tree.get());
      ASSERT_EQ(i, found.number);
      ASSERT_EQ(round == 0, found.isNew);
    }
  }
  EXPECT_EQ(20000U, table.count());
  EXPECT_EQ("0,x", textOf(table, 0));
  EXPECT_EQ("19999,x", textOf(table, 19999));
}

TEST(StateTableTest, RestoresTheTreeOfEveryText) {
  StateTable table;
  const std::vector<std::string> texts = {"",
                                          "a",
                                          "a,b",
                                          std::string(254, 'x'),
                                          std::string(255, 'y'),
                                          std::string(256, 'z'),
                                          std::string(70000, 'w'),
                                          std::string(2000000, 'v')};
  for (const std::string& one : texts) {
    for (const std::string& other : texts) table.insert(pairOf(one + "|", other).get());
  }
  for (int round = 0; round < 2; ++round) {
    StateNumber number = 0;
    for (const std::string& one : texts) {
      for (const std::string& other : texts) {
        Node* tree = table.restore(number);
        EXPECT_EQ(0, tree->compare(pairOf(one + "|", other).get()));
        EXPECT_EQ(number, tree->getIndex());
        EXPECT_EQ(tree, table.restore(number));
        EXPECT_EQ(one + "|" + other, textOf(table, number));
        ++number;
      }
    }
  }
}

TEST(StateTableTest, KeepsSpecialTreesUntilTheyAreForgotten) {
  StateTable table;
  auto plain = pairOf("a", "b");
  table.insert(plain.get());
  table.keep(0, plain);
  EXPECT_NE(nullptr, plain);
  EXPECT_EQ(nullptr, table.kept(0));

  auto rich = std::make_unique<Nonleaf>(2);
  rich->setChild(new Leaf(new Atomleaf("a")), 0);
  rich->setChild(new RichLeaf("c"), 1);
  Node* tree = rich.get();
  std::unique_ptr<Node> special = std::move(rich);
  EXPECT_EQ(1U, table.insert(special.get()).number);
  table.keep(1, special);
  EXPECT_EQ(nullptr, special);
  EXPECT_EQ(tree, table.kept(1));
  EXPECT_EQ(tree, table.restore(1));
  EXPECT_EQ(1U, tree->getIndex());
  table.forget(1);
  EXPECT_EQ(nullptr, table.kept(1));
  EXPECT_EQ("ac", textOf(table, 1));
}
