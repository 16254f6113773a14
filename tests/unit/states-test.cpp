#include "states.hpp"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

Leaf* leaf(const char* text) {
  return new Leaf(new Atomleaf(text));
}

// A node that owns the given children.
std::unique_ptr<Nonleaf> tree(std::initializer_list<Node*> children) {
  auto node = std::make_unique<Nonleaf>(static_cast<int>(children.size()));
  int i = 0;
  for (Node* child : children) node->setChild(child, i++);
  return node;
}

// Takes a text that a function has returned for free().
std::string taken(char* text) {
  if (text == nullptr) return "<null>";
  std::string copy = text;
  std::free(text);
  return copy;
}

std::string printed(const Node& node) {
  return taken(node.printNode());
}

// A text that readers can move a cursor through; the buffer ends right behind the terminator, so
// that a sanitizer sees any step beyond it.
class Text {
 public:
  explicit Text(const std::string& text)
      : cursor(nullptr), mBuffer(std::make_unique<char[]>(text.size() + 1)) {
    std::memcpy(mBuffer.get(), text.c_str(), text.size() + 1);
    cursor = mBuffer.get();
  }
  std::string rest() const { return cursor; }

  char* cursor;

 private:
  std::unique_ptr<char[]> mBuffer;
};

// A buffer that a writer appends to, with its first letters there already.
class Buffer {
 public:
  explicit Buffer(const char* start = "s") { std::strcpy(text, start); }
  std::string str() const { return text; }

  char text[256];
};

// A child that has a state of its own and counts its destructions.
class Probe : public Node {
 public:
  explicit Probe(int& alive) : Node(true), mAlive(alive) { ++mAlive; }
  ~Probe() override { --mAlive; }
  int compare(Node*) const override { return 0; }
  unsigned int hash(unsigned int) const override { return 0; }
  Node* copy() override { return new Probe(mAlive); }

 private:
  int& mAlive;
};

class Uncopiable : public Node {
 public:
  Uncopiable() : Node(true) {}
  int compare(Node*) const override { return 0; }
  unsigned int hash(unsigned int) const override { return 0; }
  Node* copy() override { throw std::bad_alloc(); }
};

// A chain of nodes with one child each over one leaf.
std::unique_ptr<Node> chain(int depth, const char* text) {
  std::unique_ptr<Node> node(leaf(text));
  for (int i = 0; i < depth; ++i) {
    auto outer = std::make_unique<Nonleaf>(1);
    outer->setChild(node.release(), 0);
    node = std::move(outer);
  }
  return node;
}

}  // namespace

// ---- Globals -------------------------------------------------------------------------------

TEST(GlobalsTest, StartCleared) {
  EXPECT_FALSE(global_error);
  EXPECT_FALSE(global_prune);
  EXPECT_EQ(nullptr, faulty_leaf);
}

// ---- Atomleaf ------------------------------------------------------------------------------

TEST(AtomleafTest, IsNullUntilATextIsGiven) {
  EXPECT_EQ(nullptr, Atomleaf().getVal());
  EXPECT_EQ(nullptr, Atomleaf(static_cast<const char*>(nullptr)).getVal());
}

TEST(AtomleafTest, KeepsACopyOfItsText) {
  char text[] = "abc";
  Atomleaf atom(text);
  text[0] = 'x';
  EXPECT_STREQ("abc", atom.getVal());
  EXPECT_NE(text, atom.getVal());
}

TEST(AtomleafTest, TextsOfAnyLengthAreKept) {
  for (std::size_t length = 0; length < 70; ++length) {
    const std::string text(length, 'x');
    Atomleaf atom(text.c_str());
    EXPECT_EQ(text, atom.getVal()) << length;
    atom.setVal((text + "y").c_str());
    EXPECT_EQ(text + "y", atom.getVal()) << length;
    atom.setVal(atom.getVal() + length);
    EXPECT_STREQ("y", atom.getVal()) << length;
    EXPECT_EQ(text, std::unique_ptr<Atomleaf>(Atomleaf(text.c_str()).copy())->getVal()) << length;
  }
}

TEST(AtomleafTest, CopiesAreIndependent) {
  Atomleaf atom("abc");
  Atomleaf second(atom);
  std::unique_ptr<Atomleaf> third(atom.copy());
  atom.setVal("x");
  EXPECT_STREQ("abc", second.getVal());
  EXPECT_STREQ("abc", third->getVal());
  EXPECT_EQ(nullptr, Atomleaf(Atomleaf()).getVal());
}

