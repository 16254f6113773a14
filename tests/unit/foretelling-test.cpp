// What is said beforehand about executables is what they answer later, and where that may become
// wrong nothing is said.
#include "foretelling.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <vector>

#include "draw.hpp"
#include "kit/clocks.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::Foretelling;
using Vesk::Time;
using Vesk::Times;

namespace {

Time nextBy(const Times& times, const Time& t) {
  if (times.low >= Times::MAX) return Time::MAX;
  return std::max(Time(static_cast<long long>(times.low)), t);
}

Time deadlineBy(const Times& times, const Time& t) {
  return times.eager ? nextBy(times, t) : Time(static_cast<long long>(times.deadline));
}

// An atom with one port under a constraint over its own clock, in a run that has begun.
class ForetellingTest : public testing::Test {
 protected:
  ForetellingTest()
      : mPlatform("p"),
        mLogical("l", mPlatform),
        mSystem("S"),
        mAtom(mSystem.atom("A")),
        mClock("c", mLogical) {
    mSystem.initialize(&mLogical);
  }

  Port* portOver(const GenericClock* clock, const Interval& interval) {
    mConstraints.push_back(std::make_unique<Constraint>(clock, interval));
    return mAtom->enabled("t", mConstraints.back().get());
  }
  Port* port(const Interval& interval) { return portOver(&mClock, interval); }
  bool tells(const Port& port, const Time& now = Time(0)) {
    Times times{};
    return Foretelling(mLogical).tell(port, now, times);
  }
  // One to three intervals in their order, not far from zero.
  Constraint someConstraint(Draw& draw, const GenericClock* clock) {
    int low = draw.between(-5, 10);
    Constraint result(clock, someInterval(draw, low));
    for (int more = draw.below(3); more > 0; --more) {
      result |= Constraint(clock, someInterval(draw, low));
    }
    return result;
  }
  static Interval someInterval(Draw& draw, int& low) {
    static const Urgency URGENCIES[] = {LAZY, DELAYABLE, EAGER};
    const int begin = low;
    const int end = begin + draw.below(8);
    low = end + draw.between(2, 6);
    const Time high = draw.below(8) == 0 ? Time::MAX : Time(end);
    return Interval(Time(begin), high, URGENCIES[draw.below(3)], false, true);
  }

  SimuClock mPlatform;
  LogicalClock mLogical;
  System mSystem;
  TestAtom* mAtom;
  Clock mClock;
  std::vector<std::unique_ptr<Constraint>> mConstraints;
};

// Gives whether something was said; that is compared at each time for which it was said, up to the
// deadline, which no step passes.
template <class Part>
bool compareFrom(const Foretelling& foretelling, const Part& executable, int now) {
  Times times{};
  if (!foretelling.tell(executable, Time(now), times)) return false;
  const Time last = deadlineBy(times, Time(now));
  for (int t = now; t < now + 40 && t <= times.until && Time(t) <= last; ++t) {
    EXPECT_EQ(nextBy(times, Time(t)), executable.next(Time(t))) << "from " << now << " at " << t;
    EXPECT_EQ(deadlineBy(times, Time(t)), executable.deadline(Time(t)))
        << "from " << now << " at " << t;
  }
  return true;
}

}  // namespace

TEST_F(ForetellingTest, PortsAnswerWhatWasSaid) {
  Draw draw(1);
  int told = 0;
  for (int round = 0; round < 500; ++round) {
    mClock.setTime(Time(draw.between(-10, 10)));
    Constraint constraint = someConstraint(draw, &mClock);
    Port port("t", mAtom);
    port.setConstraint(&constraint);
    for (int now = 0; now < 30; now += 5) {
      if (compareFrom(Foretelling(mLogical), port, now)) ++told;
    }
  }
  EXPECT_GT(told, 2500);
}

TEST_F(ForetellingTest, InteractionsAnswerWhatWasSaid) {
  Draw draw(2);
  int told = 0;
  for (int round = 0; round < 500; ++round) {
    System system("R");
    system.initialize(&mLogical);
    Constraint first = someConstraint(draw, &mLogical);
    Constraint second = someConstraint(draw, &mLogical);
    const Connector* connector = system.rendezvous("k", system.atom("A")->enabled("t", &first),
                                                   system.atom("B")->enabled("t", &second));
    system.activate(true);
    if (connector->feasibleInter() == nullptr) continue;  // no time in common
    for (int now = 0; now < 30; now += 5) {
      if (compareFrom(Foretelling(mLogical), *connector->feasibleInter(), now)) ++told;
    }
  }
  EXPECT_GT(told, 1000);
}

TEST_F(ForetellingTest, AnInteractionWithoutConstraintIsAlwaysEnabled) {
  System system("R");
  const Connector* connector = system.rendezvous("k", system.atom("A")->enabled("t"));
  system.activate(true);
  Times times{};
  ASSERT_TRUE(Foretelling(mLogical).tell(*connector->feasibleInter(), Time(7), times));
  EXPECT_EQ(Time::MIN.microseconds(), times.low);
  EXPECT_EQ(Times::MAX, times.deadline);
  EXPECT_LE(Times::MAX, times.until);
  EXPECT_FALSE(times.eager);
}

TEST_F(ForetellingTest, APortWhoseTimesHavePassedIsNeverEnabled) {
  Times times{};
  ASSERT_TRUE(Foretelling(mLogical).tell(*port(within(1, 2, EAGER)), Time(3), times));
  EXPECT_EQ(Times::MAX, times.low);
  EXPECT_EQ(Times::MAX, times.deadline);
}

