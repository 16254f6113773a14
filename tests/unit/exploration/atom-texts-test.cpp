#include "exploration/atom-texts.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/explorations.hpp"
#include "kit/promised-models.hpp"
#include "kit/trees.hpp"

using namespace kit;

using Vesk::AtomTexts;

namespace {

class AtomTextsTest : public testing::Test {
 protected:
  void SetUp() override { clearGlobals(); }
  void TearDown() override { clearGlobals(); }

  AtomTexts::Number read(const std::string& text) {
    atom.state = text;
    return texts.read();
  }
  void readAll(const std::vector<std::string>& all) {
    for (const std::string& text : all) read(text);
  }

  TestAtom atom{"A", nullptr};
  AtomTexts texts{atom, 0};
};

}  // namespace

// ---- Numbers -----------------------------------------------------------------------------------

TEST_F(AtomTextsTest, NumbersTextsInTheOrderInWhichTheyAreShown) {
  for (int round = 0; round < 2; ++round) {
    for (AtomTexts::Number i = 0; i < 5000; ++i) {
      ASSERT_EQ(i, read(std::to_string(i) + ",")) << round;
    }
  }
  EXPECT_EQ(5000U, texts.count());
  EXPECT_EQ("4999,", texts.text(4999));
  EXPECT_EQ(5U, texts.longest());
}

TEST_F(AtomTextsTest, TheEmptyTextIsOneLikeAnyOther) {
  EXPECT_EQ(0U, read(""));
  EXPECT_EQ(1U, read("a"));
  EXPECT_EQ(0U, read(""));
  EXPECT_EQ(0U, texts.shorts()[0].length);
}

TEST_F(AtomTextsTest, KeepsTheBeginningOfATextAtHand) {
  readAll({"short", "exactly 12 c", "a long one that is cut"});
  const AtomTexts::Short* shorts = texts.shorts();
  EXPECT_EQ("short", std::string(shorts[0].text, shorts[0].length));
  EXPECT_EQ("exactly 12 c", std::string(shorts[1].text, sizeof shorts[1].text));
  EXPECT_EQ("a long one t", std::string(shorts[2].text, sizeof shorts[2].text));
  EXPECT_EQ(22U, shorts[2].length);
}

TEST_F(AtomTextsTest, RestoresATextByTheNodeThatWasReadFirst) {
  readAll({"a", "b"});
  texts.restore(0);
  EXPECT_EQ("a", atom.state);
}

TEST_F(AtomTextsTest, KeysDifferByNumberAndByPosition) {
  TestAtom other("B", nullptr);
  AtomTexts others(other, 1);
  std::set<std::uint64_t> keys;
  for (int i = 0; i < 100; ++i) {
    const std::string text = std::to_string(i);
    const AtomTexts::Number number = read(text);
    keys.insert(texts.shorts()[number].key);
    other.state = text;
    const AtomTexts::Number otherNumber = others.read();
    keys.insert(others.shorts()[otherNumber].key);
  }
  EXPECT_EQ(200U, keys.size());
}

TEST_F(AtomTextsTest, AStateWithoutATextHasTheEmptyOne) {
  struct Mute : PromisedAtom {
    using PromisedAtom::PromisedAtom;
    Node* getState() override { return makes(); }
    std::function<Node*()> makes;
  };
  for (const std::function<Node*()>& makes :
       {std::function<Node*()>([] { return new Leaf(nullptr); }),
        std::function<Node*()>([] { return new Leaf(new Atomleaf(nullptr)); }),
        std::function<Node*()>([] { return new Nonleaf(0); })}) {
    Mute mute("M", nullptr, {"a"});
    mute.makes = makes;
    AtomTexts own(mute, 0);
    EXPECT_EQ(0U, own.read());
    EXPECT_EQ("", own.text(0));
    EXPECT_EQ(0U, own.read());
  }
}

TEST_F(AtomTextsTest, AStateMayBeATreeOfItsOwn) {
  PromisedAtom tree("T", nullptr, {"left,right"});
  tree.shape = PromisedAtom::TWO_LEAVES;
  AtomTexts own(tree, 0);
  EXPECT_EQ(0U, own.read());
  EXPECT_EQ("left,right", own.text(0));
  EXPECT_FALSE(own.node(0)->isLeaf());
}

// ---- Flags -------------------------------------------------------------------------------------

