#include "exploration/system-parts.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/promised-models.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::Locality;
using Vesk::SystemParts;
using Index = SystemParts::Index;

namespace {

// A component that is neither atom nor compound.
class Ornament : public Component {
 public:
  explicit Ornament(const Compound* holder) : Component("ornament", holder) {}
  void initialize() override {}
  void initialize(LogicalClock*) override {}
  Node* getState() override { return new Leaf(new Atomleaf("o")); }
  void setState(Node*) override {}
};

// Two atoms with a port each and a connector over both.
class SystemPartsTest : public testing::Test {
 protected:
  SystemPartsTest()
      : one(system.atom("A")),
        other(system.atom("B")),
        p(one->enabled("p")),
        q(other->enabled("q")),
        both(system.rendezvous("both", p, q)) {}

  Locality locality() {
    declareAll(system, Locality::REPEATABLE);
    return SystemParts(system).locality();
  }

  System system{"s"};
  TestAtom* one;
  TestAtom* other;
  Port* p;
  Port* q;
  TestConnector* both;
};

}  // namespace

// ---- The lists ---------------------------------------------------------------------------------

TEST_F(SystemPartsTest, ListsAtomsInTheOrderOfTheStateAndConnectorsInThatOfActivation) {
  System* inner = system.compound("C");
  TestAtom* deep = inner->atom("D");
  TestAtom* last = system.atom("E");
  TestConnector* low = inner->rendezvous("low", deep->enabled("p"));
  ASSERT_EQ(Locality::REPEATABLE, locality());
  const SystemParts parts(system);
  std::vector<Atom*> atoms;
  for (const SystemParts::AtomPart& part : parts.atoms()) atoms.push_back(part.atom);
  EXPECT_EQ((std::vector<Atom*>{one, other, deep, last}), atoms);
  ASSERT_EQ(2U, parts.connectors().size());
  EXPECT_EQ(low, parts.connectors()[0].connector);
  EXPECT_EQ(both, parts.connectors()[1].connector);
  EXPECT_EQ((std::vector<Index>{2}), parts.connectors()[0].members);
  EXPECT_EQ((std::vector<Index>{0, 1}), parts.connectors()[1].members);
  EXPECT_EQ((std::vector<Index>{1}), parts.atoms()[0].connectors);
  EXPECT_EQ((std::vector<Index>{0}), parts.atoms()[2].connectors);
  EXPECT_TRUE(parts.atoms()[3].connectors.empty());
}

TEST_F(SystemPartsTest, TheAtomsOfConnectorsBelowAreMembersOnce) {
  TestConnector* middle = system.exported(RENDEZVOUS, "middle", p, one->enabled("r"));
  TestConnector* high = system.exported(BROADCAST, "high", middle->xPort(), q);
  system.rendezvous("top", high->xPort(), middle->xPort(), p);
  ASSERT_EQ(Locality::REPEATABLE, locality());
  const SystemParts parts(system);
  EXPECT_EQ((std::vector<Index>{0}), parts.connectors()[1].members);
  EXPECT_EQ((std::vector<Index>{0, 1}), parts.connectors()[2].members);
  EXPECT_EQ((std::vector<Index>{0, 1}), parts.connectors()[3].members);
  EXPECT_EQ((std::vector<Index>{0, 1, 2, 3}), parts.atoms()[0].connectors);
}

// ---- Promises ----------------------------------------------------------------------------------

TEST_F(SystemPartsTest, TheSmallestPromiseCounts) {
  ASSERT_EQ(Locality::REPEATABLE, locality());
  other->declare(Locality::LOCAL);
  EXPECT_EQ(Locality::LOCAL, SystemParts(system).locality());
  both->declare(Locality::UNDECLARED);
  EXPECT_EQ(Locality::UNDECLARED, SystemParts(system).locality());
}

TEST_F(SystemPartsTest, AnAtomThatDeclaresNothingPromisesNothing) {
  declareAll(system, Locality::REPEATABLE);
  system.compound("C")->atom("D");
  EXPECT_EQ(Locality::UNDECLARED, SystemParts(system).locality());
}

TEST_F(SystemPartsTest, AConnectorThatDeclaresNothingPromisesNothing) {
  declareAll(system, Locality::REPEATABLE);
  system.rendezvous("late", p);
  EXPECT_EQ(Locality::UNDECLARED, SystemParts(system).locality());
}

TEST_F(SystemPartsTest, CompoundsAlonePromiseNothing) {
  System hollow("h");
  hollow.compound("C");
  EXPECT_EQ(Locality::UNDECLARED, SystemParts(hollow).locality());
}

