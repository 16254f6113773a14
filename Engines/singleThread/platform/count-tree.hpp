// Counts at places, which finds the place of the n-th counted thing. Private to the engine.
#ifndef VESK_COUNT_TREE_HPP
#define VESK_COUNT_TREE_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vesk {

// A count for each place, and above the counts of each level a level with the sum of each group of
// them: a change costs one addition on each level, a search a look at one group on each.
class CountTree {
 public:
  // All counts are 0 for places below the limit.
  void reset(std::size_t limit) {
    mLevels.clear();
    do {
      mLevels.emplace_back(limit, Count{0});
      limit = (limit + GROUP - 1) / GROUP;
    } while (mLevels.back().size() > 1);
    mTotal = 0;
  }
  std::size_t total() const { return mTotal; }

  // Require: below the limit; for the second: the count is not 0.
  void increase(std::size_t place) {
    ++mTotal;
    for (Level& level : mLevels) {
      ++level[place];
      place /= GROUP;
    }
  }
  void decrease(std::size_t place) {
    --mTotal;
    for (Level& level : mLevels) {
      --level[place];
      place /= GROUP;
    }
  }

  // A change of this count is near.
  void comesNear(std::size_t place) const { __builtin_prefetch(&mLevels[0][place]); }

  // The place of thing number index in the order of the places; index is then its number among
  // those of the place. Requires: index < total().
  std::size_t find(std::size_t& index) const {
    std::size_t place = 0;
    for (std::size_t height = mLevels.size(); height-- > 0;) {
      place *= GROUP;
      for (; index >= mLevels[height][place]; ++place) index -= mLevels[height][place];
    }
    return place;
  }

 private:
  using Count = std::uint32_t;
  using Level = std::vector<Count>;
  static constexpr std::size_t GROUP = 32;

  std::vector<Level> mLevels;  // the counts first, then the sums of the level before
  std::size_t mTotal = 0;
};

}  // namespace Vesk

#endif
