// Why a run has ended, and why a connector does not fire, in words.
#include "explanation.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::RunEnd;
using Vesk::Time;
using Vesk::Inspect::Explanation;

namespace {

class ExplanationTest : public testing::Test {
 protected:
  // A step begins, in a run with time or without.
  void begin(const LogicalClock* logical) {
    explanation.started(system, logical);
    Connector* legals = system.activate(true);
    explanation.stepBegins(legals, system.internals());
  }
  void beginUntimed() { begin(nullptr); }
  void beginTimed() { begin(&clock); }

  std::string endedBy(RunEnd end) {
    explanation.ended(end, nullptr);
    return explanation.text();
  }
  void configure(int mode, int optimization = 0) {
    explanation.configured(&system, OpenScheduler(&system, mode, 1, optimization));
  }
  // The first line of the text, and whether it has one.
  static std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }
  static bool has(const std::string& text, const std::string& line) {
    return text.find(line + "\n") != std::string::npos;
  }

  System system{"s"};
  SimuClock platform{"platform"};
  LogicalClock clock{"logical", platform};
  Explanation explanation;
};

}  // namespace

// ---- Why a connector does not fire -----------------------------------------------------------

TEST_F(ExplanationTest, APortThatIsNotEnabledIsNamedWithTheStateOfItsAtom) {
  TestAtom* a = system.atom("A");
  a->state = "1,";
  TestConnector* k = system.rendezvous("k", a->enabled("p"), a->port("q"));
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*k), "s/A.q is not enabled in the state \"1,\"");
}

TEST_F(ExplanationTest, AnAtomWithoutATextIsNamedAlone) {
  struct Mute : TestAtom {
    using TestAtom::TestAtom;
    Node* getState() override { return nullptr; }
  };
  auto* mute = system.add(new Mute("A", &system));
  TestConnector* k = system.rendezvous("k", mute->port("q"));
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*k), "s/A.q is not enabled");
  EXPECT_TRUE(has(endedBy(RunEnd::DEADLOCK), "    s/A (none)"));
}

TEST_F(ExplanationTest, AnAtomOutsideTheTreeIsSaidToBeThere) {
  TestAtom outside("B", &system);
  TestConnector* k = system.rendezvous("k", outside.port("q"));
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*k), "B:q is not enabled (its atom is not in the tree)");
}

TEST_F(ExplanationTest, AnExportedPortIsExplainedByTheConnectorBelow) {
  TestAtom* a = system.atom("A");
  TestConnector* below = system.exported(RENDEZVOUS, "below", a->port("q"));
  TestConnector* k = system.rendezvous("k", below->xPort());
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*k),
            "s/below.x is not enabled (s/A.q is not enabled in the state \"\")");
}

TEST_F(ExplanationTest, APortOfNobodyIsNamedAlone) {
  Port lonely("q", static_cast<Atom*>(nullptr));
  TestConnector* k = system.rendezvous("k", &lonely);
  beginUntimed();
  const std::string why = explanation.whyNot(*k);
  EXPECT_EQ(why.substr(why.size() - 15), " is not enabled");
}

TEST_F(ExplanationTest, AGuardThatSaysNoIsNamed) {
  TestConnector* k = system.rendezvous("k", system.atom("A")->enabled("p"));
  k->onGuard = [] { return false; };
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*k), "its guard() says no");
}

TEST_F(ExplanationTest, PortsWithoutACommonTimeAreNamedWithTheirTimes) {
  TestAtom* a = system.atom("A");
  Constraint* early = a->within(Time(0), Time(1000));
  Constraint* late = a->within(Time(2000), Time(3000));
  TestConnector* k =
      system.rendezvous("k", a->enabled("p", early), a->enabled("q", late), a->enabled("r"));
  beginTimed();
  EXPECT_EQ(explanation.whyNot(*k),
            "its ports have no time in common: A:p lazy (0ms,1ms), A:q lazy (2ms,3ms)");
}

TEST_F(ExplanationTest, ABroadcastWithoutAnEnabledPortNamesAllOfThem) {
  TestAtom* a = system.atom("A");
  TestConnector* k = system.broadcast("k", a->port("p"), a->port("q"));
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*k),
            "s/A.p is not enabled in the state \"\", s/A.q is not enabled in the state \"\"");
}

TEST_F(ExplanationTest, ABroadcastThatAllowsNoSetSaysSo) {
  TestAtom* a = system.atom("A");
  Port* enabled = a->enabled("p");
  TestConnector* k = system.broadcast("k", enabled, a->port("q"));
  k->onGuard = [] { return false; };
  TestConnector* all = system.broadcast("all", enabled);
  all->onGuard = [] { return false; };
  beginUntimed();
  const std::string none = "guard() and complete() allow no set of the enabled ports";
  EXPECT_EQ(explanation.whyNot(*k), none + "; s/A.q is not enabled in the state \"\"");
  EXPECT_EQ(explanation.whyNot(*all), none);
}

