#include "exploration/labels.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::Label;
using Vesk::Labels;

namespace {

class LabelsTest : public testing::Test {
 protected:
  LabelsTest()
      : atom(system.atom("A")),
        connector(system.broadcast("k", atom->enabled("p"), atom->enabled("q"))) {}

  System system{"s"};
  TestAtom* atom;
  TestConnector* connector;
  Labels labels;
};

}  // namespace

TEST_F(LabelsTest, AreThoseOfTheConnector) {
  const Label both = labels.of(*connector, setOf({0, 1}));
  EXPECT_STREQ("s/k/A:p|A:q", both.text);
  EXPECT_EQ(std::strlen(both.text), both.length);
  EXPECT_STREQ("s/k/|A:q", labels.of(*connector, setOf({1})).text);
  EXPECT_STREQ("s/k/", labels.of(*connector, BitVector::EMPTY).text);
}

TEST_F(LabelsTest, StandInTheBufferOfAllConnectorsEachTime) {
  labels.of(*connector, setOf({0}));
  Connector::LABEL[0] = '\0';
  labels.of(*connector, setOf({0}));
  EXPECT_STREQ("s/k/A:p", Connector::LABEL);
}

TEST_F(LabelsTest, NothingOfALongerOneIsLeftInTheBuffer) {
  labels.of(*connector, setOf({0}));
  labels.of(*connector, setOf({0, 1}));
  labels.of(*connector, setOf({0}));
  EXPECT_STREQ("s/k/A:p", Connector::LABEL);
}

TEST_F(LabelsTest, AreMadeOnce) {
  const char* first = labels.of(*connector, setOf({0})).text;
  labels.of(*connector, setOf({1}));
  EXPECT_EQ(first, labels.of(*connector, setOf({0})).text);
  EXPECT_LT(0U, labels.bytes());
}

TEST_F(LabelsTest, ALongOneIsWholeAndNotInTheBuffer) {
  const std::string name(2000, 'n');
  TestConnector* other = system.join(name, {});
  std::strcpy(Connector::LABEL, "before");
  EXPECT_EQ("s/" + name + "/", labels.of(*other, BitVector::EMPTY).text);
  EXPECT_STREQ("before", Connector::LABEL);
}

TEST_F(LabelsTest, TheOneOfAConnectorIsThatOfItsFirstInteraction) {
  connector->setFeasibleInter(Interaction::Create(connector, setOf({1})));
  EXPECT_STREQ("s/k/|A:q", labels.of(*connector).text);
  connector->setFeasibleInter(nullptr);
  EXPECT_STREQ("s/k/", labels.of(*connector).text);
}

TEST_F(LabelsTest, AreForgottenWhenThereAreTooMany) {
  Labels few(2);
  few.of(*connector, setOf({0}));
  few.of(*connector, setOf({1}));
  const std::size_t before = few.bytes();
  EXPECT_STREQ("s/k/A:p|A:q", few.of(*connector, setOf({0, 1})).text);
  EXPECT_GT(before, few.bytes());
}
