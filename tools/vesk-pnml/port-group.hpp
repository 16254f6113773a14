// Connectors of a net: each needs all of its ports. Ports that are too many for one connector take
// part in groups.
#ifndef VESK_PNML_PORT_GROUP_HPP
#define VESK_PNML_PORT_GROUP_HPP

#include <memory>
#include <string>
#include <vector>

#include "vesk.hpp"

// Fires its ports together.
class Rendezvous : public Connector {
 public:
  // Requires: no more ports than Connector::MAX_PORTS.
  Rendezvous(const std::string& name, const Compound* holder, bool subconn,
             const std::vector<Port*>& ports);

  using Connector::guard;
  bool isBroadcast() override { return false; }
  bool guard() override { return maximal(); }

 private:
  void append(int n, ...);
};

// Several ports that take part in a rendezvous as one: a sub-connector exports a port, which is
// enabled when all of them are.
//
// A label shows an exported port as "compound:connector". The two are named so that this reads like
// the ports of the group would without it: in a group of p:-1, q:-1 and r:+1 the compound is named
// "p" and the connector "-1|q:-1|r:+1".
class PortGroup : public Compound {
 public:
  // Requires: 1 to Connector::MAX_PORTS ports.
  PortGroup(const std::vector<Port*>& ports, const Compound* net);

  Port* port() { return mConnectors[0]->xPort(); }
};

using PortGroups = std::vector<std::unique_ptr<PortGroup>>;

// At most so many ports, which stand for all of the given ones. They are the given ones themselves
// when these are few enough; otherwise the groups that are needed are appended, in the order in
// which they use each other. Requires: 2 <= most <= Connector::MAX_PORTS.
std::vector<Port*> groupedPorts(std::vector<Port*> ports, int most, const Compound* net,
                                PortGroups& groups);

#endif
