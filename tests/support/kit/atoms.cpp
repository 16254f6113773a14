#include "kit/atoms.hpp"

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kit {

// ---- TestAtom --------------------------------------------------------------------------------

TestAtom::TestAtom(const char* name, const Compound* holder) : Atom(name, holder) {}

TestAtom::~TestAtom() {
  note("~");
}

void TestAtom::initialize() {
  note("initialize ");
  fired = 0;
  if (onInitialize) onInitialize();
  announce();
}

void TestAtom::initialize(LogicalClock* logical) {
  if (logical != nullptr && !mRules.empty()) makeClock(*logical);
  initialize();
}

void TestAtom::makeClock(LogicalClock& logical) {
  ownClock = new Clock("c", &logical);
  mClocks.add(ownClock);
  for (Rule& rule : mRules) {
    if (rule.when == nullptr) continue;
    rule.constraint = new Constraint(ownClock, *rule.when);
    mConstraints.add(rule.constraint);
  }
}

void TestAtom::execute(Port* port) {
  note("execute ", port->name() != nullptr ? port->name() : "");
  ++fired;
  if (onExecute) onExecute(port);
  for (Rule& rule : mRules) {
    if (rule.port == port && rule.effect) rule.effect();
  }
  if (ownClock != nullptr) ownClock->reset();
  announce();
}

Node* TestAtom::getState() {
  note("getState ");
  if (mRules.empty()) return new Leaf(new Atomleaf(state.c_str()));
  return new Leaf(new Atomleaf((std::to_string(fired) + ";").c_str()));
}

void TestAtom::setState(Node* node) {
  note("setState ");
  const char* text = static_cast<Leaf*>(node)->getAleaf()->getVal();
  if (mRules.empty()) {
    state = text;
  } else {
    fired = std::atoi(text);
  }
  if (onSetState) onSetState();
  announce();
}

Port* TestAtom::port(const char* portName) {
  Port* made = new Port(portName, this);
  addPort(made);
  return made;
}

Port* TestAtom::enabled(const char* portName, Constraint* constraint) {
  Port* made = port(portName);
  made->setSynced(true);
  made->setConstraint(constraint);
  return made;
}

Port* TestAtom::internal(const char* portName) {
  Port* made = port(portName);
  made->setInternal();
  return made;
}

Constraint* TestAtom::within(Vesk::Time low, Vesk::Time high, Urgency urgency) {
  Constraint* made = new Constraint(mClock, low, high, urgency);
  mConstraints.add(made);
  return made;
}

Port* TestAtom::rule(const char* portName, std::function<bool()> guard,
                     std::function<void()> effect) {
  Port* made = port(portName);
  mRules.push_back({made, std::move(guard), std::move(effect), nullptr, nullptr});
  return made;
}

Port* TestAtom::timedRule(const char* portName, const Interval& when, std::function<bool()> guard,
                          std::function<void()> effect) {
  Port* made = rule(portName, std::move(guard), std::move(effect));
  mRules.back().when = std::make_unique<Interval>(when);
  return made;
}

void TestAtom::announce() {
  for (Rule& rule : mRules) {
    rule.port->setSynced(false);
    rule.port->setDominated(false);
  }
  for (Rule& rule : mRules) {
    const int enabled = rule.guard() ? 1 : 0;
    if (ownClock != nullptr) {
      rt_sync(1, rule.port, enabled, rule.constraint);
    } else {
      sync(1, rule.port, enabled);
    }
  }
}

// Deliberate: no text is made when nobody records, because some tests count allocations.
void TestAtom::note(const char* what, const char* port) {
  if (events == nullptr) return;
  std::string event = what;
  if (port != nullptr) event += std::string(port) + " of ";
  if (mName != nullptr) event += mName;
  events->push_back(event);
}

// ---- Automaton -------------------------------------------------------------------------------

Automaton::Automaton(const std::string& name, const Compound* holder,
                     std::vector<std::string> texts)
    : Atom(name.c_str(), holder), mTexts(std::move(texts)) {}

Automaton::~Automaton() = default;

Port* Automaton::addPort(const std::string& name, const std::map<int, int>& transitions) {
  Port* port = new Port(name.c_str(), this);
  mPorts.add(port);
  mTransitions[port] = transitions;
  return port;
}

void Automaton::setHook(Hook hook) {
  mHook = std::move(hook);
}

void Automaton::setText(int state, const std::string& text) {
  mTexts[static_cast<std::size_t>(state)] = text;
}

void Automaton::initialize() {
  mState = 0;
  call("initialize");
  announce();
}

void Automaton::execute(Port* port) {
  mState = mTransitions[port].at(mState);
  call("execute");
  announce();
}

Node* Automaton::getState() {
  call("getState");
  return new Leaf(new Atomleaf(mTexts[static_cast<std::size_t>(mState)].c_str()));
}

void Automaton::setState(Node* state) {
  call("setState");
  const std::string text = static_cast<Leaf*>(state)->getAleaf()->getVal();
  for (mState = 0; mTexts[static_cast<std::size_t>(mState)] != text; ++mState) {
  }
  announce();
}

void Automaton::announce() {
  for (int i = 0; i < mPorts.count(); ++i) {
    mPorts[i]->setSynced(mTransitions[mPorts[i]].count(mState) != 0);
  }
}

void Automaton::call(const char* hook) {
  if (mHook) mHook(*this, hook);
}

}  // namespace kit
