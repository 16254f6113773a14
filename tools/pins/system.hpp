// A model as a vector of texts and groups of transitions between such vectors. There are two kinds,
// as there are in an exploration: one that looks only at what a transition touches, for models
// whose parts are all local, and one for any model. Private to the plugin.
#ifndef VESK_PINS_SYSTEM_HPP
#define VESK_PINS_SYSTEM_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "slot-texts.hpp"

class Component;
class Compound;

namespace Vesk::Pins {

using Number = SlotTexts::Number;
using Index = std::uint32_t;

// A transition: what its label is, and what it changes.
struct Edge {
  Index group;
  const char* label;  // the same address for the same text; it lives as long as the system
  const std::vector<Index>& slots;  // those that it may have changed
  const Number* numbers;            // what they hold then, one for each of these slots
};

// Who asks for transitions.
class EdgeVisitor {
 public:
  virtual ~EdgeVisitor() = default;
  virtual void visit(const Edge& edge) = 0;
};

class System {
 public:
  // The kind that the promises of the parts allow. With oneGroup set, the transitions of a local
  // model too are one group. Requires: the compound is initialised; it outlives the system.
  static std::unique_ptr<System> create(Compound& root, bool oneGroup);

  System() = default;
  System(const System&) = delete;
  System& operator=(const System&) = delete;
  virtual ~System() = default;

  // ---- The vector: a slot for each atom
  std::size_t slots() const { return mTexts.size(); }
  // The path of the atom, as in "system/left/A".
  const std::string& slotName(std::size_t slot) const { return mNames[slot]; }
  SlotTexts& texts(std::size_t slot) { return mTexts[slot]; }
  const std::vector<Number>& initialState() const { return mInitial; }

  // ---- The groups
  virtual std::size_t groups() const = 0;
  // The slots that its transitions read and write.
  virtual const std::vector<Index>& slotsOf(std::size_t group) const = 0;

  // ---- Transitions. A state in which a search would go no further has none: one with a marker,
  // unless it is the initial one and the marker PRUNE.
  void visitAll(const Number* state, EdgeVisitor& visitor);
  // Only the slots of the group count, when there are several. Requires then: hasMarkers() is
  // false.
  virtual void visitGroup(std::size_t group, const Number* state, EdgeVisitor& visitor) = 0;

  // ---- What a state is
  bool isError(const Number* state) const;
  bool isPruned(const Number* state) const;
  // Nothing can happen, and there is no marker.
  bool isDeadlock(const Number* state);
  // A text with a marker was seen.
  bool hasMarkers() const;

 protected:
  void addSlot(const std::string& name);
  void setInitialState(std::vector<Number> state) { mInitial = std::move(state); }
  // Whether a search goes no further.
  bool isEnd(const Number* state) const;

 private:
  virtual void visitTransitions(const Number* state, EdgeVisitor& visitor) = 0;
  virtual bool canMove(const Number* state) = 0;
  bool holds(const Number* state, Marker marker) const;

  std::vector<std::string> mNames;
  std::vector<SlotTexts> mTexts;
  std::vector<Number> mInitial;
};

// The flags that a model has raised are the markers in the texts. Ends with a fault when they are
// not: another process could not know of them. Lowers them.
void checkFlags(bool hasErrorMarker, bool hasPruneMarker, const char* label);

// The names of the compounds above and of the component, with slashes between them.
std::string pathOf(const Component& component);

}  // namespace Vesk::Pins

#endif
