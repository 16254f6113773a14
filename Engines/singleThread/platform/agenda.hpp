// The executables of a timed run by their times. Private to the engine.
#ifndef VESK_AGENDA_HPP
#define VESK_AGENDA_HPP

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "count-tree.hpp"
#include "keyed-heap.hpp"

class Executable;

namespace Vesk {

// The marks of the filters of a run.
constexpr unsigned int CLOSED_MARK = 1;  // of the semantics
constexpr unsigned int LATER_MARK = 2;   // of the scheduler

// What an executable answers from now on, as long as it is not changed: with the first and the last
// time of the interval that it is in, or comes to next,
//   next(t) is the larger one of low and t,
//   deadline(t) is that too when it is eager, else the given one.
struct Times {
  using Number = std::int64_t;                                             // microseconds
  static constexpr Number MAX = std::numeric_limits<std::int32_t>::max();  // that of Time::MAX

  Number low;       // not below MAX: never enabled
  Number deadline;  // MAX: none
  Number until;     // what this is said for
  bool eager;
};

// Numbers without order, from which any can be taken out.
class IdList {
 public:
  using Id = std::uint32_t;

  bool empty() const { return mIds.empty(); }
  const std::vector<Id>& ids() const { return mIds; }
  void clear() { mIds.clear(); }
  // Makes room, so that numbers below this one need no memory.
  void reserve(std::size_t count) {
    mIds.reserve(count);
    mPlaces.reserve(count);
  }
  // Requires: it is not in the list.
  void add(Id id) {
    if (id >= mPlaces.size()) mPlaces.resize(id + std::size_t{1});
    mPlaces[id] = static_cast<Id>(mIds.size());
    mIds.push_back(id);
  }
  // Requires: it is in the list.
  void remove(Id id) {
    mIds[mPlaces[id]] = mIds.back();
    mPlaces[mIds.back()] = mPlaces[id];
    mIds.pop_back();
  }

 private:
  std::vector<Id> mIds;
  std::vector<Id> mPlaces;  // of each number
};

// Keeps the executables that can be chosen in order, so that a step looks only at those whose marks
// change. The marks are those of StandardSemantics and of earliest deadline first, or of no
// scheduler: at the end of a step they are as if all executables had been walked.
//
// In a step at time t with the latest time H each executable is
// - CLOSED: not enabled until H; marked by the semantics. NEVER: so for ever.
// - WAITING: enabled between t and H.
// - READY: enabled at t.
class Agenda {
 public:
  using Id = std::uint32_t;
  static constexpr Id NONE = ~Id{0};

  enum class Policy { EVERYTHING, EARLIEST_DEADLINE };

  // Of something that is left: its slot, and when it can fire.
  struct Place {
    std::size_t slot;
    Times::Number next;
  };

  // With a margin as in EDFdeltaScheduler; MAX: none.
  Agenda(Policy policy, Times::Number margin);

  // Forgets everything; there are so many slots from now on, in the order of the walk.
  void reset(std::size_t slots);
  // Puts an executable into a slot, behind the one with the given number, NONE for the first one.
  // Returns its number.
  Id add(std::size_t slot, Id before, Executable& executable, const Times& times);
  // Empties a slot.
  void clear(std::size_t slot);
  // The slots of which something was said until a time before t; they are to be filled anew. In the
  // given list, perhaps more than once.
  void expire(Times::Number t, std::vector<std::size_t>& slots);

  // The semantics at time t, not beyond the given latest time; returns the new one. Requires: t is
  // not below that of the last call and not above what that has returned.
  Times::Number open(Times::Number t, Times::Number latest);
  // The scheduler, after open().
  void choose();
  // Whether the semantics leaves nothing.
  bool empty() const;
  // The slot of what will be enabled next; NONE when that is not known.
  Id upcoming() const;
  // How many executables it has.
  std::size_t size() const { return mSize; }
  // How many the scheduler has left, and number n of them in the order of the walk: null when it
  // answers something else than was said when it was added.
  std::size_t count() const { return mLeft.total(); }
  Executable* at(std::size_t index, Place& place) const;

 private:
  enum class State : std::uint8_t { NEVER, CLOSED, WAITING, READY };
  enum class Kind : std::uint8_t { NONE, READY, WAITING, SOONEST };
  using Number = Times::Number;
  using Pair = std::pair<Number, Number>;

  struct Entry {
    Executable* executable;
    Times times;
    Id slot;
    Id behind;  // the next one in the slot
    State state;
    bool left;
  };
  // Whom the scheduler leaves: ready ones or waiting ones with this deadline and, waiting, this
  // next time; and perhaps the eager ones of that state. SOONEST: waiting ones that are found by
  // their next time first.
  struct Target {
    Kind kind;
    bool eager;
    Number deadline;
    Number next;

    bool operator==(const Target& other) const {
      return kind == other.kind && eager == other.eager && deadline == other.deadline &&
             next == other.next;
    }
  };

  void reserve(std::size_t entries);
  void move(Id id, State state);
  void enter(Id id, State state);
  void quit(Id id);
  void setLeft(Id id, bool left);
  void mark(const Entry& entry);
  void becomeReady();
  Number latestOf(Number latest) const;
  Number openUntil(Number latest);
  void closeAfter(Number latest);
  Target earliest() const;
  Target earliestWaiting() const;
  Target soonest();
  Number deadlineOf(const Target& target) const;
  bool isMeant(const Entry& entry) const;
  void gatherMeant();

  const Policy mPolicy;
  const Number mMargin;
  std::vector<Entry> mEntries;
  std::size_t mSize;       // entries in use
  Id mFree;                // chain of free entries, linked through behind
  std::vector<Id> mSlots;  // the first entry of each
  // By low: those that are closed and have a deadline of their own, those that are eager.
  KeyedHeap<Number> mClosed;
  KeyedHeap<Number> mClosedEager;
  // Those that are waiting by low, by falling low, and by deadline and low unless eager.
  KeyedHeap<Number> mWaiting;
  KeyedHeap<Number> mWaitingLast;
  KeyedHeap<Pair> mWaitingDue;
  // Those that are ready by deadline unless eager, and the eager ones without order.
  KeyedHeap<Number> mReadyDue;
  IdList mReadyEager;
  KeyedHeap<Number> mExpiry;
  std::size_t mWaitingEager;  // their low is mLatest
  CountTree mLeft;            // by slot
  IdList mLeftIds;            // but for EVERYTHING
  std::vector<Id> mGathered;
  Target mTarget;
  Number mNow;
  Number mLatest;
};

}  // namespace Vesk

#endif
