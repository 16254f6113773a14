// The real-time choice: what fires next among candidates with next times and deadlines.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/clocks.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;
using Vesk::Time;

namespace {

// A step that is put together by hand: connectors with interactions, and internal ports. What is
// added last stands last in its list.
class Step {
 public:
  explicit Step(Time now = Time(0)) : scheduler(&mSystem), mAtom(mSystem.atom("A")), mNow(now) {
    scheduler.parse({});
    scheduler.logicalClock()->wait(now);
  }

  Connector* connector() {
    Connector* added = mSystem.rendezvous("k", mAtom->rule("p", [] { return true; }),
                                          mAtom->rule("q", [] { return true; }));
    added->setFeasibleInter(nullptr);
    if (mConnectors.empty()) {
      scheduler.mLegal = added;
    } else {
      mConnectors.back()->setNext(added);
    }
    mConnectors.push_back(added);
    return added;
  }
  // An interaction of the connector, or of a new one.
  Interaction* interaction(Connector* owner = nullptr) {
    if (owner == nullptr) owner = connector();
    Interaction* last = owner->feasibleInter();
    Interaction* added = Interaction::Create(owner, BitVector(last == nullptr ? 0 : 1));
    if (last == nullptr) {
      owner->setFeasibleInter(added);
    } else {
      last->setNext(added);
    }
    return added;
  }
  Interaction* interaction(Time next, Time deadline, Connector* owner = nullptr) {
    Interaction* added = interaction(owner);
    added->useOwnConstraint(nullptr) = between(next, deadline, nullptr);
    return added;
  }
  Port* port() {
    Port* added = mAtom->rule("i", [] { return true; });
    added->setInternal();
    if (mPorts.empty()) {
      scheduler.mInternals = added;
    } else {
      mPorts.back()->setNext(added);
    }
    mPorts.push_back(added);
    return added;
  }
  Port* port(Time next, Time deadline, GenericClock* clock = nullptr) {
    Port* added = port();
    added->useOwnConstraint(clock) = between(next, deadline, clock);
    return added;
  }

  // What is chosen now: exactly one of the two, or neither.
  const Executable* choose() {
    scheduler.rt_choose(mNow);
    EXPECT_TRUE(scheduler.choice() == nullptr || scheduler.choicePort() == nullptr);
    if (scheduler.choice() != nullptr) return scheduler.choice();
    return scheduler.choicePort();
  }
  Time deadline() {
    scheduler.setDeadline(mNow);
    return scheduler.deadline();
  }
  bool deadlock() { return scheduler.deadlock(mNow); }

 private:
  // Possible from the first time on, and due at the second, unless that is infinite.
  static Constraint between(Time next, Time deadline, GenericClock* clock) {
    return Constraint(clock, next, deadline, deadline == Time::MAX ? LAZY : DELAYABLE);
  }

  System mSystem;

 public:
  OpenScheduler scheduler;

 private:
  TestAtom* mAtom;
  Time mNow;
  std::vector<Connector*> mConnectors;
  std::vector<Port*> mPorts;
};

}  // namespace

// ---- Candidates ------------------------------------------------------------------------------

TEST(RtChooseTest, WithoutCandidatesNothingIsChosenAndBothTimesAreInfinite) {
  Step step;
  step.scheduler.setChoice(step.port(), Time(3), Time(4));
  step.scheduler.mInternals = nullptr;
  EXPECT_EQ(step.choose(), nullptr);
  EXPECT_EQ(step.scheduler.choiceNext(), Time::MAX);
  EXPECT_EQ(step.scheduler.choiceDeadline(), Time::MAX);
  EXPECT_EQ(step.deadline(), Time::MAX);
  EXPECT_TRUE(step.deadlock());
}

TEST(RtChooseTest, AConnectorWithoutInteractionsIsNoCandidate) {
  Step step;
  step.connector();
  EXPECT_EQ(step.choose(), nullptr);
  EXPECT_TRUE(step.deadlock());
}

TEST(RtChooseTest, AnUnconstrainedInteractionIsPossibleNowAndHasNoDeadline) {
  Step step(Time(7));
  const Interaction* only = step.interaction();
  EXPECT_EQ(step.choose(), only);
  EXPECT_EQ(step.scheduler.choiceNext(), Time(7));
  EXPECT_EQ(step.scheduler.choiceDeadline(), Time::MAX);
  EXPECT_EQ(step.deadline(), Time::MAX);
  EXPECT_FALSE(step.deadlock());
}

