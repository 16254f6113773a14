// Small steps of reading a line.
#ifndef VESK_LTS_SCAN_HPP
#define VESK_LTS_SCAN_HPP

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Vesk::Lts {

inline bool isDigit(char c) {
  return static_cast<unsigned char>(c - '0') < 10;
}

inline bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

inline std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

// Takes the number at the start of the text away. False when there is none, or it has more than 18
// digits.
inline bool takeNumber(std::string_view& text, std::uint64_t& number) {
  constexpr std::size_t MAX_DIGITS = 18;
  number = 0;
  std::size_t at = 0;
  while (at < text.size() && isDigit(text[at])) {
    number = number * 10 + static_cast<std::uint64_t>(text[at++] - '0');
    if (at > MAX_DIGITS) return false;
  }
  text.remove_prefix(at);
  return at != 0;
}

// The same for the number at the end of the text.
inline bool takeLastNumber(std::string_view& text, std::uint64_t& number) {
  std::size_t start = text.size();
  while (start > 0 && isDigit(text[start - 1])) --start;
  std::string_view digits = text.substr(start);
  if (!takeNumber(digits, number)) return false;
  text.remove_suffix(text.size() - start);
  return true;
}

inline bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (text.substr(0, prefix.size()) != prefix) return false;
  text.remove_prefix(prefix.size());
  return true;
}

inline bool takeSuffix(std::string_view& text, std::string_view suffix) {
  if (text.size() < suffix.size() || text.substr(text.size() - suffix.size()) != suffix) {
    return false;
  }
  text.remove_suffix(suffix.size());
  return true;
}

}  // namespace Vesk::Lts

#endif
