// What is found of a model without running it, and of the steps of a run.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "findings.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"
#include "parts.hpp"
#include "structure-check.hpp"
#include "stuck-watch.hpp"
#include "walk-check.hpp"

using namespace kit;

using Vesk::Time;
using Vesk::Inspect::Findings;
using Vesk::Inspect::Parts;
using Vesk::Inspect::RunCheck;
using Vesk::Inspect::Seen;
using Vesk::Inspect::StuckWatch;

namespace {

Interaction* whole(Connector* connector) {
  return Interaction::Create(connector, 1, 0);
}

class CheckTest : public testing::Test {
 protected:
  CheckTest() : a(system.atom("A")) {}

  std::string structure() {
    Findings findings;
    checkStructure(Parts(system), findings);
    return findings.text();
  }
  // Whether there is such a finding: its place and what it is.
  static testing::AssertionResult finds(const std::string& text, const std::string& finding) {
    if (("\n" + text).find("\n" + finding + "\n") != std::string::npos) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << text;
  }

  System system{"s"};
  TestAtom* a;
};

}  // namespace

// ---- The structure ---------------------------------------------------------------------------

TEST_F(CheckTest, ASoundStructureHasNoFinding) {
  TestConnector* sub = system.exported(RENDEZVOUS, "sub", a->port("p"));
  system.rendezvous("k", sub->xPort());
  a->internal("i");
  EXPECT_TRUE(finds(structure(), "0 findings"));
}

TEST_F(CheckTest, ASubConnectorThatExportsNothingIsNeverUsed) {
  system.add(new TestConnector(RENDEZVOUS, "sub", &system, true, a->port("p")));
  EXPECT_TRUE(
      finds(structure(), "s/sub: it is a sub-connector, and no connector uses its exported port"));
}

TEST_F(CheckTest, APortThatItsAtomDoesNotHaveIsFound) {
  Port unlisted("loose", a);
  system.rendezvous("k", &unlisted);
  EXPECT_TRUE(finds(structure(), "s/k: its port A:loose is not among the ports of its atom"));
}

TEST_F(CheckTest, AnExportingConnectorOutsideTheTreeIsFound) {
  TestConnector other(RENDEZVOUS, "other", &system, true, a->port("p"));
  Port* exported = other.exportPort();
  system.rendezvous("k", exported);
  EXPECT_TRUE(finds(structure(), "s/k: its port " + std::string(exported->label()) +
                                     " is exported by a connector that is not in the tree"));
}

TEST_F(CheckTest, APortOfNobodyIsNoFinding) {
  Port lonely("q", static_cast<Atom*>(nullptr));
  system.rendezvous("k", &lonely);
  EXPECT_TRUE(finds(structure(), "0 findings"));
}

TEST_F(CheckTest, APriorityOfAConnectorOutsideTheTreeIsFound) {
  TestConnector* k = system.rendezvous("k", a->port("p"));
  TestConnector other(RENDEZVOUS, "other", &system, false, a->ports()[0]);
  system.priority(whole(k), whole(&other));
  EXPECT_TRUE(
      finds(structure(), "s: a priority names the connector other, which is not in the tree"));
}

TEST_F(CheckTest, APriorityBelowAllOthersIsSound) {
  system.priority(whole(system.rendezvous("k", a->port("p"))), nullptr);
  const std::string text = structure();
  EXPECT_TRUE(finds(text, "0 findings"));
  EXPECT_TRUE(finds(text,
                    "note: priorities act in timed runs, and in --opt2 as the order of connectors; "
                    "explorations and --opt1 do not know them"));
}

TEST_F(CheckTest, TheNoteOnPrioritiesKnowsWhatTheRootHasDeclared) {
  system.priority(whole(system.rendezvous("k", a->port("p"))), nullptr);
  system.declare(Vesk::Priorities::EVERYWHERE);
  EXPECT_TRUE(finds(structure(),
                    "note: priorities act in timed runs, and in --opt2 as the order of connectors; "
                    "the root has declared that they act in explorations and --opt1 too"));
}

TEST_F(CheckTest, NamesThatThreeShareAreOneFinding) {
  system.components().add(nullptr);
  system.atom("B");
  system.atom("B");
  system.atom("B");
  const std::string text = structure();
  EXPECT_TRUE(finds(text, "s: several components are called \"B\""));
  EXPECT_TRUE(finds(text, "1 finding"));
}

// ---- Runs ------------------------------------------------------------------------------------

namespace {

class RunCheckTest : public CheckTest {
 protected:
  std::string text() {
    check.finish();
    return findings.text();
  }

  const StuckWatch watch{1};
  Seen seen;
  Findings findings;
  RunCheck check{"--opt1", seen, findings};
};

}  // namespace

