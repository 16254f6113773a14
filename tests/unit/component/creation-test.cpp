// What components are made with and what they delete.

#include "component.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/clocks.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

// Fields of a compound that have no accessor.
class CompoundFields : public Compound {
 public:
  static Connector* legals(const Compound& compound) {
    return compound.*(&CompoundFields::mLegals);
  }
};

// Objects that record their end.
class LoggingPort : public Port {
 public:
  LoggingPort(const char* name, const Atom* holder, Events& events)
      : Port(name, holder), mEvents(events) {}
  LoggingPort(const char* name, const Connector* holder, Events& events)
      : Port(name, holder), mEvents(events) {}
  ~LoggingPort() override { mEvents.push_back(std::string("~") + mName); }

 private:
  Events& mEvents;
};

class LoggingConstraint : public Constraint {
 public:
  LoggingConstraint(const char* name, Events& events)
      : Constraint(nullptr, 0, 10, LAZY), mName(name), mEvents(events) {}
  LoggingConstraint(const LoggingConstraint&) = default;
  ~LoggingConstraint() override { mEvents.push_back(std::string("~") + mName); }

 private:
  const char* mName;
  Events& mEvents;
};

class LoggingClock : public Clock {
 public:
  LoggingClock(const char* name, Events& events)
      : Clock(name, static_cast<const LogicalClock*>(nullptr)), mEvents(events) {}
  ~LoggingClock() override { mEvents.push_back(std::string("~") + name()); }

 private:
  Events& mEvents;
};

}  // namespace

// ---- construction ------------------------------------------------------------------------------

TEST_F(ComponentTest, AnAtomStartsEmpty) {
  TestAtom atom("A", &root);
  EXPECT_STREQ(atom.name(), "A");
  EXPECT_EQ(atom.holder(), &root);
  EXPECT_EQ(atom.clock(), nullptr);
  EXPECT_TRUE(atom.isAtom());
  EXPECT_FALSE(atom.isCompound());
  EXPECT_EQ(atom.ports().count(), 0);
  EXPECT_EQ(atom.clocks().count(), 0);
  EXPECT_EQ(atom.constraints().count(), 0);
  EXPECT_EQ(atom.ctrlStates().count(), 0);
  EXPECT_EQ(atom.links().count(), 0);
  EXPECT_EQ(atom.VESK_STATE, nullptr);
  EXPECT_EQ(atom.mScheduler, nullptr);
}

TEST_F(ComponentTest, ACompoundStartsEmpty) {
  Compound compound("D", &root);
  EXPECT_STREQ(compound.name(), "D");
  EXPECT_EQ(compound.holder(), &root);
  EXPECT_EQ(compound.clock(), nullptr);
  EXPECT_FALSE(compound.isAtom());
  EXPECT_TRUE(compound.isCompound());
  EXPECT_EQ(compound.components().count(), 0);
  EXPECT_EQ(compound.connectors().count(), 0);
  EXPECT_EQ(compound.priorities().count(), 0);
  EXPECT_EQ(compound.internals(), nullptr);
  EXPECT_EQ(CompoundFields::legals(compound), nullptr);
}

TEST_F(ComponentTest, CopiesItsNameAndKeepsANullOne) {
  char name[] = "A";
  const TestAtom named(name, nullptr), nameless(nullptr, nullptr);
  name[0] = 'B';
  EXPECT_STREQ(named.name(), "A");
  EXPECT_EQ(nameless.name(), nullptr);
  EXPECT_EQ(named.holder(), nullptr);
}

TEST_F(ComponentTest, ItsClockCanBeSet) {
  HandClock clock(Vesk::Time(0));
  root.setClock(&clock);
  EXPECT_EQ(root.clock(), &clock);
}

TEST_F(ComponentTest, AControlStateCopiesItsNameAndKeepsANullOne) {
  char name[] = "idle";
  const CtrlState named(name), nameless(nullptr);
  name[0] = 'x';
  EXPECT_STREQ(named.name(), "idle");
  EXPECT_EQ(nameless.name(), nullptr);
}

