// The timed engine: runs a model in simulated or real time, step by step, with a policy that
// chooses what fires and when.
//
// A program with a `main` of its own derives an executer for its own policy and runs it:
//
//     #include <iostream>
//
//     // Takes the first executable that the filters have left.
//     class FirstExecuter : public Executer {
//      public:
//       using Executer::Executer;
//
//      protected:
//       void choose() override {
//         setChoice(interactions()[0]);  // null when nothing is left, which ends the run
//         setTime(choice() != nullptr ? choice()->next(wait().low()) : wait().low());
//       }
//     };
//
//     // Ten steps in simulated time, traced on standard output.
//     void runTenSteps(Compound& system) {
//       SimuClock platform("platform");
//       LogicalClock logical("logical", platform);
//       StandardSemantics semantics;
//       EDFScheduler earliestDeadline;
//       const Vesk::Time maxDrift(40000);
//       FirstExecuter executer(system, logical, semantics, earliestDeadline, false, 10, std::cout,
//                              1, maxDrift);
//       executer.initialize();
//       executer.run();
//     }
//
// All times are microseconds; the trace shows milliseconds. A run ends by returning, for whatever
// reason, and says why in its trace unless it is quiet; no run ends the process.
#ifndef VESK_ENGINE_HPP
#define VESK_ENGINE_HPP

#include <iosfwd>

#include "constraint.hpp"
#include "executables.hpp"
#include "filter.hpp"

class Compound;
class LogicalClock;
class PlatformClock;

namespace Vesk {
class Selection;
}  // namespace Vesk

// What all timed engines have in common. Owns none of the objects it is given; they must outlive
// it.
class Engine {
 public:
  // The clock is used with its platform clock. The semantics is the filter of level 0. A limit of 0
  // steps is no limit. Quiet silences the trace and most messages; simout is where they go.
  Engine(Compound& system, LogicalClock& clock, Filter& semantics, bool quiet,
         unsigned int maxSimLimit, std::ostream& simout);
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  virtual ~Engine() {}

  // Slot order is fixed: generated code is built against it.
  // Sets the system up and initialises it with the logical clock. Called by the program once,
  // before run(). Must not fire anything.
  virtual void initialize() = 0;
  // Steps until the run is over, then returns. Called by the program once. Leaves the system in the
  // state after the last step.
  virtual void run() = 0;

 protected:
  // The root of the model.
  Compound& system() { return mSystem; }
  // The clock that the model's clocks read, and the one below it.
  LogicalClock& logicalClock() { return mLogicalClock; }
  PlatformClock& platformClock() { return mPlatformClock; }
  // The filter of level 0, which a policy may apply again after it has raised wait().low().
  Filter& semantics() { return mSemantics; }
  // What the constructor was given.
  bool quiet() const { return mQuiet; }
  unsigned int maxSimLimit() const { return mMaxSimLimit; }
  std::ostream& simout() { return mSimout; }
  // What is enabled in this step, with the marks of the filters. Stale as soon as something has
  // fired.
  Executables& interactions() { return mInteractions; }
  // The times at which this step may fire: from now to the latest time that the semantics allows,
  // MAX when nothing is urgent.
  Interval& wait() { return mWait; }
  // Nothing is left that no filter has removed.
  bool deadlock() const { return mInteractions.begin() == mInteractions.end(); }

  Compound& mSystem;
  LogicalClock& mLogicalClock;
  PlatformClock& mPlatformClock;
  Filter& mSemantics;
  Executables mInteractions;  // the current set
  Interval mWait;  // from the current logical time to the latest allowed time of the step
  bool mQuiet;
  unsigned int mMaxSimLimit;
  std::ostream& mSimout;
};

// A placeholder beside the executers: fires nothing. Without a limit, which its constructor leaves
// at 0, run() never returns. To explore states, see Scheduler::run_bfs_exploration().
class Explorer : public Engine {
 public:
  Explorer(Compound& system, LogicalClock& clock, Filter& semantics, bool quiet);
  void initialize() override;
  void run() override;
};

