// A sender with two receivers. It sends once in every cycle, and whoever listens at that time
// receives. The engine cuts the time of sending into the parts in which nobody, one of them, or
// both listen.
#include "../../support/operands.hpp"
#include "vesk.hpp"

// Sends between 10 and 30 milliseconds after the start of a cycle, and must send at 30.
class Sender : public Atom {
 public:
  Sender(const char* name, const Compound* holder, int period)
      : Atom(name, holder), mPeriod(period) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
    addPort(new Port("send", this));
    addPort(new Port("cycle", this));
  }

  Port* send() { return mPorts[0]; }
  Port* cycle() { return mPorts[1]; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) makeClock(*clock);
    Atom::initialize(clock);
  }
  void initialize() override { enter(READY); }

  void execute(Port* port) override {
    if (port == cycle() && mCycle != nullptr) mCycle->reset();
    enter(port == cycle() ? READY : SENT);
  }

  Node* getState() override {
    const char text[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    enter(State(static_cast<Leaf*>(state)->getAleaf()->getVal()[0]));
  }

 private:
  enum State : char { READY = 'r', SENT = 's' };

  void makeClock(const LogicalClock& clock) {
    mCycle = new Clock("cycle", clock);
    mClocks.add(mCycle);
    const Vesk::Time latest = Vesk::Time::milliseconds(30);
    mMaySend = new Constraint(mCycle, Vesk::Time::milliseconds(10), latest - Vesk::Time(1), LAZY);
    *mMaySend |= Constraint(mCycle, latest, latest, EAGER);
    mConstraints.add(mMaySend);
    mNextCycle = new Constraint(mCycle, Vesk::Time::milliseconds(mPeriod), Vesk::Time::MAX, EAGER);
    mConstraints.add(mNextCycle);
  }

  void enter(State state) {
    mState = state;
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    rt_sync({{send(), mState == READY, mMaySend}, {cycle(), mState == SENT, mNextCycle}});
  }

  const int mPeriod;  // of a cycle, in milliseconds
  State mState = READY;
  Clock* mCycle = nullptr;
  Constraint* mMaySend = nullptr;
  Constraint* mNextCycle = nullptr;
};

// Listens during a part of every cycle, given in milliseconds, until it has received.
class Receiver : public Atom {
 public:
  Receiver(const char* name, const Compound* holder, int from, int to)
      : Atom(name, holder), mFrom(from), mTo(to) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
    addPort(new Port("receive", this));
    addPort(new Port("cycle", this));
  }

  Port* receive() { return mPorts[0]; }
  Port* cycle() { return mPorts[1]; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) {
      mCycle = new Clock("cycle", clock);
      mClocks.add(mCycle);
      mListening = new Constraint(mCycle, Vesk::Time::milliseconds(mFrom),
                                  Vesk::Time::milliseconds(mTo), LAZY);
      mConstraints.add(mListening);
    }
    Atom::initialize(clock);
  }
  void initialize() override { enter(LISTENING); }

  void execute(Port* port) override {
    if (port == cycle() && mCycle != nullptr) mCycle->reset();
    enter(port == cycle() ? LISTENING : DONE);
  }

  Node* getState() override {
    const char text[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    enter(State(static_cast<Leaf*>(state)->getAleaf()->getVal()[0]));
  }

 private:
  enum State : char { LISTENING = 'l', DONE = 'd' };

  void enter(State state) {
    mState = state;
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    rt_sync({{receive(), mState == LISTENING, mListening}, {cycle(), true, nullptr}});
  }

  const int mFrom, mTo;
  State mState = LISTENING;
  Clock* mCycle = nullptr;
  Constraint* mListening = nullptr;
};

// The sender triggers; the others take part when they listen.
class Send : public Connector {
 public:
  Send(const char* name, const Compound* holder, Port* sender, Port* near, Port* far)
      : Connector(name, holder, false, {sender, near, far}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  using Connector::complete;
  bool complete() override { return mPorts[0]->complete(); }
};

// All start the next cycle together.
class Cycle : public Connector {
 public:
  Cycle(const char* name, const Compound* holder, Port* sender, Port* near, Port* far)
      : Connector(name, holder, false, {sender, near, far}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Net : public Compound {
 public:
  Net(const char* name, int period) : Compound(name, nullptr) {
    Sender* sender = new Sender("sender", this, period);
    Receiver* near = new Receiver("near", this, 15, 25);
    Receiver* far = new Receiver("far", this, 20, 30);
    mComponents.add(sender);
    mComponents.add(near);
    mComponents.add(far);
    mConnectors.add(new Send("send", this, sender->send(), near->receive(), far->receive()));
    mConnectors.add(new Cycle("cycle", this, sender->cycle(), near->cycle(), far->cycle()));
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("timed-broadcast", argc, argv);
  const int period = operands.number("length of a cycle in milliseconds", 40, 30, 1000);
  operands.finish();
  return new Net("net", period);
}
