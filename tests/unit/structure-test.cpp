#include "structure.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <bitset>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <initializer_list>
#include <iomanip>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "chain.hpp"
#include "draw.hpp"
#include "kit/atoms.hpp"
#include "on-demand.hpp"
#include "port.hpp"

#if defined(__SANITIZE_ADDRESS__)
#define VESK_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESK_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

// An element that writes its number down when it is deleted.
struct Element {
  Element(int number, std::vector<int>& deleted) : mNumber(number), mDeleted(deleted) {}
  virtual ~Element() { mDeleted.push_back(mNumber); }

 protected:
  int mNumber;
  std::vector<int>& mDeleted;
};

using Owner = Array<Element, true>;
using Reference = Array<int, false>;

// An element that puts another one into the list while it is deleted.
struct Adder : Element {
  Adder(int number, std::vector<int>& deleted, Owner& list)
      : Element(number, deleted), mList(list) {}
  ~Adder() override { mList.add(new Element(mNumber + 100, mDeleted)); }

 private:
  Owner& mList;
};

struct Item {
  int level;
  int getPriority() const { return level; }
};

using Heap = VeskHeap<Item>;

// Opens a private member for reading: an explicit instantiation may name it.
template <class Tag, typename Tag::Member member>
struct Opened {
  friend typename Tag::Member open(Tag) { return member; }
};
struct Capacity {
  using Member = int Reference::*;
  friend Member open(Capacity);
};
struct Slots {
  using Member = int Heap::*;
  friend Member open(Slots);
};
struct Block {
  using Member = int** Reference::*;
  friend Member open(Block);
};
template struct Opened<Capacity, &Reference::m_size>;
template struct Opened<Block, &Reference::m_elem>;
template struct Opened<Slots, &Heap::m_length>;

int capacity(const Reference& list) {
  return list.*open(Capacity());
}
bool hasBlock(const Reference& list) {
  return list.*open(Block()) != nullptr;
}
int slots(const Heap& heap) {
  return heap.*open(Slots());
}

// The add() that models have in them which were compiled before there were lists on demand.
template <class T, bool Owning>
struct Older : Array<T, Owning> {
  static void add(Array<T, Owning>& list, const T* x) {
    constexpr auto elements = &Older::m_elem;
    constexpr auto count = &Older::m_count;
    constexpr auto room = &Older::m_size;
    if (list.*count == list.*room) {
      list.*room = list.*count + list.*count / 3 + 1;
      const std::size_t bytes = static_cast<std::size_t>(list.*room) * sizeof(T*);
      list.*elements = static_cast<T**>(Vesk::reallocate(list.*elements, bytes));
    }
    (list.*elements)[(list.*count)++] = const_cast<T*>(x);
  }
};

using Bits = std::bitset<128>;

BitVector make(const Bits& bits) {
  BitVector vector;
  for (int i = 0; i < 128; ++i) {
    if (bits[static_cast<std::size_t>(i)]) vector.add(i);
  }
  return vector;
}

BitVector make(std::initializer_list<int> numbers) {
  BitVector vector;
  for (int i : numbers) vector.add(i);
  return vector;
}

Bits bits(const BitVector& vector) {
  Bits result;
  for (int i = 0; i < 128; ++i) result[static_cast<std::size_t>(i)] = vector.in(i) != 0;
  return result;
}

std::string printed(const BitVector& vector) {
  testing::internal::CaptureStdout();
  vector.print();
  return testing::internal::GetCapturedStdout();
}

// Random vectors of several densities: sparse ones, dense ones, single words.
Bits randomBits(Draw& draw) {
  Bits result;
  const int density = draw.below(4);
  for (std::size_t i = 0; i < 128; ++i) {
    const int value = draw.below(16);
    result[i] = density == 0 ? value == 0 : density == 1 ? value != 0 : value < 8;
  }
  const auto word = static_cast<std::size_t>(draw.below(4));
  return density == 3 ? result & (Bits(0xFFFFFFFFu) << (32 * word)) : result;
}

// What a global of a model sees that is initialised with the program's own statics.
const BitVector EARLY_SINGLE = BitVector::SINGLE;
const bool EARLY_SUBSET = BitVector::EMPTY < BitVector::SINGLE;

