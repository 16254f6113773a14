#include "port.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/clocks.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

// A port that shows its label buffer and lets a test spoil its name.
class OpenPort : public Port {
 public:
  using Port::Port;
  char* buffer() { return LABEL; }
  void spoilName() { mName[0] = '#'; }
  Constraint*& hiddenConstraint() { return mConstraint; }
};

}  // namespace

TEST(PortTest, AnAtomPortStartsClearWithItsHolder) {
  TestAtom atom("A", nullptr);
  const Port port("p", &atom);
  EXPECT_STREQ(port.name(), "p");
  EXPECT_EQ(port.atomHolder(), &atom);
  EXPECT_EQ(port.connHolder(), nullptr);
  EXPECT_FALSE(port.synced());
  EXPECT_FALSE(port.complete());
  EXPECT_FALSE(port.elected());
  EXPECT_FALSE(port.isConnected());
  EXPECT_FALSE(port.isInternal());
  EXPECT_EQ(port.next(), nullptr);
  EXPECT_EQ(port.constraint(), nullptr);
  EXPECT_EQ(port.mark(), 0u);
  EXPECT_FALSE(port.dominated());
}

TEST(PortTest, AnExportedPortStartsClearWithItsHolder) {
  System compound("C");
  TestConnector connector(RENDEZVOUS, "k", &compound, true);
  const Port port("x", &connector);
  EXPECT_STREQ(port.name(), "x");
  EXPECT_EQ(port.atomHolder(), nullptr);
  EXPECT_EQ(port.connHolder(), &connector);
  EXPECT_FALSE(port.synced());
  EXPECT_FALSE(port.elected());
  EXPECT_FALSE(port.isConnected());
  EXPECT_FALSE(port.isInternal());
  EXPECT_EQ(port.next(), nullptr);
  EXPECT_EQ(port.constraint(), nullptr);
}

TEST(PortTest, CopiesItsName) {
  TestAtom atom("A", nullptr);
  char name[] = "p";
  const Port port(name, &atom);
  name[0] = 'q';
  EXPECT_STREQ(port.name(), "p");
}

TEST(PortTest, KeepsANullName) {
  TestAtom atom("A", nullptr);
  const Port port(nullptr, &atom);
  EXPECT_EQ(port.name(), nullptr);
}

TEST(PortTest, AccessorsKeepWhatWasSet) {
  TestAtom atom("A", nullptr);
  Port port("p", &atom), other("q", &atom);
  port.setSynced(true);
  port.setElected(true);
  port.setConnected();
  port.setInternal();
  port.setNext(&other);
  EXPECT_TRUE(port.synced());
  EXPECT_TRUE(port.elected());
  EXPECT_TRUE(port.isConnected());
  EXPECT_TRUE(port.isInternal());
  EXPECT_EQ(port.next(), &other);
  port.setConnected(false);
  port.setInternal(false);
  EXPECT_FALSE(port.isConnected());
  EXPECT_FALSE(port.isInternal());
}

TEST(PortTest, IsCompleteWhenSynced) {
  TestAtom atom("A", nullptr);
  Port port("p", &atom);
  port.setSynced(true);
  EXPECT_TRUE(port.complete());
}

TEST(PortTest, TheSecondConstraintFieldIsNotTheOneInUse) {
  TestAtom atom("A", nullptr);
  Constraint constraint(nullptr, 50, 60, EAGER);
  OpenPort port("p", &atom);
  EXPECT_EQ(port.hiddenConstraint(), nullptr);
  port.hiddenConstraint() = &constraint;
  EXPECT_EQ(port.constraint(), nullptr);
  EXPECT_EQ(port.next(Vesk::Time(5)), Vesk::Time(5));
  EXPECT_EQ(port.deadline(Vesk::Time(5)), Vesk::Time::MAX);
  port.setConstraint(&constraint);
  port.hiddenConstraint() = nullptr;
  EXPECT_EQ(port.next(Vesk::Time(5)), Vesk::Time(50));
}

TEST(PortGuardTest, HoldsForAnAtomPort) {
  TestAtom atom("A", nullptr);
  EXPECT_TRUE(Port("p", &atom).guard());
}

TEST(PortGuardTest, IsTheGuardOfTheConnectorForAnExportedPort) {
  System compound("C");
  TestConnector connector(RENDEZVOUS, "k", &compound, true);
  const Port port("x", &connector);
  bool answer = true;
  connector.onGuard = [&] { return answer; };
  EXPECT_TRUE(port.guard());
  answer = false;
  EXPECT_FALSE(port.guard());
}

