// Activation: which connectors and internal ports can fire, with priorities applied.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "component.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

// The names of a list of ports, "A:p B:q", or "none".
std::string internals(const Compound& compound) {
  std::string list;
  for (Port* port : listOf(compound.internals())) {
    list += (list.empty() ? "" : " ") + std::string(port->label());
  }
  return list.empty() ? "none" : list;
}

// A compound with an atom, and connectors over single ports of that atom.
class ActivationTest : public testing::Test {
 protected:
  ActivationTest() : within(nullptr, 0, 10, LAZY), compound("C"), atom(compound.atom("A")) {}

  // A legal rendezvous over one port, which may be timed.
  TestConnector* legal(const char* name, Constraint* constraint = nullptr) {
    return legalIn(compound, name, constraint);
  }
  TestConnector* legalIn(System& holder, const char* name, Constraint* constraint = nullptr) {
    TestConnector* made = holder.rendezvous(name, atom->enabled(name, constraint));
    made->events = &events;
    return made;
  }
  TestConnector* illegal(const char* name) { return compound.rendezvous(name, atom->port(name)); }
  static Interaction* only(Connector* connector) {
    return Interaction::Create(connector, setOf({0}));
  }
  TestPriority* below(Connector* low, Connector* high, Vesk::Time delay = Vesk::Time(0)) {
    TestPriority* made =
        compound.priority("p", only(low), high != nullptr ? only(high) : nullptr, delay);
    made->setup();
    return made;
  }
  std::string activated(bool incremental = true) { return names(compound.activate(incremental)); }

  Events events;
  Constraint within;
  System compound;
  TestAtom* atom;
};

class InternalPortsTest : public ActivationTest {};
class ActivationPriorityTest : public ActivationTest {};
class NullHighPriorityTest : public ActivationTest {};
class SkippedPriorityTest : public ActivationTest {};
class IncrementalActivationTest : public ActivationTest {};
class CleanUpTest : public ActivationTest {};

}  // namespace

// ---- lists -------------------------------------------------------------------------------------

TEST_F(ActivationTest, OfAnEmptyCompoundIsEmptyAndClearsTheInternalPorts) {
  System empty("E");
  Port left("left", atom);
  empty.setInternals(&left);
  EXPECT_EQ(empty.activate(true), nullptr);
  EXPECT_EQ(empty.internals(), nullptr);
  empty.setInternals(&left);
  EXPECT_EQ(empty.subactivate(true), nullptr);
  EXPECT_EQ(empty.internals(), nullptr);
}

TEST_F(ActivationTest, WithoutComponentsStillListsItsConnectors) {
  System flat("F");
  flat.rendezvous("k", atom->enabled("p"));
  EXPECT_EQ(names(flat.activate(true)), "k");
}

TEST_F(ActivationTest, ListsTheLegalConnectorsLastOneFirst) {
  legal("K1");
  legal("K2");
  EXPECT_EQ(activated(), "K2 K1");
  EXPECT_EQ(activated(), "K2 K1");
}

TEST_F(ActivationTest, LeavesIllegalConnectorsOutAndClearsTheirLink) {
  TestConnector *one = legal("K1"), *two = legal("K2"), *three = legal("K3");
  EXPECT_EQ(activated(), "K3 K2 K1");
  two->ports()[0]->setSynced(false);
  three->ports()[0]->setSynced(false);
  EXPECT_EQ(activated(false), "K1");
  EXPECT_EQ(two->next(), nullptr);
  EXPECT_EQ(three->next(), nullptr);
  EXPECT_EQ(one->next(), nullptr);
}

TEST_F(ActivationTest, LeavesSubconnectorsOut) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  EXPECT_EQ(activated(), "outer");
  EXPECT_TRUE(inner->legal());
  EXPECT_EQ(inner->next(), nullptr);
}

TEST_F(ActivationTest, ListsEvaluateAConnectorOfTheWholeTreeOnce) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  activated(true);
  EXPECT_EQ(inner->guards, 1);
  EXPECT_EQ(outer->guards, 1);
}

TEST_F(ActivationTest, AFreshEvaluationAsksAProviderOncePerUse) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  activated(false);
  EXPECT_EQ(inner->guards, 2);  // by itself, and for the outer one
  EXPECT_EQ(outer->guards, 1);
}

// The root's connectors come first, the last one before the others; then those of later
// sub-compounds before those of earlier ones.
TEST_F(ActivationTest, ListsOwnConnectorsThenLaterSubcompoundsThenEarlierOnes) {
  System* first = compound.compound("D1");
  System* second = compound.compound("D2");
  System* deeper = first->compound("E");
  legalIn(*first, "f1");
  legalIn(*second, "s1");
  legalIn(*second, "s2");
  legalIn(*deeper, "d1");
  legalIn(*first, "f2");
  legal("k1");
  legal("k2");
  EXPECT_EQ(activated(), "k2 k1 s2 s1 f2 f1 d1");
  EXPECT_EQ(names(compound.subactivate(true)), "s2 s1 f2 f1 d1");
  EXPECT_EQ(activated(), "k2 k1 s2 s1 f2 f1 d1");
  EXPECT_EQ(activated(false), "k2 k1 s2 s1 f2 f1 d1");
}

TEST_F(ActivationTest, EvaluatesSubcompoundsFirstInIndexOrder) {
  System* first = compound.compound("D1");
  System* second = compound.compound("D2");
  legal("k1");
  legal("k2");
  legalIn(*second, "s");
  legalIn(*first, "f");
  activated();
  EXPECT_EQ(events, (Events{"guard f", "up f", "guard s", "up s", "guard k1", "up k1", "guard k2",
                            "up k2"}));
}

