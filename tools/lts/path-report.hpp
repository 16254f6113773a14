// Shows a path step by step.
#ifndef VESK_LTS_PATH_REPORT_HPP
#define VESK_LTS_PATH_REPORT_HPP

#include <string>

#include "exploration.hpp"
#include "json-text.hpp"
#include "search.hpp"

namespace Vesk::Lts {

class Progress;

class PathReport {
 public:
  // Reads the texts of the states of the path. What a step has changed is marked.
  PathReport(const Exploration& exploration, const Path& path, Progress& progress);

  std::string text() const;
  // An object with the start and the list `steps`.
  Json json() const;

 private:
  struct Step {
    State from;
    std::string label;
    State to;
  };

  std::string kindOf(State state) const;
  std::string stateLines(State state, const std::string* before) const;
  Json stateJson(State state) const;
  const std::string* textOf(State state) const;

  const Exploration& mExploration;
  const State mStart;
  std::vector<Step> mSteps;
  std::vector<std::pair<State, std::string>> mTexts;  // by state
};

}  // namespace Vesk::Lts

#endif
