#include <optional>

#include "column.hpp"
#include "command.hpp"
#include "exploration.hpp"
#include "fault.hpp"
#include "path-report.hpp"
#include "pattern.hpp"
#include "printable.hpp"
#include "scan.hpp"
#include "search.hpp"

namespace Vesk::Lts {

namespace {

const char* const FIRST = "1";  // the nearest

class PathCommand : public Command {
 public:
  explicit PathCommand(CLI::App& app)
      : Command(app, "path", "The shortest way to a state or a transition, step by step") {
    mOptions->add_option("NAME", mName, "The name given to -o, or an .aut file");
    CLI::Option_group* target = mOptions->add_option_group("Where to");
    target->add_option("--deadlock", mDeadlock, "To the N-th deadlock, the nearest first")
        ->expected(0, 1)
        ->default_str(FIRST)
        ->type_name("[N]");
    target->add_option("--to", mTo, "To this state")->type_name("STATE");
    target->add_option("--label", mLabel, "To the nearest transition with such a label")
        ->type_name("PATTERN");
    target->add_option("--text", mText, "To the nearest state with such a text")
        ->type_name("PATTERN");
    target->add_flag("--error", mError, "To the error that ended the search");
    target->require_option(1);
    mOptions->add_option("--from", mFrom, "From this state, not from the initial one")
        ->type_name("STATE");
    mOptions->add_flag("--json", mJson, "Print JSON");
    mOptions->footer(
        "In a PATTERN, * stands for any characters, ^ at the start and $ at the end for\n"
        "the ends. It may match a part of the label or the text.");
  }

  Status run(Progress& progress) const override;

 private:
  bool isGiven(const char* option) const { return mOptions->get_option(option)->count() != 0; }
  std::string name() const;
  std::uint64_t deadlockNumber() const;
  std::optional<Path> find(const Exploration& exploration, State from, Progress& progress) const;
  std::optional<Path> findText(const Exploration& exploration, ShortestPaths& paths,
                               Progress& progress) const;
  std::optional<Path> findError(const Exploration& exploration, ShortestPaths& paths) const;
  void printNone(const Exploration& exploration, State from) const;
  std::string wanted() const;

  std::string mName;
  std::string mDeadlock;
  std::uint64_t mTo = 0;
  std::string mLabel;
  std::string mText;
  bool mError = false;
  std::optional<std::uint64_t> mFrom;
  bool mJson = false;
};

Status PathCommand::run(Progress& progress) const {
  const Exploration exploration(name(), progress);
  sayWarnings(exploration);
  const State from = mFrom ? exploration.stateNumbered(*mFrom) : exploration.graph().initial();
  const std::optional<Path> path = find(exploration, from, progress);
  if (!path) {
    printNone(exploration, from);
    return NEGATIVE;
  }
  const PathReport report(exploration, *path, progress);
  print(mJson ? jsonText(report.json(), 2) + "\n" : report.text());
  if (mError && !exploration.errorState()) {
    say("the last step, into the error, is not in the file: a breadth-first search does not write "
        "it");
  }
  return SUCCESS;
}

// `path --deadlock NAME` leaves the name to the option.
std::string PathCommand::name() const {
  if (!mName.empty()) return mName;
  std::uint64_t number;
  std::string_view word = mDeadlock;
  if (mDeadlock.empty() || (takeNumber(word, number) && word.empty())) {
    throw Fault("NAME is missing, expected the name of an exploration; see vesk-lts path --help");
  }
  return mDeadlock;
}

// An option without a number has its default.
std::uint64_t PathCommand::deadlockNumber() const {
  if (mName.empty()) return 1;
  std::uint64_t number;
  std::string_view word = mDeadlock;
  if (!takeNumber(word, number) || !word.empty() || number == 0) {
    throw Fault("--deadlock " + inQuotes(mDeadlock) + ", expected a number from 1");
  }
  return number;
}

std::optional<Path> PathCommand::find(const Exploration& exploration, State from,
                                      Progress& progress) const {
  ShortestPaths paths(exploration.graph(), from);
  if (isGiven("--deadlock")) {
    return paths.toState([&](State state) { return exploration.isDeadlock(state); },
                         deadlockNumber());
  }
  if (isGiven("--to")) {
    const State to = exploration.stateNumbered(mTo);
    return paths.toState([&](State state) { return state == to; });
  }
  if (isGiven("--label")) {
    const Pattern pattern(mLabel);
    const LabelTable& labels = exploration.graph().labels();
    std::vector<bool> matches;
    for (Label label = 0; label < labels.size(); ++label) {
      matches.push_back(pattern.matches(labels.text(label)));
    }
    return paths.toLabel([&](Label label) { return matches[label]; });
  }
  return mError ? findError(exploration, paths) : findText(exploration, paths, progress);
}

std::optional<Path> PathCommand::findText(const Exploration& exploration, ShortestPaths& paths,
                                          Progress& progress) const {
  if (!exploration.hasTexts()) {
    throw Fault("--text needs the texts of the states, expected a .state file beside " +
                printable(exploration.files().transitions));
  }
  const Pattern pattern(mText);
  Column<std::uint8_t> matches(exploration.graph().states());
  exploration.readTexts(progress, [&](State state, std::string_view text) {
    matches[state] = pattern.matches(text);
  });
  return paths.toState([&](State state) { return matches[state] != 0; });
}

std::optional<Path> PathCommand::findError(const Exploration& exploration,
                                           ShortestPaths& paths) const {
  const auto end = exploration.errorState() ? exploration.errorState() : exploration.errorSource();
  return paths.toState([&](State state) { return end == state; });
}

std::string PathCommand::wanted() const {
  if (isGiven("--to")) return "state " + std::to_string(mTo);
  if (isGiven("--label")) return "a label with " + inQuotes(mLabel);
  if (isGiven("--text")) return "a state with " + inQuotes(mText);
  if (mError) return "an error";
  const std::uint64_t number = deadlockNumber();
  return number == 1 ? "a deadlock" : "deadlock " + std::to_string(number);
}

void PathCommand::printNone(const Exploration& exploration, State from) const {
  const std::string text = "there is no way from state " + std::to_string(from) + " to " + wanted();
  if (!mJson) return print(text + "\n");
  const Json result = {{"file", exploration.files().transitions},
                       {"found", false},
                       {"reason", text},
                       {"steps", Json::array()}};
  print(jsonText(result, 2) + "\n");
}

}  // namespace

std::unique_ptr<Command> pathCommand(CLI::App& app) {
  return std::make_unique<PathCommand>(app);
}

}  // namespace Vesk::Lts
