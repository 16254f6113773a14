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
  // A transition that has still to be taken. A state without transitions has one without connector.
  struct Transition {
    Connector* connector;
    Interaction* interaction;             // of the connector; it lives as long as the connector
    std::unique_ptr<Interaction> frozen;  // a copy of it, if it may be another when it is taken
  };

  void begin() override;
  Count stored() const override { return mStack.size(); }
  void takeOne() override;
  void endAll() override;
  const Path* path() const override { return &mPath; }
  void push(PendingState& state, Connector* connector);
  PendingState popSource();
  void take(PendingState& state, Transition& transition);
  void meetDeadlock(StateNumber state);
  void follow(PendingState& state, Transition& transition);
  Tree fire(const TransNode& transition);
  void arrive(const StateTable::Found& found, Tree tree);
  void prune(StateNumber number, Tree tree);
  void writeState(StateNumber number);

  std::deque<Transition> mStack;      // the top is at the back; those of one state lie together
  std::deque<PendingState> mSources;  // the states of the transitions on the stack, each once
  Path mPath;
};

}  // namespace Vesk

#endif
