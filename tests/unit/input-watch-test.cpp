// Standard input that fails with an error is reported, and ends a dialogue as its end does.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/processes.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

// What create builds is the system of engineMain().
static std::function<Compound*()> create;

Compound* Compound::Create(int, char**) {
  return create();
}

namespace {

constexpr char DIRECTORY[] = "vesk: standard input cannot be read: Is a directory\n";

// From now on standard input is a directory, which cannot be read.
void breakInput() {
  const int directory = open(".", O_RDONLY);
  if (directory == -1 || dup2(directory, STDIN_FILENO) == -1) std::abort();
  close(directory);
}

// A counter whose first firing breaks standard input, or does not.
System* makeSystem(bool breaking) {
  System* system = new System;
  TestAtom* atom = system->atom("A");
  system->rendezvous("k", atom->rule(
                              "go", [] { return true; },
                              [=] {
                                if (breaking) breakInput();
                              }));
  return system;
}

enum Dialogue { TIMED, TIMED_WITHOUT_STDIO, SINGLE_STEP };

// Standard input is broken from the start, or not before the first firing, or never.
enum Breaking { AT_ONCE, LATER, NEVER };

Outcome talk(Dialogue dialogue, Breaking breaking, const std::string& input) {
  return isolated(
      [=] {
        if (dialogue == TIMED_WITHOUT_STDIO) std::ios::sync_with_stdio(false);
        if (breaking == AT_ONCE) breakInput();
        create = [=] { return makeSystem(breaking == LATER); };
        if (dialogue != SINGLE_STEP) return engineMain({"--interactive"});
        const std::unique_ptr<Compound> system(create());
        OpenScheduler(system.get(), 1).run();
        return 0;
      },
      input);
}

}  // namespace

TEST(InputWatchTest, AnErrorEndsADialogueAsTheEndOfTheInputDoes) {
  for (const Dialogue dialogue : {TIMED, TIMED_WITHOUT_STDIO, SINGLE_STEP}) {
    const Outcome ended = talk(dialogue, NEVER, "");
    const Outcome failed = talk(dialogue, AT_ONCE, "");
    EXPECT_EQ(ended.err, "") << dialogue;
    EXPECT_EQ(failed.err, DIRECTORY) << dialogue;
    EXPECT_EQ(failed.out, ended.out) << dialogue;
    EXPECT_EQ(failed.status, 0) << dialogue;
  }
}

// The system has said nothing.
TEST(InputWatchTest, AnErrorWithoutAReasonIsOneOfInput) {
  const Outcome failed = isolated(
      [] {
        create = [] {
          std::cin.setstate(std::ios::badbit);
          return makeSystem(false);
        };
        return engineMain({"--interactive"});
      },
      "0 1 ");
  EXPECT_EQ(failed.err, "vesk: standard input cannot be read: Input/output error\n");
  EXPECT_EQ(failed.status, 0);
}

TEST(InputWatchTest, AnErrorAfterSomeAnswersIsReportedOnceToo) {
  // The last word stands at the end of the input, or is a command that wants another one.
  for (const char* last : {"", "x", "c", "p"}) {
    for (const Dialogue dialogue : {TIMED, SINGLE_STEP}) {
      const std::string input = (dialogue == TIMED ? "0 1 " : "1 ") + std::string(last);
      const Outcome ended = talk(dialogue, NEVER, input);
      const Outcome failed = talk(dialogue, LATER, input);
      EXPECT_EQ(failed.err, ended.err + DIRECTORY) << dialogue << last;
      EXPECT_EQ(failed.out, ended.out) << dialogue << last;
      EXPECT_EQ(failed.status, 0) << dialogue << last;
    }
  }
}
