// The lists of legal connectors and of enabled internal ports that an activation leaves.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include "kit/activation-fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class InternalPortsTest : public ActivationTest {};

}  // namespace

// ---- connectors --------------------------------------------------------------------------------

TEST_F(ActivationTest, OfAnEmptyCompoundIsEmptyAndClearsTheInternalPorts) {
  System empty("E");
  Port left("left", atom);
  empty.setInternals(&left);
  EXPECT_EQ(empty.activate(true), nullptr);
  EXPECT_EQ(empty.internals(), nullptr) << "activated";
  empty.setInternals(&left);
  EXPECT_EQ(empty.subactivate(true), nullptr);
  EXPECT_EQ(empty.internals(), nullptr) << "activated as a part";
}

TEST_F(ActivationTest, WithoutComponentsStillListsItsConnectors) {
  System flat("F");
  flat.rendezvous("k", atom->enabled("p"));
  EXPECT_EQ(names(flat.activate(true)), "k");
}

TEST_F(ActivationTest, ListsTheLegalConnectorsLastOneFirst) {
  legal("K1");
  legal("K2");
  EXPECT_EQ(activated(), "K2 K1") << "the first time";
  EXPECT_EQ(activated(), "K2 K1") << "the second time";
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
  EXPECT_EQ(activated(), "k2 k1 s2 s1 f2 f1 d1") << "the first time";
  EXPECT_EQ(names(compound.subactivate(true)), "s2 s1 f2 f1 d1");
  EXPECT_EQ(activated(), "k2 k1 s2 s1 f2 f1 d1") << "the second time";
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
    EXPECT_EQ(listOf(compound.internals()), expected) << "with port " << port->name();
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
    SCOPED_TRACE(holder == nullptr ? "of no holder" : "of another atom");
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
  EXPECT_EQ(internals(compound), "none") << "while it is disabled";
  port->setInternal();
  activated();
  EXPECT_EQ(internals(compound), "A:i");
  port->setInternal(false);
  activated();
  EXPECT_EQ(internals(compound), "none") << "when it is disabled again";
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
  EXPECT_EQ(internals(compound), "S:s1 B:b1 G:g1 F:f1 A:a2 A:a1") << "incrementally";
  activated();
  EXPECT_EQ(internals(compound), "S:s1 B:b1 G:g1 F:f1 A:a2 A:a1") << "afresh";
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

// ---- random trees ------------------------------------------------------------------------------

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
