// The entry of a program: the banner, which engine runs, what is lost, and how it ends.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/output.hpp"
#include "kit/processes.hpp"
#include "kit/systems.hpp"
#include "passing-clock.hpp"

using namespace kit;

Compound* Compound::Create(int argc, char** argv) {
  return create(argc, argv);
}

TEST_F(CommandLineTest, TheBannerComesFirst) {
  testing::internal::CaptureStdout();
  printLogo();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), BANNER);
  EXPECT_EQ(sizeof BANNER - 1, 54u + 1u);
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

// ---- Lost outputs ------------------------------------------------------------------------------

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

TEST_F(CommandLineTest, ATraceThatIsLostIsReported) {
  const Outcome outcome = runMain({"--opt1", "--simout", "/dev/full"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, BANNER);
  EXPECT_EQ(outcome.err, "vesk: the trace could not be written completely\n");
}

TEST_F(CommandLineTest, StandardOutputThatIsLostIsReportedOnceInEveryMode) {
  for (const Arguments& arguments : std::vector<Arguments>{
           {}, {"--opt1"}, {"--opt2"}, {"--bfs"}, {"--dfs"}, {"--explore"}, {"--random"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
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

// ---- Ends --------------------------------------------------------------------------------------

TEST_F(CommandLineTest, NoFurtherDescriptorIsLeftOpen) {
  const Outcome outcome = isolated([] {
    const int next = dup(STDOUT_FILENO);
    close(next);
    const int status = engineMain({"--opt1"});
    return status == 0 ? dup(STDOUT_FILENO) - next : status;
  });
  EXPECT_EQ(outcome.status, 0);
}

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
    SCOPED_TRACE(testing::PrintToString(arguments));
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
    SCOPED_TRACE(testing::PrintToString(arguments));
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
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(runMain(arguments).out, std::string(BANNER) + "deleted\n");
  }
}

// ---- Throwing hooks ----------------------------------------------------------------------------

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
  for (const int times : reached) EXPECT_GT(times, 0) << "a hook was never reached";
}

// ---- Every mixture of flags --------------------------------------------------------------------

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
