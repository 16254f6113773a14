// Trace events in JSON, which Perfetto and chrome://tracing show as a timeline.
#ifndef VESK_TRACE_PERFETTO_WRITER_HPP
#define VESK_TRACE_PERFETTO_WRITER_HPP

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "run-writer.hpp"

namespace Vesk::Lts {
class OutputFile;
}

namespace Vesk::Traces {

class JsonLine;

// A track for each compound, with the waits of the engine and what its connectors do, and one for
// each atom, with what it is in between its ports: its state, or, when that is not known, the port
// that it waits for. Arrows join the atoms of a rendezvous. A track is declared when it is first
// used, which the format allows.
class PerfettoWriter : public Writer {
 public:
  explicit PerfettoWriter(Lts::OutputFile& file) : mFile(file) {}
  void begin(const Run& run) override;
  void step(const Run& run, const Step& step) override;
  void end(const Run& run, const End& end) override;

 private:
  struct Atom {
    bool isDeclared = false;
    bool hasState = false;
    std::string state;
    Moment since = 0;  // it is as it is
  };

  void start(Moment time);
  void writeEvent(const JsonLine& event);
  void declare(std::string_view what, int process, std::int64_t track, std::string_view name);
  std::int64_t compoundTrack(std::string_view compound);
  Atom& atom(const Names& names, std::size_t part);
  void writeCompound(const Run& run, const Step& step, const Firing& firing);
  void writePort(const Names& names, const Firing& firing, std::size_t place);
  void writeArrow(std::int64_t track, std::size_t place, std::size_t ports);
  void endSlice(const Atom& atom, std::size_t part, const std::string& name);
  Moment timeOf(const Step& step);

  Lts::OutputFile& mFile;
  bool mHasEvents = false;
  bool mHasStarted = false;
  std::unordered_map<std::string, std::int64_t> mCompounds;
  std::vector<Atom> mAtoms;
  bool mHasTimes = false;
  Moment mStart = 0;
  Moment mNow = 0;
  std::int64_t mFlows = 0;
};

}  // namespace Vesk::Traces

#endif
