// Priorities between interactions of one compound.
//
//     // At the end of a compound's constructor: where both are possible, stop goes before start.
//     void preferStop(Compound* compound, Connector* start, Connector* stop) {
//       Interaction* low = Interaction::Create(start, {0, 1});  // ports 0 and 1 of the connector
//       Interaction* high = Interaction::Create(stop, {0});
//       compound->priorities().add(new Priority(compound, low, high, Vesk::Time(0)));
//     }
#ifndef VESK_PRIORITY_HPP
#define VESK_PRIORITY_HPP

#include "vesk-time.hpp"

class Compound;
class Executable;
class Interaction;

// The low interaction gives way to the high one when both are possible; with a null high
// interaction, to every other legal connector. Every feasible interaction that contains the high
// one dominates every one that contains the low one.
//
// Priorities act in the timed engine, and as static levels in the order of the priority-heap loop.
// Maximal synchronisation and exploration do not filter by them.
class Priority {
 public:
  // Owns neither interaction. The low one must not be null. The delay, in microseconds, is handed
  // to Executable::dominate.
  Priority(Compound* holder, Interaction* low, Interaction* high, Vesk::Time delay);
  Priority(const Priority&) = delete;
  Priority& operator=(const Priority&) = delete;
  virtual ~Priority() {}

  // Slot order is fixed: generated code is built against it.
  // Makes the priority known to its interactions and connectors. Called once, before any level is
  // computed.
  virtual void setup();
  // Gives the two connectors static levels that agree with this priority, and goes on with the
  // priorities in which the same interactions are the low ones. Levels that are set already stay.
  // Does nothing for a null high interaction.
  virtual void setupPrioLevel();
  // Whether the priority holds in the current state. Called once at every activation, after all
  // connectors of the compound have been evaluated. Must not change anything. After false it is not
  // applied before one of its connectors is evaluated again. The default is true.
  virtual bool guard() { return true; }

  Compound* holder() const { return mHolder; }
  Interaction* low() const { return mLow; }
  Interaction* high() const { return mHigh; }
  // Activation has dealt with it since the last reset.
  bool evaluated() const { return mEvaluated; }
  void setEvaluated(bool evaluated) { mEvaluated = evaluated; }
  // It has dominated something since the last reset.
  bool applied() const { return mApplied; }
  void setApplied(bool applied) { mApplied = applied; }
  const Vesk::Time& delay() const { return mDelay; }

  // Lets high dominate low.
  void apply(Executable& low, Executable& high);
  // Clears both flags.
  void reset();

 protected:
  Compound* mHolder;
  Interaction* mLow;
  Interaction* mHigh;
  bool mEvaluated;
  bool mApplied;
  Vesk::Time mDelay;
};

#endif
