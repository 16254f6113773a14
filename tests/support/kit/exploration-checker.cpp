#include "kit/exploration-checker.hpp"

#include <cstdio>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kit/output.hpp"

namespace kit {

bool operator==(const Size& one, const Size& other) {
  return one.states == other.states && one.transitions == other.transitions &&
         one.deadlocks == other.deadlocks;
}

std::ostream& operator<<(std::ostream& out, const Size& size) {
  return out << size.states << " states, " << size.transitions << " transitions, " << size.deadlocks
             << " deadlocks";
}

ExplorationChecker::ExplorationChecker(const std::string& aut, const std::string& state,
                                       const std::string& pruned, const std::string& deadlock) {
  readTransitions(aut);
  readStates(state);
  for (const std::string& line : linesOf(pruned, "pruned")) mPruned.push_back(line);
  readDeadlocks(deadlock);
  compare();
}

ExplorationChecker ExplorationChecker::read(const std::string& base) {
  return ExplorationChecker(contents(base + ".aut"), contents(base + ".state"),
                            contents(base + ".pruned"), contents(base + ".deadlock"));
}

std::string ExplorationChecker::missing() const {
  std::string found;
  std::set<Number> targets;
  for (const Transition& transition : mTransitions) targets.insert(transition.target);
  for (Number number = 1; number < mStateCount; ++number) {
    if (targets.count(number) == 0) found += "nothing leads to a state\n";
  }
  if (mStates.size() + mPruned.size() < mStateCount) found += "states are not listed\n";
  return found;
}

Size ExplorationChecker::size() const {
  return {static_cast<long long>(mStateCount), static_cast<long long>(mTransitions.size()),
          static_cast<long long>(mDeadlocks.size())};
}

std::set<std::string> ExplorationChecker::transitionsByText() const {
  std::set<std::string> found;
  for (const Transition& transition : mTransitions) {
    found.insert(mStates.at(transition.source) + " " + transition.label + " " +
                 mStates.at(transition.target));
  }
  return found;
}

std::set<std::string> ExplorationChecker::stateTexts() const {
  std::set<std::string> found;
  for (const auto& state : mStates) found.insert(state.second);
  return found;
}

void ExplorationChecker::expect(bool holds, const std::string& fault) {
  if (!holds) mFaults += fault + "\n";
}

std::vector<std::string> ExplorationChecker::linesOf(const std::string& content,
                                                     const std::string& name) {
  expect(content.empty() || content.back() == '\n', name + ": the last line is cut");
  std::vector<std::string> found;
  std::istringstream stream(content);
  for (std::string line; std::getline(stream, line);) found.push_back(line);
  return found;
}

bool ExplorationChecker::number(const std::string& text, Number& value) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return false;
  value = std::stoull(text);
  return true;
}

void ExplorationChecker::readTransitions(const std::string& content) {
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

void ExplorationChecker::readTransition(const std::string& line) {
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

void ExplorationChecker::readStates(const std::string& content) {
  for (const std::string& line : linesOf(content, "state")) {
    const std::size_t colon = line.find(" : ");
    Number state = 0;
    const bool read = colon != std::string::npos && number(line.substr(0, colon), state);
    expect(read && state < mStateCount, "state: " + line);
    expect(mStates.emplace(state, line.substr(colon + 3)).second, "state: twice: " + line);
  }
}

void ExplorationChecker::readDeadlocks(const std::string& content) {
  for (const std::string& line : linesOf(content, "deadlock")) {
    Number state = 0;
    expect(number(line.substr(0, line.find(" || ")), state), "deadlock: " + line);
    expect(mDeadlocks.insert(state).second, "deadlock: twice: " + line);
  }
}

void ExplorationChecker::compare() {
  for (const Transition& transition : mTransitions) {
    const std::string source = std::to_string(transition.source);
    expect(mStates.count(transition.source) != 0, "state: does not list source " + source);
    expect(mDeadlocks.count(transition.source) == 0, "deadlock: has a way out: " + source);
  }
  for (const Number state : mDeadlocks) {
    expect(mStates.count(state) != 0, "deadlock: not in the list of states");
  }
}

}  // namespace kit
