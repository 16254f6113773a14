#include "graph.hpp"

#include <algorithm>
#include <tuple>
#include <utility>

namespace Vesk::Lts {

namespace {

constexpr std::size_t MAX_RANGES = 512;

}  // namespace

// ---- Graph -----------------------------------------------------------------------------------

State Graph::source(EdgeIndex index) const {
  const EdgeIndex* after = std::upper_bound(mFirst.begin(), mFirst.end(), index);
  return static_cast<State>(after - mFirst.begin() - 1);
}

// ---- Builder ---------------------------------------------------------------------------------

void GraphBuilder::add(State source, Label label, State target) {
  if (mInOrder && std::size_t{source} + 1 < mFirst.size()) keepSources();
  if (mInOrder) {
    const auto first = static_cast<EdgeIndex>(mEdges.size());
    while (mFirst.size() <= source) mFirst.push(first);
  } else {
    mSources.push(source);
  }
  mLargest = std::max({mLargest, source, target});
  mEdges.push({target, label});
}

// The sources of the transitions so far, which are in order.
void GraphBuilder::keepSources() {
  mInOrder = false;
  const auto count = static_cast<EdgeIndex>(mEdges.size());
  for (std::size_t state = 0; state < mFirst.size(); ++state) {
    const EdgeIndex end = state + 1 < mFirst.size() ? mFirst[state + 1] : count;
    for (EdgeIndex i = mFirst[state]; i < end; ++i) mSources.push(static_cast<State>(state));
  }
  mFirst.clear();
}

Graph GraphBuilder::finish(State initial) {
  mLargest = std::max(mLargest, initial);
  mEdges.trim();
  if (mInOrder) {
    const auto count = static_cast<EdgeIndex>(mEdges.size());
    while (mFirst.size() < std::size_t{mLargest} + 2) mFirst.push(count);
  } else {
    countSources();
    sortBySource();
  }
  Graph graph;
  graph.mInitial = initial;
  graph.mFirst = std::move(mFirst);
  graph.mEdges = std::move(mEdges);
  std::swap(graph.mLabels, mLabels);
  return graph;
}

void GraphBuilder::countSources() {
  mFirst.resize(std::size_t{mLargest} + 2);
  for (State source : mSources) ++mFirst[std::size_t{source} + 1];
  for (std::size_t state = 1; state < mFirst.size(); ++state) mFirst[state] += mFirst[state - 1];
}

// In place: each transition is swapped to the next free place of its range until the right one has
// come to where it was. Ranges are 2^shift states; with few of them the places stay in the cache.
void GraphBuilder::sortByRange(unsigned shift) {
  const std::size_t states = mFirst.size() - 1;
  const std::size_t ranges = ((states - 1) >> shift) + 1;
  Column<EdgeIndex> next;
  for (std::size_t range = 0; range < ranges; ++range) next.push(mFirst[range << shift]);
  for (std::size_t range = 0; range < ranges; ++range) {
    const EdgeIndex end = mFirst[std::min((range + 1) << shift, states)];
    while (next[range] < end) {
      const EdgeIndex here = next[range];
      const std::size_t wanted = mSources[here] >> shift;
      const EdgeIndex there = next[wanted]++;
      if (wanted != range) swapInto(here, there);
    }
  }
}

void GraphBuilder::swapInto(EdgeIndex here, EdgeIndex there) {
  std::swap(mSources[here], mSources[there]);
  std::swap(mEdges[here], mEdges[there]);
}

// First roughly, so that the second time everything is near its place.
void GraphBuilder::sortBySource() {
  const std::size_t states = mFirst.size() - 1;
  unsigned shift = 0;
  while (states >> shift > MAX_RANGES) ++shift;
  if (shift != 0) sortByRange(shift);
  sortByRange(0);
  mSources.clear();
  for (std::size_t state = 0; state < states; ++state) sortEdgesOf(static_cast<State>(state));
}

void GraphBuilder::sortEdgesOf(State state) {
  std::sort(mEdges.data() + mFirst[state], mEdges.data() + mFirst[state + 1],
            [](const Edge& a, const Edge& b) {
              return std::tie(a.target, a.label) < std::tie(b.target, b.label);
            });
}

}  // namespace Vesk::Lts
