// What must hold after an activation is checked in builds for tests: damage of any kind is found.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "kit/activation-fixture.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

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
