// What a model sees of the trees in which an exploration keeps its states: each pending state is as
// good as a tree of its own.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/explorations.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"
#include "no-rtti-model.hpp"

using namespace kit;

namespace {

std::string finalSize(int states) {
  return "Final size : " + std::to_string(states) + "\n";
}

// 0 -> 1 -> ... -> the last state, with a hook.
std::unique_ptr<System> line(int states, const Automaton::Hook& hook) {
  auto system = kit::line(numbered(states));
  static_cast<Automaton*>(system->components()[0])->setHook(hook);
  return system;
}

}  // namespace

// ---- Places --------------------------------------------------------------------------------

namespace {

// How a counter recognises the tree that it was given last.
enum class Recognise { NODE, TEXT, EQUALS };

// Counts modulo 3. A state that it was given last, and that it has not left since, is not read
// again.
class Forgetful : public Automaton {
 public:
  Forgetful(const std::string& name, const Compound* holder, Recognise how)
      : Automaton(name, holder, numbered(3)), mHow(how) {
    mPort = Automaton::addPort("p", {{0, 1}, {1, 2}, {2, 0}});
  }
  Port* port() const { return mPort; }

  using Automaton::initialize;
  void initialize() override {
    forget();
    Automaton::initialize();
  }
  void execute(Port* port) override {
    forget();
    Automaton::execute(port);
  }
  void setState(Node* state) override {
    if (known(state)) {
      announce();
      return;
    }
    remember(state);
    Automaton::setState(state);
  }

 private:
  bool known(Node* state) {
    if (mHow == Recognise::NODE) return state == mNode;
    if (mHow == Recognise::TEXT) return static_cast<Leaf*>(state)->getAleaf() == mText;
    return mProbe != nullptr && state->equals(mProbe);
  }
  void remember(Node* state) {
    mNode = state;
    mText = static_cast<Leaf*>(state)->getAleaf();
    // Shares the text, which it does not own: it is never destroyed.
    mProbe = ::new (mPlace) Leaf(mText);
  }
  void forget() {
    mNode = nullptr;
    mText = nullptr;
    mProbe = nullptr;
  }

  Recognise mHow;
  Port* mPort;
  Node* mNode = nullptr;
  Atomleaf* mText = nullptr;
  Leaf* mProbe = nullptr;
  alignas(Leaf) unsigned char mPlace[sizeof(Leaf)];
};

}  // namespace

class PlaceTest : public testing::TestWithParam<Recognise> {};

// Two counters modulo 3 have nine states with two transitions each. The tree that was given last is
// that of a state which lived together with the next one, so the two have different nodes.
TEST_P(PlaceTest, AModelMayRecogniseAStateByItsNodes) {
  for (const Traversal traversal : {BFS, DFS}) {
    System system("s");
    auto* one = system.add(new Forgetful("A", &system, GetParam()));
    auto* two = system.add(new Forgetful("B", &system, GetParam()));
    system.join("a", {one->port()});
    system.join("b", {two->port()});
    const Explored found = explored(system, traversal);
    EXPECT_NE(std::string::npos, found.out.find(finalSize(9))) << found;
    EXPECT_EQ(header("des(0, 18, 9)"), found.aut.substr(0, 38)) << nameOf(traversal);
    EXPECT_EQ(literallyExplored(system, traversal), found) << nameOf(traversal);
  }
}

INSTANTIATE_TEST_SUITE_P(Ways, PlaceTest,
                         testing::Values(Recognise::NODE, Recognise::TEXT, Recognise::EQUALS));

namespace {

// Knows its state by the leaf alone: the text tells it nothing.
class ByAddress : public Automaton {
 public:
  ByAddress(const std::string& name, const Compound* holder, const std::vector<std::string>& texts)
      : Automaton(name, holder, texts) {}
  Node* getState() override {
    Node* leaf = Automaton::getState();
    mStates[leaf] = mState;
    return leaf;
  }
  void setState(Node* state) override {
    const auto known = mStates.find(state);
    EXPECT_NE(mStates.end(), known);
    mState = known != mStates.end() ? known->second : 0;
    announce();
  }

