#include "filter.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "executables.hpp"
#include "kit/scripted.hpp"

using namespace kit;

namespace {

using Vesk::Time;

constexpr unsigned int REMOVED_BY_SEMANTICS = 1;
constexpr unsigned int REMOVED_BY_SCHEDULER = 2;

// Internal ports in a list, filtered at time 10.
class FilterTest : public testing::Test {
 protected:
  static constexpr int NOW = 10;

  ScriptedPort& add(const char* name, Time next, Time deadline) {
    mPorts.emplace_back(name, Window{next, Time::MAX, deadline}, &log);
    if (mPorts.size() > 1) mPorts[mPorts.size() - 2].setNext(&mPorts.back());
    executables.setInternals(&mPorts.front());
    return mPorts.back();
  }
  // The names of what no filter has removed.
  std::string left() {
    std::string names;
    for (Executables::iterator it = executables.begin(); it != executables.end(); ++it) {
      names += (*it)->label();
    }
    return names;
  }
  std::string leftAfter(const Filter& filter) {
    filter.filter(executables, wait);
    return left();
  }

  std::deque<ScriptedPort>& ports() { return mPorts; }

  Executables executables;
  Interval wait{Time(NOW), Time::MAX, LAZY, false, true};
  Log log;

 private:
  std::deque<ScriptedPort> mPorts;
};

class StandardSemanticsTest : public FilterTest {
 protected:
  StandardSemantics semantics;
};

class EDFSchedulerTest : public FilterTest {
 protected:
  EDFScheduler scheduler;
};

class EDFdeltaSchedulerTest : public FilterTest {};

// Levels, masks and marks

TEST(FilterLevelTest, TheMaskHoldsTheBitsOfTheLevelAndAllBelow) {
  EXPECT_EQ(StandardSemantics().mask(), 1u);
  EXPECT_EQ(StandardSemantics().mark(), 1u);
  EXPECT_EQ(EDFScheduler().mask(), 3u);
  EXPECT_EQ(EDFScheduler().mark(), 2u);
  EXPECT_EQ(EDFdeltaScheduler(Time(5)).mask(), 3u);
  EXPECT_EQ(EDFdeltaScheduler(Time(5)).mark(), 2u);
  EXPECT_EQ(EmptyScheduler().mask(), 3u);
  EXPECT_EQ(EmptyScheduler().mark(), 2u);
}

TEST(FilterLevelTest, EveryLevelUpTo31HasItsBits) {
  EmptyScheduler filter;
  for (unsigned int level = 0; level < 32; ++level) {
    filter.setLevel(level);
    EXPECT_EQ(filter.level(), level) << level;
    EXPECT_EQ(filter.mark(), 1u << level);
    const unsigned int higher = level == 31 ? 0u : ~0u << (level + 1);
    EXPECT_EQ(filter.mask(), ~higher) << level;
  }
}

// The semantics

TEST_F(StandardSemanticsTest, TheEarliestDeadlineBecomesTheUpperBound) {
  add("a", Time(10), Time(50));
  add("b", Time(10), Time(30));
  add("c", Time(10), Time::MAX);
  semantics.filter(executables, wait);
  EXPECT_EQ(wait.high(), Time(30));
  EXPECT_EQ(wait.low(), Time(NOW));
}

TEST_F(StandardSemanticsTest, AnUpperBoundBelowAllDeadlinesStays) {
  add("a", Time(10), Time(50));
  wait.setHigh(Time(20));
  semantics.filter(executables, wait);
  EXPECT_EQ(wait.high(), Time(20));
}

TEST_F(StandardSemanticsTest, WhatIsEnabledExactlyAtTheEarliestDeadlineIsKept) {
  add("a", Time(30), Time(30));
  add("b", Time(31), Time(40));
  EXPECT_EQ(leftAfter(semantics), "a");
}

TEST_F(StandardSemanticsTest, WhatIsNeverEnabledAgainIsRemovedEvenWithoutDeadlines) {
  add("a", Time::MAX, Time::MAX);
  add("b", Time(2000000000), Time::MAX);
  EXPECT_EQ(leftAfter(semantics), "b");
  EXPECT_EQ(wait.high(), Time::MAX);
}

TEST_F(StandardSemanticsTest, WhatBecomesEnabledBeyondTheInfiniteTimeIsRemoved) {
  add("a", Time(2147483648LL), Time::MAX);
  EXPECT_EQ(leftAfter(semantics), "");
  EXPECT_EQ(wait.high(), Time::MAX);
}

TEST_F(StandardSemanticsTest, TheDeadlineOfWhatIsRemovedBoundsTheWaitAsWell) {
  add("a", Time::MAX, Time(15));
  add("b", Time(20), Time::MAX);
  EXPECT_EQ(leftAfter(semantics), "");
  EXPECT_EQ(wait.high(), Time(15));
}

TEST_F(StandardSemanticsTest, ADeadlineThatHasPassedBecomesTheUpperBound) {
  add("a", Time::MAX, Time(5));
  semantics.filter(executables, wait);
  EXPECT_EQ(wait.high(), Time(5));
}

TEST_F(StandardSemanticsTest, OnlyBitZeroIsSetOnWhatIsRemoved) {
  ScriptedPort& port = add("a", Time::MAX, Time::MAX);
  port.setMark(4);
  semantics.filter(executables, wait);
  EXPECT_EQ(port.mark(), 5u);
}

TEST_F(StandardSemanticsTest, WhatIsMarkedWithBitZeroPlaysNoPart) {
  add("a", Time(20), Time(12)).setMark(REMOVED_BY_SEMANTICS);
  add("b", Time(20), Time(40));
  EXPECT_EQ(leftAfter(semantics), "b");
  EXPECT_EQ(wait.high(), Time(40));
}

TEST_F(StandardSemanticsTest, WhatTheSchedulerRemovedStillBoundsTheWait) {
  ScriptedPort& removed = add("a", Time(20), Time(12));
  removed.setMark(REMOVED_BY_SCHEDULER);
  add("b", Time(11), Time(40));
  EXPECT_EQ(leftAfter(semantics), "b");
  EXPECT_EQ(wait.high(), Time(12));
  EXPECT_EQ(removed.mark(), 3u);
}

TEST_F(StandardSemanticsTest, AnEmptySetLeavesTheUpperBound) {
  wait.setHigh(Time(77));
  semantics.filter(executables, wait);
  EXPECT_EQ(wait.high(), Time(77));
}

TEST_F(StandardSemanticsTest, AllDeadlinesAreAskedBeforeAnyNextTime) {
  add("a", Time(10), Time(50));
  add("b", Time(10), Time(30));
  semantics.filter(executables, wait);
  EXPECT_EQ(log, (Log{"a.deadline(10)", "b.deadline(10)", "a.next(10)", "b.next(10)"}));
}

TEST_F(StandardSemanticsTest, ASecondApplicationNarrowsFurtherAndClearsNoMark) {
  ScriptedPort& removed = add("a", Time(20), Time::MAX);
  ScriptedPort& kept = add("b", Time(10), Time::MAX);
  wait.setHigh(Time(15));
  EXPECT_EQ(leftAfter(semantics), "b") << "the first time";
  removed.window.from = Time(0);
  kept.window.due = Time(12);
  EXPECT_EQ(leftAfter(semantics), "b") << "due at 12";
  EXPECT_EQ(wait.high(), Time(12)) << "due at 12";
  kept.window.due = Time(14);
  EXPECT_EQ(leftAfter(semantics), "b") << "due at 14";
  EXPECT_EQ(wait.high(), Time(12)) << "due at 14";
}

// Keeping everything

TEST_F(FilterTest, TheEmptySchedulerKeepsEverythingAndAsksNothing) {
  add("a", Time::MAX, Time(5));
  add("b", Time(20), Time::MAX);
  EXPECT_EQ(leftAfter(EmptyScheduler()), "ab");
  EXPECT_EQ(wait.high(), Time::MAX);
  EXPECT_EQ(log, Log{});
}

// Earliest deadline first

TEST_F(EDFSchedulerTest, TheEarliestDeadlineWinsOverAnEarlierNextTime) {
  add("a", Time(10), Time(50));
  add("b", Time(20), Time(30));
  EXPECT_EQ(leftAfter(scheduler), "b");
}

TEST_F(EDFSchedulerTest, AmongEqualDeadlinesTheEarlierNextTimeIsKept) {
  add("a", Time(20), Time(30));
  add("b", Time(15), Time(30));
  add("c", Time(16), Time(30));
  EXPECT_EQ(leftAfter(scheduler), "b");
}

TEST_F(EDFSchedulerTest, EqualPairsAreAllKept) {
  add("a", Time(15), Time(30));
  add("b", Time(15), Time(30));
  add("c", Time(15), Time(31));
  EXPECT_EQ(leftAfter(scheduler), "ab");
}

TEST_F(EDFSchedulerTest, WithoutAnyDeadlineTheEarliestNextTimeIsKept) {
  add("a", Time(20), Time::MAX);
  add("b", Time(15), Time::MAX);
  EXPECT_EQ(leftAfter(scheduler), "b");
}

TEST_F(EDFSchedulerTest, ALaterDeadlineIsNotComparedByItsNextTime) {
  add("a", Time(20), Time(30));
  add("b", Time(10), Time(40));
  add("c", Time(12), Time(30));
  EXPECT_EQ(leftAfter(scheduler), "c");
}

TEST_F(EDFSchedulerTest, WhatTheSemanticsRemovedIsNeitherSeenNorMarked) {
  ScriptedPort& removed = add("a", Time(10), Time(12));
  removed.setMark(REMOVED_BY_SEMANTICS);
  add("b", Time(20), Time(40));
  EXPECT_EQ(leftAfter(scheduler), "b");
  EXPECT_EQ(removed.mark(), REMOVED_BY_SEMANTICS);
}

TEST_F(EDFSchedulerTest, WhatIsMarkedWithItsOwnBitPlaysNoPart) {
  add("a", Time(10), Time(12)).setMark(REMOVED_BY_SCHEDULER);
  add("b", Time(20), Time(40));
  EXPECT_EQ(leftAfter(scheduler), "b");
}

TEST_F(EDFSchedulerTest, MarksOfHigherLevelsDoNotHide) {
  ScriptedPort& port = add("a", Time(20), Time(50));
  port.setMark(4);
  add("b", Time(20), Time(40));
  EXPECT_EQ(leftAfter(scheduler), "b");
  EXPECT_EQ(port.mark(), 6u);
}

TEST_F(EDFSchedulerTest, TheWaitIntervalStays) {
  add("a", Time(15), Time(30));
  wait.setHigh(Time(100));
  scheduler.filter(executables, wait);
  EXPECT_EQ(wait.low(), Time(NOW));
  EXPECT_EQ(wait.high(), Time(100));
}

TEST_F(EDFSchedulerTest, TheNextTimeIsAskedBeforeTheDeadlineInBothWalks) {
  add("a", Time(15), Time(30));
  add("b", Time(15), Time(30));
  scheduler.filter(executables, wait);
  EXPECT_EQ(log, (Log{"a.next(10)", "a.deadline(10)", "b.next(10)", "b.deadline(10)",  //
                      "a.next(10)", "a.deadline(10)", "b.next(10)", "b.deadline(10)"}));
}

TEST_F(EDFSchedulerTest, AnEmptySetIsLeftAlone) {
  EXPECT_EQ(leftAfter(scheduler), "");
  EXPECT_EQ(wait.high(), Time::MAX);
}

// Earliest deadline first with a margin

TEST_F(EDFdeltaSchedulerTest, AnInfiniteMarginIsPlainEarliestDeadlineFirst) {
  add("a", Time(10), Time(50));
  add("b", Time(20), Time(30));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time::MAX)), "b");
}

