#include <cstdlib>
#include <string_view>

#include "command.hpp"
#include "table-writer.hpp"

namespace Vesk::Traces {

namespace {

class TableCommand : public ConvertCommand {
 public:
  explicit TableCommand(CLI::App& app)
      : ConvertCommand(app, "table", "A line for each step, with times and states") {
    mOptions->add_option("--only", mOnly, "Only the steps with such a label")->type_name("PATTERN");
    mOptions->add_option("--atoms", mAtoms, "Of a recording: only the states of such atoms")
        ->type_name("PATTERN");
    mOptions->add_option("--color", mColour, "auto, always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    mOptions->footer(
        "In a PATTERN, * stands for any characters, ^ at the start and $ at the end for\n"
        "the ends. It may match a part of the label or the name.");
  }

 protected:
  void convert(Reader& reader, Lts::OutputFile& file) const override {
    TableWriter::Options options;
    if (mOptions->get_option("--only")->count() != 0) options.only.emplace(mOnly);
    if (mOptions->get_option("--atoms")->count() != 0) options.atoms.emplace(mAtoms);
    options.hasColour = mColour == "always" || (mColour == "auto" && mayHaveColour());
    TableWriter writer(file, options);
    show(reader, writer);
  }

 private:
  bool mayHaveColour() const {
    const char* terminal = std::getenv("TERM");
    const char* none = std::getenv("NO_COLOR");
    if (none != nullptr && *none != '\0') return false;
    return isOnTerminal() && terminal != nullptr && std::string_view(terminal) != "dumb";
  }

  std::string mOnly;
  std::string mAtoms;
  std::string mColour = "auto";
};

}  // namespace

std::unique_ptr<Command> tableCommand(CLI::App& app) {
  return std::make_unique<TableCommand>(app);
}

}  // namespace Vesk::Traces
