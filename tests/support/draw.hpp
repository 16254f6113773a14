// Random numbers that are the same on every machine: the generator and the reduction are fixed.
#ifndef VESK_TESTS_DRAW_HPP
#define VESK_TESTS_DRAW_HPP

#include <random>

class Draw {
 public:
  explicit Draw(unsigned int seed) : mGenerator(seed) {}
  // A number in 0 .. n-1.
  int below(int n) {
    return static_cast<int>(mGenerator() % static_cast<std::mt19937::result_type>(n));
  }
  // A number in low .. high.
  int between(int low, int high) { return low + below(high - low + 1); }
  bool coin() { return below(2) == 1; }

 private:
  std::mt19937 mGenerator;
};

#endif
