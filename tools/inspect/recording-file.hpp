// The file of a recording, which is whole up to the last step however the program ends.
#ifndef VESK_INSPECT_RECORDING_FILE_HPP
#define VESK_INSPECT_RECORDING_FILE_HPP

#include <cstddef>
#include <string>

namespace Vesk::Inspect {

// Takes lines and hands them over in large pieces. When a signal ends the program, what has been
// taken is handed over first, and then the last words. One at a time.
class RecordingFile {
 public:
  // A file that cannot be opened is reported on standard error. The run keeps the low descriptors.
  explicit RecordingFile(const std::string& path);
  ~RecordingFile();
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  bool isOpen() const { return mDescriptor != -1; }
  // While this lives, signals wait.
  class Busy {
   public:
    Busy();
    ~Busy();
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
  };
  // Requires: Busy.
  void add(const std::string& line);
  // The line that a signal adds at the end; empty: none. Requires: Busy.
  void setLastWords(const std::string& line) { mLastWords = line; }
  // Hands over what has been taken; false when the system could not take it, now or before.
  bool flush();

 private:
  static void endBySignal(int signal);
  void catchSignals();
  void write(const char* text, std::size_t size);

  static RecordingFile* sCurrent;  // whose signals are caught
  int mDescriptor;
  bool mFailed = false;
  std::string mBuffer;
  std::string mLastWords;
};

}  // namespace Vesk::Inspect

#endif
