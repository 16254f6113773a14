// The formats of other programs.
#include "writer.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "limits.hpp"
#include "lts-files.hpp"
#include "output-file.hpp"
#include "page.hpp"
#include "state-texts.hpp"

namespace {

using namespace Vesk::Lts;

// ---- A parser from the grammar of the format ----------------------------------------------------
//
//   aut_header : 'des (' number ',' number ',' number ')'
//   aut_edge   : '(' number ',' '"' string '"' ',' number ')'
//
// A string has printable ASCII and no quote, which all readers of the format take.

struct ParsedAut {
  long long initial = -1;
  long long transitions = -1;
  long long states = -1;
  std::vector<std::string> edges;  // "from label to"
};

class AutParser {
 public:
  explicit AutParser(const std::string& text) : mText(text) {}

  ParsedAut parse() {
    ParsedAut result;
    expect("des (");
    result.initial = number();
    expect(",");
    result.transitions = number();
    expect(",");
    result.states = number();
    expect(")\n");
    while (mAt < mText.size()) result.edges.push_back(edge(result.states));
    EXPECT_EQ(result.transitions, static_cast<long long>(result.edges.size()));
    EXPECT_LT(result.initial, result.states);
    return result;
  }

 private:
  std::string edge(long long states) {
    expect("(");
    const long long from = number();
    expect(",\"");
    const std::string label = string();
    expect("\",");
    const long long to = number();
    expect(")\n");
    EXPECT_TRUE(from < states && to < states);
    return std::to_string(from) + " " + label + " " + std::to_string(to);
  }
  void expect(const std::string& token) {
    if (mText.compare(mAt, token.size(), token) != 0) {
      throw std::runtime_error("expected " + token + " at " + mText.substr(mAt, 20));
    }
    mAt += token.size();
  }
  long long number() {
    std::size_t length = 0;
    const long long value = std::stoll(mText.substr(mAt, 20), &length);
    mAt += length;
    return value;
  }
  std::string string() {
    const std::size_t start = mAt;
    while (mText[mAt] != '"') {
      EXPECT_TRUE(mText[mAt] >= ' ' && mText[mAt] <= '~');
      ++mAt;
    }
    return mText.substr(start, mAt - start);
  }

  const std::string& mText;
  std::size_t mAt = 0;
};

class LtsWriterTest : public testing::Test {
 protected:
  LtsWriterTest() { mFiles.writeTable("t"); }

  template <class Write>
  std::string written(Write write) {
    OutputFile file(mFiles.path("out"));
    write(file);
    file.commit();
    return mFiles.read("out");
  }
  std::string autOf(const Exploration& exploration, const std::string& loop = "") {
    return written(
        [&](OutputFile& file) { writeAut(exploration, Part(exploration.graph()), loop, file); });
  }

