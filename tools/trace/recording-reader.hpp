// Reads a recording: lines of JSON, see docs/traces.md.
#ifndef VESK_TRACE_RECORDING_READER_HPP
#define VESK_TRACE_RECORDING_READER_HPP

#include <string_view>

#include "reader.hpp"

namespace Vesk::Traces {

// Whether this is the first line of one.
bool isRecording(std::string_view line);

class RecordingReader : public Reader {
 public:
  // Throws a Fault when the first line cannot be read: all others depend on it.
  explicit RecordingReader(std::unique_ptr<Source> source);
  bool next(Step& step) override;

 private:
  void readStart();

  std::size_t mPorts = 0;  // of atoms, as the start lists them
  bool mHasEnded = false;
};

}  // namespace Vesk::Traces

#endif
