#include "blocks.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "component.hpp"
#include "connector.hpp"
#include "draw.hpp"
#include "port.hpp"
#include "states.hpp"
#include "structure.hpp"

namespace {

using Vesk::Blocks;

constexpr std::size_t WORD = sizeof(void*);
constexpr std::size_t LARGEST = 4096;

bool suits(const void* block, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(block) % alignment == 0;
}

// Blocks that end with the test.
class Taken {
 public:
  Taken() = default;
  Taken(const Taken&) = delete;
  Taken& operator=(const Taken&) = delete;
  ~Taken() {
    while (!mBlocks.empty()) giveBack(mBlocks.size() - 1);
  }
  // Filled with a number of its own.
  void* take(std::size_t bytes) {
    mBlocks.push_back({static_cast<unsigned char*>(Blocks::take(bytes)), bytes, ++mLast});
    std::memset(mBlocks.back().begin, mLast, bytes);
    return mBlocks.back().begin;
  }
  void giveBack(std::size_t index) {
    std::swap(mBlocks[index], mBlocks.back());
    Blocks::giveBack(mBlocks.back().begin, mBlocks.back().bytes);
    mBlocks.pop_back();
  }
  std::size_t count() const { return mBlocks.size(); }
  bool areIntact() const {
    for (const Block& block : mBlocks) {
      for (std::size_t i = 0; i < block.bytes; ++i) {
        if (block.begin[i] != block.number) return false;
      }
    }
    return true;
  }

 private:
  struct Block {
    unsigned char* begin;
    std::size_t bytes;
    unsigned char number;
  };
  std::vector<Block> mBlocks;
  unsigned char mLast = 0;
};

// A sanitizer looks at blocks of the heap instead.
class BlocksTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!Blocks::fits(WORD)) GTEST_SKIP() << "a sanitizer looks at every block";
  }
};

// ---- Models ------------------------------------------------------------------------------------

struct Bare : Atom {
  using Atom::Atom;
  void execute(Port*) override {}
  Node* getState() override { return nullptr; }
  void setState(Node*) override {}
};

struct Plain : Connector {
  using Connector::Connector;
};

// Wants to stand on its own lines of a cache.
struct alignas(64) Aligned : Bare {
  using Bare::Bare;
};
struct alignas(64) AlignedPort : Port {
  AlignedPort() : Port("p", static_cast<Atom*>(nullptr)) {}
};
struct alignas(64) AlignedConnector : Plain {
  AlignedConnector() : Plain("c", nullptr, false) {}
};

// As strict as operator new is without being asked.
struct Wide : Bare {
  using Bare::Bare;
  alignas(__STDCPP_DEFAULT_NEW_ALIGNMENT__) unsigned char bytes[16] = {};
};

struct Huge : Port {
  using Port::Port;
  unsigned char bytes[2 * LARGEST] = {};
};

struct Throwing : Port {
  explicit Throwing(const Atom* holder) : Port("p", holder) { throw std::runtime_error("no"); }
};

// Brings its memory along.
struct Own : Port {
  using Port::Port;
  static void* operator new(std::size_t size) {
    ++taken;
    return ::operator new(size);
  }
  static void operator delete(void* block) {
    --taken;
    ::operator delete(block);
  }
  static int taken;
};

int Own::taken = 0;

// Can be made in arrays.
struct Nameless : Port {
  Nameless() : Port(nullptr, static_cast<Atom*>(nullptr)) {}
};

}  // namespace

TEST_F(BlocksTest, HasSizesOfWholeWordsUpToALimit) {
  EXPECT_TRUE(Blocks::fits(LARGEST));
  EXPECT_FALSE(Blocks::fits(LARGEST + WORD));
  EXPECT_FALSE(Blocks::fits(WORD + 1));
}

TEST_F(BlocksTest, EveryBlockSuitsAnyClassOfItsSize) {
  Taken blocks;
  for (std::size_t bytes = WORD; bytes <= LARGEST; bytes += WORD) {
    std::size_t alignment = WORD;
    while (bytes % (2 * alignment) == 0) alignment *= 2;
    if (alignment > __STDCPP_DEFAULT_NEW_ALIGNMENT__) alignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
    EXPECT_TRUE(suits(blocks.take(bytes), alignment)) << bytes;
  }
}

