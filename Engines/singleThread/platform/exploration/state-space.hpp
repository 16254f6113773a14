// What a search works on: a system that goes from state to state, and the states that were found.
// There are two kinds: one that knows a state by its text and works for every model, and one that
// knows it by numbers and asks the model to have declared that its parts are local. Private to the
// engine.
#ifndef VESK_EXPLORATION_STATE_SPACE_HPP
#define VESK_EXPLORATION_STATE_SPACE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>

#include "connector.hpp"
#include "exploration/flags.hpp"
#include "exploration/labels.hpp"
#include "exploration/pending-state.hpp"
#include "locality.hpp"

class Compound;

namespace Vesk {

// What a search takes from the scheduler and leaves there.
struct Place {
  Compound& system;
  Connector*& legal;
  Connector*& choice;
};

// A way out of a state.
struct Transition {
  Connector* connector = nullptr;       // null: it stands for a state without transitions
  std::size_t part = 0;                 // the number of the connector
  Interaction* interaction = nullptr;   // of the connector; it lives as long as the connector
  std::unique_ptr<Interaction> frozen;  // a copy, if it may be another when it is fired
};

class StateSpace {
 public:
  struct Found {
    StateNumber number;
    bool isNew;
  };
  struct Text {
    const char* data;  // not terminated; valid until the next call
    std::size_t length;
  };

  // The kind that the promises of the system's parts allow. Requires: the system is initialised.
  static std::unique_ptr<StateSpace> create(const Place& place);

  explicit StateSpace(Locality kind) : mKind(kind) {}
  StateSpace(const StateSpace&) = delete;
  StateSpace& operator=(const StateSpace&) = delete;
  virtual ~StateSpace() = default;

  // The promise of the system's parts that it relies on.
  Locality kind() const { return mKind; }

  // How many states were found. They are numbered from 0 in the order in which they are found.
  virtual StateNumber count() const = 0;

  // ---- The state that the system has come to. Each one that is read is kept or dropped.
  // Reads the state; the flags for the markers in it are raised. fire() reads as well.
  virtual void read() = 0;
  // Looks it up, and gives it a number when it is new.
  virtual Found find() = 0;
  // Makes it pending, without transitions. Requires: find() has found it.
  virtual PendingState keep() = 0;
  virtual void drop() = 0;

  // ---- A state that is pending
  // Brings the system into it.
  virtual void restore(const PendingState& state) = 0;
  // Its text as the model has left it when it was restored.
  virtual Text restoredText(const PendingState& state) = 0;
  // One transition more, or less, has still to be taken.
  virtual void addTransition(PendingState& state) = 0;
  virtual void takeTransition(PendingState& state) = 0;
  // Lets it keep what the model has done to it while its transition was taken.
  virtual void settle(PendingState& state) = 0;
  virtual void end(PendingState state) = 0;

  // The text under which a state is known.
  virtual Text text(StateNumber number) = 0;

  // ---- Transitions
  // Finds what is legal in the state that the system is in.
  virtual void activate() = 0;
  // Gives the legal connectors, one after the other, in the order of their list.
  virtual bool firstLegal(Transition& transition) = 0;
  virtual bool nextLegal(Transition& transition) = 0;
  // Both take a transition out of the state that was restored last, and read where it leads. The
  // label is set before the connector fires. False when an enumeration was cut: then nothing was
  // read.
  // Requires: the state was activated when it was restored. The flags are lowered before the
  // connector fires.
  virtual bool fire(const Transition& transition, Label& label) = 0;
  // Requires: the transition was frozen. The flags are lowered after the connector has fired.
  virtual bool fireFrozen(const PendingState& state, Transition& transition, Label& label) = 0;

  // ---- Transitions that can be fired when other states have been looked at
  // Puts the transition of a legal connector on top of a stack. Null: it stands for a state that
  // has none.
  virtual void freeze(const Transition* legal) = 0;
  // Takes the top from the stack. Requires: there is one.
  virtual Transition thaw() = 0;
  virtual void dropFrozen() = 0;

  // ---- Hints, which have no effect that can be seen
  // All legal connectors are going to be fired soon.
  virtual void expectLegal() {}
  // So many transitions from the top of the stack are going to be taken: some time from now, or,
  // with the one that was taken from it last, at once.
  virtual void expectFrozen(std::size_t) const {}
  virtual void expectFrozenNow(std::size_t) const {}

 private:
  const Locality mKind;
};

}  // namespace Vesk

#endif