TEST(RtChooseTest, AnUnconstrainedPortIsPossibleNowAndHasNoDeadline) {
  Step step(Time(7));
  const Port* only = step.port();
  EXPECT_EQ(step.choose(), only);
  EXPECT_EQ(step.scheduler.choiceNext(), Time(7));
  EXPECT_EQ(step.scheduler.choiceDeadline(), Time::MAX);
  EXPECT_EQ(step.deadline(), Time::MAX);
  EXPECT_FALSE(step.deadlock());
}

TEST(RtChooseTest, WhatCanNeverFireIsSkipped) {
  Step step(Time(10));
  step.interaction(Time(0), Time(9));
  step.port(Time(0), Time(9));
  EXPECT_EQ(step.choose(), nullptr);
  EXPECT_TRUE(step.deadlock());
  const Interaction* possible = step.interaction(Time(50), Time(60));
  EXPECT_EQ(step.choose(), possible);
  EXPECT_FALSE(step.deadlock());
}

TEST(RtChooseTest, DominatedConnectorsAreNoCandidates) {
  Step step;
  step.connector()->setDominated(true);
  step.interaction(Time(1), Time(2), step.scheduler.mLegal);
  EXPECT_EQ(step.choose(), nullptr);
  EXPECT_EQ(step.deadline(), Time::MAX);
  EXPECT_TRUE(step.deadlock());
  const Interaction* other = step.interaction(Time(3), Time(4));
  EXPECT_EQ(step.choose(), other);
  EXPECT_EQ(step.deadline(), Time(4));
  EXPECT_FALSE(step.deadlock());
}

TEST(RtChooseTest, AllInteractionsOfAConnectorAreCandidates) {
  Step step;
  Connector* owner = step.connector();
  step.interaction(Time(100), Time(1000), owner);
  const Interaction* second = step.interaction(Time(50), Time(900), owner);
  EXPECT_EQ(step.choose(), second);
  EXPECT_EQ(step.deadline(), Time(900));
}

TEST(RtChooseTest, TheDeadlineIsTheEarliestOfInteractionsAndPorts) {
  Step step;
  step.interaction(Time(0), Time(500));
  EXPECT_EQ(step.deadline(), Time(500));
  step.port(Time(0), Time(400));
  EXPECT_EQ(step.deadline(), Time(400));
  step.interaction(Time(0), Time(300));
  EXPECT_EQ(step.deadline(), Time(300)) << "of an interaction";
  step.port(Time(0), Time::MAX);
  EXPECT_EQ(step.deadline(), Time(300)) << "beside a port without deadline";
}

TEST(RtChooseTest, ATimeBeyondInfinityCountsAsADeadlockAndYetAsAChoice) {
  Step step;
  const Interaction* late = step.interaction(Time(2147483648LL), Time(2147483650LL));
  EXPECT_TRUE(step.deadlock());
  EXPECT_EQ(step.choose(), late);
}

// ---- The four cases --------------------------------------------------------------------------

TEST(RtChooseTest, TheFirstCandidateIsTaken) {
  Step step;
  const Interaction* first = step.interaction(Time(100), Time(1000));
  EXPECT_EQ(step.choose(), first);
  EXPECT_EQ(step.scheduler.choiceNext(), Time(100));
  EXPECT_EQ(step.scheduler.choiceDeadline(), Time(1000));
}

TEST(RtChooseTest, AnEarlierCandidateIsTakenWhenItLeavesTimeForTheChoice) {
  for (const int deadline : {130, 131}) {
    Step step;
    const Interaction* first = step.interaction(Time(100), Time(deadline));
    const Interaction* earlier = step.interaction(Time(50), Time(2000));
    const bool leavesTime = 50 + 80 < deadline;
    EXPECT_EQ(step.choose(), leavesTime ? earlier : first) << deadline;
    EXPECT_EQ(step.scheduler.choiceNext(), Time(leavesTime ? 50 : 100)) << deadline;
    EXPECT_EQ(step.scheduler.choiceDeadline(), Time(leavesTime ? 2000 : deadline)) << deadline;
  }
}

