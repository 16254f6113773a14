// Connectors and priorities whose hooks a test sets and whose calls it can record.
#ifndef VESK_TESTS_KIT_CONNECTORS_HPP
#define VESK_TESTS_KIT_CONNECTORS_HPP

#include <functional>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "vesk.hpp"

namespace kit {

enum Kind { RENDEZVOUS, BROADCAST };

// A rendezvous that tests its ports, or a broadcast whose first port is the trigger, unless the
// test says otherwise.
class TestConnector : public Connector {
 public:
  template <class... Ports>
  TestConnector(Kind kind, const char* name, const Compound* holder, bool subconn, Ports*... ports)
      : Connector(name, holder, subconn, static_cast<int>(sizeof...(ports)),
                  static_cast<Port*>(ports)...),
        mKind(kind) {}
  ~TestConnector() override;

  using Connector::dn;
  using Connector::guard;
  using Connector::up;
  bool isBroadcast() override;
  bool complete() override;
  bool guard() override;
  void up() override;
  void dn() override;

  // Takes a list of ports that is known at run time only.
  void addPorts(const std::vector<Port*>& ports);
  Port* exportPort(const char* portName = "x");

  Events* events = nullptr;
  std::function<void()> beforeGuard;  // whenever the guard is asked, before the ports are tested
  std::function<bool()> onComplete;
  std::function<bool()> onGuard;  // of a rendezvous only when its ports agree
  std::function<void()> onUp;
  std::function<void()> onDn;
  int guards = 0;  // so often was the guard asked

 private:
  void addVariadic(int n, ...);
  void note(const char* what);

  Kind mKind;
};

class TestPriority : public Priority {
 public:
  TestPriority(const char* name, Compound* holder, Interaction* low, Interaction* high,
               Vesk::Time delay = Vesk::Time(0));
  ~TestPriority() override;

  void setup() override;
  void setupPrioLevel() override;
  bool guard() override;

  Events* events = nullptr;
  std::function<bool()> onGuard;

 private:
  void note(const char* what);

  std::string mName;
};

// Fields of a connector that have no accessor.
class ConnectorFields : public Connector {
 public:
  static std::vector<Priority*> dominated(Connector& connector);
  static std::vector<Priority*> dominator(Connector& connector);
};

}  // namespace kit

#endif
