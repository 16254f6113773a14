// Which interactions a broadcast offers, with their times.

#include "connector.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/clocks.hpp"
#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/output.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class BroadcastTest : public ConnectorTest {};

}  // namespace

TEST_F(BroadcastTest, EnabledUntimedPortsAreAlwaysTaken) {
  const Ports ports = synced({nullptr, nullptr, nullptr});
  ports[1]->setSynced(false);
  TestConnector* connector = open(ports);
  std::string asked;
  connector->onGuard = [&] {
    asked += sets(connector->feasibleInter());
    return true;
  };
  connector->createFeasibleInters();
  EXPECT_EQ(asked, "{0,2}");
  EXPECT_EQ(feasible(connector), "{0,2}");
}

TEST_F(BroadcastTest, OneTimedPortGivesTheSetWithoutItInFront) {
  Constraint within(nullptr, 0, 10, LAZY);
  TestConnector* connector = open(synced({nullptr, &within}));
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0} {0,1}");
  Interaction* without = connector->feasibleInter();
  EXPECT_EQ(spans(without->next()->constraint()), "[0,10]");
  EXPECT_EQ(spans(without->constraint()), "[MIN,-1] [11,MAX]");
}

// The guard leaves no set, since a list of a hundred thousand interactions takes its time.
TEST_F(BroadcastTest, MoreThanSixteenEnabledTimedPortsAreReportedOncePerConnector) {
  Constraint within(nullptr, 0, 10, LAZY);
  Ports ports;
  for (int i = 0; i < 20; ++i) {
    ports.push_back(atom->enabled(("p" + std::to_string(i)).c_str(), i < 17 ? &within : nullptr));
  }
  ports.push_back(atom->port("off"));
  TestConnector *k = open(ports), *l = over(BROADCAST, ports, "l");
  TestConnector* rendezvous = over(RENDEZVOUS, ports, "r");
  for (TestConnector* connector : {k, l, rendezvous}) connector->onGuard = [] { return false; };
  EXPECT_EQ(errorsOf([&] {
              ports[0]->setSynced(false);  // sixteen are left
              k->createFeasibleInters();
              rendezvous->createFeasibleInters();
            }),
            "");
  EXPECT_EQ(errorsOf([&] {
              ports[0]->setSynced(true);
              k->createFeasibleInters();
              k->createFeasibleInters();
              l->createFeasibleInters();
            }),
            "vesk: connector k: a broadcast with 17 enabled timed ports looks at 2^17 sets of "
            "ports\n"
            "vesk: connector l: a broadcast with 17 enabled timed ports looks at 2^17 sets of "
            "ports\n");
  EXPECT_EQ(k->guards, (1 << 16) + 2 * (1 << 17));
}

TEST_F(BroadcastTest, LargerSetsAreConsideredFirst) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 20, 30, LAZY),
      third(nullptr, 40, 50, LAZY);
  TestConnector* connector = open(synced({&first, &second, &third}));
  std::string asked;
  connector->onGuard = [&] {
    asked += sets(connector->feasibleInter());
    return false;
  };
  connector->createFeasibleInters();
  EXPECT_EQ(asked, "{0,1,2}{0,1}{0,2}{0}{1,2}{1}{2}{}");
  EXPECT_EQ(connector->feasibleInter(), nullptr);
}

TEST_F(BroadcastTest, SyncedFlagsAreTheCurrentSetDuringTheEnumerationAndRestoredAfterIt) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 0, 10, LAZY);
  const Ports ports = synced({&first, nullptr, nullptr, &second});
  ports[2]->setSynced(false);
  TestConnector* connector = over(BROADCAST, ports);
  std::string seen;
  const auto look = [&] {
    BitVector now;
    for (int i = 0; i < 4; ++i) {
      if (ports[static_cast<std::size_t>(i)]->synced()) now.add(i);
    }
    seen += text(now);
    return now;
  };
  connector->onGuard = [&] { return look() == connector->feasibleInter()->synced(); };
  connector->onComplete = [&] {
    look();
    return false;
  };
  connector->createFeasibleInters();
  EXPECT_EQ(seen, "{0,1,3}{0,1,3}{0,1}{0,1}{1,3}{1,3}{1}{1}");
  EXPECT_TRUE(ports[0]->synced());
  EXPECT_TRUE(ports[1]->synced());
  EXPECT_FALSE(ports[2]->synced());
  EXPECT_TRUE(ports[3]->synced());
}

