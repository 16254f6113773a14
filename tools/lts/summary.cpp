#include "summary.hpp"

#include <algorithm>
#include <cstdio>
#include <map>

#include "printable.hpp"

namespace Vesk::Lts {

namespace {

constexpr std::size_t SHOWN_DEADLOCKS = 10;
constexpr int NAME_WIDTH = 12;

std::string row(const char* name, const std::string& value) {
  return padded(name, NAME_WIDTH) + ": " + value + "\n";
}

std::string row(const char* name, std::uint64_t value) {
  return row(name, std::to_string(value));
}

std::string withTwoDecimals(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

}  // namespace

std::string_view connectorOf(std::string_view label) {
  const std::size_t compound = label.find('/');
  if (compound == std::string_view::npos) return label;
  const std::size_t connector = label.find('/', compound + 1);
  return connector == std::string_view::npos ? label : label.substr(0, connector);
}

std::vector<State> deadlocksByLevel(const Exploration& exploration, const Levels& levels) {
  std::vector<State> deadlocks = exploration.deadlocks();
  std::stable_sort(deadlocks.begin(), deadlocks.end(),
                   [&](State a, State b) { return levels.of(a) < levels.of(b); });
  return deadlocks;
}

// ---- Counts ----------------------------------------------------------------------------------

Summary::Summary(const Exploration& exploration)
    : mExploration(exploration),
      mLevels(exploration.graph()),
      mDeadlocks(deadlocksByLevel(exploration, mLevels)),
      mUnreached(exploration.statesFound() - mLevels.reached()) {
  countDegrees();
  countConnectors();
}

void Summary::countDegrees() {
  const Graph& graph = mExploration.graph();
  for (State state = 0; state < graph.states(); ++state) {
    mUnexpanded += mExploration.isUnexpanded(state);
    const std::size_t degree = graph.out(state).size();
    if (degree <= mLargestDegree) continue;
    mLargestDegree = degree;
    mLargestDegreeState = state;
  }
}

void Summary::countConnectors() {
  const Graph& graph = mExploration.graph();
  std::vector<std::uint64_t> counts(graph.labels().size());
  for (EdgeIndex i = 0; i < graph.transitions(); ++i) ++counts[graph.edge(i).label];
  std::map<std::string, std::uint64_t> byConnector;
  for (Label label = 0; label < counts.size(); ++label) {
    byConnector[std::string(connectorOf(graph.labels().text(label)))] += counts[label];
  }
  mConnectors.assign(byConnector.begin(), byConnector.end());
}

std::size_t Summary::widestLevel() const {
  const auto& sizes = mLevels.sizes();
  return static_cast<std::size_t>(std::max_element(sizes.begin(), sizes.end()) - sizes.begin());
}

double Summary::meanDegree() const {
  const Graph& graph = mExploration.graph();
  return static_cast<double>(graph.transitions()) / static_cast<double>(graph.states());
}

// ---- Text ------------------------------------------------------------------------------------

std::string Summary::text() const {
  const Graph& graph = mExploration.graph();
  const std::size_t widest = widestLevel();
  std::string result;
  result += row("states", mExploration.statesFound());
  result += row("transitions", graph.transitions());
  result += row("levels", std::to_string(mLevels.sizes().size()) + ", the widest is " +
                              std::to_string(widest) + " with " +
                              std::to_string(mLevels.sizes()[widest]) +
                              (mLevels.sizes()[widest] == 1 ? " state" : " states"));
  result += row("degree", withTwoDecimals(meanDegree()) + " on average, at most " +
                              std::to_string(mLargestDegree) + ", from state " +
                              std::to_string(mLargestDegreeState));
  result += row("deadlocks", mDeadlocks.size());
  result += row("pruned", mExploration.prunedCount());
  result += row("error", errorText());
  result += row("unexpanded", mUnexpanded);
  result += row("unreached", mUnreached);
  return result + levelTable() + connectorTable() + deadlockTable();
}

std::string Summary::errorText() const {
  if (const auto state = mExploration.errorState()) return "state " + std::to_string(*state);
  if (const auto source = mExploration.errorSource()) {
    return "in a transition from state " + std::to_string(*source) + ", which is not written";
  }
  return "none";
}

std::string Summary::levelTable() const {
  std::string result = "\nlevel      states\n";
  const auto& sizes = mLevels.sizes();
  for (std::size_t level = 0; level < sizes.size(); ++level) {
    result += rightAligned(level, 5) + rightAligned(sizes[level], 12) + "\n";
  }
  return result;
}

std::string Summary::connectorTable() const {
  std::size_t width = 9;
  for (const Count& count : mConnectors) width = std::max(width, columns(printable(count.first)));
  std::string result = "\n" + padded("connector", width) + "  transitions\n";
  for (const Count& count : mConnectors) {
    result += padded(printable(count.first), width) + rightAligned(count.second, 13) + "\n";
  }
  return mConnectors.empty() ? "" : result;
}

std::string Summary::deadlockTable() const {
  if (mDeadlocks.empty()) return "";
  std::string result = "\ndeadlock       state  level\n";
  const std::size_t shown = std::min(mDeadlocks.size(), SHOWN_DEADLOCKS);
  for (std::size_t i = 0; i < shown; ++i) {
    const std::uint32_t level = mLevels.of(mDeadlocks[i]);
    result += rightAligned(i + 1, 8) + rightAligned(mDeadlocks[i], 12) +
              (level == Levels::UNREACHED ? "      -" : rightAligned(level, 7)) + "\n";
  }
  const std::size_t more = mDeadlocks.size() - shown;
  return more == 0 ? result : result + "     ... and " + std::to_string(more) + " more\n";
}

// ---- JSON ------------------------------------------------------------------------------------

Json Summary::json() const {
  const Graph& graph = mExploration.graph();
  Json result;
  result["file"] = mExploration.files().transitions;
  result["initial"] = graph.initial();
  result["states"] = mExploration.statesFound();
  result["transitions"] = graph.transitions();
  result["levels"] = mLevels.sizes();
  result["widestLevel"] = widestLevel();
  result["meanDegree"] = meanDegree();
  result["largestDegree"] = {{"degree", mLargestDegree}, {"state", mLargestDegreeState}};
  result["deadlocks"] = mDeadlocks;
  result["pruned"] = mExploration.prunedCount();
  const auto state = mExploration.errorState();
  const auto source = mExploration.errorSource();
  result["errorState"] = state ? Json(*state) : Json();
  result["unwrittenErrorFrom"] = source ? Json(*source) : Json();
  result["unexpanded"] = mUnexpanded;
  result["unreached"] = mUnreached;
  result["connectors"] = Json::array();
  for (const Count& count : mConnectors) {
    result["connectors"].push_back({{"connector", count.first}, {"transitions", count.second}});
  }
  return result;
}

}  // namespace Vesk::Lts
