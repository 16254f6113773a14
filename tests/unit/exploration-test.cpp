#include "exploration-fixture.hpp"

#include <random>

#include "exploration-checker.hpp"
#include "exploration-files.hpp"
#include "state-table.hpp"

namespace {

const char INTERRUPTED[] = "Exploration was interrupted because an error state was encountered!\n";

std::string summary(int steps, int pruned, int deadlocks, int stored, int size) {
  char text[200];
  std::snprintf(text, sizeof text,
                "* Count : %10d [pruned : %10d] [deadlocks : %10d] [stored states: %10d]\n"
                "Final size : %d\n",
                steps, pruned, deadlocks, stored, size);
  return text;
}

std::string header(const std::string& text) {
  std::string area = text + "\n";
  area.resize(37, ' ');
  return area + "\n";
}

std::vector<std::string> numbered(int states) {
  std::vector<std::string> texts;
  for (int i = 0; i < states; ++i) texts.push_back(std::to_string(i) + ",");
  return texts;
}

// One atom, one connector: 0 -> 1 -> ... -> the last state.
std::unique_ptr<System> line(const std::vector<std::string>& texts) {
  auto system = std::make_unique<System>("s");
  auto* atom = system->add(new Automaton("A", system.get(), texts));
  std::map<int, int> transitions;
  for (int i = 0; i + 1 < static_cast<int>(texts.size()); ++i) transitions[i] = i + 1;
  system->join("go", {atom->addPort("p", transitions)});
  return system;
}

Automaton* atomOf(System& system, int i) {
  return static_cast<Automaton*>(system.components()[i]);
}

ExplorationChecker checked(const Explored& explored) {
  return ExplorationChecker(explored.aut, explored.state, explored.pruned, explored.deadlock);
}

}  // namespace

// ---- Both searches, small models -----------------------------------------------------------

TEST(ExplorationTest, BreadthFirstListsStatesTransitionsAndDeadlocks) {
  auto system = line(numbered(3));
  const Explored found = explored(*system, BFS);
  EXPECT_EQ(summary(3, 0, 1, 0, 3), found.out);
  EXPECT_EQ(header("des(0, 2, 3)") + "(0, s/go/A:p, 1)\n(1, s/go/A:p, 2)\n", found.aut);
  EXPECT_EQ("0 : 0,\n1 : 1,\n2 : 2,\n", found.state);
  EXPECT_EQ("2\n", found.deadlock);
  EXPECT_EQ("", found.pruned);
}

TEST(ExplorationTest, DepthFirstWritesThePathToADeadlockWithoutTheStateBeforeIt) {  // Deliberate
  auto system = line(numbered(3));
  const Explored found = explored(*system, DFS);
  // Two transitions and the deadlock marker are taken from the stack. State 1 has left the path
  // when the marker comes, because the marker was not counted among its pending transitions; and so
  // has state 0.
  EXPECT_EQ(summary(3, 0, 1, 0, 3), found.out);
  EXPECT_EQ(header("des(0, 2, 3)") + "(0, s/go/A:p, 1)\n(1, s/go/A:p, 2)\n", found.aut);
  EXPECT_EQ("0 : 0,\n1 : 1,\n2 : 2,\n", found.state);
  EXPECT_EQ("2 || 2,  :: s/go/A:p[[NULL]]\n", found.deadlock);
}

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

TEST(ExplorationTest, BreadthFirstReportsAnInitialDeadlock) {
  auto system = line(numbered(1));
  const Explored found = explored(*system, BFS);
  EXPECT_EQ(summary(1, 0, 1, 0, 1), found.out);
  EXPECT_EQ(header("des(0, 0, 1)"), found.aut);
  EXPECT_EQ("0 : 0,\n", found.state);
  EXPECT_EQ("0\n", found.deadlock);
}

