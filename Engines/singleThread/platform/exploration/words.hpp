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

// Copies a text and returns where it ends. A short one is copied without a call, which would take
// longer: in pieces that may overlap.
inline char* putText(char* to, const char* text, std::size_t length) {
  constexpr std::size_t HALF = WORD / 2;
  constexpr std::size_t SHORT = 8 * WORD;
  if (length > SHORT) {
    std::memcpy(to, text, length);
  } else if (length >= WORD) {
    for (std::size_t i = 0; i + WORD < length; i += WORD) std::memcpy(to + i, text + i, WORD);
    std::memcpy(to + length - WORD, text + length - WORD, WORD);
  } else if (length >= HALF) {
    std::memcpy(to, text, HALF);
    std::memcpy(to + length - HALF, text + length - HALF, HALF);
  } else if (length != 0) {
    to[0] = text[0];
    to[length / 2] = text[length / 2];
    to[length - 1] = text[length - 1];
  }
  return to + length;
}

// Replaces so many bytes, at most WORD, by others. Requires: WORD bytes can be read at both places.
inline void putBytes(char* to, const char* bytes, std::size_t count) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  const std::uint64_t kept = count < WORD ? ~std::uint64_t{0} << (8 * count) : 0;
  const std::uint64_t word = (wordAt(to) & kept) | (wordAt(bytes) & ~kept);
  std::memcpy(to, &word, WORD);
#else
  std::memcpy(to, bytes, count);
#endif
}

// Whether so many bytes, at most WORD, are the same. Requires: WORD bytes can be read at both
// places.
inline bool haveSameBytes(const char* bytes, const char* others, std::size_t count) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  return count == 0 || (wordAt(bytes) ^ wordAt(others)) << (8 * (WORD - count)) == 0;
#else
  return std::memcmp(bytes, others, count) == 0;
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
