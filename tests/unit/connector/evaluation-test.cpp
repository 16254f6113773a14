// Evaluation of connectors, providers of exported ports first, and the list of legal ones.

#include "connector.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "kit/atoms.hpp"
#include "kit/connector-fixture.hpp"
#include "kit/connectors.hpp"
#include "kit/output.hpp"

using namespace kit;

namespace {

class EvaluationTest : public ConnectorTest {};

}  // namespace

TEST_F(EvaluationTest, MarksEvaluatedLegalAndCallsUpOnce) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->events = &events;
  connector->eval(false);
  EXPECT_TRUE(connector->evaluated());
  EXPECT_TRUE(connector->legal());
  EXPECT_EQ(events, (Events{"guard k", "up k"}));
}

TEST_F(EvaluationTest, WithoutAFeasibleInteractionIsNotLegalAndDoesNotCallUp) {
  const Ports ports = synced({nullptr});
  TestConnector* connector = over(RENDEZVOUS, ports);
  connector->eval(false);
  ports[0]->setSynced(false);
  connector->events = &events;
  connector->eval(false);
  EXPECT_TRUE(connector->evaluated());
  EXPECT_FALSE(connector->legal());
  EXPECT_EQ(events, Events{"guard k"});
}

TEST_F(EvaluationTest, IncrementalSkipsAnEvaluatedConnector) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->eval(true);
  connector->eval(true);
  EXPECT_EQ(connector->guards, 1);
  connector->eval(false);
  EXPECT_EQ(connector->guards, 2);
  connector->setEvaluated(false);
  connector->eval(true);
  EXPECT_EQ(connector->guards, 3);
}

TEST_F(EvaluationTest, UpComesAfterTheExportedPortIsComputed) {
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p"));
  bool computed = false;
  connector->onUp = [&] { computed = connector->xPort()->synced(); };
  connector->eval(false);
  EXPECT_TRUE(computed);
}

TEST_F(EvaluationTest, ProvidersOfExportedPortsComeFirstInIndexOrder) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* two = compound.exported(RENDEZVOUS, "two", atom->enabled("q"));
  TestConnector* outer =
      compound.rendezvous("outer", two->xPort(), atom->enabled("r"), one->xPort());
  for (TestConnector* connector : {one, two, outer}) connector->events = &events;
  outer->eval(false);
  EXPECT_EQ(events,
            (Events{"guard two", "up two", "guard one", "up one", "guard outer", "up outer"}));
  EXPECT_EQ(feasible(outer), "{0,1,2}");
}

TEST_F(EvaluationTest, IncrementalSkipsProvidersThatAreStillEvaluated) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* two = compound.exported(RENDEZVOUS, "two", atom->enabled("q"));
  TestConnector* outer = compound.rendezvous("outer", one->xPort(), two->xPort());
  outer->eval(true);
  outer->setEvaluated(false);
  two->setEvaluated(false);
  outer->eval(true);
  EXPECT_EQ(one->guards, 1);
  EXPECT_EQ(two->guards, 2);
  EXPECT_EQ(outer->guards, 2);
  outer->eval(false);
  EXPECT_EQ(one->guards, 2);
  EXPECT_EQ(two->guards, 3);
  EXPECT_EQ(outer->guards, 3);
}

TEST_F(EvaluationTest, AnEvaluatedConnectorDoesNotEvaluateItsProviders) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", one->xPort());
  outer->eval(true);
  one->setEvaluated(false);
  outer->eval(true);
  EXPECT_EQ(one->guards, 1);
}

TEST_F(EvaluationTest, ALegalConnectorGoesInFrontOfTheList) {
  TestConnector* one = over(RENDEZVOUS, synced({nullptr}), "k1");
  TestConnector* two = over(RENDEZVOUS, synced({nullptr}), "k2");
  Connector* list = one->evaluate(nullptr, false, false);
  EXPECT_EQ(list, one);
  EXPECT_EQ(one->next(), nullptr);
  list = two->evaluate(list, false, false);
  EXPECT_EQ(list, two);
  EXPECT_EQ(two->next(), one);
}

TEST_F(EvaluationTest, AnIllegalConnectorLeavesTheListAndLosesItsLink) {
  const Ports ports = synced({nullptr});
  TestConnector* head = over(RENDEZVOUS, synced({nullptr}), "head");
  TestConnector* connector = over(RENDEZVOUS, ports);
  ports[0]->setSynced(false);
  connector->setNext(head);
  EXPECT_EQ(connector->evaluate(head, false, false), head);
  EXPECT_EQ(connector->next(), nullptr);
}

TEST_F(EvaluationTest, ASubconnectorLeavesTheListAndLosesItsLink) {
  TestConnector* head = over(RENDEZVOUS, synced({nullptr}), "head");
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->setNext(head);
  EXPECT_EQ(connector->evaluate(head, true, false), head);
  EXPECT_EQ(connector->next(), nullptr);
  EXPECT_TRUE(connector->legal());
}

TEST_F(EvaluationTest, AnEvaluatedLegalConnectorIsListedWithoutEvaluation) {
  TestConnector* connector = over(RENDEZVOUS, synced({nullptr}));
  connector->eval(false);
  EXPECT_EQ(connector->evaluate(nullptr, false, true), connector);
  EXPECT_EQ(connector->guards, 1);
}

TEST_F(EvaluationTest, DeepNestingOfExportedPortsEvaluates) {
  TestConnector* connector = compound.exported(RENDEZVOUS, "k", atom->enabled("p"));
  for (int level = 0; level < 1000; ++level) {
    connector = compound.exported(RENDEZVOUS, "k", connector->xPort());
  }
  connector->eval(false);
  EXPECT_TRUE(connector->legal());
  int fired = 0;
  atom->onExecute = [&](Port*) { ++fired; };
  connector->execute();
  EXPECT_EQ(fired, 1);
}

TEST_F(EvaluationTest, ARingOfExportedPortsIsReportedAndEnds) {
  TestConnector* one = compound.exported(RENDEZVOUS, "one");
  TestConnector* two = compound.exported(RENDEZVOUS, "two", one->xPort());
  one->addPorts({two->xPort()});
  const std::string errors = errorsOf([&] { one->eval(false); });
  EXPECT_EQ(errors.substr(0, 6), "vesk: ");
  EXPECT_EQ(errors.find('\n'), errors.size() - 1);
  EXPECT_NE(errors.find("one"), std::string::npos);
}

TEST_F(EvaluationTest, AProviderThatThrowsLeavesTheConnectorsReadyForTheNextEvaluation) {
  TestConnector* inner = compound.exported(RENDEZVOUS, "inner", atom->enabled("p"));
  TestConnector* outer = compound.rendezvous("outer", inner->xPort());
  inner->onGuard = []() -> bool { throw std::runtime_error("guard"); };
  EXPECT_THROW(outer->eval(false), std::runtime_error);
  EXPECT_FALSE(outer->evaluated());
  inner->onGuard = nullptr;
  EXPECT_EQ(errorsOf([&] { outer->eval(false); }), "");
  EXPECT_TRUE(outer->legal());
}
