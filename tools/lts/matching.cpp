#include "matching.hpp"

#include <algorithm>
#include <tuple>

#include "state-texts.hpp"
#include "text-index.hpp"

namespace Vesk::Lts {

namespace {

bool comesBefore(const Edge& a, const Edge& b) {
  return std::tie(a.label, a.target) < std::tie(b.label, b.target);
}

bool labelComesBefore(const Edge& a, const Edge& b) {
  return a.label < b.label;
}

Column<State> noStates(std::size_t count) {
  Column<State> column;
  for (std::size_t i = 0; i < count; ++i) column.push(Matching::NONE);
  return column;
}

}  // namespace

Matching::Matching(const Exploration& a, const Exploration& b, Progress& progress)
    : mA(a),
      mB(b),
      mInB(noStates(a.graph().states())),
      mInA(noStates(b.graph().states())),
      mHasTextA(a.graph().states()),
      mHasTextB(b.graph().states()) {
  matchLabels();
  matchTexts(progress);
  walk();
}

std::vector<Edge> Matching::outOfA(State a) const {
  const Graph::Edges out = mA.graph().out(a);
  std::vector<Edge> edges(out.begin(), out.end());
  std::sort(edges.begin(), edges.end(), comesBefore);
  return edges;
}

std::vector<Edge> Matching::outOfB(State b) const {
  std::vector<Edge> edges;
  for (const Edge& edge : mB.graph().out(b)) {
    edges.push_back({mInA[edge.target], mLabelInA[edge.label]});
  }
  std::sort(edges.begin(), edges.end(), comesBefore);
  return edges;
}

void Matching::matchLabels() {
  const LabelTable& labelsOfA = mA.graph().labels();
  const LabelTable& labelsOfB = mB.graph().labels();
  auto next = static_cast<Label>(labelsOfA.size());
  for (Label label = 0; label < labelsOfB.size(); ++label) {
    const Label found = labelsOfA.find(labelsOfB.text(label));
    mLabelInA.push_back(found != LabelTable::NONE ? found : next++);
  }
}

void Matching::matchTexts(Progress& progress) {
  const StateTexts texts(mA, progress);
  TextIndex index(texts, mA.graph().states());
  for (std::size_t state = 0; state < mHasTextA.size(); ++state) {
    mHasTextA[state] = texts.of(static_cast<State>(state)).has_value();
  }
  mB.readTexts(progress, [&](State b, std::string_view text) {
    mHasTextB[b] = 1;
    const State a = index.next(text);
    if (a != NONE && mInB[a] == NONE) match(a, b);
  });
}

void Matching::match(State a, State b) {
  mInB[a] = b;
  mInA[b] = a;
}

bool Matching::canMatch(State a, State b) const {
  return mInB[a] == NONE && mInA[b] == NONE && (mHasTextA[a] == 0 || mHasTextB[b] == 0);
}

// From the initial states over all that is found on the way.
void Matching::walk() {
  if (canMatch(mA.graph().initial(), mB.graph().initial())) {
    match(mA.graph().initial(), mB.graph().initial());
  }
  if (mInB[mA.graph().initial()] == NONE) return;
  Column<std::uint8_t> seen(mInB.size());
  std::vector<State> level{mA.graph().initial()};
  seen[level[0]] = 1;
  while (!level.empty()) {
    std::vector<State> next;
    for (State a : level) {
      matchTargets(a, mInB[a]);
      for (const Edge& edge : mA.graph().out(a)) {
        if (seen[edge.target] != 0 || mInB[edge.target] == NONE) continue;
        seen[edge.target] = 1;
        next.push_back(edge.target);
      }
    }
    level = std::move(next);
  }
}

// Only when a label leads to one such state in each system it is clear which belong together.
void Matching::matchTargets(State a, State b) {
  std::vector<Edge> labelled;
  for (const Edge& edge : mB.graph().out(b)) {
    labelled.push_back({edge.target, mLabelInA[edge.label]});
  }
  const std::vector<Edge> freeInA = freeTargets(outOfA(a), mInB);
  const std::vector<Edge> freeInB = freeTargets(labelled, mInA);
  for (auto first = freeInA.begin(); first != freeInA.end();) {
    const auto [begin, end] =
        std::equal_range(freeInA.begin(), freeInA.end(), *first, labelComesBefore);
    const auto [other, otherEnd] =
        std::equal_range(freeInB.begin(), freeInB.end(), *first, labelComesBefore);
    if (other != otherEnd && (end - begin > 1 || otherEnd - other > 1)) {
      mIsAmbiguous = true;
    } else if (other != otherEnd && canMatch(begin->target, other->target)) {
      match(begin->target, other->target);
    }
    first = end;
  }
}

// Each target once, sorted by label.
std::vector<Edge> Matching::freeTargets(const std::vector<Edge>& edges,
                                        const Column<State>& matched) const {
  std::vector<Edge> result;
  for (const Edge& edge : edges) {
    if (matched[edge.target] == NONE) result.push_back(edge);
  }
  std::sort(result.begin(), result.end(), comesBefore);
  result.erase(std::unique(result.begin(), result.end(),
                           [](const Edge& x, const Edge& y) {
                             return x.label == y.label && x.target == y.target;
                           }),
               result.end());
  return result;
}

}  // namespace Vesk::Lts
