// Constraints written down as lists of pieces, for the tests of their algebra and queries.
#ifndef VESK_TESTS_CONSTRAINT_PROBE_HPP
#define VESK_TESTS_CONSTRAINT_PROBE_HPP

#include <ostream>
#include <vector>

#include "clock.hpp"
#include "constraint.hpp"
#include "draw.hpp"

constexpr long long NEVER = -2147483648LL;  // the number of Vesk::Time::MIN
constexpr long long EVER = 2147483647LL;    // the number of Vesk::Time::MAX

enum Domination : bool { FREE = false, DOMINATED = true };
enum Observability : bool { HIDDEN = false, OBSERVABLE = true };

// One interval in numbers.
struct Piece {
  Piece(long long lowest, long long highest, Urgency how = LAZY, Domination covered = FREE,
        Observability seen = OBSERVABLE)
      : low(lowest), high(highest), urgency(how), dominated(covered), observable(seen) {}
  explicit Piece(const Interval& interval)
      : low(interval.low().microseconds()),
        high(interval.high().microseconds()),
        urgency(interval.urgency()),
        dominated(interval.dominated()),
        observable(interval.observable()) {}
  Interval interval() const {
    return Interval(Vesk::Time(low), Vesk::Time(high), urgency, dominated, observable);
  }

  long long low;
  long long high;
  Urgency urgency;
  bool dominated;
  bool observable;
};

using Pieces = std::vector<Piece>;

inline bool operator==(const Piece& a, const Piece& b) {
  return a.low == b.low && a.high == b.high && a.urgency == b.urgency &&
         a.dominated == b.dominated && a.observable == b.observable;
}

// "LD[0,10]": lazy, delayable or eager; dominated; hidden.
inline void PrintTo(const Piece& piece, std::ostream* out) {
  *out << "LDE"[piece.urgency] << (piece.dominated ? "d" : "") << (piece.observable ? "" : "h")
       << '[' << piece.low << ',' << piece.high << ']';
}

// A constraint of any list of intervals, with its protected operations opened.
class Probe : public Constraint {
 public:
  Probe(const Pieces& list, const GenericClock* clock = nullptr)
      : Constraint(clock, Vesk::Time(0), Vesk::Time(0), LAZY) {
    clear();
    for (const Piece& piece : list) insert(static_cast<int>(size()), piece.interval());
  }
  Pieces pieces() const {
    Pieces list;
    list.reserve(size());
    for (unsigned int i = 0; i < size(); ++i) list.emplace_back((*this)[i]);
    return list;
  }

  using Constraint::after;
  using Constraint::before;
  using Constraint::erase;
  using Constraint::insert;
  using Constraint::intersect;
  using Constraint::position;
  using Constraint::setAllDominated;
  using Constraint::setDominated;
  using Constraint::setMaxUrgency;
  using Constraint::setUrgency;
};

// A clock that shows what it is told to show.
class ShownClock : public GenericClock {
 public:
  explicit ShownClock(Vesk::Time shown) : reading(shown) {}
  Vesk::Time time() const override { return reading; }
  Vesk::Time reading;
};

// Bounds around the infinities, around 0 and in between.
inline long long randomBound(Draw& draw) {
  static const long long LIMITS[] = {NEVER - 1, NEVER,    NEVER + 1, -1,      0,
                                     1,         EVER - 1, EVER,      EVER + 1};
  return draw.below(4) == 0 ? LIMITS[draw.below(9)] : draw.between(-5, 45);
}

inline Piece randomPiece(Draw& draw, long long low, long long high) {
  return Piece(low, high, static_cast<Urgency>(draw.below(3)),
               static_cast<Domination>(draw.below(4) == 0),
               static_cast<Observability>(draw.below(4) != 0));
}

// Unsorted, overlapping, empty intervals, everything.
inline Pieces randomMess(Draw& draw) {
  Pieces pieces;
  for (int i = draw.below(8); i > 0; --i) {
    const long long low = randomBound(draw);
    pieces.push_back(randomPiece(draw, low, randomBound(draw)));
  }
  return pieces;
}

#endif
