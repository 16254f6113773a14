// The system of components that stands for a net.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "marking-text.hpp"
#include "net-system.hpp"

namespace {

using pnml::Net;
using Change = MarkingText::Change;

// Places p, q and r with 1, 0 and 12 tokens; s and t move a token from p to q, u needs q and r
// and leaves them, v fills r while q has fewer than two tokens.
Net smallNet() {
  Net net;
  net.id = "net";
  net.places = {{"p", 1}, {"q", 0}, {"r", 12}};
  net.transitions = {{"s", {}, {{0, 1, 0, 0}, {1, 0, 1, 0}}},
                     {"t", {}, {{0, 1, 0, 0}, {1, 0, 1, 0}}},
                     {"u", {}, {{1, 1, 1, 0}, {2, 3, 3, 0}}},
                     {"v", {}, {{1, 0, 0, 2}, {2, 0, 5, 0}}}};
  return net;
}

PlaceAtom& place(NetSystem& system, int index) {
  return *static_cast<PlaceAtom*>(system.components()[index]);
}

std::string textOf(Component& component) {
  const std::unique_ptr<Node> state(component.getState());
  return static_cast<Leaf*>(state.get())->getAleaf()->getVal();
}

void restore(Component& component, const std::string& text) {
  Leaf state(new Atomleaf(text.c_str()));
  component.setState(&state);
}

std::set<std::string> legalIn(NetSystem& system) {
  std::set<std::string> names;
  for (Connector* it = system.activate(false); it != nullptr; it = it->next()) {
    names.insert(it->name());
  }
  return names;
}

Connector& connector(NetSystem& system, int index) {
  return *system.connectors()[index];
}

std::string lineOf(const std::vector<int>& tokens) {
  std::string text;
  for (int each : tokens) text += std::to_string(each) + ",";
  return text;
}

}  // namespace

// ---- Structure ---------------------------------------------------------------------------------

TEST(PnmlSystemTest, APlaceIsAnAtomAndATransitionARendezvous) {
  NetSystem system(smallNet());
  EXPECT_STREQ("net", system.name());
  ASSERT_EQ(3, system.components().count());
  EXPECT_STREQ("q", system.components()[1]->name());
  EXPECT_TRUE(system.components()[1]->isAtom());
  ASSERT_EQ(4, system.connectors().count());
  EXPECT_STREQ("t", connector(system, 1).name());
  EXPECT_FALSE(connector(system, 1).isBroadcast());
}

TEST(PnmlSystemTest, TransitionsThatUseAPlaceAlikeShareAPort) {
  NetSystem system(smallNet());
  EXPECT_EQ(1, place(system, 0).ports().count());
  EXPECT_EQ(3, place(system, 1).ports().count());
  EXPECT_EQ(connector(system, 0).ports()[0], connector(system, 1).ports()[0]);
  EXPECT_EQ(connector(system, 0).ports()[1], connector(system, 1).ports()[1]);
}

TEST(PnmlSystemTest, LabelsNameTheNetTheTransitionAndWhatItDoesWithItsPlaces) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  BitVector both(0);
  both.add(1);
  EXPECT_STREQ("net/s/p:-1|q:+1", connector(system, 0).rt_label(both));
  EXPECT_STREQ("net/u/q:-1+1|r:-3+3", connector(system, 2).rt_label(both));
  EXPECT_STREQ("net/v/q:<2|r:+5", connector(system, 3).rt_label(both));
}

// ---- Behaviour ---------------------------------------------------------------------------------

TEST(PnmlSystemTest, ATransitionIsLegalWhenAllOfItsPlacesAllowIt) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  EXPECT_EQ((std::set<std::string>{"s", "t", "v"}), legalIn(system));
  restore(system, "0,1,3,");
  EXPECT_EQ((std::set<std::string>{"u", "v"}), legalIn(system));
  restore(system, "0,2,2,");
  EXPECT_EQ((std::set<std::string>{}), legalIn(system));
}

