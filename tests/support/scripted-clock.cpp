// A library to be preloaded: gives a program the wall-clock readings of a script instead of those
// of the system. The script is the value of VESK_SCRIPTED_CLOCK, words separated by white space,
// one per reading: N sets the clock to N microseconds, +N and -N move it from the reading before.
// The last word is used again and again.
#include <sys/time.h>

#include <cstdlib>

namespace {

struct Script {
  const char* next = std::getenv("VESK_SCRIPTED_CLOCK");
  bool relative = true;
  long long amount = 0;
  long long reading = 0;

  void readWord() {
    char* end = nullptr;
    const long long number = std::strtoll(next, &end, 10);
    if (end == next) return;  // nothing is left: the last word stays
    while (*next == ' ' || *next == '\t' || *next == '\n') ++next;
    relative = *next == '+' || *next == '-';
    amount = number;
    next = end;
  }
  long long read() {
    if (next != nullptr) readWord();
    reading = relative ? reading + amount : amount;
    return reading;
  }
};

}  // namespace

extern "C" int gettimeofday(timeval* time, void*) noexcept {
  static Script script;
  const long long reading = script.read();
  long long seconds = reading / 1000000;
  long long microseconds = reading % 1000000;
  if (microseconds < 0) {
    --seconds;
    microseconds += 1000000;
  }
  time->tv_sec = static_cast<decltype(time->tv_sec)>(seconds);
  time->tv_usec = static_cast<decltype(time->tv_usec)>(microseconds);
  return 0;
}
