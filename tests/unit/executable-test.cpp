#include "executable.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "allocations.hpp"
#include "kit/clocks.hpp"
#include "kit/lists.hpp"

using namespace kit;

namespace {

// An executable that answers what the test says.
class Thing : public Executable {
 public:
  explicit Thing(Constraint* when = nullptr, char* name = nullptr) : mName(name) {
    setConstraint(when);
  }
  char* label() override { return mName; }
  void execute(const Vesk::Time&) override {}
  void actuate(const Vesk::Time&) override {}
  Vesk::Time deadline(const Vesk::Time&) const override { return Vesk::Time::MAX; }
  Vesk::Time next(const Vesk::Time& t) const override { return t; }
  GenericClock* displayClock() const override { return clock; }

  GenericClock* clock = nullptr;

 private:
  char* mName;
};

std::string printed(Executable& executable) {
  std::ostringstream out;
  out << executable;
  return out.str();
}

}  // namespace

TEST(ExecutableTest, StartsUnmarkedWithoutConstraintAndNotDominated) {
  Thing thing;
  EXPECT_EQ(thing.mark(), 0u);
  EXPECT_EQ(thing.constraint(), nullptr);
  EXPECT_FALSE(thing.dominated());
}

TEST(ExecutableTest, AccessorsKeepWhatWasSet) {
  Constraint constraint(nullptr, 0, 1, LAZY);
  Thing thing;
  thing.setMark(0xFFFFFFFFu);
  thing.setConstraint(&constraint);
  thing.setDominated(true);
  EXPECT_EQ(thing.mark(), 0xFFFFFFFFu);
  EXPECT_EQ(thing.constraint(), &constraint);
  EXPECT_TRUE(thing.dominated());
}

TEST(ExecutableTest, TheDestructorDoesNotDeleteAConstraintThatWasSet) {
  Constraint constraint(nullptr, 0, 1, LAZY);
  { Thing thing(&constraint); }
  EXPECT_EQ(spans(&constraint), "[0,1]");
}

TEST(DominateTest, WithoutConstraintOnlySetsTheDominatedFlag) {
  Constraint constraint(nullptr, 0, 10, EAGER);
  Thing high, low(&constraint);
  high.dominate(low, Vesk::Time(5));
  EXPECT_TRUE(low.dominated());
  EXPECT_EQ(low.constraint(), &constraint);
  EXPECT_EQ(spans(&constraint), "[0,10] eager");
  EXPECT_FALSE(constraint.domination());
  EXPECT_EQ(constraint.delay(), Vesk::Time(0));
}

TEST(DominateTest, WithoutConstraintGivesAnUntimedOneNoConstraint) {
  Thing high, low;
  high.dominate(low, Vesk::Time(0));
  EXPECT_TRUE(low.dominated());
  EXPECT_EQ(low.constraint(), nullptr);
}

TEST(DominateTest, WithAConstraintNarrowsAndNeverSetsTheFlag) {
  Constraint above(nullptr, 3, 5, EAGER), below(nullptr, 0, 10, DELAYABLE);
  Thing high(&above), low(&below);
  high.dominate(low, Vesk::Time(0));
  EXPECT_FALSE(low.dominated());
  EXPECT_EQ(low.constraint(), &below);
  EXPECT_EQ(spans(&below), "[0,2] delayable [3,5] delayable dominated [6,10] delayable");
  EXPECT_TRUE(below.domination());
  EXPECT_EQ(spans(&above), "[3,5] eager");
}

TEST(DominateTest, CoveringTheWholeConstraintStillDoesNotSetTheFlag) {
  Constraint above(nullptr, 0, 20, LAZY), below(nullptr, 5, 10, LAZY);
  Thing high(&above), low(&below);
  high.dominate(low, Vesk::Time(0));
  EXPECT_FALSE(low.dominated());
  EXPECT_EQ(spans(&below), "[5,10] dominated");
}

