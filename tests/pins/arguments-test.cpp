#include "arguments.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Words = std::vector<std::string>;
using Vesk::Pins::Arguments;
using Vesk::Pins::wordsOf;

TEST(PinsArgumentsTest, BlanksDivideWords) {
  EXPECT_EQ(wordsOf("  5 net.pnml\t--x\n"), (Words{"5", "net.pnml", "--x"}));
  EXPECT_EQ(wordsOf(""), Words{});
  EXPECT_EQ(wordsOf(" \n"), Words{});
}

TEST(PinsArgumentsTest, QuotesAndBackslashesKeepBlanks) {
  EXPECT_EQ(wordsOf("'my net.pnml' \"a b\"c d\\ e"), (Words{"my net.pnml", "a bc", "d e"}));
  EXPECT_EQ(wordsOf("'' \"\""), (Words{"", ""}));
}

TEST(PinsArgumentsTest, ABackslashIsItselfWithinSingleQuotes) {
  EXPECT_EQ(wordsOf(R"('a\b' "a\"b" c\\d)"), (Words{"a\\b", "a\"b", "c\\d"}));
}

TEST(PinsArgumentsTest, ABackslashAtTheEndIsItself) {
  EXPECT_EQ(wordsOf("a\\"), (Words{"a\\"}));
}

TEST(PinsArgumentsTest, AQuoteThatIsNotClosedReachesToTheEnd) {
  EXPECT_EQ(wordsOf("a 'b c"), (Words{"a", "b c"}));
}

TEST(PinsArgumentsTest, AreACommandLine) {
  Arguments arguments("model", "5 six");
  ASSERT_EQ(arguments.count(), 3);
  EXPECT_STREQ(arguments.values()[0], "model");
  EXPECT_STREQ(arguments.values()[1], "5");
  EXPECT_STREQ(arguments.values()[2], "six");
  EXPECT_EQ(arguments.values()[3], nullptr);
}

}  // namespace
