// Philosophers around a table, with one fork between every two of them. Everybody takes the left
// fork, then the right one, eats, and puts both back in one step.
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

// A fork lies on the table or is in somebody's hand.
class Fork : public Atom {
 public:
  Fork(const std::string& name, const Compound* holder) : Atom(name.c_str(), holder) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("take", this));
    addPort(new Port("drop", this));
  }

  Port* take() { return mPorts[0]; }
  Port* drop() { return mPorts[1]; }

  using Atom::initialize;
  void initialize() override { enter(FREE); }
  void execute(Port* port) override { enter(port == take() ? USED : FREE); }

  Node* getState() override {
    const char text[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    enter(State(static_cast<Leaf*>(state)->getAleaf()->getVal()[0]));
  }

 private:
  enum State : char { FREE = 'f', USED = 'u' };

  void enter(State state) {
    mState = state;
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    sync({{take(), mState == FREE}, {drop(), mState == USED}});
  }

  State mState = FREE;
};

// A philosopher thinks, holds the left fork, or eats with both.
class Philosopher : public Atom {
 public:
  Philosopher(const std::string& name, const Compound* holder) : Atom(name.c_str(), holder) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("left", this));
    addPort(new Port("right", this));
    addPort(new Port("release", this));
  }

  Port* left() { return mPorts[0]; }
  Port* right() { return mPorts[1]; }
  Port* release() { return mPorts[2]; }

  using Atom::initialize;
  void initialize() override { enter(THINKING); }
  void execute(Port* port) override {
    enter(port == left() ? LEFT : port == right() ? EATING : THINKING);
  }

  Node* getState() override {
    const char text[] = {mState, ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    enter(State(static_cast<Leaf*>(state)->getAleaf()->getVal()[0]));
  }

 private:
  enum State : char { THINKING = 't', LEFT = 'l', EATING = 'e' };

  void enter(State state) {
    mState = state;
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    sync({{left(), mState == THINKING}, {right(), mState == LEFT}, {release(), mState == EATING}});
  }

  State mState = THINKING;
};

// A hand takes a fork.
class Take : public Connector {
 public:
  Take(const std::string& name, const Compound* holder, Port* hand, Port* fork)
      : Connector(name.c_str(), holder, false, {hand, fork}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

// Both forks go back to the table at once.
class Release : public Connector {
 public:
  Release(const std::string& name, const Compound* holder, Port* hands, Port* left, Port* right)
      : Connector(name.c_str(), holder, false, {hands, left, right}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Table : public Compound {
 public:
  Table(const char* name, int count) : Compound(name, nullptr) {
    for (int i = 0; i < count; ++i) {
      mComponents.add(new Philosopher("P" + std::to_string(i), this));
      mComponents.add(new Fork("F" + std::to_string(i), this));
    }
    for (int i = 0; i < count; ++i) {
      const std::string number = std::to_string(i);
      Philosopher* guest = philosopher(i);
      Fork* left = fork(i);
      Fork* right = fork((i + 1) % count);
      mConnectors.add(new Take("left" + number, this, guest->left(), left->take()));
      mConnectors.add(new Take("right" + number, this, guest->right(), right->take()));
      mConnectors.add(
          new Release("release" + number, this, guest->release(), left->drop(), right->drop()));
    }
  }

 private:
  Philosopher* philosopher(int i) { return static_cast<Philosopher*>(mComponents[2 * i]); }
  Fork* fork(int i) { return static_cast<Fork*>(mComponents[2 * i + 1]); }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("philosophers", argc, argv);
  const int count = operands.number("number of philosophers", 5, 2, 100000);
  operands.finish();
  return new Table("table", count);
}
