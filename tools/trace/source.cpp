#include "source.hpp"

#include "bad-lines.hpp"

namespace Vesk::Traces {

namespace {

const char* const STANDARD_INPUT = "standard input";
const char* const EXPECTED = "a trace or a recording";

}  // namespace

Source::Source(const std::string& path, Lts::Progress& progress, BadLines& badLines)
    : mBadLines(badLines) {
  if (path == "-") {
    mLines.emplace(Lts::Lines::standardInput, STANDARD_INPUT, progress);
  } else {
    mLines.emplace(path, EXPECTED, progress);
  }
}

bool Source::next(std::string_view& line) {
  if (!mHasPeeked) return read(line);
  mHasPeeked = false;
  line = mLine;
  return mIsThere;
}

std::string_view Source::peek() {
  if (!mHasPeeked) mIsThere = read(mLine);
  mHasPeeked = true;
  return mIsThere ? mLine : std::string_view();
}

// Files of other systems may have a mark at the start and a carriage return before each line break.
bool Source::read(std::string_view& line) {
  if (!mLines->next(line)) return false;
  if (number() == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return true;
}

void Source::leaveOut(const std::string& what) const {
  mBadLines.add(name(), number(), what);
}

void Source::finish() const {
  mBadLines.finish(name());
}

}  // namespace Vesk::Traces
