#include "short-agenda.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "draw.hpp"
#include "foretold.hpp"

using namespace kit;

using Vesk::ShortAgenda;
using Vesk::Times;

namespace {

constexpr unsigned int CLOSED = AskedFilters::CLOSED;
constexpr unsigned int LATER = AskedFilters::LATER;

Times lazy(Number low) {
  return {low, maximum(), INT64_MAX, false};
}
Times due(Number low, Number deadline) {
  return {low, deadline, INT64_MAX, false};
}
Times eager(Number low) {
  return {low, maximum(), INT64_MAX, true};
}

class ShortAgendaTest : public testing::Test {
 protected:
  Foretold& add(const Times& times) {
    mOwned.push_back(std::make_unique<Foretold>(times));
    EXPECT_TRUE(agenda.add(*mOwned.back(), times));
    return *mOwned.back();
  }
  std::vector<Executable*> left() const {
    std::vector<Executable*> found;
    for (std::size_t i = 0; i < agenda.count(); ++i) found.push_back(agenda.at(i));
    return found;
  }

  ShortAgenda agenda;

 private:
  std::vector<std::unique_ptr<Foretold>> mOwned;
};

}  // namespace

TEST_F(ShortAgendaTest, AnEmptyOneLeavesNothingAndKeepsTheLatestTime) {
  EXPECT_EQ(agenda.open(5, 100), 100);
  agenda.choose(maximum());
  agenda.choose(0);
  EXPECT_EQ(agenda.count(), 0u);
  EXPECT_FALSE(agenda.isOver(INT64_MAX));
}

TEST_F(ShortAgendaTest, OneThatIsEnabledIsLeft) {
  Foretold& only = add(lazy(3));
  EXPECT_EQ(agenda.open(3, maximum()), maximum());
  agenda.choose(maximum());
  EXPECT_EQ(left(), std::vector<Executable*>{&only});
  EXPECT_EQ(only.mark(), 0u);
}

TEST_F(ShortAgendaTest, OneThatIsNeverEnabledIsMarkedAlthoughNothingIsUrgent) {
  Foretold& only = add(lazy(maximum()));
  EXPECT_EQ(agenda.open(3, maximum()), maximum());
  EXPECT_EQ(agenda.count(), 0u);
  EXPECT_EQ(only.mark(), CLOSED);
}

TEST_F(ShortAgendaTest, WhatIsEnabledAtTheEarliestDeadlineIsLeftAndLaterIsNot) {
  Foretold& urgent = add(due(0, 10));
  Foretold& justInTime = add(lazy(10));
  Foretold& tooLate = add(lazy(11));
  EXPECT_EQ(agenda.open(0, maximum()), 10);
  EXPECT_EQ(left(), (std::vector<Executable*>{&urgent, &justInTime}));
  EXPECT_EQ(tooLate.mark(), CLOSED);
}

TEST_F(ShortAgendaTest, AnEagerOneIsDueWhenItIsEnabled) {
  add(eager(7));
  EXPECT_EQ(agenda.open(2, maximum()), 7);
  EXPECT_EQ(agenda.open(5, 7), 7);
}

TEST_F(ShortAgendaTest, WhatIsLeftTellsWhenItCanFire) {
  add(lazy(maximum()));
  add(lazy(4));
  add(lazy(9));
  agenda.open(6, 10);
  ASSERT_EQ(agenda.count(), 2u);
  EXPECT_EQ(agenda.nextAt(0), 6);
  EXPECT_EQ(agenda.nextAt(1), 9);
}

TEST_F(ShortAgendaTest, TheLatestTimeThatIsGivenCounts) {
  Foretold& only = add(lazy(8));
  EXPECT_EQ(agenda.open(0, 7), 7);
  EXPECT_EQ(only.mark(), CLOSED);
}

// It was closed at first; the marks of a step stay.
TEST_F(ShortAgendaTest, WhatIsClosedStaysClosedInTheStep) {
  Foretold& later = add(lazy(11));
  agenda.open(0, 10);
  EXPECT_EQ(agenda.open(0, 20), 20);
  EXPECT_EQ(later.mark(), CLOSED);
  EXPECT_EQ(agenda.count(), 0u);
}

TEST_F(ShortAgendaTest, AtCapacityOneMoreIsRefusedAndChangesNothing) {
  for (std::size_t i = 0; i < ShortAgenda::MOST; ++i) add(lazy(0));
  Foretold more(due(0, 1));
  EXPECT_FALSE(agenda.add(more, {0, 1, 2, false}));
  EXPECT_FALSE(agenda.isOver(3)) << "what is refused says nothing about times";
  EXPECT_EQ(agenda.open(0, maximum()), maximum());
  EXPECT_EQ(agenda.count(), ShortAgenda::MOST);
  agenda.clear();
  EXPECT_EQ(agenda.count(), 0u);
  EXPECT_TRUE(agenda.add(more, more.times));
}

