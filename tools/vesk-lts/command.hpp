// The commands of vesk-lts.
#ifndef VESK_LTS_COMMAND_HPP
#define VESK_LTS_COMMAND_HPP

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

namespace Vesk::Lts {

class Progress;

// The exit statuses.
enum Status { SUCCESS = 0, NEGATIVE = 1, FAILURE = 2 };

class Command {
 public:
  virtual ~Command() = default;
  CLI::App& options() const { return *mOptions; }
  // Does it when the command line names it. Throws a Fault when it cannot.
  virtual Status run(Progress& progress) const = 0;

 protected:
  Command(CLI::App& app, const std::string& name, const std::string& description)
      : mOptions(app.add_subcommand(name, description)) {}

  CLI::App* const mOptions;  // the whole command line owns it
};

std::unique_ptr<Command> infoCommand(CLI::App& app);
std::unique_ptr<Command> pathCommand(CLI::App& app);
std::unique_ptr<Command> convertCommand(CLI::App& app);
std::unique_ptr<Command> compareCommand(CLI::App& app);
std::unique_ptr<Command> pageCommand(CLI::App& app);

// A line on standard error.
void say(const std::string& text);
// On standard output. Throws a Fault when that takes no more.
void print(const std::string& text);

class Exploration;
// Says what is wrong with the files.
void sayWarnings(const Exploration& exploration);

}  // namespace Vesk::Lts

#endif
