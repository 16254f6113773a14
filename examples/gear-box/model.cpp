// A gear box: to follow the driver, the controller takes the torque off the motor and opens the
// clutch, selects the gear, and closes the clutch again, each step in its time. Clutch and gears
// are a compound of their own, reached through exported ports. Every two seconds the motor checks
// itself, and no shift starts within 300 milliseconds before that.
#include "../../support/operands.hpp"
#include "vesk.hpp"

constexpr int MILLISECOND = 1000;  // in microseconds

// An atom with one clock, from whose last restart all of its constraints count.
class TimedAtom : public Atom {
 public:
  TimedAtom(const char* name, const Compound* holder) : Atom(name, holder) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
  }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) {
      mSince = new Clock("since", clock);
      mClocks.add(mSince);
      makeConstraints();
    }
    Atom::initialize(clock);
  }
  using Atom::initialize;

 protected:
  virtual void makeConstraints() = 0;

  Constraint* between(int from, int to, Urgency urgency) {
    return add(new Constraint(mSince, ms(from), ms(to), urgency));
  }
  Constraint* from(int low) { return add(new Constraint(mSince, ms(low), Vesk::Time::MAX, LAZY)); }
  void restartClock() {
    if (mSince != nullptr) mSince->reset();
  }
  void clearPorts() {
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
  }
  static Vesk::Time ms(int milliseconds) { return Vesk::Time(milliseconds * MILLISECOND); }

 private:
  Constraint* add(Constraint* constraint) {
    mConstraints.add(constraint);
    return constraint;
  }

  Clock* mSince = nullptr;  // null in a run without time
};

// A port that carries the number of a gear, a variable of its atom or connector.
class GearPort : public Port {
 public:
  template <class Holder>
  GearPort(const char* name, const Holder* holder, int& gear) : Port(name, holder), mGear(gear) {}
  int gear() const { return mGear; }
  void setGear(int gear) { mGear = gear; }

 private:
  int& mGear;
};

// Goes up through all gears and down again, with a shift every half to two seconds.
class Driver : public TimedAtom {
 public:
  Driver(const char* name, const Compound* holder, int gears)
      : TimedAtom(name, holder), mGears(gears) {
    addPort(new GearPort("shift", this, mWanted));
  }

  GearPort* shift() { return static_cast<GearPort*>(mPorts[0]); }

  using TimedAtom::initialize;
  void initialize() override { announce(); }

  void execute(Port*) override {
    if (mWanted == mGears) mStep = -1;
    if (mWanted == 1) mStep = 1;
    mWanted += mStep;
    restartClock();
    announce();
  }

  Node* getState() override {
    char text[32] = "";
    setVariableState(text, "wanted", mWanted);
    setVariableState(text, "step", mStep);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;  // behind the separator
    mWanted = getIntVariableState(cursor);
    mStep = getIntVariableState(cursor);
    announce();
  }

 protected:
  void makeConstraints() override { mPause = between(500, 2000, DELAYABLE); }

 private:
  void announce() {
    clearPorts();
    rt_sync(1, static_cast<Port*>(shift()), 1, mPause);
  }

  const int mGears;
  int mWanted = 2;
  int mStep = 1;
  Constraint* mPause = nullptr;
};

// Takes one shift after the other through its steps.
class Controller : public TimedAtom {
 public:
  Controller(const char* name, const Compound* holder) : TimedAtom(name, holder) {
    addPort(new GearPort("shift", this, mTarget));
    addPort(new Port("open", this));
    addPort(new GearPort("select", this, mTarget));
    addPort(new Port("close", this));
  }

  GearPort* shift() { return static_cast<GearPort*>(mPorts[0]); }
  Port* open() { return mPorts[1]; }
  GearPort* select() { return static_cast<GearPort*>(mPorts[2]); }
  Port* close() { return mPorts[3]; }

  using TimedAtom::initialize;
  void initialize() override { enter(DRIVING); }

  void execute(Port* port) override {
    restartClock();
    if (port == shift()) enter(OPENING);
    if (port == open()) enter(SELECTING);
    if (port == select()) enter(CLOSING);
    if (port == close()) enter(DRIVING);
  }

  Node* getState() override {
    char text[32] = {',', mState, '\0'};
    setVariableState(text, "target", mTarget);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* text = static_cast<Leaf*>(state)->getAleaf()->getVal();
    char* cursor = text + 3;  // behind ",s,"
    mTarget = getIntVariableState(cursor);
    enter(State(text[1]));
  }

 protected:
  void makeConstraints() override {
    mOpening = between(0, 150, DELAYABLE);
    mSelecting = between(50, 250, DELAYABLE);
    mClosing = between(20, 200, DELAYABLE);
  }

