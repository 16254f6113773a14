#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>

#include "engine.hpp"
#include "filter.hpp"
#include "kit/scripted.hpp"
#include "scripted-rand.hpp"

using namespace kit;

namespace {

using Vesk::Time;

constexpr bool LOUD = false;
constexpr bool QUIET = true;
constexpr unsigned int ONE_STEP = 1;
constexpr unsigned int FOR_EVER = 0;

const std::string ASK_TIME = "Enter a new value for current time in ";
const std::string ASK_NUMBER = "Enter interaction or internal port number (hit 0 to exit): ";
const std::string INVALID = "Invalid choice!\n";
const std::string NO_DEBUG = "Debug options not supported yet!\n";
const std::string NOT_SUPPORTED = "Not supported yet!\n";
const std::string RANDOM = "  random choice: ";
const std::string LIMIT = "Execution limit size (1) reached!\n";
const std::string BUG =
    "Interactions computation error: deadlock found that does not exist! (there is an engine "
    "bug)\n";

std::string list(const std::string& time) {
  return "List of legal interactions or internal ports at " + time + ":\n";
}

class Exposed : public InteractiveExecuter {
 public:
  using InteractiveExecuter::choice;
  using InteractiveExecuter::InteractiveExecuter;
  using InteractiveExecuter::time;
};

// Collects output and ends the program when there is more than any dialogue may write.
class BoundedBuffer : public std::stringbuf {
 protected:
  std::streamsize xsputn(const char* text, std::streamsize n) override {
    if (mCount += n; mCount > LIMIT_OF_A_DIALOGUE) std::abort();
    return std::stringbuf::xsputn(text, n);
  }

 private:
  static constexpr std::streamsize LIMIT_OF_A_DIALOGUE = 65536;
  std::streamsize mCount = 0;
};

// A system of one atom, run by hand; the trace and the dialogue are one text.
class InteractiveTest : public testing::Test {
 protected:
  InteractiveTest() {
    scriptDraws({});
    alarm(60);
  }
  ~InteractiveTest() override { alarm(0); }

  // Ports are listed in the reverse order.
  ScriptedPort& add(const char* name, const Window& times = {}) {
    return atom.add(name, times, &log);
  }
  // The rows of the list are a and b; a must fire by 10 ms, b is enabled from 4 ms.
  void addTwo() {
    add("b", {Time(4000)});
    add("a", {Time(0), Time::MAX, Time(10000)});
  }
  std::string session(const std::string& input, unsigned int limit = ONE_STEP, bool quiet = LOUD) {
    Exposed executer(root, logical, semantics, everything, quiet, limit, std::cout, Time(40000));
    return session(executer, input);
  }
  static std::string session(Engine& executer, const std::string& input) {
    std::istringstream in(input);
    BoundedBuffer out;
    std::streambuf* const oldIn = std::cin.rdbuf(in.rdbuf());
    std::streambuf* const oldOut = std::cout.rdbuf(&out);
    std::cin.clear();
    executer.run();
    std::cout.rdbuf(oldOut);
    std::cin.rdbuf(oldIn);
    return out.str();
  }
  // The answers to the first question are `answers`; all but the last are refused with `refusals`,
  // and the second question is left unanswered.
  static std::string refusedTimes(const std::string& range, const std::string& refusal, int times) {
    std::string text = "scheduler [0ms] ";
    for (int i = 0; i < times; ++i) text += ASK_TIME + range + ": " + refusal;
    return text;
  }

