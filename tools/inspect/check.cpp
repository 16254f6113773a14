#include "check.hpp"

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "arguments.hpp"
#include "component.hpp"
#include "findings.hpp"
#include "parts.hpp"
#include "structure-check.hpp"
#include "stuck-watch.hpp"
#include "walk-check.hpp"

namespace Vesk::Inspect {

namespace {

constexpr int MODEL_THREW = 3;  // exit status of a run

const char* const WAYS[] = {"--execute", "--random", "--opt1", "--opt2"};
const char* const NOT_LOOKED_AT =
    "not looked at: states beyond these steps, real time, the data of ports, and whether the model "
    "is "
    "what you want\n";

// The command line of the model with further options behind its words, in front of a `--`.
class CommandLine {
 public:
  CommandLine(Arguments& arguments, std::vector<std::string> options)
      : mWords(arguments.argv(), arguments.argv() + arguments.argc()),
        mOptions(std::move(options)) {
    const auto isEnd = [](const char* word) { return std::strcmp(word, "--") == 0; };
    auto place = std::find_if(mWords.begin() + 1, mWords.end(), isEnd);
    for (std::string& option : mOptions) place = mWords.insert(place, option.data()) + 1;
    mWords.push_back(nullptr);
  }
  int argc() const { return static_cast<int>(mWords.size()) - 1; }
  char** argv() { return mWords.data(); }

 private:
  std::vector<char*> mWords;
  std::vector<std::string> mOptions;
};

Finding exceptionIn(const std::string& what) {
  return {"model code", what + " ends by an exception", "nothing catches it, so the run is over",
          "run the model itself, which says which one it is"};
}

void checkRun(Arguments& arguments, const std::string& way, Seen& seen, Findings& findings) {
  const std::string steps = std::to_string(arguments.request().steps);
  CommandLine line(arguments, {way, "--quiet", "--limit", steps});
  RunCheck run(way, seen, findings);
  const OutputAside aside(OutputAside::TO_NOWHERE);
  watchRuns(&run);
  const int status = runProgram(line.argc(), line.argv());
  watchRuns(nullptr);
  run.finish();
  if (status == MODEL_THREW) findings.add(exceptionIn("a run with " + way));
}

// In the manner of an exploration.
void checkWalk(Arguments& arguments, Seen& seen, Findings& findings) {
  const std::unique_ptr<Compound> system = build(arguments);
  if (system == nullptr) return;
  const OutputAside aside(OutputAside::TO_NOWHERE);
  try {
    checkStates(*system, arguments.request().steps, arguments.seed(), seen, findings);
  } catch (const std::exception&) {
    findings.add(exceptionIn("a walk through the states"));
  }
}

}  // namespace

Status check(Arguments& arguments) {
  const std::unique_ptr<Compound> root = build(arguments);
  if (root == nullptr) return FAILURE;
  Findings findings;
  const Parts parts(*root);
  checkStructure(parts, findings);
  Seen seen;
  {
    const StuckWatch watch(parts.atoms().size());
    for (const char* way : WAYS) checkRun(arguments, way, seen, findings);
    checkWalk(arguments, seen, findings);
  }
  reportUnseen(parts, seen, arguments.request().steps, findings);
  const Status printed = print(findings.text() + NOT_LOOKED_AT);
  if (printed != SUCCESS) return printed;
  return findings.empty() ? SUCCESS : NEGATIVE;
}

}  // namespace Vesk::Inspect
