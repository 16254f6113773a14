// Single-step execution: whole dialogues on standard input and output.

#include <gtest/gtest.h>

#include <string>

#include "kit/output.hpp"
#include "kit/processes.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

constexpr char PROMPT[] = "Enter connector number (Hit 0 to exit) : ";
constexpr char LIST[] =
    "List of legal connectors are : \n[1]    System/cb/B:go\n[2]    System/ca/A:go\n";
constexpr char LIST_A[] = "List of legal connectors are : \n[1]    System/ca/A:go\n";
constexpr char LIST_NONE[] = "List of legal connectors are : \n";
constexpr char GOODBYE[] = "Exiting ...\n\n";
constexpr char NO_SUPPORT[] = "at least a library is not generated with debug option\n";

// Two counters, without debug support.
struct Plain : System {
  explicit Plain(int firings = 2) {
    counter("A", "ca", firings);
    counter("B", "cb", 1);
  }
};

// The same with debug support: a value `n`, and a sub-element `sub` with a value `m`.
struct Sub : VeskDebugElmt {
  explicit Sub(VeskDebugElmt* parent) : mParent(parent) {}
  char* getValue(char* name) override { return std::string(name) == "m" ? mText : nullptr; }
  VeskDebugElmt* getSubElement(char*) override { return nullptr; }
  char** getValuedElementNames() override { return mNames; }
  char** getSubElementsNames() override { return nullptr; }
  VeskDebugElmt* getParent() override { return mParent; }

 private:
  VeskDebugElmt* mParent;
  char mText[3] = "42";
  char mName[2] = "m";
  char* mNames[2] = {mName, nullptr};
};

struct Debugged : Plain, VeskDebugElmt {
  char* getValue(char* name) override { return std::string(name) == "n" ? mText : nullptr; }
  VeskDebugElmt* getSubElement(char* name) override {
    return std::string(name) == "sub" ? &mSub : nullptr;
  }
  char** getValuedElementNames() override { return mValues; }
  char** getSubElementsNames() override { return mSubs; }
  VeskDebugElmt* getParent() override { return nullptr; }

 private:
  Sub mSub{this};
  char mText[2] = "7";
  char mValue[2] = "n";
  char* mValues[2] = {mValue, nullptr};
  char mName[4] = "sub";
  char* mSubs[2] = {mName, nullptr};
};

template <class Model>
Outcome talk(const std::string& input, bool quiet = false) {
  return isolated(
      [quiet] {
        Model model;
        OpenScheduler scheduler(&model, 1);
        scheduler.mQuiet = quiet;
        scheduler.run();
        return 0;
      },
      input);
}

std::string fired(const char* label) {
  return std::string("scheduler : System/") + label + "\n";
}

std::string prompts(int n) {
  std::string all;
  for (int i = 0; i < n; ++i) all += PROMPT;
  return all;
}

}  // namespace

// ---- Choices ---------------------------------------------------------------------------------

TEST(SingleStepTest, TheUserFiresWhatTheListShowsUntilZero) {
  const Outcome outcome = talk<Plain>("1\n1\n0\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, std::string(LIST) + PROMPT + fired("cb/B:go") + LIST_A + PROMPT +
                             fired("ca/A:go") + LIST_A + PROMPT + GOODBYE);
  EXPECT_EQ(outcome.err, "");
}

TEST(SingleStepTest, QuietHidesOnlyWhatFires) {
  EXPECT_EQ(talk<Plain>("2 0", true).out, std::string(LIST) + PROMPT + LIST + PROMPT + GOODBYE);
}

TEST(SingleStepTest, WithNothingLegalTheListIsEmptyAndTheUserIsAskedAllTheSame) {
  EXPECT_EQ(talk<System>("0\n").out, std::string(LIST_NONE) + PROMPT + GOODBYE);
  EXPECT_EQ(talk<System>("r\n").out, std::string(LIST_NONE) + PROMPT + GOODBYE);
  EXPECT_EQ(talk<System>("1\n").out,
            std::string(LIST_NONE) + PROMPT + "Invalid choice\n" + GOODBYE);
}

TEST(SingleStepTest, ANumberBeyondTheListEndsTheRun) {
  for (const char* number : {"3", "2147483647"}) {
    EXPECT_EQ(talk<Plain>(std::string(number) + "\n1\n").out,
              std::string(LIST) + PROMPT + "Invalid choice\n" + GOODBYE)
        << number;
  }
}

