// What activate(true) visits in systems of many parts: what has changed, however it has changed.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kit/activation-fixture.hpp"
#include "kit/lists.hpp"

using namespace kit;

namespace {

// How often the check of every activation passes by an atom.
#ifdef VESK_VALIDATE
constexpr int CHECKS = 1;
#else
constexpr int CHECKS = 0;
#endif

class PassedAtom : public TestAtom {
 public:
  PassedAtom(const char* name, const Compound* holder, int& passed)
      : TestAtom(name, holder), mPassed(passed) {}
  bool isAtom() override {
    ++mPassed;
    return true;
  }

 private:
  int& mPassed;
};

// Writes its flags as code of a derived class can.
class WrittenConnector : public TestConnector {
 public:
  using TestConnector::TestConnector;
  void clearEvaluated() { mEval = false; }
  void clearLegal() { mLegal = false; }
  void askForExportedPort() { mRecomputexPort = true; }
};

// Takes the last part away again, which stays the caller's.
template <class T>
void takeLast(Array<T, true>& list) {
  struct Access : Array<T, true> {
    static int& countOf(Array<T, true>& list) { return list.*(&Access::m_count); }
  };
  --Access::countOf(list);
}

// A component that is neither an atom nor a compound.
class Buoy : public Component {
 public:
  explicit Buoy(const Compound* holder) : Component("Buoy", holder) {}
  bool isAtom() override { return false; }
  bool isCompound() override { return false; }
  void initialize() override {}
  void initialize(LogicalClock*) override {}
  Node* getState() override { return nullptr; }
  void setState(Node*) override {}
};

// Atoms with a port that is enabled until it is fired, each alone in a connector.
class ManyParts : public testing::Test {
 protected:
  void make(int atoms) {
    for (int i = 0; i < atoms; ++i) addPair();
  }
  void addPair() {
    auto* atom = system.add(new PassedAtom("A", &system, passed));
    Port* port = atom->rule("p", [atom] { return atom->fired == 0; });
    const std::string name = "k" + std::to_string(connectors.size());
    connectors.push_back(
        system.add(new WrittenConnector(RENDEZVOUS, name.c_str(), &system, false, port)));
    connectors.back()->events = &events;
    atom->initialize();
  }
  // Whether that has visited all parts.
  bool walks(bool incremental = true) {
    passed = 0;
    events.clear();
    head = system.activate(incremental);
    const bool walked = passed > CHECKS * static_cast<int>(connectors.size());
    return walked;
  }
  void fire(std::size_t number) { connectors[number]->execute(); }
  // The legal connectors by number, last one first, but for those that are left out.
  std::vector<Connector*> allBut(const std::vector<std::size_t>& out) {
    std::vector<Connector*> list;
    for (std::size_t i = connectors.size(); i-- > 0;) {
      bool in = true;
      for (const std::size_t one : out) in = in && one != i;
      if (in) list.push_back(connectors[i]);
    }
    return list;
  }

  Events events;
  int passed = 0;
  std::vector<WrittenConnector*> connectors;
  Connector* head = nullptr;
  System system;
};

using ManyPartsTest = ManyParts;

}  // namespace

TEST_F(ManyPartsTest, OnlyWhatHasMovedIsVisited) {
  make(1000);
  walks();
  EXPECT_EQ(events.size(), 2000u) << "a guard and up() of each";
  fire(500);
  EXPECT_FALSE(walks());
  EXPECT_EQ(events, (Events{"guard k500"}));
  EXPECT_EQ(listOf(head), allBut({500}));
}

TEST_F(ManyPartsTest, TheListKeepsItsOrder) {
  make(300);
  walks();
  std::vector<std::size_t> fired;
  for (const std::size_t number : {0u, 299u, 63u, 64u, 65u, 150u, 151u}) {
    fire(number);
    fired.push_back(number);
    walks();
    ASSERT_EQ(listOf(head), allBut(fired)) << "after " << number;
  }
}

TEST_F(ManyPartsTest, FewPartsAreAlwaysWalked) {
  make(3);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(walks());
}

