// The debug console and the reconstruction of a path from a file of transitions.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kit/output.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

constexpr char NO_SUPPORT[] = "at least a library is not generated with debug option\n";
constexpr char NO_PATH[] = "nothing to print\n";
constexpr char NO_ELEMENT[] = "vesk: the path names no element\n";

// Names as the interface hands them out.
class Names {
 public:
  Names() { finish(); }
  void add(const std::string& name) {
    mTexts.push_back(name);
    finish();
  }
  char** array() { return mPointers.data(); }

 private:
  void finish() {
    mPointers.clear();
    for (std::string& text : mTexts) mPointers.push_back(text.data());
    mPointers.push_back(nullptr);
  }
  std::vector<std::string> mTexts;
  std::vector<char*> mPointers;
};

class Element : public VeskDebugElmt {
 public:
  explicit Element(Element* parent = nullptr) : mParent(parent) {}
  Element& sub(const std::string& name) {
    mSubNames.add(name);
    return *(mSubs[name] = std::make_unique<Element>(this));
  }
  Element& value(const std::string& name, const std::string& text) {
    mValueNames.add(name);
    mValues[name] = text;
    return *this;
  }

  char* getValue(char* name) override {
    const auto found = mValues.find(name);
    return found == mValues.end() ? nullptr : found->second.data();
  }
  VeskDebugElmt* getSubElement(char* name) override {
    const auto found = mSubs.find(name);
    return found == mSubs.end() ? nullptr : found->second.get();
  }
  char** getValuedElementNames() override { return mValueNames.array(); }
  char** getSubElementsNames() override { return mSubNames.array(); }
  VeskDebugElmt* getParent() override { return mParent; }

 private:
  Element* mParent;
  std::map<std::string, std::unique_ptr<Element>> mSubs;
  std::map<std::string, std::string> mValues;
  Names mSubNames;
  Names mValueNames;
};

struct Debugged : System, Element {};

// Gives null wherever the interface allows it.
struct EmptyElement : VeskDebugElmt {
  char* getValue(char*) override { return nullptr; }
  VeskDebugElmt* getSubElement(char*) override { return nullptr; }
  char** getValuedElementNames() override { return nullptr; }
  char** getSubElementsNames() override { return nullptr; }
  VeskDebugElmt* getParent() override { return nullptr; }
};

// A file of transitions that is deleted when it is closed.
class Transitions {
 public:
  explicit Transitions(const std::string& text) : mFile(std::tmpfile()) {
    std::fwrite(text.data(), 1, text.size(), mFile);
  }
  Transitions(const Transitions&) = delete;
  Transitions& operator=(const Transitions&) = delete;
  ~Transitions() { std::fclose(mFile); }
  FILE* file() { return mFile; }

 private:
  FILE* mFile;
};

struct Texts {
  std::string out;
  std::string err;
  bool operator==(const Texts& other) const { return out == other.out && err == other.err; }
};

std::ostream& operator<<(std::ostream& stream, const Texts& texts) {
  return stream << "out: " << texts.out << "err: " << texts.err;
}

class ConsoleTest : public testing::Test {
 protected:
  ConsoleTest() : scheduler(nullptr) {
    top.value("time", "12").value("mode", "idle");
    Element& left = top.sub("left");
    left.value("count", "3");
    left.sub("inner").value("depth", "2");
    top.sub("right");
    veskCurrentDebug = &top;
  }

  template <class Operation>
  Texts textsOf(Operation operation) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    operation();
    std::fflush(stdout);
    Texts texts;
    texts.out = testing::internal::GetCapturedStdout();
    texts.err = testing::internal::GetCapturedStderr();
    return texts;
  }
  Texts list() {
    return textsOf([&] { scheduler.displayList(nullptr); });
  }
  Texts print(std::string path) {
    return textsOf([&] { scheduler.displayElement(path.data()); });
  }
  Texts move(std::string path) {
    return textsOf([&] { scheduler.setCurrent(path.data()); });
  }
  static char* name(std::string& text) { return text.data(); }

  Element top;
  OpenScheduler scheduler;
};

}  // namespace