 private:
  std::map<Node*, int> mStates;
};

}  // namespace

TEST(TreePlaceTest, AStateComesBackInTheLeafThatTheAtomMade) {
  for (const Traversal traversal : {BFS, DFS}) {
    System system("s");
    auto* one = system.add(new ByAddress("A", &system, numbered(3)));
    auto* two = system.add(new ByAddress("B", &system, numbered(4)));
    system.join("a", {one->addPort("p", {{0, 1}, {1, 2}, {2, 0}})});
    system.join("b", {two->addPort("p", {{0, 1}, {1, 2}, {2, 3}, {3, 0}})});
    const Explored found = explored(system, traversal);
    EXPECT_NE(std::string::npos, found.out.find(finalSize(12))) << found;
    EXPECT_EQ(header("des(0, 24, 12)"), found.aut.substr(0, 38)) << nameOf(traversal);
  }
}

// ---- Trees that a model changes ------------------------------------------------------------

namespace {

// Ways to make another text of the one that stands in a leaf.
enum class Change { SET_VAL, SET_ALEAF, IN_PLACE, SET_CHILD };

// States 0 to 6. State 0 has two ways on, and so has state 5. When state 0 is restored for the
// first time, the model writes 5 into its tree: what follows starts in state 5.
class Rewriting : public Automaton {
 public:
  Rewriting(const Compound* holder, Change change)
      : Automaton("A", holder, numbered(7)), mChange(change) {}
  void setState(Node* state) override {
    Automaton::setState(state);
    auto* leaf = static_cast<Leaf*>(state);
    if (mState != 0) return;
    if (mChange == Change::SET_VAL) leaf->getAleaf()->setVal("5,");
    if (mChange == Change::SET_ALEAF) leaf->setAleaf(new Atomleaf("5,"));
    if (mChange == Change::IN_PLACE) leaf->getAleaf()->getVal()[0] = '5';
  }

 private:
  Change mChange;
};

// Writes by giving the tree another child.
class Replacing : public System {
 public:
  Replacing(const std::string& name, Change change) : System(name), mChange(change) {}
  void setState(Node* state) override {
    System::setState(state);
    auto* tree = static_cast<Nonleaf*>(state);
    auto* leaf = static_cast<Leaf*>(tree->getChild(0));
    if (mChange != Change::SET_CHILD || std::strcmp("0,", leaf->getAleaf()->getVal()) != 0) return;
    tree->setChild(new Leaf(new Atomleaf("5,")), 0);
    delete leaf;
  }

 private:
  Change mChange;
};

std::unique_ptr<System> rewriting(Change change) {
  auto system = std::make_unique<Replacing>("s", change);
  auto* atom = system->add(new Rewriting(system.get(), change));
  system->join("a", {atom->addPort("p", {{0, 1}, {5, 6}})});
  system->join("b", {atom->addPort("q", {{0, 2}, {5, 3}})});
  system->join("c", {atom->addPort("r", {{1, 5}, {2, 5}, {6, 0}})});
  return system;
}

}  // namespace

class ChangedTreeTest : public testing::TestWithParam<Change> {};

// The legal list of states 0 and 5 is b, a. From state 0 b fires, to 2; then the state is restored
// from the changed tree, so that a fires from 5, to 6. The file has the text after the first
// restoring. States 2 and 6 go to 5 and 0: 5 is new although a tree reads like it, 0 is known
// although no tree reads like it any more.
TEST_P(ChangedTreeTest, BreadthFirstGoesOnFromTheChangedTree) {
  auto system = rewriting(GetParam());
  const Explored found = explored(*system, BFS);
  EXPECT_EQ(header("des(0, 6, 5)") +
                "(0, s/b/A:q, 1)\n(0, s/a/A:p, 2)\n"
                "(1, s/c/A:r, 3)\n(2, s/c/A:r, 0)\n"
                "(3, s/b/A:q, 4)\n(3, s/a/A:p, 2)\n",
            found.aut);
  EXPECT_EQ("0 : 5,\n1 : 2,\n2 : 6,\n3 : 5,\n4 : 3,\n", found.state);
  EXPECT_EQ("4\n", found.deadlock);
}

