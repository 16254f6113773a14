// What a run does is what it does when all executables are asked in every step: also when they
// become more than a few and few again, and when their times are at the ends.
#include "selection.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "dialogue.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::ShortAgenda;
using Vesk::Time;

namespace {

constexpr int MOST = static_cast<int>(ShortAgenda::MOST);
constexpr unsigned int STEPS = 200;

// A class of a program: all executables are walked in every step.
template <class Policy>
class Walking : public Policy {
 public:
  using Policy::Policy;
};

// An atom with one port, and a clock that every move sets to a time.
class Buoy : public Atom {
 public:
  Buoy(const Compound* holder, const Interval& when, Time start, std::function<void()> moved)
      : Atom("B", holder), mWhen(when), mStart(start), mMoved(std::move(moved)) {
    addPort(port = new Port("t", this));
  }
  using Atom::initialize;
  void initialize(LogicalClock* logical) override {
    mClocks.add(mSince = new Clock("since", logical));
    mSince->setTime(mStart);
    mConstraints.add(mConstraint =
                         new Constraint(mSince, mWhen.low(), mWhen.high(), mWhen.urgency()));
  }
  void execute(Port*) override {
    mSince->setTime(mStart);
    mMoved();
  }
  Node* getState() override { return nullptr; }
  void setState(Node*) override {}
  void announce(bool enabled) {
    port->setSynced(false);
    port->setDominated(false);
    rt_sync(1, port, int{enabled}, mConstraint);
    resetLink();
  }

  Port* port;

 private:
  const Interval mWhen;
  const Time mStart;
  const std::function<void()> mMoved;
  Clock* mSince = nullptr;
  Constraint* mConstraint = nullptr;
};

// The first buoys are afloat, so many in each round. Every move begins a round.
class Tide : public System {
 public:
  // For the intervals of the buoys, and how many float in a round.
  using When = std::function<Interval(int buoy)>;
  using Height = std::function<int(int round)>;

  Tide(int buoys, bool internal, Time start, const When& when, const Height& height)
      : System("R"), mInternal(internal), mStart(start), mWhen(when), mHeight(height) {
    for (int i = 0; i < buoys; ++i) addBuoy();
  }
  using Compound::initialize;
  void initialize(LogicalClock* logical) override {
    mLogical = logical;
    Compound::initialize(logical);
    turn();
  }
  // At any time.
  void addBuoy() {
    const int number = static_cast<int>(mAll.size());
    mAll.push_back(add(new Buoy(this, mWhen(number), mStart, [this] { turn(); })));
    if (mInternal) mAll.back()->port->setInternal();
    if (!mInternal) rendezvous("k", mAll.back()->port);
    if (mLogical != nullptr) mAll.back()->initialize(mLogical);
  }

  std::function<void(Tide&, int round)> onTurn;

  int rounds() const { return mRound; }
  const std::string& seen() const { return mSeen; }  // the marks at each move

 private:
  void turn() {
    for (const Buoy* buoy : mAll) mSeen += std::to_string(buoy->port->mark());
    if (onTurn) onTurn(*this, mRound);
    const int afloat = mHeight(mRound++);
    for (std::size_t i = 0; i < mAll.size(); ++i) {
      mAll[i]->announce(static_cast<int>(i) < afloat);
    }
  }

