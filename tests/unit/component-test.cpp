#include "component.hpp"

#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/clocks.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"
#include "kit/trees.hpp"

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

class ComponentTest : public testing::Test {
 protected:
  ComponentTest() : root("R") { global_error = global_prune = false; }
  ~ComponentTest() override {
    global_error = global_prune = false;
    faulty_leaf = nullptr;
  }

  // R holds A, D (with B, E (with C), F) and G.
  void buildTree() {
    add(root.atom("A"));
    System* d = root.compound("D");
    add(d->atom("B"));
    add(d->compound("E")->atom("C"));
    add(d->atom("F"));
    add(root.atom("G"));
  }
  TestAtom* add(TestAtom* atom) {
    atom->events = &events;
    atom->state = std::string(atom->name()) + ";";
    atoms.push_back(atom);
    return atom;
  }

  Events events;
  System root;
  std::vector<TestAtom*> atoms;
};

class TreeWalkTest : public ComponentTest {};
class StateTest : public ComponentTest {};
class SyncTest : public ComponentTest {};
class NotifyTest : public ComponentTest {};
class ApplyPriorityTest : public ComponentTest {};

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

// ---- walks -------------------------------------------------------------------------------------

TEST_F(TreeWalkTest, InitializeVisitsTheTreeInOrder) {
  buildTree();
  root.initialize();
  EXPECT_EQ(events, (Events{"initialize A", "initialize B", "initialize C", "initialize F",
                            "initialize G"}));
}

TEST_F(TreeWalkTest, InitializeWithAClockSetsTheClocksAndVisitsTheTreeInOrder) {
  buildTree();
  SimuClock platform("platform");
  LogicalClock clock("logical", platform);
  std::vector<GenericClock*> seen;
  for (TestAtom* atom : atoms) {
    atom->onInitialize = [&seen, atom] {
      seen.push_back(atom->clock());
      seen.push_back(atom->holder()->clock());
    };
  }
  root.initialize(&clock);
  EXPECT_EQ(events, (Events{"initialize A", "initialize B", "initialize C", "initialize F",
                            "initialize G"}));
  EXPECT_EQ(seen, std::vector<GenericClock*>(10, &clock));  // already there when asked
  root.initialize(nullptr);
  EXPECT_EQ(root.clock(), nullptr);
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->clock(), nullptr);
}

TEST_F(TreeWalkTest, InitializeWithAClockReachesTheTimedHookOfAnAtom) {
  class Timed : public TestAtom {
   public:
    using TestAtom::initialize;
    using TestAtom::TestAtom;
    void initialize(LogicalClock* clock) override {
      given = clock;
      Atom::initialize(clock);
    }
    LogicalClock* given = nullptr;
  };
  Timed* timed = root.add(new Timed("T", &root));
  timed->events = &events;
  SimuClock platform("platform");
  LogicalClock clock("logical", platform);
  root.initialize(&clock);
  EXPECT_EQ(timed->given, &clock);
  EXPECT_EQ(events, Events{"initialize T"});
}

TEST_F(TreeWalkTest, TheDefaultInitializeOfAnAtomDoesNothing) {
  class Bare : public Atom {
   public:
    using Atom::Atom;
    void execute(Port*) override {}
    Node* getState() override { return nullptr; }
    void setState(Node*) override {}
  };
  Bare bare("B", nullptr);
  bare.initialize();
  bare.initialize(nullptr);
  EXPECT_EQ(bare.VESK_STATE, nullptr);
}

TEST_F(TreeWalkTest, AnEmptyCompoundIsWalkedWithoutEffect) {
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  root.initialize();
  root.initialize(nullptr);
  root.setup(nullptr);
  root.setup(&scheduler);
  root.setStaticPrioLevel();
  root.initPrioHeap(&scheduler);
  EXPECT_EQ(scheduler.prioHeap().getCount(), 0);
}

