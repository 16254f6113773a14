#include "fault.hpp"

#include <algorithm>
#include <cstddef>

namespace pnml {

namespace {

constexpr std::size_t MAX_QUOTED = 60;  // bytes of a text that a message repeats

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u;
}

}  // namespace

std::vector<Fault> Faults::inOrder() const {
  std::vector<Fault> sorted = mFaults;
  std::stable_sort(sorted.begin(), sorted.end(), [](const Fault& one, const Fault& other) {
    return std::make_pair(one.at().line, one.at().column) <
           std::make_pair(other.at().line, other.at().column);
  });
  return sorted;
}

std::string quoted(const std::string& text) {
  std::size_t end = std::min(text.size(), MAX_QUOTED);
  while (end > 0 && end < text.size() && isContinuation(text[end])) --end;
  std::string result = "\"" + text.substr(0, end);
  for (char& c : result) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  return result + (end < text.size() ? "...\"" : "\"");
}

}  // namespace pnml