// A sum with the earliest of all times is that time, however large the margin is.
TEST_F(EDFdeltaSchedulerTest,
       AnInfiniteMarginIsPlainEarliestDeadlineFirstAlsoForTheBeginningOfTime) {
  add("a", Time::MIN, Time(50));
  add("b", Time(20), Time(30));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time::MAX)), "b");
}

TEST_F(EDFdeltaSchedulerTest, WhatCanFireMoreThanTheMarginBeforeTheDeadlineIsKept) {
  add("a", Time(10), Time(50));
  add("b", Time(20), Time(30));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time(19))), "a");
}

TEST_F(EDFdeltaSchedulerTest, ExactlyTheMarginBeforeTheDeadlineIsNotEnough) {
  add("a", Time(10), Time(50));
  add("b", Time(20), Time(30));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time(20))), "b");
}

TEST_F(EDFdeltaSchedulerTest, AmongTheEarliestTheEarlierDeadlineIsKept) {
  add("a", Time(10), Time(80));
  add("b", Time(10), Time(70));
  add("c", Time(40), Time(60));
  add("d", Time(10), Time(70));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time(5))), "bd");
}

TEST_F(EDFdeltaSchedulerTest, AmongEqualDeadlinesTheEarlierNextTimeIsKept) {
  add("a", Time(25), Time(30));
  add("b", Time(22), Time(30));
  add("c", Time(20), Time(60));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time(10))), "b");
}