TEST_F(TreeWalkTest, SetupVisitsOwnPrioritiesThenSubcompounds) {
  System *first = root.compound("D"), *second = first->compound("E"), *third = root.compound("F");
  const auto note = [&](System* holder, const char* name) {
    Interaction* low = Interaction::Create(holder->rendezvous("k"), BitVector::EMPTY);
    holder->priority(name, low, nullptr)->events = &events;
  };
  note(third, "f");
  note(second, "e");
  note(first, "d1");
  note(first, "d2");
  note(&root, "r1");
  note(&root, "r2");
  root.setup(nullptr);
  EXPECT_EQ(events, (Events{"setup r1", "setup r2", "setup d1", "setup d2", "setup e", "setup f"}));
  events.clear();
  root.setStaticPrioLevel();
  EXPECT_EQ(events, (Events{"level r1", "level r2", "level d1", "level d2", "level e", "level f"}));
}

TEST_F(TreeWalkTest, SetupGivesEveryAtomTheScheduler) {
  buildTree();
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  root.setup(&scheduler);
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->mScheduler, &scheduler);
  root.setup(nullptr);
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->mScheduler, &scheduler);
}

TEST_F(TreeWalkTest, FillingTheHeapGivesEveryAtomTheScheduler) {
  buildTree();
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  root.initPrioHeap(&scheduler);
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->mScheduler, &scheduler);
}

// With rising levels the heap shows its order; here each connector gets its own.
TEST_F(TreeWalkTest, FillingTheHeapTakesEveryConnectorOfTheTree) {
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  System *first = root.compound("D"), *second = first->compound("E");
  TestConnector *e = second->rendezvous("e"), *d = first->rendezvous("d"),
                *r = root.rendezvous("r");
  e->setPriority(2);
  d->setPriority(3);
  r->setPriority(1);
  root.initPrioHeap(&scheduler);
  EXPECT_EQ(scheduler.prioHeap().getCount(), 3);
  for (TestConnector* expected : {d, e, r}) {
    EXPECT_TRUE(expected->queued());
    EXPECT_EQ(scheduler.prioHeap().get(), expected);
  }
}

// Among equal levels the first one put comes out first, then the one put last, and so on down.
TEST_F(TreeWalkTest, FillingTheHeapPutsOwnConnectorsBeforeThoseBelow) {
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  System *first = root.compound("D"), *second = first->compound("E"), *third = root.compound("F");
  TestConnector *f = third->rendezvous("f"), *e = second->rendezvous("e"),
                *d = first->rendezvous("d"), *r1 = root.rendezvous("r1"),
                *r2 = root.rendezvous("r2");
  root.initPrioHeap(&scheduler);
  for (TestConnector* expected : {r1, f, e, d, r2}) {
    EXPECT_EQ(scheduler.prioHeap().get(), expected);
  }
}

// ---- states ------------------------------------------------------------------------------------

TEST_F(StateTest, OfAnEmptyCompoundHasNoChildren) {
  const std::unique_ptr<Node> state(root.getState());
  ASSERT_FALSE(state->isLeaf());
  EXPECT_EQ(static_cast<Nonleaf*>(state.get())->getNumChild(), 0);
  EXPECT_EQ(state->outTrans(), 0);
  root.setState(state.get());
}

TEST_F(StateTest, MirrorsTheTreeInOrder) {
  buildTree();
  const std::unique_ptr<Node> state(root.getState());
  EXPECT_EQ(events, (Events{"getState A", "getState B", "getState C", "getState F", "getState G"}));
  EXPECT_EQ(stateText(state.get()), "A;B;C;F;G;");
  Nonleaf* top = static_cast<Nonleaf*>(state.get());
  ASSERT_EQ(top->getNumChild(), 3);
  EXPECT_TRUE(top->getChild(0)->isLeaf());
  EXPECT_FALSE(top->getChild(1)->isLeaf());
  EXPECT_EQ(static_cast<Nonleaf*>(top->getChild(1))->getNumChild(), 3);
  EXPECT_EQ(top->outTrans(), 0);
  EXPECT_FALSE(global_error);
  EXPECT_FALSE(global_prune);
}

