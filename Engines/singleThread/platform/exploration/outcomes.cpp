#include "exploration/outcomes.hpp"

#include <algorithm>

namespace Vesk {

namespace {

std::uint32_t hashOf(std::uint32_t part, const std::uint32_t* numbers, std::uint32_t members) {
  std::uint64_t hash = part * 0x9E3779B97F4A7C15u;
  for (std::uint32_t i = 0; i < members; ++i) {
    hash = (hash ^ numbers[i]) * 0xFF51AFD7ED558CCDu;
    hash ^= hash >> 32;
  }
  return static_cast<std::uint32_t>(hash ^ (hash >> 29));
}

}  // namespace

Outcomes::Outcome* Outcomes::find(Index part, const Number* numbers, Index members) {
  const Cell& cell = mCells[cellOf(hashOf(part, numbers, members), part, numbers, members)];
  return cell.used != 0 ? &mOutcomes[cell.used - 1] : nullptr;
}

Outcomes::Outcome& Outcomes::add(Index part, const Number* numbers, Index members) {
  if (2 * (mOutcomes.size() + 1) > mCells.size()) grow();
  const auto place = static_cast<Index>(mNumbers.size());
  mNumbers.insert(mNumbers.end(), numbers, numbers + members);
  mNumbers.resize(mNumbers.size() + members);
  mOutcomes.push_back({part, place, members, false, false, 0, {}});
  const std::uint32_t hash = hashOf(part, numbers, members);
  mCells[cellOf(hash, part, numbers, members)] = {hash, static_cast<Index>(mOutcomes.size())};
  return mOutcomes.back();
}

// Where the outcome is, or would be.
std::size_t Outcomes::cellOf(std::uint32_t hash, Index part, const Number* numbers,
                             Index members) const {
  const std::size_t last = mCells.size() - 1;
  for (std::size_t i = hash & last;; i = (i + 1) & last) {
    const Cell& cell = mCells[i];
    if (cell.used == 0) return i;
    if (cell.hash != hash) continue;
    const Outcome& outcome = mOutcomes[cell.used - 1];
    if (outcome.part == part && std::equal(numbers, numbers + members, before(outcome))) return i;
  }
}

void Outcomes::grow() {
  std::vector<Cell> larger(2 * mCells.size(), Cell{0, 0});
  const std::size_t last = larger.size() - 1;
  for (const Cell& cell : mCells) {
    if (cell.used == 0) continue;
    std::size_t i = cell.hash & last;
    while (larger[i].used != 0) i = (i + 1) & last;
    larger[i] = cell;
  }
  mCells.swap(larger);
}

std::size_t Outcomes::bytes() const {
  return mOutcomes.size() * sizeof(Outcome) + mNumbers.size() * sizeof(Number) +
         mCells.size() * sizeof(Cell);
}

void Outcomes::clear() {
  mOutcomes = {};
  mNumbers = {};
  mCells.assign(FIRST_CELLS, Cell{0, 0});
  mCells.shrink_to_fit();
}

}  // namespace Vesk