TEST(PortGuardTest, FailsWithoutHolder) {
  EXPECT_FALSE(Port("p", static_cast<const Atom*>(nullptr)).guard());
}

TEST(PortLabelTest, IsAtomColonPort) {
  TestAtom atom("A", nullptr);
  EXPECT_STREQ(Port("p", &atom).label(), "A:p");
}

TEST(PortLabelTest, OfAnExportedPortIsCompoundColonConnector) {
  System compound("C1");
  TestConnector* connector = compound.exported(RENDEZVOUS, "k");
  EXPECT_STREQ(connector->xPort()->label(), "C1:k");
}

TEST(PortLabelTest, IsEmptyBeforeTheFirstCallAndInTheBufferAfterIt) {
  TestAtom atom("A", nullptr);
  OpenPort port("p", &atom);
  EXPECT_STREQ(port.buffer(), "");
  EXPECT_EQ(port.label(), port.buffer());
  EXPECT_STREQ(port.buffer(), "A:p");
}

TEST(PortLabelTest, IsNotBuiltAgainEvenIfANameHasChanged) {
  TestAtom atom("A", nullptr);
  OpenPort port("p", &atom);
  char* const first = port.label();
  port.spoilName();
  EXPECT_STREQ(port.name(), "#");
  EXPECT_EQ(port.label(), first);
  EXPECT_STREQ(port.label(), "A:p");
}

TEST(PortLabelTest, ALongOneIsNotBuiltAgainEither) {
  TestAtom atom("A", nullptr);
  const std::string name(5000, 'p');
  OpenPort port(name.c_str(), &atom);
  char* const first = port.label();
  port.spoilName();
  EXPECT_EQ(port.label(), first);
  EXPECT_EQ(port.label(), "A:" + name);
}

TEST(PortLabelTest, IsWholeAtEveryLength) {
  TestAtom atom("A", nullptr);
  for (const std::size_t length :
       std::initializer_list<std::size_t>{0, 1, 7, 1020, 1021, 1022, 1023, 1024, 4096, 1000000}) {
    const std::string name(length, 'p');
    OpenPort port(name.c_str(), &atom);
    port.setSynced(true);
    EXPECT_EQ(port.label(), "A:" + name) << length;
    EXPECT_EQ(port.label() == port.buffer(), length + 2 < 1024) << length;
    EXPECT_STREQ(port.name(), name.c_str()) << length;
    EXPECT_EQ(port.atomHolder(), &atom) << length;
    EXPECT_TRUE(port.synced()) << length;
  }
}

TEST(PortLabelTest, TwoLongLabelsWithACommonBeginningDiffer) {
  TestAtom atom("A", nullptr);
  const std::string common(2000, 'p');
  Port one((common + "1").c_str(), &atom), two((common + "2").c_str(), &atom);
  EXPECT_STRNE(one.label(), two.label());
}

TEST(PortLabelTest, OfALongConnectorNameIsWhole) {
  System compound("C");
  const std::string name(3000, 'k');
  TestConnector* connector = compound.exported(RENDEZVOUS, name.c_str());
  EXPECT_EQ(connector->xPort()->label(), "C:" + name);
}

TEST(PortLabelTest, ANullNameIsAnEmptyText) {
  TestAtom named("A", nullptr), nameless(nullptr, nullptr);
  EXPECT_STREQ(Port(nullptr, &named).label(), "A:");
  EXPECT_STREQ(Port("p", &nameless).label(), ":p");
  EXPECT_STREQ(Port(nullptr, &nameless).label(), ":");
  System compound(nullptr);
  EXPECT_STREQ(compound.exported(RENDEZVOUS, nullptr)->xPort()->label(), ":");
}

TEST(PortLabelTest, AFormatInANameIsPlainText) {
  TestAtom atom("%n%s", nullptr);
  EXPECT_STREQ(Port("%99999d", &atom).label(), "%n%s:%99999d");
}

TEST(PortClockTest, IsTheClockOfTheAtom) {
  HandClock clock(Vesk::Time(0));
  TestAtom atom("A", nullptr);
  const Port port("p", &atom);
  EXPECT_EQ(port.displayClock(), nullptr);
  atom.setClock(&clock);
  EXPECT_EQ(port.displayClock(), &clock);
}

