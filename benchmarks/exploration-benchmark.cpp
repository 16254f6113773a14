// Explorations of example programs, each in a process of its own: transitions per second of
// processor time, and bytes of memory per state. `literal` is the search of the tests that follows
// the rules step by step with containers of the standard library.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

using Words = std::vector<std::string>;

struct Model {
  std::string program;
  std::string operand;
  std::string limit;  // steps, breadth-first; "0": none
};

const Model MODELS[] = {
    {"philosophers", "13", "0"},
    {"counters", "5", "0"},
    {"counters", "6", "0"},
    {"token-ring", "450", "100"},
};

// A folder for the files of a run, which disappears with the program.
class Scratch {
 public:
  Scratch() {
    std::string name = (std::filesystem::temp_directory_path() / "vesk-bench-XXXXXX").string();
    mPath = mkdtemp(name.data());
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { std::filesystem::remove_all(mPath); }
  std::string base() const { return mPath + "/x"; }

 private:
  std::string mPath;
};

const Scratch& scratch() {
  static const Scratch folder;
  return folder;
}

// Runs a program without its output and gives what it used.
rusage use(const Words& words) {
  const pid_t child = fork();
  if (child == 0) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    std::vector<char*> argv;
    for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  rusage usage = {};
  wait4(child, &status, 0, &usage);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) std::abort();
  return usage;
}

double seconds(const rusage& usage) {
  const auto of = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return of(usage.ru_utime) + of(usage.ru_stime);
}

Words engine(const Model& model, const std::string& traversal, bool files) {
  Words words = {PROGRAMS "/" + model.program, model.operand, "--" + traversal};
  if (model.limit != "0") words.insert(words.end(), {"--limit", model.limit});
  if (files) words.insert(words.end(), {"-o", scratch().base()});
  if (!files) words.push_back("--disable-output");
  return words;
}

Words literal(const Model& model, const std::string& traversal, bool files) {
  return {LITERALS "/literal-" + model.program, model.operand, traversal, model.limit,
          files ? scratch().base() : "-"};
}

// Transitions and states, as the header of an exploration with files counts them.
struct Size {
  double transitions = 0;
  double states = 0;
};

Size sizeOf(const Model& model, const std::string& traversal) {
  static std::map<std::string, Size> known;
  const auto entry = known.emplace(model.program + model.operand + traversal, Size());
  Size& size = entry.first->second;
  if (!entry.second) return size;
  use(engine(model, traversal, true));
  std::string header;
  std::ifstream file(scratch().base() + ".aut");
  std::getline(file, header);
  if (std::sscanf(header.c_str(), "des(0, %lf, %lf)", &size.transitions, &size.states) != 2) {
    std::abort();
  }
  return size;
}

template <class Command>
void explore(benchmark::State& state, const Model& model, const std::string& traversal, bool files,
             Command command) {
  Model first = model;
  first.limit = "1";
  const Size size = sizeOf(model, traversal);
  const long before = use(command(first, traversal, files)).ru_maxrss;
  long peak = 0;
  double time = 0;
  for (auto _ : state) {
    const rusage usage = use(command(model, traversal, files));
    state.SetIterationTime(seconds(usage));
    time += seconds(usage);
    peak = std::max(peak, usage.ru_maxrss);
  }
  state.counters["transitions/s"] =
      size.transitions * static_cast<double>(state.iterations()) / time;
  state.counters["bytes/state"] = 1024.0 * static_cast<double>(peak - before) / size.states;
}

template <class Command>
void add(const std::string& kind, Command command) {
  for (const Model& model : MODELS) {
    for (const char* traversal : {"bfs", "dfs"}) {
      for (const bool files : {true, false}) {
        Model limited = model;
        if (model.limit != "0" && std::string(traversal) == "dfs") limited.limit = "20000";
        const std::string name = model.program + " " + model.operand + "/" + traversal +
                                 (files ? "/files/" : "/no files/") + kind;
        benchmark::RegisterBenchmark(
            name.c_str(),
            [=](benchmark::State& state) { explore(state, limited, traversal, files, command); })
            ->UseManualTime()
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
      }
    }
  }
}

const bool REGISTERED = [] {
  add("engine", engine);
  add("literal", literal);
  return true;
}();

}  // namespace
