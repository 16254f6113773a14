// The same as an agenda, for a few executables. Private to the engine.
#ifndef VESK_SHORT_AGENDA_HPP
#define VESK_SHORT_AGENDA_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include "agenda.hpp"

namespace Vesk {

// Keeps what a few executables answer in one step, and does with that what the filters do: so each
// is asked once. It is filled anew in every step.
class ShortAgenda {
 public:
  static constexpr std::size_t MOST = 4;

  void clear() {
    mCount = 0;
    mUntil = NEVER;
  }
  // The next one in the order of the walk. False when there is no room for it.
  bool add(Executable& executable, const Times& times);

  // Whether something was said until a time before t.
  bool isOver(Times::Number t) const { return mUntil < t; }
  // The semantics at time t, not beyond the given latest time; returns the new one. Requires: t is
  // not below that of the last call.
  Times::Number open(Times::Number t, Times::Number latest);
  // The scheduler, after open(): earliest deadline first, with a margin as in EDFdeltaScheduler;
  // MAX: none.
  void choose(Times::Number margin);
  // How many are left, and number n of them in the order of the walk.
  std::size_t count() const { return mCount; }
  Executable* at(std::size_t index) const { return mEntries[index].executable; }
  // When that can fire.
  Times::Number nextAt(std::size_t index) const { return mEntries[index].next; }

 private:
  using Number = Times::Number;
  static constexpr Number NEVER = INT64_MAX;

  struct Entry {
    Executable* executable;
    Times times;
    Number next;  // what it answers at the time of the last open()
    Number deadline;
  };
  struct Pair {
    Number first;
    Number second;
  };

  static void lower(Pair& pair, Number first, Number second);
  template <class Test>
  void removeIf(Test test, unsigned int mark);

  std::array<Entry, MOST> mEntries;  // those that are left
  std::size_t mCount = 0;
  Number mUntil = NEVER;
};

}  // namespace Vesk

#endif
