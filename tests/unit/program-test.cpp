// Whole runs through the program's entry: what reaches files, pipes and terminals, and what a model
// may do to a run.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <termios.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "allocations.hpp"
#include "kit/atoms.hpp"
#include "kit/output.hpp"
#include "kit/processes.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"
#include "passing-clock.hpp"

using namespace kit;

namespace {

constexpr char BANNER[] = "VESK mono-threaded engine. Version: Engines: d20101124\n";

// Optimised code takes more steps in its time, and instrumented code more of the stack.
#if defined(NDEBUG)
constexpr int MANY_STEPS = 1000000;
constexpr int MANY_LEVELS = 100000;
#elif defined(VESK_TESTS_UNDER_ASAN)
constexpr int MANY_STEPS = 50000;
constexpr int MANY_LEVELS = 2000;
#else
constexpr int MANY_STEPS = 50000;
constexpr int MANY_LEVELS = 10000;
#endif

using Arguments = std::vector<std::string>;

std::function<Compound*()> create;

std::string repeated(int count, const std::string& text) {
  std::string result;
  for (; count > 0; --count) result += text;
  return result;
}

// A run in a process of its own, and the files that it leaves behind, however it ends.
struct WholeRun {
  Outcome outcome;
  std::map<std::string, std::string> files;
};

std::filesystem::path keptFiles;

WholeRun run(const std::function<int()>& body, const std::string& input = "") {
  const Folder kept;
  keptFiles = kept.path();
  WholeRun result;
  result.outcome = isolated(
      [&] {
        std::atexit([] { std::filesystem::copy(".", keptFiles); });
        return body();
      },
      input);
  for (const auto& entry : std::filesystem::directory_iterator(kept.path())) {
    result.files[entry.path().filename().string()] = contents(entry.path());
  }
  return result;
}

WholeRun run(const Arguments& arguments, const std::string& input = "") {
  return run([&] { return engineMain(arguments); }, input);
}

}  // namespace

Compound* Compound::Create(int, char**) {
  return create();
}

// ---- Files, pipes and terminals --------------------------------------------------------------

namespace {

enum class Channel { FILE, PIPE, TERMINAL };

// Both ends of a channel; the terminal passes bytes on as they are.
struct Ends {
  int read = -1;
  int write = -1;
};

Ends openChannel(Channel channel, const std::filesystem::path& file) {
  Ends ends;
  if (channel == Channel::FILE) {
    ends.write = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ends.read = open(file.c_str(), O_RDONLY);
  } else if (channel == Channel::PIPE) {
    int both[2] = {-1, -1};
    if (pipe(both) == 0) ends = {both[0], both[1]};
  } else {
    ends.read = posix_openpt(O_RDWR | O_NOCTTY);
    if (ends.read != -1 && grantpt(ends.read) == 0 && unlockpt(ends.read) == 0) {
      ends.write = open(ptsname(ends.read), O_RDWR | O_NOCTTY);
      termios raw;
      tcgetattr(ends.write, &raw);
      cfmakeraw(&raw);
      tcsetattr(ends.write, TCSANOW, &raw);
    }
  }
  return ends;
}

// What a run writes to its standard output when that is the given channel. A terminal may lose its
// last bytes when the other end closes right behind them: what tells the end is a mark.
std::string outputThrough(Channel channel, const std::function<int()>& body,
                          const std::string& input) {
  constexpr char END_MARK = '\0';
  const Folder folder;
  const Ends ends = openChannel(channel, folder.name("output"));
  EXPECT_NE(ends.read, -1);
  EXPECT_NE(ends.write, -1);
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    isolated(
        [&] {
          dup2(ends.write, STDOUT_FILENO);
          close(ends.write);
          return body();
        },
        input);
    _exit(write(ends.write, &END_MARK, 1) == 1 ? 0 : 1);
  }
  if (channel == Channel::FILE) waitpid(child, nullptr, 0);
  std::string output;
  char buffer[4096];
  ssize_t count = 0;
  while ((output.empty() || output.back() != END_MARK) &&
         (count = read(ends.read, buffer, sizeof buffer)) > 0) {
    output.append(buffer, static_cast<std::size_t>(count));
  }
  const std::size_t end = output.find(END_MARK);
  EXPECT_EQ(end, output.size() - 1) << output;
  close(ends.write);
  close(ends.read);
  if (channel != Channel::FILE) waitpid(child, nullptr, 0);
  return output.substr(0, end);
}

}  // namespace