TEST_F(ComponentTest, AddPortAppends) {
  TestAtom atom("A", nullptr);
  Port *p = new Port("p", &atom), *q = new Port("q", &atom);
  atom.addPort(p);
  atom.addPort(q);
  EXPECT_EQ(elements(atom.ports()), (std::vector<Port*>{p, q}));
}

TEST_F(ComponentTest, InternalsKeepWhatWasSet) {
  TestAtom atom("A", nullptr);
  Port* port = atom.port("p");
  root.setInternals(port);
  EXPECT_EQ(root.internals(), port);
}

// ---- ownership ---------------------------------------------------------------------------------

TEST_F(ComponentTest, ACompoundDeletesPrioritiesThenConnectorsThenComponentsInIndexOrder) {
  {
    System doomed("doomed");
    doomed.events = &events;
    for (const char* name : {"a1", "a2"}) doomed.atom(name)->events = &events;
    System* below = doomed.compound("below");
    below->events = &events;
    below->atom("b1")->events = &events;
    TestConnector* k1 = doomed.rendezvous("k1");
    TestConnector* k2 = doomed.rendezvous("k2");
    k1->events = k2->events = &events;
    Interaction* low = Interaction::Create(k1, BitVector::EMPTY);
    for (const char* name : {"p1", "p2"}) doomed.priority(name, low, nullptr)->events = &events;
  }
  EXPECT_EQ(events, (Events{"~doomed", "~p1", "~p2", "~k1", "~k2", "~a1", "~a2", "~below", "~b1"}));
}

TEST_F(ComponentTest, AnAtomDeletesConstraintsThenClocksThenPortsInIndexOrder) {
  {
    TestAtom doomed("A", nullptr);
    for (const char* name : {"p1", "p2"}) doomed.addPort(new LoggingPort(name, &doomed, events));
    for (const char* name : {"x1", "x2"}) doomed.clocks().add(new LoggingClock(name, events));
    for (const char* name : {"c1", "c2"}) {
      doomed.constraints().add(new LoggingConstraint(name, events));
    }
    for (const char* name : {"s1", "s2"}) doomed.ctrlStates().add(new CtrlState(name));
    doomed.ports()[0]->setConstraint(doomed.constraints()[0]);
  }
  EXPECT_EQ(events, (Events{"~c1", "~c2", "~x1", "~x2", "~p1", "~p2"}));
}

TEST_F(ComponentTest, AnAtomDoesNotDeleteTheConnectorsItIsLinkedTo) {
  TestConnector connector(RENDEZVOUS, "k", &root, false);
  connector.events = &events;
  {
    TestAtom doomed("A", nullptr);
    doomed.links().add(&connector);
  }
  EXPECT_EQ(events, Events());
  connector.events = nullptr;
}

TEST_F(ComponentTest, AConnectorDeletesItsExportedPortButNotItsPorts) {
  TestAtom* atom = root.atom("A");
  LoggingPort* port = new LoggingPort("p", atom, events);
  atom->addPort(port);
  class Exporting : public TestConnector {
   public:
    Exporting(const Compound* holder, Port* port, Events& log)
        : TestConnector(BROADCAST, "k", holder, true, port) {
      mxPort = new LoggingPort("x", static_cast<Connector*>(this), log);
    }
  };
  delete new Exporting(&root, port, events);
  EXPECT_EQ(events, Events{"~x"});
}

TEST_F(ComponentTest, DeletingNestedExportsFollowsNoPointerToWhatIsGone) {
  Compound* top = new System("top");
  System* holder = static_cast<System*>(top);
  System* inner = holder->compound("inner");
  Constraint within(nullptr, 0, 10, LAZY);
  TestConnector* exported =
      inner->exported(RENDEZVOUS, "x", inner->atom("A")->enabled("p", &within));
  TestConnector* middle = holder->exported(RENDEZVOUS, "m", exported->xPort());
  TestConnector* user = holder->rendezvous("k", middle->xPort());
  holder->priority("p", Interaction::Create(user, 1, 0), Interaction::Create(middle, 1, 0))
      ->setup();
  top->setup(nullptr);
  errorsOf([&] { top->activate(true); });
  delete top;
  EXPECT_EQ(spans(&within), "[0,10]");
}
