// Eight bytes at a time. Private to the engine.
#ifndef VESK_EXPLORATION_WORDS_HPP
#define VESK_EXPLORATION_WORDS_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vesk {

constexpr std::size_t WORD = sizeof(std::uint64_t);

inline std::uint64_t wordAt(const void* place) {
  std::uint64_t word;
  std::memcpy(&word, place, WORD);
  return word;
}

// Where the first byte in memory stands that is not 0. Requires: there is one.
inline std::size_t firstByte(std::uint64_t word) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  return static_cast<std::size_t>(__builtin_ctzll(word)) / 8;
#else
  return static_cast<std::size_t>(__builtin_clzll(word)) / 8;
#endif
}

// How many bytes stand before the first one in memory that is 0; WORD when none is.
inline std::size_t bytesBeforeZero(std::uint64_t word) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  // The lowest byte in which the subtraction borrows is the first zero.
  const std::uint64_t zeros = (word - 0x0101010101010101u) & ~word & 0x8080808080808080u;
  return zeros != 0 ? firstByte(zeros) : WORD;
#else
  std::size_t count = 0;
  while (count < WORD && (word >> (8 * (WORD - 1 - count)) & 0xFF) != 0) ++count;
  return count;
#endif
}

}  // namespace Vesk

#endif
