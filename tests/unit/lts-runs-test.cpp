// vesk-lts on what the engine's searches of all examples leave.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

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

// What is printed last is missed, too.
TEST_F(LtsRunTest, EveryCommandReportsAFullDevice) {
  mFiles.writeTable("t");
  mFiles.write("run", "scheduler : s/k/a:p\n");
  for (const char* command :
       {"vesk-lts info t", "vesk-lts compare t t", "vesk-lts path t --to 4",
        "vesk-lts info t --json", "vesk-lts compare t t --json", "vesk-lts path t --to 4 --json",
        "vesk-trace summary run", "vesk-trace compare run run", "vesk-trace table run",
        "vesk-trace csv run"}) {
    EXPECT_EQ(2, run(std::string(command) + " >/dev/full")) << command;
    EXPECT_NE(std::string::npos, output().find("cannot be written")) << output();
  }
}

TEST_F(LtsRunTest, AComparisonWarnsOfBothOfThem) {
  mFiles.writeTable("t");
  mFiles.write("c.aut", "des (0, 2, 3)\n(0, a, 1)\n(1, b, 2");
  for (const char* names : {"c t", "t c"}) {
    EXPECT_EQ(1, run("vesk-lts compare " + std::string(names)));
    EXPECT_NE(std::string::npos, output().find("vesk-lts: warning: ")) << output();
  }
}

TEST_F(LtsRunTest, ADrawingMayHaveAsManyTransitionsAsCanBeRead) {
  std::string lines;
  for (int i = 0; i < 5000; ++i) lines += "(0, " + std::to_string(i) + ", 0)\n";
  mFiles.writeOwn("x.aut", 5000, 1, lines);
  EXPECT_EQ(0, run("vesk-lts convert x --to dot")) << output();
  mFiles.writeOwn("x.aut", 5001, 1, lines + "(0, a, 0)\n");
  EXPECT_EQ(2, run("vesk-lts convert x --to dot"));
}

TEST_F(LtsRunTest, APageThatIsTooLargeIsRefusedWithAdvice) {
  std::string lines;
  for (int i = 0; i < 100000; ++i)
    lines += "(" + std::to_string(i) + ", a/b/c, " + std::to_string(i + 1) + ")\n";
  mFiles.writeOwn("most.aut", 100000, 100001, lines);
  EXPECT_EQ(0, run("vesk-lts page most -o most.html")) << output();
  mFiles.writeOwn("x.aut", 100001, 100002, lines + "(100000, a/b/c, 100001)\n");
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

TEST_F(LtsOptionsTest, AnEmptyOperandIsNone) {
  mFiles.writeTable("t");
  ASSERT_EQ(0, run("vesk-lts convert t --to aut --deadlock-loops ''"));
  EXPECT_NE(std::string::npos, output().find("(4,\"deadlock\",4)")) << output();
  ASSERT_EQ(0, run("vesk-lts path t --deadlock ''")) << output();
  EXPECT_NE(std::string::npos, output().find("steps to state 4, a deadlock")) << output();
}

TEST_F(LtsOptionsTest, HelpAndVersionAreNoFailures) {
  for (const char* program : {"vesk-lts", "vesk-trace"}) {
    for (const char* option : {" --help", " --version"}) {
      EXPECT_EQ(0, run(program + std::string(option))) << output();
    }
    EXPECT_EQ(2, run(program + std::string(" --no-such-option"))) << output();
    EXPECT_EQ(2, run(program)) << output();
  }
}

TEST_F(LtsOptionsTest, TheHelpSaysWhatStandsInAPattern) {
  for (const char* command : {"vesk-lts path --help", "vesk-trace table --help"}) {
    EXPECT_EQ(0, run(command));
    EXPECT_NE(std::string::npos, output().find("In a PATTERN, * stands for any characters"))
        << output();
  }
}

// As the manual pages say.
TEST_F(LtsOptionsTest, WithoutANumberAListEndsAfterTwentyAndASequenceAfterAHundred) {
  mFiles.writeOwn("none.aut", 0, 1, "");
  std::string loops;
  for (int i = 0; i < 22; ++i) loops += "(0, a" + std::to_string(i) + ", 0)\n";
  mFiles.writeOwn("many.aut", 22, 1, loops);
  EXPECT_EQ(1, run("vesk-lts compare none many"));
  EXPECT_NE(std::string::npos, output().find("  ... and 2 more transitions\n")) << output();
  std::string steps;
  for (int i = 0; i < 102; ++i) steps += "scheduler : s/k/a:p\n";
  mFiles.write("run", steps);
  EXPECT_EQ(0, run("vesk-trace sequence run"));
  EXPECT_NE(std::string::npos, output().find("warning: 2 steps left out")) << output();
}

TEST_F(LtsOptionsTest, APartHasTheTextsOfItsStates) {
  mFiles.writeTable("t");
  ASSERT_EQ(0, run("vesk-lts convert t --to csv --states --around 4 --radius 0")) << output();
  EXPECT_NE(std::string::npos, output().find("l,u,l,u,")) << output();
  EXPECT_EQ(std::string::npos, output().find("t,f,t,f,")) << output();
}

// A line has to fit.
TEST_F(LtsOptionsTest, WithoutMemoryTheProgramsSaySo) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer needs more memory than there is to be";
#endif
  const std::string few = "truncate -s 300M x.aut; ulimit -v 300000; ";
  EXPECT_EQ(2, run(few + "vesk-lts info x"));
  EXPECT_EQ("vesk-lts: there is not enough memory, expected files that fit into it\n", output());
  EXPECT_EQ(2, run(few + "vesk-trace table x.aut"));
  EXPECT_EQ("vesk-trace: there is not enough memory, expected names that fit into it\n", output());
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

// ---- What stands in outputs ------------------------------------------------------------------

class LtsOutputTest : public LtsRunTest {
 protected:
  std::string outputOf(const std::string& command) {
    EXPECT_EQ(0, run("vesk-lts " + command)) << output();
    return output();
  }
  static bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }
};