// ---- The console -----------------------------------------------------------------------------

TEST_F(ConsoleTest, WithoutDebugSupportEveryOperationReportsThat) {
  veskCurrentDebug = nullptr;
  EXPECT_EQ(list(), (Texts{"", NO_SUPPORT}));
  EXPECT_EQ(print("time"), (Texts{"", NO_SUPPORT}));
  EXPECT_EQ(print(""), (Texts{"", NO_SUPPORT}));
  EXPECT_EQ(move("left"), (Texts{"", NO_SUPPORT}));
}

TEST_F(ConsoleTest, TheListShowsSubElementsThenValues) {
  EXPECT_EQ(list(), (Texts{"SUBELEMENTS:\nleft\nright\nVALUES:\ntime\nmode\n", ""}));
}

TEST_F(ConsoleTest, NullArraysListNothing) {
  EmptyElement empty;
  veskCurrentDebug = &empty;
  EXPECT_EQ(list(), (Texts{"SUBELEMENTS:\nVALUES:\n", ""}));
}

TEST_F(ConsoleTest, APathOfOneComponentIsAValueOfTheCurrentElement) {
  EXPECT_EQ(print("time"), (Texts{"time = 12\n", ""}));
}

TEST_F(ConsoleTest, ALongerPathWalksSubElements) {
  EXPECT_EQ(print("left.count"), (Texts{"left.count = 3\n", ""}));
  EXPECT_EQ(print("left.inner.depth"), (Texts{"left.inner.depth = 2\n", ""}));
}

TEST_F(ConsoleTest, AMissingComponentOrValueIsReportedByName) {
  EXPECT_EQ(print("none"), (Texts{"", "none does not exist\n"}));
  EXPECT_EQ(print("left.none"), (Texts{"", "none does not exist\n"}));
  EXPECT_EQ(print("none.count"), (Texts{"", "none does not exist\n"}));
  EXPECT_EQ(print("left.none.depth"), (Texts{"", "none does not exist\n"}));
  EXPECT_EQ(print("left"), (Texts{"", "left does not exist\n"}));
}

TEST_F(ConsoleTest, EmptyComponentsAreSkippedAndTheWholePathIsShown) {
  EXPECT_EQ(print("left..count."), (Texts{"left..count. = 3\n", ""}));
  EXPECT_EQ(print(".time"), (Texts{".time = 12\n", ""}));
}

TEST_F(ConsoleTest, APathWithoutComponentsCountsAsNone) {
  EXPECT_EQ(textsOf([&] { scheduler.displayElement(nullptr); }), (Texts{"", NO_PATH}));
  EXPECT_EQ(textsOf([&] { scheduler.setCurrent(nullptr); }), (Texts{"", NO_ELEMENT}));
  for (const char* path : {"", ".", ".."}) {
    EXPECT_EQ(print(path), (Texts{"", NO_PATH})) << path;
    EXPECT_EQ(move(path), (Texts{"", NO_ELEMENT})) << path;
    EXPECT_EQ(veskCurrentDebug, &top) << path;
  }
}

TEST_F(ConsoleTest, TheCurrentElementMovesDownAndUp) {
  std::string left = "left";
  EXPECT_EQ(move("left.inner"), (Texts{"", ""}));
  EXPECT_EQ(print("depth"), (Texts{"depth = 2\n", ""}));
  EXPECT_EQ(move("-"), (Texts{"", ""}));
  EXPECT_EQ(veskCurrentDebug, top.getSubElement(name(left)));
  EXPECT_EQ(move("-.right"), (Texts{"", ""}));
  EXPECT_EQ(list(), (Texts{"SUBELEMENTS:\nVALUES:\n", ""}));
  EXPECT_EQ(move("-.left.inner.-.-"), (Texts{"", ""}));
  EXPECT_EQ(veskCurrentDebug, &top);
}

TEST_F(ConsoleTest, AMissingSubElementIsReportedAndNothingMoves) {
  EXPECT_EQ(move("left.none.inner"), (Texts{"", "none does not exist\n"}));
  EXPECT_EQ(veskCurrentDebug, &top) << "after a missing name";
  EXPECT_EQ(move("time"), (Texts{"", "time does not exist\n"}));
  EXPECT_EQ(veskCurrentDebug, &top) << "after the name of a value";
}

