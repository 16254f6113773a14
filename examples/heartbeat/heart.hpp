// One atom that beats.
#ifndef VESK_EXAMPLES_HEART_HPP
#define VESK_EXAMPLES_HEART_HPP

#include "vesk.hpp"

// Beats once per period. A beat may be late by up to 20 milliseconds; the following ones stay on
// the grid of the period and make up for it.
class Heart : public Atom {
 public:
  Heart(const char* name, const Compound* holder, int period)
      : Atom(name, holder), mPeriod(period) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
    addPort(new Port("beat", this));
  }

  Port* beat() { return mPorts[0]; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) {
      mSinceBeat = new Clock("since beat", clock);
      mClocks.add(mSinceBeat);
      mDue = new Constraint(mSinceBeat, mPeriod, mPeriod + Vesk::Time(TOLERANCE), DELAYABLE);
      mConstraints.add(mDue);
    }
    Atom::initialize(clock);
  }
  void initialize() override { announce(); }

  // The clock is set back by a period, not to zero: a late beat does not delay the next one.
  void execute(Port*) override {
    if (mSinceBeat != nullptr) mSinceBeat->setTime(mSinceBeat->time() - mPeriod);
    announce();
  }

  Node* getState() override { return new Leaf(new Atomleaf(",")); }
  void setState(Node*) override { announce(); }

 private:
  static constexpr int TOLERANCE = 20000;  // microseconds

  void announce() {
    beat()->setSynced(false);
    rt_sync({{beat(), true, mDue}});
  }

  const Vesk::Time mPeriod;
  Clock* mSinceBeat = nullptr;
  Constraint* mDue = nullptr;
};

class Beat : public Connector {
 public:
  Beat(const char* name, const Compound* holder, Port* port)
      : Connector(name, holder, false, {port}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

#endif
