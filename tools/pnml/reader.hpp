// Reads place/transition nets in PNML (ISO/IEC 15909-2): pages are flattened, reference nodes
// replaced by what they stand for, and inhibitor arcs understood. Nets that mean more than that,
// such as coloured and timed ones, are refused.
#ifndef VESK_PNML_READER_HPP
#define VESK_PNML_READER_HPP

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "net.hpp"

namespace pnml {

// One line for the user: what is wrong, then what was expected.
struct Message {
  Position at;
  std::string text;
};

struct Reading {
  std::optional<Net> net;         // empty: there are errors
  std::vector<Message> errors;    // up to twenty, by position; empty: there is a net
  std::vector<Message> warnings;  // about elements that were left out of account
};

// Reads the document from the present position of the file to its end, or to an error behind which
// nothing can be understood. What stands inside of something wrong is not looked at. The file stays
// the caller's. Never throws, needs memory in proportion to the net, not to the
// document, and gives up on documents that are made to exhaust it.
Reading readNet(std::FILE* document);

}  // namespace pnml

#endif
