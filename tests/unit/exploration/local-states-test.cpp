#include "exploration/local-states.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "kit/explorations.hpp"
#include "kit/promised-models.hpp"

using namespace kit;

using Vesk::Locality;

namespace {

// Its text never changes. It announces its first two ports after setState(), and after a port the
// one of the next two that belongs to it.
class Echo : public Atom {
 public:
  explicit Echo(const Compound* holder) : Atom("E", holder) {
    for (const char* name : {"left", "right", "afterLeft", "afterRight"}) {
      addPort(new Port(name, this));
    }
  }
  using Atom::initialize;
  void initialize() override { announce(true, true, false, false); }
  void execute(Port* port) override {
    announce(false, false, port == mPorts[0], port == mPorts[1]);
  }
  Node* getState() override { return new Leaf(new Atomleaf("e")); }
  void setState(Node*) override { initialize(); }

 private:
  void announce(bool left, bool right, bool afterLeft, bool afterRight) {
    const bool enabled[] = {left, right, afterLeft, afterRight};
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(enabled[i]);
  }
};

// Left and right lead to two states of another atom.
void fillWithEcho(System& system) {
  auto* echo = system.add(new Echo(&system));
  auto* other = system.add(new PromisedAtom("B", &system, {"0", "1", "2"}));
  system.join("left", {echo->ports()[0], other->addPort("l", {{0, 1}})});
  system.join("right", {echo->ports()[1], other->addPort("r", {{0, 2}})});
  system.join("afterLeft", {echo->ports()[2]});
  system.join("afterRight", {echo->ports()[3]});
}

}  // namespace

TEST(LocalStatesTest, AnAtomMayAnnounceOtherPortsAfterEachPortAtOneText) {
  const Explored found = exploredAs(Locality::LOCAL, DFS, fillWithEcho);
  EXPECT_EQ(exploredAs(Locality::UNDECLARED, DFS, fillWithEcho), found);
  EXPECT_NE(std::string::npos, found.aut.find("s/afterLeft/E:afterLeft, "));
  EXPECT_NE(std::string::npos, found.aut.find("s/afterRight/E:afterRight, "));
}

namespace {

// After it has been executed it announces one port more than after setState() with the same text.
class Eager : public Automaton {
 public:
  explicit Eager(const Compound* holder)
      : Automaton("A", holder, {"0", "1"}),
        step(addPort("step", {{0, 1}})),
        more(new Port("more", this)) {
    mPorts.add(more);
  }
  void execute(Port* port) override {
    if (port != more) Automaton::execute(port);
    more->setSynced(port != more);
  }
  void setState(Node* state) override {
    Automaton::setState(state);
    more->setSynced(false);
  }

  Port* const step;
  Port* const more;
};

}  // namespace

// It is 1 in two states, first as it was executed, then as it was restored while another atom
// moved.
TEST(LocalStatesTest, WhatAnAtomAnnouncedWhenItWasExecutedIsForgottenWhenItIsRestored) {
  const auto fill = [](System& system) {
    auto* eager = system.add(new Eager(&system));
    auto* other = system.add(new Automaton("B", &system, {"0", "1"}));
    system.join("step", {eager->step});
    system.join("other", {other->addPort("p", {{0, 1}})});
    system.join("more", {eager->more});
  };
  const Explored found = exploredAs(Locality::LOCAL, DFS, fill);
  EXPECT_EQ(exploredAs(Locality::UNDECLARED, DFS, fill), found);
  EXPECT_EQ(header("des(0, 5, 4)") +
                "(0, s/step/A:step, 1)\n(1, s/other/B:p, 2)\n(1, s/more/A:more, 1)\n"
                "(0, s/other/B:p, 3)\n(3, s/step/A:step, 2)\n",
            found.aut);
}

TEST(LocalStatesTest, EveryTransitionFiresForReal) {
  for (const Traversal traversal : {BFS, DFS}) {
    std::string written[2];
    for (const Locality declared : {Locality::UNDECLARED, Locality::LOCAL}) {
      const Explored found = exploredAs(declared, traversal, [](System& system) {
        auto* one = system.add(new PromisedAtom("A", &system, {"0", "1"}));
        auto* other = system.add(new PromisedAtom("B", &system, {"0", "1"}));
        one->speaks = true;
        system.join("a", {one->addPort("p", {{0, 1}, {1, 0}})});
        system.join("b", {other->addPort("p", {{0, 1}, {1, 0}})});
      });
      written[declared == Locality::LOCAL ? 1 : 0] = found.out;
    }
    EXPECT_EQ(written[0], written[1]);
    EXPECT_NE(std::string::npos, written[1].find("A: 0\n"));
  }
}

TEST(LocalStatesTest, WhatExecuteRaisesIsSeenByTheBreadthFirstSearchAlone) {
  const auto fill = [](System& system) {
    auto* atom = system.add(new PromisedAtom("A", &system, {"0", "1", "2"}));
    atom->raised[1] = Signal::PRUNE_LEAF;
    system.join("a", {atom->addPort("p", {{0, 1}, {1, 2}})});
  };
  EXPECT_EQ(" :: s/a/A:p[[foreign]]\n", exploredAs(Locality::LOCAL, BFS, fill).pruned);
  EXPECT_EQ("", exploredAs(Locality::LOCAL, DFS, fill).pruned);
}
