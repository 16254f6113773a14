#include "command.hpp"
#include "fault.hpp"
#include "run-comparison.hpp"

namespace Vesk::Traces {

namespace {

const char* const TWICE = "A and B are both standard input, expected one of them to be a file";

class CompareCommand : public Command {
 public:
  explicit CompareCommand(CLI::App& app)
      : Command(app, "compare", "Where do two runs part? Status 1 when they do") {
    mOptions->add_option("A", mA, "A trace or a recording; - is standard input")->required();
    mOptions->add_option("B", mB, "The other one")->required();
    mOptions->add_option("--lines", mComparison.lines, "So many steps around the difference")
        ->type_name("N")
        ->capture_default_str();
    mOptions->add_flag("--no-times", mComparison.ignoresTimes, "Compare only what fires");
  }

  Status run() const override {
    if (mA == "-" && mB == "-") throw Lts::Fault(TWICE);
    bool same = false;
    read(mA, [&](Reader& a) { read(mB, [&](Reader& b) { same = compare(a, b); }); });
    return same ? SUCCESS : NEGATIVE;
  }

 private:
  bool compare(Reader& a, Reader& b) const {
    const Comparison comparison(a, b, mComparison);
    Lts::OutputFile file(output());
    file.write(comparison.text());
    file.commit();
    return comparison.same();
  }

  std::string mA;
  std::string mB;
  Comparison::Options mComparison;
};

}  // namespace

std::unique_ptr<Command> compareCommand(CLI::App& app) {
  return std::make_unique<CompareCommand>(app);
}

}  // namespace Vesk::Traces
