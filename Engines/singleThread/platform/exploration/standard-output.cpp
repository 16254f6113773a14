#include "exploration/standard-output.hpp"

#include <fcntl.h>
#include <poll.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "exploration/signals.hpp"
#include "reports.hpp"

namespace Vesk {

namespace {

// False when nobody takes anything any longer. An error counts as room: writing will show it.
bool waitForRoom() {
  pollfd out = {STDOUT_FILENO, POLLOUT, 0};
  for (;;) {
    const int found = poll(&out, 1, graceIsOver() ? 0 : -1);
    if (found > 0 || (found == -1 && errno != EINTR)) return true;
    if (found == 0) return false;
  }
}

// From now on nothing blocks.
void abandonOutput() {
  __fpurge(stdout);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere != -1) dup2(nowhere, STDOUT_FILENO);
  if (nowhere != -1) close(nowhere);
  reportLost("standard output");
}

}  // namespace

// What standard output does not take now is dropped: a later attempt, when a broken pipe kills the
// process again, must not find it.
void flushOutput() {
  if (__fpending(stdout) == 0) return;
  if (!waitForRoom()) return abandonOutput();
  if (std::fflush(stdout) != 0) __fpurge(stdout);
}

void makeOutputRoom(std::size_t length) {
  if (__fpending(stdout) + length >= __fbufsize(stdout)) flushOutput();
}

}  // namespace Vesk