TEST(PortClockTest, IsNullForAnExportedPort) {
  HandClock clock(Vesk::Time(0));
  System compound("C");
  compound.setClock(&clock);
  EXPECT_EQ(compound.exported(RENDEZVOUS, "k")->xPort()->displayClock(), nullptr);
}

TEST(PortTimeTest, WithoutConstraintNextIsNowAndThereIsNoDeadline) {
  TestAtom atom("A", nullptr);
  const Port port("p", &atom);
  for (Vesk::Time t :
       {Vesk::Time::MIN, Vesk::Time(-5), Vesk::Time(0), Vesk::Time(7), Vesk::Time::MAX}) {
    SCOPED_TRACE(text(t));
    EXPECT_EQ(port.next(t), t);
    EXPECT_EQ(port.deadline(t), Vesk::Time::MAX);
  }
}

// The atom's clock reads 100 when the constraint's clock, reset at 60, reads 40.
TEST(PortTimeTest, TranslatesBetweenTheClockOfTheConstraintAndTheAtom) {
  HandClock logical(Vesk::Time(100)), own(Vesk::Time(40));
  TestAtom atom("A", nullptr);
  atom.setClock(&logical);
  Constraint constraint(&own, 50, 70, DELAYABLE);
  Port port("p", &atom);
  port.setConstraint(&constraint);
  EXPECT_EQ(port.next(Vesk::Time(100)), Vesk::Time(110));
  EXPECT_EQ(port.next(Vesk::Time(120)), Vesk::Time(120));
  EXPECT_EQ(port.next(Vesk::Time(131)), Vesk::Time::MAX);
  EXPECT_EQ(port.deadline(Vesk::Time(100)), Vesk::Time(130));
  EXPECT_EQ(port.deadline(Vesk::Time(131)), Vesk::Time::MAX);
}

TEST(PortTimeTest, ExtremeValuesStayExtreme) {
  HandClock logical(Vesk::Time(100)), own(Vesk::Time(40));
  TestAtom atom("A", nullptr);
  atom.setClock(&logical);
  Constraint constraint(&own, Vesk::Time::MIN, 70, LAZY);
  Port port("p", &atom);
  port.setConstraint(&constraint);
  EXPECT_EQ(port.next(Vesk::Time::MIN), Vesk::Time::MIN);
  EXPECT_EQ(port.next(Vesk::Time::MAX), Vesk::Time::MAX);
  EXPECT_EQ(port.deadline(Vesk::Time(0)), Vesk::Time::MAX);
}

TEST(PortTimeTest, AskingTwiceGivesTheSame) {
  HandClock logical(Vesk::Time(100)), own(Vesk::Time(40));
  TestAtom atom("A", nullptr);
  atom.setClock(&logical);
  Constraint constraint(&own, 50, 70, EAGER);
  Port port("p", &atom);
  port.setConstraint(&constraint);
  EXPECT_EQ(port.next(Vesk::Time(0)), port.next(Vesk::Time(0)));
  EXPECT_EQ(port.deadline(Vesk::Time(0)), Vesk::Time(110)) << "the first time";
  EXPECT_EQ(port.deadline(Vesk::Time(0)), Vesk::Time(110)) << "the second time";
}

TEST(PortTimeTest, WithoutEitherClockNothingIsTranslated) {
  HandClock clock(Vesk::Time(100));
  TestAtom atom("A", nullptr);
  Constraint constraint(&clock, 50, 70, DELAYABLE);
  Port port("p", &atom);
  port.setConstraint(&constraint);
  EXPECT_EQ(port.next(Vesk::Time(0)), Vesk::Time(50)) << "with the clock of the constraint alone";
  atom.setClock(&clock);
  constraint.setClock(nullptr);
  EXPECT_EQ(port.next(Vesk::Time(0)), Vesk::Time(50)) << "with the clock of the atom alone";
  EXPECT_EQ(port.deadline(Vesk::Time(0)), Vesk::Time(70));
}

TEST(PortTimeTest, AnExportedPortDoesNotTranslate) {
  HandClock logical(Vesk::Time(100)), own(Vesk::Time(40));
  System compound("C");
  compound.setClock(&logical);
  Port* port = compound.exported(RENDEZVOUS, "k")->xPort();
  Constraint constraint(&own, 50, 70, DELAYABLE);
  port->setConstraint(&constraint);
  EXPECT_EQ(port->next(Vesk::Time(0)), Vesk::Time(50));
  EXPECT_EQ(port->deadline(Vesk::Time(0)), Vesk::Time(70));
  port->setConstraint(nullptr);
}

