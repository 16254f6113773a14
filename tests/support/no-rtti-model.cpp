#include "no-rtti-model.hpp"

#include <cstdlib>
#include <string>

#ifdef __GXX_RTTI
#error "to be compiled with -fno-rtti"
#endif

namespace {

int faults = 0;

class Text : public Atomleaf {
 public:
  explicit Text(const std::string& text) : Atomleaf(text.c_str()), mMore(text + "!") {}
  bool isWhole() const { return mMore == getVal() + std::string("!"); }

 private:
  std::string mMore;
};

class Place : public Leaf {
 public:
  Place(int number, int secret)
      : Leaf(new Text(std::to_string(number) + ",")), mSecret(secret), mMore(100, 'p') {}
  int secret() const { return mSecret; }
  bool isWhole() const {
    return mMore == std::string(100, 'p') && static_cast<Text*>(getAleaf())->isWhole();
  }

 private:
  int mSecret;
  std::string mMore;
};

// Goes from state 0 to 1 and back; its leaf also has a number that the text does not show.
class Switch : public Atom {
 public:
  Switch(const char* name, const Compound* holder) : Atom(name, holder) {
    addPort(new Port("p", this));
  }
  using Atom::initialize;
  void initialize() override {
    mState = 0;
    mSecret = 7;
    mPorts[0]->setSynced(true);
  }
  void execute(Port*) override {
    mState = 1 - mState;
    mSecret = 7 + mState * 10;
  }
  Node* getState() override { return new Place(mState, mSecret); }
  void setState(Node* state) override {
    auto* place = static_cast<Place*>(state);
    mSecret = place->secret();
    mState = std::atoi(place->getAleaf()->getVal());
    if (!place->isWhole() || mSecret != 7 + mState * 10) ++faults;
    mPorts[0]->setSynced(true);
  }

 private:
  int mState = 0;
  int mSecret = 7;
};

class Step : public Connector {
 public:
  Step(const char* name, const Compound* holder, Port* port)
      : Connector(name, holder, false, 1, port) {}
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Inner : public Nonleaf {
 public:
  Inner(Node* one, Node* two) : Nonleaf(2), mMore("more than its children") {
    setChild(one, 0);
    setChild(two, 1);
  }
  bool isWhole() const { return mMore == "more than its children"; }

 private:
  std::string mMore;
};

class Pair : public Compound {
 public:
  explicit Pair(const char* name) : Compound(name, nullptr) {
    for (const char* atom : {"A", "B"}) {
      auto* part = new Switch(atom, this);
      mComponents.add(part);
      mConnectors.add(new Step(atom, this, part->ports()[0]));
    }
  }
  Node* getState() override {
    return new Inner(mComponents[0]->getState(), mComponents[1]->getState());
  }
  void setState(Node* state) override {
    if (!static_cast<Inner*>(state)->isWhole()) ++faults;
    Compound::setState(state);
  }
};

}  // namespace

std::unique_ptr<Compound> modelWithoutRtti() {
  return std::make_unique<Pair>("s");
}

int faultsWithoutRtti() {
  return faults;
}
