// What signals do while an exploration runs. Private to the engine.
#ifndef VESK_EXPLORATION_SIGNALS_HPP
#define VESK_EXPLORATION_SIGNALS_HPP

#include <signal.h>
#include <time.h>

namespace Vesk {

// The signal that has asked the search to stop. 0: none has, or no search runs. Whatever may take
// long looks at it.
extern volatile sig_atomic_t stopRequested __attribute__((visibility("hidden")));

// True when a stop was asked for so long ago that nothing that is blocked is waited for any longer.
bool graceIsOver() __attribute__((visibility("hidden")));

// An enumeration that ends early because a stop was asked for says so here; the search does not use
// what it has given.
extern bool enumerationCut __attribute__((visibility("hidden")));

// True when an enumeration has to end early.
inline bool cutEnumeration() {
  if (stopRequested == 0) return false;
  enumerationCut = true;
  return true;
}

// For the life of this object SIGINT, SIGTERM, SIGHUP and SIGXCPU ask the search to stop; a second
// one kills at once, unless it is an echo of the first. They interrupt system calls: after the
// request no call stays blocked for long, because ticks interrupt it again and again. SIGPIPE and
// SIGXFSZ are ignored, so that they show as write errors. Signals that the model or the caller
// handles or ignores are left alone. One object at a time.
class SearchSignals {
 public:
  SearchSignals();
  SearchSignals(const SearchSignals&) = delete;
  SearchSignals& operator=(const SearchSignals&) = delete;
  ~SearchSignals();

  // The signal that asked to stop; 0 when there was none.
  int caught() const { return stopRequested; }
  // Puts everything back and, when a signal asked to stop, ends the process by it.
  void endByCaught();

 private:
  static constexpr int COUNT = 6;

  void replace(int index);
  void makeTicks(int signal);
  void putBack();

  struct sigaction mFormer[COUNT];
  bool mReplaced[COUNT];
};

}  // namespace Vesk

#endif
