// Two lamps that blink in groups, each by itself: no connector takes part. Switching on and off are
// timed internal ports, which the engine fires; counting a group is an untimed one, which the lamp
// fires itself.
#include "../../support/operands.hpp"
#include "vesk.hpp"

// How long a lamp is on, and how long it is off between two blinks and between two groups.
struct Rhythm {
  int on, offFrom, offTo, restFrom, restTo;
};

// Makes no promise about its state, because the text does not tell how many blinks were counted. An
// exploration finds nothing to fire anyway.
class Lamp : public Atom {
 public:
  Lamp(const char* name, const Compound* holder, const Rhythm& rhythm, int blinks)
      : Atom(name, holder), mRhythm(rhythm), mBlinks(blinks) {
    addPort(new Port("on", this));
    addPort(new Port("off", this));
    addPort(new Port("rest", this));
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setInternal();
  }

  Port* on() { return mPorts[0]; }
  Port* off() { return mPorts[1]; }
  Port* rest() { return mPorts[2]; }

  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) makeClock(*clock);
    Atom::initialize(clock);
  }
  void initialize() override {
    mState = DARK;
    mCount = 0;
    announce();
  }

  void execute(Port* port) override {
    take(port);
    announce();
  }

  Node* getState() override {
    const char text[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    mState = State(static_cast<Leaf*>(state)->getAleaf()->getVal()[0]);
    announce();
  }

 private:
  enum State : char { DARK = 'd', LIT = 'l', RESTING = 'r' };

  void makeClock(const LogicalClock& clock) {
    mSince = new Clock("since", clock);
    mClocks.add(mSince);
    mSwitchOff = constraint(mRhythm.on, EAGER);
    mSwitchOn = constraint(mRhythm.offFrom, DELAYABLE, mRhythm.offTo);
    mStartAgain = constraint(mRhythm.restFrom, DELAYABLE, mRhythm.restTo);
  }
  Constraint* constraint(int from, Urgency urgency) {
    mConstraints.add(
        new Constraint(mSince, Vesk::Time::milliseconds(from), Vesk::Time::MAX, urgency));
    return mConstraints[mConstraints.count() - 1];
  }
  Constraint* constraint(int from, Urgency urgency, int to) {
    Constraint* bounded = constraint(from, urgency);
    (*bounded)[0].setHigh(Vesk::Time::milliseconds(to));
    return bounded;
  }

  void take(Port* port) {
    if (port == rest()) {
      mState = RESTING;
      mCount = 0;
      return;
    }
    mState = port == on() ? LIT : DARK;
    if (port == off()) ++mCount;
    if (mSince != nullptr) mSince->reset();
  }

  // Without time a lamp stays as it is: timed internal ports have no place in such a run.
  void announce() {
    const bool timed = mSince != nullptr;
    Port* untimed = nullptr;
    do {
      for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
      untimed = rt_sync({{rest(), mState == DARK && mCount == mBlinks, nullptr},
                         {off(), timed && mState == LIT, mSwitchOff},
                         {on(), timed && mState != LIT, mState == DARK ? mSwitchOn : mStartAgain}});
      if (untimed != nullptr) take(untimed);
    } while (untimed != nullptr);
  }

  const Rhythm mRhythm;
  const int mBlinks;  // in a group
  State mState = DARK;
  int mCount = 0;           // blinks of the current group
  Clock* mSince = nullptr;  // since it was switched on or off
  Constraint* mSwitchOff = nullptr;
  Constraint* mSwitchOn = nullptr;
  Constraint* mStartAgain = nullptr;
};

class Board : public Compound {
 public:
  Board(const char* name, int blinks) : Compound(name, nullptr) {
    mComponents.add(new Lamp("left", this, Rhythm{100, 150, 200, 1000, 1100}, blinks));
    mComponents.add(new Lamp("right", this, Rhythm{70, 80, 120, 500, 600}, blinks));
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("timed-internal", argc, argv);
  const int blinks = operands.number("blinks in a group", 3, 1, 1000);
  operands.finish();
  return new Board("board", blinks);
}
