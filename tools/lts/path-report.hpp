// Shows a path step by step.
#ifndef VESK_LTS_PATH_REPORT_HPP
#define VESK_LTS_PATH_REPORT_HPP

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exploration.hpp"
#include "json-text.hpp"
#include "search.hpp"
#include "state-texts.hpp"

namespace Vesk::Lts {

class Progress;

// Only the texts of the states of the path are kept. What a step has changed in them is marked.
class PathReport {
 public:
  // The exploration must live as long.
  PathReport(const Exploration& exploration, const Path& path, Progress& progress);

  std::string text() const;
  // An object with the start and the list `steps`.
  Json json() const;

 private:
  struct Step {
    State from;
    Label label;
    State to;
  };

  static std::vector<Step> stepsOf(const Graph& graph, const Path& path);
  static StateTexts textsOf(const Exploration& exploration, const Path& path, Progress& progress);
  State end() const { return mSteps.empty() ? mStart : mSteps.back().to; }
  std::string_view labelOf(const Step& step) const;
  std::string kindOf(State state) const;
  std::string stateLines(State state, const std::optional<std::string_view>& before) const;
  Json stateJson(State state) const;
  Json stepJson(const Step& step) const;

  const Exploration& mExploration;
  const State mStart;
  const std::vector<Step> mSteps;
  const StateTexts mTexts;
};

}  // namespace Vesk::Lts

#endif
