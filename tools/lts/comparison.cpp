#include "comparison.hpp"

#include <algorithm>
#include <set>
#include <utility>

#include "fault.hpp"
#include "path-report.hpp"
#include "printable.hpp"
#include "state-texts.hpp"

namespace Vesk::Lts {

namespace {

std::string counted(std::uint64_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

bool comesBefore(const Edge& a, const Edge& b) {
  return a.label != b.label ? a.label < b.label : a.target < b.target;
}

std::string shown(const StateTexts& texts, State state) {
  const auto text = texts.of(state);
  return std::to_string(state) + ": " + (text ? printable(*text) : "(no text)");
}

std::string nameOf(const Exploration& exploration) {
  return printable(exploration.files().transitions);
}

}  // namespace

// ---- What differs ----------------------------------------------------------------------------

Comparison::Comparison(const Exploration& a, const Exploration& b, std::uint64_t most,
                       Progress& progress)
    : mA(a), mB(b), mMost(most), mMatching(a, b, progress), mOnlyInA{&a}, mOnlyInB{&b} {
  collect(mOnlyInA, true);
  collect(mOnlyInB, false);
  if (!same() && mMatching.isAmbiguous()) {
    throw Fault(nameOf(a) + " and " + nameOf(b) +
                " cannot be compared: a label leads from a state to several states without texts, "
                "expected files with texts (.state)");
  }
  findFirst();
}

void Comparison::collect(Side& side, bool isA) const {
  const Graph& graph = side.exploration->graph();
  for (State state = 0; state < graph.states(); ++state) {
    const State other = isA ? mMatching.inB(state) : mMatching.inA(state);
    if (other == Matching::NONE) {
      ++side.stateCount;
      if (side.states.size() < mMost) side.states.push_back(state);
    }
    const std::size_t count =
        other == Matching::NONE ? graph.out(state).size() : onlyIn(state, isA).size();
    side.transitionCount += count;
    if (count != 0) addTransitions(side, state, isA, side.transitions, mMost);
  }
}

// The transitions with the numbers of A that the state of the one system has and its counterpart
// has not. Those that occur several times count as often.
std::vector<Edge> Comparison::onlyIn(State source, bool isA) const {
  const State a = isA ? source : mMatching.inA(source);
  const State b = isA ? mMatching.inB(source) : source;
  const std::vector<Edge> inA = a != Matching::NONE ? mMatching.outOfA(a) : std::vector<Edge>();
  const std::vector<Edge> inB = b != Matching::NONE ? mMatching.outOfB(b) : std::vector<Edge>();
  std::vector<Edge> result;
  const auto& mine = isA ? inA : inB;
  const auto& others = isA ? inB : inA;
  std::set_difference(mine.begin(), mine.end(), others.begin(), others.end(),
                      std::back_inserter(result), comesBefore);
  return result;
}

// A transition of B is found again by its label and target.
void Comparison::addTransitions(Side& side, State source, bool isA, std::vector<Transition>& list,
                                std::uint64_t most) const {
  std::vector<Edge> only = onlyIn(source, isA);
  for (const Edge& edge : side.exploration->graph().out(source)) {
    if (list.size() >= most) return;
    const Edge inA = isA ? edge : Edge{mMatching.inA(edge.target), mMatching.labelInA(edge.label)};
    const auto found = std::find_if(only.begin(), only.end(), [&](const Edge& candidate) {
      return candidate.label == inA.label && candidate.target == inA.target;
    });
    if (found == only.end()) continue;
    only.erase(found);
    list.push_back({source, edge.label, edge.target});
  }
}

// Of a state that both have.
bool Comparison::differs(State a) const {
  return !onlyIn(a, true).empty() || !onlyIn(mMatching.inB(a), false).empty();
}

// The path goes over common states alone: a state with a transition that is only in one is an end.
void Comparison::findFirst() {
  if (same() || mMatching.inB(mA.graph().initial()) != mB.graph().initial()) return;
  ShortestPaths paths(mA.graph(), mA.graph().initial());
  mPath = paths.toState([this](State a) { return differs(a); });
  if (!mPath) return;
  const State end = mPath->end(mA.graph());
  addTransitions(mOnlyInA, end, true, mOnlyInA.first, mMost);
  addTransitions(mOnlyInB, mMatching.inB(end), false, mOnlyInB.first, mMost);
}

// ---- Text ------------------------------------------------------------------------------------

std::string Comparison::text(Progress& progress) const {
  const std::uint64_t states = mA.graph().states() - mOnlyInA.stateCount;
  const std::uint64_t transitions = mA.graph().transitions() - mOnlyInA.transitionCount;
  const std::string common = counted(states, "state") + ", " + counted(transitions, "transition");
  if (same()) return "the same: " + common + "\n";
  std::string result = "different: " + common + " in common\n\n";
  result += sideText(mOnlyInA, progress) + sideText(mOnlyInB, progress);
  if (mMatching.inB(mA.graph().initial()) != mB.graph().initial()) {
    return result + "The initial states differ.\n";
  }
  if (!mPath) return result + "No difference can be reached from the initial state.\n";
  result += "The shortest way to a difference, with the numbers of " + nameOf(mA) + ":\n\n";
  result += PathReport(mA, *mPath, progress).text();
  return result + firstText(mOnlyInA, progress) + firstText(mOnlyInB, progress);
}

std::string Comparison::sideText(const Side& side, Progress& progress) const {
  const std::string name = "only in " + nameOf(*side.exploration) + ": ";
  if (isEmpty(side)) return name + "nothing\n\n";
  std::set<State> used(side.states.begin(), side.states.end());
  for (const Transition& transition : side.transitions) {
    used.insert(transition.source);
    used.insert(transition.target);
  }
  const StateTexts texts(*side.exploration, progress,
                         [&](State state) { return used.count(state) != 0; });
  std::string result = name + counted(side.stateCount, "state") + ", " +
                       counted(side.transitionCount, "transition") + "\n";
  for (State state : side.states) result += "  " + shown(texts, state) + "\n";
  if (side.states.size() < side.stateCount) {
    result += "  ... and " + counted(side.stateCount - side.states.size(), "more state") + "\n";
  }
  const LabelTable& labels = side.exploration->graph().labels();
  for (const Transition& transition : side.transitions) {
    result += "  " + shown(texts, transition.source) + "\n      " +
              printable(labels.text(transition.label)) + "\n    " +
              shown(texts, transition.target) + "\n";
  }
  if (side.transitions.size() < side.transitionCount) {
    result += "  ... and " +
              counted(side.transitionCount - side.transitions.size(), "more transition") + "\n";
  }
  return result + "\n";
}

std::string Comparison::firstText(const Side& side, Progress& progress) const {
  if (side.first.empty()) return "";
  std::set<State> used;
  for (const Transition& transition : side.first) used.insert(transition.target);
  const StateTexts texts(*side.exploration, progress,
                         [&](State state) { return used.count(state) != 0; });
  std::string result = "there only in " + nameOf(*side.exploration) + ":\n";
  for (const Transition& transition : side.first) {
    result += "    " + printable(side.exploration->graph().labels().text(transition.label)) + "\n" +
              shown(texts, transition.target) + "\n";
  }
  return result;
}

// ---- JSON ------------------------------------------------------------------------------------

Json Comparison::json(Progress& progress) const {
  Json result;
  result["same"] = same();
  result["commonStates"] = mA.graph().states() - mOnlyInA.stateCount;
  result["commonTransitions"] = mA.graph().transitions() - mOnlyInA.transitionCount;
  result["onlyIn"] = {sideJson(mOnlyInA, progress), sideJson(mOnlyInB, progress)};
  result["path"] = mPath ? PathReport(mA, *mPath, progress).json() : Json();
  return result;
}

Json Comparison::sideJson(const Side& side, Progress& progress) const {
  std::set<State> used(side.states.begin(), side.states.end());
  const StateTexts texts(*side.exploration, progress,
                         [&](State state) { return used.count(state) != 0; });
  Json result;
  result["file"] = side.exploration->files().transitions;
  result["stateCount"] = side.stateCount;
  result["transitionCount"] = side.transitionCount;
  result["states"] = Json::array();
  for (State state : side.states) {
    const auto text = texts.of(state);
    result["states"].push_back({{"state", state}, {"text", text ? Json(*text) : Json()}});
  }
  result["transitions"] = Json::array();
  for (const Transition& transition : side.transitions) {
    result["transitions"].push_back(
        {{"from", transition.source},
         {"label", side.exploration->graph().labels().text(transition.label)},
         {"to", transition.target}});
  }
  return result;
}

}  // namespace Vesk::Lts