// What code sees that runs before the constructors of every library.
unsigned char firstSingle[sizeof(BitVector)];
unsigned char firstEmpty[sizeof(BitVector)];
void readBeforeAnyConstructor() {
  const unsigned char* single = reinterpret_cast<const unsigned char*>(&BitVector::SINGLE);
  const unsigned char* empty = reinterpret_cast<const unsigned char*>(&BitVector::EMPTY);
  for (std::size_t i = 0; i < sizeof(BitVector); ++i) {
    firstSingle[i] = single[i];
    firstEmpty[i] = static_cast<unsigned char>(empty[i] + 1);
  }
}
__attribute__((section(".preinit_array"),
               used)) void (*const BEFORE_ANY_CONSTRUCTOR)() = readBeforeAnyConstructor;

}  // namespace

static_assert(!std::is_copy_constructible_v<Owner> && !std::is_copy_assignable_v<Owner>,
              "two lists would delete the same elements");
static_assert(!std::is_copy_constructible_v<Reference> && !std::is_copy_assignable_v<Reference>,
              "two lists would free the same block");
static_assert(!std::is_copy_constructible_v<Heap> && !std::is_copy_assignable_v<Heap>,
              "two heaps would free the same block");
static_assert(!std::is_move_constructible_v<Owner> && !std::is_move_constructible_v<Heap>,
              "containers stay where they are");
static_assert(std::has_virtual_destructor_v<Heap>, "the heap is a polymorphic class");
static_assert(sizeof(BitVector) == 16 && std::is_trivially_copyable_v<BitVector>,
              "a bit vector is a plain value of four words");
static_assert(std::is_same_v<decltype(&BitVector::in), int (BitVector::*)(int) const> &&
                  std::is_same_v<decltype(&BitVector::hash),
                                 unsigned int (BitVector::*)(unsigned int) const> &&
                  std::is_same_v<decltype(&BitVector::print), void (BitVector::*)() const>,
              "reading a bit vector does not change it");
static_assert(
    std::is_same_v<decltype(&Owner::count), int (Owner::*)() const> &&
        std::is_same_v<decltype(&Owner::Belongs), bool (Owner::*)(const Element*) const> &&
        std::is_same_v<decltype(&Heap::getCount), int (Heap::*)() const>,
    "reading a container does not change it");

// ---------------------------------------------------------------------------------------------
// Bit vectors

TEST(BitVectorTest, BelowHoldsExactlyTheNumbersBelow) {
  for (int n = 0; n <= BitVector::CAPACITY; ++n) {
    BitVector expected;
    for (int i = 0; i < n; ++i) expected.add(i);
    EXPECT_EQ(BitVector::below(n), expected) << n;
  }
}

TEST(BitVectorTest, ADefaultVectorIsEmpty) {
  EXPECT_EQ(bits(BitVector()), Bits());
  EXPECT_TRUE(BitVector() == BitVector::EMPTY);
}

TEST(BitVectorTest, AVectorOfOneNumberHoldsThatNumberAlone) {
  for (int i = 0; i < 128; ++i) {
    EXPECT_EQ(bits(BitVector(i)), Bits(1) << static_cast<std::size_t>(i)) << i;
  }
  EXPECT_TRUE(BitVector(0) == BitVector::SINGLE);
}

TEST(BitVectorTest, Number127IsTheTopBitOfTheLastWord) {
  const BitVector vector(127);
  std::uint32_t words[4];
  std::memcpy(words, &vector, sizeof words);
  EXPECT_EQ(words[0], 0u);
  EXPECT_EQ(words[1], 0u);
  EXPECT_EQ(words[2], 0u);
  EXPECT_EQ(words[3], 0x80000000u);
}

TEST(BitVectorTest, NumbersAreAddedAndRemovedOneByOne) {
  BitVector vector;
  vector.add(31);
  vector.add(32);
  vector.add(32);
  EXPECT_EQ(vector.in(31), 1);
  EXPECT_EQ(vector.in(32), 1);
  EXPECT_EQ(vector.in(33), 0);
  vector.rem(32);
  vector.rem(33);
  EXPECT_EQ(vector.in(32), 0);
  EXPECT_TRUE(vector == BitVector(31));
}

TEST(BitVectorTest, MembershipIsOneOrZeroForEveryNumber) {
  for (int i = 0; i < 128; ++i) EXPECT_EQ(BitVector(i).in(i), 1) << i;
}

TEST(BitVectorTest, CopiesAreIndependent) {
  BitVector original(5);
  BitVector copy(original);
  BitVector assigned;
  EXPECT_EQ(&(assigned = original), &assigned);
  original.add(6);
  EXPECT_TRUE(copy == BitVector(5));
  EXPECT_TRUE(assigned == BitVector(5));
}

