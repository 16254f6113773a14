// Stations in a ring share a resource. One token goes round; only the station that has it may
// enter.
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

// A station is idle, waiting or critical. It enters when it has the token, and passes it on when it
// is idle.
class Station : public Atom {
 public:
  Station(const std::string& name, const Compound* holder, bool first)
      : Atom(name.c_str(), holder), mFirst(first) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("want", this));
    addPort(new Port("enter", this));
    addPort(new Port("leave", this));
    addPort(new Port("give", this));
    addPort(new Port("get", this));
  }

  Port* want() { return mPorts[0]; }
  Port* enter() { return mPorts[1]; }
  Port* leave() { return mPorts[2]; }
  Port* give() { return mPorts[3]; }
  Port* get() { return mPorts[4]; }

  using Atom::initialize;
  void initialize() override {
    mState = IDLE;
    mToken = mFirst;
    announce();
  }
  void execute(Port* port) override {
    if (port == want()) mState = WAITING;
    if (port == enter()) mState = CRITICAL;
    if (port == leave()) mState = IDLE;
    if (port == give()) mToken = false;
    if (port == get()) mToken = true;
    announce();
  }

  // A letter, "*" with the token, a separator.
  Node* getState() override {
    const char with[] = {mState, '*', ',', '\0'};
    const char without[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(mToken ? with : without));
  }
  void setState(Node* state) override {
    const char* text = static_cast<Leaf*>(state)->getAleaf()->getVal();
    mState = State(text[0]);
    mToken = text[1] == '*';
    announce();
  }

 private:
  enum State : char { IDLE = 'i', WAITING = 'w', CRITICAL = 'c' };

  void announce() {
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    sync({{want(), mState == IDLE},
          {enter(), mState == WAITING && mToken},
          {leave(), mState == CRITICAL},
          {give(), mState == IDLE && mToken},
          {get(), !mToken}});
  }

  const bool mFirst;  // has the token at the start
  State mState = IDLE;
  bool mToken = false;
};

// A step of one station.
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

// The token goes from a station to the next.
class Pass : public Connector {
 public:
  Pass(const std::string& name, const Compound* holder, Port* give, Port* get)
      : Connector(name.c_str(), holder, false, {give, get}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Ring : public Compound {
 public:
  Ring(const char* name, int count) : Compound(name, nullptr) {
    for (int i = 0; i < count; ++i) {
      mComponents.add(new Station("S" + std::to_string(i), this, i == 0));
    }
    for (int i = 0; i < count; ++i) {
      const std::string number = std::to_string(i);
      mConnectors.add(new Step("want" + number, this, station(i)->want()));
      mConnectors.add(new Step("enter" + number, this, station(i)->enter()));
      mConnectors.add(new Step("leave" + number, this, station(i)->leave()));
      mConnectors.add(
          new Pass("pass" + number, this, station(i)->give(), station((i + 1) % count)->get()));
    }
  }

 private:
  Station* station(int i) { return static_cast<Station*>(mComponents[i]); }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("token-ring", argc, argv);
  const int count = operands.number("number of stations", 3, 1, 100000);
  operands.finish();
  return new Ring("ring", count);
}
