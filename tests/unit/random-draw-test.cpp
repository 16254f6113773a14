#include "random-draw.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

using Vesk::RandomDraw;

constexpr long long OFF_INTEGERS = 1LL << 32;  // from here on the product may need rounding
constexpr unsigned int SEEDS = 500;

// What the next draw of rand() gives, in extended precision.
long double nextFraction(unsigned int seed) {
  std::srand(seed);
  const long double fraction = std::rand() * 0x1p-31L;
  std::srand(seed);
  return fraction;
}

class RandomDrawTest : public testing::TestWithParam<long long> {};

}  // namespace

TEST_P(RandomDrawTest, IsThePartOfTheWholeThatExtendedPrecisionGives) {
  const long long whole = GetParam();
  for (unsigned int seed = 1; seed <= SEEDS; ++seed) {
    const long double part = std::trunc(nextFraction(seed) * static_cast<long double>(whole));
    EXPECT_EQ(RandomDraw().of(whole), static_cast<long long>(part)) << seed;
  }
}

INSTANTIATE_TEST_SUITE_P(Wholes, RandomDrawTest,
                         testing::Values(0, 1, 2, 3, 1000, 2147483647, OFF_INTEGERS - 1,
                                         OFF_INTEGERS, OFF_INTEGERS + 1, 1000000000000,
                                         9223372036854775807, -1, -3, -1000, -OFF_INTEGERS));

TEST(RandomDrawTest, TakesOneNumberHoweverOftenItIsAsked) {
  std::srand(7);
  std::rand();
  const int second = std::rand();
  std::srand(7);
  const RandomDraw draw;
  EXPECT_EQ(draw.of(1000), draw.of(1000));
  EXPECT_EQ(draw.fraction(), draw.fraction());
  EXPECT_EQ(std::rand(), second);
}

TEST(RandomDrawTest, IsNeverTheWhole) {
  EXPECT_EQ(RandomDraw().of(1), 0);
  EXPECT_LT(RandomDraw().fraction(), 1);
  EXPECT_GE(RandomDraw().fraction(), 0);
}
