// The states of any model, known by their texts. The system is read whole, restored whole and
// activated whole for every transition, as models may expect that declare nothing. Private to the
// engine.
#ifndef VESK_EXPLORATION_TEXT_STATES_HPP
#define VESK_EXPLORATION_TEXT_STATES_HPP

#include "exploration/firing.hpp"
#include "exploration/pending-states.hpp"
#include "exploration/state-space.hpp"
#include "exploration/state-table.hpp"
#include "exploration/state-text.hpp"

class TransNode;

namespace Vesk {

class TextStates final : public StateSpace {
 public:
  explicit TextStates(const Place& place);

  StateNumber count() const override { return mStates.count(); }
  void read() override;
  Found find() override;
  PendingState keep() override;
  void drop() override { bury(std::move(mTree)); }
  void restore(const PendingState& state) override;
  Text restoredText(const PendingState& state) override;
  void addTransition(PendingState& state) override { mPending.addTransition(state); }
  void takeTransition(PendingState& state) override { mPending.takeTransition(state); }
  void settle(PendingState& state) override { mPending.settle(state); }
  void end(PendingState state) override { bury(mPending.remove(std::move(state))); }
  Text text(StateNumber number) override;
  void activate() override;
  bool firstLegal(Transition& transition) override;
  bool nextLegal(Transition& transition) override;
  bool fire(const Transition& transition, Label& label) override;
  bool fireFrozen(const PendingState& state, Transition& transition, Label& label) override;
  void freeze(const Transition* legal) override { mFrozen.push(legal); }
  Transition thaw() override { return mFrozen.pop(); }
  void dropFrozen() override { mFrozen.clear(); }

 private:
  void evaluateAfresh(Connector& connector);
  bool fireThis(const TransNode& transition, Label& label);
  void bury(Tree tree);

  const Place mPlace;
  const bool mPriorities;  // these act in this search
  StateTable mStates;
  PendingStates mPending;
  Labels mLabels;
  FrozenTransitions mFrozen;
  Tree mTree;                // of the state that was read
  StateTable::Found mFound;  // what find() has found
  StateText mText;           // of the state that is being written
  Lengths mLengths;          // of its leaves
  Tree mErrorState;          // keeps what faulty_leaf points into until it has been printed
};

}  // namespace Vesk

#endif
