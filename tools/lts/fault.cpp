#include "fault.hpp"

#include <cstddef>

#include "printable.hpp"

namespace Vesk::Lts {

namespace {

constexpr std::size_t MAX_QUOTED = 60;  // bytes of a text that a message repeats

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u;
}

}  // namespace

Fault::Fault(const std::string& file, std::uint64_t line, const std::string& text)
    : std::runtime_error(printable(file) + ":" + std::to_string(line) + ": " + text) {}

std::string inQuotes(std::string_view text) {
  if (text.size() <= MAX_QUOTED) return "\"" + printable(text) + "\"";
  std::size_t end = MAX_QUOTED;
  while (end > 0 && isContinuation(text[end])) --end;
  return "\"" + printable(text.substr(0, end)) + "...\"";
}

}  // namespace Vesk::Lts
