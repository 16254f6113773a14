#include "path-report.hpp"

#include <algorithm>
#include <utility>

#include "printable.hpp"
#include "text-change.hpp"

namespace Vesk::Lts {

PathReport::PathReport(const Exploration& exploration, const Path& path, Progress& progress)
    : mExploration(exploration),
      mStart(path.start),
      mSteps(stepsOf(exploration.graph(), path)),
      mTexts(textsOf(exploration, path, progress)) {}

std::vector<PathReport::Step> PathReport::stepsOf(const Graph& graph, const Path& path) {
  std::vector<Step> steps;
  State from = path.start;
  for (EdgeIndex index : path.edges) {
    const Edge& edge = graph.edge(index);
    steps.push_back({from, edge.label, edge.target});
    from = edge.target;
  }
  return steps;
}

StateTexts PathReport::textsOf(const Exploration& exploration, const Path& path,
                               Progress& progress) {
  std::vector<State> states{path.start};
  for (EdgeIndex index : path.edges) states.push_back(exploration.graph().edge(index).target);
  std::sort(states.begin(), states.end());
  return StateTexts(exploration, progress, [&](State state) {
    return std::binary_search(states.begin(), states.end(), state);
  });
}

std::string_view PathReport::labelOf(const Step& step) const {
  return mExploration.graph().labels().text(step.label);
}

// ---- Text ------------------------------------------------------------------------------------

std::string PathReport::text() const {
  std::string result = stateLines(mStart, std::nullopt);
  for (const Step& step : mSteps) {
    result += "    " + printable(labelOf(step)) + "\n";
    result += stateLines(step.to, mTexts.of(step.from));
  }
  const std::string steps = mSteps.size() == 1 ? " step" : " steps";
  return result + std::to_string(mSteps.size()) + steps + " to state " + std::to_string(end()) +
         kindOf(end()) + "\n";
}

std::string PathReport::kindOf(State state) const {
  if (mExploration.isDeadlock(state)) return ", a deadlock";
  if (mExploration.isPruned(state)) return ", which was pruned";
  return mExploration.errorState() == state ? ", an error" : "";
}

std::string PathReport::stateLines(State state,
                                   const std::optional<std::string_view>& before) const {
  const std::string number = std::to_string(state) + ": ";
  const auto text = mTexts.of(state);
  if (!text) return number + "(no text)\n";
  std::string result = number + printable(*text) + "\n";
  if (!before) return result;
  const std::string marks = markLine(*text, changedRanges(*before, *text));
  if (!marks.empty()) result += std::string(number.size(), ' ') + marks + "\n";
  return result;
}

// ---- JSON ------------------------------------------------------------------------------------

Json PathReport::json() const {
  Json result;
  result["file"] = mExploration.files().transitions;
  result["found"] = true;
  result["start"] = stateJson(mStart);
  result["steps"] = Json::array();
  for (const Step& step : mSteps) result["steps"].push_back(stepJson(step));
  result["end"] = stateJson(end());
  result["end"]["deadlock"] = mExploration.isDeadlock(end());
  return result;
}

Json PathReport::stateJson(State state) const {
  const auto text = mTexts.of(state);
  Json result;
  result["state"] = state;
  result["text"] = text ? Json(*text) : Json();
  return result;
}

Json PathReport::stepJson(const Step& step) const {
  const auto before = mTexts.of(step.from);
  const auto after = mTexts.of(step.to);
  Json result;
  result["from"] = step.from;
  result["label"] = labelOf(step);
  result["to"] = step.to;
  result["text"] = after ? Json(*after) : Json();
  result["changed"] = Json::array();
  if (!before || !after) return result;
  for (const TextRange& range : changedRanges(*before, *after)) {
    result["changed"].push_back(after->substr(range.begin, range.end - range.begin));
  }
  return result;
}

}  // namespace Vesk::Lts
