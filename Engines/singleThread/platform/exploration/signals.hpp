// What signals do while an exploration runs. Private to the engine.
#ifndef VESK_EXPLORATION_SIGNALS_HPP
#define VESK_EXPLORATION_SIGNALS_HPP

#include <signal.h>

namespace Vesk {

// For the life of this object SIGINT, SIGTERM and SIGHUP ask the search to stop; a second one kills
// at once, unless it is an echo of the first. SIGPIPE and SIGXFSZ are ignored, so that they show as
// write errors. Signals that the model or the caller handles or ignores are left alone. One object
// at a time.
class SearchSignals {
 public:
  SearchSignals();
  SearchSignals(const SearchSignals&) = delete;
  SearchSignals& operator=(const SearchSignals&) = delete;
  ~SearchSignals();

  // The signal that asked to stop; 0 when there was none.
  int caught() const;
  // Puts everything back and, when a signal asked to stop, ends the process by it.
  void endByCaught();

 private:
  static constexpr int COUNT = 5;

  void replace(int index, void (*handler)(int));
  void putBack();

  struct sigaction mFormer[COUNT];
  bool mReplaced[COUNT];
};

}  // namespace Vesk

#endif