TEST_F(BroadcastTest, AnIncompleteSetMustBeMaximal) {
  Constraint within(nullptr, 0, 10, LAZY);
  const Ports ports = synced({nullptr, &within});
  TestConnector* connector = over(BROADCAST, ports);
  connector->onComplete = [] { return false; };
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0,1}");
  ports[0]->setSynced(false);
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "none");
}

TEST_F(BroadcastTest, ATriggerMakesTheSetsThatContainItComplete) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 20, 30, LAZY);
  const Ports ports = synced({&first, &second});
  TestConnector* connector = over(BROADCAST, ports);
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0}");
  second.reset();
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "none");
}

TEST_F(BroadcastTest, CompletenessIsAskedOnlyWhenTheGuardHolds) {
  TestConnector* connector = over(BROADCAST, synced({nullptr}));
  int asked = 0;
  connector->onComplete = [&] {
    ++asked;
    return true;
  };
  connector->onGuard = [] { return false; };
  connector->createFeasibleInters();
  EXPECT_EQ(asked, 0);
}

TEST_F(BroadcastTest, TheGuardSelectsSets) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 20, 30, LAZY);
  TestConnector* connector = open(synced({&first, &second}));
  connector->onGuard = [&] { return connector->feasibleInter()->synced().in(1) == 0; };
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{} {0}");
}

TEST_F(BroadcastTest, NewInteractionsAreNotDominated) {
  Constraint within(nullptr, 0, 10, LAZY);
  TestConnector* connector = open(synced({&within}));
  Interaction* one = Interaction::Create(connector, setOf({0}));
  Interaction* none = Interaction::Create(connector, BitVector::EMPTY);
  one->setDominated(true);
  none->setDominated(true);
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{} {0}");
  EXPECT_FALSE(one->dominated());
  EXPECT_FALSE(none->dominated());
}

TEST_F(BroadcastTest, ALargerSetTakesItsTimesFromASmallerOne) {
  Constraint first(nullptr, 0, 30, EAGER), second(nullptr, 10, 20, LAZY);
  TestConnector* connector = open(synced({&first, &second}));
  connector->createFeasibleInters();
  // {0,1} is [10,20]; {0} keeps the rest of [0,30]; {1} would be empty.
  EXPECT_EQ(feasible(connector), "{}");
  connector->onGuard = [&] { return connector->feasibleInter()->synced().in(0) == 1; };
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0} {0,1}");
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[0,9] eager [21,30] eager");
  EXPECT_EQ(spans(connector->feasibleInter()->next()->constraint()), "[10,20] eager");
}

// {0,1} is [0,10]; {0} loses all of it, which throws {0,1} away too; {1} finds an empty list and is
// [0,10]; the empty set keeps the rest of all times.
// Deliberate: a set that loses all of its times discards the whole list found so far.
TEST_F(BroadcastTest, ASetThatLosesAllOfItsTimesDiscardsTheWholeListFoundSoFar) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 0, 10, LAZY);
  TestConnector* connector = open(synced({&first, &second}));
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{} {1}");
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[MIN,-1] [11,MAX]");
  EXPECT_EQ(spans(connector->feasibleInter()->next()->constraint()), "[0,10]");
}

