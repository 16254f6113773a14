// A walker in a small tree of places whose state text can hold the words by which a model talks to
// exploration: PRUNE, do not go on from here, and ERROR, stop the search.
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

// Stands at a place from 1 to 7. Left of place p lies 2p, right of it 2p + 1; places 4 to 7 are the
// ends.
class Walker : public Atom {
 public:
  Walker(const char* name, const Compound* holder, int prune, int error)
      : Atom(name, holder), mPrune(prune), mError(error) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("left", this));
    addPort(new Port("right", this));
  }

  Port* left() { return mPorts[0]; }
  Port* right() { return mPorts[1]; }

  using Atom::initialize;
  void initialize() override {
    mPlace = 1;
    announce();
  }
  void execute(Port* port) override {
    mPlace = 2 * mPlace + (port == right() ? 1 : 0);
    announce();
  }

  // The place, the word that stands there, if any, and a separator.
  Node* getState() override {
    std::string text = std::to_string(mPlace);
    if (mPlace == mPrune) text += " PRUNE";
    if (mPlace == mError) text += " ERROR";
    return new Leaf(new Atomleaf((text + ",").c_str()));
  }
  void setState(Node* state) override {
    mPlace = static_cast<Leaf*>(state)->getAleaf()->getVal()[0] - '0';
    announce();
  }

 private:
  static constexpr int FIRST_END = 4;

  void announce() {
    left()->setSynced(false);
    right()->setSynced(false);
    const bool inside = mPlace < FIRST_END;
    sync({{left(), inside}, {right(), inside}});
  }

  const int mPrune;  // the place where the word stands; 0: nowhere
  const int mError;
  int mPlace = 1;
};

// The walker takes a step.
class Step : public Connector {
 public:
  Step(const char* name, const Compound* holder, Port* port)
      : Connector(name, holder, false, {port}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Tree : public Compound {
 public:
  Tree(const char* name, int prune, int error) : Compound(name, nullptr) {
    Walker* walker = new Walker("W", this, prune, error);
    mComponents.add(walker);
    mConnectors.add(new Step("left", this, walker->left()));
    mConnectors.add(new Step("right", this, walker->right()));
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("markers", argc, argv);
  const int prune = operands.number("place of PRUNE", 0, 0, 7);
  const int error = operands.number("place of ERROR", 0, 0, 7);
  operands.finish();
  return new Tree("tree", prune, error);
}