// The transition pushed last is taken first: a from state 0, to 1, then 5, then 6 and back to the
// known 0; b of 5, to 3; and at last b of the changed root, from 5, to the known 3.
TEST_P(ChangedTreeTest, DepthFirstGoesOnFromTheChangedTree) {
  auto system = rewriting(GetParam());
  const Explored found = explored(*system, DFS);
  EXPECT_EQ(header("des(0, 6, 5)") +
                "(0, s/a/A:p, 1)\n(1, s/c/A:r, 2)\n"
                "(2, s/a/A:p, 3)\n(3, s/c/A:r, 0)\n"
                "(2, s/b/A:q, 4)\n(0, s/b/A:q, 4)\n",
            found.aut);
  EXPECT_EQ("0 : 0,\n1 : 1,\n2 : 5,\n3 : 6,\n4 : 3,\n", found.state);
}

INSTANTIATE_TEST_SUITE_P(Ways, ChangedTreeTest,
                         testing::Values(Change::SET_VAL, Change::SET_ALEAF, Change::IN_PLACE,
                                         Change::SET_CHILD));

TEST(ChangingTest, ATextThatIsTakenApartStaysSo) {
  // strtok() writes a NUL behind the first word of the tree's own text.
  class Tokenising : public Automaton {
   public:
    explicit Tokenising(const Compound* holder)
        : Automaton("A", holder, {"0 some words|", "1 more|", "2|"}) {}
    void setState(Node* state) override {
      char* text = static_cast<Leaf*>(state)->getAleaf()->getVal();
      mState = std::atoi(std::strtok(text, " |"));
      announce();
    }
  };
  for (const Traversal traversal : {BFS, DFS}) {
    System system("s");
    auto* atom = system.add(new Tokenising(&system));
    system.join("a", {atom->addPort("p", {{0, 1}, {1, 0}})});
    system.join("b", {atom->addPort("q", {{0, 2}, {2, 1}})});
    const Explored found = explored(system, traversal);
    if (traversal == BFS) {
      EXPECT_EQ("0 : 0\n1 : 2\n2 : 1\n", found.state) << nameOf(traversal);
      EXPECT_EQ(header("des(0, 4, 3)") +
                    "(0, s/b/A:q, 1)\n(0, s/a/A:p, 2)\n(1, s/b/A:q, 2)\n(2, s/a/A:p, 0)\n",
                found.aut)
          << nameOf(traversal);
    } else {
      EXPECT_EQ("0 : 0 some words|\n1 : 1 more|\n2 : 2|\n", found.state) << nameOf(traversal);
      EXPECT_EQ(header("des(0, 4, 3)") +
                    "(0, s/a/A:p, 1)\n(1, s/a/A:p, 0)\n(0, s/b/A:q, 2)\n(2, s/b/A:q, 1)\n",
                found.aut)
          << nameOf(traversal);
    }
  }
}

