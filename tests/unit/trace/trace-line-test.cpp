// Pieces of lines, whole and cut.
#include "trace-line.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace Vesk::Traces;
using Texts = std::vector<std::string_view>;

TEST(TraceLineTest, ABeginningHasThePresentTimeAndTheRest) {
  const auto plain = beginningOf(" [5ms] rest");
  ASSERT_TRUE(plain);
  EXPECT_EQ(Form::TIMED, plain->form);
  EXPECT_EQ(5000, plain->before);
  EXPECT_EQ(5000, plain->now);
  EXPECT_EQ("rest", plain->rest);
  EXPECT_EQ(7000, beginningOf(" [5ms-> 7ms] rest")->now);
  EXPECT_EQ(5000, beginningOf(" [5ms (platform=9ms)] rest")->now);
  EXPECT_EQ("rest", beginningOf(" : rest")->rest);
  EXPECT_EQ(2000, beginningOf(" [l: 1ms, r: 1ms] -> [l: 2ms, r: 2ms]rest")->now);
}

TEST(TraceLineTest, WhatIsCutIsNoBeginning) {
  for (const std::string_view text :
       Texts{"", " ", " [", " [x] ", " [5ms", " [5ms]", " [5ms-> ", " [5ms-> x] ", " [5ms-> 7ms",
             " [5ms (platform=", " [5ms (platform=x)] ", " [5ms (platform=9ms] ",
             " [5ms (platform=9ms)]", " [l: x, r: 1ms]", " [l: 1ms", " [l: 1ms, r: x]",
             " [l: 1ms, r: 1ms", " [l: 1ms, r: 1ms] -> [l: x, r: 2ms]", " [l: 1ms, r: 1ms] -> "}) {
    EXPECT_FALSE(beginningOf(text)) << text;
  }
}

TEST(TraceLineTest, WhatFiresHasALabelAndAWait) {
  const auto fired = firedOf(", wait for 5ms, s/k/a:p lazy");
  ASSERT_TRUE(fired);
  EXPECT_EQ("s/k/a:p", fired->label);
  EXPECT_EQ(5000, fired->wait);
  EXPECT_FALSE(firedOf("a:p lazy")->wait);
  for (const std::string_view text :
       Texts{"", "a:p", ", wait for ", ", wait for x, a:p lazy", ", wait for 5ms",
             ", wait for 5ms, ", "nothing lazy", " lazy", "a:p eager (1ms", "a:p eager (1ms,",
             "a:p eager (1ms,x)", "a:p eager (1ms,2ms", "a:p eager (x,2ms)", "a:p urgent (1ms,2ms)",
             "a:p eager (1ms 2ms)"}) {
    EXPECT_FALSE(firedOf(text)) << text;
  }
}

TEST(TraceLineTest, AConstraintMayHaveSeveralIntervals) {
  EXPECT_EQ("a:p", firedOf("a:p lazy (1ms,2ms) or eager (3ms,_)")->label);
  EXPECT_EQ("a:p", firedOf("a:p empty")->label);
  EXPECT_EQ("a:p or", firedOf("a:p or eager (3ms,_)")->label);
  EXPECT_FALSE(firedOf("p or eager (3ms,_)"));
}

TEST(TraceLineTest, TheSelfTimedLoopWaitsOnceOrTwice) {
  const auto once = selfTimedFiredOf("choose a:p lazy , wait for 4ms, execute...", 1000);
  ASSERT_TRUE(once);
  EXPECT_EQ("a:p", once->label);
  EXPECT_EQ(4000, once->time);
  EXPECT_EQ("", selfTimedFiredOf("choose  , wait for 4ms, execute...", 0)->label);
  const std::string random = ", (random) wait for ";
  const std::string end = "choose a:p lazy , wait for 4ms, execute...";
  EXPECT_EQ(6000, selfTimedFiredOf(random + "5ms, " + end, 1000)->time);
  EXPECT_EQ(FOREVER, selfTimedFiredOf(random + "_, " + end, 1000)->time);
  EXPECT_EQ(FOREVER, selfTimedFiredOf(random + "5ms, " + end, FOREVER)->time);
}

TEST(TraceLineTest, WhatIsCutHasNotFiredInTheSelfTimedLoop) {
  for (const std::string_view text :
       Texts{"", "choose a:p lazy , wait for 4ms, execute..", "a:p lazy , wait for 4ms, execute...",
             "choose a:p lazy, execute...", "choose a:p lazy , wait for x, execute...",
             "choose a:p lazy , wait for 4ms more, execute...",
             "choose a:p , wait for 4ms, execute...", "choose p lazy , wait for 4ms, execute...",
             ", (random) wait for x, choose a:p lazy , wait for 4ms, execute...",
             ", (random) wait for 4ms"}) {
    EXPECT_FALSE(selfTimedFiredOf(text, 0)) << text;
  }
}

TEST(TraceLineTest, QuestionsAreTakenAwayWithTheirColon) {
  std::string_view text = "Enter a new value for current time in lazy (0ms,9ms): rest";
  EXPECT_TRUE(isTimeQuestion(text));
  EXPECT_TRUE(takeQuestion(text));
  EXPECT_EQ("rest", text);
  text = "Enter a new value for current time in lazy (0ms,9ms)";
  EXPECT_FALSE(takeQuestion(text));
  text = "Enter interaction or internal port number (hit 0 to exit): rest";
  EXPECT_TRUE(takeQuestion(text));
  EXPECT_EQ("rest", text);
  EXPECT_FALSE(takeQuestion(text));
}

TEST(TraceLineTest, AListHasATimeAndItsRowsHaveNumbers) {
  const std::string list = "List of legal interactions or internal ports at ";
  EXPECT_EQ(5000, listTime(list + "5ms:"));
  for (const char* end : {"", "x:", "5ms", "5ms: "}) EXPECT_FALSE(listTime(list + end)) << end;
  EXPECT_FALSE(listTime("5ms:"));
  EXPECT_TRUE(isRow("[12]    a:p"));
  for (const std::string_view text : Texts{"", "[", "[x]    a:p", "[1", "[1] a:p", "1]    "}) {
    EXPECT_FALSE(isRow(text)) << text;
  }
}

TEST(TraceLineTest, AnEndIsAWholeLineOrABeginning) {
  EXPECT_EQ("deadlock", endKind("deadlock!"));
  EXPECT_EQ("", endKind("deadlock! more"));
  EXPECT_EQ("limit", endKind("Execution limit size (3) reached!"));
  EXPECT_EQ("", endKind("a:p lazy"));
}

}  // namespace