TEST(DominateTest, WithAConstraintCreatesOneForAnUntimedOne) {
  HandClock clock(Vesk::Time(0));
  Constraint above(&clock, 10, 20, EAGER);
  Thing high(&above), low;
  high.dominate(low, Vesk::Time(0));
  ASSERT_NE(low.constraint(), nullptr);
  const std::unique_ptr<Constraint> made(low.constraint());
  EXPECT_FALSE(low.dominated());
  EXPECT_EQ(low.constraint()->clock(), nullptr);
  EXPECT_EQ(spans(low.constraint()), "[MIN,9] [10,20] dominated [21,MAX]");
  EXPECT_TRUE(low.constraint()->domination());
}

TEST(DominateTest, TheConstraintThatItCreatesIsTheOwnersToDelete) {
  Constraint above(nullptr, 10, 20, EAGER);
  Thing high(&above);
  std::unique_ptr<Constraint> first, second;
  {
    Thing low;
    high.dominate(low, Vesk::Time(0));
    first.reset(low.constraint());
    low.setConstraint(nullptr);
    high.dominate(low, Vesk::Time(0));
    second.reset(low.constraint());
  }
  EXPECT_NE(first, second);
  EXPECT_EQ(spans(first.get()), "[MIN,9] [10,20] dominated [21,MAX]");
  EXPECT_EQ(spans(second.get()), "[MIN,9] [10,20] dominated [21,MAX]");
}

TEST(DominateTest, TheDelayLetsTheHighOneRuleOutEarlierTimes) {
  Constraint above(nullptr, 10, 20, LAZY), below(nullptr, 0, 30, LAZY);
  Thing high(&above), low(&below);
  high.dominate(low, Vesk::Time(4));
  EXPECT_EQ(spans(&below), "[0,5] [6,20] dominated [21,30]");
  EXPECT_EQ(below.delay(), Vesk::Time(4));
}

TEST(DominateTest, TwoDominationsAddUp) {
  Constraint first(nullptr, 0, 3, LAZY), second(nullptr, 8, 12, LAZY), below(nullptr, 0, 10, LAZY);
  Thing high(&first), higher(&second), low(&below);
  high.dominate(low, Vesk::Time(0));
  higher.dominate(low, Vesk::Time(0));
  EXPECT_EQ(spans(&below), "[0,3] dominated [4,7] [8,10] dominated");
}

TEST(DominateTest, AnEmptyConstraintDominatesNothing) {
  Constraint above(nullptr, 0, 3, LAZY), below(nullptr, 0, 10, LAZY);
  above.clear();
  Thing high(&above), low(&below);
  high.dominate(low, Vesk::Time(0));
  EXPECT_FALSE(low.dominated());
  EXPECT_EQ(spans(&below), "[0,10]");
}

// The low one's clock reads 100 when the high one's reads 40: its 10 is the low one's 70.
TEST(DominateTest, TranslatesIntoTheClockOfTheLowOne) {
  HandClock early(Vesk::Time(40)), late(Vesk::Time(100));
  Constraint above(&early, 10, 20, LAZY), below(&late, 0, 200, LAZY);
  Thing high(&above), low(&below);
  high.dominate(low, Vesk::Time(0));
  EXPECT_EQ(spans(&below), "[0,69] [70,80] dominated [81,200]");
}

TEST(DominateTest, OverTheSameConstraintObjectDominatesAllOfIt) {
  Constraint shared(nullptr, 0, 10, EAGER);
  Thing high(&shared), low(&shared);
  high.dominate(low, Vesk::Time(0));
  EXPECT_EQ(spans(&shared), "[0,10] eager dominated");
}

TEST(DominateTest, ByItselfDominatesAllOfItsConstraint) {
  Constraint constraint(nullptr, 0, 10, LAZY);
  Thing thing(&constraint), untimed;
  thing.dominate(thing, Vesk::Time(0));
  untimed.dominate(untimed, Vesk::Time(0));
  EXPECT_EQ(spans(&constraint), "[0,10] dominated");
  EXPECT_FALSE(thing.dominated());
  EXPECT_TRUE(untimed.dominated());
}

TEST(OwnConstraintTest, AlwaysHoldsOverTheGivenClock) {
  HandClock clock(Vesk::Time(7));
  Thing thing;
  Constraint& own = thing.useOwnConstraint(&clock);
  EXPECT_EQ(thing.constraint(), &own);
  EXPECT_EQ(own.clock(), &clock);
  EXPECT_EQ(spans(&own), "[MIN,MAX]");
}

