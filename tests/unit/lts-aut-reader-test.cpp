// Reading .aut files, whole, cut, and of other tools.
#include "aut-reader.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "lts-files.hpp"

namespace {

using namespace Vesk::Lts;

class AutReaderTest : public testing::Test {
 protected:
  AutFile read(const std::string& content) {
    return readAut(mFiles.write("x.aut", content), mFiles.progress());
  }
  AutFile readOwn(int transitions, int states, const std::string& lines) {
    return readAut(mFiles.writeOwn("x.aut", transitions, states, lines), mFiles.progress());
  }
  std::string faultIn(const std::string& content) {
    return faultOf(mFiles, [&] { read(content); });
  }
  // "source label target" of all transitions in the order of the graph.
  static std::vector<std::string> transitionsOf(const AutFile& file) {
    std::vector<std::string> result;
    const Graph& graph = file.graph;
    for (State state = 0; state < graph.states(); ++state) {
      for (const Edge& edge : graph.out(state)) {
        result.push_back(std::to_string(state) + " " +
                         std::string(graph.labels().text(edge.label)) + " " +
                         std::to_string(edge.target));
      }
    }
    return result;
  }
  using Texts = std::vector<std::string>;

  LtsFiles mFiles;
};

// ---- The engine's own files --------------------------------------------------------------------

TEST_F(AutReaderTest, TheEnginesFileHasHeaderAndTransitions) {
  const AutFile file = readOwn(2, 2, "(0, c/k/p, 1)\n(1, c/k/q, 0)\n");
  EXPECT_TRUE(file.isOwn);
  ASSERT_TRUE(file.header);
  EXPECT_EQ(2u, file.header->transitions);
  EXPECT_EQ(2u, file.header->states);
  EXPECT_EQ((Texts{"0 c/k/p 1", "1 c/k/q 0"}), transitionsOf(file));
  EXPECT_FALSE(file.lastLineIsCut);
}

TEST_F(AutReaderTest, AFileWithoutTransitionsHasTheInitialState) {
  const AutFile file = readOwn(0, 1, "");
  EXPECT_EQ(1u, file.graph.states());
  EXPECT_EQ(0u, file.graph.transitions());
}

TEST_F(AutReaderTest, ALabelGoesFromTheFirstToTheLastSeparator) {
  const AutFile file = readOwn(1, 2, "(0, a, 7), (b, \"c\", 1)\n");
  EXPECT_EQ((Texts{"0 a, 7), (b, \"c\" 1"}), transitionsOf(file));
}

TEST_F(AutReaderTest, QuotesInTheEnginesLabelsAreTheirOwn) {
  const AutFile file = readOwn(1, 2, "(0, \"a\\x41\", 1)\n");
  EXPECT_EQ((Texts{"0 \"a\\x41\" 1"}), transitionsOf(file));
}

TEST_F(AutReaderTest, ALabelMayHaveLineBreaks) {
  const AutFile file = readOwn(2, 2, "(0, a\nb\n\nc, 1)\n(1, d, 0)\n");
  EXPECT_EQ((Texts{"0 a\nb\n\nc 1", "1 d 0"}), transitionsOf(file));
}

TEST_F(AutReaderTest, AnEmptyLabelIsALabel) {
  EXPECT_EQ((Texts{"0  1"}), transitionsOf(readOwn(1, 2, "(0, , 1)\n")));
}

TEST_F(AutReaderTest, APipesFileHasNoHeader) {
  const AutFile file = read(std::string(37, ' ') + "\n(0, a, 1)\n");
  EXPECT_FALSE(file.header);
  EXPECT_TRUE(file.isOwn);
  EXPECT_EQ((Texts{"0 a 1"}), transitionsOf(file));
}

// Its size is not known, so nothing can be said about states that are too large.
TEST_F(AutReaderTest, APipeCanBeRead) {
  const std::string path = mFiles.path("pipe");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  const pid_t writer = fork();
  if (writer == 0) {
    std::ofstream(path) << std::string(37, ' ') << "\n(0, a, 1)\n(1, b, 70000)\n";
    _exit(0);
  }
  EXPECT_EQ((Texts{"0 a 1", "1 b 70000"}), transitionsOf(readAut(path, mFiles.progress())));
  waitpid(writer, nullptr, 0);
}

TEST_F(AutReaderTest, WithoutAHeaderASearchBeginsInTheFirstState) {
  EXPECT_EQ(0u, read(std::string(37, ' ') + "\n(0, a, 1)\n").graph.initial());
}

TEST_F(AutReaderTest, TheHeaderMayCountLessThanThereIs) {
  const AutFile file = readOwn(1, 2, "(0, a, 1)\n(1, b, 2)\n");
  EXPECT_EQ(3u, file.graph.states());
  EXPECT_EQ(2u, file.graph.transitions());
}

TEST_F(AutReaderTest, ALastLineThatIsCutIsLeftOutWhereverItIsCut) {
  const std::string last = "(1, c/k/q, 10)";
  for (std::size_t length = 1; length < last.size(); ++length) {
    const AutFile file = readOwn(2, 2, "(0, a, 1)\n" + last.substr(0, length));
    EXPECT_TRUE(file.lastLineIsCut) << length;
    EXPECT_EQ((Texts{"0 a 1"}), transitionsOf(file)) << length;
  }
  EXPECT_FALSE(readOwn(2, 2, "(0, a, 1)\n" + last).lastLineIsCut);
}

TEST_F(AutReaderTest, AFileThatIsCutInALabelWithLineBreaksIsRead) {
  const AutFile file = readOwn(2, 2, "(0, a, 1)\n(1, b\nc");
  EXPECT_TRUE(file.lastLineIsCut);
  EXPECT_EQ((Texts{"0 a 1"}), transitionsOf(file));
}

TEST_F(AutReaderTest, AFileThatIsCutBehindTheFirstLineOfALabelIsRead) {
  const AutFile file = readOwn(2, 2, "(0, a, 1)\n(1, b\n");
  EXPECT_TRUE(file.lastLineIsCut);
  EXPECT_EQ((Texts{"0 a 1"}), transitionsOf(file));
}

TEST_F(AutReaderTest, TransitionsThatDoNotStandTogetherAreSortedByTargetInEachState) {
  const AutFile file = readOwn(4, 4, "(0, a, 3)\n(1, b, 3)\n(0, c, 1)\n(1, d, 2)\n");
  EXPECT_EQ((Texts{"0 c 1", "0 a 3", "1 d 2", "1 b 3"}), transitionsOf(file));
}

TEST_F(AutReaderTest, TransitionsOutOfOrderAreSortedBySource) {
  const AutFile file = readOwn(5, 4, "(0, a, 1)\n(1, b, 2)\n(0, c, 3)\n(3, d, 3)\n(1, a, 0)\n");
  EXPECT_EQ((Texts{"0 a 1", "0 c 3", "1 a 0", "1 b 2", "3 d 3"}), transitionsOf(file));
}

// ---- Files of other tools ----------------------------------------------------------------------

TEST_F(AutReaderTest, LabelsInQuotesLoseThem) {
  const AutFile file = read("des (0,2,2)\n(0,\"a b\",1)\n(1,\"\",0)\n");
  EXPECT_FALSE(file.isOwn);
  EXPECT_EQ((Texts{"0 a b 1", "1  0"}), transitionsOf(file));
}

TEST_F(AutReaderTest, LabelsWithoutQuotesAreTaken) {
  EXPECT_EQ((Texts{"0 PUSH !1, 2 1"}), transitionsOf(read("des (0,1,2)\n(0,PUSH !1, 2,1)\n")));
}

TEST_F(AutReaderTest, BlanksMayStandBetweenAllParts) {
  const AutFile file = read(" des  ( 1 , 1 , 2 ) \r\n\r\n ( 0 ,\t\"a\" , 1 ) \r\n");
  EXPECT_EQ((Texts{"0 a 1"}), transitionsOf(file));
  EXPECT_EQ(1u, file.graph.initial());
}

TEST_F(AutReaderTest, EscapedQuotesAndBytesInQuotesAreTakenBack) {
  EXPECT_EQ((Texts{"0 say \"hi\"\n\\ \\y 1"}),
            transitionsOf(read("des (0,1,2)\n(0,\"say \\\"hi\\x22\\x0a\\x5c \\y\",1)\n")));
}

TEST_F(AutReaderTest, ALastLineNeedsNoLineBreak) {
  EXPECT_EQ((Texts{"0 a 1"}), transitionsOf(read("des (0,1,2)\n(0,\"a\",1)")));
}

TEST_F(AutReaderTest, TheInitialStateMayBeAnother) {
  const AutFile file = read("des (5,0,6)\n");
  EXPECT_EQ(5u, file.graph.initial());
  EXPECT_EQ(6u, file.graph.states());
}

// ---- Faults -------------------------------------------------------------------------------------

TEST_F(AutReaderTest, FaultsNameFileAndLine) {
  EXPECT_EQ("x.aut:1: the file is empty, expected \"des (INITIAL, TRANSITIONS, STATES)\"",
            faultIn(""));
  EXPECT_EQ("x.aut:1: \"digraph {\", expected \"des (INITIAL, TRANSITIONS, STATES)\"",
            faultIn("digraph {\n"));
  EXPECT_EQ("x.aut:3: \"(1,a)\", expected \"(FROM, LABEL, TO)\"",
            faultIn("des (0,2,2)\n(0,a,1)\n(1,a)\n"));
}

TEST_F(AutReaderTest, ALineThatIsNoTransitionIsNamedInTheEnginesFilesToo) {
  EXPECT_EQ("x.aut:4: \"(1, b\", expected \"(FROM, LABEL, TO)\"",
            faultIn("des(0, 3, 2)\n   \n(0, a, 1)\n(1, b\n(1, c, 0)\n"));
  EXPECT_EQ("x.aut:3: \"x\", expected \"(FROM, LABEL, TO)\"",
            faultIn("des(0, 3, 2)\n   \nx\n(1, c, 0)\n"));
}

TEST_F(AutReaderTest, NumbersThatDoNotFitAreNamed) {
  EXPECT_NE(std::string::npos,
            faultIn("des (0,1,2)\n(0,a,4000000000)\n").find("x.aut:2: state 4000000000 in "));
  EXPECT_EQ("x.aut:2: \"(0,a,99999999999999999999)\", expected \"(FROM, LABEL, TO)\"",
            faultIn("des (0,1,2)\n(0,a,99999999999999999999)\n"));
  EXPECT_NE("", faultIn("des (4294967295,0,1)\n"));
  EXPECT_NE("", faultIn("des (1000000,0,1)\n"));
}

TEST_F(AutReaderTest, AMissingFileIsNamed) {
  EXPECT_EQ(
      "y.aut:1: the file cannot be opened (No such file or directory), expected a transition "
      "system (.aut)",
      faultOf(mFiles, [&] { readAut(mFiles.path("y.aut"), mFiles.progress()); }));
}

TEST_F(AutReaderTest, MessagesAreOneLineOfPrintableText) {
  EXPECT_EQ("x.aut:1: \"\\x1b[31m\\x00\\xff\", expected \"des (INITIAL, TRANSITIONS, STATES)\"",
            faultIn(std::string("\x1b[31m\0\xff\n", 8)));
}

// ---- Blocks ------------------------------------------------------------------------------------

TEST_F(AutReaderTest, LinesMayCrossTheBlocksInWhichTheFileIsRead) {
  std::string lines;
  const std::string name(997, 'x');
  const int count = 2000;  // two megabytes
  for (int i = 0; i < count; ++i) {
    lines += "(" + std::to_string(i) + ", " + name + std::to_string(i % 10) + ", " +
             std::to_string(i + 1) + ")\n";
  }
  const AutFile file = readOwn(count, count + 1, lines);
  ASSERT_EQ(2000u, file.graph.transitions());
  EXPECT_EQ(10u, file.graph.labels().size());
  EXPECT_EQ(name + "7", file.graph.labels().text(file.graph.edge(1237).label));
}

TEST_F(AutReaderTest, ALineMayBeLongerThanABlock) {
  const std::string name(3 * 1000 * 1000, 'y');
  const AutFile file = readOwn(2, 2, "(0, " + name + ", 1)\n(1, a, 0)\n");
  EXPECT_EQ(name, file.graph.labels().text(0));
  EXPECT_EQ(2u, file.graph.transitions());
}

// ---- Lines that are no transitions -----------------------------------------------------------

TEST_F(AutReaderTest, EachPartOfAHeaderIsNeeded) {
  for (const std::string header : {"des", "des 0, 1, 2)", "des(0, 1, 2", "des(0 1, 2)", "des(0, 1)",
                                   "des(x, 1, 2)", "des(0, 1, 2, 3)", "dex(0, 1, 2)"}) {
    EXPECT_EQ("x.aut:1: \"" + header + "\", expected \"des (INITIAL, TRANSITIONS, STATES)\"",
              faultIn(header + "\n"));
  }
}

TEST_F(AutReaderTest, EachPartOfATransitionIsNeeded) {
  for (const std::string line :
       {"0, a, 1)", "(0, a, 1", "(, a, 1)", "(0, a, )", "(0 a, 1)", "(0, a 1)", "(0)", "()"}) {
    EXPECT_EQ("x.aut:2: \"" + line + "\", expected \"(FROM, LABEL, TO)\"",
              faultIn("des(0, 1, 2)\n" + line + "\n"));
  }
}

TEST_F(AutReaderTest, OneQuoteMakesNoLabelInQuotes) {
  EXPECT_EQ((Texts{"0 \" 1"}), transitionsOf(read("des(0,1,2)\n(0,\",1)\n")));
  EXPECT_EQ((Texts{"0 \"a 1"}), transitionsOf(read("des(0,1,2)\n(0,\"a,1)\n")));
  EXPECT_EQ((Texts{"0 a\" 1"}), transitionsOf(read("des(0,1,2)\n(0,a\",1)\n")));
}

TEST_F(AutReaderTest, BlankLinesMayStandAnywhereInFilesOfOtherTools) {
  EXPECT_EQ((Texts{"0 a 1"}), transitionsOf(read("des(0,1,2)\n\n \t\n(0,a,1)\n\n")));
}

TEST_F(AutReaderTest, ALastLineOfAnotherToolThatIsCutIsLeftOut) {
  const AutFile file = read("des(0,2,2)\n(0,a,1)\n(1,a,");
  EXPECT_TRUE(file.lastLineIsCut);
  EXPECT_EQ((Texts{"0 a 1"}), transitionsOf(file));
}

// The parentheses and separators of the engine are exactly as it writes them.
TEST_F(AutReaderTest, TheEnginesTransitionsHaveNoOtherBlanks) {
  for (const std::string line : {"0, a, 1)", "(x, a, 1)", "(0,a, 1)"}) {
    EXPECT_NE("", faultOf(mFiles, [&] { readOwn(1, 2, line + "\n"); })) << line;
  }
  for (const std::string line : {"(0, a, 1", "(0, a, x)", "(0, a 1)"}) {
    EXPECT_TRUE(readOwn(1, 2, line + "\n").lastLineIsCut) << line;
  }
}

}  // namespace