TEST_F(EDFdeltaSchedulerTest, WithoutDeadlinesAnyFiniteMarginKeepsTheEarliest) {
  add("a", Time(25), Time::MAX);
  add("b", Time(22), Time::MAX);
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time(1000))), "b");
}

TEST_F(EDFdeltaSchedulerTest, AnInfiniteNextTimeIsNeverWithinTheMargin) {
  add("a", Time::MAX, Time(50));
  add("b", Time::MAX, Time(30));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time(-100))), "b");
}

TEST_F(EDFdeltaSchedulerTest, AMarginOfMinusInfinityAlwaysKeepsTheEarliest) {
  add("a", Time(29), Time(50));
  add("b", Time(30), Time(30));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time::MIN)), "a");
}

TEST_F(EDFdeltaSchedulerTest, WhatTheSemanticsRemovedIsNeitherSeenNorMarked) {
  ScriptedPort& removed = add("a", Time(10), Time(12));
  removed.setMark(REMOVED_BY_SEMANTICS);
  add("b", Time(20), Time(40));
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time(0))), "b");
  EXPECT_EQ(removed.mark(), REMOVED_BY_SEMANTICS);
}

TEST_F(EDFdeltaSchedulerTest, TheDeadlineIsAskedBeforeTheNextTimeInTheFirstWalk) {
  add("a", Time(15), Time(30));
  add("b", Time(15), Time(30));
  EDFdeltaScheduler(Time::MAX).filter(executables, wait);
  ASSERT_EQ(log.size(), 8u);
  log.resize(4);
  EXPECT_EQ(log, (Log{"a.deadline(10)", "a.next(10)", "b.deadline(10)", "b.next(10)"}));
}

