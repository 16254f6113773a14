// What both searches do.

#include "exploration/search.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/exploration-checker.hpp"
#include "kit/explorations.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"
#include "kit/trees.hpp"

using namespace kit;

namespace {

ExplorationChecker checked(const Explored& explored) {
  return ExplorationChecker(explored.aut, explored.state, explored.pruned, explored.deadlock);
}

}  // namespace

// ---- Small models ------------------------------------------------------------------------------

TEST(ExplorationTest, ATransitionToAKnownStateAddsNoState) {
  System system("s");
  auto* atom = system.add(new Automaton("A", &system, numbered(2)));
  system.join("go", {atom->addPort("p", {{0, 1}, {1, 0}})});
  system.join("stay", {atom->addPort("q", {{0, 0}})});
  const Explored found = explored(system, BFS);
  EXPECT_EQ(header("des(0, 3, 2)") + "(0, s/stay/A:q, 0)\n(0, s/go/A:p, 1)\n(1, s/go/A:p, 0)\n",
            found.aut);
  EXPECT_EQ("0 : 0,\n1 : 1,\n", found.state);
}

TEST(ExplorationTest, StatesWithTheSameTextAreOneState) {  // Deliberate
  // "12" with "3" reads like "1" with "23", so what is reached by both is the initial state.
  System system("s");
  auto* first = system.add(new Automaton("A", &system, {"1", "12"}));
  auto* second = system.add(new Automaton("B", &system, {"23", "3"}));
  system.join("a", {first->addPort("p", {{0, 1}})});
  system.join("b", {second->addPort("p", {{0, 1}})});
  const Explored wide = explored(system, BFS);
  EXPECT_EQ("0 : 123\n1 : 13\n2 : 1223\n", wide.state);
  EXPECT_EQ(header("des(0, 4, 3)") +
                "(0, s/b/B:p, 1)\n(0, s/a/A:p, 2)\n(1, s/a/A:p, 0)\n(2, s/b/B:p, 0)\n",
            wide.aut);
  const Explored deep = explored(system, DFS);
  EXPECT_EQ("0 : 123\n1 : 1223\n2 : 13\n", deep.state);
}

TEST(ExplorationTest, TextsAndLabelsAreWrittenAsTheyAre) {  // Deliberate
  System system("%n%s, \"(");
  auto* atom = system.add(new Automaton("A\nB", &system, {"a\nb, %s\xff", "\")"}));
  system.join("k, )", {atom->addPort("%d", {{0, 1}})});
  for (const Traversal traversal : {BFS, DFS}) {
    const Explored found = explored(system, traversal);
    EXPECT_EQ(header("des(0, 1, 2)") + "(0, %n%s, \"(/k, )/A\nB:%d, 1)\n", found.aut);
    EXPECT_EQ("0 : a\nb, %s\xff\n1 : \")\n", found.state);
  }
}

TEST(ExplorationTest, LongLabelsAndTextsAreNotCut) {
  const std::string name(3000, 'n');
  const std::string text(300000, 't');
  System system(name);
  auto* atom = system.add(new Automaton(name, &system, {text + "1", text + "2"}));
  system.join(name, {atom->addPort(name, {{0, 1}, {1, 0}})});
  for (const Traversal traversal : {BFS, DFS}) {
    const Explored found = explored(system, traversal);
    const std::string label = name + "/" + name + "/" + name + ":" + name;
    EXPECT_EQ(header("des(0, 2, 2)") + "(0, " + label + ", 1)\n(1, " + label + ", 0)\n", found.aut)
        << nameOf(traversal);
    EXPECT_EQ("0 : " + text + "1\n1 : " + text + "2\n", found.state) << nameOf(traversal);
  }
}

TEST(ExplorationTest, ABroadcastFiresItsFirstFeasibleInteraction) {
  System system("s");
  auto* sender = system.add(new Automaton("S", &system, {"s,"}));
  auto* one = system.add(new Automaton("A", &system, numbered(2)));
  auto* two = system.add(new Automaton("B", &system, numbered(2)));
  system.join(
      "bus",
      {sender->addPort("go", {{0, 0}}), one->addPort("p", {{0, 1}}), two->addPort("p", {{0, 1}})},
      BROADCAST);
  system.join("back", {one->addPort("q", {{1, 0}})});
  const Explored found = explored(system, BFS);
  EXPECT_EQ("0 : s,0,0,\n1 : s,1,1,\n2 : s,0,1,\n", found.state);
  EXPECT_EQ(header("des(0, 4, 3)") +
                "(0, s/bus/S:go|A:p|B:p, 1)\n"
                "(1, s/back/A:q, 2)\n(1, s/bus/S:go, 1)\n"
                "(2, s/bus/S:go|A:p, 1)\n",
            found.aut);
}

