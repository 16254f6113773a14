// Breadth-first search over a graph: levels and shortest paths.
#ifndef VESK_LTS_SEARCH_HPP
#define VESK_LTS_SEARCH_HPP

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "column.hpp"
#include "graph.hpp"

namespace Vesk::Lts {

// How far each state is from the initial one.
class Levels {
 public:
  static constexpr std::uint32_t UNREACHED = ~std::uint32_t{0};

  explicit Levels(const Graph& graph) : Levels(graph, graph.initial()) {}
  Levels(const Graph& graph, State start);

  std::uint32_t of(State state) const { return mLevel[state]; }
  // How many states each level has, from level 0, the start.
  const std::vector<std::uint64_t>& sizes() const { return mSizes; }
  std::uint64_t reached() const { return mReached; }

 private:
  Column<std::uint32_t> mLevel;
  std::vector<std::uint64_t> mSizes;
  std::uint64_t mReached = 0;
};

// The transitions of a path in their order; none when the start is the end.
struct Path {
  State start = 0;
  std::vector<EdgeIndex> edges;

  State end(const Graph& graph) const {
    return edges.empty() ? start : graph.edge(edges.back()).target;
  }
};

// The shortest paths from a state to states and transitions that are looked for.
class ShortestPaths {
 public:
  // Requires: the start is a state of the graph.
  ShortestPaths(const Graph& graph, State start) : mGraph(graph), mStart(start) {}

  // To the n-th state (n from 1) that is wanted, by the distance, then by the number. Empty: there
  // are fewer. The start counts, too.
  std::optional<Path> toState(const std::function<bool(State)>& wanted, std::uint64_t n = 1);
  // To the nearest transition with such a label, which is the last one of the path.
  std::optional<Path> toLabel(const std::function<bool(Label)>& wanted);

 private:
  bool isReached(State state) const { return state == mStart || mCame[state] != 0; }
  void begin();
  // Goes from the states of a level to those of the next.
  void advance();
  std::vector<State> wantedInLevel(const std::function<bool(State)>& wanted) const;
  Path pathTo(State state) const;

  const Graph& mGraph;
  const State mStart;
  Column<EdgeIndex> mCame;    // the transition by which each state was reached, plus 1; 0: not yet
  std::vector<State> mLevel;  // in the order in which they were found
};

}  // namespace Vesk::Lts

#endif