TEST(ExplorationTest, DepthFirstReportsNoInitialDeadlock) {  // Deliberate
  auto system = line(numbered(1));
  const Explored found = explored(*system, DFS);
  EXPECT_EQ(summary(0, 0, 0, 0, 1), found.out);
  EXPECT_EQ(header("des(0, 0, 1)"), found.aut);
  EXPECT_EQ("0 : 0,\n", found.state);
  EXPECT_EQ("", found.deadlock);
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
    EXPECT_EQ(header("des(0, 2, 2)") + "(0, " + label + ", 1)\n(1, " + label + ", 0)\n", found.aut);
    EXPECT_EQ("0 : " + text + "1\n1 : " + text + "2\n", found.state);
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
      true);
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
  Joint* two = system.join("two", {atom->addPort("q", {{0, 2}})});
  system.join("three", {atom->addPort("r", {{0, 3}})});
  two->setDominated(true);
  // The list is three, two, one.
  for (const Traversal traversal : {BFS, DFS}) {
    const Explored found = explored(system, traversal);
    EXPECT_EQ(header("des(0, 1, 2)") + "(0, s/three/A:r, 1)\n", found.aut);
  }
}

TEST(ExplorationTest, NothingIsWrittenWithoutOutput) {
  auto system = line(numbered(3));
  TemporaryFiles files;
  for (const Traversal traversal : {BFS, DFS}) {
    ExploringScheduler scheduler(system.get(), traversal);
    scheduler.setFiles(files[0], files[1], files[2], files[3]);
    scheduler.disableOutput();
    testing::internal::CaptureStdout();
    scheduler.explore();
    EXPECT_EQ(files.contents(summary(3, 0, 1, 0, 3)),
              (Explored{testing::internal::GetCapturedStdout(), "", "", "", ""}));
  }
}

TEST(ExplorationTest, MissingFilesAreSkipped) {
  for (int missing = 0; missing < 4; ++missing) {
    for (const Traversal traversal : {BFS, DFS}) {
      auto system = line({"0,", "1,", "2 PRUNE,"});
      clearGlobals();
      TemporaryFiles files;
      FILE* given[] = {files[0], files[1], files[2], files[3]};
      given[missing] = nullptr;
      ExploringScheduler scheduler(system.get(), traversal);
      scheduler.setFiles(given[0], given[1], given[2], given[3]);
      testing::internal::CaptureStdout();
      scheduler.explore();
      const Explored found = files.contents(testing::internal::GetCapturedStdout());
      Explored whole = explored(*system, traversal);
      std::string* texts[] = {&whole.aut, &whole.state, &whole.pruned, &whole.deadlock};
      texts[missing]->clear();
      EXPECT_EQ(whole, found);
    }
  }
}

TEST(ExplorationTest, TheFilesAreClosedOnce) {
  auto system = line(numbered(3));
  ExploringScheduler scheduler(system.get(), BFS);
  scheduler.setFiles(std::tmpfile(), std::tmpfile(), nullptr, std::tmpfile());
  testing::internal::CaptureStdout();
  scheduler.run();
  EXPECT_FALSE(scheduler.hasFiles());
  scheduler.run();
  EXPECT_EQ(summary(3, 0, 1, 0, 3) + summary(3, 0, 1, 0, 3),
            testing::internal::GetCapturedStdout());
}

// ---- Markers -------------------------------------------------------------------------------

TEST(MarkerTest, BreadthFirstCountsTheTransitionIntoAnErrorWithoutWritingIt) {  // Deliberate
  auto system = line({"0,", "1,", "2 ERROR,"});
  const Explored found = explored(*system, BFS);
  EXPECT_EQ(summary(2, 0, 0, 0, 2) + INTERRUPTED +
                "Error path is:\n:: s/go/A:p\nFaulty atom : 2 ERROR,\n",
            found.out);
  EXPECT_EQ(header("des(0, 2, 2)") + "(0, s/go/A:p, 1)\n", found.aut);
  EXPECT_EQ("0 : 0,\n1 : 1,\n", found.state);
  EXPECT_EQ(nullptr, faulty_leaf);
}

