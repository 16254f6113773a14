#include "kit/schedulers.hpp"

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "kit/processes.hpp"

namespace kit {

OpenScheduler::OpenScheduler(Compound* system, int mode, int runMode, int optimization)
    : Scheduler(system, mode, false, runMode, 0, optimization) {}

OpenScheduler::~OpenScheduler() = default;

void OpenScheduler::parse(const std::vector<std::string>& arguments) {
  CommandLine line(arguments);
  parseCmdFile(line.count(), line.values());
}

std::string traceOf(Scheduler& scheduler, const std::function<void()>& loop) {
  std::ostringstream trace;
  std::ostream* before = scheduler.simout;
  scheduler.simout = &trace;
  loop();
  scheduler.simout = before;
  return trace.str();
}

}  // namespace kit
