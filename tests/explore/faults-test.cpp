// What the system can do to the example programs: failing writes, closed pipes and descriptors, too
// little memory.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>

#include "program.hpp"

namespace {

const char SUMMARY[] = "Final size : 1000\n";

// strace may be missing, or not be allowed to trace.
bool canInject() {
  return ProgramFolder().run("ASAN_OPTIONS=detect_leaks=0 strace -qq -o /dev/null true") == 0;
}

// A search in which writing transitions fails as the words say.
std::string injecting(const std::string& words) {
  return "touch x.aut && ASAN_OPTIONS=detect_leaks=0 strace -qq -o /dev/null -P \"$(pwd "
         "-P)/x.aut\" "
         "-e trace=write -e inject=write:" +
         words + " counters 4 --bfs -o x";
}

// Without the header.
long transitionsIn(const std::string& aut) {
  return std::count(aut.begin() + 38, aut.end(), '\n');
}

std::string headerOf(const std::string& aut) {
  return aut.substr(0, aut.find('\n') + 2);
}

const char LOST_OUTPUT[] = "vesk: standard output could not be written completely\n";
const char LOST_TRANSITIONS[] = "vesk: the transition system could not be written completely\n";

// The transitions that the header counts.
long promisedBy(const std::string& aut) {
  long promised = -1;
  EXPECT_EQ(1, std::sscanf(aut.c_str(), "des(0, %ld, ", &promised)) << aut.substr(0, 38);
  return promised;
}

// The system itself may end what a dying process writes between two pages of a file: in a line that
// stands across their border.
bool endsWhole(const std::string& file) {
  constexpr std::size_t PAGE = 4096;
  return file.back() == '\n' || file.size() % PAGE == 0;
}

// What a kill may leave: whole lines, and a header that is right for them or, in the middle of a
// block, for those before it.
void expectReadable(const std::string& aut) {
  ASSERT_LE(38U, aut.size());
  EXPECT_EQ('\n', aut[37]);
  EXPECT_TRUE(endsWhole(aut)) << aut.size();
  EXPECT_LE(promisedBy(aut), transitionsIn(aut));
}

// Runs a search that is asked to stop while it waits in a write. Nobody reads from the pipe `p`,
// which is kept open. The status is that of the search, and 99 when it ends only with the pipe.
std::string stuck(const std::string& search) {
  return "mkfifo p; sleep 60 <p & holder=$!\n" + search +
         " & search=$!\n"
         "sleeping=0; while [ $sleeping -lt 5 ]; do sleep 0.1\n"
         "case $(cut -d ' ' -f 3 /proc/$search/stat) in\n"
         "S) sleeping=$((sleeping + 1));; *) sleeping=0;; esac; done\n"
         "kill -TERM $search\n"
         "wait $search 2>/dev/null; status=$?\n"
         "kill -0 $holder || status=99\n"
         "kill $holder; exit $status";
}

}  // namespace

TEST(FaultsTest, AnyWriteMayFail) {
  if (!canInject()) GTEST_SKIP() << "strace cannot be used here";
  const ProgramFolder whole;
  ASSERT_EQ(0, whole.run("counters 4 --bfs -o x"));
  const std::string expected = whole.content("x.aut");
  int cut = 0;
  // "n+": the disk stays full; "n": there is room again.
  for (const std::string when : {"1", "2", "3", "4", "5", "6", "1+", "2+", "3+"}) {
    const ProgramFolder folder;
    EXPECT_EQ(0, folder.run(injecting("error=ENOSPC:when=" + when))) << when;
    const std::string aut = folder.content("x.aut");
    ASSERT_LE(38U, aut.size()) << when;
    EXPECT_EQ("des(0, " + std::to_string(transitionsIn(aut)) + ", 10000)\n ", headerOf(aut))
        << when;
    EXPECT_TRUE(expected.substr(38, aut.size() - 38) == aut.substr(38))
        << when << ": a block is missing in the middle";
    EXPECT_EQ('\n', aut.back()) << when;
    EXPECT_EQ(aut.size() < expected.size()
                  ? "vesk: the transition system could not be written completely\n"
                  : "",
              folder.content("err"))
        << when;
    if (aut.size() < expected.size()) ++cut;
    EXPECT_EQ(whole.content("x.state"), folder.content("x.state")) << when;
  }
  EXPECT_LE(8, cut);
}