TEST(RtChooseTest, AMoreUrgentCandidateIsTakenWhenTheChoiceWouldMakeItLate) {
  for (const int deadline : {180, 181}) {
    Step step;
    const Interaction* first = step.interaction(Time(100), Time(1000));
    const Interaction* urgent = step.interaction(Time(150), Time(deadline));
    const bool endangered = deadline <= 100 + 80;
    EXPECT_EQ(step.choose(), endangered ? urgent : first) << deadline;
    EXPECT_EQ(step.scheduler.choiceNext(), Time(endangered ? 150 : 100)) << deadline;
    EXPECT_EQ(step.scheduler.choiceDeadline(), Time(endangered ? deadline : 1000)) << deadline;
  }
}

TEST(RtChooseTest, ACandidateThatIsLaterAndLessUrgentIsNotTaken) {
  Step step;
  const Interaction* first = step.interaction(Time(100), Time(1000));
  step.interaction(Time(101), Time(1000));
  step.interaction(Time(100), Time(1001));
  step.interaction(Time(200), Time::MAX);
  EXPECT_EQ(step.choose(), first);
}

TEST(RtChooseTest, TheMarginIsTheSchedulersDelta) {
  Step step;
  step.scheduler.mDelta = Time(10);
  step.interaction(Time(100), Time(130));
  const Interaction* earlier = step.interaction(Time(50), Time(2000));
  EXPECT_EQ(step.choose(), earlier);
  step.scheduler.mDelta = Time::MAX;
  EXPECT_NE(step.choose(), earlier);
}

TEST(RtChooseTest, PortsReplaceInteractionsByTheSameRules) {
  Step step;
  step.interaction(Time(100), Time(1000));
  const Port* earlier = step.port(Time(50), Time(2000));
  EXPECT_EQ(step.choose(), earlier) << "beside an interaction";
  EXPECT_EQ(step.scheduler.choice(), nullptr);
  step.port(Time(60), Time(2000));
  EXPECT_EQ(step.choose(), earlier) << "before a later port";
  const Port* urgent = step.port(Time(120), Time(130));
  EXPECT_EQ(step.choose(), urgent);
}

TEST(RtChooseTest, OnlyPortsAreAChoiceAmongPorts) {
  Step step;
  const Port* first = step.port(Time(100), Time(1000));
  step.port(Time(200), Time(1000));
  EXPECT_EQ(step.choose(), first);
}

// ---- Ties ------------------------------------------------------------------------------------

namespace {

constexpr int SEEDS = 30000;
constexpr double THIRD = SEEDS / 3.0;
constexpr double THREE_DEVIATIONS = 245;  // 3 * sqrt(30000 * 1/3 * 2/3)

// How often each of the candidates is chosen over many seeds.
std::array<int, 3> draw(Step& step, const std::array<const Executable*, 3>& candidates) {
  std::array<int, 3> drawn = {0, 0, 0};
  for (int seed = 1; seed <= SEEDS; ++seed) {
    std::srand(static_cast<unsigned int>(seed));
    const Executable* chosen = step.choose();
    for (std::size_t i = 0; i < candidates.size(); ++i) drawn[i] += chosen == candidates[i];
  }
  return drawn;
}

void expectThirds(const std::array<int, 3>& drawn) {
  EXPECT_EQ(drawn[0] + drawn[1] + drawn[2], SEEDS);
  for (const int times : drawn) EXPECT_NEAR(times, THIRD, THREE_DEVIATIONS);
}

}  // namespace

TEST(RtChooseTest, ThreeEqualInteractionsAreDrawnUniformly) {
  Step step;
  const Interaction* first = step.interaction(Time(5), Time(9));
  const Interaction* second = step.interaction(Time(5), Time(9));
  const Interaction* third = step.interaction(Time(5), Time(9));
  expectThirds(draw(step, {first, second, third}));
}

TEST(RtChooseTest, ThreeEqualPortsAreDrawnUniformly) {
  Step step;
  const Port* first = step.port();
  const Port* second = step.port();
  const Port* third = step.port();
  expectThirds(draw(step, {first, second, third}));
}

TEST(RtChooseTest, TiesAcrossInteractionsAndPortsAreDrawnUniformly) {
  Step step;
  const Interaction* first = step.interaction(Time(5), Time(9));
  const Interaction* second = step.interaction(Time(5), Time(9));
  const Port* third = step.port(Time(5), Time(9));
  expectThirds(draw(step, {first, second, third}));
}

