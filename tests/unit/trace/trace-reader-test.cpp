// Traces of every kind of run.
#include "trace-reader.hpp"

#include <gtest/gtest.h>

#include "trace-files.hpp"
#include "utf8.hpp"

namespace {

using namespace Vesk::Traces;
using Texts = std::vector<std::string>;

const std::string BANNER = "VESK mono-threaded engine. Version: Engines: d20101124\n";

class TraceReaderTest : public testing::Test {
 protected:
  TraceFiles mFiles;
};

TEST_F(TraceReaderTest, AStepFiresAtTheTimeThatItWaitsFor) {
  EXPECT_EQ((Texts{"1 0 8000000 s/c/a:p", "2 8000000 8000000 a:p"}),
            mFiles.stepsOf(BANNER + "scheduler [0ms] , wait for 8000ms, s/c/a:p eager (8000ms,_)\n"
                                    "scheduler [8000ms] a:p lazy\n"));
}

TEST_F(TraceReaderTest, AStepThatHasCaughtUpFiresThen) {
  EXPECT_EQ((Texts{"1 0 2000 a:p", "2 2000 10000 a:p"}),
            mFiles.stepsOf("scheduler [0ms-> 2ms] a:p lazy\n"
                           "scheduler [2ms-> 3ms] , wait for 10ms, a:p lazy (10ms,18ms)\n"));
}

TEST_F(TraceReaderTest, TheTimeOfThePlatformIsNotThatOfTheStep) {
  EXPECT_EQ((Texts{"1 5000 5000 a:p"}),
            mFiles.stepsOf("scheduler [5ms (platform=9ms)] a:p eager (5ms,5ms)\n"));
}

TEST_F(TraceReaderTest, AWaitMayHaveNoEnd) {
  EXPECT_EQ((Texts{"1 0 2147483647 a:p"}),
            mFiles.stepsOf("scheduler [0ms] , wait for _, a:p lazy\n"));
}

TEST_F(TraceReaderTest, RunsWithoutTimeHaveNoTimes) {
  const auto reader =
      mFiles.open("scheduler : s/c/a:p\nscheduler : s/c/|b:q\nscheduler : deadlock\n");
  EXPECT_EQ((Texts{"1 - - s/c/a:p", "2 - - s/c/|b:q"}), mFiles.steps(*reader));
  EXPECT_EQ("deadlock", reader->end().kind);
  EXPECT_FALSE(reader->end().time);
}

TEST_F(TraceReaderTest, TheSelfTimedLoopFiresWhenItsLastWaitIsOver) {
  EXPECT_EQ((Texts{"1 0 2000 s/c/a:p", "2 2000 2000 a:p", "3 2000 2000"}),
            mFiles.stepsOf("scheduler [l: 0ms, r: 0ms] -> [l: 1ms, r: 1ms]choose s/c/a:p delayable "
                           "(2ms,100ms) , wait for 2ms, execute...\n"
                           "scheduler [l: 2ms, r: 2ms]choose a:p lazy , wait for 1ms, execute...\n"
                           "scheduler [l: 2ms, r: 2ms]choose  , wait for 2ms, execute...\n"));
}

// The loop waits until the present time plus the time that it has written.
TEST_F(TraceReaderTest, ARandomWaitCountsTheTimeTwice) {
  EXPECT_EQ((Texts{"1 3000 10000 a:p"}),
            mFiles.stepsOf("scheduler [l: 3ms, r: 3ms] -> [l: 4ms, r: 4ms], (random) wait for 6ms, "
                           "choose a:p lazy , wait for 8ms, execute...\n"));
}

TEST_F(TraceReaderTest, TheListOfADialogueHasTheTimeThatWasChosen) {
  EXPECT_EQ((Texts{"1 0 6000 a:p", "2 6000 9000 a:p"}),
            mFiles.stepsOf(
                "scheduler [0ms] Enter a new value for current time in lazy (0ms,9ms): "
                "List of legal interactions or internal ports at 6ms:\n"
                "[1]    a:p lazy (5ms,_)\n"
                "Enter interaction or internal port number (hit 0 to exit): a:p lazy (5ms,_)\n"
                "scheduler [6ms] Enter a new value for current time in empty:   random "
                "choice: 7ms\n"
                "List of legal interactions or internal ports at 7ms:\n"
                "[1]    a:p lazy (9ms,_)\n"
                "Enter interaction or internal port number (hit 0 to exit):   random choice: 1\n"
                ", wait for 9ms, a:p lazy (9ms,_)\n"));
}

TEST_F(TraceReaderTest, AnswersThatATerminalShowsBelongToTheDialogue) {
  EXPECT_EQ(
      (Texts{"1 0 6000 a:p"}),
      mFiles.stepsOf("scheduler [0ms] Enter a new value for current time in lazy (0ms,9ms): 6\n"
                     "List of legal interactions or internal ports at 6ms:\n"
                     "[1]    a:p lazy (5ms,_)\n"
                     "Enter interaction or internal port number (hit 0 to exit): 1\n"
                     "a:p lazy (5ms,_)\n"));
}

// What the model prints then may look like it.
TEST_F(TraceReaderTest, ADialogueIsOverWhenItsStepHasFired) {
  const auto reader = mFiles.open(
      "scheduler [0ms] Enter a new value for current time in lazy (0ms,9ms): 6\n"
      "Enter interaction or internal port number (hit 0 to exit): 1\n"
      "a:p lazy (5ms,_)\n"
      "a:q lazy (5ms,_)\n");
  EXPECT_EQ((Texts{"1 0 0 a:p"}), mFiles.steps(*reader));
  EXPECT_EQ(1u, reader->run().otherLines);
}

TEST_F(TraceReaderTest, EveryOtherStepEndsADialogue) {
  const std::string question =
      "scheduler [0ms] Enter a new value for current time in lazy (0ms,9ms): 6\n";
  for (const char* step : {"scheduler : s/c/b:p\n", "scheduler [6ms] b:p lazy\n"}) {
    const auto reader = mFiles.open(question + step + "a:p lazy (5ms,_)\n");
    EXPECT_EQ(1u, mFiles.steps(*reader).size()) << step;
    EXPECT_EQ(1u, reader->run().otherLines) << step;
  }
}

TEST_F(TraceReaderTest, TheEndOfARunEndsADialogue) {
  const auto reader = mFiles.open(
      "scheduler [0ms] Enter a new value for current time in lazy (0ms,9ms): deadlock!\n"
      "a:p lazy (5ms,_)\n");
  EXPECT_EQ(Texts(), mFiles.steps(*reader));
  EXPECT_EQ("deadlock", reader->end().kind);
  EXPECT_EQ(1u, reader->run().otherLines);
}

TEST_F(TraceReaderTest, AUserWhoLeavesEndsTheRun) {
  const auto reader = mFiles.open(
      "scheduler [4ms] Enter a new value for current time in lazy (4ms,9ms): Interactions "
      "computation error: deadlock found that does not exist! (there is an engine bug)\n");
  EXPECT_EQ(Texts(), mFiles.steps(*reader));
  EXPECT_EQ("error", reader->end().kind);
  EXPECT_EQ(4000, reader->end().time);
}

TEST_F(TraceReaderTest, SingleStepsStandBehindTheirQuestions) {
  const auto reader = mFiles.open(
      "List of legal connectors are : \n[1]    s/c/a:p\n"
      "Enter connector number (Hit 0 to exit) : Enter connector number (Hit 0 to exit) : scheduler "
      ": s/c/a:p\nList of legal connectors are : \nEnter connector number (Hit 0 to exit) : "
      "Exiting "
      "...\n\n");
  EXPECT_EQ((Texts{"1 - - s/c/a:p"}), mFiles.steps(*reader));
  EXPECT_EQ("quit", reader->end().kind);
}

TEST_F(TraceReaderTest, EveryEndHasAWord) {
  const std::pair<const char*, const char*> ENDS[] = {
      {"scheduler [7ms] deadlock!", "deadlock"},
      {"scheduler [l: 7ms, r: 7ms] deadlock!", "deadlock"},
      {"scheduler : deadlock", "deadlock"},
      {"Error or Deadlock!", "deadlock"},
      {" deadlock!", "deadlock"},
      {"scheduler [7ms] urgency violated! (at least one transition is urgent at 5ms)", "urgency"},
      {"scheduler [7ms-> 8ms] too much drift beetween logical clock and real-time clock! (drift is "
       "50ms)",
       "drift"},
      {"scheduler [l: 7ms, r: 9ms]miss deadline! (deadline 6ms)", "missed-deadline"},
      {"Execution limit size (3) reached!", "limit"}};
  for (const auto& [line, kind] : ENDS) {
    const auto reader = mFiles.open(std::string(line) + "\n");
    EXPECT_EQ(Texts(), mFiles.steps(*reader));
    EXPECT_EQ(kind, reader->end().kind) << line;
  }
  EXPECT_EQ(Texts(), mFiles.said());
}

TEST_F(TraceReaderTest, OtherLinesAreLeftAlone) {
  const auto reader = mFiles.open("hello\nscheduler : s/c/a:p\n\n0 : ,2,1\n");
  EXPECT_EQ(1u, mFiles.steps(*reader).size());
  EXPECT_EQ(3u, reader->run().otherLines);
  EXPECT_EQ(Texts(), mFiles.said());
}

TEST_F(TraceReaderTest, ALineThatBeginsLikeAStepAndIsNoneIsNamed) {
  for (const char* line : {"scheduler", "scheduler : a:p", "scheduler [0ms]",
                           "scheduler [0] a:p lazy", "scheduler [0ms] a:p", "scheduler [0ms] lazy",
                           "scheduler [0ms] label lazy", "scheduler [0ms] , wait for 5, a:p lazy",
                           "scheduler [l: 0ms, r: 0]choose a:p lazy , wait for "
                           "2ms, execute..."}) {
    TraceFiles files;
    EXPECT_EQ(1u, files.stepsOf(std::string(line) + "\nscheduler [1ms] a:p lazy\n").size()) << line;
    ASSERT_EQ(1u, files.said().size()) << line;
    EXPECT_EQ("run:1: \"", files.said()[0].substr(0, 8));
  }
}

TEST_F(TraceReaderTest, OnlyTheFirstTenBadLinesAreSaidOneByOne) {
  std::string text;
  for (int i = 0; i < 13; ++i) text += "scheduler [x\n";
  EXPECT_EQ(Texts(), mFiles.stepsOf(text));
  ASSERT_EQ(11u, mFiles.said().size());
  EXPECT_EQ("run: 3 more lines were left out", mFiles.said().back());
}

TEST_F(TraceReaderTest, ALabelWithoutALineBreakMayBeCut) {
  EXPECT_EQ((Texts{"1 - - s/c/a:p"}), mFiles.stepsOf("scheduler : s/c/a:p\nscheduler : s/c/a:p"));
  EXPECT_EQ((Texts{"run:2: the last line is cut, expected a line break; left out"}), mFiles.said());
}

TEST_F(TraceReaderTest, AConstraintShowsThatALabelIsWhole) {
  EXPECT_EQ((Texts{"1 0 0 a:p"}), mFiles.stepsOf("scheduler [0ms] a:p lazy"));
}

TEST_F(TraceReaderTest, TheRunBehindASecondBannerIsNotRead) {
  EXPECT_EQ((Texts{"1 - - s/c/a:p"}), mFiles.stepsOf(BANNER + BANNER + "scheduler : s/c/a:p\n" +
                                                     BANNER + "scheduler : s/c/b:q\n"));
  ASSERT_EQ(1u, mFiles.said().size());
  EXPECT_EQ("run:4: a second run starts here", mFiles.said()[0].substr(0, 31));
}

TEST_F(TraceReaderTest, FilesOfOtherSystemsCanBeRead) {
  EXPECT_EQ((Texts{"1 - - s/c/a:p"}), mFiles.stepsOf("\xEF\xBB\xBFscheduler : s/c/a:p\r\n"));
}

TEST_F(TraceReaderTest, AMarkInALaterLineIsAText) {
  const auto reader =
      mFiles.open("\xEF\xBB\xBFscheduler : s/c/a:p\n\xEF\xBB\xBFscheduler : s/c/a:p\n");
  EXPECT_EQ((Texts{"1 - - s/c/a:p"}), mFiles.steps(*reader));
  EXPECT_EQ(1u, reader->run().otherLines);
}

TEST_F(TraceReaderTest, BytesThatAreNotUtf8BecomeCharacters) {
  EXPECT_EQ((Texts{"1 - - s/c/\xC3\xBC:p", "2 - - s/c/\xC3\xBC:q"}),
            mFiles.stepsOf("scheduler : s/c/\xFC:p\nscheduler : s/c/\xC3\xBC:q\n"));
}

TEST(AsUtf8Test, EachByteThatIsNotUtf8BecomesTheCharacterOfThatNumber) {
  for (int byte = 0x80; byte <= 0xFF; ++byte) {
    const std::string text = {'a', static_cast<char>(byte), '\x7F'};
    const char second = static_cast<char>(byte < 0xC0 ? byte : byte - 0x40);
    const std::string expected = {'a', byte < 0xC0 ? '\xC2' : '\xC3', second, '\x7F'};
    EXPECT_EQ(expected, asUtf8(text)) << byte;
  }
}

}  // namespace
