// What local and repeatable states have in common, seen from outside: each exploration is compared
// with that of the same model without declaration.

#include "exploration/numbered-states.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "kit/explorations.hpp"
#include "kit/promised-models.hpp"

using namespace kit;

using Vesk::BitSet;
using Vesk::Locality;

// ---- BitSet ------------------------------------------------------------------------------------

TEST(BitSetTest, IsVisitedUpwardsAndEmptyAfterwards) {
  BitSet set(200);
  for (const std::size_t i : {199u, 64u, 0u, 63u, 128u}) set.set(i);
  set.set(128, false);
  EXPECT_TRUE(set.has(64));
  EXPECT_FALSE(set.has(128));
  std::vector<std::size_t> visited;
  set.takeAll([&visited](std::size_t i) { visited.push_back(i); });
  EXPECT_EQ((std::vector<std::size_t>{0, 63, 64, 199}), visited);
  set.takeAll([](std::size_t i) { FAIL() << i; });
}

TEST(BitSetTest, FindsTheNextOneBelow) {
  BitSet set(130);
  for (const std::size_t i : {0u, 63u, 129u}) set.set(i);
  EXPECT_EQ(129U, set.below(130));
  EXPECT_EQ(63U, set.below(129));
  EXPECT_EQ(63U, set.below(64));
  EXPECT_EQ(0U, set.below(63));
  EXPECT_EQ(BitSet::NONE, set.below(0));
  EXPECT_EQ(BitSet::NONE, BitSet(0).below(0));
}

// ---- Explorations ------------------------------------------------------------------------------

namespace {

using Fill = std::function<void(System&)>;

PromisedAtom* addAtom(System& system, const std::string& name, std::vector<std::string> texts) {
  return system.add(new PromisedAtom(name, &system, std::move(texts)));
}

// A port that moves the atom on in a ring, alone in a connector.
void addRing(System& system, PromisedAtom& atom) {
  std::map<int, int> transitions;
  for (int i = 0; i < atom.states(); ++i) transitions[i] = (i + 1) % atom.states();
  system.join(std::string("k") + atom.name(), {atom.addPort("p", transitions)});
}

}  // namespace

class NumberedStatesTest : public testing::TestWithParam<std::tuple<Locality, Traversal>> {
 protected:
  // What the declared model leaves, which must be what the undeclared one leaves.
  static Explored explore(const Fill& fill) {
    const auto [declared, traversal] = GetParam();
    const Explored found = exploredAs(declared, traversal, fill);
    leftLeaf = faulty_leaf;
    EXPECT_EQ(exploredAs(Locality::UNDECLARED, traversal, fill), found);
    return found;
  }

  static Leaf* leftLeaf;  // faulty_leaf when the declared model has been explored
};

Leaf* NumberedStatesTest::leftLeaf = nullptr;

TEST_P(NumberedStatesTest, StatesAreNumberedLikeThoseOfAnUndeclaredModel) {
  const Explored found = explore([](System& system) {
    addRing(system, *addAtom(system, "A", {"a,", "b,"}));
    addRing(system, *addAtom(system, "B", {"c;", "d;", "e;"}));
  });
  EXPECT_EQ(0U, found.aut.find("des(0, 12, 6)"));
}

TEST_P(NumberedStatesTest, WhatIsRaisedForATextIsRaisedAlsoWhileTheAtomStaysAsItIs) {
  const Explored found = explore([](System& system) {
    addAtom(system, "A", {"a"})->shown[0] = Signal::PRUNE_OWN;
    addRing(system, *addAtom(system, "B", {"0", "1"}));
  });
  EXPECT_NE("", found.pruned);
  EXPECT_NE(std::string::npos, found.pruned.find(" :: s/kB/B:p[[a]]\n"));
}

TEST_P(NumberedStatesTest, TheLastAtomForWhichSomethingIsRaisedIsTheFaultyOne) {
  const Explored found = explore([](System& system) {
    addRing(system, *addAtom(system, "A", {"0", "PRUNE A"}));
    addAtom(system, "B", {"b"})->shown[0] = Signal::LEAF;
  });
  EXPECT_NE(std::string::npos, found.pruned.find(" :: s/kA/A:p[[foreign]]\n"));
}

TEST_P(NumberedStatesTest, AnErrorNamesTheAtomThatHasTheMarker) {
  const Explored found = explore([](System& system) {
    addRing(system, *addAtom(system, "A", {"0", "1", "2 ERROR"}));
    addRing(system, *addAtom(system, "B", {"x", "y"}));
  });
  EXPECT_NE(std::string::npos, found.out.find("Faulty atom : 2 ERROR\n"));
}

TEST_P(NumberedStatesTest, NoLeafIsFaultyWhenTheStatesAreGone) {
  explore([](System& system) { addAtom(system, "A", {"PRUNE"}); });
  EXPECT_EQ(nullptr, leftLeaf);
}

TEST_P(NumberedStatesTest, TextsThatCollideAtTheStartMakeOneState) {
  // "1" with "23" reads like "12" with "3".
  const Explored found = explore([](System& system) {
    auto* one = addAtom(system, "A", {"1", "12"});
    auto* two = addAtom(system, "B", {"23", "3"});
    system.join("both", {one->addPort("p", {{0, 1}}), two->addPort("p", {{0, 1}})});
  });
  EXPECT_EQ("0 : 123\n", found.state);
}

TEST_P(NumberedStatesTest, TextsThatCollideLaterDoNotChangeTheNumbersBefore) {
  const Explored found = explore([](System& system) {
    addRing(system, *addAtom(system, "A", {"1", "2", "3", "12", "22"}));
    addRing(system, *addAtom(system, "B", {"23", "33", "3", ""}));
  });
  // 20 pairs, of which some read alike: 1 23 and 12 3, 1 33 and none, 2 23 and 22 3.
  EXPECT_EQ(0U, found.aut.find("des(0, "));
  EXPECT_NE(std::string::npos, found.out.find("Final size : 18\n"));
}

TEST_P(NumberedStatesTest, AnAtomMayHaveMoreTextsThanAByteHolds) {
  const Explored found = explore([](System& system) {
    addRing(system, *addAtom(system, "A", numbered(300)));
    addRing(system, *addAtom(system, "B", {"x", "y"}));
  });
  EXPECT_NE(std::string::npos, found.out.find("Final size : 600\n"));
}

#ifndef __SANITIZE_ADDRESS__
TEST_P(NumberedStatesTest, AnAtomMayHaveMoreTextsThanTwoBytesHold) {
  const Explored found = explore([](System& system) {
    addAtom(system, "0", {"z"});
    addRing(system, *addAtom(system, "A", numbered(66000)));
    auto* last = addAtom(system, "B", numbered(40));
    system.join("end", {last->addPort("p", {})});
  });
  EXPECT_NE(std::string::npos, found.out.find("Final size : 66000\n"));
}
#endif

TEST_P(NumberedStatesTest, ASystemWithoutAtomsHasOneState) {
  const Explored found = explore([](System& system) { system.join("k", {}); });
  EXPECT_EQ(header("des(0, 1, 1)") + "(0, s/k/, 0)\n", found.aut);
}

INSTANTIATE_TEST_SUITE_P(Ways, NumberedStatesTest,
                         testing::Combine(testing::Values(Locality::LOCAL, Locality::REPEATABLE),
                                          testing::Values(BFS, DFS)));
