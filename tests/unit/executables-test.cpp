#include "executables.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "kit/scripted.hpp"

using namespace kit;

namespace {

constexpr unsigned int FULL = Executables::FULL_MASK;

using List = std::vector<Executable*>;

// Chains of connectors, interactions and ports, linked in the order in which they are added.
class Chains {
 public:
  Connector& connector() {
    mConnectors.push_back(std::make_unique<Connector>("k", nullptr, false));
    Connector& added = *mConnectors.back();
    added.setFeasibleInter(nullptr);
    if (mConnectors.size() > 1) mConnectors[mConnectors.size() - 2]->setNext(&added);
    mLastInteraction = nullptr;
    return added;
  }
  Interaction& interaction() {
    Connector& owner = *mConnectors.back();
    mInteractions.push_back(std::make_unique<ScriptedInteraction>(owner, "i"));
    Interaction* added = mInteractions.back().get();
    if (mLastInteraction == nullptr) {
      owner.setFeasibleInter(added);
    } else {
      mLastInteraction->setNext(added);
    }
    mLastInteraction = added;
    return *added;
  }
  Port& port() {
    mPorts.push_back(std::make_unique<ScriptedPort>("p"));
    if (mPorts.size() > 1) mPorts[mPorts.size() - 2]->setNext(mPorts.back().get());
    return *mPorts.back();
  }
  Executables set() const {
    Executables executables;
    executables.initialize(mConnectors.empty() ? nullptr : mConnectors.front().get(),
                           mPorts.empty() ? nullptr : mPorts.front().get());
    return executables;
  }

