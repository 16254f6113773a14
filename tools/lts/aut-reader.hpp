// Reads .aut files: those that an exploration leaves, whole or cut, and those of other tools.
#ifndef VESK_LTS_AUT_READER_HPP
#define VESK_LTS_AUT_READER_HPP

#include <cstdint>
#include <optional>
#include <string>

#include "graph.hpp"

namespace Vesk::Lts {

class Progress;

// What the first line says.
struct AutHeader {
  State initial = 0;
  std::uint64_t transitions = 0;
  std::uint64_t states = 0;
};

struct AutFile {
  Graph graph;
  std::optional<AutHeader> header;  // empty: the exploration could not write it
  // The engine's own format: a blank second line, or a blank first one, and labels without quotes.
  bool isOwn = false;
  // The last line is not whole and was left out.
  bool lastLineIsCut = false;
};

// Throws a Fault that names the line when it is no such file.
AutFile readAut(const std::string& path, Progress& progress);

}  // namespace Vesk::Lts

#endif
