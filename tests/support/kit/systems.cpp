#include <string>
#include <vector>

#include "kit/systems.hpp"

namespace kit {

System::System(const char* name, const Compound* holder) : Compound(name, holder) {}

System::System(const std::string& name, const Compound* holder) : System(name.c_str(), holder) {}

System::~System() {
  if (events != nullptr) events->push_back(std::string("~") + mName);
}

TestAtom* System::atom(const char* atomName) {
  return add(new TestAtom(atomName, this));
}

System* System::compound(const char* compoundName) {
  return add(new System(compoundName, this));
}

TestConnector* System::join(const std::string& connectorName, const std::vector<Port*>& ports,
                            Kind kind) {
  auto* made = add(new TestConnector(kind, connectorName.c_str(), this, false));
  made->addPorts(ports);
  return made;
}

TestConnector* System::group(const std::string& connectorName, const std::vector<Port*>& ports,
                             Kind kind) {
  auto* made = add(new TestConnector(kind, connectorName.c_str(), this, true));
  made->addPorts(ports);
  made->exportPort("out");
  return made;
}

TestPriority* System::priority(const char* priorityName, Interaction* low, Interaction* high,
                               Vesk::Time delay) {
  return add(new TestPriority(priorityName, this, low, high, delay));
}

TestAtom* System::counter(const char* atomName, const char* connectorName, int firings) {
  TestAtom* made = atom(atomName);
  rendezvous(connectorName, made->rule("go", [made, firings] { return made->fired < firings; }));
  return made;
}

TestAtom* System::timedCounter(const char* atomName, const char* connectorName, int firings,
                               const Interval& when) {
  TestAtom* made = atom(atomName);
  rendezvous(connectorName,
             made->timedRule("go", when, [made, firings] { return made->fired < firings; }));
  return made;
}

}  // namespace kit
