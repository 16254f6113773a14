// The program's entry: banner, options, output files, exit statuses, and which engine runs.

#include <fcntl.h>
#include <getopt.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/output.hpp"
#include "kit/processes.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

constexpr char BANNER[] = "VESK mono-threaded engine. Version: Engines: d20101124\n";
constexpr char HELP[] =
    "Help for VESK engine\n"
    "  --execute\n"
    "  --explore\n"
    "  --realtime\n"
    "  --random\n"
    "  --quiet\n"
    "  --trace\n"
    "  --dfs\n"
    "  --bfs\n"
    "  --interactive\n"
    "  --opt1\n"
    "  --opt2\n"
    "  --disable-output\n"
    "  --output / -o\n"
    "  --limit / -l\n"
    "  --help / -h\n"
    "  --simout / -s\n"
    "  --seed / -r\n";
constexpr int BAD_OPTION = 255;

using Arguments = std::vector<std::string>;

std::function<Compound*(int, char**)> create;

Compound* twoFirings(int, char**) {
  System* system = new System;
  system->counter("A", "ca", 2);
  return system;
}

Outcome runMain(const Arguments& arguments, const std::string& input = "") {
  return isolated([&] { return engineMain(arguments); }, input);
}

// Options as they end up in the fields, in a folder of their own.
struct Parsed : OpenScheduler {
  explicit Parsed(const Arguments& arguments) : OpenScheduler(nullptr) { parse(arguments); }
  ~Parsed() override {
    for (FILE* file : {aut_file, state_file, pruned_paths, deadlock_states}) {
      if (file != nullptr) std::fclose(file);
    }
  }

 private:
  WorkingFolder mFolder;
};

class CommandLineTest : public testing::Test {
 protected:
  void SetUp() override { create = twoFirings; }
};

}  // namespace

Compound* Compound::Create(int argc, char** argv) {
  return create(argc, argv);
}

// Wall-clock time that passes a millisecond a reading: nobody waits for the real one.
extern "C" int gettimeofday(timeval* now, void*) noexcept {
  static long long milliseconds = 1'000'000'000'000;
  ++milliseconds;
  now->tv_sec = static_cast<decltype(now->tv_sec)>(milliseconds / 1000);
  now->tv_usec = static_cast<decltype(now->tv_usec)>(milliseconds % 1000 * 1000);
  return 0;
}

// ---- Banner and help -------------------------------------------------------------------------

TEST_F(CommandLineTest, TheBannerComesFirst) {
  testing::internal::CaptureStdout();
  printLogo();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), BANNER);
  EXPECT_EQ(sizeof BANNER - 1, 54u + 1u);
}