TEST_F(ManyPartsTest, PartsThatAreAddedAreSeen) {
  make(100);
  for (int i = 0; i < 10; ++i) walks();
  addPair();
  walks();
  EXPECT_EQ(events, (Events{"guard k100", "up k100"}));
  EXPECT_EQ(listOf(head), allBut({}));
}

TEST_F(ManyPartsTest, AnInternalPortIsSeen) {
  Constraint within(nullptr, 0, 10, LAZY);
  make(100);
  walks();
  Port* port = static_cast<Atom*>(system.components()[50])->ports()[0];
  port->setConstraint(&within);
  port->setInternal();
  walks();
  EXPECT_EQ(system.internals(), port);
  for (int i = 0; i < 10; ++i) walks();
  EXPECT_FALSE(walks());
  EXPECT_EQ(system.internals(), port);
  port->setSynced(false);
  EXPECT_FALSE(walks());
  EXPECT_EQ(system.internals(), nullptr);
}

// Each alone in its atom, under a constraint that always holds.
class ManyInternalPorts : public ManyParts {
 protected:
  void makeInternal(int atoms) {
    make(atoms);
    for (Component* component : elements(system.components())) {
      Port* port = static_cast<Atom*>(component)->ports()[0];
      port->setConstraint(&always);
      port->setInternal();
      ports.push_back(port);
    }
    walks();
  }
  // All ports but one, last one first.
  std::vector<Port*> allPortsBut(std::size_t out) const {
    std::vector<Port*> list;
    for (std::size_t i = ports.size(); i-- > 0;) {
      if (i != out) list.push_back(ports[i]);
    }
    return list;
  }

  Constraint always{nullptr, 0, 10, LAZY};
  std::vector<Port*> ports;
};

using ManyInternalPortsTest = ManyInternalPorts;

TEST_F(ManyInternalPortsTest, OnesThatAreAnnouncedAreSeen) {
  makeInternal(2000);
  ports[700]->setSynced(false);
  EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(system.internals()), allPortsBut(700));
  ports[700]->setSynced(true);
  EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(system.internals()), allPortsBut(2000));
  ports[1999]->setInternal(false);
  EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(system.internals()), allPortsBut(1999));
}

TEST_F(ManyInternalPortsTest, ASetConstraintIsSeenAtOnceAmongHundreds) {
  makeInternal(500);
  ports[70]->setConstraint(nullptr);
  EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(system.internals()), allPortsBut(70));
}

// The check of every activation refuses the steps in between.
#ifndef VESK_VALIDATE
TEST_F(ManyInternalPortsTest, ASetConstraintIsSeenLaterAmongThousandsAndThenAtOnce) {
  makeInternal(2000);
  ports[70]->setConstraint(nullptr);
  for (int i = 0; i < 2000; ++i) walks();
  EXPECT_EQ(listOf(system.internals()), allPortsBut(70));
  ports[70]->setConstraint(&always);
  ports[1070]->setConstraint(nullptr);
  EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(system.internals()), allPortsBut(1070));
}
#endif

TEST_F(ManyInternalPortsTest, APortThatIsAddedIsSeenWhenItsAtomMoves) {
  makeInternal(2000);
  auto* atom = static_cast<Atom*>(system.components()[1000]);
  auto* port = new Port("added", atom);
  port->setInternal();
  atom->addPort(port);
  port->setConstraint(&always);
  port->setSynced(true);
  atom->resetLink();
  walks();
  EXPECT_EQ(listOf(system.internals())[999], port);
  EXPECT_EQ(listOf(system.internals()).size(), 2001u);
}

TEST_F(ManyInternalPortsTest, AWalkOfAnInnerCompoundIsSeen) {
  System* inner = system.compound("Inner");
  auto* atom = inner->atom("B");
  auto* port = new Port("b", atom);
  atom->addPort(port);
  port->setInternal();
  port->setConstraint(&always);
  port->setSynced(true);
  make(500);
  walks();
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(system.internals()), std::vector<Port*>{port});
  static_cast<TestAtom*>(system.components()[300])->ports()[0]->setInternal();
  inner->activate(true);
  walks();
  EXPECT_EQ(listOf(system.internals()), std::vector<Port*>{port});
  EXPECT_EQ(inner->internals(), port);
}

