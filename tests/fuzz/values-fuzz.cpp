// Bytes as a program of operations on one of the value types and containers, each beside a slow
// model.
#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "choices.hpp"
#include "count-tree.hpp"
#include "keyed-heap.hpp"
#include "rank-set.hpp"
#include "structure.hpp"
#include "vesk-time.hpp"

namespace {

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "a value breaks its promise: %s\n", what);
  std::abort();
}

// ---- Times -------------------------------------------------------------------------------------

constexpr std::int64_t MIN = INT32_MIN;
constexpr std::int64_t MAX = INT32_MAX;

bool isInfinite(std::int64_t t) {
  return t == MIN || t == MAX;
}

std::int64_t wrapped(unsigned long long sum) {
  return static_cast<std::int64_t>(sum);
}

std::int64_t sum(std::int64_t a, std::int64_t b) {
  if (isInfinite(a)) return a;
  if (isInfinite(b)) return b;
  return wrapped(static_cast<unsigned long long>(a) + static_cast<unsigned long long>(b));
}

std::int64_t difference(std::int64_t a, std::int64_t b) {
  if (isInfinite(a)) return a;
  if (isInfinite(b)) return b == MAX ? MIN : MAX;
  return wrapped(static_cast<unsigned long long>(a) - static_cast<unsigned long long>(b));
}

std::int64_t someNumber(kit::Choices& choices) {
  static const std::vector<std::int64_t> limits = {MIN - 1, MIN, MIN + 1, -1,        0,        1,
                                                   MAX - 1, MAX, MAX + 1, INT64_MIN, INT64_MAX};
  if (choices.coin()) return choices.oneOf(limits);
  std::uint64_t number = 0;
  for (int i = choices.below(9); i > 0; --i) {
    number = number * 256u + static_cast<std::uint64_t>(choices.below(256));
  }
  return static_cast<std::int64_t>(number);
}

// Whole milliseconds, cut towards zero.
std::string printed(std::int64_t t) {
  return isInfinite(t) ? "_" : std::to_string(t / 1000) + "ms";
}

void checkTimes(kit::ByteChoices& choices) {
  std::int64_t model = someNumber(choices);
  Vesk::Time time(model);
  while (!choices.isEmpty()) {
    const std::int64_t operand = someNumber(choices);
    const Vesk::Time other(operand);
    switch (choices.below(5)) {
      case 0:
        model = sum(model, operand);
        time = time + other;
        break;
      case 1:
        model = difference(model, operand);
        time = time - other;
        break;
      case 2:
        model = sum(model, operand);
        time += other;
        break;
      case 3:
        model = difference(model, operand);
        time -= other;
        break;
      default:
        model = difference(0, model);
        time = -time;
    }
    require(time.microseconds() == model, "sums");
    require((time < other) == (model < operand) && (time <= other) == (model <= operand) &&
                (time == other) == (model == operand) && (time != other) == (model != operand) &&
                (time > other) == (model > operand) && (time >= other) == (model >= operand),
            "comparisons");
    std::ostringstream text;
    text << time;
    require(text.str() == printed(model), "texts of times");
  }
}

// ---- Sets of ports -----------------------------------------------------------------------------

using Bits = std::bitset<128>;

struct PortSet {
  BitVector set;
  Bits model;
};

// The words are added one by one, each sum is reduced, and carries beyond 32 bits are lost.
unsigned int slowHash(const Bits& bits, unsigned int n) {
  std::uint32_t hash = 0;
  for (std::size_t word = 0; word < 4; ++word) {
    const Bits part = bits >> 32 * word & Bits(0xFFFFFFFFu);
    hash = (hash + static_cast<std::uint32_t>(part.to_ullong())) % n;
  }
  return hash;
}

void checkSet(const PortSet& one) {
  for (int i = 0; i < 128; ++i) {
    require((one.set.in(i) == 1) == one.model[static_cast<std::size_t>(i)], "members of sets");
  }
  require(one.set.hash(511) == slowHash(one.model, 511), "hashes of sets");
  require(one.set.hash(~0u) == slowHash(one.model, ~0u), "hashes of sets");
}