TEST(PortExecuteTest, RunsTheTransitionThenResetsTheLinksOfTheAtom) {
  System compound("C");
  TestAtom* atom = compound.atom("A");
  Port* port = atom->enabled("p");
  TestConnector* connector = compound.rendezvous("k", port);
  for (bool timed : {false, true}) {
    connector->eval(false);
    ASSERT_TRUE(connector->evaluated()) << timed;
    Port* fired = nullptr;
    bool evaluatedMeanwhile = false;
    atom->onExecute = [&](Port* by) {
      fired = by;
      evaluatedMeanwhile = connector->evaluated();
    };
    const std::string errors = errorsOf([&] {
      if (timed) {
        port->execute(Vesk::Time(3));
      } else {
        port->execute();
      }
    });
    EXPECT_EQ(errors, "") << timed;
    EXPECT_EQ(fired, port) << timed;
    EXPECT_TRUE(evaluatedMeanwhile) << timed;
    EXPECT_FALSE(connector->evaluated()) << timed;
  }
}

TEST(PortExecuteTest, AnUnsyncedAtomPortIsReportedAndStillFires) {
  System compound("C");
  TestAtom* atom = compound.atom("A");
  Port* port = atom->enabled("p");
  TestConnector* connector = compound.rendezvous("k", port);
  for (bool timed : {false, true}) {
    port->setSynced(true);
    connector->eval(false);
    port->setSynced(false);
    int fired = 0;
    atom->onExecute = [&](Port*) { ++fired; };
    const std::string errors = errorsOf([&] {
      if (timed) {
        port->execute(Vesk::Time(3));
      } else {
        port->execute();
      }
    });
    EXPECT_EQ(errors, "ERROR: the port A.p seems to appars several time in a connector\n") << timed;
    EXPECT_EQ(fired, 1) << timed;
    EXPECT_FALSE(connector->evaluated()) << timed;
  }
}

TEST(PortExecuteTest, AFormatInAReportedNameIsPlainText) {
  TestAtom atom("%n%s", nullptr);
  Port port("%99999d", &atom);
  EXPECT_EQ(errorsOf([&] { port.execute(); }),
            "ERROR: the port %n%s.%99999d seems to appars several time in a connector\n");
}

TEST(PortExecuteTest, OfAnExportedPortFiresTheInteractionOfItsConnector) {
  System compound("C");
  TestAtom* atom = compound.atom("A");
  Constraint early(nullptr, 0, 10, LAZY);
  Port* port = atom->enabled("p", &early);
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", port);
  connector->eval(false);
  int fired = 0;
  atom->onExecute = [&](Port*) { ++fired; };
  connector->xPort()->execute(Vesk::Time(11));
  EXPECT_EQ(fired, 0);
  connector->xPort()->execute(Vesk::Time(10));
  EXPECT_EQ(fired, 1);
  connector->xPort()->execute();
  EXPECT_EQ(fired, 2);
}

TEST(PortExecuteTest, AnUnsyncedExportedPortIsNotReported) {
  System compound("C");
  TestConnector* connector = compound.exported(RENDEZVOUS, "k");
  EXPECT_EQ(errorsOf([&] { connector->xPort()->execute(); }), "");
}

TEST(PortActuateTest, DoesNothingForAnAtomPort) {
  Events events;
  System compound("C");
  TestAtom* atom = compound.atom("A");
  atom->events = &events;
  Port* port = atom->port("p");
  TestConnector* connector = compound.rendezvous("k", port);
  connector->events = &events;
  EXPECT_EQ(errorsOf([&] { port->actuate(Vesk::Time(3)); }), "");
  EXPECT_EQ(events, Events());
}

TEST(PortActuateTest, HandsDownToTheConnectorOfAnExportedPort) {
  Events events;
  System compound("C");
  TestAtom* atom = compound.atom("A");
  Constraint early(nullptr, 0, 10, LAZY);
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p", &early));
  connector->eval(false);
  connector->events = &events;
  connector->xPort()->actuate(Vesk::Time(11));
  EXPECT_EQ(events, Events());
  connector->xPort()->actuate(Vesk::Time(10));
  EXPECT_EQ(events, Events({"dn k"}));
}

