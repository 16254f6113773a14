// A coffee machine and its guests.
#include "vesk.hpp"

// Brews one cup after the other until the beans are used up.
class Machine : public Atom {
 public:
  Machine(const char* name, const Compound* holder, int cups) : Atom(name, holder), mCups(cups) {
    addPort(new Port("start", this));
    addPort(new Port("serve", this));
  }

  Port* start() { return mPorts[0]; }
  Port* serve() { return mPorts[1]; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) {
      mSinceStart = new Clock("since start", clock);
      mClocks.add(mSinceStart);
      mReady = new Constraint(mSinceStart, Vesk::Time::milliseconds(25),
                              Vesk::Time::milliseconds(30), DELAYABLE);
      mConstraints.add(mReady);
    }
    Atom::initialize(clock);
  }
  void initialize() override { announce(); }

  void execute(Port* port) override {
    if (port == start()) {
      --mCups;
      mBrewing = true;
      if (mSinceStart != nullptr) mSinceStart->reset();
    } else {
      mBrewing = false;
    }
    announce();
  }

  Node* getState() override {
    char text[32] = "";
    setVariableState(text, "cups", mCups);
    setVariableState(text, "brewing", mBrewing);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;
    mCups = getIntVariableState(cursor);
    mBrewing = getBoolVariableState(cursor);
    announce();
  }

 private:
  void announce() {
    start()->setSynced(false);
    serve()->setSynced(false);
    rt_sync({{start(), !mBrewing && mCups > 0, nullptr}, {serve(), mBrewing, mReady}});
  }

  int mCups;  // for which there are beans
  bool mBrewing = false;
  Clock* mSinceStart = nullptr;
  Constraint* mReady = nullptr;
};

// Orders a cup, waits for it, takes it, and orders another one.
class Guest : public Atom {
 public:
  Guest(const char* name, const Compound* holder) : Atom(name, holder) {
    addPort(new Port("order", this));
    addPort(new Port("take", this));
  }

  Port* order() { return mPorts[0]; }
  Port* take() { return mPorts[1]; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) {
      mSinceCup = new Clock("since cup", clock);
      mClocks.add(mSinceCup);
      mThirsty = new Constraint(mSinceCup, Vesk::Time::milliseconds(40), Vesk::Time::MAX, LAZY);
      mConstraints.add(mThirsty);
    }
    Atom::initialize(clock);
  }
  void initialize() override { announce(); }

  void execute(Port* port) override {
    mWaiting = port == order();
    if (port == take() && mSinceCup != nullptr) mSinceCup->reset();
    announce();
  }

  Node* getState() override {
    char text[16] = "";
    setVariableState(text, "waiting", mWaiting);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;
    mWaiting = getBoolVariableState(cursor);
    announce();
  }

 private:
  void announce() {
    order()->setSynced(false);
    take()->setSynced(false);
    rt_sync({{order(), !mWaiting, mThirsty}, {take(), mWaiting, nullptr}});
  }

  bool mWaiting = false;
  Clock* mSinceCup = nullptr;
  Constraint* mThirsty = nullptr;
};

// Two ports that fire together.
class Rendezvous : public Connector {
 public:
  Rendezvous(const char* name, const Compound* holder, Port* one, Port* other)
      : Connector(name, holder, false, {one, other}) {}
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Bar : public Compound {
 public:
  Bar(const char* name, int cups) : Compound(name, nullptr) {
    Machine* machine = new Machine("machine", this, cups);
    mComponents.add(machine);
    for (const char* guestName : {"anna", "ben"}) {
      Guest* guest = new Guest(guestName, this);
      mComponents.add(guest);
      mConnectors.add(new Rendezvous("order", this, guest->order(), machine->start()));
      mConnectors.add(new Rendezvous("take", this, guest->take(), machine->serve()));
    }
  }
};

Compound* Compound::Create(int, char**) {
  return new Bar("bar", 3);
}
