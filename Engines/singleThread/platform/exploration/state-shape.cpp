#include "exploration/state-shape.hpp"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "exploration/tree-walk.hpp"
#include "exploration/words.hpp"
#include "virtual-table.hpp"
#include "work-stack.hpp"

namespace Vesk {

namespace {

constexpr int LEAF = -1;
constexpr unsigned char LONG = 255;  // stands before the length of a text of so many characters

// ---- Classes of nodes ------------------------------------------------------------------------

// Tells the engine's own classes from those that a model derives.
class PlainClasses {
 public:
  PlainClasses()
      : mAtom(tableOf(Atomleaf())), mLeaf(tableOf(Leaf(nullptr))), mInner(tableOf(Nonleaf(0))) {}
  bool has(const Atomleaf& atom) const { return tableOf(atom) == mAtom; }
  bool has(const Leaf& leaf) const { return isLeaf(leaf); }
  bool isLeaf(const Node& node) const { return tableOf(node) == mLeaf; }
  bool has(const Nonleaf& inner) const { return tableOf(inner) == mInner; }
  bool isInner(const Node& node, int children) const {
    return tableOf(node) == mInner && static_cast<const Nonleaf&>(node).getNumChild() == children;
  }

  // Whether the text lies in the object itself, where a whole word can be read.
  bool isInside(const char* text, const Atomleaf& atom) const {
    return offset(text, atom) == mOffset;
  }

 private:
  static std::uintptr_t offset(const char* text, const Atomleaf& atom) {
    return reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(&atom);
  }
  static std::uintptr_t offsetOfShortText(const Atomleaf& atom) {
    return offset(atom.getVal(), atom);
  }

  const void* mAtom;
  const void* mLeaf;
  const void* mInner;
  const std::uintptr_t mOffset = offsetOfShortText(Atomleaf(""));
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

// Whether a terminated text, or null, is this one.
bool isText(const char* own, const char* text, std::size_t length) {
  return own != nullptr && std::strncmp(own, text, length) == 0 && own[length] == '\0';
}

// Whether the leaf has this text. Most are short and lie in the object. Requires: WORD characters
// of the other text can be read.
inline bool hasText(const Atomleaf& atom, const char* text, std::size_t length,
                    const PlainClasses& plain) {
  const char* own = atom.getVal();
  if (length > WORD || !plain.isInside(own, atom)) return isText(own, text, length);
  return haveSameBytes(own, text, length) && own[length] == '\0';
}

// Packs the children of one node after the other.
class LeafPacker {
 public:
  static constexpr int FAILED = -1;

  LeafPacker(StateText& text, Lengths& lengths) : mText(text), mLengths(lengths) {}

  // Packs the leaves from a child on. Returns the number of the first child that is none, or FAILED
  // when a leaf holds something else than a text.
  int pack(const Nonleaf& parent, int child) {
    const int children = parent.getNumChild();
    while (child < children && isLeaf(parent.getChild(child))) {
      const int next = packShort(parent, child);
      if (next != child) {
        child = next;
      } else if (!hasNumbers(*parent.getChild(child)) && packAny(*parent.getChild(child))) {
        ++child;
      } else {
        return FAILED;
      }
    }
    return child;
  }

  // Packs any leaf.
  bool packAny(const Node& leaf) {
    const char* own = plainText(static_cast<const Leaf&>(leaf), mPlain);
    if (own == nullptr) return false;
    const std::size_t length = std::strlen(own);
    mText.append(own, length);
    appendLength(mLengths, length);
    return true;
  }

 private:
  static bool isLeaf(const Node* node) { return node != nullptr && node->isLeaf(); }

  // Packs leaves with short texts, each with what stands behind it, which the next one overwrites.
  // Returns the number of the first child that is no such leaf.
  int packShort(const Nonleaf& parent, int child) {
    const int children = parent.getNumChild();
    const auto most = static_cast<std::size_t>(children - child);
    char* const start = mText.room(most * WORD);
    const std::size_t former = mLengths.size();
    mLengths.resize(former + most);
    char* to = start;
    unsigned char* length = mLengths.data() + former;
    const PlainClasses plain = mPlain;  // an own one, which what is written below cannot change
    for (; child < children; ++child) {
      const char* own = shortText(parent.getChild(child), plain);
      if (own == nullptr) break;
      const std::uint64_t word = wordAt(own);
      const std::size_t bytes = bytesBeforeZero(word);
      if (bytes == WORD) break;
      std::memcpy(to, &word, WORD);
      to += bytes;
      *length++ = static_cast<unsigned char>(bytes);
    }
    mText.take(static_cast<std::size_t>(to - start));
    mLengths.resize(static_cast<std::size_t>(length - mLengths.data()));
    return child;
  }

