// Other programs that make pictures.
#include "pictures.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using namespace Vesk::Lts;

TEST(LtsPicturesTest, AProgramGetsTheInputAndGivesTheOutput) {
  EXPECT_EQ("b\na\n", filtered({"sort", "-r"}, "a\nb\n"));
  EXPECT_EQ("", filtered({"true"}, "x"));
}

TEST(LtsPicturesTest, LargeInputsAndOutputsDoNotBlock) {
  const std::string large(3 * 1000 * 1000, 'x');
  EXPECT_EQ(large, filtered({"cat"}, large));
  EXPECT_EQ("", filtered({"true"}, large));
}

TEST(LtsPicturesTest, AProgramThatFailsOrIsNotThereGivesNothing) {
  EXPECT_FALSE(filtered({"false"}, ""));
  EXPECT_FALSE(filtered({"no-such-program-anywhere"}, ""));
  EXPECT_FALSE(filtered({"sh", "-c", "kill -9 $$"}, ""));
}

TEST(LtsPicturesTest, WordsAreNotReadByAShell) {
  EXPECT_EQ("$(echo x) ; y\n", filtered({"echo", "$(echo x) ; y"}, ""));
}

}  // namespace
