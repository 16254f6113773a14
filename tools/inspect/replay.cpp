#include "replay.hpp"

#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "arguments.hpp"
#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "engine.hpp"
#include "explanation.hpp"
#include "filter.hpp"
#include "names.hpp"
#include "parts.hpp"
#include "port.hpp"

namespace Vesk::Inspect {

namespace {

constexpr int MARGIN = 40000;  // microseconds: the maximum drift, as in every run
constexpr bool QUIET = true;

struct Path {
  struct Step {
    std::string label;
    std::string text;  // of the state that it leads to
  };
  std::vector<Step> steps;
  bool endsInDeadlock = false;
};

Path readPath(const std::string& file) {
  std::ifstream in(file);
  if (!in)
    throw std::runtime_error(file + ": cannot be read, expected what vesk-lts path --json writes");
  try {
    const auto json = nlohmann::json::parse(in);
    Path path;
    for (const auto& step : json.at("steps")) {
      path.steps.push_back({step.at("label"), step.value("text", "")});
    }
    path.endsInDeadlock = json.contains("end") && json["end"].value("deadlock", false);
    return path;
  } catch (const nlohmann::json::exception&) {
    throw std::runtime_error(file + ": is no path, expected what vesk-lts path --json writes");
  }
}

std::string shown(const Time& time) {
  std::ostringstream out;
  out << time;
  return out.str();
}

// Fires the steps of a path, each as early as it can.
class Follower : public Executer {
 public:
  Follower(Compound& system, LogicalClock& clock, Filter& semantics, Filter& policy,
           std::ostream& nowhere, const Path& path, const Explanation& explanation)
      : Executer(system, clock, semantics, policy, QUIET, 0, nowhere, 1, Time(MARGIN)),
        mParts(system),
        mPath(path),
        mExplanation(explanation) {}

  // The lines about the steps, and how it has ended.
  std::string text() const { return mText; }
  bool isStopped() const { return mStopped; }
  bool hasReachedEnd() const { return mNext == mPath.steps.size(); }
  const std::string& nextLabel() const { return mPath.steps[mNext].label; }

 protected:
  void choose() override {
    compareState();
    setChoice(nullptr);
    setTime(wait().low());
    mStopped = true;  // unless there is a step to fire
    if (hasReachedEnd()) return describeRest();
    for (auto it = interactions().begin(); it != interactions().end(); ++it) {
      if (utf8((*it)->label()) != nextLabel()) continue;
      mStopped = false;
      setChoice(*it);
      setTime((*it)->next(wait().low()));
      mText += "step " + std::to_string(++mNext) + " at " + shown(time()) + ": " +
               utf8((*it)->label()) + "\n";
      return;
    }
    mText += "impossible: step " + std::to_string(mNext + 1) + ", " + nextLabel() + ", at " +
             shown(wait().low()) + ": " + reason() + "\n";
  }

 private:
  void describeRest() {
    mText += "the end is reached at " + shown(wait().low()) + ", and these are possible:\n";
    for (auto it = interactions().begin(); it != interactions().end(); ++it) {
      mText += "  " + utf8((*it)->label()) + "\n";
    }
  }

  // The data that only runs with time move may have led to another state.
  void compareState() {
    if (mDiffers || mNext == 0 || mPath.steps[mNext - 1].text.empty()) return;
    std::string state;
    for (const auto& atom : mParts.atoms()) state += stateOf(*atom.part).text;
    if (utf8(state) == mPath.steps[mNext - 1].text) return;
    mDiffers = true;
    mText += "  the state is \"" + utf8(state) + "\" now, in the exploration it was \"" +
             mPath.steps[mNext - 1].text + "\"\n";
  }

  // Why the next step is not among what may fire.
  std::string reason() {
    for (auto it = interactions().begin(0); it != interactions().end(0); ++it) {
      if (utf8((*it)->label()) == nextLabel()) return whyTooLate(**it);
    }
    for (const auto& placed : mParts.connectors()) {
      Connector& connector = *placed.part;
      const std::string start =
          std::string(textOf(connector.holder()->name())) + "/" + textOf(connector.name()) + "/";
      if (nextLabel().rfind(utf8(start), 0) != 0) continue;
      const std::string offers = offersOf(utf8(start));
      if (!offers.empty()) return "other ports of this connector are possible: " + offers;
      return mExplanation.whyNot(connector);
    }
    return "the model has no such connector";
  }

  // The labels with this start that are enabled.
  std::string offersOf(const std::string& start) {
    std::string labels;
    for (auto it = interactions().begin(0); it != interactions().end(0); ++it) {
      const std::string label = utf8((*it)->label());
      if (label.rfind(start, 0) == 0) labels += (labels.empty() ? "" : ", ") + label;
    }
    return labels;
  }

  // It is enabled, but only after something else must have fired.
  std::string whyTooLate(Executable& executable) {
    const Time now = wait().low();
    const Time next = executable.next(now);
    if (next == Time::MAX) return "its time has passed";
    std::string urgent;
    for (auto it = interactions().begin(0); it != interactions().end(0); ++it) {
      if ((*it)->deadline(now) != wait().high()) continue;
      urgent += (urgent.empty() ? "" : ", ") + utf8((*it)->label());
    }
    return "it can fire from " + shown(next) + " on, and " + urgent + " must fire by " +
           shown(wait().high());
  }

  const Parts mParts;
  const Path& mPath;
  const Explanation& mExplanation;
  std::size_t mNext = 0;
  bool mStopped = false;
  bool mDiffers = false;
  std::string mText;
};

}  // namespace

Status replay(Arguments& arguments) {
  const Path path = readPath(arguments.request().replay);
  const std::unique_ptr<Compound> root = build(arguments);
  if (root == nullptr) return FAILURE;
  SimuClock platform("simu_clock");
  LogicalClock clock("logical_clock", platform);
  StandardSemantics semantics;
  EmptyScheduler everything;
  std::ostream nowhere(nullptr);
  Explanation explanation;
  watchRuns(&explanation);
  Follower follower(*root, clock, semantics, everything, nowhere, path, explanation);
  {
    const OutputAside aside(OutputAside::TO_NOWHERE);
    follower.initialize();
    follower.run();
  }
  watchRuns(nullptr);
  std::string text = follower.text();
  const bool reached = follower.hasReachedEnd();
  const bool asExpected = reached && follower.isStopped() != path.endsInDeadlock;
  if (!follower.isStopped()) {
    text += reached ? "the end is reached, where nothing is possible any more\n"
                    : "impossible: the next step, " + follower.nextLabel() + "\n";
    text += explanation.text();
  }
  const Status printed = print(text);
  if (printed != SUCCESS) return printed;
  return asExpected ? SUCCESS : NEGATIVE;
}

}  // namespace Vesk::Inspect
