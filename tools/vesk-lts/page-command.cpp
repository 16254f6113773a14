#include "command.hpp"
#include "exploration.hpp"
#include "fault.hpp"
#include "output-file.hpp"
#include "page.hpp"
#include "part-options.hpp"
#include "pictures.hpp"
#include "state-texts.hpp"
#include "writer.hpp"

namespace Vesk::Lts {

namespace {

const char* const LINK = "#state-";

class PageCommand : public Command {
 public:
  explicit PageCommand(CLI::App& app)
      : Command(app, "page", "A page for a browser, in which one can walk through the states"),
        mPart(*mOptions) {
    mOptions->add_option("NAME", mName, "The name given to -o, or an .aut file")->required();
    mOptions->add_option("-o,--output", mOutput, "The HTML file to write")
        ->type_name("FILE")
        ->required();
  }

  Status run(Progress& progress) const override {
    const Exploration exploration(mName, progress);
    sayWarnings(exploration);
    const Part part = mPart.part(exploration);
    checkSize(part);
    const StateTexts texts(exploration, progress, [&](State state) { return part.has(state); });
    const std::string page =
        pageText(pageData(exploration, part, texts), drawing(exploration, part, texts));
    OutputFile file(mOutput);
    file.write(page);
    file.commit();
    return SUCCESS;
  }

 private:
  void checkSize(const Part& part) const {
    if (part.transitions() <= MAX_PAGE_TRANSITIONS) return;
    throw Fault("a page of " + std::to_string(part.transitions()) +
                " transitions opens too slowly, expected at most " +
                std::to_string(MAX_PAGE_TRANSITIONS) +
                ": show what lies around a state (--around STATE --radius N), or look for a way "
                "(vesk-lts path)");
  }

  std::optional<std::string> drawing(const Exploration& exploration, const Part& part,
                                     const StateTexts& texts) const {
    if (part.transitions() > MAX_DRAWN_TRANSITIONS) return std::nullopt;
    auto svg = drawnSvg(dotText(exploration, part, texts, LINK));
    if (!svg) say("warning: the page has no drawing, because there is no Graphviz (dot) that runs");
    return svg;
  }

  PartOptions mPart;
  std::string mName;
  std::string mOutput;
};

}  // namespace

std::unique_ptr<Command> pageCommand(CLI::App& app) {
  return std::make_unique<PageCommand>(app);
}

}  // namespace Vesk::Lts
