// Executables whose times are said beforehand, and what the filters do with them, one after the
// other.
#ifndef VESK_TESTS_FORETOLD_HPP
#define VESK_TESTS_FORETOLD_HPP

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "agenda.hpp"
#include "draw.hpp"
#include "executable.hpp"

namespace kit {

using Number = Vesk::Times::Number;

inline Number maximum() {
  return Vesk::Time::MAX.microseconds();
}

// Answers what its times say.
class Foretold : public Executable {
 public:
  explicit Foretold(const Vesk::Times& said) : times(said) {}
  char* label() override { return nullptr; }
  void execute(const Vesk::Time&) override {}
  void actuate(const Vesk::Time&) override {}
  Vesk::Time deadline(const Vesk::Time& t) const override {
    return times.eager ? next(t) : Vesk::Time(static_cast<long long>(times.deadline));
  }
  Vesk::Time next(const Vesk::Time& t) const override {
    if (times.low >= maximum()) return Vesk::Time::MAX;
    return std::max(Vesk::Time(static_cast<long long>(times.low)), t);
  }
  GenericClock* displayClock() const override { return nullptr; }

  Vesk::Times times;
};

// The filters, with marks of their own: each step asks all.
class AskedFilters {
 public:
  static constexpr unsigned int CLOSED = 1;
  static constexpr unsigned int LATER = 2;

  // A step with these executables, in the order of the walk.
  void begin(std::vector<Foretold*> all) {
    mAll = std::move(all);
    mMarks.assign(mAll.size(), 0);
  }
  Number open(Number t, Number latest) {
    mNow = Vesk::Time(static_cast<long long>(t));
    forEach(CLOSED, [&](std::size_t i) { latest = std::min(latest, deadline(i)); });
    forEach(CLOSED, [&](std::size_t i) {
      if (next(i) == maximum() || next(i) > latest) mMarks[i] |= CLOSED;
    });
    return latest;
  }
  // Earliest deadline first; MAX: without margin.
  void choose(Number margin) {
    std::pair<Number, Number> urgent(maximum(), maximum());   // deadline, next
    std::pair<Number, Number> soonest(maximum(), maximum());  // next, deadline
    forEach(CLOSED | LATER, [&](std::size_t i) {
      urgent = std::min(urgent, std::make_pair(deadline(i), next(i)));
      soonest = std::min(soonest, std::make_pair(next(i), deadline(i)));
    });
    if (margin != maximum() && soonest.first + margin < urgent.first) {
      urgent = {soonest.second, soonest.first};
    }
    forEach(CLOSED | LATER, [&](std::size_t i) {
      if (next(i) > urgent.second || deadline(i) > urgent.first) mMarks[i] |= LATER;
    });
  }
  std::vector<Executable*> left() const {
    std::vector<Executable*> result;
    forEach(~0u, [&](std::size_t i) { result.push_back(mAll[i]); });
    return result;
  }
  const std::vector<unsigned int>& marks() const { return mMarks; }

 private:
  template <class Use>
  void forEach(unsigned int mask, const Use& use) const {
    for (std::size_t i = 0; i < mAll.size(); ++i) {
      if ((mMarks[i] & mask) == 0) use(i);
    }
  }
  Number next(std::size_t i) const { return mAll[i]->next(mNow).microseconds(); }
  Number deadline(std::size_t i) const { return mAll[i]->deadline(mNow).microseconds(); }

  std::vector<Foretold*> mAll;
  std::vector<unsigned int> mMarks;
  Vesk::Time mNow;
};

inline std::vector<unsigned int> marksOf(const std::vector<Foretold*>& all) {
  std::vector<unsigned int> marks;
  for (const Foretold* one : all) marks.push_back(one->mark());
  return marks;
}

// Times as a constraint may give them from now on: few different ones, so that many are equal, and
// now and then one at an end. A deadline is not before now, nor before it is enabled.
inline Vesk::Times someTimes(Draw& draw, Number now) {
  Vesk::Times times{now + draw.between(-3, 9), maximum(), INT64_MAX, draw.below(4) == 0};
  const int kind = draw.below(20);
  if (kind == 0) times.low = maximum();
  if (kind == 1) times.low = Vesk::Time::MIN.microseconds();
  if (kind == 2) times.low = maximum() - 1;
  if (kind == 3) times.low = INT64_MIN / 2;
  if (draw.below(3) != 0) {
    times.deadline = std::min(maximum(), std::max(times.low, now) + draw.below(6));
  }
  return times;
}

}  // namespace kit

#endif
