#include "linux-clock.hpp"

#include <sys/time.h>

namespace {

constexpr long long MICROSECONDS_PER_SECOND = 1000000;

}  // namespace

LinuxClock::LinuxClock(const char* name) : PlatformClock(name) {
  setStart(TIME());
}

Vesk::Time LinuxClock::time() const {
  return TIME() - mStart;
}

// Deliberate: neither sleeps nor yields, for exact release times.
// (docs/decisions/0025-waiting-for-real-time-spins.md)
void LinuxClock::wait(const Vesk::Time& t) {
  while (time() < t) {
  }
}

Vesk::Time LinuxClock::TIME() const {
  timeval now;
  gettimeofday(&now, nullptr);
  // Widened first: the product does not fit into the 32 bits that the field may have.
  const long long seconds = now.tv_sec;
  return Vesk::Time(seconds * MICROSECONDS_PER_SECOND + now.tv_usec);
}