 private:
  enum State : char { DRIVING = 'd', OPENING = 'o', SELECTING = 's', CLOSING = 'c' };

  void enter(State state) {
    Constraint* const always = nullptr;
    mState = state;
    clearPorts();
    rt_sync(4,                                                                   //
            static_cast<Port*>(shift()), int(mState == DRIVING), always,         //
            open(), int(mState == OPENING), mOpening,                            //
            static_cast<Port*>(select()), int(mState == SELECTING), mSelecting,  //
            close(), int(mState == CLOSING), mClosing);
  }

  State mState = DRIVING;
  int mTarget = 1;
  Constraint* mOpening = nullptr;
  Constraint* mSelecting = nullptr;
  Constraint* mClosing = nullptr;
};

// Gives and takes torque, and checks itself every two seconds.
class Motor : public TimedAtom {
 public:
  Motor(const char* name, const Compound* holder) : TimedAtom(name, holder) {
    addPort(new Port("release", this));
    addPort(new Port("grip", this));
    addPort(new Port("check", this));
  }

  Port* release() { return mPorts[0]; }
  Port* grip() { return mPorts[1]; }
  Port* check() { return mPorts[2]; }

  using TimedAtom::initialize;
  void initialize() override { enter(PULLING); }

  void execute(Port* port) override {
    if (port == check()) restartClock();
    enter(port == release() ? IDLING : port == grip() ? PULLING : mState);
  }

  Node* getState() override {
    const char text[] = {',', mState, '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    enter(State(static_cast<Leaf*>(state)->getAleaf()->getVal()[1]));
  }

 protected:
  void makeConstraints() override { mCheck = between(2000, 2200, DELAYABLE); }

 private:
  enum State : char { PULLING = 'p', IDLING = 'i' };

  void enter(State state) {
    Constraint* const always = nullptr;
    mState = state;
    clearPorts();
    rt_sync(3,                                          //
            release(), int(mState == PULLING), always,  //
            grip(), int(mState == IDLING), always,      //
            check(), 1, mCheck);
  }

  State mState = PULLING;
  Constraint* mCheck = nullptr;
};

class Clutch : public TimedAtom {
 public:
  Clutch(const char* name, const Compound* holder) : TimedAtom(name, holder) {
    addPort(new Port("open", this));
    addPort(new Port("close", this));
  }

  Port* open() { return mPorts[0]; }
  Port* close() { return mPorts[1]; }

  using TimedAtom::initialize;
  void initialize() override { enter(CLOSED); }

  void execute(Port* port) override {
    restartClock();
    enter(port == open() ? OPEN : CLOSED);
  }

  Node* getState() override {
    const char text[] = {',', mState, '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    enter(State(static_cast<Leaf*>(state)->getAleaf()->getVal()[1]));
  }

 protected:
  void makeConstraints() override {
    mCooled = from(100);
    mSettled = from(30);
  }

 private:
  enum State : char { CLOSED = 'c', OPEN = 'o' };

  void enter(State state) {
    mState = state;
    clearPorts();
    rt_sync(2, open(), int(mState == CLOSED), mCooled, close(), int(mState == OPEN), mSettled);
  }

  State mState = CLOSED;
  Constraint* mCooled = nullptr;
  Constraint* mSettled = nullptr;
};

// A selected gear needs 20 milliseconds times its number until it is engaged.
class Gears : public TimedAtom {
 public:
  Gears(const char* name, const Compound* holder) : TimedAtom(name, holder) {
    addPort(new GearPort("select", this, mGear));
    addPort(new Port("engaged", this));
  }

  GearPort* select() { return static_cast<GearPort*>(mPorts[0]); }
  Port* engaged() { return mPorts[1]; }

  using TimedAtom::initialize;
  void initialize() override { enter(ENGAGED); }

  void execute(Port* port) override {
    if (port == select()) {
      restartClock();
      if (mEngaging != nullptr) (*mEngaging)[0].setLow(ms(20 * mGear));
    }
    enter(port == select() ? SELECTED : ENGAGED);
  }

  Node* getState() override {
    char text[32] = {',', mState, '\0'};
    setVariableState(text, "gear", mGear);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* text = static_cast<Leaf*>(state)->getAleaf()->getVal();
    char* cursor = text + 3;  // behind ",s,"
    mGear = getIntVariableState(cursor);
    enter(State(text[1]));
  }

 protected:
  void makeConstraints() override { mEngaging = from(0); }

 private:
  enum State : char { ENGAGED = 'e', SELECTED = 's' };