void changeSet(kit::Choices& choices, PortSet& one, const PortSet& other) {
  const int operation = choices.below(8);
  const int number = choices.below(128);
  switch (operation) {
    case 0:
      one.set.add(number);
      one.model.set(static_cast<std::size_t>(number));
      return;
    case 1:
      one.set.rem(number);
      one.model.reset(static_cast<std::size_t>(number));
      return;
    case 2:
      one.set &= other.set;
      one.model &= other.model;
      return;
    case 3:
      one.set |= other.set;
      one.model |= other.model;
      return;
    case 4:  // moves numbers down
      one.set << number % 32;
      one.model >>= static_cast<std::size_t>(number % 32);
      return;
    case 5:  // moves numbers up
      one.set >> number % 32;
      one.model <<= static_cast<std::size_t>(number % 32);
      return;
    case 6:
      one.set = BitVector::below(number + 1);
      one.model.set() >>= static_cast<std::size_t>(127 - number);
      return;
    default:
      one.set = BitVector(number);
      one.model.reset().set(static_cast<std::size_t>(number));
  }
}

void checkSets(kit::ByteChoices& choices) {
  PortSet sets[2];
  while (!choices.isEmpty()) {
    const int which = choices.below(2);
    PortSet& one = sets[which];
    const PortSet other = sets[choices.below(4) == 3 ? which : 1 - which];
    changeSet(choices, one, other);
    checkSet(one);
    const bool within = (one.model & ~other.model).none();
    require((one.set == other.set) == (one.model == other.model), "equal sets");
    require((one.set <= other.set) == within, "subsets");
    require((one.set < other.set) == (within && one.model != other.model), "proper subsets");
    require((other.set >= one.set) == within, "supersets");
  }
}

// ---- Containers --------------------------------------------------------------------------------

struct Object {
  int getPriority() const { return level; }
  int level;
  int number;
};

void checkArray(kit::ByteChoices& choices) {
  Object objects[16] = {};
  Array<Object, false> list(choices.below(6) - 1);
  std::vector<Object*> model;
  while (!choices.isEmpty() && model.size() < 500) {
    Object* object = choices.below(8) == 7 ? nullptr : &objects[choices.below(16)];
    list.add(object);
    model.push_back(object);
    Object* asked = &objects[choices.below(16)];
    require(list.Belongs(asked) == (std::count(model.begin(), model.end(), asked) > 0), "belongs");
  }
  require(list.count() == static_cast<int>(model.size()), "counts");
  std::size_t i = 0;
  for (Object* object : list) require(object == model[i++], "order of lists");
}

// The heap as the rules have it, in a vector whose first slot is not used.
class SlowHeap {
 public:
  void put(Object* object) {
    mSlots.push_back(object);
    for (std::size_t k = mSlots.size() - 1; k > 1; k /= 2) {
      if (mSlots[k / 2]->level >= mSlots[k]->level) return;
      std::swap(mSlots[k / 2], mSlots[k]);
    }
  }
  Object* get() {
    if (mSlots.size() == 1) return nullptr;
    Object* top = mSlots[1];
    mSlots[1] = mSlots.back();
    mSlots.pop_back();
    for (std::size_t k = 1; 2 * k < mSlots.size();) {
      std::size_t child = 2 * k;
      if (child + 1 < mSlots.size() && mSlots[child + 1]->level > mSlots[child]->level) ++child;
      if (mSlots[k]->level >= mSlots[child]->level) break;
      std::swap(mSlots[k], mSlots[child]);
      k = child;
    }
    return top;
  }
  std::size_t size() const { return mSlots.size() - 1; }

 private:
  std::vector<Object*> mSlots{nullptr};
};

