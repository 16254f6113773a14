// Small models, each with a mistake that has a name: `wrong-model <mistake>`. Without one, none.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "vesk.hpp"

namespace {

const char* mistake = "";
std::vector<std::unique_ptr<Atom>> forgotten;  // atoms that no system owns

bool is(const char* name) {
  return std::strcmp(mistake, name) == 0;
}

// Counts its steps up to 9 and begins again.
class Counter : public Atom {
 public:
  Counter(const char* name, const Compound* holder) : Atom(name, holder) {
    addPort(new Port("step", this));
  }
  Port* step() const { return mPorts[0]; }

  void initialize() override { announce(); }
  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) makeTimes(*clock);
    Atom::initialize(clock);
  }
  void execute(Port*) override {
    mCount = (mCount + 1) % 10;
    announce();
  }
  Node* getState() override {
    return new Leaf(new Atomleaf((std::to_string(mCount) + ",").c_str()));
  }
  void setState(Node* state) override {
    mCount = std::atoi(static_cast<Leaf*>(state)->getAleaf()->getVal());
    announce();
  }

 protected:
  virtual void makeTimes(LogicalClock&) {}
  virtual void announce() {
    step()->setSynced(false);
    sync(1, step(), int(true));
  }
  int mCount = 0;
};

class Rendezvous : public Connector {
 public:
  Rendezvous(const char* name, const Compound* holder, Port* one, Port* other, bool subconn = false)
      : Connector(name, holder, subconn, 2, one, other) {}
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
  void exportPort() { mxPort = new Port("out", this); }
};

// ---- The mistakes of atoms -------------------------------------------------------------------

// Does not take the state that it is given.
class Forgetful : public Counter {
 public:
  using Counter::Counter;
  void setState(Node*) override { announce(); }
};

// Announces its port only as long as nothing was restored.
class Fickle : public Counter {
 public:
  using Counter::Counter;
  void setState(Node* state) override {
    Counter::setState(state);
    step()->setSynced(false);
  }
};

// A text without a comma, of one digit or two.
class Bare : public Counter {
 public:
  using Counter::Counter;
  Node* getState() override { return new Leaf(new Atomleaf(std::to_string(8 + mCount).c_str())); }
  void setState(Node* state) override {
    mCount = std::atoi(static_cast<Leaf*>(state)->getAleaf()->getVal()) - 8;
    announce();
  }
};

// Announces its port only every other time.
class Halting : public Counter {
 public:
  using Counter::Counter;

 protected:
  void announce() override {
    step()->setSynced(false);
    sync(1, step(), int(mCount % 2 == 0));
  }
};

// Has a second port, which is never enabled.
class Shy : public Counter {
 public:
  Shy(const char* name, const Compound* holder) : Counter(name, holder) {
    addPort(new Port("rest", this));
  }
  Port* rest() const { return mPorts[1]; }
};

class Silent : public Counter {
 public:
  using Counter::Counter;

 protected:
  void announce() override {}
};

// Gives no state.
class Mute : public Counter {
 public:
  using Counter::Counter;
  Node* getState() override { return nullptr; }
};

// Its internal port stays enabled.
class Restless : public Counter {
 public:
  Restless(const char* name, const Compound* holder) : Counter(name, holder) {
    addPort(new Port("tick", this));
    mPorts[1]->setInternal();
  }

 protected:
  void announce() override {
    step()->setSynced(false);
    while (sync(2, mPorts[1], int(true), step(), int(true)) != nullptr) ++mCount;
  }
};

class Throwing : public Counter {
 public:
  using Counter::Counter;
  void execute(Port*) override { throw std::runtime_error("no more"); }
};

// One of three ports leads to a state of its own, and from each of these `step` to the state 4.
// There it does something else every other time.
class Wavering : public Counter {
 public:
  Wavering(const char* name, const Compound* holder) : Counter(name, holder) {
    for (const char* way : {"one", "two", "three"}) addPort(new Port(way, this));
  }
  void execute(Port* port) override {
    if (port != step()) {
      mCount = port == mPorts[1] ? 1 : port == mPorts[2] ? 2 : 3;
    } else if (mCount < 4) {
      mCount = 4;
    } else if (mCount == 4) {
      mCount = mWavers ? 6 : 5;
      mWavers = !mWavers;
    }
    announce();
  }

 protected:
  void announce() override {
    for (Port* port : mPorts) port->setSynced(false);
    sync(4, step(), int(mCount != 0), mPorts[1], int(mCount == 0), mPorts[2], int(mCount == 0),
         mPorts[3], int(mCount == 0));
  }

 private:
  bool mWavers = false;  // in no text
};

// Its port is under a constraint that it has made.
class Timed : public Counter {
 public:
  using Counter::Counter;
  static Clock* last;  // of the atom that was initialised first

 protected:
  void makeTimes(LogicalClock& clock) override {
    auto* own = new Clock("own", clock);
    mClocks.add(own);
    Vesk::Time low(0);
    Vesk::Time high(Vesk::Time::MAX);
    if (is("interval-order")) low = Vesk::Time(5), high = Vesk::Time(4);
    if (is("interval-negative")) low = Vesk::Time(-5), high = Vesk::Time(-4);
    if (is("interval-horizon")) low = Vesk::Time(3000000000LL);
    if (last == nullptr) last = own;
    const Clock* used = is("foreign-clock") ? last : own;
    const bool isFirst = is("urgent-first") && std::strcmp(name(), "A") == 0;
    if (is("urgent-first")) low = Vesk::Time(isFirst ? 2000 : 5000);
    mTimes = new Constraint(used, low, high, isFirst ? EAGER : LAZY);
    mConstraints.add(mTimes);
  }
  void announce() override {
    step()->setSynced(false);
    rt_sync(1, step(), int(true), mTimes);
  }

