// Clocks. A platform clock tells the time of the execution platform, simulated or real; one logical
// clock over it holds the model's "now"; each atom's model clocks read the logical clock relative
// to their last reset. All readings are microseconds.
//
// An atom makes its clocks when a run begins, resets them in its transitions, and hands them to its
// constraints:
//
//     class Timer : public Atom {
//      public:
//       using Atom::Atom;
//       void initialize(LogicalClock* logical) override {
//         mSinceStart = new Clock("since start", logical);  // logical may be null
//         mClocks.add(mSinceStart);                         // the atom owns it from now on
//         Atom::initialize(logical);
//       }
//       void execute(Port*) override { mSinceStart->reset(); }  // reads 0, and 5000 after 5 ms
//       Node* getState() override { return new Leaf(new Atomleaf("")); }
//       void setState(Node*) override {}
//
//      private:
//       Clock* mSinceStart = nullptr;
//     };
#ifndef VESK_CLOCK_HPP
#define VESK_CLOCK_HPP

#include "vesk-time.hpp"

namespace Vesk {
class Foretelling;
}  // namespace Vesk

// Anything that tells a time. A Constraint is expressed in the values of such a clock.
class GenericClock {
 public:
  // A clock without a name.
  GenericClock() : mName(nullptr) {}
  // Copies the name; null stays null.
  GenericClock(const char* name);
  GenericClock(const GenericClock&) = delete;
  GenericClock& operator=(const GenericClock&) = delete;
  virtual ~GenericClock();

  // The current reading, in microseconds. Called whenever somebody needs it, many times in a step.
  // Must not change anything that a model can see; two calls without a wait between them may differ
  // only for a clock of real time.
  virtual Vesk::Time time() const = 0;

  // The clock's own copy of its name, or null. Names are for people: the engine does not read them.
  char* name() const { return mName; }
  // Replaces the name by a copy of the given one, which may be this clock's own; null removes it.
  void setName(const char* name);
  // How far the other clock is ahead of this one: clock.time() - time(). This clock is read first.
  // A null clock has drift 0.
  Vesk::Time drift(const GenericClock& clock) const;
  Vesk::Time drift(const GenericClock* clock) const;

 protected:
  char* mName;  // strdup; freed by the destructor
};

// Time as it passes outside the model. A program with a `main` of its own may derive a clock from
// it, for example one that follows a simulator.
class PlatformClock : public GenericClock {
 public:
  PlatformClock(const char* name) : GenericClock(name) {}
  // Lets time pass until time() is at least t; returns at once when it is already. Called by
  // LogicalClock::wait(), at most once for each wait of a step, with a date after the logical time.
  // May block. Must not return earlier, or the run goes on with a logical clock that is ahead.
  virtual void wait(const Vesk::Time& t) = 0;
};

// Simulated time: jumps forward when somebody waits, never goes back. Starts at 0.
class SimuClock : public PlatformClock {
 public:
  SimuClock(const char* name) : PlatformClock(name) {}
  Vesk::Time time() const override { return mTime; }
  // Returns at once; the time is t from then on, unless it was later already.
  void wait(const Vesk::Time& t) override;

 protected:
  // For derived clocks: sets the time, also back.
  void setTime(Vesk::Time t) { mTime = t; }

  Vesk::Time mTime;
};

// The model's notion of now, starting at 0, over a platform clock that it does not own and that
// must outlive it. It moves only by wait(), update() and reset(), so that a step sees one time.
class LogicalClock : public GenericClock {
 public:
  LogicalClock(const char* name, PlatformClock& platform)
      : GenericClock(name), mPlatformClock(platform) {}
  PlatformClock& platformClock() const { return mPlatformClock; }
  Vesk::Time time() const override { return mTime; }
  // Jumps to the date at once, then lets the platform wait for it. A date that is not after time()
  // does nothing.
  void wait(const Vesk::Time& date);
  // Catches up with the platform clock: time() is the reading of that now, even when that is
  // earlier.
  void update();
  // Back to 0. The platform clock stays as it is.
  void reset();

 protected:
  void setTime(const Vesk::Time& t) { mTime = t; }

  PlatformClock& mPlatformClock;
  Vesk::Time mTime;
};

// A model clock. Running, it reads the logical time since its last reset; stopped, it keeps the
// value it had. A new clock runs and reads the logical time itself. A null logical clock (a run
// without time) stands for one that stays at 0.
class Clock : public GenericClock {
 public:
  Clock(const char* name, const LogicalClock& logical)
      : GenericClock(name), mLogicalClock(logical), mStopped(false) {}
  Clock(const char* name, const LogicalClock* logical);

  bool isStopped() const { return mStopped; }
  // Makes time() return t from now on, whether running or stopped.
  void setTime(const Vesk::Time& t);
  Vesk::Time time() const override;
  // Makes time() return 0; a stopped clock stays stopped.
  void reset();
  // Freezes the reading. A clock that is stopped already keeps its first frozen value.
  void stop();
  // Resumes from the frozen value. Does nothing to a running clock.
  void go();

 protected:
  // The one that was given, or for null the one that stays at 0.
  const LogicalClock& logicalClock() const { return mLogicalClock; }
  Vesk::Time resetTime() const { return mResetTime; }
  void setResetTime(const Vesk::Time& t) { mResetTime = t; }
  Vesk::Time intermediateTime() const { return mIntermediateTime; }
  void setIntermediateTime(const Vesk::Time& t) { mIntermediateTime = t; }
  void setStopped(bool stopped) { mStopped = stopped; }

  // Written by hand by derived classes alone: runs ask executables over their clocks in every step.
  const LogicalClock& mLogicalClock;  // not owned
  Vesk::Time mResetTime;              // logical time of the last reset
  bool mStopped;
  Vesk::Time mIntermediateTime;  // the reading frozen by stop()

 private:
  friend class Vesk::Foretelling;
};

#endif
