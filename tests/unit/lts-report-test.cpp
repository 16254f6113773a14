// What info and path print.
#include <gtest/gtest.h>

#include <string>

#include "lts-files.hpp"
#include "path-report.hpp"
#include "summary.hpp"

namespace {

using namespace Vesk::Lts;

class LtsReportTest : public testing::Test {
 protected:
  LtsReportTest() { mFiles.writeTable("t"); }

  PathReport wayTo(const Exploration& exploration, State state) {
    const auto path =
        ShortestPaths(exploration.graph(), 0).toState([&](State other) { return other == state; });
    return PathReport(exploration, *path, mFiles.progress());
  }

  LtsFiles mFiles;
};

TEST_F(LtsReportTest, TheSummaryCountsEverything) {
  const Exploration table = mFiles.explore("t");
  EXPECT_EQ(
      "states      : 6\n"
      "transitions : 8\n"
      "levels      : 3, the widest is 2 with 3 states\n"
      "degree      : 1.33 on average, at most 2, from state 0\n"
      "deadlocks   : 1\n"
      "pruned      : 0\n"
      "error       : none\n"
      "unexpanded  : 0\n"
      "unreached   : 0\n"
      "\n"
      "level      states\n"
      "    0           1\n"
      "    1           2\n"
      "    2           3\n"
      "\n"
      "connector       transitions\n"
      "table/left0               2\n"
      "table/left1               2\n"
      "table/release0            1\n"
      "table/release1            1\n"
      "table/right0              1\n"
      "table/right1              1\n"
      "\n"
      "deadlock       state  level\n"
      "       1           4      2\n",
      Summary(table).text());
}

TEST_F(LtsReportTest, TheSummaryAsJsonHasTheSameCounts) {
  const Exploration table = mFiles.explore("t");
  const Json json = Summary(table).json();
  EXPECT_EQ(6, json["states"]);
  EXPECT_EQ(8, json["transitions"]);
  EXPECT_EQ((Json{1, 2, 3}), json["levels"]);
  EXPECT_EQ(2, json["widestLevel"]);
  EXPECT_EQ(2, json["largestDegree"]["degree"]);
  EXPECT_EQ((Json::array({4})), json["deadlocks"]);
  EXPECT_TRUE(json["errorState"].is_null());
  EXPECT_EQ(6u, json["connectors"].size());
  EXPECT_EQ("table/left0", json["connectors"][0]["connector"]);
  EXPECT_EQ(2, json["connectors"][0]["transitions"]);
}

TEST_F(LtsReportTest, DeadlocksComeByDistanceAndOnlyTheFirstTenAreShown) {
  std::string lines = "(0, a/b/c, 13)\n(0, a/b/c, 1)\n";
  std::string deadlocks = "13\n";
  for (int state = 2; state < 13; ++state) {
    lines += "(1, a/b/c, " + std::to_string(state) + ")\n";
    deadlocks += std::to_string(state) + "\n";
  }
  mFiles.writeOwn("x.aut", 13, 14, lines);
  mFiles.write("x.deadlock", deadlocks);
  const Exploration exploration = mFiles.explore("x");
  const Summary summary(exploration);
  EXPECT_EQ(13, summary.json()["deadlocks"][0]);
  EXPECT_EQ(2, summary.json()["deadlocks"][1]);
  const std::string text = summary.text();
  EXPECT_NE(std::string::npos, text.find("       1          13      1\n"));
  EXPECT_NE(std::string::npos, text.find("     ... and 2 more\n"));
}

TEST_F(LtsReportTest, ThePathShowsStepsAndMarksChanges) {
  const Exploration table = mFiles.explore("t");
  EXPECT_EQ(
      "0: t,f,t,f,\n"
      "    table/left1/P1:left|F1:take\n"
      "1: t,f,l,u,\n"
      "       ^ ^\n"
      "    table/left0/P0:left|F0:take\n"
      "4: l,u,l,u,\n"
      "   ^ ^\n"
      "2 steps to state 4, a deadlock\n",
      wayTo(table, 4).text());
  EXPECT_EQ("0: t,f,t,f,\n0 steps to state 0\n", wayTo(table, 0).text());
}

TEST_F(LtsReportTest, ThePathAsJsonHasSteps) {
  const Exploration table = mFiles.explore("t");
  const Json json = wayTo(table, 4).json();
  EXPECT_EQ(true, json["found"]);
  EXPECT_EQ("t,f,t,f,", json["start"]["text"]);
  ASSERT_EQ(2u, json["steps"].size());
  const Json& step = json["steps"][1];
  EXPECT_EQ(1, step["from"]);
  EXPECT_EQ("table/left0/P0:left|F0:take", step["label"]);
  EXPECT_EQ(4, step["to"]);
  EXPECT_EQ("l,u,l,u,", step["text"]);
  EXPECT_EQ((Json{"l", "u"}), step["changed"]);
  EXPECT_EQ(true, json["end"]["deadlock"]);
}

TEST_F(LtsReportTest, StatesMayHaveNoTexts) {
  mFiles.write("x.aut", "des (0,1,2)\n(0,\"a\x1b\",1)\n");
  const Exploration exploration = mFiles.explore("x");
  EXPECT_EQ("0: (no text)\n    a\\x1b\n1: (no text)\n1 step to state 1, a deadlock\n",
            wayTo(exploration, 1).text());
  EXPECT_TRUE(wayTo(exploration, 1).json()["steps"][0]["text"].is_null());
}

TEST_F(LtsReportTest, JsonTakesAnyBytes) {
  mFiles.write("x.aut", "des (0,1,2)\n(0,\"\xff<\",1)\n");
  const Exploration exploration = mFiles.explore("x");
  const std::string text = jsonText(wayTo(exploration, 1).json());
  EXPECT_NE(std::string::npos, text.find("\"\\ufffd<\""));
}

TEST_F(LtsReportTest, NumbersThatAreWiderThanTheirColumnsAreWhole) {
  std::string lines;
  for (int state = 0; state < 100001; ++state) {
    lines += "(" + std::to_string(state) + ", a/b/c, " + std::to_string(state + 1) + ")\n";
  }
  mFiles.writeOwn("x.aut", 100001, 100002, lines);
  const std::string text = Summary(mFiles.explore("x")).text();
  EXPECT_NE(std::string::npos, text.find("\n99999           1\n100000           1\n"));
}

}  // namespace
