// What every benchmark program shares: its main and a model for the engine's library to refer to.

#include <benchmark/benchmark.h>

#include "component.hpp"

// Weak, so that a benchmark can define a model of its own.
__attribute__((weak)) Compound* Compound::Create(int, char**) {
  return nullptr;
}

BENCHMARK_MAIN();
