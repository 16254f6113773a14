// What the tests of the command line start from.
#ifndef VESK_TESTS_COMMAND_LINE_FIXTURE_HPP
#define VESK_TESTS_COMMAND_LINE_FIXTURE_HPP

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kit/processes.hpp"
#include "kit/systems.hpp"

namespace kit {

constexpr char BANNER[] = "VESK mono-threaded engine. Version: Engines: d20101124\n";
constexpr int BAD_OPTION = 255;

using Arguments = std::vector<std::string>;

// What Compound::Create calls.
inline std::function<Compound*(int, char**)> create;

inline Compound* twoFirings(int, char**) {
  System* system = new System;
  system->counter("A", "ca", 2);
  return system;
}

inline Outcome runMain(const Arguments& arguments, const std::string& input = "") {
  return isolated([&] { return engineMain(arguments); }, input);
}

class CommandLineTest : public testing::Test {
 protected:
  void SetUp() override { create = twoFirings; }
};

}  // namespace kit

#endif
