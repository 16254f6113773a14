// Reads a trace, also one with the dialogue of an interactive run or of single steps between.
#ifndef VESK_TRACE_TRACE_READER_HPP
#define VESK_TRACE_TRACE_READER_HPP

#include <string>
#include <string_view>
#include <unordered_map>

#include "reader.hpp"
#include "trace-line.hpp"

namespace Vesk::Traces {

class TraceReader : public Reader {
 public:
  explicit TraceReader(std::unique_ptr<Source> source) : Reader(std::move(source)) {}
  bool next(Step& step) override;

 private:
  enum class Meaning { STEP, PART, END, OTHER, BAD };  // PART: the line of a step goes on

  Meaning read(std::string_view line, Step& step);
  Meaning readScheduler(std::string_view rest, Step& step);
  Meaning readTimed(std::string_view text, Step& step);
  Meaning readDialogue(std::string_view text, Step& step);
  Meaning readSelfTimed(const Beginning& beginning, Step& step);
  Meaning readUntimed(std::string_view label, Step& step);
  Meaning readEnd(std::string_view text);
  bool isCut(const Step& step) const;
  const Firing& firing(std::string_view label);

  std::unordered_map<std::string, Firing> mFirings;  // by the bytes of their labels
  std::uint64_t mSteps = 0;
  bool mHasBegun = false;  // something of a run has been read
  // Of the step whose line is being read, which a dialogue may spread over several.
  Moment mBefore = 0;
  Moment mNow = 0;
  bool mIsInDialogue = false;
};

}  // namespace Vesk::Traces

#endif