TEST(ChangingTest, EveryRestoringSeesTheChangesOfThoseBefore) {
  // Appends a mark whenever it is restored.
  class Marking : public Automaton {
   public:
    Marking(const Compound* holder, std::vector<std::string>& seen)
        : Automaton("A", holder, numbered(4)), mSeen(seen) {}
    void setState(Node* state) override {
      Atomleaf* const text = static_cast<Leaf*>(state)->getAleaf();
      mSeen.emplace_back(text->getVal());
      mState = std::atoi(text->getVal());
      text->setVal((mSeen.back() + "+").c_str());
      announce();
    }

   private:
    std::vector<std::string>& mSeen;
  };
  for (const Traversal traversal : {BFS, DFS}) {
    std::vector<std::string> seen;
    System system("s");
    auto* atom = system.add(new Marking(&system, seen));
    system.join("a", {atom->addPort("p", {{0, 1}})});
    system.join("b", {atom->addPort("q", {{0, 2}})});
    system.join("c", {atom->addPort("r", {{0, 3}})});
    const Explored found = explored(system, traversal);
    if (traversal == BFS) {
      // State 0 for each of its three transitions, then the states that were found.
      EXPECT_EQ((std::vector<std::string>{"0,", "0,+", "0,++", "3,", "2,", "1,"}), seen)
          << nameOf(traversal);
      EXPECT_EQ("0 : 0,+\n1 : 3,+\n2 : 2,+\n3 : 1,+\n", found.state) << nameOf(traversal);
    } else {
      // A state without transitions is not restored.
      EXPECT_EQ((std::vector<std::string>{"0,", "0,+", "0,++"}), seen) << nameOf(traversal);
      EXPECT_EQ("0 : 0,\n1 : 1,\n2 : 2,\n3 : 3,\n", found.state) << nameOf(traversal);
    }
  }
}

TEST(ChangingTest, BreadthFirstWritesTheTextAsItIsAfterTheConnectorsWereEvaluated) {
  // A guard may change the tree too, by the leaf that the atom was given.
  class Keeping : public Automaton {
   public:
    explicit Keeping(const Compound* holder) : Automaton("A", holder, numbered(3)) {}
    void setState(Node* state) override {
      leaf = static_cast<Leaf*>(state);
      Automaton::setState(state);
    }
    Leaf* leaf = nullptr;
  };
  System system("s");
  auto* atom = system.add(new Keeping(&system));
  system.join("go", {atom->addPort("p", {{0, 1}, {1, 2}})})->beforeGuard = [atom] {
    atom->leaf->getAleaf()->setVal((atom->leaf->getAleaf()->getVal() + std::string("g")).c_str());
  };
  EXPECT_EQ("0 : 0,g\n1 : 1,g\n2 : 2,g\n", explored(system, BFS).state);
}

// ---- Numbers in trees ----------------------------------------------------------------------

TEST(TreeNumberTest, NumbersOfPartsAreKept) {
  // The leaf has one number from the reading and another one after each restoring.
  class Numbering : public Automaton {
   public:
    Numbering(const Compound* holder, std::vector<int>& seen)
        : Automaton("A", holder, numbered(3)), mSeen(seen) {}
    Node* getState() override {
      Node* leaf = Automaton::getState();
      leaf->setIndex(static_cast<unsigned int>(40 + mState));
      leaf->incrOutTrans();
      return leaf;
    }
    void setState(Node* state) override {
      mSeen.push_back(static_cast<int>(state->getIndex()));
      mSeen.push_back(state->outTrans());
      state->setIndex(state->getIndex() + 10);
      state->incrOutTrans();
      Automaton::setState(state);
    }

   private:
    std::vector<int>& mSeen;
  };
  for (const Traversal traversal : {BFS, DFS}) {
    std::vector<int> seen;
    System system("s");
    auto* part = system.add(new System("part", &system));
    auto* atom = part->add(new Numbering(part, seen));
    part->join("a", {atom->addPort("p", {{0, 1}})});
    part->join("b", {atom->addPort("q", {{0, 2}, {2, 1}})});
    explored(system, traversal);
    if (traversal == BFS) {
      EXPECT_EQ((std::vector<int>{40, 1, 50, 2, 42, 1, 41, 1}), seen) << nameOf(traversal);
    } else {
      EXPECT_EQ((std::vector<int>{40, 1, 50, 2, 42, 1}), seen) << nameOf(traversal);
    }
  }
}

