#include "exploration/state-table.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include "kit/trees.hpp"

using namespace kit;

using Vesk::StateNumber;
using Vesk::StateTable;

namespace {

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
      ASSERT_EQ(i, found.number) << round << ' ' << i;
      ASSERT_EQ(round == 0, found.isNew) << round << ' ' << i;
    }
  }
  EXPECT_EQ(20000U, table.count());
  EXPECT_EQ("0,x", textOf(table, 0));
  EXPECT_EQ("19999,x", textOf(table, 19999));
}

TEST(StateTableTest, TellsWhichTreesCanBeBuiltAgain) {
  StateTable table;
  EXPECT_TRUE(table.insert(pairOf("a", "b").get()).isPacked);

  auto withRichLeaf = std::make_unique<Nonleaf>(2);
  withRichLeaf->setChild(new Leaf(new Atomleaf("a")), 0);
  withRichLeaf->setChild(new RichLeaf("c"), 1);
  EXPECT_FALSE(table.insert(withRichLeaf.get()).isPacked);
  EXPECT_EQ("ac", textOf(table, 1));

  auto withNumber = pairOf("a", "d");
  static_cast<Nonleaf&>(*withNumber).getChild(1)->setIndex(7);
  EXPECT_FALSE(table.insert(withNumber.get()).isPacked);
  auto withCount = pairOf("a", "e");
  static_cast<Nonleaf&>(*withCount).getChild(0)->incrOutTrans();
  EXPECT_FALSE(table.insert(withCount.get()).isPacked);
  auto withCountedRoot = pairOf("a", "f");
  withCountedRoot->incrOutTrans();
  EXPECT_FALSE(table.insert(withCountedRoot.get()).isPacked);

  auto wider = std::make_unique<Nonleaf>(3);
  for (int i = 0; i < 3; ++i) wider->setChild(new Leaf(new Atomleaf("x")), i);
  EXPECT_FALSE(table.insert(wider.get()).isPacked);
  auto numbered = pairOf("a", "g");
  numbered->setIndex(3);
  EXPECT_TRUE(table.insert(numbered.get()).isPacked);
}

TEST(StateTableTest, AMissingPartIsReportedAndAddsNothing) {
  StateTable table;
  auto incomplete = std::make_unique<Nonleaf>(2);
  incomplete->setChild(new Leaf(new Atomleaf("a")), 1);
  testing::internal::CaptureStderr();
  const StateTable::Found found = table.insert(incomplete.get());
  EXPECT_EQ("at least a library is not generated with explore option\n",
            testing::internal::GetCapturedStderr())
      << "into an empty table";
  EXPECT_FALSE(found.isPacked);
  EXPECT_EQ("a", textOf(table, 0));

  StateTable complete;
  complete.insert(pairOf("a", "b").get());
  testing::internal::CaptureStderr();
  EXPECT_FALSE(complete.insert(incomplete.get()).isPacked);
  EXPECT_EQ("at least a library is not generated with explore option\n",
            testing::internal::GetCapturedStderr())
      << "into one with a shape";
}

TEST(StateTableTest, OneStateTooManyIsRefusedAndTheOthersStay) {
  StateTable table(2);
  table.insert(pairOf("a", "1").get());
  table.insert(pairOf("a", "2").get());
  EXPECT_THROW(table.insert(pairOf("a", "3").get()), std::length_error);
  EXPECT_EQ(2U, table.count());
  EXPECT_EQ(1U, table.insert(pairOf("a", "2").get()).number);
}

namespace {

// The hash of the table, for texts of fewer than eight characters.
std::uint32_t hashOf(const std::string& text) {
  const auto mix = [](std::uint64_t word) {
    word *= 0x9E3779B97F4A7C15u;
    return word ^ (word >> 32);
  };
  std::uint64_t word = 0;
  std::memcpy(&word, text.data(), text.size());
  return static_cast<std::uint32_t>(mix(mix(mix(text.size()) ^ word)) >> 16);
}

}  // namespace

TEST(StateTableTest, TextsOfOneHashStayApart) {
  std::unordered_map<std::uint32_t, std::string> seen;
  bool ofOneLength = false;
  bool ofTwoLengths = false;
  for (int i = 0; !ofOneLength || !ofTwoLengths; ++i) {
    const std::string text = std::to_string(i);
    const auto [found, isNew] = seen.emplace(hashOf(text), text);
    if (isNew) continue;
    (found->second.size() == text.size() ? ofOneLength : ofTwoLengths) = true;
    StateTable table;
    EXPECT_EQ(0U, table.insert(pairOf(found->second, "").get()).number);
    EXPECT_EQ(1U, table.insert(pairOf(text, "").get()).number);
    EXPECT_EQ(0U, table.insert(pairOf(found->second, "").get()).number);
    EXPECT_EQ(text, textOf(table, 1));
  }
}
