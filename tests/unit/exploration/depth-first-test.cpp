// What only a depth-first search does.

#include "exploration/depth-first.hpp"

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

TEST(ExplorationTest, DepthFirstReportsNoInitialDeadlock) {  // Deliberate
  auto system = line(numbered(1));
  const Explored found = explored(*system, DFS);
  EXPECT_EQ(summary(0, 0, 0, 0, 1), found.out);
  EXPECT_EQ(header("des(0, 0, 1)"), found.aut);
  EXPECT_EQ("0 : 0,\n", found.state);
  EXPECT_EQ("", found.deadlock);
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

TEST(MarkerTest, DepthFirstForgetsFlagsThatTheModelSetsWhileItFires) {  // Deliberate
  auto system = line(numbered(3));
  atomOf(*system, 0)->setHook([](Automaton&, const std::string& hook) {
    if (hook == "execute") global_prune = global_error = true;
  });
  EXPECT_EQ(summary(3, 0, 1, 0, 3), explored(*system, DFS).out);
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
