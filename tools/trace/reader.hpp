// Reads a run step by step, so that it may be of any length.
#ifndef VESK_TRACE_READER_HPP
#define VESK_TRACE_READER_HPP

#include <memory>
#include <string>

#include "run.hpp"
#include "source.hpp"

namespace Vesk::Traces {

class Reader {
 public:
  virtual ~Reader() = default;
  // The next step; false when there is none. Throws a Fault when a line cannot be read and bad
  // lines are not left out.
  virtual bool next(Step& step) = 0;

  const Run& run() const { return mRun; }
  // How the run ended, when next() has said that there is no other step.
  const End& end() const { return mEnd; }

 protected:
  explicit Reader(std::unique_ptr<Source> source);

  std::unique_ptr<Source> mSource;
  Run mRun;
  End mEnd;
};

// Of a trace or of a recording, which its first line tells. Throws a Fault when the file cannot be
// opened, or the start of a recording cannot be read.
std::unique_ptr<Reader> openReader(const std::string& path, Lts::Progress& progress,
                                   BadLines& badLines);

}  // namespace Vesk::Traces

#endif