TEST_F(StateTest, IsRestoredInOrder) {
  buildTree();
  const std::unique_ptr<Node> state(root.getState());
  for (TestAtom* atom : atoms) atom->state = "moved";
  events.clear();
  root.setState(state.get());
  EXPECT_EQ(events, (Events{"setState A", "setState B", "setState C", "setState F", "setState G"}));
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->state, std::string(atom->name()) + ";");
}

TEST_F(StateTest, PruneInALeafSetsThatFlagAndTheLeaf) {
  buildTree();
  atoms[0]->state = "xPRUNEx";
  const std::unique_ptr<Node> state(root.getState());
  EXPECT_TRUE(global_prune);
  EXPECT_FALSE(global_error);
  EXPECT_EQ(faulty_leaf, static_cast<Nonleaf*>(state.get())->getChild(0));
}

TEST_F(StateTest, ErrorInALeafSetsThatFlagAndTheLeaf) {
  buildTree();
  atoms[4]->state = "ERROR";
  const std::unique_ptr<Node> state(root.getState());
  EXPECT_FALSE(global_prune);
  EXPECT_TRUE(global_error);
  EXPECT_EQ(faulty_leaf, static_cast<Nonleaf*>(state.get())->getChild(2));
}

TEST_F(StateTest, BothInOneLeafSetOnlyPrune) {
  buildTree();
  atoms[0]->state = "ERROR PRUNE";
  const std::unique_ptr<Node> state(root.getState());
  EXPECT_TRUE(global_prune);
  EXPECT_FALSE(global_error);
}

TEST_F(StateTest, TheLastFaultyLeafOfTheWalkStays) {
  buildTree();
  atoms[1]->state = "ERROR";  // in D
  atoms[2]->state = "PRUNE";  // in E
  const std::unique_ptr<Node> state(root.getState());
  EXPECT_TRUE(global_prune);
  EXPECT_TRUE(global_error);
  Node* d = static_cast<Nonleaf*>(state.get())->getChild(1);
  Node* e = static_cast<Nonleaf*>(d)->getChild(1);
  EXPECT_EQ(faulty_leaf, static_cast<Nonleaf*>(e)->getChild(0));
}

TEST_F(StateTest, TheFlagsAreNeverClearedHere) {
  buildTree();
  global_error = global_prune = true;
  const std::unique_ptr<Node> state(root.getState());
  EXPECT_TRUE(global_prune);
  EXPECT_TRUE(global_error);
}

TEST_F(StateTest, TheMarkersAreCaseSensitive) {
  buildTree();
  atoms[0]->state = "Error prune ERRO R PRUN";
  const std::unique_ptr<Node> state(root.getState());
  EXPECT_FALSE(global_prune);
  EXPECT_FALSE(global_error);
}

TEST_F(StateTest, MissingTextsAndChildrenAreAccepted) {
  class Odd : public TestAtom {
   public:
    Odd(const Compound* holder, Node* node) : TestAtom("O", holder), mNode(node) {}
    Node* getState() override { return mNode; }

   private:
    Node* mNode;
  };
  root.add<Component>(new Odd(&root, nullptr));
  root.add<Component>(new Odd(&root, new Leaf(new Atomleaf())));
  root.add<Component>(new Odd(&root, new Leaf(static_cast<Atomleaf*>(nullptr))));
  const std::unique_ptr<Node> state(root.getState());
  EXPECT_EQ(static_cast<Nonleaf*>(state.get())->getNumChild(), 3);
  EXPECT_EQ(static_cast<Nonleaf*>(state.get())->getChild(0), nullptr);
  EXPECT_FALSE(global_prune);
  EXPECT_FALSE(global_error);
}

