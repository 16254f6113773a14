#include "aut-reader.hpp"

#include <algorithm>
#include <string_view>

#include "fault.hpp"
#include "lines.hpp"
#include "printable.hpp"
#include "scan.hpp"

namespace Vesk::Lts {

namespace {

const char* const EXPECTED_FILE = "a transition system (.aut)";
const char* const EXPECTED_HEADER = "expected \"des (INITIAL, TRANSITIONS, STATES)\"";
const char* const EXPECTED_TRANSITION = "expected \"(FROM, LABEL, TO)\"";

struct Transition {
  std::uint64_t source;
  std::string_view label;
  std::uint64_t target;
};

class AutReader {
 public:
  AutReader(const std::string& path, Progress& progress) : mLines(path, EXPECTED_FILE, progress) {}

  AutFile read();

 private:
  void readHeader();
  void readSecondLine();
  void readTransitions();
  void readOwn(std::string_view line);
  void readMultiLine(std::string_view first);
  void readStandard(std::string_view line);
  void leaveOut() { mFile.lastLineIsCut = true; }
  void add(const Transition& transition, std::string_view line);
  void checkState(std::uint64_t state, std::string_view line) const;
  [[noreturn]] void fail(const std::string& text) const;
  [[noreturn]] void failTransition(std::string_view line) const;

