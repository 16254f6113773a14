#include "net-builder.hpp"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <utility>

namespace pnml {

namespace {

const char* const UNIQUE_ID = ", expected an id of its own for each element";
const char* const ONE_PLACE = ", expected one end at a place and one at a transition";
const char* const PLACE_OR_TRANSITION = ", expected the id of a place or transition";
const char* const WEIGHT_SUM = ", expected a sum of at most 2147483647";

}  // namespace

// ---- Collecting --------------------------------------------------------------------------------

void NetBuilder::add(const std::string& id, Kind kind, std::size_t index, Position at) {
  const Node node{kind, static_cast<int>(index)};
  if (mNodes.emplace(id, node).second) return;
  throw Fault(at, "id " + quoted(id) + " is taken" + UNIQUE_ID);
}

void NetBuilder::addPlace(const std::string& id, Position at) {
  add(id, Kind::PLACE, mNet.places.size(), at);
  mNet.places.push_back({id, 0});
}

void NetBuilder::addTransition(const std::string& id, Position at) {
  add(id, Kind::TRANSITION, mNet.transitions.size(), at);
  mNet.transitions.push_back({id, at, {}});
}

void NetBuilder::addReferencePlace(const std::string& id, const std::string& target, Position at) {
  add(id, Kind::REFERENCE_PLACE, mReferencePlaces.size(), at);
  mReferencePlaces.push_back({id, target, at});
}

void NetBuilder::addReferenceTransition(const std::string& id, const std::string& target,
                                        Position at) {
  add(id, Kind::REFERENCE_TRANSITION, mReferenceTransitions.size(), at);
  mReferenceTransitions.push_back({id, target, at});
}

void NetBuilder::addArc(const Arc& arc) {
  if (!arc.id.empty()) add(arc.id, Kind::ARC, mArcs.size(), arc.at);
  mArcs.push_back(arc);
}

// ---- References --------------------------------------------------------------------------------

// Every element of a chain gets the node at its end, so that each reference is followed once, and
// each fault found once.
void NetBuilder::resolveAll(std::vector<Reference>& references, Kind node, Kind reference,
                            Faults& faults) {
  for (Reference& first : references) {
    Chain chain;
    int end = NOWHERE;
    try {
      end = resolve(references, first, node, reference, chain);
    } catch (const Fault& fault) {
      faults.add(fault);
    }
    for (Reference* each : chain) each->node = end;
  }
}

// Follows the chain that starts at a reference.
int NetBuilder::resolve(std::vector<Reference>& references, Reference& first, Kind node,
                        Kind reference, Chain& chain) {
  const char* const wanted = node == Kind::PLACE ? "place" : "transition";
  int end = first.node;
  for (Reference* at = &first; end == UNRESOLVED;) {
    if (chain.size() == references.size()) {
      throw Fault(first.at, "reference " + quoted(first.id) + " leads back to itself, expected a " +
                                wanted + " at the end of the chain");
    }
    chain.push_back(at);
    const auto target = mNodes.find(at->target);
    if (target != mNodes.end() && target->second.kind == node) {
      end = target->second.index;
    } else if (target != mNodes.end() && target->second.kind == reference) {
      at = &references[static_cast<std::size_t>(target->second.index)];
      end = at->node;
    } else if (target != mNodes.end() && target->second.kind == Kind::LOST) {
      end = NOWHERE;
    } else {
      throw Fault(at->at, "reference " + quoted(at->id) + " names no " + wanted + ": " +
                              quoted(at->target) + ", expected the id of a " + wanted);
    }
  }
  return end;
}

// ---- Arcs --------------------------------------------------------------------------------------

// The place or transition at one end of an arc. Requires: the references are resolved.
NetBuilder::Node NetBuilder::endOf(const Arc& arc, const std::string& id, const char* role) const {
  const auto found = mNodes.find(id);
  if (found != mNodes.end()) {
    const Node node = found->second;
    const auto index = static_cast<std::size_t>(node.index);
    if (node.kind == Kind::REFERENCE_PLACE) return {Kind::PLACE, mReferencePlaces[index].node};
    if (node.kind == Kind::REFERENCE_TRANSITION) {
      return {Kind::TRANSITION, mReferenceTransitions[index].node};
    }
    if (node.kind == Kind::LOST) return {Kind::LOST, NOWHERE};
    if (node.kind != Kind::ARC) return node;
  }
  throw Fault(arc.at, "the " + std::string(role) + " " + quoted(id) + " of the arc does not exist" +
                          PLACE_OR_TRANSITION);
}

void NetBuilder::linkArc(int number, std::vector<std::vector<Link>>& links) const {
  const Arc& arc = mArcs[static_cast<std::size_t>(number)];
  const Node source = endOf(arc, arc.source, "source");
  const Node target = endOf(arc, arc.target, "target");
  if (source.index == NOWHERE || target.index == NOWHERE) return;
  if (source.kind == target.kind) {
    const char* const kind = source.kind == Kind::PLACE ? "places" : "transitions";
    throw Fault(arc.at, "the arc joins two " + std::string(kind) + " " + quoted(arc.source) +
                            " and " + quoted(arc.target) + ONE_PLACE);
  }
  const bool toTransition = target.kind == Kind::TRANSITION;
  if (arc.inhibitor && !toTransition) {
    throw Fault(arc.at, "an inhibitor arc leads to the place " + quoted(arc.target) +
                            ", expected one from a place to a transition");
  }
  const int place = toTransition ? source.index : target.index;
  const int transition = toTransition ? target.index : source.index;
  links[static_cast<std::size_t>(transition)].push_back({number, place, toTransition});
}

void NetBuilder::addWeight(int& sum, const Arc& arc) const {
  if (arc.weight > INT_MAX - sum) {
    throw Fault(arc.at, "the arcs from " + quoted(arc.source) + " to " + quoted(arc.target) +
                            " weigh too much together" + WEIGHT_SUM);
  }
  sum += arc.weight;
}

void NetBuilder::addToUse(Use& use, const Link& link) const {
  const Arc& arc = mArcs[static_cast<std::size_t>(link.arc)];
  if (arc.inhibitor) {
    use.below = use.below == 0 ? arc.weight : std::min(use.below, arc.weight);
  } else {
    addWeight(link.toTransition ? use.consumed : use.produced, arc);
  }
}

// `slots` holds, for each place, where its use stands in the transition, if it is in there: what
// other transitions have left is told apart by the place of that use.
void NetBuilder::addUses(Transition& transition, const std::vector<Link>& links,
                         std::vector<int>& slots, Faults& faults) {
  for (const Link& link : links) {
    int& slot = slots[static_cast<std::size_t>(link.place)];
    const auto index = static_cast<std::size_t>(slot);
    if (index >= transition.uses.size() || transition.uses[index].place != link.place) {
      slot = static_cast<int>(transition.uses.size());
      transition.uses.push_back({link.place, 0, 0, 0});
    }
    try {
      addToUse(transition.uses[static_cast<std::size_t>(slot)], link);
    } catch (const Fault& fault) {
      faults.add(fault);
    }
  }
}

Net NetBuilder::build(Faults& faults) {
  resolveAll(mReferencePlaces, Kind::PLACE, Kind::REFERENCE_PLACE, faults);
  resolveAll(mReferenceTransitions, Kind::TRANSITION, Kind::REFERENCE_TRANSITION, faults);
  std::vector<std::vector<Link>> links(mNet.transitions.size());
  for (std::size_t i = 0; i < mArcs.size() && !faults.full(); ++i) {
    try {
      linkArc(static_cast<int>(i), links);
    } catch (const Fault& fault) {
      faults.add(fault);
    }
  }
  std::vector<int> slots(mNet.places.size(), 0);
  for (std::size_t i = 0; i < links.size(); ++i) {
    addUses(mNet.transitions[i], links[i], slots, faults);
  }
  return std::move(mNet);
}

}  // namespace pnml