namespace {

// A root that notes number and pending transitions of the trees that it is given.
class NotingRoot : public System {
 public:
  using System::System;
  Node* getState() override {
    read = System::getState();
    return read;
  }
  void setState(Node* state) override {
    read = nullptr;
    given.emplace_back(state->getIndex(), state->outTrans());
    System::setState(state);
  }
  Node* read = nullptr;  // the last one, until another one is restored
  std::vector<std::pair<unsigned int, int>> given;
};

using Pairs = std::vector<std::pair<unsigned int, int>>;

}  // namespace

// 0 -a-> 1 -c-> 2 and 0 -b-> 2.
TEST(TreeNumberTest, TheRootHasTheNumberOfTheStateAndItsPendingTransitions) {
  for (const Traversal traversal : {BFS, DFS}) {
    NotingRoot system("s");
    auto* atom = system.add(new Automaton("A", &system, numbered(3)));
    system.join("a", {atom->addPort("p", {{0, 1}})});
    system.join("b", {atom->addPort("q", {{0, 2}})});
    system.join("c", {atom->addPort("r", {{1, 2}})});
    Pairs evaluated;
    system.join("d", {atom->addPort("t", {})})->beforeGuard = [&] {
      if (system.read == nullptr) return;
      evaluated.emplace_back(system.read->getIndex(), system.read->outTrans());
    };
    explored(system, traversal);
    if (traversal == BFS) {
      // Twice state 0, once for each transition; 2 is found before 1. Nothing is counted.
      EXPECT_EQ((Pairs{{0, 0}, {0, 0}, {1, 0}, {2, 0}}), system.given) << nameOf(traversal);
    } else {
      // The pending transition that is taken counts no more.
      EXPECT_EQ((Pairs{{0, 1}, {1, 0}, {0, 0}}), system.given) << nameOf(traversal);
      // A state that was read has its number before its connectors are evaluated.
      EXPECT_EQ((Pairs{{0, 0}, {1, 0}, {2, 0}}), evaluated) << nameOf(traversal);
    }
  }
}

// ---- The faulty leaf -----------------------------------------------------------------------

namespace {

Leaf& mine() {
  static Leaf leaf(new Atomleaf("MINE"));
  return leaf;
}

}  // namespace

TEST(FaultyLeafTest, ALeafOfTheModelIsShownAtADeadlock) {
  auto system = line(3, [](Automaton& self, const std::string& hook) {
    if (hook == "getState" && self.state() == 2) faulty_leaf = &mine();
  });
  EXPECT_EQ("2 || 2,  :: s/go/A:p[[MINE]]\n", explored(*system, DFS).deadlock);
  EXPECT_EQ(nullptr, faulty_leaf) << "the line resets it";
}

TEST(FaultyLeafTest, ALeafOfTheModelIsShownForAPrunedState) {
  auto system = line(3, [](Automaton& self, const std::string& hook) {
    if (hook != "getState" || self.state() != 1) return;
    faulty_leaf = &mine();
    global_prune = true;
  });
  EXPECT_EQ("1 || 0,  :: s/go/A:p[[MINE]]\n", explored(*system, DFS).pruned);
  EXPECT_EQ(" :: s/go/A:p[[MINE]]\n", explored(*system, BFS).pruned);
}

TEST(FaultyLeafTest, ALeafOfTheModelIsShownAfterAnError) {
  for (const Traversal traversal : {BFS, DFS}) {
    auto system = line(3, [](Automaton& self, const std::string& hook) {
      if (hook != "getState" || self.state() != 2) return;
      faulty_leaf = &mine();
      global_error = true;
    });
    const Explored found = explored(*system, traversal);
    EXPECT_NE(std::string::npos, found.out.find("\nFaulty atom : MINE\n")) << found;
    EXPECT_EQ(nullptr, faulty_leaf) << nameOf(traversal);
    EXPECT_TRUE(global_error) << nameOf(traversal);
  }
}