TEST(BitVectorTest, IntersectionAndUnionWorkInPlace) {
  Draw draw(1);
  for (int round = 0; round < 2000; ++round) {
    const Bits a = randomBits(draw);
    const Bits b = randomBits(draw);
    BitVector both = make(a);
    EXPECT_EQ(&(both &= make(b)), &both) << round;
    EXPECT_EQ(bits(both), a & b) << round;
    BitVector either = make(a);
    EXPECT_EQ(&(either |= make(b)), &either) << round;
    EXPECT_EQ(bits(either), a | b) << round;
  }
}

TEST(BitVectorTest, TheShiftsFollowThePrintedFormInWhich0StandsFirst) {
  BitVector vector = make({1, 33});
  EXPECT_EQ(&(vector << 1), &vector);
  EXPECT_TRUE(vector == make({0, 32}));
  vector = BitVector(31);
  EXPECT_EQ(&(vector >> 1), &vector);
  EXPECT_TRUE(vector == BitVector(32));
}

TEST(BitVectorTest, NumbersShiftedOverAnEndAreLost) {
  BitVector vector(127);
  vector >> 1;
  EXPECT_TRUE(vector == BitVector::EMPTY) << "to the right";
  vector = BitVector(0);
  vector << 1;
  EXPECT_TRUE(vector == BitVector::EMPTY) << "to the left";
}

TEST(BitVectorTest, ShiftingBy0ChangesNothing) {
  const BitVector original = make({0, 31, 32, 63, 64, 95, 96, 127});
  BitVector vector = original;
  EXPECT_EQ(&(vector << 0), &vector);
  EXPECT_TRUE(vector == original) << "by nothing";
  EXPECT_EQ(&(vector >> 0), &vector);
  EXPECT_TRUE(vector == original) << "by less than nothing";
}

TEST(BitVectorTest, ShiftLeftMovesEveryNumberDownAndShiftRightMovesEveryNumberUp) {
  Draw draw(2);
  for (int n = 0; n < 32; ++n) {
    for (int round = 0; round < 300; ++round) {
      const Bits original = randomBits(draw);
      Bits down;
      Bits up;
      for (int i = 0; i < 128; ++i) {
        if (!original[static_cast<std::size_t>(i)]) continue;
        if (i - n >= 0) down[static_cast<std::size_t>(i - n)] = true;
        if (i + n <= 127) up[static_cast<std::size_t>(i + n)] = true;
      }
      BitVector vector = make(original);
      vector << n;
      ASSERT_EQ(bits(vector), down) << n;
      vector = make(original);
      vector >> n;
      ASSERT_EQ(bits(vector), up) << n;
    }
  }
}

TEST(BitVectorTest, EmptyIsASubsetOfEverything) {
  Draw draw(3);
  for (int round = 0; round < 200; ++round) {
    const BitVector vector = make(randomBits(draw));
    EXPECT_TRUE(BitVector::EMPTY <= vector) << round;
    EXPECT_TRUE(vector >= BitVector::EMPTY) << round;
  }
}

TEST(BitVectorTest, AVectorIsASubsetOfItselfButNotAProperOne) {
  const BitVector vector = make({3, 70});
  EXPECT_TRUE(vector <= vector);
  EXPECT_TRUE(vector >= vector);
  EXPECT_FALSE(vector < vector);
  EXPECT_FALSE(vector > vector);
}

TEST(BitVectorTest, DifferentNumbersOfOneWordAreNotSubsets) {
  EXPECT_FALSE(BitVector(40) <= BitVector(41));
  EXPECT_FALSE(BitVector(40) >= BitVector(41));
  EXPECT_TRUE(BitVector(40) != BitVector(41));
}

TEST(BitVectorTest, ComparisonsAgreeWithSetInclusion) {
  Draw draw(4);
  for (int round = 0; round < 5000; ++round) {
    const Bits a = randomBits(draw);
    const Bits b = round % 3 == 0 ? a | randomBits(draw) : round % 3 == 1 ? a : randomBits(draw);
    const bool within = (a & ~b).none();
    const bool around = (b & ~a).none();
    const BitVector one = make(a);
    const BitVector other = make(b);
    EXPECT_EQ(one == other, a == b) << round;
    EXPECT_EQ(one != other, a != b) << round;
    EXPECT_EQ(one <= other, within) << round;
    EXPECT_EQ(one < other, within && a != b) << round;
    EXPECT_EQ(one >= other, around) << round;
    EXPECT_EQ(one > other, around && a != b) << round;
  }
}

