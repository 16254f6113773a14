#include "run-comparison.hpp"

#include "ending.hpp"
#include "printable.hpp"
#include "trace-line.hpp"

namespace Vesk::Traces {

namespace {

using Lts::printable;

std::string timeText(Moment moment, bool exact) {
  return millisecondsText(moment, exact) + " ms";
}

std::string quoted(const std::string& text) {
  return "\"" + printable(text) + "\"";
}

// The line of the engine counts when there is one, because a trace has nothing else. Only the times
// before it are in brackets.
std::string kindOf(const End& end) {
  std::string_view text = end.text;
  const std::size_t bracket = text.find("] ");
  if (bracket != std::string_view::npos) text.remove_prefix(bracket + 2);
  const std::string_view kind = endKind(text);
  return std::string(kind.empty() ? std::string_view(end.kind) : kind);
}

}  // namespace

// A step in which nothing has fired is a line, too.
bool Comparison::Lines::next(Line& line) {
  if (mNext >= mStep.fired.size()) {
    mNext = 0;
    if (!mReader.next(mStep)) return false;
  }
  line = {++mNumber, mStep.before, mStep.time, "", {}};
  if (mNext < mStep.fired.size()) line.label = mStep.fired[mNext].label;
  ++mNext;
  if (mNext < mStep.fired.size()) return true;
  for (const auto& [atom, text] : mStep.changed) {
    line.changed.emplace_back(mReader.run().names.parts()[atom], text);
  }
  return true;
}

Comparison::Comparison(Reader& a, Reader& b, Options options)
    : mOptions(options), mIsExact(a.run().isExact() && b.run().isExact()), mA(a), mB(b) {
  compare();
  if (same()) return;
  readBehind(mA, mBehindA);
  readBehind(mB, mBehindB);
}

void Comparison::compare() {
  Line a;
  Line b;
  for (;;) {
    const bool hasA = mA.next(a);
    const bool hasB = mB.next(b);
    if (hasA && hasB) mDifference = differenceOf(a, b);
    if (hasA != hasB) mDifference = std::string("only ") + (hasA ? "A" : "B") + " goes on";
    if (!hasA && !hasB) {
      mDifference = differenceOfEnds();
      return;
    }
    if (!same()) {
      if (hasA) mBehindA.push_back(a);
      if (hasB) mBehindB.push_back(b);
      return;
    }
    ++mCommon;
    mBefore.push_back(a);
    if (mBefore.size() > mOptions.lines) mBefore.pop_front();
  }
}

std::string Comparison::differenceOf(const Line& a, const Line& b) const {
  if (a.label != b.label) return "something else fires";
  if (differ(a.time, b.time)) {
    return "it fires at " + timeText(*a.time, mIsExact) + " in A and at " +
           timeText(*b.time, mIsExact) + " in B";
  }
  if (differ(a.before, b.before)) {
    return "the step starts at " + timeText(*a.before, mIsExact) + " in A and at " +
           timeText(*b.before, mIsExact) + " in B";
  }
  if (!mA.reader().run().isRecording || !mB.reader().run().isRecording || a.changed == b.changed) {
    return "";
  }
  std::size_t i = 0;
  while (i < a.changed.size() && i < b.changed.size() && a.changed[i] == b.changed[i]) ++i;
  const auto stateOf = [&](const Line& line) {
    if (i == line.changed.size()) return std::string("no other atom changes");
    return quoted(line.changed[i].first) + " becomes " + quoted(line.changed[i].second);
  };
  return "in A " + stateOf(a) + ", in B " + stateOf(b);
}

// A run without times is compared by what fires: times that differ are there.
bool Comparison::differ(const std::optional<Moment>& a, const std::optional<Moment>& b) const {
  if (mOptions.ignoresTimes || !a || !b) return false;
  return mIsExact ? *a != *b : cutToMilliseconds(*a) != cutToMilliseconds(*b);
}

// A trace does not always say how the run ended; then the ends are as good as the same.
std::string Comparison::differenceOfEnds() const {
  const End& a = mA.reader().end();
  const End& b = mB.reader().end();
  if (a.kind.empty() || b.kind.empty()) return "";
  if (kindOf(a) != kindOf(b)) {
    return "A ends with " + quoted(kindOf(a)) + " and B with " + quoted(kindOf(b));
  }
  if (!differ(a.time, b.time)) return "";
  return "A ends at " + timeText(*a.time, mIsExact) + " and B at " + timeText(*b.time, mIsExact);
}

void Comparison::readBehind(Lines& lines, std::vector<Line>& behind) const {
  Line line;
  while (behind.size() < mOptions.lines && !behind.empty() && lines.next(line)) {
    behind.push_back(line);
  }
}

std::string Comparison::lineText(const Line& line) const {
  std::string text = std::to_string(line.number) + ": ";
  if (line.time) text += timeText(*line.time, mIsExact) + "  ";
  return text + printable(line.label) + "\n";
}

std::string Comparison::text() const {
  if (same()) return "the same: " + stepsText(mCommon) + "\n";
  std::string text = "the runs part at step " + std::to_string(mCommon + 1) + ": " + mDifference;
  text += "\n\n";
  for (const Line& line : mBefore) text += "  " + lineText(line);
  for (const Line& line : mBehindA) text += "A " + lineText(line);
  for (const Line& line : mBehindB) text += "B " + lineText(line);
  return text;
}

}  // namespace Vesk::Traces
