// The hooks that move data and test it: guard, up and dn, each for one interaction.

#include "connector.hpp"

#include <gtest/gtest.h>

#include <string>

#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"

using namespace kit;

namespace {

class ConnectorGuardTest : public ConnectorTest {};

}  // namespace

TEST_F(ConnectorGuardTest, OfASetAsksTheGuardAboutThatInteraction) {
  TestConnector* connector = over(BROADCAST, synced({nullptr, nullptr}));
  Interaction* head = Interaction::Create(connector, setOf({0}));
  connector->setFeasibleInter(head);
  std::string asked;
  bool answer = true;
  connector->onGuard = [&] {
    asked = sets(connector->feasibleInter());
    EXPECT_EQ(connector->feasibleInter(), Interaction::Create(connector, setOf({1})));
    return answer;
  };
  EXPECT_TRUE(connector->guard(setOf({1})));
  EXPECT_EQ(asked, "{1}");
  EXPECT_EQ(connector->feasibleInter(), head) << "when the guard holds";
  answer = false;
  EXPECT_FALSE(connector->guard(setOf({1})));
  EXPECT_EQ(connector->feasibleInter(), head) << "when it fails";
  EXPECT_EQ(connector->guards, 2);
}

TEST_F(ConnectorGuardTest, OfASetFailsWhenTheGuardChangesTheInteraction) {
  TestConnector* connector = over(BROADCAST, synced({nullptr, nullptr}));
  Interaction* head = connector->feasibleInter();
  connector->onGuard = [&] {
    connector->setFeasibleInter(Interaction::Create(connector, setOf({0})));
    return true;
  };
  EXPECT_FALSE(connector->guard(setOf({1})));
  EXPECT_TRUE(connector->guard(setOf({0})));
  EXPECT_EQ(connector->feasibleInter(), head);
}

TEST_F(ConnectorGuardTest, OfASetWorksWithAnEmptyList) {
  TestConnector* connector = over(BROADCAST, synced({nullptr}));
  connector->setFeasibleInter(nullptr);
  EXPECT_TRUE(connector->guard(setOf({0})));
  EXPECT_EQ(connector->feasibleInter(), nullptr);
}

TEST_F(ConnectorGuardTest, UpAndDnOfASetWorkOnThatInteraction) {
  TestConnector* connector = over(BROADCAST, synced({nullptr, nullptr}));
  Interaction* head = connector->feasibleInter();
  std::string seen;
  connector->onUp = [&] { seen += "up" + sets(connector->feasibleInter()); };
  connector->onDn = [&] { seen += "dn" + sets(connector->feasibleInter()); };
  connector->up(setOf({0}));
  EXPECT_EQ(connector->feasibleInter(), head) << "after up";
  connector->dn(setOf({1}));
  EXPECT_EQ(connector->feasibleInter(), head) << "after dn";
  EXPECT_EQ(seen, "up{0}dn{1}");
}

TEST_F(ConnectorGuardTest, UpAndDnOfASetRestoreWhatTheHookChanged) {
  TestConnector* connector = over(BROADCAST, synced({nullptr, nullptr}));
  Interaction* head = connector->feasibleInter();
  connector->onUp = connector->onDn = [&] { connector->setFeasibleInter(nullptr); };
  connector->up(setOf({0}));
  EXPECT_EQ(connector->feasibleInter(), head) << "after up";
  connector->dn(setOf({0}));
  EXPECT_EQ(connector->feasibleInter(), head) << "after dn";
}
