#include "command.hpp"
#include "csv-writer.hpp"

namespace Vesk::Traces {

namespace {

class CsvCommand : public ConvertCommand {
 public:
  explicit CsvCommand(CLI::App& app)
      : ConvertCommand(app, "csv", "A row for each thing that fires, for spreadsheets") {
    mOptions->add_flag("--milliseconds", mCsv.cutsTimes,
                       "Cut the times of a recording as a trace has them");
    mOptions->add_flag("--states", mCsv.hasStates,
                       "Of a recording: the step, and a column with the state of each atom");
  }

 protected:
  void convert(Reader& reader, Lts::OutputFile& file) const override {
    CsvWriter writer(file, mCsv);
    show(reader, writer);
  }

 private:
  CsvWriter::Options mCsv;
};

}  // namespace

std::unique_ptr<Command> csvCommand(CLI::App& app) {
  return std::make_unique<CsvCommand>(app);
}

}  // namespace Vesk::Traces