TEST_F(ConsoleTest, AboveTheTopNothingMoves) {
  for (const char* path : {"-", "-.left", "-.-", "-.-.-", "left.-.-.left"}) {
    EXPECT_EQ(move(path), (Texts{"", ""})) << path;
    EXPECT_EQ(veskCurrentDebug, &top) << path;
  }
}

TEST_F(ConsoleTest, PathsOfNamesDotsAndDashesNeverBreakTheConsole) {
  const std::string letters = ".-a";
  for (int length = 0; length <= 7; ++length) {
    int count = 1;
    for (int i = 0; i < length; ++i) count *= 3;
    for (int code = 0; code < count; ++code) {
      std::string path;
      for (int i = 0, rest = code; i < length; ++i, rest /= 3) {
        path += letters[static_cast<std::size_t>(rest % 3)];
      }
      EXPECT_EQ(print(path).out, "") << path;
      EXPECT_EQ(move(path).out, "") << path;
      EXPECT_EQ(veskCurrentDebug, &top) << path;
    }
  }
}

TEST_F(ConsoleTest, TheSystemIsTheFirstElementWhenItHasDebugSupport) {
  Debugged with;
  OpenScheduler debugged(&with);
  debugged.initDebugFct();
  EXPECT_EQ(veskCurrentDebug, static_cast<VeskDebugElmt*>(&with));
  System without;
  OpenScheduler plain(&without);
  plain.initDebugFct();
  EXPECT_EQ(veskCurrentDebug, nullptr);
}

// ---- The end of a scheduler ------------------------------------------------------------------

TEST_F(ConsoleTest, AnElementThatASchedulerHasSetIsForgottenWhenItEnds) {
  Debugged system;
  { OpenScheduler(&system).initDebugFct(); }
  EXPECT_EQ(veskCurrentDebug, nullptr) << "after a scheduler alone";

  veskCurrentDebug = &top;
  {
    const OpenScheduler moving(&system);
    std::string left = "left";
    moving.setCurrent(left.data());
    EXPECT_NE(veskCurrentDebug, &top);
  }
  EXPECT_EQ(veskCurrentDebug, nullptr) << "after a scheduler that has run";
}

TEST_F(ConsoleTest, AnElementThatTheModelHasSetStaysWhenASchedulerEnds) {
  Debugged system;
  { const OpenScheduler idle(&system); }
  EXPECT_EQ(veskCurrentDebug, &top) << "an idle one";
  {
    const OpenScheduler used(&system);
    used.initDebugFct();
    veskCurrentDebug = &top;
  }
  EXPECT_EQ(veskCurrentDebug, &top) << "one whose element the model has replaced";
  {
    const OpenScheduler lost(&system);
    std::string nowhere = "none";
    textsOf([&] { lost.setCurrent(nowhere.data()); });
  }
  EXPECT_EQ(veskCurrentDebug, &top) << "one that has not found its element";
}

TEST_F(ConsoleTest, OfTwoSchedulersTheOneThatHasSetTheElementLastForgetsIt) {
  Debugged system;
  VeskDebugElmt* const root = &system;
  auto first = std::make_unique<OpenScheduler>(&system);
  auto second = std::make_unique<OpenScheduler>(&system);
  first->initDebugFct();
  second.reset();
  EXPECT_EQ(veskCurrentDebug, root) << "the second one ends";

  second = std::make_unique<OpenScheduler>(&system);
  second->initDebugFct();
  first.reset();
  EXPECT_EQ(veskCurrentDebug, root) << "the first one ends";
  second.reset();
  EXPECT_EQ(veskCurrentDebug, nullptr);
}

// ---- Tokens ----------------------------------------------------------------------------------

TEST_F(ConsoleTest, TheStatesOfALineAreItsFirstAndItsLastNumber) {
  std::string line = "(12, a, 7)\n";
  EXPECT_STREQ(scheduler.fromState(line.data()), "12");
  EXPECT_STREQ(scheduler.toState(line.data()), " 7");
  EXPECT_EQ(line, "(12, a, 7)\n");
}