TEST_F(ShortAgendaTest, ItIsOverAfterTheFirstTimeUntilWhichSomethingWasSaid) {
  add({0, maximum(), 9, false});
  add({0, maximum(), 7, false});
  EXPECT_FALSE(agenda.isOver(7));
  EXPECT_TRUE(agenda.isOver(8));
  agenda.clear();
  EXPECT_FALSE(agenda.isOver(8));
}

TEST_F(ShortAgendaTest, EqualPairsAreAllLeftInTheOrderOfTheWalk) {
  Foretold& first = add(due(0, 10));
  Foretold& later = add(due(4, 10));
  Foretold& second = add(due(2, 10));
  Foretold& third = add(due(1, 10));
  agenda.open(2, maximum());
  agenda.choose(maximum());
  EXPECT_EQ(left(), (std::vector<Executable*>{&first, &second, &third}));
  EXPECT_EQ(later.mark(), LATER);
}

TEST_F(ShortAgendaTest, AnEagerOneAndOneThatIsDueThenAreEqual) {
  Foretold& first = add(eager(5));
  Foretold& second = add(due(5, 5));
  agenda.open(0, maximum());
  agenda.choose(maximum());
  EXPECT_EQ(left(), (std::vector<Executable*>{&first, &second}));
}

TEST_F(ShortAgendaTest, BeforeTheMarginEndsTheSoonestGoesFirst) {
  Foretold& urgent = add(due(5, 20));
  Foretold& soonest = add(due(4, 30));
  agenda.open(0, maximum());
  agenda.choose(15);
  EXPECT_EQ(left(), std::vector<Executable*>{&soonest});
  EXPECT_EQ(urgent.mark(), LATER);
}

TEST_F(ShortAgendaTest, AtTheEndOfTheMarginTheMostUrgentGoesFirst) {
  Foretold& urgent = add(due(5, 20));
  add(due(4, 30));
  agenda.open(0, maximum());
  agenda.choose(16);
  EXPECT_EQ(left(), std::vector<Executable*>{&urgent});
}

TEST_F(ShortAgendaTest, TimesAtTheEndsOf64BitsAreOrdinary) {
  Foretold& always = add(lazy(INT64_MIN));
  Foretold& never = add(due(INT64_MAX, INT64_MAX));
  Foretold& early = add(due(INT64_MIN, 4));
  EXPECT_EQ(agenda.open(0, maximum()), 4);
  agenda.choose(maximum());
  EXPECT_EQ(left(), std::vector<Executable*>{&early});
  EXPECT_EQ(always.mark(), LATER);
  EXPECT_EQ(never.mark(), CLOSED);
}

// A deadline that has passed.
TEST_F(ShortAgendaTest, TheLatestTimeMayBeBeforeNow) {
  Foretold& late = add(due(INT64_MIN, INT64_MIN));
  EXPECT_EQ(agenda.open(0, maximum()), INT64_MIN);
  EXPECT_EQ(late.mark(), CLOSED);
}

TEST_F(ShortAgendaTest, RandomStepsAreThoseOfTheFilters) {
  Draw draw(1);
  for (int round = 0; round < 20000; ++round) {
    const Number now = draw.below(8) == 0 ? maximum() - 20 : draw.below(30);
    std::vector<std::unique_ptr<Foretold>> owned;
    std::vector<Foretold*> all;
    agenda.clear();
    for (int i = draw.between(0, static_cast<int>(ShortAgenda::MOST)); i > 0; --i) {
      owned.push_back(std::make_unique<Foretold>(someTimes(draw, now)));
      all.push_back(owned.back().get());
      ASSERT_TRUE(agenda.add(*all.back(), all.back()->times));
    }
    AskedFilters filters;
    filters.begin(all);
    Number t = now;
    Number latest = draw.below(5) == 0 ? now + draw.below(4) : maximum();
    for (int i = draw.between(1, 3); i > 0; --i, t += draw.below(4)) {
      const Number expected = filters.open(t, latest);
      latest = agenda.open(t, latest);
      ASSERT_EQ(latest, expected) << round;
      ASSERT_EQ(left(), filters.left()) << round;
    }
    if (draw.coin()) {
      const Number margin = draw.coin() ? maximum() : draw.below(12);
      agenda.choose(margin);
      filters.choose(margin);
    }
    ASSERT_EQ(left(), filters.left()) << round;
    ASSERT_EQ(marksOf(all), filters.marks()) << round;
  }
}