TEST_F(BlocksTest, NothingStandsBetweenBlocks) {
  Taken blocks;
  const auto size = static_cast<std::ptrdiff_t>(3 * WORD);
  int gaps = 0;
  const char* before = static_cast<char*>(blocks.take(3 * WORD));
  for (int i = 0; i < 1000; ++i) {
    const char* const block = static_cast<char*>(blocks.take(3 * WORD));
    if (block - before != size) ++gaps;
    before = block;
  }
  EXPECT_LE(gaps, 2);  // where a slab begins
}

TEST_F(BlocksTest, ABlockThatWasGivenBackIsTheNextOfItsSize) {
  Taken others;
  others.take(5 * WORD);
  void* const one = Blocks::take(5 * WORD);
  void* const other = Blocks::take(6 * WORD);
  Blocks::giveBack(one, 5 * WORD);
  Blocks::giveBack(other, 6 * WORD);
  EXPECT_EQ(others.take(5 * WORD), one);
  EXPECT_EQ(others.take(6 * WORD), other);
}

TEST_F(BlocksTest, BlocksOfAllSizesStayApart) {
  Draw draw(20);
  for (int round = 0; round < 20; ++round) {
    Taken blocks;
    for (int i = 0; i < 2000; ++i) {
      if (blocks.count() > 0 && draw.below(3) == 0) {
        blocks.giveBack(static_cast<std::size_t>(draw.below(static_cast<int>(blocks.count()))));
      } else {
        blocks.take(WORD * static_cast<std::size_t>(1 + draw.below(200)));
      }
    }
    EXPECT_TRUE(blocks.areIntact()) << round;
  }
}

TEST_F(BlocksTest, KnowsItsBlocksFromThoseOfTheHeap) {
  Taken blocks;
  std::vector<const char*> taken;
  for (int i = 0; i < 1000; ++i) taken.push_back(static_cast<char*>(blocks.take(1024)));
  for (const char* block : taken) {
    EXPECT_TRUE(Blocks::has(block));
    EXPECT_TRUE(Blocks::has(block + 1023));
    const std::unique_ptr<char[]> foreign(new char[1024]);
    EXPECT_FALSE(Blocks::has(foreign.get()));
  }
  EXPECT_FALSE(Blocks::has(nullptr));
  EXPECT_FALSE(Blocks::has(&taken));
}

TEST_F(BlocksTest, ALargeSystemGivesItsMemoryBack) {
  const void* block = nullptr;
  {
    Taken blocks;
    for (int i = 0; i < 1000; ++i) block = blocks.take(1024);
    EXPECT_TRUE(Blocks::has(block));
  }
  EXPECT_FALSE(Blocks::has(block));
}

TEST_F(BlocksTest, SystemsComeAndGo) {
  for (int round = 0; round < 50; ++round) {
    Taken blocks;
    for (int i = 0; i < 100 * (round % 10); ++i) blocks.take(1024);
    blocks.take(LARGEST);
    EXPECT_TRUE(blocks.areIntact()) << round;
  }
}

TEST_F(BlocksTest, ThoseOfAVeryLargeSystemStayApart) {
  Taken blocks;
  for (int i = 0; i < 12000; ++i) ASSERT_TRUE(Blocks::has(blocks.take(LARGEST))) << i;
  EXPECT_TRUE(blocks.areIntact());
}

namespace {

// Ends the process, so that the other tests do not see it.
void endAProgram() {
  Blocks::leaveAll();
  char* const name = Vesk::duplicate("name");
  Vesk::endName(name);
  void* const block = Blocks::take(WORD);
  Blocks::giveBack(block, WORD);
  const bool left = std::strcmp(name, "name") == 0 && Blocks::take(WORD) != block;
  std::_Exit(left ? 0 : 1);
}

}  // namespace

TEST_F(BlocksTest, AtTheEndOfAProgramTheyAreLeftToTheSystem) {
  EXPECT_EXIT(endAProgram(), testing::ExitedWithCode(0), "");
}

// ---- What models make --------------------------------------------------------------------------

