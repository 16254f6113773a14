// The timed engine: runs a model in simulated or real time, step by step, with a policy that
// chooses what fires and when.
#ifndef VESK_ENGINE_HPP
#define VESK_ENGINE_HPP

#include <iosfwd>

#include "constraint.hpp"
#include "executables.hpp"
#include "filter.hpp"

class Compound;
class LogicalClock;
class PlatformClock;

// Owns none of the objects it is given; they must outlive it.
class Engine {
 public:
  // A limit of 0 is no limit. Quiet silences the trace and most messages; simout is where they go.
  Engine(Compound& system, LogicalClock& clock, Filter& semantics, bool quiet,
         unsigned int maxSimLimit, std::ostream& simout);
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  virtual ~Engine() {}

  // Slot order is fixed: generated code is built against it.
  // Sets the system up and initialises it with the logical clock. Once, before run().
  virtual void initialize() = 0;
  virtual void run() = 0;

 protected:
  Compound& system() { return mSystem; }
  LogicalClock& logicalClock() { return mLogicalClock; }
  PlatformClock& platformClock() { return mPlatformClock; }
  Filter& semantics() { return mSemantics; }
  bool quiet() const { return mQuiet; }
  unsigned int maxSimLimit() const { return mMaxSimLimit; }
  std::ostream& simout() { return mSimout; }
  Executables& interactions() { return mInteractions; }
  Interval& wait() { return mWait; }
  // Nothing is left that no filter has removed.
  bool deadlock() const { return mInteractions.count() == 0; }

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

// A placeholder beside the executers: fires nothing. Without a limit it never returns.
class Explorer : public Engine {
 public:
  Explorer(Compound& system, LogicalClock& clock, Filter& semantics, bool quiet);
  void initialize() override;
  void run() override;
};

// The step loop. A run ends by deadlock, a violated urgency, too much drift, an empty choice or the
// step limit, each with its message on the trace.
class Executer : public Engine {
 public:
  // The seed goes to srand(). The maximum drift is how far, in microseconds, the platform clock may
  // be ahead of the logical clock.
  Executer(Compound& system, LogicalClock& clock, Filter& semantics, Filter& scheduler, bool quiet,
           unsigned int maxSimLimit, std::ostream& simout, int randSeed, Vesk::Time maxDrift);
  void initialize() override;
  void run() override;

 protected:
  // Slot order is fixed: generated code is built against it.
  // Sets choice() and time() from interactions(), which both filters have been through, and wait().
  // Once per step. A null choice ends the run.
  virtual void choose() = 0;

  Filter& scheduler() { return mScheduler; }
  const Vesk::Time& maxDrift() const { return mMaxDrift; }
  void setMaxDrift(const Vesk::Time& maxDrift) { mMaxDrift = maxDrift; }
  int randSeed() const { return mRandSeed; }
  Executable* choice() const { return mChoice; }
  void setChoice(Executable* choice) { mChoice = choice; }
  const Vesk::Time& time() const { return mTime; }
  void setTime(const Vesk::Time& time) { mTime = time; }
  // The next draw of rand() as a number from 0 to below 1.
  static long double randomFraction();
  // One of what the filters left, drawn uniformly with one rand(); null, and no draw, when there is
  // nothing.
  Executable* pickAtRandom();

  Filter& mScheduler;
  Executable* mChoice;  // fires in this step; null: nothing chosen
  Vesk::Time mTime;     // when it fires
  Vesk::Time mMaxDrift;
  int mRandSeed;

 private:
  void beginStep();
  bool semanticsLeavesSomething();
  void catchUpWithPlatform();
  bool urgencyIsRespected();
  bool driftIsBounded();
  bool pickExecutable();
  void waitAndFire();
  bool limitReached(unsigned int& steps);
};

// Uniformly at random among what the scheduler kept, at its earliest time.
class StandardExecuter : public Executer {
 public:
  using Executer::Executer;

 protected:
  void choose() override;
};

// A random time of the allowed interval, then uniformly at random among what is possible from then
// on.
class RandomExecuter : public Executer {
 public:
  using Executer::Executer;

 protected:
  void choose() override;
};

// Asks the user, on standard input and output, for the time and for the executable.
class InteractiveExecuter : public Executer {
 public:
  InteractiveExecuter(Compound& system, LogicalClock& clock, Filter& semantics, Filter& scheduler,
                      bool quiet, unsigned int maxSimLimit, std::ostream& simout,
                      Vesk::Time maxDrift);

 protected:
  void choose() override;

 private:
  // Both questions are asked again until the answer is valid; false at the end of input.
  bool askTime(Vesk::Time& chosen);
  bool askNumber(int rows, int& number);
  Vesk::Time randomTime();
  int listExecutables();
};

#endif
