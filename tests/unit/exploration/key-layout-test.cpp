#include "exploration/key-layout.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

using Vesk::KeyLayout;

TEST(KeyLayoutTest, StartsWithAByteForEachAtom) {
  const KeyLayout layout(3);
  EXPECT_EQ(3U, layout.bytes());
  EXPECT_EQ(255U, layout.most(2));
  EXPECT_EQ(0U, KeyLayout(0).bytes());
}

TEST(KeyLayoutTest, GrowsToTwoAndFourBytes) {
  const KeyLayout two = KeyLayout(3).widened(1);
  EXPECT_EQ(4U, two.bytes());
  EXPECT_EQ(65535U, two.most(1));
  EXPECT_EQ(255U, two.most(0));
  const KeyLayout four = two.widened(1);
  EXPECT_EQ(6U, four.bytes());
  EXPECT_EQ(UINT32_MAX, four.most(1));
}

TEST(KeyLayoutTest, GivesBackWhatWasSet) {
  const KeyLayout layout = KeyLayout(4).widened(1).widened(2).widened(2);
  std::vector<unsigned char> key(layout.bytes());
  const KeyLayout::Number numbers[] = {255, 65535, UINT32_MAX, 7};
  for (std::size_t atom = 0; atom < 4; ++atom) layout.set(key.data(), atom, numbers[atom]);
  for (std::size_t atom = 0; atom < 4; ++atom) {
    EXPECT_EQ(numbers[atom], layout.get(key.data(), atom)) << atom;
  }
}

TEST(KeyLayoutTest, TellsWhoseEachByteIs) {
  const KeyLayout layout = KeyLayout(3).widened(1);
  const std::size_t owners[] = {0, 1, 1, 2};
  for (std::size_t byte = 0; byte < 4; ++byte) EXPECT_EQ(owners[byte], layout.owner(byte)) << byte;
}

TEST(KeyLayoutTest, ConvertsKeysOfANarrowerLayout) {
  const KeyLayout narrow(2);
  const KeyLayout wide = narrow.widened(0);
  const unsigned char key[] = {200, 100};
  unsigned char converted[3];
  wide.convert(narrow, key, converted);
  EXPECT_EQ(200U, wide.get(converted, 0));
  EXPECT_EQ(100U, wide.get(converted, 1));
}
