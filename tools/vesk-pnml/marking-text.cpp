#include "marking-text.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace {

constexpr char SEPARATOR = ',';
constexpr std::size_t BLOCK = 64;  // characters compared at once

// The text of one place.
class PlaceText {
 public:
  explicit PlaceText(int tokens) {
    char* const end = std::to_chars(mText, mText + sizeof mText - 1, tokens).ptr;
    *end = SEPARATOR;
    mLength = static_cast<std::size_t>(end + 1 - mText);
  }
  const char* data() const { return mText; }
  std::size_t length() const { return mLength; }

 private:
  char mText[16];
  std::size_t mLength;
};

}  // namespace

void MarkingText::append(std::string& text, int tokens) {
  const PlaceText place(tokens);
  text.append(place.data(), place.length());
}

int MarkingText::read(const char*& cursor) {
  int tokens = 0;
  while ('0' <= *cursor && *cursor <= '9') tokens = 10 * tokens + (*cursor++ - '0');
  if (*cursor == SEPARATOR) ++cursor;
  return tokens;
}

void MarkingText::clear() {
  mText.clear();
  mStarts.assign(1, 0);
  mPlaces.clear();
}

void MarkingText::add(int tokens) {
  const int place = static_cast<int>(mStarts.size()) - 1;
  append(mText, tokens);
  mStarts.push_back(mText.size());
  mPlaces.resize(mText.size(), place);
}

std::size_t MarkingText::lengthOf(int place) const {
  const auto index = static_cast<std::size_t>(place);
  return mStarts[index + 1] - mStarts[index];
}

bool MarkingText::replace(const Change& change) {
  const PlaceText place(change.tokens);
  if (place.length() != lengthOf(change.place)) return false;
  std::memcpy(&mText[mStarts[static_cast<std::size_t>(change.place)]], place.data(),
              place.length());
  return true;
}

bool MarkingText::differences(const char* other, std::vector<Change>& changes) const {
  changes.clear();
  if (std::strlen(other) != mText.size()) return false;
  for (std::size_t first = 0; first < mText.size(); first += BLOCK) {
    const std::size_t last = std::min(first + BLOCK, mText.size());
    if (std::memcmp(mText.data() + first, other + first, last - first) == 0) continue;
    if (!compareBlock(other, first, last, changes)) return false;
  }
  return true;
}

// Where the differing numbers take the same room and all else is equal, every number stands where
// it stood.
bool MarkingText::compareBlock(const char* other, std::size_t first, std::size_t last,
                               std::vector<Change>& changes) const {
  for (std::size_t i = first; i < last; ++i) {
    if (mText[i] == other[i]) continue;
    const int place = mPlaces[i];
    if (!changes.empty() && changes.back().place == place) continue;
    const char* const start = other + mStarts[static_cast<std::size_t>(place)];
    const char* cursor = start;
    const int tokens = read(cursor);
    if (static_cast<std::size_t>(cursor - start) != lengthOf(place)) return false;
    changes.push_back({place, tokens});
  }
  return true;
}
