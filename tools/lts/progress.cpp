#include "progress.hpp"

#include <unistd.h>

#include "printable.hpp"

namespace Vesk::Lts {

namespace {

constexpr char CLEAR_LINE[] = "\r\x1b[K";
constexpr double PAUSE = 0.2;  // seconds between two lines, and before the first

double secondsSince(const std::timespec& past) {
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec - past.tv_sec) +
         static_cast<double>(now.tv_nsec - past.tv_nsec) * 1e-9;
}

}  // namespace

Progress::Progress(std::FILE* stream)
    : mStream(stream != nullptr && isatty(fileno(stream)) != 0 ? stream : nullptr) {}

void Progress::start(const std::string& what) {
  if (mStream == nullptr) return;
  mWhat = printable(what);
  clock_gettime(CLOCK_MONOTONIC, &mShown);
}

void Progress::show(std::uint64_t done, std::uint64_t all) {
  if (mStream == nullptr || secondsSince(mShown) < PAUSE) return;
  clock_gettime(CLOCK_MONOTONIC, &mShown);
  mHasLine = true;
  if (all != 0 && done <= all) {
    const double percent = 100 * static_cast<double>(done) / static_cast<double>(all);
    std::fprintf(mStream, "%s%s: %.0f %%", CLEAR_LINE, mWhat.c_str(), percent);
  } else {
    std::fprintf(mStream, "%s%s: %llu", CLEAR_LINE, mWhat.c_str(),
                 static_cast<unsigned long long>(done));
  }
  std::fflush(mStream);
}

void Progress::finish() {
  if (!mHasLine) return;
  std::fputs(CLEAR_LINE, mStream);
  std::fflush(mStream);
  mHasLine = false;
}

}  // namespace Vesk::Lts
