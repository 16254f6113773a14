#include "label-table.hpp"

#include <cstring>

#include "text-hash.hpp"

namespace Vesk::Lts {

namespace {

constexpr std::size_t FIRST_SLOTS = 64;

std::uint32_t hashOf(std::string_view text) {
  return static_cast<std::uint32_t>(textHash(text));
}

}  // namespace

LabelTable::LabelTable() {
  mStarts.push(0);
  rebuild(FIRST_SLOTS);
}

Label LabelTable::intern(std::string_view text) {
  const std::uint32_t hash = hashOf(text);
  std::size_t slot = slotOf(text, hash);
  if (mSlots[slot].label != NONE) return mSlots[slot].label;
  if (2 * (size() + 1) > mSlots.size()) {
    rebuild(2 * mSlots.size());
    slot = slotOf(text, hash);
  }
  const auto label = static_cast<Label>(size());
  mTexts.append(text.data(), text.size());
  mStarts.push(mTexts.size());
  mSlots[slot] = {hash, label};
  return label;
}

Label LabelTable::find(std::string_view text) const {
  return mSlots[slotOf(text, hashOf(text))].label;
}

// Where the label stands, or the free slot that it would get.
std::size_t LabelTable::slotOf(std::string_view wanted, std::uint32_t hash) const {
  const std::size_t mask = mSlots.size() - 1;
  std::size_t at = hash & mask;
  while (mSlots[at].label != NONE) {
    if (mSlots[at].hash == hash && text(mSlots[at].label) == wanted) return at;
    at = (at + 1) & mask;
  }
  return at;
}

void LabelTable::rebuild(std::size_t slots) {
  Column<Slot> old;
  old = std::move(mSlots);
  mSlots = Column<Slot>(slots);
  std::memset(static_cast<void*>(mSlots.data()), 0xFF, slots * sizeof(Slot));
  for (const Slot& slot : old) {
    if (slot.label == NONE) continue;
    std::size_t at = slot.hash & (slots - 1);
    while (mSlots[at].label != NONE) at = (at + 1) & (slots - 1);
    mSlots[at] = slot;
  }
}

}  // namespace Vesk::Lts
