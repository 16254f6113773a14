// A sender on a bus reaches, in one step, exactly those receivers that listen.
#include <cstdarg>
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

// Always ready to send.
class Sender : public Atom {
 public:
  Sender(const char* name, const Compound* holder) : Atom(name, holder) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("send", this));
  }

  Port* send() { return mPorts[0]; }

  using Atom::initialize;
  void initialize() override { announce(); }
  void execute(Port*) override { announce(); }

  Node* getState() override { return new Leaf(new Atomleaf("s,")); }
  void setState(Node*) override { announce(); }

 private:
  void announce() {
    send()->setSynced(false);
    sync({{send(), true}});
  }
};

// Listens until it hears something, then is busy until it is done.
class Receiver : public Atom {
 public:
  Receiver(const std::string& name, const Compound* holder, bool listens)
      : Atom(name.c_str(), holder), mListensFirst(listens) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("hear", this));
    addPort(new Port("done", this));
  }

  Port* hear() { return mPorts[0]; }
  Port* done() { return mPorts[1]; }

  using Atom::initialize;
  void initialize() override { enter(mListensFirst ? LISTENING : BUSY); }
  void execute(Port* port) override { enter(port == hear() ? BUSY : LISTENING); }

  Node* getState() override {
    const char text[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    enter(State(static_cast<Leaf*>(state)->getAleaf()->getVal()[0]));
  }

 private:
  enum State : char { LISTENING = 'l', BUSY = 'b' };

  void enter(State state) {
    mState = state;
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    sync({{hear(), mState == LISTENING}, {done(), mState == BUSY}});
  }

  const bool mListensFirst;
  State mState = LISTENING;
};

// Port 0 is the trigger: with it any set of receivers will do, without it none. The engine takes
// all that listen.
class Bus : public Connector {
 public:
  Bus(const char* name, const Compound* holder, Port* trigger)
      : Connector(name, holder, false, {trigger}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  void attach(Port* receiver) { append(1, receiver); }
  bool complete() override { return mPorts[0]->complete(); }

 private:
  void append(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }
};

// A receiver goes back to listening.
class Done : public Connector {
 public:
  Done(const std::string& name, const Compound* holder, Port* port)
      : Connector(name.c_str(), holder, false, {port}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Network : public Compound {
 public:
  Network(const char* name, int receivers) : Compound(name, nullptr) {
    Sender* sender = new Sender("sender", this);
    Bus* bus = new Bus("send", this, sender->send());
    mComponents.add(sender);
    mConnectors.add(bus);
    for (int i = 0; i < receivers; ++i) {
      const std::string number = std::to_string(i);
      Receiver* receiver = new Receiver("R" + number, this, i % 2 == 0);
      mComponents.add(receiver);
      bus->attach(receiver->hear());
      mConnectors.add(new Done("done" + number, this, receiver->done()));
    }
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("broadcast-bus", argc, argv);
  const int receivers = operands.number("number of receivers", 4, 0, Connector::MAX_PORTS - 1);
  operands.finish();
  return new Network("bus", receivers);
}
