// Quiet untimed steps allocate nothing once the first of them have run. Counts every call of the
// allocator, so the sanitizers' own allocators are left alone.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "allocation-count.hpp"
#include "kit/atoms.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

#if VESK_COUNTS_ALLOCATIONS

namespace {

constexpr int WARM_UP = 100;
constexpr int STEPS = 10000;

// Counts the allocations of the steps behind the warm-up.
class Meter {
 public:
  void step() {
    ++mSteps;
    if (mSteps == WARM_UP) mBefore = allocationCount;
    if (mSteps == WARM_UP + STEPS) mAfter = allocationCount;
  }
  bool complete() const { return mSteps >= WARM_UP + STEPS; }
  long counted() const { return mAfter - mBefore; }

 private:
  int mSteps = 0;
  long mBefore = 0;
  long mAfter = -1;
};

// Stations that pass a token round, a broadcast to whoever listens, and a priority.
struct Ring : System {
  explicit Ring(Meter& meter) {
    std::vector<Port*> gives;
    std::vector<Port*> takes;
    for (bool& holds : mHolds) {
      TestAtom* station = atom("S");
      gives.push_back(station->rule(
          "give", [&] { return holds; }, [&] { holds = false; }));
      takes.push_back(station->rule(
          "take", [&] { return !holds; },
          [&] {
            holds = true;
            meter.step();
          }));
    }
    mHolds[0] = true;
    for (std::size_t i = 0; i < N; ++i) rendezvous("pass", gives[i], takes[(i + 1) % N]);
    TestAtom* sender = atom("Sender");
    TestAtom* listener = atom("Listener");
    Connector* bus =
        broadcast("bus",
                  sender->rule(
                      "send", [] { return true; }, [&] { meter.step(); }),
                  listener->rule("hear", [listener] { return listener->fired % 3 != 2; }),
                  listener->rule("skip", [listener] { return listener->fired % 3 == 2; }));
    priority(Interaction::Create(bus, BitVector(0)), Interaction::Create(connectors()[0], 2, 0, 1));
  }

 private:
  static constexpr std::size_t N = 5;
  bool mHolds[N] = {};
};

// An atom without anything of its own.
struct Bare : Atom {
  using Atom::Atom;
  void execute(Port*) override {}
  Node* getState() override { return nullptr; }
  void setState(Node*) override {}
};

// Fires with all of its ports.
struct Both : Connector {
  using Connector::Connector;
  using Connector::guard;
  bool isBroadcast() override { return false; }
  bool guard() override { return maximal(); }
};

long countedBy(int optimization) {
  Meter meter;
  Ring ring(meter);
  OpenScheduler scheduler(&ring, 0, 1, optimization);
  scheduler.mQuiet = true;
  scheduler.mSimLimit = true;
  scheduler.mMaxSimLimit = 4 * (WARM_UP + STEPS);
  traceOf(scheduler, [&] { scheduler.run(); });
  EXPECT_TRUE(meter.complete());
  return meter.counted();
}

}  // namespace

TEST(AllocationTest, TheCounterSeesTheAllocationsOfTheLibrary) {
  const long before = allocationCount;
  delete new System;
  EXPECT_GT(allocationCount, before);
}

// A large system is made of millions of blocks, so there are none for what is empty, and few of the
// heap.
TEST(AllocationTest, AnAtomNeedsABlockForItsName) {
  const long before = allocationCount;
  const Bare atom("A", nullptr);
  EXPECT_EQ(allocationCount - before, 1);
}

TEST(AllocationTest, APortNeedsABlockForItsName) {
  Bare atom("A", nullptr);
  const long before = allocationCount;
  const Port port("p", &atom);
  EXPECT_EQ(allocationCount - before, 1);
}

// Its interactions, its list of ports and the lists of links of the atoms stand in the memory of
// the engine for the parts of systems.
TEST(AllocationTest, ARendezvousNeedsABlockForItsNameEvenWhenItHasBeenEvaluated) {
  Bare one("A", nullptr);
  Bare other("B", nullptr);
  Port give("give", &one);
  Port take("take", &other);
  delete new Bare("first", nullptr);  // the first part of all has that memory made
  const long before = allocationCount;
  Both connector("c", nullptr, false, {&give, &take});
  give.setSynced(true);
  take.setSynced(true);
  connector.eval(false);
  EXPECT_TRUE(connector.legal());
  EXPECT_EQ(allocationCount - before, 1);
}

TEST(AllocationTest, MaximalSynchronisationAllocatesNothing) {
  EXPECT_EQ(countedBy(1), 0);
}

TEST(AllocationTest, ThePriorityHeapAllocatesNothing) {
  EXPECT_EQ(countedBy(2), 0);
}

#else

TEST(AllocationTest, TheSanitizersCountForThemselves) {
  GTEST_SKIP() << "allocations are counted in the builds without sanitizers";
}

#endif
