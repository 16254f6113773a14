#include "exploration/outcomes.hpp"

#include <algorithm>

namespace Vesk {

void Outcomes::Key::mix() {
  mKind = 2 * mPart;
  mCode = 0;
  for (Index i = 0; i < mMembers; ++i) {
    mCode = (mCode ^ mNumbers[i]) * 0xFF51AFD7ED558CCDu;
    mCode ^= mCode >> 32;
  }
}

Outcomes::Index Outcomes::add(const Key& key, bool isLegal) {
  if (2 * (mOutcomes.size() + 1) > mCells.size()) grow();
  const auto place = static_cast<Index>(mNumbers.size());
  mNumbers.insert(mNumbers.end(), key.mNumbers, key.mNumbers + key.mMembers);
  mNumbers.resize(mNumbers.size() + key.mMembers);
  mOutcomes.push_back({key.mPart, place, key.mMembers, isLegal, false, 0, {}});
  mCells[cellOf(key)] = {key.mCode, key.mKind, static_cast<Index>(mOutcomes.size())};
  mBytes = mOutcomes.size() * sizeof(Outcome) + mNumbers.size() * sizeof(Number) +
           mCells.size() * sizeof(Cell);
  return static_cast<Index>(mOutcomes.size() - 1);
}

bool Outcomes::hasNumbers(const Outcome& outcome, const Key& key) const {
  const Number* before = mNumbers.data() + outcome.numbers;
  return std::equal(key.mNumbers, key.mNumbers + key.mMembers, before);
}

void Outcomes::grow() {
  std::vector<Cell> larger(2 * mCells.size(), Cell{0, 0, 0});
  const std::size_t last = larger.size() - 1;
  for (const Cell& cell : mCells) {
    if (cell.used == 0) continue;
    std::size_t i = hashOf(cell.code, cell.kind) & last;
    while (larger[i].used != 0) i = (i + 1) & last;
    larger[i] = cell;
  }
  mCells.swap(larger);
}

void Outcomes::clear() {
  mBytes = 0;
  mOutcomes = {};
  mNumbers = {};
  mCells.assign(FIRST_CELLS, Cell{0, 0, 0});
  mCells.shrink_to_fit();
}

}  // namespace Vesk
