#include "exploration/state-table.hpp"

#include <cstring>
#include <stdexcept>

#include "exploration/memory.hpp"
#include "exploration/words.hpp"

namespace Vesk {

namespace {

// Characters. A small search would pay for large pages that it does not fill.
constexpr std::size_t FIRST_BLOCK = std::size_t{1} << 20;
constexpr std::size_t BLOCK = std::size_t{1} << 24;
constexpr std::size_t FIRST_SLOTS = 1024;

const char TOO_MANY_STATES[] = "too many states";

std::uint64_t mix(std::uint64_t word) {
  word *= 0x9E3779B97F4A7C15u;
  return word ^ (word >> 32);
}

// Reads eight characters at a time, the rest as one padded word.
std::uint32_t hashOf(const char* text, std::size_t length) {
  std::uint64_t hash = mix(length);
  for (; length >= sizeof hash; text += sizeof hash, length -= sizeof hash) {
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    hash = mix(hash ^ word);
  }
  std::uint64_t rest = 0;
  if (length != 0) std::memcpy(&rest, text, length);
  hash = mix(mix(hash ^ rest));
  return static_cast<std::uint32_t>(hash >> 16);
}

}  // namespace

// ---- Arena -----------------------------------------------------------------------------------

char* TextArena::allocate(std::size_t length) {
  if (length > mRoom) {
    const std::size_t usual = mBlocks.empty() ? FIRST_BLOCK : BLOCK;
    const bool isLong = length > usual / 4;
    const std::size_t size = (isLong ? length : usual) + WORD;
    mBlocks.push_back(std::unique_ptr<char[]>(new char[size]));
    if (isLong) return mBlocks.back().get();
    if (usual == BLOCK) preferLargePages(mBlocks.back().get(), size);
    mFree = mBlocks.back().get();
    mRoom = usual;
  }
  char* text = mFree;
  mFree += length;
  mRoom -= length;
  return text;
}

// ---- Table -----------------------------------------------------------------------------------

StateTable::StateTable(StateNumber most) : mMost(most), mSlots(FIRST_SLOTS, Slot{0, 0}) {}

StateTable::Found StateTable::insert(const Node* tree) {
  if (count() == 0) mShape.take(tree);
  const bool packed = pack(tree);
  const std::uint32_t hash = hashOf(mText.data(), mText.length());
  const std::size_t slot = find(hash);
  if (mSlots[slot].used != 0) return {mSlots[slot].used - 1, false, packed};
  return {add(slot, hash), true, packed};
}

bool StateTable::pack(const Node* tree) {
  mText.clear();
  mLengths.clear();
  const bool plainRoot = tree != nullptr && tree->outTrans() == 0;
  if (plainRoot && mShape.pack(tree, mText, mLengths)) return true;
  mText.clear();
  mLengths.clear();
  mText.append(tree);
  return false;
}

// Nothing is changed until there is memory for everything.
StateNumber StateTable::add(std::size_t slot, std::uint32_t hash) {
  const StateNumber number = count();
  if (number == mMost) throw std::length_error(TOO_MANY_STATES);
  if (2 * (std::size_t{number} + 1) > mSlots.size()) {
    grow();
    slot = find(hash);
  }
  char* text = mArena.allocate(mText.length() + mLengths.size());
  if (mText.length() != 0) std::memcpy(text, mText.data(), mText.length());
  if (!mLengths.empty()) std::memcpy(text + mText.length(), mLengths.data(), mLengths.size());
  mTexts.push_back({text, mText.length()});
  mSlots[slot] = {hash, number + 1};
  return number;
}

// Where the text that is looked up is, or would be.
std::size_t StateTable::find(std::uint32_t hash) const {
  const std::size_t last = mSlots.size() - 1;
  std::size_t slot = hash & last;
  while (mSlots[slot].used != 0 && !holds(mSlots[slot], hash)) slot = (slot + 1) & last;
  return slot;
}

bool StateTable::holds(const Slot& slot, std::uint32_t hash) const {
  if (slot.hash != hash) return false;
  const Text& text = mTexts[slot.used - 1];
  if (text.length != mText.length()) return false;
  return text.length == 0 || std::memcmp(text.data, mText.data(), text.length) == 0;
}

void StateTable::grow() {
  std::vector<Slot> larger;
  larger.reserve(2 * mSlots.size());
  preferLargePages(larger.data(), larger.capacity() * sizeof(Slot));
  larger.resize(2 * mSlots.size(), Slot{0, 0});
  const std::size_t last = larger.size() - 1;
  for (const Slot& old : mSlots) {
    if (old.used == 0) continue;
    std::size_t slot = old.hash & last;
    while (larger[slot].used != 0) slot = (slot + 1) & last;
    larger[slot] = old;
  }
  mSlots.swap(larger);
}

}  // namespace Vesk
