// Times of runs: read from traces and recordings, and written.
#include "moment.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace Vesk::Traces;

constexpr Moment THE_LARGEST = 100000000000000000;  // 100,000,000,000,000 ms

TEST(MomentTest, ATimeIsAWholeNumberOfMilliseconds) {
  std::string_view text = "12ms, next";
  Moment moment = 0;
  EXPECT_TRUE(takeMoment(text, moment));
  EXPECT_EQ(12000, moment);
  EXPECT_EQ(", next", text);
  text = "-3ms]";
  EXPECT_TRUE(takeMoment(text, moment));
  EXPECT_EQ(-3000, moment);
  EXPECT_EQ("]", text);
}

TEST(MomentTest, AnUnderscoreIsForever) {
  std::string_view text = "_,_";
  Moment moment = 0;
  EXPECT_TRUE(takeMoment(text, moment));
  EXPECT_EQ(FOREVER, moment);
  EXPECT_EQ(",_", text);
}

TEST(MomentTest, WhatIsNoTimeStays) {
  for (const std::string whole : {"", "-", "ms", "12", "12s", "1.5ms", "--1ms", "x1ms"}) {
    std::string_view text = whole;
    Moment moment = 7;
    EXPECT_FALSE(takeMoment(text, moment)) << whole;
    EXPECT_EQ(whole, text);
  }
}

TEST(MomentTest, ATimeOfMoreThanSomeThousandYearsIsNone) {
  Moment moment = 0;
  std::string_view text = "100000000000000ms";
  EXPECT_TRUE(takeMoment(text, moment));
  EXPECT_EQ(THE_LARGEST, moment);
  text = "100000000000001ms";
  EXPECT_FALSE(takeMoment(text, moment));
}

TEST(MomentTest, WhatATraceDoesNotShowIsCutOff) {
  EXPECT_EQ(1000, cutToMilliseconds(1999));
  EXPECT_EQ(2000, cutToMilliseconds(2000));
  EXPECT_EQ(-1000, cutToMilliseconds(-1999));
  EXPECT_EQ(0, cutToMilliseconds(-1));
  EXPECT_EQ(FOREVER, cutToMilliseconds(FOREVER));
}

TEST(MomentTest, TextsHaveMillisecondsAndThreeDigitsWhenTheyAreExact) {
  EXPECT_EQ("1", millisecondsText(1999, false));
  EXPECT_EQ("1.999", millisecondsText(1999, true));
  EXPECT_EQ("0.007", millisecondsText(7, true));
  EXPECT_EQ("0.000", millisecondsText(0, true));
  EXPECT_EQ("-0.007", millisecondsText(-7, true));
  EXPECT_EQ("-12.340", millisecondsText(-12340, true));
  EXPECT_EQ("_", millisecondsText(FOREVER, true));
  EXPECT_EQ("_", millisecondsText(FOREVER, false));
}

TEST(MomentTest, RecordedTimesAreMicrosecondsWithinBounds) {
  EXPECT_EQ(12345, momentOf(12345));
  EXPECT_EQ(-12345, momentOf(-12345));
  EXPECT_EQ(THE_LARGEST, momentOf(THE_LARGEST));
  EXPECT_EQ(THE_LARGEST, momentOf(THE_LARGEST + 1));
  EXPECT_EQ(-THE_LARGEST, momentOf(-THE_LARGEST - 1));
  EXPECT_EQ(FOREVER, momentOf(2147483647));
  EXPECT_EQ(FOREVER, momentOf(-2147483648));
}

}  // namespace
