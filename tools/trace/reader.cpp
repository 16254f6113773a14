#include "reader.hpp"

#include "recording-reader.hpp"
#include "trace-reader.hpp"

namespace Vesk::Traces {

Reader::Reader(std::unique_ptr<Source> source) : mSource(std::move(source)) {
  mRun.file = mSource->name();
}

std::unique_ptr<Reader> openReader(const std::string& path, Lts::Progress& progress,
                                   BadLines& badLines) {
  auto source = std::make_unique<Source>(path, progress, badLines);
  if (isRecording(source->peek())) return std::make_unique<RecordingReader>(std::move(source));
  return std::make_unique<TraceReader>(std::move(source));
}

}  // namespace Vesk::Traces
