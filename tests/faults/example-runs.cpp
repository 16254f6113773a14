#include "example-runs.hpp"

#include <sstream>

namespace {

struct Program {
  const char* name;
  const char* operands;
};

// Operands that make small systems.
const Program PROGRAMS_WITH_MODES[] = {
    {"token-ring", "3"},     {"philosophers", "2"},  {"producer-consumer", "2 3"},
    {"broadcast-bus", "2"},  {"gateway", "1"},       {"priority-mutex", "2"},
    {"traffic-light", ""},   {"periodic-tasks", ""}, {"timed-internal", ""},
    {"timed-broadcast", ""}, {"gear-box", "3"},      {"elevator", "1"},
    {"heartbeat", ""},       {"counters", "2"},      {"markers", "2"},
};

struct Mode {
  const char* name;
  const char* options;
  const char* input;
  const char* clock;
};

const Mode MODES[] = {
    {"standard", "--limit 6", "", ""},
    {"random", "--random --limit 6", "", ""},
    {"interactive", "--interactive --limit 4", "r r x r r r 1 r 0 r r r r", ""},
    {"opt1", "--opt1 --limit 8", "", ""},
    {"opt2", "--opt2 --limit 8", "", ""},
    {"bfs", "--bfs -o x", "", ""},
    {"dfs", "--dfs -o x", "", ""},
    {"explore", "--explore -o x", "", ""},
    {"realtime", "--realtime --limit 6", "", "0 +500"},
    {"simout", "--limit 6 --simout x.trace", "", ""},
};

const Mode USES[] = {
    {"random", "random", "", ""},
    {"waiting", "waiting", "", ""},
    {"step", "step", "p kitchen.oven.dough l 1 r x 1 c .. p 0", ""},
    {"plain", "plain", "1 1 p kitchen 1 1 0", ""},
};

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

ExampleRun makeRun(const Program& program, const Mode& mode) {
  ExampleRun run;
  run.program = program.name;
  run.mode = mode.name;
  run.arguments = wordsOf(std::string(mode.options) + " " + program.operands);
  run.input = mode.input;
  run.clock = mode.clock;
  return run;
}

}  // namespace

Start ExampleRun::start() const {
  Start start;
  start.program = PROGRAMS "/" + program;
  start.arguments = arguments;
  start.input = input;
  start.environment = {"VESK_SCRIPTED_CLOCK=" + clock};
  return start;
}

std::ostream& operator<<(std::ostream& out, const ExampleRun& run) {
  out << run.program;
  for (const std::string& word : run.arguments) out << ' ' << word;
  return out;
}

std::vector<ExampleRun> exampleRuns() {
  std::vector<ExampleRun> runs;
  for (const Program& program : PROGRAMS_WITH_MODES) {
    for (const Mode& mode : MODES) runs.push_back(makeRun(program, mode));
  }
  for (const Mode& use : USES) runs.push_back(makeRun({"own-main", ""}, use));
  return runs;
}

std::string nameOf(const ExampleRun& run) {
  std::string name = run.program + "_" + run.mode;
  for (char& letter : name) letter = letter == '-' ? '_' : letter;
  return name;
}

Start readingOfFiles(const std::string& base) {
  Start start;
  start.program = PROGRAMS "/vesk-lts";
  start.arguments = {"info", base};
  return start;
}
