// How the steps of a run filter and draw. Private to the engine.
#ifndef VESK_SELECTION_HPP
#define VESK_SELECTION_HPP

#include <array>
#include <cstddef>
#include <vector>

#include "agenda.hpp"
#include "foretelling.hpp"
#include "kept-agenda.hpp"
#include "random-draw.hpp"
#include "short-agenda.hpp"
#include "vesk-time.hpp"

class Compound;
class Executables;
class Executable;
class Filter;
class Interval;
class LogicalClock;

namespace Vesk {

// Does for a step what the filters, the draw and the list of a dialogue do, either by asking the
// filters, which walks all executables, or from an agenda, which looks only at what has changed.
// Marks, the interval of times and the choice are the same.
//
// The agenda is used in large systems, by the policies of this engine with filters of this engine,
// and while every executable can be foretold. A step in which one cannot is walked, and so are some
// after it. A step that has only a few executables goes by a short agenda of its own, in small
// systems too.
//
// Always walked are the runs of policies that apply the semantics at a time of their own when the
// scheduler is another one than EmptyScheduler: whom that has removed the agenda would forget.
class Selection {
 public:
  // What the run has. A policy that is not known walks by itself.
  struct Run {
    Compound& system;
    const LogicalClock& clock;
    Executables& executables;
    Interval& wait;
    const Filter& semantics;
    const Filter& scheduler;
  };

  Selection(const Run& run, bool policyIsKnown);
  bool policyIsKnown() const { return mPolicyIsKnown; }
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;
  ~Selection();

  // After an activation whose result the executables have: no marks are left.
  void begin();
  // The filter of level 0 for the times of wait.
  void applySemantics();
  bool empty() const;
  // The filter of level 1.
  void applyScheduler();
  // One of what is left, drawn uniformly with one rand(); null, and no draw, when there is nothing.
  Executable* pick();
  // When that can fire.
  const Time& next() const { return mNext; }
  // Takes together all that is left, in the order of the walk, in a time in proportion to that.
  void collectLeft();
  const std::vector<Executable*>& left() const { return mLeft; }

 private:
  // How a step filters.
  enum class Way { WALK, AGENDA, SHORT };

  // What the filters of a run with a known policy do when they are those of this engine.
  struct Filters {
    bool areKnown;
    Agenda::Policy policy;
    Times::Number margin;
  };
  static Filters filtersOf(const Run& run);

  Way chooseWay();
  bool takeUpFew();
  bool addFew(Executable& executable, const Times& times);
  bool openFew(const Time& t);
  std::size_t count() const;
  Executable* pickByWalk(RandomDraw draw);
  void walkAgain();

  const Run mRun;
  const bool mPolicyIsKnown;
  const Filters mFilters;
  const Foretelling mForetelling;
  ShortAgenda mFew;
  KeptAgenda mAgenda;
  Way mWay;
  Time mNext;                  // of what has been picked
  std::array<Time, 3> mTimes;  // of the semantics of this step, which is asked once to three times
  std::size_t mAsked;
  bool mScheduled;
  std::vector<Executable*> mLeft;  // see collectLeft()
};

}  // namespace Vesk

#endif