TEST(BitVectorTest, TheHashOfEmptyIs0ForAnyModulus) {
  for (unsigned int n : {1u, 2u, 511u, UINT_MAX}) EXPECT_EQ(BitVector::EMPTY.hash(n), 0u) << n;
}

// Words 1 and all ones, modulus 511: 1 % 511 is 1; 1 + (2^32 - 1) wraps to 0. Without the wrap it
// would be 2^32 % 511 = 32, as 2^9 % 511 is 1 and 2^32 is 2^5 times a power of it.
TEST(BitVectorTest, InTheHashEachSumWrapsAt2To32BeforeItIsReduced) {
  BitVector vector(0);
  for (int i = 32; i < 64; ++i) vector.add(i);
  EXPECT_EQ(vector.hash(511), 0u);
  vector.add(64);
  vector.add(97);
  EXPECT_EQ(vector.hash(511), 3u);
  EXPECT_EQ(vector.hash(2), 1u);
}

TEST(BitVectorTest, TheHashReducesTheWordsOneAfterTheOther) {
  Draw draw(5);
  for (int round = 0; round < 2000; ++round) {
    const Bits value = randomBits(draw);
    const unsigned int n = round % 2 == 0 ? 511 : static_cast<unsigned int>(1 + draw.below(1000));
    std::uint64_t h = 0;
    for (std::size_t w = 0; w < 4; ++w) {
      const std::uint64_t word = ((value >> (32 * w)) & Bits(0xFFFFFFFFu)).to_ulong();
      h = ((h + word) & 0xFFFFFFFFu) % n;
    }
    EXPECT_EQ(make(value).hash(n), h) << round;
  }
}

TEST(BitVectorTest, EqualSetsScatterAlikeAndAllSmallOnesApart) {
  std::vector<std::size_t> places = {BitVector::EMPTY.scattered()};
  for (int i = 0; i < 128; ++i) {
    for (int j = i; j < 128; ++j) {
      places.push_back(make({i, j}).scattered());
      ASSERT_EQ(make({j, i}).scattered(), places.back()) << i << ' ' << j;
    }
  }
  std::sort(places.begin(), places.end());
  EXPECT_EQ(std::adjacent_find(places.begin(), places.end()), places.end());
}

TEST(BitVectorTest, PrintsOneDigitPerNumberUpToTheLargest) {
  EXPECT_EQ(printed(BitVector::EMPTY), "[0] ");
  EXPECT_EQ(printed(BitVector::SINGLE), "[1] ");
  EXPECT_EQ(printed(make({0, 2})), "[101] ");
  EXPECT_EQ(printed(BitVector(3)), "[0001] ");
  EXPECT_EQ(printed(BitVector(127)), "[" + std::string(127, '0') + "1] ");
}

TEST(BitVectorTest, PrintsThroughTheBufferAndPastTheFormatOfTheOutputStream) {
  std::ostringstream out;
  std::streambuf* const before = std::cout.rdbuf(out.rdbuf());
  std::cout << std::setw(9) << std::setfill('*');
  make({0, 2}).print();
  std::cout.rdbuf(before);
  std::cout << std::setw(0) << std::setfill(' ');
  EXPECT_EQ(out.str(), "[101] ");
}

TEST(BitVectorTest, GlobalsOfOtherTranslationUnitsMayUseTheConstants) {
  EXPECT_EQ(bits(EARLY_SINGLE), Bits(1));
  EXPECT_TRUE(EARLY_SUBSET);
}

TEST(BitVectorTest, TheConstantsStandBeforeAnyConstructorHasRun) {
  EXPECT_EQ(std::memcmp(firstSingle, &BitVector::SINGLE, sizeof firstSingle), 0);
  EXPECT_EQ(firstSingle[0], 1);
  for (unsigned char byte : firstEmpty) EXPECT_EQ(byte, 1) << "a byte behind the table";
}

// ---------------------------------------------------------------------------------------------
// Arrays

TEST(ArrayTest, AFreshListIsEmptyWithRoomForWhatWasAsked) {
  const Reference list(4);
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(capacity(list), 4);
}

TEST(ArrayTest, AFullListGrowsByAThirdAndOne) {
  int numbers[26] = {};
  const int expected[] = {4, 4, 4, 4, 6, 6, 9, 9, 9, 13, 13, 13, 13, 18, 18, 18, 18, 18, 25};
  Reference list(4);
  for (int i = 0; i < 19; ++i) {
    list.add(&numbers[i]);
    EXPECT_EQ(capacity(list), expected[i]) << i;
  }
  Reference single(1);
  single.add(numbers);
  single.add(numbers);
  EXPECT_EQ(capacity(single), 2);
}

