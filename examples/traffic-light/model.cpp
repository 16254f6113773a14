// A traffic light for cars, and a button by which pedestrians ask for a red phase. The light leaves
// red as soon as it may, yellow within a second, and green only when somebody wants it to.
#include "../../support/operands.hpp"
#include "vesk.hpp"

constexpr int SECOND = 1000;  // in milliseconds

class Light : public Atom {
 public:
  Light(const char* name, const Compound* holder, int green) : Atom(name, holder), mGreen(green) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
    addPort(new Port("green", this));
    addPort(new Port("yellow", this));
    addPort(new Port("red", this));
    addPort(new Port("request", this));
  }

  Port* green() { return mPorts[0]; }
  Port* yellow() { return mPorts[1]; }
  Port* red() { return mPorts[2]; }
  Port* request() { return mPorts[3]; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) makeClock(*clock);
    Atom::initialize(clock);
  }
  void initialize() override { enter(RED); }

  void execute(Port* port) override {
    if (port == green()) enter(GREEN);
    if (port == yellow()) enter(YELLOW);
    if (port == red()) enter(RED);
    if (port == request()) {
      mRequested = true;
      announce();
    }
  }

  Node* getState() override {
    const char text[] = {mState, mRequested ? '!' : '.', ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    const char* text = static_cast<Leaf*>(state)->getAleaf()->getVal();
    mState = State(text[0]);
    mRequested = text[1] == '!';
    announce();
  }

 private:
  enum State : char { RED = 'r', GREEN = 'g', YELLOW = 'y' };

  void makeClock(const LogicalClock& clock) {
    mPhase = new Clock("phase", clock);
    mClocks.add(mPhase);
    mLeaveRed = within(8, EAGER);
    mLeaveGreen = within(mGreen, LAZY);
    mLeaveGreenOnRequest = within(4, EAGER);
    mLeaveYellow = new Constraint(mPhase, Vesk::Time::milliseconds(2 * SECOND),
                                  Vesk::Time::milliseconds(3 * SECOND), DELAYABLE);
    mConstraints.add(mLeaveYellow);
  }
  // From so many seconds of the phase on.
  Constraint* within(int seconds, Urgency urgency) {
    Constraint* constraint = new Constraint(mPhase, Vesk::Time::milliseconds(seconds * SECOND),
                                            Vesk::Time::MAX, urgency);
    mConstraints.add(constraint);
    return constraint;
  }

  void enter(State state) {
    mState = state;
    if (state == RED) mRequested = false;
    if (mPhase != nullptr) mPhase->reset();
    announce();
  }

  void announce() {
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    rt_sync({{green(), mState == RED, mLeaveRed},
             {yellow(), mState == GREEN, mRequested ? mLeaveGreenOnRequest : mLeaveGreen},
             {red(), mState == YELLOW, mLeaveYellow},
             {request(), !mRequested, nullptr}});
  }

  const int mGreen;  // shortest green phase without a request, in seconds
  State mState = RED;
  bool mRequested = false;
  Clock* mPhase = nullptr;  // since the last change; null in a run without time
  Constraint* mLeaveRed = nullptr;
  Constraint* mLeaveGreen = nullptr;
  Constraint* mLeaveGreenOnRequest = nullptr;
  Constraint* mLeaveYellow = nullptr;
};

// Pressed at most every five seconds.
class Button : public Atom {
 public:
  Button(const char* name, const Compound* holder) : Atom(name, holder) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
    addPort(new Port("press", this));
  }

  Port* press() { return mPorts[0]; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) {
      mIdle = new Clock("idle", clock);
      mClocks.add(mIdle);
      mPause = new Constraint(mIdle, Vesk::Time::milliseconds(5 * SECOND), Vesk::Time::MAX, LAZY);
      mConstraints.add(mPause);
    }
    Atom::initialize(clock);
  }
  void initialize() override { announce(); }

  void execute(Port*) override {
    if (mIdle != nullptr) mIdle->reset();
    announce();
  }

  Node* getState() override { return new Leaf(new Atomleaf(",")); }
  void setState(Node*) override { announce(); }

 private:
  void announce() {
    press()->setSynced(false);
    rt_sync({{press(), true, mPause}});
  }

  Clock* mIdle = nullptr;  // since the last press
  Constraint* mPause = nullptr;
};

class Rendezvous : public Connector {
 public:
  Rendezvous(const char* name, const Compound* holder, Port* port)
      : Connector(name, holder, false, {port}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  Rendezvous(const char* name, const Compound* holder, Port* first, Port* second)
      : Connector(name, holder, false, {first, second}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Crossing : public Compound {
 public:
  Crossing(const char* name, int green) : Compound(name, nullptr) {
    Light* light = new Light("light", this, green);
    Button* button = new Button("button", this);
    mComponents.add(light);
    mComponents.add(button);
    mConnectors.add(new Rendezvous("green", this, light->green()));
    mConnectors.add(new Rendezvous("yellow", this, light->yellow()));
    mConnectors.add(new Rendezvous("red", this, light->red()));
    mConnectors.add(new Rendezvous("press", this, button->press(), light->request()));
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("traffic-light", argc, argv);
  const int green = operands.number("shortest green phase in seconds", 10, 5, 600);
  operands.finish();
  return new Crossing("crossing", green);
}
