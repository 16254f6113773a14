// Transitions that wait: what they fire later.
#include "exploration/firing.hpp"

#include <gtest/gtest.h>

#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::FrozenTransitions;
using Vesk::Transition;

namespace {

class FrozenTransitionsTest : public testing::Test {
 protected:
  FrozenTransitionsTest()
      : atom(system.atom("A")),
        connector(system.broadcast("k", atom->enabled("p"), atom->enabled("q"))),
        interaction(Interaction::Create(connector, {0, 1})) {
    connector->setFeasibleInter(interaction);
  }
  void freeze() {
    Transition legal;
    legal.connector = connector;
    legal.part = 3;
    stack.push(&legal);
  }

  System system{"s"};
  TestAtom* atom;
  TestConnector* connector;
  Interaction* interaction;
  FrozenTransitions stack;
};

}  // namespace

TEST_F(FrozenTransitionsTest, FireTheSetThatWasFeasible) {
  freeze();
  connector->setFeasibleInter(Interaction::Create(connector, {0}));
  Transition transition = stack.pop();
  EXPECT_EQ(connector, transition.connector);
  EXPECT_EQ(3u, transition.part);
  const Interaction* fired = frozenInteraction(transition);
  EXPECT_TRUE(setOf({0, 1}) == fired->synced());
  EXPECT_NE(interaction, fired) << "what it changes is not seen by the model's priorities";
}

TEST_F(FrozenTransitionsTest, KeepWhatTheirInteractionHasLostSince) {
  Constraint constraint(nullptr, Vesk::Time(1), Vesk::Time(2), EAGER);
  interaction->setConstraint(&constraint);
  freeze();
  interaction->setConstraint(nullptr);
  interaction->setDominated(true);
  freeze();
  interaction->setDominated(false);
  interaction->setMark(1);
  freeze();
  interaction->setMark(0);
  freeze();

  Transition bare = stack.pop();
  EXPECT_EQ(0u, frozenInteraction(bare)->mark());
  EXPECT_FALSE(frozenInteraction(bare)->dominated());
  EXPECT_EQ(nullptr, frozenInteraction(bare)->constraint());
  Transition marked = stack.pop();
  EXPECT_EQ(1u, frozenInteraction(marked)->mark());
  Transition dominated = stack.pop();
  EXPECT_TRUE(frozenInteraction(dominated)->dominated());
  Transition timed = stack.pop();
  ASSERT_NE(nullptr, frozenInteraction(timed)->constraint());
  EXPECT_TRUE(frozenInteraction(timed)->constraint()->in(Vesk::Time(1)));
  EXPECT_FALSE(frozenInteraction(timed)->constraint()->in(Vesk::Time(3)));
}

TEST_F(FrozenTransitionsTest, GainNothingThatTheirInteractionHasGotSince) {
  freeze();
  interaction->setDominated(true);
  interaction->setMark(2);
  Transition transition = stack.pop();
  EXPECT_FALSE(frozenInteraction(transition)->dominated());
  EXPECT_EQ(0u, frozenInteraction(transition)->mark());
  interaction->setDominated(false);
  interaction->setMark(0);
}

TEST_F(FrozenTransitionsTest, OneWithoutConnectorStandsForADeadlock) {
  freeze();
  stack.push(nullptr);
  EXPECT_EQ(nullptr, stack.pop().connector);
  EXPECT_EQ(connector, stack.pop().connector);
}
