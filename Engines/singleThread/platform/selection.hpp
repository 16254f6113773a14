// How the steps of a run filter and draw. Private to the engine.
#ifndef VESK_SELECTION_HPP
#define VESK_SELECTION_HPP

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "address-map.hpp"
#include "agenda.hpp"
#include "short-agenda.hpp"
#include "vesk-time.hpp"

class Compound;
class Connector;
class Constraint;
class Executables;
class Executable;
class Filter;
class GenericClock;
class Interval;
class LogicalClock;
class Port;

namespace Vesk {

class ActivationPlan;
class Lookahead;

// What the times of a port are said by.
class PortTimes {
 public:
  // How much later the values of the constraint's clock are in those of the run's clock. False when
  // that may change without anybody noting it.
  static bool shift(const Port& port, const LogicalClock& clock, Times::Number& result);
};

// Does for a step what the filters, the draw and the list of a dialogue do, either by asking the
// filters, which walks all executables, or from an agenda, which looks only at what has changed.
// Marks, the interval of times and the choice are the same.
//
// The agenda is used in large systems, by the policies of this engine with filters of this engine,
// and while every executable can be foretold: as long as its atom does not move, its times follow
// from its constraint and a running clock. Those of ports over clocks that stand still or have a
// class of the model are not foretold, nor those of executables whose class has a deadline() or
// next() of its own. Such a step is walked, and so are some after it. A step that has only a few
// executables goes by a short agenda of its own, in small systems too.
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

  // A slot of a port whose clock it is, or was, and the index of the next one.
  struct User {
    std::size_t slot;
    std::size_t next;
  };
  static constexpr std::size_t NOBODY = ~std::size_t{0};

  bool makeAgenda();
  Way chooseWay();
  bool takeUpFew();
  bool addFew(Executable& executable, Times::Number shift, const Time& now);
  bool openFewAt(const Time& t);
  void leaveWhenFew();
  std::size_t count() const;
  Executable* pickByWalk(long double fraction);
  bool collectFromAgenda();
  std::size_t numberOf(std::size_t slot) const;
  void lookAhead();
  void lookAhead(std::size_t slot, Executable& picked);
  void learn(Lookahead& lookahead, std::size_t slot, const Port& port);
  bool takeUp();
  bool takeUpAll(ActivationPlan& plan, const Time& now);
  bool takeUpChanges(ActivationPlan& plan, const Time& now);
  bool takeUpClocks(const Time& now);
  bool refresh(std::size_t slot, const Time& now);
  bool refreshOnce(std::size_t slot, const Time& now);
  bool refreshConnector(std::size_t slot, const Time& now);
  bool refreshPort(std::size_t slot, const Time& now);
  void watchClock(std::size_t slot, const Port& port);
  std::size_t slotOfConnector(std::size_t rank) const { return mConnectors - 1 - rank; }
  std::size_t slotOfPort(std::size_t rank) const { return mConnectors + mPorts - 1 - rank; }
  bool openAt(const Time& t);
  void giveUp();
  void walkAgain();

  const Run mRun;
  const bool mPolicyIsKnown;
  bool mForetells;         // it knows the policy and the filters
  Agenda::Policy mPolicy;  // if so
  Times::Number mMargin;
  ShortAgenda mFew;
  std::unique_ptr<Agenda> mAgenda;  // null until it is needed
  const ActivationPlan* mPlan;      // of this step
  unsigned long long mPlanNumber;   // whose connectors the agenda has; 0: none
  std::size_t mConnectors;          // slots for connectors, which come first
  std::size_t mPorts;
  Agenda::Id mUpcoming;  // slot of what will be enabled next, perhaps
  Time mOpened;          // the last semantics of the agenda, and what it has returned
  Time mLatest;
  Time mNext;  // of what has been picked
  Way mWay;
  std::size_t mFewSteps;       // since the agenda had more than a few executables
  unsigned int mWalks;         // steps before the next attempt
  unsigned int mPatience;      // as many there were before the last one
  unsigned int mSteps;         // since then
  std::array<Time, 3> mTimes;  // of the semantics of this step, which is asked once to three times
  std::size_t mAsked;
  bool mScheduled;
  std::vector<std::size_t> mExpired;
  AddressMap<User> mUsers;  // by clocks, the first ones; the others behind them
  std::vector<User> mMoreUsers;
  std::vector<std::size_t> mRefreshed;        // slots in this step; no more than a few
  std::vector<const GenericClock*> mClockOf;  // of the ports by slot, behind the connectors
  std::vector<Executable*> mLeft;             // see collectLeft()
};

}  // namespace Vesk

#endif
