#include "text-index.hpp"

#include "text-hash.hpp"

namespace Vesk::Lts {

TextIndex::TextIndex(const StateTexts& texts, std::size_t states) : mTexts(texts) {
  std::size_t slots = 16;
  while (slots < 2 * texts.count()) slots *= 2;
  for (std::size_t i = 0; i < slots; ++i) mSlots.push(Graph::NO_STATE);
  for (std::size_t i = states; i-- > 0;) {
    const auto state = static_cast<State>(i);
    const auto text = texts.of(state);
    if (!text) continue;
    State& slot = mSlots[slotOf(*text)];
    if (slot != Graph::NO_STATE) mFurther[state] = slot;
    slot = state;
  }
}

State TextIndex::next(std::string_view text) {
  State& slot = mSlots[slotOf(text)];
  const State found = slot;
  const auto further = mFurther.find(found);
  if (further != mFurther.end()) slot = further->second;
  return found;
}

// Where the text stands, or the free slot that it would get.
std::size_t TextIndex::slotOf(std::string_view text) const {
  const std::size_t mask = mSlots.size() - 1;
  auto at = static_cast<std::size_t>(textHash(text)) & mask;
  while (mSlots[at] != Graph::NO_STATE && *mTexts.of(mSlots[at]) != text) at = (at + 1) & mask;
  return at;
}

}  // namespace Vesk::Lts
