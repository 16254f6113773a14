// Small state trees.
#ifndef VESK_TESTS_TREES_HPP
#define VESK_TESTS_TREES_HPP

#include <memory>
#include <string>

#include "states.hpp"

inline std::unique_ptr<Node> pairOf(const std::string& one, const std::string& other) {
  auto node = std::make_unique<Nonleaf>(2);
  node->setChild(new Leaf(new Atomleaf(one.c_str())), 0);
  node->setChild(new Leaf(new Atomleaf(other.c_str())), 1);
  return node;
}

#endif