// Whatever a stream and stdio write in turn comes out in that order.
TEST(ChannelTest, FilesPipesAndTerminalsReceiveTheSameBytes) {
  create = [] {
    System* system = new System;
    TestAtom* atom = system->atom("A");
    const auto speak = [] {
      std::printf("by stdio, ");
      std::cout << "by stream, ";
      std::putchar('\n');
    };
    system->rendezvous("k", atom->rule(
                                "go", [atom] { return atom->fired < 3; }, speak));
    system->rendezvous("l", atom->rule(
                                "stay", [atom] { return atom->fired < 3; }, speak));
    return system;
  };
  const auto singleStep = [] {
    const std::unique_ptr<Compound> system(create());
    Scheduler scheduler(system.get(), 1, false, 1, -1, 0);
    scheduler.run_execution();
    return 0;
  };
  struct Case {
    std::function<int()> body;
    std::string input;
    std::string contained;
  };
  const auto engine = [](const Arguments& arguments) {
    return [arguments] { return engineMain(arguments); };
  };
  const std::string spoken = "by stdio, by stream, \n";
  const std::vector<Case> cases = {
      {engine({}), "", "by stream, \nscheduler [0ms] System/"},
      {engine({"--opt1"}), "", "scheduler : System/l/A:stay\n" + spoken + "scheduler : System/k/A"},
      {engine({"--opt2"}), "", spoken + "Error or Deadlock!\n"},
      {engine({"--random"}), "", "(there is an engine bug)\n"},
      {engine({"--interactive"}), "0 1 0 2 r r 0 0", "to exit): System/k/A:go lazy\n" + spoken},
      {engine({"--bfs"}), "", "by stream, \n"},
      {engine({"--dfs"}), "", "by stream, \n"},
      {engine({"--help"}), "", "  --seed / -r\n"},
      {engine({"--bogus"}), "", "Unknown: '?'\n"},
      {singleStep, "1 l x 2 0 1", "scheduler : System/k/A:go\n" + spoken},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(&one - cases.data());
    const std::string expected = outputThrough(Channel::FILE, one.body, one.input);
    EXPECT_EQ(outputThrough(Channel::PIPE, one.body, one.input), expected);
    EXPECT_EQ(outputThrough(Channel::TERMINAL, one.body, one.input), expected);
    EXPECT_NE(expected.find(one.contained), std::string::npos) << expected;
  }
}

namespace {

// The other ends of the standard input and output of a run.
class Conversation {
 public:
  explicit Conversation(const std::function<int()>& body) {
    int input[2];
    int output[2];
    if (pipe(input) != 0 || pipe(output) != 0) std::abort();
    std::fflush(nullptr);
    mChild = fork();
    if (mChild == 0) {
      dup2(input[0], STDIN_FILENO);
      dup2(output[1], STDOUT_FILENO);
      for (const int end : {input[0], input[1], output[0], output[1]}) close(end);
      std::exit(body());
    }
    close(input[0]);
    close(output[1]);
    mInput = input[1];
    mOutput = output[0];
  }
  Conversation(const Conversation&) = delete;
  Conversation& operator=(const Conversation&) = delete;
  ~Conversation() {
    close(mInput);
    close(mOutput);
    waitpid(mChild, nullptr, 0);
  }

