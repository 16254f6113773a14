// A model whose parts are all local: a transition is looked for, and taken, with nothing but the
// atoms of its connector. Private to the plugin.
#ifndef VESK_PINS_LOCAL_SYSTEM_HPP
#define VESK_PINS_LOCAL_SYSTEM_HPP

#include <cstddef>
#include <vector>

#include "exploration/labels.hpp"
#include "exploration/outcomes.hpp"
#include "exploration/system-parts.hpp"
#include "system.hpp"

class Atom;
class Connector;

namespace Vesk::Pins {

// Whether a connector is legal depends on the texts of its atoms alone, so it is remembered for
// them; and so is what firing does, when the parts promise that it can be repeated.
class LocalSystem : public System {
 public:
  LocalSystem(SystemParts parts, bool oneGroup);

  std::size_t groups() const override { return mGroups.size(); }
  const std::vector<Index>& slotsOf(std::size_t group) const override {
    return mGroups[group].slots;
  }
  void visitGroup(std::size_t group, const Number* state, EdgeVisitor& visitor) override;

 private:
  // Connectors that fire by themselves, and the atoms of all of them.
  struct Group {
    std::vector<Index> connectors;  // their numbers among the parts
    std::vector<Index> slots;
  };

  // So much may be remembered.
  static constexpr std::size_t MOST_BYTES = std::size_t{256} << 20;
  // Of an atom that setState() has not put into the state that it is in.
  static constexpr Number UNSETTLED = UINT32_MAX;

  void visitTransitions(const Number* state, EdgeVisitor& visitor) override;
  bool canMove(const Number* state) override;
  void makeGroups(bool oneGroup);
  void readInitialState();
  void visitConnector(Index group, Index connector, const Number* state, EdgeVisitor& visitor);
  Outcomes::Outcome& outcome(Index connector, const Number* state);
  void settle(Index connector, const Number* state);
  bool evaluate(Index connector, const Number* state);
  void fire(Index connector, Outcomes::Outcome& outcome);
  Number read(Index atom);

  const std::vector<Index>& members(Index connector) const {
    return mParts.connectors()[connector].members;
  }
  Connector& connector(Index connector) const { return *mParts.connectors()[connector].connector; }
  Atom& atom(Index atom) const { return *mParts.atoms()[atom].atom; }

  const SystemParts mParts;
  const bool mIsRepeatable;
  std::vector<Group> mGroups;
  std::vector<Number> mShown;   // per atom: the text that setState() has given it, or UNSETTLED
  std::vector<Number> mBefore;  // of the members of the connector that is looked at
  Outcomes mOutcomes;
  Labels mLabels{SIZE_MAX};
};

}  // namespace Vesk::Pins

#endif
