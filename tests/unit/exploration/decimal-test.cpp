#include "exploration/decimal.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

std::string decimal(std::uint64_t number) {
  char text[Vesk::MAX_DIGITS];
  return std::string(text, Vesk::putNumber(text, number));
}

std::string decimal(std::uint64_t number, std::size_t width) {
  char text[2 * Vesk::MAX_DIGITS];
  return std::string(text, Vesk::putNumber(text, number, width));
}

// Numbers of every length: the smallest, the largest, and some between.
std::vector<std::uint64_t> numbers() {
  std::vector<std::uint64_t> all{0, UINT64_MAX};
  for (std::uint64_t power = 1; power <= UINT64_MAX / 10; power *= 10) {
    for (const std::uint64_t digit : {1u, 2u, 5u, 9u}) {
      all.insert(all.end(), {digit * power, digit * power + power / 3, 10 * power - digit});
    }
  }
  return all;
}

}  // namespace

TEST(DecimalTest, EveryNumberHasItsDigits) {
  for (const std::uint64_t number : numbers()) EXPECT_EQ(std::to_string(number), decimal(number));
}

TEST(DecimalTest, AllNumbersOfAFewDigits) {
  for (std::uint64_t number = 0; number < 30000; ++number) {
    ASSERT_EQ(std::to_string(number), decimal(number));
  }
}

TEST(DecimalTest, BlanksFillUpToTheWidth) {
  EXPECT_EQ("         0", decimal(0, 10));
  EXPECT_EQ("       123", decimal(123, 10));
  EXPECT_EQ("1234567890", decimal(1234567890, 10));
}

TEST(DecimalTest, AWideNumberIsNotCut) {
  EXPECT_EQ("12345678901", decimal(12345678901, 10));
  EXPECT_EQ("18446744073709551615", decimal(UINT64_MAX, 10));
}
