// How messages about a net repeat texts of the document.
#include "fault.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using pnml::quoted;

constexpr std::size_t MOST = 60;  // bytes that are repeated

std::string cut(const std::string& text) {
  return "\"" + text + "...\"";
}

TEST(QuotedTextTest, StandsBetweenQuotes) {
  EXPECT_EQ(quoted(""), "\"\"");
  EXPECT_EQ(quoted("a net"), "\"a net\"");
}

TEST(QuotedTextTest, ControlCharactersBecomeQuestionMarksAndTheirNeighboursStay) {
  EXPECT_EQ(quoted(std::string("\0\x01\t\n\x1F \x7E\x7F", 8)), "\"????? ~?\"");
}

TEST(QuotedTextTest, IsCutBehindItsSixtiethByte) {
  const std::string longest(MOST, 'a');
  EXPECT_EQ(quoted(longest), "\"" + longest + "\"");
  EXPECT_EQ(quoted(longest + "b"), cut(longest));
}

TEST(QuotedTextTest, ACharacterOfSeveralBytesIsKeptOrLeftOutAsAWhole) {
  const std::string before(MOST - 2, 'a');
  EXPECT_EQ(quoted(before + "\u00E9"), "\"" + before + "\u00E9\"");
  EXPECT_EQ(quoted(before + "\u00E9b"), cut(before + "\u00E9"));
  EXPECT_EQ(quoted(before + "a\u00E9"), cut(before + "a"));
  EXPECT_EQ(quoted(before + "\u20AC"), cut(before));
}

TEST(QuotedTextTest, NothingIsLeftOfBytesThatBeginNoCharacter) {
  EXPECT_EQ(quoted(std::string(MOST + 1, '\x80')), cut(""));
}

}  // namespace

TEST(FaultsTest, ThoseBehindTheTwentiethAreLeftOut) {
  pnml::Faults faults;
  for (unsigned long line = 25; line > 0; --line) faults.add({{line, 1}, std::to_string(line)});
  EXPECT_TRUE(faults.full());
  const std::vector<pnml::Fault> all = faults.inOrder();
  ASSERT_EQ(20u, all.size());
  EXPECT_EQ("6", all.front().text());
  EXPECT_EQ("25", all.back().text());
}
