#include "exploration/key-table.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

using Vesk::KeyLayout;
using Vesk::KeyTable;
using Vesk::StateNumber;

namespace {

// A key of so many bytes that begins with a number.
std::vector<unsigned char> keyOf(std::uint32_t number, std::size_t bytes) {
  std::vector<unsigned char> key(bytes, 0x55);
  for (std::size_t i = 0; i < bytes && i < 4; ++i) {
    key[i] = static_cast<unsigned char>(number >> (8 * i));
  }
  return key;
}

StateNumber findOrAdd(KeyTable& table, const std::vector<unsigned char>& key, std::uint64_t hash) {
  const StateNumber found =
      table.find(hash, [&](StateNumber number) { return table.holds(number, key.data()); });
  if (found == table.count()) table.add(key.data(), hash);
  return found;
}

}  // namespace

class KeyTableTest : public testing::TestWithParam<std::size_t> {};

TEST_P(KeyTableTest, NumbersKeysInTheOrderInWhichTheyAreAdded) {
  const std::size_t bytes = GetParam();
  const std::uint32_t most = bytes == 1 ? 256 : 20000;
  KeyTable table(bytes);
  for (int round = 0; round < 2; ++round) {
    for (std::uint32_t i = 0; i < most; ++i) {
      ASSERT_EQ(i, findOrAdd(table, keyOf(i, bytes), i * 0x9E3779B97F4A7C15u)) << round;
    }
  }
  EXPECT_EQ(most, table.count());
  EXPECT_TRUE(table.holds(most - 1, keyOf(most - 1, bytes).data()));
}

TEST_P(KeyTableTest, KeysWithOneHashAreToldApart) {
  const std::size_t bytes = GetParam();
  KeyTable table(bytes);
  for (int round = 0; round < 2; ++round) {
    for (std::uint32_t i = 0; i < 100; ++i) ASSERT_EQ(i, findOrAdd(table, keyOf(i, bytes), 7));
  }
}

TEST_P(KeyTableTest, HoldsComparesEveryByte) {
  const std::size_t bytes = GetParam();
  KeyTable table(bytes);
  std::vector<unsigned char> key = keyOf(1, bytes);
  table.add(key.data(), 1);
  EXPECT_TRUE(table.holds(0, key.data()));
  for (std::size_t i = 0; i < bytes; ++i) {
    ++key[i];
    EXPECT_FALSE(table.holds(0, key.data())) << i;
    --key[i];
  }
}

TEST_P(KeyTableTest, FindsStatesByOtherHashesFromThenOn) {
  const std::size_t bytes = GetParam();
  KeyTable table(bytes);
  for (std::uint32_t i = 0; i < 200; ++i) table.add(keyOf(i, bytes).data(), i);
  table.rehash([](StateNumber number) { return std::uint64_t{number} * 1000003u; });
  const auto any = [](StateNumber) { return true; };
  for (std::uint32_t i = 0; i < 200; ++i) EXPECT_EQ(i, table.find(i * std::uint64_t{1000003}, any));
}

INSTANTIATE_TEST_SUITE_P(Lengths, KeyTableTest, testing::Values(1, 7, 8, 9, 16, 450));

TEST(KeyTableTest, AKeyMayBeLongerThanAChunk) {
  const std::size_t bytes = (std::size_t{1} << 21) + 5;
  KeyTable table(bytes);
  for (std::uint32_t i = 0; i < 3; ++i) table.add(keyOf(i, bytes).data(), i);
  for (std::uint32_t i = 0; i < 3; ++i) EXPECT_TRUE(table.holds(i, keyOf(i, bytes).data()));
}

TEST(KeyTableTest, KeysWithoutBytesAreEqual) {
  KeyTable table(0);
  table.add(nullptr, 5);
  EXPECT_EQ(0U, table.find(5, [&](StateNumber number) { return table.holds(number, nullptr); }));
}

// More than one chunk, both before and after.
TEST(KeyTableTest, ConvertsItsKeysToAnotherLayout) {
  const KeyLayout narrow(30);
  const KeyLayout wide = narrow.widened(3);
  KeyTable table(narrow.bytes());
  for (std::uint32_t i = 0; i < 150000; ++i) table.add(keyOf(i, 30).data(), i);
  table.convert(narrow, wide);
  EXPECT_EQ(150000U, table.count());
  for (std::uint32_t i = 0; i < 150000; ++i) {
    for (std::size_t atom = 0; atom < 5; ++atom) {
      const std::vector<unsigned char> key = keyOf(i, 30);
      ASSERT_EQ(narrow.get(key.data(), atom), wide.get(table.key(i), atom)) << i << ' ' << atom;
    }
  }
  EXPECT_EQ(7U, table.find(7, [](StateNumber number) { return number == 7; }));
}

TEST(KeyTableTest, HintsMayBeAskedForBeforeAnythingIsThere) {
  KeyTable table(8);
  table.prefetchSlot(1);
  table.prefetchKey(1);
  table.add(keyOf(1, 8).data(), 1);
  table.prefetchKey(1);
  EXPECT_EQ(1U, table.count());
}
