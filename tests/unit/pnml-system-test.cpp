// The system of components that stands for a net.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/explorations.hpp"
#include "kit/output.hpp"
#include "kit/schedulers.hpp"
#include "net-system.hpp"

namespace {

using pnml::Net;

// Places p, q and r with 1, 0 and 12 tokens; s and t move a token from p to q, u needs q and r
// and leaves them, v fills r while q has fewer than two tokens.
Net smallNet() {
  Net net;
  net.id = "net";
  net.places = {{"p", 1}, {"q", 0}, {"r", 12}};
  net.transitions = {{"s", {}, {{0, 1, 0, 0}, {1, 0, 1, 0}}},
                     {"t", {}, {{0, 1, 0, 0}, {1, 0, 1, 0}}},
                     {"u", {}, {{1, 1, 1, 0}, {2, 3, 3, 0}}},
                     {"v", {}, {{1, 0, 0, 2}, {2, 0, 5, 0}}}};
  return net;
}

PlaceAtom& place(NetSystem& system, int index) {
  return *static_cast<PlaceAtom*>(system.components()[index]);
}

std::string textOf(Component& component) {
  const std::unique_ptr<Node> state(component.getState());
  char* printed = state->printNode();
  std::string text = printed;
  std::free(printed);
  return text;
}

void restore(PlaceAtom& place, const std::string& text) {
  Leaf state(new Atomleaf(text.c_str()));
  place.setState(&state);
}

// The text has a number and a comma for each place.
void restore(NetSystem& system, const std::string& text) {
  std::size_t start = 0;
  for (int i = 0; start < text.size(); ++i) {
    const std::size_t end = text.find(',', start) + 1;
    restore(place(system, i), text.substr(start, end - start));
    start = end;
  }
}

std::set<std::string> legalIn(NetSystem& system) {
  std::set<std::string> names;
  for (Connector* it = system.activate(false); it != nullptr; it = it->next()) {
    names.insert(it->name());
  }
  return names;
}

Connector& connector(NetSystem& system, int index) {
  return *system.connectors()[index];
}

std::string indexed(const std::string& name, int i) {
  return name + std::to_string(i);
}

// Each of `busy` processes goes from a to b alone; `all` takes them back together. The other places
// only have to keep their token. Process i has the places 2i and 2i + 1.
Net barrier(int processes, int busy) {
  Net net;
  net.id = "n";
  pnml::Transition all{"all", {}, {}};
  for (int i = 0; i < processes; ++i) {
    const bool goes = i < busy;
    net.places.push_back({indexed("a", i), goes ? 1 : 0});
    net.places.push_back({indexed("b", i), goes ? 0 : 1});
    if (goes) {
      net.transitions.push_back({indexed("go", i), {}, {{2 * i, 1, 0, 0}, {2 * i + 1, 0, 1, 0}}});
      all.uses.push_back({2 * i, 0, 1, 0});
    }
    all.uses.push_back({2 * i + 1, 1, goes ? 0 : 1, 0});
  }
  net.transitions.push_back(all);
  return net;
}

// One transition that takes a token from each of n places. The last one has weight 3 and is to have
// fewer than five tokens.
Net wideNet(int n) {
  Net net;
  net.id = "n";
  pnml::Transition wide{"t", {}, {}};
  for (int i = 0; i < n; ++i) {
    net.places.push_back({indexed("p", i), i + 1 < n ? 1 : 4});
    wide.uses.push_back({i, 1, 0, 0});
  }
  wide.uses.back() = {n - 1, 3, 0, 5};
  net.transitions = {wide};
  return net;
}

std::string wideLabel(int n) {
  std::string label = "n/t/";
  for (int i = 0; i + 1 < n; ++i) label += indexed("p", i) + ":-1|";
  return label + indexed("p", n - 1) + ":-3<5";
}

std::string wideText(int n, int last) {
  std::string text;
  for (int i = 0; i + 1 < n; ++i) text += "1,";
  return text + std::to_string(last) + ",";
}

void declareAll(Compound& system, Vesk::Locality locality) {
  for (Component* component : system.components()) {
    if (component->isAtom()) static_cast<Atom*>(component)->declare(locality);
  }
  for (Connector* each : system.connectors()) each->declare(locality);
}

// Up to eight places with few tokens, and transitions that use up to all of them. None puts more
// tokens than it takes, so there are few states.
Net randomNet(std::mt19937& random) {
  const auto upTo = [&random](unsigned int n) { return static_cast<int>(random() % (n + 1)); };
  Net net;
  net.id = "n";
  const int places = 4 + upTo(4);
  for (int p = 0; p < places; ++p) net.places.push_back({indexed("p", p), upTo(3)});
  for (int t = 1 + upTo(5); t > 0; --t) {
    pnml::Transition transition{indexed("t", t), {}, {}};
    int tokens = 0;
    for (int p = upTo(2); p < places; p += 1 + upTo(1)) {
      pnml::Use use{p, upTo(2) == 0 ? 1 + upTo(1) : 0, 0, upTo(4) == 0 ? 1 + upTo(3) : 0};
      tokens += use.consumed;
      use.produced = std::min(upTo(2), tokens);
      tokens -= use.produced;
      if (use.consumed + use.produced + use.below > 0) transition.uses.push_back(use);
    }
    net.transitions.push_back(transition);
  }
  return net;
}

// What a net shows when connectors have so many ports.
struct Shown {
  kit::Explored breadthFirst, depthFirst;
  std::string maximalSteps, heap, timed;
};

bool operator==(const Shown& one, const Shown& other) {
  return one.breadthFirst == other.breadthFirst && one.depthFirst == other.depthFirst &&
         one.maximalSteps == other.maximalSteps && one.heap == other.heap &&
         one.timed == other.timed;
}

std::ostream& operator<<(std::ostream& out, const Shown& shown) {
  return out << shown.breadthFirst << shown.depthFirst << shown.maximalSteps << shown.heap
             << shown.timed;
}

std::string traceOf(const Net& net, int mostPorts, void (Scheduler::*loop)()) {
  NetSystem system(net, mostPorts);
  kit::OpenScheduler scheduler(&system);
  scheduler.parse({"--limit", "20"});
  std::string trace;
  const std::string errors = kit::errorsOf([&] {
    trace = kit::traceOf(scheduler, [&] { kit::outputOf([&] { (scheduler.*loop)(); }); });
  });
  return trace + errors;
}

Shown shownBy(const Net& net, int mostPorts) {
  NetSystem system(net, mostPorts);
  return {kit::explored(system, kit::BFS), kit::explored(system, kit::DFS),
          traceOf(net, mostPorts, &Scheduler::runOptimizedExecution),
          traceOf(net, mostPorts, &Scheduler::runOptimizedExec2),
          traceOf(net, mostPorts, &Scheduler::runRandomExecution)};
}

// Whatever is declared, and by the rules of exploration.
void expectSameWithAnyPromise(const Net& net, kit::Traversal traversal) {
  NetSystem system(net);
  const kit::Explored expected = kit::literallyExplored(system, traversal);
  for (const Vesk::Locality locality :
       {Vesk::Locality::REPEATABLE, Vesk::Locality::LOCAL, Vesk::Locality::UNDECLARED}) {
    declareAll(system, locality);
    EXPECT_EQ(expected, kit::explored(system, traversal)) << static_cast<int>(locality);
  }
}

}  // namespace

