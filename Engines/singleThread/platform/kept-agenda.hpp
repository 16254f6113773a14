// An agenda that follows the activations of a run. Private to the engine.
#ifndef VESK_KEPT_AGENDA_HPP
#define VESK_KEPT_AGENDA_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "address-map.hpp"
#include "agenda.hpp"
#include "foretelling.hpp"
#include "vesk-time.hpp"

class Compound;
class Executable;
class GenericClock;
class Interval;
class LogicalClock;
class Port;

namespace Vesk {

class ActivationPlan;
class Lookahead;

// The slots that look at a clock.
class ClockUsers {
 public:
  void clear();
  // Requires: the clock is not null.
  void add(const GenericClock* clock, std::size_t slot);
  // Calls visit(slot) for each slot of a clock until it returns false; returns whether it never
  // has. More slots may be added meanwhile.
  template <class Visit>
  bool visitAll(const GenericClock* clock, Visit visit) {
    const User* const first = mFirst.find(clock);
    if (first == nullptr) return true;
    for (User user = *first;; user = mFurther[user.next]) {
      if (!visit(user.slot)) return false;
      if (user.next == NOBODY) return true;
    }
  }
  // Where it is kept who looks at a clock first; null: nobody does.
  const void* placeOf(const GenericClock* clock) { return mFirst.find(clock); }

 private:
  static constexpr std::size_t NOBODY = ~std::size_t{0};

  struct User {
    std::size_t slot;
    std::size_t next;  // index of the next one
  };

  AddressMap<User> mFirst;  // by clocks
  std::vector<User> mFurther;
};

// Keeps an agenda from step to step: it takes up what the last activation has changed, what clocks
// have been set, stopped or started, and what was said only until a time that has passed. It needs
// a plan of the activation and executables that can all be foretold; when something is missing it
// gives up, and makes the agenda again after some steps, more each time that this has not paid.
//
// Slots are the turns of the walk: those of the connectors, then those of the internal ports.
class KeptAgenda {
 public:
  KeptAgenda(Compound& system, const LogicalClock& clock, Agenda::Policy policy,
             Times::Number margin);
  KeptAgenda(const KeptAgenda&) = delete;
  KeptAgenda& operator=(const KeptAgenda&) = delete;
  ~KeptAgenda();

  // Whether it has what the last step has left.
  bool isUpToDate() const { return mPlanNumber != 0; }
  // After an activation: takes up what has changed. False when it has given up.
  bool takeUp();
  // Whatever clocks have done until now is known, or of no interest.
  void forgetClocks();
  // It is not told of all that happens. Requires: it has taken something up.
  void giveUp();

  // For these it is up to date. The semantics at time t narrows the interval of times; false, and
  // nothing is done, when the agenda cannot say what that does.
  bool open(const Time& t, Interval& wait);
  // The scheduler.
  void choose() { mAgenda->choose(); }
  // Whether the semantics leaves nothing.
  bool empty() const { return mAgenda->empty(); }
  // How many the scheduler has left.
  std::size_t count() const { return mAgenda->count(); }
  // One of them in the order of the walk, and when it can fire: it is going to. Null when it
  // answers something else than was said.
  Executable* pick(std::size_t index, Time& next);
  // All of them in that order. False, and an empty list, when one answers something else.
  bool collect(std::vector<Executable*>& left) const;

 private:
  bool makeAgenda();
  void leaveWhenFew();
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
  std::size_t lookaheadOf(std::size_t slot) const;
  void lookAhead();
  void lookAhead(std::size_t slot, Executable& picked);
  void learn(Lookahead& lookahead, std::size_t slot, const Port& port);

  Compound& mSystem;
  const LogicalClock& mClock;
  const Foretelling mForetelling;
  const Agenda::Policy mPolicy;
  const Times::Number mMargin;
  std::unique_ptr<Agenda> mAgenda;  // null until it is needed
  const ActivationPlan* mPlan;      // of this step
  unsigned long long mPlanNumber;   // whose connectors the agenda has; 0: none
  std::size_t mConnectors;          // slots for connectors
  std::size_t mPorts;
  Agenda::Id mUpcoming;  // slot of what will be enabled next, perhaps
  Time mOpened;          // the last semantics, and what it has returned
  Time mLatest;
  std::size_t mFewSteps;   // since there were more than a few executables
  unsigned int mWalks;     // steps before the next attempt
  unsigned int mPatience;  // as many there were before the last one
  unsigned int mSteps;     // since then
  ClockUsers mUsers;
  std::vector<const GenericClock*> mClockOf;  // of the ports
  std::vector<std::size_t> mExpired;
  std::vector<std::size_t> mRefreshed;  // slots in this step; no more than a few
};

}  // namespace Vesk

#endif