TEST_F(StateTest, AnAtomThatThrowsLeavesNothingBehind) {
  class Throwing : public TestAtom {
   public:
    using TestAtom::TestAtom;
    Node* getState() override { throw std::runtime_error("getState"); }
  };
  buildTree();
  root.add<Component>(new Throwing("T", &root));
  EXPECT_THROW(root.getState(), std::runtime_error);  // the rest is the leak checker's
}

// Adds an atom to its compound when it is asked for its state.
class Growing : public TestAtom {
 public:
  Growing(const char* name, System* holder) : TestAtom(name, holder), mPlace(*holder) {}
  Node* getState() override {
    mPlace.atom("late");
    return TestAtom::getState();
  }

 private:
  System& mPlace;
};

TEST_F(StateTest, AComponentAddedWhileStatesAreReadEndsTheProgram) {
  for (int before : {0, 1, 3, 7}) {
    System grown("G");
    for (int i = 0; i < before; ++i) grown.atom("A");
    grown.add<Component>(new Growing("B", &grown));
    const std::string sizes =
        std::to_string(before + 2) + " components, its state has " + std::to_string(before + 1);
    EXPECT_DEATH(grown.getState(), "^vesk: compound G: " + sizes + "\n$");
  }
}

TEST_F(StateTest, AComponentAddedWhileStatesAreRestoredEndsTheProgram) {
  System grown("G");
  TestAtom* atom = grown.atom("A");
  const std::unique_ptr<Node> state(grown.getState());
  atom->onSetState = [&] { grown.atom("late"); };
  EXPECT_DEATH(grown.setState(state.get()), "^vesk: compound G: 2 components, its state has 1\n$");
}

TEST_F(StateTest, AStateFromBeforeAComponentWasAddedEndsTheProgram) {
  System grown("G");
  const std::unique_ptr<Node> empty(grown.getState());
  Leaf leaf(new Atomleaf("a"));
  grown.atom("late");
  for (Node* state : {empty.get(), static_cast<Node*>(&leaf)}) {
    EXPECT_DEATH(grown.setState(state), "^vesk: compound G: 1 components, its state has 0\n$");
  }
}

TEST_F(StateTest, ChildrenBeyondTheComponentsAreNotLookedAt) {
  System one("C");
  TestAtom* atom = one.atom("A");
  Nonleaf state(3);
  state.setChild(new Leaf(new Atomleaf("a")), 0);
  one.setState(&state);
  EXPECT_EQ(atom->state, "a");
}

TEST_F(StateTest, ANullStateRestoresNothing) {
  buildTree();
  root.setState(nullptr);
  EXPECT_EQ(events, Events());
}

// ---- announcing --------------------------------------------------------------------------------

TEST_F(SyncTest, MarksTheEnabledPortsAndClearsTheirConstraints) {
  TestAtom* atom = root.atom("A");
  Port *p = atom->port("p"), *q = atom->port("q"), *r = atom->port("r");
  Constraint constraint(nullptr, 0, 10, LAZY);
  for (Port* port : {p, q}) port->setConstraint(&constraint);
  EXPECT_EQ(atom->sync(3, p, int(true), q, int(false), r, 7), nullptr);
  EXPECT_TRUE(p->synced());
  EXPECT_EQ(p->constraint(), nullptr);
  EXPECT_FALSE(q->synced());
  EXPECT_EQ(q->constraint(), &constraint);
  EXPECT_TRUE(r->synced());
}

TEST_F(SyncTest, DoesNotClearThePortsThatAreNotEnabled) {
  TestAtom* atom = root.atom("A");
  Port* p = atom->enabled("p");
  EXPECT_EQ(atom->sync(1, p, 0), nullptr);
  EXPECT_TRUE(p->synced());
}

