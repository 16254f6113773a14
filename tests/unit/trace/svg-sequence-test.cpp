// Where a drawn sequence has its names, times and arrows: nothing covers anything else.
#include "svg-sequence.hpp"

#include <gtest/gtest.h>

#include <string>

#include "trace-files.hpp"

namespace {

using namespace Vesk::Traces;

class SvgSequenceTest : public testing::Test {
 protected:
  testing::AssertionResult draws(const std::string& run, const std::string& part) {
    const std::string drawing = mFiles.written<SvgSequence>(run, std::uint64_t{9});
    if (drawing.find(part) != std::string::npos) return testing::AssertionSuccess();
    return testing::AssertionFailure() << part << " is not in\n" << drawing;
  }
  // The line under an atom, from its box to the bottom.
  static std::string columnAt(int place) { return "<path d=\"M" + std::to_string(place) + ",36 V"; }

  TraceFiles mFiles;
};

}  // namespace

// A letter is 8 wide. Around a name 12 are free at each side, and the margin of 20 before it.
TEST_F(SvgSequenceTest, TheFirstColumnHasRoomForHalfItsName) {
  EXPECT_TRUE(draws("scheduler : s/k/a:p\n", columnAt(20 + 4 + 12)));
  EXPECT_TRUE(draws("scheduler : s/k/atom:p\n", columnAt(20 + 16 + 12)));
}

TEST_F(SvgSequenceTest, TimesStandBeforeTheFirstColumn) {
  EXPECT_TRUE(draws("scheduler [5ms] s/k/a:p lazy\n", columnAt(20 + 4 * 8 + 4 + 12)));
}

TEST_F(SvgSequenceTest, ColumnsAreAsFarApartAsTheirNamesNeed) {
  const int first = 20 + 10 * 4 + 12;
  EXPECT_TRUE(draws("scheduler : s/k/tenletters:p|b:q\n", columnAt(first)));
  EXPECT_TRUE(
      draws("scheduler : s/k/tenletters:p|tenletterz:q\n", columnAt(first + 2 * (10 * 4 + 12))));
}

// "a long name: p, q" is 17 letters long, with a margin at each side of it.
TEST_F(SvgSequenceTest, ColumnsAreAsFarApartAsTheTextBetweenThemNeeds) {
  const int first = 20 + 4 + 12;
  const int second = first + 17 * 8 + 2 * 20;
  EXPECT_TRUE(draws("scheduler : s/a long name/a:p|b:q\n", columnAt(second)));
  EXPECT_TRUE(
      draws("scheduler : s/k/a:p|b:q\nscheduler : s/a long name/b:p|a:q\n", columnAt(second)));
}

// "a long name: p" is 14 letters long; the arrow that comes back is 24 wide.
TEST_F(SvgSequenceTest, TheTextOfAnArrowThatComesBackEndsBeforeTheNextColumn) {
  const int first = 20 + 4 + 12;
  EXPECT_TRUE(draws("scheduler : s/k/a:p|b:q\nscheduler : s/a long name/a:p\n",
                    columnAt(first + 24 + 14 * 8 + 20)));
}

// The upper edge is in the middle of the margin, 10 from the top, and the name 18 below it.
TEST_F(SvgSequenceTest, ANameStandsInTheMiddleOfItsBox) {
  const int place = 20 + 16 + 12;
  const int half = 16 + 6;
  const std::string run = "scheduler : s/k/atom:p\n";
  EXPECT_TRUE(draws(run, "<rect x=\"" + std::to_string(place - half) + "\" y=\"10\" width=\"" +
                             std::to_string(2 * half) + "\" height=\"26\""));
  EXPECT_TRUE(draws(run, "<text x=\"" + std::to_string(place) +
                             "\" y=\"28\" text-anchor=\"middle\" fill=\"black\" "
                             "stroke=\"none\">atom</text>"));
}

// The first row is 26 below the names and the margin, which end at 54.
TEST_F(SvgSequenceTest, ATimeStandsOnItsLine) {
  const std::string run = "scheduler [5ms] s/k/a:p lazy\n";
  EXPECT_TRUE(draws(run, "<path d=\"M20,80 H"));
  EXPECT_TRUE(draws(run,
                    "<text x=\"20\" y=\"76\" text-anchor=\"start\" fill=\"#aa5500\" "
                    "stroke=\"none\">5 ms</text>"));
}

// "k: p, q" is 7 letters long, so the columns are at 36 and 132.
TEST_F(SvgSequenceTest, TheTextOfAnArrowStandsInItsMiddle) {
  const std::string text = "<text x=\"84\" y=\"76\" text-anchor=\"middle\"";
  EXPECT_TRUE(draws("scheduler : s/k/a:p|b:q\n", "<path d=\"M36,80 H132 "));
  EXPECT_TRUE(draws("scheduler : s/k/a:p|b:q\n", text));
  const std::string back = "scheduler : s/k/a:p|b:q\nscheduler : s/k/b:p|a:q\n";
  EXPECT_TRUE(draws(back, "<path d=\"M132,106 H36 "));
  EXPECT_TRUE(draws(back, "<text x=\"84\" y=\"102\" text-anchor=\"middle\""));
}