TEST(FaultyLeafTest, ALeafOfTheModelSurvivesTheTrees) {
  // Both states are known when they are reached for the second time; their trees are deleted.
  for (const Traversal traversal : {BFS, DFS}) {
    System system("s");
    auto* atom = system.add(new Automaton("A", &system, numbered(2)));
    system.join("go", {atom->addPort("p", {{0, 1}, {1, 0}})});
    int restored = 0;
    atom->setHook([&](Automaton&, const std::string& hook) {
      if (hook == "getState") faulty_leaf = &mine();
      if (hook == "setState") {
        ++restored;
        EXPECT_EQ(&mine(), faulty_leaf) << nameOf(traversal);
      }
    });
    explored(system, traversal);
    EXPECT_EQ(2, restored) << nameOf(traversal);
    EXPECT_EQ(&mine(), faulty_leaf) << nameOf(traversal);
    clearGlobals();
  }
}

TEST(FaultyLeafTest, ALeafOfATreeThatDiesIsForgotten) {
  // The text of a known state has the marker; the flag of the reading outlives the tree, its leaf
  // does not.
  for (const Traversal traversal : {BFS, DFS}) {
    System system("s");
    auto* atom = system.add(new Automaton("A", &system, {"0 PRUNE,", "1,"}));
    system.join("go", {atom->addPort("p", {{0, 1}, {1, 0}})});
    const Explored found = explored(system, traversal);
    EXPECT_EQ(header("des(0, 2, 2)"), found.aut.substr(0, 38)) << nameOf(traversal);
    EXPECT_EQ("", found.pruned) << nameOf(traversal);
    EXPECT_EQ(nullptr, faulty_leaf) << nameOf(traversal);
    EXPECT_TRUE(global_prune) << nameOf(traversal);
  }
}

// Without files no line resets it.
TEST(FaultyLeafTest, ALeafOfAPrunedStateIsForgottenAlsoWithoutFiles) {
  for (const Traversal traversal : {BFS, DFS}) {
    clearGlobals();
    System system("s");
    auto* atom = system.add(new Automaton("A", &system, {"0,", "1 PRUNE,"}));
    system.join("go", {atom->addPort("p", {{0, 1}})});
    ExploringScheduler scheduler(&system, traversal);
    scheduler.disableOutput();
    testing::internal::CaptureStdout();
    scheduler.explore();
    EXPECT_EQ(summary(1, 1, 0, 0, 2), testing::internal::GetCapturedStdout());
    EXPECT_TRUE(global_prune) << nameOf(traversal);
    EXPECT_EQ(nullptr, faulty_leaf) << nameOf(traversal);
  }
}

TEST(FaultyLeafTest, TheTreeOfAnErrorLivesUntilItIsShown) {
  // The model points at a leaf of the state that is restored, and that state is done with at once.
  class Pointing : public Automaton {
   public:
    explicit Pointing(const Compound* holder) : Automaton("A", holder, numbered(2)) {}
    void setState(Node* state) override {
      Automaton::setState(state);
      if (mState != 1) return;
      faulty_leaf = static_cast<Leaf*>(state);
      global_error = true;
    }
  };
  System system("s");
  auto* atom = system.add(new Pointing(&system));
  system.join("go", {atom->addPort("p", {{0, 1}})});
  const Explored found = explored(system, BFS);
  EXPECT_NE(std::string::npos, found.out.find(std::string(INTERRUPTED) + "Faulty atom : 1,\n"))
      << found;
  EXPECT_EQ("1\n", found.deadlock);
  EXPECT_EQ(nullptr, faulty_leaf);
}

