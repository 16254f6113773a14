// Reads the files of an exploration back and looks for contradictions. Uses nothing of the engine.
#ifndef VESK_TESTS_KIT_EXPLORATION_CHECKER_HPP
#define VESK_TESTS_KIT_EXPLORATION_CHECKER_HPP

#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kit {

// How large a state space is.
struct Size {
  long long states = 0;
  long long transitions = 0;
  long long deadlocks = 0;
};
bool operator==(const Size& one, const Size& other);
std::ostream& operator<<(std::ostream& out, const Size& size);

class ExplorationChecker {
 public:
  using Number = unsigned long long;
  struct Transition {
    Number source;
    std::string label;
    Number target;
  };

  // Texts of states must not contain line breaks.
  ExplorationChecker(const std::string& aut, const std::string& state, const std::string& pruned,
                     const std::string& deadlock);
  // Reads base.aut and so on.
  static ExplorationChecker read(const std::string& base);

  // What is wrong with the files of any exploration, one line per contradiction; empty when they
  // can be believed. It may have been stopped, but not by an error.
  const std::string& faults() const { return mFaults; }
  // What is missing for an exploration that came to its end.
  std::string missing() const;
  Number stateCount() const { return mStateCount; }
  const std::vector<Transition>& transitions() const { return mTransitions; }
  Number deadlockCount() const { return mDeadlocks.size(); }
  Size size() const;
  // The transitions with the texts of states in place of their numbers, which differ from search to
  // search. Requires: no state was pruned.
  std::set<std::string> transitionsByText() const;
  std::set<std::string> stateTexts() const;

 private:
  void expect(bool holds, const std::string& fault);
  std::vector<std::string> linesOf(const std::string& content, const std::string& name);
  static bool number(const std::string& text, Number& value);

  void readTransitions(const std::string& content);
  // The label may contain ", ".
  void readTransition(const std::string& line);
  void readStates(const std::string& content);
  void readDeadlocks(const std::string& content);
  void compare();

  std::string mFaults;
  Number mStateCount = 0;
  std::vector<Transition> mTransitions;
  std::map<Number, std::string> mStates;
  std::vector<std::string> mPruned;
  std::set<Number> mDeadlocks;
};

}  // namespace kit

#endif
