#include "exploration/state-space.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "exploration/local-states.hpp"
#include "exploration/repeatable-states.hpp"
#include "exploration/signals.hpp"
#include "exploration/text-states.hpp"
#include "kit/explorations.hpp"
#include "kit/promised-models.hpp"
#include "kit/trees.hpp"

using namespace kit;

using Vesk::Locality;
using Vesk::StateSpace;

namespace {

// The way that a system is explored.
Locality wayOf(System& system) {
  Connector* legal = nullptr;
  Connector* choice = nullptr;
  system.initialize(nullptr);
  const std::unique_ptr<StateSpace> space = StateSpace::create({system, legal, choice});
  if (dynamic_cast<Vesk::RepeatableStates*>(space.get()) != nullptr) return Locality::REPEATABLE;
  if (dynamic_cast<Vesk::LocalStates*>(space.get()) != nullptr) return Locality::LOCAL;
  EXPECT_NE(nullptr, dynamic_cast<Vesk::TextStates*>(space.get()));
  return Locality::UNDECLARED;
}

Locality wayOf(System& system, Locality declared) {
  declareAll(system, declared);
  return wayOf(system);
}

// A compound whose state says more than those of its atoms.
class Talkative : public System {
 public:
  using System::System;
  Node* getState() override { return pairOf("more", "a").release(); }
};

class Unfinished : public TestAtom {
 public:
  using TestAtom::TestAtom;
  Node* getState() override { return nullptr; }
};

class StateSpaceTest : public testing::Test {
 protected:
  StateSpaceTest() {
    clearGlobals();
    auto* atom = system.atom("A");
    atom->state = "a";
    system.rendezvous("k", atom->enabled("p"));
  }

  Events events;
  System system{"s"};
};

}  // namespace

TEST_F(StateSpaceTest, TheWayIsTheOneThatIsDeclared) {
  for (const Locality declared : {Locality::UNDECLARED, Locality::LOCAL, Locality::REPEATABLE}) {
    EXPECT_EQ(declared, wayOf(system, declared)) << nameOf(declared);
  }
}

TEST_F(StateSpaceTest, TheSmallestDeclarationOfAllCounts) {
  declareAll(system, Locality::REPEATABLE);
  system.compound("C")->atom("B")->declare(Locality::LOCAL);
  EXPECT_EQ(Locality::LOCAL, wayOf(system));
  system.atom("D");
  EXPECT_EQ(Locality::UNDECLARED, wayOf(system));
}

TEST_F(StateSpaceTest, ACompoundWithAStateOfItsOwnIsExploredByTexts) {
  system.add(new Talkative("T", &system))->atom("B")->state = "a";
  EXPECT_EQ(Locality::UNDECLARED, wayOf(system, Locality::REPEATABLE));
}