void checkHeap(kit::ByteChoices& choices) {
  std::vector<Object> objects(32);
  for (Object& object : objects) object.level = choices.below(12) - 3;
  VeskHeap<Object> heap;
  SlowHeap model;
  while (!choices.isEmpty()) {
    if (choices.below(3) != 0) {
      Object* object = &objects[static_cast<std::size_t>(choices.below(32))];
      heap.put(object);
      model.put(object);
    } else {
      require(heap.get() == model.get(), "order of the heap");
    }
    require(heap.getCount() == static_cast<int>(model.size()), "count of the heap");
  }
  while (model.size() > 0) require(heap.get() == model.get(), "order of the heap");
  require(heap.get() == nullptr, "an empty heap");
}

// ---- What the agenda is made of ----------------------------------------------------------------

void checkKeyedHeap(kit::ByteChoices& choices) {
  Vesk::KeyedHeap<int> heap;
  std::map<std::uint32_t, int> model;
  while (!choices.isEmpty()) {
    const auto id = static_cast<std::uint32_t>(choices.below(64));
    if (choices.coin() && model.count(id) == 0) {
      const int key = choices.below(20);
      heap.add(id, key);
      model[id] = key;
    } else {
      heap.remove(id);
      model.erase(id);
    }
    require(heap.size() == model.size() && heap.has(id) == (model.count(id) > 0), "what is in it");
    if (model.empty()) continue;
    int least = 20;
    for (const auto& entry : model) least = std::min(least, entry.second);
    require(heap.topKey() == least && model.at(heap.top()) == least, "the top of the keyed heap");
    std::vector<std::uint32_t> found;
    heap.gatherTop(found);
    std::set<std::uint32_t> expected;
    for (const auto& entry : model) {
      if (entry.second == least) expected.insert(entry.first);
    }
    require(found.size() == expected.size(), "each of the top once");
    require(std::set<std::uint32_t>(found.begin(), found.end()) == expected, "all of the top");
  }
}

void checkCountTree(kit::ByteChoices& choices) {
  const auto limit = static_cast<std::size_t>(choices.between(1, 2000));
  Vesk::CountTree tree;
  tree.reset(limit);
  std::map<std::size_t, std::size_t> model;
  while (!choices.isEmpty()) {
    const auto place = static_cast<std::size_t>(choices.below(static_cast<int>(limit)));
    if (choices.below(3) != 0) {
      tree.increase(place);
      ++model[place];
    } else if (model[place] > 0) {
      tree.decrease(place);
      --model[place];
    }
    std::size_t total = 0;
    for (const auto& entry : model) total += entry.second;
    require(tree.total() == total, "the total");
    if (total == 0) continue;
    std::size_t index = static_cast<std::size_t>(choices.below(static_cast<int>(total)));
    std::size_t left = index;
    auto expected = model.begin();
    for (; left >= expected->second; ++expected) left -= expected->second;
    require(tree.find(index) == expected->first && index == left, "the n-th thing");
  }
}

void checkRankSet(kit::ByteChoices& choices) {
  const auto limit = static_cast<std::size_t>(choices.between(1, 9000));
  Vesk::RankSet set;
  set.reset(limit);
  std::set<std::size_t> model;
  while (!choices.isEmpty()) {
    const auto number = static_cast<std::size_t>(choices.below(static_cast<int>(limit)));
    if (choices.below(3) != 0) {
      set.add(number);
      model.insert(number);
    } else {
      set.remove(number);
      model.erase(number);
    }
    require(set.has(number) == (model.count(number) > 0), "members");
    const auto asked = static_cast<std::size_t>(choices.below(static_cast<int>(limit) + 1));
    const auto next = model.lower_bound(asked);
    require(set.from(asked) == (next != model.end() ? *next : Vesk::RankSet::NONE), "the next one");
    const bool first = next == model.begin();
    require(set.below(asked) == (first ? Vesk::RankSet::NONE : *std::prev(next)), "the one before");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Check = void (*)(kit::ByteChoices&);
  static const std::vector<Check> checks = {checkTimes,     checkSets,      checkArray,  checkHeap,
                                            checkKeyedHeap, checkCountTree, checkRankSet};
  kit::ByteChoices choices(data, size);
  choices.oneOf(checks)(choices);
  return 0;
}
