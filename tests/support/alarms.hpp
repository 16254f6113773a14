// Signals that come all the time, for tests of calls that they interrupt.
#ifndef VESK_TESTS_ALARMS_HPP
#define VESK_TESTS_ALARMS_HPP

#include <sys/time.h>

#include <csignal>

// As long as this lives, a signal comes each millisecond, and interrupts what waits.
class Alarms {
 public:
  Alarms() {
    count = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { count = count + 1; };
    sigaction(SIGALRM, &action, &mFormer);
    const itimerval often{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~Alarms() {
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &mFormer, nullptr);
  }
  Alarms(const Alarms&) = delete;
  Alarms& operator=(const Alarms&) = delete;

  inline static volatile std::sig_atomic_t count = 0;

 private:
  struct sigaction mFormer {};
};

#endif