TEST_F(LtsOutputTest, NamesInAPageAreNoMarkup) {
  mFiles.writeTable("a<b>&c");
  ASSERT_EQ(0, run("vesk-lts page 'a<b>&c' -o page.html")) << output();
  const std::string page = mFiles.read("page.html");
  EXPECT_TRUE(has(page, "a&lt;b&gt;&amp;c"));
  EXPECT_FALSE(has(page, "a<b>&c"));
}

TEST_F(LtsOutputTest, APathMayEndInAPrunedState) {
  mFiles.writeTable("t");
  mFiles.write("t.deadlock", "");
  mFiles.write("t.pruned", "4 || a/b/c\n");
  EXPECT_TRUE(has(outputOf("path t --to 4"), "2 steps to state 4, which was pruned\n"));
  EXPECT_TRUE(has(outputOf("convert t --to dot"), "4 [label="));
}

TEST_F(LtsOutputTest, ManyDeadlocksAreCountedAndThoseOffTheWayHaveNoLevel) {
  std::string lines;
  std::string deadlocks;
  for (int i = 1; i <= 40; ++i) {
    lines += "(0, a/b/c, " + std::to_string(i) + ")\n";
    deadlocks += std::to_string(i) + "\n";
  }
  mFiles.writeOwn("x.aut", 41, 42, lines + "(42, a/b/c, 41)\n");
  mFiles.write("x.deadlock", deadlocks + "41\n");
  const std::string text = outputOf("info x");
  EXPECT_TRUE(has(text, "       1           1      1\n")) << text;
  EXPECT_TRUE(has(text, " more\n")) << text;
  mFiles.writeOwn("y.aut", 2, 4, "(0, a/b/c, 1)\n(3, a/b/c, 2)\n");
  mFiles.write("y.deadlock", "1\n2\n");
  EXPECT_TRUE(has(outputOf("info y"), "       2           2      -\n")) << output();
}

TEST_F(LtsOutputTest, OnlyTheOtherOneMayHaveMore) {
  mFiles.writeOwn("less.aut", 1, 2, "(0, k, 1)\n");
  mFiles.writeOwn("more.aut", 2, 2, "(0, k, 1)\n(1, m, 0)\n");
  for (const char* order : {"less more", "more less"}) {
    EXPECT_EQ(1, run("vesk-lts compare " + std::string(order))) << output();
    EXPECT_TRUE(has(output(), "m")) << output();
    EXPECT_EQ(1, run("vesk-lts compare --json " + std::string(order))) << output();
  }
}

