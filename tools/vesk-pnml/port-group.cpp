#include "port-group.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstddef>

namespace {

// What a label shows of all ports, but for the holder of the first one and the ":" behind it.
std::string labelTail(const std::vector<Port*>& ports) {
  std::string text = ports.front()->labelName();
  for (std::size_t i = 1; i < ports.size(); ++i) {
    text.append("|").append(ports[i]->labelHolder()).append(":").append(ports[i]->labelName());
  }
  return text;
}

// Exports a port for the ports of a group.
class GroupConnector : public Rendezvous {
 public:
  GroupConnector(const std::vector<Port*>& ports, const Compound* group)
      : Rendezvous(labelTail(ports), group, true, ports) {
    mxPort = new Port("group", this);
    // The heap of an untimed run would let it fire by itself; for a connector that is queued
    // already nothing is put there.
    setQueued(true);
  }
};

}  // namespace

Rendezvous::Rendezvous(const std::string& name, const Compound* holder, bool subconn,
                       const std::vector<Port*>& ports)
    : Connector(name.c_str(), holder, subconn) {
  declare(Vesk::Locality::REPEATABLE);
  for (Port* port : ports) append(1, port);
}

void Rendezvous::append(int n, ...) {
  va_list ports;
  va_start(ports, n);
  setVarPorts(n, ports);
  va_end(ports);
}

PortGroup::PortGroup(const std::vector<Port*>& ports, const Compound* net)
    : Compound(ports.front()->labelHolder(), net) {
  mConnectors.add(new GroupConnector(ports, this));
}

std::vector<Port*> groupedPorts(std::vector<Port*> ports, int most, const Compound* net,
                                PortGroups& groups) {
  while (ports.end() - ports.begin() > most) {
    std::vector<Port*> exported;
    for (auto first = ports.begin(); first != ports.end();) {
      const auto last = first + std::min<std::ptrdiff_t>(most, ports.end() - first);
      groups.push_back(std::make_unique<PortGroup>(std::vector<Port*>(first, last), net));
      exported.push_back(groups.back()->port());
      first = last;
    }
    ports.swap(exported);
  }
  return ports;
}
