// The algebra of constraints against a slow model: a constraint over 0 .. 39 as forty flags, each
// with the attributes of the interval that it belongs to.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <limits>

#include "constraint-flags.hpp"

using Vesk::Time;

namespace {

constexpr int ROUNDS = 100000;

// Sorted, disjoint, not empty; neighbours may be adjacent.
Pieces randomPieces(Draw& draw) {
  Pieces list;
  list.reserve(8);
  const bool plain = draw.below(3) == 0;
  int count = draw.below(7);
  for (int low = draw.below(8); low < CELLS && count > 0; --count) {
    const int high = std::min(CELLS - 1, low + draw.below(9));
    list.push_back(plain ? Piece(low, high, EAGER) : randomPiece(draw, low, high));
    low = high + 1 + std::max(0, draw.below(7) - 2);
  }
  return list;
}

// The same with infinite bounds in the place of 0 and 39.
Pieces unbounded(Pieces list) {
  for (Piece& piece : list) {
    if (piece.low == 0) piece.low = NEVER;
    if (piece.high == CELLS - 1) piece.high = EVER;
  }
  return list;
}

Pieces shifted(Pieces list, long long shift) {
  for (Piece& piece : list) {
    if (piece.low != NEVER) piece.low += shift;
    if (piece.high != EVER) piece.high += shift;
  }
  return list;
}

// One random case: a constraint and an operand over another clock, with the two in model terms.
struct Case {
  explicit Case(Draw& draw)
      : left(randomPieces(draw)),
        right(randomPieces(draw)),
        infinite(draw.below(3) == 0),
        here(Time(draw.between(-9, 9))),
        there(Time(draw.between(-9, 9))) {}
  Pieces scaled(const Pieces& list) const { return infinite ? unbounded(list) : list; }
  Probe constraint() const { return Probe(scaled(left), &here); }
  Probe operand() const { return operand(right); }
  Probe operand(const Pieces& list) const {
    const Time drift = there.reading - here.reading;
    return Probe(shifted(scaled(list), drift.microseconds()), &there);
  }