TEST(PnmlSystemTest, FiringMovesTheTokens) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  legalIn(system);
  connector(system, 0).execute();
  EXPECT_EQ("0,1,12,", textOf(system)) << "after the first transition";
  EXPECT_EQ((std::set<std::string>{"u", "v"}), legalIn(system));
  connector(system, 2).execute();
  EXPECT_EQ("0,1,12,", textOf(system)) << "after the third one, which changes nothing";
  connector(system, 3).execute();
  EXPECT_EQ("0,1,17,", textOf(system));
}

TEST(PnmlSystemTest, AnInhibitorArcCountsTheTokensBeforeTheTransitionTakesAny) {
  Net net;
  net.places = {{"p", 3}};
  net.transitions = {{"t", {}, {{0, 2, 0, 3}}}};
  NetSystem system(net);
  system.initialize(nullptr);
  EXPECT_TRUE(legalIn(system).empty()) << "with three tokens";
  restore(system, "2,");
  EXPECT_EQ((std::set<std::string>{"t"}), legalIn(system));
  restore(system, "1,");
  EXPECT_TRUE(legalIn(system).empty()) << "with one token";
}

TEST(PnmlSystemTest, ATransitionWithoutPlacesIsAlwaysLegal) {
  Net net;
  net.id = "n";
  net.transitions = {{"t", {}, {}}};
  NetSystem system(net);
  system.initialize(nullptr);
  EXPECT_EQ((std::set<std::string>{"t"}), legalIn(system));
  EXPECT_STREQ("n/t/", connector(system, 0).label());
  connector(system, 0).execute();
  EXPECT_EQ("", textOf(system));
}

TEST(PnmlSystemTest, PortsAreAnnouncedAgainOnlyWhenTheyChange) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  Port* take = place(system, 0).ports()[0];
  EXPECT_TRUE(take->synced()) << "with the tokens of the start";
  place(system, 0).setTokens(5);
  EXPECT_TRUE(take->synced()) << "with five tokens";
  place(system, 0).setTokens(0);
  EXPECT_FALSE(take->synced());
}

TEST(PnmlSystemTest, InitialisingAgainRestoresTheInitialMarking) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  restore(system, "7,7,7,");
  system.initialize(nullptr);
  EXPECT_EQ("1,0,12,", textOf(system));
}

TEST(PnmlSystemTest, MoreTokensThanAnIntHoldsEndTheRun) {
  Net net;
  net.places = {{"sink", INT_MAX - 1}};
  net.transitions = {{"t", {}, {{0, 0, 1, 0}}}};
  NetSystem system(net);
  system.initialize(nullptr);
  legalIn(system);
  connector(system, 0).execute();
  EXPECT_EQ("2147483647,", textOf(system));
  legalIn(system);
  try {
    connector(system, 0).execute();
    FAIL() << "no exception";
  } catch (const std::overflow_error& error) {
    EXPECT_STREQ("place sink gets 2147483648 tokens, at most 2147483647 are possible",
                 error.what());
  }
}

TEST(PnmlSystemTest, ASelfLoopAtTheLargestCountIsPossible) {
  Net net;
  net.places = {{"p", INT_MAX}};
  net.transitions = {{"t", {}, {{0, INT_MAX, INT_MAX, 0}}}};
  NetSystem system(net);
  system.initialize(nullptr);
  legalIn(system);
  connector(system, 0).execute();
  EXPECT_EQ("2147483647,", textOf(system));
}

// ---- States ------------------------------------------------------------------------------------

TEST(PnmlSystemTest, APlaceByItselfCapturesAndRestoresItsTokens) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  EXPECT_EQ("12,", textOf(place(system, 2)));
  restore(place(system, 2), "2147483647,");
  EXPECT_EQ(2147483647, place(system, 2).tokens());
  EXPECT_EQ("1,0,2147483647,", textOf(system));
}

