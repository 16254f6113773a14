// Replaces rand() and srand() of the C library. Include it in one source of a test program.
#ifndef VESK_TESTS_SCRIPTED_RAND_HPP
#define VESK_TESTS_SCRIPTED_RAND_HPP

#include <cstdlib>
#include <deque>
#include <vector>

// What rand() returns next; 0 when nothing is left.
inline std::deque<int> scriptedDraws;
// How often rand() was called.
inline int drawCount = 0;
// What srand() was given.
inline std::vector<unsigned int> seeds;

inline void scriptDraws(std::deque<int> draws) {
  scriptedDraws = std::move(draws);
  drawCount = 0;
}

extern "C" {
int rand() noexcept {
  ++drawCount;
  if (scriptedDraws.empty()) return 0;
  const int draw = scriptedDraws.front();
  scriptedDraws.pop_front();
  return draw;
}
void srand(unsigned int seed) noexcept {
  seeds.push_back(seed);
}
}

#endif
