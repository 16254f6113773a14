// Shows what runs have done.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

#include "command.hpp"
#include "fault.hpp"

namespace Vesk::Traces {

namespace {

const char* const PROGRAM = "vesk-trace: ";
const char* const NO_MEMORY = "there is not enough memory, expected names that fit into it";
const char* const DESCRIPTION =
    "Shows what a run has done: reads the trace that a model has printed, or a recording.";

using Commands = std::vector<std::unique_ptr<Command>>;

Commands addCommands(CLI::App& app) {
  Commands commands;
  commands.push_back(tableCommand(app));
  commands.push_back(summaryCommand(app));
  commands.push_back(compareCommand(app));
  commands.push_back(vcdCommand(app));
  commands.push_back(perfettoCommand(app));
  commands.push_back(csvCommand(app));
  commands.push_back(sequenceCommand(app));
  return commands;
}

// One has been parsed: without one the command line is refused.
Status runChosen(const Commands& commands) {
  const auto chosen = std::find_if(commands.begin(), commands.end(),
                                   [](const auto& command) { return command->options().parsed(); });
  return (*chosen)->run();
}

Status runAll(int argc, char** argv) {
  CLI::App app(DESCRIPTION, "vesk-trace");
  app.set_version_flag("--version", VESK_VERSION);
  app.require_subcommand(1);
  const Commands commands = addCommands(app);
  try {
    app.parse(argc, argv);
    return runChosen(commands);
  } catch (const CLI::ParseError& error) {
    const bool isHelp = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
    app.exit(error);
    return isHelp ? SUCCESS : FAILURE;
  } catch (const Lts::Fault& fault) {
    say(fault.what());
  } catch (const std::bad_alloc&) {
    say(NO_MEMORY);
  }
  return FAILURE;
}

}  // namespace

void say(const std::string& text) {
  std::fprintf(stderr, "%s%s\n", PROGRAM, text.c_str());
}

}  // namespace Vesk::Traces

int main(int argc, char** argv) {
  return Vesk::Traces::runAll(argc, argv);
}
