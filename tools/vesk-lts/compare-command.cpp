#include "command.hpp"
#include "comparison.hpp"
#include "exploration.hpp"

namespace Vesk::Lts {

namespace {

class CompareCommand : public Command {
 public:
  explicit CompareCommand(CLI::App& app)
      : Command(app, "compare", "Are two systems the same? Status 1 when they are not") {
    mOptions->add_option("A", mA, "The name given to -o, or an .aut file")->required();
    mOptions->add_option("B", mB, "The other one")->required();
    mOptions->add_option("--most", mMost, "List at most so many states and transitions of each")
        ->type_name("N")
        ->capture_default_str();
    mOptions->add_flag("--json", mJson, "Print JSON");
  }

  Status run(Progress& progress) const override {
    const Exploration a(mA, progress);
    const Exploration b(mB, progress);
    sayWarnings(a);
    sayWarnings(b);
    const Comparison comparison(a, b, mMost, progress);
    print(mJson ? jsonText(comparison.json(progress), 2) + "\n" : comparison.text(progress));
    return comparison.same() ? SUCCESS : NEGATIVE;
  }

 private:
  std::string mA;
  std::string mB;
  std::uint64_t mMost = 20;
  bool mJson = false;
};

}  // namespace

std::unique_ptr<Command> compareCommand(CLI::App& app) {
  return std::make_unique<CompareCommand>(app);
}

}  // namespace Vesk::Lts
