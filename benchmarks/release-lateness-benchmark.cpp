// How late a beat at 1 kHz is released in real time, over ten seconds: by the engine, and by a bare
// loop that does nothing but read the clock. The difference is the engine's own.

#include <benchmark/benchmark.h>
#include <sys/time.h>

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <vector>

#include "../examples/heartbeat/heart.hpp"
#include "vesk.hpp"

namespace {

constexpr int PERIOD = 1000;  // microseconds
constexpr unsigned int BEATS = 10000;
constexpr int MAX_DRIFT = 40000;
constexpr bool QUIET = true;
constexpr int SEED = 1;

// How many microseconds each beat was late.
using Lateness = std::vector<long long>;

// The engine ends the run when a beat is more than 20 ms late, so there may be fewer beats.
void report(benchmark::State& state, Lateness& lateness) {
  if (lateness.empty()) return;
  std::sort(lateness.begin(), lateness.end());
  const std::size_t count = lateness.size();
  state.counters["beats"] = static_cast<double>(count);
  state.counters["median_us"] = static_cast<double>(lateness[count / 2]);
  state.counters["p99_us"] = static_cast<double>(lateness[count - 1 - count / 100]);
  state.counters["max_us"] = static_cast<double>(lateness.back());
}

class RecordingHeart : public Heart {
 public:
  RecordingHeart(const Compound* holder, Lateness& lateness)
      : Heart("heart", holder, PERIOD), mLateness(lateness) {}

  void initialize(LogicalClock* clock) override {
    mPlatform = &clock->platformClock();
    Heart::initialize(clock);
  }
  using Heart::initialize;

  void execute(Port* port) override {
    mDue += PERIOD;
    mLateness.push_back(mPlatform->time().microseconds() - mDue);
    Heart::execute(port);
  }

 private:
  Lateness& mLateness;
  PlatformClock* mPlatform = nullptr;
  long long mDue = 0;
};

void releaseByTheEngine(benchmark::State& state) {
  Lateness lateness;
  lateness.reserve(BEATS);
  for (auto _ : state) {
    Compound body("body", nullptr);
    Heart* heart = new RecordingHeart(&body, lateness);
    body.components().add(heart);
    body.connectors().add(new Beat("beat", &body, heart->beat()));
    StandardSemantics semantics;
    EDFdeltaScheduler scheduler{Vesk::Time(MAX_DRIFT)};
    LinuxClock platform("platform");
    LogicalClock clock("logical", platform);
    StandardExecuter executer(body, clock, semantics, scheduler, QUIET, BEATS, std::cout, SEED,
                              Vesk::Time(MAX_DRIFT));
    executer.initialize();
    executer.run();
  }
  report(state, lateness);
}

long long wallClock() {
  timeval now;
  gettimeofday(&now, nullptr);
  return static_cast<long long>(now.tv_sec) * 1000000 + now.tv_usec;
}

void releaseByABareLoop(benchmark::State& state) {
  Lateness lateness;
  lateness.reserve(BEATS);
  for (auto _ : state) {
    long long due = wallClock();
    for (unsigned int beat = 0; beat < BEATS; ++beat) {
      due += PERIOD;
      long long now = wallClock();
      while (now < due) now = wallClock();
      lateness.push_back(now - due);
    }
  }
  report(state, lateness);
}

BENCHMARK(releaseByABareLoop)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(releaseByTheEngine)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