TEST_F(ConsoleTest, TheFirstAndTheLastTokenAreFoundBetweenDelimiters) {
  std::string text = ",,a;b,c;;";
  EXPECT_STREQ(scheduler.getFirstChar(text.data(), ",;"), "a");
  EXPECT_STREQ(scheduler.getLastChar(text.data(), ",;"), "c");
  EXPECT_EQ(text, ",,a;b,c;;");
  std::string empty = ",;,";
  EXPECT_EQ(scheduler.getFirstChar(empty.data(), ",;"), nullptr);
  EXPECT_EQ(scheduler.getLastChar(empty.data(), ",;"), nullptr);
  EXPECT_EQ(scheduler.getFirstChar(nullptr, ","), nullptr);
  EXPECT_EQ(scheduler.getLastChar(nullptr, ","), nullptr);
}

TEST_F(ConsoleTest, EightResultsOfOneOperationStayValidSideBySide) {
  Transitions transitions("(0,a,1)\n(1,b,2)\n(2,c,3)\n(3,d,4)\n");
  std::vector<char*> first, last, from, to;
  for (int i = 0; i < 8; ++i) {
    const std::string number = std::to_string(i);
    std::string line = "(" + number + ",a,1" + number + ")";
    first.push_back(scheduler.getFirstChar(line.data(), "(,"));
    last.push_back(scheduler.getLastChar(line.data(), ",)"));
    from.push_back(scheduler.fromState(line.data()));
    to.push_back(scheduler.toState(line.data()));
  }
  textsOf([&] { scheduler.getPath(transitions.file()); });
  for (std::size_t i = 0; i < 8; ++i) {
    const std::string number = std::to_string(i);
    EXPECT_EQ(first[i], number) << i;
    EXPECT_EQ(last[i], "1" + number) << i;
    EXPECT_EQ(from[i], number) << i;
    EXPECT_EQ(to[i], "1" + number) << i;
  }
}

TEST_F(ConsoleTest, LinesWithoutStatesGiveNone) {
  for (const char* text : {"", ",", "(", ",,,", "(,"}) {
    std::string line = text;
    EXPECT_EQ(scheduler.fromState(line.data()), nullptr) << text;
  }
  for (const char* text : {"", ",", "a,)", "a,(", "a,()"}) {
    std::string line = text;
    std::string state = " 7";
    EXPECT_EQ(scheduler.toState(line.data()), nullptr) << text;
    EXPECT_FALSE(scheduler.matchToState(line.data(), state.data())) << text;
    EXPECT_FALSE(scheduler.matchToState(line.data(), nullptr)) << text;
  }
  EXPECT_EQ(scheduler.fromState(nullptr), nullptr);
  EXPECT_EQ(scheduler.toState(nullptr), nullptr);
}

TEST_F(ConsoleTest, ATargetStateMatchesExactlyWithItsBlank) {
  std::string line = "(12, a, 7)\n";
  std::string with = " 7";
  std::string without = "7";
  EXPECT_TRUE(scheduler.matchToState(line.data(), with.data()));
  EXPECT_FALSE(scheduler.matchToState(line.data(), without.data()));
  EXPECT_FALSE(scheduler.matchToState(line.data(), nullptr));
}

// ---- Paths -----------------------------------------------------------------------------------

namespace {

std::string pathText(int depth, const std::string& lines) {
  return "Error found at depth " + std::to_string(depth) + "\n*** Initial state ***\n" + lines +
         "*** Error state ***\n";
}

}  // namespace

TEST_F(ConsoleTest, TheLastMatchingLineWithinTheLimitIsFound) {
  Transitions transitions("(0,a,1)\n(1,b,2)\n(5,c,1)\n(6,d,1)\n");
  std::string state = "1";
  char found[1000] = "untouched";
  scheduler.getInteraction(found, transitions.file(), state.data(), 0);
  EXPECT_STREQ(found, "untouched");
  scheduler.getInteraction(found, transitions.file(), state.data(), 2);
  EXPECT_STREQ(found, "(0,a,1)\n");
  scheduler.getInteraction(found, transitions.file(), state.data(), 3);
  EXPECT_STREQ(found, "(5,c,1)\n");
  scheduler.getInteraction(found, transitions.file(), state.data(), 100);
  EXPECT_STREQ(found, "(6,d,1)\n");
}