TEST_F(ManyPartsTest, AnAtomThatMovesMayMakeItsPortInternalByHand) {
  class Switching : public Port {
   public:
    explicit Switching(const Atom* holder) : Port("i", holder) {}
    void becomeInternal() { mInternal = true; }
  };
  Constraint within(nullptr, 0, 10, LAZY);
  make(100);
  auto* atom = static_cast<TestAtom*>(system.components()[50]);
  auto* port = new Switching(atom);
  port->setConstraint(&within);
  port->setSynced(true);
  atom->addPort(port);
  walks();
  atom->onExecute = [port](Port*) { port->becomeInternal(); };
  fire(50);
  walks();
  EXPECT_EQ(system.internals(), port);
}

TEST_F(ManyPartsTest, AFlagThatIsClearedByItsOperationIsSeen) {
  make(1000);
  walks();
  connectors[700]->setEvaluated(false);
  EXPECT_FALSE(walks());
  EXPECT_EQ(events, (Events{"guard k700", "up k700"}));
}

TEST_F(ManyPartsTest, ALinkThatIsResetIsSeen) {
  make(1000);
  walks();
  connectors[700]->resetLink();
  EXPECT_FALSE(walks());
  EXPECT_EQ(events, (Events{"guard k700", "up k700"}));
}

TEST_F(ManyPartsTest, AFlagThatIsWrittenByHandIsSeenAtOnceAmongHundredsOfConnectors) {
  make(500);
  walks();
  connectors[70]->clearEvaluated();
  EXPECT_TRUE(walks());
  EXPECT_EQ(events, (Events{"guard k70", "up k70"}));
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(walks()) << "it may do so again";
}

TEST_F(ManyPartsTest, AFlagThatAnAtomWritesByHandWhileItMovesIsSeenAtOnceAmongThousands) {
  make(2000);
  WrittenConnector* const written = connectors[1500];
  auto* atom = static_cast<TestAtom*>(system.components()[1500]);
  atom->onExecute = [written](Port*) { written->clearEvaluated(); };
  walks();
  fire(1500);
  EXPECT_TRUE(walks());
  EXPECT_EQ(events, (Events{"guard k1500"}));
  EXPECT_EQ(listOf(head), allBut({1500}));
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(walks());
}

// Its ports stay as they are, so that nothing resets it.
TEST_F(ManyPartsTest, AFlagThatAConnectorWritesByHandWhileItFiresIsSeenAtOnceAmongThousands) {
  make(2000);
  WrittenConnector* const written = connectors[1500];
  written->onDn = [written] { written->clearEvaluated(); };
  walks();
  written->feasibleInter()->actuate(Vesk::Time(0));
  EXPECT_TRUE(walks());
  EXPECT_EQ(events, (Events{"guard k1500", "up k1500"}));
}

class ManyPartsWithAPriority : public ManyParts {
 protected:
  // The guard of a priority, which does not hold, writes a flag of connector 1500.
  void writeInAPriority(Interaction* low, Interaction* high) {
    WrittenConnector* const written = connectors[1500];
    auto* priority = new TestPriority("y", &system, low, high);
    system.priorities().add(priority);
    system.setup(nullptr);
    int writes = 0;
    walks();
    priority->onGuard = [written, &writes] {
      if (writes-- == 1) written->clearEvaluated();
      return false;
    };
    for (int i = 0; i < 5; ++i) EXPECT_FALSE(walks()) << i;
    writes = 1;
    EXPECT_FALSE(walks());
    EXPECT_TRUE(walks());
    EXPECT_EQ(events, (Events{"guard k1500", "up k1500"}));
  }
  Interaction* interactionOf(std::size_t number) {
    return Interaction::Create(connectors[number], 1, 0);
  }
};

using ManyPartsWithAPriorityTest = ManyPartsWithAPriority;

TEST_F(ManyPartsWithAPriorityTest, AFlagOfTheLowConnectorThatItWritesIsSeenAtOnceAmongThousands) {
  make(2000);
  writeInAPriority(interactionOf(1500), interactionOf(3));
}

TEST_F(ManyPartsWithAPriorityTest, AFlagOfTheHighConnectorThatItWritesIsSeenAtOnceAmongThousands) {
  make(2000);
  writeInAPriority(interactionOf(3), interactionOf(1500));
}

