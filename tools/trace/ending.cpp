#include "ending.hpp"

#include <algorithm>

#include "printable.hpp"

namespace Vesk::Traces {

namespace {

const char* const UNKNOWN = "unknown: the file does not say, as after a limit without time";
const char* const END_OF_TIME = ": the end of model time (2147.48 s), not of the model";

}  // namespace

std::string stepsText(std::uint64_t steps) {
  return std::to_string(steps) + (steps == 1 ? " step" : " steps");
}

void Ending::see(const Step& step) {
  if (!step.before || !step.time || *step.time == FOREVER || *step.before == FOREVER) return;
  mLongestWait = std::max(mLongestWait, *step.time - *step.before);
}

bool Ending::isEndOfTime(const End& end) const {
  return end.kind == "deadlock" && end.time && FOREVER - *end.time <= mLongestWait;
}

std::string Ending::text(const Run& run, const End& end) const {
  if (end.kind.empty()) return UNKNOWN;
  std::string text = Lts::printable(end.kind);
  if (end.time) text += " at " + millisecondsText(*end.time, run.isExact()) + " ms";
  if (isEndOfTime(end)) return text + END_OF_TIME;
  if (end.kind != "deadlock" && !end.text.empty()) text += ": " + Lts::printable(end.text);
  return text;
}

}  // namespace Vesk::Traces