TEST(FaultsTest, AnyFileMayNotBeOpened) {
  const ProgramFolder whole;
  ASSERT_EQ(0, whole.run("counters 3 --bfs -o x"));
  const char* const names[] = {"x.aut", "x.state", "x.pruned", "x.deadlock"};
  for (const std::string name : names) {
    const ProgramFolder folder;
    EXPECT_EQ(0, folder.run("mkdir " + name + " && counters 3 --bfs -o x")) << name;
    EXPECT_EQ("vesk: cannot open " + name + ": Is a directory\n", folder.content("err")) << name;
    EXPECT_EQ(whole.content("out"), folder.content("out")) << name;
    for (const std::string other : names) {
      if (other != name) {
        EXPECT_EQ(whole.content(other), folder.content(other)) << name << ' ' << other;
      }
    }
  }
}

TEST(FaultsTest, AReaderThatGoesAwayDoesNotEndTheSearch) {
  const ProgramFolder folder;
  EXPECT_EQ(0, folder.run("counters 4 --bfs -o x | head -c 1"));
  EXPECT_EQ(10000U, folder.check("x").stateCount());
  EXPECT_EQ("", folder.check("x").faults() + folder.check("x").missing());
}

TEST(FaultsTest, ClosedStandardDescriptorsGetNoOutputFile) {
  const ProgramFolder whole;
  ASSERT_EQ(0, whole.run("counters 3 --dfs -o x"));
  for (const char* closed :
       {"<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
    const ProgramFolder folder;
    EXPECT_EQ(0, folder.run("counters 3 --dfs -o x " + std::string(closed))) << closed;
    for (const char* name : {"x.aut", "x.state", "x.pruned", "x.deadlock"}) {
      EXPECT_EQ(whole.content(name), folder.content(name)) << closed;
    }
  }
}

TEST(FaultsTest, AFullStandardOutputIsReported) {
  const ProgramFolder folder;
  EXPECT_EQ(0, folder.run("counters 3 --bfs -o x >/dev/full"));
  EXPECT_EQ("vesk: standard output could not be written completely\n", folder.content("err"));
  EXPECT_EQ("", folder.check("x").faults() + folder.check("x").missing());
}

TEST(FaultsTest, ASignalEndsTheProgramWithAllItsOutput) {
  const ProgramFolder folder;
  // The shell reports 128 plus the number of the signal.
  EXPECT_EQ(128 + 15, folder.run("counters 6 --dfs -o x & sleep 0.2; kill $!; wait $!"));
  EXPECT_EQ("", folder.check("x").faults());
  EXPECT_NE(std::string::npos, folder.content("out").find("* Count : "));
  EXPECT_EQ(std::string::npos, folder.content("out").find(SUMMARY));
}

TEST(FaultsTest, ASearchHearsASignalWhenNobodyReadsItsOutput) {
  for (const std::string traversal : {"--bfs", "--dfs"}) {
    const ProgramFolder folder;
    EXPECT_EQ(128 + 15, folder.run(stuck("counters 6 -o x " + traversal + " >p"))) << traversal;
    EXPECT_EQ("", folder.check("x").faults()) << traversal;
    EXPECT_EQ(LOST_OUTPUT, folder.content("err")) << traversal;
  }
}

TEST(FaultsTest, ASearchHearsASignalWhenNobodyReadsItsFiles) {
  for (const std::string traversal : {"--bfs", "--dfs"}) {
    const ProgramFolder folder;
    EXPECT_EQ(128 + 15, folder.run("ln -s p x.aut;" + stuck("counters 6 -o x " + traversal)))
        << traversal;
    EXPECT_EQ(
        "vesk: the transition system has no header: Illegal seek\n" + std::string(LOST_TRANSITIONS),
        folder.content("err"))
        << traversal;
    const std::string states = folder.content("x.state");
    ASSERT_NE("", states) << traversal;
    EXPECT_EQ('\n', states.back()) << traversal;
    EXPECT_NE(std::string::npos, folder.content("out").find("* Count : ")) << traversal;
  }
}

TEST(FaultsTest, ASearchHearsASignalWhenNobodyReadsAnything) {
  const ProgramFolder folder;
  EXPECT_EQ(128 + 15, folder.run("for f in aut pruned deadlock; do ln -s p x.$f; done;" +
                                 stuck("counters 6 --bfs -o x >p 2>p")));
}

// The process does not read from its own pipe.
TEST(FaultsTest, APipeWhoseReaderGoesAwayDoesNotHoldUpTheSearch) {
  const ProgramFolder folder;
  EXPECT_EQ(0, folder.run("mkfifo x.aut; head -c 100 <x.aut >got & counters 5 --bfs -o x"));
  EXPECT_EQ(
      "vesk: the transition system has no header: Illegal seek\n" + std::string(LOST_TRANSITIONS),
      folder.content("err"));
  EXPECT_EQ(100U, folder.content("got").size());
  EXPECT_NE(std::string::npos, folder.content("out").find("Final size : 100000\n"));
}

TEST(FaultsTest, AReaderGetsEverythingThroughAPipe) {
  const ProgramFolder whole;
  ASSERT_EQ(0, whole.run("counters 4 --dfs -o x"));
  const ProgramFolder folder;
  EXPECT_EQ(0, folder.run("mkfifo x.aut; cat <x.aut >got & counters 4 --dfs -o x; wait"));
  const std::string aut = whole.content("x.aut");
  EXPECT_TRUE(std::string(37, ' ') + aut.substr(37) == folder.content("got"));
}

TEST(FaultsTest, APipeWithoutReaderCannotBeOpened) {
  const ProgramFolder whole;
  ASSERT_EQ(0, whole.run("counters 3 --bfs -o x"));
  for (const std::string name : {"x.aut", "x.state"}) {
    const ProgramFolder folder;
    EXPECT_EQ(0, folder.run("mkfifo " + name + " && counters 3 --bfs -o x")) << name;
    EXPECT_EQ("vesk: cannot open " + name + ": No such device or address\n", folder.content("err"))
        << name;
    EXPECT_EQ(whole.content("out"), folder.content("out")) << name;
    EXPECT_EQ(whole.content("x.deadlock"), folder.content("x.deadlock")) << name;
  }
}

// A batch system's limit: the shell allows a second of processor time.
TEST(FaultsTest, ASearchWithoutProcessorTimeCompletesItsFiles) {
  const ProgramFolder folder;
  EXPECT_EQ(128 + SIGXCPU, folder.run("(ulimit -c 0; ulimit -S -t 1; exec counters 7 --bfs -o x)"));
  EXPECT_EQ("", folder.check("x").faults());
  EXPECT_NE(std::string::npos, folder.content("out").find("* Count : "));
}

TEST(FaultsTest, AKilledSearchLeavesWholeLinesAndAHeaderThatPromisesNoMore) {
  std::minstd_rand random(3);
  long most = 0;
  for (int round = 0; round < 20; ++round) {
    const ProgramFolder folder;
    const std::string pause = std::to_string(10000 + random() % 500000);
    const std::string traversal = round % 2 == 0 ? "--bfs" : "--dfs";
    EXPECT_EQ(128 + SIGKILL,
              folder.run("counters 6 -o x " + traversal + " & sleep $(printf 0.%06d " + pause +
                         "); kill -9 $!; wait $!"))
        << round;
    const std::string aut = folder.content("x.aut");
    if (aut.empty()) continue;  // it was killed before it began
    expectReadable(aut);
    most = std::max(most, promisedBy(aut));
    const std::string states = folder.content("x.state");
    EXPECT_TRUE(states.empty() || endsWhole(states)) << round;
  }
  EXPECT_LT(0, most);
}

TEST(FaultsTest, ASearchKilledAtAnyWriteLeavesWholeLines) {
  if (!canInject()) GTEST_SKIP() << "strace cannot be used here";
  for (const int write : {2, 3, 4, 5, 9}) {
    const ProgramFolder folder;
    folder.run(
        "touch x.aut && ASAN_OPTIONS=detect_leaks=0 strace -qq -o /dev/null -P \"$(pwd -P)"
        "/x.aut\" -e trace=write -e inject=write:error=EIO:signal=KILL:when=" +
        std::to_string(write) + " counters 4 --bfs -o x");
    const std::string aut = folder.content("x.aut");
    expectReadable(aut);
    EXPECT_EQ(write == 2, aut.size() == 38) << write;
    // A block is one write, and its lines are counted as soon as it is there.
    EXPECT_EQ(write == 2, promisedBy(aut) == 0) << write;
  }
}

// The file has a header from its first line on.
TEST(FaultsTest, ASearchKilledBeforeItUpdatesTheHeaderLeavesOne) {
  if (!canInject()) GTEST_SKIP() << "strace cannot be used here";
  for (const std::string traversal : {"--bfs", "--dfs"}) {
    const ProgramFolder folder;
    folder.run(
        "touch x.aut && ASAN_OPTIONS=detect_leaks=0 strace -qq -o /dev/null -P \"$(pwd -P)"
        "/x.aut\" -e trace=pwrite64 -e inject=pwrite64:error=EIO:signal=KILL:when=1 counters 2 " +
        traversal + " -o x");
    EXPECT_EQ("des(0, 0, 1)\n" + std::string(24, ' ') + "\n", folder.content("x.aut")) << traversal;
  }
}