TEST_F(RunCheckTest, MoreThanThreePortsThatFireTwiceAreCounted) {
  TestConnector* one = system.rendezvous("one", a->enabled("p"), a->enabled("q"), a->enabled("r"),
                                         a->enabled("t"), a->enabled("u"));
  check.started(system, nullptr);
  check.stepBegins(system.activate(true), nullptr);
  check.firing(*one);
  check.firing(*one);
  EXPECT_TRUE(finds(text(),
                    "--opt1: a port fires twice in one step: s/A.p, s/A.q, s/A.r and 2 "
                    "more"));
}

TEST_F(RunCheckTest, AConnectorThatFiresNothingFiresNoPort) {
  TestConnector* none = system.rendezvous("none", a->port("p"));
  check.started(system, nullptr);
  check.stepBegins(system.activate(true), nullptr);
  check.firing(*none);
  check.firing(*none);
  EXPECT_TRUE(finds(text(), "0 findings"));
}

TEST_F(RunCheckTest, EveryIntervalThatIsOutOfOrderIsFound) {
  a->constraints().add(nullptr);
  a->constraints().add(new Constraint(nullptr, Time(5), Time(4), LAZY));
  check.started(system, nullptr);
  EXPECT_TRUE(finds(text(),
                    "s/A: it has a constraint with an interval whose lower bound is above "
                    "the upper one"));
}

TEST_F(RunCheckTest, AnIntervalThatBeginsBeforeZeroIsSound) {
  a->constraints().add(new Constraint(nullptr, Time::MIN, Time(4), LAZY));
  check.started(system, nullptr);
  EXPECT_TRUE(finds(text(), "0 findings"));
}

TEST_F(RunCheckTest, AConstraintOverTheClockOfAnotherAtomIsFound) {
  LogicalClock* none = nullptr;
  TestAtom* b = system.atom("B");
  b->clocks().add(nullptr);
  b->clocks().add(new Clock("own", none));
  b->clocks().add(new Clock("other", none));
  a->constraints().add(new Constraint(b->clocks()[1], Time(0), Time(4), LAZY));
  check.started(system, nullptr);
  EXPECT_TRUE(finds(text(), "s/A: it has a constraint over a clock of s/B"));
}

// ---- What was never possible -----------------------------------------------------------------

TEST_F(CheckTest, WhatWasNeverPossibleIsFoundOnce) {
  system.rendezvous("possible", a->enabled("p"));
  system.rendezvous("shut", a->port("q"));
  TestConnector* refused = system.rendezvous("refused", a->enabled("r"));
  refused->onGuard = [] { return false; };
  TestConnector* below = system.exported(RENDEZVOUS, "below", a->enabled("t"));
  system.rendezvous("above", below->xPort())->onGuard = [] { return false; };
  a->internal("i");
  a->port("free");
  TestAtom* silent = system.atom("B");
  system.rendezvous("mute", silent->port("m"));
  const Parts parts(system);
  Seen seen;
  Findings findings;
  system.activate(true);
  lookAtStep(parts, seen, findings);
  reportUnseen(parts, seen, 7, findings);
  const std::string text = findings.text();
  const std::string often = " in 7 steps of every way to run";
  EXPECT_TRUE(finds(text, "s/A.q: it was never enabled" + often));
  EXPECT_TRUE(finds(text, "s/B: it has announced no port" + often));
  EXPECT_TRUE(finds(text, "s/refused: it was never possible" + often));
  EXPECT_TRUE(finds(text, "s/above: it was never possible" + often));
  EXPECT_TRUE(finds(text, "4 findings"));
}

// A connector that is in no list of the compound has made its port a connected one.
TEST_F(CheckTest, AnAtomWhoseOnlyPortIsInternalAndJoinedIsNotSilent) {
  Port* tick = a->internal("tick");
  tick->setSynced(true);
  system.rendezvous("k", tick);
  Seen seen;
  Findings findings;
  reportUnseen(Parts(system), seen, 7, findings);
  EXPECT_TRUE(finds(findings.text(), "0 findings")) << findings.text();
}

TEST_F(CheckTest, ARendezvousThatFiresWithoutAllItsPortsIsFound) {
  struct Careless : TestConnector {
    using TestConnector::guard;
    using TestConnector::TestConnector;
    bool guard() override { return true; }
  };
  system.add(new Careless(RENDEZVOUS, "k", &system, false, a->enabled("p"), a->port("q")));
  system.broadcast("b", a->ports()[0], a->ports()[1])->onComplete = [] { return true; };
  const Parts parts(system);
  Seen seen;
  Findings findings;
  system.activate(true);
  lookAtStep(parts, seen, findings);
  const std::string text = findings.text();
  EXPECT_TRUE(finds(text, "s/k: its guard holds although its port s/A.q is not enabled"));
  EXPECT_TRUE(finds(text, "1 finding"));
}