  Pieces left;
  Pieces right;
  bool infinite;
  ShownClock here;
  ShownClock there;
};

bool overlap(const Pieces& left, const Pieces& right) {
  for (const Piece& a : left) {
    for (const Piece& b : right) {
      if (a.low <= b.high && b.low <= a.high) return true;
    }
  }
  return false;
}

bool covers(const Pieces& list, long long t) {
  return std::any_of(list.begin(), list.end(),
                     [t](const Piece& piece) { return piece.low <= t && t <= piece.high; });
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Operators against the forty flags

TEST(ConstraintAlgebraTest, AnIntersectionIsWhatLiesInBothAndLeavesNeighboursUnfused) {
  Draw draw(21);
  for (int round = 0; round < ROUNDS; ++round) {
    const Case random(draw);
    Flags model(random.left);
    model.intersect(Flags(random.right));
    Probe probe = random.constraint();
    probe &= random.operand();
    ASSERT_EQ(probe.pieces(), random.scaled(model.pieces())) << round;
    ASSERT_TRUE(probe.check()) << round;
  }
}

TEST(ConstraintAlgebraTest, AUnionWithoutOverlapsIsWhatLiesInEither) {
  Draw draw(22);
  int rounds = 0;
  while (rounds < ROUNDS) {
    const Case random(draw);
    if (overlap(random.left, random.right)) continue;
    ++rounds;
    Flags model(random.left);
    for (const Piece& piece : random.right) model.unite(piece);
    Probe probe = random.constraint();
    probe |= random.operand();
    ASSERT_EQ(probe.pieces(), random.scaled(fused(model.pieces()))) << rounds;
    ASSERT_TRUE(probe.check()) << rounds;
  }
}

TEST(ConstraintAlgebraTest, AUnionKeepsAnOverlapAsAnEntryBeforeTheOneThatHoldsItsLowerBound) {
  Draw draw(23);
  int overlaps = 0;
  for (int round = 0; round < ROUNDS; ++round) {
    const Case random(draw);
    if (random.right.empty()) continue;
    const Piece added = random.right.front();
    Pieces expected = random.left;
    std::size_t place = 0;
    while (place < expected.size() && expected[place].high < added.low) ++place;
    expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(place), added);
    if (overlap(random.left, {added})) ++overlaps;
    Probe probe = random.constraint();
    probe |= random.operand({added});
    ASSERT_EQ(probe.pieces(), random.scaled(fused(expected))) << round;
  }
  EXPECT_GT(overlaps, ROUNDS / 4);
}

TEST(ConstraintAlgebraTest, AUnionWithOverlapsHoldsEveryInstantOfBothAndNoOther) {
  Draw draw(24);
  for (int round = 0; round < ROUNDS; ++round) {
    const Case random(draw);
    Probe probe = random.constraint();
    probe |= random.operand();
    const Pieces result = probe.pieces();
    ASSERT_EQ(instants(result), instants(random.left) | instants(random.right)) << round;
    ASSERT_LE(result.size(), random.left.size() + random.right.size()) << round;
    ASSERT_EQ(probe.check(), !overlap(random.left, random.right)) << round;
  }
}

TEST(ConstraintAlgebraTest,
     ADifferenceIsPlainExceptThatARemainderIsLostWhenTheFirstIntervalMetIsWhollyCovered) {
  Draw draw(25);
  int losses = 0;
  for (int round = 0; round < ROUNDS; ++round) {
    const Case random(draw);
    Flags model(random.left);
    bool lost = false;
    for (const Piece& piece : random.right) lost = model.subtract(piece) || lost;
    Probe probe = random.constraint();
    probe -= random.operand();
    ASSERT_EQ(probe.pieces(), random.scaled(fused(model.pieces()))) << round;
    ASSERT_TRUE(probe.check()) << round;
    if (lost) ++losses;
    const Instants plain = instants(random.left) & ~instants(random.right);
    const Instants result = instants(probe.pieces());
    if (!lost) {
      ASSERT_EQ(result, plain) << round;
    }
    ASSERT_TRUE((result & ~plain).none()) << round;
  }
  EXPECT_GT(losses, ROUNDS / 20);
}

TEST(ConstraintAlgebraTest, ADifferenceWithDominationMarksExactlyWhatIsCovered) {
  Draw draw(26);
  for (int round = 0; round < ROUNDS; ++round) {
    const Case random(draw);
    Flags model(random.left);
    for (const Piece& piece : random.right) model.dominate(piece);
    Probe probe = random.constraint();
    probe.setDomination(true);
    probe -= random.operand();
    ASSERT_EQ(probe.pieces(), random.scaled(fused(model.pieces()))) << round;
    ASSERT_TRUE(probe.check()) << round;
    ASSERT_EQ(instants(probe.pieces()), instants(random.left)) << round;
  }
}

// The delay is never longer than the gaps of the operand: its intervals stay disjoint.
TEST(ConstraintAlgebraTest, ADelayWidensTheOperandOfADifferenceDownwards) {
  Draw draw(27);
  for (int round = 0; round < ROUNDS; ++round) {
    Case random(draw);
    random.infinite = false;
    int delay = draw.below(10);
    for (std::size_t i = 1; i < random.right.size(); ++i) {
      const long long gap = random.right[i].low - random.right[i - 1].high - 1;
      delay = std::min(delay, static_cast<int>(gap));
    }
    const bool domination = draw.coin();
    Flags model(random.left);
    for (Piece piece : random.right) {
      piece.low -= delay;
      if (domination) {
        model.dominate(piece);
      } else {
        model.subtract(piece);
      }
    }
    Probe probe = random.constraint();
    probe.setDelay(Time(delay));
    probe.setDomination(domination);
    probe -= random.operand();
    ASSERT_EQ(probe.pieces(), fused(model.pieces())) << round;
  }
}

TEST(ConstraintAlgebraTest, AShiftMovesEveryInstantByTheSame) {
  Draw draw(28);
  for (int round = 0; round < ROUNDS; ++round) {
    const Case random(draw);
    const int shift = draw.between(-60, 60);
    Probe up = random.constraint();
    up += Time(shift);
    ASSERT_EQ(up.pieces(), shifted(random.scaled(random.left), shift)) << round;
    Probe down = random.constraint();
    down -= Time(shift);
    ASSERT_EQ(down.pieces(), shifted(random.scaled(random.left), -shift)) << round;
    up -= Time(shift);
    ASSERT_EQ(up.pieces(), random.scaled(random.left)) << round;
  }
}

TEST(ConstraintAlgebraTest, CleanDropsEmptyIntervalsAndFusesNeighbours) {
  Draw draw(29);
  int fusions = 0;
  for (int round = 0; round < ROUNDS; ++round) {
    const Pieces list = randomPieces(draw);
    Pieces withEmpty = list;
    for (int i = draw.below(3); i > 0; --i) {
      const auto place = draw.below(static_cast<int>(withEmpty.size()) + 1);
      const Piece empty = draw.coin() ? Piece(EVER, NEVER) : Piece(7, 6, EAGER);
      withEmpty.insert(withEmpty.begin() + place, empty);
    }
    Probe probe(withEmpty);
    probe.clean();
    ASSERT_EQ(probe.pieces(), fused(list)) << round;
    if (probe.size() < list.size()) ++fusions;
    ASSERT_EQ(instants(probe.pieces()), instants(list)) << round;
  }
  EXPECT_GT(fusions, ROUNDS / 20);
}

TEST(ConstraintAlgebraTest, ApplyDominationRemovesExactlyWhatIsDominated) {
  Draw draw(30);
  for (int round = 0; round < ROUNDS; ++round) {
    const Case random(draw);
    Flags model(random.left);
    model.applyDomination();
    Probe probe = random.constraint();
    probe.applyDomination();
    ASSERT_EQ(probe.pieces(), random.scaled(model.pieces())) << round;
  }
}

// ---------------------------------------------------------------------------------------------
// Queries against the forty flags

namespace {

void comparePlaces(const Probe& probe, const Flags& model, int t) {
  const int before = intervalsBefore(model, t);
  const bool held = model.holds(t);
  const bool none = probe.empty();
  int after = 77;
  ASSERT_EQ(probe.position(Time(t), after), held ? before : -1);
  ASSERT_EQ(after, held || none ? -1 : before);
  ASSERT_EQ(probe.after(Time(t)), after);
  ASSERT_EQ(probe.before(Time(t)), held || none ? -2 : before - 1);
}

void compareTimes(const Probe& probe, const Flags& model, int t) {
  const bool held = model.holds(t);
  ASSERT_EQ(probe.in(Time(t)), held);
  ASSERT_EQ(probe.next(Time(t)), Time(nextInstant(model, t)));
  ASSERT_EQ(probe.deadline(Time(t)), Time(forcedInstant(model, t, false)));
  ASSERT_EQ(probe.observableDeadline(Time(t)), Time(forcedInstant(model, t, true)));
  ASSERT_EQ(probe.observable(Time(t)), held && model[t].observable);
  ASSERT_EQ(probe.urgent(Time(t)), held && (model[t].urgency == EAGER ||
                                            (model[t].urgency == DELAYABLE && model.last(t) == t)));
}

void compareRanges(const Probe& probe, const Flags& model, int low, int high) {
  bool all = model.holds(low);
  bool any = false;
  for (int i = low; i <= high; ++i) {
    all = all && model.holds(i) && model.first(i) == model.first(low);
    any = any || model.holds(i);
  }
  const Interval range = Piece(low, high).interval();
  ASSERT_EQ(probe.in(range), all);
  int first = 77;
  int last = 77;
  ASSERT_EQ(probe.intersect(range, first, last), any);
  if (!any) return;
  ASSERT_EQ(first, intervalsBefore(model, low));
  ASSERT_EQ(last, intervalsBefore(model, high) - (model.holds(high) ? 0 : 1));
}

void compareUrgencies(const Probe& probe, const Pieces& pieces, int low, int high) {
  for (Urgency urgency : {LAZY, DELAYABLE, EAGER}) {
    bool found = false;
    for (int i = 0; i < static_cast<int>(pieces.size()); ++i) {
      const bool within = low <= i && i <= high;
      found = found || (within && pieces[static_cast<std::size_t>(i)].urgency == urgency);
    }
    ASSERT_EQ(probe.existUrgency(low, high, urgency), found);
  }
}

}  // namespace

TEST(ConstraintAlgebraTest, QueriesSeeWhatTheFlagsSee) {
  Draw draw(31);
  for (int round = 0; round < ROUNDS; ++round) {
    const Pieces list = randomPieces(draw);
    const Flags model(list);
    const Probe probe(list);
    const int t = draw.between(-3, CELLS + 2);
    const int end = draw.between(t, CELLS + 2);
    ASSERT_NO_FATAL_FAILURE(comparePlaces(probe, model, t)) << round;
    ASSERT_NO_FATAL_FAILURE(compareTimes(probe, model, t)) << round;
    ASSERT_NO_FATAL_FAILURE(compareRanges(probe, model, t, end)) << round;
    ASSERT_NO_FATAL_FAILURE(compareUrgencies(probe, list, draw.between(-3, 8), draw.between(-3, 8)))
        << round;
    ASSERT_TRUE(probe.check()) << round;
  }
}

// ---------------------------------------------------------------------------------------------
// Bounds at the infinities

namespace {

const long long BOUNDS[] = {NEVER, -1, 0, 1, EVER - 1, EVER, EVER + 1};
const long long INSTANTS[] = {NEVER - 1, NEVER,    NEVER + 1, -2,   -1,       0,       1,
                              2,         EVER - 2, EVER - 1,  EVER, EVER + 1, EVER + 2};

Pieces piecesAtTheLimits() {
  Pieces list;
  for (long long low : BOUNDS) {
    for (long long high : BOUNDS) {
      if (low <= high) list.emplace_back(low, high);
    }
  }
  return list;
}

bool holds(const Piece& piece, long long t) {
  return piece.low <= t && t <= piece.high;
}

// MAX - 1 is MAX and MIN + 1 is MIN: an infinite end of what is taken away stays in what is left
// when that goes on beyond it.
bool staysByAbsorption(const Piece& left, const Piece& right, long long t) {
  if (!holds(left, t)) return false;
  const bool before = t == EVER && right.low == t && left.low < t;
  const bool behind = (t == EVER || t == NEVER) && right.high == t && left.high > t;
  return before || behind;
}

bool coversAs(const Pieces& list, long long t, bool dominated) {
  return std::any_of(list.begin(), list.end(), [=](const Piece& piece) {
    return holds(piece, t) && piece.dominated == dominated;
  });
}

template <class Check>
void forAllPairsAndInstants(Check check) {
  for (const Piece& left : piecesAtTheLimits()) {
    for (const Piece& right : piecesAtTheLimits()) {
      for (long long t : INSTANTS) {
        SCOPED_TRACE(testing::Message() << testing::PrintToString(left) << " and "
                                        << testing::PrintToString(right) << " at " << t);
        ASSERT_NO_FATAL_FAILURE(check(left, right, t));
      }
    }
  }
}

}  // namespace

TEST(ConstraintAlgebraTest, AnIntersectionIsExactAtTheInfinities) {
  forAllPairsAndInstants([](const Piece& left, const Piece& right, long long t) {
    Probe probe({left});
    probe &= Probe({right});
    ASSERT_EQ(covers(probe.pieces(), t), holds(left, t) && holds(right, t));
  });
}

TEST(ConstraintAlgebraTest, AUnionIsExactAtTheInfinities) {
  forAllPairsAndInstants([](const Piece& left, const Piece& right, long long t) {
    Probe probe({left});
    probe |= Probe({right});
    ASSERT_EQ(covers(probe.pieces(), t), holds(left, t) || holds(right, t));
  });
}

TEST(ConstraintAlgebraTest, ADifferenceCannotCutOffAnInfiniteEnd) {
  forAllPairsAndInstants([](const Piece& left, const Piece& right, long long t) {
    Probe probe({left});
    probe -= Probe({right});
    const bool plain = holds(left, t) && !holds(right, t);
    ASSERT_EQ(covers(probe.pieces(), t), plain || staysByAbsorption(left, right, t));
  });
}

TEST(ConstraintAlgebraTest, DominationMarksInfiniteEndsAndLeavesThemFreeAsWell) {
  forAllPairsAndInstants([](const Piece& left, const Piece& right, long long t) {
    Probe probe({left});
    probe.setDomination(true);
    probe -= Probe({right});
    const bool plain = holds(left, t) && !holds(right, t);
    ASSERT_EQ(coversAs(probe.pieces(), t, true), holds(left, t) && holds(right, t));
    ASSERT_EQ(coversAs(probe.pieces(), t, false), plain || staysByAbsorption(left, right, t));
  });
}

// ---------------------------------------------------------------------------------------------
// Any list of intervals

namespace {

void operate(Probe& probe, const Probe& operand, Draw& draw) {
  const std::size_t size = probe.size();
  const std::size_t more = operand.size();
  switch (draw.below(6)) {
    case 0:
      probe &= operand;
      ASSERT_LE(probe.size(), size + more);
      break;
    case 1:
      probe |= operand;
      ASSERT_LE(probe.size(), size + more);
      break;
    case 2:
    case 3:
      probe -= operand;
      ASSERT_LE(probe.size(), size + 2 * more);
      break;
    case 4:
      probe += Time(randomBound(draw));
      ASSERT_EQ(probe.size(), size);
      break;
    default:
      probe.applyDomination();
      ASSERT_LE(probe.size(), size);
  }
}

}  // namespace

TEST(ConstraintAlgebraTest, OperationsStayInRangeForAnyListsOfIntervals) {
  Draw draw(32);
  for (int round = 0; round < ROUNDS; ++round) {
    Probe probe(randomMess(draw));
    for (int step = 0; step < 4; ++step) {
      const Probe operand(randomMess(draw));
      probe.setDomination(draw.coin());
      probe.setDelay(draw.coin() ? Time(0) : Time(randomBound(draw)));
      ASSERT_NO_FATAL_FAILURE(operate(probe, draw.below(8) == 0 ? probe : operand, draw)) << round;
      probe.next(Time(randomBound(draw)));
      probe.deadline(Time(randomBound(draw)));
    }
    probe.clean();
    for (const Piece& piece : probe.pieces()) ASSERT_LE(piece.low, piece.high) << piece.low;
  }
}

// At the ends of 64 bits a bound has no neighbour: sums go round.
TEST(ConstraintAlgebraTest, OperationsStayInRangeAtTheEndsOf64Bits) {
  constexpr long long FIRST = std::numeric_limits<long long>::min();
  constexpr long long LAST = std::numeric_limits<long long>::max();
  const Pieces ends[] = {{Piece(FIRST, 5)},    {Piece(5, LAST)},
                         {Piece(FIRST, LAST)}, {Piece(FIRST, FIRST)},
                         {Piece(LAST, LAST)},  {Piece(FIRST, -1), Piece(1, LAST)}};
  for (const Pieces& left : ends) {
    for (const Pieces& right : ends) {
      Probe all[] = {Probe(left), Probe(left), Probe(left)};
      all[0] &= Probe(right);
      all[1] |= Probe(right);
      all[2] -= Probe(right);
      for (const Probe& probe : all) ASSERT_LE(probe.size(), left.size() + 2 * right.size());
    }
  }
}

// What goes on behind the last time goes on at the first one, and may leave nothing.
TEST(ConstraintAlgebraTest, CleanStaysInRangeAtTheEndsOf64Bits) {
  constexpr long long FIRST = std::numeric_limits<long long>::min();
  constexpr long long LAST = std::numeric_limits<long long>::max();
  Probe probe({Piece(7, LAST, EAGER), Piece(FIRST, 5, EAGER)});
  probe.clean();
  EXPECT_EQ(probe.pieces(), (Pieces{Piece(7, 5, EAGER)}));
}
