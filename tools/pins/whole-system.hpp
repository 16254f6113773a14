// Any model: it is restored, activated and read whole. Private to the plugin.
#ifndef VESK_PINS_WHOLE_SYSTEM_HPP
#define VESK_PINS_WHOLE_SYSTEM_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "exploration/labels.hpp"
#include "system.hpp"

class Compound;
class Connector;

namespace Vesk::Pins {

// All transitions are one group, which reads and writes every slot: what a connector does may
// depend on anything. The slots are the leaves of the state tree, whose shape must not change.
class WholeSystem : public System {
 public:
  explicit WholeSystem(Compound& root);

  std::size_t groups() const override { return 1; }
  const std::vector<Index>& slotsOf(std::size_t) const override { return mSlots; }
  void visitGroup(std::size_t, const Number* state, EdgeVisitor& visitor) override {
    visitAll(state, visitor);
  }

 private:
  using Tree = std::unique_ptr<Node>;

  void visitTransitions(const Number* state, EdgeVisitor& visitor) override;
  bool canMove(const Number* state) override;
  void nameSlots();
  void restore(const Number* state);
  void fire(Connector& connector, EdgeVisitor& visitor);
  std::vector<Number> read();

  Compound& mRoot;
  Tree mInitialTree;
  std::vector<int> mShape;  // of the initial tree
  std::vector<Index> mSlots;
  Labels mLabels{SIZE_MAX};
};

}  // namespace Vesk::Pins

#endif
