// How far a search is, shown on standard output. Private to the engine.
#ifndef VESK_EXPLORATION_PROGRESS_HPP
#define VESK_EXPLORATION_PROGRESS_HPP

#include <cstddef>
#include <ctime>

namespace Vesk {

using Count = unsigned long long;

struct Counters {
  Count steps = 0;  // states taken from the queue, or transitions taken from the stack
  Count pruned = 0;
  Count deadlocks = 0;
  Count transitions = 0;
};

class Progress {
 public:
  enum Event { NOTHING, RATE_SHOWN, LIMIT };

  // The limit counts only when there is one.
  Progress(bool limited, int limit)
      : mLimited(limited), mLimit(static_cast<Count>(static_cast<long long>(limit))) {}
  void start();
  // After the step was counted; stored: how many are waiting in the queue or stack.
  Event show(const Counters& counters, Count stored) {
    return counters.steps == mNext ? showDue(counters, stored) : NOTHING;
  }

 private:
  Event showDue(const Counters& counters, Count stored);
  Count nextDue(Count steps) const;
  void printSpin();
  char spin();
  Event report(const Counters& counters, Count stored);

  bool mLimited;
  Count mLimit;
  Count mNext = 1;  // the next step that something may have to be shown for
  std::size_t mSpinner = 0;
  Count mReports = 1;  // since the last rate
  std::time_t mRateShown = 0;
  std::time_t mFlushed = 0;
};

}  // namespace Vesk

#endif
