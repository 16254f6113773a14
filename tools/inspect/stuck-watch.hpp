// Notices model code that never returns.
#ifndef VESK_INSPECT_STUCK_WATCH_HPP
#define VESK_INSPECT_STUCK_WATCH_HPP

#include <cstddef>
#include <string>

namespace Vesk::Inspect {

// Ends the program with a finding, status 1, when no progress is told for some seconds.
class StuckWatch {
 public:
  // A step of a large model takes longer.
  explicit StuckWatch(std::size_t atoms);
  ~StuckWatch();
  StuckWatch(const StuckWatch&) = delete;
  StuckWatch& operator=(const StuckWatch&) = delete;
  // What is being done from now on.
  static void progress(const std::string& doing);
};

}  // namespace Vesk::Inspect

#endif
