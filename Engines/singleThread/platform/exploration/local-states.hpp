// The states of a model whose parts are local, but do not promise that what they do can be
// repeated: every transition fires for real. Private to the engine.
#ifndef VESK_EXPLORATION_LOCAL_STATES_HPP
#define VESK_EXPLORATION_LOCAL_STATES_HPP

#include "exploration/firing.hpp"
#include "exploration/numbered-states.hpp"

namespace Vesk {

// Whenever model code runs, every atom is in the state that the key says.
class LocalStates final : public NumberedStates {
 public:
  LocalStates(const Place& place, SystemParts parts);

  bool fire(const Transition& transition, Label& label) override;
  bool fireFrozen(const PendingState& state, Transition& transition, Label& label) override;
  void freeze(const Transition* legal) override { mFrozen.push(legal); }
  Transition thaw() override { return mFrozen.pop(); }
  void dropFrozen() override { mFrozen.clear(); }

 private:
  bool isLegal(std::size_t part) override;
  void changed(std::size_t atom) override;
  void restored() override;
  std::uint64_t configuration(std::size_t atom) const override;
  void readMembers(std::size_t part);
  void evaluateFor(std::size_t part);

  FrozenTransitions mFrozen;
  // Atoms that setState has not put into the state that they are in. What they announce may be
  // something else, even if they show the same text.
  std::vector<Index> mUnsettled;
  std::vector<char> mIsUnsettled;
  std::uint64_t mFirings = 0;
};

}  // namespace Vesk

#endif