TEST_F(EDFdeltaSchedulerTest, TheMarginCanBeReadAndChanged) {
  EDFdeltaScheduler filter{Time(7)};
  EXPECT_EQ(filter.delta(), Time(7));
  filter.setDelta(Time(9));
  EXPECT_EQ(filter.delta(), Time(9));
}

TEST_F(EDFdeltaSchedulerTest, AnEmptySetIsLeftAlone) {
  EXPECT_EQ(leftAfter(EDFdeltaScheduler(Time(0))), "");
  EXPECT_EQ(wait.high(), Time::MAX);
}

// All filters against their definitions, on random times

class RandomTimesTest : public FilterTest {
 protected:
  using Candidate = std::pair<Time, Time>;  // deadline, next

  Time draw() {
    return mRandom() % 6 == 0 ? Time::MAX : Time(static_cast<int>(mRandom() % 8) + 10);
  }
  // A set of up to seven ports named by letters.
  std::vector<Candidate> fill() {
    std::vector<Candidate> candidates(mRandom() % 8);
    for (std::size_t i = 0; i < candidates.size(); ++i) {
      candidates[i] = {draw(), draw()};
      const char name[] = {static_cast<char>('a' + i), '\0'};
      add(name, candidates[i].second, candidates[i].first);
    }
    return candidates;
  }
  void clear() {
    executables = Executables();
    wait = Interval(Time(NOW), Time::MAX, LAZY, false, true);
    ports().clear();
    log.clear();
  }
  template <class Keep>
  static std::string names(const std::vector<Candidate>& candidates, Keep keep) {
    std::string kept;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
      if (keep(candidates[i])) kept += static_cast<char>('a' + i);
    }
    return kept;
  }
  static bool byNext(const Candidate& left, const Candidate& right) {
    return std::make_pair(left.second, left.first) < std::make_pair(right.second, right.first);
  }

 private:
  std::mt19937 mRandom{1};
};

TEST_F(RandomTimesTest, TheSemanticsKeepsWhatBeginsByTheEarliestDeadline) {
  for (int round = 0; round < 2000; ++round, clear()) {
    const std::vector<Candidate> all = fill();
    Time latest = Time::MAX;
    for (const Candidate& one : all) latest = std::min(latest, one.first);
    ASSERT_EQ(leftAfter(StandardSemantics()), names(all,
                                                    [&](const Candidate& one) {
                                                      return one.second != Time::MAX &&
                                                             one.second <= latest;
                                                    }))
        << round;
    ASSERT_EQ(wait.high(), latest) << round;
  }
}

TEST_F(RandomTimesTest, EarliestDeadlineFirstKeepsTheLeastPair) {
  for (int round = 0; round < 2000; ++round, clear()) {
    const std::vector<Candidate> all = fill();
    const auto least = std::min_element(all.begin(), all.end());
    ASSERT_EQ(leftAfter(EDFScheduler()),
              names(all, [&](const Candidate& one) { return one == *least; }))
        << round;
  }
}

TEST_F(RandomTimesTest, TheMarginSwitchesToTheLeastPairByNextTime) {
  for (int round = 0; round < 4000; ++round, clear()) {
    const Time margin(round % 9);
    const std::vector<Candidate> all = fill();
    Candidate kept(Time::MAX, Time::MAX);
    if (!all.empty()) {
      const Candidate urgent = *std::min_element(all.begin(), all.end());
      const Candidate soon = *std::min_element(all.begin(), all.end(), byNext);
      kept = soon.second + margin < urgent.first ? soon : urgent;
    }
    ASSERT_EQ(leftAfter(EDFdeltaScheduler(margin)),
              names(all, [&](const Candidate& one) { return one == kept; }))
        << round;
  }
}

}  // namespace
