// A compound that a test puts together from outside, of the atoms, connectors and priorities of the
// kit or of its own.
#ifndef VESK_TESTS_KIT_SYSTEMS_HPP
#define VESK_TESTS_KIT_SYSTEMS_HPP

#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "vesk.hpp"

namespace kit {

class System : public Compound {
 public:
  explicit System(const char* name = "System", const Compound* holder = nullptr);
  explicit System(const std::string& name, const Compound* holder = nullptr);
  ~System() override;

  // Any component, connector or priority.
  template <class Part>
  Part* add(Part* part) {
    addTo(part);
    return part;
  }
  TestAtom* atom(const char* atomName);
  System* compound(const char* compoundName);

  template <class... Ports>
  TestConnector* rendezvous(const char* connectorName, Ports*... connected) {
    return add(new TestConnector(RENDEZVOUS, connectorName, this, false, connected...));
  }
  template <class... Ports>
  TestConnector* broadcast(const char* connectorName, Ports*... connected) {
    return add(new TestConnector(BROADCAST, connectorName, this, false, connected...));
  }
  // A sub-connector with an exported port.
  template <class... Ports>
  TestConnector* exported(Kind kind, const char* connectorName, Ports*... connected) {
    TestConnector* made = add(new TestConnector(kind, connectorName, this, true, connected...));
    made->exportPort();
    return made;
  }
  // A connector over a list of ports, and one that exports a port besides.
  TestConnector* join(const std::string& connectorName, const std::vector<Port*>& ports,
                      Kind kind = RENDEZVOUS);
  TestConnector* group(const std::string& connectorName, const std::vector<Port*>& ports,
                       Kind kind = RENDEZVOUS);

  TestPriority* priority(const char* priorityName, Interaction* low, Interaction* high,
                         Vesk::Time delay = Vesk::Time(0));
  TestPriority* priority(Interaction* low, Interaction* high) { return priority("", low, high); }

  // An atom with one port `go`, enabled for its first firings, alone in a connector.
  TestAtom* counter(const char* atomName, const char* connectorName, int firings);
  // The same, each time in an interval after the firing before.
  TestAtom* timedCounter(const char* atomName, const char* connectorName, int firings,
                         const Interval& when);

  Events* events = nullptr;

 private:
  void addTo(Component* part) { mComponents.add(part); }
  void addTo(Connector* part) { mConnectors.add(part); }
  void addTo(Priority* part) { mPriorities.add(part); }
};

inline Interval within(int low, int high, Urgency urgency) {
  return Interval(Vesk::Time(low), Vesk::Time(high), urgency, false, true);
}

}  // namespace kit

#endif
