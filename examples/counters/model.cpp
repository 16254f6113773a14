// Decimal counters that count alone: 0, 1, ... 9, 0. N of them have 10^N states, and N transitions
// leave each.
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

class Counter : public Atom {
 public:
  Counter(const std::string& name, const Compound* holder) : Atom(name.c_str(), holder) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("step", this));
  }

  Port* step() { return mPorts[0]; }

  using Atom::initialize;
  void initialize() override {
    mValue = 0;
    announce();
  }
  void execute(Port*) override {
    mValue = (mValue + 1) % 10;
    announce();
  }

  // The digit behind a separator.
  Node* getState() override {
    char text[16] = "";
    setVariableState(text, "value", mValue);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;
    mValue = getIntVariableState(cursor);
    announce();
  }

 private:
  void announce() {
    step()->setSynced(false);
    sync({{step(), true}});
  }

  int mValue = 0;
};

// A counter steps.
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

class Counters : public Compound {
 public:
  Counters(const char* name, int count) : Compound(name, nullptr) {
    for (int i = 0; i < count; ++i) {
      Counter* counter = new Counter("C" + std::to_string(i), this);
      mComponents.add(counter);
      mConnectors.add(new Step("step" + std::to_string(i), this, counter->step()));
    }
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("counters", argc, argv);
  const int count = operands.number("number of counters", 3, 0, 100000);
  operands.finish();
  return new Counters("counters", count);
}
