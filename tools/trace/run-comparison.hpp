// Where two runs part, step for step.
#ifndef VESK_TRACE_RUN_COMPARISON_HPP
#define VESK_TRACE_RUN_COMPARISON_HPP

#include <deque>
#include <string>
#include <vector>

#include "reader.hpp"

namespace Vesk::Traces {

// A trace and a recording can be compared: times then have whole milliseconds, and states are left
// out. The lines of a trace of maximal synchronisation do not say where a step ends, so what fires
// is compared one by one.
class Comparison {
 public:
  struct Options {
    std::size_t lines = 3;  // around the difference
    bool ignoresTimes = false;
  };

  // Reads both as far as they are the same, and the lines behind.
  Comparison(Reader& a, Reader& b, Options options);
  bool same() const { return mDifference.empty(); }
  std::string text() const;

 private:
  // Something that has fired, with its step.
  struct Line {
    std::uint64_t number = 0;  // of what has fired, from 1
    std::optional<Moment> before;
    std::optional<Moment> time;
    std::string label;
    std::vector<std::pair<std::string, std::string>>
        changed;  // atoms and states, with the last one
  };
  // The lines of one of the runs.
  class Lines {
   public:
    explicit Lines(Reader& reader) : mReader(reader) {}
    bool next(Line& line);
    const Reader& reader() const { return mReader; }

   private:
    Reader& mReader;
    Step mStep;
    std::size_t mNext = 0;  // of what has fired in the step
    std::uint64_t mNumber = 0;
  };

  void compare();
  std::string differenceOf(const Line& a, const Line& b) const;
  std::string differenceOfEnds() const;
  bool differ(const std::optional<Moment>& a, const std::optional<Moment>& b) const;
  std::string lineText(const Line& line) const;
  void readBehind(Lines& lines, std::vector<Line>& behind) const;

  Options mOptions;
  bool mIsExact;  // both have microseconds
  Lines mA;
  Lines mB;
  std::uint64_t mCommon = 0;
  std::string mDifference;     // in words; empty: there is none
  std::deque<Line> mBefore;    // the last ones that are the same
  std::vector<Line> mBehindA;  // from the difference on
  std::vector<Line> mBehindB;
};

}  // namespace Vesk::Traces

#endif
