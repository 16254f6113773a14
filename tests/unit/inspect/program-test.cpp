// What a model prints while the program works does not stand among its results.
#include "program.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "kit/processes.hpp"

using Vesk::Inspect::OutputAside;

namespace {

kit::Outcome printedAround(OutputAside::Place place, bool together) {
  return kit::isolated([&] {
    std::ios::sync_with_stdio(together);
    {
      const OutputAside aside(place);
      std::printf("by printf\n");
      std::cout << "by a stream\n";
    }
    return static_cast<int>(Vesk::Inspect::print("the result\n"));
  });
}

}  // namespace

// Each of the two may have a buffer of its own.
TEST(OutputAsideTest, WhatTheModelPrintsIsNotInTheResult) {
  for (const bool together : {true, false}) {
    for (const auto place : {OutputAside::TO_NOWHERE, OutputAside::TO_STANDARD_ERROR}) {
      const kit::Outcome outcome = printedAround(place, together);
      EXPECT_EQ(0, outcome.status);
      EXPECT_EQ("the result\n", outcome.out);
      EXPECT_EQ(place == OutputAside::TO_STANDARD_ERROR,
                outcome.err.find("by printf\n") != std::string::npos);
    }
  }
}
