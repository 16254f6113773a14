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

namespace Vesk {

// Where the priorities of a system act. The root says it, in Compound::Create:
//
//     Compound* Compound::Create(int, char**) {
//       Compound* root = new Shop("shop");
//       root->declare(Vesk::Priorities::EVERYWHERE);
//       return root;
//     }
enum class Priorities : signed char {
  // In timed runs, and as levels with --opt2.
  UNDECLARED,
  // In explorations and maximal synchronisation too. There every state is judged by itself, from
  // the inner compounds to the outer ones:
  // 1. Connectors are evaluated. An interaction is possible when it is feasible and has no
  //    constraint, or one that holds at time 0.
  // 2. Each priority of the compound whose guard() is true dominates what it dominates in a timed
  //    run: the feasible interactions that contain the low one, when one that contains the high one
  //    is feasible; without a high one, when another connector of this compound or below is legal.
  //    A dominated interaction dominates others all the same. The delay plays no part. A priority
  //    over a sub-connector whose exported port is used in the same compound is skipped, with the
  //    warning of timed runs.
  // 3. An exported port is enabled when its connector has an interaction that is not dominated.
  // Then a connector all of whose possible interactions are dominated is not in the list of legal
  // connectors, nor is one without a possible interaction. The others keep their order; each is
  // labelled by, and fires, the first of its possible interactions that is not dominated, and so do
  // the sub-connectors below it.
  // A model without priorities behaves as if it had declared nothing. With them, declarations of
  // locality.hpp are not used.
  EVERYWHERE
};

}  // namespace Vesk

// The low interaction gives way to the high one when both are possible; with a null high
// interaction, to every other legal connector. Every feasible interaction that contains the high
// one dominates every one that contains the low one.
//
// Priorities act in the timed engine, and as static levels in the order of the priority-heap loop.
// Maximal synchronisation and exploration do not filter by them, unless the model asks for it; see
// Vesk::Priorities.
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
