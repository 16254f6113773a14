// How an atom announces its ports, under which constraints, and whom that notifies.

#include "component.hpp"

#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <vector>

#include "fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/clocks.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"

using namespace kit;

namespace {

class SyncTest : public ComponentTest {};
class NotifyTest : public ComponentTest {};
class ApplyPriorityTest : public ComponentTest {};

}  // namespace

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

TEST_F(SyncTest, ListAnnouncesAsTheVariableNumberOfArguments) {
  TestAtom* atom = root.atom("A");
  Port *p = atom->port("p"), *q = atom->port("q");
  Port *internal = atom->internal("i"), *after = atom->port("a");
  Constraint constraint(nullptr, 0, 10, LAZY);
  p->setConstraint(&constraint);
  EXPECT_EQ(atom->sync({{p, true}, {q, false}, {internal, true}, {after, true}}), internal);
  EXPECT_TRUE(p->synced());
  EXPECT_EQ(p->constraint(), nullptr);
  EXPECT_FALSE(q->synced());
  EXPECT_FALSE(internal->synced());
  EXPECT_FALSE(after->synced());
  EXPECT_EQ(atom->sync({{q, true}}), nullptr);
  EXPECT_TRUE(q->synced());
}

TEST_F(SyncTest, TimedListAnnouncesAsTheVariableNumberOfArguments) {
  TestAtom* atom = root.atom("A");
  Port *p = atom->port("p"), *q = atom->port("q"), *r = atom->port("r"), *s = atom->port("s");
  Port *timed = atom->internal("t"), *internal = atom->internal("i"), *after = atom->port("a");
  Constraint constraint(nullptr, 0, 10, LAZY);
  r->setConstraint(&constraint);
  s->setDominated(true);
  EXPECT_EQ(atom->rt_sync({{p, true, &constraint},
                           {q, false, &constraint},
                           {r, true},
                           {s, true, nullptr},
                           {timed, true, &constraint},
                           {internal, true},
                           {after, true, nullptr}}),
            internal);
  EXPECT_EQ(p->constraint(), &constraint);
  EXPECT_EQ(r->constraint(), nullptr);
  for (Port* port : {p, r, timed}) EXPECT_TRUE(port->synced()) << port->name();
  for (Port* port : {q, s, internal, after}) EXPECT_FALSE(port->synced()) << port->name();
}

namespace {

// Overrides the forms with a variable number of arguments, which the lists must reach.
class OverridingAtom : public TestAtom {
 public:
  using TestAtom::TestAtom;
  Port* sync(int n, ...) override {
    calls.push_back(n);
    return nullptr;
  }
  Port* rt_sync(int n, ...) override {
    calls.push_back(-n);
    return nullptr;
  }
  std::vector<int> calls;
};

}  // namespace

TEST_F(SyncTest, ListsGoThroughTheOperationsThatAModelOverrides) {
  OverridingAtom* made = root.add(new OverridingAtom("A", &root));
  Atom* atom = made;
  Port *p = made->port("p"), *q = made->port("q");
  atom->sync({{p, true}, {q, false}});
  atom->rt_sync({{p, true}});
  atom->sync({});
  EXPECT_EQ(made->calls, (std::vector<int>{1, 1, -1}));
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

TEST(ComputePortConstraintTest, ListInBracesNeedsNoNullAtItsEnd) {
  Constraint result(nullptr, 100, 200, EAGER), one(nullptr, 0, 20, DELAYABLE),
      two(nullptr, 10, 30, LAZY), unused(nullptr, 12, 13, LAZY);
  Atom::computePortConstraint({&result, &one, &two});
  EXPECT_EQ(spans(&result), "[10,20] delayable");
  Atom::computePortConstraint({&result, &two, nullptr, &unused});
  EXPECT_EQ(spans(&result), "[10,30]");
}

TEST(ComputePortConstraintTest, ListInBracesOfFewerThanTwoIsLeftAlone) {
  Constraint constraint(nullptr, 0, 10, EAGER), other(nullptr, 2, 3, LAZY);
  Atom::computePortConstraint({&constraint});
  Atom::computePortConstraint({nullptr, &other});
  Atom::computePortConstraint({});
  EXPECT_EQ(spans(&constraint), "[0,10] eager");
  EXPECT_EQ(spans(&other), "[2,3]");
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
