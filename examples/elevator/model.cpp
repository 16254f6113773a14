// An elevator between two floors, and the guests of the house, who want to go up. Cabin and door
// are one compound, the button downstairs and its lamp another one; both are reached through
// exported ports. The door waits for everybody who wants to pass, because it gives way to them.
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

// Every atom here has one letter of state, and its clocks start with it.
class Part : public Atom {
 public:
  Part(const std::string& name, const Compound* holder, char first)
      : Atom(name.c_str(), holder), mState(first) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
  }
  bool is(char state) const { return mState == state; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) makeConstraints(*clock);
    Atom::initialize(clock);
  }
  void initialize() override { enter(mState); }

  Node* getState() override {
    const char text[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override { enter(static_cast<Leaf*>(state)->getAleaf()->getVal()[0]); }

 protected:
  virtual void makeConstraints(const LogicalClock&) {}
  virtual void announce() = 0;

  void enter(char state) {
    mState = state;
    for (Port* port : mPorts) port->setSynced(false);
    announce();
  }
  Clock* newClock(const char* name, const LogicalClock& logical) {
    Clock* clock = new Clock(name, logical);
    mClocks.add(clock);
    return clock;
  }
  // From a number of milliseconds of a clock to another one.
  Constraint* within(Clock* clock, int low, int high, Urgency urgency) {
    return add(new Constraint(clock, Vesk::Time::milliseconds(low), Vesk::Time::milliseconds(high),
                              urgency));
  }
  // From a number of milliseconds of a clock on.
  Constraint* from(Clock* clock, int low, Urgency urgency) {
    return add(new Constraint(clock, Vesk::Time::milliseconds(low), Vesk::Time::MAX, urgency));
  }
  static void restart(Clock* clock) {
    if (clock != nullptr) clock->reset();
  }

 private:
  Constraint* add(Constraint* constraint) {
    mConstraints.add(constraint);
    return constraint;
  }

  char mState;
};

// A way takes 80 to 100 milliseconds.
class Cabin : public Part {
 public:
  Cabin(const char* name, const Compound* holder) : Part(name, holder, TOP) {
    for (const char* port : {"up", "down", "reachGround", "reachTop", "atGround", "atTop"}) {
      addPort(new Port(port, this));
    }
  }
  Port* up() { return mPorts[0]; }
  Port* down() { return mPorts[1]; }
  Port* reachGround() { return mPorts[2]; }
  Port* reachTop() { return mPorts[3]; }
  Port* atGround() { return mPorts[4]; }  // somebody passes; the cabin stays where it is
  Port* atTop() { return mPorts[5]; }

  void execute(Port* port) override {
    if (port == atGround() || port == atTop()) return enter(is(GROUND) ? GROUND : TOP);
    restart(mUnderway);
    if (port == up()) return enter(RISING);
    if (port == down()) return enter(SINKING);
    enter(port == reachGround() ? GROUND : TOP);
  }

 protected:
  void makeConstraints(const LogicalClock& logical) override {
    mUnderway = newClock("underway", logical);
    mArriving = within(mUnderway, 80, 100, DELAYABLE);
  }
  void announce() override {
    rt_sync({{up(), is(GROUND)},
             {down(), is(TOP)},
             {reachGround(), is(SINKING), mArriving},
             {reachTop(), is(RISING), mArriving},
             {atGround(), is(GROUND)},
             {atTop(), is(TOP)}});
  }

 private:
  enum : char { GROUND = 'g', RISING = 'r', TOP = 't', SINKING = 's' };

  Clock* mUnderway = nullptr;
  Constraint* mArriving = nullptr;
};

// Stays open for 30 milliseconds at least, and closes 10 to 60 milliseconds after somebody has
// passed, or after it has opened.
class Door : public Part {
 public:
  Door(const char* name, const Compound* holder) : Part(name, holder, CLOSED) {
    for (const char* port : {"lock", "open", "pass", "close"}) addPort(new Port(port, this));
  }
  Port* lock() { return mPorts[0]; }  // it is closed, and stays so
  Port* open() { return mPorts[1]; }
  Port* pass() { return mPorts[2]; }
  Port* close() { return mPorts[3]; }

  void execute(Port* port) override {
    if (port == open()) restart(mSinceOpen);
    if (port == open() || port == pass()) restart(mSincePass);
    enter(port == open() || port == pass() ? OPEN : CLOSED);
  }

 protected:
  void makeConstraints(const LogicalClock& logical) override {
    mSinceOpen = newClock("since open", logical);
    mSincePass = newClock("since pass", logical);
    mOpenLongEnough = from(mSinceOpen, 30, LAZY);
    mNobodyPasses = within(mSincePass, 10, 60, DELAYABLE);
    mClosing = from(mSinceOpen, 0, LAZY);
  }
  // The result is a constraint of its own, because the others are needed again.
  void announce() override {
    computePortConstraint({mClosing, mOpenLongEnough, mNobodyPasses});
    rt_sync({{lock(), is(CLOSED)},
             {open(), is(CLOSED)},
             {pass(), is(OPEN)},
             {close(), is(OPEN), mClosing}});
  }

 private:
  enum : char { CLOSED = 'c', OPEN = 'o' };

  Clock* mSinceOpen = nullptr;
  Clock* mSincePass = nullptr;
  Constraint* mOpenLongEnough = nullptr;
  Constraint* mNobodyPasses = nullptr;
  Constraint* mClosing = nullptr;
};

// Lit from the first press until the cabin is there. From 5 milliseconds after it on, the cabin is
// called.
class Lamp : public Part {
 public:
  Lamp(const char* name, const Compound* holder) : Part(name, holder, DARK) {
    for (const char* port : {"first", "more", "call", "off"}) addPort(new Port(port, this));
  }
  Port* first() { return mPorts[0]; }
  Port* more() { return mPorts[1]; }
  Port* call() { return mPorts[2]; }
  Port* off() { return mPorts[3]; }

  void execute(Port* port) override {
    if (port == first()) restart(mSinceLit);
    if (port == first()) return enter(LIT);
    if (port == call()) return enter(HEARD);
    enter(port == off() ? DARK : is(LIT) ? LIT : HEARD);
  }

 protected:
  void makeConstraints(const LogicalClock& logical) override {
    mSinceLit = newClock("since lit", logical);
    mCalling = from(mSinceLit, 5, EAGER);
  }
  void announce() override {
    rt_sync({{first(), is(DARK)},
             {more(), !is(DARK)},
             {call(), is(LIT), mCalling},
             {off(), is(HEARD)}});
  }

 private:
  enum : char { DARK = 'd', LIT = 'l', HEARD = 'h' };

  Clock* mSinceLit = nullptr;
  Constraint* mCalling = nullptr;
};

// How long after the start a guest wants to go up, and how long the way to the door is, in
// milliseconds.
struct Habits {
  int leaving, walking;
};

// Presses the button, is noticed when the cabin is there, boards, rides, and leaves the cabin
// upstairs.
class Guest : public Part {
 public:
  Guest(const char* name, const Compound* holder, const Habits& habits)
      : Part(name, holder, HOME), mHabits(habits) {
    for (const char* port : {"press", "queue", "notice", "board", "ride", "leave"}) {
      addPort(new Port(port, this));
    }
  }
  Port* press() { return mPorts[0]; }  // the lamp was dark
  Port* queue() { return mPorts[1]; }  // somebody else has pressed
  Port* notice() { return mPorts[2]; }
  Port* board() { return mPorts[3]; }
  Port* ride() { return mPorts[4]; }
  Port* leave() { return mPorts[5]; }

  // Whether nobody stood at the door before.
  bool isFirst() const { return is(FIRST) || is(FIRST_AT_DOOR) || is(FIRST_INSIDE); }

  void execute(Port* port) override {
    if (port == press()) return enter(FIRST);
    if (port == queue()) return enter(SECOND);
    if (port == leave()) return enter(GONE);
    if (port == ride()) return enter(isFirst() ? FIRST_INSIDE : SECOND_INSIDE);
    restart(port == notice() ? mSinceNotice : mSinceBoarding);
    if (port == notice()) return enter(isFirst() ? FIRST_AT_DOOR : SECOND_AT_DOOR);
    enter(isFirst() ? FIRST_INSIDE : SECOND_INSIDE);
  }

 protected:
  void makeConstraints(const LogicalClock& logical) override {
    mSinceNotice = newClock("since notice", logical);
    mSinceBoarding = newClock("since boarding", logical);
    mLeavingHome = from(newClock("since start", logical), mHabits.leaving, LAZY);
    mBoarding = within(mSinceNotice, mHabits.walking, 60, DELAYABLE);
    mInside = from(mSinceBoarding, 0, EAGER);
  }
  void announce() override {
    const bool isWaiting = is(FIRST) || is(SECOND);
    const bool isAtDoor = is(FIRST_AT_DOOR) || is(SECOND_AT_DOOR);
    const bool isInside = is(FIRST_INSIDE) || is(SECOND_INSIDE);
    rt_sync({{press(), is(HOME), mLeavingHome},
             {queue(), is(HOME), mLeavingHome},
             {notice(), isWaiting},
             {board(), isAtDoor, mBoarding},
             {ride(), isInside, mInside},
             {leave(), isInside, mInside}});
  }

 private:
  enum : char {
    HOME = 'h',
    FIRST = 'F',
    SECOND = 'S',
    FIRST_AT_DOOR = 'D',
    SECOND_AT_DOOR = 'd',
    FIRST_INSIDE = 'I',
    SECOND_INSIDE = 'i',
    GONE = 'g'
  };

  const Habits mHabits;
  Clock* mSinceNotice = nullptr;
  Clock* mSinceBoarding = nullptr;
  Constraint* mLeavingHome = nullptr;
  Constraint* mBoarding = nullptr;
  Constraint* mInside = nullptr;
};

class Rendezvous : public Connector {
 public:
  Rendezvous(const char* name, const Compound* holder, std::initializer_list<Port*> ports)
      : Connector(name, holder, false, ports) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

// The ports take part, as one port, in a connector of the house.
class Exporting : public Connector {
 public:
  Exporting(const char* name, const Compound* holder, std::initializer_list<Port*> ports)
      : Connector(name, holder, true, ports) {
    declare(Vesk::Locality::REPEATABLE);
    mxPort = new Port(name, this);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

// Whoever of the others is enabled fires with the first port, and nobody without it.
class Arrival : public Connector {
 public:
  Arrival(const char* name, const Compound* holder, std::initializer_list<Port*> ports)
      : Connector(name, holder, false, ports) {
    declare(Vesk::Locality::REPEATABLE);
  }
  void attach(Port* port) { append(1, port); }
  bool complete() override { return mPorts[0]->complete(); }

 private:
  void append(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }
};

class Car : public Compound {
 public:
  Car(const char* name, const Compound* holder) : Compound(name, holder) {
    Cabin* cabin = new Cabin("cabin", this);
    Door* door = new Door("door", this);
    mComponents.add(cabin);
    mComponents.add(door);
    mConnectors.add(new Exporting("up", this, {cabin->up(), door->lock()}));
    mConnectors.add(new Exporting("down", this, {cabin->down(), door->lock()}));
    mConnectors.add(new Exporting("ground", this, {cabin->reachGround(), door->open()}));
    mConnectors.add(new Exporting("top", this, {cabin->reachTop(), door->open()}));
    mConnectors.add(new Exporting("board", this, {cabin->atGround(), door->pass()}));
    mConnectors.add(new Exporting("leave", this, {cabin->atTop(), door->pass()}));
    mConnectors.add(new Exporting("close", this, {door->close()}));
  }
  Port* up() { return mConnectors[0]->xPort(); }
  Port* down() { return mConnectors[1]->xPort(); }
  Port* ground() { return mConnectors[2]->xPort(); }
  Port* top() { return mConnectors[3]->xPort(); }
  Port* board() { return mConnectors[4]->xPort(); }
  Port* leave() { return mConnectors[5]->xPort(); }
  Port* close() { return mConnectors[6]->xPort(); }
};

class Hall : public Compound {
 public:
  Hall(const char* name, const Compound* holder) : Compound(name, holder) {
    Lamp* lamp = new Lamp("lamp", this);
    mComponents.add(lamp);
    mConnectors.add(new Exporting("first", this, {lamp->first()}));
    mConnectors.add(new Exporting("more", this, {lamp->more()}));
    mConnectors.add(new Exporting("call", this, {lamp->call()}));
    mConnectors.add(new Exporting("off", this, {lamp->off()}));
  }
  Port* first() { return mConnectors[0]->xPort(); }
  Port* more() { return mConnectors[1]->xPort(); }
  Port* call() { return mConnectors[2]->xPort(); }
  Port* off() { return mConnectors[3]->xPort(); }
};

// Of two guests who want the same, the one who came first goes first.
class FirstCome : public Priority {
 public:
  FirstCome(Compound* holder, Interaction* low, Interaction* high, const Guest* guest)
      : Priority(holder, low, high, Vesk::Time(0)), mGuest(guest) {}
  bool guard() override { return mGuest->isFirst(); }

 private:
  const Guest* mGuest;
};

class House : public Compound {
 public:
  House(const char* name, int guests) : Compound(name, nullptr) {
    Car* car = new Car("car", this);
    Hall* hall = new Hall("hall", this);
    mComponents.add(car);
    mComponents.add(hall);
    mConnectors.add(new Rendezvous("fetch", this, {hall->call(), car->down()}));
    Arrival* arrival = new Arrival("ground", this, {car->ground(), hall->off()});
    mConnectors.add(arrival);
    mConnectors.add(new Rendezvous("top", this, {car->top()}));
    mClose = new Rendezvous("close", this, {car->close()});
    mConnectors.add(mClose);
    Way anna = addGuest(new Guest("anna", this, {20, 10}), *car, *hall, *arrival);
    if (guests == 1) return;
    Way ben = addGuest(new Guest("ben", this, {60, 35}), *car, *hall, *arrival);
    preferFirst(ben, anna);
    preferFirst(anna, ben);
  }

 private:
  // What a guest does where another one may want to do it, too.
  struct Way {
    Guest* guest;
    Connector* steps[3];
  };

  Way addGuest(Guest* guest, Car& car, Hall& hall, Arrival& arrival) {
    mComponents.add(guest);
    arrival.attach(guest->notice());
    mConnectors.add(new Rendezvous("press", this, {guest->press(), hall.first()}));
    mConnectors.add(new Rendezvous("queue", this, {guest->queue(), hall.more()}));
    Connector* board = new Rendezvous("board", this, {guest->board(), car.board()});
    Connector* ride = new Rendezvous("ride", this, {guest->ride(), car.up()});
    Connector* leave = new Rendezvous("leave", this, {guest->leave(), car.leave()});
    for (Connector* step : {board, ride, leave}) mConnectors.add(step);
    // The door does not begin to close within 10 milliseconds before somebody can pass.
    for (Connector* step : {board, leave}) {
      mPriorities.add(new Priority(this, Interaction::Create(mClose, {0}),
                                   Interaction::Create(step, {0, 1}),
                                   Vesk::Time::milliseconds(10)));
    }
    return {guest, {board, ride, leave}};
  }

  // The second goes before the first where both are possible, if he came first.
  void preferFirst(const Way& low, const Way& high) {
    for (int i = 0; i < 3; ++i) {
      mPriorities.add(new FirstCome(this, Interaction::Create(low.steps[i], {0, 1}),
                                    Interaction::Create(high.steps[i], {0, 1}), high.guest));
    }
  }

  Connector* mClose;
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("elevator", argc, argv);
  const int guests = operands.number("number of guests", 2, 1, 2);
  const bool everywhere = operands.takes("everywhere");
  operands.finish();
  House* house = new House("house", guests);
  if (everywhere) house->declare(Vesk::Priorities::EVERYWHERE);
  return house;
}