 private:
  Constraint* mTimes = nullptr;
};

Clock* Timed::last = nullptr;

// Fires whatever its ports say.
class Careless : public Rendezvous {
 public:
  using Rendezvous::guard;
  using Rendezvous::Rendezvous;
  bool guard() override { return true; }
};

// ---- The systems -----------------------------------------------------------------------------

Counter* makeFirst(const Compound* holder) {
  if (is("forgotten-assignment") || is("broken-promise")) return new Forgetful("A", holder);
  if (is("other-ports")) return new Fickle("A", holder);
  if (is("texts-run-together")) return new Bare("A", holder);
  if (is("careless-guard")) return new Halting("A", holder);
  if (is("never-enabled")) return new Shy("A", holder);
  if (is("never-announces") || is("one-state")) return new Silent("A", holder);
  if (is("no-text")) return new Mute("A", holder);
  if (is("internal-for-ever")) return new Restless("A", holder);
  if (is("exception")) return new Throwing("A", holder);
  if (is("late-broken-promise")) return new Wavering("A", holder);
  const bool isTimed =
      std::strncmp(mistake, "interval", 8) == 0 || is("foreign-clock") || is("urgent-first");
  if (isTimed) return new Timed("A", holder);
  return new Counter("A", holder);
}

Counter* makeSecond(const Compound* holder) {
  if (is("texts-run-together")) return new Bare("B", holder);
  if (is("foreign-clock") || is("urgent-first")) return new Timed("B", holder);
  return new Counter(is("same-names") ? "A" : "B", holder);
}

void addPriority(Compound* system, Connector* low, Connector* high, int lastPort) {
  system->priorities().add(new Priority(system, Interaction::Create(low, 2, 0, lastPort),
                                        Interaction::Create(high, 2, 0, 1), Vesk::Time(0)));
}

void addConnectors(Compound* system, Counter* a, Counter* b) {
  if (is("urgent-first")) {
    system->connectors().add(new Connector("ka", system, false, 1, a->step()));
    system->connectors().add(new Connector("kb", system, false, 1, b->step()));
    return;
  }
  const bool isSub = is("unused-subconnector") || is("priority-of-a-subconnector");
  auto* k = is("careless-guard") ? new Careless("k", system, a->step(), b->step())
                                 : new Rendezvous("k", system, a->step(), b->step(), isSub);
  system->connectors().add(k);
  if (is("exports-alone") || isSub) k->exportPort();
  if (is("same-connector-names")) {
    system->connectors().add(new Rendezvous("k", system, a->step(), b->step()));
  }
  if (is("twice-in-a-step") || is("priority-index") || is("mutual-priority")) {
    auto* other = new Rendezvous("m", system, a->step(), b->step());
    system->connectors().add(other);
    if (is("priority-index")) addPriority(system, k, other, 2);
    if (is("mutual-priority")) {
      addPriority(system, k, other, 1);
      addPriority(system, other, k, 1);
    }
  }
  if (is("never-enabled")) {
    system->connectors().add(new Connector("rest", system, false, 1, a->ports()[1]));
  }
  if (is("late-broken-promise")) {
    for (int i = 1; i <= 3; ++i) {
      Port* way = a->ports()[i];
      system->connectors().add(new Connector(way->name(), system, false, 1, way));
    }
  }
  if (is("priority-of-a-subconnector")) {
    auto* above = new Connector("above", system, false, 1, k->xPort());
    auto* alone = new Rendezvous("alone", system, a->step(), b->step());
    system->connectors().add(above);
    system->connectors().add(alone);
    addPriority(system, k, alone, 1);
  }
}

void declareAll(Compound* system, Vesk::Locality locality) {
  for (Component* part : system->components()) static_cast<Atom*>(part)->declare(locality);
  for (Connector* connector : system->connectors()) connector->declare(locality);
}

}  // namespace

Compound* Compound::Create(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (argv[i][0] != '-') {
      mistake = argv[i];
      break;
    }
  }
  if (is("no-system")) return nullptr;
  Timed::last = nullptr;
  auto* system = new Compound("s", nullptr);
  Counter* a = makeFirst(system);
  Counter* b = makeSecond(system);
  system->components().add(a);
  if (is("atom-not-added")) {
    forgotten.emplace_back(b);
  } else {
    system->components().add(b);
  }
  if (is("same-port-names") || is("unused-port")) {
    b->addPort(new Port(is("unused-port") ? "spare" : "step", b));
    if (is("same-port-names")) b->ports()[1]->setInternal();
  }
  addConnectors(system, a, b);
  if (is("broken-promise") || is("late-broken-promise") || is("kept-promise") || is("one-state")) {
    declareAll(system, Vesk::Locality::REPEATABLE);
  }
  if (is("local-promise")) declareAll(system, Vesk::Locality::LOCAL);
  return system;
}
