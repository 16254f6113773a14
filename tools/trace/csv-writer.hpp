// One row for each thing that has fired, for spreadsheets and programs.
#ifndef VESK_TRACE_CSV_WRITER_HPP
#define VESK_TRACE_CSV_WRITER_HPP

#include <string>
#include <vector>

#include "run-writer.hpp"

namespace Vesk::Lts {
class OutputFile;
}

namespace Vesk::Traces {

// What a trace and a recording of one run have in common is written in the same way, but for the
// microseconds.
class CsvWriter : public Writer {
 public:
  struct Options {
    bool cutsTimes = false;  // to milliseconds, as a trace has them
    bool hasStates = false;  // of a recording: also the step, and the state of each atom after it
  };

  CsvWriter(Lts::OutputFile& file, Options options) : mFile(file), mOptions(options) {}
  void begin(const Run& run) override;
  void step(const Run& run, const Step& step) override;

 private:
  void writeFiring(const Run& run, const Step& step, const Firing& firing);
  void writeStates(const Step& step);

  Lts::OutputFile& mFile;
  Options mOptions;
  std::uint64_t mNumber = 0;
  std::vector<std::string> mStates;  // as fields
};

}  // namespace Vesk::Traces

#endif
