// The states of a model whose parts are local, but do not promise that what they do can be
// repeated: every transition fires for real. Private to the engine.
#ifndef VESK_EXPLORATION_LOCAL_STATES_HPP
#define VESK_EXPLORATION_LOCAL_STATES_HPP

#include "exploration/numbered-states.hpp"

namespace Vesk {

// Whenever model code runs, every atom is in the state that the key says.
class LocalStates : public NumberedStates {
 public:
  LocalStates(const Place& place, SystemParts parts);

  Transition freeze(const Transition& legal) override;
  bool fire(const Transition& transition, Label& label) override;
  bool fireFrozen(const PendingState& state, Transition& transition, Label& label) override;

 private:
  bool isLegal(std::size_t part) override;
  void changed(std::size_t atom) override;
  void restored() override;
  std::uint32_t configuration(std::size_t atom) const override;
  void readMembers(std::size_t part);
  void evaluateFor(std::size_t part);

  // Atoms that setState has not put into the state that they are in. What they announce may be
  // something else, even if they show the same text.
  std::vector<Index> mUnsettled;
  std::vector<bool> mIsUnsettled;
};

}  // namespace Vesk

#endif
