#include "address-map.hpp"

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "draw.hpp"

namespace {

using Map = Vesk::AddressMap<int>;

}  // namespace

TEST(AddressMapTest, ANewMapFindsNothing) {
  Map map;
  const int key = 0;
  EXPECT_EQ(map.find(&key), nullptr);
  map.erase(&key);
  EXPECT_EQ(map.find(&key), nullptr);
}

TEST(AddressMapTest, AClearedMapForgets) {
  Map map;
  const int key = 0;
  map[&key] = 5;
  map.clear();
  EXPECT_EQ(map.find(&key), nullptr);
  map[&key] = 6;
  EXPECT_EQ(*map.find(&key), 6);
}

TEST(AddressMapTest, ANewValueIsThatOfItsType) {
  Map map;
  const int key = 0;
  EXPECT_EQ(map[&key], 0);
}

TEST(AddressMapTest, FindsWhatAListWouldFind) {
  Draw draw(1);
  const std::vector<long long> keys(300);
  Map map;
  std::map<const void*, int> model;
  for (int round = 0; round < 50000; ++round) {
    const void* const key = &keys[static_cast<std::size_t>(draw.below(300))];
    // The map grows in the first half, then it becomes nearly empty.
    if (draw.below(3) == (round < 25000 ? 0 : 1) || round > 45000) {
      map.erase(key);
      model.erase(key);
    } else {
      model[key] = map[key] = round;
    }
    for (int look = 0; look < 3; ++look) {
      const void* const other = &keys[static_cast<std::size_t>(draw.below(300))];
      const int* const found = map.find(other);
      ASSERT_EQ(found != nullptr, model.count(other) == 1) << round;
      if (found != nullptr) {
        ASSERT_EQ(*found, model[other]) << round;
      }
    }
  }
}