TEST(SingleStepTest, NegativeNumbersAndGarbageAskAgain) {
  for (const char* word : {"-1", "-7", "-2147483649", "-99999999999", "2147483648", "99999999999",
                           "999999999999999999999999999999", "z", "--", "+", "?1", ""}) {
    const int asked = *word == '\0' ? 1 : 2;
    EXPECT_EQ(talk<Plain>(std::string(word) + "\n0\n").out,
              std::string(LIST) + prompts(asked) + GOODBYE)
        << word;
  }
}

TEST(SingleStepTest, TheNumberAtTheStartOfAWordCounts) {
  EXPECT_EQ(talk<Plain>("+1x 0").out,
            std::string(LIST) + PROMPT + fired("cb/B:go") + LIST_A + PROMPT + GOODBYE);
  EXPECT_EQ(talk<Plain>("0x5").out, std::string(LIST) + PROMPT + GOODBYE);
}

TEST(SingleStepTest, WordsAreSeparatedByAnyWhiteSpace) {
  EXPECT_EQ(talk<Plain>("\r\n\t 1\v\f0\r\n").out,
            std::string(LIST) + PROMPT + fired("cb/B:go") + LIST_A + PROMPT + GOODBYE);
}

TEST(SingleStepTest, DominatedConnectorsAreNeitherListedNorCounted) {
  struct Dominated : Plain {
    Dominated() { connectors()[1]->setDominated(true); }
  };
  EXPECT_EQ(talk<Dominated>("1\n2\n").out, std::string(LIST_A) + PROMPT + fired("ca/A:go") +
                                               LIST_A + PROMPT + "Invalid choice\n" + GOODBYE);
}

TEST(SingleStepTest, ARandomPickIsOneOfTheList) {
  const Outcome outcome = talk<Plain>("random\nr\nr\nr\n0\n");
  EXPECT_EQ(outcome.status, 0);
  std::size_t firings = 0;
  for (std::size_t at = 0; (at = outcome.out.find("scheduler : System/c", at)) != std::string::npos;
       ++at) {
    ++firings;
  }
  EXPECT_EQ(firings, 3u);  // the fourth pick is from nothing
  EXPECT_EQ(outcome.out.substr(outcome.out.size() - sizeof GOODBYE + 1), GOODBYE);
}

TEST(SingleStepTest, TheStepLimitDoesNotApply) {
  const Outcome outcome = isolated(
      [] {
        Plain model(5);
        OpenScheduler scheduler(&model);
        scheduler.mMode = 1;
        scheduler.parse({"--limit", "1"});
        scheduler.run();
        return 0;
      },
      "2 2 2 0");
  EXPECT_EQ(outcome.out, std::string(LIST) + PROMPT + fired("ca/A:go") + LIST + PROMPT +
                             fired("ca/A:go") + LIST + PROMPT + fired("ca/A:go") + LIST + PROMPT +
                             GOODBYE);
}

TEST(SingleStepTest, TheTraceOfASingleStepGoesToStandardOutput) {
  const Outcome outcome = isolated(
      [] {
        Plain model;
        OpenScheduler scheduler(&model);
        scheduler.parse({"--interactive", "--simout", "trace"});
        scheduler.run();
        return contents("trace").empty() ? 0 : 50;
      },
      "1 0");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, std::string(LIST) + PROMPT + fired("cb/B:go") + LIST_A + PROMPT + GOODBYE);
}

// ---- Console commands ------------------------------------------------------------------------

TEST(SingleStepTest, WithoutDebugSupportTheConsoleReportsThatAndAsksAgain) {
  const Outcome outcome = talk<Plain>("l\np n\nc sub\n0\n");
  EXPECT_EQ(outcome.out, std::string(LIST) + prompts(4) + GOODBYE);
  EXPECT_EQ(outcome.err, std::string(NO_SUPPORT) + NO_SUPPORT + NO_SUPPORT);
}

TEST(SingleStepTest, TheConsoleListsPrintsAndMovesBetweenTheSteps) {
  const Outcome outcome = talk<Debugged>("l p n p sub.m c sub\nl\np m\nc -\nl 1 p n 0");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, std::string(LIST) + PROMPT + "SUBELEMENTS:\nsub\nVALUES:\nn\n" + PROMPT +
                             "n = 7\n" + PROMPT + "sub.m = 42\n" + PROMPT + PROMPT +
                             "SUBELEMENTS:\nVALUES:\nm\n" + PROMPT + "m = 42\n" + PROMPT + PROMPT +
                             "SUBELEMENTS:\nsub\nVALUES:\nn\n" + PROMPT + fired("cb/B:go") +
                             LIST_A + PROMPT + "n = 7\n" + PROMPT + GOODBYE);
  EXPECT_EQ(outcome.err, "");
}