  void enter(State state) {
    Constraint* const always = nullptr;
    mState = state;
    clearPorts();
    rt_sync(2, static_cast<Port*>(select()), int(mState == ENGAGED), always,  //
            engaged(), int(mState == SELECTED), mEngaging);
  }

  State mState = ENGAGED;
  int mGear = 1;
  Constraint* mEngaging = nullptr;
};

class Rendezvous : public Connector {
 public:
  Rendezvous(const char* name, const Compound* holder, Port* port)
      : Connector(name, holder, false, 1, port) {
    declare(Vesk::Locality::REPEATABLE);
  }
  Rendezvous(const char* name, const Compound* holder, Port* first, Port* second, Port* third)
      : Connector(name, holder, false, 3, first, second, third) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

// Ports of the drive that take part, as one port, in a connector of the car.
class Exporting : public Connector {
 public:
  Exporting(const char* name, const Compound* holder, Port* port)
      : Connector(name, holder, true, 1, port) {
    declare(Vesk::Locality::REPEATABLE);
    mxPort = new Port(name, this);
  }
  Exporting(const char* name, const Compound* holder, Port* first, Port* second)
      : Connector(name, holder, true, 2, first, second) {
    declare(Vesk::Locality::REPEATABLE);
    mxPort = new Port(name, this);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

// Its exported port shows the selected gear, and takes the one to select.
class ExportingSelect : public Connector {
 public:
  ExportingSelect(const char* name, const Compound* holder, GearPort* gears)
      : Connector(name, holder, true, 1, static_cast<Port*>(gears)),
        mGears(gears),
        mExported(new GearPort(name, this, mGear)) {
    declare(Vesk::Locality::REPEATABLE);
    mxPort = mExported;
  }

  GearPort* exported() { return mExported; }

  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
  using Connector::up;
  void up() override { mExported->setGear(mGears->gear()); }
  using Connector::dn;
  void dn() override { mGears->setGear(mExported->gear()); }

 private:
  GearPort* mGears;
  GearPort* mExported;
  int mGear = 0;
};

// Hands a gear from one port to the other, unless the other has it already.
class HandGear : public Connector {
 public:
  HandGear(const char* name, const Compound* holder, GearPort* from, GearPort* to)
      : Connector(name, holder, false, 2, static_cast<Port*>(from), static_cast<Port*>(to)),
        mFrom(from),
        mTo(to) {
    declare(Vesk::Locality::REPEATABLE);  // dn() is for timed runs
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal() && mFrom->gear() != mTo->gear(); }
  using Connector::dn;
  void dn() override { mTo->setGear(mFrom->gear()); }

 private:
  GearPort* mFrom;
  GearPort* mTo;
};

class Drive : public Compound {
 public:
  Drive(const char* name, const Compound* holder) : Compound(name, holder) {
    Clutch* clutch = new Clutch("clutch", this);
    Gears* gears = new Gears("gears", this);
    mComponents.add(clutch);
    mComponents.add(gears);
    mSelect = new ExportingSelect("select", this, gears->select());
    mConnectors.add(new Exporting("open", this, clutch->open()));
    mConnectors.add(mSelect);
    mConnectors.add(new Exporting("close", this, clutch->close(), gears->engaged()));
  }

  Port* open() { return mConnectors[0]->xPort(); }
  GearPort* select() { return mSelect->exported(); }
  Port* close() { return mConnectors[2]->xPort(); }

 private:
  ExportingSelect* mSelect;
};

class Car : public Compound {
 public:
  Car(const char* name, int gears) : Compound(name, nullptr) {
    Driver* driver = new Driver("driver", this, gears);
    Controller* controller = new Controller("controller", this);
    Motor* motor = new Motor("motor", this);
    Drive* drive = new Drive("drive", this);
    mComponents.add(driver);
    mComponents.add(controller);
    mComponents.add(motor);
    mComponents.add(drive);
    HandGear* shift = new HandGear("shift", this, driver->shift(), controller->shift());
    Rendezvous* check = new Rendezvous("check", this, motor->check());
    mConnectors.add(shift);
    mConnectors.add(
        new Rendezvous("open", this, controller->open(), motor->release(), drive->open()));
    mConnectors.add(new HandGear("select", this, controller->select(), drive->select()));
    mConnectors.add(
        new Rendezvous("close", this, controller->close(), motor->grip(), drive->close()));
    mConnectors.add(check);
    mPriorities.add(new Priority(this, Interaction::Create(shift, 2, 0, 1),
                                 Interaction::Create(check, 1, 0), Vesk::Time(300 * MILLISECOND)));
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("gear-box", argc, argv);
  const int gears = operands.number("number of gears", 5, 2, 9);
  operands.finish();
  return new Car("car", gears);
}
