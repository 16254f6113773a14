#include "command.hpp"
#include "exploration.hpp"
#include "fault.hpp"
#include "output-file.hpp"
#include "pictures.hpp"
#include "summary.hpp"

namespace Vesk::Lts {

namespace {

const char* const NO_GNUPLOT =
    "the plot cannot be made, expected a gnuplot that runs (gnuplot-nox)";

class InfoCommand : public Command {
 public:
  explicit InfoCommand(CLI::App& app)
      : Command(app, "info", "Counts: states, levels, deadlocks, transitions of each connector") {
    mOptions->add_option("NAME", mName, "The name given to -o, or an .aut file")->required();
    mOptions->add_flag("--json", mJson, "Print JSON");
    mOptions->add_option("--plot", mPlot, "Draw the states of each level into this SVG file")
        ->type_name("FILE");
  }

  Status run(Progress& progress) const override {
    const Exploration exploration(mName, progress);
    sayWarnings(exploration);
    const Summary summary(exploration);
    if (!mPlot.empty()) writePlot(summary);
    print(mJson ? jsonText(summary.json(), 2) + "\n" : summary.text());
    return SUCCESS;
  }

 private:
  void writePlot(const Summary& summary) const {
    const auto svg = plottedSvg(summary.levelSizes());
    if (!svg) throw Fault(NO_GNUPLOT);
    OutputFile file(mPlot);
    file.write(*svg);
    file.commit();
  }

  std::string mName;
  bool mJson = false;
  std::string mPlot;
};

}  // namespace

std::unique_ptr<Command> infoCommand(CLI::App& app) {
  return std::make_unique<InfoCommand>(app);
}

}  // namespace Vesk::Lts
