#include "command.hpp"

#include <unistd.h>

#include <cstdio>

#include "bad-lines.hpp"
#include "progress.hpp"

namespace Vesk::Traces {

Command::Command(CLI::App& app, const std::string& name, const std::string& description)
    : mOptions(app.add_subcommand(name, description)) {
  mOptions->add_option("-o,--output", mOutput, "Write this file, not standard output")
      ->type_name("FILE");
  mOptions->add_flag("--strict", mIsStrict, "A line that cannot be read is a failure");
}

bool Command::isOnTerminal() const {
  return (mOutput.empty() || mOutput == "-") && isatty(STDOUT_FILENO) != 0;
}

// Progress would stand between the lines that are written.
void Command::read(const std::string& path, const Action& action) const {
  Lts::Progress progress(isOnTerminal() ? nullptr : stderr);
  BadLines badLines(mIsStrict, say);
  const std::unique_ptr<Reader> reader = openReader(path, progress, badLines);
  action(*reader);
}

ConvertCommand::ConvertCommand(CLI::App& app, const std::string& name,
                               const std::string& description)
    : Command(app, name, description) {
  mOptions->add_option("FILE", mInput, "A trace or a recording; - is standard input")->required();
}

Status ConvertCommand::run() const {
  read(mInput, [&](Reader& reader) {
    Lts::OutputFile file(output());
    convert(reader, file);
    file.commit();
  });
  return SUCCESS;
}

}  // namespace Vesk::Traces
