#include "command.hpp"
#include "run-summary.hpp"

namespace Vesk::Traces {

namespace {

class SummaryCommand : public Command {
 public:
  explicit SummaryCommand(CLI::App& app)
      : Command(app, "summary", "What fired how often, waits, and how the run ended") {
    mOptions->add_option("FILE", mInputs, "Traces and recordings; - is standard input")->required();
    mOptions->add_flag("--json", mJson, "Print JSON, an object in a line for each file");
  }

  Status run() const override {
    Lts::OutputFile file(output());
    for (const std::string& input : mInputs) {
      if (!mJson && &input != &mInputs.front()) file.write("\n");
      read(input, [&](Reader& reader) {
        Summary summary;
        show(reader, summary);
        file.write(mJson ? Lts::jsonText(summary.json()) + "\n" : summary.text());
      });
    }
    file.commit();
    return SUCCESS;
  }

 private:
  std::vector<std::string> mInputs;
  bool mJson = false;
};

}  // namespace

std::unique_ptr<Command> summaryCommand(CLI::App& app) {
  return std::make_unique<SummaryCommand>(app);
}

}  // namespace Vesk::Traces
