#include "exploration/state-space.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "component.hpp"
#include "exploration/local-states.hpp"
#include "exploration/repeatable-states.hpp"
#include "exploration/state-text.hpp"
#include "exploration/system-parts.hpp"
#include "exploration/text-states.hpp"
#include "exploration/tree-walk.hpp"
#include "exploration/untimed-priorities.hpp"

// Tests that compare the ways with each other set it to the largest promise that is used.
#ifndef VESK_MOST_LOCALITY
#define VESK_MOST_LOCALITY REPEATABLE
#endif

namespace Vesk {

namespace {

bool isComplete(const Node* tree) {
  TreeWalk walk(tree);
  for (const Node* node; walk.next(node);) {
    if (node == nullptr) return false;
  }
  return true;
}

std::string textOf(const Node* tree) {
  StateText text;
  text.append(tree);
  return std::string(text.data(), text.length());
}

// Whether the state of the system is nothing but the states of its atoms. It is not when the model
// has given a compound another getState().
bool showsItsAtoms(Compound& system, const SystemParts& parts) {
  const KeptFlags flags;
  const Tree whole(system.getState());
  if (!isComplete(whole.get())) return false;
  std::string joined;
  for (const SystemParts::AtomPart& part : parts.atoms()) {
    const Tree own(part.atom->getState());
    if (!isComplete(own.get())) return false;
    joined += textOf(own.get());
  }
  return textOf(whole.get()) == joined;
}

Locality localityOf(Compound& system, const SystemParts& parts) {
  const Locality locality = std::min(parts.locality(), Locality::VESK_MOST_LOCALITY);
  const bool isLocal = locality != Locality::UNDECLARED && showsItsAtoms(system, parts);
  return isLocal ? locality : Locality::UNDECLARED;
}

}  // namespace

std::unique_ptr<StateSpace> StateSpace::create(const Place& place) {
  if (prioritiesActEverywhere(place.system)) return std::make_unique<TextStates>(place);
  SystemParts parts(place.system);
  switch (localityOf(place.system, parts)) {
    case Locality::REPEATABLE:
      return std::make_unique<RepeatableStates>(place, std::move(parts));
    case Locality::LOCAL:
      return std::make_unique<LocalStates>(place, std::move(parts));
    case Locality::UNDECLARED:
      break;
  }
  return std::make_unique<TextStates>(place);
}

}  // namespace Vesk