TEST(MarkerTest, DepthFirstLooksAtAnErrorLikeAtAnyState) {  // Deliberate
  auto system = line({"0,", "1,", "2 ERROR,"});
  const Explored found = explored(*system, DFS);
  EXPECT_EQ(summary(2, 0, 0, 1, 3) + INTERRUPTED +
                "Path size : 0\nError path is:\n:: s/go/A:p\nFaulty atom : 2 ERROR,\n",
            found.out);
  EXPECT_EQ(header("des(0, 2, 3)") + "(0, s/go/A:p, 1)\n(1, s/go/A:p, 2)\n", found.aut);
  EXPECT_EQ("0 : 0,\n1 : 1,\n2 : 2 ERROR,\n", found.state);
  EXPECT_EQ("", found.deadlock);
}

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
    EXPECT_NE(std::string::npos, found.out.find(INTERRUPTED));
    EXPECT_EQ(std::string::npos, found.out.find("Faulty atom"));
    EXPECT_EQ(literallyExplored(system, traversal), found);
  }
}

TEST(MarkerTest, BreadthFirstSeesFlagsThatTheModelSetsWhileItFires) {
  auto system = line(numbered(3));
  atomOf(*system, 0)->setHook([](Automaton& self, const std::string& hook) {
    if (hook == "execute" && self.state() == 1) global_prune = true;
  });
  EXPECT_EQ(summary(1, 1, 0, 0, 2), explored(*system, BFS).out);
  EXPECT_EQ(" :: s/go/A:p[[NULL]]\n", explored(*system, BFS).pruned);
}

TEST(MarkerTest, DepthFirstForgetsFlagsThatTheModelSetsWhileItFires) {  // Deliberate
  auto system = line(numbered(3));
  atomOf(*system, 0)->setHook([](Automaton&, const std::string& hook) {
    if (hook == "execute") global_prune = global_error = true;
  });
  EXPECT_EQ(summary(3, 0, 1, 0, 3), explored(*system, DFS).out);
}

TEST(MarkerTest, AnErrorAtTheStartIsReportedWithItsAtom) {
  auto system = line({"0 ERROR,", "1,"});
  EXPECT_EQ(summary(0, 0, 0, 1, 1) + INTERRUPTED + "Error path is:\n:: \nFaulty atom : 0 ERROR,\n",
            explored(*system, BFS).out);
  EXPECT_EQ(summary(0, 0, 0, 1, 1) + INTERRUPTED +
                "Path size : 0\nError path is:\n:: \nFaulty atom : 0 ERROR,\n",
            explored(*system, DFS).out);
}

TEST(MarkerTest, DepthFirstShowsWhatIsLeftOfTheErrorPath) {
  // State 1 has two ways on; the second leads to the error while the first is still pending, so
  // states 0 and 1 are on the path.
  System system("s");
  auto* atom = system.add(new Automaton("A", &system, {"0,", "1,", "2,", "3 ERROR,"}));
  system.join("go", {atom->addPort("p", {{0, 1}})});
  system.join("error", {atom->addPort("r", {{1, 3}})});
  system.join("later", {atom->addPort("q", {{1, 2}})});
  // The list of state 1 is later, error; the one pushed last is taken first: error.
  const Explored found = explored(system, DFS);
  EXPECT_EQ(summary(2, 0, 0, 2, 3) + INTERRUPTED +
                "Path size : 1\nError path is:\n0, :: s/error/A:r\nFaulty atom : 3 ERROR,\n",
            found.out);
}

// ---- Special trees -------------------------------------------------------------------------

namespace {

// Remembers more than its text tells.
class RichLeaf : public Leaf {
 public:
  RichLeaf(const char* text, int secret) : Leaf(new Atomleaf(text)), mSecret(secret) {}
  RichLeaf(const RichLeaf&) = default;
  Node* copy() override { return new RichLeaf(*this); }
  int secret() const { return mSecret; }

