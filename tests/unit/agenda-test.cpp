#include "agenda.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "draw.hpp"
#include "foretold.hpp"

using namespace kit;

using Vesk::Agenda;
using Vesk::Times;

namespace {

std::vector<Executable*> leftOf(const Agenda& agenda) {
  std::vector<Executable*> found;
  Agenda::Place place{};
  for (std::size_t i = 0; i < agenda.count(); ++i) found.push_back(agenda.at(i, place));
  return found;
}

// An agenda with slots that are filled and emptied at random, beside all that is in it.
class Slots {
 public:
  Slots(unsigned int seed, Agenda::Policy policy, Number margin, std::size_t slots)
      : mDraw(seed), mPolicy(policy), mMargin(margin), mSlots(slots), mAgenda(policy, margin) {
    mAgenda.reset(slots);
    for (std::size_t slot = 0; slot < slots; ++slot) fill(slot);
  }

  // False when there was a difference.
  bool step() {
    for (int i = mDraw.below(4); i > 0; --i) fill(someSlot());
    AskedFilters filters;
    Number latest = maximum();
    const int times = mPolicy == Agenda::Policy::EVERYTHING ? mDraw.between(1, 3) : 1;
    for (int i = 0; i < times; ++i) {
      if (i > 0) mNow = std::min(latest, mNow + mDraw.below(4));
      renewExpired();
      if (i == 0) filters.begin(all());
      const Number expected = filters.open(mNow, latest);
      latest = mAgenda.open(mNow, latest);
      EXPECT_EQ(latest, expected);
      EXPECT_EQ(mAgenda.empty(), filters.left().empty());
    }
    mAgenda.choose();
    if (mPolicy == Agenda::Policy::EARLIEST_DEADLINE) filters.choose(mMargin);
    EXPECT_EQ(leftOf(mAgenda), filters.left());
    EXPECT_EQ(marksOf(all()), filters.marks());
    EXPECT_EQ(mAgenda.size(), all().size());
    advance(latest);
    return !testing::Test::HasFailure();
  }

 private:
  std::size_t someSlot() {
    return static_cast<std::size_t>(mDraw.below(static_cast<int>(mSlots.size())));
  }
  void fill(std::size_t slot) {
    mAgenda.clear(slot);
    mSlots[slot].clear();
    Agenda::Id before = Agenda::NONE;
    for (int i = mDraw.below(3); i > 0; --i) {
      mSlots[slot].push_back(std::make_unique<Foretold>(someTimes(mDraw, mNow)));
      Foretold& made = *mSlots[slot].back();
      if (mDraw.below(5) == 0) made.times.until = mNow + mDraw.below(5);
      before = mAgenda.add(slot, before, made, made.times);
    }
  }
  // As if what was said of them until then had been found out again. A step that is under way goes
  // on with the same executables.
  void renewExpired() {
    std::vector<std::size_t> expired;
    mAgenda.expire(mNow, expired);
    for (const std::size_t slot : expired) {
      mAgenda.clear(slot);
      Agenda::Id before = Agenda::NONE;
      for (const auto& one : mSlots[slot]) {
        if (one->times.until < mNow) one->times.until = INT64_MAX;
        before = mAgenda.add(slot, before, *one, one->times);
      }
    }
  }
  std::vector<Foretold*> all() const {
    std::vector<Foretold*> result;
    for (const auto& slot : mSlots) {
      for (const auto& one : slot) result.push_back(one.get());
    }
    return result;
  }
  // Time goes on to what is left, and no deadline passes. What has been due fires.
  void advance(Number latest) {
    if (latest < maximum()) mNow = mNow + mDraw.below(static_cast<int>(latest - mNow) + 1);
    if (latest >= maximum()) mNow += mDraw.below(3);
    for (std::size_t slot = 0; slot < mSlots.size(); ++slot) {
      for (const auto& one : mSlots[slot]) {
        if (one->times.deadline > mNow && !(one->times.eager && one->times.low <= mNow)) continue;
        fill(slot);
        break;
      }
    }
  }

  Draw mDraw;
  const Agenda::Policy mPolicy;
  const Number mMargin;
  std::vector<std::vector<std::unique_ptr<Foretold>>> mSlots;
  Agenda mAgenda;
  Number mNow = 0;
};

void runAll(Agenda::Policy policy, Number margin) {
  for (unsigned int seed = 0; seed < 60; ++seed) {
    Slots slots(seed, policy, margin, seed % 3 == 0 ? 1 : 2 + seed);
    for (int i = 0; i < 60; ++i) ASSERT_TRUE(slots.step()) << "seed " << seed << ", step " << i;
  }
}

}  // namespace

TEST(AgendaTest, AnEmptyOneLeavesNothing) {
  Agenda agenda(Agenda::Policy::EARLIEST_DEADLINE, 5);
  agenda.reset(0);
  EXPECT_EQ(agenda.open(0, maximum()), maximum());
  agenda.choose();
  EXPECT_TRUE(agenda.empty());
  EXPECT_EQ(agenda.count(), 0u);
  EXPECT_EQ(agenda.upcoming(), Agenda::NONE);
}

