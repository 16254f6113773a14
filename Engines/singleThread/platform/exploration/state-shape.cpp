#include "exploration/state-shape.hpp"

#include <cstring>
#include <string>
#include <utility>

#include "exploration/tree-walk.hpp"
#include "work-stack.hpp"

namespace Vesk {

namespace {

constexpr int LEAF = -1;
constexpr std::size_t FEW = 8;
constexpr unsigned char LONG = 255;  // stands before the length of a text of so many characters

// ---- Classes of nodes ------------------------------------------------------------------------

// Tells the engine's own classes from those that a model derives, by their tables of virtual
// operations: models may be built without run-time type information.
class PlainClasses {
 public:
  PlainClasses()
      : mAtom(tableOf(Atomleaf())), mLeaf(tableOf(Leaf(nullptr))), mInner(tableOf(Nonleaf(0))) {}
  bool has(const Atomleaf& atom) const { return tableOf(atom) == mAtom; }
  bool has(const Leaf& leaf) const { return tableOf(leaf) == mLeaf; }
  bool has(const Nonleaf& inner) const { return tableOf(inner) == mInner; }

 private:
  // An object with virtual operations begins with the address of their table.
  template <class T>
  static const void* tableOf(const T& object) {
    const void* table;
    std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
    return table;
  }

  const void* mAtom;
  const void* mLeaf;
  const void* mInner;
};

// Made at the first use, when exhausted memory can be reported.
const PlainClasses& plainClasses() {
  static const PlainClasses classes;
  return classes;
}

bool hasNumbers(const Node& part) {
  return part.getIndex() != 0 || part.outTrans() != 0;
}

// The text of a leaf that holds nothing else, null for any other leaf.
const char* plainText(const Leaf& leaf, const PlainClasses& plain) {
  const Atomleaf* atom = leaf.getAleaf();
  return plain.has(leaf) && atom != nullptr && plain.has(*atom) ? atom->getVal() : nullptr;
}

// ---- Lengths ---------------------------------------------------------------------------------

void appendLength(Lengths& lengths, std::size_t length) {
  if (length < LONG) {
    lengths.push_back(static_cast<unsigned char>(length));
    return;
  }
  lengths.push_back(LONG);
  unsigned char bytes[sizeof length];
  std::memcpy(bytes, &length, sizeof length);
  lengths.insert(lengths.end(), bytes, bytes + sizeof bytes);
}

std::size_t readLength(const unsigned char*& cursor) {
  if (*cursor < LONG) return *cursor++;
  std::size_t length;
  std::memcpy(&length, cursor + 1, sizeof length);
  cursor += 1 + sizeof length;
  return length;
}

// Most texts are a few characters long.
std::size_t lengthOf(const char* text) {
  for (std::size_t length = 0; length < FEW; ++length) {
    if (text[length] == '\0') return length;
  }
  return FEW + std::strlen(text + FEW);
}

// Whether a terminated text, or null, is this one. Most end after a few characters.
bool isText(const char* own, const char* text, std::size_t length) {
  if (own == nullptr) return false;
  if (length > FEW) return std::strncmp(own, text, length) == 0 && own[length] == '\0';
  for (std::size_t i = 0; i < length; ++i) {
    if (own[i] != text[i]) return false;
  }
  return own[length] == '\0';
}

bool packLeaf(const Leaf& leaf, const PlainClasses& plain, StateText& text, Lengths& lengths) {
  const char* own = plainText(leaf, plain);
  if (own == nullptr) return false;
  const std::size_t length = lengthOf(own);
  text.append(own, length);
  appendLength(lengths, length);
  return true;
}

}  // namespace

// ---- Shape -----------------------------------------------------------------------------------

void StateShape::take(const Node* tree) {
  mChildren.clear();
  TreeWalk walk(tree);
  for (const Node* node; walk.next(node);) {
    if (node == nullptr) return mChildren.clear();
    mChildren.push_back(node->isLeaf() ? LEAF : static_cast<const Nonleaf*>(node)->getNumChild());
  }
  StateText text;
  Lengths lengths;
  if (!pack(tree, text, lengths)) mChildren.clear();
}

// The numbers of the root belong to the search, so they are not compared.
bool StateShape::pack(const Node* tree, StateText& text, Lengths& lengths) const {
  const PlainClasses& plain = plainClasses();
  auto outline = mChildren.begin();
  TreeWalk walk(tree);
  for (const Node* node; walk.next(node); ++outline) {
    if (outline == mChildren.end() || node == nullptr) return false;
    if (node != tree && hasNumbers(*node)) return false;
    if (node->isLeaf()) {
      const auto& leaf = *static_cast<const Leaf*>(node);
      if (*outline != LEAF || !packLeaf(leaf, plain, text, lengths)) return false;
    } else {
      const auto& inner = *static_cast<const Nonleaf*>(node);
      if (*outline != inner.getNumChild() || !plain.has(inner)) return false;
    }
  }
  return true;
}

Tree StateShape::build() const {
  struct Place {
    Nonleaf* parent;
    int next;
  };
  Tree root;
  WorkStack<Place> places;
  for (const int children : mChildren) {
    Tree node;
    if (children == LEAF) {
      auto atom = std::make_unique<Atomleaf>("");
      node = std::make_unique<Leaf>(atom.get());
      static_cast<void>(atom.release());  // the leaf has it
    } else {
      node = std::make_unique<Nonleaf>(children);
    }
    Node* added = node.get();
    if (root == nullptr) {
      root = std::move(node);
    } else {
      places.top().parent->setChild(node.release(), places.top().next++);
    }
    if (children > 0) places.push({static_cast<Nonleaf*>(added), 0});
    while (!places.empty() && places.top().next == places.top().parent->getNumChild()) places.pop();
  }
  return root;
}

// ---- Packed tree -----------------------------------------------------------------------------

PackedTree::PackedTree(Tree tree) : mTree(std::move(tree)) {
  TreeWalk walk(mTree.get());
  for (const Node* node; walk.next(node);) {
    mNodes.push_back(node);
    if (node->isLeaf()) mAtoms.push_back(static_cast<const Leaf*>(node)->getAleaf());
  }
}

// Most leaves have the text already that the state before gave them.
void PackedTree::unpack(const char* text, const unsigned char* lengths) {
  for (Atomleaf* atom : mAtoms) {
    const std::size_t length = readLength(lengths);
    if (!isText(atom->getVal(), text, length)) atom->setVal(std::string(text, length).c_str());
    text += length;
  }
}

// A part is looked at only when the model has not replaced it.
bool PackedTree::holds(const char* text, const unsigned char* lengths) const {
  const PlainClasses& plain = plainClasses();
  auto own = mNodes.begin();
  auto atom = mAtoms.begin();
  TreeWalk walk(mTree.get());
  for (const Node* node; walk.next(node); ++own) {
    if (own == mNodes.end() || node != *own) return false;
    if (node != mTree.get() && hasNumbers(*node)) return false;
    if (!node->isLeaf()) continue;
    const auto& leaf = *static_cast<const Leaf*>(node);
    const std::size_t length = readLength(lengths);
    if (leaf.getAleaf() != *atom++ || !isText(plainText(leaf, plain), text, length)) return false;
    text += length;
  }
  return own == mNodes.end();
}

bool contains(const Node* tree, const Node* node) {
  if (node == nullptr) return false;
  TreeWalk walk(tree);
  for (const Node* visited; walk.next(visited);) {
    if (visited == node) return true;
  }
  return false;
}

}  // namespace Vesk
