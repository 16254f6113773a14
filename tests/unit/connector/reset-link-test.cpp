// Which connectors and priorities have to be evaluated again.

#include "connector.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <vector>

#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class ResetLinkTest : public ConnectorTest {};

}  // namespace

TEST_F(ResetLinkTest, OfAConnectorThatIsNotEvaluatedDoesNothing) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  TestConnector* other = over(RENDEZVOUS, synced({nullptr}), "other");
  TestConnector* dependent = over(RENDEZVOUS, {}, "dependent");
  TestPriority* priority = compound.priority("p", Interaction::Create(connector, setOf({0})),
                                             Interaction::Create(other, setOf({0})));
  priority->setup();
  priority->setEvaluated(true);
  connector->links().add(dependent);
  dependent->setEvaluated(true);
  connector->resetLink();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_TRUE(dependent->evaluated());
}

TEST_F(ResetLinkTest, ResetsThePrioritiesThatDominateIt) {
  TestConnector* low = over(RENDEZVOUS, synced({nullptr}), "low");
  TestConnector* high = over(RENDEZVOUS, synced({nullptr}), "high");
  TestPriority* priority = compound.priority("p", Interaction::Create(low, setOf({0})),
                                             Interaction::Create(high, setOf({0})));
  priority->setup();
  low->eval(false);
  high->eval(false);
  priority->setEvaluated(true);
  priority->setApplied(true);
  low->resetLink();
  EXPECT_FALSE(low->evaluated());
  EXPECT_FALSE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
  EXPECT_TRUE(high->evaluated());
}

TEST_F(ResetLinkTest, ResetsWhatItHasDominatedWhenThePriorityWasApplied) {
  TestConnector* low = over(RENDEZVOUS, synced({nullptr}), "low");
  TestConnector* high = over(RENDEZVOUS, synced({nullptr}), "high");
  TestPriority* priority = compound.priority("p", Interaction::Create(low, setOf({0})),
                                             Interaction::Create(high, setOf({0})));
  priority->setup();
  for (bool applied : {false, true}) {
    low->eval(false);
    high->eval(false);
    priority->setEvaluated(true);
    priority->setApplied(applied);
    high->resetLink();
    EXPECT_FALSE(high->evaluated()) << applied;
    EXPECT_EQ(low->evaluated(), !applied) << applied;
    EXPECT_FALSE(priority->evaluated()) << applied;
    EXPECT_FALSE(priority->applied()) << applied;
  }
}

TEST_F(ResetLinkTest, GoesUpThroughExportedPorts) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* middle = compound.exported(RENDEZVOUS, "middle", inner->xPort());
  TestConnector* one = compound.rendezvous("one", middle->xPort());
  TestConnector* two = compound.rendezvous("two", middle->xPort());
  TestConnector* apart = compound.rendezvous("apart", atom->enabled("q"));
  for (TestConnector* connector : {one, two, apart}) connector->eval(false);
  inner->resetLink();
  EXPECT_FALSE(inner->evaluated());
  EXPECT_FALSE(middle->evaluated());
  EXPECT_FALSE(one->evaluated());
  EXPECT_FALSE(two->evaluated());
  EXPECT_TRUE(apart->evaluated());
}

TEST_F(ResetLinkTest, DoesNotGoDown) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  outer->eval(false);
  outer->resetLink();
  EXPECT_TRUE(inner->evaluated());
}

TEST_F(ResetLinkTest, DependentLinksAloneLeaveTheConnectorEvaluated) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  outer->eval(false);
  inner->resetDependentLinks();
  EXPECT_TRUE(inner->evaluated());
  EXPECT_FALSE(outer->evaluated());
}

TEST_F(ResetLinkTest, EndsOnPrioritiesInARing) {
  TestConnector* one = over(RENDEZVOUS, synced({nullptr}), "one");
  TestConnector* two = over(RENDEZVOUS, synced({nullptr}), "two");
  Interaction *first = Interaction::Create(one, setOf({0})),
              *second = Interaction::Create(two, setOf({0}));
  for (auto* priority :
       {compound.priority("p", first, second), compound.priority("q", second, first)}) {
    priority->setup();
    priority->setApplied(true);
    priority->setEvaluated(true);
  }
  one->eval(false);
  two->eval(false);
  one->resetLink();
  EXPECT_FALSE(one->evaluated());
  EXPECT_FALSE(two->evaluated());
  for (Priority* priority : elements(compound.priorities())) {
    EXPECT_FALSE(priority->evaluated()) << "a priority of the ring";
    EXPECT_FALSE(priority->applied()) << "a priority of the ring";
  }
}

// The closure over links and applied priorities, compared with a search from the reset connector.
TEST_F(ResetLinkTest, ReachesExactlyTheClosure) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    System system("S");
    constexpr int COUNT = 7;
    std::vector<TestConnector*> connectors;
    for (int i = 0; i < COUNT; ++i) connectors.push_back(system.exported(RENDEZVOUS, "k"));
    bool reach[COUNT][COUNT] = {};
    struct Edge {
      int low, high;
      bool applied;
      Priority* priority;
    };
    std::vector<Edge> edges;
    for (int n = 0; n < 6; ++n) {
      const int from = static_cast<int>(random() % COUNT), to = static_cast<int>(random() % COUNT);
      connectors[static_cast<std::size_t>(from)]->links().add(
          connectors[static_cast<std::size_t>(to)]);
      reach[from][to] = true;
    }
    for (int n = 0; n < 5; ++n) {
      Edge edge{static_cast<int>(random() % COUNT), static_cast<int>(random() % COUNT),
                random() % 2 == 0, nullptr};
      edge.priority = system.priority(
          "p",
          Interaction::Create(connectors[static_cast<std::size_t>(edge.low)], BitVector::EMPTY),
          Interaction::Create(connectors[static_cast<std::size_t>(edge.high)], BitVector::EMPTY));
      edge.priority->setup();
      edge.priority->setEvaluated(true);
      edge.priority->setApplied(edge.applied);
      edges.push_back(edge);
    }
    bool evaluated[COUNT], reset[COUNT] = {};
    for (int i = 0; i < COUNT; ++i) {
      evaluated[i] = random() % 4 != 0;
      connectors[static_cast<std::size_t>(i)]->setEvaluated(evaluated[i]);
    }
    // A priority whose low side was reset before its high side is no longer applied then, but its
    // low side has been reset already: the order does not matter.
    std::vector<int> open{0};
    while (!open.empty()) {
      const int at = open.back();
      open.pop_back();
      if (!evaluated[at] || reset[at]) continue;
      reset[at] = true;
      for (int to = 0; to < COUNT; ++to) {
        if (reach[at][to]) open.push_back(to);
      }
      for (const Edge& edge : edges) {
        if (edge.high == at && edge.applied) open.push_back(edge.low);
      }
    }
    connectors[0]->resetLink();
    for (int i = 0; i < COUNT; ++i) {
      EXPECT_EQ(connectors[static_cast<std::size_t>(i)]->evaluated(), evaluated[i] && !reset[i])
          << round << ' ' << i;
    }
    for (const Edge& edge : edges) {
      const bool touched = reset[edge.low] || reset[edge.high];
      EXPECT_EQ(edge.priority->evaluated(), !touched) << round;
      EXPECT_EQ(edge.priority->applied(), edge.applied && !touched) << round;
    }
  }
}