 private:
  int mSecret;
};

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
    EXPECT_NE(std::string::npos, found.out.find("Final size : 21\n"));
    EXPECT_EQ(literallyExplored(*system, traversal), found);
  }
}

TEST(SpecialTreeTest, TheShapeMayChangeFromStateToState) {
  for (const Traversal traversal : {BFS, DFS}) {
    auto system = withSpecial<Shifty>();
    const Explored found = explored(*system, traversal);
    EXPECT_NE(std::string::npos, found.out.find("Final size : 21\n"));
    EXPECT_EQ(literallyExplored(*system, traversal), found);
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
    EXPECT_EQ(testing::internal::GetCapturedStderr(), messages);
    EXPECT_NE("", messages);
    EXPECT_EQ(expected, found);
  }
}

// ---- Compared with the literal search ------------------------------------------------------

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
      system->join("k" + std::to_string(i), somePorts(ports), between(0, 3) == 0);
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
    part->join("inner", somePorts(ports), between(0, 1) == 0);
    return part->group("group", somePorts(ports), between(0, 1) == 0)->xPort();
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
          << "seed " << seed << " traversal " << traversal << " limit " << limit;
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

// ---- Two levels ----------------------------------------------------------------------------

TEST(TwoLevelTest, BothSearchesFindTheSameStatesAndLabelledTransitions) {
  for (const bool broadcast : {false, true}) {
    System system("s");
    auto* part = system.add(new System("part", &system));
    auto* one = part->add(new Automaton("B0", part, numbered(3)));
    auto* two = part->add(new Automaton("B1", part, numbered(3)));
    Joint* group = part->group(
        "group", {one->addPort("out", {{1, 2}, {2, 0}}), two->addPort("out", {{1, 2}, {2, 1}})},
        broadcast);
    part->join("i0", {one->addPort("in", {{0, 1}})});
    part->join("i1", {two->addPort("in", {{0, 1}, {2, 0}})});
    auto* atom = system.add(new Automaton("A", &system, numbered(2)));
    system.join("outer", {atom->addPort("p", {{0, 1}, {1, 0}}), group->xPort()});
    const Explored wide = explored(system, BFS);
    const Explored deep = explored(system, DFS);
    EXPECT_EQ("", checked(wide).faults() + checked(wide).missing());
    EXPECT_EQ("", checked(deep).faults() + checked(deep).missing());
    EXPECT_EQ(checked(wide).transitionsByText(), checked(deep).transitionsByText());
    EXPECT_EQ(checked(wide).stateTexts(), checked(deep).stateTexts());
    EXPECT_LT(5U, checked(wide).stateCount());
  }
}

// ---- Table of states -----------------------------------------------------------------------

namespace {

std::unique_ptr<Node> pairOf(const std::string& one, const std::string& other) {
  auto node = std::make_unique<Nonleaf>(2);
  node->setChild(new Leaf(new Atomleaf(one.c_str())), 0);
  node->setChild(new Leaf(new Atomleaf(other.c_str())), 1);
  return node;
}

std::string textOf(const StateTable& table, StateNumber number) {
  const StateTable::Text text = table.text(number);
  return std::string(text.data != nullptr ? text.data : "", text.length);
}

}  // namespace

TEST(StateTableTest, NumbersTextsInTheOrderOfTheirInsertion) {
  StateTable table;
  for (int round = 0; round < 2; ++round) {
    for (StateNumber i = 0; i < 20000; ++i) {
      auto tree = pairOf(std::to_string(i), ",x");
      const StateTable::Found found = table.insert(tree.get());
      ASSERT_EQ(i, found.number);
      ASSERT_EQ(round == 0, found.isNew);
    }
  }
  EXPECT_EQ(20000U, table.count());
  EXPECT_EQ("0,x", textOf(table, 0));
  EXPECT_EQ("19999,x", textOf(table, 19999));
}