TEST_F(SyncTest, ReturnsAnEnabledInternalPortAndLeavesTheLaterOnesUnmarked) {
  TestAtom* atom = root.atom("A");
  Port *before = atom->port("b"), *internal = atom->internal("i"), *after = atom->port("a");
  EXPECT_EQ(atom->sync(3, before, 1, internal, 1, after, 1), internal);
  EXPECT_TRUE(before->synced());
  EXPECT_FALSE(internal->synced());
  EXPECT_FALSE(after->synced());
}

TEST_F(SyncTest, PassesADisabledInternalPort) {
  TestAtom* atom = root.atom("A");
  Port *internal = atom->internal("i"), *after = atom->port("a");
  EXPECT_EQ(atom->sync(2, internal, 0, after, 1), nullptr);
  EXPECT_TRUE(after->synced());
}

TEST_F(SyncTest, DoesNotLookAtTheDominatedFlag) {
  TestAtom* atom = root.atom("A");
  Port *p = atom->port("p"), *internal = atom->internal("i");
  p->setDominated(true);
  internal->setDominated(true);
  EXPECT_EQ(atom->sync(2, p, 1, internal, 1), internal);
  EXPECT_TRUE(p->synced());
}

TEST_F(SyncTest, OfNothingReturnsNull) {
  TestAtom* atom = root.atom("A");
  EXPECT_EQ(atom->sync(0), nullptr);
  EXPECT_EQ(atom->rt_sync(0), nullptr);
}

TEST_F(SyncTest, TimedMarksTheEnabledPortsUnderTheirConstraints) {
  TestAtom* atom = root.atom("A");
  Port *p = atom->port("p"), *q = atom->port("q"), *r = atom->port("r");
  Constraint constraint(nullptr, 0, 10, LAZY), other(nullptr, 5, 6, LAZY);
  Constraint* const untimed = nullptr;
  r->setConstraint(&other);
  EXPECT_EQ(atom->rt_sync(3, p, 1, &constraint, q, 0, &constraint, r, 1, untimed), nullptr);
  EXPECT_TRUE(p->synced());
  EXPECT_EQ(p->constraint(), &constraint);
  EXPECT_FALSE(q->synced());
  EXPECT_EQ(q->constraint(), nullptr);
  EXPECT_TRUE(r->synced());
  EXPECT_EQ(r->constraint(), nullptr);
}

TEST_F(SyncTest, TimedReadsTheWholeTripleOfADisabledPort) {
  TestAtom* atom = root.atom("A");
  Port *p = atom->port("p"), *q = atom->port("q"), *r = atom->port("r");
  Constraint one(nullptr, 0, 10, LAZY), two(nullptr, 5, 6, LAZY);
  p->setDominated(true);
  EXPECT_EQ(atom->rt_sync(3, p, 1, &one, q, 0, &one, r, 1, &two), nullptr);
  EXPECT_FALSE(p->synced());
  EXPECT_TRUE(r->synced());
  EXPECT_EQ(r->constraint(), &two);
}

TEST_F(SyncTest, TimedAppliesTheDominationOfTheConstraint) {
  TestAtom* atom = root.atom("A");
  Port* p = atom->port("p");
  Constraint constraint(nullptr, 0, 30, LAZY);
  constraint.setDomination(true);
  constraint -= Constraint(nullptr, 10, 20, LAZY);
  ASSERT_EQ(spans(&constraint), "[0,9] [10,20] dominated [21,30]");
  EXPECT_EQ(atom->rt_sync(1, p, 1, &constraint), nullptr);
  EXPECT_EQ(spans(&constraint), "[0,9] [21,30]");
  EXPECT_EQ(p->constraint(), &constraint);
}

