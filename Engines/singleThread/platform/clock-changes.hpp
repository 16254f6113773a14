// Which clocks have been set or stopped. Private to the engine.
#ifndef VESK_CLOCK_CHANGES_HPP
#define VESK_CLOCK_CHANGES_HPP

#include <vector>

class GenericClock;

namespace Vesk {

// Recorded while a timed run keeps the times of internal ports, which change with their clocks.
class ClockChanges {
 public:
  static void note(const GenericClock& clock) {
    if (sRecording) record().push_back(&clock);
  }
  static bool recording() { return sRecording; }
  static void setRecording(bool recording) {
    sRecording = recording;
    record().clear();
  }
  // Whoever reads it empties it.
  static std::vector<const GenericClock*>& record();

 private:
  static bool sRecording;
};

}  // namespace Vesk

#endif
