// A fast hash of texts that are not chosen by an enemy.
#ifndef VESK_LTS_TEXT_HASH_HPP
#define VESK_LTS_TEXT_HASH_HPP

#include <cstdint>
#include <cstring>
#include <string_view>

namespace Vesk::Lts {

inline std::uint64_t textHash(std::string_view text) {
  constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15u;
  std::uint64_t hash = text.size() * FACTOR;
  const char* at = text.data();
  std::size_t left = text.size();
  for (; left >= 8; at += 8, left -= 8) {
    std::uint64_t word;
    std::memcpy(&word, at, 8);
    hash = (hash ^ word) * FACTOR;
    hash ^= hash >> 32;
  }
  std::uint64_t word = 0;
  if (left != 0) std::memcpy(&word, at, left);
  hash = (hash ^ word) * FACTOR;
  return hash ^ hash >> 29;
}

}  // namespace Vesk::Lts

#endif