TEST_F(SyncTest, TimedPassesDominatedPorts) {
  TestAtom* atom = root.atom("A");
  Port *p = atom->port("p"), *internal = atom->internal("i"), *after = atom->port("a");
  Constraint constraint(nullptr, 0, 10, LAZY);
  Constraint* const untimed = nullptr;
  p->setDominated(true);
  internal->setDominated(true);
  EXPECT_EQ(atom->rt_sync(3, p, 1, &constraint, internal, 1, untimed, after, 1, &constraint),
            nullptr);
  EXPECT_FALSE(p->synced());
  EXPECT_EQ(p->constraint(), nullptr);
  EXPECT_FALSE(internal->synced());
  EXPECT_TRUE(after->synced());
}

TEST_F(SyncTest, TimedReturnsAnUntimedInternalPortAndLeavesTheLaterOnesUnmarked) {
  TestAtom* atom = root.atom("A");
  Port *before = atom->port("b"), *internal = atom->internal("i"), *after = atom->port("a");
  Constraint constraint(nullptr, 0, 10, LAZY);
  Constraint* const untimed = nullptr;
  EXPECT_EQ(atom->rt_sync(3, before, 1, &constraint, internal, 1, untimed, after, 1, &constraint),
            internal);
  EXPECT_TRUE(before->synced());
  EXPECT_FALSE(internal->synced());
  EXPECT_FALSE(after->synced());
}

TEST_F(SyncTest, TimedMarksATimedInternalPortInsteadOfReturningIt) {
  TestAtom* atom = root.atom("A");
  Port* internal = atom->internal("i");
  Constraint constraint(nullptr, 0, 10, LAZY);
  EXPECT_EQ(atom->rt_sync(1, internal, 1, &constraint), nullptr);
  EXPECT_TRUE(internal->synced());
  EXPECT_EQ(internal->constraint(), &constraint);
}

// ---- notification ------------------------------------------------------------------------------

TEST_F(NotifyTest, QueuesEachConnectorOnce) {
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  TestAtom* atom = root.atom("A");
  Port *p = atom->port("p"), *q = atom->port("q");
  TestConnector *one = root.rendezvous("k1", p, q), *two = root.rendezvous("k2", q);
  atom->mScheduler = &scheduler;
  atom->notifyDependentConn();
  atom->notifyDependentConn();
  EXPECT_TRUE(one->queued());
  EXPECT_TRUE(two->queued());
  ASSERT_EQ(scheduler.prioHeap().getCount(), 2);
  EXPECT_EQ(scheduler.prioHeap().get(), one);
  EXPECT_EQ(scheduler.prioHeap().get(), two);
}

TEST_F(NotifyTest, PassesConnectorsThatAreQueuedAlready) {
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  TestAtom* atom = root.atom("A");
  Port* p = atom->port("p");
  TestConnector *one = root.rendezvous("k1", p), *two = root.rendezvous("k2", p);
  atom->mScheduler = &scheduler;
  one->setQueued(true);
  atom->notifyDependentConn();
  ASSERT_EQ(scheduler.prioHeap().getCount(), 1);
  EXPECT_EQ(scheduler.prioHeap().get(), two);
}

TEST_F(NotifyTest, WithoutSchedulerDoesNothing) {
  TestAtom* atom = root.atom("A");
  TestConnector* connector = root.rendezvous("k", atom->port("p"));
  atom->notifyDependentConn();
  EXPECT_FALSE(connector->queued());
}

TEST_F(NotifyTest, ResetLinkReachesEveryConnectorOfTheAtom) {
  TestAtom* atom = root.atom("A");
  TestConnector *one = root.rendezvous("k1", atom->port("p")),
                *two = root.rendezvous("k2", atom->port("q")),
                *apart = root.rendezvous("k3", root.atom("B")->port("p"));
  for (TestConnector* connector : {one, two, apart}) connector->eval(false);
  atom->resetLink();
  EXPECT_FALSE(one->evaluated());
  EXPECT_FALSE(two->evaluated());
  EXPECT_TRUE(apart->evaluated());
}

// ---- constraints of several guards -------------------------------------------------------------

