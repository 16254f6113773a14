// Signals at random instants, drawn with a fixed seed, in searches and in runs. VESK_SIGNAL_RUNS is
// how many there are for each of them, a fifth of it for SIGKILL.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "child.hpp"
#include "example-runs.hpp"

namespace {

constexpr unsigned int SEED = 18;
constexpr int FEW = 10;
constexpr std::size_t HEADER = 38;
constexpr std::size_t PAGE = 4096;

int signals() {
  const char* asked = std::getenv("VESK_SIGNAL_RUNS");
  return asked != nullptr ? std::atoi(asked) : FEW;
}

// A command line, or one with an interactive run's input.
struct Command {
  const char* name;
  const char* program;
  const char* arguments;
};

std::ostream& operator<<(std::ostream& out, const Command& command) {
  return out << command.program << ' ' << command.arguments;
}

Start startOf(const Command& command) {
  Start start;
  start.program = PROGRAMS "/" + std::string(command.program);
  std::istringstream words(command.arguments);
  for (std::string word; words >> word;) start.arguments.push_back(word);
  for (int i = 0; i < 300; ++i) start.input += "r\nx\n";
  return start;
}

bool diedBy(const Outcome& outcome, int number) {
  return WIFSIGNALED(outcome.status) && WTERMSIG(outcome.status) == number;
}

bool isOver(const Outcome& outcome) {
  return WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == 0;
}

bool beginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

bool isWhole(const std::string& lines) {
  return lines.empty() || lines.back() == '\n';
}

// The system itself may end what a dying process writes between two pages.
bool endsWhole(const std::string& lines) {
  return isWhole(lines) || lines.size() % PAGE == 0;
}

struct Header {
  long transitions = -1;
  long states = -1;
};

Header headerOf(const std::string& aut) {
  Header header;
  std::sscanf(aut.c_str(), "des(0, %ld, %ld)\n", &header.transitions, &header.states);
  return header;
}

long transitionsIn(const std::string& aut) {
  return std::count(aut.begin() + HEADER, aut.end(), '\n');
}

}  // namespace

class SignalsTest : public testing::TestWithParam<Command> {
 protected:
  // The shortest of some runs: other programs may have held one up.
  void SetUp() override {
    for (int run = 0; run < 5; ++run) {
      const auto begin = std::chrono::steady_clock::now();
      mWhole = mFolder.run(startOf(GetParam()));
      const auto duration = std::chrono::steady_clock::now() - begin;
      mDuration = run == 0 ? duration : std::min(mDuration, duration);
      ASSERT_TRUE(isOver(mWhole)) << nameOfStatus(mWhole);
    }
  }

  void pauseBefore(double latest) {
    std::uniform_real_distribution<double> part(0, latest);
    const double seconds = std::chrono::duration<double>(mDuration).count() * part(mRandom);
    const timespec pause = {static_cast<time_t>(seconds),
                            static_cast<long>((seconds - static_cast<long>(seconds)) * 1e9)};
    nanosleep(&pause, nullptr);
  }

  // What is left when the signals have come one after the other.
  Outcome runWith(const std::vector<int>& numbers) {
    mFolder.clear();
    const pid_t child = mFolder.begin(startOf(GetParam()));
    for (const int number : numbers) {
      pauseBefore(1.1 / static_cast<double>(numbers.size()));
      kill(child, number);
    }
    return mFolder.end(child);
  }

  // No more than the beginning of the list.
  void expectBeginning(const Outcome& got, const std::string& name, bool whole) {
    const std::string list = got.file(name);
    EXPECT_TRUE(beginsWith(mWhole.file(name), list)) << name;
    EXPECT_TRUE(whole ? isWhole(list) : endsWhole(list)) << name << list.size();
  }

  // The text after the header may be that of a killed search.
  void expectTransitions(const Outcome& got, bool whole) {
    const std::string aut = got.file("x.aut");
    if (aut.empty()) return;
    ASSERT_LE(HEADER, aut.size());
    const Header header = headerOf(aut);
    EXPECT_LE(0, header.transitions) << aut.substr(0, HEADER);
    EXPECT_LE(header.transitions, transitionsIn(aut));
    EXPECT_LE(header.states, headerOf(mWhole.file("x.aut")).states);
    if (whole) {
      EXPECT_EQ(header.transitions, transitionsIn(aut));
    }
    EXPECT_TRUE(beginsWith(mWhole.file("x.aut").substr(HEADER), aut.substr(HEADER)));
    EXPECT_TRUE(whole ? isWhole(aut) : endsWhole(aut));
  }

  void expectReadable() {
    const Outcome info = mFolder.end(mFolder.begin(readingOfFiles("x")));
    EXPECT_TRUE(isOver(info)) << info.err;
  }

  void expectFiles(const Outcome& got, bool whole) {
    expectTransitions(got, whole);
    expectBeginning(got, "x.state", whole);
    expectBeginning(got, "x.deadlock", whole);
    expectBeginning(got, "x.pruned", whole);
    if (!got.file("x.aut").empty()) expectReadable();
  }

  std::minstd_rand mRandom{SEED};
  ChildFolder mFolder;
  Outcome mWhole;
  std::chrono::steady_clock::duration mDuration{};
};

