// Levels, shortest paths and parts of a graph.
#include "search.hpp"

#include <gtest/gtest.h>

#include <set>
#include <utility>
#include <vector>

#include "part.hpp"

namespace {

using namespace Vesk::Lts;

//   0 -a-> 1 -a-> 3 -b-> 0
//   0 -b-> 2 -a-> 3, 2 -c-> 4;  5 -a-> 0 is not reached
Graph diamond() {
  GraphBuilder builder;
  for (const char* label : {"a", "b", "c"}) builder.labels().intern(label);
  builder.add(0, 0, 1);
  builder.add(0, 1, 2);
  builder.add(1, 0, 3);
  builder.add(2, 0, 3);
  builder.add(2, 2, 4);
  builder.add(3, 1, 0);
  builder.add(5, 0, 0);
  return builder.finish(0);
}

std::vector<State> statesOf(const Graph& graph, const Path& path) {
  std::vector<State> states{path.start};
  for (EdgeIndex edge : path.edges) {
    EXPECT_EQ(states.back(), graph.source(edge));
    states.push_back(graph.edge(edge).target);
  }
  return states;
}

class LtsSearchTest : public testing::Test {
 protected:
  std::vector<State> wayTo(State from, const std::vector<State>& wanted, std::uint64_t n = 1) {
    ShortestPaths paths(mGraph, from);
    const auto path = paths.toState(
        [&](State state) { return std::count(wanted.begin(), wanted.end(), state) != 0; }, n);
    return path ? statesOf(mGraph, *path) : std::vector<State>{};
  }
  using States = std::vector<State>;

  const Graph mGraph = diamond();
};

TEST_F(LtsSearchTest, LevelsAreDistances) {
  const Levels levels(mGraph);
  EXPECT_EQ((std::vector<std::uint64_t>{1, 2, 2}), levels.sizes());
  EXPECT_EQ(2u, levels.of(4));
  EXPECT_EQ(Levels::UNREACHED, levels.of(5));
  EXPECT_EQ(5u, levels.reached());
  EXPECT_EQ(1u, Levels(mGraph, 5).of(0));
}

TEST_F(LtsSearchTest, TheWayIsAShortestOne) {
  EXPECT_EQ((States{0, 2, 4}), wayTo(0, {4}));
  EXPECT_EQ((States{0, 1, 3}), wayTo(0, {3}));
  EXPECT_EQ((States{1, 3, 0, 2}), wayTo(1, {2}));
}

TEST_F(LtsSearchTest, TheStartIsReachedWithoutAStep) {
  EXPECT_EQ((States{0}), wayTo(0, {0}));
}

TEST_F(LtsSearchTest, ThereMayBeNoWay) {
  EXPECT_EQ((States{}), wayTo(0, {5}));
  EXPECT_EQ((States{}), wayTo(4, {0}));
}

TEST_F(LtsSearchTest, TargetsAreCountedByDistanceThenByNumber) {
  const States wanted{4, 1, 3};
  EXPECT_EQ((States{0, 1}), wayTo(0, wanted, 1));
  EXPECT_EQ((States{0, 1, 3}), wayTo(0, wanted, 2));
  EXPECT_EQ((States{0, 2, 4}), wayTo(0, wanted, 3));
  EXPECT_EQ((States{}), wayTo(0, wanted, 4));
}

TEST_F(LtsSearchTest, AWayToALabelEndsWithIt) {
  ShortestPaths paths(mGraph, 0);
  const auto path = paths.toLabel([](Label label) { return label == 2; });
  ASSERT_TRUE(path);
  EXPECT_EQ((States{0, 2, 4}), statesOf(mGraph, *path));
  EXPECT_EQ(2u, mGraph.edge(path->edges.back()).label);
  EXPECT_EQ(4u, path->end(mGraph));
  EXPECT_FALSE(ShortestPaths(mGraph, 4).toLabel([](Label) { return true; }));
}

TEST_F(LtsSearchTest, APartHasWhatIsNearInBothDirections) {
  const Part around(mGraph, 1, 1);
  States states;
  around.eachState([&](State state) { states.push_back(state); });
  EXPECT_EQ((States{0, 1, 3}), states);
  EXPECT_EQ(3u, around.transitions());  // 0 -> 1 -> 3 -> 0
  EXPECT_EQ(1u, around.centre());
  EXPECT_EQ(0u, around.start());
  EXPECT_EQ(1u, Part(mGraph, 4, 0).states());
  EXPECT_EQ(4u, Part(mGraph, 4, 0).start());
  EXPECT_EQ(6u, Part(mGraph, 4, 100).states());
}

TEST_F(LtsSearchTest, AllIsAPart) {
  const Part all(mGraph);
  EXPECT_TRUE(all.isAll());
  EXPECT_EQ(6u, all.states());
  EXPECT_EQ(7u, all.transitions());
}

TEST_F(LtsSearchTest, WhatLeadsOutOfAPartIsNotInIt) {
  std::set<std::pair<State, State>> shown;
  Part(mGraph, 1, 1).eachTransition([&](State source, const Edge& edge) {
    shown.emplace(source, edge.target);
  });
  EXPECT_EQ((std::set<std::pair<State, State>>{{0, 1}, {1, 3}, {3, 0}}), shown);
}

}  // namespace
