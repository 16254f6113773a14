// The one time value of the engine: clock readings, interval bounds, delays and deadlines.
//
// A time counts microseconds in 64 bits. Two values are infinities: MIN and MAX, the limits of a
// 32-bit int. Finite values beyond them exist (a wall-clock reading, for example) and compare as
// plain numbers; only the two exact values are infinite.
//
// Numbers mix with times and count microseconds:
//
//     bool isLate(const Vesk::Time& now) {
//       const Vesk::Time period(40000);                 // 40 ms
//       const Vesk::Time deadline = period + 2000;      // 42 ms
//       if (deadline == Vesk::Time::MAX) return false;  // the way to test for infinity
//       return now > deadline;
//     }
//
// What the operators give when an operand is infinite; t is a finite time:
//
//   MAX + anything, MAX - anything    MAX
//   MIN + anything, MIN - anything    MIN
//   t + MAX, t - MIN                  MAX
//   t + MIN, t - MAX                  MIN
//   -MAX, -MIN                        MIN, MAX
//
// A sum of finite times is not limited. It may lie beyond MAX and is then larger than infinity; a
// model that keeps its times well below 35 minutes never meets such a time. `t >= Vesk::Time::MAX`
// therefore is no test for infinity.
#ifndef VESK_TIME_HPP
#define VESK_TIME_HPP

#include <iosfwd>
#include <type_traits>

namespace Vesk {

// A date or a duration; nothing tells the two apart. A plain value of 8 bytes: copying is cheap,
// and no operation fails or allocates. In a comparison, sum or difference with a number, the number
// counts microseconds. Trace and dialogues show milliseconds.
class Time {
  // Lets a template take numbers of every type, and nothing else, so that the compiler never has to
  // choose between converting the number and converting the time.
  template <class Number>
  using IfNumber = std::enable_if_t<std::is_arithmetic_v<Number>, int>;

 public:
  // Minus infinity, -2147483648: "unbounded below". Below every time that a model uses. Like MAX it
  // can be used while the globals of a model are initialised.
  static const Time MIN;
  // Plus infinity, 2147483647: "no deadline", "unbounded above". About 35 min 47 s of finite model
  // time lie below it.
  static const Time MAX;

  // Zero.
  constexpr Time() : mTime(0) {}
  // The value in microseconds. The conversions are implicit, so a function that takes a Time can be
  // given a number. Every value is allowed, also those of MIN and MAX, which then are infinite.
  constexpr Time(int microseconds) : mTime(microseconds) {}
  // The same from wider numbers; `long` has 32 bits on some machines, `long long` has 64 on all.
  constexpr Time(long microseconds) : mTime(microseconds) {}
  constexpr Time(const long long& microseconds) : mTime(microseconds) {}
  // From a number of microseconds that need not be whole: 1e6 is a second, 0.9 is 0. For a number
  // of milliseconds multiply by 1000 first. Truncates towards zero. What does not fit into 64 bits
  // becomes the nearest limit, NaN becomes 0.
  constexpr Time(const double& microseconds)
      : mTime(truncated(static_cast<long double>(microseconds))) {}
  // A number of milliseconds: milliseconds(25) is Time(25000), milliseconds(0.5) is Time(500). A
  // whole number always gives a finite time. Of a fraction of a microsecond nothing is left, and
  // what does not fit into 64 bits becomes the nearest limit.
  template <class Number, IfNumber<Number> = 0>
  static constexpr Time milliseconds(Number n) {
    if constexpr (std::is_floating_point_v<Number>) {
      return Time(truncated(static_cast<long double>(n) * 1000));
    } else {
      return thousandfold(number(n).mTime);
    }
  }
  // Copies of a time are independent of it. They stay what they are when the clock that gave the
  // time goes on.
  constexpr Time(const Time&) = default;
  Time& operator=(const Time&) = default;

  // Sum. An infinity wins, the left operand's first: MAX + MIN is MAX, MIN + MAX is MIN. A finite
  // sum is not clamped; one that does not fit into 64 bits wraps around.
  Time operator+(const Time& t) const;
  // Difference, the duration from t to this date. An infinite left operand stays (MAX - MAX is
  // MAX); a finite time minus MAX is MIN, minus MIN is MAX. A finite difference is not clamped.
  Time operator-(const Time& t) const;
  // Time(0) - *this, so the infinities change places: -MAX is MIN although the numbers of the two
  // are not opposite.
  Time operator-() const;
  // As t = t + other and t = t - other: an infinite time stays what it is.
  Time& operator+=(const Time& t);
  Time& operator-=(const Time& t);

  // The same with a number on either side. It is converted as the constructors do: a fraction is
  // cut off, what does not fit into 64 bits becomes the nearest limit.