TEST_F(ManyPartsWithAPriorityTest, AFlagOfAConnectorThatYieldsToAllIsSeenAtOnceAmongThousands) {
  make(2000);
  writeInAPriority(interactionOf(1500), nullptr);
}

// Under a constraint, of which code of the model rules out a part by itself.
class ManyTimedParts : public ManyParts {
 protected:
  void makeTimed(int atoms) {
    make(atoms);
    for (Component* component : elements(system.components())) {
      static_cast<Atom*>(component)->ports()[0]->setConstraint(&within);
    }
  }
  void ruleOut(Constraint& times, std::size_t number) {
    Port high("h", static_cast<const Atom*>(nullptr));
    high.setConstraint(&times);
    high.dominate(*connectors[number]->feasibleInter(), Vesk::Time(0));
  }
  std::string timesOf(std::size_t number) {
    return spans(connectors[number]->feasibleInter()->constraint());
  }

  Constraint within{nullptr, 0, 30, LAZY};
  Constraint part{nullptr, 10, 20, LAZY};
};

using ManyTimedPartsTest = ManyTimedParts;

TEST_F(ManyTimedPartsTest, TimesThatUpRulesOutAreTakenOut) {
  makeTimed(1000);
  walks();
  connectors[500]->onUp = [this] { ruleOut(part, 500); };
  fire(300);
  connectors[500]->resetLink();
  EXPECT_FALSE(walks());
  EXPECT_EQ(timesOf(500), "[0,9] [21,30]");
  EXPECT_EQ(timesOf(501), "[0,30]");
  EXPECT_EQ(listOf(head), allBut({300}));
}

TEST_F(ManyTimedPartsTest, AllTimesMayBeTakenOut) {
  makeTimed(1000);
  walks();
  connectors[500]->onUp = [this] { ruleOut(within, 500); };
  connectors[500]->resetLink();
  EXPECT_FALSE(walks());
  EXPECT_EQ(timesOf(500), "none");
}

TEST_F(ManyTimedPartsTest, WhatIsRuledOutAltogetherKeepsItsTimes) {
  makeTimed(1000);
  walks();
  connectors[500]->onUp = [this] {
    ruleOut(part, 500);
    connectors[500]->feasibleInter()->setDominated(true);
  };
  connectors[500]->resetLink();
  EXPECT_FALSE(walks());
  EXPECT_EQ(timesOf(500), "[0,9] [10,20] dominated [21,30]");
}

TEST_F(ManyTimedPartsTest, TimesThatAPriorityWithoutEffectRulesOutAreTakenOutOfWhatIsNew) {
  makeTimed(1000);
  auto* priority =
      new TestPriority("y", &system, Interaction::Create(connectors[3], 1, 0), nullptr);
  system.priorities().add(priority);
  system.setup(nullptr);
  walks();
  priority->onGuard = [this] {
    ruleOut(part, 500);
    return false;
  };
  connectors[500]->resetLink();
  EXPECT_FALSE(walks());
  EXPECT_EQ(timesOf(500), "[0,9] [21,30]");
}

TEST_F(ManyPartsTest, AConnectorWhoseGuardThrowsIsAskedAgain) {
  make(1000);
  walks();
  connectors[500]->beforeGuard = [] { throw 1; };
  connectors[500]->resetLink();
  EXPECT_THROW(walks(), int);
  connectors[500]->beforeGuard = nullptr;
  walks();
  EXPECT_EQ(events, (Events{"guard k500", "up k500"}));
  EXPECT_EQ(listOf(head), allBut({}));
}

// The check of every activation refuses such a connector.
#ifndef VESK_VALIDATE
TEST_F(ManyPartsTest, AMarkAsLegalThatIsWrittenByHandIsSeenAtOnceAmongHundredsOfConnectors) {
  make(500);
  walks();
  connectors[30]->clearLegal();
  EXPECT_TRUE(walks());
  EXPECT_EQ(listOf(head), allBut({30}));
}

TEST_F(ManyPartsTest, AMarkAsLegalThatUpWritesByHandHoldsAndEndsTheShortWay) {
  make(2000);
  walks();
  WrittenConnector* const written = connectors[30];
  written->onUp = [written] { written->clearLegal(); };
  written->resetLink();
  EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(head), allBut({30}));
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(walks());
  EXPECT_EQ(listOf(head), allBut({30}));
}
#endif

