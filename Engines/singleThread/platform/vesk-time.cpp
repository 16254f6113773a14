#include "vesk-time.hpp"

#include <ostream>

#include "plain-output.hpp"

namespace {

constexpr char INFINITY_TEXT[] = "_";
constexpr char UNIT[] = "ms";
constexpr long long MICROSECONDS_PER_UNIT = 1000;

// Deliberate: the limits of a 32-bit int although a time is wider, because generated code and state
// texts know these two numbers. Finite times beyond them exist.
// (docs/decisions/0009-the-horizon.md)
constexpr Vesk::Time LEAST(-2147483647 - 1);
constexpr Vesk::Time GREATEST(2147483647);

bool infinite(const Vesk::Time& t) {
  return t == Vesk::Time::MIN || t == Vesk::Time::MAX;
}

unsigned long long bits(const Vesk::Time& t) {
  return static_cast<unsigned long long>(t.microseconds());
}

// Two's complement of a sum made without sign, in which nothing overflows.
Vesk::Time fromBits(unsigned long long value) {
  return Vesk::Time(static_cast<long long>(value));
}

}  // namespace

namespace Vesk {

// Constant-initialised, as the constexpr copies prove: models build intervals and ports while their
// own statics are initialised.
const Time Time::MIN = LEAST;
const Time Time::MAX = GREATEST;

Time Time::operator+(const Time& t) const {
  if (infinite(*this)) return *this;
  if (infinite(t)) return t;
  return fromBits(bits(*this) + bits(t));
}

Time Time::operator-(const Time& t) const {
  if (infinite(*this)) return *this;
  if (t == MAX) return MIN;
  if (t == MIN) return MAX;
  return fromBits(bits(*this) - bits(t));
}

Time Time::operator-() const {
  return Time(0) - *this;
}

Time& Time::operator+=(const Time& t) {
  return *this = *this + t;
}

Time& Time::operator-=(const Time& t) {
  return *this = *this - t;
}

std::ostream& operator<<(std::ostream& out, const Time& t) {
  const PlainOutput plain(out);
  if (infinite(t)) {
    plain << INFINITY_TEXT;
  } else {
    plain << t.microseconds() / MICROSECONDS_PER_UNIT << UNIT;
  }
  return out;
}

}  // namespace Vesk
