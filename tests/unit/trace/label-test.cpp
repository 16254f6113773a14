// What stands in a line of a trace behind the times.
#include "label.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace Vesk::Traces;

// The label of an executable; "-" when it has no constraint.
std::string labelOf(std::string_view text) {
  return takeConstraint(text) ? std::string(text) : "-";
}

TEST(TraceLabelTest, AConstraintIsTakenOffTheEnd) {
  EXPECT_EQ("a:b", labelOf("a:b lazy"));
  EXPECT_EQ("a:b", labelOf("a:b empty"));
  EXPECT_EQ("a:b", labelOf("a:b lazy (0ms,_)"));
  EXPECT_EQ("a:b", labelOf("a:b delayable (_,-5ms)"));
  EXPECT_EQ("s/c/a:b", labelOf("s/c/a:b eager (0ms,1ms) or lazy (3ms,4ms) or empty"));
}

TEST(TraceLabelTest, ALabelMayLookLikeAConstraint) {
  EXPECT_EQ("s/lazy or/a:lazy", labelOf("s/lazy or/a:lazy lazy"));
  EXPECT_EQ("s/c (1ms,2ms)/a:b", labelOf("s/c (1ms,2ms)/a:b lazy (1ms,2ms)"));
  EXPECT_EQ("this or that:", labelOf("this or that: lazy (1ms,2ms)"));
}

TEST(TraceLabelTest, WhatIsNoConstraintIsNotTaken) {
  for (const char* text :
       {"", "lazy", " lazy", "a:b", "a:b lazy (0ms,1ms", "a:b lazy (0,1ms)", "a:b hasty (0ms,1ms)",
        "a:b (0ms,1ms)", "a:b lazy  (0ms,1ms)", "a:b lazy (0ms,99999999999999999999ms)"}) {
    EXPECT_EQ("-", labelOf(text)) << text;
  }
}

TEST(TraceLabelTest, AConstraintStandsAtTheEndWithAllItsPieces) {
  for (const char* text : {"a:b lazy ", "a:b lazy empty ", "a:b (0ms,x)lazy ",
                           "a:b (0ms,1ms)eager ", "a:b (0ms,x) lazy ", "a:b (0ms,1ms) lazy ",
                           "a:b (_)lazy ", "a:b lazy or ", "a:b x (0ms,1ms) or "}) {
    EXPECT_EQ("-", labelOf(text)) << text;
  }
  EXPECT_EQ("a:b x (0ms,1ms) or", labelOf("a:b x (0ms,1ms) or lazy (0ms,1ms)"));
}

TEST(TraceLabelTest, AnInteractionHasCompoundConnectorAndEnds) {
  const LabelPieces pieces = piecesOf("world/take/west:all|gate:take");
  EXPECT_TRUE(pieces.isInteraction);
  EXPECT_EQ("world", pieces.compound);
  EXPECT_EQ("take", pieces.connector);
  EXPECT_EQ("west:all|gate:take", pieces.ends);
}

TEST(TraceLabelTest, AnInternalPortHasAnAtomAndAPort) {
  Names names;
  const Firing firing = firingOf("right:on", names);
  EXPECT_FALSE(firing.connector);
  ASSERT_EQ(1u, firing.ports.size());
  EXPECT_EQ("right.on", names.portText(firing.ports[0]));
}

TEST(TraceLabelTest, ASetWithoutTheFirstPortHasTheOthers) {
  Names names;
  const Firing firing = firingOf("bus/send/|a:hear|b:hear", names);
  EXPECT_EQ("bus/send", names.connectors()[*firing.connector]);
  ASSERT_EQ(2u, firing.ports.size());
  EXPECT_EQ("a.hear", names.portText(firing.ports[0]));
  EXPECT_EQ("b.hear", names.portText(firing.ports[1]));
}

TEST(TraceLabelTest, TheSameNamesHaveTheSameNumbers) {
  Names names;
  const Firing first = firingOf("s/c/a:p|b:q", names);
  const Firing second = firingOf("s/d/b:q|a:p", names);
  EXPECT_EQ(first.ports[0], second.ports[1]);
  EXPECT_EQ(first.ports[1], second.ports[0]);
  EXPECT_NE(*first.connector, *second.connector);
  EXPECT_EQ(2u, names.parts().size());
}

}  // namespace