TEST_F(ActivationTest, SkipsEmptySubcompoundsInBetween) {
  System* first = compound.compound("D1");
  compound.compound("D2");
  System* third = compound.compound("D3");
  legalIn(*first, "f");
  legalIn(*third, "t");
  EXPECT_EQ(activated(), "t f");
}

TEST_F(ActivationTest, SkipsComponentsThatAreNeitherAtomNorCompound) {
  class Stranger : public Component {
   public:
    Stranger(const Compound* holder) : Component("S", holder) {}
    void initialize() override {}
    void initialize(LogicalClock*) override {}
    Node* getState() override { return nullptr; }
    void setState(Node*) override {}
  };
  compound.add<Component>(new Stranger(&compound));
  legal("k");
  EXPECT_EQ(activated(), "k");
  EXPECT_EQ(internals(compound), "none");
}

// ---- internal ports ----------------------------------------------------------------------------

TEST_F(InternalPortsTest, HoldsTheEnabledTimedInternalPortsLastOneFirst) {
  for (const char* name : {"i1", "i2", "i3"}) {
    Port* port = atom->internal(name);
    port->setSynced(true);
    port->setConstraint(&within);
  }
  activated();
  EXPECT_EQ(internals(compound), "A:i3 A:i2 A:i1");
}

// However a port has become internal, and whenever the atom got it.
TEST_F(InternalPortsTest, HoldsPortsThatAreInternalByConstructionOrWithoutHolder) {
  class InternalPort : public Port {
   public:
    explicit InternalPort(const Atom* holder) : Port("i", holder) { mInternal = true; }
  };
  Port* homeless = new Port("h", static_cast<Atom*>(nullptr));
  homeless->setInternal();
  std::vector<Port*> expected;
  for (Port* port : {static_cast<Port*>(new InternalPort(atom)), homeless}) {
    port->setSynced(true);
    port->setConstraint(&within);
    atom->addPort(port);
    expected.insert(expected.begin(), port);
    activated();
    EXPECT_EQ(listOf(compound.internals()), expected);
  }
}

TEST_F(InternalPortsTest, HoldsAPortThatMakesItselfInternalLater) {
  struct Switching : Port {
    explicit Switching(const Atom* holder) : Port("i", holder) {}
    void becomeInternal() { mInternal = true; }
  };
  auto* port = new Switching(atom);
  port->setSynced(true);
  port->setConstraint(&within);
  atom->addPort(port);
  activated();
  EXPECT_EQ(internals(compound), "none");
  port->becomeInternal();
  activated();
  EXPECT_EQ(internals(compound), "A:i");
}

// The holder of the port does not matter, the list that it stands in does.
TEST_F(InternalPortsTest, HoldsAPortOfAnotherHolderThatBecomesInternalLater) {
  Atom* other = compound.atom("B");
  for (const Atom* holder : {static_cast<const Atom*>(nullptr), static_cast<const Atom*>(other)}) {
    Port* port = new Port("i", holder);
    port->setSynced(true);
    port->setConstraint(&within);
    atom->addPort(port);
    activated();
    EXPECT_EQ(compound.internals(), nullptr);
    port->setInternal();
    activated();
    EXPECT_EQ(compound.internals(), port);
    EXPECT_EQ(port->next(), nullptr);
    port->setSynced(false);
  }
}

TEST_F(InternalPortsTest, NeverHoldsOneWithoutConstraint) {
  atom->internal("i")->setSynced(true);
  activated();
  EXPECT_EQ(internals(compound), "none");
}

TEST_F(InternalPortsTest, HoldsNeitherExternalNorDisabledPorts) {
  atom->enabled("e", &within);
  atom->internal("i")->setConstraint(&within);
  activated();
  EXPECT_EQ(internals(compound), "none");
}

TEST_F(InternalPortsTest, AreRebuiltEveryTime) {
  Port *one = atom->internal("i1"), *two = atom->internal("i2");
  for (Port* port : {one, two}) {
    port->setSynced(true);
    port->setConstraint(&within);
  }
  activated();
  EXPECT_EQ(internals(compound), "A:i2 A:i1");
  two->setSynced(false);
  activated();
  EXPECT_EQ(internals(compound), "A:i1");
  EXPECT_EQ(one->next(), nullptr);
  two->setSynced(true);
  one->setSynced(false);
  activated();
  EXPECT_EQ(internals(compound), "A:i2");
}

TEST_F(InternalPortsTest, HoldsAPortThatBecomesInternalLater) {
  Port* port = atom->enabled("i", &within);
  activated();
  EXPECT_EQ(internals(compound), "none");
  port->setInternal();
  activated();
  EXPECT_EQ(internals(compound), "A:i");
  port->setInternal(false);
  activated();
  EXPECT_EQ(internals(compound), "none");
}

TEST_F(InternalPortsTest, HoldsAPortThatWasInternalBeforeItWasAdded) {
  Port* port = new Port("i", atom);
  port->setInternal();
  port->setSynced(true);
  port->setConstraint(&within);
  atom->addPort(port);
  activated();
  EXPECT_EQ(internals(compound), "A:i");
}

TEST_F(InternalPortsTest, OfLaterComponentsStandBeforeThoseOfEarlierOnes) {
  const auto timed = [&](TestAtom* owner, const char* name) {
    Port* port = owner->internal(name);
    port->setSynced(true);
    port->setConstraint(&within);
  };
  timed(atom, "a1");
  timed(atom, "a2");
  System* first = compound.compound("D1");
  TestAtom* between = compound.atom("B");
  System* second = compound.compound("D2");
  timed(first->atom("F"), "f1");
  timed(first->atom("G"), "g1");
  timed(between, "b1");
  timed(second->compound("E")->atom("S"), "s1");
  activated();
  EXPECT_EQ(internals(compound), "S:s1 B:b1 G:g1 F:f1 A:a2 A:a1");
  activated();
  EXPECT_EQ(internals(compound), "S:s1 B:b1 G:g1 F:f1 A:a2 A:a1");
}