// The step loop. A run ends by deadlock, a violated urgency, too much drift, an empty choice or the
// step limit, each with its message on the trace. Each step does, in this order:
//
//   1. activates the model and clears all marks
//   2. applies the semantics; nothing left: deadlock
//   3. when it may wait, catches up with the platform clock and applies the semantics again
//   4. checks that no urgent time has passed, and that the drift is not too large
//   5. applies the scheduling filter, then asks choose()
//   6. waits for time(), writes its line of the trace, and fires choice(): actuate(), execute()
class Executer : public Engine {
 public:
  // The scheduler is the filter of level 1. The seed goes to srand(), in initialize(). The maximum
  // drift is how far, in microseconds, the platform clock may be ahead of the logical clock: one
  // that is exactly as large is allowed.
  Executer(Compound& system, LogicalClock& clock, Filter& semantics, Filter& scheduler, bool quiet,
           unsigned int maxSimLimit, std::ostream& simout, int randSeed, Vesk::Time maxDrift);
  void initialize() override;
  void run() override;

 protected:
  // Slot order is fixed: generated code is built against it.
  // Sets choice() and time() from interactions(), which both filters have been through, and wait().
  // Called once per step; choice() and time() are those of the step before then. May move the
  // logical clock, raise wait().low() and apply the semantics again. Must not fire, and must not
  // choose a time at which the choice is not enabled. A null choice ends the run with a message.
  virtual void choose() = 0;

  // The filter of level 1.
  Filter& scheduler() { return mScheduler; }
  // In microseconds. Takes effect in the next step.
  const Vesk::Time& maxDrift() const { return mMaxDrift; }
  void setMaxDrift(const Vesk::Time& maxDrift) { mMaxDrift = maxDrift; }
  int randSeed() const { return mRandSeed; }
  // What fires in this step, and when. Not owned.
  Executable* choice() const { return mChoice; }
  void setChoice(Executable* choice) { mChoice = choice; }
  const Vesk::Time& time() const { return mTime; }
  void setTime(const Vesk::Time& time) { mTime = time; }
  // The next draw of rand() as a number from 0 to below 1.
  static long double randomFraction();
  // One of what the filters left, drawn uniformly with one rand(); null, and no draw, when there is
  // nothing.
  Executable* pickAtRandom();
  // A time of wait(), drawn uniformly with one rand().
  Vesk::Time drawTime() const;

  Filter& mScheduler;
  Executable* mChoice;  // fires in this step; null: nothing chosen
  Vesk::Time mTime;     // when it fires
  Vesk::Time mMaxDrift;
  int mRandSeed;

 private:
  bool policyIsKnown() const;
  void beginStep(Vesk::Selection& selection);
  bool semanticsLeavesSomething(Vesk::Selection& selection);
  void catchUpWithPlatform(Vesk::Selection& selection);
  bool urgencyIsRespected();
  bool driftIsBounded();
  bool pickExecutable(Vesk::Selection& selection);
  void chooseFrom(Vesk::Selection& selection);
  void waitAndFire();
  bool limitReached(unsigned int& steps);
};

// Uniformly at random among what the scheduler kept, at its earliest time. With EDFScheduler: the
// earliest deadline first, and chance only among equals. What programs run without options.
class StandardExecuter : public Executer {
 public:
  using Executer::Executer;

 protected:
  void choose() override;
};

// A random time of the allowed interval, then uniformly at random among what is possible from then
// on. What --random runs, with EmptyScheduler. An interval without end is drawn from as well, so
// that a model without deadlines soon comes to the end of time (Vesk::Time::MAX).
class RandomExecuter : public Executer {
 public:
  using Executer::Executer;

 protected:
  void choose() override;
};

// Asks the user, on standard input and output, for the time and for the executable, also in quiet
// runs. What --interactive runs, with EmptyScheduler. A number of 0 and the end of the input give
// no choice, so they end the run.
class InteractiveExecuter : public Executer {
 public:
  InteractiveExecuter(Compound& system, LogicalClock& clock, Filter& semantics, Filter& scheduler,
                      bool quiet, unsigned int maxSimLimit, std::ostream& simout,
                      Vesk::Time maxDrift);

 protected:
  void choose() override;

 private:
  friend class Executer;

  void askFor(Vesk::Selection& selection);
  // Both questions are asked again until the answer is valid; false at the end of input. Times are
  // read in milliseconds.
  bool askTime(Vesk::Time& chosen);
  bool askNumber(int rows, int& number);
  Vesk::Time randomTime();
  int listExecutables(Vesk::Selection& selection);
};

#endif
