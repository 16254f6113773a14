// The example programs in all their modes when an output is closed, full, or a pipe whose reader
// goes away.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>

#include "child.hpp"
#include "example-runs.hpp"

namespace {

constexpr char LOST_OUTPUT[] = "vesk: standard output could not be written completely\n";

// The files of a run, and what is said when one is cut.
const std::pair<const char*, const char*> FILES[] = {
    {"x.aut", "vesk: the transition system could not be written completely\n"},
    {"x.state", "vesk: the list of states could not be written completely\n"},
    {"x.pruned", "vesk: the list of pruned paths could not be written completely\n"},
    {"x.deadlock", "vesk: the list of deadlocks could not be written completely\n"},
    {"x.trace", "vesk: the trace could not be written completely\n"},
};

bool isOver(const Outcome& outcome) {
  return WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == 0;
}

bool diedBy(const Outcome& outcome, int number) {
  return WIFSIGNALED(outcome.status) && WTERMSIG(outcome.status) == number;
}

// An end of a pipe without the other one.
class BrokenPipe {
 public:
  BrokenPipe() {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    close(ends[0]);
    mEnd = ends[1];
  }
  BrokenPipe(const BrokenPipe&) = delete;
  BrokenPipe& operator=(const BrokenPipe&) = delete;
  ~BrokenPipe() { close(mEnd); }
  int end() const { return mEnd; }

 private:
  int mEnd;
};

class FullDevice {
 public:
  FullDevice() : mDescriptor(open("/dev/full", O_WRONLY | O_CLOEXEC)) {}
  FullDevice(const FullDevice&) = delete;
  FullDevice& operator=(const FullDevice&) = delete;
  ~FullDevice() { close(mDescriptor); }
  int descriptor() const { return mDescriptor; }

 private:
  int mDescriptor;
};

}  // namespace

class BrokenOutputsTest : public testing::TestWithParam<ExampleRun> {
 protected:
  void SetUp() override {
    mStart = GetParam().start();
    if (!GetParam().clock.empty()) mStart.environment.push_back("LD_PRELOAD=" SCRIPTED_CLOCK);
    mWhole = mFolder.run(mStart);
    ASSERT_TRUE(isOver(mWhole)) << nameOfStatus(mWhole);
  }

  // The main of own-main does not look after its output.
  std::string lostOutput() const { return GetParam().program == "own-main" ? "" : LOST_OUTPUT; }
  bool endsByBrokenPipe() const { return GetParam().mode != "bfs" && GetParam().mode != "dfs"; }

  ChildFolder mFolder;
  Start mStart;
  Outcome mWhole;
};

std::vector<ExampleRun> allRuns() {
  return exampleRuns();
}

INSTANTIATE_TEST_SUITE_P(Examples, BrokenOutputsTest, testing::ValuesIn(allRuns()),
                         [](const auto& run) { return nameOf(run.param); });

TEST_P(BrokenOutputsTest, AClosedOneChangesNothingElse) {
  for (const bool both : {false, true}) {
    Start start = mStart;
    start.out = -1;
    if (both) start.err = -1;
    const Outcome got = mFolder.run(start);
    EXPECT_TRUE(isOver(got)) << nameOfStatus(got);
    EXPECT_EQ(mWhole.files, got.files);
    if (!both) {
      EXPECT_EQ(mWhole.err, got.err);
    }
  }
}

TEST_P(BrokenOutputsTest, AFullOneIsReported) {
  const FullDevice full;
  Start start = mStart;
  start.out = full.descriptor();
  const Outcome got = mFolder.run(start);
  EXPECT_TRUE(isOver(got)) << nameOfStatus(got);
  EXPECT_EQ(mWhole.files, got.files);
  EXPECT_EQ(mWhole.err + lostOutput(), got.err);
  start.err = full.descriptor();
  EXPECT_TRUE(isOver(mFolder.run(start)));
}

// A run ends by the signal like any program; a search does not end.
TEST_P(BrokenOutputsTest, ABrokenPipeEndsRunsOnly) {
  const BrokenPipe broken;
  Start start = mStart;
  start.out = broken.end();
  const Outcome got = mFolder.run(start);
  if (endsByBrokenPipe()) {
    EXPECT_TRUE(diedBy(got, SIGPIPE)) << nameOfStatus(got);
    return;
  }
  EXPECT_TRUE(isOver(got)) << nameOfStatus(got);
  EXPECT_EQ(mWhole.files, got.files);
  EXPECT_EQ(LOST_OUTPUT, got.err);
}

TEST_P(BrokenOutputsTest, AFullFileIsReportedAndSpoilsNothingElse) {
  for (const auto& [name, report] : FILES) {
    if (mWhole.file(name).empty()) continue;
    SCOPED_TRACE(name);
    mFolder.clear();
    std::filesystem::create_symlink("/dev/full", mFolder.name(name));
    const Outcome got = mFolder.end(mFolder.begin(mStart));
    EXPECT_TRUE(isOver(got)) << nameOfStatus(got);
    EXPECT_EQ(mWhole.out, got.out);
    EXPECT_NE(std::string::npos, got.err.find(report)) << got.err;
    auto others = mWhole.files;
    others.erase(name);
    EXPECT_EQ(others, got.files);
  }
}

TEST_P(BrokenOutputsTest, AFileThatCannotBeOpenedIsReportedAndSpoilsNothingElse) {
  for (const auto& [name, report] : FILES) {
    if (mWhole.files.count(name) == 0) continue;
    SCOPED_TRACE(name);
    mFolder.clear();
    std::filesystem::create_directory(mFolder.name(name));
    const Outcome got = mFolder.end(mFolder.begin(mStart));
    EXPECT_TRUE(isOver(got)) << nameOfStatus(got);
    EXPECT_EQ(mWhole.out, got.out);
    EXPECT_EQ(mWhole.err + "vesk: cannot open " + name + ": Is a directory\n", got.err);
    auto others = mWhole.files;
    others.erase(name);
    EXPECT_EQ(others, got.files);
  }
}
