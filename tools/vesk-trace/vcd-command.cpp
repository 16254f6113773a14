#include "command.hpp"
#include "vcd-writer.hpp"

namespace Vesk::Traces {

namespace {

class VcdCommand : public ConvertCommand {
 public:
  explicit VcdCommand(CLI::App& app)
      : ConvertCommand(app, "vcd", "A value change dump, for GTKWave and others") {}

 protected:
  void convert(Reader& reader, Lts::OutputFile& file) const override {
    VcdWriter writer(file, VESK_VERSION);
    show(reader, writer);
  }
};

}  // namespace

std::unique_ptr<Command> vcdCommand(CLI::App& app) {
  return std::make_unique<VcdCommand>(app);
}

}  // namespace Vesk::Traces
