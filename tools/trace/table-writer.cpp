#include "table-writer.hpp"

#include <algorithm>

#include "output-file.hpp"
#include "printable.hpp"

namespace Vesk::Traces {

namespace {

using Lts::columns;
using Lts::printable;

constexpr std::size_t NUMBER_WIDTH = 7;
constexpr std::size_t TIME_WIDTH = 13;
constexpr std::size_t NONE = ~std::size_t{0};
const char* const NO_TIME = "-";
const char* const HIGHLIGHT = "\x1b[1;33m";
const char* const PLAIN = "\x1b[0m";

std::string blanks(std::size_t width, const std::string& text) {
  const std::size_t used = columns(text);
  return std::string(used < width ? width - used : 0, ' ');
}

std::string timeText(const std::optional<Moment>& moment, bool exact) {
  return moment ? millisecondsText(*moment, exact) : NO_TIME;
}

// What has passed between two times.
std::optional<Moment> span(const std::optional<Moment>& from, const std::optional<Moment>& to) {
  if (!from || !to || *from == FOREVER || *to == FOREVER) return std::nullopt;
  return *to - *from;
}

std::string firedText(const Step& step) {
  std::string text;
  for (const Firing& firing : step.fired) {
    if (!text.empty()) text += "; ";
    text += printable(firing.label);
  }
  return text;
}

}  // namespace

void TableWriter::begin(const Run& run) {
  mColumnOf.assign(run.states.size(), NONE);
  for (std::size_t atom = 0; atom < run.states.size(); ++atom) {
    const std::string name = printable(run.names.parts()[atom]);
    if (mOptions.atoms && !mOptions.atoms->matches(name)) continue;
    const std::string state = printable(run.states[atom].value_or(""));
    mColumnOf[atom] = mColumns.size();
    mColumns.push_back({atom, std::max(columns(name), columns(state)), name});
  }
  writeLine("step", "time/ms", "since/ms", false, "fired");
  for (Column& column : mColumns) column.state = printable(run.states[column.atom].value_or(""));
  if (!mColumns.empty()) writeLine("0", NO_TIME, NO_TIME, false, "");
}

void TableWriter::step(const Run& run, const Step& step) {
  setStates(step);
  mEnding.see(step);
  if (isWanted(step)) {
    const auto since = span(mLast ? mLast : step.before, step.time);
    writeLine(std::to_string(step.number), timeText(step.time, run.isExact()),
              timeText(since, run.isExact()), since.value_or(0) != 0, firedText(step));
  }
  mLast = step.time;
}

void TableWriter::end(const Run& run, const End& end) {
  mFile.write("end: " + mEnding.text(run, end) + "\n");
}

bool TableWriter::isWanted(const Step& step) const {
  return !mOptions.only ||
         std::any_of(step.fired.begin(), step.fired.end(),
                     [&](const Firing& firing) { return mOptions.only->matches(firing.label); });
}

void TableWriter::setStates(const Step& step) {
  for (Column& column : mColumns) column.hasChanged = false;
  for (const auto& [atom, text] : step.changed) {
    if (mColumnOf[atom] == NONE) continue;
    Column& column = mColumns[mColumnOf[atom]];
    column.state = printable(text);
    column.hasChanged = true;
  }
}

void TableWriter::writeLine(const std::string& number, const std::string& time,
                            const std::string& since, bool timeHasChanged,
                            const std::string& fired) {
  std::string line = blanks(NUMBER_WIDTH, number) + number;
  line += blanks(TIME_WIDTH, time) + coloured(time, timeHasChanged);
  line += blanks(TIME_WIDTH, since) + coloured(since, timeHasChanged);
  addStates(line);
  line += "  " + fired;
  line.erase(line.find_last_not_of(' ') + 1);
  mFile.write(line + "\n");
}

// A text that is wider than all before makes its column wider from here on.
void TableWriter::addStates(std::string& line) {
  for (Column& column : mColumns) {
    column.width = std::max(column.width, columns(column.state));
    line += "  " + coloured(column.state, column.hasChanged) + blanks(column.width, column.state);
  }
}

std::string TableWriter::coloured(const std::string& text, bool hasChanged) const {
  return mOptions.hasColour && hasChanged ? HIGHLIGHT + text + PLAIN : text;
}

}  // namespace Vesk::Traces
