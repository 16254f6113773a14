// The program's entry: command line, and which of the two engines runs the model.

#include <fcntl.h>
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>

#include "clock.hpp"
#include "component.hpp"
#include "engine.hpp"
#include "filter.hpp"
#include "linux-clock.hpp"
#include "scheduler.hpp"

namespace {

constexpr char BANNER[] = "VESK mono-threaded engine. Version: Engines: d20101124\n";
constexpr char HELP_TITLE[] = "Help for VESK engine";
constexpr char UNKNOWN_OPTION[] = "Unknown: '%c'\n";

constexpr char SHORT_OPTIONS[] = "o:l:s:r";
constexpr char DEFAULT_OUTPUT[] = "vesk";
constexpr std::size_t NAME_SIZE = 50;  // of the name of an output file, with its NUL

constexpr int PIPE_ATTEMPTS = 21;
constexpr useconds_t PIPE_PAUSE = 50000;  // microseconds

constexpr int MARGIN = 40000;  // microseconds: of the scheduling filter, and the maximum drift

constexpr int NO_MODEL = 1;     // exit status: the model built no system
constexpr int MODEL_THREW = 3;  // exit status: an exception came out of model code

// What Compound::Create() returned. It is kept here so that it stays reachable when a bad option
// ends the process.
Compound* root = nullptr;

void deleteRoot() {
  delete root;
  root = nullptr;
}

// Standard descriptors that are closed would be given to the next file that is opened, which would
// then receive the output of the program.
void openStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    if (open("/dev/null", O_RDWR) == -1) return;
  }
}

void reportLostOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    std::fprintf(stderr, "vesk: standard output could not be written completely\n");
  }
}

[[noreturn]] void endProcess(int status) {
  reportLostOutput();
  std::exit(status);
}

void reportUnopened(const char* name) {
  std::fprintf(stderr, "vesk: cannot open %s: %s\n", name, std::strerror(errno));
}

// Waits a second for a reader. Without one errno is ENXIO.
int openPipe(const char* name) {
  for (int attempt = 1;; ++attempt) {
    const int pipe = open(name, O_WRONLY | O_NONBLOCK);
    if (pipe != -1) fcntl(pipe, F_SETFL, fcntl(pipe, F_GETFL) & ~O_NONBLOCK);
    if (pipe != -1 || errno != ENXIO || attempt == PIPE_ATTEMPTS) return pipe;
    usleep(PIPE_PAUSE);
  }
}

// A pipe is opened for nothing but writing, or the process would be a reader of its own.
FILE* openOutput(const char* name, const char* mode) {
  struct stat status;
  if (stat(name, &status) == -1 || !S_ISFIFO(status.st_mode)) return std::fopen(name, mode);
  const int pipe = openPipe(name);
  return pipe != -1 ? fdopen(pipe, "w") : nullptr;
}

// Junk is 0; what lies beyond an int becomes the nearest one.
int toInt(const char* text) {
  const long number = std::strtol(text, nullptr, 10);
  if (number > INT_MAX) return INT_MAX;
  if (number < INT_MIN) return INT_MIN;
  return static_cast<int>(number);
}

// Deliberate: `-r` takes no argument although its long form, `--seed`, needs one, and is refused
// like an unknown option.
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

void printLogo() {
  std::printf("%s", BANNER);
}

// Deliberate: shows `-h` as well, which is no option.
void help(option* table) {
  std::puts(HELP_TITLE);
  for (; table->name != nullptr; ++table) {
    std::printf("  --%s", table->name);
    if (table->flag == nullptr) std::printf(" / -%c", table->val);
    std::printf("\n");
  }
}

// ---- The command line ------------------------------------------------------------------------