TEST(AtomleafTest, SetValAcceptsItsOwnTextAndNull) {
  Atomleaf atom("abc");
  atom.setVal(atom.getVal());
  EXPECT_STREQ("abc", atom.getVal());
  atom.setVal(atom.getVal() + 1);
  EXPECT_STREQ("bc", atom.getVal());
  atom.setVal(nullptr);
  EXPECT_EQ(nullptr, atom.getVal());
  atom.setVal("");
  EXPECT_STREQ("", atom.getVal());
}

TEST(AtomleafTest, CompareGivesZeroForEqualTextsElseOne) {
  const Atomleaf a("a");
  const Atomleaf again("a");
  const Atomleaf b("b");
  const Atomleaf empty("");
  const Atomleaf none;
  EXPECT_EQ(0, a.compare(&again));
  EXPECT_EQ(1, a.compare(&b));
  EXPECT_EQ(1, b.compare(&a));
  EXPECT_EQ(0, none.compare(&empty));
  EXPECT_EQ(0, none.compare(nullptr));
  EXPECT_EQ(1, a.compare(nullptr));
}

TEST(AtomleafTest, HashIsTheFirstCharacterModuloSize) {
  EXPECT_EQ(97U, Atomleaf("abc").hash(1000));
  EXPECT_EQ(7U, Atomleaf("abc").hash(10));
  EXPECT_EQ(0U, Atomleaf("").hash(10));
  EXPECT_EQ(0U, Atomleaf().hash(10));
  EXPECT_EQ(0U, Atomleaf("abc").hash(0));
}

TEST(AtomleafTest, HashWidensACharacterFrom128WithItsSign) {
  // 0x80 is -128, 2^32 - 128 = 4294967168 as unsigned.
  EXPECT_EQ(168U, Atomleaf("\x80").hash(1000));
  EXPECT_EQ(4294967295U % 1000U, Atomleaf("\xff").hash(1000));
  EXPECT_EQ(4294967168U, Atomleaf("\x80").hash(UINT_MAX));
}

// ---- Node ----------------------------------------------------------------------------------

TEST(NodeTest, StartsWithIndexAndTransitionsZero) {
  std::unique_ptr<Leaf> one(leaf("a"));
  EXPECT_TRUE(one->isLeaf());
  EXPECT_EQ(0U, one->getIndex());
  EXPECT_EQ(0, one->outTrans());
  const Nonleaf other(0);
  EXPECT_FALSE(other.isLeaf());
  EXPECT_EQ(0U, other.getIndex());
  EXPECT_EQ(0, other.outTrans());
}

TEST(NodeTest, CountsOutgoingTransitions) {
  Nonleaf node(0);
  node.incrOutTrans();
  node.incrOutTrans();
  node.decrOutTrans();
  EXPECT_EQ(1, node.outTrans());
  node.resetOutTrans();
  EXPECT_EQ(0, node.outTrans());
}

TEST(NodeTest, CopiesKeepTheIndexAndForgetTheTransitions) {
  std::unique_ptr<Leaf> one(leaf("a"));
  one->setIndex(7);
  one->incrOutTrans();
  std::unique_ptr<Node> second(one->copy());
  EXPECT_EQ(7U, second->getIndex());
  EXPECT_EQ(0, second->outTrans());

  auto node = tree({leaf("a"), tree({leaf("b")}).release()});
  node->setIndex(9);
  node->incrOutTrans();
  std::unique_ptr<Node> copy(node->copy());
  EXPECT_EQ(9U, copy->getIndex());
  EXPECT_EQ(0, copy->outTrans());
  EXPECT_EQ(0, copy->compare(node.get()));
}

TEST(NodeTest, CopiesAreDeep) {
  auto node = tree({leaf("a"), leaf("b")});
  const Nonleaf copy(*node);
  EXPECT_NE(node->getChild(0), copy.getChild(0));
  node->getLeaf(0)->getAleaf()->setVal("x");
  EXPECT_EQ("ab", printed(copy));
  EXPECT_EQ("xb", printed(*node));
}