TEST_F(ConsoleTest, APathIsFollowedBackFromTheLastLine) {
  Transitions transitions("(0,a,1)\n(0,x,9)\n(1,b,2)\n(2,c,3)\n");
  EXPECT_EQ(textsOf([&] { scheduler.getPath(transitions.file()); }),
            (Texts{pathText(3, "(0,a,1)\n(1,b,2)\n(2,c,3)\n"), ""}));
}

TEST_F(ConsoleTest, ALineThatExplorationWritesNeverHasAPredecessor) {
  Transitions transitions("des(0, 3, 4)\n(0, a, 1)\n(1, b, 2)\n(2, c, 3)\n");
  EXPECT_EQ(textsOf([&] { scheduler.getPath(transitions.file()); }),
            (Texts{pathText(1, "(2, c, 3)\n"), ""}));
}

TEST_F(ConsoleTest, APathFromTheInitialStateHasOneEntry) {
  Transitions transitions("(0, a, 1)\n");
  EXPECT_EQ(textsOf([&] { scheduler.getPath(transitions.file()); }),
            (Texts{pathText(1, "(0, a, 1)\n"), ""}));
}

TEST_F(ConsoleTest, AnEmptyFileHasAnEmptyPath) {
  Transitions transitions("");
  EXPECT_EQ(textsOf([&] { scheduler.getPath(transitions.file()); }), (Texts{pathText(0, ""), ""}));
}

TEST_F(ConsoleTest, ACycleOfStatesEndsWithTheLines) {
  Transitions transitions("(2,a,1)\n(1,b,2)\n(2,c,1)\n(1,d,2)\n");
  EXPECT_EQ(textsOf([&] { scheduler.getPath(transitions.file()); }),
            (Texts{pathText(4, "(2,a,1)\n(1,b,2)\n(2,c,1)\n(1,d,2)\n"), ""}));
}

TEST_F(ConsoleTest, APathHasAtMostAThousandEntries) {
  std::string lines;
  for (int i = 1; i <= 1500; ++i) {
    lines += "(" + std::to_string(i) + ",t," + std::to_string(i + 1) + ")\n";
  }
  Transitions transitions(lines);
  const Texts texts = textsOf([&] { scheduler.getPath(transitions.file()); });
  EXPECT_EQ(texts.out.rfind("Error found at depth 1000\n*** Initial state ***\n(501,t,502)\n", 0),
            0u)
      << texts.out.substr(0, 100);
}

TEST_F(ConsoleTest, LinesOfMoreThan999CharactersAreReadInParts) {
  for (const std::size_t length : {998u, 999u, 1000u, 1001u, 5000u}) {
    const std::string label(length - std::strlen("(0,,1)\n"), 'l');
    const std::string line = "(0," + label + ",1)\n";
    const std::string lastPart = line.substr((length - 1) / 999 * 999);
    Transitions transitions(line);
    EXPECT_EQ(textsOf([&] { scheduler.getPath(transitions.file()); }),
              (Texts{pathText(1, lastPart), ""}))
        << length;
  }
}

TEST_F(ConsoleTest, ThePositionInTheFileOfTransitionsIsRestored) {
  const WorkingFolder folder;
  scheduler.parse({"--explore"});
  std::fputs("(0,a,1)\n(1,b,2)\n", scheduler.aut_file);
  std::fseek(scheduler.aut_file, 3, SEEK_SET);
  EXPECT_EQ(textsOf([&] { scheduler.getPath(scheduler.aut_file); }),
            (Texts{pathText(2, "(0,a,1)\n(1,b,2)\n"), ""}));
  EXPECT_EQ(std::ftell(scheduler.aut_file), 3);
  scheduler.run();
}
