// What only a breadth-first search does.

#include "exploration/breadth-first.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/explorations.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

Automaton* atomOf(System& system, int i) {
  return static_cast<Automaton*>(system.components()[i]);
}

}  // namespace

TEST(ExplorationTest, BreadthFirstListsStatesTransitionsAndDeadlocks) {
  auto system = line(numbered(3));
  const Explored found = explored(*system, BFS);
  EXPECT_EQ(summary(3, 0, 1, 0, 3), found.out);
  EXPECT_EQ(header("des(0, 2, 3)") + "(0, s/go/A:p, 1)\n(1, s/go/A:p, 2)\n", found.aut);
  EXPECT_EQ("0 : 0,\n1 : 1,\n2 : 2,\n", found.state);
  EXPECT_EQ("2\n", found.deadlock);
  EXPECT_EQ("", found.pruned);
}

TEST(ExplorationTest, BreadthFirstReportsAnInitialDeadlock) {
  auto system = line(numbered(1));
  const Explored found = explored(*system, BFS);
  EXPECT_EQ(summary(1, 0, 1, 0, 1), found.out);
  EXPECT_EQ(header("des(0, 0, 1)"), found.aut);
  EXPECT_EQ("0 : 0,\n", found.state);
  EXPECT_EQ("0\n", found.deadlock);
}

TEST(MarkerTest, BreadthFirstCountsTheTransitionIntoAnErrorWithoutWritingIt) {  // Deliberate
  auto system = line({"0,", "1,", "2 ERROR,"});
  const Explored found = explored(*system, BFS);
  EXPECT_EQ(summary(2, 0, 0, 0, 2) + INTERRUPTED + "Faulty atom : 2 ERROR,\n", found.out);
  EXPECT_EQ(header("des(0, 2, 2)") + "(0, s/go/A:p, 1)\n", found.aut);
  EXPECT_EQ("0 : 0,\n1 : 1,\n", found.state);
  EXPECT_EQ(nullptr, faulty_leaf);
}

TEST(MarkerTest, BreadthFirstSeesFlagsThatTheModelSetsWhileItFires) {
  auto system = line(numbered(3));
  atomOf(*system, 0)->setHook([](Automaton& self, const std::string& hook) {
    if (hook == "execute" && self.state() == 1) global_prune = true;
  });
  EXPECT_EQ(summary(1, 1, 0, 0, 2), explored(*system, BFS).out);
  EXPECT_EQ(" :: s/go/A:p[[NULL]]\n", explored(*system, BFS).pruned);
}