TEST_F(LtsOutputTest, ADrawingShowsTextsErrorsAndLongTexts) {
  mFiles.writeOwn("e.aut", 1, 2, "(0, a/b/c, 1)\n");
  mFiles.write("e.state", "0 : " + std::string(200, 'x') + "\n1 : ERROR\n");
  const std::string dot = outputOf("convert e --to dot");
  EXPECT_TRUE(has(dot, "0 [label=\"0\"")) << dot;
  EXPECT_TRUE(has(dot,
                  "1 [label=\"1\\nERROR\", style=filled, fillcolor=\"#f4a582\", "
                  "shape=octagon"))
      << dot;
  mFiles.write("e.state", "0 : \n1 : y\n");
  EXPECT_TRUE(has(outputOf("convert e --to dot"), "0 [label=\"0\"")) << output();
}

TEST_F(LtsOutputTest, WhatCannotBeShownIsEscaped) {
  mFiles.writeOwn("t.aut", 1, 2, "(0, k, 1)\n");
  mFiles.write("t.state", "0 : \xC2\x85\xC2\xA0\n1 : \xE0\xA0\x80\xE0\x9F\xBF\n");
  const std::string path = outputOf("path t --to 1");
  EXPECT_TRUE(has(path, "\\xc2\\x85\xC2\xA0")) << path;
  EXPECT_TRUE(has(path, "\xE0\xA0\x80\\xe0\\x9f\\xbf")) << path;
  mFiles.write("u.aut", "des(0,1,2)\n(0,\"\\x4B\\x4b\\x4g\\x\",1)\n");
  EXPECT_TRUE(has(outputOf("path u --to 1"), "KK\\x4g\\x")) << output();
}

TEST_F(LtsOutputTest, SideFilesThatCannotBeReadAreNamed) {
  mFiles.writeOwn("t.aut", 1, 2, "(0, k, 1)\n");
  mFiles.write("t.state", "no state\n");
  EXPECT_EQ(2, run("vesk-lts info t"));
  EXPECT_TRUE(has(output(), "t.state:1: \"no state\"")) << output();
  mFiles.write("t.state", "0 : a\n0 : is no new one\n1 : b\n");
  EXPECT_TRUE(has(outputOf("path t --to 1"), "1: b\n"));
  mFiles.write("t.deadlock", "1 and more\n");
  EXPECT_EQ(2, run("vesk-lts info t"));
  EXPECT_TRUE(has(output(), "t.deadlock:1: \"1 and more\"")) << output();
}

TEST_F(LtsOutputTest, AWayRoundAStateChangesNothing) {
  mFiles.writeOwn("t.aut", 1, 1, "(0, a/b/c, 0)\n");
  mFiles.write("t.state", "0 : same\n");
  EXPECT_TRUE(has(outputOf("path t --label c"), "0: same\n")) << output();
}

TEST_F(LtsOutputTest, AStateWithoutATextOnTheWayHasNoChanges) {
  mFiles.writeOwn("t.aut", 2, 3, "(0, a/b/c, 1)\n(1, a/b/d, 2)\n");
  mFiles.write("t.state", "0 : x\n2 : y\n");
  ASSERT_EQ(0, run("vesk-lts path t --to 2 --json")) << output();
  const Json steps = Json::parse(output())["steps"];
  EXPECT_TRUE(steps[0]["text"].is_null());
  EXPECT_TRUE(steps[0]["changed"].empty());
  EXPECT_TRUE(steps[1]["changed"].empty());
  EXPECT_TRUE(has(outputOf("path t --to 2"), "1: (no text)\n")) << output();
}