TEST(ArrayTest, AListWithoutRoomGrowsLikeAnyOther) {
  const int number = 0;
  for (const int room : {0, -1}) {
    Reference list(room);
    EXPECT_EQ(list.count(), 0) << room;
    EXPECT_FALSE(list.Belongs(&number)) << room;
    for (int i = 0; i < 3; ++i) list.add(&number);
    EXPECT_EQ(list.count(), 3) << room;
    EXPECT_EQ(list[2], &number) << room;
  }
}

TEST(ArrayTest, AListThatAsksForNoRoomGrowsFromNothing) {
  const int number = 0;
  const int expected[] = {1, 2, 3, 5, 5, 7};
  for (const int room : {0, -1}) {
    Reference list(room);
    EXPECT_EQ(capacity(list), 0) << room;
    EXPECT_TRUE(hasBlock(list)) << room;
    for (const int size : expected) {
      list.add(&number);
      EXPECT_EQ(capacity(list), size) << room;
    }
  }
}

TEST(ArrayTest, AListOnDemandHasNoBlockBeforeItsFirstElement) {
  Reference list(Vesk::ON_DEMAND);
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(capacity(list), 0);
  EXPECT_FALSE(hasBlock(list));
  EXPECT_FALSE(list.Belongs(nullptr));
  for (const int* number : list) ADD_FAILURE() << number;
}

TEST(ArrayTest, AListOnDemandHasRoomForTwoAtItsFirstElementAndThenGrowsLikeAnyOther) {
  int numbers[14] = {};
  const int expected[] = {2, 2, 3, 5, 5, 7, 7, 10, 10, 10, 14, 14, 14, 14};
  Reference list(Vesk::ON_DEMAND);
  for (int i = 0; i < 14; ++i) {
    list.add(&numbers[i]);
    EXPECT_EQ(capacity(list), expected[i]) << i;
  }
  for (int i = 0; i < 14; ++i) EXPECT_EQ(list[i], &numbers[i]) << i;
}

TEST(ArrayTest, OlderModelsAddToAListOnDemand) {
  int numbers[20] = {};
  const int expected[] = {1, 2, 3, 5, 5, 7, 7, 10};
  Reference list(Vesk::ON_DEMAND);
  for (int i = 0; i < 8; ++i) {
    Older<int, false>::add(list, &numbers[i]);
    EXPECT_EQ(capacity(list), expected[i]) << i;
  }
  for (int i = 8; i < 20; ++i) list.add(&numbers[i]);
  ASSERT_EQ(list.count(), 20);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(list[i], &numbers[i]) << i;
}

TEST(ArrayTest, OlderModelsAddToAListThatHasABlockOfTheEngine) {
  int numbers[40] = {};
  for (int first = 1; first < 20; ++first) {
    Reference list(Vesk::ON_DEMAND);
    for (int i = 0; i < first; ++i) list.add(&numbers[i]);
    for (int i = first; i < 40; ++i) Older<int, false>::add(list, &numbers[i]);
    ASSERT_EQ(list.count(), 40);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(list[i], &numbers[i]) << first << ' ' << i;
  }
}

// The engine adds to the lists of its classes as well: whoever comes first makes the block.
TEST(ArrayTest, OlderModelsAndTheEngineAddToTheListsOfTheSameAtom) {
  for (const bool olderFirst : {false, true}) {
    kit::TestAtom atom("A", nullptr);
    std::vector<Port*> ports;
    for (int i = 0; i < 10; ++i) {
      ports.push_back(new Port("p", &atom));
      if ((i % 2 == 0) == olderFirst) {
        Older<Port, true>::add(atom.ports(), ports.back());
      } else {
        atom.addPort(ports.back());
      }
    }
    ASSERT_EQ(atom.ports().count(), 10) << olderFirst;
    for (int i = 0; i < 10; ++i) {
      EXPECT_EQ(atom.ports()[i], ports[static_cast<std::size_t>(i)]) << olderFirst << i;
    }
  }
}

TEST(ArrayTest, ElementsKeepTheirOrderWhenTheListGrows) {
  int numbers[500] = {};
  Reference list(4);
  for (int& number : numbers) list.add(&number);
  ASSERT_EQ(list.count(), 500);
  for (int i = 0; i < 500; ++i) EXPECT_EQ(list[i], &numbers[i]) << i;
}

TEST(ArrayTest, DuplicatesAndNullAreAllowed) {
  int number = 0;
  Reference list(4);
  list.add(&number);
  list.add(nullptr);
  list.add(&number);
  EXPECT_EQ(list.count(), 3);
  EXPECT_EQ(list[0], &number);
  EXPECT_EQ(list[1], nullptr);
  EXPECT_EQ(list[2], &number);
}