  // The text of a leaf when it lies in the object itself, else null.
  static const char* shortText(const Node* node, const PlainClasses& plain) {
    if (node == nullptr || !plain.isLeaf(*node) || hasNumbers(*node)) return nullptr;
    const Atomleaf* atom = static_cast<const Leaf*>(node)->getAleaf();
    if (atom == nullptr || !plain.has(*atom)) return nullptr;
    return plain.isInside(atom->getVal(), *atom) ? atom->getVal() : nullptr;
  }

  StateText& mText;
  Lengths& mLengths;
  const PlainClasses& mPlain = plainClasses();
};

// Whether the children of a node are the next ones of an outline, up to one that is no leaf.
bool isOutline(const int* outline, const int* end, int leaves) {
  if (end - outline < leaves) return false;
  for (; leaves != 0; --leaves) {
    if (*outline++ != LEAF) return false;
  }
  return true;
}

// The numbers of the root belong to the search, so they are not compared.
bool packInner(const Nonleaf& root, const std::vector<int>& children, LeafPacker& packer) {
  struct Place {
    const Nonleaf* parent;
    int next;
  };
  const PlainClasses& plain = plainClasses();
  const int* outline = children.data();
  const int* const end = outline + children.size();
  if (*outline++ != root.getNumChild() || !plain.has(root)) return false;
  WorkStack<Place> places;
  places.push({&root, 0});
  while (!places.empty()) {
    Place& place = places.top();
    const int next = packer.pack(*place.parent, place.next);
    if (next == LeafPacker::FAILED || !isOutline(outline, end, next - place.next)) return false;
    outline += next - place.next;
    place.next = next + 1;
    if (next == place.parent->getNumChild()) {
      places.pop();
      continue;
    }
    const auto* inner = static_cast<const Nonleaf*>(place.parent->getChild(next));
    if (inner == nullptr || outline == end || hasNumbers(*inner)) return false;
    if (*outline++ != inner->getNumChild() || !plain.has(*inner)) return false;
    places.push({inner, 0});
  }
  return outline == end;
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

bool StateShape::pack(const Node* tree, StateText& text, Lengths& lengths) const {
  if (tree == nullptr || mChildren.empty()) return false;
  LeafPacker packer(text, lengths);
  if (tree->isLeaf()) return mChildren.front() == LEAF && packer.packAny(*tree);
  return packInner(*static_cast<const Nonleaf*>(tree), mChildren, packer);
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
  struct Place {
    const Nonleaf* parent;
    int next;
  };
  WorkStack<Place> places;
  const auto take = [&](const Node* node, const Nonleaf* parent, int child) {
    if (node->isLeaf()) {
      mParts.push_back({node, parent, child, LEAF});
      mAtoms.push_back(static_cast<const Leaf*>(node)->getAleaf());
    } else {
      const auto* inner = static_cast<const Nonleaf*>(node);
      mParts.push_back({node, parent, child, inner->getNumChild()});
      places.push({inner, 0});
    }
  };
  take(mTree.get(), nullptr, 0);
  while (!places.empty()) {
    Place& place = places.top();
    const Nonleaf* parent = place.parent;
    if (place.next == parent->getNumChild()) {
      places.pop();
    } else {
      const int child = place.next++;
      take(parent->getChild(child), parent, child);
    }
  }
}

// Most leaves have the text already that the state before gave them.
void PackedTree::unpack(const char* text, const unsigned char* lengths) {
  const PlainClasses plain = plainClasses();
  for (Atomleaf* atom : mAtoms) {
    const std::size_t length = readLength(lengths);
    if (!hasText(*atom, text, length, plain)) atom->setVal(std::string(text, length).c_str());
    text += length;
  }
}

// A part is looked at only when the model has not replaced it, and what has taken the place of one
// in memory is told by its class and size.
bool PackedTree::holds(const char* text, const unsigned char* lengths) const {
  const PlainClasses plain = plainClasses();
  auto atom = mAtoms.begin();
  for (const Part& part : mParts) {
    const Node* node = part.parent != nullptr ? part.parent->getChild(part.child) : mTree.get();
    if (node != part.node || (part.parent != nullptr && hasNumbers(*node))) return false;
    if (part.children != LEAF) {
      if (!plain.isInner(*node, part.children)) return false;
      continue;
    }
    if (!plain.isLeaf(*node)) return false;
    const Atomleaf* own = static_cast<const Leaf*>(node)->getAleaf();
    if (own != *atom++ || !plain.has(*own)) return false;
    const std::size_t length = readLength(lengths);
    if (!hasText(*own, text, length, plain)) return false;
    text += length;
  }
  return true;
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
