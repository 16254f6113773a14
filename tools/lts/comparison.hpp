// Whether two systems are the same, and what is only in one of them.
#ifndef VESK_LTS_COMPARISON_HPP
#define VESK_LTS_COMPARISON_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "exploration.hpp"
#include "json-text.hpp"
#include "matching.hpp"
#include "search.hpp"

namespace Vesk::Lts {

class Progress;

// States are matched by their texts, transitions by texts and labels; numbers do not count.
class Comparison {
 public:
  // Lists at most so many states and so many transitions of each system.
  Comparison(const Exploration& a, const Exploration& b, std::uint64_t most, Progress& progress);

  bool same() const { return isEmpty(mOnlyInA) && isEmpty(mOnlyInB); }
  std::string text(Progress& progress) const;
  Json json(Progress& progress) const;

 private:
  struct Transition {
    State source;
    Label label;
    State target;
  };
  struct Side {
    const Exploration* exploration;
    std::uint64_t stateCount = 0;
    std::uint64_t transitionCount = 0;
    std::vector<State> states{};
    std::vector<Transition> transitions{};
    std::vector<Transition> first{};  // at the end of the path
  };

  static bool isEmpty(const Side& side) {
    return side.stateCount == 0 && side.transitionCount == 0;
  }
  void collect(Side& side, bool isA) const;
  void addTransitions(Side& side, State source, bool isA, std::vector<Transition>& list,
                      std::uint64_t most) const;
  std::vector<Edge> onlyIn(State source, bool isA) const;
  bool differs(State a) const;
  void findFirst();
  std::string sideText(const Side& side, Progress& progress) const;
  std::string firstText(const Side& side, Progress& progress) const;
  Json sideJson(const Side& side, Progress& progress) const;

  const Exploration& mA;
  const Exploration& mB;
  const std::uint64_t mMost;
  const Matching mMatching;
  Side mOnlyInA;
  Side mOnlyInB;
  std::optional<Path> mPath;  // in A, to the first difference
};

}  // namespace Vesk::Lts

#endif