TEST(NodeTest, CompareLooksAtTexts) {
  std::unique_ptr<Leaf> a(leaf("a"));
  std::unique_ptr<Leaf> again(leaf("a"));
  std::unique_ptr<Leaf> b(leaf("b"));
  EXPECT_EQ(0, a->compare(again.get()));
  EXPECT_EQ(1, a->compare(b.get()));
  EXPECT_EQ(1, a->compare(nullptr));
}

TEST(NodeTest, CompareLooksAtTheShape) {
  auto one = tree({leaf("a"), leaf("b")});
  EXPECT_EQ(0, one->compare(tree({leaf("a"), leaf("b")}).get()));
  EXPECT_EQ(1, one->compare(tree({leaf("a"), leaf("c")}).get()));
  EXPECT_EQ(1, one->compare(tree({leaf("a")}).get()));
  EXPECT_EQ(1, one->compare(tree({leaf("a"), tree({leaf("b")}).release()}).get()));
  EXPECT_EQ(1, one->compare(nullptr));
  EXPECT_EQ(0, Nonleaf(0).compare(tree({}).get()));
}

TEST(NodeTest, ALeafDiffersFromANonleaf) {
  std::unique_ptr<Leaf> a(leaf("a"));
  auto node = tree({leaf("a")});
  EXPECT_EQ(1, a->compare(node.get()));
  EXPECT_EQ(1, node->compare(a.get()));
  EXPECT_FALSE(a->equals(node.get()));
  EXPECT_FALSE(node->equals(a.get()));
}

TEST(NodeTest, NullChildrenAndNullTextsAreAccepted) {
  auto holes = tree({nullptr, leaf(nullptr), new Leaf(static_cast<Atomleaf*>(nullptr))});
  auto same = tree({nullptr, leaf(""), leaf("")});
  auto full = tree({leaf("a"), leaf(""), leaf("")});
  EXPECT_EQ(0, holes->compare(same.get()));
  EXPECT_EQ(1, holes->compare(full.get()));
  EXPECT_EQ(1, full->compare(holes.get()));
  EXPECT_EQ(0U, holes->hash(1000));
  EXPECT_EQ(2, holes->getNumLeaf());
  EXPECT_FALSE(holes->equals(full.get()));
  EXPECT_FALSE(holes->equals(nullptr));
  std::unique_ptr<Node> copy(holes->copy());
  EXPECT_EQ(0, copy->compare(holes.get()));
}

TEST(NodeTest, EqualTextsAreNotEqualUnlessTheAtomleafIsTheSame) {  // Deliberate
  std::unique_ptr<Leaf> a(leaf("a"));
  std::unique_ptr<Leaf> again(leaf("a"));
  EXPECT_EQ(0, a->compare(again.get()));
  EXPECT_FALSE(a->equals(again.get()));
  EXPECT_TRUE(a->equals(a.get()));
  EXPECT_FALSE(a->equals(nullptr));

  auto node = tree({leaf("a"), tree({leaf("b")}).release()});
  EXPECT_TRUE(node->equals(node.get()));
  std::unique_ptr<Node> copy(node->copy());
  EXPECT_FALSE(node->equals(copy.get()));
  EXPECT_TRUE(tree({})->equals(tree({}).get()));
  EXPECT_FALSE(tree({})->equals(tree({nullptr}).get()));
}

TEST(NodeTest, OperatorEqualComparesTexts) {
  auto one = tree({leaf("a")});
  auto same = tree({leaf("a")});
  auto other = tree({leaf("b")});
  EXPECT_TRUE(*one == *same);
  EXPECT_FALSE(*one == *other);
}

TEST(NodeTest, HashWeighsChildrenByTheirPosition) {
  EXPECT_EQ(293U, tree({leaf("a"), leaf("b")})->hash(1000));  // 97 * 1 + 98 * 2
  EXPECT_EQ(292U, tree({leaf("b"), leaf("a")})->hash(1000));  // 98 * 1 + 97 * 2
  EXPECT_EQ(0U, tree({})->hash(1000));
  EXPECT_EQ(0U, tree({leaf("a")})->hash(0));
  // The inner node is reduced first: (98 mod 50) * 1 = 48, then 97 mod 50 = 47; 47 + 48 * 2 = 143.
  EXPECT_EQ(43U, tree({leaf("a"), tree({leaf("b")}).release()})->hash(50));
}

