// Ports: the points at which components take part in interactions.
//
// An atom port stands for a transition label of its atom. An exported port belongs to a connector
// and lets that connector take part, as one port, in a connector above it.
//
// Ports have no variables of their own. A model derives a class that refers to those of its atom:
//
//     // A port that offers a number to connectors; they read it in guard() and write it in dn().
//     class NumberPort : public Port {
//      public:
//       NumberPort(const char* name, const Atom* holder, int& number)
//           : Port(name, holder), value(number) {}
//       int& value;
//     };
#ifndef VESK_PORT_HPP
#define VESK_PORT_HPP

#include <cstddef>
#include <new>

#include "executable.hpp"

class Atom;
class Connector;

namespace Vesk {
class RepeatableStates;
}

// Owns no constraint that it is given: those of an atom port are the atom's, that of an exported
// port is the connector's.
class Port : public Executable {
 public:
  // Copies the name; null stays null.
  Port(const char* name, const Atom* holder);
  Port(const char* name, const Connector* holder);
  ~Port() override;

  // Large systems stand in memory of their own: objects of this class and of derived ones have it
  // from there, unless they are large or say themselves where they have theirs from. Arrays and
  // the global operator new have theirs from the heap.
  static void* operator new(std::size_t size);
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
  static void* operator new(std::size_t size, std::align_val_t alignment);
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* block, std::size_t size) noexcept;
  static void operator delete(void* block, std::size_t size, std::align_val_t alignment) noexcept;
  static void operator delete(void*, void*) noexcept {}

  // Slot order is fixed: generated code is built against it.
  // "atom:port", or "compound:connector" for an exported port. Built once; the text belongs to the
  // port.
  char* label() override;
  // Runs the transition of the atom and makes the connectors that use its ports evaluate again;
  // fires the connector of an exported port. An atom port that is not synced is reported on
  // standard error and fired all the same.
  void execute(const Vesk::Time& t) override;
  // Hands down to the connector of an exported port; nothing for an atom port.
  void actuate(const Vesk::Time& t) override;
  // Both translate between the values of the constraint's clock and those of the atom's clock.
  Vesk::Time deadline(const Vesk::Time& t) const override;
  Vesk::Time next(const Vesk::Time& t) const override;
  // The atom's clock; null for an exported port.
  GenericClock* displayClock() const override;

  // Fires without time.
  void execute();
  // True when the port is synced.
  bool complete() const { return mSynced; }
  // True for an atom port; the connector's guard for an exported port.
  bool guard() const;

  char* name() const { return mName; }
  // The two halves of the label, never null.
  const char* labelHolder() const;
  const char* labelName() const;
  // Exactly one of the two is not null. Neither is owned.
  Atom* atomHolder() const { return mAtomHolder; }
  Connector* connHolder() const { return mConnHolder; }
  // Enabled in the current state. The engine does not clear it after a step: the model does, before
  // it announces.
  bool synced() const { return mSynced; }
  void setSynced(bool synced) {
    mSynced = synced;
    if (mInternal) noteInternal();
  }
  // Elected: chosen to fire in the current step. A mark for model code that chooses; the engine
  // neither sets nor reads it.
  bool elected() const { return mElected; }
  void setElected(bool elected) { mElected = elected; }
  bool isConnected() const { return mConnected; }
  void setConnected(bool connected = true) { mConnected = connected; }
  // Fired by the atom itself or from the compound's list of internal ports, not through a
  // connector. A class that writes mInternal or mSynced by hand does so while its atom moves, or
  // calls the operation: in a system of hundreds of atoms with internal ports a value written at
  // another time is noticed some steps later. So is another constraint; and what is changed within
  // a constraint while its atom does not move counts from the atom's next move on.
  bool isInternal() const { return mInternal; }
  void setInternal(bool internal = true) {
    mInternal = internal;
    noteInternal();
  }
  // Link of a compound's list of enabled timed internal ports, rebuilt at every activation. The
  // head is in the compound; ports come out in reverse order of the walk.
  Port* next() const { return mNext; }
  void setNext(Port* port) { mNext = port; }

  // Leaves an exported port without constraint. Called by its connector.
  using Executable::dropConstraint;
  // Records that the connector uses this port. Called by the connector.
  void setLink(Connector* connector);
  // Queues the connectors that depend on the atom for evaluation; nothing for an exported port.
  void notifyDependentPorts();

 protected:
  char LABEL[1024];  // the label once built, or empty
  char* mName;       // strdup; freed by the destructor
  Atom* mAtomHolder;
  Connector* mConnHolder;
  bool mSynced;
  Constraint* mConstraint;  // unused: all operations go through Executable's
  bool mElected;
  bool mConnected;
  bool mInternal;
  Port* mNext;

 private:
  friend class Vesk::RepeatableStates;  // counts the reports

  // How often it was reported that a port has fired that its atom had not announced.
  static unsigned int sReports;

  void noteInternal() const;

  // malloc; a label that does not fit into LABEL, or null; freed by the destructor
  char* mLongLabel;
};

#endif
