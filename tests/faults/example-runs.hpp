// The example programs in all their modes, in runs short enough to be repeated for every call that
// they make.
#ifndef VESK_TESTS_FAULTS_EXAMPLE_RUNS_HPP
#define VESK_TESTS_FAULTS_EXAMPLE_RUNS_HPP

#include <ostream>
#include <string>
#include <vector>

#include "child.hpp"

struct ExampleRun {
  std::string program;
  std::string mode;
  std::vector<std::string> arguments;
  std::string input;
  std::string clock;  // the readings of a scripted one

  // Explorations write x.aut and so on.
  bool explores() const { return mode == "bfs" || mode == "dfs" || mode == "explore"; }
  Start start() const;
};

std::ostream& operator<<(std::ostream& out, const ExampleRun& run);

std::vector<ExampleRun> exampleRuns();
std::string nameOf(const ExampleRun& run);

// `vesk-lts info x` in the folder of an exploration.
Start readingOfFiles(const std::string& base);

#endif
