// The command line: its options, and what they set up.
#include <getopt.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "clock.hpp"
#include "linux-clock.hpp"
#include "reports.hpp"
#include "scheduler.hpp"

namespace {

constexpr char HELP_TITLE[] = "Help for VESK engine";
constexpr char UNKNOWN_OPTION[] = "Unknown: '%c'\n";

constexpr char SHORT_OPTIONS[] = "o:l:s:r";
constexpr char DEFAULT_OUTPUT[] = "vesk";

[[noreturn]] void endProcess(int status) {
  Vesk::reportLostOutput();
  std::exit(status);
}

constexpr char NO_NUMBER[] = "vesk: --%s: '%.*s' is not a number, taken as %d\n";
constexpr char TOO_LARGE[] = "vesk: --%s: '%.*s' does not fit into 32 bits, taken as %d\n";
constexpr char MISSING_NUMBER[] = "vesk: --%s: the number is missing, taken as 0\n";

// The first characters of a text that belong into a line of a message.
int shownLength(const char* text) {
  constexpr int MOST = 40;
  int length = 0;
  while (length < MOST && !std::iscntrl(static_cast<unsigned char>(text[length]))) ++length;
  return length;
}

// Text that is no number gives what it begins with, or 0; what lies beyond an int becomes the
// nearest one. Both are reported.
int numberOf(const char* option, const char* text) {
  char* end = nullptr;
  errno = 0;
  const long read = std::strtol(text, &end, 10);
  const bool fits = errno != ERANGE && INT_MIN <= read && read <= INT_MAX;
  const int number = static_cast<int>(std::clamp<long>(read, INT_MIN, INT_MAX));
  if (*text == '\0') {
    std::fprintf(stderr, MISSING_NUMBER, option);
  } else if (end == text || *end != '\0') {
    std::fprintf(stderr, NO_NUMBER, option, shownLength(text), text, number);
  } else if (!fits) {
    std::fprintf(stderr, TOO_LARGE, option, shownLength(text), text, number);
  }
  return number;
}

// Deliberate: `-r` takes no argument although its long form, `--seed`, needs one, and is refused
// like an unknown option: which options are accepted does not change.
// (docs/decisions/0021-short-options.md)
[[noreturn]] void rejectOption(int letter, option* table) {
  std::printf(UNKNOWN_OPTION, letter);
  help(table);
  endProcess(-1);
}

[[noreturn]] void showHelp(option* table) {
  help(table);
  endProcess(0);
}

}  // namespace

// Deliberate: shows `-h` as well, which is no option, because it prints the letter of every row.
// (docs/decisions/0021-short-options.md)
void help(option* table) {
  std::puts(HELP_TITLE);
  for (; table->name != nullptr; ++table) {
    std::printf("  --%s", table->name);
    if (table->flag == nullptr) std::printf(" / -%c", table->val);
    std::printf("\n");
  }
}

// The table of options, whose flags are the fields of this scheduler until the next call.
option* Scheduler::bindOptions() {
  // An option either stores its value in a field, or has a letter and is told apart by it.
  struct Row {
    const char* name;
    int argument;
    int value;
    int Scheduler::*field;
  };
  static const Row ROWS[] = {
      {"execute", no_argument, Vesk::EXECUTE, &Scheduler::mRunMode},
      {"explore", no_argument, Vesk::EXPLORE, &Scheduler::mRunMode},
      {"realtime", no_argument, Vesk::REALTIME, &Scheduler::mRunMode},
      {"random", no_argument, Vesk::RANDOM, &Scheduler::mMode},
      {"quiet", no_argument, 1, &Scheduler::mIntQuiet},
      {"trace", no_argument, 1, &Scheduler::mTrace},
      {"dfs", no_argument, Vesk::DEPTH_FIRST, &Scheduler::mTraverse},
      {"bfs", no_argument, Vesk::BREADTH_FIRST, &Scheduler::mTraverse},
      {"interactive", no_argument, Vesk::INTERACTIVE, &Scheduler::mMode},
      {"opt1", no_argument, Vesk::MAXIMAL_SYNCHRONISATION, &Scheduler::mOptimizationMode},
      {"opt2", no_argument, Vesk::PRIORITY_HEAP, &Scheduler::mOptimizationMode},
      {"disable-output", no_argument, 1, &Scheduler::mDisable_output},
      {"output", required_argument, 'o', nullptr},
      {"limit", required_argument, 'l', nullptr},
      {"help", no_argument, 'h', nullptr},
      {"simout", required_argument, 's', nullptr},
      {"seed", required_argument, 'r', nullptr},
  };
  static option table[sizeof ROWS / sizeof *ROWS + 1] = {};  // ends with a null name
  option* entry = table;
  for (const Row& row : ROWS) {
    int* flag = row.field != nullptr ? &(this->*row.field) : nullptr;
    *entry++ = {row.name, row.argument, flag, row.value};
  }
  return table;
}

void Scheduler::parseCmdFile(int argc, char** argv) {
  option* table = bindOptions();
  const char* outputBase = DEFAULT_OUTPUT;
  disable_output = false;
  mTraverse = Vesk::NO_TRAVERSAL;
  mTrace = 0;
  optind = 0;  // the model may have parsed the command line already
  for (int c; (c = getopt_long(argc, argv, SHORT_OPTIONS, table, nullptr)) != -1;) {
    switch (c) {
      default:
        break;  // a flag
      case 'l':
        mMaxSimLimit = numberOf("limit", optarg);
        mSimLimit = true;
        break;
      case 'o':
        outputBase = optarg;
        break;
      case 'r':
        if (optarg == nullptr) rejectOption(c, table);
        mRandSeed = numberOf("seed", optarg);
        break;
      case 's':
        openTrace(optarg);
        break;
      case ':':
      case '?':
        rejectOption(c, table);
      case 'h':
        showHelp(table);
    }
  }
  if (mIntQuiet > 0) mQuiet = true;
  if (mDisable_output > 0) disable_output = true;
  if (mTraverse != Vesk::NO_TRAVERSAL) mRunMode = Vesk::EXPLORE;
  if (mRunMode == Vesk::EXPLORE && !disable_output) openOutputFiles(outputBase);
  createClocks();
}

// Deliberate: what is written to a trace that cannot be opened is lost, and the run goes on,
// because standard output may have a reader who expects no trace.
// (docs/decisions/0022-a-trace-that-cannot-be-opened.md)
void Scheduler::openTrace(const char* name) {
  if (simout_file.is_open()) simout_file.close();
  simout_file.clear();
  simout_file.open(name, std::ios::out | std::ios::trunc);
  if (!simout_file.is_open()) Vesk::reportUnopened(name);
  simout = &simout_file;
}

void Scheduler::createClocks() {
  delete mLogicalClock;
  delete mPlatformClock;
  delete mIdleClock;
  mPlatformClock = nullptr;
  mIdleClock = nullptr;
  if (mRunMode == Vesk::EXECUTE) mPlatformClock = new SimuClock("simu clock");
  if (mRunMode == Vesk::REALTIME) mPlatformClock = new LinuxClock("linux clock");
  if (mPlatformClock == nullptr) mIdleClock = new SimuClock("idle clock");
  PlatformClock* platform = mPlatformClock != nullptr ? mPlatformClock : mIdleClock;
  mLogicalClock = new LogicalClock("Real-Time Clock", *platform);
}
