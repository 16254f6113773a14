#include "exploration/state-shape.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kit/trees.hpp"

using namespace kit;

using Vesk::Lengths;
using Vesk::PackedTree;
using Vesk::StateShape;
using Vesk::StateText;
using Vesk::Tree;

namespace {

// A tree that is made of what a test needs: a text for a leaf, in brackets the children of a node.
// "(a(bc)())" has a leaf, a node with two leaves, and a node without children.
Tree tree(const char*& outline) {
  if (*outline != '(') {
    const std::string text(1, *outline++);
    return std::make_unique<Leaf>(new Atomleaf(text.c_str()));
  }
  std::vector<Tree> children;
  for (++outline; *outline != ')';) children.push_back(tree(outline));
  ++outline;
  auto node = std::make_unique<Nonleaf>(static_cast<int>(children.size()));
  for (std::size_t i = 0; i < children.size(); ++i) {
    node->setChild(children[i].release(), static_cast<int>(i));
  }
  return node;
}
Tree treeOf(const char* outline) {
  return tree(outline);
}

Nonleaf& inner(Node* tree) {
  return *static_cast<Nonleaf*>(tree);
}
Leaf& leafOf(Node* tree, int i) {
  return *static_cast<Leaf*>(inner(tree).getChild(i));
}
Leaf& leafOf(const Tree& tree, int i) {
  return leafOf(tree.get(), i);
}

struct DerivedText : Atomleaf {
  using Atomleaf::Atomleaf;
};
struct DerivedNode : Nonleaf {
  using Nonleaf::Nonleaf;
};

struct Packed {
  StateText text;
  Lengths lengths;
};

bool packs(const StateShape& shape, const Tree& tree) {
  Packed packed;
  return shape.pack(tree.get(), packed.text, packed.lengths);
}

bool isTaken(const Tree& tree) {
  StateShape shape;
  shape.take(tree.get());
  return shape.nodes() != 0;
}

// What a tree of these texts becomes when it is packed and filled into another one.
std::string throughPacking(const std::string& one, const std::string& other) {
  StateShape shape;
  shape.take(pairOf("", "").get());
  Packed packed;
  EXPECT_TRUE(shape.pack(pairOf(one, other).get(), packed.text, packed.lengths));
  PackedTree filled(shape.build());
  filled.unpack(packed.text.data(), packed.lengths.data());
  EXPECT_EQ(one, leafOf(filled.root(), 0).getAleaf()->getVal());
  EXPECT_TRUE(filled.holds(packed.text.data(), packed.lengths.data()));
  return stateText(filled.root());
}

}  // namespace

TEST(StateShapeTest, TreesOfOneOutlinePackWhateverTheirTextsAre) {
  StateShape shape;
  shape.take(treeOf("(a(bc)())").get());
  EXPECT_EQ(6U, shape.nodes());
  EXPECT_TRUE(packs(shape, treeOf("(x(yz)())")));
  for (const char* other : {"a", "()", "(a(bc))", "(a(bc)()d)", "((bc)a())", "(a(b)())", "(abc())",
                            "(a(bc)(d))", "(a(bcd)())"}) {
    EXPECT_FALSE(packs(shape, treeOf(other))) << other;
  }
}

TEST(StateShapeTest, WithoutOutlineNothingPacks) {
  const StateShape shape;
  EXPECT_EQ(0U, shape.nodes());
  EXPECT_FALSE(packs(shape, treeOf("a")));
  EXPECT_FALSE(packs(shape, treeOf("()")));
}

TEST(StateShapeTest, AMissingPartLeavesNoOutline) {
  EXPECT_FALSE(isTaken(nullptr));
  EXPECT_FALSE(isTaken(std::make_unique<Nonleaf>(1)));
  EXPECT_TRUE(isTaken(std::make_unique<Nonleaf>(0)));
}

TEST(StateShapeTest, ALeafWithoutTextLeavesNoOutline) {
  EXPECT_FALSE(isTaken(std::make_unique<Leaf>(static_cast<Atomleaf*>(nullptr))));
  EXPECT_FALSE(isTaken(std::make_unique<Leaf>(new Atomleaf)));
  EXPECT_TRUE(isTaken(std::make_unique<Leaf>(new Atomleaf(""))));
}

TEST(StateShapeTest, ClassesOfTheModelNeitherPackNorLeaveAnOutline) {
  StateShape leaf, node;
  leaf.take(treeOf("a").get());
  node.take(treeOf("()").get());
  const Tree richLeaf = std::make_unique<RichLeaf>("a");
  EXPECT_FALSE(packs(leaf, richLeaf));
  EXPECT_FALSE(isTaken(richLeaf));
  const Tree derivedText = std::make_unique<Leaf>(new DerivedText("a"));
  EXPECT_FALSE(packs(leaf, derivedText));
  EXPECT_FALSE(isTaken(derivedText));
  const Tree derivedNode = std::make_unique<DerivedNode>(0);
  EXPECT_FALSE(packs(node, derivedNode));
  EXPECT_FALSE(isTaken(derivedNode));
}