TEST(NodeTest, HashWrapsAroundAt32Bits) {
  // 0xff is 2^32 - 1, which is 1 modulo 2^32 - 2.
  EXPECT_EQ(3U, tree({leaf("\xff"), leaf("\xff")})->hash(UINT_MAX - 1));
  // 0x80 is 2^32 - 128: times 1 plus times 2 is 3 * 2^32 - 384, wrapped 2^32 - 384.
  EXPECT_EQ(4294966912U, tree({leaf("\x80"), leaf("\x80")})->hash(UINT_MAX));
}

// ---- Leaf and Nonleaf ----------------------------------------------------------------------

TEST(LeafTest, SetAleafReplacesTheTextAndAcceptsThePresentOne) {
  std::unique_ptr<Leaf> one(leaf("a"));
  one->setAleaf(one->getAleaf());
  EXPECT_EQ("a", printed(*one));
  one->setAleaf(new Atomleaf("b"));
  EXPECT_EQ("b", printed(*one));
  one->setAleaf(nullptr);
  EXPECT_EQ(nullptr, one->getAleaf());
  EXPECT_EQ("", printed(*one));
  EXPECT_EQ(nullptr, Leaf(*one).getAleaf());
}

TEST(NonleafTest, StartsWithNullChildren) {
  const Nonleaf node(3);
  EXPECT_EQ(3, node.getNumChild());
  for (int i = 0; i < 3; ++i) EXPECT_EQ(nullptr, node.getChild(i)) << i;
  EXPECT_EQ(0, Nonleaf(-1).getNumChild());
}

TEST(NonleafTest, DestroysItsChildrenAndLeavesAReplacedOneAlone) {
  int alive = 0;
  std::unique_ptr<Probe> replaced;
  {
    Nonleaf node(3);
    replaced = std::make_unique<Probe>(alive);
    node.setChild(replaced.get(), 0);
    node.setChild(new Probe(alive), 0);
    node.setChild(new Probe(alive), 2);
    EXPECT_EQ(3, alive);
  }
  EXPECT_EQ(1, alive);
}

TEST(NonleafTest, ACopyThatFailsLeavesNothingBehind) {
  int alive = 0;
  auto node = tree({new Probe(alive), new Uncopiable, new Probe(alive)});
  EXPECT_THROW(static_cast<void>(node->copy()), std::bad_alloc);
  EXPECT_EQ(2, alive);
}

TEST(NonleafTest, CountsTheLeavesOfTheWholeTree) {
  EXPECT_EQ(0, tree({})->getNumLeaf());
  EXPECT_EQ(2, tree({leaf("a"), leaf("b")})->getNumLeaf());
  EXPECT_EQ(
      3, tree({leaf("a"), tree({leaf("b"), tree({leaf("c")}).release()}).release()})->getNumLeaf());
}

TEST(NonleafTest, GetLeafGivesTheChildOfAFlatNode) {
  auto node = tree({leaf("a"), leaf("b"), leaf("c")});
  EXPECT_EQ(node->getChild(0), node->getLeaf(0));
  EXPECT_EQ(node->getChild(2), node->getLeaf(2));
  EXPECT_EQ(nullptr, node->getLeaf(3));
  EXPECT_EQ(node->getChild(0), node->getLeaf(-1));
  EXPECT_EQ(node->getChild(0), node->getLeaf(INT_MIN));
  EXPECT_EQ(nullptr, node->getLeaf(INT_MAX));
  EXPECT_EQ(nullptr, tree({})->getLeaf(0));
}

TEST(NonleafTest, GetLeafDecreasesTheIndexByThePositionOfAChild) {  // Deliberate
  Node* c = leaf("c");
  auto node = tree({tree({leaf("a"), leaf("b")}).release(), c});
  // Leaf 2 in order is "c", and child 1 is asked for 2 - 1: no.
  EXPECT_EQ(nullptr, node->getLeaf(2));
  // Child 0 answers for 1 already, with its own child 1.
  EXPECT_STREQ("b", node->getLeaf(1)->getAleaf()->getVal());

  Node* b = leaf("b");
  auto deep = tree({tree({leaf("a")}).release(), b});
  EXPECT_EQ(b, deep->getLeaf(1));
}

TEST(NonleafTest, GetLeafPassesByMissingChildren) {
  Node* b = leaf("b");
  Nonleaf node(2);
  node.setChild(b, 1);
  EXPECT_EQ(b, node.getLeaf(1));
}

