#include "exploration/key-table.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "exploration/memory.hpp"

namespace Vesk {

namespace {

constexpr std::size_t CHUNK = std::size_t{1} << 24;  // bytes, or one key when it is longer
constexpr std::size_t SMALL = std::size_t{1} << 21;  // bytes of the first chunk in small pages
constexpr std::size_t FIRST_SLOTS = 1024;

const char TOO_MANY_STATES[] = "too many states";

}  // namespace

KeyTable::KeyTable(std::size_t bytes) : mSlots(makeSlots(FIRST_SLOTS)), mLast(FIRST_SLOTS - 1) {
  takeBytes(bytes);
}

void KeyTable::takeBytes(std::size_t bytes) {
  mBytes = bytes;
  mShift = 0;
  while (mShift < 20 && (bytes << (mShift + 1)) <= CHUNK) ++mShift;
}

void KeyTable::add(const unsigned char* key, std::uint64_t hash) {
  if (mCount == MOST) throw std::length_error(TOO_MANY_STATES);
  if (4 * (std::size_t{mCount} + 1) > 3 * (mLast + 1)) grow();
  if (mCount >> mShift == mChunks.size()) {
    addChunk();
  }
  const StateNumber number = mCount++;
  if (mBytes != 0) std::memcpy(const_cast<unsigned char*>(this->key(number)), key, mBytes);
  put({folded(hash), number + 1});
}

std::unique_ptr<KeyTable::Slot[]> KeyTable::makeSlots(std::size_t count) {
  std::unique_ptr<Slot[]> slots(new Slot[count]);
  preferLargePages(slots.get(), count * sizeof(Slot));
  std::fill_n(slots.get(), count, Slot{0, 0});
  return slots;
}

// A small search never touches most of its only chunk, and would pay for a large page.
void KeyTable::addChunk() {
  Chunk chunk(new unsigned char[chunkBytes()]);
  const std::size_t small = mChunks.empty() ? std::min(SMALL, chunkBytes()) : 0;
  preferLargePages(chunk.get() + small, chunkBytes() - small);
  mChunks.push_back(std::move(chunk));
}

void KeyTable::put(const Slot& added) {
  std::size_t slot = added.hash & mLast;
  while (mSlots[slot].used != 0) slot = (slot + 1) & mLast;
  mSlots[slot] = added;
}

void KeyTable::grow() {
  const std::size_t count = mLast + 1;
  auto slots = makeSlots(2 * count);
  mSlots.swap(slots);
  mLast = 2 * count - 1;
  for (std::size_t slot = 0; slot < count; ++slot) {
    if (slots[slot].used != 0) put(slots[slot]);
  }
}

// The former chunks are released one by one as they are copied.
void KeyTable::convert(const KeyLayout& from, const KeyLayout& to) {
  KeyTable converted(to.bytes());
  for (StateNumber number = 0; number < mCount; ++number) {
    if (number >> converted.mShift == converted.mChunks.size()) {
      converted.addChunk();
    }
    to.convert(from, key(number), const_cast<unsigned char*>(converted.key(number)));
    const bool startsChunk = (number & ((1u << mShift) - 1)) == 0;
    if (startsChunk && number != 0) mChunks[(number >> mShift) - 1].reset();
  }
  mBytes = converted.mBytes;
  mShift = converted.mShift;
  mChunks.swap(converted.mChunks);
}

}  // namespace Vesk
