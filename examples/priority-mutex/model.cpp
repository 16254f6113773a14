// Tasks that share one lock, each for one turn. Of the tasks that are ready the one with the
// highest number goes first, because a priority stands between the entries of every two neighbours.
#include <cstring>
#include <string>

#include "../../support/operands.hpp"
#include "vesk.hpp"

// Ready, critical, done. The name of the control state is the text of the state.
class Task : public Atom {
 public:
  Task(const std::string& name, const Compound* holder) : Atom(name.c_str(), holder) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("enter", this));
    addPort(new Port("leave", this));
    mCtrlStates.add(new CtrlState("ready,"));
    mCtrlStates.add(new CtrlState("critical,"));
    mCtrlStates.add(new CtrlState("done,"));
  }

  Port* enter() { return mPorts[0]; }
  Port* leave() { return mPorts[1]; }

  using Atom::initialize;
  void initialize() override { goTo(ready()); }
  void execute(Port* port) override { goTo(port == enter() ? critical() : done()); }

  Node* getState() override { return new Leaf(new Atomleaf(VESK_STATE->name())); }
  void setState(Node* state) override {
    const char* text = static_cast<Leaf*>(state)->getAleaf()->getVal();
    for (int i = 0; i < mCtrlStates.count(); ++i) {
      if (std::strcmp(text, mCtrlStates[i]->name()) == 0) goTo(mCtrlStates[i]);
    }
  }

 private:
  CtrlState* ready() { return mCtrlStates[0]; }
  CtrlState* critical() { return mCtrlStates[1]; }
  CtrlState* done() { return mCtrlStates[2]; }

  void goTo(CtrlState* state) {
    VESK_STATE = state;
    enter()->setSynced(false);
    leave()->setSynced(false);
    sync({{enter(), state == ready()}, {leave(), state == critical()}});
  }
};

class Lock : public Atom {
 public:
  Lock(const char* name, const Compound* holder) : Atom(name, holder) {
    declare(Vesk::Locality::REPEATABLE);
    addPort(new Port("acquire", this));
    addPort(new Port("release", this));
    mCtrlStates.add(new CtrlState("open,"));
    mCtrlStates.add(new CtrlState("shut,"));
  }

  Port* acquire() { return mPorts[0]; }
  Port* release() { return mPorts[1]; }

  using Atom::initialize;
  void initialize() override { goTo(open()); }
  void execute(Port* port) override { goTo(port == acquire() ? shut() : open()); }

  Node* getState() override { return new Leaf(new Atomleaf(VESK_STATE->name())); }
  void setState(Node* state) override {
    const char* text = static_cast<Leaf*>(state)->getAleaf()->getVal();
    goTo(std::strcmp(text, open()->name()) == 0 ? open() : shut());
  }

 private:
  CtrlState* open() { return mCtrlStates[0]; }
  CtrlState* shut() { return mCtrlStates[1]; }

  void goTo(CtrlState* state) {
    VESK_STATE = state;
    acquire()->setSynced(false);
    release()->setSynced(false);
    sync({{acquire(), state == open()}, {release(), state == shut()}});
  }
};

// A task and the lock move together.
class Move : public Connector {
 public:
  Move(const std::string& name, const Compound* holder, Port* task, Port* lock)
      : Connector(name.c_str(), holder, false, {task, lock}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

class Mutex : public Compound {
 public:
  Mutex(const char* name, int tasks) : Compound(name, nullptr) {
    Lock* lock = new Lock("lock", this);
    mComponents.add(lock);
    Connector* lower = nullptr;
    for (int i = 0; i < tasks; ++i) {
      const std::string number = std::to_string(i);
      Task* task = new Task("T" + number, this);
      Move* enter = new Move("enter" + number, this, task->enter(), lock->acquire());
      mComponents.add(task);
      mConnectors.add(enter);
      mConnectors.add(new Move("leave" + number, this, task->leave(), lock->release()));
      if (lower != nullptr) mPriorities.add(new Priority(this, both(lower), both(enter), 0));
      lower = enter;
    }
  }

 private:
  // The interaction of both ports.
  static Interaction* both(Connector* move) { return Interaction::Create(move, {0, 1}); }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("priority-mutex", argc, argv);
  const int tasks = operands.number("number of tasks", 3, 1, 10000);
  const bool everywhere = operands.takes("everywhere");
  operands.finish();
  Mutex* mutex = new Mutex("mutex", tasks);
  if (everywhere) mutex->declare(Vesk::Priorities::EVERYWHERE);
  return mutex;
}
