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
  using MakeClock = std::function<Clock*(const LogicalClock& logical)>;

  Buoy(const Compound* holder, const Interval& when, Time start, MakeClock makeClock,
       std::function<void()> moved)
      : Atom("B", holder),
        mWhen(when),
        mStart(start),
        mMakeClock(std::move(makeClock)),
        mMoved(std::move(moved)) {
    addPort(port = new Port("t", this));
  }
  using Atom::initialize;
  void initialize(LogicalClock* logical) override {
    Atom::initialize(logical);
    if (time != nullptr) setClock(time);
    mClocks.add(since = mMakeClock ? mMakeClock(*logical) : new Clock("since", logical));
    since->setTime(mStart);
    mConstraints.add(constraint =
                         new Constraint(since, mWhen.low(), mWhen.high(), mWhen.urgency()));
  }
  void execute(Port*) override {
    since->setTime(mStart);
    mMoved();
  }
  Node* getState() override { return nullptr; }
  void setState(Node*) override {}
  void announce(bool enabled) {
    port->setSynced(false);
    port->setDominated(false);
    rt_sync(1, port, int{enabled}, constraint);
    resetLink();
  }

  Port* port;
  LogicalClock* time = nullptr;  // which its times are shown in; null: that of the system
  Clock* since = nullptr;
  Constraint* constraint = nullptr;

 private:
  const Interval mWhen;
  const Time mStart;
  const MakeClock mMakeClock;
  const std::function<void()> mMoved;
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
    mAll.push_back(add(new Buoy(this, mWhen(number), mStart, makeClock, [this] { turn(); })));
    mAll.back()->time = time;
    if (mInternal) mAll.back()->port->setInternal();
    if (!mInternal) mJoints.push_back(rendezvous("k", mAll.back()->port));
    if (mLogical != nullptr) mAll.back()->initialize(mLogical);
  }

  // Before the buoys are announced, and behind that.
  std::function<void(Tide&, int round)> onTurn;
  std::function<void(Tide&, int round)> afterTurn;
  // For the buoys that are added from now on; null: as usual.
  Buoy::MakeClock makeClock;
  LogicalClock* time = nullptr;

  LogicalClock& logical() const { return *mLogical; }
  Buoy& buoy(std::size_t number) { return *mAll[number]; }
  const std::vector<TestConnector*>& joints() const { return mJoints; }
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
    if (afterTurn) afterTurn(*this, mRound - 1);
  }

  const bool mInternal;
  const Time mStart;
  const When mWhen;
  const Height mHeight;
  LogicalClock* mLogical = nullptr;  // null before the run
  std::vector<Buoy*> mAll;
  std::vector<TestConnector*> mJoints;  // in a tide of connectors
  std::string mSeen;
  int mRound = 0;
};

// What all runs of a test begin with.
struct Settings {
  unsigned int level = 0;  // of the semantics
  Time begin{0};
  Time drift{0};  // that is allowed
};

template <class Policy>
std::string run(Tide& tide, const Filter& scheduler, const Settings& settings = {}) {
  std::ostringstream trace;
  SimuClock platform("p");
  LogicalClock clock("l", platform);
  clock.wait(settings.begin);
  StandardSemantics semantics;
  semantics.setLevel(settings.level);
  Policy executer(tide, clock, semantics, const_cast<Filter&>(scheduler), false, STEPS, trace, 1,
                  settings.drift);
  executer.initialize();
  executer.run();
  return trace.str() + tide.seen();
}

