#include "exploration/progress.hpp"

#include <cstdio>

#include "exploration/standard-output.hpp"

namespace Vesk {

namespace {

constexpr char SPINNER[] = "|/-\\";
constexpr char PROGRESS[] =
    "%c Count : %10llu [pruned : %10llu] [deadlocks : %10llu] [stored states: %10llu]";
constexpr char RATE[] = ", SPS: %5lds/s\r";
constexpr char NO_RATE[] = "\r";
constexpr char LIMIT_REACHED[] = "\nState exploration limit size reached...";

constexpr std::size_t LINE = 256;  // no line of the progress is longer

constexpr Count STEPS_PER_SPIN = 20;
constexpr Count STEPS_PER_REPORT = 50;
constexpr std::time_t SECONDS_PER_RATE = 3;

}  // namespace

void Progress::start() {
  mFlushed = mRateShown = std::time(nullptr);
}

Progress::Event Progress::show(const Counters& counters, Count stored) {
  const bool limit = mLimited && counters.steps == mLimit;
  Event event = NOTHING;
  if (counters.steps % STEPS_PER_SPIN == 0 || limit) makeOutputRoom(LINE);
  if (counters.steps % STEPS_PER_SPIN == 0) printSpin();
  if (counters.steps % STEPS_PER_REPORT == 0 || limit) event = report(counters, stored);
  if (!limit) return event;
  std::puts(LIMIT_REACHED);
  return LIMIT;
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
  std::printf(PROGRESS, spin(), counters.steps, counters.pruned, counters.deadlocks, stored);
  const std::time_t now = std::time(nullptr);
  const std::time_t elapsed = now - mRateShown;
  const bool rate = elapsed >= SECONDS_PER_RATE;
  if (rate) {
    std::printf(RATE, static_cast<long>(mReports * STEPS_PER_REPORT / static_cast<Count>(elapsed)));
    mRateShown = now;
    mReports = 1;
  } else {
    std::printf(NO_RATE);
    ++mReports;
  }
  if (now != mFlushed) flushOutput();
  mFlushed = now;
  return rate ? RATE_SHOWN : NOTHING;
}

}  // namespace Vesk
