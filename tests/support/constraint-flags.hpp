// A slow model of constraints: one over 0 .. 39 as forty flags, each with the attributes of the
// interval that it belongs to.
#ifndef VESK_TESTS_CONSTRAINT_FLAGS_HPP
#define VESK_TESTS_CONSTRAINT_FLAGS_HPP

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>

#include "constraint-probe.hpp"

constexpr int CELLS = 40;

// What clean() leaves of a list, decided for each pair of neighbours by itself.
inline bool fuses(const Piece& previous, const Piece& next) {
  const bool sameKind = previous.urgency == next.urgency && next.urgency != DELAYABLE;
  const bool delayed = previous.urgency == LAZY && next.urgency == DELAYABLE;
  return next.low == previous.high + 1 && previous.dominated == next.dominated &&
         previous.observable == next.observable && (sameKind || delayed);
}

inline Pieces fused(const Pieces& list) {
  Pieces result;
  result.reserve(list.size());
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i > 0 && fuses(list[i - 1], list[i])) {
      result.back().high = list[i].high;
      result.back().urgency = list[i].urgency;
    } else {
      result.push_back(list[i]);
    }
  }
  return result;
}

using Instants = std::bitset<CELLS>;

// The instants of 0 .. 39 that some interval of the list holds.
inline Instants instants(const Pieces& list) {
  Instants result;
  for (const Piece& piece : list) {
    const int high = static_cast<int>(std::min<long long>(CELLS - 1, piece.high));
    for (int i = static_cast<int>(std::max(0LL, piece.low)); i <= high; ++i) {
      result.set(static_cast<std::size_t>(i));
    }
  }
  return result;
}

struct Cell {
  bool present = false;
  Urgency urgency = LAZY;
  bool dominated = false;
  bool observable = false;
  int interval = 0;  // neighbours with the same number belong to one interval
};

class Flags {
 public:
  explicit Flags(const Pieces& list) {
    for (const Piece& piece : list) unite(piece);
  }

  const Cell& operator[](int i) const { return mCells[static_cast<std::size_t>(i)]; }
  bool holds(long long t) const {
    return 0 <= t && t < CELLS && (*this)[static_cast<int>(t)].present;
  }
  int first(int i) const {
    while (joined(i - 1, i)) --i;
    return i;
  }
  int last(int i) const {
    while (joined(i, i + 1)) ++i;
    return i;
  }
  Pieces pieces() const {
    Pieces list;
    list.reserve(CELLS);
    for (int i = 0; i < CELLS; ++i) {
      if (!holds(i)) continue;
      const Cell& cell = (*this)[i];
      list.emplace_back(i, last(i), cell.urgency, static_cast<Domination>(cell.dominated),
                        static_cast<Observability>(cell.observable));
      i = last(i);
    }
    return list;
  }

  void unite(const Piece& piece) {
    ++mIntervals;
    for (int i = low(piece); i <= high(piece); ++i) {
      at(i) = {true, piece.urgency, piece.dominated, piece.observable, mIntervals};
    }
  }
  // What lies in both, cut at the ends of the intervals of both.
  void intersect(const Flags& other) {
    for (int i = 0; i < CELLS; ++i) {
      Cell& cell = at(i);
      const Cell& cut = other[i];
      cell.present = cell.present && cut.present;
      cell.urgency = std::max(cell.urgency, cut.urgency);
      cell.observable = cell.observable || cut.observable;
      cell.interval = cell.interval * 100 + cut.interval;
    }
  }
  // Plain difference. Then the loss: the remainder at the right of the last interval met goes too
  // when that is not the first one met and the first one is wholly covered. True when it was lost.
  bool subtract(const Piece& piece) {
    int begin = low(piece);
    int end = high(piece);
    while (begin <= end && !holds(begin)) ++begin;
    while (begin <= end && !holds(end)) --end;
    if (begin > end) return false;
    const bool covered = first(begin) >= low(piece) && last(begin) <= high(piece);
    const int remainder = last(end);
    const bool lost = covered && first(end) != first(begin) && remainder > high(piece);
    for (int i = begin; i <= (lost ? remainder : end); ++i) at(i).present = false;
    return lost;
  }
  // Marks what the piece covers; what is not dominated yet is cut at its ends.
  void dominate(const Piece& piece) {
    const std::array<Cell, CELLS> before = mCells;
    mIntervals += 50;
    for (int i = low(piece); i <= high(piece); ++i) {
      const Cell& cell = before[static_cast<std::size_t>(i)];
      if (!cell.present || cell.dominated) continue;
      at(i).dominated = true;
      at(i).interval = mIntervals + cell.interval;
    }
  }
  void applyDomination() {
    for (Cell& cell : mCells) cell.present = cell.present && !cell.dominated;
  }

 private:
  static int low(const Piece& piece) { return static_cast<int>(std::max(0LL, piece.low)); }
  static int high(const Piece& piece) {
    return static_cast<int>(std::min<long long>(CELLS - 1, piece.high));
  }
  Cell& at(int i) { return mCells[static_cast<std::size_t>(i)]; }
  bool joined(int i, int j) const {
    return holds(i) && holds(j) && (*this)[i].interval == (*this)[j].interval &&
           (*this)[i].dominated == (*this)[j].dominated;
  }

  std::array<Cell, CELLS> mCells;
  int mIntervals = 0;
};

// ---- Queries

// The intervals that lie wholly before t, instant by instant.
inline int intervalsBefore(const Flags& model, int t) {
  int count = 0;
  for (int i = 0; i < std::min(t, CELLS); ++i) {
    if (model.holds(i) && model.last(i) == i) ++count;
  }
  return count;
}

inline long long nextInstant(const Flags& model, int t) {
  for (int i = t; i < CELLS; ++i) {
    if (model.holds(i)) return i;
  }
  return EVER;
}

// Walks from t on until something forces: an eager instant, or the end of a delayable interval.
inline long long forcedInstant(const Flags& model, int t, bool observableOnly) {
  for (int i = t; i < CELLS; ++i) {
    if (!model.holds(i) || (observableOnly && !model[i].observable)) continue;
    if (model[i].urgency == EAGER) return i;
    if (model[i].urgency == DELAYABLE) return model.last(i);
  }
  return EVER;
}

#endif
