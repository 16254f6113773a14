// The graph, its labels and its growing columns.
#include "graph.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "column.hpp"
#include "label-table.hpp"
#include "text-hash.hpp"

namespace {

using namespace Vesk::Lts;
using Transition = std::tuple<State, State, Label>;

std::vector<Transition> transitionsOf(const Graph& graph) {
  std::vector<Transition> result;
  for (State state = 0; state < graph.states(); ++state) {
    for (const Edge& edge : graph.out(state)) result.emplace_back(state, edge.target, edge.label);
  }
  return result;
}

TEST(LtsGraphTest, TheInitialStateIsThereWithoutTransitions) {
  const Graph graph = GraphBuilder().finish(3);
  EXPECT_EQ(3u, graph.initial());
  EXPECT_EQ(4u, graph.states());
  EXPECT_EQ(0u, graph.out(3).size());
}

TEST(LtsGraphTest, TransitionsInOrderKeepTheirOrder) {
  GraphBuilder builder;
  builder.add(0, 1, 5);
  builder.add(0, 0, 2);
  builder.add(3, 0, 0);
  const Graph graph = builder.finish(0);
  EXPECT_EQ(6u, graph.states());
  EXPECT_EQ((std::vector<Transition>{{0, 5, 1}, {0, 2, 0}, {3, 0, 0}}), transitionsOf(graph));
}

TEST(LtsGraphTest, EveryOrderGivesTheSameTransitions) {
  std::mt19937 generator(1);
  const auto random = [&] { return static_cast<unsigned>(generator()); };
  for (int round = 0; round < 200; ++round) {
    // More states than the ranges of the first pass, in some rounds.
    const State states = round % 4 == 0 ? 3000 : 1 + random() % 40;
    std::vector<Transition> expected;
    GraphBuilder builder;
    for (unsigned i = random() % 400; i > 0; --i) {
      const State source = random() % states;
      const State target = random() % states;
      const Label label = random() % 5;
      expected.emplace_back(source, target, label);
      builder.add(source, label, target);
    }
    const Graph graph = builder.finish(0);
    std::vector<Transition> found = transitionsOf(graph);
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    ASSERT_EQ(expected, found) << round;
  }
}

TEST(LtsGraphTest, ATransitionKnowsItsSource) {
  GraphBuilder builder;
  builder.add(1, 0, 0);
  builder.add(1, 0, 1);
  builder.add(4, 0, 1);
  const Graph graph = builder.finish(0);
  EXPECT_EQ(1u, graph.source(0));
  EXPECT_EQ(1u, graph.source(1));
  EXPECT_EQ(4u, graph.source(2));
  EXPECT_EQ(2u, graph.firstEdge(4));
}

TEST(LtsLabelTableTest, EqualTextsHaveOneNumber) {
  LabelTable table;
  EXPECT_EQ(0u, table.intern("a"));
  EXPECT_EQ(1u, table.intern(""));
  EXPECT_EQ(0u, table.intern("a"));
  EXPECT_EQ(2u, table.intern(std::string("a\0b", 3)));
  EXPECT_EQ(3u, table.intern("a"
                             "b"));
  EXPECT_EQ(4u, table.size());
  EXPECT_EQ(std::string("a\0b", 3), table.text(2));
  EXPECT_EQ(1u, table.find(""));
  EXPECT_EQ(LabelTable::NONE, table.find("c"));
}

TEST(LtsLabelTableTest, ManyLabelsStayApart) {
  LabelTable table;
  for (int round = 0; round < 2; ++round) {
    for (Label i = 0; i < 20000; ++i) {
      ASSERT_EQ(i, table.intern("system/connector" + std::to_string(i) + "/atom:port"));
    }
  }
  EXPECT_EQ("system/connector19999/atom:port", table.text(19999));
}

TEST(LtsColumnTest, ItGrowsAndKeepsItsElements) {
  Column<int> column(3);
  EXPECT_EQ(0, column[2]);
  for (int i = 0; i < 1000; ++i) column.push(i);
  const int more[] = {7, 8};
  column.append(more, 2);
  column.resize(1010);
  ASSERT_EQ(1010u, column.size());
  EXPECT_EQ(999, column[1002]);
  EXPECT_EQ(8, column[1004]);
  EXPECT_EQ(0, column.back());
  Column<int> other = std::move(column);
  other.trim();
  EXPECT_EQ(1010u, other.size());
  other.clear();
  EXPECT_TRUE(other.empty());
}

TEST(LtsColumnTest, ItGetsShorterAndWhatIsNewIsZero) {
  Column<int> column;
  for (int i = 1; i <= 5; ++i) column.push(i);
  column.resize(2);
  ASSERT_EQ(2u, column.size());
  EXPECT_EQ(2, column.back());
  column.resize(4);
  EXPECT_EQ(0, column[2]);
  EXPECT_EQ(0, column[3]);
}

TEST(LtsColumnTest, MoreThanCanBeAddressedIsNoMemory) {
  Column<std::uint64_t> column(1);
  EXPECT_THROW(column.resize(std::numeric_limits<std::size_t>::max() / 2), std::bad_alloc);
  EXPECT_EQ(1u, column.size());
}

TEST(LtsColumnTest, AColumnThatCannotGrowKeepsItsElements) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer ends the program";
#endif
  if (sizeof(std::size_t) == 4) GTEST_SKIP() << "so much can be there";
  Column<char> column;
  column.push('x');
  EXPECT_THROW(column.resize(std::numeric_limits<std::size_t>::max() / 2), std::bad_alloc);
  ASSERT_EQ(1u, column.size());
  EXPECT_EQ('x', column[0]);
}

TEST(LtsLabelTableTest, LabelsOfOneHashStayApart) {
  std::unordered_map<std::uint32_t, std::string> seen;
  std::string one;
  std::string other;
  for (int i = 0; one.empty(); ++i) {
    other = "label" + std::to_string(i);
    const auto [found, isNew] = seen.emplace(static_cast<std::uint32_t>(textHash(other)), other);
    if (!isNew) one = found->second;
  }
  LabelTable table;
  EXPECT_EQ(0u, table.intern(one));
  EXPECT_EQ(LabelTable::NONE, table.find(other));
  EXPECT_EQ(1u, table.intern(other));
  EXPECT_EQ(0u, table.find(one));
}

}  // namespace
