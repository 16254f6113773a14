// An agenda that is kept from step to step: when it can be, and what it takes up.
#include "kept-agenda.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "kit/systems.hpp"

using namespace kit;

using Vesk::Agenda;
using Vesk::ClockUsers;
using Vesk::KeptAgenda;
using Vesk::Time;
using Vesk::Times;

namespace {

constexpr int MANY = 12;  // parts, for which activation keeps a plan

std::vector<std::size_t> slotsOf(ClockUsers& users, const GenericClock& clock) {
  std::vector<std::size_t> slots;
  EXPECT_TRUE(users.visitAll(&clock, [&](std::size_t slot) {
    slots.push_back(slot);
    return true;
  }));
  return slots;
}

// Timers in a run that has begun: number i must fire i + 1 microseconds after it has fired.
class Timers {
 public:
  Timers(int count, bool internal) : mPlatform("p"), mLogical("l", mPlatform), mSystem("S") {
    for (int i = 0; i < count; ++i) {
      const Interval when = within(i + 1, 1000000, EAGER);
      mPorts.push_back(mSystem.atom("A")->timedRule("t", when, [] { return true; }));
      if (internal) mPorts.back()->setInternal();
      if (!internal) mSystem.rendezvous("k", mPorts.back());
    }
    mSystem.initialize(&mLogical);
  }

  std::unique_ptr<KeptAgenda> agenda() {
    return std::make_unique<KeptAgenda>(mSystem, mLogical, Agenda::Policy::EARLIEST_DEADLINE,
                                        Times::MAX);
  }
  // What a step does until it fires.
  bool takeUp(KeptAgenda& agenda) {
    mSystem.activate(true);
    const bool done = agenda.takeUp();
    agenda.forgetClocks();
    return done;
  }
  bool open(KeptAgenda& agenda) {
    wait = Interval(mLogical.time(), Time::MAX, LAZY, false, true);
    return agenda.open(mLogical.time(), wait);
  }
  bool prepare(KeptAgenda& agenda) {
    if (!takeUp(agenda) || !open(agenda) || agenda.empty()) return false;
    agenda.choose();
    return true;
  }
  // A step, which gives the time at which it fires; -1: the agenda does not know.
  long long step(KeptAgenda& agenda) {
    Time next;
    if (!prepare(agenda)) return -1;
    Executable* const picked = agenda.pick(agenda.count() - 1, next);
    if (picked == nullptr) return -1;
    mLogical.wait(next);
    picked->actuate(next);
    picked->execute(next);
    return next.microseconds();
  }
  Port& port(int number) { return *mPorts[static_cast<std::size_t>(number)]; }

  Interval wait{Time(0), Time::MAX, LAZY, false, true};

 private:
  SimuClock mPlatform;
  LogicalClock mLogical;
  System mSystem;
  std::vector<Port*> mPorts;
};

// Timer i fires at the multiples of i + 1, all that are due at one time one after the other.
std::vector<long long> timesOf(int timers, std::size_t steps) {
  std::vector<long long> times;
  for (long long t = 1; times.size() < steps; ++t) {
    for (int i = 0; i < timers; ++i) {
      if (t % (i + 1) == 0) times.push_back(t);
    }
  }
  times.resize(steps);
  return times;
}

}  // namespace

TEST(ClockUsersTest, SlotsComeInTheOrderOfAdding) {
  SimuClock one("1");
  SimuClock two("2");
  ClockUsers users;
  for (const std::size_t slot : {4u, 2u, 9u}) users.add(&one, slot);
  users.add(&two, 2);
  EXPECT_EQ((std::vector<std::size_t>{4, 2, 9}), slotsOf(users, one));
  EXPECT_EQ((std::vector<std::size_t>{2}), slotsOf(users, two));
}

TEST(ClockUsersTest, ASlotIsKeptOnce) {
  SimuClock clock("c");
  ClockUsers users;
  for (const std::size_t slot : {4u, 4u, 2u, 4u, 2u}) users.add(&clock, slot);
  EXPECT_EQ((std::vector<std::size_t>{4, 2}), slotsOf(users, clock));
}

TEST(ClockUsersTest, AVisitEndsWhenItIsToldSo) {
  SimuClock clock("c");
  ClockUsers users;
  for (const std::size_t slot : {1u, 2u, 3u}) users.add(&clock, slot);
  int visits = 0;
  EXPECT_FALSE(users.visitAll(&clock, [&](std::size_t slot) {
    ++visits;
    return slot != 2;
  }));
  EXPECT_EQ(2, visits);
}

// Enough for the tables to grow.
TEST(ClockUsersTest, SlotsMayBeAddedInAVisit) {
  constexpr std::size_t ALL = 1000;
  SimuClock clock("c");
  ClockUsers users;
  users.add(&clock, 0);
  users.add(&clock, 1);
  std::vector<std::size_t> visited;
  EXPECT_TRUE(users.visitAll(&clock, [&](std::size_t slot) {
    for (std::size_t i = 2; visited.empty() && i < ALL; ++i) users.add(&clock, i);
    visited.push_back(slot);
    return true;
  }));
  EXPECT_EQ(0u, visited.front());
  EXPECT_EQ(ALL - 1, visited.back());
}

