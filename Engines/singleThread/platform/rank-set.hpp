// A set of numbers that finds the neighbours of a number. Private to the engine.
#ifndef VESK_RANK_SET_HPP
#define VESK_RANK_SET_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vesk {

// Numbers below a limit that is fixed at the start. A bit for each number, and above the words of
// each level a level with a bit for each word that is not 0: every operation costs a few words, and
// mostly one.
class RankSet {
 public:
  static constexpr std::size_t NONE = ~std::size_t{0};

  // Empties the set. The limit is the number behind the largest possible one.
  void reset(std::size_t limit) {
    mHeight = 0;
    std::size_t words = 0;
    do {
      limit = limit / BITS + 1;
      mLevels[mHeight++] = {words, limit};
      words += limit;
    } while (limit > 1);
    mWords.assign(words, 0);
  }

  // Requires for these three: below the limit.
  bool has(std::size_t number) const { return (mWords[number / BITS] >> (number % BITS) & 1) != 0; }
  void add(std::size_t number) {
    std::uint64_t& word = mWords[number / BITS];
    const std::uint64_t former = word;
    if ((former & bit(number)) != 0) return;
    word = former | bit(number);
    if (former == 0 && mHeight > 1) addAbove(number / BITS);
  }
  void remove(std::size_t number) {
    std::uint64_t& word = mWords[number / BITS];
    word &= ~bit(number);
    if (word == 0 && mHeight > 1) removeAbove(number / BITS);
  }

  // The smallest number of the set that is not below, and the largest one that is below the given
  // number; NONE when there is none. Requires: not above the limit.
  std::size_t from(std::size_t number) const {
    const std::uint64_t word = mWords[number / BITS] >> (number % BITS);
    if (word != 0) return number + lowestBit(word);
    return mHeight > 1 ? fromAbove(number / BITS + 1) : NONE;
  }
  std::size_t below(std::size_t number) const {
    const std::uint64_t word = mWords[number / BITS] & (bit(number) - 1);
    if (word != 0) return number / BITS * BITS + highestBit(word);
    return mHeight > 1 ? belowAbove(number / BITS) : NONE;
  }

 private:
  static constexpr std::size_t BITS = 64;
  static constexpr std::size_t MOST_LEVELS = 11;  // for all numbers of 64 bits

  // The words of a level are together.
  struct Level {
    std::size_t first;
    std::size_t count;
  };

  static std::uint64_t bit(std::size_t number) { return std::uint64_t{1} << (number % BITS); }
  static std::size_t lowestBit(std::uint64_t word) {
    return static_cast<std::size_t>(__builtin_ctzll(word));
  }
  static std::size_t highestBit(std::uint64_t word) {
    return BITS - 1 - static_cast<std::size_t>(__builtin_clzll(word));
  }
  std::uint64_t& wordOf(std::size_t height, std::size_t number) {
    return mWords[mLevels[height].first + number / BITS];
  }
  const std::uint64_t& wordOf(std::size_t height, std::size_t number) const {
    return mWords[mLevels[height].first + number / BITS];
  }

  // The same on the levels above the numbers, from the given word of theirs on.
  [[gnu::noinline]] void addAbove(std::size_t number) {
    for (std::size_t height = 1; height < mHeight; ++height) {
      std::uint64_t& word = wordOf(height, number);
      const bool known = word != 0;
      word |= bit(number);
      if (known) return;
      number /= BITS;
    }
  }
  [[gnu::noinline]] void removeAbove(std::size_t number) {
    for (std::size_t height = 1; height < mHeight; ++height) {
      std::uint64_t& word = wordOf(height, number);
      word &= ~bit(number);
      if (word != 0) return;
      number /= BITS;
    }
  }
  [[gnu::noinline]] std::size_t fromAbove(std::size_t number) const {
    for (std::size_t height = 1; height < mHeight; ++height) {
      const std::size_t index = number / BITS;
      if (index >= mLevels[height].count) return NONE;
      const std::uint64_t word = wordOf(height, number) >> (number % BITS);
      if (word != 0) return lowest(height, number + lowestBit(word));
      number = index + 1;
    }
    return NONE;
  }
  [[gnu::noinline]] std::size_t belowAbove(std::size_t number) const {
    for (std::size_t height = 1; height < mHeight; ++height) {
      const std::size_t index = number / BITS;
      const std::uint64_t word = wordOf(height, number) & (bit(number) - 1);
      if (word != 0) return highest(height, index * BITS + highestBit(word));
      number = index;
    }
    return NONE;
  }
  // From a bit of a level down to the number.
  std::size_t lowest(std::size_t height, std::size_t number) const {
    while (height-- > 0) {
      number = number * BITS + lowestBit(mWords[mLevels[height].first + number]);
    }
    return number;
  }
  std::size_t highest(std::size_t height, std::size_t number) const {
    while (height-- > 0) {
      number = number * BITS + highestBit(mWords[mLevels[height].first + number]);
    }
    return number;
  }

  std::vector<std::uint64_t> mWords;  // the bits of the numbers first, then level by level
  Level mLevels[MOST_LEVELS];
  std::size_t mHeight = 0;
};

}  // namespace Vesk

#endif