TEST_F(LtsOutputTest, ErrorsStandInJson) {
  const auto info = [&](const char* name) {
    return Json::parse(outputOf("info " + std::string(name) + " --json 2>/dev/null"));
  };
  mFiles.writeOwn("e.aut", 1, 2, "(0, a/b/c, 1)\n");
  mFiles.write("e.state", "0 : x\n1 : ERROR\n");
  EXPECT_EQ(1, info("e")["errorState"]);
  mFiles.writeOwn("f.aut", 2, 2, "(0, a/b/c, 1)\n");
  mFiles.write("f.state", "0 : x\n1 : y\n");
  EXPECT_EQ(1, info("f")["unwrittenErrorFrom"]);
  // The count does not fit because the file was cut.
  mFiles.writeOwn("g.aut", 2, 2, "(0, a/b/c, 1)\n(1, a/");
  mFiles.write("g.state", "0 : x\n1 : y\n");
  EXPECT_TRUE(info("g")["unwrittenErrorFrom"].is_null());
  // A state that has such a text and is not the last one.
  mFiles.writeOwn("h.aut", 1, 3, "(0, a/b/c, 1)\n(0, a/b/d, 2)\n");
  mFiles.write("h.state", "0 : x\n1 : ERROR\n");
  EXPECT_TRUE(info("h")["errorState"].is_null());
}

TEST_F(LtsOutputTest, PrunedPathsWithoutTextsMarkNoState) {
  mFiles.writeOwn("t.aut", 1, 2, "(0, a/b/c, 1)\n");
  mFiles.write("t.pruned", " :: a/b/c[[x]]\n");
  EXPECT_EQ(1, Json::parse(outputOf("info t --json"))["pruned"]);
}

TEST_F(LtsOutputTest, WithoutDeadlocksThereIsNoneToGoTo) {
  mFiles.writeOwn("t.aut", 2, 2, "(0, a/b/c, 1)\n(1, a/b/c, 0)\n");
  EXPECT_EQ(1, run("vesk-lts path t --deadlock")) << output();
  EXPECT_TRUE(has(output(), "a deadlock")) << output();
  EXPECT_EQ(2, run("vesk-lts path --deadlock 1x")) << output();
}

TEST_F(LtsOutputTest, ALargePageHasNoDrawing) {
  std::string lines;
  for (int i = 0; i < 20000; ++i) {
    lines += "(" + std::to_string(i) + ", a/b/c, " + std::to_string(i + 1) + ")\n";
  }
  mFiles.writeOwn("x.aut", 20000, 20001, lines);
  EXPECT_EQ(0, run("vesk-lts page x -o x.html")) << output();
  EXPECT_FALSE(has(mFiles.read("x.html"), "<svg"));
}

TEST_F(LtsOutputTest, LongLinesAreCutBetweenCharacters) {
  for (const char* start : {"", "x"}) {
    std::string line = start;
    for (int i = 0; i < 500; ++i) line += "\xC3\xA4";
    mFiles.write("t.aut", "des(0,1,2)\n" + line + "\n");
    EXPECT_EQ(2, run("vesk-lts info t"));
    EXPECT_TRUE(has(output(), "\xC3\xA4...\"")) << output();
  }
}

TEST_F(LtsOutputTest, AnEmptyFirstLineIsNoHeader) {
  mFiles.write("t.aut", "\n(0,a,1)\n");
  EXPECT_EQ(2, run("vesk-lts info t"));
  EXPECT_TRUE(has(output(), "t.aut:1: \"\", expected")) << output();
}

TEST_F(LtsOutputTest, AFolderThatIsCalledLikeAFileIsNone) {
  mFiles.writeTable("t");
  std::filesystem::remove(mFiles.path("t.deadlock"));
  std::filesystem::create_directory(mFiles.path("t.deadlock"));
  EXPECT_TRUE(has(outputOf("info t"), "deadlock")) << output();
}

// ---- On a terminal ---------------------------------------------------------------------------

class TerminalTest : public LtsRunTest {
 protected:
  // What the command writes to a terminal.
  std::string shownBy(const std::string& command) {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
      const std::string all =
          "cd '" + mFiles.path("") + "' && PATH='" PROGRAMS ":'$PATH; " + command;
      execl("/bin/sh", "sh", "-c", all.c_str(), nullptr);
      _exit(127);
    }
    std::string text;
    char part[4096];
    for (ssize_t count; (count = read(terminal, part, sizeof part)) > 0;) {
      text.append(part, static_cast<std::size_t>(count));
    }
    close(terminal);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status) << text;
    return text;
  }
  bool hasColour(const std::string& environment, const std::string& options = "") {
    mFiles.write("run", RECORDING);
    const std::string text = shownBy(environment + " vesk-trace table run " + options);
    return text.find("\x1b[") != std::string::npos;
  }
  static constexpr char RECORDING[] =
      R"({"vesk-recording":1,"atoms":["S/a"],"ports":[],"connectors":[],"states":["0"]})"
      "\n"
      R"({"step":1,"before":0,"time":0,"fired":[],"changed":{"0":"1"}})"
      "\n";
};