TEST(ClockUsersTest, NobodyLooksAtOtherClocksOrAfterClearing) {
  SimuClock clock("c");
  SimuClock other("o");
  ClockUsers users;
  users.add(&clock, 1);
  EXPECT_NE(nullptr, users.placeOf(&clock));
  EXPECT_EQ(nullptr, users.placeOf(&other));
  EXPECT_TRUE(slotsOf(users, other).empty());
  users.clear();
  EXPECT_EQ(nullptr, users.placeOf(&clock));
  EXPECT_TRUE(slotsOf(users, clock).empty());
}

TEST(KeptAgendaTest, ASmallSystemHasNoPlanToFollow) {
  Timers timers(2, false);
  const auto agenda = timers.agenda();
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(timers.takeUp(*agenda)) << i;
  EXPECT_FALSE(agenda->isUpToDate());
}

TEST(KeptAgendaTest, TimersFireWhenTheyAreDue) {
  for (const bool internal : {false, true}) {
    Timers timers(MANY, internal);
    const auto agenda = timers.agenda();
    std::vector<long long> found;
    while (found.size() < 100) found.push_back(timers.step(*agenda));
    EXPECT_EQ(timesOf(MANY, 100), found) << (internal ? "internal ports" : "connectors");
    EXPECT_TRUE(agenda->isUpToDate());
  }
}

// The first deadline bounds the times of the step.
TEST(KeptAgendaTest, OpeningNarrowsTheTimesOfTheStep) {
  Timers timers(MANY, true);
  const auto agenda = timers.agenda();
  ASSERT_TRUE(timers.takeUp(*agenda));
  ASSERT_TRUE(timers.open(*agenda));
  EXPECT_EQ(Time(0), timers.wait.low());
  EXPECT_EQ(Time(1), timers.wait.high());
}

TEST(KeptAgendaTest, ATimeBeforeTheLastOneOrBeyondTheStepIsNotOpened) {
  Timers timers(MANY, true);
  const auto agenda = timers.agenda();
  for (int i = 0; i < 5; ++i) timers.step(*agenda);  // until 3
  ASSERT_TRUE(timers.takeUp(*agenda));
  Interval wait(Time(1), Time::MAX, LAZY, false, true);
  EXPECT_FALSE(agenda->open(Time(1), wait));
  EXPECT_EQ(Time::MAX, wait.high());
  wait.setHigh(Time(50));
  EXPECT_FALSE(agenda->open(Time(51), wait));
  EXPECT_EQ(Time(50), wait.high());
}

// At 6 those of 1, 2, 3 and 6 are due.
TEST(KeptAgendaTest, AllThatIsLeftIsCollectedInTheOrderOfTheWalk) {
  Timers timers(MANY, true);
  const auto agenda = timers.agenda();
  std::size_t before = 0;
  for (const long long time : timesOf(MANY, 100)) before += time < 6 ? 1 : 0;
  for (std::size_t i = 0; i < before; ++i) timers.step(*agenda);
  ASSERT_TRUE(timers.prepare(*agenda));
  std::vector<Executable*> left;
  ASSERT_TRUE(agenda->collect(left));
  EXPECT_EQ((std::vector<Executable*>{&timers.port(5), &timers.port(2), &timers.port(1),
                                      &timers.port(0)}),
            left);
  EXPECT_EQ(4u, agenda->count());
}

// Nobody notes a constraint that is written in place.
TEST(KeptAgendaTest, WhatAnswersSomethingElseIsNotPicked) {
  Timers timers(MANY, true);
  const auto agenda = timers.agenda();
  ASSERT_TRUE(timers.prepare(*agenda));
  (*timers.port(0).constraint())[0].setLow(Time(70));
  Time next(-5);
  EXPECT_EQ(nullptr, agenda->pick(0, next));
  EXPECT_EQ(Time(-5), next);
  std::vector<Executable*> left;
  EXPECT_FALSE(agenda->collect(left));
  EXPECT_TRUE(left.empty());
}

TEST(KeptAgendaTest, ThereIsOneAtATime) {
  Timers one(MANY, true);
  Timers other(MANY, true);
  auto first = one.agenda();
  const auto second = other.agenda();
  EXPECT_TRUE(one.takeUp(*first));
  EXPECT_FALSE(other.takeUp(*second));
  EXPECT_FALSE(second->isUpToDate());
  EXPECT_TRUE(one.takeUp(*first));
  first.reset();
  EXPECT_TRUE(other.takeUp(*second));
}

// Each time that it has served hardly any steps it pauses for twice as many and one more.
TEST(KeptAgendaTest, AfterGivingUpItPausesLongerEachTime) {
  Timers timers(MANY, true);
  const auto agenda = timers.agenda();
  for (const int pause : {1, 3, 7, 15}) {
    EXPECT_TRUE(timers.takeUp(*agenda));
    agenda->giveUp();
    EXPECT_FALSE(agenda->isUpToDate());
    for (int i = 0; i < pause; ++i) EXPECT_FALSE(timers.takeUp(*agenda)) << pause << ' ' << i;
  }
  EXPECT_TRUE(timers.takeUp(*agenda));
}

TEST(KeptAgendaTest, AfterManyStepsOnePauseIsEnough) {
  Timers timers(MANY, true);
  const auto agenda = timers.agenda();
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 20; ++i) EXPECT_LE(0, timers.step(*agenda));
    agenda->giveUp();
    EXPECT_FALSE(timers.takeUp(*agenda));
  }
}
