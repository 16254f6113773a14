#include "arguments.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace Vesk::Inspect {

namespace {

constexpr std::string_view SUFFIX = "-inspect";
const char* const DESCRIPTION =
    "Shows a model, records its runs and looks for mistakes. All other words, and those behind a "
    "--, go to the model: its operands and the options of the engine.";

constexpr int WRONG_USE = 2;

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() > end.size() && text.substr(text.size() - end.size()) == end;
}

// The option that a word names, with or without its value; null when it names none.
const CLI::Option* namedBy(const CLI::App& app, std::string_view word) {
  if (word.substr(0, 2) != "--" || word.size() == 2) return nullptr;
  return app.get_option_no_throw(std::string(word.substr(0, word.find('='))));
}

void addOptions(CLI::App& app, Request& request) {
  app.set_help_flag("--help", "Print this help");
  app.set_version_flag("--version", VESK_VERSION);
  auto* tasks = app.add_option_group("What to do", "Exactly one of these");
  tasks->add_flag("--dot", request.dot, "Draw the model for Graphviz, on standard output");
  tasks->add_flag("--json", request.json, "Describe the model in JSON, on standard output");
  tasks->add_option("--record", request.record, "Run the model and write each step into FILE")
      ->type_name("FILE");
  tasks->add_flag("--why", request.why, "Run the model, then explain why the run has ended");
  tasks
      ->add_option("--replay", request.replay,
                   "Follow the path in FILE, of vesk-lts path --json, with priorities and time")
      ->type_name("FILE");
  tasks->add_flag("--check", request.check, "Look for mistakes; status 1 when there are any");
  tasks->add_flag(
      "--promises", request.promises,
      "Look for parts that do not do what they have declared; status 1 when there is one");
  tasks->require_option(1);
  app.add_option("--steps", request.steps,
                 "With --check the steps of each run, with --promises the states to look at; 1000")
      ->check(CLI::Range(1u, 1000000000u));
}

// The words of a command line, and which of them are whose.
struct Split {
  std::vector<std::string> own;
  std::vector<char*> models;
};

Split split(const CLI::App& app, int argc, char** argv) {
  Split words;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "--") {
      words.models.insert(words.models.end(), argv + i, argv + argc);
      break;
    }
    const CLI::Option* option = namedBy(app, word);
    if (option == nullptr) {
      words.models.push_back(argv[i]);
      continue;
    }
    words.own.emplace_back(word);
    const bool hasValue = option->get_items_expected_max() > 0;
    const bool isApart = word.find('=') == std::string_view::npos;
    if (hasValue && isApart && i + 1 < argc) words.own.emplace_back(argv[++i]);
  }
  return words;
}

}  // namespace

Arguments::Arguments(int argc, char** argv) : mProgram(argc > 0 ? argv[0] : "") {
  CLI::App app(DESCRIPTION, model() + std::string(SUFFIX));
  addOptions(app, mRequest);
  if (endsWith(mProgram, SUFFIX)) mProgram.erase(mProgram.size() - SUFFIX.size());
  Split words = split(app, argc, argv);
  mWords.push_back(mProgram.data());
  mWords.insert(mWords.end(), words.models.begin(), words.models.end());
  mWords.push_back(nullptr);
  std::reverse(words.own.begin(), words.own.end());  // as CLI11 takes them
  try {
    app.parse(std::move(words.own));
  } catch (const CLI::ParseError& error) {
    mRequest.status = app.exit(error) == 0 ? 0 : WRONG_USE;
  }
}

std::string Arguments::model() const {
  const std::size_t slash = mProgram.rfind('/');
  std::string name = slash != std::string::npos ? mProgram.substr(slash + 1) : mProgram;
  if (endsWith(name, SUFFIX)) name.erase(name.size() - SUFFIX.size());
  return name;
}

std::vector<std::string> Arguments::words() const {
  return std::vector<std::string>(mWords.begin() + 1, mWords.end() - 1);
}

unsigned int Arguments::seed() const {
  const std::vector<std::string> all = words();
  std::string number = "1";
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i] == "--seed" && i + 1 < all.size()) number = all[++i];
    if (all[i].rfind("--seed=", 0) == 0) number = all[i].substr(7);
  }
  return static_cast<unsigned int>(std::atoi(number.c_str()));
}

}  // namespace Vesk::Inspect