TEST(ArrayTest, BelongsComparesPointersThroughTheWholeList) {
  int numbers[3] = {1, 1, 1};
  Reference list(4);
  EXPECT_FALSE(list.Belongs(nullptr)) << "of an empty list";
  list.add(&numbers[0]);
  list.add(&numbers[1]);
  EXPECT_TRUE(list.Belongs(&numbers[0]));
  EXPECT_TRUE(list.Belongs(&numbers[1]));
  EXPECT_FALSE(list.Belongs(&numbers[2]));
  EXPECT_FALSE(list.Belongs(nullptr)) << "of a list with elements";
}

TEST(ArrayTest, ALoopVisitsEveryElementInIndexOrder) {
  int numbers[3] = {};
  Reference list(1);
  for (const int* number : list) ADD_FAILURE() << "in an empty list: " << number;
  list.add(&numbers[2]);
  list.add(nullptr);
  list.add(&numbers[0]);
  list.add(&numbers[2]);
  std::vector<const int*> visited;
  for (const int* number : list) visited.push_back(number);
  EXPECT_EQ(visited, (std::vector<const int*>{&numbers[2], nullptr, &numbers[0], &numbers[2]}));
}

// The list moves in memory more than once.
TEST(ArrayTest, ALoopDoesNotVisitElementsThatAreAddedMeanwhile) {
  int numbers[200] = {};
  Reference list(2);
  list.add(&numbers[0]);
  list.add(&numbers[1]);
  std::vector<const int*> visited;
  for (const int* number : list) {
    visited.push_back(number);
    for (int i = 0; i < 99; ++i) list.add(&numbers[2]);
  }
  EXPECT_EQ(visited, (std::vector<const int*>{&numbers[0], &numbers[1]}));
  EXPECT_EQ(list.count(), 200);
}