TEST(StateTableTest, RestoresTheTreeOfEveryText) {
  StateTable table;
  const std::vector<std::string> texts = {"",
                                          "a",
                                          "a,b",
                                          std::string(254, 'x'),
                                          std::string(255, 'y'),
                                          std::string(256, 'z'),
                                          std::string(70000, 'w'),
                                          std::string(2000000, 'v')};
  for (const std::string& one : texts) {
    for (const std::string& other : texts) table.insert(pairOf(one + "|", other).get());
  }
  for (int round = 0; round < 2; ++round) {
    StateNumber number = 0;
    for (const std::string& one : texts) {
      for (const std::string& other : texts) {
        Node* tree = table.restore(number);
        EXPECT_EQ(0, tree->compare(pairOf(one + "|", other).get()));
        EXPECT_EQ(number, tree->getIndex());
        EXPECT_EQ(tree, table.restore(number));
        EXPECT_EQ(one + "|" + other, textOf(table, number));
        ++number;
      }
    }
  }
}

TEST(StateTableTest, KeepsSpecialTreesUntilTheyAreForgotten) {
  StateTable table;
  auto plain = pairOf("a", "b");
  table.insert(plain.get());
  table.keep(0, plain);
  EXPECT_NE(nullptr, plain);
  EXPECT_EQ(nullptr, table.kept(0));

  auto rich = std::make_unique<Nonleaf>(2);
  rich->setChild(new Leaf(new Atomleaf("a")), 0);
  rich->setChild(new RichLeaf("c", 7), 1);
  Node* tree = rich.get();
  std::unique_ptr<Node> special = std::move(rich);
  EXPECT_EQ(1U, table.insert(special.get()).number);
  table.keep(1, special);
  EXPECT_EQ(nullptr, special);
  EXPECT_EQ(tree, table.kept(1));
  EXPECT_EQ(tree, table.restore(1));
  EXPECT_EQ(1U, tree->getIndex());
  table.forget(1);
  EXPECT_EQ(nullptr, table.kept(1));
  EXPECT_EQ("ac", textOf(table, 1));
}

// ---- Files ---------------------------------------------------------------------------------

namespace {

std::string headerFor(std::uint64_t transitions, std::uint64_t states) {
  FILE* file = std::tmpfile();
  {
    ExplorationFiles files(file, nullptr, nullptr, nullptr);
    files.begin();
    files.writeTransition(0, "l", 1);
    files.complete(transitions, states);
  }
  std::string content = contentOf(file);
  std::fclose(file);
  EXPECT_EQ("(0, l, 1)\n", content.substr(38));
  return content.substr(0, 38);
}

}  // namespace

TEST(ExplorationFilesTest, TheHeaderHas38BytesForAllCounts) {
  EXPECT_EQ(header("des(0, 0, 1)"), headerFor(0, 1));
  EXPECT_EQ(header("des(0, 2147483647, 2147483647)"), headerFor(2147483647, 2147483647));
  EXPECT_EQ(header("des(0, 2147483649, 2147483648)"), headerFor(2147483649, 2147483648));
  EXPECT_EQ(header("des(0, 10000000000000, 9999999999999)"),
            headerFor(10000000000000, 9999999999999));
  // 27 digits are the most that fit: then the header's newline is the last byte.
  EXPECT_EQ("des(0, 12345678901234, 1234567890123)\n", headerFor(12345678901234, 1234567890123));
}

TEST(ExplorationFilesTest, AHeaderThatIsTooLongRunsIntoTheFirstTransition) {  // Deliberate
  FILE* file = std::tmpfile();
  ExplorationFiles files(file, nullptr, nullptr, nullptr);
  files.begin();
  files.writeTransition(0, "label", 1);
  files.complete(12345678901234, 12345678901234);
  EXPECT_EQ("des(0, 12345678901234, 12345678901234)\n0, label, 1)\n", contentOf(file));
  std::fclose(file);
}