  // A number of microseconds later. An infinite time stays infinite, and a number that equals MIN
  // or MAX counts as infinite: Time(5) + 2147483647 is MAX.
  template <class Number, IfNumber<Number> = 0>
  friend Time operator+(const Time& t, Number n) {
    return t + number(n);
  }
  // The same. The order of the two matters only when both are infinite, and then the left one wins.
  template <class Number, IfNumber<Number> = 0>
  friend Time operator+(Number n, const Time& t) {
    return number(n) + t;
  }
  // A number of microseconds earlier.
  template <class Number, IfNumber<Number> = 0>
  friend Time operator-(const Time& t, Number n) {
    return t - number(n);
  }
  // A number of microseconds less a time: 50000 - now is what is left of 50 ms. A finite number
  // less MAX is MIN.
  template <class Number, IfNumber<Number> = 0>
  friend Time operator-(Number n, const Time& t) {
    return number(n) - t;
  }

  // Plain comparison of the numbers; the infinities are no special case. So MIN is below and MAX
  // above every time of a model, and each infinity equals itself alone.
  bool operator<(const Time& t) const { return mTime < t.mTime; }
  bool operator<=(const Time& t) const { return mTime <= t.mTime; }
  bool operator>(const Time& t) const { return mTime > t.mTime; }
  bool operator>=(const Time& t) const { return mTime >= t.mTime; }
  bool operator==(const Time& t) const { return mTime == t.mTime; }
  bool operator!=(const Time& t) const { return mTime != t.mTime; }

  // Comparison with a number of microseconds of any arithmetic type, on either side. The number is
  // converted to a time first, which cuts a fraction off: Time(0) == 0.5 is true, and Time(0) < 0.5
  // is false. NaN counts as 0.

  // Earlier, or shorter.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator<(const Time& t, Number n) {
    return t < number(n);
  }
  // The same with the number on the left: n < t.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator<(Number n, const Time& t) {
    return number(n) < t;
  }
  // Not later, or not longer.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator<=(const Time& t, Number n) {
    return t <= number(n);
  }
  // The same with the number on the left: n <= t.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator<=(Number n, const Time& t) {
    return number(n) <= t;
  }
  // Later, or longer.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator>(const Time& t, Number n) {
    return t > number(n);
  }
  // The same with the number on the left: n > t.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator>(Number n, const Time& t) {
    return number(n) > t;
  }
  // Not earlier, or not shorter.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator>=(const Time& t, Number n) {
    return t >= number(n);
  }
  // The same with the number on the left: n >= t.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator>=(Number n, const Time& t) {
    return number(n) >= t;
  }
  // The same number of microseconds. For an infinity compare with Vesk::Time::MIN or MAX, which
  // says what is meant.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator==(const Time& t, Number n) {
    return t == number(n);
  }
  // The same with the number on the left: n == t.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator==(Number n, const Time& t) {
    return number(n) == t;
  }
  // Another number of microseconds.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator!=(const Time& t, Number n) {
    return t != number(n);
  }
  // The same with the number on the left: n != t.
  template <class Number, IfNumber<Number> = 0>
  friend bool operator!=(Number n, const Time& t) {
    return number(n) != t;
  }

  // The value in microseconds, exact up to 2^53; MIN and MAX become their numbers and not the
  // infinities of double.
  operator double() const { return static_cast<double>(mTime); }
  // The value in microseconds. The integer conversions keep the low bits of what does not fit,
  // which may change the sign; use microseconds() for the whole value on every machine.
  operator int() const { return static_cast<int>(mTime); }
  operator long() const { return static_cast<long>(mTime); }
  explicit operator long long() const { return mTime; }
  // The whole value in microseconds, 64 bits wide, also where `long` has 32.
  constexpr long long microseconds() const { return mTime; }

 protected:
  long long mTime;  // microseconds

 private:
  // The time that a number stands for. A floating-point number is truncated; an unsigned one that
  // is too large becomes the largest time, which is finite.
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
  static constexpr Time thousandfold(long long n) {
    constexpr long long HIGHEST = 0x7FFFFFFFFFFFFFFFLL;
    if (n > HIGHEST / 1000) return Time(HIGHEST);
    if (n < -(HIGHEST / 1000)) return Time(-HIGHEST - 1);
    return Time(n * 1000);
  }
  // The nearest number towards zero that fits into 64 bits. Computed in extended precision, which
  // holds every 64-bit number exactly, so that all machines cut at the same place.
  static constexpr long long truncated(long double value) {
    if (value != value) return 0;
    if (value >= 0x1p63L) return 0x7FFFFFFFFFFFFFFFLL;
    if (value < -0x1p63L) return -0x7FFFFFFFFFFFFFFFLL - 1;
    return static_cast<long long>(value);
  }
};

// Writes whole milliseconds, truncated towards zero, followed by "ms": "1ms" for 1999 and "0ms" for
// -999 microseconds. Both infinities are "_". Writes no end of line. The base, width, fill and
// locale that a model has left on the stream do not change the text.
std::ostream& operator<<(std::ostream& out, const Time& t);

}  // namespace Vesk

#endif
