// What is said about lines that nobody can read.
#include "bad-lines.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fault.hpp"

namespace {

using Vesk::Traces::BadLines;

class BadLinesTest : public testing::Test {
 protected:
  void add(int count) {
    for (int i = 0; i < count; ++i) lines.add("f", 1, "wrong");
  }

  std::vector<std::string> said;
  BadLines lines{false, [this](const std::string& text) { said.push_back(text); }};
};

TEST_F(BadLinesTest, TenAreSaidAndNothingMore) {
  add(10);
  lines.finish("f");
  EXPECT_EQ(said.size(), 10u);
}

TEST_F(BadLinesTest, TheNumberOfFurtherOnesIsSaidAtTheEnd) {
  add(12);
  EXPECT_EQ(said.size(), 10u);
  lines.finish("f");
  ASSERT_EQ(said.size(), 11u);
  EXPECT_EQ(said.back(), "f: 2 more lines were left out");
}

TEST_F(BadLinesTest, EachFileHasItsOwnTen) {
  add(11);
  lines.finish("f");
  EXPECT_EQ(lines.count(), 0u);
  said.clear();
  add(10);
  lines.finish("g");
  EXPECT_EQ(said.size(), 10u);
}

TEST_F(BadLinesTest, WhoIsStrictGetsTheFirstAsAFault) {
  BadLines strict(true, [this](const std::string& text) { said.push_back(text); });
  EXPECT_THROW(strict.add("f", 1, "wrong"), Vesk::Lts::Fault);
  EXPECT_TRUE(said.empty());
}

}  // namespace