std::string nameOfCommand(const testing::TestParamInfo<Command>& command) {
  return command.param.name;
}

// ---- Searches ----------------------------------------------------------------------------------

// Models whose parts are local, and models whose are not.
const Command SEARCHES[] = {
    {"CountersBreadthFirst", "counters", "--bfs -o x 4"},
    {"CountersDepthFirst", "counters", "--dfs -o x 4"},
    {"TokenRingBreadthFirst", "token-ring", "--bfs -o x 8"},
    {"TimedInternalDepthFirst", "timed-internal", "--dfs -o x"},
};

class SignalsInSearchesTest : public SignalsTest {};
INSTANTIATE_TEST_SUITE_P(Searches, SignalsInSearchesTest, testing::ValuesIn(SEARCHES),
                         nameOfCommand);

TEST_P(SignalsInSearchesTest, LeaveFilesWithARightHeaderAndASummary) {
  const int numbers[] = {SIGINT, SIGTERM, SIGHUP, SIGXCPU};
  for (int i = 0; i < signals(); ++i) {
    SCOPED_TRACE(i);
    const int number = numbers[i % 4];
    const Outcome got = runWith({number});
    if (isOver(got)) {
      EXPECT_EQ(mWhole.files, got.files);
      continue;
    }
    EXPECT_TRUE(diedBy(got, number)) << nameOfStatus(got);
    EXPECT_EQ("", got.err);
    expectFiles(got, true);
    if (!got.file("x.aut").empty()) {
      EXPECT_NE(std::string::npos, got.out.find("* Count : ")) << got.out;
    }
  }
}

TEST_P(SignalsInSearchesTest, TwoOfThemLeaveABeginning) {
  for (int i = 0; i < signals() / 5; ++i) {
    SCOPED_TRACE(i);
    const Outcome got = runWith({SIGINT, SIGTERM});
    EXPECT_TRUE(isOver(got) || diedBy(got, SIGINT) || diedBy(got, SIGTERM)) << nameOfStatus(got);
    expectFiles(got, false);
  }
}

TEST_P(SignalsInSearchesTest, AKillLeavesABeginning) {
  for (int i = 0; i < signals() / 5; ++i) {
    SCOPED_TRACE(i);
    const Outcome got = runWith({SIGKILL});
    EXPECT_TRUE(isOver(got) || diedBy(got, SIGKILL)) << nameOfStatus(got);
    expectFiles(got, false);
  }
}

TEST_P(SignalsInSearchesTest, OfABrokenPipeOrAFullDiskDoNotEndIt) {
  for (int i = 0; i < signals() / 5; ++i) {
    SCOPED_TRACE(i);
    const int number = i % 2 == 0 ? SIGPIPE : SIGXFSZ;
    const Outcome got = runWith({number});
    if (diedBy(got, number)) {
      // It came before the search, or after it.
      const std::string aut = got.file("x.aut");
      EXPECT_TRUE(aut.empty() || aut == mWhole.file("x.aut"));
      continue;
    }
    EXPECT_TRUE(isOver(got)) << nameOfStatus(got);
    EXPECT_EQ(mWhole.files, got.files);
  }
}

// ---- Runs --------------------------------------------------------------------------------------

const Command RUNS[] = {
    {"Standard", "token-ring", "--limit 3000 4"},
    {"Random", "heartbeat", "--random --limit 3000"},
    {"Interactive", "heartbeat", "--interactive --limit 200"},
    {"Realtime", "heartbeat", "--realtime --limit 20"},
    {"MaximalSynchronisation", "gateway", "--opt1 --limit 3000"},
    {"PriorityHeap", "token-ring", "--opt2 --limit 3000"},
    {"TraceFile", "gear-box", "--limit 3000 --simout x.trace"},
};

class SignalsInRunsTest : public SignalsTest {
 protected:
  bool isByRealClock() const { return GetParam().name == std::string("Realtime"); }

  void expectTrace(const Outcome& got) {
    if (isByRealClock()) {
      EXPECT_TRUE(endsWhole(got.out));
      return;
    }
    EXPECT_TRUE(beginsWith(mWhole.out, got.out));
    EXPECT_TRUE(endsWhole(got.out) || GetParam().name == std::string("Interactive"));
    EXPECT_TRUE(beginsWith(mWhole.file("x.trace"), got.file("x.trace")));
    EXPECT_TRUE(endsWhole(got.file("x.trace")));
  }
};
INSTANTIATE_TEST_SUITE_P(Runs, SignalsInRunsTest, testing::ValuesIn(RUNS), nameOfCommand);

TEST_P(SignalsInRunsTest, LeaveWholeLinesOfTheTrace) {
  const int numbers[] = {SIGINT, SIGTERM, SIGHUP, SIGKILL, SIGPIPE, SIGQUIT};
  for (int i = 0; i < signals(); ++i) {
    SCOPED_TRACE(i);
    const int number = numbers[i % 6];
    const Outcome got = runWith({number});
    EXPECT_TRUE(isOver(got) || diedBy(got, number)) << nameOfStatus(got);
    EXPECT_EQ("", got.err);
    expectTrace(got);
  }
}
