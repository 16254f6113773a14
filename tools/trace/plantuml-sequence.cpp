#include "plantuml-sequence.hpp"

#include <cstdio>
#include <string_view>

namespace Vesk::Traces {

namespace {

std::string aliasOf(std::size_t column) {
  return "A" + std::to_string(column);
}

// Whether the character has a meaning here. Signs of markup have one when they are doubled.
bool isSpecial(const std::string& text, std::size_t at) {
  const char c = text[at];
  if (std::string_view("\"\\<~%").find(c) != std::string_view::npos) return true;
  const bool isMarkup = std::string_view("*/-_['").find(c) != std::string_view::npos;
  return isMarkup && at > 0 && text[at - 1] == c;
}

std::string escaped(const std::string& text) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (!isSpecial(text, at)) {
      result += text[at];
      continue;
    }
    char code[12];
    std::snprintf(code, sizeof code, "<U+%04X>", static_cast<unsigned>(text[at]));
    result += code;
  }
  return result;
}

}  // namespace

void PlantUmlSequence::start() {
  write("@startuml\n");
}

void PlantUmlSequence::addColumn(std::size_t column, const std::string& name) {
  write("participant \"" + escaped(name) + "\" as " + aliasOf(column) + "\n");
}

void PlantUmlSequence::addTime(const std::string& text) {
  write("== " + text + " ==\n");
}

void PlantUmlSequence::addArrow(std::size_t from, std::size_t to, const std::string& text) {
  write(aliasOf(from) + " -> " + aliasOf(to) + " : " + escaped(text) + "\n");
}

void PlantUmlSequence::finish(const std::string& text) {
  write("footer " + escaped(text) + "\n@enduml\n");
}

}  // namespace Vesk::Traces
