#include "trace-reader.hpp"

#include "fault.hpp"
#include "label.hpp"
#include "scan.hpp"
#include "utf8.hpp"

namespace Vesk::Traces {

namespace {

const char* const BANNER = "VESK mono-threaded engine. Version: ";
const char* const EXPECTED =
    ", expected \"scheduler [TIME] LABEL CONSTRAINT\", \"scheduler : LABEL\" or how the run ends";
const char* const CUT = "the last line is cut, expected a line break";
const char* const NOTHING = "nothing is of a run, expected a trace or a recording";
const char* const AGAIN = "a second run starts here, expected one run; the rest is not read";

}  // namespace

bool TraceReader::next(Step& step) {
  std::string_view line;
  while (mSource->next(line)) {
    if (Lts::takePrefix(line, BANNER)) {
      if (!mHasBegun) continue;
      mSource->leaveOut(AGAIN);
      break;
    }
    step = Step();
    const Meaning meaning = read(line, step);
    if (meaning == Meaning::OTHER) ++mRun.otherLines;
    if (meaning != Meaning::OTHER) mHasBegun = true;
    if (meaning == Meaning::BAD) mSource->leaveOut(Lts::inQuotes(line) + EXPECTED);
    if (meaning != Meaning::STEP) continue;
    if (!isCut(step)) {
      step.number = ++mSteps;
      return true;
    }
    mSource->leaveOut(CUT);
  }
  if (!mHasBegun && mRun.otherLines != 0) mSource->leaveOut(NOTHING);
  mSource->finish();
  return false;
}

// A label may go on behind the end of the file. A constraint shows that it does not.
bool TraceReader::isCut(const Step& step) const {
  return !mSource->wasWhole() && !step.time;
}

TraceReader::Meaning TraceReader::read(std::string_view line, Step& step) {
  while (takeStepQuestion(line)) {
  }
  if (!endKind(line).empty()) return readEnd(line);
  std::string_view rest = line;
  if (Lts::takePrefix(rest, "scheduler")) return readScheduler(rest, step);
  return mIsInDialogue ? readDialogue(line, step) : Meaning::OTHER;
}

TraceReader::Meaning TraceReader::readScheduler(std::string_view rest, Step& step) {
  mIsInDialogue = false;
  const auto beginning = beginningOf(rest);
  if (!beginning) return Meaning::BAD;
  mBefore = beginning->before;
  mNow = beginning->now;
  if (beginning->form == Form::UNTIMED) return readUntimed(beginning->rest, step);
  if (!endKind(beginning->rest).empty()) {
    mEnd.time = mNow;
    return readEnd(beginning->rest);
  }
  if (beginning->form == Form::SELF_TIMED) return readSelfTimed(*beginning, step);
  mIsInDialogue = isTimeQuestion(beginning->rest);
  return mIsInDialogue ? readDialogue(beginning->rest, step) : readTimed(beginning->rest, step);
}

TraceReader::Meaning TraceReader::readTimed(std::string_view text, Step& step) {
  const auto fired = firedOf(text);
  if (!fired) return Meaning::BAD;
  step.before = mBefore;
  step.time = fired->wait.value_or(mNow);
  step.fired.push_back(firing(fired->label));
  return Meaning::STEP;
}

// A dialogue ends with what a step without dialogue has behind its times. All else in it is a
// question, an answer that a terminal has shown, or a list.
TraceReader::Meaning TraceReader::readDialogue(std::string_view text, Step& step) {
  while (takeQuestion(text)) {
  }
  if (!endKind(text).empty()) {
    mEnd.time = mNow;
    return readEnd(text);
  }
  if (const auto time = listTime(text)) mNow = *time;
  if (isRow(text) || !firedOf(text)) return Meaning::PART;
  mIsInDialogue = false;
  return readTimed(text, step);
}

TraceReader::Meaning TraceReader::readSelfTimed(const Beginning& beginning, Step& step) {
  const auto fired = selfTimedFiredOf(beginning.rest, beginning.now);
  if (!fired) return Meaning::BAD;
  step.before = beginning.before;
  step.time = fired->time;
  if (!fired->label.empty()) step.fired.push_back(firing(fired->label));
  return Meaning::STEP;
}

TraceReader::Meaning TraceReader::readUntimed(std::string_view label, Step& step) {
  if (!isInteraction(label)) return Meaning::BAD;
  step.fired.push_back(firing(label));
  return Meaning::STEP;
}

TraceReader::Meaning TraceReader::readEnd(std::string_view text) {
  mIsInDialogue = false;
  mEnd.kind = endKind(text);
  mEnd.text = asUtf8(text);
  return Meaning::END;
}

const Firing& TraceReader::firing(std::string_view label) {
  const auto [found, isNew] = mFirings.try_emplace(std::string(label));
  if (isNew) found->second = firingOf(asUtf8(label), mRun.names);
  return found->second;
}

}  // namespace Vesk::Traces