// ---- Structure ---------------------------------------------------------------------------------

TEST(PnmlSystemTest, APlaceIsAnAtomAndATransitionARendezvous) {
  NetSystem system(smallNet());
  EXPECT_STREQ("net", system.name());
  ASSERT_EQ(3, system.components().count());
  EXPECT_STREQ("q", system.components()[1]->name());
  EXPECT_TRUE(system.components()[1]->isAtom());
  ASSERT_EQ(4, system.connectors().count());
  EXPECT_STREQ("t", connector(system, 1).name());
  EXPECT_FALSE(connector(system, 1).isBroadcast());
}

TEST(PnmlSystemTest, TransitionsThatUseAPlaceAlikeShareAPort) {
  NetSystem system(smallNet());
  EXPECT_EQ(1, place(system, 0).ports().count());
  EXPECT_EQ(3, place(system, 1).ports().count());
  EXPECT_EQ(connector(system, 0).ports()[0], connector(system, 1).ports()[0]);
  EXPECT_EQ(connector(system, 0).ports()[1], connector(system, 1).ports()[1]);
}

TEST(PnmlSystemTest, LabelsNameTheNetTheTransitionAndWhatItDoesWithItsPlaces) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  BitVector both(0);
  both.add(1);
  EXPECT_STREQ("net/s/p:-1|q:+1", connector(system, 0).rt_label(both));
  EXPECT_STREQ("net/u/q:-1+1|r:-3+3", connector(system, 2).rt_label(both));
  EXPECT_STREQ("net/v/q:<2|r:+5", connector(system, 3).rt_label(both));
}

