// What the system can do to the example programs: failing writes, closed pipes and descriptors, too
// little memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "program.hpp"

namespace {

const char SUMMARY[] = "Final size : 1000\n";

// strace may be missing, or not be allowed to trace.
bool canInject() {
  return Folder().run("ASAN_OPTIONS=detect_leaks=0 strace -qq -o /dev/null true") == 0;
}

// A search in which writing transitions fails as the words say.
std::string injecting(const std::string& words) {
  return "touch x.aut && ASAN_OPTIONS=detect_leaks=0 strace -qq -o /dev/null -P \"$(pwd "
         "-P)/x.aut\" "
         "-e trace=write -e inject=write:" +
         words + " counters 4 --bfs -o x";
}

}  // namespace

TEST(FaultsTest, AnyWriteMayFail) {
  if (!canInject()) GTEST_SKIP() << "strace cannot be used here";
  const Folder whole;
  ASSERT_EQ(0, whole.run("counters 4 --bfs -o x"));
  const std::string expected = whole.content("x.aut");
  int cut = 0;
  // "n+": the disk stays full; "n": there is room again.
  for (const std::string when : {"1", "2", "3", "4", "5", "6", "1+", "2+", "3+"}) {
    const Folder folder;
    EXPECT_EQ(0, folder.run(injecting("error=ENOSPC:when=" + when)));
    const std::string aut = folder.content("x.aut");
    ASSERT_LE(38U, aut.size()) << when;
    EXPECT_EQ("des(0, 40000, 10000)\n", aut.substr(0, 21)) << when;
    EXPECT_EQ(expected.substr(0, aut.size()), aut) << when << ": a block is missing in the middle";
    EXPECT_EQ(aut.size() < expected.size()
                  ? "vesk: the transition system could not be written completely\n"
                  : "",
              folder.content("err"))
        << when;
    if (aut.size() < expected.size()) ++cut;
    EXPECT_EQ(whole.content("x.state"), folder.content("x.state"));
  }
  EXPECT_LE(8, cut);
}

TEST(FaultsTest, AnyFileMayNotBeOpened) {
  const Folder whole;
  ASSERT_EQ(0, whole.run("counters 3 --bfs -o x"));
  const char* const names[] = {"x.aut", "x.state", "x.pruned", "x.deadlock"};
  for (const std::string name : names) {
    const Folder folder;
    EXPECT_EQ(0, folder.run("mkdir " + name + " && counters 3 --bfs -o x"));
    EXPECT_EQ("vesk: cannot open " + name + ": Is a directory\n", folder.content("err"));
    EXPECT_EQ(whole.content("out"), folder.content("out"));
    for (const std::string other : names) {
      if (other != name) {
        EXPECT_EQ(whole.content(other), folder.content(other));
      }
    }
  }
}

TEST(FaultsTest, AReaderThatGoesAwayDoesNotEndTheSearch) {
  const Folder folder;
  EXPECT_EQ(0, folder.run("counters 4 --bfs -o x | head -c 1"));
  EXPECT_EQ(10000U, folder.check("x").stateCount());
  EXPECT_EQ("", folder.check("x").faults() + folder.check("x").missing());
}

TEST(FaultsTest, ClosedStandardDescriptorsGetNoOutputFile) {
  const Folder whole;
  ASSERT_EQ(0, whole.run("counters 3 --dfs -o x"));
  for (const char* closed :
       {"<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
    const Folder folder;
    EXPECT_EQ(0, folder.run("counters 3 --dfs -o x " + std::string(closed))) << closed;
    for (const char* name : {"x.aut", "x.state", "x.pruned", "x.deadlock"}) {
      EXPECT_EQ(whole.content(name), folder.content(name)) << closed;
    }
  }
}

TEST(FaultsTest, AFullStandardOutputIsReported) {
  const Folder folder;
  EXPECT_EQ(0, folder.run("counters 3 --bfs -o x >/dev/full"));
  EXPECT_EQ("vesk: standard output could not be written completely\n", folder.content("err"));
  EXPECT_EQ("", folder.check("x").faults() + folder.check("x").missing());
}

TEST(FaultsTest, ASignalEndsTheProgramWithAllItsOutput) {
  const Folder folder;
  // The shell reports 128 plus the number of the signal.
  EXPECT_EQ(128 + 15, folder.run("counters 6 --dfs -o x & sleep 0.2; kill $!; wait $!"));
  EXPECT_EQ("", folder.check("x").faults());
  EXPECT_NE(std::string::npos, folder.content("out").find("* Count : "));
  EXPECT_EQ(std::string::npos, folder.content("out").find(SUMMARY));
}
