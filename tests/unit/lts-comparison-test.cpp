// Whether two systems are the same.
#include "comparison.hpp"

#include <gtest/gtest.h>

#include <string>

#include "lts-files.hpp"

namespace {

using namespace Vesk::Lts;

class LtsComparisonTest : public testing::Test {
 protected:
  void write(const std::string& name, int states, const std::string& lines,
             const std::string& texts) {
    mFiles.writeOwn(name + ".aut", 0, states, lines);
    if (!texts.empty()) mFiles.write(name + ".state", texts);
  }
  Json compare() {
    const Exploration a = mFiles.explore("a");
    const Exploration b = mFiles.explore("b");
    const Comparison comparison(a, b, 20, mFiles.progress());
    mText = comparison.text(mFiles.progress());
    return comparison.json(mFiles.progress());
  }

  LtsFiles mFiles;
  std::string mText;
};

TEST_F(LtsComparisonTest, NumbersAndOrderDoNotCount) {
  write("a", 3, "(0, x, 1)\n(0, y, 2)\n(1, x, 0)\n", "0 : s\n1 : t\n2 : u\n");
  write("b", 3, "(0, y, 1)\n(2, x, 0)\n(0, x, 2)\n", "0 : s\n1 : u\n2 : t\n");
  EXPECT_EQ(true, compare()["same"]);
  EXPECT_EQ("the same: 3 states, 3 transitions\n", mText);
}

// Neither is the label of the first.
TEST_F(LtsComparisonTest, TwoNewLabelsAreNew) {
  write("a", 2, "(0, x, 1)\n(1, y, 0)\n", "0 : s\n1 : t\n");
  write("b", 2, "(0, new, 1)\n(1, newer, 0)\n", "0 : s\n1 : t\n");
  const Json json = compare();
  EXPECT_EQ(0, json["commonTransitions"]);
  EXPECT_EQ((Json::array({{{"from", 0}, {"label", "new"}, {"to", 1}},
                          {{"from", 1}, {"label", "newer"}, {"to", 0}}})),
            json["onlyIn"][1]["transitions"]);
}

TEST_F(LtsComparisonTest, ATransitionTwiceIsNotTheSameAsOnce) {
  write("a", 2, "(0, x, 1)\n(0, x, 1)\n", "0 : s\n1 : t\n");
  write("b", 2, "(0, x, 1)\n", "0 : s\n1 : t\n");
  const Json json = compare();
  EXPECT_EQ(false, json["same"]);
  EXPECT_EQ(1, json["onlyIn"][0]["transitionCount"]);
  EXPECT_EQ(0, json["onlyIn"][1]["transitionCount"]);
}

// Yesterday state t could go back, today it goes on to v.
TEST_F(LtsComparisonTest, TheDifferenceIsShownWithTheWayToIt) {
  write("a", 2, "(0, x, 1)\n(1, back, 0)\n", "0 : s\n1 : t\n");
  write("b", 3, "(0, x, 1)\n(1, on, 2)\n", "0 : s\n1 : t\n2 : v\n");
  const Json json = compare();
  EXPECT_EQ(2, json["commonStates"]);
  EXPECT_EQ(1, json["commonTransitions"]);
  EXPECT_EQ(0, json["onlyIn"][0]["stateCount"]);
  EXPECT_EQ((Json::array({{{"from", 1}, {"label", "back"}, {"to", 0}}})),
            json["onlyIn"][0]["transitions"]);
  EXPECT_EQ((Json::array({{{"state", 2}, {"text", "v"}}})), json["onlyIn"][1]["states"]);
  EXPECT_EQ(1u, json["path"]["steps"].size());
  const std::string a = mFiles.path("a.aut");
  const std::string b = mFiles.path("b.aut");
  EXPECT_EQ(
      "different: 2 states, 1 transition in common\n\n"
      "only in " +
          a +
          ": 0 states, 1 transition\n"
          "  1: t\n      back\n    0: s\n\n"
          "only in " +
          b +
          ": 1 state, 1 transition\n"
          "  2: v\n"
          "  1: t\n      on\n    2: v\n\n"
          "The shortest way to a difference, with the numbers of " +
          a +
          ":\n\n"
          "0: s\n    x\n1: t\n   ^\n1 step to state 1\n"
          "there only in " +
          a +
          ":\n    back\n0: s\n"
          "there only in " +
          b + ":\n    on\n2: v\n",
      mText);
}

// Explorations list no text twice, files of other programs may.
TEST_F(LtsComparisonTest, StatesWithOneTextBelongTogetherInTheirOrder) {
  const std::string lines = "(0, x, 1)\n(1, y, 2)\n(2, z, 0)\n";
  write("a", 3, lines, "0 : s\n1 : t\n2 : t\n");
  write("b", 3, lines, "0 : s\n1 : t\n2 : t\n");
  EXPECT_EQ(true, compare()["same"]);
  write("b", 3, lines, "0 : s\n1 : t\n2 : u\n");
  const Json json = compare();
  EXPECT_EQ(2, json["commonStates"]);
  EXPECT_EQ((Json::array({{{"state", 2}, {"text", "t"}}})), json["onlyIn"][0]["states"]);
  EXPECT_EQ((Json::array({{{"state", 2}, {"text", "u"}}})), json["onlyIn"][1]["states"]);
}

TEST_F(LtsComparisonTest, OtherInitialStatesDiffer) {
  write("a", 1, "", "0 : s\n");
  write("b", 1, "", "0 : t\n");
  EXPECT_TRUE(compare()["path"].is_null());
  EXPECT_NE(std::string::npos, mText.find("The initial states differ.\n"));
}

// Breadth-first search gives pruned states no text, depth-first search does.
TEST_F(LtsComparisonTest, AStateWithoutTextIsMatchedByTheLabelThatLeadsToIt) {
  write("a", 3, "(0, x, 1)\n(0, y, 2)\n(1, y, 2)\n", "0 : s\n1 : t\n");
  write("b", 3, "(0, x, 2)\n(0, y, 1)\n(2, y, 1)\n", "0 : s\n1 : PRUNE\n2 : t\n");
  EXPECT_EQ(true, compare()["same"]);
}

TEST_F(LtsComparisonTest, SystemsWithoutTextsAreWalkedByLabels) {
  write("a", 3, "(0, x, 1)\n(0, y, 2)\n(2, x, 1)\n", "");
  write("b", 3, "(0, y, 1)\n(0, x, 2)\n(1, x, 2)\n", "");
  EXPECT_EQ(true, compare()["same"]);
  write("b", 3, "(0, y, 1)\n(0, x, 2)\n(1, x, 1)\n", "");
  EXPECT_EQ(false, compare()["same"]);
}

TEST_F(LtsComparisonTest, WhatCannotBeToldApartIsRefused) {
  write("a", 3, "(0, x, 1)\n(0, x, 2)\n(1, y, 0)\n", "");
  write("b", 3, "(0, x, 1)\n(0, x, 2)\n(2, y, 0)\n", "");
  EXPECT_NE(std::string::npos,
            faultOf(mFiles, [&] { compare(); }).find("to several states without texts"));
}

TEST_F(LtsComparisonTest, DifferencesThatCannotBeReachedAreDifferences) {
  write("a", 3, "(0, x, 0)\n(1, x, 2)\n", "0 : s\n1 : t\n2 : u\n");
  write("b", 3, "(0, x, 0)\n(2, x, 1)\n", "0 : s\n1 : t\n2 : u\n");
  EXPECT_EQ(false, compare()["same"]);
  EXPECT_NE(std::string::npos,
            mText.find("No difference can be reached from the initial state.\n"));
}

TEST_F(LtsComparisonTest, LongListsAreCut) {
  std::string lines;
  std::string texts = "0 : s\n";
  for (int i = 1; i <= 30; ++i) {
    lines += "(0, x, " + std::to_string(i) + ")\n";
    texts += std::to_string(i) + " : t" + std::to_string(i) + "\n";
  }
  write("a", 31, lines, texts);
  write("b", 1, "", "0 : s\n");
  EXPECT_EQ(20u, compare()["onlyIn"][0]["states"].size());
  EXPECT_NE(std::string::npos, mText.find("  ... and 10 more states\n"));
  EXPECT_NE(std::string::npos, mText.find("  ... and 10 more transitions\n"));
}

TEST_F(LtsComparisonTest, OfSeveralTargetsOfALabelTheMissingOneIsShown) {
  write("a", 3, "(0, x, 1)\n(0, x, 2)\n(1, y, 2)\n", "0 : s\n1 : t\n2 : u\n");
  write("b", 3, "(0, x, 1)\n(1, y, 2)\n", "0 : s\n1 : t\n2 : u\n");
  const Json json = compare();
  EXPECT_EQ((Json::array({{{"from", 0}, {"label", "x"}, {"to", 2}}})),
            json["onlyIn"][0]["transitions"]);
  EXPECT_EQ(Json::array(), json["onlyIn"][1]["transitions"]);
}

TEST_F(LtsComparisonTest, TheWayLeadsToWhatOnlyTheOtherOneHas) {
  write("a", 2, "(0, x, 1)\n", "0 : s\n1 : t\n");
  write("b", 2, "(0, x, 1)\n(1, back, 0)\n", "0 : s\n1 : t\n");
  const Json json = compare();
  EXPECT_EQ(Json::array(), json["onlyIn"][0]["transitions"]);
  EXPECT_EQ((Json::array({{{"from", 1}, {"label", "back"}, {"to", 0}}})),
            json["onlyIn"][1]["transitions"]);
  EXPECT_EQ(1u, json["path"]["steps"].size());
}

TEST_F(LtsComparisonTest, WithOneStateOnThisSideAndTwoOnThatNoneCanBeTold) {
  const std::string one = "(0, x, 1)\n(1, y, 0)\n";
  const std::string two = "(0, x, 1)\n(0, x, 2)\n(2, y, 0)\n";
  const std::string message = "to several states without texts";
  write("a", 2, one, "");
  write("b", 3, two, "");
  EXPECT_NE(std::string::npos, faultOf(mFiles, [&] { compare(); }).find(message));
  write("a", 3, two, "");
  write("b", 2, one, "");
  EXPECT_NE(std::string::npos, faultOf(mFiles, [&] { compare(); }).find(message));
}

// No search lists a text twice, but somebody may have written the files.
TEST_F(LtsComparisonTest, OfTwoStatesWithOneTextTheFirstOneCounts) {
  const std::string once = "0 : s\n1 : t\n";
  const std::string twice = "0 : s\n1 : t\n2 : t\n";
  write("a", 2, "(0, x, 1)\n", once);
  write("b", 3, "(0, x, 1)\n(0, x, 2)\n", twice);
  Json json = compare();
  EXPECT_EQ(0, json["onlyIn"][0]["stateCount"]);
  EXPECT_EQ((Json::array({{{"state", 2}, {"text", "t"}}})), json["onlyIn"][1]["states"]);
  write("a", 3, "(0, x, 1)\n(0, x, 2)\n", twice);
  write("b", 2, "(0, x, 1)\n", once);
  json = compare();
  EXPECT_EQ((Json::array({{{"state", 2}, {"text", "t"}}})), json["onlyIn"][0]["states"]);
  EXPECT_EQ(0, json["onlyIn"][1]["stateCount"]);
}

// Each label alone leads to one state without a text, but there are two in one of the files.
TEST_F(LtsComparisonTest, AStateWithoutATextBelongsToOneStateOfTheOther) {
  write("a", 2, "(0, x, 1)\n(0, y, 1)\n", "");
  write("b", 3, "(0, x, 1)\n(0, y, 2)\n", "");
  EXPECT_EQ(1, compare()["onlyIn"][1]["stateCount"]);
  write("a", 3, "(0, x, 1)\n(0, y, 2)\n", "");
  write("b", 2, "(0, x, 1)\n(0, y, 1)\n", "");
  EXPECT_EQ(1, compare()["onlyIn"][0]["stateCount"]);
}

}  // namespace
