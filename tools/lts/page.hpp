// A page for a browser: one file with everything in it.
#ifndef VESK_LTS_PAGE_HPP
#define VESK_LTS_PAGE_HPP

#include <cstdint>
#include <optional>
#include <string>

#include "exploration.hpp"
#include "json-text.hpp"
#include "part.hpp"

namespace Vesk::Lts {

class StateTexts;

// More are refused: the page would take too long to open.
constexpr std::uint64_t MAX_PAGE_TRANSITIONS = 100000;
// Up to here the page has a drawing.
constexpr std::uint64_t MAX_DRAWN_TRANSITIONS = 150;

// The data of the page. Levels are counted from the start of the part.
Json pageData(const Exploration& exploration, const Part& part, const StateTexts& texts);

// The page with the data, and with a drawing if there is one. Texts and labels come into it as
// JSON, and as text in the drawing; the page runs nothing but its own script and loads nothing.
std::string pageText(const Json& data, const std::optional<std::string>& drawing);

}  // namespace Vesk::Lts

#endif
