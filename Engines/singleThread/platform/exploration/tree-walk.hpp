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
  explicit TreeWalk(const Node* root) : mRoot(root) {}

  // Gives the next node; false when all have been visited. A missing child, or root, is visited as
  // null. Requires: the tree has not changed since the walk began.
  bool next(const Node*& node) {
    if (!mStarted) {
      mStarted = true;
      node = mRoot;
    } else {
      while (mNext == mChildren) {
        if (mAncestors.empty()) return false;
        goUp();
      }
      node = mParent->getChild(mNext++);
    }
    if (node != nullptr && !node->isLeaf()) goDown(static_cast<const Nonleaf*>(node));
    return true;
  }

 private:
  struct Ancestor {
    const Nonleaf* node;
    int next;  // the child to visit
  };

  void goDown(const Nonleaf* node) {
    if (mParent != nullptr) mAncestors.push({mParent, mNext});
    mParent = node;
    mNext = 0;
    mChildren = node->getNumChild();
  }
  void goUp() {
    const Ancestor ancestor = mAncestors.pop();
    mParent = ancestor.node;
    mNext = ancestor.next;
    mChildren = mParent->getNumChild();
  }

  const Node* mRoot;
  bool mStarted = false;
  const Nonleaf* mParent = nullptr;  // whose children are visited
  int mNext = 0;                     // the child to visit
  int mChildren = 0;
  WorkStack<Ancestor> mAncestors;  // of the parent
};

}  // namespace Vesk

#endif
