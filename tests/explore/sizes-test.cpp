// State spaces whose size is known by a formula or from a small program of their own.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <queue>
#include <set>
#include <string>
#include <vector>

#include "program.hpp"

using kit::ExplorationChecker;
using kit::Size;

namespace {

using Number = long long;

// The sanitizer makes the largest sizes long.
#if defined(__SANITIZE_ADDRESS__)
constexpr int MAX_COUNTERS = 4;
constexpr int MAX_PHILOSOPHERS = 9;
#else
constexpr int MAX_COUNTERS = 5;
constexpr int MAX_PHILOSOPHERS = 11;
#endif

Size explored(const std::string& program, int operand, const std::string& traversal) {
  const ProgramFolder folder;
  EXPECT_EQ(0, folder.run(program + " --" + traversal + " -o x " + std::to_string(operand)));
  EXPECT_EQ("", folder.content("err"));
  const ExplorationChecker files = folder.check("x");
  EXPECT_EQ("", files.faults() + files.missing());
  return files.size();
}

// The states that can be reached from a first one. A state is a word, its successors are words, one
// per transition.
template <class Successors>
Size reach(const std::string& first, Successors successors) {
  Size size;
  std::set<std::string> known = {first};
  std::queue<std::string> waiting;
  for (waiting.push(first); !waiting.empty(); waiting.pop()) {
    const std::vector<std::string> next = successors(waiting.front());
    size.transitions += next.size();
    if (next.empty()) ++size.deadlocks;
    for (const std::string& state : next) {
      if (known.insert(state).second) waiting.push(state);
    }
  }
  size.states = static_cast<long long>(known.size());
  return size;
}

// A letter per philosopher: t thinks, l has the left fork, e eats. Fork i is at the left of
// philosopher i.
std::vector<std::string> philosophersNext(const std::string& state) {
  const std::size_t n = state.size();
  const auto isFree = [&](std::size_t fork) {
    return state[fork] == 't' && state[(fork + n - 1) % n] != 'e';
  };
  std::vector<std::string> next;
  for (std::size_t i = 0; i < n; ++i) {
    std::string moved = state;
    if (state[i] == 't' && isFree(i)) {
      moved[i] = 'l';
    } else if (state[i] == 'l' && isFree((i + 1) % n)) {
      moved[i] = 'e';
    } else if (state[i] == 'e') {
      moved[i] = 't';
    } else {
      continue;
    }
    next.push_back(moved);
  }
  return next;
}

// A letter per station: i idle, w waiting, c critical; a capital letter has the token.
std::vector<std::string> tokenRingNext(const std::string& state) {
  const std::size_t n = state.size();
  std::vector<std::string> next;
  const auto add = [&](std::size_t i, char letter) {
    next.push_back(state);
    next.back()[i] = letter;
  };
  for (std::size_t i = 0; i < n; ++i) {
    if (state[i] == 'i') add(i, 'w');
    if (state[i] == 'I') add(i, 'W');
    if (state[i] == 'W') add(i, 'C');
    if (state[i] == 'C') add(i, 'I');
    if (state[i] == 'I' && n > 1) {
      add(i, 'i');
      char& other = next.back()[(i + 1) % n];
      other = other == 'i' ? 'I' : 'W';
    }
  }
  return next;
}

}  // namespace

TEST(SizesTest, CountersHaveTenToTheirNumberStates) {
  Number states = 1;
  for (int n = 1; n <= MAX_COUNTERS; ++n) {
    states *= 10;
    const Size expected = {states, static_cast<Number>(n) * states, 0};
    EXPECT_EQ(expected, explored("counters", n, "bfs")) << n;
    EXPECT_EQ(expected, explored("counters", n, "dfs")) << n;
  }
}

TEST(SizesTest, PhilosophersHaveOneDeadlock) {
  for (int n = 2; n <= MAX_PHILOSOPHERS; ++n) {
    const double root = std::sqrt(2.0);
    const double states = std::pow(1 + root, n) + std::pow(1 - root, n);
    const Size expected = reach(std::string(static_cast<std::size_t>(n), 't'), philosophersNext);
    EXPECT_EQ(static_cast<Number>(std::llround(states)), expected.states) << n;
    EXPECT_EQ(1U, expected.deadlocks) << n;
    EXPECT_EQ(expected, explored("philosophers", n, "bfs")) << n;
    EXPECT_EQ(expected, explored("philosophers", n, "dfs")) << n;
  }
}

TEST(SizesTest, TokenRingsAreWhatASmallProgramReaches) {
  for (int n = 1; n <= 8; ++n) {
    const Size expected =
        reach("I" + std::string(static_cast<std::size_t>(n) - 1, 'i'), tokenRingNext);
    EXPECT_EQ(expected, explored("token-ring", n, "bfs")) << n;
    EXPECT_EQ(expected, explored("token-ring", n, "dfs")) << n;
  }
}

TEST(SizesTest, BothSearchesFindTheSameStatesAndTransitionsOfTwoLevels) {
  const ProgramFolder folder;
  EXPECT_EQ(0, folder.run("gateway --bfs -o wide && gateway --dfs -o deep"));
  const ExplorationChecker wide = folder.check("wide");
  const ExplorationChecker deep = folder.check("deep");
  EXPECT_EQ("", wide.faults() + wide.missing() + deep.faults() + deep.missing());
  EXPECT_EQ(wide.transitionsByText(), deep.transitionsByText());
  EXPECT_EQ(wide.stateTexts(), deep.stateTexts());
}
