// What tells of model code that never returns: a signal, which a test need not wait for.
#include "stuck-watch.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "kit/processes.hpp"

using Vesk::Inspect::StuckWatch;

namespace {

kit::Outcome stuckWithOutput(const char* file) {
  return kit::isolated([&] {
    if (file != nullptr && std::freopen(file, "w", stdout) == nullptr) return 99;
    const StuckWatch watch(1);
    StuckWatch::progress("a dream");
    raise(SIGALRM);
    return 0;
  });
}

// The descriptor that is opened next.
int nextDescriptor() {
  const int next = dup(STDERR_FILENO);
  close(next);
  return next;
}

}  // namespace

TEST(StuckWatchTest, TheEndIsAFindingThatSaysWhatWasBeingDone) {
  const kit::Outcome outcome = stuckWithOutput(nullptr);
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ("model: no step ends any more in a dream\n", outcome.out.substr(0, 40));
}

TEST(StuckWatchTest, AFindingThatCannotBeWrittenIsAFailure) {
  EXPECT_EQ(2, stuckWithOutput("/dev/full").status);
}

// At least 5 seconds, and one more for every 1000 atoms.
TEST(StuckWatchTest, ALargeModelHasMoreTime) {
  const StuckWatch watch(1000000);
  StuckWatch::progress("a dream");
  const unsigned int left = alarm(0);
  EXPECT_LE(left, 1005u);
  EXPECT_GT(left, 500u);
}

TEST(StuckWatchTest, NoSignalComesBehindItsEnd) {
  {
    const StuckWatch watch(1);
    StuckWatch::progress("a dream");
  }
  EXPECT_EQ(0u, alarm(0));
}

TEST(StuckWatchTest, NothingIsLeftOpen) {
  const int before = nextDescriptor();
  { const StuckWatch watch(1); }
  EXPECT_EQ(before, nextDescriptor());
}
