// Systems whose steps are measured:
//   <program> ring|timed-ring|timers|internal-timers <atoms> [options of the engine]
// Writes to standard error how many nanoseconds of processor time a step has taken, without the
// first ones, in which parts fire for the first time.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include "vesk.hpp"

namespace {

// Measures the steps of this process.
class Meter {
 public:
  static void count() {
    if (++sSteps == FIRST) sBegin = processorTime();
  }
  static void print() {
    if (sSteps <= FIRST) return;
    std::fprintf(stderr, "%.1f\n", (processorTime() - sBegin) * 1e9 / double(sSteps - FIRST));
  }

 private:
  static constexpr long FIRST = 100050;

  static double processorTime() {
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
  }

  static long sSteps;
  static double sBegin;
};

long Meter::sSteps = 0;
double Meter::sBegin = 0;

// Passes a token on, in a run with time one microsecond after it has come.
class Place : public Atom {
 public:
  Place(const std::string& name, const Compound* holder, bool full, bool timed)
      : Atom(name.c_str(), holder), mFull(full), mTimed(timed) {
    addPort(give = new Port("give", this));
    addPort(take = new Port("take", this));
  }
  void initialize(LogicalClock* logical) override {
    if (logical != nullptr && mTimed) {
      mClocks.add(mSince = new Clock("since", logical));
      mConstraints.add(mDue = new Constraint(mSince, Vesk::Time(1), Vesk::Time(1), EAGER));
    }
    Atom::initialize(logical);
  }
  void initialize() override { announce(); }
  void execute(Port* port) override {
    mFull = port == take;
    if (!mFull) Meter::count();
    if (mFull && mSince != nullptr) mSince->reset();
    announce();
  }
  Node* getState() override { return new Leaf(new Atomleaf(mFull ? "f," : "e,")); }
  void setState(Node* state) override {
    mFull = static_cast<Leaf*>(state)->getAleaf()->getVal()[0] == 'f';
    announce();
  }

  Port* give;
  Port* take;

 private:
  void announce() {
    give->setSynced(false);
    take->setSynced(false);
    constexpr Constraint* ALWAYS = nullptr;
    rt_sync(2, give, int{mFull}, mDue, take, int{!mFull}, ALWAYS);
  }

  bool mFull;
  const bool mTimed;
  Clock* mSince = nullptr;
  Constraint* mDue = nullptr;
};

// Ticks with a period, for the first time after a time of its own.
class Timer : public Atom {
 public:
  Timer(const std::string& name, const Compound* holder, int period, int first, bool internal)
      : Atom(name.c_str(), holder), mPeriod(period), mFirst(first) {
    addPort(tick = new Port("tick", this));
    if (internal) tick->setInternal();
  }
  void initialize(LogicalClock* logical) override {
    if (logical != nullptr) {
      mClocks.add(mSince = new Clock("since", logical));
      mSince->setTime(Vesk::Time(mPeriod - mFirst));
      const Vesk::Time period(mPeriod);
      mConstraints.add(mDue = new Constraint(mSince, period, period, EAGER));
    }
    Atom::initialize(logical);
  }
  void initialize() override { announce(); }
  void execute(Port*) override {
    Meter::count();
    if (mSince != nullptr) mSince->reset();
    announce();
  }
  Node* getState() override { return new Leaf(new Atomleaf(",")); }
  void setState(Node*) override { announce(); }

  Port* tick;

 private:
  void announce() {
    tick->setSynced(false);
    rt_sync(1, tick, 1, mDue);
  }

  const int mPeriod;
  const int mFirst;
  Clock* mSince = nullptr;
  Constraint* mDue = nullptr;
};

class Rendezvous : public Connector {
 public:
  Rendezvous(const std::string& name, const Compound* holder, std::initializer_list<Port*> ports)
      : Connector(name.c_str(), holder, false, ports) {}
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class System : public Compound {
 public:
  System() : Compound("Sys", nullptr) {}
  ~System() override { Meter::print(); }

  void addRing(int atoms, bool timed) {
    std::vector<Place*> places;
    for (int i = 0; i < atoms; ++i) {
      places.push_back(new Place("P" + std::to_string(i), this, i == 0, timed));
      mComponents.add(places.back());
    }
    for (int i = 0; i < atoms; ++i) {
      Place* const next = places[static_cast<std::size_t>((i + 1) % atoms)];
      Place* const here = places[static_cast<std::size_t>(i)];
      mConnectors.add(new Rendezvous("m" + std::to_string(i), this, {here->give, next->take}));
    }
  }
  // One of them ticks in each microsecond, neighbours far from each other.
  void addTimers(int atoms, bool internal) {
    for (int i = 0; i < atoms; ++i) {
      const int first = static_cast<int>(i * 7919LL % atoms) + 1;
      Timer* const timer = new Timer("T" + std::to_string(i), this, atoms, first, internal);
      mComponents.add(timer);
      if (internal) continue;
      mConnectors.add(new Rendezvous("m" + std::to_string(i), this, {timer->tick}));
    }
  }
};

}  // namespace

Compound* Compound::Create(int argc, char** argv) {
  const std::string kind = argc > 2 ? argv[1] : "";
  const int atoms = argc > 2 ? std::atoi(argv[2]) : 0;
  auto* system = new System;
  if (kind == "ring" || kind == "timed-ring") {
    system->addRing(atoms, kind == "timed-ring");
  } else if (kind == "timers" || kind == "internal-timers") {
    system->addTimers(atoms, kind == "internal-timers");
  } else {
    std::fprintf(stderr, "usage: ring|timed-ring|timers|internal-timers <atoms> [options]\n");
    delete system;
    return nullptr;
  }
  return system;
}
