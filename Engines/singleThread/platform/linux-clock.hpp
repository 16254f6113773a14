// Real time from the operating system, for runs with --realtime.
//
//     // A program with a `main` of its own makes a logical clock over it.
//     LinuxClock wall("wall");
//     LogicalClock logical("logical", wall);
#ifndef VESK_LINUX_CLOCK_HPP
#define VESK_LINUX_CLOCK_HPP

#include "clock.hpp"

// Reads the microseconds of wall-clock time since its construction. When the clock of the machine
// is set, the readings jump by as much, also backwards.
class LinuxClock : public PlatformClock {
 public:
  // Copies the name, as every clock does. Its time starts at 0 now.
  LinuxClock(const char* name);
  Vesk::Time time() const override;
  // Spins on the clock until t: exact release times at the price of a busy processor. It neither
  // sleeps nor yields, and follows the wall clock when somebody sets that back or forward.
  void wait(const Vesk::Time& t) override;

 protected:
  // The wall-clock reading that counts as 0: the one at the construction.
  const Vesk::Time& start() const { return mStart; }
  void setStart(const Vesk::Time& t) { mStart = t; }
  // The absolute wall-clock reading in microseconds since 1970. It lies far beyond Vesk::Time::MAX
  // and is a finite time all the same.
  Vesk::Time TIME() const;

  Vesk::Time mStart;  // see start()
};

#endif
