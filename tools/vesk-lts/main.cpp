// Answers what people ask after an exploration.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

#include "command.hpp"
#include "exploration.hpp"
#include "fault.hpp"
#include "output-file.hpp"
#include "progress.hpp"

namespace Vesk::Lts {

namespace {

const char* const PROGRAM = "vesk-lts: ";
const char* const NO_MEMORY = "there is not enough memory, expected files that fit into it";
const char* const DESCRIPTION =
    "Reads what an exploration has found: the files NAME.aut, NAME.state, NAME.deadlock and "
    "NAME.pruned, or any .aut file.";

using Commands = std::vector<std::unique_ptr<Command>>;

Commands addCommands(CLI::App& app) {
  Commands commands;
  commands.push_back(infoCommand(app));
  commands.push_back(pathCommand(app));
  commands.push_back(convertCommand(app));
  commands.push_back(compareCommand(app));
  commands.push_back(pageCommand(app));
  return commands;
}

// One has been parsed: without one the command line is refused.
Status runChosen(const Commands& commands) {
  Progress progress(stderr);
  const auto chosen = std::find_if(commands.begin(), commands.end(),
                                   [](const auto& command) { return command->options().parsed(); });
  return (*chosen)->run(progress);
}

Status runAll(int argc, char** argv) {
  CLI::App app(DESCRIPTION, "vesk-lts");
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
  } catch (const Fault& fault) {
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

void print(const std::string& text) {
  OutputFile output("");
  output.write(text);
  output.commit();
}

void sayWarnings(const Exploration& exploration) {
  for (const std::string& warning : exploration.warnings()) say("warning: " + warning);
}

}  // namespace Vesk::Lts

int main(int argc, char** argv) {
  return Vesk::Lts::runAll(argc, argv);
}
