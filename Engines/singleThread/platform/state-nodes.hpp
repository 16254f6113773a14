// What looks at global states from outside: markers in their texts, lists of them, and transitions
// between them. Explorations have lists of their own; these are for programs that walk through the
// states of a model by themselves:
//
//     // Whether a state is not yet in a list of those seen. Puts it there when it is not.
//     bool isNew(StateNodeIter& seen, StateNode* node) {
//       int position = 0;
//       if (seen.isPresent(node, position)) return false;
//       seen.addTail(node);
//       return true;
//     }
//
// Nothing here owns anything: whoever makes nodes and states deletes them.
#ifndef VESK_STATE_NODES_HPP
#define VESK_STATE_NODES_HPP

class Connector;
class Interaction;
class Node;

// A pending transition of the depth-first search: in a state, a connector with an interaction to
// fire. Owns nothing by itself.
class TransNode {
 public:
  TransNode(Node* state, Connector* trans, Interaction* inter)
      : m_state(state), m_trans(trans), m_inter(inter) {}
  // The state out of which it leads.
  Node* state() const { return m_state; }
  // Null for a state without transitions.
  Connector* trans() const { return m_trans; }
  // The interaction as it was when the entry was made.
  Interaction* inter() const { return m_inter; }

 protected:
  Node* m_state;
  Connector* m_trans;
  Interaction* m_inter;
};

// An element of a singly linked list of states, a utility for model code. Does not own the state,
// which may be null. A node is in one list at a time.
class StateNode {
 public:
  StateNode(Node* state, unsigned int quantity, StateNode* next = nullptr)
      : m_state(state), m_quantity(quantity), m_next(next) {}
  Node* state() const { return m_state; }
  // The number that the node was made with; what it counts is up to its maker.
  unsigned int quantity() const { return m_quantity; }
  // The node behind this one; null at the end.
  StateNode* next() const { return m_next; }
  void setNext(StateNode* next) { m_next = next; }
  // Node::equals of the two states, so copies of a state differ; two null states are equal. False
  // for a null node.
  bool equals(StateNode* other) const;

 protected:
  Node* m_state;
  unsigned int m_quantity;
  StateNode* m_next;
};

// A list of state nodes with a current position, which at first is behind the last node. Neither
// nodes nor states are owned.
class StateNodeIter {
 public:
  StateNodeIter() : m_head(nullptr), m_current(nullptr) {}
  // Null when the list is empty.
  StateNode* head() const { return m_head; }
  // Null when the position is behind the last node.
  StateNode* current() const { return m_current; }
  // Takes the first node out of the list and returns it, null when there is none. A position on it
  // moves to the next node.
  StateNode* popHead();
  // Put a node in front of the list or behind it. The position stays; addTail() walks to the end.
  // Requires: the node is in no list.
  void addHead(StateNode* node);
  void addTail(StateNode* node);
  // Puts a node behind the current one, which it then becomes; at the head of a list without a
  // current node.
  void addCurrent(StateNode* node);
  // True when the position is behind the last node.
  bool end() const { return m_current == nullptr; }
  bool empty() const { return m_head == nullptr; }
  // Moves the position on and returns the node there; from the end, back to the head.
  StateNode* next();
  // Looks for a node with an equal state from the head; position receives its number from 0, and
  // keeps what it had when there is none.
  bool isPresent(StateNode* node, int& position) const;

 protected:
  StateNode* m_head;
  StateNode* m_current;
};

// 1 when a leaf of the state contains "ERROR", 2 when one before that contains "PRUNE", else 0.
// Leaves are looked at in order, and the first one with a marker decides; in a leaf with both,
// "ERROR" does. 0 for a null state. Changes nothing.
int ObserverState(Node* state);

#endif
