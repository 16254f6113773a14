#include "exploration/promise-check.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "kit/explorations.hpp"
#include "kit/promised-models.hpp"

using namespace kit;

using Vesk::BrokenPromise;
using Vesk::Locality;
using Vesk::PromiseCheck;

namespace {

constexpr std::size_t MANY = 1000;

// An atom that counts to two and starts again, in which each test puts a fault.
class Faulty : public Atom {
 public:
  explicit Faulty(const Compound* holder) : Atom("F", holder) { addPort(new Port("p", this)); }
  using Atom::initialize;
  void initialize() override { announce(); }
  void execute(Port*) override {
    count = (count + step()) % 3;
    announce();
    if (afterExecute) afterExecute();
  }
  Node* getState() override {
    if (beforeGetState) beforeGetState();
    return new Leaf(new Atomleaf(std::to_string(count).c_str()));
  }
  void setState(Node* state) override {
    count = std::stoi(static_cast<Leaf*>(state)->getAleaf()->getVal());
    if (afterSetState) afterSetState();
    announce();
  }
  void announce() { mPorts[0]->setSynced(enabled()); }

  int count = 0;
  int kept = 0;
  std::function<int()> step = [] { return 1; };
  std::function<bool()> enabled = [] { return true; };
  std::function<void()> afterExecute, beforeGetState, afterSetState;
};

// The faulty atom, another one that counts to two, and a connector for each.
class PromiseCheckTest : public testing::Test {
 protected:
  PromiseCheckTest()
      : faulty(system.add(new Faulty(&system))),
        other(system.add(new PromisedAtom("B", &system, {"a", "b", "c"}))),
        alone(system.join("k", {faulty->ports()[0]})),
        next(system.join("next", {other->addPort("n", {{0, 1}, {1, 2}, {2, 0}})})) {
    clearGlobals();
  }

  std::optional<BrokenPromise> check(Locality declared) {
    declareAll(system, declared);
    return PromiseCheck(system).run(MANY);
  }
  // The part that breaks its word, and what it does.
  std::string fault(Locality declared) {
    const std::optional<BrokenPromise> broken = check(declared);
    return broken.has_value() ? broken->part + " " + broken->what : "";
  }

  System system{"s"};
  Faulty* faulty;
  PromisedAtom* other;
  TestConnector* alone;
  TestConnector* next;
};

}  // namespace

TEST_F(PromiseCheckTest, AModelThatKeepsItsPromiseIsFoundToDoSo) {
  declareAll(system, Locality::REPEATABLE);
  PromiseCheck check(system);
  EXPECT_EQ(Locality::REPEATABLE, check.promise());
  EXPECT_FALSE(check.run(MANY).has_value());
  EXPECT_EQ(9U, check.states());
}

TEST_F(PromiseCheckTest, EndsAfterAsManyStatesAsItWasTold) {
  declareAll(system, Locality::LOCAL);
  PromiseCheck check(system);
  EXPECT_FALSE(check.run(4).has_value());
  EXPECT_EQ(4U, check.states());
}

TEST_F(PromiseCheckTest, WhoPromisesNothingBreaksNothing) {
  int global = 0;
  faulty->step = [&global] { return global++; };
  declareAll(system, Locality::UNDECLARED);
  PromiseCheck check(system);
  EXPECT_FALSE(check.run(MANY).has_value());
  EXPECT_EQ(0U, check.states());
}

// The fault shows in the state ",2", which a search of one state does not come to.
TEST_F(PromiseCheckTest, AWalkAtRandomFindsWhatLiesBehindTheStatesOfTheSearch) {
  int global = 0;
  faulty->step = [this, &global] { return faulty->count < 2 ? 1 : 1 + global++ % 2; };
  declareAll(system, Locality::REPEATABLE);
  PromiseCheck check(system);
  EXPECT_FALSE(check.run(1).has_value());
  EXPECT_TRUE(check.isUnfinished());
  const auto broken = check.walk(MANY, 1);
  ASSERT_TRUE(broken.has_value());
  EXPECT_EQ("atom s/F", broken->part);
}

TEST_F(PromiseCheckTest, AWalkThroughAModelThatKeepsItsPromiseFindsNothing) {
  declareAll(system, Locality::REPEATABLE);
  PromiseCheck check(system);
  check.run(1);
  EXPECT_FALSE(check.walk(MANY, 7).has_value());
  EXPECT_EQ(MANY + 1, check.states());
}

TEST_F(PromiseCheckTest, AWalkThatEndsBeginsAgain) {
  faulty->enabled = [this] { return faulty->count == 0; };
  System ending("e");
  auto* atom = ending.add(new PromisedAtom("B", &ending, {"a", "b"}));
  ending.join("k", {atom->addPort("n", {{0, 1}})});
  declareAll(ending, Locality::REPEATABLE);
  PromiseCheck check(ending);
  EXPECT_FALSE(check.run(1).has_value());
  EXPECT_FALSE(check.walk(5, 1).has_value());
  EXPECT_EQ(6U, check.states());
}

