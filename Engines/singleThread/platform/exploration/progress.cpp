#include "exploration/progress.hpp"

#include <algorithm>
#include <cstdio>

#include "exploration/decimal.hpp"
#include "exploration/standard-output.hpp"

namespace Vesk {

namespace {

constexpr char SPINNER[] = "|/-\\";
constexpr char RATE[] = ", SPS: %5lds/s\r";
constexpr char LIMIT_REACHED[] = "\nState exploration limit size reached...";

constexpr std::size_t LINE = 256;  // no line of the progress is longer

constexpr Count STEPS_PER_SPIN = 20;
constexpr Count STEPS_PER_REPORT = 50;
constexpr std::time_t SECONDS_PER_RATE = 3;

constexpr std::size_t COUNT_WIDTH = 10;

template <std::size_t SIZE>
char* putWord(char* to, const char (&text)[SIZE]) {
  return putText(to, text, SIZE - 1);
}

// One line for every fifty transitions: printf() would take a good part of a fast search.
std::size_t putProgress(char* line, char spin, const Counters& counters, Count stored) {
  char* end = line;
  *end++ = spin;
  end = putWord(end, " Count : ");
  end = putNumber(end, counters.steps, COUNT_WIDTH);
  end = putWord(end, " [pruned : ");
  end = putNumber(end, counters.pruned, COUNT_WIDTH);
  end = putWord(end, "] [deadlocks : ");
  end = putNumber(end, counters.deadlocks, COUNT_WIDTH);
  end = putWord(end, "] [stored states: ");
  end = putNumber(end, stored, COUNT_WIDTH);
  *end++ = ']';
  return static_cast<std::size_t>(end - line);
}

}  // namespace

void Progress::start() {
  mFlushed = mRateShown = std::time(nullptr);
}

Progress::Event Progress::showDue(const Counters& counters, Count stored) {
  mNext = nextDue(counters.steps);
  const bool limit = mLimited && counters.steps == mLimit;
  Event event = NOTHING;
  if (counters.steps % STEPS_PER_SPIN == 0 || limit) makeOutputRoom(LINE);
  if (counters.steps % STEPS_PER_SPIN == 0) printSpin();
  if (counters.steps % STEPS_PER_REPORT == 0 || limit) event = report(counters, stored);
  if (!limit) return event;
  std::puts(LIMIT_REACHED);
  return LIMIT;
}

Count Progress::nextDue(Count steps) const {
  const Count spin = steps - steps % STEPS_PER_SPIN + STEPS_PER_SPIN;
  const Count report = steps - steps % STEPS_PER_REPORT + STEPS_PER_REPORT;
  const Count next = std::min(spin, report);
  return mLimited && mLimit > steps ? std::min(next, mLimit) : next;
}

void Progress::printSpin() {
  std::putchar(spin());
  std::putchar('\r');
}

char Progress::spin() {
  const char sign = SPINNER[mSpinner];
  mSpinner = (mSpinner + 1) % (sizeof SPINNER - 1);
  return sign;
}

Progress::Event Progress::report(const Counters& counters, Count stored) {
  makeOutputRoom(LINE);
  char line[LINE];
  std::fwrite(line, 1, putProgress(line, spin(), counters, stored), stdout);
  const std::time_t now = std::time(nullptr);
  const std::time_t elapsed = now - mRateShown;
  const bool rate = elapsed >= SECONDS_PER_RATE;
  if (rate) {
    std::printf(RATE, static_cast<long>(mReports * STEPS_PER_REPORT / static_cast<Count>(elapsed)));
    mRateShown = now;
    mReports = 1;
  } else {
    std::putchar('\r');
    ++mReports;
  }
  if (now != mFlushed) flushOutput();
  mFlushed = now;
  return rate ? RATE_SHOWN : NOTHING;
}

}  // namespace Vesk
