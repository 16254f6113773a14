// Constraints written down as lists of pieces, for the tests of their algebra and queries.
#ifndef VESK_TESTS_CONSTRAINT_PROBE_HPP
#define VESK_TESTS_CONSTRAINT_PROBE_HPP

#include <ostream>
#include <vector>

#include "constraint.hpp"

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

#endif
