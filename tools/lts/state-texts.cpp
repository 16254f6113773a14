#include "state-texts.hpp"

#include <algorithm>

namespace Vesk::Lts {

StateTexts::StateTexts(const Exploration& exploration, Progress& progress,
                       const std::function<bool(State)>& wanted) {
  exploration.readTexts(progress, [&](State state, std::string_view text) {
    if (wanted && !wanted(state)) return;
    mStates.push(state);
    mStarts.push(mTexts.size());
    mTexts.append(text.data(), text.size());
  });
  mStarts.push(mTexts.size());
}

// Most often every state has a text, so that its place is its number.
std::optional<std::string_view> StateTexts::of(State state) const {
  std::size_t at = state;
  if (at >= mStates.size() || mStates[at] != state) {
    const State* found = std::lower_bound(mStates.begin(), mStates.end(), state);
    if (found == mStates.end() || *found != state) return std::nullopt;
    at = static_cast<std::size_t>(found - mStates.begin());
  }
  return std::string_view(mTexts.data() + mStarts[at], mStarts[at + 1] - mStarts[at]);
}

}  // namespace Vesk::Lts
