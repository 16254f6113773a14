// What can happen to an exploration from outside: signals, full and missing files, exceptions and
// exit() in model code, exhausted memory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/exploration-checker.hpp"
#include "kit/explorations.hpp"
#include "kit/output.hpp"
#include "kit/promised-models.hpp"
#include "kit/systems.hpp"

using namespace kit;

// ---- An allocator that can fail ------------------------------------------------------------

namespace {

long allocationsLeft = -1;  // the one after these fails; negative: none does

void* allocate(std::size_t size) {
  if (allocationsLeft == 0) {
    allocationsLeft = -1;
    throw std::bad_alloc();
  }
  if (allocationsLeft > 0) --allocationsLeft;
  void* block = std::malloc(size != 0 ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return allocate(size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  std::free(block);
}

namespace {

// ---- Helpers -------------------------------------------------------------------------------

// What an exploration of the files x.* left in a folder.
ExplorationChecker check(const Folder& folder) {
  return ExplorationChecker::read(folder.name("x"));
}

// Independent counters from 0 to 9, with texts of some length.
std::unique_ptr<System> counters(int count, std::size_t padding = 0) {
  auto system = std::make_unique<System>("s");
  std::vector<std::string> texts;
  std::map<int, int> transitions;
  for (int i = 0; i < 10; ++i) {
    texts.push_back(std::to_string(i) + std::string(padding, '.') + ",");
    transitions[i] = (i + 1) % 10;
  }
  for (int i = 0; i < count; ++i) {
    auto* atom = system->add(new Automaton("A" + std::to_string(i), system.get(), texts));
    system->join("k" + std::to_string(i), {atom->addPort("p", transitions)});
  }
  return system;
}

void setHook(System& system, const Automaton::Hook& hook) {
  for (int i = 0; i < system.components().count(); ++i) {
    static_cast<Automaton*>(system.components()[i])->setHook(hook);
  }
}

// A search, of a model that declares this.
struct Way {
  Way(Traversal search, Vesk::Locality promised = Vesk::Locality::UNDECLARED)
      : traversal(search), declared(promised) {}
  operator Traversal() const { return traversal; }

  Traversal traversal;
  Vesk::Locality declared;
};

const Way ALL_WAYS[] = {{BFS},
                        {DFS},
                        {BFS, Vesk::Locality::LOCAL},
                        {DFS, Vesk::Locality::LOCAL},
                        {BFS, Vesk::Locality::REPEATABLE},
                        {DFS, Vesk::Locality::REPEATABLE}};

std::string nameOfWay(const testing::TestParamInfo<Way>& way) {
  const char* const promises[] = {"", "Local", "Repeatable"};
  return std::string(way.param.traversal == BFS ? "BreadthFirst" : "DepthFirst") +
         promises[static_cast<int>(way.param.declared)];
}

// Explores into the files x.* of a folder, as the program's main does. The name stays short,
// because long ones are cut.
void run(System& system, const Way& way, const Folder& folder) {
  declareAll(system, way.declared);
  std::filesystem::current_path(folder.name(""));
  std::string words[] = {"model", way.traversal == BFS ? "--bfs" : "--dfs", "-o", "x"};
  char* argv[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
  clearGlobals();
  Scheduler scheduler(&system, 0, false, 1, 0, 0);
  scheduler.parseCmdFile(4, argv);
  scheduler.run();
}

void redirect(int descriptor, const std::string& name) {
  const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(file, descriptor);
  close(file);
}

// Runs a function in a process of its own, whose output goes to files of the folder.
template <class Function>
pid_t start(const Folder& folder, Function function) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child != 0) return child;
  redirect(STDOUT_FILENO, folder.name("out"));
  redirect(STDERR_FILENO, folder.name("err"));
  function();
  std::fflush(nullptr);
  _exit(0);
}

int wait(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

template <class Function>
int statusOf(const Folder& folder, Function function) {
  return wait(start(folder, function));
}

bool ended(int status, int code) {
  return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

bool killed(int status, int signal) {
  return WIFSIGNALED(status) && WTERMSIG(status) == signal;
}

const char* const HOOKS[] = {"initialize", "execute", "getState", "setState", "guard"};

// Calls the function at call number n of the hook.
void hookAt(System& system, const std::string& name, int n, const std::function<void()>& function) {
  auto calls = std::make_shared<int>(0);
  const auto count = [=](const std::string& hook) {
    if (hook == name && ++*calls == n) function();
  };
  setHook(system, [=](Automaton&, const std::string& hook) { count(hook); });
  for (int i = 0; i < system.connectors().count(); ++i) {
    static_cast<TestConnector*>(system.connectors()[i])->beforeGuard = [=] { count("guard"); };
  }
}

// The whole lines that fit into so many bytes.
std::string wholeLines(const std::string& content, std::size_t bytes) {
  if (content.size() <= bytes) return content;
  return content.substr(0, content.rfind('\n', bytes - 1) + 1);
}

// The file holds what it would hold if it had been cut there. Its header counts its transitions,
// and all the states.
void expectCut(const std::string& content, const std::string& expected, unsigned int states) {
  ASSERT_LE(std::size_t{38}, content.size());
  EXPECT_TRUE(content.substr(38) == expected.substr(38)) << content.size() << expected.size();
  const auto lines = std::count(content.begin() + 38, content.end(), '\n');
  const std::string header =
      "des(0, " + std::to_string(lines) + ", " + std::to_string(states) + ")\n ";
  EXPECT_EQ(header, content.substr(0, header.size()));
}

}  // namespace

// ---- Signals -------------------------------------------------------------------------------

class SignalTest : public testing::TestWithParam<Way> {};
INSTANTIATE_TEST_SUITE_P(BothSearches, SignalTest, testing::ValuesIn(ALL_WAYS), nameOfWay);

TEST_P(SignalTest, TheFilesCanBeReadAfterASignalAtAnyInstant) {
  std::mt19937 random(7);
  const int signals[] = {SIGINT, SIGTERM, SIGHUP, SIGXCPU};
  for (int round = 0; round < 200; ++round) {
    const Folder folder;
    int ready[2];
    ASSERT_EQ(0, pipe(ready)) << round;
    auto system = counters(5);
    const pid_t child = start(folder, [&] {
      bool first = true;
      setHook(*system, [&](Automaton&, const std::string& hook) {
        if (first && hook == "getState" && write(ready[1], "r", 1) == 1) first = false;
      });
      run(*system, GetParam(), folder);
    });
    char byte;
    ASSERT_EQ(1, read(ready[0], &byte, 1)) << round;
    usleep(static_cast<useconds_t>(random() % 5000));
    kill(child, signals[round % 4]);
    EXPECT_TRUE(killed(wait(child), signals[round % 4])) << "round " << round;
    EXPECT_EQ("", check(folder).faults()) << "round " << round;
    EXPECT_NE(std::string::npos, folder.content("out").find("Final size : ")) << "round " << round;
    EXPECT_EQ("", folder.content("err")) << round;
    close(ready[0]);
    close(ready[1]);
  }
}

TEST_P(SignalTest, TheSearchStopsAtItsNextTurn) {
  const Folder folder;
  auto system = counters(1);
  const int status = statusOf(folder, [&] {
    setHook(*system, [](Automaton& self, const std::string& hook) {
      if (hook == "execute" && self.state() == 3) raise(SIGTERM);
    });
    run(*system, GetParam(), folder);
  });
  EXPECT_TRUE(killed(status, SIGTERM));
  EXPECT_EQ("", check(folder).faults());
  EXPECT_EQ(3U, check(folder).transitions().size());
  EXPECT_EQ(4U, check(folder).stateCount());
  EXPECT_NE(std::string::npos, folder.content("out").find("* Count :          3 "));
}

// Also in the middle of a state with many transitions.
TEST_P(SignalTest, TheSearchStopsAfterTheTransitionThatItTakes) {
  const Folder folder;
  auto system = counters(50);
  const int status = statusOf(folder, [&] {
    hookAt(*system, "execute", 7, [] { raise(SIGTERM); });
    run(*system, GetParam(), folder);
  });
  EXPECT_TRUE(killed(status, SIGTERM));
  EXPECT_EQ("", check(folder).faults());
  EXPECT_EQ(7U, check(folder).transitions().size());
  EXPECT_EQ(8U, check(folder).stateCount());
}

// Enumerating the sets of forty timed ports would take years. Nothing of it is written, and no
// state is taken for a deadlock.
TEST_P(SignalTest, TheEnumerationOfABroadcastHearsASignal) {
  const Constraint within(nullptr, Vesk::Time(0), Vesk::Time(10), LAZY);
  for (const int first : {0, 1}) {  // the state in which the ports are enabled
    System system("s");
    Automaton* atom = system.add(new Automaton("A", &system, {"0,", "1,", "2,"}));
    system.join("one", {atom->addPort("p", {{0, 1}})});
    std::vector<Port*> ports;
    for (int i = 0; i < 40; ++i) {
      ports.push_back(atom->addPort("t" + std::to_string(i), {{first, 2}}));
      ports.back()->setConstraint(const_cast<Constraint*>(&within));
    }
    TestConnector* many = system.join("many", ports, BROADCAST);
    const Folder folder;
    const int status = statusOf(folder, [&] {
      int guards = 0;
      many->beforeGuard = [&] {
        ++guards;
        if (guards == 100) raise(SIGINT);
        if (guards > 100) _exit(1);
      };
      run(system, GetParam(), folder);
    });
    EXPECT_TRUE(killed(status, SIGINT)) << status;
    EXPECT_EQ(
        "vesk: connector many: a broadcast with 40 enabled timed ports looks at 2^40 sets of "
        "ports\n",
        folder.content("err"))
        << first;
    EXPECT_EQ("", check(folder).faults()) << first;
    EXPECT_EQ(static_cast<std::size_t>(first), check(folder).transitions().size()) << first;
    EXPECT_EQ(static_cast<std::size_t>(first) + 1, check(folder).stateCount()) << first;
    EXPECT_EQ(0U, check(folder).deadlockCount()) << first;
  }
}

// On a busy system they may be further apart, which is another case: then it is tried again.
TEST_P(SignalTest, ASignalThatComesTwiceAtOnceIsOneRequest) {
  bool isOne = false;
  for (int attempt = 0; attempt < 20 && !isOne; ++attempt) {
    const Folder folder;
    auto system = counters(1);
    const int status = statusOf(folder, [&] {
      setHook(*system, [](Automaton& self, const std::string& hook) {
        if (hook != "execute" || self.state() != 3) return;
        raise(SIGTERM);
        raise(SIGTERM);
      });
      run(*system, GetParam(), folder);
    });
    EXPECT_TRUE(killed(status, SIGTERM));
    EXPECT_EQ("", check(folder).faults());
    isOne = check(folder).transitions().size() == 3;
  }
  EXPECT_TRUE(isOne);
}

TEST_P(SignalTest, TheSameSignalKillsAtOnceWhenItComesAgain) {
  const Folder folder;
  auto system = counters(1);
  const int status = statusOf(folder, [&] {
    setHook(*system, [](Automaton&, const std::string& hook) {
      if (hook != "execute") return;
      raise(SIGINT);
      usleep(60000);
      raise(SIGINT);
      _exit(1);
    });
    run(*system, GetParam(), folder);
  });
  EXPECT_TRUE(killed(status, SIGINT));
}

TEST_P(SignalTest, ASecondSignalKillsAtOnce) {
  const Folder folder;
  int ready[2];
  ASSERT_EQ(0, pipe(ready));
  auto system = counters(1);
  const pid_t child = start(folder, [&] {
    setHook(*system, [&](Automaton&, const std::string& hook) {
      if (hook != "execute" || write(ready[1], "r", 1) != 1) return;
      for (;;) usleep(1000);
    });
    run(*system, GetParam(), folder);
  });
  char byte;
  ASSERT_EQ(1, read(ready[0], &byte, 1));
  kill(child, SIGINT);
  usleep(20000);
  EXPECT_EQ(0, waitpid(child, nullptr, WNOHANG)) << "the first one only asks";
  kill(child, SIGTERM);
  EXPECT_TRUE(killed(wait(child), SIGTERM));
  close(ready[0]);
  close(ready[1]);
}

TEST_P(SignalTest, IgnoredAndHandledSignalsAreLeftAlone) {
  const Folder folder;
  auto system = counters(1);
  const int status = statusOf(folder, [&] {
    static volatile sig_atomic_t handled = 0;
    signal(SIGHUP, SIG_IGN);
    signal(SIGTERM, [](int) { handled = handled + 1; });
    setHook(*system, [](Automaton&, const std::string& hook) {
      if (hook != "execute") return;
      raise(SIGHUP);
      raise(SIGTERM);
    });
    run(*system, GetParam(), folder);
    if (handled != 10) _exit(1);
  });
  EXPECT_TRUE(ended(status, 0));
  EXPECT_EQ("", check(folder).faults() + check(folder).missing());
}

TEST_P(SignalTest, TheDefaultActionsAreBackAfterTheSearch) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGXCPU, SIGPIPE, SIGXFSZ}) {
    const Folder folder;
    auto system = counters(1);
    const int status = statusOf(folder, [&] {
      run(*system, GetParam(), folder);
      raise(number);
    });
    EXPECT_TRUE(killed(status, number)) << number;
  }
}

TEST_P(SignalTest, AClosedPipeOnStandardOutputEndsNothing) {
  const Folder folder;
  auto system = counters(3);
  const int status = statusOf(folder, [&] {
    int ends[2];
    if (pipe(ends) != 0) _exit(1);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    run(*system, GetParam(), folder);
  });
  EXPECT_TRUE(ended(status, 0));
  EXPECT_EQ("", check(folder).faults() + check(folder).missing());
  EXPECT_EQ(1000U, check(folder).stateCount());
}

// ---- Files ---------------------------------------------------------------------------------

class FileTest : public SignalTest {};
INSTANTIATE_TEST_SUITE_P(BothSearches, FileTest, testing::ValuesIn(ALL_WAYS), nameOfWay);

TEST_P(FileTest, AFullDeviceIsReportedOnceAndSpoilsNoOtherFile) {
  const std::pair<const char*, const char*> entries[] = {
      {"x.aut", "the transition system"},
      {"x.state", "the list of states"},
      {"x.pruned", "the list of pruned paths"},
      {"x.deadlock", "the list of deadlocks"},
  };
  const auto make = [] {
    auto system = std::make_unique<System>("s");
    auto* atom = system->add(new Automaton("A", system.get(), {"0,", "1 PRUNE,", "2,"}));
    system->join("one", {atom->addPort("p", {{0, 1}})});
    system->join("two", {atom->addPort("q", {{0, 2}})});
    return system;
  };
  const Folder whole;
  auto system = make();
  EXPECT_TRUE(ended(statusOf(whole, [&] { run(*system, GetParam(), whole); }), 0));
  for (const auto& full : entries) {
    SCOPED_TRACE(full.first);
    const Folder folder;
    std::filesystem::create_symlink("/dev/full", folder.name(full.first));
    EXPECT_TRUE(ended(statusOf(folder, [&] { run(*system, GetParam(), folder); }), 0));
    EXPECT_EQ("vesk: " + std::string(full.second) + " could not be written completely\n",
              folder.content("err"));
    EXPECT_EQ(whole.content("out"), folder.content("out"));
    for (const auto& other : entries) {
      SCOPED_TRACE(other.first);
      if (other == full) continue;
      EXPECT_NE("", whole.content(other.first));
      EXPECT_EQ(whole.content(other.first), folder.content(other.first));
    }
  }
}

TEST_P(FileTest, ALimitOnFileSizesCutsTheFilesAndNotTheSearch) {
  auto system = counters(3);
  const Folder whole;
  EXPECT_TRUE(ended(statusOf(whole, [&] { run(*system, GetParam(), whole); }), 0));
  const std::string expected = whole.content("x.aut");
  for (const unsigned int limit : {1U, 2U, 3U, 5U, 8U, 13U, 21U, 34U, 55U, 64U}) {
    const Folder folder;
    const int status = statusOf(folder, [&] {
      const rlimit bytes = {rlim_t{limit} * 1024, rlim_t{limit} * 1024};
      setrlimit(RLIMIT_FSIZE, &bytes);
      run(*system, GetParam(), folder);
    });
    EXPECT_TRUE(ended(status, 0)) << limit;
    expectCut(folder.content("x.aut"), wholeLines(expected, limit * 1024), 1000);
    const std::string states = whole.content("x.state");
    EXPECT_TRUE(folder.content("x.state") == wholeLines(states, limit * 1024)) << limit;
    EXPECT_EQ(limit * 1024 < expected.size(),
              folder.content("err").find("vesk: the transition system could "
                                         "not be written completely\n") != std::string::npos)
        << limit;
  }
}

TEST_P(FileTest, APipeInPlaceOfTheTransitionsHasNoHeader) {
  const Folder folder;
  ASSERT_EQ(0, mkfifo(folder.name("x.aut").c_str(), 0600));
  const int reader = open(folder.name("x.aut").c_str(), O_RDONLY | O_NONBLOCK);
  auto system = counters(1);
  EXPECT_TRUE(ended(statusOf(folder, [&] { run(*system, GetParam(), folder); }), 0));
  EXPECT_EQ("vesk: the transition system has no header: Illegal seek\n", folder.content("err"));
  char text[10000];
  const ssize_t length = read(reader, text, sizeof text);
  close(reader);
  const std::string content(text, static_cast<std::size_t>(length));
  EXPECT_EQ(std::string(37, ' ') + "\n(0, s/k0/A0:p, 1)\n", content.substr(0, 56));
  EXPECT_EQ("(9, s/k0/A0:p, 0)\n", content.substr(content.size() - 18));
}

TEST_P(FileTest, APipeWithoutReaderIsReported) {
  const Folder folder;
  auto system = counters(1);
  const int status = statusOf(folder, [&] {
    int ends[2];
    if (pipe(ends) != 0) _exit(1);
    close(ends[0]);
    ExploringScheduler scheduler(system.get(), GetParam());
    scheduler.setFiles(nullptr, fdopen(ends[1], "w"), nullptr, nullptr);
    scheduler.run();
  });
  EXPECT_TRUE(ended(status, 0));
  EXPECT_EQ("vesk: the list of states could not be written completely\n", folder.content("err"));
}

TEST_P(FileTest, FilesBeyondTwoGibibytesAreWritten) {
  // The file has a hole of three gibibytes where earlier lines would stand.
  const Folder folder;
  FILE* file = std::fopen(folder.name("x.aut").c_str(), "w+");
  ASSERT_EQ(0, fseeko(file, off_t{3} << 30, SEEK_SET));
  auto system = counters(1);
  testing::internal::CaptureStdout();
  ExploringScheduler scheduler(system.get(), GetParam());
  scheduler.setFiles(file, nullptr, nullptr, nullptr);
  clearGlobals();
  scheduler.explore();
  testing::internal::GetCapturedStdout();
  char text[20] = "";
  EXPECT_EQ(16, pread(fileno(file), text, 16, 0));
  EXPECT_STREQ("des(0, 10, 10)\n ", text);
  EXPECT_EQ(0, fseeko(file, (off_t{3} << 30) + 38, SEEK_SET));
  EXPECT_EQ(18U, std::fread(text, 1, 18, file));
  EXPECT_STREQ("(0, s/k0/A0:p, 1)\n", text);
  std::fclose(file);
}

// ---- Model code ----------------------------------------------------------------------------

class HookTest : public SignalTest {
 protected:
  // A call of each hook that is late in a search of two counters. Connectors that repeat what they
  // do fire ten times each.
  static int lateCall() { return GetParam().declared == Vesk::Locality::REPEATABLE ? 15 : 40; }
};
INSTANTIATE_TEST_SUITE_P(BothSearches, HookTest, testing::ValuesIn(ALL_WAYS), nameOfWay);

TEST_P(HookTest, AnExceptionLeavesFilesThatCanBeRead) {
  for (const char* hook : HOOKS) {
    for (const int n : {1, 2, 3, 7, lateCall()}) {
      const Folder folder;
      auto system = counters(2);
      hookAt(*system, hook, n, [] { throw std::runtime_error("model"); });
      testing::internal::CaptureStdout();
      const bool thrown = std::string(hook) != "initialize" || n <= 2;
      if (thrown) {
        EXPECT_THROW(run(*system, GetParam(), folder), std::runtime_error) << hook << n;
      } else {
        EXPECT_NO_THROW(run(*system, GetParam(), folder)) << hook << ' ' << n;
      }
      EXPECT_NE(std::string::npos, testing::internal::GetCapturedStdout().find("Final size : "))
          << hook << ' ' << n;
      EXPECT_EQ("", check(folder).faults()) << hook << n;
    }
  }
}

// The leaf is one of the state that is being looked at.
TEST_P(HookTest, AnExceptionAfterAnErrorShowsTheFaultyAtomOfTheStateInHand) {
  clearGlobals();
  const Folder folder;
  auto system = line({"0 PRUNE,", "1,"});
  testing::internal::CaptureStdout();
  hookAt(*system, "setState", 1, [] {
    global_error = true;
    throw std::runtime_error("model");
  });
  EXPECT_THROW(run(*system, GetParam(), folder), std::runtime_error);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_NE(std::string::npos, out.find("Faulty atom : 0 PRUNE,\n")) << out;
  EXPECT_EQ(nullptr, faulty_leaf);
  clearGlobals();
}

TEST_P(HookTest, ExitInAHookLeavesFilesThatCanBeRead) {
  for (const char* hook : HOOKS) {
    for (const int n : {1, 2, lateCall()}) {
      if (std::string(hook) == "initialize" && n > 2) continue;
      const Folder folder;
      auto system = counters(2);
      const int status = statusOf(folder, [&] {
        hookAt(*system, hook, n, [] { std::exit(3); });
        run(*system, GetParam(), folder);
      });
      EXPECT_TRUE(ended(status, 3)) << hook << n;
      EXPECT_EQ("", check(folder).faults()) << hook << n;
      EXPECT_EQ("", folder.content("err")) << hook << ' ' << n;
    }
  }
}

TEST_P(HookTest, TheNextExplorationIsNotHarmedByTheExceptionBefore) {
  auto system = counters(2);
  const Folder whole;
  testing::internal::CaptureStdout();
  run(*system, GetParam(), whole);
  hookAt(*system, "execute", 5, [] { throw 1; });
  const Folder folder;
  EXPECT_THROW(run(*system, GetParam(), folder), int);
  hookAt(*system, "execute", 0, [] {});
  run(*system, GetParam(), folder);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(whole.content("x.aut"), folder.content("x.aut"));
  EXPECT_EQ(whole.content("x.state"), folder.content("x.state"));
}

// ---- Processes made by model code ------------------------------------------------------------

namespace {

// At every hundredth transition a process is forked, which goes on with the function.
void forkAt(System& system, const std::function<void()>& inChild) {
  auto calls = std::make_shared<int>(0);
  const pid_t parent = getpid();
  setHook(system, [=](Automaton&, const std::string& hook) {
    if (getpid() != parent || hook != "execute" || ++*calls % 100 != 0) return;
    const pid_t child = fork();
    if (child == 0) return inChild();
    if (!ended(wait(child), 0)) _exit(1);
  });
}

}  // namespace

TEST_P(HookTest, AForkedProcessCompletesNothing) {
  const std::function<void()> ends[] = {[] { std::exit(0); },
                                        [] {},  // goes on as if it were the search
                                        [] {
                                          std::fclose(stdout);
                                          throw std::runtime_error("model");
                                        }};
  for (const auto& inChild : ends) {
    SCOPED_TRACE(&inChild - ends);
    const Folder whole, folder;
    auto system = counters(3);
    EXPECT_TRUE(ended(statusOf(whole, [&] { run(*system, GetParam(), whole); }), 0));
    const int status = statusOf(folder, [&] {
      const pid_t parent = getpid();
      forkAt(*system, [&] {
        redirect(STDOUT_FILENO, "/dev/null");
        inChild();
      });
      try {
        run(*system, GetParam(), folder);
      } catch (const std::runtime_error&) {
        if (getpid() == parent) _exit(2);
      }
    });
    EXPECT_TRUE(ended(status, 0)) << status;
    for (const char* file : {"x.aut", "x.state", "x.pruned", "x.deadlock", "err"}) {
      EXPECT_TRUE(whole.content(file) == folder.content(file)) << file;
    }
  }
}

TEST_P(HookTest, AForkedProcessDoesNotRepeatWhatWasPrinted) {
  const Folder whole, folder;
  auto system = counters(3);
  EXPECT_TRUE(ended(statusOf(whole, [&] { run(*system, GetParam(), whole); }), 0));
  const int status = statusOf(folder, [&] {
    forkAt(*system, [] { std::exit(0); });
    run(*system, GetParam(), folder);
  });
  EXPECT_TRUE(ended(status, 0)) << status;
  EXPECT_EQ(withoutRates(whole.content("out")), withoutRates(folder.content("out")));
}

// ---- Memory --------------------------------------------------------------------------------

TEST_P(HookTest, AnyAllocationMayFail) {
  bool failed = true;
  for (long n = 0; failed && n < 3000; n += n < 200 ? 1 : 37) {
    const Folder folder;
    auto system = counters(2);
    testing::internal::CaptureStdout();
    failed = false;
    allocationsLeft = n;
    try {
      run(*system, GetParam(), folder);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    allocationsLeft = -1;
    testing::internal::GetCapturedStdout();
    if (!failed) {
      EXPECT_EQ("", check(folder).missing()) << n;
    }
    if (folder.content("x.aut").empty()) continue;  // it failed before there was anything to write
    EXPECT_EQ("", check(folder).faults()) << "allocation " << n;
  }
}

// The states of a declared model would have to be far more.
class MemoryTest : public SignalTest {};
INSTANTIATE_TEST_SUITE_P(BothSearches, MemoryTest, testing::Values(Way(BFS), Way(DFS)), nameOfWay);

TEST_P(MemoryTest, ExhaustedMemoryLeavesFilesThatCanBeRead) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer needs more address space than this test allows";
#endif
  const Folder folder;
  auto system = counters(4, 10000);
  const int status = statusOf(folder, [&] {
    const rlimit bytes = {rlim_t{96} << 20, rlim_t{96} << 20};
    setrlimit(RLIMIT_AS, &bytes);
    try {
      run(*system, GetParam(), folder);
    } catch (const std::bad_alloc&) {
      _exit(42);
    }
  });
  EXPECT_TRUE(ended(status, 42)) << status;
  EXPECT_EQ("", check(folder).faults());
  EXPECT_LT(100U, check(folder).transitions().size());
}
