// Shows a model, records its runs and looks for mistakes: the entry of the programs that
// vesk_add_model builds beside the models.
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "arguments.hpp"
#include "check.hpp"
#include "component.hpp"
#include "description.hpp"
#include "drawing.hpp"
#include "explanation.hpp"
#include "parts.hpp"
#include "program.hpp"
#include "promises.hpp"
#include "recorder.hpp"
#include "recording-file.hpp"
#include "replay.hpp"
#include "run-observer.hpp"

namespace Vesk::Inspect {

namespace {

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

// The run as above, and what there is to say about its end.
int explain(Arguments& arguments) {
  Explanation explanation;
  watchRuns(&explanation);
  const int status = runProgram(arguments.argc(), arguments.argv());
  watchRuns(nullptr);
  if (explanation.text().empty()) say("there is no end of a run to explain");
  std::cout.flush();
  print(explanation.text());
  return status;
}

int inspect(int argc, char** argv) {
  Arguments arguments(argc, argv);
  const Request& request = arguments.request();
  if (request.status >= 0) return request.status;
  if (!request.record.empty()) return record(arguments);
  if (request.why) return explain(arguments);
  try {
    if (request.check) return check(arguments);
    if (request.promises) return checkPromises(arguments);
    if (!request.replay.empty()) return replay(arguments);
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
