#include "keyed-heap.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

#include "draw.hpp"

namespace {

using Heap = Vesk::KeyedHeap<int>;
using Id = Heap::Id;

// The things with the smallest key, in order.
std::vector<Id> smallest(const std::map<Id, int>& model) {
  int least = model.begin()->second;
  for (const auto& [id, key] : model) least = std::min(least, key);
  std::vector<Id> found;
  for (const auto& [id, key] : model) {
    if (key == least) found.push_back(id);
  }
  return found;
}

}  // namespace

TEST(KeyedHeapTest, ANewHeapIsEmpty) {
  const Heap heap;
  EXPECT_TRUE(heap.empty());
  EXPECT_EQ(heap.size(), 0u);
  EXPECT_FALSE(heap.has(0));
}

TEST(KeyedHeapTest, RemovingWhatIsNotInTheHeapDoesNothing) {
  Heap heap;
  heap.add(3, 7);
  heap.remove(2);
  heap.remove(100);
  EXPECT_EQ(heap.size(), 1u);
  EXPECT_EQ(heap.top(), 3u);
}

TEST(KeyedHeapTest, AClearedHeapForgetsWhereThingsWere) {
  Heap heap;
  heap.add(3, 7);
  heap.clear();
  EXPECT_FALSE(heap.has(3));
  heap.add(3, 8);
  EXPECT_EQ(heap.topKey(), 8);
}

TEST(KeyedHeapTest, GatheringAppends) {
  Heap heap;
  heap.add(4, 1);
  std::vector<Id> found = {9};
  heap.gatherTop(found);
  EXPECT_EQ(found, (std::vector<Id>{9, 4}));
}

TEST(KeyedHeapTest, TheTopIsThatOfAList) {
  Draw draw(1);
  Heap heap;
  std::map<Id, int> model;
  for (int round = 0; round < 20000; ++round) {
    const Id id = static_cast<Id>(draw.below(200));
    ASSERT_EQ(heap.has(id), model.count(id) == 1);
    if (heap.has(id)) {
      heap.remove(id);
      model.erase(id);
    } else {
      model[id] = draw.below(40);
      heap.add(id, model[id]);
    }
    ASSERT_EQ(heap.size(), model.size());
    if (model.empty()) continue;
    ASSERT_EQ(heap.topKey(), model[smallest(model).front()]);
    ASSERT_EQ(model[heap.top()], heap.topKey());
    std::vector<Id> found;
    heap.gatherTop(found);
    std::sort(found.begin(), found.end());
    ASSERT_EQ(found, smallest(model));
  }
}

// Large enough to be fetched ahead.
TEST(KeyedHeapTest, ThousandsOfThingsComeOutInOrder) {
  constexpr Id MANY = 5000;
  Draw draw(3);
  Heap heap;
  for (Id id = 0; id < MANY; ++id) heap.add(id, draw.below(1000000));
  int last = -1;
  for (Id left = MANY; left > 0; --left) {
    ASSERT_EQ(heap.size(), left);
    ASSERT_GE(heap.topKey(), last);
    last = heap.topKey();
    heap.remove(heap.top());
  }
  EXPECT_TRUE(heap.empty());
}
