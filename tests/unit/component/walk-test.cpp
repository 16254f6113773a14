// The walks through the tree: set-up, initialisation, filling the heap.

#include "component.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class TreeWalkTest : public ComponentTest {};

}  // namespace

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
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->clock(), nullptr) << atom->name();
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
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->mScheduler, &scheduler) << atom->name();
  root.setup(nullptr);
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->mScheduler, &scheduler) << atom->name();
}

TEST_F(TreeWalkTest, FillingTheHeapGivesEveryAtomTheScheduler) {
  buildTree();
  Scheduler scheduler(nullptr, 0, true, 1, -1, 2);
  root.initPrioHeap(&scheduler);
  for (TestAtom* atom : atoms) EXPECT_EQ(atom->mScheduler, &scheduler) << atom->name();
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
    SCOPED_TRACE(expected->name());
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
    SCOPED_TRACE(expected->name());
    EXPECT_EQ(scheduler.prioHeap().get(), expected);
  }
}