TEST(FaultyLeafTest, BreadthFirstShowsNothingElseAfterAnError) {
  auto system = line(3, [](Automaton& self, const std::string& hook) {
    if (hook == "getState" && self.state() == 2) global_error = true;
  });
  const std::string out = explored(*system, BFS).out;
  const std::size_t end = out.find(finalSize(2));
  ASSERT_NE(std::string::npos, end);
  EXPECT_EQ(finalSize(2) + INTERRUPTED, out.substr(end));
}

// ---- What else a hook can see --------------------------------------------------------------

TEST(InTheHookTest, TheLabelOfTheTransitionStandsWhileItExecutes) {
  for (const Traversal traversal : {BFS, DFS}) {
    std::vector<std::string> labels;
    System system("s");
    auto* atom = system.add(new Automaton("A", &system, numbered(4)));
    system.join("one", {atom->addPort("p", {{0, 1}, {1, 2}})});
    system.join("two", {atom->addPort("q", {{2, 3}})});
    atom->setHook([&](Automaton&, const std::string& hook) {
      if (hook == "execute") labels.emplace_back(Connector::LABEL);
    });
    Connector::LABEL[0] = '\0';
    explored(system, traversal);
    EXPECT_EQ((std::vector<std::string>{"s/one/A:p", "s/one/A:p", "s/two/A:q"}), labels)
        << nameOf(traversal);
  }
}

TEST(InTheHookTest, DepthFirstLeavesTheConnectorItsInteractionUntilTheStateIsRead) {
  System system("s");
  auto* atom = system.add(new Automaton("A", &system, numbered(2)));
  TestConnector* joint = system.join("go", {atom->addPort("p", {{0, 1}, {1, 0}})});
  // A second way back, so that a state is restored after one that is known was reached.
  system.join("back", {atom->addPort("q", {{1, 0}})});
  std::vector<std::string> seen;
  const auto note = [&](const std::string& hook) {
    Interaction* const inter = joint->feasibleInter();
    const char* const what = inter == nullptr                                       ? " none"
                             : inter == Interaction::Create(joint, inter->synced()) ? " stored"
                                                                                    : " copy";
    seen.push_back(hook + what);
  };
  atom->setHook([&](Automaton&, const std::string& hook) {
    if (hook != "initialize") note(hook);
  });
  explored(system, DFS);
  // State 0 is read at the start: the connector has its empty interaction. From 0 to 1 by go. From
  // 1 back to 0, which is known, first by go, then by back, for which nothing is evaluated.
  EXPECT_EQ((std::vector<std::string>{"getState stored",                                   //
                                      "setState stored", "execute copy", "getState copy",  //
                                      "setState stored", "execute copy", "getState copy",  //
                                      "setState none", "execute none", "getState none"}),
            seen);
}

// ---- Streams -------------------------------------------------------------------------------

TEST(StreamTest, AHeaderIsWrittenToAStreamInMemory) {
  for (const Traversal traversal : {BFS, DFS}) {
    System system("s");
    auto* atom = system.add(new Automaton("A", &system, {"0,", "1,", "2,", "3 PRUNE,"}));
    system.join("a", {atom->addPort("p", {{0, 1}, {1, 2}})});
    system.join("b", {atom->addPort("q", {{0, 3}})});
    const Explored expected = explored(system, traversal);
    char* texts[4] = {};
    std::size_t sizes[4] = {};
    FILE* files[4];
    for (int i = 0; i < 4; ++i) files[i] = open_memstream(&texts[i], &sizes[i]);
    clearGlobals();
    ExploringScheduler scheduler(&system, traversal);
    scheduler.setFiles(files[0], files[1], files[2], files[3]);
    testing::internal::CaptureStdout();
    scheduler.explore();
    Explored found;
    found.out = testing::internal::GetCapturedStdout();
    std::string* const contents[] = {&found.aut, &found.state, &found.pruned, &found.deadlock};
    for (int i = 0; i < 4; ++i) {
      std::fclose(files[i]);
      contents[i]->assign(texts[i], sizes[i]);
      std::free(texts[i]);
    }
    EXPECT_EQ(expected, found) << nameOf(traversal);
    EXPECT_EQ(header("des(0, 3, 4)"), found.aut.substr(0, 38)) << nameOf(traversal);
  }
}

