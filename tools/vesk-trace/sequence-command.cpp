#include "command.hpp"
#include "mermaid-sequence.hpp"
#include "plantuml-sequence.hpp"
#include "svg-sequence.hpp"

namespace Vesk::Traces {

namespace {

class SequenceCommand : public ConvertCommand {
 public:
  explicit SequenceCommand(CLI::App& app)
      : ConvertCommand(app, "sequence", "A sequence diagram of the first steps") {
    mOptions->add_option("--to", mFormat, "plantuml, mermaid or svg")
        ->type_name("FORMAT")
        ->capture_default_str()
        ->check(CLI::IsMember({"plantuml", "mermaid", "svg"}));
    mOptions->add_option("--most", mMost, "Draw at most so many steps")
        ->type_name("N")
        ->capture_default_str();
  }

 protected:
  void convert(Reader& reader, Lts::OutputFile& file) const override {
    const std::unique_ptr<SequenceWriter> writer = writerFor(file);
    show(reader, *writer);
    if (writer->stepsLeftOut() != 0) {
      say("warning: " + stepsText(writer->stepsLeftOut()) + " left out, --most draws more");
    }
  }

 private:
  std::unique_ptr<SequenceWriter> writerFor(Lts::OutputFile& file) const {
    if (mFormat == "plantuml") return std::make_unique<PlantUmlSequence>(file, mMost);
    if (mFormat == "mermaid") return std::make_unique<MermaidSequence>(file, mMost);
    return std::make_unique<SvgSequence>(file, mMost);
  }

  std::string mFormat = "plantuml";
  std::uint64_t mMost = 100;
};

}  // namespace

std::unique_ptr<Command> sequenceCommand(CLI::App& app) {
  return std::make_unique<SequenceCommand>(app);
}

}  // namespace Vesk::Traces
