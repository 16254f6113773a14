// Shows a model, records its runs and looks for mistakes: the entry of the programs that
// vesk_add_model builds beside the models.
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "arguments.hpp"
#include "component.hpp"
#include "description.hpp"
#include "drawing.hpp"
#include "parts.hpp"
#include "recorder.hpp"
#include "recording-file.hpp"
#include "run-observer.hpp"

namespace Vesk::Inspect {

namespace {

constexpr int SUCCESS = 0;
constexpr int FAILURE = 2;

// While this lives, what is written to standard output goes to standard error: results alone stand
// on standard output, and what the model says when it is built beside them.
class OutputAside {
 public:
  OutputAside() : mOutput((std::fflush(stdout), dup(STDOUT_FILENO))) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
  }
  OutputAside(const OutputAside&) = delete;
  OutputAside& operator=(const OutputAside&) = delete;
  ~OutputAside() {
    std::cout.flush();
    std::fflush(stdout);
    if (mOutput == -1) return;
    dup2(mOutput, STDOUT_FILENO);
    close(mOutput);
  }

 private:
  int mOutput;
};

void say(const char* text) {
  std::fprintf(stderr, "vesk: %s\n", text);
}

// Null when the model builds no system, which is said.
std::unique_ptr<Compound> build(Arguments& arguments) {
  const OutputAside aside;
  std::unique_ptr<Compound> root(Compound::Create(arguments.argc(), arguments.argv()));
  if (root == nullptr) say("the model has built no system");
  return root;
}

int print(const std::string& text) {
  const bool written = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
  if (!written) say("standard output could not be written completely");
  return written ? SUCCESS : FAILURE;
}

std::string commandOf(const Arguments& arguments) {
  std::string command = arguments.model();
  for (const std::string& word : arguments.words()) command += " " + word;
  return command;
}

int show(Arguments& arguments) {
  const std::unique_ptr<Compound> root = build(arguments);
  if (root == nullptr) return FAILURE;
  const Parts parts(*root);
  if (arguments.request().dot) return print(drawingOf(parts, commandOf(arguments)));
  return print(descriptionOf(parts, arguments.model(), arguments.words()).dump(2) + "\n");
}

// The run itself is that of the model's own program, with its exit status.
int record(Arguments& arguments) {
  RecordingFile file(arguments.request().record);
  if (!file.isOpen()) return FAILURE;
  Recorder recorder(file, arguments.model(), arguments.words());
  watchRuns(&recorder);
  const int status = runProgram(arguments.argc(), arguments.argv());
  watchRuns(nullptr);
  recorder.finish();
  return status;
}

int inspect(int argc, char** argv) {
  Arguments arguments(argc, argv);
  const Request& request = arguments.request();
  if (request.status >= 0) return request.status;
  if (!request.record.empty()) return record(arguments);
  try {
    return show(arguments);
  } catch (const std::exception& exception) {
    say(exception.what());
  }
  return FAILURE;
}

}  // namespace

}  // namespace Vesk::Inspect

int main(int argc, char** argv) {
  return Vesk::Inspect::inspect(argc, argv);
}