  const bool mInternal;
  const Time mStart;
  const When mWhen;
  const Height mHeight;
  LogicalClock* mLogical = nullptr;  // null before the run
  std::vector<Buoy*> mAll;
  std::string mSeen;
  int mRound = 0;
};

template <class Policy>
std::string run(Tide& tide, const Filter& scheduler) {
  std::ostringstream trace;
  SimuClock platform("p");
  LogicalClock clock("l", platform);
  StandardSemantics semantics;
  Policy executer(tide, clock, semantics, const_cast<Filter&>(scheduler), false, STEPS, trace, 1,
                  Time(0));
  executer.initialize();
  executer.run();
  return trace.str() + tide.seen();
}

template <class Policy>
std::string runDialogue(Compound& system) {
  std::ostringstream dialogue;
  SimuClock platform("p");
  LogicalClock clock("l", platform);
  StandardSemantics semantics;
  EmptyScheduler scheduler;
  SuitableAnswers answers(1, clock, dialogue);
  const Redirected console(&answers, dialogue.rdbuf());
  Policy executer(system, clock, semantics, scheduler, false, STEPS, dialogue, Time(0));
  executer.initialize();
  executer.run();
  return dialogue.str();
}

// Gives the rounds.
template <class Policy>
int compare(const std::function<std::unique_ptr<Tide>()>& make, const Filter& scheduler) {
  const std::unique_ptr<Tide> quick = make();
  const std::unique_ptr<Tide> walked = make();
  EXPECT_EQ(run<Policy>(*quick, scheduler), run<Walking<Policy>>(*walked, scheduler));
  return quick->rounds();
}

// All policies.
void compareAll(const std::function<std::unique_ptr<Tide>()>& make, int atLeast) {
  EXPECT_GE(compare<StandardExecuter>(make, EDFScheduler()), atLeast);
  EXPECT_GE(compare<StandardExecuter>(make, EDFdeltaScheduler(Time(3))), atLeast);
  EXPECT_GE(compare<StandardExecuter>(make, EmptyScheduler()), atLeast);
  compare<RandomExecuter>(make, EmptyScheduler());
}

Interval eager(int low) {
  return within(low, 1000000, EAGER);
}

// Compares a tide of internal ports, and one of connectors.
void compareHeights(int buoys, const Tide::Height& height) {
  for (const bool internal : {true, false}) {
    compareAll(
        [&] {
          return std::make_unique<Tide>(
              buoys, internal, Time(0),
              [](int i) { return i % 3 == 0 ? eager(i % 5) : within(i % 5, 9, DELAYABLE); },
              height);
        },
        static_cast<int>(STEPS));
  }
}

void compareIntervals(Time start, const Interval& one, const Interval& other) {
  for (const int buoys : {1, 2, 12}) {
    for (const bool internal : {true, false}) {
      compareAll(
          [&] {
            return std::make_unique<Tide>(
                buoys, internal, start, [&](int i) { return i % 2 == 0 ? one : other; },
                [buoys](int) { return buoys; });
          },
          1);
    }
  }
}

Interval interval(long long low, long long high, Urgency urgency) {
  return Interval(Time(low), Time(high), urgency, false, true);
}

}  // namespace

TEST(SelectionTest, AsManyAsAreAFewAndOneMoreByTurns) {
  compareHeights(30, [](int round) { return MOST + round % 2; });
}

TEST(SelectionTest, NoneButOneAndAllByTurns) {
  compareHeights(30, [](int round) { return round % 2 == 0 ? 1 : 30; });
}

TEST(SelectionTest, ATideThatComesAndGoesSlowly) {
  compareHeights(30,
                 [](int round) { return 1 + (round % 60 < 30 ? round % 60 : 59 - round % 60); });
}

// The ordered form is given up when there have been few for as many steps as there are slots.
TEST(SelectionTest, AfterALongEbbTheTideComesBack) {
  for (const int ebb : {10, 29, 30, 31, 32, 90}) {
    compareHeights(10, [ebb](int round) { return round % (ebb + 6) < 6 ? 10 : 2; });
  }
}

TEST(SelectionTest, ARunThatEndsByDeadlockEndsSoInEitherForm) {
  for (const int last : {MOST, MOST + 1}) {
    for (const bool internal : {true, false}) {
      const int rounds = compare<StandardExecuter>(
          [&] {
            return std::make_unique<Tide>(
                20, internal, Time(0), [](int) { return eager(1); },
                [last](int round) { return round < 30 ? last : 0; });
          },
          EDFScheduler());
      EXPECT_EQ(rounds, 31);
    }
  }
}

