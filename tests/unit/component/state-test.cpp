// Reading and restoring the state of a tree, and the flags of states that end or stop a search.

#include "component.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/explorations.hpp"
#include "kit/systems.hpp"
#include "kit/trees.hpp"

using namespace kit;

namespace {

class StateTest : public ComponentTest {};

}  // namespace

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
  for (TestAtom* atom : atoms)
    EXPECT_EQ(atom->state, std::string(atom->name()) + ";") << atom->name();
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
    EXPECT_DEATH(grown.getState(), "^vesk: compound G: " + sizes + "\n$") << before;
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
    EXPECT_DEATH(grown.setState(state), "^vesk: compound G: 1 components, its state has 0\n$")
        << (state == &leaf ? "a leaf" : "a node without children");
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

TEST_F(StateTest, MissingChildrenRestoreNothing) {
  System wide("C");
  constexpr int COMPOUNDS = 5;
  for (int i = 0; i < COMPOUNDS; ++i) wide.compound("D");
  TestAtom* atom = wide.atom("A");
  Nonleaf state(COMPOUNDS + 1);
  state.setChild(new Leaf(new Atomleaf("a")), COMPOUNDS);
  wide.setState(&state);
  EXPECT_EQ(atom->state, "a");
}

TEST_F(StateTest, ANullStateRestoresNothing) {
  buildTree();
  root.setState(nullptr);
  EXPECT_EQ(events, Events());
}

// The part behind the faulty one throws, in the same compound or around it. Other trees are made
// meanwhile.
TEST_F(StateTest, TheFaultyLeafOfATreeThatAnExceptionEndsStaysReadable) {
  for (const bool inPart : {false, true}) {
    System system("s");
    System* holder = inPart ? system.compound("c") : &system;
    holder->add(new Automaton("A", holder, {"ERROR,"}));
    Automaton* thrower = system.add(new Automaton("B", &system, {"0,"}));
    thrower->setHook([](Automaton&, const std::string&) { throw std::runtime_error("model"); });
    EXPECT_THROW(system.getState(), std::runtime_error);
    EXPECT_TRUE(global_error);
    std::vector<std::unique_ptr<Leaf>> others;
    for (int i = 0; i < 10; ++i) others.push_back(std::make_unique<Leaf>(new Atomleaf("other")));
    ASSERT_NE(nullptr, faulty_leaf);
    EXPECT_STREQ("ERROR,", faulty_leaf->getAleaf()->getVal());
    clearGlobals();
  }
}

TEST_F(StateTest, AnExceptionLeavesAFaultyLeafOfTheModelsOwn) {
  Leaf own(nullptr);
  System system("s");
  Automaton* thrower = system.add(new Automaton("B", &system, {"0,"}));
  thrower->setHook([&own](Automaton&, const std::string&) {
    faulty_leaf = &own;
    throw std::runtime_error("model");
  });
  EXPECT_THROW(system.getState(), std::runtime_error);
  EXPECT_EQ(&own, faulty_leaf);
  clearGlobals();
}
