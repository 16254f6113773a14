// Looks for parts of a model that do not do what they have declared, see locality.hpp. Not part of
// the library: programs that examine models have it, and so have tests.
#ifndef VESK_EXPLORATION_PROMISE_CHECK_HPP
#define VESK_EXPLORATION_PROMISE_CHECK_HPP

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "exploration/atom-texts.hpp"
#include "exploration/system-parts.hpp"

class Compound;
class Connector;

namespace Vesk {

// The first part that has broken its word.
struct BrokenPromise {
  std::string part;      // "atom s/A", "connector s/k"
  std::string what;      // that it does
  std::string state;     // the text of the state in which it does so
  std::string expected;  // what it has shown before in the same situation, or has to show
  std::string found;

  // All that as lines for the author of the model.
  std::string message() const;
};

// Goes through the states of a system like a breadth-first search. In each one it looks at all
// parts, not only at those that a transition touches, and does everything several times: what
// promises to be the same must be the same. What cannot be seen from outside, such as variables of
// ports, is noticed only by what comes of it.
class PromiseCheck {
 public:
  // Initialises the system, without time.
  explicit PromiseCheck(Compound& system);

  // The promise of all parts together, which is checked. Nothing is when there is none.
  Locality promise() const { return mParts.locality(); }
  // Ends at the first broken promise, or when so many states have been looked at.
  std::optional<BrokenPromise> run(std::size_t mostStates);
  // After run(), when that has left states: goes on at random from the first state, so many steps,
  // and back to it from where nothing leads further. The same seed goes the same way.
  std::optional<BrokenPromise> walk(std::size_t steps, unsigned int seed);
  // run() has left states that were found.
  bool isUnfinished() const { return !mWaiting.empty(); }
  std::size_t states() const { return mExamined; }

 private:
  using Index = SystemParts::Index;
  using State = std::vector<AtomTexts::Number>;  // per atom
  using Row = std::vector<AtomTexts::Number>;    // of the members of a connector
  using Announced = std::vector<std::string>;    // per atom: "+p -q"

  bool isRepeatable() const { return promise() == Locality::REPEATABLE; }
  Connector& connector(std::size_t part) const { return *mParts.connectors()[part].connector; }
  const std::vector<Index>& members(std::size_t part) const {
    return mParts.connectors()[part].members;
  }

  void add(const State& state);
  State read();
  void restore(const State& state);
  std::string announcedBy(std::size_t atom) const;
  Announced announced() const;
  Row row(std::size_t part, const State& state) const;
  std::string textOf(const State& state) const;
  std::string textOf(std::size_t part, const Row& row) const;
  bool raisesFlag(const State& state) const;

  // What each of these says is false when a promise was found broken.
  bool examine(const State& state);
  bool checkRestored(const State& state);
  bool checkReading(const State& state);
  bool checkEvaluation(const State& state);
  bool checkFiring(const State& state, std::size_t part);
  bool fire(const State& state, std::size_t part, bool reads, State& after);
  bool checkOthers(const State& state, std::size_t part, const State& after,
                   const Announced& before);
  bool checkRepetition(const State& state, std::size_t part, const State& after,
                       const std::string& what);
  bool checkAnnounced(const State& state, std::size_t part, const State& after);
  bool breaksAtom(std::size_t atom, const std::string& what, const State& state,
                  const std::string& expected, const std::string& found);
  bool breaksConnector(std::size_t part, const std::string& what, const State& state,
                       const std::string& expected, const std::string& found);

  const SystemParts mParts;
  std::vector<AtomTexts> mTexts;                                     // per atom
  std::vector<std::map<AtomTexts::Number, std::string>> mAnnounced;  // per atom: after setState()
  std::vector<std::map<Row, std::string>> mFeasible;                 // per connector
  std::vector<std::map<Row, Row>> mAfter;  // per connector: what firing does
  std::set<State> mFound;
  std::deque<State> mWaiting;
  State mFirst;
  std::vector<State> mNext;  // where the state leads that was examined last
  Announced mLastAnnounced;  // when the connector that has fired last had done so
  std::size_t mExamined = 0;
  std::optional<BrokenPromise> mBroken;
};

}  // namespace Vesk

#endif