TEST(ComputePortConstraintTest, WithoutListOrEntriesDoesNothing) {
  Atom::computePortConstraint(nullptr);
  Constraint* list[] = {nullptr};
  Atom::computePortConstraint(list);
  EXPECT_EQ(list[0], nullptr);
}

TEST(ComputePortConstraintTest, ASingleConstraintIsLeftUntouched) {
  Constraint constraint(nullptr, 0, 10, EAGER);
  constraint.setDomination(true);
  Constraint* list[] = {&constraint, nullptr};
  Atom::computePortConstraint(list);
  EXPECT_EQ(spans(&constraint), "[0,10] eager");
  EXPECT_TRUE(constraint.domination());
}

// Deliberate: what the first constraint held is lost; it only takes the result.
TEST(ComputePortConstraintTest, WhatTheFirstConstraintHeldIsLost) {
  Constraint result(nullptr, 100, 200, EAGER), one(nullptr, 0, 10, LAZY);
  result.setDomination(true);
  result.setDelay(Vesk::Time(3));
  Constraint* list[] = {&result, &one, nullptr};
  Atom::computePortConstraint(list);
  EXPECT_EQ(spans(&result), "[0,10]");
  EXPECT_FALSE(result.domination());
  EXPECT_EQ(result.delay(), Vesk::Time(0));
  EXPECT_EQ(spans(&one), "[0,10]");
}

TEST(ComputePortConstraintTest, IntersectsTheFollowingOnesInOrder) {
  Constraint result(nullptr, 0, 0, LAZY), one(nullptr, 0, 20, DELAYABLE),
      two(nullptr, 10, 30, LAZY), three(nullptr, 15, 40, LAZY);
  Constraint* list[] = {&result, &one, &two, &three, nullptr};
  Atom::computePortConstraint(list);
  EXPECT_EQ(spans(&result), "[15,20] delayable");
}

TEST(ComputePortConstraintTest, MayEndEmpty) {
  Constraint result(nullptr, 0, 0, LAZY), one(nullptr, 0, 5, LAZY), two(nullptr, 10, 30, LAZY);
  Constraint* list[] = {&result, &one, &two, nullptr};
  Atom::computePortConstraint(list);
  EXPECT_EQ(spans(&result), "none");
}

TEST(ComputePortConstraintTest, TheSameConstraintTwiceAlwaysHolds) {
  Constraint constraint(nullptr, 0, 10, EAGER);
  Constraint* list[] = {&constraint, &constraint, nullptr};
  Atom::computePortConstraint(list);
  EXPECT_EQ(spans(&constraint), "[MIN,MAX]");
}

// The result is over its own clock, which reads 100 when that of the other reads 40.
TEST(ComputePortConstraintTest, TranslatesIntoTheClockOfTheFirst) {
  HandClock late(Vesk::Time(100)), early(Vesk::Time(40));
  Constraint result(&late, 0, 0, LAZY), one(&early, 10, 20, LAZY);
  Constraint* list[] = {&result, &one, nullptr};
  Atom::computePortConstraint(list);
  EXPECT_EQ(spans(&result), "[70,80]");
}

// ---- priorities between ports ------------------------------------------------------------------

TEST_F(ApplyPriorityTest, UntimedPortsSetTheDominatedFlag) {
  TestAtom* atom = root.atom("A");
  Port *low = atom->port("l"), *high = atom->port("h");
  Constraint left(nullptr, 0, 10, LAZY);
  low->setConstraint(&left);
  EXPECT_EQ(errorsOf([&] { atom->applyPriority(low, nullptr, high, nullptr); }), "");
  EXPECT_TRUE(low->dominated());
  EXPECT_FALSE(high->dominated());
  EXPECT_EQ(low->constraint(), nullptr);
  EXPECT_EQ(high->constraint(), nullptr);
}

