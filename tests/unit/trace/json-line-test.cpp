// Objects of JSON that are put together as text.
#include "json-line.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using Vesk::Traces::JsonLine;

std::string lineOf(const std::string& value) {
  return JsonLine().text("a", value).finish();
}

TEST(JsonLineTest, PlainTextsStandAsTheyAre) {
  EXPECT_EQ(JsonLine().finish(), "{}");
  EXPECT_EQ(lineOf(""), R"({"a":""})");
  EXPECT_EQ(lineOf(" !~"), R"({"a":" !~"})");
}

TEST(JsonLineTest, WhatWouldEndTheTextIsEscaped) {
  EXPECT_EQ(lineOf("\""), R"({"a":"\""})");
  EXPECT_EQ(lineOf("\\"), R"({"a":"\\"})");
  EXPECT_EQ(lineOf("x\"y\\z"), R"({"a":"x\"y\\z"})");
}

TEST(JsonLineTest, ControlCharactersAreEscaped) {
  EXPECT_EQ(lineOf("\n"), R"({"a":"\n"})");
  EXPECT_EQ(lineOf("\x1F"), R"({"a":"\u001f"})");
}

TEST(JsonLineTest, TheControlCharacterBehindAllOthersIsEscaped) {
  EXPECT_EQ(lineOf("\x7F"), R"({"a":"\u007f"})");
  EXPECT_EQ(lineOf("a\x7F"), R"({"a":"a\u007f"})");
}

TEST(JsonLineTest, OtherCharactersAreWrittenInAscii) {
  EXPECT_EQ(lineOf("\u00E9"), R"({"a":"\u00e9"})");
  EXPECT_EQ(lineOf("\xFF"), R"({"a":"\ufffd"})");
}

TEST(JsonLineTest, MembersFollowEachOther) {
  const std::string line =
      JsonLine().number("n", -1).text("t", "x").object("o", "key", "\"").finish();
  EXPECT_EQ(line, R"({"n":-1,"t":"x","o":{"key":"\""}})");
}

}  // namespace