// Deliberate: an untimed superset discards the whole list found so far.
TEST_F(BroadcastTest, AnUntimedSupersetDiscardsTheWholeListFoundSoFar) {
  Constraint within(nullptr, 0, 10, LAZY);
  const Ports ports = synced({&within, nullptr});
  TestConnector* connector = open(ports);
  Interaction* timed = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  Interaction* untimed = Interaction::Create(connector, setOf({0, 1}));
  timed->setNext(untimed);
  untimed->setNext(nullptr);
  BitVector enabled = setOf({1}), set;
  ports[1]->setSynced(true);
  EXPECT_EQ(connector->createFeasibleBroadcast(enabled, set, 0, timed), nullptr);
}

TEST_F(BroadcastTest, AnInteractionThatIsNoSupersetTakesNothing) {
  Constraint first(nullptr, 0, 10, LAZY), second(nullptr, 5, 15, LAZY);
  const Ports ports = synced({&first, &second});
  TestConnector* connector = open(ports);
  Interaction* other = Interaction::CreateRealTime(connector, setOf({0}), setOf({0}));
  other->setNext(nullptr);
  BitVector enabled = setOf({1}), set;
  connector->onGuard = [&] { return connector->feasibleInter()->synced().in(1) == 1; };
  Interaction* list = connector->createFeasibleBroadcast(enabled, set, 0, other);
  EXPECT_EQ(sets(list), "{1} {0}");
  EXPECT_EQ(spans(list->constraint()), "[5,15]");
}

TEST_F(BroadcastTest, EnumeratesFromTheGivenIndexInFrontOfTheGivenList) {
  const Ports ports = synced({nullptr, nullptr, nullptr});
  TestConnector* connector = open(ports);
  BitVector enabled = setOf({2}), set = setOf({0});
  for (Port* port : ports) port->setSynced(false);
  ports[0]->setSynced(true);
  Interaction* list = connector->createFeasibleBroadcast(enabled, set, 1, nullptr);
  EXPECT_EQ(sets(list), "{0,2}");
}

TEST_F(BroadcastTest, ADominationDoesNotOutliveTheSubtraction) {
  Constraint within(nullptr, 0, 10, LAZY);
  TestConnector* connector = open(synced({nullptr, &within}));
  connector->createFeasibleInters();
  Constraint* rest = connector->feasibleInter()->constraint();
  EXPECT_FALSE(rest->domination());
  EXPECT_EQ(rest->delay(), Vesk::Time(0));
}

TEST_F(BroadcastTest, TheConstraintOfAnUntimedSetIsOverTheClockOfTheCompound) {
  HandClock clock(Vesk::Time(0));
  compound.setClock(&clock);
  Constraint within(&clock, 0, 10, EAGER);
  TestConnector* connector = open(synced({nullptr, &within}));
  connector->createFeasibleInters();
  EXPECT_EQ(connector->feasibleInter()->constraint()->clock(), &clock);
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[MIN,-1] [11,MAX]");
}

// {0,1,2} can never happen and is left out; the rest goes on.
TEST_F(BroadcastTest, ASetWhoseConstraintsNeverMeetIsSkipped) {
  Constraint early(nullptr, 0, 5, LAZY), late(nullptr, 10, 20, LAZY);
  TestConnector* connector = over(BROADCAST, synced({nullptr, &early, &late}));
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{0} {0,2} {0,1}");
  EXPECT_EQ(spans(connector->feasibleInter()->constraint()), "[MIN,-1] [6,9] [21,MAX]");
}

TEST_F(BroadcastTest, AGuardThatThrowsLeavesTheSyncedFlagsAsTheyWere) {
  Constraint within(nullptr, 0, 10, LAZY), late(nullptr, 5, 10, LAZY);
  const Ports ports = synced({&within, nullptr, &late});
  ports[1]->setSynced(false);
  TestConnector* connector = over(BROADCAST, ports);
  Interaction* head = connector->feasibleInter();
  connector->onGuard = []() -> bool { throw std::runtime_error("guard"); };
  EXPECT_THROW(connector->eval(false), std::runtime_error);
  EXPECT_TRUE(ports[0]->synced());
  EXPECT_FALSE(ports[1]->synced());
  EXPECT_TRUE(ports[2]->synced());
  EXPECT_EQ(connector->feasibleInter(), head);
  connector->onGuard = nullptr;
  EXPECT_EQ(errorsOf([&] { connector->eval(false); }), "");
  EXPECT_TRUE(connector->legal());
}