TEST_F(InternalPortsTest, AreSetInEverySubcompound) {
  System* below = compound.compound("D");
  Port* port = below->atom("B")->internal("i");
  port->setSynced(true);
  port->setConstraint(&within);
  Port* own = atom->internal("j");
  own->setSynced(true);
  own->setConstraint(&within);
  activated();
  EXPECT_EQ(internals(compound), "B:i A:j");
  // The list of the sub-compound goes on into that of the compound.
  EXPECT_EQ(below->internals(), port);
}

// ---- lists of random trees ---------------------------------------------------------------------

namespace {

// A tree in which about half of the connectors are legal and about half of the internal ports are
// enabled, together with the lists that the rules for lists give.
class RandomTree {
 public:
  explicit RandomTree(unsigned int seed) : root("R"), mRandom(seed), mWithin(nullptr, 0, 10, LAZY) {
    grow(root, 0);
  }

  std::vector<Connector*> legal(System& compound) const {
    std::vector<Connector*> list;
    for (Component* part : elements(compound.components())) {
      if (!part->isCompound()) continue;
      std::vector<Connector*> longer = legal(*static_cast<System*>(part));
      longer.insert(longer.end(), list.begin(), list.end());
      list = longer;
    }
    for (Connector* connector : elements(compound.connectors())) {
      if (connector->maximal()) list.insert(list.begin(), connector);
    }
    return list;
  }
  std::vector<Port*> enabled(System& compound) const {
    std::vector<Port*> list;
    for (Component* part : elements(compound.components())) {
      std::vector<Port*> longer;
      if (part->isCompound()) {
        longer = enabled(*static_cast<System*>(part));
      } else {
        for (Port* port : elements(static_cast<TestAtom*>(part)->ports())) {
          if (port->isInternal() && port->synced()) longer.insert(longer.begin(), port);
        }
      }
      longer.insert(longer.end(), list.begin(), list.end());
      list = longer;
    }
    return list;
  }
  // Enables and disables ports at random.
  void shake() {
    for (Port* port : mPorts) port->setSynced(mRandom() % 2 == 0);
  }

  System root;

 private:
  void grow(System& compound, int depth) {
    const std::size_t parts = mRandom() % 4;
    for (std::size_t i = 0; i < parts; ++i) {
      if (depth < 4 && mRandom() % 3 != 0) {
        grow(*compound.compound("D"), depth + 1);
        continue;
      }
      TestAtom* atom = compound.atom("A");
      Port* internal = atom->internal("i");
      internal->setConstraint(&mWithin);
      mPorts.push_back(internal);
      for (std::size_t k = mRandom() % 3; k > 0; --k) {
        mPorts.push_back(atom->port("p"));
        compound.rendezvous("k", mPorts.back());
      }
    }
  }

  std::mt19937 mRandom;
  Constraint mWithin;
  std::vector<Port*> mPorts;
};

}  // namespace

TEST(ActivationListsTest, OfRandomTreesFollowTheRules) {
  std::size_t longest = 0;
  for (unsigned int seed = 0; seed < 500; ++seed) {
    RandomTree tree(seed);
    for (int round = 0; round < 4; ++round) {
      tree.shake();
      const std::vector<Connector*> expected = tree.legal(tree.root);
      ASSERT_EQ(listOf(tree.root.activate(false)), expected) << seed;
      ASSERT_EQ(listOf(tree.root.internals()), tree.enabled(tree.root)) << seed;
      longest = std::max(longest, expected.size());
    }
  }
  EXPECT_GT(longest, 8u);
}

// ---- priorities --------------------------------------------------------------------------------

TEST_F(ActivationPriorityTest, TheHighOneDominatesTheLowOne) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  EXPECT_EQ(activated(), "high low");  // a mark, not a removal
  EXPECT_TRUE(only(low)->dominated());
  EXPECT_FALSE(only(high)->dominated());
  EXPECT_TRUE(priority->evaluated());
  EXPECT_TRUE(priority->applied());
}

TEST_F(ActivationPriorityTest, WithoutFeasibleHighNothingIsDominated) {
  TestConnector *low = legal("low"), *high = illegal("high");
  TestPriority* priority = below(low, high);
  activated();
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

TEST_F(ActivationPriorityTest, WithoutFeasibleLowItCountsAsEvaluated) {
  TestConnector *low = illegal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  activated();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

TEST_F(ActivationPriorityTest, OneWhoseGuardFailsCountsAsEvaluatedUntilItsLinksAreReset) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  bool holds = false;
  priority->onGuard = [&] { return holds; };
  activated();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
  EXPECT_FALSE(only(low)->dominated());
  holds = true;
  activated();
  EXPECT_FALSE(priority->applied());
  EXPECT_FALSE(only(low)->dominated());
  low->resetLink();
  activated();
  EXPECT_TRUE(priority->applied());
  EXPECT_TRUE(only(low)->dominated());
}

TEST_F(ActivationPriorityTest, TheGuardIsAskedEveryTime) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  Events asked;
  priority->events = &asked;
  activated();
  activated();
  EXPECT_EQ(asked, (Events{"guard p", "guard p"}));
  priority->events = nullptr;
}

TEST_F(ActivationPriorityTest, AnInteractionContainedInNoFeasibleOneChangesNothing) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* byLow = compound.priority("p", Interaction::Create(low, setOf({5})), only(high));
  TestPriority* byHigh = compound.priority("q", only(low), Interaction::Create(high, setOf({5})));
  byLow->setup();
  byHigh->setup();
  activated();
  for (TestPriority* priority : {byLow, byHigh}) {
    EXPECT_TRUE(priority->evaluated());
    EXPECT_FALSE(priority->applied());
  }
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_FALSE(low->recomputexPort());
}

