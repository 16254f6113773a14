#include "label.hpp"

#include "scan.hpp"

namespace Vesk::Traces {

namespace {

constexpr std::string_view URGENCIES[] = {"lazy ", "delayable ", "eager "};

// "(0ms,_)" at the end.
bool takeBounds(std::string_view& text) {
  const std::size_t open = text.rfind('(');
  if (open == std::string_view::npos) return false;
  std::string_view bounds = text.substr(open + 1);
  Moment low;
  Moment high;
  if (!takeMoment(bounds, low) || !Lts::takePrefix(bounds, ",")) return false;
  if (!takeMoment(bounds, high) || bounds != ")") return false;
  text = text.substr(0, open);
  return true;
}

bool takeInterval(std::string_view& text) {
  if (Lts::takeSuffix(text, "empty")) return true;
  std::string_view rest = text;
  if (!takeBounds(rest)) return false;
  for (std::string_view urgency : URGENCIES) {
    if (!Lts::takeSuffix(rest, urgency)) continue;
    text = rest;
    return true;
  }
  return false;
}

bool takeIntervals(std::string_view& text) {
  if (!takeInterval(text)) return false;
  for (std::string_view rest = text; Lts::takeSuffix(rest, " or ") && takeInterval(rest);) {
    text = rest;
  }
  return true;
}

// Where the second slash of an interaction is; npos when it is none.
std::size_t secondSlash(std::string_view label) {
  const std::size_t first = label.find('/');
  return first == std::string_view::npos ? first : label.find('/', first + 1);
}

std::size_t portOf(std::string_view end, Names& names) {
  const auto [part, port] = namesOf(end);
  return names.port(names.part(part), port);
}

}  // namespace

bool takeConstraint(std::string_view& text) {
  std::string_view rest = text;
  if (!Lts::takeSuffix(rest, "lazy") && !takeIntervals(rest)) return false;
  if (!Lts::takeSuffix(rest, " ") || rest.empty()) return false;
  text = rest;
  return true;
}

LabelPieces piecesOf(std::string_view label) {
  const std::size_t second = secondSlash(label);
  if (second == std::string_view::npos) return {{}, {}, label, false};
  const std::size_t first = label.find('/');
  return {label.substr(0, first), label.substr(first + 1, second - first - 1),
          label.substr(second + 1), true};
}

std::vector<std::string_view> endsOf(std::string_view ends) {
  std::vector<std::string_view> result;
  while (!ends.empty()) {
    const std::size_t bar = ends.find('|');
    if (bar != 0) result.push_back(ends.substr(0, bar));
    ends.remove_prefix(bar == std::string_view::npos ? ends.size() : bar + 1);
  }
  return result;
}

std::pair<std::string_view, std::string_view> namesOf(std::string_view end) {
  const std::size_t colon = end.find(':');
  if (colon == std::string_view::npos) return {end, {}};
  return {end.substr(0, colon), end.substr(colon + 1)};
}

bool isInteraction(std::string_view label) {
  return secondSlash(label) != std::string_view::npos;
}

bool isLabel(std::string_view label) {
  return isInteraction(label) || label.find(':') != std::string_view::npos;
}

Firing firingOf(std::string_view label, Names& names) {
  Firing firing;
  firing.label = label;
  const std::size_t slash = secondSlash(label);
  if (slash == std::string_view::npos) {
    firing.ports.push_back(portOf(label, names));
    return firing;
  }
  firing.connector = names.connector(label.substr(0, slash));
  for (std::string_view end : endsOf(label.substr(slash + 1))) {
    firing.ports.push_back(portOf(end, names));
  }
  return firing;
}

}  // namespace Vesk::Traces