  Log log;
  Compound root{"root", nullptr};
  ScriptedAtom& atom = *new ScriptedAtom(root);
  SimuClock platform{"simulated"};
  LogicalClock logical{"logical", platform};
  StandardSemantics semantics;
  EmptyScheduler everything;
};

const std::string TO_TEN = "lazy (0ms,10ms): ";
const std::string ROWS_A_B = "[1]    a lazy (_,_)\n[2]    b lazy (_,_)\n";

// Whole sessions

TEST_F(InteractiveTest, TheUserChoosesTheTimeAndThenTheExecutable) {
  addTwo();
  EXPECT_EQ(session("5\n1\n"), "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B +
                                   ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
  EXPECT_EQ(logical.time(), Time(5000));
  EXPECT_EQ(log.back(), "a.execute(5000)");
}

TEST_F(InteractiveTest, WhatIsEnabledLaterIsListedAndWaitedFor) {
  addTwo();
  EXPECT_EQ(session("2\n2\n"), "scheduler [0ms] " + ASK_TIME + TO_TEN + list("2ms") + ROWS_A_B +
                                   ASK_NUMBER + ", wait for 4ms, b lazy (_,_)\n" + LIMIT);
  EXPECT_EQ(logical.time(), Time(4000));
}

TEST_F(InteractiveTest, TheDialogueIsRepeatedInEveryStep) {
  add("a", {Time(0), Time::MAX, Time(10000)});
  EXPECT_EQ(session("5 1 7 1 0", FOR_EVER),
            "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + "[1]    a lazy (_,_)\n" +
                ASK_NUMBER + "a lazy (_,_)\n" +                                      //
                "scheduler [5ms] " + ASK_TIME + "lazy (5ms,10ms): " + list("7ms") +  //
                "[1]    a lazy (_,_)\n" + ASK_NUMBER + "a lazy (_,_)\n" +            //
                "scheduler [7ms] " + ASK_TIME + "lazy (7ms,10ms): " + INVALID +      //
                ASK_TIME + "lazy (7ms,10ms): " + BUG);
}

TEST_F(InteractiveTest, AnIntervalWithoutUpperBoundIsShownAsSuch) {
  add("a");
  EXPECT_EQ(session("0 1"), "scheduler [0ms] " + ASK_TIME + "lazy (0ms,_): " + list("0ms") +
                                "[1]    a lazy (_,_)\n" + ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, AnsweringZeroEndsTheRunWithTheEngineBugMessage) {
  addTwo();
  EXPECT_EQ(session("5 0", FOR_EVER),
            "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B + ASK_NUMBER + BUG);
}

TEST_F(InteractiveTest, AnsweringZeroLeavesTheChosenTimeAndNoChoice) {
  addTwo();
  Exposed executer(root, logical, semantics, everything, LOUD, 0, std::cout, Time(40000));
  session(executer, "5 0");
  EXPECT_EQ(executer.choice(), nullptr);
  EXPECT_EQ(executer.time(), Time(5000));
}

TEST_F(InteractiveTest, TheDialogueIsHeldOnStandardOutputWhateverTheTraceStream) {
  addTwo();
  std::ostringstream trace;
  InteractiveExecuter executer(root, logical, semantics, everything, LOUD, ONE_STEP, trace,
                               Time(40000));
  EXPECT_EQ(session(executer, "5 1"), ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B + ASK_NUMBER);
  EXPECT_EQ(trace.str(), "scheduler [0ms] a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, AQuietRunStillAsks) {
  addTwo();
  EXPECT_EQ(session("5 1", ONE_STEP, QUIET),
            ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B + ASK_NUMBER);
}

TEST_F(InteractiveTest, ADeadlockIsNotAskedAbout) {
  EXPECT_EQ(session("5 1", FOR_EVER), "scheduler [0ms] deadlock!\n");
}

// The time

TEST_F(InteractiveTest, BothBoundsOfTheIntervalAreAccepted) {
  addTwo();
  logical.wait(Time(3000));
  EXPECT_EQ(session("3 1"), "scheduler [3ms] " + ASK_TIME + "lazy (3ms,10ms): " + list("3ms") +
                                ROWS_A_B + ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
  EXPECT_EQ(session("10 1"), "scheduler [3ms] " + ASK_TIME + "lazy (3ms,10ms): " + list("10ms") +
                                 ROWS_A_B + ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, OneMillisecondOutsideTheIntervalIsRefused) {
  addTwo();
  logical.wait(Time(3000));
  const std::string question = ASK_TIME + "lazy (3ms,10ms): ";
  EXPECT_EQ(session("2 11 -3", FOR_EVER), "scheduler [3ms] " + question + INVALID + question +
                                              INVALID + question + INVALID + question + BUG);
}

TEST_F(InteractiveTest, BoundsAreComparedInMicroseconds) {
  add("a", {Time(0), Time::MAX, Time(10999)});
  logical.wait(Time(1));
  const std::string question = ASK_TIME + TO_TEN;
  EXPECT_EQ(session("0 11 10 1"), "scheduler [0ms] " + question + INVALID + question + INVALID +
                                      question + list("10ms") + "[1]    a lazy (_,_)\n" +
                                      ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, TheHorizonBoundsTheTime) {
  add("a");
  EXPECT_EQ(session("2147484 2147483 1"),
            "scheduler [0ms] " + ASK_TIME + "lazy (0ms,_): " + INVALID + ASK_TIME +
                "lazy (0ms,_): " + list("2147483ms") + "[1]    a lazy (_,_)\n" + ASK_NUMBER +
                "a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, WordsThatAreNoNumberAreRefusedAsTimes) {
  addTwo();
  const std::string words = "x -- - + 1e3 0x5 5a 5.0 5,0 \xff\xfe R C " + std::string(400, '9') +
                            " -" + std::string(400, '9');
  EXPECT_EQ(session(words, FOR_EVER),
            refusedTimes("lazy (0ms,10ms)", INVALID, 14) + ASK_TIME + TO_TEN + BUG);
}

TEST_F(InteractiveTest, TimesBeyondSixtyFourBitsOfMicrosecondsAreRefused) {
  addTwo();
  const std::string words =
      "9223372036854775 -9223372036854775 9223372036854776 -9223372036854776 "
      "9223372036854775807 -9223372036854775808 9223372036854775808 -9223372036854775809 "
      "18446744073709551621 18446744073709556";
  EXPECT_EQ(session(words, FOR_EVER),
            refusedTimes("lazy (0ms,10ms)", INVALID, 10) + ASK_TIME + TO_TEN + BUG);
  // Not as the time that is there before any has been read, either.
  for (const char* word : {"9223372036854776", "-9223372036854776", "9223372036854775808"}) {
    EXPECT_EQ(session(word, FOR_EVER),
              refusedTimes("lazy (0ms,10ms)", INVALID, 1) + ASK_TIME + TO_TEN + BUG)
        << word;
  }
}

TEST_F(InteractiveTest, SignsAndLeadingZerosBelongToANumber) {
  addTwo();
  EXPECT_EQ(session("+5 +2"), "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B +
                                  ASK_NUMBER + "b lazy (_,_)\n" + LIMIT);
  EXPECT_EQ(session("007 01"), "scheduler [5ms] " + ASK_TIME + "lazy (5ms,10ms): " + list("7ms") +
                                   ROWS_A_B + ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, DebugWordsAreRefusedAtTheFirstQuestion) {
  addTwo();
  EXPECT_EQ(session("c 5 p 5 l continue 5 print 5 list", FOR_EVER),
            refusedTimes("lazy (0ms,10ms)", NO_DEBUG, 6) + ASK_TIME + TO_TEN + BUG);
}

TEST_F(InteractiveTest, AChosenTimeMovesTheClock) {
  addTwo();
  Exposed executer(root, logical, semantics, everything, LOUD, 0, std::cout, Time(40000));
  session(executer, "5");
  EXPECT_EQ(logical.time(), Time(5000));
  EXPECT_EQ(platform.time(), Time(5000));
}

TEST_F(InteractiveTest, WhatIsNotPossibleAtTheChosenTimeIsNotListed) {
  add("short", {Time(0), Time(4000)});
  add("a", {Time(0), Time::MAX, Time(10000)});
  EXPECT_EQ(session("5 1"), "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") +
                                "[1]    a lazy (_,_)\n" + ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, ATimeAtWhichNothingIsPossibleGivesAnEmptyList) {
  add("short", {Time(0), Time(4000)});
  EXPECT_EQ(session("5 1 0", FOR_EVER), "scheduler [0ms] " + ASK_TIME + "lazy (0ms,_): " +
                                            list("5ms") + ASK_NUMBER + INVALID + ASK_NUMBER + BUG);
}

// A random time

TEST_F(InteractiveTest, ARandomTimeIsTheDrawnPartOfTheWidenedInterval) {
  addTwo();
  // 10001 * 2^30 / 2^31 = 5000.5
  scriptDraws({1 << 30});
  EXPECT_EQ(session("r 1"), "scheduler [0ms] " + ASK_TIME + TO_TEN + RANDOM + "5ms\n" +
                                list("5ms") + ROWS_A_B + ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
  EXPECT_EQ(logical.time(), Time(5000));
  EXPECT_EQ(drawCount, 1);
}

TEST_F(InteractiveTest, ARandomTimeIsCountedFromTheLowerBound) {
  addTwo();
  session("2 1");
  // 2000 + 8001 * 2^30 / 2^31 = 6000.5
  scriptDraws({1 << 30});
  EXPECT_EQ(session("r 1"), "scheduler [2ms] " + ASK_TIME + "lazy (2ms,10ms): " + RANDOM + "6ms\n" +
                                list("6ms") + ROWS_A_B + ASK_NUMBER + "a lazy (_,_)\n" + LIMIT);
  EXPECT_EQ(logical.time(), Time(6000));
}

// Deliberate: the width is one unit larger, so the latest possible time can be drawn.
TEST_F(InteractiveTest, TheLatestPossibleTimeCanBeDrawn) {
  addTwo();
  scriptDraws({RAND_MAX});
  EXPECT_EQ(session("random 1"), "scheduler [0ms] " + ASK_TIME + TO_TEN + RANDOM + "10ms\n" +
                                     list("10ms") + ROWS_A_B + ASK_NUMBER + "a lazy (_,_)\n" +
                                     LIMIT);
  EXPECT_EQ(logical.time(), Time(10000));
}

TEST_F(InteractiveTest, TheRandomTimeOfAnUnboundedIntervalIsTheDrawItself) {
  add("a");
  scriptDraws({123456});
  session("r 1");
  EXPECT_EQ(logical.time(), Time(123456));
}

TEST_F(InteractiveTest, TheRandomTimeOfAnIntervalOfOneTimeIsThatTime) {
  add("a", {Time(0), Time::MAX, Time(0)});
  scriptDraws({RAND_MAX});
  session("r 1");
  EXPECT_EQ(logical.time(), Time(0));
}

TEST_F(InteractiveTest, ARandomTimeMayBeInfinite) {
  add("a");
  scriptDraws({RAND_MAX, 0});
  EXPECT_EQ(session("r r", FOR_EVER), "scheduler [0ms] " + ASK_TIME + "lazy (0ms,_): " + RANDOM +
                                          "_\n" + list("_") + ASK_NUMBER + RANDOM + "1\n" + BUG);
}

TEST_F(InteractiveTest, AnInfiniteLowerBoundIsTheRandomTime) {
  class SetClock : public SimuClock {
   public:
    explicit SetClock(Time t) : SimuClock("set") { setTime(t); }
  } early(Time::MIN);
  LogicalClock clock("logical", early);
  add("a");
  scriptDraws({RAND_MAX, 0});
  Exposed executer(root, clock, semantics, everything, LOUD, ONE_STEP, std::cout, Time(40000));
  EXPECT_EQ(session(executer, "r 1"), "scheduler [0ms-> _] " + ASK_TIME + "lazy (_,_): " + RANDOM +
                                          "_\n" + list("_") + "[1]    a lazy (_,_)\n" + ASK_NUMBER +
                                          ", wait for 0ms, a lazy (_,_)\n" + LIMIT);
}

// The executable

TEST_F(InteractiveTest, TheLastRowCanBeChosenAndOneBeyondIsRefused) {
  addTwo();
  EXPECT_EQ(session("5 3 2"), "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B +
                                  ASK_NUMBER + INVALID + ASK_NUMBER + "b lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, NumbersOutsideTheListAreRefused) {
  addTwo();
  std::string expected =
      "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B + ASK_NUMBER;
  for (int i = 0; i < 8; ++i) expected += INVALID + ASK_NUMBER;
  EXPECT_EQ(session("5 -1 3 2147483647 2147483648 -2147483648 -2147483649 4294967297 " +
                        std::string(400, '1'),
                    FOR_EVER),
            expected + BUG);
}

TEST_F(InteractiveTest, WordsThatAreNoNumberAreRefusedAsRows) {
  addTwo();
  std::string expected =
      "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B + ASK_NUMBER;
  for (int i = 0; i < 7; ++i) expected += INVALID + ASK_NUMBER;
  EXPECT_EQ(session("5 x -- 1e0 0x1 1a 1.0 \xff", FOR_EVER), expected + BUG);
}

TEST_F(InteractiveTest, DebugWordsAreRefusedAtTheSecondQuestion) {
  addTwo();
  std::string expected =
      "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B + ASK_NUMBER;
  for (int i = 0; i < 3; ++i) expected += NOT_SUPPORTED + ASK_NUMBER;
  EXPECT_EQ(session("5 c 1 p 1 l 1"), expected + "a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, ARandomRowIsDrawnFromAllRows) {
  for (const char* name : {"e", "d", "c", "b", "a"}) add(name);
  for (long long draw :
       {0LL, 1LL, 429496729LL, 429496730LL, 1LL << 30, 2147483646LL, 2147483647LL}) {
    scriptDraws({static_cast<int>(draw)});
    const std::string number = std::to_string(((5 * draw) >> 31) + 1);
    const std::string text = session("0 r");
    EXPECT_NE(text.find(ASK_NUMBER + RANDOM + number + "\n"), std::string::npos) << text;
    EXPECT_EQ(drawCount, 1) << draw;
  }
}

// Deliberate: with no row a random number is 1, which stands for nothing.
TEST_F(InteractiveTest, WithNoRowARandomNumberIsOneWhichStandsForNothing) {
  add("short", {Time(0), Time(4000)});
  scriptDraws({RAND_MAX});
  EXPECT_EQ(session("5 r", FOR_EVER), "scheduler [0ms] " + ASK_TIME + "lazy (0ms,_): " +
                                          list("5ms") + ASK_NUMBER + RANDOM + "1\n" + BUG);
}

TEST_F(InteractiveTest, WhatIsAskedAtTheChosenTime) {
  add("a", {Time(0), Time::MAX, Time(10000)});
  log.clear();
  session("5 1");
  EXPECT_EQ(log, (Log{"a.deadline(0)", "a.next(0)", "a.deadline(0)", "a.next(0)",  //
                      "a.deadline(5000)", "a.next(5000)", "a.next(5000)",          //
                      "a.actuate(5000)", "a.execute(5000)"}));
}

// Any input

TEST_F(InteractiveTest, TheEndOfInputAtTheFirstQuestionLeavesNoChoice) {
  addTwo();
  logical.wait(Time(3000));
  Exposed executer(root, logical, semantics, everything, LOUD, 0, std::cout, Time(40000));
  EXPECT_EQ(session(executer, ""), "scheduler [3ms] " + ASK_TIME + "lazy (3ms,10ms): " + BUG);
  EXPECT_EQ(executer.choice(), nullptr);
  EXPECT_EQ(executer.time(), Time(3000));
}

TEST_F(InteractiveTest, TheEndOfInputAtTheSecondQuestionLeavesNoChoice) {
  addTwo();
  Exposed executer(root, logical, semantics, everything, LOUD, 0, std::cout, Time(40000));
  EXPECT_EQ(session(executer, "5"),
            "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B + ASK_NUMBER + BUG);
  EXPECT_EQ(executer.choice(), nullptr);
  EXPECT_EQ(executer.time(), Time(5000));
}

TEST_F(InteractiveTest, TheEndOfInputAfterADebugWordEndsAtTheNextQuestion) {
  addTwo();
  for (const char* input : {"c", "p", "l", "c\n", "p 5"}) {
    EXPECT_EQ(session(input, FOR_EVER),
              "scheduler [0ms] " + ASK_TIME + TO_TEN + NO_DEBUG + ASK_TIME + TO_TEN + BUG)
        << input;
  }
  EXPECT_EQ(session("5 c", FOR_EVER), "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") +
                                          ROWS_A_B + ASK_NUMBER + NOT_SUPPORTED + ASK_NUMBER + BUG);
}

TEST_F(InteractiveTest, CarriageReturnsTabsAndEmptyLinesSeparateWords) {
  addTwo();
  EXPECT_EQ(session("\r\n\r\n\t 5\r\n\v\f1\r\n"), "scheduler [0ms] " + ASK_TIME + TO_TEN +
                                                      list("5ms") + ROWS_A_B + ASK_NUMBER +
                                                      "a lazy (_,_)\n" + LIMIT);
}

TEST_F(InteractiveTest, ANulByteBelongsToItsWord) {
  addTwo();
  const std::string input("5\0 \0 \0005 5\0006 r", 14);
  EXPECT_EQ(session(input, FOR_EVER), refusedTimes("lazy (0ms,10ms)", INVALID, 4) + ASK_TIME +
                                          TO_TEN + RANDOM + "0ms\n" + list("0ms") + ROWS_A_B +
                                          ASK_NUMBER + BUG);
}

TEST_F(InteractiveTest, ALongWordIsOneWord) {
  addTwo();
  for (std::size_t length : {255u, 256u, 257u, 1048576u}) {
    EXPECT_EQ(session(std::string(length, '7'), FOR_EVER),
              "scheduler [0ms] " + ASK_TIME + TO_TEN + INVALID + ASK_TIME + TO_TEN + BUG)
        << length;
  }
  EXPECT_EQ(session(std::string(1048576, '0') + "5", FOR_EVER),
            "scheduler [0ms] " + ASK_TIME + TO_TEN + list("5ms") + ROWS_A_B + ASK_NUMBER + BUG);
}

TEST_F(InteractiveTest, EveryPrefixOfASessionEndsByItself) {
  addTwo();
  const std::string scripts[] = {
      "5\n1\n7\n2\n10\n0\n",
      "r\nr\nr\nr\n0\n",
      "c 5\np 5\nl\n5\nc 1\np 1\nl\n1\n0\n",
      "-1\n11\nx\n99999999999999999999\n5\r\n3\r\n-1\r\nx\r\n2\r\n0\r\n",
      std::string("\0\0 5\0 \xff 5 \0 1\n0", 16),
  };
  for (const std::string& script : scripts) {
    for (std::size_t length = 0; length <= script.size(); ++length) {
      Compound system("system", nullptr);
      ScriptedAtom& holder = *new ScriptedAtom(system);
      holder.add("b", {Time(4000)});
      holder.add("a", {Time(0), Time::MAX, Time(10000)});
      SimuClock clock("simulated");
      LogicalClock over("logical", clock);
      InteractiveExecuter executer(system, over, semantics, everything, LOUD, 0, std::cout,
                                   Time(40000));
      const std::string text = session(executer, script.substr(0, length));
      ASSERT_GE(text.size(), BUG.size()) << script << ' ' << length;
      ASSERT_EQ(text.substr(text.size() - BUG.size()), BUG) << script << ' ' << length;
    }
  }
}

TEST_F(InteractiveTest, RandomBytesEndByThemselves) {
  const std::string words[] = {"0",
                               "1",
                               "2",
                               "5",
                               "10",
                               "-1",
                               "11",
                               "r",
                               "c",
                               "p",
                               "l",
                               "x",
                               "4294967296",
                               "\n",
                               " ",
                               "\r\n",
                               std::string(1, '\0'),
                               "\xff",
                               "99999999999999999999"};
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    Compound system("system", nullptr);
    ScriptedAtom& holder = *new ScriptedAtom(system);
    holder.add("b", {Time(4000)});
    holder.add("a", {Time(0), Time::MAX, Time(10000)});
    SimuClock clock("simulated");
    LogicalClock over("logical", clock);
    InteractiveExecuter executer(system, over, semantics, everything, LOUD, 0, std::cout,
                                 Time(40000));
    std::string input;
    for (unsigned long n = random() % 60; n > 0; --n) {
      input += words[random() % std::size(words)];
      if (random() % 3 != 0) input += ' ';
      if (random() % 20 == 0) input += static_cast<char>(random());
    }
    const std::string text = session(executer, input);
    ASSERT_GE(text.size(), BUG.size()) << round;
    ASSERT_EQ(text.substr(text.size() - BUG.size()), BUG) << round;
  }
}

}  // namespace