TEST_F(BroadcastTest, WithoutPortsOffersTheEmptySet) {
  TestConnector* connector = over(BROADCAST, {});
  connector->createFeasibleInters();
  EXPECT_EQ(feasible(connector), "{}");  // maximal
}

// ---- against a literal enumeration -------------------------------------------------------------

namespace {

// What the enumeration has found: a set and its constraint, if any. The newest stands first.
struct Found {
  BitVector set;
  std::unique_ptr<Constraint> constraint;
};
using FoundList = std::vector<std::shared_ptr<Found>>;

// The enumeration, spelt out over plain values. A list that was discarded is empty.
class SlowBroadcast {
 public:
  SlowBroadcast(const Ports& ports, const BitVector& enabled,
                std::function<bool(const BitVector&)> guard,
                std::function<bool(const BitVector&)> complete)
      : mPorts(ports), mEnabled(enabled), mGuard(guard), mComplete(complete) {}

  FoundList enumerate(BitVector set, int i, const FoundList& list) {
    if (i == static_cast<int>(mPorts.size())) return finish(set, list);
    const Constraint* constraint = mPorts[static_cast<std::size_t>(i)]->constraint();
    BitVector with = set;
    with.add(i);
    if (mEnabled.in(i) == 0) return enumerate(set, i + 1, list);
    if (constraint == nullptr) return enumerate(with, i + 1, list);
    return enumerate(set, i + 1, enumerate(with, i + 1, list));
  }

 private:
  FoundList finish(const BitVector& set, const FoundList& list) {
    if (!mGuard(set)) return list;
    if (!mComplete(set) && !isMaximal(set)) return list;
    auto made = std::make_shared<Found>();
    made->set = set;
    for (std::size_t i = 0; i < mPorts.size(); ++i) {
      const Constraint* constraint = mPorts[i]->constraint();
      if (set.in(static_cast<int>(i)) == 0 || constraint == nullptr) continue;
      if (made->constraint == nullptr) made->constraint = always();
      *made->constraint &= *constraint;
    }
    if (made->constraint != nullptr && made->constraint->empty()) return list;
    for (const auto& other : list) {
      if (!(set <= other->set)) continue;
      if (other->constraint == nullptr) return {};
      if (made->constraint == nullptr) made->constraint = always();
      made->constraint->setDelay(Vesk::Time(0));
      made->constraint->setDomination(false);
      *made->constraint -= *other->constraint;
    }
    if (made->constraint != nullptr && made->constraint->empty()) return {};
    FoundList longer{made};
    longer.insert(longer.end(), list.begin(), list.end());
    return longer;
  }
  bool isMaximal(const BitVector& set) const {
    for (std::size_t i = 0; i < mPorts.size(); ++i) {
      if (set.in(static_cast<int>(i)) == 0) return false;
    }
    return true;
  }
  static std::unique_ptr<Constraint> always() {
    return std::make_unique<Constraint>(nullptr, Vesk::Time::MIN, Vesk::Time::MAX, LAZY);
  }

  const Ports& mPorts;
  BitVector mEnabled;
  std::function<bool(const BitVector&)> mGuard;
  std::function<bool(const BitVector&)> mComplete;
};

std::string listed(const FoundList& list) {
  std::string lines;
  for (const auto& found : list) {
    lines += text(found->set) + " " + spans(found->constraint.get()) + "\n";
  }
  return lines;
}

std::string listed(Interaction* head) {
  std::string lines;
  for (const Interaction* found : listOf(head)) {
    lines += text(found->synced()) + " " + spans(found->constraint()) + "\n";
  }
  return lines;
}

// A number of the low six bits of a set of at most six ports.
unsigned int bitsOf(const BitVector& set) {
  unsigned int bits = 0;
  for (int i = 0; i < 6; ++i) bits |= static_cast<unsigned int>(set.in(i)) << i;
  return bits;
}

}  // namespace