TEST_F(AtomTextsTest, KnowsWhichMarkerATextHas) {
  readAll({"a", "xPRUNEx", "xERRORx", "ERROR PRUNE"});
  EXPECT_FALSE(texts.raised(0).anything());
  EXPECT_TRUE(texts.raised(1).prune);
  EXPECT_FALSE(texts.raised(1).error);
  EXPECT_TRUE(texts.raised(2).error);
  EXPECT_TRUE(texts.raised(3).prune);
  EXPECT_FALSE(texts.raised(3).error);
  EXPECT_EQ(texts.node(2), texts.raised(2).leaf);
}

TEST_F(AtomTextsTest, LeavesTheFlagsAsTheyWere) {
  Leaf leaf(new Atomleaf("x"));
  global_error = true;
  faulty_leaf = &leaf;
  read("PRUNE");
  EXPECT_TRUE(global_error);
  EXPECT_FALSE(global_prune);
  EXPECT_EQ(&leaf, faulty_leaf);
  EXPECT_FALSE(texts.raised(0).error);
}

TEST_F(AtomTextsTest, RemembersWhatTheAtomRaisesForAText) {
  PromisedAtom raising("R", nullptr, {"a"});
  raising.shown[0] = Signal::ERROR_LEAF;
  AtomTexts own(raising, 0);
  own.read();
  EXPECT_TRUE(own.raised(0).error);
  EXPECT_FALSE(own.raised(0).isOwn);
  ASSERT_NE(nullptr, own.raised(0).leaf);
  EXPECT_STREQ("foreign", own.raised(0).leaf->getAleaf()->getVal());
  EXPECT_FALSE(global_error);
}

TEST_F(AtomTextsTest, OnlyLeavesAreSearchedForMarkers) {
  PromisedAtom tree("T", nullptr, {"PRUNE PRUNE"});
  tree.shape = PromisedAtom::TWO_LEAVES;
  AtomTexts own(tree, 0);
  own.read();
  EXPECT_FALSE(own.raised(0).anything());
}

// ---- Beginnings and ends -----------------------------------------------------------------------

TEST_F(AtomTextsTest, TextsOfOneLengthAreFreeOfPrefixesAndSuffixes) {
  readAll({"ab", "ba", "aa"});
  EXPECT_TRUE(texts.haveOneLength());
  EXPECT_TRUE(texts.isPrefixFree());
  EXPECT_TRUE(texts.isSuffixFree());
}

TEST_F(AtomTextsTest, FindsAPrefixWhicheverComesFirst) {
  readAll({"b", "ab", "abc"});
  EXPECT_FALSE(texts.isPrefixFree());
  AtomTexts backwards(atom, 0);
  for (const char* text : {"zz", "abc", "ab"}) {
    atom.state = text;
    backwards.read();
  }
  EXPECT_FALSE(backwards.isPrefixFree());
  EXPECT_TRUE(backwards.isSuffixFree());
  EXPECT_FALSE(backwards.haveOneLength());
}

TEST_F(AtomTextsTest, FindsASuffixWhicheverComesFirst) {
  readAll({"xx", "abc", "bc"});
  EXPECT_FALSE(texts.isSuffixFree());
  EXPECT_TRUE(texts.isPrefixFree());
}

TEST_F(AtomTextsTest, TheEmptyTextBeginsAndEndsEveryOther) {
  readAll({"", "a"});
  EXPECT_FALSE(texts.isPrefixFree());
  EXPECT_FALSE(texts.isSuffixFree());
}

TEST_F(AtomTextsTest, AgreesWithTheComparisonOfAllPairs) {
  const std::string letters = "ab\xff";
  unsigned int random = 1;
  for (int round = 0; round < 300; ++round) {
    AtomTexts own(atom, 0);
    std::set<std::string> all;
    for (int i = 0; i < 4; ++i) {
      std::string text;
      do {
        random = random * 1103515245u + 12345u;
        text += letters[random / 65536 % 3];
      } while (random / 4194304 % 4 != 0);
      all.insert(text);
      atom.state = text;
      own.read();
    }
    bool prefixFree = true;
    bool suffixFree = true;
    for (const std::string& one : all) {
      for (const std::string& other : all) {
        if (one == other || one.size() > other.size()) continue;
        if (other.compare(0, one.size(), one) == 0) prefixFree = false;
        if (other.compare(other.size() - one.size(), one.size(), one) == 0) suffixFree = false;
      }
    }
    ASSERT_EQ(prefixFree, own.isPrefixFree()) << round;
    ASSERT_EQ(suffixFree, own.isSuffixFree()) << round;
  }
}
