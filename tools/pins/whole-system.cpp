#include "whole-system.hpp"

#include <string>
#include <utility>

#include "component.hpp"
#include "connector.hpp"
#include "exploration/flags.hpp"
#include "exploration/tree-walk.hpp"
#include "fault.hpp"
#include "work-stack.hpp"

namespace Vesk::Pins {

namespace {

constexpr int LEAF = -1;
constexpr int MISSING = -2;

// Per node in order: how many children it has, or what it is instead.
std::vector<int> shapeOf(const Node* tree) {
  std::vector<int> shape;
  TreeWalk walk(tree);
  for (const Node* node = nullptr; walk.next(node);) {
    if (node == nullptr) {
      shape.push_back(MISSING);
    } else {
      shape.push_back(node->isLeaf() ? LEAF : static_cast<const Nonleaf*>(node)->getNumChild());
    }
  }
  return shape;
}

std::vector<Leaf*> leavesOf(Node* tree) {
  std::vector<Leaf*> leaves;
  TreeWalk walk(tree);
  for (const Node* node = nullptr; walk.next(node);) {
    if (node == nullptr || !node->isLeaf()) continue;
    leaves.push_back(const_cast<Leaf*>(static_cast<const Leaf*>(node)));  // of a tree of our own
  }
  return leaves;
}

// The paths of what is no compound, in the order of the tree.
void addPaths(Compound& root, std::vector<std::string>& paths) {
  WorkStack<Component*> waiting;
  waiting.push(&root);
  while (!waiting.empty()) {
    Component* component = waiting.pop();
    if (!component->isCompound()) {
      paths.push_back(pathOf(*component));
      continue;
    }
    Array<Component, true>& parts = static_cast<Compound*>(component)->components();
    for (int i = parts.count(); i > 0; --i) waiting.push(parts[i - 1]);
  }
}

}  // namespace

WholeSystem::WholeSystem(Compound& root) : mRoot(root) {
  clearFlags();
  mInitialTree.reset(mRoot.getState());
  mShape = shapeOf(mInitialTree.get());
  nameSlots();
  std::vector<Number> state;
  for (const Leaf* leaf : leavesOf(mInitialTree.get())) {
    state.push_back(texts(state.size()).number(textOf(leaf)));
  }
  setInitialState(std::move(state));
  const Number* initial = initialState().data();
  checkFlags(isError(initial), isPruned(initial), "the initial state");
}

// A compound that makes the state of its parts itself may have other leaves than atoms.
void WholeSystem::nameSlots() {
  std::vector<std::string> paths;
  addPaths(mRoot, paths);
  const std::size_t count = leavesOf(mInitialTree.get()).size();
  for (std::size_t slot = 0; slot < count; ++slot) {
    addSlot(paths.size() == count ? paths[slot] : "leaf" + std::to_string(slot));
    mSlots.push_back(static_cast<Index>(slot));
  }
}

// ---- States ----------------------------------------------------------------------------------

// A copy, since the model may change what it is given.
void WholeSystem::restore(const Number* state) {
  const Tree tree(mInitialTree != nullptr ? mInitialTree->copy() : nullptr);
  std::size_t slot = 0;
  for (Leaf* leaf : leavesOf(tree.get())) {
    const std::string& text = texts(slot).text(state[slot]);
    if (textOf(leaf) != text) leaf->setAleaf(new Atomleaf(text.c_str()));
    ++slot;
  }
  mRoot.setState(tree.get());
}

std::vector<Number> WholeSystem::read() {
  const Tree tree(mRoot.getState());
  if (shapeOf(tree.get()) != mShape) {
    throw Fault("the state tree of the model has another shape than at first");
  }
  std::vector<Number> state;
  for (const Leaf* leaf : leavesOf(tree.get())) {
    state.push_back(texts(state.size()).number(textOf(leaf)));
  }
  return state;
}

// ---- Transitions -----------------------------------------------------------------------------

// As a breadth-first search goes through a state: the connectors are found once, and the state is
// restored before each but the first one.
void WholeSystem::visitTransitions(const Number* state, EdgeVisitor& visitor) {
  restore(state);
  Connector* legal = mRoot.activate(false);
  while (legal != nullptr && !legal->dominated()) {
    fire(*legal, visitor);
    legal = legal->next();
    if (legal != nullptr) restore(state);
  }
}

bool WholeSystem::canMove(const Number* state) {
  restore(state);
  return mRoot.activate(false) != nullptr;
}

void WholeSystem::fire(Connector& connector, EdgeVisitor& visitor) {
  const Label label = mLabels.of(connector);
  clearFlags();
  connector.execute();
  const std::vector<Number> after = read();
  checkFlags(isError(after.data()), isPruned(after.data()), label.text);
  visitor.visit({0, label.text, mSlots, after.data()});
}

}  // namespace Vesk::Pins