TEST(PooledTest, ObjectsCanBeMadeWithEveryFormOfNew) {
  std::unique_ptr<Node> plain(leaf("a"));
  std::unique_ptr<Node> careful(new (std::nothrow) Nonleaf(2));
  alignas(Atomleaf) unsigned char place[sizeof(Atomleaf)];
  auto* placed = new (place) Atomleaf("b");
  EXPECT_STREQ("b", placed->getVal());
  placed->~Atomleaf();
  careful.reset();
  careful.reset(new Nonleaf(1));
  EXPECT_EQ("a", printed(*plain));
}

TEST(PooledTest, SizesThatNoClassOfTheEngineHasComeAndGo) {
  struct Odd : Atomleaf {
    using Atomleaf::Atomleaf;
    char more[13] = {};
  };
  struct Large : Atomleaf {
    using Atomleaf::Atomleaf;
    char more[4096] = {};
  };
  std::unique_ptr<Odd> odd(new Odd("a"));
  std::unique_ptr<Large> large(new Large("b"));
  EXPECT_STREQ("a", odd->getVal());
  EXPECT_STREQ("b", large->getVal());
  Atomleaf::operator delete(nullptr, sizeof(Atomleaf));  // does nothing
}

TEST(PooledTest, ManyObjectsComeAndGo) {
  std::vector<std::unique_ptr<Node>> nodes;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 1000; ++i) {
      nodes.push_back(
          tree({leaf(std::to_string(i).c_str()), leaf("long text in the second leaf")}));
    }
    for (int i = 0; i < 1000; ++i) {
      EXPECT_EQ(std::to_string(i) + "long text in the second leaf",
                printed(*nodes[static_cast<std::size_t>(i)]))
          << round << ' ' << i;
    }
    nodes.clear();
  }
}

// ---- Printing ------------------------------------------------------------------------------

TEST(PrintNodeTest, JoinsTheLeavesInOrderWithoutSeparators) {
  std::unique_ptr<Leaf> a(leaf("a,1"));
  EXPECT_EQ("a,1", printed(*a));
  EXPECT_EQ("", printed(*tree({})));
  EXPECT_EQ("abc", printed(*tree({leaf("a"), tree({leaf("b"), leaf("")}).release(), leaf("c")})));
}

TEST(PrintNodeTest, DifferentStatesCanHaveTheSameText) {
  EXPECT_EQ(printed(*tree({leaf("1"), leaf("23")})), printed(*tree({leaf("12"), leaf("3")})));
}

TEST(PrintNodeTest, AMissingChildIsReportedAndAddsNothing) {
  auto node = tree({leaf("a"), nullptr, tree({nullptr, leaf("b")}).release()});
  testing::internal::CaptureStderr();
  const std::string text = printed(*node);
  EXPECT_EQ(
      "at least a library is not generated with explore option\n"
      "at least a library is not generated with explore option\n",
      testing::internal::GetCapturedStderr());
  EXPECT_EQ("ab", text);
}