TEST_F(PromiseCheckTest, AWalkBehindABrokenPromiseTellsOfThatPromise) {
  faulty->afterSetState = [this] { faulty->count = 0; };
  declareAll(system, Locality::LOCAL);
  PromiseCheck check(system);
  ASSERT_TRUE(check.run(MANY).has_value());
  const std::size_t states = check.states();
  const auto broken = check.walk(MANY, 1);
  ASSERT_TRUE(broken.has_value());
  EXPECT_EQ("atom s/F", broken->part);
  EXPECT_EQ(states, check.states());
}

// ---- Atoms -------------------------------------------------------------------------------------

TEST_F(PromiseCheckTest, FindsAnExecuteThatReadsAGlobalVariable) {
  int global = 0;
  faulty->step = [&global] { return global++; };
  EXPECT_EQ("atom s/F does something else although its atoms are the same when s/k/F:p fires",
            fault(Locality::REPEATABLE));
  EXPECT_EQ("", fault(Locality::LOCAL));  // which does not promise that
}

TEST_F(PromiseCheckTest, FindsAnExecuteThatReadsAnAtomWithoutPartInTheConnector) {
  faulty->step = [this] { return other->value() == 2 ? 2 : 1; };
  EXPECT_EQ("atom s/F does something else although its atoms are the same when s/k/F:p fires",
            fault(Locality::REPEATABLE));
}

TEST_F(PromiseCheckTest, FindsASetStateThatKeepsWhatTheAtomAnnounces) {
  faulty->afterExecute = [this] { ++faulty->kept; };
  faulty->enabled = [this] { return faulty->kept < 3; };
  EXPECT_EQ("atom s/F announces other ports after setState() with the same text",
            fault(Locality::LOCAL));
}

TEST_F(PromiseCheckTest, FindsASetStateThatKeepsWhatExecuteReads) {
  faulty->step = [this] { return ++faulty->kept % 2 + 1; };
  EXPECT_EQ("atom s/F does something else although its atoms are the same when s/k/F:p fires",
            fault(Locality::REPEATABLE));
}

TEST_F(PromiseCheckTest, FindsASetStateThatShowsAnotherText) {
  faulty->afterSetState = [this] { faulty->count = 0; };
  EXPECT_EQ("atom s/F shows another text after setState()", fault(Locality::LOCAL));
}

TEST_F(PromiseCheckTest, FindsAGetStateThatChangesTheNextText) {
  faulty->afterSetState = [this] { faulty->kept = 0; };
  faulty->beforeGetState = [this] {
    if (++faulty->kept == 2) faulty->count = (faulty->count + 1) % 3;
  };
  EXPECT_EQ("atom s/F is changed by its getState()", fault(Locality::LOCAL));
}

// Others change only when the connector fires for the second or the third time.
TEST_F(PromiseCheckTest, FindsAnExecuteThatChangesOthersNowAndThen) {
  for (const int time : {2, 3}) {
    int fired = 0;
    faulty->afterExecute = [this, &fired, time] {
      if (++fired == time) other->execute(other->ports()[0]);
    };
    EXPECT_EQ("atom s/B changes when s/k/F:p fires, where it has no part",
              fault(Locality::REPEATABLE))
        << time;
  }
}

TEST_F(PromiseCheckTest, FindsALeafThatIsCalledFaulty) {
  static Leaf leaf(new Atomleaf("x"));
  faulty->afterExecute = [] { faulty_leaf = &leaf; };
  EXPECT_EQ("connector s/k raises a flag when it fires", fault(Locality::REPEATABLE));
}

TEST_F(PromiseCheckTest, FindsAnnouncementsThatDifferAfterExecuteAndSetState) {
  faulty->afterExecute = [this] { faulty->ports()[0]->setSynced(faulty->count != 2); };
  EXPECT_EQ("atom s/F announces other ports after execute() than after setState() with 2",
            fault(Locality::REPEATABLE));
  EXPECT_EQ("", fault(Locality::LOCAL));
}

TEST_F(PromiseCheckTest, FindsAGetStateThatTakesAPortBack) {
  faulty->beforeGetState = [this] { faulty->ports()[0]->setSynced(false); };
  EXPECT_EQ("atom s/F is changed by its getState()", fault(Locality::LOCAL));
}

TEST_F(PromiseCheckTest, FindsAGetStateThatChangesWhatExecuteDoes) {
  faulty->afterSetState = [this] { faulty->kept = 0; };
  faulty->beforeGetState = [this] { ++faulty->kept; };
  faulty->step = [this] { return faulty->kept != 0 ? 2 : 1; };
  EXPECT_EQ("atom s/F does something else after getState() of its atoms when s/k/F:p fires",
            fault(Locality::REPEATABLE));
}

