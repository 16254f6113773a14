#include "system.hpp"

#include <algorithm>

#include "component.hpp"
#include "connector.hpp"
#include "exploration/flags.hpp"
#include "exploration/system-parts.hpp"
#include "fault.hpp"
#include "local-system.hpp"
#include "whole-system.hpp"

namespace Vesk::Pins {

namespace {

// A search takes no transition of such a connector, nor of those behind it in the list of a state.
bool hasDominated(const SystemParts& parts) {
  const auto& connectors = parts.connectors();
  return std::any_of(connectors.begin(), connectors.end(),
                     [](const auto& part) { return part.connector->dominated(); });
}

}  // namespace

std::unique_ptr<System> System::create(Compound& root, bool oneGroup) {
  SystemParts parts(root);
  if (parts.locality() == Locality::UNDECLARED || hasDominated(parts)) {
    return std::make_unique<WholeSystem>(root);
  }
  return std::make_unique<LocalSystem>(std::move(parts), oneGroup);
}

void System::addSlot(const std::string& name) {
  mNames.push_back(name);
  mTexts.emplace_back();
}

void System::visitAll(const Number* state, EdgeVisitor& visitor) {
  if (!isEnd(state)) visitTransitions(state, visitor);
}

// ---- What a state is -------------------------------------------------------------------------

bool System::hasMarkers() const {
  return std::any_of(mTexts.begin(), mTexts.end(),
                     [](const SlotTexts& texts) { return texts.hasMarkers(); });
}

bool System::holds(const Number* state, Marker marker) const {
  for (std::size_t slot = 0; slot < mTexts.size(); ++slot) {
    const SlotTexts& texts = mTexts[slot];
    if (texts.hasMarkers() && texts.marker(state[slot]) == marker) return true;
  }
  return false;
}

bool System::isError(const Number* state) const {
  return holds(state, Marker::ERROR);
}

bool System::isPruned(const Number* state) const {
  return holds(state, Marker::PRUNE);
}

bool System::isEnd(const Number* state) const {
  if (isError(state)) return true;
  return isPruned(state) && !std::equal(mInitial.begin(), mInitial.end(), state);
}

bool System::isDeadlock(const Number* state) {
  return !isError(state) && !isPruned(state) && !canMove(state);
}

void checkFlags(bool hasErrorMarker, bool hasPruneMarker, const char* label) {
  const bool isHidden = (global_error && !hasErrorMarker) || (global_prune && !hasPruneMarker);
  clearFlags();
  if (isHidden) {
    throw Fault(std::string(label) +
                ": the model raises global_error or global_prune for a state whose texts have no "
                "marker, and only texts are passed on");
  }
}

std::string pathOf(const Component& component) {
  const std::string name = component.name() != nullptr ? component.name() : "";
  const Compound* holder = component.holder();
  return holder != nullptr ? pathOf(*holder) + "/" + name : name;
}

}  // namespace Vesk::Pins
