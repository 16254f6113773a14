// A walk through a state tree that needs no room on the stack of the program, however deep the tree
// is. Private to the engine.
#ifndef VESK_EXPLORATION_TREE_WALK_HPP
#define VESK_EXPLORATION_TREE_WALK_HPP

#include "states.hpp"
#include "work-stack.hpp"

namespace Vesk {

// Visits all nodes in order, each before its children.
class TreeWalk {
 public:
  explicit TreeWalk(const Node* root) : mRoot(root), mStarted(false) {}

  // Gives the next node; false when all have been visited. A missing child, or root, is visited as
  // null. Requires: the tree has not changed since the walk began.
  bool next(const Node*& node) {
    if (mStarted) {
      while (!mAncestors.empty() && mAncestors.top().next == mAncestors.top().node->getNumChild()) {
        mAncestors.pop();
      }
      if (mAncestors.empty()) return false;
      Ancestor& parent = mAncestors.top();
      node = parent.node->getChild(parent.next++);
    } else {
      mStarted = true;
      node = mRoot;
    }
    if (node != nullptr && !node->isLeaf()) {
      mAncestors.push({static_cast<const Nonleaf*>(node), 0});
    }
    return true;
  }

 private:
  struct Ancestor {
    const Nonleaf* node;
    int next;  // the child to visit
  };

  const Node* mRoot;
  bool mStarted;
  WorkStack<Ancestor> mAncestors;
};

}  // namespace Vesk

#endif
