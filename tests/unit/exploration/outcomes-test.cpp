#include "exploration/outcomes.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

using Vesk::Outcomes;
using Numbers = std::vector<Outcomes::Number>;

namespace {

Outcomes::Key keyOf(Outcomes::Index part, const Numbers& numbers) {
  return Outcomes::Key(part, numbers.data(), static_cast<Outcomes::Index>(numbers.size()));
}

}  // namespace

TEST(OutcomesTest, WhatIsAddedIsNotKnownYet) {
  Outcomes outcomes;
  const Numbers numbers{1, 2};
  EXPECT_EQ(Outcomes::NONE, outcomes.find(keyOf(3, numbers)));
  EXPECT_EQ(0U, outcomes.add(keyOf(3, numbers), true));
  EXPECT_EQ(1U, outcomes.add(keyOf(4, numbers), false));
  EXPECT_EQ(3U, outcomes[0].part);
  EXPECT_TRUE(outcomes[0].isLegal);
  EXPECT_FALSE(outcomes[0].isKnown);
  EXPECT_FALSE(outcomes[1].isLegal);
  EXPECT_EQ(0U, outcomes.find(keyOf(3, numbers)));
}

// Small and large numbers, few and many atoms, with and without leading zeros.
TEST(OutcomesTest, ConnectorAndNumbersTellOutcomesApart) {
  Outcomes outcomes;
  std::map<std::pair<Outcomes::Index, Numbers>, Outcomes::Index> expected;
  const std::size_t counts[] = {0, 1, 2, 2, 8, 9, 32};  // of the atoms of each connector
  for (Outcomes::Index part = 0; part < std::size(counts); ++part) {
    for (const Outcomes::Number number : {0u, 1u, 255u, 256u, 65536u, UINT32_MAX}) {
      for (std::size_t place = 0; place <= counts[part]; ++place) {
        Numbers numbers(counts[part], 0);
        if (place < counts[part]) numbers[place] = number;
        const Outcomes::Key key = keyOf(part, numbers);
        const bool isThere = expected.count({part, numbers}) != 0;
        ASSERT_EQ(isThere, outcomes.find(key) != Outcomes::NONE);
        if (!isThere) expected[{part, numbers}] = outcomes.add(key, true);
      }
    }
  }
  for (const auto& [what, index] : expected) {
    EXPECT_EQ(index, outcomes.find(keyOf(what.first, what.second)));
  }
}

TEST(OutcomesTest, TheNumbersAfterwardsAreKeptWhileOthersAreAdded) {
  Outcomes outcomes;
  for (Outcomes::Number i = 0; i < 5000; ++i) {
    const Outcomes::Outcome& added = outcomes[outcomes.add(keyOf(1, {i, i}), true)];
    outcomes.after(added)[0] = i + 1;
    outcomes.after(added)[1] = i + 2;
  }
  for (Outcomes::Number i = 0; i < 5000; ++i) {
    ASSERT_EQ(i, outcomes.find(keyOf(1, {i, i})));
    EXPECT_EQ(i + 1, outcomes.after(outcomes[i])[0]);
    EXPECT_EQ(i + 2, outcomes.after(outcomes[i])[1]);
  }
}

namespace {

// The code that the numbers of two atoms get when they need more than eight bits.
std::uint64_t codeOf(const Numbers& numbers) {
  std::uint64_t code = 0;
  for (const Outcomes::Number number : numbers) {
    code = (code ^ number) * 0xFF51AFD7ED558CCDu;
    code ^= code >> 32;
  }
  return code;
}

}  // namespace

// The product of the first number and the factor has no more than 32 bits, so the second number can
// make up for the first.
TEST(OutcomesTest, DifferentNumbersWithOneCodeAreToldApart) {
  const Numbers one{0, 1000};
  const Numbers other{573054361, 1000 ^ 3273416581};
  ASSERT_EQ(codeOf(one), codeOf(other));
  Outcomes outcomes;
  EXPECT_EQ(0U, outcomes.add(keyOf(1, one), true));
  EXPECT_EQ(Outcomes::NONE, outcomes.find(keyOf(1, other)));
  EXPECT_EQ(1U, outcomes.add(keyOf(1, other), false));
  EXPECT_EQ(0U, outcomes.find(keyOf(1, one)));
  EXPECT_EQ(1U, outcomes.find(keyOf(1, other)));
}

TEST(OutcomesTest, WhatIsForgottenTakesNoRoom) {
  Outcomes fresh;
  fresh.add(keyOf(1, {7, 8}), true);
  Outcomes outcomes;
  for (Outcomes::Number i = 0; i < 5000; ++i) outcomes.add(keyOf(1, {i, i}), true);
  outcomes.clear();
  outcomes.add(keyOf(1, {7, 8}), true);
  EXPECT_EQ(fresh.bytes(), outcomes.bytes());
}

TEST(OutcomesTest, NothingIsLeftWhenAllIsForgotten) {
  Outcomes outcomes;
  for (Outcomes::Number i = 0; i < 5000; ++i) outcomes.add(keyOf(1, {i}), true);
  EXPECT_LT(5000 * sizeof(Outcomes::Outcome), outcomes.bytes());
  outcomes.clear();
  EXPECT_EQ(0U, outcomes.bytes());
  EXPECT_EQ(Outcomes::NONE, outcomes.find(keyOf(1, {7})));
  EXPECT_EQ(0U, outcomes.add(keyOf(1, {7}), true));
  EXPECT_EQ(0U, outcomes.find(keyOf(1, {7})));
}

// Numbers have one code with others when the codes of all but the last ones differ in their lower
// halves alone, which the last ones make up for.
TEST(OutcomesTest, OutcomesOfOneCodeStayApart) {
  const auto mixed = [](Outcomes::Number number) {
    std::uint64_t code = number * 0xFF51AFD7ED558CCDu;
    code ^= code >> 32;
    code *= 0xFF51AFD7ED558CCDu;
    return code ^ (code >> 32);
  };
  std::unordered_map<std::uint64_t, Outcomes::Number> seen;
  Outcomes::Number one = 0;
  Outcomes::Number other = 1000;
  while (one == 0 && other < 2000000) {
    const auto [found, isNew] = seen.emplace(mixed(++other) >> 32, other);
    if (!isNew) one = found->second;
  }
  ASSERT_NE(0U, one);
  const auto difference = static_cast<Outcomes::Number>(mixed(one) ^ mixed(other));
  const Numbers numbers{one, 0, 7};
  const Numbers alike{other, 0, 7 ^ difference};
  Outcomes outcomes;
  EXPECT_EQ(0U, outcomes.add(keyOf(1, numbers), true));
  EXPECT_EQ(Outcomes::NONE, outcomes.find(keyOf(1, alike)));
  EXPECT_EQ(1U, outcomes.add(keyOf(1, alike), true));
  EXPECT_EQ(0U, outcomes.find(keyOf(1, numbers)));
  EXPECT_EQ(1U, outcomes.find(keyOf(1, alike)));
}
