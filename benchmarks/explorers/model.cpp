// Four systems whose state spaces are known, for comparisons with other explorers:
//   <program> philosophers|ring|pipe|wide <parts> [options of the engine]
// PROMISE is what the parts declare.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vesk.hpp"

namespace {

// An atom with a few control states, each shown as one letter.
class Machine : public Atom {
 public:
  Machine(const std::string& name, const Compound* holder, const char* letters, int first = 0)
      : Atom(name.c_str(), holder), mLetters(letters), mFirst(first) {
    declare(Vesk::Locality::PROMISE);
  }
  using Atom::initialize;
  void initialize() override { enter(mFirst); }
  Node* getState() override {
    const char text[] = {mLetters[mState], ',', '\0'};
    return new Leaf(new Atomleaf(text));
  }
  void setState(Node* state) override {
    const char letter = static_cast<Leaf*>(state)->getAleaf()->getVal()[0];
    enter(static_cast<int>(std::strchr(mLetters, letter) - mLetters));
  }
  int state() const { return mState; }

 protected:
  Port* makePort(const char* name) {
    Port* port = new Port(name, this);
    addPort(port);
    return port;
  }
  void enter(int state) {
    mState = state;
    for (Port* port : mPorts) port->setSynced(false);
    announce();
  }
  int isIn(int state) const { return mState == state ? 1 : 0; }

 private:
  virtual void announce() = 0;

  const char* mLetters;
  int mFirst;
  int mState = 0;
};

struct Fork : Machine {
  Fork(const std::string& name, const Compound* holder) : Machine(name, holder, "fu") {}
  void execute(Port* port) override { enter(port == take ? 1 : 0); }
  void announce() override { sync(2, take, isIn(0), drop, isIn(1)); }
  Port* take = makePort("take");
  Port* drop = makePort("drop");
};

struct Philosopher : Machine {
  Philosopher(const std::string& name, const Compound* holder) : Machine(name, holder, "tle") {}
  void execute(Port* port) override { enter(port == left ? 1 : port == right ? 2 : 0); }
  void announce() override { sync(3, left, isIn(0), right, isIn(1), release, isIn(2)); }
  Port* left = makePort("left");
  Port* right = makePort("right");
  Port* release = makePort("release");
};

struct User : Machine {
  User(const std::string& name, const Compound* holder) : Machine(name, holder, "iwc") {}
  void execute(Port* port) override { enter(port == want ? 1 : port == in ? 2 : 0); }
  void announce() override { sync(4, want, isIn(0), in, isIn(1), out, isIn(2), idle, isIn(0)); }
  Port* want = makePort("want");
  Port* in = makePort("enter");
  Port* out = makePort("leave");
  Port* idle = makePort("idle");
};

struct Token : Machine {
  Token(const std::string& name, const Compound* holder, bool here)
      : Machine(name, holder, "nt", here ? 1 : 0) {}
  void execute(Port* port) override { enter(port == give ? 0 : port == take ? 1 : state()); }
  void announce() override { sync(3, use, isIn(1), give, isIn(1), take, isIn(0)); }
  Port* use = makePort("use");
  Port* give = makePort("give");
  Port* take = makePort("take");
};

// Takes over the value of the cell before it.
struct Cell : Machine {
  Cell(const std::string& name, const Compound* holder, Cell* before)
      : Machine(name, holder, "e01"), mBefore(before) {}
  void execute(Port* port) override {
    enter(port == put ? mBefore->state() : port == zero ? 1 : port == one ? 2 : 0);
  }
  void announce() override { sync(4, put, isIn(0), get, 1 - isIn(0), zero, isIn(0), one, isIn(0)); }
  Port* put = makePort("put");
  Port* get = makePort("get");
  Port* zero = makePort("zero");
  Port* one = makePort("one");

 private:
  Cell* mBefore;
};

class Rendezvous : public Connector {
 public:
  Rendezvous(const std::string& name, const Compound* holder, const std::vector<Port*>& ports)
      : Connector(name.c_str(), holder, false) {
    for (Port* port : ports) addPorts(1, port);
    declare(Vesk::Locality::PROMISE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }

 private:
  void addPorts(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }
};

std::string numbered(const char* name, int i) {
  return name + std::to_string(i);
}

class System : public Compound {
 public:
  System(const std::string& kind, int n) : Compound("system", nullptr) {
    if (kind == "philosophers") {
      makePhilosophers(n);
    } else if (kind == "ring") {
      makeRing(n);
    } else if (kind == "pipe") {
      makePipe(n);
    } else if (kind == "wide") {
      makeWide(n);
    } else {
      std::fprintf(stderr, "there is no system %s\n", kind.c_str());
      std::exit(2);
    }
  }

 private:
  template <class Part, class... Arguments>
  Part* add(const char* name, int i, Arguments... arguments) {
    Part* part = new Part(numbered(name, i), this, arguments...);
    mComponents.add(part);
    return part;
  }
  void join(const char* name, int i, const std::vector<Port*>& ports) {
    mConnectors.add(new Rendezvous(numbered(name, i), this, ports));
  }

  void makePhilosophers(int n) {
    std::vector<Philosopher*> eaters;
    std::vector<Fork*> forks;
    for (int i = 0; i < n; ++i) eaters.push_back(add<Philosopher>("P", i));
    for (int i = 0; i < n; ++i) forks.push_back(add<Fork>("F", i));
    for (int i = 0; i < n; ++i) {
      const auto at = static_cast<std::size_t>(i);
      Fork* next = forks[(at + 1) % forks.size()];
      join("left", i, {eaters[at]->left, forks[at]->take});
      join("right", i, {eaters[at]->right, next->take});
      join("release", i, {eaters[at]->release, forks[at]->drop, next->drop});
    }
  }

  void makeRing(int n) {
    std::vector<User*> users;
    std::vector<Token*> tokens;
    for (int i = 0; i < n; ++i) users.push_back(add<User>("U", i));
    for (int i = 0; i < n; ++i) tokens.push_back(add<Token>("T", i, i == 0));
    for (int i = 0; i < n; ++i) {
      const auto at = static_cast<std::size_t>(i);
      join("want", i, {users[at]->want});
      join("enter", i, {users[at]->in, tokens[at]->use});
      join("leave", i, {users[at]->out});
      join("pass", i, {users[at]->idle, tokens[at]->give, tokens[(at + 1) % tokens.size()]->take});
    }
  }

  void makePipe(int n) {
    std::vector<Cell*> cells;
    for (int i = 0; i < n; ++i) {
      cells.push_back(add<Cell>("C", i, cells.empty() ? nullptr : cells.back()));
    }
    join("zero", 0, {cells.front()->zero});
    join("one", 0, {cells.front()->one});
    for (std::size_t i = 0; i + 1 < cells.size(); ++i) {
      join("move", static_cast<int>(i), {cells[i + 1]->put, cells[i]->get});
    }
    join("get", n - 1, {cells.back()->get});
  }

  void makeWide(int n) {
    std::vector<Token*> places;
    for (int i = 0; i < n; ++i) places.push_back(add<Token>("T", i, i < 2));
    for (std::size_t i = 0; i < places.size(); ++i) {
      join("move", static_cast<int>(i), {places[i]->give, places[(i + 1) % places.size()]->take});
    }
  }
};

}  // namespace

Compound* Compound::Create(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s philosophers|ring|pipe|wide PARTS [OPTIONS]\n", argv[0]);
    return nullptr;
  }
  return new System(argv[1], std::atoi(argv[2]));
}