TEST(PortLinkTest, OfAnAtomPortGoesToTheAtomOncePerCall) {
  System compound("C");
  TestAtom* atom = compound.atom("A");
  Port* port = atom->port("p");
  TestConnector one(RENDEZVOUS, "k1", &compound, false), two(RENDEZVOUS, "k2", &compound, false);
  port->setLink(&one);
  port->setLink(&two);
  port->setLink(&one);
  EXPECT_EQ(elements(atom->links()), (std::vector<Connector*>{&one, &two, &one}));
  EXPECT_FALSE(one.isSubconnSameHolder());
}

TEST(PortLinkTest, OfAnExportedPortInTheSameCompoundMarksTheSubconnector) {
  System compound("C");
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner");
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  EXPECT_EQ(elements(inner->links()), (std::vector<Connector*>{outer}));
  EXPECT_TRUE(inner->isSubconnSameHolder());
  EXPECT_FALSE(outer->isSubconnSameHolder());
}

TEST(PortLinkTest, OfAnExportedPortInTheEnclosingCompoundDoesNotMarkIt) {
  System compound("C");
  System* below = compound.compound("D");
  TestConnector* inner = below->exported(RENDEZVOUS, "inner");
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  EXPECT_EQ(elements(inner->links()), (std::vector<Connector*>{outer}));
  EXPECT_FALSE(inner->isSubconnSameHolder());
}

TEST(PortLinkTest, ALaterConnectorOfAnotherCompoundDoesNotTakeTheMarkAway) {
  System compound("C");
  System* below = compound.compound("D");
  TestConnector* inner = below->exported(RENDEZVOUS, "inner");
  below->rendezvous("same", inner->xPort());
  compound.rendezvous("outer", inner->xPort());
  EXPECT_TRUE(inner->isSubconnSameHolder());
}

TEST(PortNotifyTest, QueuesTheConnectorsOfTheAtom) {
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  System compound("C");
  TestAtom* atom = compound.atom("A");
  Port* port = atom->port("p");
  TestConnector* one = compound.rendezvous("k1", port);
  TestConnector* two = compound.rendezvous("k2", atom->port("q"));
  atom->mScheduler = &scheduler;
  port->notifyDependentPorts();
  EXPECT_TRUE(one->queued());
  EXPECT_TRUE(two->queued());
  EXPECT_EQ(scheduler.prioHeap().getCount(), 2);
}

TEST(PortNotifyTest, DoesNothingForAnExportedPort) {
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  System compound("C");
  TestAtom* atom = compound.atom("A");
  atom->mScheduler = &scheduler;
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->port("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  inner->xPort()->notifyDependentPorts();
  EXPECT_FALSE(inner->queued());
  EXPECT_FALSE(outer->queued());
  EXPECT_EQ(scheduler.prioHeap().getCount(), 0);
}

// An exported port owns its constraint; an atom port only one that a domination made for it.
TEST(PortOwnershipTest, AnAtomPortLeavesTheModelsConstraintAlone) {
  TestAtom atom("A", nullptr);
  Constraint constraint(nullptr, 0, 10, LAZY);
  {
    Port port("p", &atom);
    port.setConstraint(&constraint);
  }
  EXPECT_EQ(constraint.size(), 1u);
}

TEST(PortOwnershipTest, AnExportedPortLeavesItsConstraintToItsConnector) {
  System compound("C");
  TestConnector* connector = compound.rendezvous("k");
  Constraint constraint(nullptr, 0, 10, LAZY);
  {
    Port port("x", connector);
    port.setConstraint(&constraint);
  }
  EXPECT_EQ(constraint.size(), 1u);
}

TEST(PortOwnershipTest, AConstraintMadeByADominationIsUsedAgainAndReleased) {
  TestAtom atom("A", nullptr);
  Constraint above(nullptr, 0, 10, LAZY);
  Port high("h", &atom), low("l", &atom);
  high.setConstraint(&above);
  Constraint* made = nullptr;
  for (int step = 0; step < 1000; ++step) {
    high.dominate(low, Vesk::Time(0));
    ASSERT_NE(low.constraint(), nullptr) << step;
    if (made == nullptr) made = low.constraint();
    EXPECT_EQ(low.constraint(), made) << step;
    low.setConstraint(nullptr);
  }
}

TEST(PortOwnershipTest, APortThatNobodyHasFiresNothing) {
  Port alone("p", static_cast<const Atom*>(nullptr));
  alone.setSynced(true);
  alone.actuate(Vesk::Time(0));
  alone.execute(Vesk::Time(0));
  EXPECT_TRUE(alone.synced());
}