TEST_F(StateSpaceTest, AnAtomWithoutStateIsExploredByTextsAndNotReportedMoreOftenForThat) {
  system.add(new Unfinished("U", &system));
  testing::internal::CaptureStderr();
  EXPECT_EQ(Locality::UNDECLARED, wayOf(system, Locality::REPEATABLE));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

// What the root shows does not say what is missing.
TEST_F(StateSpaceTest, AnAtomWithoutStateBelowARootThatShowsOneIsExploredByTexts) {
  Talkative root("t");
  root.add(new Unfinished("U", &root));
  root.atom("A")->state = "morea";
  root.join("k", {});
  EXPECT_EQ(Locality::UNDECLARED, wayOf(root, Locality::REPEATABLE));
}

// The caller can see in the place that it gave which connector fires.
TEST_F(StateSpaceTest, WhatFiresIsTheChoice) {
  for (const Locality declared : {Locality::UNDECLARED, Locality::LOCAL, Locality::REPEATABLE}) {
    declareAll(system, declared);
    Connector* legal = nullptr;
    Connector* choice = nullptr;
    system.initialize(nullptr);
    const std::unique_ptr<StateSpace> space = StateSpace::create({system, legal, choice});
    ASSERT_EQ(declared, space->kind());
    space->read();
    space->find();
    const Vesk::PendingState first = space->keep();
    space->restore(first);
    space->activate();
    Vesk::Transition transition;
    Vesk::Label label;
    ASSERT_TRUE(space->firstLegal(transition));
    ASSERT_TRUE(space->fire(transition, label));
    EXPECT_EQ(transition.connector, choice) << nameOf(declared);
    space->drop();
    choice = nullptr;
    space->restore(first);
    space->activate();
    ASSERT_TRUE(space->firstLegal(transition));
    space->freeze(&transition);
    Vesk::Transition thawed = space->thaw();
    ASSERT_TRUE(space->fireFrozen(first, thawed, label));
    EXPECT_EQ(transition.connector, choice) << nameOf(declared);
    space->drop();
  }
}

// A signal cuts what model code enumerates while it fires.
TEST_F(StateSpaceTest, NothingIsReadWhenAnEnumerationWasCutInAStep) {
  const Vesk::SearchSignals signals;
  auto* atom = static_cast<TestAtom*>(system.components()[0]);
  for (const Locality declared : {Locality::UNDECLARED, Locality::LOCAL, Locality::REPEATABLE}) {
    declareAll(system, declared);
    Connector* legal = nullptr;
    Connector* choice = nullptr;
    system.initialize(nullptr);
    const std::unique_ptr<StateSpace> space = StateSpace::create({system, legal, choice});
    space->read();
    space->find();
    const Vesk::PendingState first = space->keep();
    atom->onExecute = [](Port*) { Vesk::enumerationCut = true; };
    for (const bool frozen : {false, true}) {
      space->restore(first);
      space->activate();
      Vesk::Transition transition;
      Vesk::Label label;
      ASSERT_TRUE(space->firstLegal(transition));
      if (frozen) {
        space->freeze(&transition);
        Vesk::Transition thawed = space->thaw();
        EXPECT_FALSE(space->fireFrozen(first, thawed, label)) << nameOf(declared);
      } else {
        EXPECT_FALSE(space->fire(transition, label)) << nameOf(declared);
      }
      Vesk::enumerationCut = false;
    }
    atom->onExecute = nullptr;
  }
}

// What a connector below may fire is enumerated again before a waiting transition fires.
TEST(ExportedPortsTest, NothingFiresWhenTheEnumerationBelowWasCut) {
  const Vesk::SearchSignals signals;
  System system("s");
  int fired = 0;
  TestAtom* caller = system.atom("A");
  caller->onExecute = [&](Port*) { ++fired; };
  System* inner = system.compound("C");
  TestConnector* group = inner->group("group", {inner->atom("B")->enabled("p")});
  system.join("all", {caller->enabled("p"), group->xPort()}, BROADCAST);
  for (const Locality declared : {Locality::UNDECLARED, Locality::LOCAL}) {
    declareAll(system, declared);
    Connector* legal = nullptr;
    Connector* choice = nullptr;
    system.initialize(nullptr);
    const std::unique_ptr<StateSpace> space = StateSpace::create({system, legal, choice});
    ASSERT_EQ(declared, space->kind());
    space->read();
    space->find();
    const Vesk::PendingState first = space->keep();
    space->restore(first);
    space->activate();
    Vesk::Transition transition;
    Vesk::Label label;
    ASSERT_TRUE(space->firstLegal(transition));
    space->freeze(&transition);
    space->restore(first);
    group->beforeGuard = [] { Vesk::enumerationCut = true; };
    Vesk::Transition thawed = space->thaw();
    EXPECT_FALSE(space->fireFrozen(first, thawed, label)) << nameOf(declared);
    EXPECT_EQ(0, fired) << nameOf(declared);
    group->beforeGuard = nullptr;
    Vesk::enumerationCut = false;
  }
}

TEST_F(StateSpaceTest, ASystemThatConnectsFromOutsideIsExploredByTexts) {
  TestAtom outside("O", nullptr);
  outside.declare(Locality::REPEATABLE);
  system.rendezvous("out", outside.enabled("p"));
  EXPECT_EQ(Locality::UNDECLARED, wayOf(system, Locality::REPEATABLE));
}

TEST_F(StateSpaceTest, TheChoiceRaisesNoFlags) {
  auto* marked = system.atom("M");
  marked->state = "ERROR";
  EXPECT_EQ(Locality::LOCAL, wayOf(system, Locality::LOCAL));
  EXPECT_FALSE(global_error);
  EXPECT_EQ(nullptr, faulty_leaf);
}

TEST_F(StateSpaceTest, AModelThatDeclaresNothingIsNotReadForTheChoice) {
  auto* atom = system.atom("B");
  atom->events = &events;
  wayOf(system);
  EXPECT_EQ((Events{"initialize B"}), events);
}
