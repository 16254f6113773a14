#include "path-report.hpp"

#include <algorithm>
#include <set>
#include <utility>

#include "printable.hpp"
#include "state-texts.hpp"
#include "text-change.hpp"

namespace Vesk::Lts {

PathReport::PathReport(const Exploration& exploration, const Path& path, Progress& progress)
    : mExploration(exploration), mStart(path.start) {
  const Graph& graph = exploration.graph();
  std::set<State> states{mStart};
  State from = mStart;
  for (EdgeIndex index : path.edges) {
    const Edge& edge = graph.edge(index);
    mSteps.push_back({from, std::string(graph.labels().text(edge.label)), edge.target});
    states.insert(edge.target);
    from = edge.target;
  }
  exploration.readTexts(progress, [&](State state, std::string_view text) {
    if (states.count(state) != 0) mTexts.emplace_back(state, text);
  });
}

const std::string* PathReport::textOf(State state) const {
  const auto found = std::lower_bound(
      mTexts.begin(), mTexts.end(), state,
      [](const std::pair<State, std::string>& text, State wanted) { return text.first < wanted; });
  return found != mTexts.end() && found->first == state ? &found->second : nullptr;
}

// ---- Text ------------------------------------------------------------------------------------

std::string PathReport::text() const {
  std::string result = stateLines(mStart, nullptr);
  for (const Step& step : mSteps) {
    result += "    " + printable(step.label) + "\n";
    result += stateLines(step.to, textOf(step.from));
  }
  const State end = mSteps.empty() ? mStart : mSteps.back().to;
  const std::string steps = mSteps.size() == 1 ? " step" : " steps";
  return result + std::to_string(mSteps.size()) + steps + " to state " + std::to_string(end) +
         kindOf(end) + "\n";
}

std::string PathReport::kindOf(State state) const {
  if (mExploration.isDeadlock(state)) return ", a deadlock";
  if (mExploration.isPruned(state)) return ", which was pruned";
  return mExploration.errorState() == state ? ", an error" : "";
}

std::string PathReport::stateLines(State state, const std::string* before) const {
  const std::string number = std::to_string(state) + ": ";
  const std::string* text = textOf(state);
  if (text == nullptr) return number + "(no text)\n";
  std::string result = number + printable(*text) + "\n";
  if (before == nullptr) return result;
  const std::string marks = markLine(*text, changedRanges(*before, *text));
  if (!marks.empty()) result += std::string(number.size(), ' ') + marks + "\n";
  return result;
}

// ---- JSON ------------------------------------------------------------------------------------

Json PathReport::json() const {
  const State end = mSteps.empty() ? mStart : mSteps.back().to;
  Json result;
  result["file"] = mExploration.files().transitions;
  result["found"] = true;
  result["start"] = stateJson(mStart);
  result["steps"] = Json::array();
  for (const Step& step : mSteps) {
    Json entry = {{"from", step.from}, {"label", step.label}};
    entry.update(Json{{"to", step.to}});
    const std::string* before = textOf(step.from);
    const std::string* after = textOf(step.to);
    entry["text"] = after != nullptr ? Json(*after) : Json();
    entry["changed"] = Json::array();
    if (before != nullptr && after != nullptr) {
      for (const TextRange& range : changedRanges(*before, *after)) {
        entry["changed"].push_back(after->substr(range.begin, range.end - range.begin));
      }
    }
    result["steps"].push_back(std::move(entry));
  }
  result["end"] = stateJson(end);
  result["end"]["deadlock"] = mExploration.isDeadlock(end);
  return result;
}

Json PathReport::stateJson(State state) const {
  const std::string* text = textOf(state);
  Json result;
  result["state"] = state;
  result["text"] = text != nullptr ? Json(*text) : Json();
  return result;
}

}  // namespace Vesk::Lts