// A system of atoms with rules, by earliest deadline first if nothing else is said.
template <class Policy>
void runInto(std::ostream& trace, Compound& system, bool walked,
             Filter&& scheduler = EDFScheduler()) {
  SimuClock platform("p");
  LogicalClock clock("l", platform);
  StandardSemantics semantics;
  Policy quick(system, clock, semantics, scheduler, false, STEPS, trace, 1, Time(0));
  Walking<Policy> slow(system, clock, semantics, scheduler, false, STEPS, trace, 1, Time(0));
  Executer& executer = walked ? static_cast<Executer&>(slow) : quick;
  executer.initialize();
  executer.run();
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
int compare(const std::function<std::unique_ptr<Tide>()>& make, const Filter& scheduler,
            const Settings& settings = {}) {
  const std::unique_ptr<Tide> quick = make();
  const std::unique_ptr<Tide> walked = make();
  EXPECT_EQ(run<Policy>(*quick, scheduler, settings),
            run<Walking<Policy>>(*walked, scheduler, settings));
  return quick->rounds();
}

// All policies.
void compareAll(const std::function<std::unique_ptr<Tide>()>& make, int atLeast,
                const Settings& settings = {}) {
  EXPECT_GE(compare<StandardExecuter>(make, EDFScheduler(), settings), atLeast);
  EXPECT_GE(compare<StandardExecuter>(make, EDFdeltaScheduler(Time(3)), settings), atLeast);
  EXPECT_GE(compare<StandardExecuter>(make, EmptyScheduler(), settings), atLeast);
  compare<RandomExecuter>(make, EmptyScheduler(), settings);
}

// A few buoys and more, in a tide of internal ports and in one of connectors, after they have been
// changed by the test.
void compareChanged(const std::function<void(Tide&)>& change, int atLeast,
                    const Settings& settings = {}) {
  for (const int buoys : {2, 12}) {
    for (const bool internal : {true, false}) {
      compareAll(
          [&] {
            auto tide = std::make_unique<Tide>(
                0, internal, Time(0),
                [](int i) { return within(i % 3, 1000000, i % 2 == 0 ? EAGER : DELAYABLE); },
                [buoys](int) { return buoys; });
            change(*tide);
            for (int i = 0; i < buoys; ++i) tide->addBuoy();
            return tide;
          },
          atLeast, settings);
    }
  }
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

// What was said of the first port turns out to be wrong when it is drawn, and counts no more then.
TEST(SelectionTest, AStepThatIsAskedOnceMoreForgetsWhatWasSaid) {
  const auto traceOf = [](bool walked) {
    System system("R");
    Port* const first =
        system.atom("A")->timedRule("t", within(15000, 15000, EAGER), [] { return true; });
    first->setInternal();
    const auto postpone = [first] { (*first->constraint())[0] = within(400000, 400000, EAGER); };
    int moves = 0;
    for (int i = 0; i < 12; ++i) {
      const int when = 10000 + 20000 * i;
      const auto move = [&] {
        if (++moves == 1) postpone();
      };
      const auto guard = [] { return true; };
      system.atom("B")->timedRule("t", within(when, when, EAGER), guard, move)->setInternal();
    }
    std::ostringstream trace;
    runInto<StandardExecuter>(trace, system, walked);
    return trace.str();
  };
  EXPECT_EQ(traceOf(false), traceOf(true));
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

// ---- What cannot be foretold -------------------------------------------------------------------

namespace {

// A clock of a model, which the engine does not know.
class OwnClock : public Clock {
 public:
  using Clock::Clock;
};

// An interaction of a model, which can fire a little later than its constraint says.
class LateInteraction : public Interaction {
 public:
  using Interaction::Interaction;
  void takeTimes(const Constraint& constraint) {
    dropConstraint();
    setConstraint(new Constraint(constraint));
  }
  Time next(const Time& t) const override {
    const Time next = Interaction::next(t);
    return next == Time::MAX ? next : next + Time(2);
  }
};

}  // namespace

TEST(SelectionTest, ASemanticsOfAnotherLevel) {
  Settings settings;
  settings.level = 2;
  compareChanged([](Tide&) {}, 1, settings);
}

TEST(SelectionTest, ARunFromTheEndOfTime) {
  Settings settings;
  settings.begin = Time::MAX;
  settings.drift = Time::MAX;
  compareChanged([](Tide&) {}, 1, settings);
}

TEST(SelectionTest, ClocksOfAModel) {
  compareChanged(
      [](Tide& tide) {
        tide.makeClock = [](const LogicalClock& logical) { return new OwnClock("since", logical); };
      },
      100);
}

TEST(SelectionTest, ClocksOverAnotherTime) {
  for (const bool shown : {false, true}) {
    SimuClock platform("p");
    LogicalClock other("o", platform);
    compareChanged(
        [&](Tide& tide) {
          if (shown) tide.time = &other;
          tide.makeClock = [&](const LogicalClock&) { return new Clock("since", other); };
        },
        1);
    compareChanged([&](Tide& tide) { tide.time = &other; }, 1);
  }
}

TEST(SelectionTest, InternalPortsThatAreDominated) {
  compareChanged(
      [](Tide& tide) {
        tide.afterTurn = [](Tide& self, int round) {
          self.buoy(0).port->setDominated(round % 3 == 0);
          self.buoy(1).port->setDominated(round % 3 == 1);
        };
      },
      100);
}

TEST(SelectionTest, IntervalsThatAModelHasPutOutOfOrder) {
  compareChanged(
      [](Tide& tide) {
        tide.onTurn = [](Tide& self, int round) {
          Constraint& constraint = *self.buoy(1).constraint;
          if (round == 20) constraint |= Constraint(constraint.clock(), within(-9, -5, LAZY));
          if (round == 40) constraint[0] = within(2000000, 2000001, LAZY);
          if (round == 60) constraint[0] = within(-9, -5, LAZY);
        };
      },
      100);
}

// What is behind the current interval counts as well, as it may be urgent.
TEST(SelectionTest, ADeadlineThatIsTooFar) {
  compareChanged(
      [](Tide& tide) {
        tide.onTurn = [](Tide& self, int round) {
          Constraint& constraint = *self.buoy(1).constraint;
          if (round == 20) {
            constraint[0] = within(0, 1000000, LAZY);
            constraint |= Constraint(constraint.clock(), within(2000000, 2000001, EAGER));
            constraint[1] = interval(LLONG_MAX - 5, LLONG_MAX, EAGER);
          }
        };
      },
      20);
}

TEST(SelectionTest, WhatIsUrgentAtTheEndOfTime) {
  const long long top = Time::MAX.microseconds();
  compareIntervals(Time(0), interval(top, top, EAGER), within(0, 9, DELAYABLE));
  compareIntervals(Time(0), interval(top, top + 5, EAGER), within(0, 9, DELAYABLE));
  compareChanged(
      [&](Tide& tide) {
        tide.onTurn = [top](Tide& self, int round) {
          if (round % 20 == 10) (*self.buoy(1).constraint)[0] = interval(top, top + 5, EAGER);
          if (round % 20 == 19) (*self.buoy(1).constraint)[0] = within(0, 9, DELAYABLE);
        };
      },
      20);
}

TEST(SelectionTest, InteractionsOfAModel) {
  for (const int buoys : {2, 12}) {
    for (const int from : {0, 20}) {
      compareAll(
          [&] {
            auto tide = std::make_unique<Tide>(
                buoys, false, Time(0), [](int i) { return within(i % 3, 50, DELAYABLE); },
                [buoys](int) { return buoys; });
            TestConnector* const joint = tide->joints()[1];
            const auto own = std::make_shared<LateInteraction>(joint, BitVector::below(1));
            Tide* const made = tide.get();
            joint->onUp = [=] {
              if (made->rounds() <= from) return;
              own->takeTimes(*joint->feasibleInter()->constraint());
              own->setNext(nullptr);
              joint->setFeasibleInter(own.get());
            };
            return tide;
          },
          1);
    }
  }
}

// ---- What a model does behind the back of a run ------------------------------------------------

TEST(SelectionTest, AModelMayActivateItsSystemManyTimesInAStep) {
  compareChanged(
      [](Tide& tide) {
        tide.afterTurn = [](Tide& self, int round) {
          if (round % 10 != 9) return;
          for (int i = 0; i < 5; ++i) {
            for (Connector* joint : self.joints()) joint->resetLink();
            self.activate(true);
          }
        };
      },
      100);
}

TEST(SelectionTest, AModelMayPutTheClockOfTheRunForwardAndBack) {
  Settings settings;
  settings.drift = Time::MAX;
  compareChanged(
      [](Tide& tide) {
        tide.onTurn = [](Tide& self, int round) {
          if (round % 20 == 10) self.logical().wait(self.logical().time() + Time(100));
          if (round % 20 == 15) self.logical().reset();
        };
      },
      16, settings);
}

// Twelve atoms that fire alone; after each move something is done to their clocks. Without a
// scheduler the others fire on while the former deadline of one passes.
template <class Change>
void compareClocks(const Change& change) {
  const auto trace = [&](bool walked, Filter&& scheduler) {
    std::ostringstream text;
    System system("R");
    std::vector<TestAtom*> atoms;
    int moves = 0;
    for (int i = 0; i < 12; ++i) {
      TestAtom* atom = system.atom("A");
      atoms.push_back(atom);
      atom->timedRule(
              "t", within(10 + i % 3, 40 + 5 * i, DELAYABLE), [] { return true; },
              [&, i] { change(atoms, *atoms[static_cast<std::size_t>(i + 5) % 12], ++moves); })
          ->setInternal();
    }
    runInto<StandardExecuter>(text, system, walked, std::move(scheduler));
    EXPECT_GT(moves, 100);
    return text.str();
  };
  EXPECT_EQ(trace(false, EDFScheduler()), trace(true, EDFScheduler()));
  EXPECT_EQ(trace(false, EmptyScheduler()), trace(true, EmptyScheduler()));
}

// Their own atom stands still.
TEST(SelectionTest, AClockThatSomebodyElseStops) {
  compareClocks([](const std::vector<TestAtom*>& atoms, TestAtom& other, int moves) {
    if (moves % 40 == 3) other.ownClock->stop();
    if (moves % 40 != 36) return;
    for (TestAtom* each : atoms) each->ownClock->go();
  });
}

TEST(SelectionTest, AClockThatSomebodyElseSets) {
  compareClocks([](const std::vector<TestAtom*>&, TestAtom& other, int moves) {
    if (moves % 7 == 3) other.ownClock->setTime(Time(moves % 3));
  });
}

// An atom whose port is timed by one of two clocks that several have.
TEST(SelectionTest, PortsThatChangeBetweenClocksThatSeveralHave) {
  compareChanged(
      [](Tide& tide) {
        tide.afterTurn = [](Tide& self, int round) {
          for (const std::size_t number : {0u, 1u}) {
            Buoy& mine = self.buoy(number);
            Buoy& other = self.buoy(1 - number);
            const bool swapped = round / 7 % 2 == 1;
            mine.constraint->setClock(swapped ? other.since : mine.since);
          }
        };
      },
      100);
}

// Nobody notes a constraint that is written in place while its atom stands still, but what is drawn
// is asked once more.
TEST(SelectionTest, WhatIsDrawnIsAskedOnceMore) {
  const auto movesOf = [](const Interval& after, bool walked, std::ostream& text) {
    System system("R");
    std::vector<Port*> ports;
    int moves = 0;
    for (int i = 0; i < 12; ++i) {
      ports.push_back(system.atom("A")->timedRule(
          "t", within(1000, 10000000, DELAYABLE), [] { return true; },
          [&] {
            if (++moves != 8) return;
            for (Port* port : ports) (*port->constraint())[0] = after;
          }));
      ports.back()->setInternal();
    }
    runInto<StandardExecuter>(text, system, walked);
    return moves;
  };
  std::ostringstream quick;
  std::ostringstream walked;
  const Interval later = within(9999000, 10000000, DELAYABLE);
  EXPECT_EQ(movesOf(later, false, quick), static_cast<int>(STEPS));
  EXPECT_EQ(movesOf(later, true, walked), static_cast<int>(STEPS));
  EXPECT_EQ(quick.str(), walked.str());
  EXPECT_EQ(movesOf(within(-9, -5, DELAYABLE), false, quick), 8) << "nothing is left";
}