// Every feasible interaction that contains the high one dominates every one that contains the low
// one.
TEST_F(ActivationPriorityTest, ConcernsEveryFeasibleInteractionThatContainsTheGivenOnes) {
  Constraint often(nullptr, 0, 100, LAZY), seldom(nullptr, 40, 50, LAZY);
  TestConnector* low =
      compound.broadcast("low", atom->enabled("l0", &often), atom->enabled("l1", &seldom));
  TestConnector* high = legal("high");
  TestPriority* whole = compound.priority("p", Interaction::Create(low, setOf({1})), only(high));
  whole->setup();
  activated();
  ASSERT_EQ(sets(low->feasibleInter()), "{0} {0,1}");
  EXPECT_FALSE(Interaction::Create(low, setOf({0}))->dominated());
  EXPECT_TRUE(Interaction::Create(low, setOf({0, 1}))->dominated());

  TestPriority* both = compound.priority("q", Interaction::Create(low, setOf({0})), only(high));
  both->setup();
  low->resetLink();
  activated();
  EXPECT_TRUE(Interaction::Create(low, setOf({0}))->dominated());
  EXPECT_TRUE(Interaction::Create(low, setOf({0, 1}))->dominated());
}

TEST_F(ActivationPriorityTest, ATimedHighOneNarrowsTheLowOne) {
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low", &early), *high = legal("high", &now);
  below(low, high);
  activated();
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_EQ(spans(only(low)->constraint()), "[0,9] [21,30]");
  EXPECT_EQ(spans(only(high)->constraint()), "[10,20]");
}

TEST_F(ActivationPriorityTest, TheDelayOfThePriorityCounts) {
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low", &early), *high = legal("high", &now);
  below(low, high, Vesk::Time(4));
  activated();
  EXPECT_EQ(spans(only(low)->constraint()), "[0,5] [21,30]");
}

TEST_F(ActivationPriorityTest, ATimedHighOneGivesAnUntimedLowOneAConstraint) {
  Constraint now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low"), *high = legal("high", &now);
  below(low, high);
  for (int round = 0; round < 3; ++round) {
    activated();
    EXPECT_EQ(spans(only(low)->constraint()), "[MIN,9] [21,MAX]");
    low->resetLink();
  }
}

TEST_F(ActivationPriorityTest, AnUntimedHighOneRulesOutATimedLowOneAltogether) {
  Constraint now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low", &now), *high = legal("high");
  below(low, high);
  activated();
  EXPECT_TRUE(only(low)->dominated());
  EXPECT_EQ(spans(only(low)->constraint()), "[10,20]");
}

TEST_F(ActivationPriorityTest, AreAppliedInIndexOrder) {
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *a = legal("a"), *b = legal("b"), *c = legal("c");
  TestPriority *one = below(a, b), *two = below(b, c);
  Events order;
  one->onGuard = [&] {
    order.push_back("one");
    return true;
  };
  two->onGuard = [&] {
    order.push_back("two");
    return true;
  };
  activated();
  EXPECT_EQ(order, (Events{"one", "two"}));
  EXPECT_TRUE(only(a)->dominated());  // also by a dominated one
  EXPECT_TRUE(only(b)->dominated());
}

// A high one that was itself narrowed dominates with its domination marks still in place.
TEST_F(ActivationPriorityTest, MarkedPartsOfTheHighOneStillCountUntilTheCleanUp) {
  Constraint all(nullptr, 0, 30, LAZY), some(nullptr, 0, 20, LAZY), few(nullptr, 5, 10, LAZY);
  TestConnector *a = legal("a", &all), *b = legal("b", &some), *c = legal("c", &few);
  below(b, c);
  below(a, b);
  activated();
  EXPECT_EQ(spans(only(b)->constraint()), "[0,4] [11,20]");
  EXPECT_EQ(spans(only(a)->constraint()), "[21,30]");
}

