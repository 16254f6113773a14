#include "part.hpp"

namespace Vesk::Lts {

namespace {

enum : std::uint8_t { ABSENT, PRESENT, NEXT };

}  // namespace

Part::Part(const Graph& graph)
    : mGraph(graph), mCentre(graph.initial()), mIsAll(true), mTransitions(graph.transitions()) {}

Part::Part(const Graph& graph, State centre, std::uint64_t radius)
    : mGraph(graph), mCentre(centre), mIsAll(false), mHas(graph.states()) {
  mHas[centre] = PRESENT;
  std::uint64_t before = 0;
  for (std::uint64_t step = 0; step < radius && states() != before; ++step) {
    before = states();
    growOnce();
  }
  eachTransition([this](State, const Edge&) { ++mTransitions; });
}

std::uint64_t Part::states() const {
  if (mIsAll) return mGraph.states();
  std::uint64_t count = 0;
  for (std::uint8_t has : mHas) count += has;
  return count;
}

// Adds the neighbours of all states that are there. Against the direction of the transitions, too,
// and without a list of those that lead into a state, which would double the memory.
void Part::growOnce() {
  for (State state = 0; state < mGraph.states(); ++state) {
    for (const Edge& edge : mGraph.out(state)) {
      if (mHas[state] == PRESENT && mHas[edge.target] == ABSENT) mHas[edge.target] = NEXT;
      if (mHas[edge.target] == PRESENT && mHas[state] == ABSENT) mHas[state] = NEXT;
    }
  }
  for (std::size_t state = 0; state < mHas.size(); ++state) mHas[state] = mHas[state] != ABSENT;
}

}  // namespace Vesk::Lts
