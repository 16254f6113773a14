#include <string>
#include <vector>

#include "kit/connectors.hpp"

#include "kit/lists.hpp"

namespace kit {

// ---- TestConnector ---------------------------------------------------------------------------

TestConnector::~TestConnector() {
  note("~");
}

bool TestConnector::isBroadcast() {
  return mKind == BROADCAST;
}

bool TestConnector::complete() {
  if (onComplete) return onComplete();
  return mPorts.count() > 0 && mPorts[0]->complete();
}

bool TestConnector::guard() {
  ++guards;
  note("guard ");
  if (beforeGuard) beforeGuard();
  if (mKind == RENDEZVOUS && !maximal()) return false;
  return !onGuard || onGuard();
}

void TestConnector::up() {
  note("up ");
  if (onUp) onUp();
}

void TestConnector::dn() {
  note("dn ");
  if (onDn) onDn();
}

void TestConnector::addPorts(const std::vector<Port*>& ports) {
  for (Port* port : ports) addVariadic(1, port);
}

Port* TestConnector::exportPort(const char* portName) {
  mxPort = new Port(portName, this);
  return mxPort;
}

void TestConnector::addVariadic(int n, ...) {
  va_list ports;
  va_start(ports, n);
  setVarPorts(n, ports);
  va_end(ports);
}

void TestConnector::note(const char* what) {
  if (events != nullptr) events->push_back(what + std::string(mName != nullptr ? mName : ""));
}

// ---- TestPriority ----------------------------------------------------------------------------

TestPriority::TestPriority(const char* name, Compound* holder, Interaction* low, Interaction* high,
                           Vesk::Time delay)
    : Priority(holder, low, high, delay), mName(name) {}

TestPriority::~TestPriority() {
  note("~");
}

void TestPriority::setup() {
  note("setup ");
  Priority::setup();
}

void TestPriority::setupPrioLevel() {
  note("level ");
  Priority::setupPrioLevel();
}

bool TestPriority::guard() {
  note("guard ");
  return !onGuard || onGuard();
}

void TestPriority::note(const char* what) {
  if (events != nullptr) events->push_back(what + mName);
}

// ---- ConnectorFields -------------------------------------------------------------------------

std::vector<Priority*> ConnectorFields::dominated(Connector& connector) {
  return elements(connector.*(&ConnectorFields::mDominatedPriorities));
}

std::vector<Priority*> ConnectorFields::dominator(Connector& connector) {
  return elements(connector.*(&ConnectorFields::mDominatorPriorities));
}

}  // namespace kit
