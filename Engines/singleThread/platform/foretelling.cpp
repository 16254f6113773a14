#include "foretelling.hpp"

#include <algorithm>

#include "clock.hpp"
#include "constraint.hpp"
#include "interaction-index.hpp"
#include "interaction.hpp"
#include "port.hpp"
#include "virtual-table.hpp"

using Number = Vesk::Times::Number;
using Vesk::Time;
using Vesk::Times;

namespace {

// Whether sums with ordinary times may not fit into 64 bits: those wrap around, and nothing stays
// in order.
bool isFar(const Time& t) {
  constexpr Number FAR = Number{1} << 62;
  return t.microseconds() < -FAR || t.microseconds() > FAR;
}

// Later by some time; infinite times stay as they are.
Number shifted(const Time& t, Number shift) {
  const bool infinite = t == Time::MIN || t == Time::MAX;
  return infinite ? t.microseconds() : t.microseconds() + shift;
}

// The operations deadline() and next() of an executable's class stand in these slots of its table,
// behind the destructors and the three operations before them.
constexpr std::size_t FIRST_ASKED = 5;
constexpr std::size_t END_ASKED = 7;

// Whether the class of an executable leaves deadline() and next() as they are in another class.
bool answersAs(const Executable& executable, const Executable& other) {
  const auto* const table = static_cast<const void* const*>(Vesk::tableOf(executable));
  const auto* const expected = static_cast<const void* const*>(Vesk::tableOf(other));
  return table == expected ||
         std::equal(table + FIRST_ASKED, table + END_ASKED, expected + FIRST_ASKED);
}

bool isPlain(const Interaction& interaction) {
  static const Interaction* const plain = new Vesk::StoredInteraction(nullptr, BitVector::EMPTY);
  return answersAs(interaction, *plain);
}

bool isPlain(const Port& port) {
  static const Port* const plain = new Port("", static_cast<const Atom*>(nullptr));
  return answersAs(port, *plain);
}

bool isPlain(const GenericClock& clock) {
  static const Clock* const plain = new Clock("", static_cast<const LogicalClock*>(nullptr));
  return Vesk::tableOf(clock) == Vesk::tableOf<GenericClock>(*plain);
}

// The deadline under the intervals from one of them on, none of them being eager and current.
Time deadlineFrom(Constraint& constraint, unsigned int index) {
  for (; index < constraint.size(); ++index) {
    const Interval& interval = constraint[index];
    if (interval.urgency() == LAZY) continue;
    return interval.urgency() == DELAYABLE ? interval.high() : interval.low();
  }
  return Time::MAX;
}

// What a constraint says from now on, with the values of its clock so much later in those of the
// run's clock. False when it has times that cannot be foretold in this way.
bool tellFrom(Constraint& constraint, Number shift, const Time& now, Times& result) {
  const Time t(static_cast<long long>(now.microseconds() - shift));
  if (!Vesk::isOrdinary(t) || (constraint.size() > 1 && !constraint.check())) return false;
  unsigned int index = 0;
  while (index < constraint.size() && constraint[index].high() < t) ++index;
  result = {Times::MAX, Times::MAX, Times::MAX, false};
  if (index == constraint.size()) return true;
  const Interval& interval = constraint[index];
  const Time deadline = deadlineFrom(constraint, index);
  if (isFar(interval.low()) || isFar(interval.high()) || isFar(deadline)) return false;
  const bool unbounded = interval.high() == Time::MAX;
  result.low = shifted(interval.low(), shift);
  result.eager = interval.urgency() == EAGER;
  result.deadline = shifted(deadline, shift);
  if (unbounded && shift < 0) result.until = Times::MAX + shift - 1;
  if (!unbounded && interval.urgency() == LAZY)
    result.until = interval.high().microseconds() + shift;
  return result.deadline <= Times::MAX && (!result.eager || result.low < Times::MAX);
}

}  // namespace

namespace Vesk {

bool Foretelling::tell(const Interaction& interaction, const Time& now, Times& result) const {
  if (!isPlain(interaction)) return false;
  if (interaction.constraint() != nullptr) {
    return tellFrom(*interaction.constraint(), 0, now, result);
  }
  result = {Time::MIN.microseconds(), Times::MAX, Times::MAX, false};
  return true;
}

bool Foretelling::tell(const Port& port, const Time& now, Times& result) const {
  Number shift = 0;
  return isPlain(port) && shiftOf(port, shift) && tellFrom(*port.constraint(), shift, now, result);
}

// How much later the values of the constraint's clock are in those of the run's clock. False when
// that may change without anybody noting it.
bool Foretelling::shiftOf(const Port& port, Number& shift) const {
  const GenericClock* const own = port.constraint()->clock();
  const GenericClock* const shown = port.displayClock();
  if (own == nullptr || shown == nullptr || own == shown) return true;
  if (shown != &mClock || !isPlain(*own)) return false;
  const auto& running = static_cast<const Clock&>(*own);
  if (running.isStopped() || &running.mLogicalClock != &mClock) return false;
  const Time drift = own->drift(shown);
  shift = drift.microseconds();
  return isOrdinary(drift);
}

}  // namespace Vesk
