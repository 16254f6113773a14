#include "state-nodes.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>

#include "kit/trees.hpp"

using namespace kit;

TEST(ObserverStateTest, TheFirstMarkedLeafDecides) {
  const auto observe = [](std::initializer_list<const char*> texts) {
    Nonleaf node(static_cast<int>(texts.size()));
    int i = 0;
    for (const char* text : texts) node.setChild(new Leaf(new Atomleaf(text)), i++);
    return ObserverState(&node);
  };
  EXPECT_EQ(0, observe({}));
  EXPECT_EQ(0, observe({"a", "ERRO", "PRUN"}));
  EXPECT_EQ(1, observe({"a", "xERRORx", "PRUNE"}));
  EXPECT_EQ(2, observe({"a", "PRUNE", "ERROR"}));
  EXPECT_EQ(1, observe({"PRUNE ERROR"}));
}

TEST(ObserverStateTest, LooksIntoTheWholeTreeAndAcceptsNull) {
  Nonleaf outer(3);
  auto* inner = new Nonleaf(1);
  inner->setChild(new Leaf(new Atomleaf("PRUNE")), 0);
  outer.setChild(new Leaf(static_cast<Atomleaf*>(nullptr)), 0);
  outer.setChild(inner, 2);
  EXPECT_EQ(2, ObserverState(&outer));
  Leaf empty(new Atomleaf(nullptr));
  EXPECT_EQ(0, ObserverState(&empty));
  EXPECT_EQ(0, ObserverState(nullptr));
}

TEST(StateNodeTest, EqualsComparesStatesByIdentityOfTheirLeaves) {  // Deliberate
  auto state = pairOf("a", "b");
  auto same = pairOf("a", "b");
  StateNode one(state.get(), 3);
  StateNode again(state.get(), 4);
  StateNode other(same.get(), 3);
  StateNode none(nullptr, 0);
  EXPECT_EQ(3U, one.quantity());
  EXPECT_TRUE(one.equals(&again));
  EXPECT_FALSE(one.equals(&other));
  EXPECT_FALSE(one.equals(&none));
  EXPECT_FALSE(none.equals(&one));
  EXPECT_TRUE(none.equals(&none));
  EXPECT_FALSE(one.equals(nullptr));
}

TEST(StateNodeTest, StatesWithoutLeavesAreEqualWhenTheyHaveOneShape) {
  Nonleaf empty(0), alsoEmpty(0);
  EXPECT_TRUE(StateNode(&empty, 0).equals(std::make_unique<StateNode>(&alsoEmpty, 0).get()));
  const auto pair = pairOf("a", "b");
  EXPECT_FALSE(StateNode(&empty, 0).equals(std::make_unique<StateNode>(pair.get(), 0).get()));
}

TEST(StateNodeTest, TakesItsSuccessorAtConstructionOrLater) {
  StateNode last(nullptr, 1);
  EXPECT_EQ(last.next(), nullptr);
  StateNode first(nullptr, 2, &last);
  EXPECT_EQ(first.next(), &last);
  first.setNext(nullptr);
  EXPECT_EQ(first.next(), nullptr);
}

TEST(StateNodeIterTest, AddsAtBothEndsAndPopsTheHead) {
  StateNodeIter list;
  EXPECT_TRUE(list.empty()) << "as it is made";
  EXPECT_TRUE(list.end());
  EXPECT_EQ(nullptr, list.popHead());
  StateNode a(nullptr, 1), b(nullptr, 2), c(nullptr, 3);
  list.addTail(&b);
  list.addTail(&c);
  list.addHead(&a);
  EXPECT_FALSE(list.empty());
  EXPECT_EQ(&a, list.popHead());
  EXPECT_EQ(nullptr, a.next());
  EXPECT_EQ(&b, list.popHead());
  EXPECT_EQ(&c, list.popHead());
  EXPECT_TRUE(list.empty()) << "all were taken";
  for (StateNode* node : {&a, &b, &c}) list.addTail(node);
  EXPECT_EQ(&a, list.popHead());
  EXPECT_EQ(&b, list.popHead());
  EXPECT_EQ(&c, list.popHead());
}

TEST(StateNodeIterTest, NextGoesThroughTheListAndFromItsEndToTheHead) {
  StateNodeIter list;
  EXPECT_EQ(nullptr, list.next()) << "of an empty list";
  StateNode a(nullptr, 1), b(nullptr, 2);
  list.addTail(&a);
  list.addTail(&b);
  EXPECT_TRUE(list.end()) << "before the first one";
  EXPECT_EQ(&a, list.next()) << "from the start";
  EXPECT_EQ(&b, list.next());
  EXPECT_FALSE(list.end());
  EXPECT_EQ(nullptr, list.next()) << "behind the last one";
  EXPECT_TRUE(list.end()) << "behind the last one";
  EXPECT_EQ(&a, list.next()) << "round again";
  EXPECT_EQ(&a, list.popHead());
  EXPECT_EQ(&b, list.current());
}

TEST(StateNodeIterTest, AddCurrentPutsANodeBehindTheCurrentOne) {
  StateNodeIter list;
  StateNode a(nullptr, 1), b(nullptr, 2), c(nullptr, 3);
  list.addCurrent(&a);
  EXPECT_EQ(&a, list.head()) << "with one state";
  EXPECT_EQ(&a, list.current());
  list.addCurrent(&c);
  EXPECT_EQ(&c, list.current());
  list.next();
  list.next();
  list.addCurrent(&b);
  EXPECT_EQ(&b, list.current());
  EXPECT_EQ(&a, list.head()) << "with three states";
  EXPECT_EQ(&b, a.next());
  EXPECT_EQ(&c, b.next());
}

TEST(StateNodeIterTest, IsPresentFindsThePositionOfAnEqualState) {
  auto one = pairOf("a", "b");
  auto two = pairOf("c", "d");
  StateNode a(one.get(), 1), b(two.get(), 2), probe(two.get(), 9), absent(nullptr, 0);
  StateNodeIter list;
  list.addTail(&a);
  list.addTail(&b);
  int position = -1;
  EXPECT_TRUE(list.isPresent(&probe, position));
  EXPECT_EQ(1, position) << "found";
  EXPECT_FALSE(list.isPresent(&absent, position));
  EXPECT_EQ(1, position) << "not found";
}

TEST(StateNodeIterTest, AMissingStateIsEqualToAMissingOneOnly) {
  Nonleaf state(0);
  StateNode some(&state, 1), none(nullptr, 2), noneToo(nullptr, 3);
  StateNodeIter list;
  list.addTail(&none);
  list.addTail(&some);
  int position = -1;
  EXPECT_TRUE(list.isPresent(&some, position));
  EXPECT_EQ(1, position);
  EXPECT_TRUE(list.isPresent(&noneToo, position));
  EXPECT_EQ(0, position);
  EXPECT_EQ(&none, list.popHead());
  EXPECT_FALSE(list.isPresent(&noneToo, position));
}
