// Periodic tasks that share one processor. Task i is released every 10*(i+1) milliseconds, needs
// the processor for a fifth of that, and must have it by the next release. Nobody is interrupted.
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

constexpr int MILLISECOND = 1000;  // in microseconds

// A port by which a task tells the processor for how long it wants it, in microseconds.
class CostPort : public Port {
 public:
  CostPort(const char* name, const Atom* holder, int& cost) : Port(name, holder), mCost(cost) {}
  int cost() const { return mCost; }
  void setCost(int cost) { mCost = cost; }

 private:
  int& mCost;  // the variable of the atom
};

class Task : public Atom {
 public:
  Task(const std::string& name, const Compound* holder, int period, int planned, int cost)
      : Atom(name.c_str(), holder), mPeriod(period), mPlanned(planned), mCost(cost) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
    addPort(new CostPort("run", this, mCost));
  }

  CostPort* run() { return static_cast<CostPort*>(mPorts[0]); }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) {
      mReleased = new Clock("released", clock);
      mClocks.add(mReleased);
      // It must start early enough for what was planned.
      mWindow = new Constraint(mReleased, Vesk::Time(0), Vesk::Time(mPeriod - mPlanned), DELAYABLE);
      mConstraints.add(mWindow);
    }
    Atom::initialize(clock);
  }
  void initialize() override { announce(); }

  // From now on the clock counts from the next release, which lies ahead.
  void execute(Port*) override {
    if (mReleased != nullptr) mReleased->setTime(mReleased->time() - Vesk::Time(mPeriod));
    announce();
  }

  Node* getState() override { return new Leaf(new Atomleaf(",")); }
  void setState(Node*) override { announce(); }

 private:
  void announce() {
    run()->setSynced(false);
    rt_sync({{run(), true, mWindow}});
  }

  const int mPeriod;
  const int mPlanned;  // what the task is supposed to cost
  int mCost;           // what it does cost
  Clock* mReleased = nullptr;
  Constraint* mWindow = nullptr;
};

// Lets the time of the platform pass while a task runs: simulated time jumps, real time is spent.
class Processor : public Atom {
 public:
  Processor(const char* name, const Compound* holder) : Atom(name, holder) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
    addPort(new CostPort("use", this, mCost));
  }

  CostPort* use() { return static_cast<CostPort*>(mPorts[0]); }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) mPlatform = &clock->platformClock();
    Atom::initialize(clock);
  }
  void initialize() override { announce(); }

  void execute(Port*) override {
    if (mPlatform != nullptr) mPlatform->wait(mPlatform->time() + Vesk::Time(mCost));
    announce();
  }

  Node* getState() override { return new Leaf(new Atomleaf(",")); }
  void setState(Node*) override { announce(); }

 private:
  void announce() {
    use()->setSynced(false);
    sync({{use(), true}});
  }

  int mCost = 0;
  PlatformClock* mPlatform = nullptr;
};

// A task gets the processor and says for how long.
class Run : public Connector {
 public:
  Run(const std::string& name, const Compound* holder, CostPort* task, CostPort* processor)
      : Connector(name.c_str(), holder, false, {task, processor}),
        mTask(task),
        mProcessor(processor) {
    declare(Vesk::Locality::REPEATABLE);  // dn() is for timed runs
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
  using Connector::dn;
  void dn() override { mProcessor->setCost(mTask->cost()); }

 private:
  CostPort* mTask;
  CostPort* mProcessor;
};

class System : public Compound {
 public:
  System(const char* name, int count, int load) : Compound(name, nullptr) {
    Processor* processor = new Processor("cpu", this);
    mComponents.add(processor);
    for (int i = 0; i < count; ++i) {
      const std::string number = std::to_string(i);
      const int period = 10 * (i + 1) * MILLISECOND;
      const int planned = period / 5;
      Task* task = new Task("task" + number, this, period, planned, planned / 100 * load);
      mComponents.add(task);
      mConnectors.add(new Run("run" + number, this, task->run(), processor->use()));
    }
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("periodic-tasks", argc, argv);
  const int count = operands.number("number of tasks", 3, 1, 1000);
  const int load = operands.number("cost in percent of what is planned", 100, 0, 1000);
  operands.finish();
  return new System("system", count, load);
}