TEST_F(PromiseCheckTest, FindsAnExecuteThatChangesAnotherAtom) {
  TestAtom* third = system.atom("T");
  third->state = "t";
  faulty->afterExecute = [third] { third->state = "u"; };
  EXPECT_EQ("atom s/T changes when s/k/F:p fires, where it has no part", fault(Locality::LOCAL));
}

TEST_F(PromiseCheckTest, FindsAnExecuteThatEnablesAPortOfAnotherAtom) {
  TestAtom* third = system.atom("T");
  Port* port = third->port("q");
  faulty->afterExecute = [port] { port->setSynced(true); };
  EXPECT_EQ("atom s/T changes when s/k/F:p fires, where it has no part", fault(Locality::LOCAL));
}

TEST_F(PromiseCheckTest, FindsAnExecuteThatRaisesAFlag) {
  faulty->afterExecute = [this] { global_prune = faulty->count == 2; };
  EXPECT_EQ("connector s/k raises a flag when it fires", fault(Locality::REPEATABLE));
  EXPECT_EQ("", fault(Locality::LOCAL));
}

// ---- Connectors --------------------------------------------------------------------------------

TEST_F(PromiseCheckTest, FindsAGuardThatReadsAnAtomOfAnotherConnector) {
  next->onGuard = [this] { return faulty->count != 1; };
  EXPECT_EQ("connector s/next may fire something else while its atoms are the same",
            fault(Locality::LOCAL));
}

TEST_F(PromiseCheckTest, AGuardMayReadTheAtomsOfConnectorsBelow) {
  TestConnector* below = system.exported(RENDEZVOUS, "below", faulty->ports()[0]);
  TestConnector* above = system.rendezvous("above", below->xPort());
  above->onGuard = [this] { return faulty->count != 1; };
  EXPECT_EQ("", fault(Locality::REPEATABLE));
}

TEST_F(PromiseCheckTest, FindsAGuardThatChangesAnAtom) {
  next->onGuard = [this] {
    faulty->count = 0;
    return true;
  };
  EXPECT_EQ("atom s/F is changed by hooks of connectors", fault(Locality::LOCAL));
}

TEST_F(PromiseCheckTest, FindsAnUpThatEnablesAPort) {
  TestAtom* third = system.atom("T");
  Port* port = third->port("q");
  next->onUp = [port] { port->setSynced(true); };
  EXPECT_EQ("connector s/next changes atoms when it is evaluated", fault(Locality::LOCAL));
}

// ---- The report --------------------------------------------------------------------------------

TEST_F(PromiseCheckTest, SaysInWhichStateAndWhatWasExpected) {
  next->onGuard = [this] { return faulty->count != 1; };
  EXPECT_EQ(
      "connector s/next may fire something else while its atoms are the same\n"
      "  in the state 1a\n"
      "  expected s/next/B:n\n"
      "  found    nothing\n",
      check(Locality::LOCAL)->message());
}

// The texts of all atoms that take part, in the order of the state.
TEST_F(PromiseCheckTest, SaysWhatEachAtomThatTookPartShowed) {
  TestAtom* third = system.atom("T");
  third->state = "t";
  int global = 0;
  faulty->step = [&global] { return global++; };
  system.join("both", {faulty->ports()[0], third->enabled("q")});
  const std::string message = check(Locality::REPEATABLE)->message();
  const std::size_t expected = message.find("\n  expected F:");
  ASSERT_NE(std::string::npos, expected) << message;
  EXPECT_NE(std::string::npos, message.find("\n  found    F:")) << message;
}

TEST_F(PromiseCheckTest, NamesThePlaceOfAnAtomWithAllCompoundsAbove) {
  System* inner = system.compound("C");
  auto* deep = inner->add(new Faulty(inner));
  int global = 0;
  deep->step = [&global] { return global++; };
  inner->join("m", {deep->ports()[0]});
  EXPECT_EQ("atom s/C/F does something else although its atoms are the same when C/m/F:p fires",
            fault(Locality::REPEATABLE));
}

TEST_F(PromiseCheckTest, LeavesTheFlagsAsTheyWere) {
  other->shown[1] = Signal::ERROR_LEAF;
  global_prune = true;
  EXPECT_EQ("", fault(Locality::LOCAL));
  EXPECT_TRUE(global_prune);
  EXPECT_FALSE(global_error);
  clearGlobals();
}

// Random models keep what they have promised, whatever else they do.
TEST(RandomPromisesTest, NoneIsBroken) {
  for (unsigned int seed = 0; seed < 300; ++seed) {
    const PromisedModel model(seed);
    const auto system = model.make(model.kept());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const auto broken = PromiseCheck(*system).run(20);
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    ASSERT_FALSE(broken.has_value()) << "seed " << seed << ": " << broken->message();
  }
}
