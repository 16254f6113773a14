// Small models that run, a scheduler whose fields can be seen and set, and runs in a process of
// their own whose output can be looked at.
#ifndef VESK_TESTS_SCHEDULER_MODELS_HPP
#define VESK_TESTS_SCHEDULER_MODELS_HPP

#include <dlfcn.h>
#include <getopt.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "vesk.hpp"

namespace runs {

// ---- Models ----------------------------------------------------------------------------------

// An atom with rules: a port, when it is enabled, and what firing it does. A rule may have a time,
// in the values of the atom's clock, which every firing resets. The state is the number of firings.
class RuleAtom : public Atom {
 public:
  RuleAtom(const char* name, const Compound* holder) : Atom(name, holder) {}

  Port* rule(const char* portName, std::function<bool()> guard,
             std::function<void()> effect = nullptr) {
    Port* port = new Port(portName, this);
    addPort(port);
    mRules.push_back({port, std::move(guard), std::move(effect), nullptr, nullptr});
    return port;
  }
  Port* timedRule(const char* portName, const Interval& when, std::function<bool()> guard,
                  std::function<void()> effect = nullptr) {
    Port* port = rule(portName, std::move(guard), std::move(effect));
    mRules.back().when = std::make_unique<Interval>(when);
    return port;
  }

  using Atom::initialize;
  void initialize() override {
    fired = 0;
    announce();
  }
  void initialize(LogicalClock* logical) override {
    if (logical != nullptr) {
      clock = new Clock("c", logical);
      mClocks.add(clock);
      for (Rule& rule : mRules) addConstraint(rule);
    }
    initialize();
  }
  void execute(Port* port) override {
    ++fired;
    for (Rule& rule : mRules) {
      if (rule.port == port && rule.effect) rule.effect();
    }
    if (clock != nullptr) clock->reset();
    announce();
  }
  Node* getState() override {
    return new Leaf(new Atomleaf((std::to_string(fired) + ";").c_str()));
  }
  void setState(Node* state) override {
    fired = std::atoi(static_cast<Leaf*>(state)->getAleaf()->getVal());
    announce();
  }

  int fired = 0;
  Clock* clock = nullptr;

 private:
  struct Rule {
    Port* port;
    std::function<bool()> guard;
    std::function<void()> effect;
    std::unique_ptr<Interval> when;
    Constraint* constraint;
  };

  void addConstraint(Rule& rule) {
    if (rule.when == nullptr) return;
    rule.constraint = new Constraint(clock, *rule.when);
    mConstraints.add(rule.constraint);
  }
  void announce() {
    for (Rule& rule : mRules) {
      rule.port->setSynced(false);
      rule.port->setDominated(false);
    }
    for (Rule& rule : mRules) {
      const int enabled = rule.guard() ? 1 : 0;
      if (clock != nullptr) {
        rt_sync(1, rule.port, enabled, rule.constraint);
      } else {
        sync(1, rule.port, enabled);
      }
    }
  }

  std::vector<Rule> mRules;
};

// All ports together.
class Rendezvous : public Connector {
 public:
  template <class... Ports>
  Rendezvous(const char* name, const Compound* holder, Ports*... ports)
      : Connector(name, holder, false, static_cast<int>(sizeof...(ports)),
                  static_cast<Port*>(ports)...) {}
  using Connector::guard;
  bool isBroadcast() override { return false; }
  bool guard() override { return maximal(); }
};

// The first port and whichever of the others are enabled.
class TriggeredBroadcast : public Connector {
 public:
  template <class... Ports>
  TriggeredBroadcast(const char* name, const Compound* holder, Ports*... ports)
      : Connector(name, holder, false, static_cast<int>(sizeof...(ports)),
                  static_cast<Port*>(ports)...) {}
  bool complete() override { return mPorts[0]->complete(); }
};

// A compound that is put together from outside.
class System : public Compound {
 public:
  explicit System(const char* name = "System", const Compound* holder = nullptr)
      : Compound(name, holder) {}
  RuleAtom* atom(const char* atomName) {
    RuleAtom* made = new RuleAtom(atomName, this);
    mComponents.add(made);
    return made;
  }
  template <class... Ports>
  Connector* rendezvous(const char* connectorName, Ports*... ports) {
    Connector* made = new Rendezvous(connectorName, this, ports...);
    mConnectors.add(made);
    return made;
  }
  template <class... Ports>
  Connector* broadcast(const char* connectorName, Ports*... ports) {
    Connector* made = new TriggeredBroadcast(connectorName, this, ports...);
    mConnectors.add(made);
    return made;
  }
  Priority* priority(Interaction* low, Interaction* high) {
    Priority* made = new Priority(this, low, high, Vesk::Time(0));
    mPriorities.add(made);
    return made;
  }
  // An atom with one port `go`, enabled for its first firings, alone in a connector.
  RuleAtom* counter(const char* atomName, const char* connectorName, int firings) {
    RuleAtom* made = atom(atomName);
    rendezvous(connectorName, made->rule("go", [made, firings] { return made->fired < firings; }));
    return made;
  }
  // The same, each time in an interval after the firing before.
  RuleAtom* timedCounter(const char* atomName, const char* connectorName, int firings,
                         const Interval& when) {
    RuleAtom* made = atom(atomName);
    rendezvous(connectorName,
               made->timedRule("go", when, [made, firings] { return made->fired < firings; }));
    return made;
  }
};

inline Interval within(int low, int high, Urgency urgency) {
  return Interval(Vesk::Time(low), Vesk::Time(high), urgency, false, true);
}

// ---- The scheduler ---------------------------------------------------------------------------

// The command line of a program called "model".
class CommandLine {
 public:
  CommandLine(const std::vector<std::string>& arguments) : mTexts(arguments) {
    mTexts.insert(mTexts.begin(), "model");
    for (std::string& text : mTexts) mPointers.push_back(text.data());
    mPointers.push_back(nullptr);
  }
  int count() const { return static_cast<int>(mTexts.size()); }
  char** values() { return mPointers.data(); }