TEST(ExplorationTest, TheWalkEndsAtTheFirstDominatedConnector) {  // Deliberate
  System system("s");
  auto* atom = system.add(new Automaton("A", &system, numbered(4)));
  system.join("one", {atom->addPort("p", {{0, 1}})});
  TestConnector* two = system.join("two", {atom->addPort("q", {{0, 2}})});
  system.join("three", {atom->addPort("r", {{0, 3}})});
  two->setDominated(true);
  // The list is three, two, one.
  for (const Traversal traversal : {BFS, DFS}) {
    const Explored found = explored(system, traversal);
    EXPECT_EQ(header("des(0, 1, 2)") + "(0, s/three/A:r, 1)\n", found.aut);
  }
}

// ---- Markers -----------------------------------------------------------------------------------

TEST(MarkerTest, APrunedStateIsListedButNotExpanded) {
  auto system = line({"0,", "1 PRUNE,", "2,"});
  const Explored wide = explored(*system, BFS);
  EXPECT_EQ(summary(1, 1, 0, 0, 2), wide.out);
  EXPECT_EQ(" :: s/go/A:p[[1 PRUNE,]]\n", wide.pruned);
  EXPECT_EQ("0 : 0,\n", wide.state);
  const Explored deep = explored(*system, DFS);
  EXPECT_EQ(summary(1, 1, 0, 0, 2), deep.out);
  EXPECT_EQ("1 || 0,  :: s/go/A:p[[1 PRUNE,]]\n", deep.pruned);
  EXPECT_EQ("0 : 0,\n1 : 1 PRUNE,\n", deep.state);
  EXPECT_EQ(header("des(0, 1, 2)") + "(0, s/go/A:p, 1)\n", deep.aut);
}

TEST(MarkerTest, AnErrorInAKnownStateStopsTheSearch) {
  for (const Traversal traversal : {BFS, DFS}) {
    System system("s");
    auto* atom = system.add(new Automaton("A", &system, numbered(2)));
    system.join("go", {atom->addPort("p", {{0, 1}, {1, 0}})});
    atom->setHook([](Automaton& self, const std::string& hook) {
      // Reading the known state 0 for the second time finds an error.
      static int reads = 0;
      if (hook == "initialize") reads = 0;
      if (hook == "getState" && self.state() == 0 && ++reads == 2) global_error = true;
    });
    const Explored found = explored(system, traversal);
    EXPECT_NE(std::string::npos, found.out.find(INTERRUPTED)) << nameOf(traversal);
    EXPECT_EQ(std::string::npos, found.out.find("Faulty atom")) << nameOf(traversal);
    EXPECT_EQ(literallyExplored(system, traversal), found) << nameOf(traversal);
  }
}

TEST(MarkerTest, AnErrorAtTheStartIsReportedWithItsAtom) {
  auto system = line({"0 ERROR,", "1,"});
  EXPECT_EQ(summary(0, 0, 0, 1, 1) + INTERRUPTED + "Faulty atom : 0 ERROR,\n",
            explored(*system, BFS).out);
  EXPECT_EQ(summary(0, 0, 0, 1, 1) + INTERRUPTED +
                "Path size : 0\nError path is:\n:: \nFaulty atom : 0 ERROR,\n",
            explored(*system, DFS).out);
}

// ---- Special trees -----------------------------------------------------------------------------