 private:
  std::vector<std::unique_ptr<Connector>> mConnectors;
  std::vector<std::unique_ptr<ScriptedInteraction>> mInteractions;
  std::vector<std::unique_ptr<ScriptedPort>> mPorts;
  Interaction* mLastInteraction = nullptr;
};

List walk(const Executables& set, unsigned int mask) {
  List visited;
  for (Executables::iterator it = set.begin(mask); it != set.end(mask); ++it) {
    visited.push_back(*it);
  }
  return visited;
}

TEST(ExecutablesTest, BothHeadsAreNullAfterConstruction) {
  const Executables set;
  EXPECT_EQ(set.connector(), nullptr);
  EXPECT_EQ(set.internals(), nullptr);
}

TEST(ExecutablesTest, InitializeSetsBothHeads) {
  Chains chains;
  Connector& connector = chains.connector();
  Port& port = chains.port();
  Executables set;
  set.initialize(&connector, &port);
  EXPECT_EQ(set.connector(), &connector);
  EXPECT_EQ(set.internals(), &port);
  set.setConnector(nullptr);
  set.setInternals(nullptr);
  EXPECT_EQ(set.count(0), 0);
}

TEST(ExecutablesTest, AnEmptySetHasItsBeginAtItsEndUnderEveryMask) {
  const Executables set;
  for (unsigned int mask : {0u, 1u, 2u, 3u, 0x80000000u, FULL}) {
    EXPECT_TRUE(set.begin(mask) == set.end(mask)) << mask;
    EXPECT_EQ(set.count(mask), 0) << mask;
  }
  EXPECT_TRUE(set.begin() == set.end());
  EXPECT_EQ(set.count(), 0);
  EXPECT_EQ(set[0], nullptr);
  EXPECT_EQ(*set.begin(), nullptr);
}

TEST(ExecutablesTest, InteractionsAreVisitedConnectorByConnectorAndThenTheInternalPorts) {
  Chains chains;
  List expected;
  chains.connector();
  expected.push_back(&chains.interaction());
  expected.push_back(&chains.interaction());
  chains.connector();
  expected.push_back(&chains.interaction());
  expected.push_back(&chains.port());
  expected.push_back(&chains.port());
  const Executables set = chains.set();
  EXPECT_EQ(walk(set, 0), expected);
  EXPECT_EQ(walk(set, FULL), expected);
  EXPECT_EQ(set.count(), 5);
  for (unsigned int i = 0; i < 5; ++i) EXPECT_EQ(set[i], expected[i]) << i;
  EXPECT_EQ(set[5], nullptr);
}

TEST(ExecutablesTest, AConnectorWithoutFeasibleInteractionIsSkipped) {
  Chains chains;
  List expected;
  chains.connector();
  chains.connector();
  expected.push_back(&chains.interaction());
  chains.connector();
  chains.connector();
  expected.push_back(&chains.interaction());
  chains.connector();
  expected.push_back(&chains.port());
  EXPECT_EQ(walk(chains.set(), FULL), expected);
}

TEST(ExecutablesTest, AnInteractionIsTheCurrentExecutableBeforeTheInternalPorts) {
  Chains chains;
  Connector& connector = chains.connector();
  Interaction& interaction = chains.interaction();
  Port& port = chains.port();
  Executables::iterator it = chains.set().begin(4);
  EXPECT_EQ(it.mask(), 4u);
  EXPECT_EQ(it.connector(), &connector);
  EXPECT_EQ(it.interaction(), &interaction);
  EXPECT_EQ(it.internal(), &port);
  EXPECT_EQ(*it, &interaction);
  it.next();
  EXPECT_EQ(it.connector(), nullptr);
  EXPECT_EQ(it.interaction(), nullptr);
  EXPECT_EQ(*it, &port);
}

TEST(ExecutablesTest, AnExecutableMarkedWithBitZeroIsInvisibleUnderMasksWithThatBit) {
  Chains chains;
  chains.port().setMark(1);
  const Executables set = chains.set();
  EXPECT_EQ(set.count(0), 1);
  EXPECT_EQ(set.count(1), 0);
  EXPECT_EQ(set.count(2), 1);
  EXPECT_EQ(set.count(3), 0);
  EXPECT_EQ(set.count(), 0);
}

TEST(ExecutablesTest, TheFullMaskSeesOnlyWhatCarriesNoMarkAtAll) {
  for (unsigned int bit = 0; bit < 32; ++bit) {
    Chains chains;
    chains.port().setMark(1u << bit);
    Port& unmarked = chains.port();
    EXPECT_EQ(walk(chains.set(), FULL), List{&unmarked}) << bit;
    EXPECT_EQ(chains.set()[0], &unmarked) << bit;
    EXPECT_EQ(chains.set()[1], nullptr) << bit;
  }
}

TEST(ExecutablesTest, ADominatedExecutableIsNeverCountedListedOrMarked) {
  Chains chains;
  chains.connector();
  Interaction& interaction = chains.interaction();
  Port& port = chains.port();
  interaction.setDominated(true);
  port.setDominated(true);
  Executables set = chains.set();
  for (unsigned int mask : {0u, 1u, 2u, FULL}) EXPECT_EQ(set.count(mask), 0) << mask;
  EXPECT_EQ(set[0], nullptr);
  set.markAll(3);
  EXPECT_EQ(interaction.mark(), 0u);
  EXPECT_EQ(port.mark(), 0u);
  interaction.setMark(7);
  port.setMark(7);
  set.unmarkAll();
  EXPECT_EQ(interaction.mark(), 7u);
  EXPECT_EQ(port.mark(), 7u);
}

TEST(ExecutablesTest, MarkAddsBitsToTheCurrentExecutableAlone) {
  Chains chains;
  chains.connector();
  Interaction& interaction = chains.interaction();
  Port& port = chains.port();
  Executables set = chains.set();
  set.mark(set.begin(0), 4);
  set.mark(set.begin(0), 1);
  EXPECT_EQ(interaction.mark(), 5u) << "marked twice";
  EXPECT_EQ(port.mark(), 0u);
  set.mark(set.begin(1), 2);
  EXPECT_EQ(interaction.mark(), 5u) << "while the port is marked";
  EXPECT_EQ(port.mark(), 2u);
}

TEST(ExecutablesTest, AnyBitsButZeroClearEveryMarkOfTheExecutable) {
  Chains chains;
  Port& port = chains.port();
  Executables set = chains.set();
  for (unsigned int bits : {1u, 2u, 4u, FULL}) {
    port.setMark(3);
    set.unmark(set.begin(0), bits);
    EXPECT_EQ(port.mark(), 0u) << bits;
  }
}

TEST(ExecutablesTest, UnmarkingWithZeroKeepsOnlyBitZero) {
  Chains chains;
  Port& port = chains.port();
  Executables set = chains.set();
  port.setMark(3);
  set.unmark(set.begin(0), 0);
  EXPECT_EQ(port.mark(), 1u);
  port.setMark(6);
  set.unmark(set.begin(0), 0);
  EXPECT_EQ(port.mark(), 0u);
}

TEST(ExecutablesTest, MarkAllAndUnmarkAllReachWhatIsMarkedAlready) {
  Chains chains;
  chains.connector();
  Interaction& interaction = chains.interaction();
  Port& port = chains.port();
  interaction.setMark(8);
  Executables set = chains.set();
  set.markAll(2);
  EXPECT_EQ(interaction.mark(), 10u);
  EXPECT_EQ(port.mark(), 2u);
  set.unmarkAll(0);
  EXPECT_EQ(interaction.mark(), 0u) << "after unmarkAll(0)";
  EXPECT_EQ(port.mark(), 0u) << "after unmarkAll(0)";
  set.markAll();
  EXPECT_EQ(interaction.mark(), FULL);
  EXPECT_EQ(port.mark(), FULL);
  EXPECT_EQ(set.count(), 0);
  set.unmarkAll();
  EXPECT_EQ(interaction.mark(), 0u) << "after unmarkAll()";
  EXPECT_EQ(port.mark(), 0u) << "after unmarkAll()";
}

TEST(ExecutablesTest, NextOnAConnectorWithoutAnInteractionGoesToTheNextConnector) {
  Chains chains;
  Connector& first = chains.connector();
  chains.interaction();
  chains.connector();
  Executable* second = &chains.interaction();
  Port& port = chains.port();
  const Executables set = chains.set();
  Executables::iterator it(0, &first, nullptr, &port);
  it.next();
  EXPECT_EQ(*it, second);
  it.next();
  EXPECT_EQ(*it, &port);
}

TEST(ExecutablesTest, NextAtTheEndStaysAtTheEnd) {
  Chains chains;
  chains.port();
  const Executables set = chains.set();
  Executables::iterator it = set.begin();
  for (int i = 0; i < 3; ++i) {
    it.next();
    EXPECT_TRUE(it == set.end()) << i;
    EXPECT_EQ(*it, nullptr) << i;
  }
}

TEST(ExecutablesTest, PositionsUnderDifferentMasksAreNeverEqual) {
  Chains chains;
  chains.port();
  const Executables set = chains.set();
  EXPECT_TRUE(set.begin(1) != set.begin(2));
  EXPECT_TRUE(set.end(1) != set.end(2));
  EXPECT_TRUE(set.begin(1) == set.begin(1));
  EXPECT_TRUE(set.end() == set.end(FULL));
}

TEST(ExecutablesTest, PositionsDifferWhenOneFieldDiffers) {
  Chains chains;
  Connector& connector = chains.connector();
  Interaction& interaction = chains.interaction();
  Port& port = chains.port();
  const Executables::iterator all(1, &connector, &interaction, &port);
  for (int field = 0; field < 4; ++field) {
    Executables::iterator other(all);
    EXPECT_TRUE(other == all) << field;
    if (field == 0) other.setMask(2);
    if (field == 1) other.setConnector(nullptr);
    if (field == 2) other.setInteraction(nullptr);
    if (field == 3) other.setInternal(nullptr);
    EXPECT_TRUE(other != all) << field;
  }
}

TEST(ExecutablesTest, SteppingByACountBelowOneDoesNothing) {
  Chains chains;
  chains.port();
  chains.port();
  const Executables set = chains.set();
  Executables::iterator it = set.begin();
  it += 0;
  EXPECT_TRUE(it == set.begin()) << "by 0";
  it += -5;
  EXPECT_TRUE(it == set.begin()) << "by -5";
}

TEST(ExecutablesTest, SteppingByACountVisitsThatManyVisibleExecutables) {
  Chains chains;
  chains.port();
  chains.port().setMark(1);
  Port& third = chains.port();
  const Executables set = chains.set();
  EXPECT_EQ(*(set.begin(1) + 1), &third);
  EXPECT_TRUE(set.begin(1) + 2 == set.end(1));
  EXPECT_TRUE(set.begin(1) + 1000 == set.end(1));
  Executables::iterator it = set.begin(1);
  EXPECT_TRUE(it++ == set.begin(1));
  EXPECT_EQ(*it, &third);
}

TEST(ExecutablesTest, RandomChainsAreWalkedLikeAVector) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    Chains chains;
    List all;
    const unsigned long connectors = random() % 4;
    for (unsigned long k = 0; k < connectors; ++k) {
      chains.connector();
      for (unsigned long n = random() % 4; n > 0; --n) all.push_back(&chains.interaction());
    }
    for (unsigned long n = random() % 4; n > 0; --n) all.push_back(&chains.port());
    for (Executable* executable : all) {
      executable->setMark(static_cast<unsigned int>(random() % 8));
      executable->setDominated(random() % 5 == 0);
    }
    const Executables set = chains.set();
    for (unsigned int mask : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, FULL}) {
      List visible;
      for (Executable* executable : all) {
        if ((executable->mark() & mask) == 0 && !executable->dominated()) {
          visible.push_back(executable);
        }
      }
      ASSERT_EQ(walk(set, mask), visible) << round << ' ' << mask;
      ASSERT_EQ(set.count(mask), static_cast<int>(visible.size())) << round << ' ' << mask;
      if (mask != FULL) continue;
      for (unsigned int i = 0; i < visible.size(); ++i) ASSERT_EQ(set[i], visible[i]) << i;
      ASSERT_EQ(set[static_cast<unsigned int>(visible.size())], nullptr) << round << ' ' << mask;
      ASSERT_EQ(set[FULL], nullptr) << round << ' ' << mask;
    }
  }
}

}  // namespace
