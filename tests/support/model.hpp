// Building blocks for tests of the component model: atoms, connectors, priorities and compounds
// whose hooks a test sets and whose calls it can record, and readers that turn the model's lists
// into values that compare and print well.
#ifndef VESK_TESTS_MODEL_HPP
#define VESK_TESTS_MODEL_HPP

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <string>
#include <vector>

#include "vesk.hpp"

namespace model {

// What happened, in order. Objects without one record nothing.
using Events = std::vector<std::string>;

// A clock that shows what the test says.
class HandClock : public GenericClock {
 public:
  HandClock(Vesk::Time start) : GenericClock("hand"), now(start) {}
  Vesk::Time time() const override { return now; }
  Vesk::Time now;
};

class TestAtom : public Atom {
 public:
  TestAtom(const char* name, const Compound* holder) : Atom(name, holder) {}
  ~TestAtom() override { note("~"); }

  using Atom::initialize;
  void initialize() override {
    note("initialize ");
    if (onInitialize) onInitialize();
  }
  void execute(Port* port) override {
    note(std::string("execute ") + (port->name() != nullptr ? port->name() : "") + " of ");
    if (onExecute) onExecute(port);
  }
  Node* getState() override {
    note("getState ");
    return new Leaf(new Atomleaf(state.c_str()));
  }
  void setState(Node* node) override {
    note("setState ");
    state = static_cast<Leaf*>(node)->getAleaf()->getVal();
    if (onSetState) onSetState();
  }

  Port* port(const char* portName) {
    Port* made = new Port(portName, this);
    addPort(made);
    return made;
  }
  // A port that is synced from the start, under a constraint that stays the caller's.
  Port* enabled(const char* portName, Constraint* constraint = nullptr) {
    Port* made = port(portName);
    made->setSynced(true);
    made->setConstraint(constraint);
    return made;
  }
  Port* internal(const char* portName) {
    Port* made = port(portName);
    made->setInternal();
    return made;
  }
  // A constraint that belongs to this atom, over its clock.
  Constraint* within(Vesk::Time low, Vesk::Time high, Urgency urgency = LAZY) {
    Constraint* made = new Constraint(mClock, low, high, urgency);
    mConstraints.add(made);
    return made;
  }

  Events* events = nullptr;
  std::function<void()> onInitialize;
  std::function<void(Port*)> onExecute;
  std::function<void()> onSetState;
  std::string state;

 private:
  void note(const std::string& what) {
    if (events != nullptr) events->push_back(what + (mName != nullptr ? mName : ""));
  }
};

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
  ~TestConnector() override { note("~"); }

  using Connector::dn;
  using Connector::guard;
  using Connector::up;
  bool isBroadcast() override { return mKind == BROADCAST; }
  bool complete() override {
    if (onComplete) return onComplete();
    return mPorts.count() > 0 && mPorts[0]->complete();
  }
  bool guard() override {
    ++guards;
    note("guard ");
    if (mKind == RENDEZVOUS && !maximal()) return false;
    return !onGuard || onGuard();
  }
  void up() override {
    note("up ");
    if (onUp) onUp();
  }
  void dn() override {
    note("dn ");
    if (onDn) onDn();
  }

  // Takes a list of ports that is known at run time only.
  void addPorts(const std::vector<Port*>& ports) {
    for (Port* port : ports) addVariadic(1, port);
  }
  Port* exportPort(const char* portName = "x") {
    mxPort = new Port(portName, this);
    return mxPort;
  }

  Events* events = nullptr;
  std::function<bool()> onComplete;
  std::function<bool()> onGuard;
  std::function<void()> onUp;
  std::function<void()> onDn;
  int guards = 0;

 private:
  void addVariadic(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }
  void note(const std::string& what) {
    if (events != nullptr) events->push_back(what + (mName != nullptr ? mName : ""));
  }

  Kind mKind;
};

class TestPriority : public Priority {
 public:
  TestPriority(const char* name, Compound* holder, Interaction* low, Interaction* high,
               Vesk::Time delay = Vesk::Time(0))
      : Priority(holder, low, high, delay), mName(name) {}
  ~TestPriority() override { note("~"); }

  void setup() override {
    note("setup ");
    Priority::setup();
  }
  void setupPrioLevel() override {
    note("level ");
    Priority::setupPrioLevel();
  }
  bool guard() override {
    note("guard ");
    return !onGuard || onGuard();
  }

  Events* events = nullptr;
  std::function<bool()> onGuard;

