// Standard output of a search whose reader does not read, before and after the search was asked to
// stop.
#include "exploration/standard-output.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio_ext.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "alarms.hpp"
#include "exploration/progress.hpp"
#include "exploration/signals.hpp"
#include "kit/processes.hpp"

using namespace kit;

using Vesk::flushOutput;
using Vesk::makeOutputRoom;
using Vesk::SearchSignals;

namespace {

constexpr char LOST[] = "vesk: standard output could not be written completely\n";

// All that is left in a pipe to which nobody writes any longer.
std::string drained(int reader) {
  std::string text;
  char block[4096];
  for (ssize_t length; (length = read(reader, block, sizeof block)) > 0;) {
    text.append(block, static_cast<std::size_t>(length));
  }
  return text;
}

// Standard output becomes a pipe that is full. Returns its other end.
int fillStandardOutput() {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  fcntl(ends[1], F_SETFL, O_NONBLOCK);
  const std::string block(4096, 'x');
  while (write(ends[1], block.data(), block.size()) > 0) {
  }
  fcntl(ends[1], F_SETFL, 0);
  dup2(ends[1], STDOUT_FILENO);
  close(ends[1]);
  return ends[0];
}

// The process may have no more files meanwhile.
void flushWithFiles(rlim_t most) {
  rlimit former;
  getrlimit(RLIMIT_NOFILE, &former);
  const rlimit few = {most, former.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  flushOutput();
  setrlimit(RLIMIT_NOFILE, &former);
}

}  // namespace

TEST(StandardOutputTest, FlushingHandsOverWhatWasPrinted) {
  const Outcome outcome = isolated([] {
    std::printf("printed");
    flushOutput();
    _exit(0);
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "printed");
  EXPECT_EQ(outcome.err, "");
}

TEST(StandardOutputTest, WithNothingPrintedAFullPipeIsNotWaitedFor) {
  const Outcome outcome = isolated([] {
    fillStandardOutput();
    flushOutput();
    _exit(0);
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
}

TEST(StandardOutputTest, RoomIsMadeOnlyWhenThePrintedTextDoesNotFit) {
  const Outcome outcome = isolated([] {
    std::printf("x");
    const std::size_t size = __fbufsize(stdout);
    makeOutputRoom(size - 2);
    const bool kept = __fpending(stdout) == 1;
    makeOutputRoom(size - 1);
    const bool handedOver = __fpending(stdout) == 0;
    return kept && handedOver ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "x");
}

TEST(StandardOutputTest, WhatIsRefusedIsNotTriedAgain) {
  const Outcome outcome = isolated([] {
    signal(SIGPIPE, SIG_IGN);
    close(fillStandardOutput());
    std::printf("refused");
    flushOutput();
    return __fpending(stdout) == 0 && std::ferror(stdout) != 0 ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "") << "the search reports it at its end";
}

TEST(StandardOutputTest, AfterTheGraceOfARequestWhatNobodyTakesIsDroppedWithAllThatFollows) {
  const Outcome outcome = isolated([] {
    const SearchSignals signals;
    const int reader = fillStandardOutput();
    raise(SIGTERM);
    std::printf("dropped");
    flushOutput();
    if (__fpending(stdout) != 0) return 1;
    std::printf("and this");
    flushOutput();
    return drained(reader).find_first_not_of('x') == std::string::npos ? 0 : 2;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, LOST) << "said once";
}

// The spinner has two characters, of which the second one would not fit.
TEST(StandardOutputTest, TheProgressOfASearchMakesRoomBeforeItPrints) {
  const Outcome outcome = isolated([] {
    const SearchSignals signals;
    fillStandardOutput();
    std::printf("x");
    std::printf("%s", std::string(__fbufsize(stdout) - 2, 'x').c_str());
    raise(SIGTERM);
    Vesk::Progress progress(false, 0);
    Vesk::Counters counters;
    progress.start();
    for (counters.steps = 1; counters.steps <= 20; ++counters.steps) progress.show(counters, 1);
    return __fpending(stdout) == 2 ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, LOST);
}

// The way to nowhere then has the smallest descriptor of all.
TEST(StandardOutputTest, ItIsDroppedAlsoWithoutStandardInput) {
  const Outcome outcome = isolated([] {
    const SearchSignals signals;
    const int reader = fillStandardOutput();
    close(STDIN_FILENO);
    raise(SIGTERM);
    for (int i = 0; i < 3; ++i) {
      std::printf("dropped");
      flushOutput();
      if (__fpending(stdout) != 0) return 1;
    }
    if (fcntl(STDIN_FILENO, F_GETFD) != -1) return 3;
    return drained(reader).find_first_not_of('x') == std::string::npos ? 0 : 2;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, LOST) << "said once";
}

TEST(StandardOutputTest, ASingleCharacterIsHandedOver) {
  const Outcome outcome = isolated([] {
    std::printf("x");
    flushOutput();
    return __fpending(stdout) == 0 ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "x");
}

// After a request, too, nothing is said of what was never printed.
TEST(StandardOutputTest, WithNothingPrintedNothingIsDropped) {
  const Outcome outcome = isolated([] {
    const SearchSignals signals;
    fillStandardOutput();
    raise(SIGTERM);
    while (!Vesk::graceIsOver()) usleep(10000);
    flushOutput();
    _exit(0);
    return 0;
  });
  EXPECT_EQ(outcome.err, "");
}

TEST(StandardOutputTest, WithoutARequestAReaderThatComesBackGetsEverything) {
  const Outcome outcome = isolated([] {
    const int reader = fillStandardOutput();
    std::printf("taken");
    if (fork() == 0) {
      close(STDOUT_FILENO);
      const std::string taken = drained(reader);
      std::fprintf(stderr, "%s", taken.c_str() + taken.find_first_not_of('x'));
      std::fflush(stderr);
      _exit(0);
    }
    flushOutput();
    std::fclose(stdout);
    int status = 0;
    waitpid(-1, &status, 0);
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "taken");
}

TEST(StandardOutputTest, SignalsWhileAReaderIsAwaitedLoseNothing) {
  const Outcome outcome = isolated([] {
    const int reader = fillStandardOutput();
    std::printf("taken");
    if (fork() == 0) {
      close(STDOUT_FILENO);
      usleep(100000);
      const std::string taken = drained(reader);
      std::fprintf(stderr, "%s", taken.c_str() + taken.find_first_not_of('x'));
      std::fflush(stderr);
      _exit(0);
    }
    {
      const Alarms often;
      flushOutput();
      if (Alarms::count == 0) return 1;
    }
    std::fclose(stdout);
    int status = 0;
    waitpid(-1, &status, 0);
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "taken");
}

// A process that may have no files cannot ask whether there is room, nor open another one.
TEST(StandardOutputTest, WhereRoomCannotBeAskedForTheOutputIsTried) {
  const Outcome outcome = isolated([] {
    std::printf("printed");
    flushWithFiles(0);
    return __fpending(stdout) == 0 ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "printed");
}

TEST(StandardOutputTest, WhatNobodyTakesIsDroppedEvenWhenThereIsNoOtherPlace) {
  const Outcome outcome = isolated([] {
    const SearchSignals signals;
    fillStandardOutput();
    raise(SIGTERM);
    std::printf("dropped");
    flushWithFiles(1);
    return __fpending(stdout) == 0 ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, LOST);
}