TEST_F(BlocksTest, PartsOfSystemsStandThere) {
  const std::unique_ptr<Atom> atom(new Bare("A", nullptr));
  const std::unique_ptr<Port> port(new Port("p", atom.get()));
  const std::unique_ptr<Connector> connector(new Plain("c", nullptr, false));
  EXPECT_TRUE(Blocks::has(atom.get()));
  EXPECT_TRUE(Blocks::has(port.get()));
  EXPECT_TRUE(Blocks::has(connector.get()));
}

TEST(ObjectTest, StrictClassesAreAligned) {
  for (int i = 0; i < 20; ++i) {
    const std::unique_ptr<Port> odd(new Port("p", static_cast<Atom*>(nullptr)));
    const std::unique_ptr<Atom> aligned(new Aligned("A", nullptr));
    const std::unique_ptr<Atom> wide(new Wide("B", nullptr));
    const std::unique_ptr<Port> port(new AlignedPort);
    const std::unique_ptr<Connector> connector(new AlignedConnector);
    EXPECT_TRUE(suits(aligned.get(), 64)) << i;
    EXPECT_TRUE(suits(port.get(), 64)) << i;
    EXPECT_TRUE(suits(connector.get(), 64)) << i;
    EXPECT_TRUE(suits(wide.get(), alignof(Wide))) << i;
  }
}

TEST(ObjectTest, LargeOnesStandInTheHeap) {
  const std::unique_ptr<Port> huge(new Huge("p", static_cast<Atom*>(nullptr)));
  EXPECT_FALSE(Blocks::has(huge.get()));
  EXPECT_STREQ(huge->name(), "p");
}

// As code does that was compiled before the parts had memory of their own.
TEST(ObjectTest, ObjectsThatTheGlobalNewHasMadeEndHere) {
  for (int i = 0; i < 1000; ++i) {
    delete ::new Port("p", static_cast<Atom*>(nullptr));
    delete ::new Bare("A", nullptr);
    delete ::new Plain("c", nullptr, false);
  }
  const std::unique_ptr<Port> port(::new Port("p", static_cast<Atom*>(nullptr)));
  EXPECT_FALSE(Blocks::has(port.get()));
}

TEST(ObjectTest, AModelMayGiveThePlace) {
  alignas(Plain) unsigned char place[sizeof(Plain)];
  auto* const connector = new (place) Plain("c", nullptr, false);
  EXPECT_EQ(static_cast<void*>(connector), place);
  EXPECT_STREQ(connector->name(), "c");
  connector->~Plain();
}

TEST(ObjectTest, AModelMayAskForNull) {
  const std::unique_ptr<Atom> atom(new (std::nothrow) Bare("A", nullptr));
  const std::unique_ptr<Connector> connector(new (std::nothrow) Plain("c", nullptr, false));
  const std::unique_ptr<Port> port(new (std::nothrow) Port("p", atom.get()));
  EXPECT_STREQ(atom->name(), "A");
  EXPECT_STREQ(connector->name(), "c");
  EXPECT_STREQ(port->name(), "p");
}

TEST(ObjectTest, AClassMayBringItsOwnMemory) {
  const Port* const port = new Own("p", static_cast<Atom*>(nullptr));
  EXPECT_EQ(Own::taken, 1);
  EXPECT_FALSE(Blocks::has(port));
  delete port;
  EXPECT_EQ(Own::taken, 0);
}

TEST(ObjectTest, ArraysStandInTheHeap) {
  const std::unique_ptr<Nameless[]> ports(new Nameless[3]);
  EXPECT_FALSE(Blocks::has(ports.get()));
  EXPECT_EQ(ports[2].name(), nullptr);
}

TEST_F(BlocksTest, AConstructorThatThrowsGivesItsBlockBack) {
  Taken others;
  others.take(WORD);
  const Bare atom("A", nullptr);
  const void* const free = Blocks::take(sizeof(Throwing));
  Blocks::giveBack(const_cast<void*>(free), sizeof(Throwing));
  EXPECT_THROW(new Throwing(&atom), std::runtime_error);
  EXPECT_EQ(others.take(sizeof(Throwing)), free);
}