namespace {

// Counts in secret what it shows modulo 3.
class Secretive : public Automaton {
 public:
  explicit Secretive(const Compound* holder) : Automaton("X", holder, numbered(7)) {}
  Node* getState() override { return new RichLeaf((std::to_string(mState) + ",").c_str(), mState); }
  void setState(Node* state) override {
    mState = dynamic_cast<RichLeaf&>(*state).secret();
    announce();
  }
};

// Gives a leaf, a tree or nothing, depending on its state.
class Shifty : public Automaton {
 public:
  explicit Shifty(const Compound* holder) : Automaton("X", holder, numbered(7)) {}
  Node* getState() override {
    if (mState % 3 == 1) {
      auto* node = new Nonleaf(2);
      node->setChild(Automaton::getState(), 0);
      if (mState == 4) node->setChild(new Leaf(static_cast<Atomleaf*>(nullptr)), 1);
      if (mState == 1) node->setChild(new Leaf(new Atomleaf("!")), 1);
      return node;
    }
    return mState == 5 ? new Leaf(new Atomleaf) : Automaton::getState();
  }
  void setState(Node* state) override {
    if (state->isLeaf() && static_cast<Leaf*>(state)->getAleaf()->getVal() == nullptr) {
      mState = 5;
      announce();
    } else {
      Automaton::setState(state->isLeaf() ? state : static_cast<Nonleaf*>(state)->getChild(0));
    }
  }
};

// Has no state to give.
class Stateless : public Automaton {
 public:
  explicit Stateless(const Compound* holder) : Automaton("N", holder, numbered(2)) {}
  Node* getState() override { return nullptr; }
  void setState(Node* state) override {
    EXPECT_EQ(nullptr, state);
    announce();
  }
};

template <class T>
std::unique_ptr<System> withSpecial() {
  auto system = std::make_unique<System>("s");
  auto* plain = system->add(new Automaton("A", system.get(), numbered(3)));
  auto* special = system->add(new T(system.get()));
  system->join("a", {plain->addPort("p", {{0, 1}, {1, 2}, {2, 0}})});
  system->join("b", {special->addPort("p", {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}})});
  system->join("c", {special->addPort("q", {{3, 0}, {5, 6}})});
  return system;
}

}  // namespace

TEST(SpecialTreeTest, TreesThatHoldMoreThanTextsAreKept) {
  for (const Traversal traversal : {BFS, DFS}) {
    auto system = withSpecial<Secretive>();
    const Explored found = explored(*system, traversal);
    EXPECT_NE(std::string::npos, found.out.find("Final size : 21\n")) << nameOf(traversal);
    EXPECT_EQ(literallyExplored(*system, traversal), found) << nameOf(traversal);
  }
}

TEST(SpecialTreeTest, TheShapeMayChangeFromStateToState) {
  for (const Traversal traversal : {BFS, DFS}) {
    auto system = withSpecial<Shifty>();
    const Explored found = explored(*system, traversal);
    EXPECT_NE(std::string::npos, found.out.find("Final size : 21\n")) << nameOf(traversal);
    EXPECT_EQ(literallyExplored(*system, traversal), found) << nameOf(traversal);
  }
}

TEST(SpecialTreeTest, AnAtomWithoutStateIsReportedWheneverItIsPrinted) {
  for (const Traversal traversal : {BFS, DFS}) {
    auto system = withSpecial<Stateless>();
    testing::internal::CaptureStderr();
    const Explored found = explored(*system, traversal);
    const std::string messages = testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    const Explored expected = literallyExplored(*system, traversal);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), messages) << nameOf(traversal);
    EXPECT_NE("", messages) << nameOf(traversal);
    EXPECT_EQ(expected, found) << nameOf(traversal);
  }
}

// ---- Compared with the literal search ----------------------------------------------------------

namespace {

class RandomSystem {
 public:
  explicit RandomSystem(unsigned int seed) : mRandom(seed) {}

  std::unique_ptr<System> make() {
    auto system = std::make_unique<System>("s");
    const int atoms = between(1, 4);
    std::vector<std::vector<Port*>> ports;
    for (int i = 0; i < atoms; ++i) ports.push_back(addAtom(*system, "A" + std::to_string(i)));
    if (between(0, 1) == 1) ports.push_back({addPart(*system)});
    const int joints = between(1, 5);
    for (int i = 0; i < joints; ++i) {
      system->join("k" + std::to_string(i), somePorts(ports),
                   between(0, 3) == 0 ? BROADCAST : RENDEZVOUS);
    }
    return system;
  }
  int between(int low, int high) {
    return low + static_cast<int>(mRandom() % static_cast<unsigned int>(high - low + 1));
  }