TEST(SelectionTest, BuoysThatComeDuringARun) {
  for (const bool internal : {true, false}) {
    for (const int first : {1, 3, 20}) {
      compareAll(
          [&] {
            auto tide = std::make_unique<Tide>(
                first, internal, Time(0), [](int i) { return eager(i % 5); },
                [](int round) { return round % 10; });
            tide->onTurn = [](Tide& self, int round) {
              if (round % 15 == 14) self.addBuoy();
            };
            return tide;
          },
          1);
    }
  }
}

// The inner run is under way while the outer one fires.
TEST(SelectionTest, ARunWithinARun) {
  const auto make = [](int buoys) {
    return std::make_unique<Tide>(
        buoys, true, Time(0), [](int i) { return eager(1 + i % 5); },
        [buoys](int round) { return buoys - round % 2; });
  };
  for (const int outer : {2, 12}) {
    for (const int inner : {2, 12}) {
      std::string within;
      compareAll(
          [&] {
            std::unique_ptr<Tide> tide = make(outer);
            tide->onTurn = [&, inner](Tide&, int round) {
              if (round % 40 != 20) return;
              const std::string text = run<StandardExecuter>(*make(inner), EDFScheduler());
              if (within.empty()) within = text;
              EXPECT_EQ(text, within);
            };
            return tide;
          },
          1);
      EXPECT_EQ(within, run<Walking<StandardExecuter>>(*make(inner), EDFScheduler()));
    }
  }
}

// Nobody notes a constraint that is written in place while its atom stands still.
TEST(SelectionTest, WhatADialogueOffersIsAskedOnceMore) {
  const auto offer = [](bool walked) {
    System system("R");
    std::vector<Port*> ports;
    int moves = 0;
    for (int i = 0; i < 12; ++i) {
      ports.push_back(system.atom("A")->timedRule(
          "t", within(1000, 10000000, DELAYABLE), [] { return true; },
          [&] {
            if (++moves == 8) (*ports[3]->constraint())[0].setLow(Time(9999000));
          }));
      ports.back()->setInternal();
    }
    std::string text = walked ? runDialogue<Walking<InteractiveExecuter>>(system)
                              : runDialogue<InteractiveExecuter>(system);
    for (const Port* port : ports) text += std::to_string(port->mark());
    return text;
  };
  EXPECT_EQ(offer(false), offer(true));
}

TEST(SelectionTest, TimesNearTheInfinities) {
  const long long top = Time::MAX.microseconds();
  const long long bottom = Time::MIN.microseconds();
  for (const long long start : {0LL, 5LL, top - 9, bottom + 9}) {
    compareIntervals(Time(start), interval(bottom, top, LAZY), interval(3, top - 1, EAGER));
    compareIntervals(Time(start), interval(bottom + 1, 7, DELAYABLE), interval(0, top, EAGER));
    compareIntervals(Time(start), interval(top - 1, top, EAGER), interval(top - 5, top, LAZY));
  }
}

TEST(SelectionTest, TimesAtTheEndsOf64Bits) {
  for (const long long start : {0LL, 5LL, -5LL}) {
    compareIntervals(Time(start), interval(LLONG_MIN, LLONG_MAX, LAZY),
                     interval(1, LLONG_MAX, EAGER));
    compareIntervals(Time(start), interval(LLONG_MIN, LLONG_MAX, EAGER),
                     interval(1, LLONG_MAX - 3, DELAYABLE));
    compareIntervals(Time(start), interval(LLONG_MIN + 3, 4, DELAYABLE),
                     interval(LLONG_MAX - 3, LLONG_MAX, LAZY));
    compareIntervals(Time(start), interval(LLONG_MIN, LLONG_MIN + 3, LAZY),
                     interval(LLONG_MIN, 8, LAZY));
  }
}
