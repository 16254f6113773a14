#include "command.hpp"
#include "exploration.hpp"
#include "fault.hpp"
#include "output-file.hpp"
#include "part-options.hpp"
#include "printable.hpp"
#include "state-texts.hpp"
#include "writer.hpp"

namespace Vesk::Lts {

namespace {

constexpr std::uint64_t MAX_DOT_TRANSITIONS = 5000;
const char* const LOOP_LABEL = "deadlock";

class ConvertCommand : public Command {
 public:
  explicit ConvertCommand(CLI::App& app)
      : Command(app, "convert", "Write the system for other programs"), mPart(*mOptions) {
    mOptions->add_option("NAME", mName, "The name given to -o, or an .aut file")->required();
    mOptions->add_option("--to", mFormat, "aut, dot, json or csv")
        ->type_name("FORMAT")
        ->required()
        ->check(CLI::IsMember({"aut", "dot", "json", "csv"}));
    mOptions->add_option("-o,--output", mOutput, "Write this file, not standard output")
        ->type_name("FILE");
    mOptions
        ->add_option("--deadlock-loops", mLoopLabel,
                     "For aut: a loop at each deadlock, with this label")
        ->expected(0, 1)
        ->default_str(LOOP_LABEL)
        ->type_name("[LABEL]");
    mOptions->add_flag("--states", mStates, "For csv: the table of the states");
    mOptions->add_flag("--force", mForce, "For dot: of any size");
  }

  Status run(Progress& progress) const override {
    checkOptions();
    const Exploration exploration(mName, progress);
    sayWarnings(exploration);
    const Part part = mPart.part(exploration);
    if (mFormat == "dot" && !mForce) checkSize(part);
    const StateTexts texts(exploration, progress,
                           [&](State state) { return needsTexts() && part.has(state); });
    OutputFile file(mOutput);
    file.showOn(progress);
    write(exploration, part, texts, file);
    file.commit();
    return SUCCESS;
  }

 private:
  bool isGiven(const char* option) const { return mOptions->get_option(option)->count() != 0; }
  bool needsTexts() const { return mFormat == "dot" || mFormat == "json" || mStates; }
  void checkOptions() const;
  void checkSize(const Part& part) const;
  void write(const Exploration& exploration, const Part& part, const StateTexts& texts,
             OutputFile& file) const;
  std::string loopLabel() const;

  PartOptions mPart;
  std::string mName;
  std::string mFormat;
  std::string mOutput;
  std::string mLoopLabel;
  bool mStates = false;
  bool mForce = false;
};

void ConvertCommand::checkOptions() const {
  if (isGiven("--deadlock-loops") && mFormat != "aut") {
    throw Fault("--deadlock-loops with --to " + mFormat + ", expected --to aut");
  }
  if (mStates && mFormat != "csv")
    throw Fault("--states with --to " + mFormat + ", expected --to csv");
  if (mForce && mFormat != "dot")
    throw Fault("--force with --to " + mFormat + ", expected --to dot");
}

void ConvertCommand::checkSize(const Part& part) const {
  if (part.transitions() <= MAX_DOT_TRANSITIONS) return;
  throw Fault("a drawing of " + std::to_string(part.transitions()) +
              " transitions cannot be read, expected at most " +
              std::to_string(MAX_DOT_TRANSITIONS) +
              ": draw what lies around a state (--around STATE --radius N), look for a way "
              "(vesk-lts path), or write it nevertheless (--force)");
}

std::string ConvertCommand::loopLabel() const {
  if (!isGiven("--deadlock-loops")) return "";
  return mLoopLabel.empty() ? LOOP_LABEL : mLoopLabel;
}

void ConvertCommand::write(const Exploration& exploration, const Part& part,
                           const StateTexts& texts, OutputFile& file) const {
  if (mFormat == "aut") {
    writeAut(exploration, part, loopLabel(), file);
  } else if (mFormat == "dot") {
    writeDot(exploration, part, texts, "", file);
  } else if (mFormat == "json") {
    writeJson(exploration, part, texts, file);
  } else if (mStates) {
    writeStatesCsv(exploration, part, texts, file);
  } else {
    writeTransitionsCsv(exploration, part, file);
  }
}

}  // namespace

std::unique_ptr<Command> convertCommand(CLI::App& app) {
  return std::make_unique<ConvertCommand>(app);
}

}  // namespace Vesk::Lts
