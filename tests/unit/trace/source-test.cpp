// The lines of a run, of which the first one may be looked at before.
#include "source.hpp"

#include <gtest/gtest.h>

#include <string_view>

#include "bad-lines.hpp"
#include "lts-files.hpp"

namespace {

using Vesk::Traces::BadLines;
using Vesk::Traces::Source;

class SourceTest : public testing::Test {
 protected:
  LtsFiles mFiles;
  BadLines mBadLines{false, [](const std::string&) {}};
};

TEST_F(SourceTest, WhatIsLookedAtStaysTheNextLine) {
  Source source(mFiles.write("x", "one\ntwo\n"), mFiles.progress(), mBadLines);
  EXPECT_EQ("one", source.peek());
  EXPECT_EQ("one", source.peek());
  std::string_view line;
  ASSERT_TRUE(source.next(line));
  EXPECT_EQ("one", line);
  EXPECT_EQ("two", source.peek());
  ASSERT_TRUE(source.next(line));
  EXPECT_EQ("two", line);
  EXPECT_EQ("", source.peek());
  EXPECT_EQ("", source.peek());
  EXPECT_FALSE(source.next(line));
}

}  // namespace