// ---- Behaviour ---------------------------------------------------------------------------------

TEST(PnmlSystemTest, ATransitionIsLegalWhenAllOfItsPlacesAllowIt) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  EXPECT_EQ((std::set<std::string>{"s", "t", "v"}), legalIn(system));
  restore(system, "0,1,3,");
  EXPECT_EQ((std::set<std::string>{"u", "v"}), legalIn(system));
  restore(system, "0,2,2,");
  EXPECT_EQ((std::set<std::string>{}), legalIn(system));
}

TEST(PnmlSystemTest, FiringMovesTheTokens) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  legalIn(system);
  connector(system, 0).execute();
  EXPECT_EQ("0,1,12,", textOf(system)) << "after the first transition";
  EXPECT_EQ((std::set<std::string>{"u", "v"}), legalIn(system));
  connector(system, 2).execute();
  EXPECT_EQ("0,1,12,", textOf(system)) << "after the third one, which changes nothing";
  connector(system, 3).execute();
  EXPECT_EQ("0,1,17,", textOf(system));
}

TEST(PnmlSystemTest, AnInhibitorArcCountsTheTokensBeforeTheTransitionTakesAny) {
  Net net;
  net.places = {{"p", 3}};
  net.transitions = {{"t", {}, {{0, 2, 0, 3}}}};
  NetSystem system(net);
  system.initialize(nullptr);
  EXPECT_TRUE(legalIn(system).empty()) << "with three tokens";
  restore(system, "2,");
  EXPECT_EQ((std::set<std::string>{"t"}), legalIn(system));
  restore(system, "1,");
  EXPECT_TRUE(legalIn(system).empty()) << "with one token";
}

TEST(PnmlSystemTest, ATransitionWithoutPlacesIsAlwaysLegal) {
  Net net;
  net.id = "n";
  net.transitions = {{"t", {}, {}}};
  NetSystem system(net);
  system.initialize(nullptr);
  EXPECT_EQ((std::set<std::string>{"t"}), legalIn(system));
  EXPECT_STREQ("n/t/", connector(system, 0).label());
  connector(system, 0).execute();
  EXPECT_EQ("", textOf(system));
}

TEST(PnmlSystemTest, PortsAreAnnouncedAgainOnlyWhenTheyChange) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  Port* take = place(system, 0).ports()[0];
  EXPECT_TRUE(take->synced()) << "with the tokens of the start";
  place(system, 0).setTokens(5);
  EXPECT_TRUE(take->synced()) << "with five tokens";
  place(system, 0).setTokens(0);
  EXPECT_FALSE(take->synced());
}

TEST(PnmlSystemTest, InitialisingAgainRestoresTheInitialMarking) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  restore(system, "7,7,7,");
  system.initialize(nullptr);
  EXPECT_EQ("1,0,12,", textOf(system));
}

TEST(PnmlSystemTest, MoreTokensThanAnIntHoldsEndTheRun) {
  Net net;
  net.places = {{"sink", INT_MAX - 1}};
  net.transitions = {{"t", {}, {{0, 0, 1, 0}}}};
  NetSystem system(net);
  system.initialize(nullptr);
  legalIn(system);
  connector(system, 0).execute();
  EXPECT_EQ("2147483647,", textOf(system));
  legalIn(system);
  try {
    connector(system, 0).execute();
    FAIL() << "no exception";
  } catch (const std::overflow_error& error) {
    EXPECT_STREQ("place sink gets 2147483648 tokens, at most 2147483647 are possible",
                 error.what());
  }
}

