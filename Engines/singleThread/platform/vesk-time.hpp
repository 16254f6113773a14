// The one time value of the engine: clock readings, interval bounds, delays and deadlines.
//
// A time counts microseconds in 64 bits. Two values are infinities: MIN and MAX, the limits of a
// 32-bit int. Finite values beyond them exist (a wall-clock reading, for example) and compare as
// plain numbers; only the two exact values are infinite.
#ifndef VESK_TIME_HPP
#define VESK_TIME_HPP

#include <iosfwd>
#include <type_traits>

namespace Vesk {

// A date or a duration. In a comparison, sum or difference with a number, the number counts
// microseconds.
class Time {
  // Lets a template take numbers of every type, and nothing else.
  template <class Number>
  using IfNumber = std::enable_if_t<std::is_arithmetic_v<Number>, int>;

 public:
  // Minus infinity, -2147483648: below every time that a model uses.
  static const Time MIN;
  // Plus infinity, 2147483647: "no deadline", "unbounded above". About 35 min 47 s of finite model
  // time lie below it.
  static const Time MAX;

  constexpr Time() : mTime(0) {}
  // The value in microseconds.
  constexpr Time(int microseconds) : mTime(microseconds) {}
  constexpr Time(long microseconds) : mTime(microseconds) {}
  constexpr Time(const long long& microseconds) : mTime(microseconds) {}
  // Truncates towards zero. What does not fit into 64 bits becomes the nearest limit, NaN becomes
  // 0.
  constexpr Time(const double& microseconds)
      : mTime(truncated(static_cast<long double>(microseconds))) {}
  constexpr Time(const Time&) = default;
  Time& operator=(const Time&) = default;

  // Sum. An infinity wins, the left operand's first: MAX + MIN is MAX, MIN + MAX is MIN. A finite
  // sum is not clamped.
  Time operator+(const Time& t) const;
  // Difference. An infinite left operand stays (MAX - MAX is MAX); a finite time minus MAX is MIN,
  // minus MIN is MAX.
  Time operator-(const Time& t) const;
  // Time(0) - *this, so the infinities change places.
  Time operator-() const;
  Time& operator+=(const Time& t);
  Time& operator-=(const Time& t);

  // The same with a number on either side. It is converted as the constructors do: a fraction is
  // cut off, what does not fit into 64 bits becomes the nearest limit.
  template <class Number, IfNumber<Number> = 0>
  friend Time operator+(const Time& t, Number n) {
    return t + number(n);
  }
  template <class Number, IfNumber<Number> = 0>
  friend Time operator+(Number n, const Time& t) {
    return number(n) + t;
  }
  template <class Number, IfNumber<Number> = 0>
  friend Time operator-(const Time& t, Number n) {
    return t - number(n);
  }
  template <class Number, IfNumber<Number> = 0>
  friend Time operator-(Number n, const Time& t) {
    return number(n) - t;
  }

  // Plain comparison of the numbers; the infinities are no special case.
  bool operator<(const Time& t) const { return mTime < t.mTime; }
  bool operator<=(const Time& t) const { return mTime <= t.mTime; }
  bool operator>(const Time& t) const { return mTime > t.mTime; }
  bool operator>=(const Time& t) const { return mTime >= t.mTime; }
  bool operator==(const Time& t) const { return mTime == t.mTime; }
  bool operator!=(const Time& t) const { return mTime != t.mTime; }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator<(const Time& t, Number n) {
    return t < number(n);
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator<(Number n, const Time& t) {
    return number(n) < t;
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator<=(const Time& t, Number n) {
    return t <= number(n);
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator<=(Number n, const Time& t) {
    return number(n) <= t;
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator>(const Time& t, Number n) {
    return t > number(n);
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator>(Number n, const Time& t) {
    return number(n) > t;
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator>=(const Time& t, Number n) {
    return t >= number(n);
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator>=(Number n, const Time& t) {
    return number(n) >= t;
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator==(const Time& t, Number n) {
    return t == number(n);
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator==(Number n, const Time& t) {
    return number(n) == t;
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator!=(const Time& t, Number n) {
    return t != number(n);
  }
  template <class Number, IfNumber<Number> = 0>
  friend bool operator!=(Number n, const Time& t) {
    return number(n) != t;
  }

  // The value in microseconds. The integer conversions keep the low bits; use microseconds() for
  // the whole value.
  operator double() const { return static_cast<double>(mTime); }
  operator int() const { return static_cast<int>(mTime); }
  operator long() const { return static_cast<long>(mTime); }
  explicit operator long long() const { return mTime; }
  constexpr long long microseconds() const { return mTime; }

 protected:
  long long mTime;  // microseconds

 private:
  // The time that a number stands for.
  template <class Number>
  static constexpr Time number(Number n) {
    if constexpr (std::is_floating_point_v<Number>) {
      return Time(truncated(static_cast<long double>(n)));
    } else {
      constexpr unsigned long long HIGHEST = 0x7FFFFFFFFFFFFFFFULL;
      const bool fits = n < 1 || static_cast<unsigned long long>(n) <= HIGHEST;
      return Time(static_cast<long long>(fits ? static_cast<unsigned long long>(n) : HIGHEST));
    }
  }
  static constexpr long long truncated(long double value) {
    if (value != value) return 0;
    if (value >= 0x1p63L) return 0x7FFFFFFFFFFFFFFFLL;
    if (value < -0x1p63L) return -0x7FFFFFFFFFFFFFFFLL - 1;
    return static_cast<long long>(value);
  }
};

// Writes whole milliseconds, truncated towards zero, followed by "ms"; both infinities are "_". No
// end of line.
std::ostream& operator<<(std::ostream& out, const Time& t);

}  // namespace Vesk

#endif
