// Texts: what can be shown, what is looked for, what has changed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fault.hpp"
#include "pattern.hpp"
#include "printable.hpp"
#include "summary.hpp"
#include "text-change.hpp"

namespace {

using namespace Vesk::Lts;

// ---- Printable ----------------------------------------------------------------------------------

TEST(PrintableTest, TextsAndUtf8Stay) {
  EXPECT_EQ("a,|\"\\ \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80",
            printable("a,|\"\\ \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80"));
}

TEST(PrintableTest, ControlsBecomeEscapes) {
  EXPECT_EQ("\\n\\t\\r\\x00\\x1b\\x7f\\xc2\\x9b",
            printable(std::string("\n\t\r\0\x1b\x7f\xC2\x9B", 8)));
}

TEST(PrintableTest, BytesThatAreNotUtf8BecomeEscapes) {
  EXPECT_EQ("\\xff", printable("\xFF"));
  EXPECT_EQ("\\xc3", printable("\xC3"));
  EXPECT_EQ("\\xc0\\xaf", printable("\xC0\xAF"));                    // too long
  EXPECT_EQ("\\xed\\xa0\\x80", printable("\xED\xA0\x80"));           // a surrogate
  EXPECT_EQ("\\xf4\\x90\\x80\\x80", printable("\xF4\x90\x80\x80"));  // beyond Unicode
  EXPECT_EQ("\\xe2\\x82x", printable("\xE2\x82x"));
}

TEST(PrintableTest, TheFirstAndLastCharactersOfEachLengthStay) {
  for (const char* text :
       {"\xC2\xA0", "\xC3\xBF", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
        "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF0\xBF\xBF\xBF", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(text, printable(text));
  }
  EXPECT_EQ("\\xf0\\xc0\\x80\\x80", printable("\xF0\xC0\x80\x80"));
  EXPECT_EQ("\\xc3\\xc0", printable("\xC3\xC0"));
  EXPECT_EQ("\\xe0\\x9f\\xbf", printable("\xE0\x9F\xBF"));
}

TEST(QuotedTextTest, ALongTextIsCutBetweenTwoCharacters) {
  const std::string most(60, 'x');
  EXPECT_EQ("\"" + most + "\"", inQuotes(most));
  EXPECT_EQ("\"" + most + "...\"", inQuotes(most + "y"));
  const std::string less(59, 'x');
  EXPECT_EQ("\"" + less + "...\"", inQuotes(less + "\xC3\xA4 and more"));
  EXPECT_EQ("\"" + less + "...\"", inQuotes(less + "\xC3\xA5 and more"));
  EXPECT_EQ("\"" + less.substr(1) + "...\"", inQuotes(less.substr(1) + "\xE2\x82\xAC and more"));
  EXPECT_EQ("\"...\"", inQuotes(std::string(70, '\x80'))) << "nothing of it is a character";
}

TEST(PrintableTest, ColumnsCountCharacters) {
  EXPECT_EQ(3u, columns("a\xC3\xA4\xE2\x82\xAC"));
}

TEST(PrintableTest, HexEscapesAreTakenBack) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::string escaped = hexEscaped(all);
  for (char c : escaped) {
    EXPECT_TRUE(c >= ' ' && c <= '~' && c != '"') << c;
  }
  EXPECT_EQ(all, hexUnescaped(escaped));
  EXPECT_EQ("a\\x22b", hexEscaped("a\"b"));
  EXPECT_EQ("\\x5cx22", hexEscaped("\\x22"));
  EXPECT_EQ("\\", hexUnescaped("\\"));
  EXPECT_EQ("\\x2", hexUnescaped("\\x2"));
  EXPECT_EQ("\\xzz", hexUnescaped("\\xzz"));
}

// ---- Patterns -----------------------------------------------------------------------------------

TEST(PatternTest, ItMatchesAnywhere) {
  EXPECT_TRUE(Pattern("left0").matches("table/left0/P0:left|F0:take"));
  EXPECT_TRUE(Pattern("P0:left|F0:take").matches("table/left0/P0:left|F0:take"));
  EXPECT_FALSE(Pattern("left1").matches("table/left0/P0:left|F0:take"));
  EXPECT_TRUE(Pattern("").matches(""));
}

TEST(PatternTest, AStarStandsForAnyCharacters) {
  EXPECT_TRUE(Pattern("e,*,e").matches("x,e,u,t,u,e,y"));
  EXPECT_TRUE(Pattern("a*b").matches("ab"));
  EXPECT_FALSE(Pattern("a*b").matches("ba"));
  EXPECT_TRUE(Pattern("*").matches(""));
  EXPECT_FALSE(Pattern("ab*bc").matches("abc"));
}

TEST(PatternTest, TheEndsCanBeTied) {
  EXPECT_TRUE(Pattern("^a").matches("ab"));
  EXPECT_FALSE(Pattern("^b").matches("ab"));
  EXPECT_TRUE(Pattern("b$").matches("ab"));
  EXPECT_FALSE(Pattern("a$").matches("ab"));
  EXPECT_TRUE(Pattern("^ab$").matches("ab"));
  EXPECT_FALSE(Pattern("^a$").matches("aa"));
  EXPECT_TRUE(Pattern("^a*a$").matches("aa"));
  EXPECT_FALSE(Pattern("^a*a$").matches("a"));
  EXPECT_TRUE(Pattern("^$").matches(""));
}

TEST(PatternTest, EverythingElseStandsForItself) {
  EXPECT_TRUE(Pattern("[a-z].(?\\").matches("x[a-z].(?\\x"));
  EXPECT_FALSE(Pattern(".").matches("a"));
  EXPECT_TRUE(Pattern("a^b$c").matches("a^b$c"));
}

// ---- Changes ------------------------------------------------------------------------------------

std::string marksOf(const std::string& before, const std::string& after) {
  return markLine(after, changedRanges(before, after));
}

TEST(TextChangeTest, ChangedWordsAreMarked) {
  EXPECT_EQ("    ^ ^", marksOf("t,f,t,f,", "t,f,l,u,"));
  EXPECT_EQ("  ^^", marksOf("1,9,3", "1,10,3"));
  EXPECT_EQ("", marksOf("1,2", "1,2"));
}

TEST(TextChangeTest, WhatIsNewIsMarkedWhenTheShapeChanges) {
  EXPECT_EQ("  ^^", marksOf("a,b", "a,x,b"));
  EXPECT_EQ("^^^", marksOf("", "a,b"));
  EXPECT_EQ("", marksOf("a,x,b", "a,b"));
}

TEST(TextChangeTest, MarksStandBelowWhatIsShown) {
  EXPECT_EQ("   ^", marksOf("\n,1", "\n,2"));             // \n is shown as two characters
  EXPECT_EQ("  ^", marksOf("\xC3\xA4,1", "\xC3\xA4,2"));  // one character of two bytes
  EXPECT_EQ("^^", marksOf("a\n", "\t\n"));
}

// ---- Connectors ---------------------------------------------------------------------------------

TEST(ConnectorOfTest, ItIsTheLabelUpToThePorts) {
  EXPECT_EQ("table/left0", connectorOf("table/left0/P0:left|F0:take"));
  EXPECT_EQ("a/b", connectorOf("a/b/p:q/r"));
  EXPECT_EQ("a/b", connectorOf("a/b/"));
  EXPECT_EQ("tau", connectorOf("tau"));
  EXPECT_EQ("a/b", connectorOf("a/b"));
}

// ---- Messages -----------------------------------------------------------------------------------

TEST(InQuotesTest, LongTextsAreCutBetweenCharacters) {
  EXPECT_EQ("\"" + std::string(60, 'x') + "\"", inQuotes(std::string(60, 'x')));
  EXPECT_EQ("\"" + std::string(60, 'x') + "...\"", inQuotes(std::string(61, 'x')));
  EXPECT_EQ("\"" + std::string(58, 'x') + "...\"",
            inQuotes(std::string(58, 'x') + "\xE2\x82\xAC and more"));
}

// As in a file of another kind.
TEST(InQuotesTest, BytesThatNoCharacterBeginsWithAreLeftOut) {
  EXPECT_EQ("\"...\"", inQuotes(std::string(61, '\x80')));
}

}  // namespace
