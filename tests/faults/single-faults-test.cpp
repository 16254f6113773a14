// The example programs in all their modes when one call of the system fails, or all from one on.
// The calls of a run are counted first; then the run is repeated for each of them, or for a part of
// them that is drawn with a fixed seed. VESK_FAULT_RUNS is how many of each mode are drawn, `all`
// for all.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "child.hpp"
#include "example-runs.hpp"

namespace {

constexpr unsigned int SEED = 18;
constexpr std::size_t DRAWN = 8;
constexpr std::size_t HEADER = 38;
constexpr int EXCEPTION = 3;

constexpr char NO_MEMORY[] = "the run ends by an exception: std::bad_alloc\n";

struct Fault {
  std::string kind;
  long call = 0;
  bool goesOn = false;
  std::string how;

  std::string text() const {
    const std::string number = std::to_string(call) + (goesOn ? "+" : "");
    return kind + ':' + number + (how.empty() ? "" : ':' + how);
  }
};

// ---- All faults of a run -----------------------------------------------------------------------

std::string number(int error) {
  return std::to_string(error);
}

// In the order of the counts.
const std::pair<const char*, std::vector<std::string>> WAYS[] = {
    {"memory", {""}},
    {"open", {number(EIO), number(ENOSPC), number(EINTR), number(EMFILE)}},
    {"read", {number(EIO), number(EINTR), number(EBADF)}},
    {"write", {number(EIO), number(ENOSPC), number(EINTR), number(EBADF), "short"}},
    {"seek", {number(EIO), number(EBADF), number(ESPIPE)}},
    {"close", {number(EIO), number(ENOSPC), number(EINTR)}},
};

// A write that a signal has interrupted is made again, for ever if need be.
bool isRepeated(const std::string& kind, const std::string& how) {
  return kind == "write" && how == number(EINTR);
}

std::vector<Fault> faultsOf(const std::string& counts) {
  std::ifstream stream(counts);
  std::vector<Fault> faults;
  for (const auto& [kind, ways] : WAYS) {
    long calls = 0;
    EXPECT_TRUE(stream >> calls) << kind;
    for (long call = 1; call <= calls; ++call) {
      for (const std::string& how : ways) {
        faults.push_back({kind, call, false, how});
        if (!isRepeated(kind, how)) faults.push_back({kind, call, true, how});
      }
    }
  }
  return faults;
}

// ---- What may be left behind -------------------------------------------------------------------

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

bool beginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

// Whether all characters of a part stand in the whole in this order.
bool isLeftOf(const std::string& part, const std::string& whole) {
  auto at = whole.begin();
  for (const char letter : part) {
    at = std::find(at, whole.end(), letter);
    if (at == whole.end()) return false;
    ++at;
  }
  return true;
}

bool endsByException(const Outcome& outcome) {
  return WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == EXCEPTION;
}

// Why this is no end that the fault may have.
std::string faultOfEnd(const Fault& fault, const Outcome& whole, const Outcome& got) {
  if (got.hung || !WIFEXITED(got.status)) return nameOfStatus(got);
  if (endsByException(got)) {
    return fault.kind == "memory" && contains(got.err, NO_MEMORY) ? "" : "ends by an exception";
  }
  return got.status == whole.status ? "" : nameOfStatus(got);
}

// What is missing is reported, each fault once.
std::string faultOfErrors(const Outcome& whole, const Outcome& got) {
  std::set<std::string> lines;
  std::size_t begin = 0;
  for (std::size_t end; (end = got.err.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const std::string line = got.err.substr(begin, end - begin + 1);
    if (contains(whole.err, line)) continue;
    if (!beginsWith(line, "vesk: ") && !beginsWith(line, "own-main: ")) return "says " + line;
    if (!lines.insert(line).second) return "says twice " + line;
  }
  return begin == got.err.size() ? "" : "says half a line";
}

const std::pair<const char*, const char*> REPORTS[] = {
    {"x.aut", "the transition system could not be written completely"},
    {"x.state", "the list of states could not be written completely"},
    {"x.pruned", "the list of pruned paths could not be written completely"},
    {"x.deadlock", "the list of deadlocks could not be written completely"},
    {"x.trace", "the trace could not be written completely"},
};

std::string reportFor(const std::string& name) {
  for (const auto& [file, report] : REPORTS) {
    if (name == file) return report;
  }
  return "";
}

// A prefix of whole lines.
std::string faultOfList(const std::string& whole, const std::string& got) {
  if (!beginsWith(whole, got)) return "is no beginning of the whole";
  return got.empty() || got.back() == '\n' ? "" : "ends within a line";
}

std::string faultOfHeader(const std::string& aut, const Outcome& whole, const Outcome& got) {
  unsigned long long transitions = 0;
  unsigned long long states = 0;
  unsigned long long allStates = 0;
  std::sscanf(whole.file("x.aut").c_str(), "des(0, %*u, %llu)", &allStates);
  if (std::sscanf(aut.c_str(), "des(0, %llu, %llu)\n", &transitions, &states) != 2) {
    return contains(got.err, "has no header") ? "" : "has a wrong header";
  }
  const auto lines =
      static_cast<unsigned long long>(std::count(aut.begin() + HEADER, aut.end(), '\n'));
  if (contains(got.err, "has no header")) {
    return transitions <= lines ? "" : "has a header that promises more";
  }
  if (transitions != lines && aut != whole.file("x.aut")) return "has another number of lines";
  const bool found = endsByException(got) ? states <= allStates : states == allStates;
  return found ? "" : "has a wrong number of states";
}

std::string faultOfTransitions(const Outcome& whole, const Outcome& got) {
  const std::string aut = got.file("x.aut");
  if (aut.empty()) return "";
  if (aut.size() < HEADER || aut[HEADER - 1] != '\n') return "has no room for a header";
  const std::string wrong = faultOfHeader(aut, whole, got);
  if (!wrong.empty()) return wrong;
  return faultOfList(whole.file("x.aut").substr(HEADER), aut.substr(HEADER));
}

bool isAnnounced(const std::string& name, const Outcome& got) {
  return endsByException(got) || contains(got.err, reportFor(name)) ||
         contains(got.err, "cannot open " + name) ||
         (name == "x.aut" && contains(got.err, "has no header"));
}

std::string faultOfFiles(const Outcome& whole, const Outcome& got) {
  for (const auto& [name, content] : whole.files) {
    const std::string left = got.file(name);
    if (left == content) continue;
    if (!isAnnounced(name, got)) return name + " is cut silently";
    if (name == "x.trace" && endsByException(got) && beginsWith(content, left)) continue;
    const bool isAut = name == "x.aut" && content.size() >= HEADER;
    const std::string wrong = isAut ? faultOfTransitions(whole, got) : faultOfList(content, left);
    if (!wrong.empty()) return name + ' ' + wrong;
  }
  return "";
}

// Input that cannot be read changes what a dialogue does. The main of own-main does not look after
// its output.
std::string faultOfOutput(const ExampleRun& run, const Outcome& whole, const Outcome& got) {
  if (got.out == whole.out || run.program == "own-main" ||
      contains(got.err, "standard input cannot be read"))
    return "";
  if (!endsByException(got) && !contains(got.err, "standard output could not be written")) {
    return "standard output is cut silently";
  }
  return endsByException(got) || isLeftOf(got.out, whole.out) ? "" : "standard output differs";
}

// What is interrupted once, or takes a part, is continued.
bool isContinued(const Fault& fault) {
  return fault.how == "short" || (fault.how == number(EINTR) && fault.kind == "write");
}

std::string faultOf(const ExampleRun& run, const Fault& fault, const Outcome& whole,
                    const Outcome& got) {
  std::string wrong = faultOfEnd(fault, whole, got);
  if (wrong.empty()) wrong = faultOfErrors(whole, got);
  if (isContinued(fault) && got.files != whole.files) return "loses what is interrupted";
  if (wrong.empty()) wrong = faultOfFiles(whole, got);
  if (wrong.empty()) wrong = faultOfOutput(run, whole, got);
  return wrong;
}

// A fault of standard error can be seen nowhere.
bool hidesReports(const Fault& fault) {
  return fault.goesOn && fault.kind == "write" && fault.how != "short";
}

}  // namespace

// ---- The runs ----------------------------------------------------------------------------------

class SingleFaultsTest : public testing::TestWithParam<ExampleRun> {
 protected:
  Outcome runWith(const std::vector<std::string>& environment) {
    Start start = GetParam().start();
    start.environment.insert(start.environment.end(), environment.begin(), environment.end());
    std::string preloaded = FAILING_SYSTEM;
    if (!GetParam().clock.empty()) preloaded += ":" SCRIPTED_CLOCK;
    start.environment.push_back("LD_PRELOAD=" + preloaded);
    return mFolder.run(start);
  }

