// Drives the engine's scheduler from a main of its own. The first word of the command line says
// what for; the options of the engine follow.

#include <cstdio>
#include <exception>
#include <memory>

#include "uses.hpp"
#include "vesk.hpp"

namespace {

constexpr int SIMULATED_TIME = 1;
constexpr int NO_TRAVERSAL = -1;
constexpr int NO_OPTIMISATION = 0;

constexpr int WRONG_USE = 2;  // exit statuses
constexpr int EXCEPTION = 3;

void run(const Use& use, int argc, char** argv) {
  const std::unique_ptr<Compound> system(Compound::Create(argc, argv));
  Scheduler scheduler(system.get(), use.mode, false, SIMULATED_TIME, NO_TRAVERSAL, NO_OPTIMISATION);
  scheduler.parseCmdFile(argc, argv);
  scheduler.run();
}

int reportException(const char* what) {
  std::fprintf(stderr, "own-main: the run ends by an exception: %s\n", what);
  return EXCEPTION;
}

}  // namespace

int main(int argc, char** argv) {
  printLogo();
  const Use* use = findUse(argc, argv);
  if (use == nullptr) {
    std::fprintf(stderr, "usage: own-main random|waiting|step|plain [options of the engine]\n");
    return WRONG_USE;
  }
  // The engine passes on what the model's code throws, and std::bad_alloc when memory is exhausted.
  try {
    run(*use, argc, argv);
  } catch (const std::exception& exception) {
    return reportException(exception.what());
  } catch (...) {
    return reportException("of unknown type");
  }
  return 0;
}