// ---- Who gives way to whom -------------------------------------------------------------------

namespace {

// The interaction of all ports of a connector with one.
Interaction* whole(Connector* connector) {
  return Interaction::Create(connector, 1, 0);
}

class GivesWayTest : public ExplanationTest {
 protected:
  GivesWayTest()
      : a(system.atom("A")),
        low(system.rendezvous("low", a->enabled("p"))),
        high(system.rendezvous("high", a->enabled("q"))) {}

  TestAtom* a;
  TestConnector* low;
  TestConnector* high;
};

}  // namespace

TEST_F(GivesWayTest, TheOneThatWinsIsNamed) {
  TestConnector* other = system.rendezvous("other", a->enabled("r"));
  system.priority(whole(other), whole(high));
  system.priority(whole(low), whole(high));
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*low), "it gives way to s/high");
}

TEST_F(GivesWayTest, APriorityBelowAllOthersNamesEveryLegalOne) {
  system.rendezvous("other", a->enabled("r"));
  system.rendezvous("never", a->port("z"));
  system.priority(whole(low), nullptr);
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*low), "it gives way to s/other, s/high");
}

TEST_F(GivesWayTest, OneOfAnotherCompoundIsNotNamed) {
  System* inner = system.compound("inner");
  inner->rendezvous("deep", inner->atom("B")->enabled("b"));
  system.priority(whole(low), whole(high));
  beginUntimed();
  EXPECT_EQ(explanation.whyNot(*low), "it gives way to s/high");
}

TEST_F(GivesWayTest, WhoIsNotKnownIsCalledOthers) {
  beginUntimed();
  low->feasibleInter()->setDominated(true);  // as a model may do itself
  EXPECT_EQ(explanation.whyNot(*low), "it gives way to others");
}

TEST_F(GivesWayTest, TimesThatAreAllTakenAreSaidToBe) {
  a->ports()[0]->setConstraint(a->within(Time(1000), Time(2000)));
  a->ports()[1]->setConstraint(a->within(Time(0), Time(3000)));
  system.priority(whole(low), whole(high));
  beginTimed();
  EXPECT_EQ(explanation.whyNot(*low), "it gives way to s/high at all of its times");
}

TEST_F(GivesWayTest, TimesThatHavePassedAreShown) {
  a->ports()[0]->setConstraint(a->within(Time(1000), Time(2000)));
  clock.wait(Time(5000));
  beginTimed();
  EXPECT_EQ(explanation.whyNot(*low), "its time has passed: s/low/A:p lazy (1ms,2ms)");
}

// ---- Deadlocks -------------------------------------------------------------------------------

TEST_F(ExplanationTest, ADeadlockTellsOfConnectorsInternalPortsAndStates) {
  TestAtom* a = system.atom("A");
  a->state = "x";
  system.exported(RENDEZVOUS, "below", a->port("q"));
  system.rendezvous("k", system.connectors()[0]->xPort());
  Port* tick = a->internal("tick");
  tick->setSynced(true);
  tick->setConstraint(a->within(Time(0), Time(1000)));
  a->internal("never");
  a->enabled("free");
  clock.wait(Time(5000));
  beginTimed();
  EXPECT_EQ(endedBy(RunEnd::DEADLOCK),
            "why: a deadlock at 5ms: nothing can fire any more\n"
            "  s/k: s/below.x is not enabled (s/A.q is not enabled in the state \"x\")\n"
            "  s/A.tick: its time has passed: A:tick lazy (0ms,1ms)\n"
            "  the states of the atoms:\n"
            "    s/A \"x\"\n");
}

TEST_F(ExplanationTest, LongListsAreCutAfterTwentyLines) {
  for (int i = 0; i < 21; ++i) {
    const std::string number = std::to_string(i);
    system.rendezvous(("k" + number).c_str(), system.atom(("A" + number).c_str())->port("p"));
  }
  beginUntimed();
  const std::string text = endedBy(RunEnd::DEADLOCK);
  EXPECT_EQ(firstLine(text), "why: a deadlock: nothing can fire any more");
  EXPECT_TRUE(has(text, "  s/k19: s/A19.p is not enabled in the state \"\"")) << text;
  EXPECT_EQ(text.find("s/k20"), std::string::npos);
  EXPECT_TRUE(has(text, "  and 1 connectors more")) << text;
  EXPECT_TRUE(has(text, "    s/A19 \"\"")) << text;
  EXPECT_EQ(text.find("s/A20"), std::string::npos);
  EXPECT_TRUE(has(text, "    and 1 more")) << text;
}

// ---- The loop by levels ----------------------------------------------------------------------

TEST_F(ExplanationTest, AnEmptyHeapIsToldFromADeadlock) {
  configure(0, Vesk::PRIORITY_HEAP);
  system.rendezvous("k", system.atom("A")->enabled("p"));
  beginUntimed();
  const std::string text = endedBy(RunEnd::DEADLOCK);
  EXPECT_EQ(firstLine(text), "why: no connector waits for its turn, although these are possible:");
  EXPECT_TRUE(has(text, "  s/k")) << text;
}

