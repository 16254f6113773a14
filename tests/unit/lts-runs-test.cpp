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

// ---- Command lines ---------------------------------------------------------------------------

class LtsOptionsTest : public LtsRunTest {
 protected:
  // What is said when the command line, with the name of an exploration, is refused.
  std::string refused(const std::string& command) {
    mFiles.writeTable("t");
    EXPECT_EQ(2, run("vesk-lts " + command)) << output();
    return output();
  }
};

TEST_F(LtsOptionsTest, OptionsThatDoNotFitTheFormatAreRefused) {
  EXPECT_EQ("vesk-lts: --deadlock-loops with --to dot, expected --to aut\n",
            refused("convert t --to dot --deadlock-loops"));
  EXPECT_EQ("vesk-lts: --states with --to json, expected --to csv\n",
            refused("convert t --to json --states"));
  EXPECT_EQ("vesk-lts: --force with --to csv, expected --to dot\n",
            refused("convert t --to csv --force"));
}

TEST_F(LtsOptionsTest, LoopsAtDeadlocksHaveTheLabelThatWasGiven) {
  mFiles.writeTable("t");
  ASSERT_EQ(0, run("vesk-lts convert t --to aut --deadlock-loops=stuck"));
  EXPECT_NE(std::string::npos, output().find("(4,\"stuck\",4)")) << output();
  ASSERT_EQ(0, run("vesk-lts convert t --to aut --deadlock-loops"));
  EXPECT_NE(std::string::npos, output().find("(4,\"deadlock\",4)")) << output();
}

TEST_F(LtsOptionsTest, TheNumberOfADeadlockCountsFromOne) {
  for (const char* number : {"0", "x", "1x"}) {
    EXPECT_EQ("vesk-lts: --deadlock \"" + std::string(number) + "\", expected a number from 1\n",
              refused("path t --deadlock " + std::string(number)));
  }
}

TEST_F(LtsOptionsTest, APathNeedsTheNameOfAnExploration) {
  const std::string missing =
      "vesk-lts: NAME is missing, expected the name of an exploration; see vesk-lts path --help\n";
  EXPECT_EQ(missing, refused("path --deadlock"));
  EXPECT_EQ(missing, refused("path --deadlock 1"));
  EXPECT_EQ(missing, refused("path --error"));
  EXPECT_EQ(0, run("vesk-lts path --deadlock t"));
}

TEST_F(LtsOptionsTest, TextsNeedTheListOfStates) {
  mFiles.writeOwn("bare.aut", 1, 2, "(0, a/b/c, 1)\n");
  EXPECT_EQ(
      "vesk-lts: --text needs the texts of the states, expected a .state file beside "
      "bare.aut\n",
      refused("path bare --text x"));
}

TEST_F(LtsOptionsTest, WhatHasNoPathIsNamed) {
  mFiles.writeTable("t");
  const auto none = [&](const std::string& target) {
    EXPECT_EQ(1, run("vesk-lts path t " + target)) << output();
    return output();
  };
  EXPECT_NE(std::string::npos, none("--label nothing").find("a label with \"nothing\""));
  EXPECT_NE(std::string::npos, none("--text nothing").find("a state with \"nothing\""));
  EXPECT_NE(std::string::npos, none("--error").find("an error"));
  EXPECT_NE(std::string::npos, none("--deadlock 2").find("deadlock 2"));
}

TEST_F(LtsOptionsTest, AClosedInputIsReported) {
  EXPECT_EQ(2, run("vesk-trace table - <&-"));
  EXPECT_NE(std::string::npos, output().find("expected an open standard input")) << output();
}

TEST_F(LtsOptionsTest, AFolderIsNoFile) {
  std::filesystem::create_directory(mFiles.path("folder.aut"));
  EXPECT_EQ(2, run("vesk-lts info folder.aut")) << output();
  EXPECT_EQ("vesk-lts: folder.aut", output().substr(0, 20)) << output();
}

TEST_F(LtsOptionsTest, AnOutputThatCannotBeMadeIsReported) {
  mFiles.writeTable("t");
  EXPECT_EQ(2, run("vesk-lts convert t --to aut -o missing/t.aut")) << output();
  EXPECT_NE(std::string::npos, output().find("cannot be written (No such file or directory)"));
  const std::string longName(5000, 'x');
  EXPECT_EQ(2, run("vesk-lts convert t --to aut -o " + longName)) << output();
  EXPECT_NE(std::string::npos, output().find("File name too long")) << output().substr(0, 100);
  std::filesystem::create_directories(mFiles.path("taken/inside"));
  EXPECT_EQ(2, run("vesk-lts convert t --to aut -o taken")) << output();
}

TEST_F(LtsOptionsTest, AnInterruptThatTheCallerIgnoresStaysIgnored) {
  mFiles.writeTable("t");
  EXPECT_EQ(0, run("trap '' INT TERM; vesk-lts convert t --to aut -o y.aut"));
  EXPECT_EQ(0, run("vesk-lts convert t --to aut -o - >z.aut && cmp y.aut z.aut")) << output();
}

TEST_F(LtsOptionsTest, JsonAndTextTellTheSame) {
  mFiles.writeTable("t");
  for (const char* command : {"info t", "compare t t", "path t --to 3"}) {
    EXPECT_EQ(0, run("vesk-lts " + std::string(command))) << output();
    EXPECT_FALSE(Json::accept(output())) << command;
    EXPECT_EQ(0, run("vesk-lts " + std::string(command) + " --json")) << output();
    EXPECT_TRUE(Json::accept(output())) << command;
  }
}

}  // namespace
