#include "exploration/state-text.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "kit/output.hpp"
#include "kit/trees.hpp"

using namespace kit;

using Vesk::StateText;

namespace {

constexpr char MISSING[] = "at least a library is not generated with explore option\n";

std::string shown(const StateText& text) {
  return text.length() == 0 ? "" : std::string(text.data(), text.length());
}

}  // namespace

TEST(StateTextTest, StartsEmptyWithoutABuffer) {
  StateText text;
  EXPECT_EQ(0U, text.length());
  EXPECT_EQ(nullptr, text.data()) << "as it is made";
  text.append("", 0);
  EXPECT_EQ(nullptr, text.data()) << "after an empty text";
}

TEST(StateTextTest, AppendsTheTextsOfTheLeavesInOrderWithoutSeparators) {
  StateText text;
  Nonleaf root(3);
  root.setChild(pairOf("a", "bc").release(), 0);
  root.setChild(new Nonleaf(0), 1);
  root.setChild(new Leaf(new Atomleaf("d")), 2);
  text.append(&root);
  text.append(pairOf("", "e").get());
  EXPECT_EQ("abcde", shown(text));
}

TEST(StateTextTest, LeavesWithoutTextAddNothingAndAreNoFault) {
  StateText text;
  Nonleaf root(2);
  root.setChild(new Leaf(static_cast<Atomleaf*>(nullptr)), 0);
  root.setChild(new Leaf(new Atomleaf), 1);
  EXPECT_EQ("", errorsOf([&] { text.append(&root); }));
  EXPECT_EQ(0U, text.length());
}

TEST(StateTextTest, EachMissingPartIsReportedAndTheOthersAreAppended) {
  StateText text;
  Nonleaf root(3);
  root.setChild(new Leaf(new Atomleaf("a")), 1);
  EXPECT_EQ(std::string(MISSING) + MISSING, errorsOf([&] { text.append(&root); }));
  EXPECT_EQ("a", shown(text)) << "after a missing child";
  EXPECT_EQ(MISSING, errorsOf([&] { text.append(nullptr); })) << "a missing tree";
  EXPECT_EQ("a", shown(text)) << "after a missing tree";
}

TEST(StateTextTest, AMissingPartIsReportedAtOnceWhereStandardErrorHasABuffer) {
  StateText text;
  char buffer[BUFSIZ];
  off_t reported = 0;
  EXPECT_EQ(MISSING, errorsOf([&] {
              std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
              text.append(nullptr);
              reported = lseek(fileno(stderr), 0, SEEK_CUR);
              std::setvbuf(stderr, nullptr, _IONBF, 0);
            }));
  EXPECT_EQ(static_cast<off_t>(sizeof MISSING - 1), reported);
}

TEST(StateTextTest, ALongTextIsWholeWhereverTheBufferGrows) {
  StateText text;
  std::string expected;
  for (std::size_t length = 1; length < 300; ++length) {
    const std::string part(length, static_cast<char>('a' + length % 26));
    text.append(part.c_str(), length);
    expected += part;
    ASSERT_EQ(expected.size(), text.length()) << length;
  }
  EXPECT_TRUE(shown(text) == expected);
}

TEST(StateTextTest, ZeroBytesAreCharactersLikeOthers) {
  StateText text;
  text.append("a\0b", 3);
  EXPECT_EQ(std::string("a\0b", 3), shown(text));
}

TEST(StateTextTest, ClearingKeepsTheBuffer) {
  StateText text;
  text.append("abc", 3);
  const char* const buffer = text.data();
  text.clear();
  EXPECT_EQ(0U, text.length());
  text.append("de", 2);
  EXPECT_EQ("de", shown(text));
  EXPECT_EQ(buffer, text.data());
}

TEST(StateTextTest, ReleasingGivesTheTerminatedTextAwayAndStartsAfresh) {
  StateText text;
  // With the terminator a buffer of 64 is one too short.
  for (const std::size_t length : {0u, 3u, 63u, 64u, 65u}) {
    const std::string part(length, 'x');
    text.append(part.c_str(), length);
    char* released = text.release();
    EXPECT_EQ(part, released) << length;
    std::free(released);
    EXPECT_EQ(0U, text.length()) << length;
    EXPECT_EQ(nullptr, text.data()) << length;
  }
}