TEST_F(ManyPartsTest, AFlagThatIsWrittenByHandEndsTheShortWayAmongThousands) {
  make(1000);
  walks();
  connectors[700]->clearEvaluated();
  int steps = 0;
  while (!walks()) ASSERT_LT(++steps, 1000);
  EXPECT_EQ(events, (Events{"guard k700", "up k700"}));
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(walks());
}

TEST_F(ManyPartsTest, AWalkInBetweenIsSeen) {
  make(100);
  for (int i = 0; i < 10; ++i) walks();
  EXPECT_TRUE(walks(false));
  EXPECT_EQ(listOf(head), allBut({}));
  connectors[20]->evaluate(nullptr, false, true);
  walks();
  EXPECT_EQ(listOf(head), allBut({}));
}

// Each keeps what it knows, and one that ends takes nothing from the other.
TEST_F(ManyPartsTest, SystemsDoNotDisturbEachOther) {
  make(200);
  walks();
  {
    System other("Other");
    for (int i = 0; i < 100; ++i) other.counter("B", "b", 1)->initialize();
    EXPECT_EQ(listOf(other.activate(true)).size(), 100u);
    other.connectors()[5]->execute();
    fire(7);
    EXPECT_FALSE(walks());
    EXPECT_EQ(listOf(head), allBut({7}));
    EXPECT_EQ(listOf(other.activate(true)).size(), 99u);
  }
  fire(8);
  EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(head), allBut({7, 8}));
}

TEST_F(ManyPartsTest, AnInnerCompoundMayBeActivatedByItself) {
  System* inner = system.compound("Inner");
  for (int i = 0; i < 100; ++i) inner->counter("B", "b", 1)->initialize();
  make(100);
  for (int i = 0; i < 10; ++i) walks();
  fire(3);
  inner->connectors()[3]->execute();
  EXPECT_EQ(listOf(inner->activate(true)).size(), 99u);
  walks();
  EXPECT_EQ(events, (Events{"guard k3"}));
  EXPECT_EQ(listOf(head).size(), 198u);
}

TEST_F(ManyPartsTest, WhatIsNeitherAnAtomNorACompoundIsPassedBy) {
  system.add(new Buoy(&system));
  make(100);
  system.add(new Buoy(&system));
  for (int i = 0; i < 10; ++i) walks();
  fire(7);
  EXPECT_FALSE(walks());
  EXPECT_EQ(listOf(head), allBut({7}));
}

TEST_F(ManyPartsTest, ALinkOfTheListThatIsCutByHandIsSeen) {
  make(100);
  for (int i = 0; i < 5; ++i) walks();
  connectors[60]->setNext(nullptr);
  EXPECT_TRUE(walks());
  EXPECT_EQ(listOf(head), allBut({}));
}

TEST_F(ManyPartsTest, ALinkOfAConnectorThatIsNotInTheListIsSeen) {
  make(100);
  for (int i = 0; i < 5; ++i) walks();
  fire(60);
  EXPECT_FALSE(walks());
  connectors[60]->setNext(connectors[3]);
  EXPECT_TRUE(walks());
  EXPECT_EQ(listOf(head), allBut({60}));
  EXPECT_EQ(nullptr, connectors[60]->next());
}

// The connector above is evaluated again.
TEST_F(ManyPartsTest, AWishForAnExportedPortThatIsWrittenByHandIsSeen) {
  auto* atom = system.atom("A");
  auto* below =
      system.add(new WrittenConnector(RENDEZVOUS, "below", &system, true, atom->enabled("b")));
  below->exportPort();
  TestConnector* above = system.rendezvous("above", below->xPort());
  make(100);
  for (int i = 0; i < 5; ++i) walks();
  const int guards = above->guards;
  below->askForExportedPort();
  EXPECT_TRUE(walks());
  EXPECT_FALSE(below->recomputexPort());
  walks();
  EXPECT_EQ(above->guards, guards + 1);
}

