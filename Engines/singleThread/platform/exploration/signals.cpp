#include "exploration/signals.hpp"

#include <time.h>

namespace Vesk {

namespace {

constexpr int STOPPING = 3;  // how many of them ask the search to stop
constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ};

// timeout(1), for one, sends its signal to the process and again to the group of the process.
// Within this time the same signal is the same request.
constexpr unsigned int ECHO_MILLISECONDS = 30;

volatile sig_atomic_t caughtSignal = 0;
volatile sig_atomic_t caughtAt = 0;  // milliseconds, as far as they fit

unsigned int milliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<unsigned int>(now.tv_sec) * 1000u +
         static_cast<unsigned int>(now.tv_nsec / 1000000);
}

// The second request finds the default action of its signal.
void askToStop(int number) {
  const unsigned int now = milliseconds();
  if (caughtSignal == 0) {
    caughtSignal = number;
    caughtAt = static_cast<sig_atomic_t>(now);
  } else if (caughtSignal != number ||
             now - static_cast<unsigned int>(caughtAt) > ECHO_MILLISECONDS) {
    signal(number, SIG_DFL);
    raise(number);
  }
}

}  // namespace

SearchSignals::SearchSignals() : mFormer{}, mReplaced{} {
  static_assert(sizeof SIGNALS / sizeof *SIGNALS == COUNT, "one place per signal");
  caughtSignal = 0;
  for (int i = 0; i < COUNT; ++i) replace(i, i < STOPPING ? askToStop : SIG_IGN);
}

SearchSignals::~SearchSignals() {
  putBack();
}

void SearchSignals::replace(int index, void (*handler)(int)) {
  sigaction(SIGNALS[index], nullptr, &mFormer[index]);
  mReplaced[index] = mFormer[index].sa_handler == SIG_DFL;
  if (!mReplaced[index]) return;
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGNALS[index], &action, nullptr);
}

void SearchSignals::putBack() {
  for (int i = 0; i < COUNT; ++i) {
    if (mReplaced[i]) sigaction(SIGNALS[i], &mFormer[i], nullptr);
    mReplaced[i] = false;
  }
}

int SearchSignals::caught() const {
  return caughtSignal;
}

void SearchSignals::endByCaught() {
  putBack();
  const int number = caughtSignal;
  if (number != 0) raise(number);
}

}  // namespace Vesk