TEST(RtChooseTest, ABetterCandidateStartsTheCountOfTiesAnew) {
  Step step;
  step.interaction(Time(500), Time(5000));
  step.interaction(Time(500), Time(5000));
  const Interaction* first = step.interaction(Time(5), Time(9000));
  const Port* second = step.port(Time(5), Time(9000));
  const Port* third = step.port(Time(5), Time(9000));
  expectThirds(draw(step, {first, second, third}));
}

TEST(RtChooseTest, WithoutATieNothingIsDrawn) {
  Step step;
  step.interaction(Time(100), Time(1000));
  step.interaction(Time(50), Time(2000));
  step.interaction(Time(60), Time(2000));
  std::srand(5);
  const int expected = std::rand();
  std::srand(5);
  step.choose();
  EXPECT_EQ(std::rand(), expected);
}

// ---- Clocks of constraints -------------------------------------------------------------------

TEST(RtChooseTest, APortIsAskedInTheTimeOfTheClockOfItsConstraint) {
  HandClock clock(Time(30));
  Step step(Time(100));
  const Port* port = step.port(Time(40), Time(60), &clock);
  EXPECT_EQ(step.choose(), port);
  EXPECT_EQ(step.scheduler.choiceNext(), Time(110));
  EXPECT_EQ(step.scheduler.choiceDeadline(), Time(130));
  EXPECT_EQ(step.deadline(), Time(130));
  EXPECT_FALSE(step.deadlock());
}

TEST(RtChooseTest, APortWhoseTimeIsOverOnItsOwnClockIsSkipped) {
  HandClock clock(Time(61));
  Step step(Time(0));
  step.port(Time(40), Time(60), &clock);
  EXPECT_EQ(step.choose(), nullptr);
  EXPECT_TRUE(step.deadlock());
  EXPECT_EQ(step.deadline(), Time::MAX);
}

TEST(RtChooseTest, AStoppedClockIsCorrectedByItsFrozenValue) {
  Step step(Time(100));
  Clock clock("c", step.scheduler.logicalClock());
  clock.setTime(Time(20));
  clock.stop();
  step.scheduler.logicalClock()->wait(Time(200));
  const Port* port = step.port(Time(25), Time(30), &clock);
  step.scheduler.rt_choose(Time(200));
  EXPECT_EQ(step.scheduler.choicePort(), port);
  EXPECT_EQ(step.scheduler.choiceNext(), Time(205));
  EXPECT_EQ(step.scheduler.choiceDeadline(), Time(210));
}

TEST(RtChooseTest, AConstraintWithoutAClockIsAskedInLogicalTime) {
  Step step(Time(100));
  const Port* port = step.port(Time(140), Time(160));
  EXPECT_EQ(step.choose(), port);
  EXPECT_EQ(step.scheduler.choiceNext(), Time(140));
  EXPECT_EQ(step.deadline(), Time(160));
}

TEST(RtChooseTest, WithoutALogicalClockThereIsNoCorrection) {
  System system;
  OpenScheduler scheduler(&system);
  TestAtom* atom = system.atom("A");
  Port* port = atom->rule("i", [] { return true; });
  HandClock clock(Time(30));
  port->useOwnConstraint(&clock) = Constraint(&clock, Time(40), Time(60), DELAYABLE);
  scheduler.mInternals = port;
  scheduler.rt_choose(Time(0));
  EXPECT_EQ(scheduler.choiceNext(), Time(40));
  EXPECT_FALSE(scheduler.deadlock(Time(0)));
}

TEST(RtChooseTest, AnInfiniteAnswerStaysInfiniteUnderTheCorrection) {
  HandClock clock(Time(30));
  Step step(Time(100));
  step.port(Time(0), Time(10), &clock);
  EXPECT_EQ(step.choose(), nullptr);
  EXPECT_EQ(step.deadline(), Time::MAX) << "with times in the past";
  step.port(Time(0), Time::MAX, &clock);
  EXPECT_EQ(step.deadline(), Time::MAX) << "without a deadline";
}

TEST(RtChooseTest, AClockAtInfinityKeepsTheAnswersOfTheConstraint) {
  HandClock clock(Time::MAX);
  Step step(Time(100));
  step.port(Time(40), Time(60), &clock);
  // The correction is minus infinity: the query is made at plus infinity, after the last interval.
  EXPECT_EQ(step.choose(), nullptr);
  EXPECT_TRUE(step.deadlock());
}
