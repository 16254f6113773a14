// Small state trees, and the texts of states.
#ifndef VESK_TESTS_KIT_TREES_HPP
#define VESK_TESTS_KIT_TREES_HPP

#include <memory>
#include <string>

#include "states.hpp"

namespace kit {

// A tree with these two leaves.
std::unique_ptr<Node> pairOf(const std::string& one, const std::string& other);

// What a state prints.
std::string stateText(const Node* state);

// A leaf that remembers more than its text tells.
class RichLeaf : public Leaf {
 public:
  explicit RichLeaf(const char* text, int secret = 0) : Leaf(new Atomleaf(text)), mSecret(secret) {}
  RichLeaf(const RichLeaf&) = default;
  Node* copy() override { return new RichLeaf(*this); }
  int secret() const { return mSecret; }

 private:
  int mSecret;
};

}  // namespace kit

#endif
