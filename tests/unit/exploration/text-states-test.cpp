#include "exploration/text-states.hpp"

#include <gtest/gtest.h>

#include <string>

#include "kit/explorations.hpp"
#include "kit/promised-models.hpp"

using namespace kit;

using Vesk::Label;
using Vesk::PendingState;
using Vesk::StateSpace;
using Vesk::TextStates;
using Vesk::Transition;

namespace {

// An atom that goes from 0 over 1 to 2, and one that does nothing.
class TextStatesTest : public testing::Test {
 protected:
  TextStatesTest() {
    clearGlobals();
    auto* atom = system.add(new PromisedAtom("A", &system, {"0", "1", "2"}));
    idle = system.atom("B");
    idle->state = "b";
    idle->events = &events;
    system.join("k", {atom->addPort("p", {{0, 1}, {1, 2}})});
    system.initialize(nullptr);
    states.read();
    states.find();
    initial = states.keep();
    events.clear();
  }
  ~TextStatesTest() override { states.end(std::move(initial)); }

  static std::string textOf(const StateSpace::Text& text) { return {text.data, text.length}; }

  Events events;
  System system{"s"};
  TestAtom* idle;
  Connector* legal = nullptr;
  Connector* choice = nullptr;
  TextStates states{{system, legal, choice}};
  PendingState initial;
};

}  // namespace

TEST_F(TextStatesTest, TheWholeSystemIsRestoredAndRead) {
  states.restore(initial);
  states.activate();
  Transition transition;
  ASSERT_TRUE(states.firstLegal(transition));
  Label label;
  ASSERT_TRUE(states.fire(transition, label));
  EXPECT_EQ((Events{"setState B", "getState B"}), events);
  EXPECT_STREQ("s/k/A:p", label.text);
  EXPECT_EQ(legal, transition.connector);
  EXPECT_EQ(choice, transition.connector);
}

TEST_F(TextStatesTest, AStateIsKnownByItsText) {
  states.restore(initial);
  states.activate();
  Transition transition;
  states.firstLegal(transition);
  for (const bool isNew : {true, false}) {
    states.restore(initial);
    Label label;
    ASSERT_TRUE(states.fire(transition, label));
    const StateSpace::Found found = states.find();
    EXPECT_EQ(1U, found.number);
    EXPECT_EQ(isNew, found.isNew);
    states.drop();
  }
  EXPECT_EQ(2U, states.count());
  EXPECT_EQ("0b", textOf(states.text(0)));
  EXPECT_EQ("1b", textOf(states.text(1)));
  EXPECT_EQ("0b", textOf(states.restoredText(initial)));
}

TEST_F(TextStatesTest, AFrozenTransitionIsFiredFromItsState) {
  states.restore(initial);
  states.activate();
  Transition transition;
  states.firstLegal(transition);
  states.freeze(&transition);
  states.addTransition(initial);
  states.freeze(nullptr);
  EXPECT_EQ(nullptr, states.thaw().connector);
  Transition thawed = states.thaw();
  states.takeTransition(initial);
  EXPECT_EQ(transition.connector, thawed.connector);
  states.restore(initial);
  Label label;
  ASSERT_TRUE(states.fireFrozen(initial, thawed, label));
  EXPECT_TRUE(states.find().isNew);
  EXPECT_EQ("1b", textOf(states.text(1)));
  EXPECT_EQ(nullptr, transition.connector->feasibleInter());
  states.drop();
}

TEST_F(TextStatesTest, ADroppedLeafIsNoLongerTheFaultyOne) {
  idle->state = "PRUNE";
  states.read();
  EXPECT_TRUE(global_prune);
  ASSERT_NE(nullptr, faulty_leaf);
  states.find();
  states.drop();
  EXPECT_EQ(nullptr, faulty_leaf);
}
