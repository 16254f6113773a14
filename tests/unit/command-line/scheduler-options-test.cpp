// The options: their names and arguments, the fields that they set, and the files that they open.

#include <getopt.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "fixture.hpp"
#include "kit/output.hpp"
#include "kit/processes.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

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

}  // namespace

// ---- Help --------------------------------------------------------------------------------------

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
    EXPECT_EQ(outcome.err, std::string("model: option '") + option + "' requires an argument\n")
        << option;
  }
  for (const char* letter : {"o", "l", "s"}) {
    const Outcome outcome = runMain({std::string("-") + letter});
    EXPECT_EQ(outcome.status, BAD_OPTION) << letter;
    EXPECT_EQ(outcome.err, std::string("model: option requires an argument -- '") + letter + "'\n")
        << letter;
  }
}

TEST_F(CommandLineTest, TheShortSeedTakesNoArgumentAndIsRefused) {
  for (const Arguments& arguments :
       std::vector<Arguments>{{"-r"}, {"-r", "5"}, {"-r5"}, {"-l", "3", "-r"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
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

// ---- Options and fields ------------------------------------------------------------------------

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
    SCOPED_TRACE(testing::PrintToString(arguments));
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
    SCOPED_TRACE(testing::PrintToString(arguments));
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

TEST_F(CommandLineTest, NumbersThatAreNoneAreReportedWithWhatTheyCountAs) {
  const std::string most(40, '9');
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"5", ""},
      {" -7", ""},
      {"+7", ""},
      {"2147483647", ""},
      {"-2147483648", ""},
      {"abc", "vesk: --limit: 'abc' is not a number, taken as 0\n"},
      {"12x", "vesk: --limit: '12x' is not a number, taken as 12\n"},
      {"--quiet", "vesk: --limit: '--quiet' is not a number, taken as 0\n"},
      {"", "vesk: --limit: the number is missing, taken as 0\n"},
      {"2\n3", "vesk: --limit: '2' is not a number, taken as 2\n"},
      {"2147483648",
       "vesk: --limit: '2147483648' does not fit into 32 bits, taken as 2147483647\n"},
      {"-9999999999",
       "vesk: --limit: '-9999999999' does not fit into 32 bits, taken as -2147483648\n"},
      {most + "9",
       "vesk: --limit: '" + most + "' does not fit into 32 bits, taken as 2147483647\n"},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_EQ(errorsOf([number = text] { Parsed({"--limit", number}); }), message) << text;
  }
  EXPECT_EQ(errorsOf([] {
              Parsed({"--seed", "x", "--limit", "y"});
            }),
            "vesk: --seed: 'x' is not a number, taken as 0\n"
            "vesk: --limit: 'y' is not a number, taken as 0\n");
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

// Each time it makes its clocks again, and ends those that it had.
TEST_F(CommandLineTest, ASchedulerMayReadSeveralCommandLines) {
  const Outcome outcome = isolated([] {
    OpenScheduler scheduler(nullptr);
    scheduler.parse({"--bfs", "--disable-output"});
    scheduler.parse({"--execute"});
    scheduler.parse({"--explore", "--disable-output"});
    scheduler.parse({"--realtime"});
    return scheduler.mRunMode == Vesk::REALTIME ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
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

// ---- Output files ------------------------------------------------------------------------------

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
      EXPECT_LE(entry.path().filename().string().size(), 49u) << length;
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

// ---- The trace ---------------------------------------------------------------------------------

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