TEST(ExplorationFilesTest, CompletingTwiceLeavesTheLastHeaderAndEveryLine) {
  TemporaryFiles out;
  ExplorationFiles files(out[0], out[1], out[2], out[3]);
  files.begin();
  files.writeTransition(0, "a", 1);
  files.complete(1, 2);
  EXPECT_EQ(header("des(0, 1, 2)") + "(0, a, 1)\n", contentOf(out[0]));
  std::fseek(out[0], 0, SEEK_END);
  files.writeTransition(1, "b", 2);
  files.complete(10, 11);
  EXPECT_EQ(header("des(0, 10, 11)") + "(0, a, 1)\n(1, b, 2)\n", contentOf(out[0]));
  EXPECT_EQ(2U, files.transitions());
}

TEST(ExplorationFilesTest, BlocksLargerThanTheBufferAreWrittenWhole) {
  TemporaryFiles out;
  ExplorationFiles files(out[0], out[1], out[2], out[3]);
  const std::string text(1000000, 'x');
  files.writeState(7, text.data(), text.size());
  files.writeState(8, text.data(), 0);
  files.complete(0, 0);
  EXPECT_EQ("7 : " + text + "\n8 : \n", contentOf(out[1]));
}

TEST(ExplorationFilesTest, NumbersHaveAllTheirDigits) {
  TemporaryFiles out;
  OutputBuffer buffer(out[0]);
  for (const std::uint64_t number : {std::uint64_t{0}, std::uint64_t{9}, std::uint64_t{10},
                                     std::uint64_t{4294967296}, UINT64_MAX}) {
    buffer.put(number);
    buffer.put(" ");
  }
  buffer.flush();
  EXPECT_EQ("0 9 10 4294967296 18446744073709551615 ", contentOf(out[0]));
}

TEST(ExplorationFilesTest, WritingStopsAtTheFirstFailure) {
  FILE* full = std::fopen("/dev/full", "w+");
  ASSERT_NE(nullptr, full);
  OutputBuffer buffer(full);
  buffer.put("text");
  EXPECT_TRUE(buffer.isOpen());
  buffer.flush();
  EXPECT_FALSE(buffer.isOpen());
  buffer.put("more");
  buffer.flush();
  EXPECT_NE(0, std::ferror(full));
  EXPECT_EQ(0, std::fclose(full)) << "nothing is left in the stream";
}

// ---- Utilities -----------------------------------------------------------------------------

TEST(ObserverStateTest, TheFirstMarkedLeafDecides) {
  const auto observe = [](std::initializer_list<const char*> texts) {
    Nonleaf node(static_cast<int>(texts.size()));
    int i = 0;
    for (const char* text : texts) node.setChild(new Leaf(new Atomleaf(text)), i++);
    return ObserverState(&node);
  };
  EXPECT_EQ(0, observe({}));
  EXPECT_EQ(0, observe({"a", "ERRO", "PRUN"}));
  EXPECT_EQ(1, observe({"a", "xERRORx", "PRUNE"}));
  EXPECT_EQ(2, observe({"a", "PRUNE", "ERROR"}));
  EXPECT_EQ(1, observe({"PRUNE ERROR"}));
}

TEST(ObserverStateTest, LooksIntoTheWholeTreeAndAcceptsNull) {
  Nonleaf outer(3);
  auto* inner = new Nonleaf(1);
  inner->setChild(new Leaf(new Atomleaf("PRUNE")), 0);
  outer.setChild(new Leaf(static_cast<Atomleaf*>(nullptr)), 0);
  outer.setChild(inner, 2);
  EXPECT_EQ(2, ObserverState(&outer));
  EXPECT_EQ(0, ObserverState(nullptr));
}

