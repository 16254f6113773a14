// The part of a system that is written or shown: all of it, or what lies around a state.
#ifndef VESK_LTS_PART_HPP
#define VESK_LTS_PART_HPP

#include <cstdint>
#include <vector>

#include "graph.hpp"

namespace Vesk::Lts {

// Some of the states in ascending order, and the transitions between them.
class Part {
 public:
  // All states.
  explicit Part(const Graph& graph);
  // Those up to radius transitions away from the centre, forwards or backwards.
  Part(const Graph& graph, State centre, std::uint64_t radius);

  bool isAll() const { return mIsAll; }
  State centre() const { return mCentre; }
  // The initial state when it is there, otherwise the centre.
  State start() const { return has(mGraph.initial()) ? mGraph.initial() : mCentre; }
  bool has(State state) const { return mIsAll || mHas[state] != 0; }
  std::uint64_t states() const;
  std::uint64_t transitions() const { return mTransitions; }

  // Calls use(state) for each.
  template <class Use>
  void eachState(Use use) const {
    for (std::size_t state = 0; state < mGraph.states(); ++state) {
      if (has(static_cast<State>(state))) use(static_cast<State>(state));
    }
  }
  // Calls use(source, edge) for each transition, by source.
  template <class Use>
  void eachTransition(Use use) const {
    eachState([&](State state) {
      for (const Edge& edge : mGraph.out(state)) {
        if (has(edge.target)) use(state, edge);
      }
    });
  }

 private:
  void growOnce();

  const Graph& mGraph;
  State mCentre;
  bool mIsAll;
  Column<std::uint8_t> mHas;  // of each state, unless all
  std::uint64_t mTransitions = 0;
};

}  // namespace Vesk::Lts

#endif