TEST(LonelyPartsTest, AtomsWithoutConnectorsKeepTheirPromise) {
  System system("s");
  system.atom("A");
  declareAll(system, Locality::REPEATABLE);
  EXPECT_EQ(Locality::REPEATABLE, SystemParts(system).locality());
}

TEST(LonelyPartsTest, ConnectorsWithoutAtomsKeepTheirPromise) {
  System system("s");
  system.join("k", {});
  declareAll(system, Locality::REPEATABLE);
  EXPECT_EQ(Locality::REPEATABLE, SystemParts(system).locality());
}

TEST_F(SystemPartsTest, TheLastDeclarationOfAnAtomCounts) {
  TestAtom atom("A", nullptr);
  EXPECT_EQ(Locality::UNDECLARED, atom.locality());
  atom.declare(Locality::REPEATABLE);
  atom.declare(Locality::LOCAL);
  EXPECT_EQ(Locality::LOCAL, atom.locality());
}

TEST_F(SystemPartsTest, AnAtomAtThePlaceOfAnotherOneHasDeclaredNothing) {
  alignas(TestAtom) unsigned char place[sizeof(TestAtom)];
  auto* former = new (place) TestAtom("A", nullptr);
  former->declare(Locality::LOCAL);
  former->~TestAtom();
  auto* later = new (place) TestAtom("B", nullptr);
  EXPECT_EQ(Locality::UNDECLARED, later->locality());
  later->~TestAtom();
}

// ---- What no promise covers --------------------------------------------------------------------

TEST_F(SystemPartsTest, AComponentThatIsNeitherAtomNorCompoundTakesThePromiseAway) {
  system.compound("C")->add(new Ornament(&system));
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, SoDoesAPortFromOutside) {
  TestAtom outside("O", nullptr);
  outside.declare(Locality::REPEATABLE);
  Port* port = outside.enabled("p");
  system.rendezvous("k", p, port);
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, SoDoesAPortOfNobody) {
  Port nobodys("p", static_cast<Atom*>(nullptr));
  system.join("k", {&nobodys});
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, SoDoesAConnectorFromOutside) {
  System elsewhere("t");
  TestConnector* outside = elsewhere.exported(RENDEZVOUS, "x", p);
  declareAll(elsewhere, Locality::REPEATABLE);
  system.rendezvous("k", outside->xPort());
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, SoDoesARingOfExportedPorts) {
  TestConnector* first = system.exported(RENDEZVOUS, "first", p);
  TestConnector* second = system.exported(RENDEZVOUS, "second", first->xPort());
  first->addPorts({second->xPort()});
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, SoDoesAConnectorThatUsesItsOwnExportedPort) {
  TestConnector* own = system.exported(RENDEZVOUS, "own", p);
  own->addPorts({own->xPort()});
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, SoDoesAnAtomWithAConstraint) {
  one->within(Vesk::Time(0), Vesk::Time(1));
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, SoDoesAPortWithAConstraint) {
  Constraint constraint(nullptr, Vesk::Time(0), Vesk::Time(1), LAZY);
  p->setConstraint(&constraint);
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

// ---- Priorities --------------------------------------------------------------------------------

TEST_F(SystemPartsTest, PrioritiesBetweenConnectorsTakeNothingAway) {
  TestConnector* single = system.rendezvous("single", p);
  system.priority(Interaction::Create(single, BitVector(0)),
                  Interaction::Create(both, BitVector::below(2)));
  system.priority(Interaction::Create(both, BitVector::below(2)), nullptr);
  EXPECT_EQ(Locality::REPEATABLE, locality());
}

TEST_F(SystemPartsTest, ASubConnectorOfTheSameCompoundInAPriorityIsReportedAtEveryActivation) {
  TestConnector* sub = system.exported(RENDEZVOUS, "sub", p);
  system.rendezvous("top", sub->xPort());
  Interaction* of = Interaction::Create(sub, BitVector(0));
  Interaction* all = Interaction::Create(both, BitVector::below(2));
  system.priority(of, all);
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, SoItIsAsTheHighOne) {
  TestConnector* sub = system.exported(RENDEZVOUS, "sub", p);
  system.rendezvous("top", sub->xPort());
  system.priority(Interaction::Create(both, BitVector::below(2)),
                  Interaction::Create(sub, BitVector(0)));
  EXPECT_EQ(Locality::UNDECLARED, locality());
}

TEST_F(SystemPartsTest, ASubConnectorOfAnInnerCompoundInAPriorityTakesNothingAway) {
  System* inner = system.compound("C");
  TestConnector* sub = inner->exported(RENDEZVOUS, "sub", inner->atom("D")->enabled("p"));
  system.rendezvous("top", sub->xPort());
  inner->priority(Interaction::Create(sub, BitVector(0)), nullptr);
  EXPECT_EQ(Locality::REPEATABLE, locality());
}
