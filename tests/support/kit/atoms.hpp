// Atoms for tests. TestAtom does what the test says, by hooks or by rules; Automaton is made from a
// table of transitions, and its state can be restored.
#ifndef VESK_TESTS_KIT_ATOMS_HPP
#define VESK_TESTS_KIT_ATOMS_HPP

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vesk.hpp"

namespace kit {

// What happened, in order. Objects without one record nothing.
using Events = std::vector<std::string>;

// Without rules its ports stay as the test has set them. A rule is a port, when that is enabled,
// and what firing it does; an atom with rules announces its ports at the end of every step. A rule
// may have a time, in the values of the atom's clock, which every firing resets.
//
// The state is `state`, or the number of firings when there are rules.
class TestAtom : public Atom {
 public:
  TestAtom(const char* name, const Compound* holder);
  ~TestAtom() override;

  using Atom::initialize;
  void initialize() override;
  void initialize(LogicalClock* logical) override;
  void execute(Port* port) override;
  Node* getState() override;
  void setState(Node* node) override;

  Port* port(const char* portName);
  // A port that is synced from the start, under a constraint that stays the caller's.
  Port* enabled(const char* portName, Constraint* constraint = nullptr);
  Port* internal(const char* portName);
  // A constraint that belongs to this atom, over its clock.
  Constraint* within(Vesk::Time low, Vesk::Time high, Urgency urgency = LAZY);

  Port* rule(const char* portName, std::function<bool()> guard,
             std::function<void()> effect = nullptr);
  Port* timedRule(const char* portName, const Interval& when, std::function<bool()> guard,
                  std::function<void()> effect = nullptr);

  Events* events = nullptr;
  std::function<void()> onInitialize;
  std::function<void(Port*)> onExecute;
  std::function<void()> onSetState;
  std::string state;
  int fired = 0;
  Clock* ownClock = nullptr;  // of an atom with rules, once it is initialised with time

 private:
  struct Rule {
    Port* port;
    std::function<bool()> guard;
    std::function<void()> effect;
    std::unique_ptr<Interval> when;
    Constraint* constraint;
  };

  void note(const char* what, const char* port = nullptr);
  void makeClock(LogicalClock& logical);
  void announce();

  std::vector<Rule> mRules;
};

// An atom with numbered states and a table of transitions.
class Automaton : public Atom {
 public:
  // What a model may do besides, called by name in the hooks: "initialize", "execute", "getState",
  // "setState".
  using Hook = std::function<void(Automaton&, const std::string&)>;

  // texts: one per state; the state is found again by its text. Starts in state 0.
  Automaton(const std::string& name, const Compound* holder, std::vector<std::string> texts);
  ~Automaton() override;

  // A port with its transitions, from state to state.
  Port* addPort(const std::string& name, const std::map<int, int>& transitions);
  void setHook(Hook hook);
  int state() const { return mState; }
  void setText(int state, const std::string& text);

  using Atom::initialize;
  void initialize() override;
  void execute(Port* port) override;
  Node* getState() override;
  void setState(Node* state) override;

 protected:
  void announce();
  void call(const char* hook);

  int mState = 0;

 private:
  std::vector<std::string> mTexts;
  std::map<Port*, std::map<int, int>> mTransitions;
  Hook mHook;
};

}  // namespace kit

#endif
