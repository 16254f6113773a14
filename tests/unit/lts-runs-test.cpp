// vesk-lts on what the engine's searches of all examples leave.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "json-text.hpp"
#include "lts-files.hpp"

namespace {

using namespace Vesk::Lts;

class LtsRunTest : public testing::Test {
 protected:
  // The exit status; what is printed goes into the file `out`.
  int run(const std::string& command) {
    const std::string folder = mFiles.path("");
    const std::string all =
        "cd '" + folder + "' && PATH='" PROGRAMS ":'$PATH; { " + command + "; } >out 2>&1";
    const int status = std::system(all.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  std::string output() const { return mFiles.read("out"); }
  void explore(const std::string& model) {
    ASSERT_EQ(0, run(model + " --bfs -o bfs")) << output();
    ASSERT_EQ(0, run(model + " --dfs -o dfs")) << output();
  }

  LtsFiles mFiles;
};

class LtsExampleTest : public LtsRunTest, public testing::WithParamInterface<const char*> {};

TEST_P(LtsExampleTest, BothSearchesFindTheSame) {
  explore(GetParam());
  EXPECT_EQ(0, run("vesk-lts compare bfs dfs")) << output();
  EXPECT_EQ("the same: ", output().substr(0, 10));
  EXPECT_EQ(0, run("vesk-lts compare dfs bfs")) << output();
}

TEST_P(LtsExampleTest, WhatIsConvertedIsTheSame) {
  explore(GetParam());
  ASSERT_EQ(0, run("vesk-lts convert dfs --to aut -o converted.aut")) << output();
  ASSERT_EQ(0, run("cp dfs.state converted.state"));
  EXPECT_EQ(0, run("vesk-lts compare bfs converted")) << output();
}

INSTANTIATE_TEST_SUITE_P(Examples, LtsExampleTest,
                         testing::Values("broadcast-bus", "counters 3", "gateway", "gear-box",
                                         "heartbeat", "markers", "markers 2", "markers 2 0",
                                         "markers 4", "periodic-tasks", "philosophers 2",
                                         "philosophers 7", "priority-mutex", "producer-consumer",
                                         "timed-broadcast", "timed-internal", "token-ring",
                                         "traffic-light"));

#ifdef VESK_PNML_EXAMPLES
INSTANTIATE_TEST_SUITE_P(Nets, LtsExampleTest,
                         testing::Values("vesk-pnml " VESK_PNML_EXAMPLES "/philosophers-5.pnml",
                                         "vesk-pnml " VESK_PNML_EXAMPLES "/readers-writers.pnml"));
#endif

// Every philosopher takes one fork: N steps, whatever the search.
TEST_F(LtsRunTest, TheDeadlockOfThePhilosophersIsFoundInBothFiles) {
  explore("philosophers 6");
  for (const std::string name : {"bfs", "dfs"}) {
    ASSERT_EQ(0, run("vesk-lts path " + name + " --deadlock --json")) << output();
    EXPECT_EQ(6u, Json::parse(output())["steps"].size());
    EXPECT_EQ(1, run("vesk-lts path " + name + " --deadlock 2"));
    EXPECT_EQ("there is no way from state 0 to deadlock 2\n", output());
  }
}

TEST_F(LtsRunTest, OtherModelsDiffer) {
  ASSERT_EQ(0, run("philosophers 2 --bfs -o two"));
  ASSERT_EQ(0, run("philosophers 3 --bfs -o three"));
  EXPECT_EQ(1, run("vesk-lts compare two three"));
}

TEST_F(LtsRunTest, ASearchThatWasStoppedCanBeRead) {
  ASSERT_EQ(0, run("counters 4 --bfs -l 100 -o part"));
  ASSERT_EQ(0, run("vesk-lts info part --json")) << output();
  const Json info = Json::parse(output());
  EXPECT_EQ(0, info["deadlocks"].size());
  EXPECT_GT(info["unexpanded"], 0);
  ASSERT_EQ(0, run("head -c 3000 part.aut > cut.aut"));
  EXPECT_EQ(0, run("vesk-lts info cut"));
  EXPECT_NE(std::string::npos, output().find("vesk-lts: warning: cut.aut: the last line is cut"));
}

TEST_F(LtsRunTest, NothingIsLeftOfAnOutputThatIsInterrupted) {
  std::string lines;
  for (int i = 0; i < 1500000; ++i) lines += "(0, a long label to write, 1)\n";
  mFiles.writeOwn("x.aut", 1500000, 2, lines);
  const auto names = [&] {
    auto result = mFiles.names();
    result.erase(std::remove(result.begin(), result.end(), "out"), result.end());
    return result;
  };
  const auto before = names();
  // As soon as the file beside is there, the program is interrupted.
  const std::string interrupt =
      "vesk-lts convert x --to json -o y.json & while ! ls y.json.* 2>/dev/null; do kill -0 $! || "
      "break; done; kill -TERM $!; wait $!";
  EXPECT_EQ(128 + SIGTERM, run(interrupt)) << output();
  EXPECT_EQ(before, names());
}

TEST_F(LtsRunTest, AFullDeviceIsReported) {
  mFiles.writeTable("t");
  EXPECT_EQ(2, run("vesk-lts convert t --to aut -o /dev/full"));
  EXPECT_EQ(
      "vesk-lts: /dev/full: cannot be written (No space left on device), expected a file that "
      "can\n",
      output());
}

TEST_F(LtsRunTest, APageThatIsTooLargeIsRefusedWithAdvice) {
  std::string lines;
  for (int i = 0; i < 100001; ++i)
    lines += "(" + std::to_string(i) + ", a/b/c, " + std::to_string(i + 1) + ")\n";
  mFiles.writeOwn("x.aut", 100001, 100002, lines);
  EXPECT_EQ(2, run("vesk-lts page x -o x.html"));
  EXPECT_NE(std::string::npos, output().find("--around STATE --radius N"));
  EXPECT_FALSE(std::filesystem::exists(mFiles.path("x.html")));
  EXPECT_EQ(0, run("vesk-lts page x -o x.html --around 500 --radius 2")) << output();
  EXPECT_EQ(2, run("vesk-lts convert x --to dot"));
  EXPECT_NE(std::string::npos, output().find("--force"));
  EXPECT_EQ(0, run("vesk-lts convert x --to dot --force"));
}

TEST_F(LtsRunTest, WithoutOtherProgramsAPageHasNoDrawingAndThereIsNoPlot) {
  mFiles.writeTable("t");
  EXPECT_EQ(0, run("PATH=/nowhere " PROGRAMS "/vesk-lts page t -o t.html"));
  EXPECT_EQ(
      "vesk-lts: warning: the page has no drawing, because there is no Graphviz (dot) that "
      "runs\n",
      output());
  EXPECT_EQ(std::string::npos, mFiles.read("t.html").find("<svg"));
  EXPECT_EQ(2, run("PATH=/nowhere " PROGRAMS "/vesk-lts info t --plot t.svg"));
  EXPECT_FALSE(std::filesystem::exists(mFiles.path("t.svg")));
}

TEST_F(LtsRunTest, AFileMayComeThroughAPipe) {
  mFiles.writeTable("t");
  ASSERT_EQ(0, run("mkfifo p.aut && (cat t.aut >p.aut &) && vesk-lts path p --deadlock --json"))
      << output();
  EXPECT_EQ(2u, Json::parse(output())["steps"].size());
}

TEST_F(LtsRunTest, ThePlotIsAnSvgFile) {
  if (run("gnuplot --version") != 0) GTEST_SKIP() << "gnuplot is not installed";
  mFiles.writeTable("t");
  ASSERT_EQ(0, run("vesk-lts info t --plot levels.svg")) << output();
  const std::string svg = mFiles.read("levels.svg");
  EXPECT_NE(std::string::npos, svg.find("<svg"));
  EXPECT_NE(std::string::npos, svg.find("</svg>"));
}

TEST_F(LtsRunTest, GraphvizTakesTheDrawing) {
  if (run("dot -V") != 0) GTEST_SKIP() << "Graphviz is not installed";
  mFiles.writeTable("t");
  ASSERT_EQ(0, run("vesk-lts convert t --to dot -o t.dot && dot -Tplain t.dot")) << output();
  // Six states, the point before the initial one, eight transitions and the arrow from the point.
  std::size_t nodes = 0;
  std::size_t edges = 0;
  std::istringstream plain(output());
  for (std::string line; std::getline(plain, line);) {
    nodes += line.compare(0, 5, "node ") == 0;
    edges += line.compare(0, 5, "edge ") == 0;
  }
  EXPECT_EQ(7u, nodes);
  EXPECT_EQ(9u, edges);
}

}  // namespace
