#include "side-files.hpp"

#include "fault.hpp"
#include "lines.hpp"
#include "scan.hpp"

namespace Vesk::Lts {

namespace {

const char* const EXPECTED_STATE = "expected \"NUMBER : TEXT\"";
const char* const EXPECTED_DEADLOCK = "expected \"NUMBER\" or \"NUMBER || PATH\"";
const char* const EXPECTED_PRUNED = "expected \" :: LABEL[[TEXT]]\" or \"NUMBER || PATH\"";

// ---- States ----------------------------------------------------------------------------------

class StateReader {
 public:
  StateReader(const std::string& path, std::size_t end, Progress& progress,
              const std::function<void(State, std::string_view)>& use)
      : mLines(path, "the states of an exploration (.state)", progress), mEnd(end), mUse(use) {}

  void read();

 private:
  bool startsState(std::string_view& line, std::uint64_t& number) const;
  void give() const;

  Lines mLines;
  const std::size_t mEnd;
  const std::function<void(State, std::string_view)>& mUse;
  bool mHasState = false;
  std::uint64_t mState = 0;
  std::string mText;
};

// A state is given when the next one starts, because its text may go on in the next line.
void StateReader::read() {
  std::string_view line;
  while (mLines.next(line) && mLines.wasWhole()) {
    const std::string_view whole = line;
    std::uint64_t number;
    if (startsState(line, number)) {
      give();
      mHasState = true;
      mState = number;
      mText.assign(line);
    } else if (mHasState) {
      mText.append("\n").append(whole);
    } else {
      throw Fault(mLines.path(), mLines.number(), inQuotes(whole) + ", " + EXPECTED_STATE);
    }
  }
  give();
}

bool StateReader::startsState(std::string_view& line, std::uint64_t& number) const {
  return takeNumber(line, number) && takePrefix(line, " : ") && (!mHasState || number > mState);
}

void StateReader::give() const {
  if (mHasState && mState < mEnd) mUse(static_cast<State>(mState), mText);
}

// ---- Deadlocks and pruned paths --------------------------------------------------------------

enum LineKind { NUMBER, NUMBER_AND_PATH, PATH, OTHER };

LineKind kindOf(std::string_view line, std::uint64_t& number) {
  if (takePrefix(line, " :: ")) return PATH;
  if (!takeNumber(line, number)) return OTHER;
  if (line.empty()) return NUMBER;
  return takePrefix(line, " || ") ? NUMBER_AND_PATH : OTHER;
}

// The lines of one kind, and what goes on from a path over line breaks in labels and texts.
class NumberReader {
 public:
  NumberReader(const std::string& path, const std::string& content, Progress& progress)
      : mLines(path, content, progress) {}

  NumberedStates read(LineKind plain, std::size_t end, const char* expected);

 private:
  bool goesOn(LineKind kind, LineKind plain) const;

  Lines mLines;
  NumberedStates mResult;
  bool mInPath = false;  // the last line was one of a path, or went on from one
};

NumberedStates NumberReader::read(LineKind plain, std::size_t end, const char* expected) {
  std::string_view line;
  while (mLines.next(line) && mLines.wasWhole()) {
    std::uint64_t number = 0;
    const LineKind kind = kindOf(line, number);
    if (goesOn(kind, plain)) continue;
    if (kind != plain && kind != NUMBER_AND_PATH) {
      throw Fault(mLines.path(), mLines.number(), inQuotes(line) + ", " + expected);
    }
    mInPath = kind != NUMBER;
    mResult.hasPaths = kind == NUMBER_AND_PATH;
    if (kind == PATH) {
      ++mResult.unnumbered;
    } else if (number < end) {
      mResult.states.push_back(static_cast<State>(number));
    }
  }
  return std::move(mResult);
}

// All lines of a file are of the first one's kind.
bool NumberReader::goesOn(LineKind kind, LineKind plain) const {
  return mInPath && kind != (mResult.hasPaths ? NUMBER_AND_PATH : plain);
}

}  // namespace

void readStates(const std::string& path, std::size_t end, Progress& progress,
                const std::function<void(State, std::string_view)>& use) {
  StateReader(path, end, progress, use).read();
}

NumberedStates readDeadlocks(const std::string& path, std::size_t end, Progress& progress) {
  return NumberReader(path, "the deadlocks of an exploration (.deadlock)", progress)
      .read(NUMBER, end, EXPECTED_DEADLOCK);
}

NumberedStates readPruned(const std::string& path, std::size_t end, Progress& progress) {
  return NumberReader(path, "the pruned paths of an exploration (.pruned)", progress)
      .read(PATH, end, EXPECTED_PRUNED);
}

}  // namespace Vesk::Lts