TEST(StateShapeTest, ATreeOfAnotherOutlineDoesNotPack) {
  StateShape shape;
  shape.take(treeOf("(a(bc)())").get());
  for (const char* outline :
       {"a", "()", "(a(bc))", "(a(b)())", "(a(bcd)())", "((bc)a())", "(a(bc)d)", "(ab())",
        "(a()(bc))", "(a(b())())", "(a(bc)(d))", "(aaa)", "(()(bc)())", "(a(()c)())"}) {
    EXPECT_FALSE(packs(shape, treeOf(outline))) << outline;
  }
}

TEST(StateShapeTest, AMissingPartInATreeDoesNotPack) {
  StateShape shape;
  shape.take(treeOf("(a(bc)())").get());
  for (int missing = 0; missing < 3; ++missing) {
    const Tree tree = treeOf("(a(bc)())");
    delete inner(tree.get()).getChild(missing);
    inner(tree.get()).setChild(nullptr, missing);
    EXPECT_FALSE(packs(shape, tree)) << missing;
  }
  const Tree nowhere = treeOf("(a(bc)())");
  leafOf(nowhere, 0).setAleaf(nullptr);
  EXPECT_FALSE(packs(shape, nowhere));
}

TEST(StateShapeTest, ClassesOfTheModelInsideATreeDoNotPack) {
  StateShape shape;
  shape.take(treeOf("(a(b)())").get());
  const auto packsWith = [&](Node* part, int place) {
    const Tree tree = treeOf("(a(b)())");
    delete inner(tree.get()).getChild(place);
    inner(tree.get()).setChild(part, place);
    return packs(shape, tree);
  };
  EXPECT_FALSE(packsWith(new RichLeaf("a"), 0));
  EXPECT_FALSE(packsWith(new Leaf(new DerivedText("a")), 0));
  EXPECT_FALSE(packsWith(new Leaf(new DerivedText("longer than a word")), 0));
  EXPECT_FALSE(packsWith(new DerivedNode(0), 2));
  EXPECT_TRUE(packsWith(new Leaf(new Atomleaf("longer than a word")), 0));
}

TEST(StateShapeTest, NumbersOfTheRootAreAllowedThoseOfItsPartsAreNot) {
  StateShape shape;
  shape.take(pairOf("a", "b").get());
  Tree root = pairOf("a", "b");
  root->setIndex(7);
  root->incrOutTrans();
  EXPECT_TRUE(packs(shape, root));
  EXPECT_TRUE(isTaken(root));
  Tree numbered = pairOf("a", "b");
  leafOf(numbered, 1).setIndex(1);
  EXPECT_FALSE(packs(shape, numbered));
  EXPECT_FALSE(isTaken(numbered));
  Tree counted = pairOf("a", "b");
  leafOf(counted, 0).incrOutTrans();
  EXPECT_FALSE(packs(shape, counted));
  EXPECT_FALSE(isTaken(counted));
}

TEST(StateShapeTest, PackingAppendsTheTextsInOrder) {
  StateShape shape;
  shape.take(treeOf("(a(bc)())").get());
  Packed packed;
  packed.text.append("before:", 7);
  ASSERT_TRUE(shape.pack(treeOf("(x(yz)())").get(), packed.text, packed.lengths));
  EXPECT_EQ("before:xyz", std::string(packed.text.data(), packed.text.length()));
  EXPECT_EQ((Lengths{1, 1, 1}), packed.lengths);
}

TEST(StateShapeTest, ABuiltTreeHasTheOutlineAndEmptyTexts) {
  for (const char* outline : {"a", "()", "(a(bc)())", "((((a))))", "(()(a)(bc))"}) {
    StateShape shape;
    const Tree taken = treeOf(outline);
    shape.take(taken.get());
    const Tree built = shape.build();
    EXPECT_TRUE(packs(shape, built)) << outline;
    EXPECT_EQ("", stateText(built.get())) << outline;
  }
}

TEST(PackedTreeTest, TextsOfAnyLengthComeBack) {
  // Where a comparison changes from single characters to blocks, and a length from one byte to
  // more.
  const std::size_t lengths[] = {0, 1, 7, 8, 9, 254, 255, 256, 70000};
  for (const std::size_t one : lengths) {
    for (const std::size_t other : lengths) {
      EXPECT_EQ(std::string(one, 'a') + std::string(other, 'b'),
                throughPacking(std::string(one, 'a'), std::string(other, 'b')))
          << one << " and " << other;
    }
  }
}