TEST(PnmlSystemTest, ASelfLoopAtTheLargestCountIsPossible) {
  Net net;
  net.places = {{"p", INT_MAX}};
  net.transitions = {{"t", {}, {{0, INT_MAX, INT_MAX, 0}}}};
  NetSystem system(net);
  system.initialize(nullptr);
  legalIn(system);
  connector(system, 0).execute();
  EXPECT_EQ("2147483647,", textOf(system));
}

// ---- States ------------------------------------------------------------------------------------

TEST(PnmlSystemTest, APlaceByItselfCapturesAndRestoresItsTokens) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  EXPECT_EQ("12,", textOf(place(system, 2)));
  restore(place(system, 2), "2147483647,");
  EXPECT_EQ(2147483647, place(system, 2).tokens());
  EXPECT_EQ("1,0,2147483647,", textOf(system));
}

TEST(PnmlSystemTest, RestoredStatesAreCapturedAsTheyWere) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  for (const char* text : {"1,0,12,", "0,1,12,", "10,1,2,", "1,10,2,", "1,1,10,", "999,1000,0,",
                           "0,0,0,", "0,0,0,", "2147483647,2147483647,2147483647,", "1,0,12,"}) {
    restore(system, text);
    EXPECT_EQ(text, textOf(system)) << text;
    EXPECT_EQ(text, textOf(place(system, 0)) + textOf(place(system, 1)) + textOf(place(system, 2)))
        << text;
  }
}

TEST(PnmlSystemTest, TheStateOfANetIsThatOfItsPlaces) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  const std::unique_ptr<Node> state(system.getState());
  restore(system, "0,1,2,");
  EXPECT_EQ("0,1,2,", textOf(system)) << "the other state";
  system.setState(state.get());
  EXPECT_EQ("1,0,12,", textOf(system));
  EXPECT_EQ((std::set<std::string>{"s", "t", "v"}), legalIn(system));
}

TEST(PnmlSystemTest, PlacesAndTransitionsPromiseThatWhatTheyDoCanBeRepeated) {
  NetSystem system(wideNet(129));
  EXPECT_EQ(Vesk::Locality::REPEATABLE, place(system, 128).locality());
  EXPECT_EQ(Vesk::Locality::REPEATABLE, connector(system, 0).locality());
  system.initialize(nullptr);
  ASSERT_TRUE(system.components()[129]->isCompound());
  auto* group = static_cast<Compound*>(system.components()[129]);
  EXPECT_EQ(Vesk::Locality::REPEATABLE, group->connectors()[0]->locality());
}

TEST(PnmlSystemTest, ExplorationFindsTheSameWhateverIsPromised) {
  Net net = smallNet();
  net.transitions[3].uses[1].produced = 0;  // or the net has no bound
  for (const kit::Traversal traversal : {kit::BFS, kit::DFS}) {
    SCOPED_TRACE(kit::nameOf(traversal));
    expectSameWithAnyPromise(net, traversal);
  }
}

// ---- Wide transitions --------------------------------------------------------------------------

TEST(PnmlSystemTest, UpTo128PlacesNeedNoGroups) {
  NetSystem system(wideNet(128));
  system.initialize(nullptr);
  EXPECT_EQ(128, system.components().count());
  EXPECT_EQ(128, connector(system, 0).ports().count());
  EXPECT_EQ(1, place(system, 0).links().count());
}

TEST(PnmlSystemTest, MorePlacesTakePartInGroups) {
  NetSystem system(wideNet(129));
  system.initialize(nullptr);
  EXPECT_EQ(129 + 2, system.components().count());
  EXPECT_EQ(1, system.connectors().count());
  EXPECT_EQ(2, connector(system, 0).ports().count());
  EXPECT_EQ(wideText(129, 4), textOf(system)) << "groups have no state";
}

// 16384 ports are 128 groups of 128.
TEST(PnmlSystemTest, AWideTransitionReadsAndFiresLikeAnyOther) {
  for (const int n : {129, 256, 300, 16384, 16385}) {
    SCOPED_TRACE(n);
    NetSystem system(wideNet(n));
    system.initialize(nullptr);
    ASSERT_EQ((std::set<std::string>{"t"}), legalIn(system));
    EXPECT_EQ(wideLabel(n), connector(system, 0).label());
    connector(system, 0).execute();
    for (int i = 0; i + 1 < n; ++i) ASSERT_EQ(0, place(system, i).tokens()) << i;
    EXPECT_EQ(1, place(system, n - 1).tokens());
    EXPECT_TRUE(legalIn(system).empty());
  }
}