TEST_F(ManyPartsTest, AWishForAnExportedPortThatAGuardWritesByHandIsGrantedAtOnce) {
  make(1000);
  walks();
  connectors[30]->beforeGuard = [this] { connectors[30]->askForExportedPort(); };
  fire(30);
  EXPECT_FALSE(walks());
  EXPECT_FALSE(connectors[30]->legal());
  EXPECT_FALSE(connectors[30]->recomputexPort());
}

// It is linked nowhere, so the walk has it twice and the list not at all.
TEST_F(ManyPartsTest, ASystemWithAConnectorInTwoPlacesIsWalked) {
  auto* atom = system.atom("A");
  TestConnector* shared = system.exported(RENDEZVOUS, "shared", atom->enabled("s"));
  make(100);
  system.connectors().add(shared);
  for (int i = 0; i < 10; ++i) {
    EXPECT_TRUE(walks());
    EXPECT_EQ(listOf(head), allBut({}));
  }
  takeLast(system.connectors());
}

TEST_F(ManyPartsTest, AConnectorThatEndsIsNotAskedAgain) {
  make(100);
  for (int i = 0; i < 5; ++i) walks();
  takeLast(system.connectors());
  delete connectors.back();
  connectors.pop_back();
  EXPECT_TRUE(walks());
  EXPECT_EQ(listOf(head), allBut({}));
  EXPECT_EQ(events, Events{});
}

// The inner one evaluates what is not evaluated, and that is the connector of the guard as well.
TEST_F(ManyPartsTest, AGuardMayActivateTheSystem) {
  make(100);
  walks();
  bool inner = false;
  connectors[50]->beforeGuard = [&] {
    if (inner) return;
    inner = true;
    connectors[70]->resetLink();
    system.activate(true);
  };
  connectors[50]->resetLink();
  walks();
  EXPECT_EQ(events, (Events{"guard k50", "guard k50", "up k50", "guard k70", "up k70", "up k50"}));
  EXPECT_EQ(listOf(head), allBut({}));
}

TEST_F(ManyPartsTest, AnInnerCompoundMayYieldToAConnectorOutsideOfIt) {
  System* inner = system.compound("Inner");
  make(1);
  std::vector<TestConnector*> own;
  for (int i = 0; i < 600; ++i) {
    own.push_back(inner->rendezvous("n", inner->atom("N")->enabled("n")));
  }
  auto* priority = new TestPriority("y", inner, Interaction::Create(own[300], 1, 0),
                                    Interaction::Create(connectors[0], 1, 0));
  inner->priorities().add(priority);
  inner->setup(nullptr);
  int asked = 0;
  priority->onGuard = [&] {
    ++asked;
    return false;
  };
  for (int i = 1; i <= 5; ++i) {
    EXPECT_EQ(listOf(inner->activate(true)).size(), 600u);
    EXPECT_EQ(asked, i);
    EXPECT_EQ(own[300]->guards, 1);
  }
}

TEST_F(ManyInternalPortsTest, APortThatIsAddedIsSeenAmongHundreds) {
  makeInternal(100);
  auto* atom = static_cast<Atom*>(system.components()[50]);
  auto* port = new Port("added", atom);
  port->setConstraint(&always);
  port->setSynced(true);
  port->setInternal();
  atom->addPort(port);
  walks();
  EXPECT_EQ(listOf(system.internals())[49], port);
  EXPECT_EQ(listOf(system.internals()).size(), 101u);
}

TEST_F(ManyInternalPortsTest, SetConstraintsAreSeenAgainAndAgain) {
  makeInternal(100);
  for (const std::size_t number : {70u, 3u, 99u}) {
    ports[number]->setConstraint(nullptr);
    EXPECT_FALSE(walks());
    EXPECT_EQ(listOf(system.internals()), allPortsBut(number));
    ports[number]->setConstraint(&always);
    EXPECT_FALSE(walks());
    EXPECT_EQ(listOf(system.internals()), allPortsBut(100));
  }
}

TEST_F(ManyInternalPortsTest, ALinkOfTheListThatIsCutByHandIsSeen) {
  makeInternal(100);
  walks();
  ports[60]->setNext(nullptr);
  EXPECT_TRUE(walks());
  EXPECT_EQ(listOf(system.internals()), allPortsBut(100));
}
