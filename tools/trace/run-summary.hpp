// Counts: what has fired, what never has, how long it was waited for, and how the run ended.
#ifndef VESK_TRACE_RUN_SUMMARY_HPP
#define VESK_TRACE_RUN_SUMMARY_HPP

#include <array>
#include <string>
#include <vector>

#include "ending.hpp"
#include "json-text.hpp"
#include "run-writer.hpp"

namespace Vesk::Traces {

class Summary : public Writer {
 public:
  void step(const Run& run, const Step& step) override;
  void end(const Run& run, const End& end) override;

  std::string text() const;
  Lts::Json json() const;

 private:
  // From the start of a step to its firing: none, below 1 ms, below 10 ms, and so on.
  static constexpr std::size_t WAITS = 10;
  struct Count {
    std::string name;
    std::uint64_t fired = 0;
  };

  void addWait(const Step& step);
  void takeCounts(const Run& run);
  std::string kind() const;
  std::string timeLine() const;
  std::string waitsText() const;
  Lts::Json waitsJson() const;
  Lts::Json timesJson() const;

  std::string mFile;
  std::string mModel;
  bool mIsRecording = false;
  bool mHasExported = false;  // the ports below an exported one are not recorded
  std::uint64_t mSteps = 0;
  std::uint64_t mFired = 0;
  std::uint64_t mOtherLines = 0;
  std::vector<std::uint64_t> mConnectorCounts;  // by number
  std::vector<std::uint64_t> mPortCounts;
  std::vector<Count> mConnectors;  // the most frequent first; of a recording also what never fired
  std::vector<Count> mPorts;
  std::optional<Moment> mFirst;  // the start of the first step
  std::optional<Moment> mLast;   // the last finite time that was met
  std::array<std::uint64_t, WAITS> mWaits{};
  std::uint64_t mWaitCount = 0;
  std::uint64_t mWaitSum = 0;
  Moment mLongestWait = 0;
  Ending mEnding;
  End mEnd;
  std::string mEndText;
};

}  // namespace Vesk::Traces

#endif
