// The program's entry, and which of the two engines runs the model.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>

#include "blocks.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "engine.hpp"
#include "filter.hpp"
#include "linux-clock.hpp"
#include "reports.hpp"
#include "run-observer.hpp"
#include "scheduler.hpp"

namespace {

constexpr char BANNER[] = "VESK mono-threaded engine. Version: Engines: d20101124\n";
constexpr int MARGIN = 40000;  // microseconds: of the scheduling filter, and the maximum drift

constexpr int NO_MODEL = 1;     // exit status: the model built no system
constexpr int MODEL_THREW = 3;  // exit status: an exception came out of model code

// What Compound::Create() returned. It is kept here so that it stays reachable when a bad option
// ends the process.
Compound* root = nullptr;

// Whether the process ends when the run has ended.
bool endsProcess = false;

void deleteRoot() {
  if (endsProcess) Vesk::Blocks::leaveAll();
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

}  // namespace

void printLogo() {
  std::printf("%s", BANNER);
}

// ---- The program -----------------------------------------------------------------------------

namespace {

bool isRealTime(const Scheduler& settings) {
  return settings.runMode() == Vesk::REALTIME;
}

// The filters and clocks of a timed run, in the order in which they are built.
struct TimedRun {
  StandardSemantics semantics;
  EDFScheduler earliestDeadline;
  EDFdeltaScheduler earliestDeadlineWithMargin{Vesk::Time(MARGIN)};
  EmptyScheduler everything;
  LinuxClock linuxClock{"linux_clock"};
  SimuClock simuClock{"simu_clock"};

  // The scheduling filter without randomness and dialogues.
  Filter& policy(const Scheduler& settings) {
    if (isRealTime(settings)) return earliestDeadlineWithMargin;
    return earliestDeadline;
  }
  PlatformClock& platform(const Scheduler& settings) {
    if (isRealTime(settings)) return linuxClock;
    return simuClock;
  }
};

// The executer for the mode of choice, null when there is none for it.
std::unique_ptr<Engine> makeExecuter(TimedRun& run, LogicalClock& clock,
                                     const Scheduler& settings) {
  const bool quiet = settings.quiet();
  const auto limit = settings.simLimit() ? static_cast<unsigned int>(settings.maxSimLimit()) : 0u;
  const int seed = settings.randSeed();
  const Vesk::Time maxDrift(MARGIN);
  std::ostream& trace = *settings.simout;
  switch (settings.mode()) {
    case Vesk::STANDARD:
      return std::make_unique<StandardExecuter>(*root, clock, run.semantics, run.policy(settings),
                                                quiet, limit, trace, seed, maxDrift);
    case Vesk::INTERACTIVE:
      return std::make_unique<InteractiveExecuter>(*root, clock, run.semantics, run.everything,
                                                   quiet, limit, trace, maxDrift);
    case Vesk::RANDOM:
      return std::make_unique<RandomExecuter>(*root, clock, run.semantics, run.everything, quiet,
                                              limit, trace, seed, maxDrift);
    default:
      return nullptr;
  }
}

void runTimedEngine(const Scheduler& settings) {
  TimedRun run;
  auto clock = std::make_unique<LogicalClock>("logical_clock", run.platform(settings));
  std::unique_ptr<Engine> executer = makeExecuter(run, *clock, settings);
  if (executer != nullptr) {
    executer->initialize();
    executer->run();
  }
  executer.reset();
  deleteRoot();
}

bool isTimed(const Scheduler& settings) {
  const bool executes = settings.runMode() == Vesk::EXECUTE || isRealTime(settings);
  return executes && settings.optimizationMode() != Vesk::MAXIMAL_SYNCHRONISATION &&
         settings.optimizationMode() != Vesk::PRIORITY_HEAP;
}

int runModel(int argc, char** argv) {
  printLogo();
  root = Compound::Create(argc, argv);
  Scheduler scheduler(root, Vesk::STANDARD, false, Vesk::EXECUTE, Vesk::DEPTH_FIRST,
                      Vesk::NO_OPTIMIZATION);
  scheduler.parseCmdFile(argc, argv);
  if (Vesk::runObserver != nullptr) Vesk::runObserver->configured(root, scheduler);
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

int Vesk::runProgram(int argc, char** argv) {
  openStandardDescriptors();
  int status = 0;
  try {
    status = runModel(argc, argv);
  } catch (const std::exception& exception) {
    status = reportException(exception.what());
  } catch (...) {
    status = reportException("of unknown type");
  }
  Vesk::reportLostOutput();
  return status;
}

int main(int argc, char** argv) {
  endsProcess = true;
  return Vesk::runProgram(argc, argv);
}
