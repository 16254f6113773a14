// Labels and constraints, as traces write them behind each other.
#ifndef VESK_TRACE_LABEL_HPP
#define VESK_TRACE_LABEL_HPP

#include <string_view>
#include <utility>
#include <vector>

#include "run.hpp"

namespace Vesk::Traces {

// The text without the blank and the constraint at its end, of which the longest is taken. False
// when there is none, or no label before it.
bool takeConstraint(std::string_view& text);

// "compound/connector/atom:port|atom:port" in pieces. An internal port, "atom:port", has only ends.
struct LabelPieces {
  std::string_view compound;
  std::string_view connector;
  std::string_view ends;
  bool isInteraction;
};
LabelPieces piecesOf(std::string_view label);

// The ends between the bars; a bar at the start has none before it.
std::vector<std::string_view> endsOf(std::string_view ends);
// The name of the atom or compound, and that of its port.
std::pair<std::string_view, std::string_view> namesOf(std::string_view end);

// Whether it is one, as far as that can be told.
bool isInteraction(std::string_view label);
// The same, or an internal port.
bool isLabel(std::string_view label);

// The label with the numbers of its names; those that are new are added. Names may contain the
// separators, so the first ones are taken: that splits a label otherwise than the model has put it
// together, but always in the same way.
Firing firingOf(std::string_view label, Names& names);

}  // namespace Vesk::Traces

#endif
