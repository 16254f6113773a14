// Filters remove executables from the current set by marking them, and may narrow the interval of
// times at which the engine may fire. A step applies a semantics filter (level 0), then a
// scheduling filter (level 1). A program with a `main` of its own may hand its own ones to an
// executer:
//
//     // Removes what cannot fire at once, as far as the semantics has left it.
//     class NowOnly : public Filter {
//      public:
//       NowOnly() : Filter(1) {}
//       void filter(Executables& executables, Interval& wait) const override {
//         const auto end = executables.end(mask());
//         for (auto it = executables.begin(mask()); it != end; ++it) {
//           if ((*it)->next(wait.low()) > wait.low()) executables.mark(it, mark());
//         }
//       }
//     };
#ifndef VESK_FILTER_HPP
#define VESK_FILTER_HPP

#include "vesk-time.hpp"

class Executables;
class Interval;

// What all filters have in common: their level.
class Filter {
 public:
  Filter(unsigned int level) : mLevel(level) {}
  virtual ~Filter() {}

  // Marks what the filter removes. The lower bound of wait is the current time of the step, the
  // upper bound the latest time to which the engine may still wait, both in microseconds. Called in
  // each step: the scheduling filter once, the semantics up to three times, as the lower bound
  // moves on. Must clear no mark, change no lower bound and fire nothing.
  //
  // May lower the upper bound, but only to a deadline. When the semantics leaves the current time,
  // the step fires at once; when it leaves a later one and the platform clock has passed that, the
  // run ends with "urgency violated!". So mark executables to prefer others. The bound is MAX at
  // the beginning of a step and is kept between the calls of that step.
  virtual void filter(Executables& executables, Interval& wait) const = 0;

  // 0 to 31.
  unsigned int level() const { return mLevel; }
  void setLevel(unsigned int level) { mLevel = level; }
  // The bits of this and all lower levels: what they have marked, this filter does not see.
  unsigned int mask() const { return static_cast<unsigned int>((2ull << mLevel) - 1u); }
  // The bit that this filter sets on what it removes.
  unsigned int mark() const { return static_cast<unsigned int>(1ull << mLevel); }

 protected:
  unsigned int mLevel;
};

// The semantics of time: no waiting beyond the earliest deadline, and only what becomes enabled
// until then.
class StandardSemantics : public Filter {
 public:
  StandardSemantics() : Filter(0) {}
  void filter(Executables& executables, Interval& wait) const override;
};

// Keeps everything.
class EmptyScheduler : public Filter {
 public:
  EmptyScheduler() : Filter(1) {}
  void filter(Executables& executables, Interval& wait) const override;
};

// Earliest deadline first; among equal deadlines, what is enabled first.
class EDFScheduler : public Filter {
 public:
  EDFScheduler() : Filter(1) {}
  void filter(Executables& executables, Interval& wait) const override;
};

// Earliest deadline first, unless something can fire more than a margin before that deadline: then
// what is enabled first.
class EDFdeltaScheduler : public Filter {
 public:
  // The margin in microseconds; MAX: plain earliest deadline first.
  EDFdeltaScheduler(Vesk::Time delta) : Filter(1), mDelta(delta) {}
  void filter(Executables& executables, Interval& wait) const override;
  const Vesk::Time& delta() const { return mDelta; }
  void setDelta(const Vesk::Time& delta) { mDelta = delta; }

 protected:
  Vesk::Time mDelta;
};

#endif
