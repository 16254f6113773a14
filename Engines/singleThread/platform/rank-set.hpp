// A set of numbers that finds the neighbours of a number. Private to the engine.
#ifndef VESK_RANK_SET_HPP
#define VESK_RANK_SET_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vesk {

// Numbers below a limit that is fixed at the start. A bit for each number, and above the words of
// each level a level with a bit for each word that is not 0: every operation costs a few words.
class RankSet {
 public:
  static constexpr std::size_t NONE = ~std::size_t{0};

  // Empties the set. The limit is the number behind the largest possible one.
  void reset(std::size_t limit) {
    mLevels.clear();
    do {
      limit = limit / BITS + 1;
      mLevels.emplace_back(limit, std::uint64_t{0});
    } while (limit > 1);
  }

  // Requires for these three: below the limit.
  bool has(std::size_t number) const {
    return (mLevels[0][number / BITS] >> (number % BITS) & 1) != 0;
  }
  void add(std::size_t number) {
    for (Level& level : mLevels) {
      std::uint64_t& word = level[number / BITS];
      const bool known = word != 0;
      word |= std::uint64_t{1} << (number % BITS);
      if (known) return;
      number /= BITS;
    }
  }
  void remove(std::size_t number) {
    for (Level& level : mLevels) {
      std::uint64_t& word = level[number / BITS];
      word &= ~(std::uint64_t{1} << (number % BITS));
      if (word != 0) return;
      number /= BITS;
    }
  }

  // The smallest number of the set that is not below, and the largest one that is below the given
  // number; NONE when there is none. Requires: not above the limit.
  std::size_t from(std::size_t number) const {
    for (std::size_t height = 0; height < mLevels.size(); ++height) {
      const std::size_t index = number / BITS;
      if (index >= mLevels[height].size()) return NONE;
      const std::uint64_t word = mLevels[height][index] >> (number % BITS);
      if (word != 0) return lowest(height, number + lowestBit(word));
      number = index + 1;
    }
    return NONE;
  }
  std::size_t below(std::size_t number) const {
    for (std::size_t height = 0; height < mLevels.size(); ++height) {
      const std::size_t index = number / BITS;
      const std::uint64_t mask = (std::uint64_t{1} << (number % BITS)) - 1;
      const std::uint64_t word = mLevels[height][index] & mask;
      if (word != 0) return highest(height, index * BITS + highestBit(word));
      number = index;
    }
    return NONE;
  }

 private:
  using Level = std::vector<std::uint64_t>;
  static constexpr std::size_t BITS = 64;

  static std::size_t lowestBit(std::uint64_t word) {
    return static_cast<std::size_t>(__builtin_ctzll(word));
  }
  static std::size_t highestBit(std::uint64_t word) {
    return BITS - 1 - static_cast<std::size_t>(__builtin_clzll(word));
  }
  // From a bit of a level down to the number.
  std::size_t lowest(std::size_t height, std::size_t number) const {
    while (height-- > 0) number = number * BITS + lowestBit(mLevels[height][number]);
    return number;
  }
  std::size_t highest(std::size_t height, std::size_t number) const {
    while (height-- > 0) number = number * BITS + highestBit(mLevels[height][number]);
    return number;
  }

  std::vector<Level> mLevels;  // the numbers first, then the words of the level before
};

}  // namespace Vesk

#endif
