// Other programs that make pictures.
#ifndef VESK_LTS_PICTURES_HPP
#define VESK_LTS_PICTURES_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Vesk::Lts {

// What the program writes when it is given the input; empty when there is no such program, or when
// it fails. What it says on standard error is lost.
std::optional<std::string> filtered(const std::vector<std::string>& command,
                                    const std::string& input);

// A drawing by Graphviz, as an element of HTML. Empty: see filtered().
std::optional<std::string> drawnSvg(const std::string& dot);

// The number of states in each level, by gnuplot, as an SVG file. Empty: see filtered().
std::optional<std::string> plottedSvg(const std::vector<std::uint64_t>& levelSizes);

}  // namespace Vesk::Lts

#endif