TEST(StateNodeTest, EqualsComparesStatesByIdentityOfTheirLeaves) {  // Deliberate
  auto state = pairOf("a", "b");
  auto same = pairOf("a", "b");
  StateNode one(state.get(), 3);
  StateNode again(state.get(), 4);
  StateNode other(same.get(), 3);
  StateNode none(nullptr, 0);
  EXPECT_EQ(3U, one.quantity());
  EXPECT_TRUE(one.equals(&again));
  EXPECT_FALSE(one.equals(&other));
  EXPECT_FALSE(one.equals(&none));
  EXPECT_FALSE(none.equals(&one));
  EXPECT_TRUE(none.equals(&none));
  EXPECT_FALSE(one.equals(nullptr));
}

TEST(StateNodeTest, TakesItsSuccessorAtConstructionOrLater) {
  StateNode last(nullptr, 1);
  EXPECT_EQ(last.next(), nullptr);
  StateNode first(nullptr, 2, &last);
  EXPECT_EQ(first.next(), &last);
  first.setNext(nullptr);
  EXPECT_EQ(first.next(), nullptr);
}

TEST(StateNodeIterTest, AddsAtBothEndsAndPopsTheHead) {
  StateNodeIter list;
  EXPECT_TRUE(list.empty());
  EXPECT_TRUE(list.end());
  EXPECT_EQ(nullptr, list.popHead());
  StateNode a(nullptr, 1), b(nullptr, 2), c(nullptr, 3);
  list.addTail(&b);
  list.addTail(&c);
  list.addHead(&a);
  EXPECT_FALSE(list.empty());
  EXPECT_EQ(&a, list.popHead());
  EXPECT_EQ(nullptr, a.next());
  EXPECT_EQ(&b, list.popHead());
  EXPECT_EQ(&c, list.popHead());
  EXPECT_TRUE(list.empty());
}

TEST(StateNodeIterTest, NextGoesThroughTheListAndFromItsEndToTheHead) {
  StateNodeIter list;
  EXPECT_EQ(nullptr, list.next());
  StateNode a(nullptr, 1), b(nullptr, 2);
  list.addTail(&a);
  list.addTail(&b);
  EXPECT_TRUE(list.end());
  EXPECT_EQ(&a, list.next());
  EXPECT_EQ(&b, list.next());
  EXPECT_FALSE(list.end());
  EXPECT_EQ(nullptr, list.next());
  EXPECT_TRUE(list.end());
  EXPECT_EQ(&a, list.next());
  EXPECT_EQ(&a, list.popHead());
  EXPECT_EQ(&b, list.current());
}

TEST(StateNodeIterTest, AddCurrentPutsANodeBehindTheCurrentOne) {
  StateNodeIter list;
  StateNode a(nullptr, 1), b(nullptr, 2), c(nullptr, 3);
  list.addCurrent(&a);
  EXPECT_EQ(&a, list.head());
  EXPECT_EQ(&a, list.current());
  list.addCurrent(&c);
  EXPECT_EQ(&c, list.current());
  list.next();
  list.next();
  list.addCurrent(&b);
  EXPECT_EQ(&b, list.current());
  EXPECT_EQ(&a, list.head());
  EXPECT_EQ(&b, a.next());
  EXPECT_EQ(&c, b.next());
}

TEST(StateNodeIterTest, IsPresentFindsThePositionOfAnEqualState) {
  auto one = pairOf("a", "b");
  auto two = pairOf("c", "d");
  StateNode a(one.get(), 1), b(two.get(), 2), probe(two.get(), 9), absent(nullptr, 0);
  StateNodeIter list;
  list.addTail(&a);
  list.addTail(&b);
  int position = -1;
  EXPECT_TRUE(list.isPresent(&probe, position));
  EXPECT_EQ(1, position);
  EXPECT_FALSE(list.isPresent(&absent, position));
  EXPECT_EQ(1, position);
}
