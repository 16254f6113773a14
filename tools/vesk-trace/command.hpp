// The commands of vesk-trace.
#ifndef VESK_TRACE_COMMAND_HPP
#define VESK_TRACE_COMMAND_HPP

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "output-file.hpp"
#include "reader.hpp"

namespace Vesk::Traces {

// The exit statuses.
enum Status { SUCCESS = 0, NEGATIVE = 1, FAILURE = 2 };

class Command {
 public:
  virtual ~Command() = default;
  CLI::App& options() const { return *mOptions; }
  // Does it when the command line names it. Throws a Fault when it cannot.
  virtual Status run() const = 0;

 protected:
  // Every command has --strict and -o.
  Command(CLI::App& app, const std::string& name, const std::string& description);

  // Opens the file and lets the action read it.
  using Action = std::function<void(Reader&)>;
  void read(const std::string& path, const Action& action) const;
  const std::string& output() const { return mOutput; }
  bool isStrict() const { return mIsStrict; }
  // Whether what is written is seen on a terminal at once.
  bool isOnTerminal() const;

  CLI::App* const mOptions;  // the whole command line owns it

 private:
  std::string mOutput;
  bool mIsStrict = false;
};

// A command that writes something else for a run.
class ConvertCommand : public Command {
 public:
  Status run() const override;

 protected:
  ConvertCommand(CLI::App& app, const std::string& name, const std::string& description);
  virtual void convert(Reader& reader, Lts::OutputFile& file) const = 0;

 private:
  std::string mInput;
};

std::unique_ptr<Command> tableCommand(CLI::App& app);
std::unique_ptr<Command> summaryCommand(CLI::App& app);
std::unique_ptr<Command> compareCommand(CLI::App& app);
std::unique_ptr<Command> vcdCommand(CLI::App& app);
std::unique_ptr<Command> perfettoCommand(CLI::App& app);
std::unique_ptr<Command> csvCommand(CLI::App& app);
std::unique_ptr<Command> sequenceCommand(CLI::App& app);

// A line on standard error.
void say(const std::string& text);

}  // namespace Vesk::Traces

#endif
