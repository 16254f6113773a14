// What all outputs have in common: they see a run once, from its start to its end.
#ifndef VESK_TRACE_RUN_WRITER_HPP
#define VESK_TRACE_RUN_WRITER_HPP

#include "reader.hpp"

namespace Vesk::Traces {

class Writer {
 public:
  virtual ~Writer() = default;
  virtual void begin(const Run&) {}
  virtual void step(const Run& run, const Step& step) = 0;
  virtual void end(const Run&, const End&) {}
};

// Shows the writer all of it.
inline void show(Reader& reader, Writer& writer) {
  writer.begin(reader.run());
  Step step;
  while (reader.next(step)) writer.step(reader.run(), step);
  writer.end(reader.run(), reader.end());
}

}  // namespace Vesk::Traces

#endif
