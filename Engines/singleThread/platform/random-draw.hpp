// Choice by chance. Private to the engine.
#ifndef VESK_RANDOM_DRAW_HPP
#define VESK_RANDOM_DRAW_HPP

#include <cstdlib>

namespace Vesk {

// A number that rand() has drawn.
class RandomDraw {
 public:
  RandomDraw() : mNumber(std::rand()) {}

  // Times 2^-31, a number from 0 to below 1.
  long double fraction() const { return mNumber * 0x1p-31L; }
  // That part of a whole, truncated. Extended precision holds the product exactly when the whole is
  // below 2^32; then integers give the same, and several times as quickly.
  long long of(long long whole) const {
    const bool isExact = 0 <= whole && whole < LIMIT;
    return isExact ? (mNumber * whole) >> 31 : ofMuch(whole);
  }

 private:
  static constexpr long long LIMIT = 1LL << 32;

  [[gnu::noinline]] long long ofMuch(long long whole) const {
    return static_cast<long long>(fraction() * static_cast<long double>(whole));
  }

  int mNumber;
};

}  // namespace Vesk

#endif