// ---- States ----------------------------------------------------------------------------------

namespace {

class StateCheckTest : public testing::Test {
 protected:
  std::string textAfter(unsigned int steps) {
    Seen seen;
    Findings findings;
    checkStates(system, steps, 1, seen, findings);
    return findings.text();
  }
  // A ring of states, each with its text.
  Automaton* ring(const char* name, const std::vector<std::string>& texts) {
    auto* made = system.add(new Automaton(name, &system, texts));
    std::map<int, int> next;
    for (int i = 0; i < static_cast<int>(texts.size()); ++i) {
      next[i] = (i + 1) % static_cast<int>(texts.size());
    }
    system.rendezvous((std::string("k") + name).c_str(), made->addPort("go", next));
    return made;
  }
  static bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }

  const StuckWatch watch{1};
  System system{"s"};
};

}  // namespace

TEST_F(StateCheckTest, AModelThatKeepsItsStatesHasNoFinding) {
  ring("A", {"0,", "1,", "2,"});
  ring("B", {"0,", "10,"});
  EXPECT_EQ("0 findings\n", textAfter(100));
}

TEST_F(StateCheckTest, AWalkEndsWhereNothingIsPossible) {
  system.add(new Automaton("A", &system, {"0,"}));
  EXPECT_EQ("0 findings\n", textAfter(100));
}

// Its port depends on a variable that is in no text.
TEST_F(StateCheckTest, OtherPortsAfterExecuteInTheSameStateAreFound) {
  struct Fickle : Automaton {
    using Automaton::Automaton;
    void execute(Port* port) override {
      Automaton::execute(port);
      if (++rounds > 2 && state() == 0) ports()[1]->setSynced(false);
    }
    int rounds = 0;
  };
  System own("s");
  auto* fickle = own.add(new Fickle("F", &own, {"0,", "1,"}));
  own.rendezvous("k", fickle->addPort("go", {{0, 1}, {1, 0}}));
  own.rendezvous("never", fickle->addPort("other", {{0, 1}}))->onGuard = [] { return false; };
  Seen seen;
  Findings findings;
  checkStates(own, 6, 1, seen, findings);
  EXPECT_TRUE(has(findings.text(),
                  "it has announced go other, and after execute() in the state "
                  "\"0,\" it announces go"))
      << findings.text();
}

// It takes its first state only until it has left it for the second time.
TEST_F(StateCheckTest, AnAtomIsPutBackEachTimeThatItLeavesItsFirstState) {
  struct Tiring : Automaton {
    using Automaton::Automaton;
    void execute(Port* port) override {
      Automaton::execute(port);
      ++rounds;
    }
    void setState(Node* given) override {
      if (rounds < 3) Automaton::setState(given);
    }
    int rounds = 0;
  };
  System own("s");
  auto* tiring = own.add(new Tiring("T", &own, {"0,", "1,"}));
  own.rendezvous("k", tiring->addPort("go", {{0, 1}, {1, 0}}));
  Seen seen;
  Findings findings;
  checkStates(own, 3, 1, seen, findings);
  EXPECT_TRUE(has(findings.text(), "restored \"0,\", then getState() gives \"1,\""))
      << findings.text();
}

TEST_F(StateCheckTest, TextsThatRunIntoEachOtherAreFound) {
  ring("A", {"1", "11"});
  ring("B", {"1", "2"});
  EXPECT_TRUE(has(textAfter(100), "s/A: its state runs into that of s/B\n"));
}

TEST_F(StateCheckTest, LettersAndSignsOfNumbersRunIntoEachOther) {
  for (const char* sign : {"a", "Z", "9", "-", "."}) {
    System own("s");
    auto* varying = own.add(new Automaton("A", &own, {"1", "11"}));
    own.rendezvous("k", varying->addPort("go", {{0, 1}, {1, 0}}));
    own.add(new Automaton("B", &own, {sign}));
    Seen seen;
    Findings findings;
    checkStates(own, 4, 1, seen, findings);
    EXPECT_TRUE(has(findings.text(), "its state runs into that of s/B")) << sign;
  }
}

TEST_F(StateCheckTest, TextsOfOneLengthOrWithASignBetweenThemDoNot) {
  ring("A", {"1", "2"});
  ring("B", {"a", "b"});
  ring("C", {",1", ",11"});
  ring("D", {"", "(1)"});
  ring("E", {":", "::"});
  ring("F", {"_Z", "_"});
  ring("G", {"", ""});
  ring("H", {"-", "--,"});
  EXPECT_EQ("0 findings\n", textAfter(100));
}