// Its clock shows 3 while the run's shows 0.
TEST_F(ForetellingTest, ThePortsClockIsShiftedToThatOfTheRun) {
  Port* const shifted = port(within(5, 9, DELAYABLE));
  mClock.setTime(Time(3));
  Times times{};
  ASSERT_TRUE(Foretelling(mLogical).tell(*shifted, Time(0), times));
  EXPECT_EQ(2, times.low);
  EXPECT_EQ(6, times.deadline);
}

TEST_F(ForetellingTest, WithoutAClockNothingIsShifted) {
  Times times{};
  ASSERT_TRUE(Foretelling(mLogical).tell(*portOver(nullptr, within(5, 9, EAGER)), Time(0), times));
  EXPECT_EQ(5, times.low);
  EXPECT_TRUE(times.eager);
}

TEST_F(ForetellingTest, NothingIsSaidOfAClockThatStandsStill) {
  Port* const stopped = port(within(1, 2, EAGER));
  EXPECT_TRUE(tells(*stopped));
  mClock.stop();
  EXPECT_FALSE(tells(*stopped));
  mClock.go();
  EXPECT_TRUE(tells(*stopped));
}

TEST_F(ForetellingTest, NothingIsSaidOfAClockOfAModel) {
  class OwnTime : public Clock {
   public:
    using Clock::Clock;
    Time time() const override { return Time(0); }
  };
  HandClock hand(Time(0));
  EXPECT_FALSE(tells(*portOver(&hand, within(1, 2, EAGER))));
  OwnTime own("c", mLogical);
  EXPECT_FALSE(tells(*portOver(&own, within(1, 2, EAGER))));
}

TEST_F(ForetellingTest, NothingIsSaidOfClocksOfAnotherRun) {
  LogicalClock otherRun("o", mPlatform);
  Clock other("c", otherRun);
  EXPECT_FALSE(tells(*portOver(&other, within(1, 2, EAGER))));
  Times times{};
  EXPECT_FALSE(Foretelling(otherRun).tell(*port(within(1, 2, EAGER)), Time(0), times));
}

TEST_F(ForetellingTest, NothingIsSaidOfClassesThatAnswerThemselves) {
  class OwnNext : public Port {
   public:
    using Port::Port;
    Time next(const Time& t) const override { return t; }
  };
  class OwnLabel : public Port {
   public:
    using Port::Port;
    char* label() override { return nullptr; }
  };
  class OwnDeadline : public Interaction {
   public:
    using Interaction::Interaction;
    Time deadline(const Time&) const override { return Time(1); }
  };
  Constraint constraint(&mClock, within(1, 2, EAGER));
  OwnNext next("t", mAtom);
  next.setConstraint(&constraint);
  EXPECT_FALSE(tells(next));
  OwnLabel label("t", mAtom);
  label.setConstraint(&constraint);
  EXPECT_TRUE(tells(label));
  const OwnDeadline deadline(nullptr, BitVector::EMPTY);
  Times times{};
  EXPECT_FALSE(Foretelling(mLogical).tell(deadline, Time(0), times));
}

TEST_F(ForetellingTest, NothingIsSaidOfIntervalsWithoutOrder) {
  Port* const one = port(within(10, 20, LAZY));
  EXPECT_TRUE(tells(*one));
  *mConstraints.back() |= Constraint(&mClock, within(30, 40, LAZY));
  EXPECT_TRUE(tells(*one));
  (*mConstraints.back())[1].setLow(Time(15));
  EXPECT_FALSE(tells(*one));
}

TEST_F(ForetellingTest, NothingIsSaidAtAnInfiniteTime) {
  Port* const always = port(Interval(Time::MIN, Time::MAX, LAZY, false, true));
  EXPECT_TRUE(tells(*always));
  EXPECT_FALSE(tells(*always, Time::MAX));
  EXPECT_FALSE(tells(*always, Time::MIN));
}

TEST_F(ForetellingTest, NothingIsSaidOfTimesWhoseSumsDoNotFit) {
  const Time first(LLONG_MIN + 3);
  const Time last(LLONG_MAX - 3);
  EXPECT_FALSE(tells(*port(Interval(first, Time(5), LAZY, false, true))));
  EXPECT_FALSE(tells(*port(Interval(Time(1), last, LAZY, false, true))));
  Port* const later = port(within(1, 2, LAZY));
  mClock.setTime(Time(-100));
  *mConstraints.back() |= Constraint(&mClock, within(30, 40, EAGER));
  EXPECT_TRUE(tells(*later));
  (*mConstraints.back())[1] = Interval(last, Time(LLONG_MAX), EAGER, false, true);
  EXPECT_FALSE(tells(*later)) << "it is due a hundred microseconds later";
}

// What it says of an interval without end holds until its last ordinary time.
TEST_F(ForetellingTest, AnEndlessIntervalOfAClockThatIsAheadEndsBeforeTheEnd) {
  Port* const endless = port(Interval(Time(0), Time::MAX, LAZY, false, true));
  mClock.setTime(Time(100));
  Times times{};
  ASSERT_TRUE(Foretelling(mLogical).tell(*endless, Time(0), times));
  EXPECT_EQ(Times::MAX - 101, times.until);
  const Time last(static_cast<long long>(times.until));
  EXPECT_EQ(nextBy(times, last), endless->next(last));
}
