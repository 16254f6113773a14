// A ring of places that pass a token on: for each place an atom with two ports, and a connector.
//   <program> <places> [options of the engine]
#include <cstdlib>
#include <string>

#include "vesk.hpp"

namespace {

class Place : public Atom {
 public:
  Place(const std::string& name, const Compound* holder, bool first)
      : Atom(name.c_str(), holder),
        give(new Port("give", this)),
        take(new Port("take", this)),
        mFirst(first) {
    addPort(give);
    addPort(take);
  }
  using Atom::initialize;
  void initialize() override { hold(mFirst); }
  void execute(Port* port) override { hold(port == take); }
  Node* getState() override { return new Leaf(new Atomleaf(mHere ? "t," : "n,")); }
  void setState(Node* state) override {
    hold(static_cast<Leaf*>(state)->getAleaf()->getVal()[0] == 't');
  }

  Port* const give;
  Port* const take;

 private:
  void hold(bool here) {
    mHere = here;
    give->setSynced(here);
    take->setSynced(!here);
  }

  const bool mFirst;
  bool mHere = false;
};

class Pass : public Connector {
 public:
  using Connector::Connector;
  using Connector::guard;
  bool isBroadcast() override { return false; }
  bool guard() override { return maximal(); }
};

class Ring : public Compound {
 public:
  explicit Ring(int places) : Compound("Ring", nullptr) {
    for (int i = 0; i < places; ++i) {
      mComponents.add(new Place("P" + std::to_string(i), this, i == 0));
    }
    for (int i = 0; i < places; ++i) {
      const std::string name = "p" + std::to_string(i);
      mConnectors.add(
          new Pass(name.c_str(), this, false, {place(i).give, place((i + 1) % places).take}));
    }
  }

 private:
  Place& place(int i) { return static_cast<Place&>(*mComponents[i]); }
};

}  // namespace

Compound* Compound::Create(int argc, char** argv) {
  const int places = argc > 1 ? std::atoi(argv[1]) : 0;
  return places > 1 ? new Ring(places) : nullptr;
}