 private:
  std::vector<std::string> mTexts;
  std::vector<char*> mPointers;
};

// As main builds it, or in another mode; all fields are open to the test.
class OpenScheduler : public Scheduler {
 public:
  explicit OpenScheduler(Compound* system, int mode = 0, int runMode = 1, int optimization = 0)
      : Scheduler(system, mode, false, runMode, 0, optimization) {}
  void parse(const std::vector<std::string>& arguments) {
    CommandLine line(arguments);
    parseCmdFile(line.count(), line.values());
  }

  using Scheduler::aut_file;
  using Scheduler::deadlock_states;
  using Scheduler::disable_output;
  using Scheduler::mChoice;
  using Scheduler::mChoiceDeadline;
  using Scheduler::mChoiceNext;
  using Scheduler::mChoicePort;
  using Scheduler::mConnectorChoice;
  using Scheduler::mDeadline;
  using Scheduler::mDelta;
  using Scheduler::mDisable_output;
  using Scheduler::mDrift;
  using Scheduler::mInternals;
  using Scheduler::mIntQuiet;
  using Scheduler::mLegal;
  using Scheduler::mLogicalClock;
  using Scheduler::mMaxDrift;
  using Scheduler::mMaxSimLimit;
  using Scheduler::mMaxWait;
  using Scheduler::mMode;
  using Scheduler::mOptimizationMode;
  using Scheduler::mPlatformClock;
  using Scheduler::mQuiet;
  using Scheduler::mRandSeed;
  using Scheduler::mRunMode;
  using Scheduler::mSimLimit;
  using Scheduler::mSimStep;
  using Scheduler::mSystem;
  using Scheduler::mTolerance;
  using Scheduler::mTrace;
  using Scheduler::mTraverse;
  using Scheduler::mZeroWaiting;
  using Scheduler::pruned_paths;
  using Scheduler::simout_file;
  using Scheduler::state_file;
  using Scheduler::stepLimitReached;
};

// The trace of one call of a loop of the scheduler.
template <class Loop>
std::string traceOf(Scheduler& scheduler, Loop loop) {
  std::ostringstream trace;
  std::ostream* before = scheduler.simout;
  scheduler.simout = &trace;
  loop();
  scheduler.simout = before;
  return trace.str();
}

// ---- Runs in a process of their own ----------------------------------------------------------

struct Outcome {
  int status;  // exit status, or 1000 + the signal that ended the process
  std::string out;
  std::string err;
};

inline std::string contents(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

// A folder that is deleted at the end, and is the current one until then.
class Folder {
 public:
  Folder() : mBefore(std::filesystem::current_path()) {
    std::string name = (std::filesystem::temp_directory_path() / "vesk-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    mPath = name;
    std::filesystem::current_path(mPath);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::filesystem::current_path(mBefore);
    std::filesystem::remove_all(mPath);
  }
  const std::filesystem::path& path() const { return mPath; }

 private:
  std::filesystem::path mBefore;
  std::filesystem::path mPath;
};

// Runs the body, which returns the exit status, in a child process with this standard input. A body
// that takes longer than a minute is killed.
inline Outcome isolated(const std::function<int()>& body, const std::string& input = "") {
  const Folder folder;
  const std::filesystem::path in = folder.path() / "stdin";
  const std::filesystem::path out = folder.path() / "stdout";
  const std::filesystem::path err = folder.path() / "stderr";
  std::ofstream(in, std::ios::binary) << input;
  std::filesystem::create_directory(folder.path() / "work");
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    std::filesystem::current_path(folder.path() / "work");
    if (std::freopen(in.c_str(), "r", stdin) == nullptr ||
        std::freopen(out.c_str(), "w", stdout) == nullptr ||
        std::freopen(err.c_str(), "w", stderr) == nullptr) {
      _exit(99);
    }
    alarm(60);
    std::exit(body());
  }
  int status = 0;
  waitpid(child, &status, 0);
  Outcome outcome;
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  outcome.out = contents(out);
  outcome.err = contents(err);
  return outcome;
}

// The main of the engine's library, which the main of the test program hides.
inline int engineMain(const std::vector<std::string>& arguments) {
  void* library = dlopen("libvesk.so.1", RTLD_NOW | RTLD_NOLOAD);
  using Main = int(int, char**);
  Main* entry = library == nullptr ? nullptr : reinterpret_cast<Main*>(dlsym(library, "main"));
  if (entry == nullptr) std::abort();
  CommandLine line(arguments);
  return entry(line.count(), line.values());
}

}  // namespace runs

#endif
