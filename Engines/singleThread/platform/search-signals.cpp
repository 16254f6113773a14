#include "search-signals.hpp"

namespace {

constexpr int STOPPING = 3;  // how many of them ask the search to stop
constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ};

volatile sig_atomic_t caughtSignal = 0;

// The second signal finds its default action.
void askToStop(int number) {
  if (caughtSignal != 0) {
    signal(number, SIG_DFL);
    raise(number);
  }
  caughtSignal = number;
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
