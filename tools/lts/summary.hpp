// What is to be known about an exploration at a glance.
#ifndef VESK_LTS_SUMMARY_HPP
#define VESK_LTS_SUMMARY_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "exploration.hpp"
#include "json-text.hpp"
#include "search.hpp"

namespace Vesk::Lts {

// The part of a label that names the connector: "compound/connector". A label that is built in
// another way is taken whole.
std::string_view connectorOf(std::string_view label);

// Deadlocks by their distance from the initial state, then by their numbers; those that cannot be
// reached come last.
std::vector<State> deadlocksByLevel(const Exploration& exploration, const Levels& levels);

class Summary {
 public:
  explicit Summary(const Exploration& exploration);

  const std::vector<std::uint64_t>& levelSizes() const { return mLevels.sizes(); }
  // For a terminal.
  std::string text() const;
  Json json() const;

 private:
  using Count = std::pair<std::string, std::uint64_t>;

  void countDegrees();
  void countConnectors();
  std::size_t widestLevel() const;
  double meanDegree() const;
  std::string errorText() const;
  std::string levelTable() const;
  std::string connectorTable() const;
  std::string deadlockTable() const;

  const Exploration& mExploration;
  const Levels mLevels;
  const std::vector<State> mDeadlocks;
  std::uint64_t mLargestDegree = 0;
  State mLargestDegreeState = 0;
  std::uint64_t mUnexpanded = 0;
  std::uint64_t mUnreached = 0;
  std::vector<Count> mConnectors;  // by name
};

}  // namespace Vesk::Lts

#endif