TEST_F(ApplyPriorityTest, AnUntimedHighOneRulesOutATimedLowOne) {
  TestAtom* atom = root.atom("A");
  Port *low = atom->port("l"), *high = atom->port("h");
  Constraint constraint(nullptr, 0, 10, LAZY);
  atom->applyPriority(low, &constraint, high, nullptr);
  EXPECT_TRUE(low->dominated());
  EXPECT_EQ(low->constraint(), &constraint);
  EXPECT_EQ(spans(&constraint), "[0,10]");
}

TEST_F(ApplyPriorityTest, TimedPortsNarrowTheLowOneWithoutDelay) {
  TestAtom* atom = root.atom("A");
  Port *low = atom->port("l"), *high = atom->port("h");
  Constraint lowC(nullptr, 0, 30, LAZY), highC(nullptr, 10, 20, EAGER);
  lowC.setDelay(Vesk::Time(5));
  atom->applyPriority(low, &lowC, high, &highC);
  EXPECT_FALSE(low->dominated());
  EXPECT_EQ(spans(&lowC), "[0,9] [10,20] dominated [21,30]");
  EXPECT_EQ(lowC.delay(), Vesk::Time(0));
  EXPECT_EQ(high->constraint(), &highC);
  EXPECT_EQ(spans(&highC), "[10,20] eager");
}

TEST_F(ApplyPriorityTest, OneConstraintForBothIsRuledOutAltogether) {
  TestAtom* atom = root.atom("A");
  Port *low = atom->port("l"), *high = atom->port("h");
  Constraint shared(nullptr, 0, 30, LAZY);
  atom->applyPriority(low, &shared, high, &shared);
  EXPECT_EQ(spans(&shared), "[0,30] dominated");
}

// Deliberate: both constraints are set before the priority is skipped.
TEST_F(ApplyPriorityTest, BothConstraintsAreSetBeforeThePriorityIsSkipped) {
  TestAtom* atom = root.atom("A");
  Port *low = atom->port("l"), *high = atom->port("h");
  Constraint left(nullptr, 0, 5, LAZY), highC(nullptr, 10, 20, EAGER);
  low->setConstraint(&left);
  EXPECT_EQ(errorsOf([&] { atom->applyPriority(low, nullptr, high, &highC); }),
            "WARNING: skip priority for ports with time constraints (not supported yet!) l<h\n");
  EXPECT_EQ(low->constraint(), nullptr);
  EXPECT_EQ(high->constraint(), &highC);
  EXPECT_FALSE(low->dominated());
  EXPECT_EQ(spans(&highC), "[10,20] eager");
}

TEST_F(ApplyPriorityTest, ANullNameMakesStandardErrorBadInsteadOfBeingWritten) {
  TestAtom* atom = root.atom("A");
  Port *nameless = atom->port(nullptr), *named = atom->port("n");
  Constraint constraint(nullptr, 10, 20, EAGER);
  const auto warning = [&](Port* low, Port* high) {
    bool bad = false;
    const std::string errors = errorsOf([&] {
      atom->applyPriority(low, nullptr, high, &constraint);
      bad = std::cerr.bad();
      std::cerr.clear();
    });
    EXPECT_TRUE(bad);
    return errors;
  };
  EXPECT_EQ(warning(nameless, named),
            "WARNING: skip priority for ports with time constraints (not supported yet!) ");
  EXPECT_EQ(warning(named, nameless),
            "WARNING: skip priority for ports with time constraints (not supported yet!) n<");
}

// Deliberate: a standard error gone bad swallows later warnings; the engine does not clear it.
TEST_F(ApplyPriorityTest, AStandardErrorGoneBadSwallowsLaterWarnings) {
  TestAtom* atom = root.atom("A");
  Port *low = atom->port("l"), *high = atom->port("h");
  Constraint constraint(nullptr, 10, 20, EAGER);
  EXPECT_EQ(errorsOf([&] {
              std::cerr.setstate(std::ios::badbit);
              atom->applyPriority(low, nullptr, high, &constraint);
              std::cerr.clear();
            }),
            "");
}
