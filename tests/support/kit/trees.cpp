#include "kit/trees.hpp"

#include <cstdlib>
#include <memory>
#include <string>

namespace kit {

std::unique_ptr<Node> pairOf(const std::string& one, const std::string& other) {
  auto node = std::make_unique<Nonleaf>(2);
  node->setChild(new Leaf(new Atomleaf(one.c_str())), 0);
  node->setChild(new Leaf(new Atomleaf(other.c_str())), 1);
  return node;
}

std::string stateText(const Node* state) {
  char* printed = state->printNode();
  std::string copy = printed;
  std::free(printed);
  return copy;
}

}  // namespace kit