 private:
  std::vector<Port*> addAtom(System& system, const std::string& name) {
    const int states = between(1, 4);
    std::vector<std::string> texts = numbered(states);
    if (between(0, 9) == 0) texts.back() += "PRUNE";
    if (between(0, 14) == 0) texts.back() += "ERROR";
    auto* atom = system.add(new Automaton(name, &system, texts));
    std::vector<Port*> ports;
    for (int i = between(1, 3); i > 0; --i) {
      std::map<int, int> transitions;
      for (int state = 0; state < states; ++state) {
        if (between(0, 2) != 0) transitions[state] = between(0, states - 1);
      }
      ports.push_back(atom->addPort("p" + std::to_string(i), transitions));
    }
    return ports;
  }
  // A compound that shows one exported port and has a connector of its own.
  Port* addPart(System& system) {
    auto* part = system.add(new System("part", &system));
    std::vector<std::vector<Port*>> ports = {addAtom(*part, "B0"), addAtom(*part, "B1")};
    part->join("inner", somePorts(ports), between(0, 1) == 0 ? BROADCAST : RENDEZVOUS);
    return part->group("group", somePorts(ports), between(0, 1) == 0 ? BROADCAST : RENDEZVOUS)
        ->xPort();
  }
  // At most one of each, at least one.
  std::vector<Port*> somePorts(const std::vector<std::vector<Port*>>& ports) {
    std::vector<Port*> chosen;
    while (chosen.empty()) {
      for (const std::vector<Port*>& own : ports) {
        if (between(0, 1) == 0) continue;
        chosen.push_back(
            own[static_cast<std::size_t>(between(0, static_cast<int>(own.size()) - 1))]);
      }
    }
    return chosen;
  }

  std::mt19937 mRandom;
};

}  // namespace

TEST(LiteralTest, RandomSystemsLeaveTheSameBytes) {
  for (unsigned int seed = 1; seed <= 400; ++seed) {
    RandomSystem random(seed);
    auto system = random.make();
    const int limit = random.between(0, 3) == 0 ? random.between(1, 120) : 0;
    for (const Traversal traversal : {BFS, DFS}) {
      ASSERT_EQ(literallyExplored(*system, traversal, limit), explored(*system, traversal, limit))
          << "seed " << seed << " traversal " << nameOf(traversal) << " limit " << limit;
    }
  }
}

TEST(LiteralTest, LimitsStopBothSearchesAtTheSameStep) {
  for (const int limit : {1, 19, 20, 21, 49, 50, 51, 100, 150, -1, 1000000}) {
    for (const Traversal traversal : {BFS, DFS}) {
      auto system = std::make_unique<System>("s");
      for (int i = 0; i < 3; ++i) {
        auto* atom = system->add(new Automaton("A" + std::to_string(i), system.get(), numbered(4)));
        system->join("k" + std::to_string(i),
                     {atom->addPort("p", {{0, 1}, {1, 2}, {2, 3}, {3, 0}})});
      }
      const Explored found = explored(*system, traversal, limit);
      EXPECT_EQ(literallyExplored(*system, traversal, limit), found) << "limit " << limit;
      const bool reached = 0 < limit && limit <= (traversal == BFS ? 64 : 192);
      EXPECT_EQ(reached,
                found.out.find("State exploration limit size reached...") != std::string::npos)
          << "limit " << limit;
    }
  }
}

// ---- Two levels --------------------------------------------------------------------------------

TEST(TwoLevelTest, BothSearchesFindTheSameStatesAndLabelledTransitions) {
  for (const Kind kind : {RENDEZVOUS, BROADCAST}) {
    System system("s");
    auto* part = system.add(new System("part", &system));
    auto* one = part->add(new Automaton("B0", part, numbered(3)));
    auto* two = part->add(new Automaton("B1", part, numbered(3)));
    TestConnector* group = part->group(
        "group", {one->addPort("out", {{1, 2}, {2, 0}}), two->addPort("out", {{1, 2}, {2, 1}})},
        kind);
    part->join("i0", {one->addPort("in", {{0, 1}})});
    part->join("i1", {two->addPort("in", {{0, 1}, {2, 0}})});
    auto* atom = system.add(new Automaton("A", &system, numbered(2)));
    system.join("outer", {atom->addPort("p", {{0, 1}, {1, 0}}), group->xPort()});
    const Explored wide = explored(system, BFS);
    const Explored deep = explored(system, DFS);
    EXPECT_EQ("", checked(wide).faults() + checked(wide).missing()) << kind;
    EXPECT_EQ("", checked(deep).faults() + checked(deep).missing()) << kind;
    EXPECT_EQ(checked(wide).transitionsByText(), checked(deep).transitionsByText()) << kind;
    EXPECT_EQ(checked(wide).stateTexts(), checked(deep).stateTexts()) << kind;
    EXPECT_LT(5U, checked(wide).stateCount()) << kind;
  }
}
