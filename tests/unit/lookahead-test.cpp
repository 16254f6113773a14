#include "lookahead.hpp"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "connector.hpp"
#include "draw.hpp"
#include "interaction-index.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::Lookahead;

namespace {

#ifdef VESK_VALIDATE
constexpr std::size_t MANY = 8;
#else
constexpr std::size_t MANY = 4096;
#endif

constexpr std::size_t STATIONS = 20;

// Connectors in a ring of atoms, each with its place as its rank.
class Ring {
 public:
  Ring() {
    for (std::size_t i = 0; i < STATIONS; ++i) {
      TestAtom* atom = root.atom("A");
      atoms.push_back(atom);
      atom->enabled("t", atom->within(0, 9));
    }
    for (std::size_t i = 0; i < STATIONS; ++i) {
      connectors.push_back(root.rendezvous("k", port(i), port(i + 1)));
      connectors[i]->interactions().rank = static_cast<std::uint32_t>(i);
    }
  }
  Port* port(std::size_t i) { return atoms[i % STATIONS]->ports()[0]; }

  System root{"R"};
  std::vector<TestAtom*> atoms;
  std::vector<TestConnector*> connectors;
};

}  // namespace

TEST(LookaheadTest, ItPaysFromASizeOn) {
  EXPECT_FALSE(Lookahead::pays(0));
  EXPECT_FALSE(Lookahead::pays(MANY - 1));
  EXPECT_TRUE(Lookahead::pays(MANY));
}

TEST(LookaheadTest, APortIsKnownOnceItHasBeenLearned) {
  Ring ring;
  Lookahead lookahead(STATIONS);
  EXPECT_FALSE(lookahead.fires(3, *ring.port(3)));
  lookahead.learn(3, *ring.port(3), {});
  EXPECT_TRUE(lookahead.fires(3, *ring.port(3)));
  EXPECT_FALSE(lookahead.fires(4, *ring.port(3))) << "that is another one's number";
  EXPECT_FALSE(lookahead.fires(3, *ring.port(4))) << "another one has the number now";
}

TEST(LookaheadTest, WhatIsLearnedLaterTakesTheNumber) {
  Ring ring;
  Lookahead lookahead(STATIONS);
  lookahead.learn(3, *ring.port(3), {});
  lookahead.learn(3, *ring.port(5), {});
  EXPECT_FALSE(lookahead.fires(3, *ring.port(3)));
  EXPECT_TRUE(lookahead.fires(3, *ring.port(5)));
  lookahead.fires(3, *ring.connectors[3]);
  EXPECT_FALSE(lookahead.fires(3, *ring.port(5)));
}

// Nobody has to learn it.
TEST(LookaheadTest, WhatIsBeyondTheLimitCountsAsKnown) {
  Ring ring;
  Lookahead lookahead(2);
  EXPECT_FALSE(lookahead.fires(1, *ring.port(0)));
  EXPECT_TRUE(lookahead.fires(2, *ring.port(0)));
  lookahead.fires(2, *ring.connectors[2]);
  lookahead.bring(2);
  lookahead.bring(~std::size_t{0});
}

TEST(LookaheadTest, OneWithoutNumbersKnowsNothing) {
  Ring ring;
  Lookahead lookahead(0);
  EXPECT_TRUE(lookahead.fires(0, *ring.port(0)));
  lookahead.fires(0, *ring.connectors[0]);
  lookahead.bring(0);
  Lookahead::comesNear(nullptr);
}

TEST(LookaheadTest, NumbersThatNobodyHasAreNeverFollowed) {
  Lookahead lookahead(1000);
  for (std::size_t number = 0; number < 1000; ++number) {
    lookahead.comesNear(number);
    lookahead.bring(number);
  }
}

// More than are noted: ports, links of an atom, neighbours, and pieces of memory.
TEST(LookaheadTest, PartsWithManyNeighboursAreLearned) {
  System root("R");
  TestAtom* hub = root.atom("H");
  std::vector<TestConnector*> spokes;
  std::vector<Port*> all;
  for (std::uint32_t i = 0; i < 60; ++i) {
    TestAtom* rim = root.atom("A");
    Port* own = rim->enabled("t", rim->within(0, 9));
    all.push_back(own);
    spokes.push_back(root.rendezvous("k", own, hub->enabled(std::to_string(i).c_str())));
    spokes.back()->interactions().rank = i;
  }
  TestConnector* wide = root.join("w", all, BROADCAST);
  wide->interactions().rank = 60;
  Lookahead lookahead(61);
  for (int round = 0; round < 3; ++round) {
    for (std::size_t i = 0; i < spokes.size(); ++i) {
      spokes[i]->evaluate(nullptr, false, false);
      lookahead.fires(i, *spokes[i]);
    }
    lookahead.fires(60, *wide);
  }
  EXPECT_FALSE(lookahead.fires(60, *all[0]));
}

// No ports, no links, no constraint, no clock, no atom, no name.
TEST(LookaheadTest, PartsThatHaveLittleAreLearned) {
  System root("R");
  TestConnector* bare = root.rendezvous("k");
  TestConnector* group = root.group("g", {}, BROADCAST);
  Port alone(nullptr, static_cast<const Atom*>(nullptr));
  Constraint clockless(nullptr, 0, 5, LAZY);
  Constraint nothing(nullptr, 0, 5, LAZY);
  nothing.clear();
  Lookahead lookahead(8);
  lookahead.fires(0, *bare);
  lookahead.fires(1, *group);
  TestConnector* impossible = root.rendezvous("i", root.atom("D")->port("d"));
  impossible->evaluate(nullptr, false, false);
  ASSERT_EQ(impossible->feasibleInter(), nullptr);
  lookahead.fires(6, *impossible);
  lookahead.learn(2, alone, {nullptr, &lookahead, nullptr});
  lookahead.learn(3, *group->xPort(), {});
  alone.setConstraint(&clockless);
  lookahead.learn(4, alone, {});
  alone.setConstraint(&nothing);
  lookahead.learn(5, alone, {});
  for (std::size_t number = 0; number < 8; ++number) {
    EXPECT_EQ(lookahead.fires(number, alone), number == 2 || number == 4 || number == 5) << number;
    lookahead.bring(number);
  }
}

// What stands in it may have gone long ago, or something else may be there.
TEST(LookaheadTest, RandomFiringsWhilePartsComeAndGo) {
  Draw draw(1);
  auto ring = std::make_unique<Ring>();
  Lookahead lookahead(STATIONS);
  std::map<std::size_t, const void*> known;  // by number
  for (int round = 0; round < 20000; ++round) {
    const auto number = static_cast<std::size_t>(draw.below(STATIONS));
    const Port& port = *ring->port(number + static_cast<std::size_t>(draw.below(2)));
    switch (draw.below(6)) {
      case 0:
        ASSERT_EQ(lookahead.fires(number, port), known[number] == &port) << round;
        break;
      case 1:
        lookahead.learn(number, port, {&port, nullptr, ring.get()});
        known[number] = &port;
        break;
      case 2:
        ring->connectors[number]->evaluate(nullptr, false, draw.coin());
        lookahead.fires(number, *ring->connectors[number]);
        known[number] = ring->connectors[number];
        break;
      case 3:
        lookahead.bring(number);
        break;
      case 4:
        lookahead.comesNear(number);
        break;
      default:
        if (draw.below(20) == 0) ring = std::make_unique<Ring>();
        break;
    }
  }
}
