// Clocks that a test sets.
#ifndef VESK_TESTS_KIT_CLOCKS_HPP
#define VESK_TESTS_KIT_CLOCKS_HPP

#include "vesk.hpp"

namespace kit {

// A clock that shows what the test says.
class HandClock : public GenericClock {
 public:
  HandClock(Vesk::Time start) : GenericClock("hand"), now(start) {}
  Vesk::Time time() const override { return now; }
  Vesk::Time now;
};

}  // namespace kit

#endif
