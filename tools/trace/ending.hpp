// How a run ended, in words.
#ifndef VESK_TRACE_ENDING_HPP
#define VESK_TRACE_ENDING_HPP

#include <cstdint>
#include <string>

#include "run.hpp"

namespace Vesk::Traces {

// "1 step", "2 steps"
std::string stepsText(std::uint64_t steps);

// Tells a deadlock from the end of model time, at which the engine says the same. A run has come to
// the end of time when less time is left than one of its waits took: nothing can be chosen beyond.
class Ending {
 public:
  void see(const Step& step);
  bool isEndOfTime(const End& end) const;
  // Such as "deadlock at 7 ms".
  std::string text(const Run& run, const End& end) const;

 private:
  Moment mLongestWait = 0;
};

}  // namespace Vesk::Traces

#endif
