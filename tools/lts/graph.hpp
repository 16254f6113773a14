// A labelled transition system in memory: 8 bytes a transition and 4 a state.
#ifndef VESK_LTS_GRAPH_HPP
#define VESK_LTS_GRAPH_HPP

#include <cstddef>
#include <cstdint>

#include "column.hpp"
#include "label-table.hpp"

namespace Vesk::Lts {

using State = std::uint32_t;
using EdgeIndex = std::uint32_t;

struct Edge {
  State target;
  Label label;
};

class Graph {
 public:
  static constexpr State NO_STATE = ~State{0};
  static constexpr EdgeIndex NO_EDGE = ~EdgeIndex{0};

  struct Edges {
    const Edge* first;
    const Edge* last;
    const Edge* begin() const { return first; }
    const Edge* end() const { return last; }
    std::size_t size() const { return static_cast<std::size_t>(last - first); }
  };

  State initial() const { return mInitial; }
  // The states from 0 to the largest that a transition or the header's initial state names.
  std::size_t states() const { return mFirst.size() - 1; }
  std::size_t transitions() const { return mEdges.size(); }
  const LabelTable& labels() const { return mLabels; }

  // In the order of the file, or by target where the file does not keep a state's together.
  Edges out(State state) const {
    return {mEdges.data() + mFirst[state], mEdges.data() + mFirst[state + 1]};
  }
  EdgeIndex firstEdge(State state) const { return mFirst[state]; }
  const Edge& edge(EdgeIndex index) const { return mEdges[index]; }
  // By a binary search.
  State source(EdgeIndex index) const;

 private:
  friend class GraphBuilder;

  State mInitial = 0;
  Column<EdgeIndex> mFirst;  // of each state, and one more
  Column<Edge> mEdges;
  LabelTable mLabels;
};

// Takes the transitions in any order. While a state's transitions stand together and the states
// ascend, as breadth-first search writes them, no more memory is needed than the graph has;
// otherwise 4 bytes a transition and 4 a state more.
class GraphBuilder {
 public:
  static constexpr std::size_t MAX_TRANSITIONS = Graph::NO_EDGE - 1;

  // Requires: fewer than MAX_TRANSITIONS so far, states below NO_STATE.
  void add(State source, Label label, State target);
  std::size_t transitions() const { return mEdges.size(); }
  LabelTable& labels() { return mLabels; }
  // The graph has at least the initial state.
  Graph finish(State initial);

 private:
  void keepSources();
  void countSources();
  void sortBySource();
  void sortByRange(unsigned shift);
  void swapInto(EdgeIndex here, EdgeIndex there);
  void sortEdgesOf(State state);

  Column<EdgeIndex> mFirst;  // while in order: of each state up to the last source
  Column<Edge> mEdges;
  Column<State> mSources;  // once out of order: of all transitions
  LabelTable mLabels;
  State mLargest = 0;
  bool mInOrder = true;
};

}  // namespace Vesk::Lts

#endif