// The table of options, whose flags are the fields of this scheduler until the next call.
option* Scheduler::bindOptions() {
  static option table[] = {
      {"execute", no_argument, nullptr, 1},
      {"explore", no_argument, nullptr, 0},
      {"realtime", no_argument, nullptr, 3},
      {"random", no_argument, nullptr, 2},
      {"quiet", no_argument, nullptr, 1},
      {"trace", no_argument, nullptr, 1},
      {"dfs", no_argument, nullptr, 0},
      {"bfs", no_argument, nullptr, 1},
      {"interactive", no_argument, nullptr, 1},
      {"opt1", no_argument, nullptr, 1},
      {"opt2", no_argument, nullptr, 2},
      {"disable-output", no_argument, nullptr, 1},
      {"output", required_argument, nullptr, 'o'},
      {"limit", required_argument, nullptr, 'l'},
      {"help", no_argument, nullptr, 'h'},
      {"simout", required_argument, nullptr, 's'},
      {"seed", required_argument, nullptr, 'r'},
      {nullptr, 0, nullptr, 0},
  };
  int* const flags[] = {
      &mRunMode,
      &mRunMode,
      &mRunMode,
      &mMode,
      &mIntQuiet,
      &mTrace,
      &mTraverse,
      &mTraverse,
      &mMode,
      &mOptimizationMode,
      &mOptimizationMode,
      &mDisable_output,
  };
  option* entry = table;
  for (int* flag : flags) (entry++)->flag = flag;
  return table;
}

void Scheduler::parseCmdFile(int argc, char** argv) {
  option* table = bindOptions();
  const char* outputBase = DEFAULT_OUTPUT;
  disable_output = false;
  mTraverse = -1;
  mTrace = 0;
  optind = 0;  // the model may have parsed the command line already
  for (int c; (c = getopt_long(argc, argv, SHORT_OPTIONS, table, nullptr)) != -1;) {
    switch (c) {
      case ':':
      case '?':
        rejectOption(c, table);
      case 'h':
        showHelp(table);
      case 'l':
        mMaxSimLimit = toInt(optarg);
        mSimLimit = true;
        break;
      case 'o':
        outputBase = optarg;
        break;
      case 'r':
        if (optarg == nullptr) rejectOption(c, table);
        mRandSeed = toInt(optarg);
        break;
      case 's':
        openTrace(optarg);
        break;
      default:
        break;  // a flag
    }
  }
  if (mIntQuiet > 0) mQuiet = true;
  if (mDisable_output > 0) disable_output = true;
  if (mTraverse != -1) mRunMode = 0;
  if (mRunMode == 0 && !disable_output) openOutputFiles(outputBase);
  createClocks();
}

// Deliberate: a trace that cannot be opened swallows what is written to it; the run goes on.
void Scheduler::openTrace(const char* name) {
  if (simout_file.is_open()) simout_file.close();
  simout_file.clear();
  simout_file.open(name, std::ios::out | std::ios::trunc);
  if (!simout_file.is_open()) reportUnopened(name);
  simout = &simout_file;
}

// Deliberate: long names are cut. Of names that have become equal only the first one is opened.
void Scheduler::openOutputFiles(const char* base) {
  struct {
    const char* suffix;
    const char* mode;
    FILE*& file;
    char name[NAME_SIZE];
  } outputs[] = {
      {".aut", "w+", aut_file, ""},
      {".state", "w", state_file, ""},
      {".pruned", "w", pruned_paths, ""},
      {".deadlock", "w", deadlock_states, ""},
  };
  for (auto& output : outputs) {
    std::snprintf(output.name, NAME_SIZE, "%s%s", base, output.suffix);
    bool taken = false;
    for (auto* other = outputs; other != &output; ++other) {
      taken = taken || std::strcmp(other->name, output.name) == 0;
    }
    output.file = nullptr;
    if (taken) {
      std::fprintf(stderr, "vesk: there is no %s file: the name cut to %s is in use\n",
                   output.suffix, output.name);
      continue;
    }
    output.file = openOutput(output.name, output.mode);
    if (output.file == nullptr) reportUnopened(output.name);
  }
}