TEST(BroadcastOracleTest, AgreesWithALiteralEnumerationOnRandomConnectors) {
  std::mt19937 random(20240229);
  int nonEmpty = 0, discarded = 0;
  for (int round = 0; round < 3000; ++round) {
    System compound("C");
    TestAtom* atom = compound.atom("A");
    const std::size_t count = random() % 7;
    Ports ports;
    std::vector<std::unique_ptr<Constraint>> constraints;
    BitVector enabled;
    for (std::size_t i = 0; i < count; ++i) {
      Port* port = atom->port("p");
      ports.push_back(port);
      if (random() % 5 != 0) {
        port->setSynced(true);
        enabled.add(static_cast<int>(i));
      }
      if (random() % 3 != 0) {
        constraints.push_back(std::make_unique<Constraint>(nullptr, 0, 0, LAZY));
        randomize(*constraints.back(), random);
        port->setConstraint(constraints.back().get());
      }
    }
    // Guards and completeness are tables over the 64 sets.
    std::vector<bool> guard(64), complete(64);
    const bool lenient = random() % 2 == 0;
    for (std::size_t i = 0; i < 64; ++i) {
      guard[i] = lenient || random() % 3 != 0;
      complete[i] = random() % 4 != 0;
    }
    TestConnector* connector = compound.add(new TestConnector(BROADCAST, "k", &compound, false));
    connector->addPorts(ports);
    std::string asked, askedSlowly;
    connector->onGuard = [&] {
      asked += text(connector->feasibleInter()->synced());
      return guard[bitsOf(connector->feasibleInter()->synced())];
    };
    connector->onComplete = [&] {
      BitVector now;
      for (std::size_t i = 0; i < count; ++i) {
        if (ports[i]->synced()) now.add(static_cast<int>(i));
      }
      return complete[bitsOf(now)];
    };
    SlowBroadcast slow(
        ports, enabled,
        [&](const BitVector& set) {
          askedSlowly += text(set);
          return guard[bitsOf(set)];
        },
        [&](const BitVector& set) { return complete[bitsOf(set)]; });
    const FoundList expected = slow.enumerate(BitVector::EMPTY, 0, {});
    connector->eval(false);
    ASSERT_EQ(listed(connector->feasibleInter()), listed(expected)) << "round " << round;
    ASSERT_EQ(asked, askedSlowly) << "round " << round;
    ASSERT_EQ(connector->legal(), !expected.empty()) << round;
    for (std::size_t i = 0; i < count; ++i) {
      ASSERT_EQ(ports[i]->synced(), enabled.in(static_cast<int>(i)) == 1) << round << ' ' << i;
    }
    nonEmpty += expected.size() > 2 ? 1 : 0;
    discarded += expected.empty() ? 1 : 0;
    for (Port* port : ports) port->setConstraint(nullptr);
  }
  EXPECT_GT(nonEmpty, 300);
  EXPECT_GT(discarded, 100);
}

TEST(BroadcastOracleTest, TwelveTimedPortsEndInReasonableTime) {
  System compound("C");
  TestAtom* atom = compound.atom("A");
  TestConnector* connector = compound.add(new TestConnector(BROADCAST, "k", &compound, false));
  std::vector<std::unique_ptr<Constraint>> constraints;
  for (int i = 0; i < 12; ++i) {
    constraints.push_back(std::make_unique<Constraint>(nullptr, i, 100 - i, LAZY));
    connector->addPorts({atom->enabled("p", constraints.back().get())});
  }
  connector->onComplete = [] { return true; };
  connector->eval(false);
  EXPECT_EQ(connector->guards, 4096);
  EXPECT_TRUE(connector->legal());
}