TEST(ArrayTest, AnOwningListDeletesInIndexOrderAndSkipsNull) {
  std::vector<int> deleted;
  {
    Owner list(4);
    for (int i = 0; i < 3; ++i) list.add(new Element(i, deleted));
    list.add(nullptr);
    for (int i = 3; i < 6; ++i) list.add(new Element(i, deleted));
  }
  EXPECT_EQ(deleted, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST(ArrayTest, AnOwningListSeesElementsThatAreAddedWhileItDeletes) {
  std::vector<int> deleted;
  {
    Owner list(2);
    list.add(new Adder(1, deleted, list));
    list.add(new Adder(2, deleted, list));
  }
  EXPECT_EQ(deleted, (std::vector<int>{1, 2, 101, 102}));
}

TEST(ArrayTest, AReferringListDeletesNothing) {
  std::vector<int> deleted;
  Element element(1, deleted);
  {
    Array<Element, false> list(4);
    list.add(&element);
  }
  EXPECT_TRUE(deleted.empty());
}

// ---------------------------------------------------------------------------------------------
// Intrusive lists

namespace {

struct Link {
  Link* next() const { return behind; }
  Link* behind = nullptr;
};

std::vector<const Link*> visitedFrom(const Link* head) {
  std::vector<const Link*> visited;
  for (const Link* link : Vesk::Chain(head)) visited.push_back(link);
  return visited;
}

}  // namespace

TEST(ChainTest, ALoopVisitsTheListFromItsHeadOn) {
  Link links[3];
  links[2].behind = &links[0];
  links[0].behind = &links[1];
  EXPECT_EQ(visitedFrom(&links[2]), (std::vector<const Link*>{&links[2], &links[0], &links[1]}));
  EXPECT_EQ(visitedFrom(&links[1]), (std::vector<const Link*>{&links[1]}));
  EXPECT_EQ(visitedFrom(nullptr), (std::vector<const Link*>{}));
}

TEST(ChainTest, ALoopReadsALinkWhenTheTurnOfItsElementIsOver) {
  Link links[3];
  links[0].behind = &links[1];
  std::vector<const Link*> visited;
  for (Link* link : Vesk::Chain(&links[0])) {
    visited.push_back(link);
    if (link == &links[0]) link->behind = &links[2];
  }
  EXPECT_EQ(visited, (std::vector<const Link*>{&links[0], &links[2]}));
}

// ---------------------------------------------------------------------------------------------
// The heap

namespace {

// The stated rules on a plain list, slot by slot.
class SlowHeap {
 public:
  void put(Item* item) {
    mSlots.push_back(item);
    rise(mSlots.size() - 1);
  }
  Item* get() {
    if (mSlots.size() == 1) return nullptr;
    Item* top = mSlots[1];
    mSlots[1] = mSlots.back();
    mSlots.pop_back();
    if (mSlots.size() > 2) sink(1);
    return top;
  }

 private:
  void rise(std::size_t i) {
    if (i <= 1 || mSlots[i / 2]->level >= mSlots[i]->level) return;
    std::swap(mSlots[i / 2], mSlots[i]);
    rise(i / 2);
  }
  void sink(std::size_t i) {
    const std::size_t left = 2 * i;
    const std::size_t right = left + 1;
    if (left >= mSlots.size()) return;
    const bool takeRight = right < mSlots.size() && mSlots[right]->level > mSlots[left]->level;
    const std::size_t child = takeRight ? right : left;
    if (mSlots[i]->level < mSlots[child]->level) {
      std::swap(mSlots[i], mSlots[child]);
      sink(child);
    }
  }

  std::vector<Item*> mSlots = {nullptr};
};

}  // namespace

TEST(VeskHeapTest, AnEmptyHeapGivesNull) {
  Heap heap;
  EXPECT_EQ(heap.getCount(), 0) << "as it is made";
  EXPECT_EQ(heap.get(), nullptr) << "as it is made";
  Item item{5};
  heap.put(&item);
  EXPECT_EQ(heap.get(), &item);
  EXPECT_EQ(heap.get(), nullptr) << "when the only item is out";
  EXPECT_EQ(heap.getCount(), 0) << "when the only item is out";
}

TEST(VeskHeapTest, TheFourthPutDoublesTheFourSlots) {
  Item items[8] = {};
  Heap heap;
  EXPECT_EQ(slots(heap), 4) << "empty";
  for (int i = 0; i < 3; ++i) heap.put(&items[i]);
  EXPECT_EQ(slots(heap), 4) << "with 3 items";
  heap.put(&items[3]);
  EXPECT_EQ(slots(heap), 8) << "with 4 items";
  for (int i = 4; i < 7; ++i) heap.put(&items[i]);
  EXPECT_EQ(slots(heap), 8) << "with 7 items";
  heap.put(&items[7]);
  EXPECT_EQ(slots(heap), 16) << "with 8 items";
  while (heap.get() != nullptr) {
  }
  EXPECT_EQ(slots(heap), 16) << "when it is empty again";
}

TEST(VeskHeapTest, GivesTheHighestLevelFirstAndTheFirstInsertedOfEqualOnes) {
  Item items[] = {{1}, {3}, {3}, {2}};
  Heap heap;
  for (Item& item : items) heap.put(&item);
  EXPECT_EQ(heap.getCount(), 4);
  EXPECT_EQ(heap.get(), &items[1]);
  EXPECT_EQ(heap.get(), &items[2]);
  EXPECT_EQ(heap.get(), &items[3]);
  EXPECT_EQ(heap.get(), &items[0]);
  EXPECT_EQ(heap.get(), nullptr);
}

// Slots after the puts: a b c. Taking a brings c to the top; b does not lie strictly above it.
TEST(VeskHeapTest, ARemovalMovesTheLastObjectBeforeItsEquals) {
  Item items[] = {{7}, {7}, {7}};
  Heap heap;
  for (Item& item : items) heap.put(&item);
  EXPECT_EQ(heap.get(), &items[0]);
  EXPECT_EQ(heap.get(), &items[2]);
  EXPECT_EQ(heap.get(), &items[1]);
}

// Slots: 9 5 5 1. Taking 9 brings 1 to the top; of the equal children the left one rises.
TEST(VeskHeapTest, AmongEqualChildrenTheLeftOneRises) {
  Item items[] = {{9}, {5}, {5}, {1}};
  Heap heap;
  for (Item& item : items) heap.put(&item);
  EXPECT_EQ(heap.get(), &items[0]);
  EXPECT_EQ(heap.get(), &items[1]);
  EXPECT_EQ(heap.get(), &items[2]);
  EXPECT_EQ(heap.get(), &items[3]);
}

TEST(VeskHeapTest, FollowsTheSiftRulesObjectByObject) {
  Draw draw(6);
  for (int round = 0; round < 300; ++round) {
    const int levels = 1 + draw.below(6);
    std::deque<Item> items;
    Heap heap;
    SlowHeap slow;
    int count = 0;
    for (int step = 0; step < 200; ++step) {
      if (draw.below(5) < 3) {
        items.push_back({draw.below(levels) - 3});
        heap.put(&items.back());
        slow.put(&items.back());
        ++count;
      } else {
        if (count > 0) --count;
        ASSERT_EQ(heap.get(), slow.get()) << round << ' ' << step;
      }
      ASSERT_EQ(heap.getCount(), count) << round << ' ' << step;
    }
  }
}

TEST(VeskHeapTest, GivesEveryObjectOnceInFallingOrderOfLevels) {
  Draw draw(7);
  std::vector<Item> items(1000);
  Heap heap;
  for (Item& item : items) {
    item.level = draw.below(50) - 9999;
    heap.put(&item);
  }
  std::vector<Item*> taken;
  while (Item* item = heap.get()) taken.push_back(item);
  ASSERT_EQ(taken.size(), items.size());
  EXPECT_TRUE(std::is_sorted(taken.begin(), taken.end(),
                             [](Item* a, Item* b) { return a->level > b->level; }));
  std::sort(taken.begin(), taken.end());
  EXPECT_EQ(std::unique(taken.begin(), taken.end()), taken.end());
}

// ---------------------------------------------------------------------------------------------
// Memory

TEST(MemoryTest, DuplicateGivesACopyOfItsOwn) {
  char original[] = "station";
  char* copy = Vesk::duplicate(original);
  original[0] = 'S';
  EXPECT_STREQ(copy, "station");
  std::free(copy);
  char* nothing = Vesk::duplicate("");
  EXPECT_STREQ(nothing, "");
  std::free(nothing);
}

TEST(MemoryTest, TheDuplicateOfNullIsNull) {
  EXPECT_EQ(Vesk::duplicate(nullptr), nullptr);
}

TEST(MemoryTest, ReallocateKeepsTheContents) {
  char* block = static_cast<char*>(Vesk::reallocate(nullptr, 4));
  std::memcpy(block, "abc", 4);
  block = static_cast<char*>(Vesk::reallocate(block, 100000));
  EXPECT_STREQ(block, "abc");
  std::free(block);
}

#ifndef VESK_ADDRESS_SANITIZER  // which ends the program when memory is exhausted

namespace {

volatile std::size_t MORE_THAN_ANYBODY_HAS = SIZE_MAX - 4096;

int handled = 0;
void giveUpAtTheSecondCall() {
  if (++handled == 2) std::set_new_handler(nullptr);
}

constexpr std::size_t MEGABYTE = 1 << 20;
constexpr std::size_t BALLAST_BYTES = 96 * MEGABYTE;
void* ballast = nullptr;
void dropBallast() {
  ++handled;
  munmap(ballast, BALLAST_BYTES);
  std::set_new_handler(nullptr);
}

std::size_t addressSpaceInUse() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  unsigned long pages = 0;
  const int read = std::fscanf(file, "%lu", &pages);
  std::fclose(file);
  return read == 1 ? pages * 4096 : 0;
}

}  // namespace

TEST(MemoryTest, ExhaustedMemoryIsReportedAsOperatorNewReportsIt) {
  EXPECT_THROW(Vesk::reallocate(nullptr, MORE_THAN_ANYBODY_HAS), std::bad_alloc);
}

TEST(MemoryTest, ABlockThatCannotGrowStaysAsItIs) {
  char* block = static_cast<char*>(Vesk::reallocate(nullptr, 4));
  std::memcpy(block, "abc", 4);
  EXPECT_THROW(Vesk::reallocate(block, MORE_THAN_ANYBODY_HAS), std::bad_alloc);
  EXPECT_STREQ(block, "abc");
  std::free(block);
}

TEST(MemoryTest, TheNewHandlerIsCalledUntilItGivesUp) {
  handled = 0;
  std::set_new_handler(giveUpAtTheSecondCall);
  EXPECT_THROW(Vesk::reallocate(nullptr, MORE_THAN_ANYBODY_HAS), std::bad_alloc);
  EXPECT_EQ(handled, 2);
}

TEST(MemoryTest, ANewHandlerThatMakesRoomLetsTheAllocationSucceed) {
  handled = 0;
  ballast = mmap(nullptr, BALLAST_BYTES, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(ballast, MAP_FAILED);
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  rlimit tight = before;
  tight.rlim_cur = addressSpaceInUse() + 16 * MEGABYTE;
  ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
  std::set_new_handler(dropBallast);
  void* block = Vesk::reallocate(nullptr, 64 * MEGABYTE);
  setrlimit(RLIMIT_AS, &before);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(handled, 1);
  std::free(block);
}

#endif