void Scheduler::createClocks() {
  delete mLogicalClock;
  delete mPlatformClock;
  delete mIdleClock;
  mPlatformClock = nullptr;
  mIdleClock = nullptr;
  if (mRunMode == 1) mPlatformClock = new SimuClock("simu clock");
  if (mRunMode == 3) mPlatformClock = new LinuxClock("linux clock");
  if (mPlatformClock == nullptr) mIdleClock = new SimuClock("idle clock");
  PlatformClock* platform = mPlatformClock != nullptr ? mPlatformClock : mIdleClock;
  mLogicalClock = new LogicalClock("Real-Time Clock", *platform);
}

// ---- The program -----------------------------------------------------------------------------

namespace {

// The filters and clocks of a timed run, in the order in which they are built.
struct TimedRun {
  StandardSemantics semantics;
  EDFScheduler earliestDeadline;
  EDFdeltaScheduler earliestDeadlineWithMargin{Vesk::Time(MARGIN)};
  EmptyScheduler everything;
  LinuxClock linuxClock{"linux_clock"};
  SimuClock simuClock{"simu_clock"};
};

// The executer for the mode of choice, null when there is none for it.
std::unique_ptr<Engine> makeExecuter(TimedRun& run, LogicalClock& clock,
                                     const Scheduler& settings) {
  const bool quiet = settings.quiet();
  const auto limit = settings.simLimit() ? static_cast<unsigned int>(settings.maxSimLimit()) : 0u;
  std::ostream& trace = *settings.simout;
  const Vesk::Time maxDrift(MARGIN);
  switch (settings.mode()) {
    case 0: {
      Filter* const filters[] = {&run.earliestDeadline, &run.earliestDeadlineWithMargin};
      return std::make_unique<StandardExecuter>(*root, clock, run.semantics,
                                                *filters[settings.runMode() == 3], quiet, limit,
                                                trace, settings.randSeed(), maxDrift);
    }
    case 1:
      return std::make_unique<InteractiveExecuter>(*root, clock, run.semantics, run.everything,
                                                   quiet, limit, trace, maxDrift);
    case 2:
      return std::make_unique<RandomExecuter>(*root, clock, run.semantics, run.everything, quiet,
                                              limit, trace, settings.randSeed(), maxDrift);
    default:
      return nullptr;
  }
}

void runTimedEngine(const Scheduler& settings) {
  TimedRun run;
  PlatformClock& platform =
      settings.runMode() == 3 ? static_cast<PlatformClock&>(run.linuxClock) : run.simuClock;
  auto clock = std::make_unique<LogicalClock>("logical_clock", platform);
  std::unique_ptr<Engine> executer = makeExecuter(run, *clock, settings);
  if (executer != nullptr) {
    executer->initialize();
    executer->run();
  }
  executer.reset();
  deleteRoot();
}

bool isTimed(const Scheduler& settings) {
  const bool executes = settings.runMode() == 1 || settings.runMode() == 3;
  return executes && settings.optimizationMode() != 1 && settings.optimizationMode() != 2;
}

int runModel(int argc, char** argv) {
  printLogo();
  root = Compound::Create(argc, argv);
  Scheduler scheduler(root, 0, false, 1, 0, 0);
  scheduler.parseCmdFile(argc, argv);
  if (root == nullptr) {
    std::fprintf(stderr, "vesk: the model has built no system\n");
    return NO_MODEL;
  }
  if (isTimed(scheduler)) {
    runTimedEngine(scheduler);
  } else {
    scheduler.run();
    deleteRoot();
  }
  return 0;
}

int reportException(const char* what) {
  std::fprintf(stderr, "vesk: the run ends by an exception: %s\n", what);
  return MODEL_THREW;
}

}  // namespace

int main(int argc, char** argv) {
  openStandardDescriptors();
  int status = 0;
  try {
    status = runModel(argc, argv);
  } catch (const std::exception& exception) {
    status = reportException(exception.what());
  } catch (...) {
    status = reportException("of unknown type");
  }
  reportLostOutput();
  return status;
}