TEST(OwnConstraintTest, IsOneObjectThatStartsAfreshAtEveryUse) {
  Thing thing;
  Constraint& own = thing.useOwnConstraint(nullptr);
  own &= Constraint(nullptr, 0, 10, EAGER);
  own.setDomination(true);
  own.setDelay(Vesk::Time(3));
  Constraint* const first = &own;
  thing.setConstraint(nullptr);

  HandClock clock(Vesk::Time(7));
  Constraint& again = thing.useOwnConstraint(&clock);
  EXPECT_EQ(&again, first);
  EXPECT_EQ(spans(&again), "[MIN,MAX]");
  EXPECT_FALSE(again.domination());
  EXPECT_EQ(again.delay(), Vesk::Time(0));
  EXPECT_EQ(again.clock(), &clock);
  EXPECT_EQ(again.displayClock(), &clock);
}

TEST(OwnConstraintTest, IsNotTheOneThatTheModelSet) {
  Constraint constraint(nullptr, 0, 10, LAZY);
  Thing thing(&constraint);
  thing.useOwnConstraint(nullptr);
  EXPECT_NE(thing.constraint(), &constraint);
  EXPECT_EQ(spans(&constraint), "[0,10]");
}

TEST(OwnConstraintTest, IsReleasedWithTheExecutableInOrOutOfUse) {
  ASSERT_TRUE(COUNTING);
  const long before = Allocations::live();
  {
    Thing inUse, outOfUse;
    inUse.useOwnConstraint(nullptr);
    outOfUse.useOwnConstraint(nullptr);
    outOfUse.setConstraint(nullptr);
    EXPECT_GE(Allocations::live(), before + 2) << "one each";
  }
  EXPECT_EQ(Allocations::live(), before) << "with the executables";
}

TEST(ExecutablePrintTest, WritesLabelBlankAndConstraint) {
  char name[] = "A:p";
  Constraint constraint(nullptr, 0, 5000, EAGER);
  Thing thing(&constraint, name);
  EXPECT_EQ(printed(thing), "A:p eager (0ms,5ms)");
}

TEST(ExecutablePrintTest, WithoutConstraintWritesLazy) {
  char name[] = "A:p";
  Thing thing(nullptr, name);
  EXPECT_EQ(printed(thing), "A:p lazy");
}

TEST(ExecutablePrintTest, AnEmptyConstraintLeavesTheBlank) {
  char name[] = "A:p";
  Constraint constraint(nullptr, 0, 5000, EAGER);
  constraint.clear();
  Thing thing(&constraint, name);
  EXPECT_EQ(printed(thing), "A:p ");
}

// The constraint's clock reads 2 ms when the display clock reads 10 ms.
TEST(ExecutablePrintTest, ShowsTheConstraintInValuesOfTheDisplayClock) {
  char name[] = "A:p";
  HandClock own(Vesk::Time(2000)), display(Vesk::Time(10000));
  Constraint constraint(&own, 0, 5000, LAZY);
  Thing thing(&constraint, name);
  thing.clock = &display;
  EXPECT_EQ(printed(thing), "A:p lazy (8ms,13ms)");
  EXPECT_EQ(constraint.displayClock(), &display);
  EXPECT_EQ(spans(&constraint), "[0,5000]");
}

TEST(ExecutablePrintTest, ThePointerFormWritesTheSame) {
  char name[] = "A:p";
  Thing thing(nullptr, name);
  std::ostringstream out;
  out << static_cast<Executable*>(&thing);
  EXPECT_EQ(out.str(), "A:p lazy");
}

TEST(ExecutablePrintTest, ANullLabelMakesTheStreamFailAndPrintsNothing) {
  Thing thing;
  std::ostringstream out;
  out << thing;
  EXPECT_TRUE(out.bad());
  EXPECT_EQ(out.str(), "");
}

TEST(ExecutablePrintTest, AFormatInALabelIsPlainText) {
  char name[] = "%n%s%99999d";
  Thing thing(nullptr, name);
  EXPECT_EQ(printed(thing), "%n%s%99999d lazy");
}
