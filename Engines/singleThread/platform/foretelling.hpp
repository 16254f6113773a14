// When executables can fire, said beforehand. Private to the engine.
#ifndef VESK_FORETELLING_HPP
#define VESK_FORETELLING_HPP

#include "agenda.hpp"
#include "vesk-time.hpp"

class Interaction;
class LogicalClock;
class Port;

namespace Vesk {

// Whether a time is none of those that the operations of times treat in a special way.
inline bool isOrdinary(const Time& t) {
  return Time::MIN < t && t < Time::MAX;
}

// Says for a time of the run's clock what executables answer from then on, until their deadline,
// which no step passes: as long as its atoms do not move, that follows from the constraint of an
// executable and a running clock. Nothing is said of ports over clocks that stand still or have a
// class of the model, of executables whose class has a deadline() or next() of its own, and of
// times that do not fit.
class Foretelling {
 public:
  explicit Foretelling(const LogicalClock& clock) : mClock(clock) {}

  // False when that cannot be said. Requires: the port has a constraint.
  bool tell(const Interaction& interaction, const Time& now, Times& result) const;
  bool tell(const Port& port, const Time& now, Times& result) const;

 private:
  bool shiftOf(const Port& port, Times::Number& shift) const;

  const LogicalClock& mClock;
};

}  // namespace Vesk

#endif
