// What every test program shares: its main and a model for the engine's library to refer to.

#include <gtest/gtest.h>

#include "component.hpp"

// Weak, so that a test can define a model of its own.
__attribute__((weak)) Compound* Compound::Create(int, char**) {
  return nullptr;
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