TEST_F(TerminalTest, ColoursAreForTerminalsThatMayHaveThem) {
  EXPECT_TRUE(hasColour("env -u NO_COLOR TERM=xterm"));
  EXPECT_TRUE(hasColour("env NO_COLOR= TERM=xterm"));
  EXPECT_FALSE(hasColour("env NO_COLOR=1 TERM=xterm"));
  EXPECT_FALSE(hasColour("env -u NO_COLOR TERM=dumb"));
  EXPECT_FALSE(hasColour("env -u NO_COLOR -u TERM"));
  EXPECT_TRUE(hasColour("env NO_COLOR=1 TERM=dumb", "--color always"));
  EXPECT_FALSE(hasColour("env -u NO_COLOR TERM=xterm", "--color never"));
  EXPECT_TRUE(hasColour("env -u NO_COLOR TERM=xterm", "-o -"));
  EXPECT_FALSE(hasColour("env -u NO_COLOR TERM=xterm", "-o file"));
}

// ---- What vesk-trace is asked for --------------------------------------------------------------

TEST_F(LtsRunTest, SummariesOfSeveralRunsFollowEachOther) {
  mFiles.write("a", "scheduler : s/k/a:p\n");
  mFiles.write("b", "scheduler : s/k/a:p\nscheduler : deadlock\n");
  ASSERT_EQ(0, run("vesk-trace summary a b")) << output();
  EXPECT_NE(std::string::npos, output().find("\n\nfile        : b, a trace\n")) << output();
  ASSERT_EQ(0, run("vesk-trace summary --json a b")) << output();
  std::istringstream lines(output());
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    EXPECT_TRUE(Json::accept(line)) << line;
  EXPECT_EQ(2, count);
}

TEST_F(LtsRunTest, ASequenceHasThreeFormats) {
  mFiles.write("a", "scheduler : s/k/a:p\nscheduler : s/k/a:p\n");
  ASSERT_EQ(0, run("vesk-trace sequence a")) << output();
  EXPECT_EQ("@startuml", output().substr(0, 9));
  ASSERT_EQ(0, run("vesk-trace sequence a --to mermaid")) << output();
  EXPECT_NE(std::string::npos, output().find("sequenceDiagram"));
  ASSERT_EQ(0, run("vesk-trace sequence a --to svg --most 1")) << output();
  EXPECT_NE(std::string::npos, output().find("<svg"));
  EXPECT_NE(std::string::npos,
            output().find("vesk-trace: warning: 1 step left out, --most draws more\n"));
}

TEST_F(LtsRunTest, TimesOfARecordingAreCutOnRequest) {
  const std::string names =
      R"({"vesk-recording":1,"atoms":["S/a"],"ports":["S/a.p"],"connectors":["S/k"],)"
      R"("states":["0"]})";
  const std::string step = R"({"step":1,"before":0,"time":1500,)"
                           R"("fired":[{"label":"S/k/a:p","connector":0,"ports":[0]}]})";
  mFiles.write("a", names + "\n" + step + "\n");
  ASSERT_EQ(0, run("vesk-trace csv a")) << output();
  EXPECT_NE(std::string::npos, output().find(",1.500,")) << output();
  ASSERT_EQ(0, run("vesk-trace csv --milliseconds a")) << output();
  EXPECT_NE(std::string::npos, output().find(",1,")) << output();
}

TEST_F(LtsRunTest, OnlyOneOfTwoRunsIsStandardInput) {
  mFiles.write("a", "scheduler : s/k/a:p\n");
  EXPECT_EQ(0, run("vesk-trace compare a - <a")) << output();
  EXPECT_EQ(0, run("vesk-trace compare - a <a")) << output();
  EXPECT_EQ(2, run("vesk-trace compare - - <a")) << output();
}

}  // namespace
