#include "search.hpp"

#include <algorithm>
#include <utility>

namespace Vesk::Lts {

// ---- Levels ----------------------------------------------------------------------------------

Levels::Levels(const Graph& graph, State start) : mLevel(graph.states()) {
  for (std::size_t state = 0; state < graph.states(); ++state) mLevel[state] = UNREACHED;
  std::vector<State> level{start};
  mLevel[start] = 0;
  while (!level.empty()) {
    const auto next = static_cast<std::uint32_t>(mSizes.size() + 1);
    mSizes.push_back(level.size());
    mReached += level.size();
    std::vector<State> found;
    for (State state : level) {
      for (const Edge& edge : graph.out(state)) {
        if (mLevel[edge.target] != UNREACHED) continue;
        mLevel[edge.target] = next;
        found.push_back(edge.target);
      }
    }
    level = std::move(found);
  }
}

// ---- Shortest paths --------------------------------------------------------------------------

std::optional<Path> ShortestPaths::toState(const std::function<bool(State)>& wanted,
                                           std::uint64_t n) {
  for (begin(); !mLevel.empty(); advance()) {
    const std::vector<State> hits = wantedInLevel(wanted);
    if (n <= hits.size()) return pathTo(hits[static_cast<std::size_t>(n - 1)]);
    n -= hits.size();
  }
  return std::nullopt;
}

std::optional<Path> ShortestPaths::toLabel(const std::function<bool(Label)>& wanted) {
  for (begin(); !mLevel.empty(); advance()) {
    for (State state : mLevel) {
      EdgeIndex index = mGraph.firstEdge(state);
      for (const Edge& edge : mGraph.out(state)) {
        if (wanted(edge.label)) {
          Path path = pathTo(state);
          path.edges.push_back(index);
          return path;
        }
        ++index;
      }
    }
  }
  return std::nullopt;
}

void ShortestPaths::begin() {
  mCame = Column<EdgeIndex>(mGraph.states());
  mLevel = {mStart};
}

void ShortestPaths::advance() {
  std::vector<State> next;
  for (State state : mLevel) {
    EdgeIndex index = mGraph.firstEdge(state);
    for (const Edge& edge : mGraph.out(state)) {
      ++index;
      if (isReached(edge.target)) continue;
      mCame[edge.target] = index;
      next.push_back(edge.target);
    }
  }
  mLevel = std::move(next);
}

std::vector<State> ShortestPaths::wantedInLevel(const std::function<bool(State)>& wanted) const {
  std::vector<State> hits;
  for (State state : mLevel) {
    if (wanted(state)) hits.push_back(state);
  }
  std::sort(hits.begin(), hits.end());
  return hits;
}

Path ShortestPaths::pathTo(State state) const {
  Path path{mStart, {}};
  while (state != mStart) {
    const EdgeIndex index = mCame[state] - 1;
    path.edges.push_back(index);
    state = mGraph.source(index);
  }
  std::reverse(path.edges.begin(), path.edges.end());
  return path;
}

}  // namespace Vesk::Lts
