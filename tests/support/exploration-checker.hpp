// Reads the files of an exploration back and looks for contradictions. Uses nothing of the engine.
#ifndef VESK_TESTS_EXPLORATION_CHECKER_HPP
#define VESK_TESTS_EXPLORATION_CHECKER_HPP

#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

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
                     const std::string& deadlock) {
    readTransitions(aut);
    readStates(state);
    for (const std::string& line : linesOf(pruned, "pruned")) mPruned.push_back(line);
    readDeadlocks(deadlock);
    compare();
  }
  // Reads base.aut and so on.
  static ExplorationChecker read(const std::string& base) {
    return ExplorationChecker(contentOf(base + ".aut"), contentOf(base + ".state"),
                              contentOf(base + ".pruned"), contentOf(base + ".deadlock"));
  }
  static std::string contentOf(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }

  // What is wrong with the files of any exploration, one line per contradiction; empty when they
  // can be believed. It may have been stopped, but not by an error.
  const std::string& faults() const { return mFaults; }
  // What is missing for an exploration that came to its end.
  std::string missing() const {
    std::string found;
    std::set<Number> targets;
    for (const Transition& transition : mTransitions) targets.insert(transition.target);
    for (Number number = 1; number < mStateCount; ++number) {
      if (targets.count(number) == 0) found += "nothing leads to a state\n";
    }
    if (mStates.size() + mPruned.size() < mStateCount) found += "states are not listed\n";
    return found;
  }
  Number stateCount() const { return mStateCount; }
  const std::vector<Transition>& transitions() const { return mTransitions; }
  Number deadlockCount() const { return mDeadlocks.size(); }
  // The transitions with the texts of states in place of their numbers, which differ from search to
  // search. Requires: no state was pruned.
  std::set<std::string> transitionsByText() const {
    std::set<std::string> found;
    for (const Transition& transition : mTransitions) {
      found.insert(mStates.at(transition.source) + " " + transition.label + " " +
                   mStates.at(transition.target));
    }
    return found;
  }
  std::set<std::string> stateTexts() const {
    std::set<std::string> found;
    for (const auto& state : mStates) found.insert(state.second);
    return found;
  }

 private:
  void expect(bool holds, const std::string& fault) {
    if (!holds) mFaults += fault + "\n";
  }
  std::vector<std::string> linesOf(const std::string& content, const std::string& name) {
    expect(content.empty() || content.back() == '\n', name + ": the last line is cut");
    std::vector<std::string> found;
    std::istringstream stream(content);
    for (std::string line; std::getline(stream, line);) found.push_back(line);
    return found;
  }
  static bool number(const std::string& text, Number& value) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return false;
    value = std::stoull(text);
    return true;
  }

  void readTransitions(const std::string& content) {
    const std::vector<std::string> lines = linesOf(content, "aut");
    Number count = 0;
    char newline = 0;
    expect(
        std::sscanf(content.c_str(), "des(0, %llu, %llu)%c", &count, &mStateCount, &newline) == 3 &&
            newline == '\n',
        "aut: no header");
    expect(content.size() >= 38 && content[37] == '\n', "aut: the header has no 38 bytes");
    expect(lines.size() >= 2 && lines[1].find_first_not_of(' ') == std::string::npos,
           "aut: the second line is not blank");
    for (std::size_t i = 2; i < lines.size(); ++i) readTransition(lines[i]);
    expect(count == mTransitions.size(), "aut: the header counts other transitions");
  }
  // The label may contain ", ".
  void readTransition(const std::string& line) {
    const std::size_t first = line.find(", ");
    const std::size_t last = line.rfind(", ");
    Transition transition = {};
    const bool read = line.front() == '(' && line.back() == ')' && first < last &&
                      last != std::string::npos &&
                      number(line.substr(1, first - 1), transition.source) &&
                      number(line.substr(last + 2, line.size() - last - 3), transition.target);
    expect(read, "aut: " + line);
    if (!read) return;
    transition.label = line.substr(first + 2, last - first - 2);
    expect(transition.source < mStateCount && transition.target < mStateCount,
           "aut: no such state: " + line);
    mTransitions.push_back(transition);
  }
  void readStates(const std::string& content) {
    for (const std::string& line : linesOf(content, "state")) {
      const std::size_t colon = line.find(" : ");
      Number state = 0;
      const bool read = colon != std::string::npos && number(line.substr(0, colon), state);
      expect(read && state < mStateCount, "state: " + line);
      expect(mStates.emplace(state, line.substr(colon + 3)).second, "state: twice: " + line);
    }
  }
  void readDeadlocks(const std::string& content) {
    for (const std::string& line : linesOf(content, "deadlock")) {
      Number state = 0;
      expect(number(line.substr(0, line.find(" || ")), state), "deadlock: " + line);
      expect(mDeadlocks.insert(state).second, "deadlock: twice: " + line);
    }
  }
  void compare() {
    for (const Transition& transition : mTransitions) {
      const std::string source = std::to_string(transition.source);
      expect(mStates.count(transition.source) != 0, "state: does not list source " + source);
      expect(mDeadlocks.count(transition.source) == 0, "deadlock: has a way out: " + source);
    }
    for (const Number state : mDeadlocks) {
      expect(mStates.count(state) != 0, "deadlock: not in the list of states");
    }
  }

  std::string mFaults;
  Number mStateCount = 0;
  std::vector<Transition> mTransitions;
  std::map<Number, std::string> mStates;
  std::vector<std::string> mPruned;
  std::set<Number> mDeadlocks;
};

#endif