TEST(PackedTreeTest, EachUnpackingReplacesTheTextsBefore) {
  StateShape shape;
  shape.take(pairOf("", "").get());
  PackedTree filled(shape.build());
  Node* const root = filled.root();
  for (const char* other : {"", "longer than a few", "b", "longer than a fez"}) {
    Packed packed;
    ASSERT_TRUE(shape.pack(pairOf("a", other).get(), packed.text, packed.lengths)) << other;
    filled.unpack(packed.text.data(), packed.lengths.data());
    EXPECT_EQ(std::string("a") + other, stateText(filled.root())) << other;
    EXPECT_EQ(root, filled.root()) << other;
  }
}

TEST(PackedTreeTest, HoldsItsTextsUntilAPartChanges) {
  StateShape shape;
  shape.take(pairOf("", "").get());
  Packed packed;
  ASSERT_TRUE(shape.pack(pairOf("a", "b").get(), packed.text, packed.lengths));
  const auto holds = [&](void (*change)(Node * root)) {
    PackedTree filled(shape.build());
    filled.unpack(packed.text.data(), packed.lengths.data());
    change(filled.root());
    return filled.holds(packed.text.data(), packed.lengths.data());
  };
  EXPECT_TRUE(holds([](Node*) {}));
  EXPECT_TRUE(holds([](Node* root) { root->setIndex(3); })) << "numbers of the root";
  EXPECT_TRUE(holds([](Node* root) { leafOf(root, 0).getAleaf()->setVal("a"); }))
      << "the same text again";
  EXPECT_FALSE(holds([](Node* root) { leafOf(root, 0).getAleaf()->setVal("c"); }))
      << "another text";
  EXPECT_FALSE(holds([](Node* root) { leafOf(root, 1).getAleaf()->setVal("bb"); }))
      << "a longer text";
  EXPECT_FALSE(holds([](Node* root) { leafOf(root, 1).setAleaf(new Atomleaf("b")); }))
      << "an atom's text of the same characters";
  EXPECT_FALSE(holds([](Node* root) { leafOf(root, 1).setIndex(1); })) << "a number";
  EXPECT_FALSE(holds([](Node* root) { leafOf(root, 1).getAleaf()->setVal(nullptr); })) << "no text";
  EXPECT_FALSE(holds([](Node* root) {
    Node* former = inner(root).getChild(0);
    inner(root).setChild(new Leaf(new Atomleaf("a")), 0);
    delete former;
  })) << "another leaf of the same text";
}

// What has taken the place of a part in memory, as far as it can be told.
TEST(PackedTreeTest, APartOfAnotherClassOrSizeAtTheSamePlaceIsFound) {
  StateShape shape;
  shape.take(treeOf("(a(b))").get());
  Packed packed;
  ASSERT_TRUE(shape.pack(treeOf("(a(b))").get(), packed.text, packed.lengths));
  const auto holds = [&](int place, const std::function<void(void*)>& make) {
    PackedTree filled(shape.build());
    filled.unpack(packed.text.data(), packed.lengths.data());
    Node* const former = inner(filled.root()).getChild(place);
    former->~Node();
    make(former);
    return filled.holds(packed.text.data(), packed.lengths.data());
  };
  struct OtherLeaf : Leaf {
    using Leaf::Leaf;
  };
  EXPECT_FALSE(holds(1, [](void* at) { new (at) Nonleaf(0); })) << "fewer children";
  EXPECT_FALSE(holds(1, [](void* at) { new (at) DerivedNode(1); })) << "another class";
  EXPECT_FALSE(holds(0, [](void* at) { new (at) OtherLeaf(new Atomleaf("a")); })) << "another leaf";
  EXPECT_FALSE(holds(0, [](void* at) { new (at) Leaf(new DerivedText("a")); })) << "another text";
}

TEST(TreeTest, ContainsItsNodesAndNoOthers) {
  const Tree whole = treeOf("(a(bc)())");
  const Tree other = treeOf("(a(bc)())");
  const Node* deep = inner(inner(whole.get()).getChild(1)).getChild(1);
  EXPECT_TRUE(Vesk::contains(whole.get(), whole.get()));
  EXPECT_TRUE(Vesk::contains(whole.get(), deep));
  EXPECT_FALSE(Vesk::contains(other.get(), deep));
  EXPECT_FALSE(Vesk::contains(whole.get(), nullptr));
  EXPECT_FALSE(Vesk::contains(nullptr, deep));
  const Nonleaf incomplete(1);
  EXPECT_FALSE(Vesk::contains(&incomplete, nullptr)) << "a missing child is no node";
}

TEST(StateShapeTest, WhatIsNoTreeCannotBePacked) {
  StateText text;
  Lengths lengths;
  StateShape shape;
  EXPECT_FALSE(shape.pack(nullptr, text, lengths)) << "without a shape";
  EXPECT_FALSE(shape.pack(treeOf("(a)").get(), text, lengths));
  shape.take(treeOf("(a)").get());
  EXPECT_FALSE(shape.pack(nullptr, text, lengths));
  EXPECT_TRUE(shape.pack(treeOf("(b)").get(), text, lengths));
}
