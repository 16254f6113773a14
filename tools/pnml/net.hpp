// A place/transition net as a plain value: what is left of a PNML document once pages, references
// and single arcs are gone.
#ifndef VESK_PNML_NET_HPP
#define VESK_PNML_NET_HPP

#include <string>
#include <vector>

namespace pnml {

// Where something stands in the document; both count from 1.
struct Position {
  unsigned long line = 1;
  unsigned long column = 1;
};

struct Place {
  std::string id;
  int tokens = 0;  // in the initial marking
};

// All that the arcs between one place and one transition ask for.
struct Use {
  int place = 0;     // index into Net::places
  int consumed = 0;  // tokens that firing takes, so as many must be there
  int produced = 0;  // tokens that firing puts
  int below = 0;     // fewer tokens than this must be there; 0: no inhibitor arc
};

struct Transition {
  std::string id;
  Position at;
  std::vector<Use> uses;  // one per place, in the order in which the arcs name the places first
};

// Places and transitions stand in document order.
struct Net {
  std::string id;
  std::vector<Place> places;
  std::vector<Transition> transitions;
};

}  // namespace pnml

#endif