TEST(SingleStepTest, OnlyTheFirstCharacterOfACommandCounts) {
  const Outcome outcome = talk<Debugged>("print n\nlist\nchdir sub\np m\n0\n");
  EXPECT_EQ(outcome.out, std::string(LIST) + PROMPT + "n = 7\n" + PROMPT +
                             "SUBELEMENTS:\nsub\nVALUES:\nn\n" + PROMPT + PROMPT + "m = 42\n" +
                             PROMPT + GOODBYE);
}

TEST(SingleStepTest, MissingElementsAreReportedOnStandardError) {
  const Outcome outcome = talk<Debugged>("p x\nc y\nc -\np -\n0\n");
  EXPECT_EQ(outcome.out, std::string(LIST) + prompts(5) + GOODBYE);
  EXPECT_EQ(outcome.err, "x does not exist\ny does not exist\n- does not exist\n");
}

// ---- The end of the input --------------------------------------------------------------------

TEST(SingleStepTest, TheEndOfTheInputEndsTheRunLikeZero) {
  EXPECT_EQ(talk<Plain>("").out, std::string(LIST) + PROMPT + GOODBYE);
  EXPECT_EQ(talk<Plain>("l").out, std::string(LIST) + prompts(2) + GOODBYE);
  EXPECT_EQ(talk<Plain>("p").out, std::string(LIST) + PROMPT + GOODBYE);
  EXPECT_EQ(talk<Plain>("c \n").out, std::string(LIST) + PROMPT + GOODBYE);
  EXPECT_EQ(talk<Plain>("1").out,
            std::string(LIST) + PROMPT + fired("cb/B:go") + LIST_A + PROMPT + GOODBYE);
}

TEST(SingleStepTest, EveryPrefixOfADialogueEndsByItself) {
  const std::string script = "l p sub.m c sub.x c sub l c - -5 z 2147483648x";
  for (std::size_t length = 0; length <= script.size(); ++length) {
    const Outcome outcome = talk<Debugged>(script.substr(0, length));
    EXPECT_EQ(outcome.status, 0) << length;
    EXPECT_LT(outcome.out.size(), 65536u) << length;
    EXPECT_EQ(outcome.out.substr(outcome.out.size() - sizeof GOODBYE + 1), GOODBYE) << length;
  }
}

// ---- Long words ------------------------------------------------------------------------------

TEST(SingleStepTest, ALongWordStaysOneWord) {
  for (const std::size_t length : {254u, 255u, 256u, 257u, 1u << 20}) {
    const std::string garbage(length, 'z');
    EXPECT_EQ(talk<Plain>(garbage + "\n0\n").out, std::string(LIST) + prompts(2) + GOODBYE)
        << length;
    const std::string zeros(length - 1, '0');
    EXPECT_EQ(talk<Plain>(zeros + "1\n0\n").out,
              std::string(LIST) + PROMPT + fired("cb/B:go") + LIST_A + PROMPT + GOODBYE)
        << length;
    const Outcome outcome = talk<Debugged>("p " + garbage + "\n0\n");
    EXPECT_EQ(outcome.out, std::string(LIST) + prompts(2) + GOODBYE) << length;
    EXPECT_EQ(outcome.err, garbage + " does not exist\n") << length;
  }
}

TEST(SingleStepTest, BytesThatAreNoTextAskAgain) {
  EXPECT_EQ(talk<Plain>(std::string("\0\n0\n", 4)).out, std::string(LIST) + prompts(2) + GOODBYE);
  EXPECT_EQ(talk<Plain>("\xFF\xFE\n0\n").out, std::string(LIST) + prompts(2) + GOODBYE);
}

TEST(SingleStepTest, TheInputBehindTheLastWordIsLeftUnread) {
  const Outcome outcome = isolated(
      [] {
        Plain model;
        OpenScheduler scheduler(&model, 1);
        scheduler.run();
        return std::getchar() == '\n' && std::getchar() == 'x' ? 0 : 50;
      },
      "0\nx");
  EXPECT_EQ(outcome.status, 0);
}