TEST(PnmlSystemTest, AWideTransitionIsLegalWhenAllOfItsPlacesAllowIt) {
  for (const int n : {129, 300, 16385}) {
    SCOPED_TRACE(n);
    NetSystem system(wideNet(n));
    system.initialize(nullptr);
    for (int tokens = 0; tokens <= 6; ++tokens) {
      place(system, n - 1).setTokens(tokens);
      EXPECT_EQ(tokens == 3 || tokens == 4, !legalIn(system).empty()) << tokens << " tokens";
    }
    place(system, n - 1).setTokens(4);
    place(system, 127).setTokens(0);
    EXPECT_TRUE(legalIn(system).empty()) << "without a token in the first group";
  }
}

// Of the processes that go, any have gone: 2^busy states. Each of them is left by those that have
// not, busy * 2^(busy - 1) transitions, and the last one by all together.
TEST(PnmlSystemTest, ABarrierHasTheStatesOfItsProcesses) {
  for (const int processes : {64, 65, 150, 300}) {
    SCOPED_TRACE(processes);
    NetSystem system(barrier(processes, 3));
    for (const kit::Traversal traversal : {kit::BFS, kit::DFS}) {
      const kit::Explored explored = kit::explored(system, traversal);
      EXPECT_EQ(0u, explored.aut.find("des(0, 13, 8)")) << kit::nameOf(traversal);
      EXPECT_EQ("", explored.deadlock) << kit::nameOf(traversal);
    }
  }
}

TEST(PnmlSystemTest, ExplorationOfABarrierFindsTheSameWhateverIsPromised) {
  for (const kit::Traversal traversal : {kit::BFS, kit::DFS}) {
    SCOPED_TRACE(kit::nameOf(traversal));
    expectSameWithAnyPromise(barrier(65, 3), traversal);
    expectSameWithAnyPromise(barrier(300, 3), traversal);
    expectSameWithAnyPromise(wideNet(300), traversal);
  }
}

// Nothing of a run, timed or not, shows how many ports a connector has.
TEST(PnmlSystemTest, GroupsAreNotSeenFromOutside) {
  std::mt19937 random(1);
  std::set<std::string> heaps;
  for (int round = 0; round < 300; ++round) {
    const Net net = randomNet(random);
    const Shown expected = shownBy(net, Connector::MAX_PORTS);
    heaps.insert(expected.heap);
    for (const int most : {2, 3}) {
      ASSERT_EQ(expected, shownBy(net, most)) << "round " << round << ", up to " << most;
    }
  }
  EXPECT_LT(100u, heaps.size()) << "different runs";
}

TEST(PnmlSystemTest, InitialisingAgainKeepsTheGroups) {
  NetSystem system(wideNet(129));
  system.initialize(nullptr);
  system.initialize(nullptr);
  EXPECT_EQ(131, system.components().count());
  EXPECT_EQ((std::set<std::string>{"t"}), legalIn(system));
}

// Simulated time does not pass while something can fire, real time does.
TEST(PnmlSystemTest, ANetFiresAtOnceInSimulatedTimeAndAtAnyTimeInRealTime) {
  class Passing : public PlatformClock {
   public:
    Passing() : PlatformClock("passing") {}
    Vesk::Time time() const override { return Vesk::Time(0); }
    void wait(const Vesk::Time&) override {}
  };
  Passing passing;
  SimuClock simulated("simulated");
  for (PlatformClock* platform :
       {static_cast<PlatformClock*>(&passing), static_cast<PlatformClock*>(&simulated)}) {
    LogicalClock clock("logical", *platform);
    NetSystem system(smallNet());
    system.initialize(&clock);
    const Constraint* const timing = place(system, 0).ports()[0]->constraint();
    EXPECT_EQ(timing != nullptr, platform == &simulated);
    system.initialize(&clock);
    EXPECT_EQ(place(system, 0).ports()[0]->constraint(), timing) << "the second time";
    EXPECT_EQ("1,0,12,", textOf(system));
  }
}
