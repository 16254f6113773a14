// A search that follows the transition found last. Private to the engine.
#ifndef VESK_EXPLORATION_DEPTH_FIRST_HPP
#define VESK_EXPLORATION_DEPTH_FIRST_HPP

#include <deque>
#include <memory>

#include "connector.hpp"
#include "exploration/search.hpp"

class TransNode;

namespace Vesk {

class DepthFirst : public Search {
 public:
  using Search::Search;

 private:
  // A transition that has still to be taken. A state without transitions has one entry without
  // connector.
  struct Pending {
    StateNumber state;
    Connector* connector;
    Interaction* interaction;  // of the connector; it lives as long as the connector
    std::unique_ptr<Interaction>
        frozen;  // a copy of it, if its times may change before it is taken
  };

  void begin() override;
  Count stored() const override { return mStack.size(); }
  void takeOne() override;
  const Path* path() const override { return &mPath; }
  void push(StateNumber state, Connector* connector);
  bool hasPending(StateNumber state) const;
  void meetDeadlock(StateNumber state);
  void follow(Pending& entry);
  void fire(const TransNode& transition);
  void arrive(StateNumber state, Tree& tree);
  void prune(StateNumber state);

  std::deque<Pending> mStack;  // the top is at the back
  Path mPath;
};

}  // namespace Vesk

#endif
