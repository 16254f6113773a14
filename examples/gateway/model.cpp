// Two networks and a gateway between them. In the west a message takes all hosts together, in the
// east it reaches those that listen. Each network shows the outside one port, exported by a
// connector of its own; the connectors of the gateway use these ports as if they belonged to atoms.
#include <cstdarg>
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

// Does its two steps in turn.
class Alternator : public Atom {
 public:
  Alternator(const std::string& name, const Compound* holder, const char* first, const char* second)
      : Atom(name.c_str(), holder) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port(first, this));
    addPort(new Port(second, this));
  }

  Port* first() { return mPorts[0]; }
  Port* second() { return mPorts[1]; }

  using Atom::initialize;
  void initialize() override { enter(BEFORE_FIRST); }
  void execute(Port* port) override { enter(port == first() ? BEFORE_SECOND : BEFORE_FIRST); }

  Node* getState() override {
    const char text[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    enter(State(static_cast<Leaf*>(state)->getAleaf()->getVal()[0]));
  }

 private:
  enum State : char { BEFORE_FIRST = '1', BEFORE_SECOND = '2' };

  void enter(State state) {
    mState = state;
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    sync({{first(), mState == BEFORE_FIRST}, {second(), mState == BEFORE_SECOND}});
  }

  State mState = BEFORE_FIRST;
};

// A connector that never fires by itself: it exports a port, enabled when its hosts could fire.
class Group : public Connector {
 public:
  Group(const char* name, const Compound* holder) : Connector(name, holder, true) {
    declare(Vesk::Locality::REPEATABLE);
    mxPort = new Port("out", this);
  }
  void attach(Port* port) { append(1, port); }

 private:
  void append(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }
};

// All hosts together.
class All : public Group {
 public:
  using Group::Group;
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

// Those that are ready, at least one.
class Any : public Group {
 public:
  using Group::Group;
  bool complete() override {
    for (int i = 0; i < mPorts.count(); ++i) {
      if (mPorts[i]->complete()) return true;
    }
    return false;
  }
};

// A step that an atom does alone.
class Step : public Connector {
 public:
  Step(const std::string& name, const Compound* holder, Port* port)
      : Connector(name.c_str(), holder, false, {port}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

// A network and the gateway meet.
class Link : public Connector {
 public:
  Link(const char* name, const Compound* holder, Port* one, Port* other)
      : Connector(name, holder, false, {one, other}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

// Every host writes its part alone; then all send together.
class West : public Compound {
 public:
  West(const char* name, const Compound* holder, int hosts)
      : Compound(name, holder), mAll(new All("all", this)) {
    mConnectors.add(mAll);
    for (int i = 0; i < hosts; ++i) {
      const std::string number = std::to_string(i);
      Alternator* host = new Alternator("W" + number, this, "write", "send");
      mComponents.add(host);
      mAll->attach(host->second());
      mConnectors.add(new Step("write" + number, this, host->first()));
    }
  }
  Port* port() { return mAll->xPort(); }

 private:
  Group* mAll;  // owned by the list of connectors
};

// The hosts that listen hear the message together; then every one reads it alone.
class East : public Compound {
 public:
  East(const char* name, const Compound* holder, int hosts)
      : Compound(name, holder), mAny(new Any("any", this)) {
    mConnectors.add(mAny);
    for (int i = 0; i < hosts; ++i) {
      const std::string number = std::to_string(i);
      Alternator* host = new Alternator("E" + number, this, "hear", "read");
      mComponents.add(host);
      mAny->attach(host->first());
      mConnectors.add(new Step("read" + number, this, host->second()));
    }
  }
  Port* port() { return mAny->xPort(); }

 private:
  Group* mAny;  // owned by the list of connectors
};

// The gate stores one message.
class World : public Compound {
 public:
  World(const char* name, int hosts) : Compound(name, nullptr) {
    West* west = new West("west", this, hosts);
    Alternator* gate = new Alternator("gate", this, "take", "give");
    East* east = new East("east", this, hosts);
    mComponents.add(west);
    mComponents.add(gate);
    mComponents.add(east);
    mConnectors.add(new Link("take", this, west->port(), gate->first()));
    mConnectors.add(new Link("give", this, gate->second(), east->port()));
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("gateway", argc, argv);
  const int hosts = operands.number("hosts of each network", 2, 1, Connector::MAX_PORTS);
  operands.finish();
  return new World("world", hosts);
}
