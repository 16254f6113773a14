// The texts of states in memory.
#ifndef VESK_LTS_STATE_TEXTS_HPP
#define VESK_LTS_STATE_TEXTS_HPP

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

#include "column.hpp"
#include "exploration.hpp"

namespace Vesk::Lts {

class Progress;

class StateTexts {
 public:
  // Of all states, or of those that are wanted.
  StateTexts(const Exploration& exploration, Progress& progress,
             const std::function<bool(State)>& wanted = nullptr);

  // Empty: the state has none. Valid as long as this object.
  std::optional<std::string_view> of(State state) const;
  std::size_t count() const { return mStates.size(); }

 private:
  // In ascending order, as the files have them.
  Column<State> mStates;
  Column<std::size_t> mStarts;
  Column<char> mTexts;
};

}  // namespace Vesk::Lts

#endif
