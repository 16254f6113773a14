// Both searches of random models, compared with the literal ones: files, output, the calls of all
// hooks with what they see, and the places of all trees.
#include <gtest/gtest.h>
#include "packing.hpp"

#include <string>
#include <vector>

#include "recorded-search.hpp"

using namespace kit;

namespace {

// Fewer where all states are packed; the sanitizers take their time, too.
int blocks() {
#ifdef __SANITIZE_ADDRESS__
  return 2;
#else
  return PACKS ? 2 : 10;
#endif
}

Searches& searches() {
  static Searches one;
  return one;
}

testing::AssertionResult agrees(const SearchCase& one) {
  const SearchOutcome literal = searches().literally(one);
  const SearchOutcome found = searches().byEngine(one);
  return same(literal, found, PACKS) << "\n" << one;
}

// Whether there is nothing but the initial state.
bool isDull(const SearchCase& one) {
  const std::string out = searches().literally(one).texts.out;
  return out.find("Final size : 1\n") != std::string::npos;
}

Plan randomPlan(Draw& draw) {
  Plan plan;
  if (draw.below(5) == 0) return plan;
  plan.call = static_cast<Call>(draw.below(static_cast<int>(Call::COUNT)));
  plan.raise = static_cast<Raise>(draw.below(static_cast<int>(Raise::COUNT)));
  plan.number = draw.between(1, draw.coin() ? 8 : 40);
  return plan;
}

}  // namespace

// ---- A flag somewhere ----------------------------------------------------------------------

class RandomSearchTest : public testing::TestWithParam<int> {};

TEST_P(RandomSearchTest, DoesWhatTheLiteralSearchDoes) {
  int models = 500;
  for (int i = 0; models > 0; ++i) {
    SearchCase one;
    one.seed = static_cast<unsigned int>(GetParam() * 100000 + i);
    Draw draw(one.seed + 1000000);
    one.limit = draw.below(10) == 0 ? draw.between(1, 110) : 20;
    if (isDull(one) && draw.below(10) != 0) continue;
    one.plan = randomPlan(draw);
    for (const Traversal traversal : {BFS, DFS}) {
      one.traversal = traversal;
      ASSERT_TRUE(agrees(one)) << i << ' ' << nameOf(traversal);
    }
    --models;
  }
}

INSTANTIATE_TEST_SUITE_P(Blocks, RandomSearchTest, testing::Range(0, blocks()));

// ---- Every flag everywhere -----------------------------------------------------------------

class FlagSweepTest : public testing::TestWithParam<int> {};

namespace {

// Small enough for all calls, large enough for a state that is reached again.
SearchCase smallCase(int number) {
  SearchCase one;
  one.small = true;
  one.limit = 10;
  for (;; ++one.seed) {
    const SearchOutcome found = searches().literally(one);
    const bool fits = 70 < found.seen.size() && found.seen.size() < 140;
    if (fits && number-- == 0) return one;
  }
}

void sweep(SearchCase one) {
  const std::vector<int> calls = searches().literally(one).calls;
  for (int call = 0; call < static_cast<int>(Call::COUNT); ++call) {
    one.plan.call = static_cast<Call>(call);
    for (one.plan.number = 1; one.plan.number <= calls[static_cast<std::size_t>(call)];
         ++one.plan.number) {
      for (int raise = 0; raise < static_cast<int>(Raise::COUNT); ++raise) {
        one.plan.raise = static_cast<Raise>(raise);
        ASSERT_TRUE(agrees(one));
      }
    }
  }
}

}  // namespace

TEST_P(FlagSweepTest, EveryCallOfEveryHookMayRaiseIt) {
  SearchCase one = smallCase(GetParam());
  for (const Traversal traversal : {BFS, DFS}) {
    one.traversal = traversal;
    one.plan = Plan();
    sweep(one);
    if (HasFatalFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Models, FlagSweepTest, testing::Range(0, blocks() / 2));

// ---- Trees that change ---------------------------------------------------------------------

class ChangingTreeTest : public testing::TestWithParam<int> {};

namespace {

void compareChanging(int block, int models, int mutations, bool raising) {
  for (int i = 0; models > 0; ++i) {
    SearchCase one;
    one.seed = static_cast<unsigned int>(block * 100000 + i);
    Draw draw(one.seed + 2000000);
    one.limit = draw.between(10, 40);
    if (isDull(one)) continue;
    one.mutations = mutations;
    if (raising) one.plan = randomPlan(draw);
    for (const Traversal traversal : {BFS, DFS}) {
      one.traversal = traversal;
      ASSERT_TRUE(agrees(one));
    }
    --models;
  }
}

}  // namespace

TEST_P(ChangingTreeTest, AChangeNowAndThenIsSeenByAllThatFollows) {
  compareChanging(GetParam(), 200, 4, false);
}

TEST_P(ChangingTreeTest, ManyChangesAreSeenByAllThatFollows) {
  compareChanging(GetParam(), 200, 40, false);
}

TEST_P(ChangingTreeTest, ChangesAndFlagsGoTogether) {
  compareChanging(GetParam(), 200, 15, true);
}

INSTANTIATE_TEST_SUITE_P(Blocks, ChangingTreeTest, testing::Range(0, 3));