// ---- Special trees -------------------------------------------------------------------------

TEST(NoRttiTest, ClassesWithoutTypeInformationAreKeptWhole) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer looks at the types of all objects";
#endif
  // Two atoms that go to and fro, with a secret number each, and with classes of their
  // own for leaf, text and inner node.
  for (const Traversal traversal : {BFS, DFS}) {
    std::unique_ptr<Compound> system = modelWithoutRtti();
    const Explored found = explored(*system, traversal);
    EXPECT_EQ(literallyExplored(*system, traversal), found) << nameOf(traversal);
    EXPECT_EQ(0, faultsWithoutRtti()) << nameOf(traversal);
    EXPECT_NE(std::string::npos, found.out.find(finalSize(4))) << found;
  }
}

TEST(MissingTreeTest, AnAtomWithoutATreeIsRestoredWithNull) {
  class Silent : public Automaton {
   public:
    explicit Silent(const Compound* holder) : Automaton("N", holder, numbered(1)) {}
    Node* getState() override { return nullptr; }
    void setState(Node* state) override {
      EXPECT_EQ(nullptr, state);
      ++restored;
      announce();
    }
    int restored = 0;
  };
  for (const Traversal traversal : {BFS, DFS}) {
    System system("s");
    auto* one = system.add(new Automaton("A", &system, numbered(2)));
    auto* silent = system.add(new Silent(&system));
    auto* two = system.add(new Automaton("B", &system, numbered(2)));
    system.join("a", {one->addPort("p", {{0, 1}, {1, 0}}), silent->addPort("n", {{0, 0}})});
    system.join("b", {two->addPort("p", {{0, 1}, {1, 0}})});
    testing::internal::CaptureStderr();
    const Explored found = explored(system, traversal);
    const std::string messages = testing::internal::GetCapturedStderr();
    EXPECT_EQ(header("des(0, 8, 4)"), found.aut.substr(0, 38)) << nameOf(traversal);
    EXPECT_EQ(8, silent->restored) << nameOf(traversal);
    const std::string message = "at least a library is not generated with explore option\n";
    // Nine trees are printed when they are read; breadth-first, the four states once more.
    const std::size_t printed = traversal == BFS ? 13 : 9;
    EXPECT_EQ(printed * message.size(), messages.size()) << nameOf(traversal);
    EXPECT_EQ(0U, messages.find(message)) << nameOf(traversal);
  }
}

TEST(WholeTreeTest, TheRootMayGiveALeaf) {
  class Flat : public System {
   public:
    explicit Flat(const std::string& name) : System(name) {}
    Node* getState() override {
      return new Leaf(new Atomleaf(std::to_string(atom->state()).c_str()));
    }
    void setState(Node* state) override {
      Leaf leaf(new Atomleaf(
          (static_cast<Leaf*>(state)->getAleaf()->getVal() + std::string(",")).c_str()));
      atom->setState(&leaf);
    }
    Automaton* atom = nullptr;
  };
  for (const Traversal traversal : {BFS, DFS}) {
    Flat system("s");
    system.atom = system.add(new Automaton("A", &system, numbered(3)));
    system.join("go", {system.atom->addPort("p", {{0, 1}, {1, 2}, {2, 0}})});
    const Explored found = explored(system, traversal);
    EXPECT_EQ(header("des(0, 3, 3)") + "(0, s/go/A:p, 1)\n(1, s/go/A:p, 2)\n(2, s/go/A:p, 0)\n",
              found.aut)
        << nameOf(traversal);
    EXPECT_EQ("0 : 0\n1 : 1\n2 : 2\n", found.state) << nameOf(traversal);
  }
}
