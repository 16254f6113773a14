#include "exploration/signals.hpp"

#include <cerrno>

namespace Vesk {

volatile sig_atomic_t stopRequested = 0;
bool enumerationCut = false;

namespace {

constexpr int STOPPING = 4;  // how many of them ask the search to stop
constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGXCPU, SIGPIPE, SIGXFSZ};

// timeout(1), for one, sends its signal to the process and again to the group of the process.
// Within this time the same signal is the same request.
constexpr unsigned int ECHO_MILLISECONDS = 30;

constexpr unsigned int GRACE_MILLISECONDS = 400;
constexpr long TICK_NANOSECONDS = 50'000'000;

volatile sig_atomic_t requestedAt = 0;  // milliseconds, as far as they fit

// The ticks are signals of a timer that starts with the request. Without memory for one there are
// none, and only the request itself interrupts what is blocked.
bool hasTicks = false;
timer_t ticks;

unsigned int milliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<unsigned int>(now.tv_sec) * 1000u +
         static_cast<unsigned int>(now.tv_nsec / 1000000);
}

unsigned int sinceRequest() {
  return milliseconds() - static_cast<unsigned int>(requestedAt);
}

bool isTick(const siginfo_t& info) {
  return info.si_code == SI_TIMER && info.si_value.sival_ptr == &ticks;
}

void startTicks() {
  const timespec tick = {0, TICK_NANOSECONDS};
  const itimerspec times = {tick, tick};
  if (hasTicks) timer_settime(ticks, 0, &times, nullptr);
}

// The second request finds the default action of its signal.
void askToStop(int number, siginfo_t* info, void*) {
  if (isTick(*info)) return;
  const int error = errno;
  if (stopRequested == 0) {
    requestedAt = static_cast<sig_atomic_t>(milliseconds());
    stopRequested = number;
    startTicks();
  } else if (stopRequested != number || sinceRequest() > ECHO_MILLISECONDS) {
    signal(number, SIG_DFL);
    raise(number);
  }
  errno = error;
}

}  // namespace

bool graceIsOver() {
  return stopRequested != 0 && sinceRequest() > GRACE_MILLISECONDS;
}

SearchSignals::SearchSignals() : mFormer{}, mReplaced{} {
  static_assert(sizeof SIGNALS / sizeof *SIGNALS == COUNT, "one place per signal");
  stopRequested = 0;
  enumerationCut = false;
  for (int i = 0; i < COUNT; ++i) replace(i);
}

SearchSignals::~SearchSignals() {
  putBack();
  stopRequested = 0;
  enumerationCut = false;
}

void SearchSignals::replace(int index) {
  const int number = SIGNALS[index];
  sigaction(number, nullptr, &mFormer[index]);
  mReplaced[index] = mFormer[index].sa_handler == SIG_DFL;
  if (!mReplaced[index]) return;
  struct sigaction action = {};
  if (index < STOPPING) {
    makeTicks(number);
    action.sa_sigaction = askToStop;
    action.sa_flags = SA_SIGINFO;
  } else {
    action.sa_handler = SIG_IGN;
  }
  sigemptyset(&action.sa_mask);
  sigaction(number, &action, nullptr);
}

// Any signal that askToStop() handles will do.
void SearchSignals::makeTicks(int signal) {
  if (hasTicks) return;
  sigevent event = {};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = signal;
  event.sigev_value.sival_ptr = &ticks;
  hasTicks = timer_create(CLOCK_MONOTONIC, &event, &ticks) == 0;
}

void SearchSignals::putBack() {
  if (hasTicks) timer_delete(ticks);
  hasTicks = false;
  for (int i = 0; i < COUNT; ++i) {
    if (mReplaced[i]) sigaction(SIGNALS[i], &mFormer[i], nullptr);
    mReplaced[i] = false;
  }
}

void SearchSignals::endByCaught() {
  putBack();
  const int number = stopRequested;
  if (number != 0) raise(number);
}

}  // namespace Vesk
