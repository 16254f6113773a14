// A model with globals that use the engine before main begins and after it has ended.

#include <cstdio>

#include "vesk.hpp"

namespace {

class Counter : public Atom {
 public:
  explicit Counter(const Compound* holder) : Atom("A", holder), mLeft(1) {
    addPort(new Port("p", this));
  }
  using Atom::initialize;
  void initialize() override { announce(); }
  void execute(Port*) override {
    --mLeft;
    announce();
  }
  Node* getState() override { return new Leaf(new Atomleaf(mLeft > 0 ? "1;" : "0;")); }
  void setState(Node*) override {}

 private:
  void announce() {
    mPorts[0]->setSynced(false);
    sync(1, mPorts[0], mLeft);
  }

  int mLeft;
};

class Alone : public Connector {
 public:
  Alone(const Compound* holder, Port* port) : Connector("k", holder, false, 1, port) {}
  using Connector::guard;
  bool isBroadcast() override { return false; }
  bool guard() override { return maximal(); }
};

class System : public Compound {
 public:
  explicit System(const char* name) : Compound(name, nullptr) {
    Counter* counter = new Counter(this);
    mComponents.add(counter);
    mConnectors.add(new Alone(this, counter->ports()[0]));
  }
};

// Of the model that runs there is one interaction for the empty set and one for its port; of the
// one below, too.
class Globals {
 public:
  Globals()
      : mNever(Vesk::Time::MAX),
        mAlways(Vesk::Time::MIN),
        mNone(BitVector::EMPTY),
        mFirst(BitVector::SINGLE),
        mSystem("before main"),
        mInteraction(Interaction::Create(mSystem.connectors()[0], 1, 0)) {
    show("before main");
  }
  ~Globals() {
    if (Interaction::Create(mSystem.connectors()[0], 1, 0) != mInteraction) std::puts("lost");
    show("after main");
  }

 private:
  void show(const char* when) const {
    std::printf("%s: %lld %lld %d %d %d %s\n", when, mNever.microseconds(), mAlways.microseconds(),
                mNone.in(0), mFirst.in(0), Interaction::TABLE.count(), mInteraction->label());
  }

  Vesk::Time mNever;
  Vesk::Time mAlways;
  BitVector mNone;
  BitVector mFirst;
  System mSystem;
  Interaction* mInteraction;
};

Globals globals;

}  // namespace

Compound* Compound::Create(int, char**) {
  return new System("System");
}
