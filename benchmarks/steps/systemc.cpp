// The timed systems of model.cpp in SystemC, where an event calls a method:
//   <program> timed-ring|timers <modules> <events>
// Prints nanoseconds of processor time per event.
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <systemc>
#include <vector>

namespace {

long events = 0;
long limit = 0;

double processorTime() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

// Calls the next one after a time; its own next one is itself for a timer.
struct Part : sc_core::sc_module {
  SC_HAS_PROCESS(Part);
  Part(const std::string& name, const sc_core::sc_time& delay)
      : sc_module(sc_core::sc_module_name(name.c_str())), delay(delay) {
    SC_METHOD(fire);
    sensitive << event;
    dont_initialize();
  }
  void fire() {
    if (++events >= limit) {
      sc_core::sc_stop();
    } else {
      next->event.notify(delay);
    }
  }

  sc_core::sc_event event;
  sc_core::sc_time delay;
  Part* next = this;
};

}  // namespace

int sc_main(int argc, char** argv) {
  if (argc != 4) return 2;
  const bool ring = std::string(argv[1]) == "timed-ring";
  const long count = std::atol(argv[2]);
  limit = std::atol(argv[3]);
  const auto after = [](long t) { return sc_core::sc_time(double(t), sc_core::SC_NS); };
  std::vector<Part*> parts;
  for (long i = 0; i < count; ++i) {
    parts.push_back(new Part("p" + std::to_string(i), after(ring ? 1 : count)));
  }
  sc_core::sc_start(sc_core::SC_ZERO_TIME);
  for (long i = 0; i < count; ++i) {
    if (ring) parts[size_t(i)]->next = parts[size_t((i + 1) % count)];
    if (!ring || i == 0) parts[size_t(i)]->event.notify(after(ring ? 1 : i * 7919 % count + 1));
  }
  const double begin = processorTime();
  sc_core::sc_start();
  std::printf("%.1f\n", (processorTime() - begin) * 1e9 / double(events));
  std::fflush(stdout);
  _exit(0);
}
