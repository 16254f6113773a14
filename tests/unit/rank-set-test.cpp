#include "rank-set.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <set>

#include "draw.hpp"

namespace {

using Vesk::RankSet;

// The neighbours of a number in an ordered set.
std::size_t from(const std::set<std::size_t>& model, std::size_t number) {
  const auto found = model.lower_bound(number);
  return found != model.end() ? *found : RankSet::NONE;
}

std::size_t below(const std::set<std::size_t>& model, std::size_t number) {
  const auto found = model.lower_bound(number);
  return found != model.begin() ? *std::prev(found) : RankSet::NONE;
}

class RankSetTest : public testing::TestWithParam<int> {};

}  // namespace

TEST_P(RankSetTest, FindsTheNeighboursThatAnOrderedSetHas) {
  const int limit = GetParam();
  Draw draw(static_cast<unsigned int>(limit));
  RankSet set;
  set.reset(static_cast<std::size_t>(limit));
  std::set<std::size_t> model;
  for (int round = 0; round < 20000; ++round) {
    const auto number = static_cast<std::size_t>(draw.below(limit));
    // It fills at first, and is nearly empty in the end.
    if (draw.below(8) < (round < 10000 ? 5 : 1)) {
      set.add(number);
      model.insert(number);
    } else {
      set.remove(number);
      model.erase(number);
      if (!model.empty() && draw.coin()) {
        set.remove(*model.begin());
        model.erase(model.begin());
      }
    }
    ASSERT_EQ(set.has(number), model.count(number) == 1);
    const auto place = static_cast<std::size_t>(draw.between(0, limit));
    ASSERT_EQ(set.from(place), from(model, place)) << round;
    ASSERT_EQ(set.below(place), below(model, place)) << round;
  }
}

TEST_P(RankSetTest, IsEmptyAfterAReset) {
  const auto limit = static_cast<std::size_t>(GetParam());
  RankSet set;
  set.reset(limit);
  set.add(limit - 1);
  set.reset(limit);
  EXPECT_EQ(set.from(0), RankSet::NONE);
  EXPECT_EQ(set.below(limit), RankSet::NONE);
}

INSTANTIATE_TEST_SUITE_P(Limits, RankSetTest,
                         testing::Values(1, 63, 64, 65, 4095, 4096, 4097, 300000));