TEST(PnmlSystemTest, RestoredStatesAreCapturedAsTheyWere) {
  NetSystem system(smallNet());
  system.initialize(nullptr);
  for (const char* text : {"1,0,12,", "0,1,12,", "10,1,2,", "1,10,2,", "1,1,10,", "999,1000,0,",
                           "0,0,0,", "0,0,0,", "2147483647,2147483647,2147483647,", "1,0,12,"}) {
    restore(system, text);
    EXPECT_EQ(text, textOf(system)) << text;
    EXPECT_EQ(text, textOf(place(system, 0)) + textOf(place(system, 1)) + textOf(place(system, 2)))
        << text;
  }
}

TEST(PnmlSystemTest, EveryPairOfStatesIsRestoredExactly) {
  const std::vector<int> counts = {0, 7, 10, 99, 100};
  NetSystem system(smallNet());
  system.initialize(nullptr);
  std::vector<std::string> texts;
  for (int p : counts) {
    for (int q : counts) {
      for (int r : counts) texts.push_back(lineOf({p, q, r}));
    }
  }
  for (const std::string& from : texts) {
    for (const std::string& to : texts) {
      restore(system, from);
      restore(system, to);
      ASSERT_EQ(to, textOf(system)) << "from " << from;
    }
  }
}

TEST(MarkingTextTest, DifferencesAreFoundAcrossLongTexts) {
  std::vector<int> tokens(300, 4);
  MarkingText text;
  text.clear();
  for (int each : tokens) text.add(each);
  std::vector<Change> changes;
  tokens[0] = 1;
  tokens[31] = 2;  // the last one of the first 64 characters
  tokens[32] = 3;
  tokens[299] = 5;
  ASSERT_TRUE(text.differences(lineOf(tokens).c_str(), changes));
  ASSERT_EQ(4u, changes.size());
  EXPECT_EQ(0, changes[0].place);
  EXPECT_EQ(1, changes[0].tokens);
  EXPECT_EQ(31, changes[1].place);
  EXPECT_EQ(32, changes[2].place);
  EXPECT_EQ(299, changes[3].place);
  EXPECT_EQ(5, changes[3].tokens);
}

TEST(MarkingTextTest, ANumberAcrossTwoBlocksIsOneDifference) {
  std::vector<int> tokens(40, 1);
  tokens[31] = 1234;  // characters 62 to 65
  MarkingText text;
  text.clear();
  for (int each : tokens) text.add(each);
  tokens[31] = 5678;
  std::vector<Change> changes;
  ASSERT_TRUE(text.differences(lineOf(tokens).c_str(), changes));
  ASSERT_EQ(1u, changes.size());
  EXPECT_EQ(31, changes[0].place);
  EXPECT_EQ(5678, changes[0].tokens);
}

TEST(MarkingTextTest, TextsWithNumbersElsewhereAreNotCompared) {
  MarkingText text;
  text.clear();
  for (int each : {1, 10, 100}) text.add(each);
  std::vector<Change> changes;
  EXPECT_FALSE(text.differences("10,1,100,", changes));
  EXPECT_FALSE(text.differences("1,10,10,", changes));
  EXPECT_FALSE(text.differences("1,1,1000,", changes));
  EXPECT_TRUE(text.differences("2,20,200,", changes));
}

TEST(MarkingTextTest, OnlyANumberOfTheSameLengthIsReplaced) {
  MarkingText text;
  text.clear();
  for (int each : {1, 10, 100}) text.add(each);
  EXPECT_TRUE(text.replace({1, 99}));
  EXPECT_STREQ("1,99,100,", text.data()) << "after the same length";
  EXPECT_FALSE(text.replace({1, 9}));
  EXPECT_FALSE(text.replace({1, 100}));
  EXPECT_STREQ("1,99,100,", text.data()) << "after other lengths";
}