TEST(AgendaTest, WhatAnswersSomethingElseIsNotGiven) {
  Agenda agenda(Agenda::Policy::EVERYTHING, maximum());
  agenda.reset(1);
  Foretold one({0, maximum(), INT64_MAX, false});
  agenda.add(0, Agenda::NONE, one, one.times);
  agenda.open(3, maximum());
  Agenda::Place place{7, 7};
  EXPECT_EQ(agenda.at(0, place), &one);
  EXPECT_EQ(place.slot, 0u);
  EXPECT_EQ(place.next, 3);
  one.times.low = 4;
  EXPECT_EQ(agenda.at(0, place), nullptr);
  one.times = {0, 9, INT64_MAX, false};
  EXPECT_EQ(agenda.at(0, place), nullptr);
  one.times = {0, maximum(), INT64_MAX, false};
  one.setMark(4);
  EXPECT_EQ(agenda.at(0, place), nullptr);
  one.setMark(0);
  one.setDominated(true);
  EXPECT_EQ(agenda.at(0, place), nullptr);
}

TEST(AgendaTest, TimesAtTheEndsAreOrdinary) {
  Agenda agenda(Agenda::Policy::EARLIEST_DEADLINE, maximum());
  agenda.reset(3);
  Foretold always({INT64_MIN / 2, maximum(), INT64_MAX, false});
  Foretold never({INT64_MAX, INT64_MAX, INT64_MAX, false});
  Foretold early({INT64_MIN / 2, 4, INT64_MAX, false});
  agenda.add(0, Agenda::NONE, always, always.times);
  agenda.add(1, Agenda::NONE, never, never.times);
  agenda.add(2, Agenda::NONE, early, early.times);
  EXPECT_EQ(agenda.open(0, maximum()), 4);
  agenda.choose();
  EXPECT_EQ(leftOf(agenda), std::vector<Executable*>{&early});
  EXPECT_EQ(never.mark(), AskedFilters::CLOSED);
  EXPECT_EQ(always.mark(), AskedFilters::LATER);
}

TEST(AgendaTest, WhatWasSaidUntilATimeHoldsAtThatTime) {
  Agenda agenda(Agenda::Policy::EVERYTHING, maximum());
  agenda.reset(2);
  Foretold first({0, maximum(), 7, false});
  Foretold second({0, maximum(), INT64_MAX, false});
  agenda.add(0, Agenda::NONE, second, second.times);
  agenda.add(1, Agenda::NONE, first, first.times);
  std::vector<std::size_t> slots;
  agenda.expire(7, slots);
  EXPECT_TRUE(slots.empty());
  agenda.expire(8, slots);
  EXPECT_EQ(slots, std::vector<std::size_t>{1});
  agenda.expire(9, slots);
  EXPECT_EQ(slots.size(), 1u) << "it has been told";
}

// Of those that are closed, when there are two or more.
TEST(AgendaTest, WhatIsEnabledFirstAfterTheLatestTimeIsUpcoming) {
  for (const bool eager : {false, true}) {
    Agenda agenda(Agenda::Policy::EVERYTHING, maximum());
    agenda.reset(4);
    Foretold now({0, 5, INT64_MAX, false});
    Foretold later({9, maximum(), INT64_MAX, eager});
    Foretold next({8, maximum(), INT64_MAX, eager});
    agenda.add(0, Agenda::NONE, now, now.times);
    agenda.add(1, Agenda::NONE, later, later.times);
    agenda.open(0, maximum());
    EXPECT_EQ(agenda.upcoming(), Agenda::NONE);
    agenda.add(3, Agenda::NONE, next, next.times);
    EXPECT_EQ(agenda.open(0, maximum()), 5);
    EXPECT_EQ(agenda.upcoming(), 3u);
  }
}

TEST(AgendaTest, RandomStepsWithEverythingLeft) {
  runAll(Agenda::Policy::EVERYTHING, maximum());
}

TEST(AgendaTest, RandomStepsByEarliestDeadline) {
  runAll(Agenda::Policy::EARLIEST_DEADLINE, maximum());
}

TEST(AgendaTest, RandomStepsByEarliestDeadlineWithMargin) {
  for (const Number margin : {0, 1, 3, 1000}) runAll(Agenda::Policy::EARLIEST_DEADLINE, margin);
}

// More than there was room for.
TEST(AgendaTest, ASlotMayHaveHundredsOfExecutables) {
  constexpr std::size_t MANY = 300;
  std::vector<std::unique_ptr<Foretold>> all;
  Agenda agenda(Agenda::Policy::EVERYTHING, Times::MAX);
  agenda.reset(2);
  Agenda::Id before = Agenda::NONE;
  for (std::size_t i = 0; i < MANY; ++i) {
    const Times times{0, 100, Times::MAX, false};
    all.push_back(std::make_unique<Foretold>(times));
    before = agenda.add(1, before, *all.back(), times);
  }
  agenda.open(0, Times::MAX);
  agenda.choose();
  EXPECT_EQ(agenda.size(), MANY);
  ASSERT_EQ(agenda.count(), MANY);
  const std::vector<Executable*> left = leftOf(agenda);
  for (std::size_t i = 0; i < MANY; ++i) ASSERT_EQ(left[i], all[i].get());
}
