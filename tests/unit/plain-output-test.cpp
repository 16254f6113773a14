// What the engine writes to a stream does not depend on the format that a model has left there.
#include <gtest/gtest.h>

#include <functional>
#include <iomanip>
#include <iostream>
#include <locale>
#include <sstream>
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

class Grouping : public std::numpunct<char> {
  char do_thousands_sep() const override { return '\''; }
  std::string do_grouping() const override { return "\1"; }
};

// Leaves a format under which nearly every output is another one.
void disturb(std::ostream& out) {
  out << std::hex << std::showbase << std::showpos << std::uppercase << std::internal
      << std::setfill('*') << std::setw(200);
  if (!std::has_facet<std::numpunct<char>>(out.getloc()) ||
      std::use_facet<std::numpunct<char>>(out.getloc()).grouping().empty()) {
    out.imbue(std::locale(out.getloc(), new Grouping));
  }
}

template <class T>
std::string disturbed(const T& item) {
  std::ostringstream out;
  disturb(out);
  out << item;
  return out.str();
}

// A system that disturbs standard output, or leaves it alone, whenever it is asked something.
Compound* makeSystem(bool disturbing) {
  const auto touch = [=] {
    if (disturbing) disturb(std::cout);
  };
  touch();
  System* system = new System;
  TestAtom* a = system->atom("A");
  system->rendezvous("ca", a->timedRule(
                               "go", within(12345678, 20000000, DELAYABLE),
                               [=] {
                                 touch();
                                 return a->fired < 12;
                               },
                               touch));
  TestAtom* b = system->atom("B");
  b->timedRule(
       "tick", within(0, 30000000, EAGER), [=] { return b->fired < 3; }, touch)
      ->setInternal();
  return system;
}

Outcome runOf(bool disturbing, const std::vector<std::string>& arguments,
              const std::string& input) {
  return isolated(
      [&] {
        create = [=] { return makeSystem(disturbing); };
        return engineMain(arguments);
      },
      input);
}

}  // namespace

TEST(PlainOutputTest, TimesAreDecimalMilliseconds) {
  EXPECT_EQ(disturbed(Vesk::Time(12345678)), "12345ms");
  EXPECT_EQ(disturbed(Vesk::Time(-31000)), "-31ms");
  EXPECT_EQ(disturbed(Vesk::Time(0)), "0ms");
  EXPECT_EQ(disturbed(Vesk::Time(-0x7FFFFFFFFFFFFFFFLL - 1)), "-9223372036854775ms");
  EXPECT_EQ(disturbed(Vesk::Time::MAX), "_");
}

TEST(PlainOutputTest, IntervalsAndConstraintsAreNotPadded) {
  Constraint constraint(nullptr, Vesk::Time(31000), Vesk::Time(32000), EAGER);
  constraint |= Constraint(nullptr, Vesk::Time(40000), Vesk::Time::MAX, LAZY);
  EXPECT_EQ(disturbed(within(16000, 17000, DELAYABLE)), "delayable (16ms,17ms)");
  EXPECT_EQ(disturbed(within(2, 1, LAZY)), "empty");
  EXPECT_EQ(disturbed(constraint), "eager (31ms,32ms) or lazy (40ms,_)");
  EXPECT_EQ(disturbed(static_cast<const Constraint*>(nullptr)), "lazy");
}

TEST(PlainOutputTest, TheFormatOfTheStreamStaysAndItsWidthIsUsedUp) {
  std::ostringstream out;
  disturb(out);
  const std::ios_base::fmtflags flags = out.flags();
  out << Vesk::Time(31000) << within(1000, 2000, LAZY);
  EXPECT_EQ(out.flags(), flags);
  EXPECT_EQ(out.fill(), '*');
  EXPECT_EQ(out.width(), 0);
  out << 171;
  EXPECT_EQ(out.str(), "31mslazy (1ms,2ms)0XA'B");
}

// The rows of the dialogue, its questions and its random choices too.
TEST(PlainOutputTest, EveryModeWritesWhatItWritesOnATidyStream) {
  const std::vector<std::vector<std::string>> modes{{"--execute"},
                                                    {"--random"},
                                                    {"--execute", "--limit", "11"},
                                                    {"--interactive"},
                                                    {"--opt1", "--limit", "11"},
                                                    {"--opt2"}};
  for (const std::vector<std::string>& mode : modes) {
    const std::string input = "c x 16 junk r 1 12 r 13 r 20 l 1 5000 r r r r";
    const Outcome tidy = runOf(false, mode, input);
    const Outcome untidy = runOf(true, mode, input);
    EXPECT_EQ(tidy.status, 0) << mode[0];
    EXPECT_NE(tidy.out, "") << mode[0];
    EXPECT_EQ(untidy.out, tidy.out) << mode[0];
    EXPECT_EQ(untidy.err, tidy.err) << mode[0];
    EXPECT_EQ(untidy.status, 0) << mode[0];
  }
}

TEST(PlainOutputTest, TheTimedLoopOfASchedulerDoesTheSame) {
  std::string traces[2];
  for (bool disturbing : {false, true}) {
    System system;
    TestAtom* atom = system.timedCounter("A", "k", 12, within(12345678, 20000000, DELAYABLE));
    OpenScheduler scheduler(&system, 2);
    scheduler.parse({"--trace"});
    scheduler.mTrace = 1;
    const auto touch = [&] {
      if (disturbing) disturb(*scheduler.simout);
      return true;
    };
    system.rendezvous("t", atom->timedRule("t", within(31000, 50000, EAGER), touch, touch));
    scheduler.mSimLimit = true;
    scheduler.mMaxSimLimit = 20;
    testing::internal::CaptureStdout();
    traces[disturbing] = traceOf(scheduler, [&] {
      touch();
      scheduler.run();
    });
    testing::internal::GetCapturedStdout();
  }
  EXPECT_NE(traces[0].find("(random) wait for 31ms"), std::string::npos) << traces[0];
  EXPECT_NE(traces[0].find("\n4 : 4;\n"), std::string::npos) << traces[0];
  EXPECT_EQ(traces[1], traces[0]);
}

TEST(PlainOutputTest, WarningsOnStandardErrorAreNotPadded) {
  const Outcome outcome = isolated([] {
    TestAtom atom("A", nullptr);
    Port low("low", &atom), high("high", &atom);
    Constraint constraint(nullptr, Vesk::Time(0), Vesk::Time(1), LAZY);
    disturb(std::cerr);
    atom.applyPriority(&low, nullptr, &high, &constraint);
    return 0;
  });
  EXPECT_EQ(outcome.err,
            "WARNING: skip priority for ports with time constraints (not supported yet!) "
            "low<high\n");
}