  LtsFiles mFiles;
};

// ---- aut ----------------------------------------------------------------------------------------

TEST_F(LtsWriterTest, AutHasQuotesAndNoBlankLine) {
  EXPECT_EQ(
      "des (0,8,6)\n"
      "(0,\"table/left1/P1:left|F1:take\",1)\n"
      "(0,\"table/left0/P0:left|F0:take\",2)\n"
      "(1,\"table/right1/P1:right|F0:take\",3)\n"
      "(1,\"table/left0/P0:left|F0:take\",4)\n"
      "(2,\"table/left1/P1:left|F1:take\",4)\n"
      "(2,\"table/right0/P0:right|F1:take\",5)\n"
      "(3,\"table/release1/P1:release|F1:drop|F0:drop\",0)\n"
      "(5,\"table/release0/P0:release|F0:drop|F1:drop\",0)\n",
      autOf(mFiles.explore("t")));
}

TEST_F(LtsWriterTest, AutFollowsTheGrammarWhateverTheLabels) {
  mFiles.writeOwn("x.aut", 4, 3,
                  "(0, a \"quoted\", \\label, 1)\n(1, with\nline break, 2)\n"
                  "(2, \xC3\xA4\xff\x01, 0)\n(2, , 2)\n");
  const std::string text = autOf(mFiles.explore("x"));
  const ParsedAut parsed = AutParser(text).parse();
  EXPECT_EQ(3, parsed.states);
  EXPECT_EQ(
      (std::vector<std::string>{"0 a \\x22quoted\\x22, \\x5clabel 1", "1 with\\x0aline break 2",
                                "2 \\xc3\\xa4\\xff\\x01 0", "2  2"}),
      parsed.edges);
}

TEST_F(LtsWriterTest, WhatIsWrittenAsAutIsReadAsTheSame) {
  mFiles.writeOwn("x.aut", 4, 3,
                  "(0, a \"quoted\", \\label, 1)\n(1, with\nline break, 2)\n"
                  "(2, \xC3\xA4\xff\x01, 0)\n(2, , 2)\n");
  const Exploration before = mFiles.explore("x");
  mFiles.write("y.aut", autOf(before));
  const Exploration after = mFiles.explore("y");
  ASSERT_EQ(before.graph().transitions(), after.graph().transitions());
  for (EdgeIndex i = 0; i < 4; ++i) {
    EXPECT_EQ(before.graph().source(i), after.graph().source(i));
    EXPECT_EQ(before.graph().edge(i).target, after.graph().edge(i).target);
    EXPECT_EQ(before.graph().labels().text(before.graph().edge(i).label),
              after.graph().labels().text(after.graph().edge(i).label));
  }
}

TEST_F(LtsWriterTest, LoopsAtDeadlocksComeOnRequest) {
  const std::string text = autOf(mFiles.explore("t"), "stop \"here\"");
  const ParsedAut parsed = AutParser(text).parse();
  EXPECT_EQ(9, parsed.transitions);
  EXPECT_EQ("4 stop \\x22here\\x22 4", parsed.edges[7]);
}

TEST_F(LtsWriterTest, AutOfAPartNumbersItsStatesAnew) {
  const Exploration table = mFiles.explore("t");
  const std::string text = written([&](OutputFile& file) {
    writeAut(table, Part(table.graph(), 3, 1), "", file);  // 0, 1, 3
  });
  const ParsedAut parsed = AutParser(text).parse();
  EXPECT_EQ((std::vector<std::string>{"0 table/left1/P1:left|F1:take 1",
                                      "1 table/right1/P1:right|F0:take 2",
                                      "2 table/release1/P1:release|F1:drop|F0:drop 0"}),
            parsed.edges);
}

TEST_F(LtsWriterTest, APartWithoutTheInitialStateStartsAtItsCentre) {
  const Exploration table = mFiles.explore("t");
  const std::string text = written([&](OutputFile& file) {
    writeAut(table, Part(table.graph(), 4, 1), "", file);  // 1, 2, 4
  });
  EXPECT_EQ(2, AutParser(text).parse().initial);
}

// ---- dot ----------------------------------------------------------------------------------------

TEST_F(LtsWriterTest, DotMarksSpecialStates) {
  const Exploration table = mFiles.explore("t");
  const StateTexts texts(table, mFiles.progress());
  const std::string dot = dotText(table, Part(table.graph()), texts, "#");
  EXPECT_NE(std::string::npos, dot.find("start -> 0;"));
  EXPECT_NE(std::string::npos,
            dot.find("4 [label=\"4\\nl,u,l,u,\", style=filled, fillcolor=\"#f4a582\", "
                     "peripheries=2, URL=\"#4\", tooltip=\"l,u,l,u,\"];"));
  EXPECT_NE(std::string::npos, dot.find("2 -> 4 [label=\"table/left1/P1:left|F1:take\"];"));
  EXPECT_NE(std::string::npos, dot.find("layout=dot;"));
}

TEST_F(LtsWriterTest, DotShowsShortTextsOnly) {
  mFiles.writeOwn("x.aut", 1, 2, "(0, a, 1)\n");
  mFiles.write("x.state", "0 : " + std::string(24, 'x') + "\n1 : " + std::string(25, 'y') + "\n");
  const Exploration exploration = mFiles.explore("x");
  const StateTexts texts(exploration, mFiles.progress());
  const std::string dot = dotText(exploration, Part(exploration.graph()), texts, "");
  EXPECT_NE(std::string::npos, dot.find("0 [label=\"0\\n" + std::string(24, 'x') + "\""));
  EXPECT_NE(std::string::npos, dot.find("1 [label=\"1\""));
}

TEST_F(LtsWriterTest, DotTakesAnyLabel) {
  mFiles.writeOwn("x.aut", 1, 2, "(0, \"];\\N&lt;\n, 1)\n");
  const Exploration exploration = mFiles.explore("x");
  const StateTexts texts(exploration, mFiles.progress());
  const std::string dot = dotText(exploration, Part(exploration.graph()), texts, "");
  EXPECT_NE(std::string::npos, dot.find("0 -> 1 [label=\"\\\"];\\\\N&amp;lt;\\\\n\"];"));
}

TEST_F(LtsWriterTest, DotOfManyTransitionsIsLaidOutBySprings) {
  std::string lines;
  for (int i = 0; i < 151; ++i) lines += "(0, a, " + std::to_string(i) + ")\n";
  mFiles.writeOwn("x.aut", 151, 151, lines);
  const Exploration exploration = mFiles.explore("x");
  const StateTexts texts(exploration, mFiles.progress());
  const std::string dot = dotText(exploration, Part(exploration.graph()), texts, "");
  EXPECT_NE(std::string::npos, dot.find("layout=sfdp;"));
}

// ---- json and csv -------------------------------------------------------------------------------

TEST_F(LtsWriterTest, JsonHasStatesAndTransitions) {
  const Exploration table = mFiles.explore("t");
  const StateTexts texts(table, mFiles.progress());
  const Json json = Json::parse(
      written([&](OutputFile& file) { writeJson(table, Part(table.graph()), texts, file); }));
  EXPECT_EQ(0, json["initial"]);
  ASSERT_EQ(6u, json["states"].size());
  EXPECT_EQ((Json{{"state", 4}, {"text", "l,u,l,u,"}, {"kind", "deadlock"}}), json["states"][4]);
  ASSERT_EQ(8u, json["transitions"].size());
  EXPECT_EQ((Json{{"from", 5}, {"label", "table/release0/P0:release|F0:drop|F1:drop"}, {"to", 0}}),
            json["transitions"][7]);
}

TEST_F(LtsWriterTest, CsvQuotesWhatMustBeQuoted) {
  mFiles.writeOwn("x.aut", 2, 2, "(0, say \"a\",b, 1)\n(1, c, 0)\n");
  mFiles.write("x.state", "0 : s\n1 : t,\n");
  const Exploration exploration = mFiles.explore("x");
  const Part all(exploration.graph());
  const StateTexts texts(exploration, mFiles.progress());
  EXPECT_EQ("from,label,to\n0,\"say \"\"a\"\",b\",1\n1,c,0\n",
            written([&](OutputFile& file) { writeTransitionsCsv(exploration, all, file); }));
  EXPECT_EQ("state,kind,text\n0,initial,s\n1,,\"t,\"\n",
            written([&](OutputFile& file) { writeStatesCsv(exploration, all, texts, file); }));
}

// ---- Pages --------------------------------------------------------------------------------------

TEST_F(LtsWriterTest, APageHasItsDataAsJsonWithoutTags) {
  mFiles.writeOwn("x.aut", 1, 2, "(0, </script><b>&, 1)\n");
  const Exploration exploration = mFiles.explore("x");
  const StateTexts texts(exploration, mFiles.progress());
  const Json data = pageData(exploration, Part(exploration.graph()), texts);
  EXPECT_EQ((Json{0, 0, 1}), data["transitions"]);
  EXPECT_EQ("</script><b>&", data["labels"][0]);
  const std::string page = pageText(data, std::nullopt);
  EXPECT_EQ(std::string::npos, page.find("</script><b>"));
  EXPECT_NE(std::string::npos, page.find("\\u003c/script\\u003e\\u003cb\\u003e\\u0026"));
  EXPECT_EQ(std::string::npos, page.find("@DATA@"));
}

TEST_F(LtsWriterTest, APageKnowsTheNumbersTextsAndKindsOfItsStates) {
  mFiles.writeOwn("x.aut", 1, 2, "(0, a, 1)\n");
  mFiles.write("x.state", "0 : zero\n1 : one\n");
  const Exploration exploration = mFiles.explore("x");
  const StateTexts texts(exploration, mFiles.progress());
  const Json all = pageData(exploration, Part(exploration.graph()), texts);
  EXPECT_EQ((Json{0, 1}), all["numbers"]);
  EXPECT_EQ((Json{"zero", "one"}), all["texts"]);
  EXPECT_EQ((Json{{0, "initial"}, {1, "deadlock"}}), all["kinds"]);
  const Json last = pageData(exploration, Part(exploration.graph(), 1, 0), texts);
  EXPECT_EQ((Json{1}), last["numbers"]);
  EXPECT_EQ((Json{{0, "deadlock"}}), last["kinds"]) << "by its place";
}

TEST_F(LtsWriterTest, WhatIsPutIntoAPageIsNotLookedAtAgain) {
  mFiles.writeOwn("@DATA@.aut", 0, 1, "");
  const Exploration exploration = mFiles.explore("@DATA@");
  const StateTexts texts(exploration, mFiles.progress());
  const std::string page =
      pageText(pageData(exploration, Part(exploration.graph()), texts), std::nullopt);
  EXPECT_NE(std::string::npos, page.find("@DATA@.aut</title>"));
}

// ---- Files --------------------------------------------------------------------------------------

TEST_F(LtsWriterTest, AFileIsThereWholeOrNotAtAll) {
  mFiles.write("old", "before");
  const auto names = mFiles.names();
  {
    OutputFile file(mFiles.path("old"));
    file.write("half");
    EXPECT_EQ("before", mFiles.read("old"));
  }
  EXPECT_EQ("before", mFiles.read("old"));
  EXPECT_EQ(names, mFiles.names());
  OutputFile file(mFiles.path("old"));
  file.write("after");
  file.commit();
  EXPECT_EQ("after", mFiles.read("old"));
  EXPECT_EQ(names, mFiles.names());
}

TEST_F(LtsWriterTest, AFileKeepsItsModeAndANewOneHasTheUsual) {
  mFiles.write("old", "");
  chmod(mFiles.path("old").c_str(), 0604);
  OutputFile(mFiles.path("old")).commit();
  struct stat status {};
  stat(mFiles.path("old").c_str(), &status);
  EXPECT_EQ(0604u, status.st_mode & 0777u);
  const mode_t mask = umask(027);
  OutputFile(mFiles.path("new")).commit();
  umask(mask);
  stat(mFiles.path("new").c_str(), &status);
  EXPECT_EQ(0640u, status.st_mode & 0777u);
}

TEST_F(LtsWriterTest, ALinkStaysALink) {
  mFiles.write("file", "");
  ASSERT_EQ(0, symlink("file", mFiles.path("link").c_str()));
  OutputFile file(mFiles.path("link"));
  file.write("x");
  file.commit();
  EXPECT_EQ("x", mFiles.read("file"));
  EXPECT_TRUE(std::filesystem::is_symlink(mFiles.path("link")));
}

TEST_F(LtsWriterTest, AFolderThatIsNotThereIsNamed) {
  EXPECT_EQ("no/x: cannot be written (No such file or directory), expected a file that can",
            faultOf(mFiles, [&] { OutputFile file(mFiles.path("no/x")); }));
}

TEST_F(LtsWriterTest, AFileWhosePlaceIsTakenMeanwhileLeavesNothing) {
  const std::string message = "place: cannot be written (Is a directory)";
  {
    OutputFile file(mFiles.path("place"));
    file.write("x");
    std::filesystem::create_directory(mFiles.path("place"));
    EXPECT_EQ(message, faultOf(mFiles, [&] { file.commit(); }).substr(0, message.size()));
  }
  EXPECT_EQ((std::vector<std::string>{"place", "t.aut", "t.deadlock", "t.pruned", "t.state"}),
            mFiles.names());
}

TEST_F(LtsWriterTest, AFullDiskIsNoticedHoweverMuchIsWrittenAtOnce) {
  const FileSizes limited(1000);
  for (const std::size_t size : {1001u, 1u << 18, 1u << 20}) {
    {
      OutputFile file(mFiles.path("large"));
      file.write(std::string(size, 'x'));
      errno = 0;
      file.write(std::string(1u << 20, 'x'));
      errno = 0;
      EXPECT_EQ("large: cannot be written (File too large), expected a file that can",
                faultOf(mFiles, [&] { file.commit(); }))
          << size;
    }
    EXPECT_FALSE(std::filesystem::exists(mFiles.path("large")));
  }
}

TEST_F(LtsWriterTest, ManySmallPiecesMakeAFile) {
  for (const bool isShown : {false, true}) {
    OutputFile file(mFiles.path("small"));
    if (isShown) file.showOn(mFiles.progress());
    for (int i = 0; i < 10000; ++i) file.write(i % 2 == 0 ? "ab" : "");
    file.commit();
    EXPECT_EQ(10000u, mFiles.read("small").size());
  }
}

using LtsWriterDeathTest = LtsWriterTest;

TEST_F(LtsWriterDeathTest, ASignalBetweenTwoFilesEndsTheProgram) {
  const auto end = [&] {
    OutputFile(mFiles.path("one")).commit();
    raise(SIGTERM);
  };
  EXPECT_EXIT(end(), testing::KilledBySignal(SIGTERM), "");
  EXPECT_TRUE(std::filesystem::exists(mFiles.path("one")));
}

// The name of the file in between is forgotten with it.
TEST_F(LtsWriterDeathTest, ASignalAfterAFileTakesNoOtherFileAway) {
  const std::string other = mFiles.write("o", "x");
  const auto end = [&] {
    std::filesystem::current_path(mFiles.path(""));
    OutputFile("one").commit();
    raise(SIGTERM);
  };
  EXPECT_EXIT(end(), testing::KilledBySignal(SIGTERM), "");
  EXPECT_TRUE(std::filesystem::exists(other));
}

// It may have the name that a file had before, until it was finished or given up.
TEST_F(LtsWriterDeathTest, AFileThatSomebodyElseMakesIsNotTakenAway) {
  for (const bool isFinished : {true, false}) {
    const auto end = [&] {
      const auto before = mFiles.names();
      std::string temporary;
      {
        OutputFile file(mFiles.path("one"));
        for (const std::string& name : mFiles.names()) {
          if (std::find(before.begin(), before.end(), name) == before.end()) temporary = name;
        }
        if (isFinished) file.commit();
      }
      mFiles.write("found", temporary);
      mFiles.write(temporary, "x");
      raise(SIGTERM);
    };
    EXPECT_EXIT(end(), testing::KilledBySignal(SIGTERM), "");
    const std::string temporary = mFiles.read("found");
    ASSERT_EQ("one.", temporary.substr(0, 4));
    EXPECT_EQ("x", mFiles.read(temporary)) << isFinished;
  }
}

}  // namespace
