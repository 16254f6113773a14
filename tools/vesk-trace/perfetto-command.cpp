#include "command.hpp"
#include "perfetto-writer.hpp"

namespace Vesk::Traces {

namespace {

class PerfettoCommand : public ConvertCommand {
 public:
  explicit PerfettoCommand(CLI::App& app)
      : ConvertCommand(app, "perfetto", "A timeline for Perfetto and chrome://tracing") {}

 protected:
  void convert(Reader& reader, Lts::OutputFile& file) const override {
    PerfettoWriter writer(file);
    show(reader, writer);
  }
};

}  // namespace

std::unique_ptr<Command> perfettoCommand(CLI::App& app) {
  return std::make_unique<PerfettoCommand>(app);
}

}  // namespace Vesk::Traces
