#include "stuck-watch.hpp"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>

namespace Vesk::Inspect {

namespace {

constexpr unsigned int LEAST_SECONDS = 5;
constexpr std::size_t ATOMS_PER_SECOND = 1000;  // with much to spare
constexpr int FOUND = 1;

unsigned int seconds = LEAST_SECONDS;
char report[512];
int output = -1;  // a copy of standard output, which the walks put aside

void endStuck(int) {
  if (write(output, report, std::strlen(report)) == -1) _exit(FOUND + 1);
  _exit(FOUND);
}

}  // namespace

StuckWatch::StuckWatch(std::size_t atoms) {
  seconds = LEAST_SECONDS + static_cast<unsigned int>(atoms / ATOMS_PER_SECOND);
  output = dup(STDOUT_FILENO);
  std::signal(SIGALRM, endStuck);
}

StuckWatch::~StuckWatch() {
  alarm(0);
  std::signal(SIGALRM, SIG_DFL);
  close(output);
}

void StuckWatch::progress(const std::string& doing) {
  const std::string text =
      "model: no step ends any more in " + doing +
      "\n  why: model code does not return; an internal port without time that stays enabled "
      "fires for ever\n  do:  let the transition of an internal port change what enables it\n1 "
      "finding\n";
  alarm(seconds);  // long enough to write the report
  std::snprintf(report, sizeof report, "%s", text.c_str());
}

}  // namespace Vesk::Inspect
