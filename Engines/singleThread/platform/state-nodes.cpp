#include "state-nodes.hpp"

#include <cstring>

#include "states.hpp"

namespace {

constexpr char ERROR_MARKER[] = "ERROR";
constexpr char PRUNE_MARKER[] = "PRUNE";

const char* textOf(const Leaf& leaf) {
  const Atomleaf* atom = leaf.getAleaf();
  return atom != nullptr && atom->getVal() != nullptr ? atom->getVal() : "";
}

bool contains(const Leaf& leaf, const char* marker) {
  return std::strstr(textOf(leaf), marker) != nullptr;
}

bool sameState(const StateNode* one, const StateNode* other) {
  if (one->state() == nullptr || other->state() == nullptr) return one->state() == other->state();
  return one->state()->equals(other->state());
}

}  // namespace

int ObserverState(Node* state) {
  if (state == nullptr) return 0;
  if (state->isLeaf()) {
    const Leaf& leaf = *static_cast<Leaf*>(state);
    if (contains(leaf, ERROR_MARKER)) return 1;
    return contains(leaf, PRUNE_MARKER) ? 2 : 0;
  }
  auto* inner = static_cast<Nonleaf*>(state);
  for (int i = 0; i < inner->getNumChild(); ++i) {
    const int found = ObserverState(inner->getChild(i));
    if (found != 0) return found;
  }
  return 0;
}

bool StateNode::equals(StateNode* other) const {
  return other != nullptr && sameState(this, other);
}

StateNode* StateNodeIter::popHead() {
  StateNode* first = m_head;
  if (first == nullptr) return nullptr;
  m_head = first->next();
  if (m_current == first) m_current = m_head;
  first->setNext(nullptr);
  return first;
}

void StateNodeIter::addHead(StateNode* node) {
  node->setNext(m_head);
  m_head = node;
}

void StateNodeIter::addTail(StateNode* node) {
  node->setNext(nullptr);
  if (m_head == nullptr) {
    m_head = node;
    return;
  }
  StateNode* last = m_head;
  while (last->next() != nullptr) last = last->next();
  last->setNext(node);
}

void StateNodeIter::addCurrent(StateNode* node) {
  if (m_current == nullptr) {
    addHead(node);
  } else {
    node->setNext(m_current->next());
    m_current->setNext(node);
  }
  m_current = node;
}

StateNode* StateNodeIter::next() {
  m_current = m_current != nullptr ? m_current->next() : m_head;
  return m_current;
}

bool StateNodeIter::isPresent(StateNode* node, int& position) const {
  int number = 0;
  for (StateNode* it = m_head; it != nullptr; it = it->next(), ++number) {
    if (!it->equals(node)) continue;
    position = number;
    return true;
  }
  return false;
}
