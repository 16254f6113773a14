// The labels of connectors and interactions in traces.

#include "connector.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <string>

#include "kit/atoms.hpp"
#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

class LabelTest : public ConnectorTest {};

}  // namespace

TEST_F(LabelTest, NamesCompoundConnectorAndPorts) {
  TestAtom* other = compound.atom("B");
  TestConnector* connector = over(RENDEZVOUS, {atom->port("p"), other->port("q"), atom->port("r")});
  EXPECT_STREQ(connector->rt_label(setOf({0, 1, 2})), "C1/k/A:p|B:q|A:r");
  EXPECT_STREQ(connector->rt_label(setOf({0, 2})), "C1/k/A:p|A:r");
  EXPECT_STREQ(connector->rt_label(setOf({0})), "C1/k/A:p");
  EXPECT_STREQ(connector->rt_label(BitVector::EMPTY), "C1/k/");
}

// Deliberate: a set without port 0 has the separator right after the second slash.
TEST_F(LabelTest, ASetWithoutPortZeroHasTheSeparatorRightAfterTheSecondSlash) {
  TestConnector* connector = over(RENDEZVOUS, {atom->port("o"), atom->port("p"), atom->port("q")});
  EXPECT_STREQ(connector->rt_label(setOf({1})), "C1/k/|A:p");
  EXPECT_STREQ(connector->rt_label(setOf({1, 2})), "C1/k/|A:p|A:q");
}

TEST_F(LabelTest, AnExportedPortIsNamedByCompoundAndConnector) {
  System* below = compound.compound("D");
  TestConnector* inner = below->exported(RENDEZVOUS, "inner", atom->port("p"));
  TestConnector* outer = over(RENDEZVOUS, {inner->xPort(), atom->port("q")});
  EXPECT_STREQ(outer->rt_label(setOf({0, 1})), "C1/k/D:inner|A:q");
}

TEST_F(LabelTest, OfAConnectorIsThatOfItsFirstFeasibleInteraction) {
  TestConnector* connector = over(BROADCAST, {atom->port("p"), atom->port("q")});
  Interaction *first = Interaction::Create(connector, setOf({1})),
              *second = Interaction::Create(connector, setOf({0, 1}));
  first->setNext(second);
  connector->setFeasibleInter(first);
  EXPECT_STREQ(connector->label(), "C1/k/|A:q");
  EXPECT_STREQ(second->label(), "C1/k/A:p|A:q");
  EXPECT_STREQ(first->label(), "C1/k/|A:q");
}

TEST_F(LabelTest, WithoutFeasibleInteractionIsThatOfTheEmptySet) {
  TestConnector* connector = over(BROADCAST, {atom->port("p")});
  connector->setFeasibleInter(nullptr);
  EXPECT_STREQ(connector->label(), "C1/k/");
}

TEST_F(LabelTest, TheNextLabelOverwritesTheText) {
  TestConnector* one = over(RENDEZVOUS, {atom->port("p")}, "k1");
  TestConnector* two = over(RENDEZVOUS, {atom->port("q")}, "k2");
  char* const first = one->rt_label(setOf({0}));
  char* const second = two->rt_label(setOf({0}));
  EXPECT_EQ(first, Connector::LABEL);
  EXPECT_EQ(second, Connector::LABEL);
  EXPECT_STREQ(first, "C1/k2/A:q");
  EXPECT_EQ(sizeof(Connector::LABEL), 1024u);
}

// The rest of the label, "C1/" and "/", takes four characters.
TEST_F(LabelTest, IsWholeAtEveryLength) {
  for (const std::size_t length :
       std::initializer_list<std::size_t>{1, 5, 1018, 1019, 1020, 1021, 4096, 1000000}) {
    const std::string name(length, 'k');
    TestConnector* connector = over(RENDEZVOUS, {}, name.c_str());
    char* const label = connector->rt_label(BitVector::EMPTY);
    EXPECT_EQ(label, "C1/" + name + "/") << length;
    EXPECT_EQ(label == Connector::LABEL, length + 4 < 1024) << length;
  }
  EXPECT_STREQ(over(RENDEZVOUS, {}, "k")->rt_label(BitVector::EMPTY), "C1/k/");
}

TEST_F(LabelTest, Of128PortsIsWhole) {
  for (const std::size_t length : std::initializer_list<std::size_t>{8, 20, 1000}) {
    const std::string name(length, 'p');
    Ports ports;
    BitVector all;
    std::string expected = "C1/k/";
    for (int i = 0; i < 128; ++i) {
      ports.push_back(atom->port((name + std::to_string(i)).c_str()));
      all.add(i);
      expected += (i == 0 ? "A:" : "|A:") + name + std::to_string(i);
    }
    EXPECT_EQ(over(RENDEZVOUS, ports)->rt_label(all), expected) << length;
  }
}

TEST_F(LabelTest, TwoLongLabelsWithACommonBeginningDiffer) {
  const std::string common(3000, 'p');
  TestConnector* connector =
      over(RENDEZVOUS, {atom->port((common + "1").c_str()), atom->port((common + "2").c_str())});
  const std::string first = connector->rt_label(setOf({0}));
  EXPECT_NE(first, connector->rt_label(setOf({1})));
}

TEST_F(LabelTest, NullNamesAreEmptyTexts) {
  System nameless(nullptr);
  TestAtom* atomWithout = nameless.atom(nullptr);
  TestConnector* connector = nameless.rendezvous(nullptr, atomWithout->port(nullptr));
  EXPECT_STREQ(connector->rt_label(setOf({0})), "//:");
}

TEST_F(LabelTest, AFormatInANameIsPlainText) {
  System strange("%n");
  TestAtom* atomOf = strange.atom("%s%99999d");
  TestConnector* connector = strange.rendezvous("%c", atomOf->port("%p"));
  EXPECT_STREQ(connector->rt_label(setOf({0})), "%n/%c/%s%99999d:%p");
}