TEST_F(ActivationPriorityTest, OfAnInnerCompoundActOnConnectorsElsewhere) {
  System* inner = compound.compound("D");
  TestConnector *low = legal("low"), *high = legalIn(*inner, "high");
  TestPriority* priority = inner->priority("p", only(low), only(high));
  priority->setup();
  // The inner compound comes first, when the outer connector has nothing but its first, empty
  // interaction: applied too early, and not again.
  activated();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(ActivationPriorityTest, WithinOneConnectorASmallerSetMayYieldToALargerOne) {
  Constraint often(nullptr, 0, 100, LAZY), seldom(nullptr, 40, 50, LAZY);
  TestConnector* connector =
      compound.broadcast("k", atom->enabled("l0", &often), atom->enabled("l1", &seldom));
  // {0} is contained in both: it yields to {0,1}, and so does {0,1} to itself.
  compound
      .priority("p", Interaction::Create(connector, setOf({0})),
                Interaction::Create(connector, setOf({0, 1})))
      ->setup();
  activated();
  EXPECT_EQ(spans(Interaction::Create(connector, setOf({0}))->constraint()), "[0,39] [51,100]");
  EXPECT_EQ(spans(Interaction::Create(connector, setOf({0, 1}))->constraint()), "none");
}

// ---- priorities without a high interaction -----------------------------------------------------

TEST_F(NullHighPriorityTest, YieldsToEveryOtherLegalConnector) {
  TestConnector *low = legal("low"), *other = legal("other");
  TestPriority* priority = below(low, nullptr);
  activated();
  EXPECT_TRUE(only(low)->dominated());
  EXPECT_FALSE(only(other)->dominated());
  EXPECT_TRUE(priority->evaluated());
  EXPECT_TRUE(priority->applied());
}

TEST_F(NullHighPriorityTest, DoesNotYieldToItsOwnConnector) {
  Constraint often(nullptr, 0, 100, LAZY), seldom(nullptr, 40, 50, LAZY);
  TestConnector* low =
      compound.broadcast("low", atom->enabled("l0", &often), atom->enabled("l1", &seldom));
  TestPriority* priority = compound.priority("p", Interaction::Create(low, setOf({0})), nullptr);
  priority->setup();
  illegal("other");
  activated();
  EXPECT_EQ(sets(low->feasibleInter()), "{0} {0,1}");
  EXPECT_EQ(spans(low->feasibleInter()->constraint()), "[0,39] [51,100]");
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

TEST_F(NullHighPriorityTest, YieldsToSubcompoundsAndToConnectorsEvaluatedEarlierAndLater) {
  Constraint all(nullptr, 0, 100, LAZY), one(nullptr, 0, 10, LAZY), two(nullptr, 20, 30, LAZY),
      three(nullptr, 40, 50, LAZY);
  System* inner = compound.compound("D");
  legalIn(*inner, "inner", &one);
  legal("earlier", &two);
  TestConnector* low = legal("low", &all);
  legal("later", &three);
  below(low, nullptr);
  activated();
  EXPECT_EQ(spans(only(low)->constraint()), "[11,19] [31,39] [51,100]");
}

TEST_F(NullHighPriorityTest, YieldsToEveryFeasibleInteractionOfTheOthers) {
  Constraint all(nullptr, 0, 100, LAZY), often(nullptr, 20, 30, LAZY),
      seldom(nullptr, 25, 40, LAZY);
  TestConnector* low = legal("low", &all);
  TestConnector* other =
      compound.broadcast("other", atom->enabled("o0", &often), atom->enabled("o1", &seldom));
  below(low, nullptr);
  activated();
  // {0,1} is [25,30], {0} is [20,24].
  ASSERT_EQ(sets(other->feasibleInter()), "{0} {0,1}");
  EXPECT_EQ(spans(only(low)->constraint()), "[0,19] [31,100]");
}

TEST_F(NullHighPriorityTest, DoesNotYieldToConnectorsThatAreNotLegalOrSubconnectors) {
  TestConnector* low = legal("low");
  illegal("other");
  compound.exported(RENDEZVOUS, "sub", atom->enabled("s"));
  TestPriority* priority = below(low, nullptr);
  activated();
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_TRUE(priority->evaluated());
}

TEST_F(NullHighPriorityTest, DoesNotYieldToConnectorsOfACompoundAbove) {
  System* inner = compound.compound("D");
  TestConnector* low = legalIn(*inner, "low");
  legal("above");
  inner->priority("p", only(low), nullptr)->setup();
  activated();
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(NullHighPriorityTest, WithoutFeasibleLowItCountsAsEvaluated) {
  TestConnector* low = illegal("low");
  legal("other");
  TestPriority* priority = below(low, nullptr);
  activated();
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

TEST_F(NullHighPriorityTest, ConcernsOnlyInteractionsThatContainTheLowOne) {
  TestConnector* low = legal("low");
  legal("other");
  TestPriority* priority = compound.priority("p", Interaction::Create(low, setOf({5})), nullptr);
  priority->setup();
  activated();
  EXPECT_FALSE(only(low)->dominated());
  EXPECT_TRUE(priority->evaluated());
  EXPECT_FALSE(priority->applied());
}

// ---- skipped priorities ------------------------------------------------------------------------

TEST_F(SkippedPriorityTest, WithoutHighWarnsAboutALowSubconnectorEveryTime) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  legal("other");
  TestPriority* priority = below(inner, nullptr);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(errorsOf([&] { activated(); }),
              "WARNING: skip priority inner < _: inner is a subconnector!\n");
    EXPECT_FALSE(priority->evaluated());
    EXPECT_FALSE(only(inner)->dominated());
  }
}

TEST_F(SkippedPriorityTest, WarnsAboutALowSubconnector) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  TestPriority* priority = below(inner, legal("high"));
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(errorsOf([&] { activated(); }),
              "WARNING: skip priority inner < high: inner is a subconnector!\n");
    EXPECT_FALSE(priority->evaluated());
    EXPECT_FALSE(only(inner)->dominated());
  }
}

TEST_F(SkippedPriorityTest, WarnsAboutAHighSubconnector) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  TestConnector* low = legal("low");
  TestPriority* priority = below(low, inner);
  EXPECT_EQ(errorsOf([&] { activated(); }),
            "WARNING: skip priority low < inner: inner is a subconnector!\n");
  EXPECT_FALSE(priority->evaluated());
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(SkippedPriorityTest, WarnsAboutTwoSubconnectors) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* two = compound.exported(RENDEZVOUS, "two", atom->enabled("q"));
  compound.rendezvous("outer", one->xPort(), two->xPort());
  TestPriority* priority = below(one, two);
  EXPECT_EQ(errorsOf([&] { activated(); }),
            "WARNING: skip priority one < two: one and two are subconnectors!\n");
  EXPECT_FALSE(priority->evaluated());
}

TEST_F(SkippedPriorityTest, WarnsBeforeItLooksForFeasibleInteractions) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->port("p"));
  compound.rendezvous("outer", inner->xPort());
  TestPriority* priority = below(inner, nullptr);
  EXPECT_EQ(errorsOf([&] { activated(); }),
            "WARNING: skip priority inner < _: inner is a subconnector!\n");
  EXPECT_FALSE(priority->evaluated());
}

TEST_F(SkippedPriorityTest, WithAFailingGuardIsNotWarnedAbout) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  TestPriority* priority = below(inner, nullptr);
  priority->onGuard = [] { return false; };
  EXPECT_EQ(errorsOf([&] { activated(); }), "");
  EXPECT_TRUE(priority->evaluated());
}

