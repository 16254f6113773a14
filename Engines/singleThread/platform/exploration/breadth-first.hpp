// A search that takes states in the order in which they were found. Private to the engine.
#ifndef VESK_EXPLORATION_BREADTH_FIRST_HPP
#define VESK_EXPLORATION_BREADTH_FIRST_HPP

#include <deque>
#include <memory>

#include "exploration/search.hpp"

namespace Vesk {

class BreadthFirst : public Search {
 public:
  using Search::Search;

 private:
  void begin() override;
  Count stored() const override { return mQueue.size(); }
  void takeOne() override;
  void expand(StateNumber state);
  bool follow(StateNumber state, Connector* connector);
  void arrive(StateNumber state, Tree& tree);

  std::deque<StateNumber> mQueue;  // states whose transitions have still to be taken
};

}  // namespace Vesk

#endif
