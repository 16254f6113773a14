#include "exploration/key-table.hpp"

#include <cstring>
#include <stdexcept>

namespace Vesk {

namespace {

constexpr std::size_t CHUNK = std::size_t{1} << 18;  // bytes, or one key when it is longer
constexpr std::size_t FIRST_SLOTS = 1024;

const char TOO_MANY_STATES[] = "too many states";

}  // namespace

KeyTable::KeyTable(std::size_t bytes) : mSlots(FIRST_SLOTS, Slot{0, 0}) {
  takeBytes(bytes);
}

void KeyTable::takeBytes(std::size_t bytes) {
  mBytes = bytes;
  mShift = 0;
  while (mShift < 16 && (bytes << (mShift + 1)) <= CHUNK) ++mShift;
}

void KeyTable::add(const unsigned char* key, std::uint64_t hash) {
  if (mCount == MOST) throw std::length_error(TOO_MANY_STATES);
  if (4 * (std::size_t{mCount} + 1) > 3 * mSlots.size()) grow();
  if (mCount >> mShift == mChunks.size()) {
    mChunks.push_back(Chunk(new unsigned char[chunkBytes()]));
  }
  const StateNumber number = mCount++;
  if (mBytes != 0) std::memcpy(const_cast<unsigned char*>(this->key(number)), key, mBytes);
  put(mSlots, {folded(hash), number + 1});
}

void KeyTable::put(std::vector<Slot>& slots, const Slot& added) {
  const std::size_t last = slots.size() - 1;
  std::size_t slot = added.hash & last;
  while (slots[slot].used != 0) slot = (slot + 1) & last;
  slots[slot] = added;
}

void KeyTable::grow() {
  std::vector<Slot> larger(2 * mSlots.size(), Slot{0, 0});
  for (const Slot& slot : mSlots) {
    if (slot.used != 0) put(larger, slot);
  }
  mSlots.swap(larger);
}

// The former chunks are released one by one as they are copied.
void KeyTable::convert(const KeyLayout& from, const KeyLayout& to) {
  KeyTable converted(to.bytes());
  for (StateNumber number = 0; number < mCount; ++number) {
    if (number >> converted.mShift == converted.mChunks.size()) {
      converted.mChunks.push_back(Chunk(new unsigned char[converted.chunkBytes()]));
    }
    to.convert(from, key(number), const_cast<unsigned char*>(converted.key(number)));
    if (number != 0 && (number & ((1u << mShift) - 1)) == 0)
      mChunks[(number >> mShift) - 1].reset();
  }
  mBytes = converted.mBytes;
  mShift = converted.mShift;
  mChunks.swap(converted.mChunks);
}

}  // namespace Vesk
