#include "count-tree.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "draw.hpp"

TEST(CountTreeTest, EverythingIsFoundInTheOrderOfThePlaces) {
  for (const std::size_t places : {1u, 2u, 31u, 32u, 33u, 1000u, 1024u, 1025u, 40000u}) {
    Draw draw(static_cast<unsigned int>(places));
    Vesk::CountTree tree;
    tree.reset(places);
    std::vector<int> counts(places, 0);
    for (int round = 0; round < 300; ++round) {
      const auto place = static_cast<std::size_t>(draw.below(static_cast<int>(places)));
      if (counts[place] > 0 && draw.below(3) == 0) {
        --counts[place];
        tree.decrease(place);
      } else {
        ++counts[place];
        tree.increase(place);
      }
    }
    std::size_t total = 0;
    for (std::size_t place = 0; place < places; ++place) {
      for (int n = 0; n < counts[place]; ++n, ++total) {
        std::size_t index = total;
        ASSERT_EQ(tree.find(index), place) << places;
        ASSERT_EQ(index, static_cast<std::size_t>(n));
      }
    }
    EXPECT_EQ(tree.total(), total);
  }
}

TEST(CountTreeTest, AResetForgetsEverything) {
  Vesk::CountTree tree;
  tree.reset(100);
  tree.increase(7);
  tree.reset(10);
  EXPECT_EQ(tree.total(), 0u);
  tree.increase(9);
  std::size_t index = 0;
  EXPECT_EQ(tree.find(index), 9u);
}
