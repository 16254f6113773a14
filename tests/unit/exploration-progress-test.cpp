// The progress display, with a clock that the tests set.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "kit/explorations.hpp"
#include "kit/output.hpp"

using namespace kit;

namespace {

// Readings of the clock, one per call; the last one is used again and again.
std::vector<std::time_t> readings = {0};
std::size_t nextReading = 0;

}  // namespace

extern "C" std::time_t time(std::time_t*) noexcept {
  const std::time_t reading = readings[nextReading];
  if (nextReading + 1 < readings.size()) ++nextReading;
  return reading;
}

namespace {

// A search of a ring: breadth-first it takes one step per state and has one state in its queue.
std::string outputWith(const std::vector<std::time_t>& clock, int states) {
  auto system = ring(numbered(states));
  readings = clock;
  nextReading = 0;
  const std::string out = explored(*system, BFS).out;
  return out.substr(0, out.find("* Count"));
}

std::string count(char spinner, int steps) {
  char text[200];
  std::snprintf(text, sizeof text,
                "%c Count : %10d [pruned : %10d] [deadlocks : %10d] [stored states: %10d]", spinner,
                steps, 0, 0, 1);
  return text;
}

}  // namespace

TEST(ProgressTest, TheRateIsShownAfterThreeSeconds) {
  // Started at 1000; the reports of steps 50, 100 and 150 come at 1002, 1003 and 1004. Three
  // seconds have passed at step 100: 2 reports of 50 steps in 3 seconds are 33 a second. Only one
  // second has passed since then at step 150.
  EXPECT_EQ("|\r/\r" + count('-', 50) + "\r" + "\\\r|\r/\r" + count('-', 100) +
                ", SPS:    33s/s\r" + "\\\r|\r" + count('/', 150) + "\r",
            outputWith({1000, 1002, 1003, 1004}, 150));
}

TEST(ProgressTest, TheRateCountsTheStepsSinceTheLastOne) {
  // Rates at 50 (50 in 5 s) and at 200 (150 in 4 s, rounded down).
  EXPECT_EQ("|\r/\r" + count('-', 50) + ", SPS:    10s/s\r" + "\\\r|\r/\r" + count('-', 100) +
                "\r\\\r|\r" + count('/', 150) + "\r-\r\\\r|\r" + count('/', 200) +
                ", SPS:    37s/s\r",
            outputWith({0, 5, 6, 7, 9}, 200));
}

TEST(ProgressTest, AClockThatGoesBackShowsNoRate) {
  EXPECT_EQ("|\r/\r" + count('-', 50) + "\r\\\r|\r/\r" + count('-', 100) + "\r",
            outputWith({1000, 0, -1000}, 100));
}

// Reports come at 50, 100 and 150 steps; each is made in the step before the next state is read.
TEST(ProgressTest, WhatIsShownIsHandedOnOnceASecond) {
  auto system = ring(numbered(170));
  std::vector<off_t> handedOn;
  int reads = 0;
  auto* atom = static_cast<Automaton*>(system->components()[0]);
  atom->setHook([&](Automaton&, const std::string& hook) {
    if (hook != "getState") return;
    ++reads;
    if (reads == 40 || reads == 60 || reads == 110 || reads == 160) {
      handedOn.push_back(lseek(STDOUT_FILENO, 0, SEEK_CUR));
    }
  });
  readings = {0, 1, 1, 2, 2};
  nextReading = 0;
  std::fflush(stdout);
  std::setvbuf(stdout, nullptr, _IOFBF, 1 << 16);
  explored(*system, BFS);
  const std::string first = "|\r/\r" + count('-', 50) + "\r";
  const std::string third =
      first + "\\\r|\r/\r" + count('-', 100) + "\r" + "\\\r|\r" + count('/', 150) + "\r";
  const auto lengthOf = [](const std::string& text) { return static_cast<off_t>(text.size()); };
  EXPECT_EQ(handedOn, (std::vector<off_t>{0, lengthOf(first), lengthOf(first), lengthOf(third)}));
}

TEST(ProgressTest, TheFilesCanBeReadWheneverTheRateIsShown) {
  auto system = ring(numbered(120));
  TemporaryFiles files;
  std::string seen;
  int reads = 0;
  auto* atom = static_cast<Automaton*>(system->components()[0]);
  // The rate is shown before state 100 is expanded (step 101 is the one after); the initial state
  // is read once before.
  atom->setHook([&](Automaton&, const std::string& hook) {
    if (hook != "getState" || ++reads != 101) return;
    char text[100000];
    const ssize_t length = pread(fileno(files[0]), text, sizeof text, 0);
    seen.assign(text, static_cast<std::size_t>(length));
  });
  readings = {0, 1, 3};
  nextReading = 0;
  clearGlobals();
  ExploringScheduler scheduler(system.get(), BFS);
  scheduler.setFiles(files[0], files[1], files[2], files[3]);
  testing::internal::CaptureStdout();
  scheduler.explore();
  testing::internal::GetCapturedStdout();
  EXPECT_EQ("des(0, 99, 100)\n", seen.substr(0, 16));
  EXPECT_EQ("(98, s/go/A:p, 99)\n", seen.substr(seen.size() - 19));
  const std::string whole = contents(files[0]);
  EXPECT_EQ("des(0, 120, 120)\n", whole.substr(0, 17));
  EXPECT_EQ(whole.substr(38, seen.size() - 38), seen.substr(38));
}