  // Reads until the output ends with this text. False when it stays away.
  bool hears(const std::string& text) {
    std::string heard;
    while (heard.size() < text.size() ||
           heard.compare(heard.size() - text.size(), text.size(), text) != 0) {
      pollfd ready{mOutput, POLLIN, 0};
      char buffer[4096];
      if (poll(&ready, 1, 20000) != 1) return false;
      const ssize_t count = read(mOutput, buffer, sizeof buffer);
      if (count <= 0) return false;
      heard.append(buffer, static_cast<std::size_t>(count));
    }
    return true;
  }
  void says(const std::string& text) {
    EXPECT_EQ(write(mInput, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

 private:
  pid_t mChild;
  int mInput;
  int mOutput;
};

}  // namespace

TEST(ChannelTest, EveryPromptIsOutBeforeItsAnswerIsRead) {
  create = [] {
    System* system = new System;
    system->counter("A", "ca", 2);
    return system;
  };
  Conversation timed([] { return engineMain({"--interactive"}); });
  for (int step = 0; step < 2; ++step) {
    EXPECT_TRUE(timed.hears("Enter a new value for current time in lazy (0ms,_): ")) << step;
    timed.says("0\n");
    EXPECT_TRUE(timed.hears("Enter interaction or internal port number (hit 0 to exit): ")) << step;
    timed.says("1\n");
  }
  EXPECT_TRUE(timed.hears("] deadlock!\n"));

  Conversation single([] {
    const std::unique_ptr<Compound> system(create());
    Scheduler(system.get(), 1, false, 1, -1, 0).run_execution();
    return 0;
  });
  for (const char* answer : {"1\n", "l\n", "1\n", "0\n"}) {
    EXPECT_TRUE(single.hears("Enter connector number (Hit 0 to exit) : ")) << answer;
    single.says(answer);
  }
  EXPECT_TRUE(single.hears("Exiting ...\n\n"));
}

// What is open of standard input, output and error, and every file, gets what it would get anyway.
TEST(ChannelTest, ClosedStandardDescriptorsChangeNothingElse) {
  create = [] {
    System* system = new System;
    system->counter("A", "ca", 2);
    system->counter("B", "cb", 1);
    return system;
  };
  for (const Arguments& arguments : std::vector<Arguments>{{"-s", "trace"},
                                                           {"--random", "-s", "trace"},
                                                           {"--opt1"},
                                                           {"--opt2", "-s", "trace"},
                                                           {"--dfs"},
                                                           {"--bfs"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const WholeRun whole = run(arguments);
    EXPECT_EQ(whole.outcome.status, 0);
    EXPECT_FALSE(arguments.size() > 1 && whole.files.at("trace").empty());
    for (int closed = 1; closed < 8; ++closed) {
      const WholeRun partial = run([&] {
        for (int descriptor = 0; descriptor < 3; ++descriptor) {
          if ((closed >> descriptor & 1) != 0) close(descriptor);
        }
        return engineMain(arguments);
      });
      EXPECT_EQ(partial.outcome.status, 0) << closed << arguments[0];
      EXPECT_EQ(partial.outcome.out, (closed & 2) != 0 ? "" : whole.outcome.out) << closed;
      EXPECT_EQ(partial.outcome.err, (closed & 4) != 0 ? "" : whole.outcome.err) << closed;
      EXPECT_EQ(partial.files, whole.files) << closed << arguments[0];
    }
  }
}

// ---- Names and texts -------------------------------------------------------------------------

namespace {

constexpr char FORMAT[] = "%n%s%99999d";

// Its state text is a format as well.
class FormatAtom : public TestAtom {
 public:
  explicit FormatAtom(const Compound* holder) : TestAtom(FORMAT, holder) {
    ctrlStates().add(new CtrlState(FORMAT));
  }
  Node* getState() override {
    return new Leaf(new Atomleaf((std::to_string(fired) + ";" + FORMAT).c_str()));
  }
};

Compound* formatModel() {
  System* system = new System(FORMAT);
  FormatAtom* atom = new FormatAtom(system);
  system->components().add(atom);
  system->rendezvous(FORMAT, atom->rule(FORMAT, [atom] { return atom->fired < 2; }));
  return system;
}

}  // namespace

TEST(NameTest, AFormatInANameIsPlainTextInEveryMode) {
  create = formatModel;
  const std::string format = FORMAT;
  const std::string label = format + "/" + format + "/" + format + ":" + format;
  const auto ownLoop = [](int mode, const Arguments& arguments) {
    return [mode, arguments] {
      const std::unique_ptr<Compound> system(create());
      OpenScheduler scheduler(system.get(), mode);
      scheduler.parse(arguments);
      scheduler.run();
      return 0;
    };
  };
  const auto engine = [](const Arguments& arguments) {
    return [arguments] { return engineMain(arguments); };
  };
  struct Case {
    std::function<int()> body;
    std::string expected;
  };
  const std::string banner = BANNER;
  const std::vector<Case> cases = {
      {engine({}), banner + repeated(2, "scheduler [0ms] " + label + " lazy\n") +
                       "scheduler [0ms] deadlock!\n"},
      {engine({"--opt1"}),
       banner + repeated(2, "scheduler : " + label + "\n") + "scheduler : deadlock\n"},
      {engine({"--opt2"}),
       banner + repeated(2, "scheduler : " + label + "\n") + "Error or Deadlock!\n"},
      {engine({"--random"}), ""},
      {engine({"--realtime"}), ""},
      {engine({"--interactive"}), ""},
      {ownLoop(0, {"--trace"}), ""},
      {ownLoop(1, {}), ""},
      {ownLoop(2, {"--trace"}), ""},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(&one - cases.data());
    const WholeRun result = run(one.body, "0 1 1 0 0");
    EXPECT_EQ(result.outcome.status, 0);
    EXPECT_EQ(result.outcome.err, "");
    EXPECT_NE(result.outcome.out.find(label), std::string::npos) << result.outcome.out;
    EXPECT_LT(result.outcome.out.size(), 2000u);
    if (!one.expected.empty()) {
      EXPECT_EQ(result.outcome.out, one.expected);
    }
  }
}

TEST(NameTest, AFormatInANameIsPlainTextInTheFilesOfAnExploration) {
  create = formatModel;
  const std::string format = FORMAT;
  const std::string transition = format + "/" + format + "/" + format + ":" + format;
  for (const char* traversal : {"--dfs", "--bfs"}) {
    const WholeRun result = run({traversal, "-o", FORMAT});
    EXPECT_EQ(result.outcome.status, 0) << traversal;
    EXPECT_EQ(result.outcome.err, "") << traversal;
    EXPECT_LT(result.outcome.out.size(), 2000u) << traversal;
    const std::string transitions = result.files.at(format + ".aut");
    EXPECT_NE(transitions.find("(0, " + transition + ", 1)\n"), std::string::npos) << transitions;
    EXPECT_NE(transitions.find("(1, " + transition + ", 2)\n"), std::string::npos) << transitions;
    for (const char* text : {"0;", "1;", "2;"}) {
      EXPECT_NE(result.files.at(format + ".state").find(text + format), std::string::npos) << text;
    }
  }
}

// ---- A model that ends the process -----------------------------------------------------------

// Every line of the trace stands in its file by the time its interaction fires.
TEST(ExitTest, AModelThatEndsTheProcessLosesNoLineOfTheTrace) {
  create = [] {
    System* system = new System;
    TestAtom* atom = system->atom("A");
    system->rendezvous("k", atom->rule(
                                "go", [] { return true; },
                                [atom] {
                                  if (atom->fired == 2) std::exit(3);
                                }));
    return system;
  };
  struct Case {
    Arguments arguments;
    std::string line;
  };
  for (const Case& one : std::vector<Case>{{{}, "scheduler [0ms] System/k/A:go lazy\n"},
                                           {{"--opt1"}, "scheduler : System/k/A:go\n"},
                                           {{"--opt2"}, "scheduler : System/k/A:go\n"}}) {
    SCOPED_TRACE(testing::PrintToString(one.arguments));
    Arguments arguments = one.arguments;
    EXPECT_EQ(run(arguments).outcome.status, 3);
    EXPECT_EQ(run(arguments).outcome.out, BANNER + repeated(2, one.line));
    arguments.insert(arguments.end(), {"-s", "trace"});
    const WholeRun traced = run(arguments);
    EXPECT_EQ(traced.outcome.status, 3);
    EXPECT_EQ(traced.outcome.out, BANNER);
    EXPECT_EQ(traced.outcome.err, "");
    EXPECT_EQ(traced.files.at("trace"), repeated(2, one.line));
  }
}

TEST(ExitTest, AModelMayEndTheProcessBeforeThereIsASystem) {
  create = []() -> Compound* { std::exit(2); };
  for (const char* option : {"--execute", "--opt2", "--bfs", "--help", "--bogus"}) {
    const WholeRun result = run({option});
    EXPECT_EQ(result.outcome.status, 2) << option;
    EXPECT_EQ(result.outcome.out, BANNER) << option;
    EXPECT_EQ(result.outcome.err, "") << option;
    EXPECT_TRUE(result.files.empty()) << option;
  }
}

// ---- Timed models in runs without time -------------------------------------------------------

namespace {

// Makes its clock whether the run has time or not. Its port is enabled in an interval since the
// last firing; the state is whether the number of firings is odd.
class EagerAtom : public Atom {
 public:
  EagerAtom(const char* name, const Compound* holder, int low, int high)
      : Atom(name, holder), mLow(low), mHigh(high), mOdd(false), mSince(nullptr) {
    addPort(new Port("go", this));
  }
  using Atom::initialize;
  void initialize(LogicalClock* clock) override {
    mSince = new Clock("since", clock);
    mClocks.add(mSince);
    mConstraints.add(new Constraint(mSince, mLow, mHigh, EAGER));
    announce();
  }
  void execute(Port*) override {
    mOdd = !mOdd;
    mSince->stop();
    mSince->go();
    mSince->reset();
    announce();
  }
  Node* getState() override { return new Leaf(new Atomleaf(mOdd ? "1;" : "0;")); }
  void setState(Node* state) override {
    mOdd = static_cast<Leaf*>(state)->getAleaf()->getVal()[0] == '1';
    announce();
  }

 private:
  void announce() {
    mPorts[0]->setSynced(false);
    mPorts[0]->setDominated(false);
    rt_sync(1, mPorts[0], 1, mConstraints[0]);
  }

  int mLow;
  int mHigh;
  bool mOdd;
  Clock* mSince;
};

}  // namespace

TEST(UntimedRunTest, AModelMayHaveClocksAndConstraintsAllTheSame) {
  create = [] {
    System* system = new System;
    EagerAtom* atom = new EagerAtom("A", system, 0, 10);
    system->components().add(atom);
    system->rendezvous("k", atom->ports()[0]);
    return system;
  };
  const std::string lines = repeated(3, "scheduler : System/k/A:go\n");
  for (const char* loop : {"--opt1", "--opt2"}) {
    const WholeRun result = run({loop, "--limit", "3"});
    EXPECT_EQ(result.outcome.status, 0) << loop;
    EXPECT_EQ(result.outcome.out, BANNER + lines) << loop;
    EXPECT_EQ(result.outcome.err, "") << loop;
  }
  for (const char* traversal : {"--dfs", "--bfs"}) {
    const WholeRun result = run({traversal});
    EXPECT_EQ(result.outcome.status, 0) << traversal;
    EXPECT_EQ(result.outcome.err, "") << traversal;
    const std::string transitions = result.files.at("vesk.aut");
    EXPECT_NE(transitions.find("(0, System/k/A:go, 1)\n(1, System/k/A:go, 0)\n"), std::string::npos)
        << transitions;
  }
  EXPECT_EQ(run({"--explore"}).outcome.status, 0);
}

TEST(UntimedRunTest, PortsThatAreNeverPossibleTogetherAreADeadlockInEveryMode) {
  create = [] {
    System* system = new System;
    EagerAtom* early = new EagerAtom("A", system, 0, 5000);
    EagerAtom* late = new EagerAtom("B", system, 10000, 20000);
    system->components().add(early);
    system->components().add(late);
    system->rendezvous("k", early->ports()[0], late->ports()[0]);
    return system;
  };
  struct Case {
    Arguments arguments;
    std::string expected;
  };
  for (const Case& one : std::vector<Case>{{{}, "scheduler [0ms] deadlock!\n"},
                                           {{"--random"}, "scheduler [0ms] deadlock!\n"},
                                           {{"--realtime"}, "scheduler [0ms] deadlock!\n"},
                                           {{"--interactive"}, "scheduler [0ms] deadlock!\n"},
                                           {{"--opt1"}, "scheduler : deadlock\n"},
                                           {{"--opt2"}, "Error or Deadlock!\n"}}) {
    SCOPED_TRACE(testing::PrintToString(one.arguments));
    const WholeRun result = run(one.arguments);
    EXPECT_EQ(result.outcome.status, 0);
    EXPECT_EQ(result.outcome.out, BANNER + one.expected);
    EXPECT_EQ(result.outcome.err, "");
  }
  for (const char* traversal : {"--dfs", "--bfs"}) {
    const WholeRun result = run({traversal});
    EXPECT_EQ(result.outcome.status, 0) << traversal;
    EXPECT_EQ(result.outcome.err, "") << traversal;
    EXPECT_EQ(result.files.at("vesk.aut").find("System/k"), std::string::npos) << traversal;
  }
}

// ---- Signals ---------------------------------------------------------------------------------

namespace {

// A signal to this process after so many microseconds.
void sendLater(int signal, long microseconds) {
  sigevent event = {};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = signal;
  timer_t timer;
  const itimerspec when = {{0, 0}, {0, microseconds * 1000}};
  if (timer_create(CLOCK_MONOTONIC, &event, &timer) != 0) std::abort();
  if (timer_settime(timer, 0, &when, nullptr) != 0) std::abort();
}

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

}  // namespace

// Whatever the run does at that moment: nothing of a trace waits for its end.
TEST(SignalTest, AnExecutionDiesByASignalAndLeavesTheWholeLinesThatItHadReached) {
  create = [] {
    System* system = new System;
    system->rendezvous(
        "k", system->atom("A")->timedRule("go", within(0, 0, EAGER), [] { return true; }));
    return system;
  };
  const std::string timed = "scheduler [0ms] System/k/A:go eager (0ms,0ms)\n";
  const std::string untimed = "scheduler : System/k/A:go\n";
  const std::vector<std::pair<Arguments, std::string>> modes{
      {{"--execute"}, timed}, {{"--random"}, timed}, {{"--opt1"}, untimed}, {{"--opt2"}, untimed}};
  std::minstd_rand random(1);
  std::size_t longest = 0;
  for (int round = 0; round < 100; ++round) {
    const auto& [arguments, line] = modes[static_cast<std::size_t>(round) % modes.size()];
    const int signal = round % 3 == 0 ? SIGINT : SIGTERM;
    const long instant = 1 + static_cast<long>(random() % 20000);
    const Outcome outcome = isolated([&, &words = arguments] {
      sendLater(signal, instant);
      return engineMain(words);
    });
    EXPECT_EQ(outcome.status, 1000 + signal) << arguments[0];
    EXPECT_EQ(outcome.err, "") << arguments[0];
    const std::string whole =
        BANNER + repeated(static_cast<int>(outcome.out.size() / line.size()) + 1, line);
    EXPECT_TRUE(startsWith(whole, outcome.out)) << arguments[0] << instant;
    // Between two pages of a file the system itself may end what a dying process writes.
    const bool atPage = outcome.out.size() % 4096 == 0;
    EXPECT_TRUE(atPage || outcome.out.back() == '\n') << arguments[0] << instant;
    longest = std::max(longest, outcome.out.size());
  }
  EXPECT_GT(longest, 10 * timed.size());
}

// ---- Long runs and deep systems --------------------------------------------------------------

namespace {

constexpr int MEMORY_GREW = 77;  // exit status

// Counts its firings and watches the memory: after the first steps the number of blocks stays.
Compound* watchedModel(const Interval& when) {
  System* system = new System;
  TestAtom* atom = system->atom("A");
  const auto watch = [atom] {
    static long live = 0;
    if (atom->fired == 1000) live = Allocations::live();
    if (atom->fired == MANY_STEPS && Allocations::live() != live) std::_Exit(MEMORY_GREW);
  };
  system->rendezvous("k", atom->timedRule(
                              "go", when, [] { return true; }, watch));
  return system;
}

}  // namespace

TEST(LongRunTest, ManyStepsAtOneTimeOrOverTimeKeepNoMemory) {
  ASSERT_TRUE(COUNTING);
  const std::string limit = std::to_string(MANY_STEPS);
  const Interval atOnce = within(0, 0, EAGER);
  const Interval later = within(1, 2, DELAYABLE);
  for (const Interval& when : {atOnce, later}) {
    create = [&] { return watchedModel(when); };
    for (const Arguments& mode :
         std::vector<Arguments>{{"--execute"}, {"--random"}, {"--opt1"}, {"--opt2"}}) {
      Arguments arguments = mode;
      arguments.insert(arguments.end(), {"--limit", limit, "--simout", "/dev/null"});
      const WholeRun result = run(arguments);
      EXPECT_EQ(result.outcome.status, 0) << mode[0];
      EXPECT_EQ(result.outcome.out, BANNER) << mode[0];
      EXPECT_EQ(result.outcome.err, "") << mode[0];
    }
  }
}

TEST(LongRunTest, ATimedRunDoesNotReachALimitThatIsZeroOrNegative) {
  create = [] {
    System* system = new System;
    system->counter("A", "ca", 7);
    return system;
  };
  const std::string line = "scheduler [0ms] System/ca/A:go lazy\n";
  for (const char* limit : {"0", "-1", "-5", "-2147483648", "junk"}) {
    EXPECT_EQ(run({"--limit", limit}).outcome.out,
              BANNER + repeated(7, line) + "scheduler [0ms] deadlock!\n")
        << limit;
  }
  EXPECT_EQ(run({"--limit", "5"}).outcome.out,
            BANNER + repeated(5, line) + "Execution limit size (5) reached!\n");
}

// The stack that a program has by default.
TEST(DeepSystemTest, RunsInEveryModeOnADefaultStack) {
  create = [] {
    System* root = new System("R");
    System* level = root;
    for (int depth = 1; depth < MANY_LEVELS; ++depth) {
      System* inner = new System("L", level);
      level->components().add(inner);
      level = inner;
    }
    level->counter("A", "k", 2);
    return root;
  };
  for (const Arguments& arguments : std::vector<Arguments>{
           {"--execute"}, {"--random"}, {"--opt1"}, {"--opt2"}, {"--dfs"}, {"--bfs"}}) {
    const WholeRun result = run([&] {
      rlimit stack;
      getrlimit(RLIMIT_STACK, &stack);
      stack.rlim_cur = 8 * 1024 * 1024;
      setrlimit(RLIMIT_STACK, &stack);
      return engineMain(arguments);
    });
    EXPECT_EQ(result.outcome.status, 0) << arguments[0];
    EXPECT_EQ(result.outcome.err, "") << arguments[0];
  }
}
