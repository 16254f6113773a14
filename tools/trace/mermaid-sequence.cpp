#include "mermaid-sequence.hpp"

#include <string_view>

namespace Vesk::Traces {

namespace {

std::string aliasOf(std::size_t column) {
  return "A" + std::to_string(column);
}

// What has a meaning for Mermaid or in a web page becomes #NUMBER;.
std::string escaped(const std::string& text) {
  constexpr std::string_view SPECIAL = "#;<>\"&%";
  std::string result;
  for (char c : text) {
    if (SPECIAL.find(c) == std::string_view::npos) {
      result += c;
    } else {
      result += "#" + std::to_string(static_cast<int>(c)) + ";";
    }
  }
  return result;
}

}  // namespace

void MermaidSequence::start() {
  write("sequenceDiagram\n");
}

void MermaidSequence::addColumn(std::size_t column, const std::string& name) {
  write("  participant " + aliasOf(column) + " as " + escaped(name) + "\n");
}

void MermaidSequence::addTime(const std::string& text) {
  std::string over = aliasOf(0);
  if (columns() > 1) over += "," + aliasOf(columns() - 1);
  write("  Note over " + over + ": " + text + "\n");
}

void MermaidSequence::addArrow(std::size_t from, std::size_t to, const std::string& text) {
  write("  " + aliasOf(from) + "->>" + aliasOf(to) + ": " + escaped(text) + "\n");
}

void MermaidSequence::finish(const std::string& text) {
  write("  %% " + text + "\n");
}

}  // namespace Vesk::Traces
