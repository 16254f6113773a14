// A value change dump, which programs for waves such as GTKWave open.
#ifndef VESK_TRACE_VCD_WRITER_HPP
#define VESK_TRACE_VCD_WRITER_HPP

#include <string>
#include <vector>

#include "run-writer.hpp"
#include "spool.hpp"

namespace Vesk::Lts {
class OutputFile;
}

namespace Vesk::Traces {

// Ports and connectors are events; an atom is a text, its state or, when that is not known, the
// last port that has fired. The changes are kept aside until all names have been met.
class VcdWriter : public Writer {
 public:
  VcdWriter(Lts::OutputFile& file, std::string version)
      : mFile(file), mVersion(std::move(version)) {}
  void begin(const Run& run) override;
  void step(const Run& run, const Step& step) override;
  void end(const Run& run, const End& end) override;

 private:
  void moveTo(Moment time);
  void writeHeader(const Run& run);
  void writeNames(const Names& names);
  void writeStart(const Run& run);

  Lts::OutputFile& mFile;
  std::string mVersion;
  Spool mChanges;
  std::vector<bool> mHasState;  // by part
  bool mHasTimes = false;
  Moment mNow = 0;  // the time that was written last, in the unit of the file
};

}  // namespace Vesk::Traces

#endif