TEST_F(SkippedPriorityTest, ASubconnectorOfTheEnclosingCompoundIsNoReasonToSkip) {
  System* below = compound.compound("D");
  TestConnector* inner = below->exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* high = legalIn(*below, "high");
  compound.rendezvous("outer", inner->xPort());
  TestPriority* priority = below->priority("p", only(inner), only(high));
  priority->setup();
  EXPECT_EQ(errorsOf([&] { activated(); }), "");
  EXPECT_TRUE(only(inner)->dominated());
}

TEST_F(SkippedPriorityTest, ANullNameMakesStandardErrorBadInsteadOfBeingWritten) {
  TestConnector* inner = compound.exported(RENDEZVOUS, nullptr, atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  below(inner, nullptr);
  bool bad = false;
  EXPECT_EQ(errorsOf([&] {
              activated();
              bad = std::cerr.bad();
              std::cerr.clear();
            }),
            "WARNING: skip priority ");
  EXPECT_TRUE(bad);
}

TEST_F(SkippedPriorityTest, ANullNameOfTheHighOneCutsTheSecondFormShort) {
  TestConnector* inner = compound.exported(RENDEZVOUS, nullptr, atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  below(legal("low"), inner);
  bool bad = false;
  EXPECT_EQ(errorsOf([&] {
              activated();
              bad = std::cerr.bad();
              std::cerr.clear();
            }),
            "WARNING: skip priority low < ");
  EXPECT_TRUE(bad);
}

TEST_F(SkippedPriorityTest, AFormatInANameIsPlainText) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "%n%s", atom->enabled("p"));
  compound.rendezvous("outer", inner->xPort());
  below(inner, nullptr);
  EXPECT_EQ(errorsOf([&] { activated(); }),
            "WARNING: skip priority %n%s < _: %n%s is a subconnector!\n");
}

// ---- incremental activation --------------------------------------------------------------------

TEST_F(IncrementalActivationTest, EvaluatesNothingThatHasNotBeenReset) {
  TestConnector *one = legal("one"), *two = legal("two");
  activated();
  activated();
  EXPECT_EQ(one->guards, 1);
  EXPECT_EQ(two->guards, 1);
  two->resetLink();
  activated();
  EXPECT_EQ(one->guards, 1);
  EXPECT_EQ(two->guards, 2);
}

TEST_F(IncrementalActivationTest, AFreshOneEvaluatesEverything) {
  System* inner = compound.compound("D");
  TestConnector *one = legal("one"), *two = legalIn(*inner, "two");
  activated(false);
  activated(false);
  EXPECT_EQ(one->guards, 2);
  EXPECT_EQ(two->guards, 2);
}

TEST_F(IncrementalActivationTest, AFiredAtomHasItsConnectorsEvaluatedAgain) {
  TestAtom* other = compound.atom("B");
  Port* port = other->enabled("q");
  TestConnector* mine = compound.rendezvous("mine", port);
  TestConnector* apart = legal("apart");
  other->onExecute = [](Port* fired) { fired->setSynced(false); };
  EXPECT_EQ(activated(), "apart mine");
  mine->execute();
  EXPECT_EQ(activated(), "apart");
  EXPECT_EQ(mine->guards, 2);
  EXPECT_EQ(apart->guards, 1);
}

// Deliberate: a priority that counts as evaluated is not applied again by a fresh activation.
TEST_F(IncrementalActivationTest, APriorityThatCountsAsEvaluatedIsNotAppliedAgainByAFreshOne) {
  TestConnector *low = legal("low"), *high = legal("high");
  TestPriority* priority = below(low, high);
  activated();
  EXPECT_TRUE(only(low)->dominated());
  activated(false);
  EXPECT_FALSE(only(low)->dominated());
  priority->reset();
  activated(false);
  EXPECT_TRUE(only(low)->dominated());
}

