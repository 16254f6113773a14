// Numbers as decimal digits, for files and progress that consist of little else. Private to the
// engine.
#ifndef VESK_EXPLORATION_DECIMAL_HPP
#define VESK_EXPLORATION_DECIMAL_HPP

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>

#include "exploration/words.hpp"

namespace Vesk {

constexpr std::size_t MAX_DIGITS = 20;

// The eight digits of a number below 10^8 as values, the first one in the lowest byte: the number
// is cut into halves, these into pairs and the pairs into digits, all at once in one word. Division
// by 100 and by 10 is a multiplication that is exact for such small numbers.
inline std::uint64_t digitsOf(std::uint32_t number) {
  const std::uint64_t halves = number / 10000 | std::uint64_t{number % 10000} << 32;
  const std::uint64_t hundreds = halves * 10486 >> 20 & 0x0000007F0000007Fu;
  const std::uint64_t pairs = hundreds | (halves - 100 * hundreds) << 16;
  const std::uint64_t tens = pairs * 103 >> 10 & 0x000F000F000F000Fu;
  return tens | (pairs - 10 * tens) << 8;
}

// Writes the digits and returns where they end. Requires: room for MAX_DIGITS characters.
inline char* putNumber(char* to, std::uint64_t number) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  if (number < 100000000) {
    const std::uint64_t digits = digitsOf(static_cast<std::uint32_t>(number));
    constexpr std::uint64_t LAST = std::uint64_t{1} << 56;
    const std::size_t zeros = firstByte(digits | LAST);
    const std::uint64_t text = (digits | 0x3030303030303030u) >> (8 * zeros);
    std::memcpy(to, &text, WORD);
    return to + WORD - zeros;
  }
#endif
  return std::to_chars(to, to + MAX_DIGITS, number).ptr;
}

// With blanks in front up to a width. Requires: room for the width or MAX_DIGITS characters.
inline char* putNumber(char* to, std::uint64_t number, std::size_t width) {
  char digits[MAX_DIGITS];
  const auto length = static_cast<std::size_t>(putNumber(digits, number) - digits);
  if (length < width) to = std::fill_n(to, width - length, ' ');
  return std::copy_n(digits, length, to);
}

}  // namespace Vesk

#endif
