// The outline that the trees of a model's states have in common. A tree that has it can be packed:
// its texts, one behind the other, and their lengths are enough to build it again. Private to the
// engine.
#ifndef VESK_EXPLORATION_STATE_SHAPE_HPP
#define VESK_EXPLORATION_STATE_SHAPE_HPP

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "exploration/pending-state.hpp"
#include "exploration/state-text.hpp"
#include "states.hpp"

namespace Vesk {

// The lengths of the texts of a tree's leaves, each in one byte or, when it is long, in more.
using Lengths = std::vector<unsigned char>;

class StateShape {
 public:
  // Takes the outline of a tree. One that misses a part, has nodes of classes derived by the model,
  // or numbers in its parts, leaves no outline: then nothing can be packed.
  void take(const Node* tree);
  // Appends the text of the tree, and the lengths. False when the tree does not have this outline,
  // or holds more than its texts and the numbers of its root; then what was appended is not
  // complete.
  bool pack(const Node* tree, StateText& text, Lengths& lengths) const;
  // A tree with this outline and empty texts. Requires: pack() has succeeded.
  Tree build() const;
  // Nodes of a tree with this outline.
  std::size_t nodes() const { return mChildren.size(); }

 private:
  std::vector<int> mChildren;  // per node in order, how many it has; LEAF for a leaf
};

// A tree that can be filled with packed texts again and again, as long as nobody replaces its
// parts.
class PackedTree {
 public:
  // Takes a tree of a shape.
  explicit PackedTree(Tree tree);
  Node* root() const { return mTree.get(); }
  // Both require: WORD characters more than the text has can be read.
  // Gives the leaves the texts that were packed.
  void unpack(const char* text, const unsigned char* lengths);
  // It still has the parts of its own, with these texts and without numbers.
  bool holds(const char* text, const unsigned char* lengths) const;
  // Gives the tree away.
  Tree release() { return std::move(mTree); }

 private:
  struct Part {
    const Node* node;
    const Nonleaf* parent;  // null: it is the root
    int child;              // the place in the parent
    int children;           // LEAF for a leaf
  };

  Tree mTree;
  std::vector<Part> mParts;       // in order
  std::vector<Atomleaf*> mAtoms;  // of the leaves in order
};

// Whether the node is one of this tree.
bool contains(const Node* tree, const Node* node);

}  // namespace Vesk

#endif