TEST(PrintNodeTest, NullTextsAreEmptyWithoutAReport) {
  auto node = tree({leaf(nullptr), new Leaf(static_cast<Atomleaf*>(nullptr)), leaf("b")});
  testing::internal::CaptureStderr();
  EXPECT_EQ("b", printed(*node));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(PrintNodeTest, NeverCutsAText) {
  for (const std::size_t length : {9998U, 9999U, 10000U, 10001U, 10002U, 65535U, 1000000U}) {
    const std::string text(length - 1, 'x');
    EXPECT_EQ(text + "y", printed(*tree({leaf(text.c_str()), leaf("y")}))) << length;
  }
}

TEST(PrintNodeTest, DeepTreesAreCopiedComparedAndPrinted) {
  std::unique_ptr<Node> node = chain(50000, "deep");
  std::unique_ptr<Node> copy(node->copy());
  EXPECT_EQ("deep", printed(*node));
  EXPECT_EQ(0, node->compare(copy.get()));
  EXPECT_FALSE(node->equals(copy.get()));
  EXPECT_EQ(100U, node->hash(1000));  // 'd'
  auto* top = static_cast<Nonleaf*>(node.get());
  EXPECT_EQ(1, top->getNumLeaf());
  EXPECT_STREQ("deep", top->getLeaf(0)->getAleaf()->getVal());
}

// ---- Writers -------------------------------------------------------------------------------

TEST(WriterTest, AppendsATextWithoutSeparator) {
  Buffer buffer;
  setVariableState(buffer.text, "name", "abc");
  setVariableState(buffer.text, "name", "");
  EXPECT_EQ("sabc", buffer.str());
}

TEST(WriterTest, AppendsABooleanBehindASeparator) {
  Buffer buffer;
  setVariableState(buffer.text, "name", true);
  setVariableState(buffer.text, "name", false);
  EXPECT_EQ("s,T,F", buffer.str());
}

TEST(WriterTest, AppendsAnIntegerBehindASeparator) {
  Buffer buffer;
  setVariableState(buffer.text, "name", 0);
  setVariableState(buffer.text, "name", INT_MIN);
  setVariableState(buffer.text, "name", INT_MAX);
  EXPECT_EQ("s,0,-2147483648,2147483647", buffer.str());
}

TEST(WriterTest, AppendsAFloatWithSixDecimals) {
  Buffer buffer;
  setVariableState(buffer.text, "name", 1.5F);
  setVariableState(buffer.text, "name", -0.0F);
  setVariableState(buffer.text, "name", 1e12F);  // the nearest float is 999999995904
  EXPECT_EQ("s,1.500000,-0.000000,999999995904.000000", buffer.str());
}

TEST(WriterTest, AppendsTheLargestFloatsWhole) {
  Buffer buffer;
  setVariableState(buffer.text, "name", -FLT_MAX);
  EXPECT_EQ("s,-340282346638528859811704183484516925440.000000", buffer.str());
  Buffer odd;
  setVariableState(odd.text, "name", std::numeric_limits<float>::infinity());
  setVariableState(odd.text, "name", -std::numeric_limits<float>::infinity());
  setVariableState(odd.text, "name", std::fabs(std::numeric_limits<float>::quiet_NaN()));
  setVariableState(odd.text, "name", std::numeric_limits<float>::denorm_min());
  EXPECT_EQ("s,inf,-inf,nan,0.000000", odd.str());
}

TEST(WriterTest, AppendsAPlaceWithTheSeparatorBehindIt) {
  Buffer buffer("");
  setStatePlace(buffer.text, "name", true);
  setStatePlace(buffer.text, "name", false);
  EXPECT_EQ("T,F,", buffer.str());
}

TEST(WriterTest, AcceptsNullTextsAndNames) {
  Buffer buffer;
  setVariableState(buffer.text, nullptr, static_cast<const char*>(nullptr));
  setVariableState(buffer.text, nullptr, 1);
  setVariableState(nullptr, "name", 1);
  setStatePlace(nullptr, "name", true);
  EXPECT_EQ("s,1", buffer.str());
}

TEST(WriterTest, AcceptsTheBufferItself) {
  Buffer buffer("ab");
  setVariableState(buffer.text, "name", buffer.text);
  EXPECT_EQ("abab", buffer.str());
}

// ---- Readers -------------------------------------------------------------------------------

TEST(ReaderTest, TokensEndAtTheSeparatorOrAtTheEnd) {
  Text text("ab,5");
  EXPECT_EQ("ab", taken(vesk_strtok(text.cursor, ',', 20)));
  EXPECT_EQ("5", text.rest());
  EXPECT_EQ("5", taken(vesk_strtok(text.cursor, ',', 20)));
  EXPECT_EQ("", text.rest());
  EXPECT_EQ("<null>", taken(vesk_strtok(text.cursor, ',', 20)));
}

TEST(ReaderTest, AnImmediateSeparatorGivesTheEmptyToken) {
  Text text(",5");
  EXPECT_EQ("", taken(vesk_strtok(text.cursor, ',', 20)));
  EXPECT_EQ("5", text.rest());
}

TEST(ReaderTest, TheTokenCharacterIsFree) {
  Text text("a,b;c");
  EXPECT_EQ("a,b", taken(vesk_strtok(text.cursor, ';', 20)));
  EXPECT_EQ("c", text.rest());
}

TEST(ReaderTest, TheEndAndANullCursorGiveNull) {
  Text text("");
  EXPECT_EQ("<null>", taken(vesk_strtok(text.cursor, ',', 20)));
  char* none = nullptr;
  EXPECT_EQ("<null>", taken(vesk_strtok(none, ',', 20)));
  EXPECT_EQ("<null>", taken(getVariableState(none)));
  EXPECT_EQ(0, getIntVariableState(none));
  EXPECT_EQ(0.0F, getFloatVariableState(none));
  EXPECT_FALSE(getBoolVariableState(none));
  EXPECT_EQ(nullptr, none);
}

TEST(ReaderTest, TheExpectedSizeIsNoLimit) {
  for (const std::size_t length : {0U, 19U, 20U, 21U, 4999U, 5000U, 5001U, 100000U}) {
    const std::string value(length, 'x');
    Text text(value + ",rest");
    EXPECT_EQ(value, taken(vesk_strtok(text.cursor, ',', 20))) << length;
    EXPECT_EQ("rest", text.rest()) << length;
  }
  Text negative("abc");
  EXPECT_EQ("abc", taken(vesk_strtok(negative.cursor, ',', -1)));
}

TEST(ReaderTest, VariablesAreReadInOrder) {
  Text text("word,-12,2.5,T,F,rest");
  EXPECT_EQ("word", taken(getVariableState(text.cursor)));
  EXPECT_EQ(-12, getIntVariableState(text.cursor));
  EXPECT_EQ(2.5F, getFloatVariableState(text.cursor));
  EXPECT_TRUE(getBoolVariableState(text.cursor));
  EXPECT_FALSE(getBoolVariableState(text.cursor));
  EXPECT_EQ("rest", text.rest());
}

TEST(ReaderTest, TheEndGivesZeroAndTheCursorStays) {
  Text text("");
  char* const end = text.cursor;
  EXPECT_EQ(0, getIntVariableState(text.cursor));
  EXPECT_EQ(0.0F, getFloatVariableState(text.cursor));
  EXPECT_FALSE(getBoolVariableState(text.cursor));
  EXPECT_EQ("<null>", taken(getVariableState(text.cursor)));
  EXPECT_EQ(end, text.cursor);
}

TEST(ReaderTest, IntegersAreReadInBaseTenAndClamped) {
  Text text("007,0x5,junk,,99999999999,-99999999999,99999999999999999999");
  EXPECT_EQ(7, getIntVariableState(text.cursor));
  EXPECT_EQ(0, getIntVariableState(text.cursor)) << "of 0x5";
  EXPECT_EQ(0, getIntVariableState(text.cursor)) << "of junk";
  EXPECT_EQ(0, getIntVariableState(text.cursor)) << "of nothing";
  EXPECT_EQ(INT_MAX, getIntVariableState(text.cursor)) << "of 99999999999";
  EXPECT_EQ(INT_MIN, getIntVariableState(text.cursor));
  EXPECT_EQ(INT_MAX, getIntVariableState(text.cursor)) << "of 99999999999999999999";
  EXPECT_EQ("", text.rest());
}

TEST(ReaderTest, AFloatThatCannotBeReadIsZero) {
  Text text("junk,,1e3,inf");
  EXPECT_EQ(0.0F, getFloatVariableState(text.cursor)) << "of junk";
  EXPECT_EQ(0.0F, getFloatVariableState(text.cursor)) << "of nothing";
  EXPECT_EQ(1000.0F, getFloatVariableState(text.cursor));
  EXPECT_EQ(std::numeric_limits<float>::infinity(), getFloatVariableState(text.cursor));
}

TEST(ReaderTest, FloatsSurviveWritingAndReading) {
  for (const float value : {0.0F, 0.5F, -1e12F, 1e13F, FLT_MAX, -FLT_MAX}) {
    SCOPED_TRACE(value);
    Buffer buffer("");
    setVariableState(buffer.text, "name", value);
    Text text(buffer.str());
    EXPECT_EQ("", taken(getVariableState(text.cursor)));  // before the separator
    EXPECT_EQ(value, getFloatVariableState(text.cursor));
  }
}

TEST(ReaderTest, BooleansAreFalseForTheLetterFOnly) {
  Text f("F,x");
  EXPECT_FALSE(getBoolVariableState(f.cursor));
  EXPECT_EQ("x", f.rest());
  Text t("T,x");
  EXPECT_TRUE(getBoolVariableState(t.cursor));
  EXPECT_EQ("x", t.rest());
  Text any("f;x");
  EXPECT_TRUE(getBoolVariableState(any.cursor));
  EXPECT_EQ("x", any.rest());
}

TEST(ReaderTest, TheBooleanReaderNeverStepsPastTheEnd) {
  Text text("T");
  EXPECT_TRUE(getBoolVariableState(text.cursor));
  EXPECT_EQ("", text.rest());
  EXPECT_FALSE(getBoolVariableState(text.cursor));
  EXPECT_EQ("<null>", taken(getVariableState(text.cursor)));
}

TEST(ReaderTest, AWrittenStateIsReadBackInMatchingOrder) {
  Buffer buffer("");
  setStatePlace(buffer.text, "idle", false);
  setStatePlace(buffer.text, "busy", true);
  setVariableState(buffer.text, "owner", "me");
  setVariableState(buffer.text, "count", 42);
  setVariableState(buffer.text, "open", true);
  EXPECT_EQ("F,T,me,42,T", buffer.str());
  Text text(buffer.str());
  EXPECT_FALSE(getBoolVariableState(text.cursor));
  EXPECT_TRUE(getBoolVariableState(text.cursor)) << "busy";
  EXPECT_EQ("me", taken(getVariableState(text.cursor)));
  EXPECT_EQ(42, getIntVariableState(text.cursor));
  EXPECT_TRUE(getBoolVariableState(text.cursor)) << "open";
  EXPECT_EQ("", text.rest());
}

TEST(ReaderTest, TheReadersOfNodeReadLikeTheFunctions) {
  Text text("state,object,5,1.5,T,F");
  EXPECT_EQ("state", taken(Node::string2veskState(text.cursor)));
  EXPECT_EQ("object", taken(Node::string2objState(text.cursor)));
  EXPECT_EQ(5, Node::string2int(text.cursor));
  EXPECT_EQ(1.5F, Node::string2float(text.cursor));
  EXPECT_TRUE(Node::string2bool(text.cursor));
  EXPECT_FALSE(Node::string2bool(text.cursor));
  EXPECT_EQ("", text.rest());
  EXPECT_TRUE(Node::string2bool(static_cast<const char*>("T,F")));
  EXPECT_FALSE(Node::string2bool(static_cast<const char*>("F,T")));
  EXPECT_FALSE(Node::string2bool(static_cast<const char*>("")));
  EXPECT_FALSE(Node::string2bool(static_cast<const char*>(nullptr)));
}

namespace {

class alignas(64) WideLeaf : public Leaf {
 public:
  WideLeaf() : Leaf(new Atomleaf("w")) {}
};

// As large as a leaf of the engine is on some machines, and no multiple of what others need.
class TaggedText : public Atomleaf {
 public:
  char tag[4] = "tag";
};

}  // namespace

// A text that tells of its end.
class EndingText : public Atomleaf {
 public:
  explicit EndingText(int& ends) : Atomleaf("text"), mEnds(ends) {}
  ~EndingText() override { ++mEnds; }

 private:
  int& mEnds;
};

TEST(LeafTest, ATextOfTheModelsOwnClassEndsAsOne) {
  int ends = 0;
  {
    const Leaf leaf(new EndingText(ends));
    Nonleaf tree(1);
    tree.setChild(new Leaf(new EndingText(ends)), 0);
  }
  EXPECT_EQ(2, ends);
}

TEST(PooledTest, NodesCanBeMadeWithoutThrowing) {
  auto* atom = new (std::nothrow) Atomleaf("text");
  ASSERT_NE(nullptr, atom);
  const std::unique_ptr<Leaf> leaf(new (std::nothrow) Leaf(atom));
  ASSERT_NE(nullptr, leaf);
  EXPECT_STREQ("text", leaf->getAleaf()->getVal());
}

TEST(PooledTest, AStrictAlignmentIsKept) {
  std::vector<std::unique_ptr<Node>> leaves;
  for (int i = 0; i < 100; ++i) {
    std::unique_ptr<Node> gone(new WideLeaf);
    leaves.emplace_back(new WideLeaf);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(leaves.back().get()) % 64) << i;
  }
}

TEST(PooledTest, BlocksOfOneSizeAreNotGivenForAnother) {
  for (int i = 0; i < 100; ++i) {
    delete ::new Leaf(nullptr);
    auto tagged = std::make_unique<TaggedText>();
    tagged->setVal("0123456789012345678901");
    auto leaf = std::make_unique<Leaf>(::new Atomleaf("0123456789012345678901"));
    EXPECT_STREQ("tag", tagged->tag) << i;
    EXPECT_STREQ("0123456789012345678901", leaf->getAleaf()->getVal()) << i;
  }
}