 private:
  void note(const std::string& what) {
    if (events != nullptr) events->push_back(what + mName);
  }

  std::string mName;
};

class TestCompound : public Compound {
 public:
  TestCompound(const char* name, const Compound* holder = nullptr) : Compound(name, holder) {}
  ~TestCompound() override {
    if (events != nullptr) events->push_back(std::string("~") + mName);
  }

  TestAtom* atom(const char* atomName) { return add(new TestAtom(atomName, this)); }
  TestCompound* compound(const char* compoundName) {
    return add(new TestCompound(compoundName, this));
  }
  template <class Part>
  Part* add(Part* part) {
    addTo(part);
    return part;
  }
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
  TestPriority* priority(const char* priorityName, Interaction* low, Interaction* high,
                         Vesk::Time delay = Vesk::Time(0)) {
    return add(new TestPriority(priorityName, this, low, high, delay));
  }

  Events* events = nullptr;

 private:
  void addTo(Component* part) { mComponents.add(part); }
  void addTo(Connector* part) { mConnectors.add(part); }
  void addTo(Priority* part) { mPriorities.add(part); }
};

// The elements of a list linked through next(), from its head.
template <class T>
std::vector<T*> listOf(T* head) {
  std::vector<T*> list;
  for (T* element = head; element != nullptr; element = element->next()) list.push_back(element);
  return list;
}

template <class T, bool Owning>
std::vector<T*> elements(const Array<T, Owning>& array) {
  std::vector<T*> list;
  for (int i = 0; i < array.count(); ++i) list.push_back(array[i]);
  return list;
}

inline BitVector setOf(std::initializer_list<int> indices) {
  BitVector set;
  for (int index : indices) set.add(index);
  return set;
}

// "{0,2}".
inline std::string text(const BitVector& set) {
  std::string list;
  for (int i = 0; i < BitVector::CAPACITY; ++i) {
    if (set.in(i) == 0) continue;
    list += (list.empty() ? "" : ",") + std::to_string(i);
  }
  return "{" + list + "}";
}

// The sets of a list of interactions, "{0,1} {0}", or "none".
inline std::string sets(Interaction* head) {
  std::string list;
  for (Interaction* interaction : listOf(head)) {
    list += (list.empty() ? "" : " ") + text(interaction->synced());
  }
  return list.empty() ? "none" : list;
}

// The names of a list of connectors, "k2 k1", or "none".
inline std::string names(Connector* head) {
  std::string list;
  for (Connector* connector : listOf(head)) {
    list += (list.empty() ? "" : " ") + std::string(connector->name());
  }
  return list.empty() ? "none" : list;
}

inline std::string text(const Vesk::Time& t) {
  if (t == Vesk::Time::MIN) return "MIN";
  if (t == Vesk::Time::MAX) return "MAX";
  return std::to_string(t.microseconds());
}

// Bounds in microseconds and what departs from lazy, observable and not dominated:
// "[0,10] [20,MAX] eager dominated hidden"; "none" without intervals, "null" without constraint.
inline std::string spans(const Constraint* constraint) {
  if (constraint == nullptr) return "null";
  std::string list;
  for (unsigned int i = 0; i < constraint->size(); ++i) {
    const Interval interval = (*constraint)[i];
    list += (list.empty() ? "[" : " [") + text(interval.low()) + "," + text(interval.high()) + "]";
    if (interval.urgency() == DELAYABLE) list += " delayable";
    if (interval.urgency() == EAGER) list += " eager";
    if (interval.dominated()) list += " dominated";
    if (!interval.observable()) list += " hidden";
  }
  return list.empty() ? "none" : list;
}

// What an action writes to standard error, and to standard output.
template <class Action>
std::string errorsOf(Action action) {
  testing::internal::CaptureStderr();
  action();
  std::cerr.flush();
  std::fflush(stderr);
  return testing::internal::GetCapturedStderr();
}
template <class Action>
std::string outputOf(Action action) {
  testing::internal::CaptureStdout();
  action();
  std::cout.flush();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

// Fields of a connector that have no accessor.
class ConnectorFields : public Connector {
 public:
  static std::vector<Priority*> dominated(Connector& connector) {
    return elements(connector.*(&ConnectorFields::mDominatedPriorities));
  }
  static std::vector<Priority*> dominator(Connector& connector) {
    return elements(connector.*(&ConnectorFields::mDominatorPriorities));
  }
};

}  // namespace model

#endif