TEST_F(CommandLineTest, HelpListsEveryOptionAndEndsWithStatusZero) {
  const Outcome outcome = runMain({"--help"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, std::string(BANNER) + HELP);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(CommandLineTest, HelpShowsALetterForOptionsWithoutAFlag) {
  int flag = 0;
  option table[] = {{"one", no_argument, &flag, 1},
                    {"two", required_argument, nullptr, 't'},
                    {nullptr, 0, nullptr, 0}};
  testing::internal::CaptureStdout();
  help(table);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Help for VESK engine\n  --one\n  --two / -t\n");
}

TEST_F(CommandLineTest, AnUnknownOptionEndsWithTheHelpAndStatusMinusOne) {
  const Outcome outcome = runMain({"--bogus"});
  EXPECT_EQ(outcome.status, BAD_OPTION);
  EXPECT_EQ(outcome.out, std::string(BANNER) + "Unknown: '?'\n" + HELP);
  EXPECT_EQ(outcome.err, "model: unrecognized option '--bogus'\n");
}

TEST_F(CommandLineTest, TheShortHelpIsAnUnknownOption) {
  const Outcome outcome = runMain({"-h"});
  EXPECT_EQ(outcome.status, BAD_OPTION);
  EXPECT_EQ(outcome.out, std::string(BANNER) + "Unknown: '?'\n" + HELP);
  EXPECT_EQ(outcome.err, "model: invalid option -- 'h'\n");
}

TEST_F(CommandLineTest, AMissingArgumentIsReportedAsAQuestionMark) {
  for (const char* option : {"--output", "--limit", "--simout", "--seed"}) {
    const Outcome outcome = runMain({option});
    EXPECT_EQ(outcome.status, BAD_OPTION) << option;
    EXPECT_EQ(outcome.out, std::string(BANNER) + "Unknown: '?'\n" + HELP) << option;
    EXPECT_EQ(outcome.err, std::string("model: option '") + option + "' requires an argument\n");
  }
  for (const char* letter : {"o", "l", "s"}) {
    const Outcome outcome = runMain({std::string("-") + letter});
    EXPECT_EQ(outcome.status, BAD_OPTION) << letter;
    EXPECT_EQ(outcome.err, std::string("model: option requires an argument -- '") + letter + "'\n");
  }
}

TEST_F(CommandLineTest, TheShortSeedTakesNoArgumentAndIsRefused) {
  for (const Arguments& arguments :
       std::vector<Arguments>{{"-r"}, {"-r", "5"}, {"-r5"}, {"-l", "3", "-r"}}) {
    const Outcome outcome = runMain(arguments);
    EXPECT_EQ(outcome.status, BAD_OPTION);
    EXPECT_EQ(outcome.out, std::string(BANNER) + "Unknown: 'r'\n" + HELP);
    EXPECT_EQ(outcome.err, "");
  }
}

TEST_F(CommandLineTest, AnAmbiguousAbbreviationIsUnknown) {
  const Outcome outcome = runMain({"--ex"});
  EXPECT_EQ(outcome.status, BAD_OPTION);
  EXPECT_EQ(outcome.out, std::string(BANNER) + "Unknown: '?'\n" + HELP);
  EXPECT_EQ(outcome.err,
            "model: option '--ex' is ambiguous; possibilities: '--execute' '--explore'\n");
}

// ---- Options and fields ----------------------------------------------------------------------

TEST_F(CommandLineTest, NoOptionsMeanASimulatedTimedRunWithoutLimit) {
  const Parsed parsed({});
  EXPECT_EQ(parsed.runMode(), 1);
  EXPECT_EQ(parsed.mode(), 0);
  EXPECT_FALSE(parsed.quiet());
  EXPECT_EQ(parsed.mTrace, 0);
  EXPECT_EQ(parsed.mTraverse, -1);
  EXPECT_EQ(parsed.optimizationMode(), 0);
  EXPECT_FALSE(parsed.disable_output);
  EXPECT_FALSE(parsed.simLimit());
  EXPECT_EQ(parsed.randSeed(), 1);
  EXPECT_EQ(parsed.simout, &std::cout);
  EXPECT_STREQ(parsed.platformClock()->name(), "simu clock");
  EXPECT_NE(dynamic_cast<SimuClock*>(parsed.platformClock()), nullptr);
  EXPECT_STREQ(parsed.logicalClock()->name(), "Real-Time Clock");
  EXPECT_EQ(&parsed.logicalClock()->platformClock(), parsed.platformClock());
  EXPECT_FALSE(std::filesystem::exists("vesk.aut"));
}

TEST_F(CommandLineTest, EveryFlagSetsItsField) {
  EXPECT_EQ(Parsed({"--realtime", "--execute"}).runMode(), 1);
  EXPECT_EQ(Parsed({"--explore"}).runMode(), 0);
  EXPECT_EQ(Parsed({"--realtime"}).runMode(), 3);
  EXPECT_EQ(Parsed({"--random"}).mode(), 2);
  EXPECT_EQ(Parsed({"--quiet"}).mIntQuiet, 1);
  EXPECT_TRUE(Parsed({"--quiet"}).quiet());
  EXPECT_EQ(Parsed({"--trace"}).mTrace, 1);
  EXPECT_EQ(Parsed({"--dfs"}).mTraverse, 0);
  EXPECT_EQ(Parsed({"--bfs"}).mTraverse, 1);
  EXPECT_EQ(Parsed({"--interactive"}).mode(), 1);
  EXPECT_EQ(Parsed({"--opt1"}).optimizationMode(), 1);
  EXPECT_EQ(Parsed({"--opt2"}).optimizationMode(), 2);
  EXPECT_EQ(Parsed({"--disable-output"}).mDisable_output, 1);
  EXPECT_TRUE(Parsed({"--disable-output"}).disable_output);
}

TEST_F(CommandLineTest, OptionsWithArgumentsHaveLongAndShortForms) {
  for (const Arguments& arguments : std::vector<Arguments>{
           {"--limit", "42"}, {"--limit=42"}, {"-l", "42"}, {"-l42"}, {"--lim", "42"}}) {
    const Parsed parsed(arguments);
    EXPECT_TRUE(parsed.simLimit());
    EXPECT_EQ(parsed.maxSimLimit(), 42);
  }
  EXPECT_EQ(Parsed({"--seed", "42"}).randSeed(), 42);
  EXPECT_EQ(Parsed({"--seed=-42"}).randSeed(), -42);
  EXPECT_EQ(Parsed({"--output", "x"}).runMode(), 1);
}

TEST_F(CommandLineTest, AbbreviationsAndOperandsAreTakenAsTheLibraryTakesThem) {
  const Parsed parsed({"operand", "--qui", "--", "--random"});
  EXPECT_TRUE(parsed.quiet());
  EXPECT_EQ(parsed.mode(), 0);
}

TEST_F(CommandLineTest, PosixOrderStopsAtTheFirstOperand) {
  ASSERT_EQ(setenv("POSIXLY_CORRECT", "1", 1), 0);
  EXPECT_FALSE(Parsed({"operand", "--quiet"}).quiet());
  unsetenv("POSIXLY_CORRECT");
  EXPECT_TRUE(Parsed({"operand", "--quiet"}).quiet());
}

TEST_F(CommandLineTest, TheLastOptionForAFieldWins) {
  EXPECT_EQ(Parsed({"--random", "--interactive"}).mode(), 1);
  EXPECT_EQ(Parsed({"--interactive", "--random"}).mode(), 2);
  EXPECT_EQ(Parsed({"--opt2", "--opt1"}).optimizationMode(), 1);
  EXPECT_EQ(Parsed({"--dfs", "--bfs"}).mTraverse, 1);
  EXPECT_EQ(Parsed({"--limit", "3", "--limit", "4"}).maxSimLimit(), 4);
}

TEST_F(CommandLineTest, ATraversalForcesExplorationWhateverTheOrder) {
  for (const Arguments& arguments : std::vector<Arguments>{
           {"--dfs", "--execute"}, {"--execute", "--dfs"}, {"--realtime", "--bfs"}, {"--bfs"}}) {
    EXPECT_EQ(Parsed(arguments).runMode(), 0);
  }
}

TEST_F(CommandLineTest, JunkNumbersAreZeroAndLargeOnesAreClamped) {
  const std::vector<std::pair<const char*, int>> cases = {
      {"abc", 0},
      {"", 0},
      {"1x", 1},
      {" 7", 7},
      {"0x10", 0},
      {"2147483647", INT_MAX},
      {"2147483648", INT_MAX},
      {"4294967296", INT_MAX},
      {"4294967297", INT_MAX},
      {"99999999999999999999", INT_MAX},
      {"-2147483648", INT_MIN},
      {"-2147483649", INT_MIN},
      {"-99999999999999999999", INT_MIN},
  };
  for (const auto& [text, value] : cases) {
    const Parsed parsed({"--limit", text, "--seed", text});
    EXPECT_TRUE(parsed.simLimit()) << text;
    EXPECT_EQ(parsed.maxSimLimit(), value) << text;
    EXPECT_EQ(parsed.randSeed(), value) << text;
  }
}

TEST_F(CommandLineTest, RealTimeRunsOnTheLinuxClockAndExplorationOnNone) {
  const Parsed real({"--realtime"});
  EXPECT_NE(dynamic_cast<LinuxClock*>(real.platformClock()), nullptr);
  EXPECT_STREQ(real.platformClock()->name(), "linux clock");
  const Parsed exploring({"--bfs"});
  EXPECT_EQ(exploring.platformClock(), nullptr);
  EXPECT_EQ(exploring.logicalClock()->time(), Vesk::Time(0));
  EXPECT_EQ(exploring.logicalClock()->platformClock().time(), Vesk::Time(0));
}

TEST_F(CommandLineTest, ParsingResetsTraversalTraceAndOutputOnly) {
  const WorkingFolder folder;
  OpenScheduler scheduler(nullptr, 2, 1, 1);
  scheduler.mTrace = 1;
  scheduler.disable_output = true;
  scheduler.parse({});
  EXPECT_EQ(scheduler.mTraverse, -1);
  EXPECT_EQ(scheduler.mTrace, 0);
  EXPECT_FALSE(scheduler.disable_output);
  EXPECT_EQ(scheduler.mode(), 2);
  EXPECT_EQ(scheduler.optimizationMode(), 1);
}

TEST_F(CommandLineTest, AModelThatHasParsedTheCommandLineDoesNotHideTheOptions) {
  create = [](int argc, char** argv) {
    const option table[] = {{"opt1", no_argument, nullptr, 'x'}, {nullptr, 0, nullptr, 0}};
    while (getopt_long(argc, argv, "", table, nullptr) != -1) {
    }
    EXPECT_EQ(optind, argc);
    return twoFirings(argc, argv);
  };
  const Outcome outcome = runMain({"--opt1"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, std::string(BANNER) +
                             "scheduler : System/ca/A:go\n"
                             "scheduler : System/ca/A:go\n"
                             "scheduler : deadlock\n");
}

TEST_F(CommandLineTest, TheModelGetsTheUntouchedCommandLine) {
  create = [](int argc, char** argv) {
    for (int i = 0; i < argc; ++i) std::printf("<%s>\n", argv[i]);
    return twoFirings(argc, argv);
  };
  const Outcome outcome = runMain({"operand", "--opt1", "--quiet", "-l", "1"});
  EXPECT_EQ(outcome.out,
            std::string(BANNER) + "<model>\n<operand>\n<--opt1>\n<--quiet>\n<-l>\n<1>\n");
}

// ---- Output files ----------------------------------------------------------------------------

TEST_F(CommandLineTest, TheOutputOptionNamesTheFourFiles) {
  const Outcome outcome = isolated([] {
    const int status = engineMain({"--explore", "--output", "x"});
    for (const char* name : {"x.aut", "x.state", "x.pruned", "x.deadlock"}) {
      if (!std::filesystem::exists(name)) return 50;
    }
    return std::filesystem::exists("vesk.aut") ? 51 : status;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(CommandLineTest, WithDisabledOutputNoFileIsOpened) {
  const WorkingFolder folder;
  OpenScheduler scheduler(nullptr);
  scheduler.parse({"--explore", "--disable-output"});
  EXPECT_EQ(scheduler.aut_file, nullptr);
  EXPECT_EQ(scheduler.deadlock_states, nullptr);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(CommandLineTest, AnExecutionOpensNoFile) {
  const WorkingFolder folder;
  OpenScheduler scheduler(nullptr);
  scheduler.parse({"--output", "x"});
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(CommandLineTest, OutputNamesAreCutTo49Characters) {
  for (const std::size_t length : {0u, 1u, 40u, 41u, 43u, 44u, 45u, 46u}) {
    const WorkingFolder folder;
    const std::string base(length, 'b');
    {
      OpenScheduler scheduler(nullptr);
      testing::internal::CaptureStderr();
      scheduler.parse({"--explore", "--output", base});
      EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << length;
      scheduler.run();
    }
    std::size_t files = 0;
    for (const char* suffix : {".aut", ".state", ".pruned", ".deadlock"}) {
      const std::string name = (base + suffix).substr(0, 49);
      EXPECT_TRUE(std::filesystem::exists(name)) << name;
      ++files;
    }
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
      EXPECT_LE(entry.path().filename().string().size(), 49u);
      --files;
    }
    EXPECT_EQ(files, 0u) << length;
  }
}

TEST_F(CommandLineTest, OfEqualCutNamesOnlyTheFirstIsOpened) {
  struct Case {
    std::size_t length;
    std::string errors;
  };
  const std::string base(49, 'b');
  const auto message = [](const std::string& suffix, const std::string& name) {
    return "vesk: there is no " + suffix + " file: the name cut to " + name + " is in use\n";
  };
  const std::string with47 = std::string(47, 'b') + ".";
  const std::vector<Case> cases = {
      {47, ""},  // ".a", ".s", ".p", ".d"
      {48, message(".state", std::string(48, 'b') + ".") +
               message(".pruned", std::string(48, 'b') + ".") +
               message(".deadlock", std::string(48, 'b') + ".")},
      {49, message(".state", base) + message(".pruned", base) + message(".deadlock", base)},
      {60, message(".state", base) + message(".pruned", base) + message(".deadlock", base)},
      {4096, message(".state", base) + message(".pruned", base) + message(".deadlock", base)},
  };
  for (const Case& one : cases) {
    const WorkingFolder folder;
    OpenScheduler scheduler(nullptr);
    testing::internal::CaptureStderr();
    scheduler.parse({"--explore", "--output", std::string(one.length, 'b')});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), one.errors) << one.length;
    EXPECT_NE(scheduler.aut_file, nullptr) << one.length;
    EXPECT_EQ(scheduler.state_file != nullptr, one.length == 47) << one.length;
    scheduler.run();
  }
}

TEST_F(CommandLineTest, AFileThatCannotBeOpenedIsReportedAndTheRunGoesOn) {
  const Outcome outcome = runMain({"--explore", "--output", "missing/x"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, BANNER);
  EXPECT_EQ(outcome.err,
            "vesk: cannot open missing/x.aut: No such file or directory\n"
            "vesk: cannot open missing/x.state: No such file or directory\n"
            "vesk: cannot open missing/x.pruned: No such file or directory\n"
            "vesk: cannot open missing/x.deadlock: No such file or directory\n");
  const Outcome directory = isolated([] {
    std::filesystem::create_directory("x.aut");
    return engineMain({"--explore", "--output", "x"});
  });
  EXPECT_EQ(directory.status, 0);
  EXPECT_EQ(directory.err, "vesk: cannot open x.aut: Is a directory\n");
}

// ---- The trace -------------------------------------------------------------------------------

TEST_F(CommandLineTest, SimoutReceivesTheTrace) {
  const Outcome outcome = isolated([] {
    std::ofstream("trace") << "to be truncated, however long it is: " << std::string(100, 'x');
    const int status = engineMain({"--opt1", "--simout", "trace"});
    std::printf("%s", contents("trace").c_str());
    return status;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out, std::string(BANNER) +
                             "scheduler : System/ca/A:go\n"
                             "scheduler : System/ca/A:go\n"
                             "scheduler : deadlock\n");
}

TEST_F(CommandLineTest, TheHeapLoopSplitsItsTextsBetweenSimoutAndStandardOutput) {
  const Outcome outcome = isolated([] {
    const int status = engineMain({"--opt2", "-s", "trace"});
    std::printf("[%s]", contents("trace").c_str());
    return status;
  });
  EXPECT_EQ(outcome.out, std::string(BANNER) +
                             "Error or Deadlock!\n"
                             "[scheduler : System/ca/A:go\nscheduler : System/ca/A:go\n]");
}

TEST_F(CommandLineTest, OfTwoSimoutOptionsTheLastWins) {
  for (const char* last : {"one", "other"}) {
    const Outcome outcome = isolated([&] {
      const int status = engineMain({"--opt1", "--quiet", "-s", "one", "-s", last});
      std::printf("[%s]", contents(last).c_str());
      return status;
    });
    EXPECT_EQ(outcome.out, std::string(BANNER) + "[scheduler : deadlock\n]") << last;
  }
}

TEST_F(CommandLineTest, ATraceThatCannotBeOpenedSwallowsWhatIsWritten) {
  const Outcome outcome = runMain({"--opt1", "--simout", "missing/trace"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, BANNER);
  EXPECT_EQ(outcome.err, "vesk: cannot open missing/trace: No such file or directory\n");
}

TEST_F(CommandLineTest, ATraceThatOpensAfterAFailureIsWritten) {
  const Outcome outcome = isolated([] {
    const int status = engineMain({"--opt1", "--quiet", "-s", "missing/trace", "-s", "trace"});
    std::printf("[%s]", contents("trace").c_str());
    return status;
  });
  EXPECT_EQ(outcome.out, std::string(BANNER) + "[scheduler : deadlock\n]");
}

TEST_F(CommandLineTest, ATraceThatIsLostIsReported) {
  const Outcome outcome = runMain({"--opt1", "--simout", "/dev/full"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, BANNER);
  EXPECT_EQ(outcome.err, "vesk: the trace could not be written completely\n");
}

TEST_F(CommandLineTest, StandardOutputThatIsLostIsReportedOnceInEveryMode) {
  for (const Arguments& arguments : std::vector<Arguments>{
           {}, {"--opt1"}, {"--opt2"}, {"--bfs"}, {"--dfs"}, {"--explore"}, {"--random"}}) {
    const Outcome outcome = isolated([&] {
      if (std::freopen("/dev/full", "w", stdout) == nullptr) return 99;
      return engineMain(arguments);
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "vesk: standard output could not be written completely\n");
  }
  const Outcome help = isolated([] {
    if (std::freopen("/dev/full", "w", stdout) == nullptr) return 99;
    return engineMain({"--help"});
  });
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.err, "vesk: standard output could not be written completely\n");
}

TEST_F(CommandLineTest, ClosedStandardDescriptorsNeverReceiveAFile) {
  for (int closed = 0; closed < 8; ++closed) {
    const Outcome outcome = isolated([&] {
      for (int descriptor = 0; descriptor < 3; ++descriptor) {
        if ((closed >> descriptor & 1) != 0) close(descriptor);
      }
      const int status = engineMain({"--explore"});
      for (int descriptor = 0; descriptor < 3; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1) return 50 + descriptor;
        struct stat info;
        fstat(descriptor, &info);
        if ((closed >> descriptor & 1) != 0 && !S_ISCHR(info.st_mode)) return 60 + descriptor;
      }
      if (!contents("vesk.aut").empty()) return 70;
      return status;
    });
    EXPECT_EQ(outcome.status, 0) << closed;
  }
}

// ---- Ends ------------------------------------------------------------------------------------

TEST_F(CommandLineTest, WithoutASystemTheOptionsAreReadFirst) {
  create = [](int, char**) { return nullptr; };
  const std::string diagnostic = "vesk: the model has built no system\n";
  for (const Arguments& arguments : std::vector<Arguments>{{},
                                                           {"--realtime"},
                                                           {"--opt1"},
                                                           {"--opt2"},
                                                           {"--dfs"},
                                                           {"--bfs"},
                                                           {"--explore"},
                                                           {"--random"},
                                                           {"--interactive"}}) {
    const Outcome outcome = runMain(arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, BANNER);
    EXPECT_EQ(outcome.err, diagnostic);
  }
  EXPECT_EQ(runMain({"--help"}).status, 0);
  EXPECT_EQ(runMain({"--help"}).err, "");
  EXPECT_EQ(runMain({"--bogus"}).status, BAD_OPTION);
}

TEST_F(CommandLineTest, AnExceptionFromTheModelEndsWithADiagnosticAndStatusThree) {
  create = [](int, char**) -> Compound* { throw std::runtime_error("no memory for the model"); };
  Outcome outcome = runMain({});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.out, BANNER);
  EXPECT_EQ(outcome.err, "vesk: the run ends by an exception: no memory for the model\n");

  create = [](int, char**) -> Compound* { throw 7; };
  outcome = runMain({});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.err, "vesk: the run ends by an exception: of unknown type\n");

  create = [](int, char**) {
    System* system = new System;
    TestAtom* atom = system->atom("A");
    system->rendezvous("ca",
                       atom->rule(
                           "go", [] { return true; }, [] { throw std::runtime_error("broken"); }));
    return system;
  };
  outcome = runMain({"--opt1"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.out, std::string(BANNER) + "scheduler : System/ca/A:go\n");
  EXPECT_EQ(outcome.err, "vesk: the run ends by an exception: broken\n");
  for (const Arguments& arguments :
       std::vector<Arguments>{{}, {"--realtime"}, {"--random"}, {"--opt2"}, {"--bfs"}, {"--dfs"}}) {
    outcome = runMain(arguments);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "vesk: the run ends by an exception: broken\n");
  }
}

TEST_F(CommandLineTest, TheSystemIsDeletedOnce) {
  struct Announcing : System {
    ~Announcing() override { std::printf("deleted\n"); }
  };
  create = [](int, char**) { return new Announcing; };
  for (const Arguments& arguments : std::vector<Arguments>{
           {"--quiet"}, {"--opt1", "--simout", "t"}, {"--explore"}, {"--random", "--quiet"}}) {
    EXPECT_EQ(runMain(arguments).out, std::string(BANNER) + "deleted\n");
  }
}

// ---- Throwing hooks --------------------------------------------------------------------------

namespace {

enum Hook {
  INITIALIZE,
  EXECUTE,
  GET_STATE,
  SET_STATE,
  IS_BROADCAST,
  COMPLETE,
  GUARD,
  UP,
  DN,
  PRIORITY_SETUP,
  PRIORITY_LEVEL,
  PRIORITY_GUARD,
  HOOKS
};

constexpr char REACHED[] = "reached\n";

int throwing = HOOKS;  // which hook throws

void visit(Hook hook) {
  if (throwing != hook) return;
  std::fputs(REACHED, stderr);
  throw std::runtime_error("thrown by a hook");
}

struct HookedAtom : Atom {
  explicit HookedAtom(const Compound* holder) : Atom("A", holder), port(new Port("go", this)) {
    addPort(port);
  }
  using Atom::initialize;
  void initialize() override {
    visit(INITIALIZE);
    announce();
  }
  void execute(Port*) override {
    visit(EXECUTE);
    turned = !turned;
    announce();
  }
  Node* getState() override {
    visit(GET_STATE);
    return new Leaf(new Atomleaf(turned ? "1," : "0,"));
  }
  void setState(Node* state) override {
    visit(SET_STATE);
    turned = static_cast<Leaf*>(state)->getAleaf()->getVal()[0] == '1';
    announce();
  }
  void announce() {
    port->setSynced(false);
    sync(1, port, 1);
  }
  Port* port;
  bool turned = false;
};

struct HookedConnector : Connector {
  HookedConnector(const char* name, const Compound* holder, Port* trigger, Port* listener)
      : Connector(name, holder, false, 2, trigger, listener) {}
  using Connector::dn;
  using Connector::guard;
  using Connector::up;
  bool isBroadcast() override {
    visit(IS_BROADCAST);
    return true;
  }
  bool complete() override {
    visit(COMPLETE);
    return mPorts[0]->complete();
  }
  bool guard() override {
    visit(GUARD);
    return true;
  }
  void up() override { visit(UP); }
  void dn() override { visit(DN); }
};

struct HookedPriority : Priority {
  HookedPriority(Compound* holder, Interaction* low, Interaction* high)
      : Priority(holder, low, high, Vesk::Time(0)) {}
  void setup() override {
    visit(PRIORITY_SETUP);
    Priority::setup();
  }
  void setupPrioLevel() override {
    visit(PRIORITY_LEVEL);
    Priority::setupPrioLevel();
  }
  bool guard() override {
    visit(PRIORITY_GUARD);
    return true;
  }
};

Compound* hookedModel(int, char**) {
  System* system = new System;
  HookedAtom* one = new HookedAtom(system);
  HookedAtom* other = new HookedAtom(system);
  system->components().add(one);
  system->components().add(other);
  Connector* low = new HookedConnector("low", system, one->port, other->port);
  Connector* high = new HookedConnector("high", system, other->port, one->port);
  system->connectors().add(low);
  system->connectors().add(high);
  system->priorities().add(new HookedPriority(system, Interaction::Create(low, BitVector(0)),
                                              Interaction::Create(high, BitVector(0))));
  return system;
}

}  // namespace

TEST_F(CommandLineTest, AnExceptionFromAnyHookInAnyModeEndsTheRunInOrder) {
  create = hookedModel;
  const std::vector<std::string> modes = {"--execute", "--random", "--interactive", "--realtime",
                                          "--opt1",    "--opt2",   "--dfs",         "--bfs"};
  std::vector<int> reached(HOOKS, 0);
  for (throwing = 0; throwing < HOOKS; ++throwing) {
    for (const std::string& mode : modes) {
      const Outcome outcome = runMain({mode, "--limit", "5"}, "0 1 0 1 0 1");
      const bool thrown = outcome.err.find(REACHED) != std::string::npos;
      EXPECT_EQ(outcome.status, thrown ? 3 : 0) << throwing << mode;
      const std::size_t diagnostic = outcome.err.find("vesk: ");
      EXPECT_EQ(diagnostic != std::string::npos, thrown) << throwing << mode << outcome.err;
      EXPECT_EQ(outcome.err.find("thrown by a hook") != std::string::npos, thrown)
          << throwing << mode;
      reached[static_cast<std::size_t>(throwing)] += thrown;
    }
  }
  for (const int times : reached) EXPECT_GT(times, 0);
}

// ---- Every mixture of flags ------------------------------------------------------------------

namespace {

const std::vector<std::string> FLAGS = {
    "--execute", "--explore", "--realtime",    "--random", "--quiet", "--trace",
    "--dfs",     "--bfs",     "--interactive", "--opt1",   "--opt2",  "--disable-output"};

Compound* timedModel(int, char**) {
  System* system = new System;
  system->timedCounter("A", "ca", 3, within(0, 100, EAGER));
  system->timedCounter("B", "cb", 3, within(10, 200, DELAYABLE));
  return system;
}

Compound* broadcastModel(int, char**) {
  System* system = new System;
  TestAtom* sender = system->atom("S");
  TestAtom* receiver = system->atom("R");
  Connector* bus = system->broadcast("bus", sender->rule("send", [=] { return sender->fired < 3; }),
                                     receiver->rule("receive", [=] { return sender->fired != 1; }));
  Connector* own =
      system->rendezvous("own", receiver->rule("rest", [=] { return receiver->fired < 4; }));
  system->priority(Interaction::Create(own, BitVector(0)), Interaction::Create(bus, BitVector(0)));
  return system;
}

struct Mixture {
  explicit Mixture(unsigned int subset) {
    for (unsigned int i = 0; i < FLAGS.size(); ++i) {
      if ((subset >> i & 1u) != 0) arguments.push_back(FLAGS[i]);
    }
    const auto has = [subset](unsigned int i) { return (subset >> i & 1u) != 0; };
    explores = has(6) || has(7) || (has(1) && !has(2));
    writes = explores && !has(11);
  }
  Arguments arguments;
  bool explores;
  bool writes;
};

}  // namespace

TEST_F(CommandLineTest, EveryMixtureOfFlagsEndsWithStatusZero) {
#ifdef NDEBUG
  const unsigned int step = 1;
#else
  const unsigned int step = 37;  // prime to 4096; all of them in an optimised build
#endif
  for (Compound* (*model)(int, char**) : {twoFirings, timedModel, broadcastModel}) {
    create = model;
    for (unsigned int subset = 0; subset < 4096; subset += step) {
      const Mixture mixture(subset);
      const Outcome outcome = isolated([&] {
        Arguments arguments = mixture.arguments;
        arguments.insert(arguments.end(), {"--limit", "5"});
        const int status = engineMain(arguments);
        const bool written = std::filesystem::exists("vesk.deadlock");
        return written == mixture.writes ? status : 50;
      });
      ASSERT_EQ(outcome.status, 0) << subset;
      ASSERT_EQ(outcome.err, "") << subset;
      ASSERT_EQ(outcome.out.compare(0, sizeof BANNER - 1, BANNER), 0) << subset;
      ASSERT_LT(outcome.out.size(), 65536u) << subset;
    }
  }
}