  Lines mLines;
  AutFile mFile;
  GraphBuilder mBuilder;
  std::string mUnescaped;
};

// ---- Lines -----------------------------------------------------------------------------------

// ", " before the number and "(", ")" around all are exactly as the engine writes them.
bool startsOwn(std::string_view& line, std::uint64_t& source) {
  return takePrefix(line, "(") && takeNumber(line, source) && takePrefix(line, ", ");
}

bool endsOwn(std::string_view& line, std::uint64_t& target) {
  return takeSuffix(line, ")") && takeLastNumber(line, target) && takeSuffix(line, ", ");
}

bool splitOwn(std::string_view line, Transition& transition) {
  if (!startsOwn(line, transition.source) || !endsOwn(line, transition.target)) return false;
  transition.label = line;
  return true;
}

// Blanks may stand between all parts.
bool splitStandard(std::string_view line, Transition& transition) {
  line = trimmed(line);
  if (!takePrefix(line, "(") || !takeSuffix(line, ")")) return false;
  line = trimmed(line);
  if (!takeNumber(line, transition.source) || !takeLastNumber(line, transition.target))
    return false;
  line = trimmed(line);
  if (!takePrefix(line, ",") || !takeSuffix(line, ",")) return false;
  transition.label = trimmed(line);
  return true;
}

bool isQuoted(std::string_view label) {
  return label.size() >= 2 && label.front() == '"' && label.back() == '"';
}

bool takeHeader(std::string_view line, std::uint64_t (&numbers)[3]) {
  line = trimmed(line);
  if (!takePrefix(line, "des")) return false;
  line = trimmed(line);
  if (!takePrefix(line, "(") || !takeSuffix(line, ")")) return false;
  for (int i = 0; i < 3; ++i) {
    line = trimmed(line);
    if (i != 0 && !takePrefix(line, ",")) return false;
    line = trimmed(line);
    if (!takeNumber(line, numbers[i])) return false;
  }
  return trimmed(line).empty();
}

// ---- Reader ----------------------------------------------------------------------------------

AutFile AutReader::read() {
  readHeader();
  readSecondLine();
  readTransitions();
  if (mFile.header) checkState(mFile.header->initial, "the header");
  mFile.graph = mBuilder.finish(mFile.header ? mFile.header->initial : 0);
  return std::move(mFile);
}

// A blank first line is the room that the engine leaves for the header: a pipe never gets one.
void AutReader::readHeader() {
  std::string_view line;
  if (!mLines.next(line)) {
    throw Fault(mLines.path(), 1, std::string("the file is empty, ") + EXPECTED_HEADER);
  }
  if (!line.empty() && trimmed(line).empty()) {
    mFile.isOwn = true;
    return;
  }
  std::uint64_t numbers[3];
  if (!takeHeader(line, numbers)) fail(inQuotes(line) + ", " + EXPECTED_HEADER);
  if (numbers[0] >= Graph::NO_STATE) fail("the initial state is too large, expected a state");
  mFile.header = AutHeader{static_cast<State>(numbers[0]), numbers[1], numbers[2]};
}

// What is left of the room for the header makes a blank line in the engine's files.
void AutReader::readSecondLine() {
  std::string_view line;
  if (mFile.isOwn || !mLines.next(line)) return;
  if (!line.empty() && line.find_first_not_of(' ') == std::string_view::npos) {
    mFile.isOwn = true;
  } else if (!trimmed(line).empty()) {
    readStandard(line);
  }
}

void AutReader::readTransitions() {
  std::string_view line;
  if (mFile.isOwn) {
    while (mLines.next(line)) readOwn(line);
  } else {
    while (mLines.next(line)) {
      if (!trimmed(line).empty()) readStandard(line);
    }
  }
}

void AutReader::readOwn(std::string_view line) {
  Transition transition;
  if (splitOwn(line, transition)) {
    add(transition, line);
  } else {
    readMultiLine(line);
  }
}

// A label with line breaks goes on to the first line that ends like a transition. A line that is a
// transition by itself is none of it.
void AutReader::readMultiLine(std::string_view first) {
  const std::uint64_t number = mLines.number();
  std::string text(first);
  std::uint64_t source;
  const bool canGoOn = startsOwn(first, source);
  std::string_view line;
  while (canGoOn) {
    if (!mLines.wasWhole() || !mLines.next(line)) return leaveOut();
    Transition transition;
    if (splitOwn(line, transition)) break;
    text.append("\n").append(line);
    if (splitOwn(text, transition)) return add(transition, text);
  }
  if (!canGoOn && !mLines.wasWhole()) return leaveOut();
  const std::string firstLine = text.substr(0, text.find('\n'));
  throw Fault(mLines.path(), number, inQuotes(firstLine) + ", " + EXPECTED_TRANSITION);
}

void AutReader::readStandard(std::string_view line) {
  Transition transition;
  if (!splitStandard(line, transition)) {
    if (mLines.wasWhole()) failTransition(line);
    return leaveOut();
  }
  if (isQuoted(transition.label)) {
    transition.label = transition.label.substr(1, transition.label.size() - 2);
    if (transition.label.find('\\') != std::string_view::npos) {
      mUnescaped = hexUnescaped(transition.label);
      transition.label = mUnescaped;
    }
  }
  add(transition, line);
}

void AutReader::add(const Transition& transition, std::string_view line) {
  checkState(transition.source, line);
  checkState(transition.target, line);
  if (mBuilder.transitions() == GraphBuilder::MAX_TRANSITIONS) {
    fail("one transition too many, expected at most " +
         std::to_string(GraphBuilder::MAX_TRANSITIONS));
  }
  mBuilder.add(static_cast<State>(transition.source), mBuilder.labels().intern(transition.label),
               static_cast<State>(transition.target));
}

// Numbers of states have no gaps, so a state beyond the size of the file is a mistake. It would
// take the memory of all below it.
void AutReader::checkState(std::uint64_t state, std::string_view line) const {
  const std::uint64_t size = mLines.fileSize();
  const std::uint64_t bound =
      size != 0 ? std::min<std::uint64_t>(size, Graph::NO_STATE) : std::uint64_t{Graph::NO_STATE};
  if (state < bound) return;
  fail("state " + std::to_string(state) + " in " + inQuotes(line) + ", expected a number below " +
       std::to_string(bound) + ", as large as this file can have it");
}

void AutReader::fail(const std::string& text) const {
  throw Fault(mLines.path(), mLines.number(), text);
}

void AutReader::failTransition(std::string_view line) const {
  fail(inQuotes(line) + ", " + EXPECTED_TRANSITION);
}

}  // namespace

AutFile readAut(const std::string& path, Progress& progress) {
  return AutReader(path, progress).read();
}

}  // namespace Vesk::Lts
