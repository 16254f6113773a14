// A million states, in memory that is bounded.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "program.hpp"

namespace {

constexpr long STATES = 1000000;
const char LIMITED[] = "ulimit -v 2097152 && counters 6 --disable-output --";

long peakOfChildren() {
  rusage usage = {};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_maxrss * 1024;
}

std::string lastLine(const std::string& text) {
  const std::size_t end = text.rfind('\n');
  return text.substr(text.rfind('\n', end - 1) + 1, end - text.rfind('\n', end - 1) - 1);
}

}  // namespace

TEST(MillionTest, BreadthFirstEndsInTwoGibibytesAt400BytesPerState) {
  const ProgramFolder folder;
  ASSERT_EQ(0, folder.run("counters --bfs --disable-output 1"));
  const long before = peakOfChildren();
  ASSERT_EQ(0, folder.run(std::string(LIMITED) + "bfs"));
  EXPECT_EQ("Final size : 1000000", lastLine(folder.content("out")));
  EXPECT_EQ("", folder.content("err"));
  EXPECT_GE(400 * STATES, peakOfChildren() - before);
}

TEST(MillionTest, DepthFirstEndsInTwoGibibytesAt400BytesPerState) {
  const ProgramFolder folder;
  ASSERT_EQ(0, folder.run("counters --dfs --disable-output 1"));
  const long before = peakOfChildren();
  ASSERT_EQ(0, folder.run(std::string(LIMITED) + "dfs"));
  EXPECT_EQ("Final size : 1000000", lastLine(folder.content("out")));
  EXPECT_EQ("", folder.content("err"));
  EXPECT_GE(400 * STATES, peakOfChildren() - before);
}

TEST(MillionTest, TooLittleMemoryIsReportedAndLeavesFilesThatCanBeRead) {
  for (const char* traversal : {"bfs", "dfs"}) {
    const ProgramFolder folder;
    EXPECT_EQ(3, folder.run(std::string("ulimit -v 20480; counters 6 -o x --") + traversal))
        << traversal;
    EXPECT_EQ("vesk: the run ends by an exception: std::bad_alloc\n", folder.content("err"))
        << traversal;
    EXPECT_EQ("", folder.check("x").faults()) << traversal;
    EXPECT_NE(std::string::npos, folder.content("out").find("* Count : ")) << traversal;
  }
}