TEST_F(IncrementalActivationTest, AMarkStaysUntilTheLowOneIsEvaluatedAgain) {
  TestConnector *low = legal("low"), *high = legal("high");
  below(low, high);
  activated();
  activated();
  EXPECT_TRUE(only(low)->dominated());
  high->ports()[0]->setSynced(false);
  high->resetLink();  // which has the low one evaluated again
  activated();
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(IncrementalActivationTest, AgreesWithAFreshOneOnRandomSystems) {
  std::mt19937 random(5);
  for (int round = 0; round < 200; ++round) {
    System system("S");
    System* inner = system.compound("D");
    std::vector<TestAtom*> atoms{system.atom("A"), inner->atom("B"), inner->atom("C")};
    std::vector<std::unique_ptr<Constraint>> constraints;
    for (int i = 0; i < 6; ++i) {
      constraints.push_back(
          std::make_unique<Constraint>(nullptr, 5 * i, 5 * i + 12, static_cast<Urgency>(i % 3)));
    }
    std::vector<Port*> ports;
    const auto announce = [&](TestAtom* mover) {
      for (Port* port : elements(mover->ports())) {
        port->setSynced(random() % 3 != 0);
        port->setConstraint(random() % 2 == 0 ? constraints[random() % 6].get() : nullptr);
      }
    };
    for (TestAtom* mover : atoms) {
      for (const char* name : {"p", "q", "r"}) ports.push_back(mover->port(name));
      mover->onExecute = [&announce, mover](Port*) { announce(mover); };
      announce(mover);
    }
    std::vector<TestConnector*> connectors;
    const auto pick = [&] { return ports[random() % ports.size()]; };
    TestConnector* exported = inner->exported(BROADCAST, "x", pick(), pick());
    connectors.push_back(exported);
    for (int i = 0; i < 3; ++i) {
      connectors.push_back(inner->rendezvous("r", pick(), pick()));
      connectors.push_back(system.broadcast("b", pick(), pick(), pick()));
      connectors.push_back(system.broadcast("o", pick(), exported->xPort()));
    }
    const auto described = [&](Connector* head) {
      std::string text = names(head);
      for (TestConnector* connector : connectors) {
        for (Interaction* feasible : listOf(connector->feasibleInter())) {
          text += " " + kit::text(feasible->synced()) + spans(feasible->constraint());
        }
        text += ";";
      }
      return text;
    };
    for (int step = 0; step < 12; ++step) {
      const std::string incremental = described(system.activate(true));
      ASSERT_EQ(incremental, described(system.activate(false))) << round << " " << step;
      // Fires an arbitrary port, enabled or not: only the atom's own ports change.
      Port* fired = pick();
      fired->setSynced(true);
      fired->execute();
    }
    for (Port* port : ports) port->setConstraint(nullptr);
  }
}

// ---- clean-up ----------------------------------------------------------------------------------

TEST_F(CleanUpTest, FoldsTheMarksOfUndominatedInteractionsIntoTheirConstraints) {
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *low = legal("low", &early), *high = legal("high", &now), *top = legal("top");
  below(low, high);
  activated();
  EXPECT_EQ(spans(only(low)->constraint()), "[0,9] [21,30]");
  low->resetLink();
  below(low, top);  // rules it out altogether: the marks of the first priority stay
  activated();
  EXPECT_TRUE(only(low)->dominated());
  EXPECT_EQ(spans(only(low)->constraint()), "[0,9] [10,20] dominated [21,30]");
}

TEST_F(CleanUpTest, DoesNotReachConnectorsOfOtherCompounds) {
  System* inner = compound.compound("D");
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector *low = legalIn(*inner, "low", &early), *high = legal("high", &now);
  below(low, high);  // of the outer compound
  activated();
  EXPECT_EQ(spans(only(low)->constraint()), "[0,9] [10,20] dominated [21,30]");
}

TEST_F(CleanUpTest, TheExportedPortReflectsWhatSurvives) {
  System* inner = compound.compound("D");
  Constraint early(nullptr, 0, 30, LAZY), now(nullptr, 10, 20, LAZY);
  TestConnector* low = inner->exported(RENDEZVOUS, "low", atom->enabled("l", &early));
  TestConnector* high = legalIn(*inner, "high", &now);
  TestConnector* outer = compound.rendezvous("outer", low->xPort());
  inner->priority("p", only(low), only(high))->setup();
  EXPECT_EQ(activated(), "outer high");
  EXPECT_EQ(spans(low->xPort()->constraint()), "[0,9] [21,30]");
  EXPECT_FALSE(low->recomputexPort());
  EXPECT_EQ(spans(only(outer)->constraint()), "[0,9] [21,30]");
}

TEST_F(CleanUpTest, AnExportedPortOfADominatedInteractionIsDisabled) {
  System* inner = compound.compound("D");
  TestConnector* low = inner->exported(RENDEZVOUS, "low", atom->enabled("l"));
  TestConnector* high = legalIn(*inner, "high");
  compound.rendezvous("outer", low->xPort());
  inner->priority("p", only(low), only(high))->setup();
  EXPECT_EQ(activated(), "high");
  EXPECT_FALSE(low->xPort()->synced());
}

TEST_F(CleanUpTest, ConnectorsAboveAreEvaluatedAgainOncePerChangedConnector) {
  System* inner = compound.compound("D");
  TestConnector* low = inner->exported(RENDEZVOUS, "low", atom->enabled("l"));
  TestConnector *one = legalIn(*inner, "one"), *two = legalIn(*inner, "two");
  TestConnector* outer = compound.rendezvous("outer", low->xPort());
  outer->setEvaluated(true);
  // Two priorities change the same connector.
  inner->priority("p", only(low), only(one))->setup();
  inner->priority("q", only(low), only(two))->setup();
  activated();
  EXPECT_EQ(outer->guards, 1);
  activated();
  EXPECT_EQ(outer->guards, 1);  // nothing was changed this time
  EXPECT_EQ(low->guards, 1);
}

TEST_F(CleanUpTest, TheFlagOfTheExportedPortIsClearedInEveryConnector) {
  TestConnector *one = legal("one"), *two = legal("two");
  one->setRecomputexPort(true);
  two->setRecomputexPort(true);
  activated();
  EXPECT_FALSE(one->recomputexPort());
  EXPECT_FALSE(two->recomputexPort());
}

// Deliberate: a fresh evaluation of a connector above computes the exported ports below it again,
// without the priorities there.
TEST_F(CleanUpTest, AFreshEvaluationAboveForgetsThePrioritiesBelow) {
  System* inner = compound.compound("D");
  TestConnector* low = inner->exported(RENDEZVOUS, "low", atom->enabled("l"));
  TestConnector* high = legalIn(*inner, "high");
  compound.rendezvous("outer", low->xPort());
  inner->priority("p", only(low), only(high))->setup();
  EXPECT_EQ(activated(false), "outer high");
  EXPECT_FALSE(only(low)->dominated());
}

TEST_F(CleanUpTest, ADominatedConnectorIsNeverMarkedItself) {
  TestConnector *low = legal("low"), *high = legal("high");
  below(low, high);
  activated();
  EXPECT_FALSE(low->dominated());
  EXPECT_FALSE(high->dominated());
}

// ---- What must hold afterwards -----------------------------------------------------------------

#ifdef VESK_VALIDATE

namespace {

// A sound system: K and L in an inner compound with an internal port, and above them a priority
// whose guard damages what the activation has built so far.
class DamagedActivationTest : public ActivationTest {
 protected:
  DamagedActivationTest() : time(nullptr, 0, 30, LAZY), inner(compound.compound("D")) {
    one = legalIn(*inner, "K", &time);
    two = legalIn(*inner, "L", &time);
    dead = inner->exported(RENDEZVOUS, "S", atom->port("s"));
    shared = inner->exported(RENDEZVOUS, "T", atom->enabled("t", &time));
    TestAtom* timer = inner->atom("B");
    for (Port** port : {&tick, &tock}) {
      *port = timer->internal(port == &tick ? "tick" : "tock");
      (*port)->setSynced(true);
      (*port)->setConstraint(&time);
    }
    guarded = compound.priority("p", only(outer = legal("R")), nullptr);
    guarded->setup();
  }
  // The activation ends with this message when its structure is damaged.
  void expectFault(const std::string& message, const std::function<void()>& damage) {
    compound.activate(true);
    guarded->onGuard = [damage] {
      damage();
      return false;
    };
    EXPECT_DEATH(compound.activate(true), "^vesk: activation: " + message + "\n$");
    guarded->onGuard = nullptr;
  }

  Constraint time;
  System* inner;
  TestConnector *one, *two, *dead, *shared, *outer;
  Port *tick, *tock;
  TestPriority* guarded;
};

}  // namespace

TEST_F(DamagedActivationTest, ASoundOneIsFine) {
  EXPECT_EQ(activated(), "R L K");
  EXPECT_EQ(internals(compound), "B:tock B:tick");
}

TEST_F(DamagedActivationTest, AListOfLegalConnectorsThatComesRoundIsFound) {
  expectFault("L: behind the end of the list of legal connectors", [&] { one->setNext(two); });
}

TEST_F(DamagedActivationTest, AListOfLegalConnectorsThatIsCutIsFound) {
  expectFault("K: not what the list of legal connectors has at its place",
              [&] { two->setNext(nullptr); });
}

TEST_F(DamagedActivationTest, AListedSubconnectorIsFound) {
  expectFault("T: linked, but it has no place in the list of legal connectors", [&] {
    two->setNext(shared);
    shared->setNext(one);
  });
}

TEST_F(DamagedActivationTest, ALinkOfAConnectorThatIsNotListedIsFound) {
  expectFault("S: linked, but it has no place in the list of legal connectors",
              [&] { dead->setNext(one); });
}

TEST_F(DamagedActivationTest, AListOfInternalPortsThatIsWrongIsFound) {
  expectFault("tick: not what the list of internal ports has at its place",
              [&] { tock->setNext(tock); });
  expectFault("tock: behind the end of the list of internal ports", [&] { tick->setNext(tock); });
}

TEST_F(DamagedActivationTest, AListOfAnInnerCompoundWithWrongEndsIsFound) {
  expectFault("D: first or last internal port is wrong", [&] { inner->setInternals(tick); });
}

TEST_F(DamagedActivationTest, AWrongMarkAsLegalIsFound) {
  expectFault("K: its mark as legal does not fit its interactions",
              [&] { one->setFeasibleInter(nullptr); });
  expectFault("S: its mark as legal does not fit its interactions",
              [&] { dead->setFeasibleInter(only(dead)); });
}

TEST_F(DamagedActivationTest, InteractionsInARingAreFound) {
  Interaction* other = Interaction::Create(one, BitVector::EMPTY);
  expectFault("K: its feasible interactions form a ring", [&] {
    only(one)->setNext(other);
    other->setNext(only(one));
  });
}

TEST_F(DamagedActivationTest, AnInteractionThatIsNotTheConnectorsIsFound) {
  expectFault("K: has an interaction of another connector", [&] { only(one)->setNext(only(two)); });
  Interaction* beyond = Interaction::Create(one, setOf({1}));
  expectFault("K: has an interaction with ports that it does not have",
              [&] { only(one)->setNext(beyond); });
}

TEST_F(DamagedActivationTest, AConstraintWithTwoOwnersIsFound) {
  expectFault("K: an interaction has the constraint of a port",
              [&] { only(one)->setConstraint(&time); });
  expectFault(": a constraint has two owners",
              [&] { only(one)->setConstraint(only(two)->constraint()); });
  expectFault(": a constraint has two owners",
              [&] { only(one)->setConstraint(shared->xPort()->constraint()); });
}

TEST_F(DamagedActivationTest, AnExportedPortThatIsWronglyEnabledIsFound) {
  expectFault("S: its exported port is enabled, but nothing is feasible",
              [&] { dead->xPort()->setSynced(true); });
  expectFault("T: its exported port is enabled under an empty constraint",
              [&] { shared->xPort()->constraint()->clear(); });
  expectFault("T: its exported port is still to be computed again",
              [&] { shared->setRecomputexPort(true); });
}

TEST_F(DamagedActivationTest, DominatedTimesThatNobodyFoldsAreFound) {
  expectFault("K: dominated times are left in an interaction",
              [&] { (*only(one)->constraint())[0].setDominated(true); });
}

TEST_F(DamagedActivationTest, AConstraintOutOfOrderIsFound) {
  expectFault("K: the constraint of an interaction is not in order",
              [&] { (*only(one)->constraint())[0].setHigh(-1); });
}

// The marks of a priority that acts on connectors of another compound stay there.
TEST_F(DamagedActivationTest, MarksOfAPriorityOfAnotherCompoundAreFine) {
  Constraint early(nullptr, 0, 10, LAZY);
  below(two, legal("high", &early));
  activated();
  EXPECT_EQ(spans(only(two)->constraint()), "[0,10] dominated [11,30]");
}

// A model's own constraint may be empty, and what is cut out with it is.
TEST_F(DamagedActivationTest, OddConstraintsOfAModelAreFine) {
  Constraint never(nullptr, 10, 5, LAZY);
  legalIn(*inner, "N", &never);
  EXPECT_EQ(activated(), "R N L K");
}

#endif