TEST_F(ExplanationTest, AnEmptyHeapWhereNothingIsPossibleIsADeadlock) {
  configure(0, Vesk::PRIORITY_HEAP);
  system.rendezvous("k", system.atom("A")->port("p"));
  beginUntimed();
  EXPECT_EQ(firstLine(endedBy(RunEnd::DEADLOCK)), "why: a deadlock: nothing can fire any more");
}

// ---- Time ------------------------------------------------------------------------------------

TEST_F(ExplanationTest, WhatWaitsForATimeBeyondTheEndIsNoDeadlock) {
  TestAtom* a = system.atom("A");
  auto* own = new Clock("own", clock);
  a->clocks().add(own);
  clock.wait(Time(2147000000));
  own->reset();
  const auto enabled = [&](const char* name, Time low, Time high) {
    auto* constraint = new Constraint(own, low, high, LAZY);
    a->constraints().add(constraint);
    return a->enabled(name, constraint);
  };
  enabled("soon", Time(1000), Time(2000));
  enabled("always", Time::MIN, Time::MAX);
  enabled("never", Time::MAX, Time::MAX);
  enabled("off", Time(700000), Time::MAX)->setSynced(false);
  enabled("late", Time(700000), Time::MAX);
  a->enabled("free");
  a->enabled("elsewhere", a->within(Time(1000), Time(2000)));
  beginTimed();
  EXPECT_EQ(endedBy(RunEnd::DEADLOCK),
            "why: this is the end of time, 2147483.647ms, and no deadlock: no clock goes further\n"
            "  s/A.late waits for 2147700ms\n");
}

TEST_F(ExplanationTest, TheLastMomentIsTheEndOfTime) {
  configure(Vesk::RANDOM);
  clock.wait(Time::MAX);
  beginTimed();
  const std::string text = endedBy(RunEnd::DEADLOCK);
  EXPECT_EQ(firstLine(text),
            "why: this is the end of time, 2147483.647ms, and no deadlock: no clock goes further");
  EXPECT_NE(text.find("--random draws each time"), std::string::npos);
}

TEST_F(ExplanationTest, AnUrgencyNamesWhatIsOverdue) {
  TestAtom* a = system.atom("A");
  system.rendezvous("overdue", a->enabled("p", a->within(Time(0), Time(1000), EAGER)));
  system.rendezvous("later", a->enabled("q", a->within(Time(0), Time(9000), DELAYABLE)));
  TestConnector* low = system.rendezvous("low", a->enabled("r"));
  Interaction* free = whole(system.rendezvous("free", a->enabled("f")));
  system.priority(whole(low), free);
  Port* tick = a->internal("tick");
  tick->setSynced(true);
  tick->setConstraint(a->within(Time(0), Time(2000), DELAYABLE));
  Port* given = a->internal("given");
  given->setSynced(true);
  given->setConstraint(a->within(Time(0), Time(1000), EAGER));
  given->setDominated(true);
  beginTimed();
  clock.wait(Time(5000));
  const std::string text = endedBy(RunEnd::URGENCY);
  EXPECT_EQ(firstLine(text), "why: at 5ms something is overdue that had to fire before:");
  EXPECT_TRUE(has(text, "  s/overdue/A:p: by 0ms")) << text;
  EXPECT_TRUE(has(text, "  A:tick: by 2ms")) << text;
  EXPECT_EQ(text.find("later"), std::string::npos);
  EXPECT_EQ(text.find("A:given"), std::string::npos);
  EXPECT_NE(text.find("The step began at 0ms"), std::string::npos);
}

TEST_F(ExplanationTest, ADriftNamesBothClocks) {
  beginTimed();
  platform.wait(Time(50000));
  const std::string text = endedBy(RunEnd::DRIFT);
  EXPECT_EQ(firstLine(text),
            "why: the clock of the platform is at 50ms, that of the model at 0ms, more than the "
            "40ms apart that are allowed");
}

TEST_F(ExplanationTest, NoChoiceDependsOnWhoChooses) {
  beginTimed();
  EXPECT_EQ(endedBy(RunEnd::NO_CHOICE),
            "why: nothing was chosen, although something is possible: the policy has removed it\n");
  configure(Vesk::INTERACTIVE);
  EXPECT_EQ(endedBy(RunEnd::NO_CHOICE).find("why: the dialogue was left"), 0u);
  configure(Vesk::RANDOM);
  EXPECT_EQ(endedBy(RunEnd::NO_CHOICE).find("why: the time that was drawn is after"), 0u);
}

TEST_F(ExplanationTest, TheLimitIsNoEndOfTheModel) {
  beginTimed();
  EXPECT_EQ(endedBy(RunEnd::LIMIT),
            "why: the limit of steps was reached; the model itself has not ended\n");
}