  // What is left is read as it is, each content once.
  void expectReadable(const Outcome& got, const std::string& fault) {
    if (got.file("x.aut").empty() || contains(got.err, "has no header")) return;
    std::string all;
    for (const auto& [name, content] : got.files) all += name + '\n' + content;
    if (!mRead.insert(all).second) return;
    const Outcome info = mFolder.end(mFolder.begin(readingOfFiles("x")));
    EXPECT_EQ(0, info.status) << fault << ": " << info.err;
  }

  // All of the smallest runs: one with time, one without.
  static bool isSmall(const ExampleRun& run) {
    return run.program == "heartbeat" && (run.mode == "standard" || run.mode == "bfs");
  }

  static std::vector<Fault> drawn(std::vector<Fault> faults) {
    const char* asked = std::getenv("VESK_FAULT_RUNS");
    if (isSmall(GetParam()) || (asked != nullptr && std::string(asked) == "all")) return faults;
    const std::size_t most = asked != nullptr ? std::strtoul(asked, nullptr, 10) : DRAWN;
    std::minstd_rand random(SEED);
    std::shuffle(faults.begin(), faults.end(), random);
    if (faults.size() > most) faults.resize(most);
    return faults;
  }

  ChildFolder mFolder;
  std::set<std::string> mRead;
};

std::vector<ExampleRun> allRuns() {
  return exampleRuns();
}

INSTANTIATE_TEST_SUITE_P(Examples, SingleFaultsTest, testing::ValuesIn(allRuns()),
                         [](const auto& run) { return nameOf(run.param); });

TEST_P(SingleFaultsTest, EndAsDocumented) {
  const kit::Folder counts;
  const Outcome whole = runWith({"VESK_FAULT_COUNTS=" + counts.name("counts")});
  ASSERT_TRUE(WIFEXITED(whole.status)) << nameOfStatus(whole);
  ASSERT_EQ(0, WEXITSTATUS(whole.status)) << whole.err;
  const std::vector<Fault> faults = drawn(faultsOf(counts.name("counts")));
  std::map<std::string, int> wrongs;
  for (const Fault& fault : faults) {
    const Outcome got = runWith({"VESK_FAULT=" + fault.text()});
    std::string wrong = hidesReports(fault) ? faultOfEnd(fault, whole, got)
                                            : faultOf(GetParam(), fault, whole, got);
    if (!wrong.empty() && ++wrongs[fault.kind + wrong] <= 2) {
      ADD_FAILURE() << GetParam() << ", VESK_FAULT=" << fault.text() << ": " << wrong << '\n'
                    << got.err;
    }
    expectReadable(got, fault.text());
  }
  RecordProperty("runs", static_cast<int>(faults.size()));
  for (const auto& [wrong, times] : wrongs) ADD_FAILURE() << times << " times: " << wrong;
}
