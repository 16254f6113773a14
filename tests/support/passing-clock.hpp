// Wall-clock time that passes a millisecond a reading: nobody waits for the real one. Include it in
// one source of a test program.
#ifndef VESK_TESTS_PASSING_CLOCK_HPP
#define VESK_TESTS_PASSING_CLOCK_HPP

#include <sys/time.h>

extern "C" int gettimeofday(timeval* now, void*) noexcept {
  static long long milliseconds = 1'000'000'000'000;
  ++milliseconds;
  now->tv_sec = static_cast<decltype(now->tv_sec)>(milliseconds / 1000);
  now->tv_usec = static_cast<decltype(now->tv_usec)>(milliseconds % 1000 * 1000);
  return 0;
}

#endif
