// A producer makes a fixed number of items and puts them into a bounded buffer, from which a
// consumer gets them. Every atom counts its items.
#include "../../support/operands.hpp"
#include "vesk.hpp"

// Makes items until there are enough of them.
class Producer : public Atom {
 public:
  Producer(const char* name, const Compound* holder, int total)
      : Atom(name, holder), mTotal(total) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("put", this));
  }

  Port* put() { return mPorts[0]; }

  using Atom::initialize;
  void initialize() override { setMade(0); }
  void execute(Port*) override { setMade(mMade + 1); }

  Node* getState() override {
    char text[16] = "";
    setVariableState(text, "made", mMade);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;  // behind the separator
    setMade(getIntVariableState(cursor));
  }

 private:
  void setMade(int made) {
    mMade = made;
    put()->setSynced(false);
    sync({{put(), mMade < mTotal}});
  }

  const int mTotal;
  int mMade = 0;
};

// Holds up to a number of items.
class Buffer : public Atom {
 public:
  Buffer(const char* name, const Compound* holder, int capacity)
      : Atom(name, holder), mCapacity(capacity) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("put", this));
    addPort(new Port("get", this));
  }

  Port* put() { return mPorts[0]; }
  Port* get() { return mPorts[1]; }

  using Atom::initialize;
  void initialize() override { setHeld(0); }
  void execute(Port* port) override { setHeld(port == put() ? mHeld + 1 : mHeld - 1); }

  Node* getState() override {
    char text[16] = "";
    setVariableState(text, "held", mHeld);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;  // behind the separator
    setHeld(getIntVariableState(cursor));
  }

 private:
  void setHeld(int held) {
    mHeld = held;
    put()->setSynced(false);
    get()->setSynced(false);
    sync({{put(), mHeld < mCapacity}, {get(), mHeld > 0}});
  }

  const int mCapacity;
  int mHeld = 0;
};

// Always ready for the next item.
class Consumer : public Atom {
 public:
  Consumer(const char* name, const Compound* holder) : Atom(name, holder) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("get", this));
  }

  Port* get() { return mPorts[0]; }

  using Atom::initialize;
  void initialize() override { setUsed(0); }
  void execute(Port*) override { setUsed(mUsed + 1); }

  Node* getState() override {
    char text[16] = "";
    setVariableState(text, "used", mUsed);
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;  // behind the separator
    setUsed(getIntVariableState(cursor));
  }

 private:
  void setUsed(int used) {
    mUsed = used;
    get()->setSynced(false);
    sync({{get(), true}});
  }

  int mUsed = 0;
};

// An item changes hands.
class Transfer : public Connector {
 public:
  Transfer(const char* name, const Compound* holder, Port* source, Port* target)
      : Connector(name, holder, false, {source, target}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Shop : public Compound {
 public:
  Shop(const char* name, int capacity, int total) : Compound(name, nullptr) {
    Producer* producer = new Producer("producer", this, total);
    Buffer* buffer = new Buffer("buffer", this, capacity);
    Consumer* consumer = new Consumer("consumer", this);
    mComponents.add(producer);
    mComponents.add(buffer);
    mComponents.add(consumer);
    mConnectors.add(new Transfer("put", this, producer->put(), buffer->put()));
    mConnectors.add(new Transfer("get", this, buffer->get(), consumer->get()));
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("producer-consumer", argc, argv);
  const int capacity = operands.number("capacity of the buffer", 3, 1, 1000000);
  const int total = operands.number("number of items", 10, 0, 1000000000);
  operands.finish();
  return new Shop("shop", capacity, total);
}
