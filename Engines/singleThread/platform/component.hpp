// The component tree. Leaves are atoms: behaviour with ports, clocks, timing constraints and
// control states. Inner nodes are compounds: components, the connectors that synchronise their
// ports, and the priorities between interactions.
//
// The model derives from Atom and Compound and fills the lists in its constructors. Everything in
// an owning list is allocated with `new`; deleting the root deletes the whole model.
//
//     // Counts to three; then its port is enabled no more.
//     class Counter : public Atom {
//      public:
//       Counter(const char* name, const Compound* holder) : Atom(name, holder) {
//         addPort(new Port("count", this));
//       }
//       using Atom::initialize;
//       void initialize() override { announce(); }
//       void execute(Port*) override {
//         ++mCount;
//         announce();
//       }
//       Node* getState() override {
//         char text[16] = "";
//         setVariableState(text, "count", mCount);
//         return new Leaf(new Atomleaf(text));
//       }
//       void setState(Node* state) override {
//         char* cursor = static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;  // behind the comma
//         mCount = getIntVariableState(cursor);
//         announce();
//       }
//
//      private:
//       void announce() {
//         mPorts[0]->setSynced(false);
//         sync({{mPorts[0], mCount < 3}});
//       }
//
//       int mCount = 0;
//     };
//
// What is said here about how often an exploration calls a hook holds for models that declare
// nothing about their parts; see locality.hpp.
//
// A fault of the model, such as a null component in a list, is not looked for: the engine trusts
// it.
#ifndef VESK_COMPONENT_HPP
#define VESK_COMPONENT_HPP

#include <cstddef>
#include <initializer_list>
#include <new>

#include "locality.hpp"
#include "structure.hpp"

class Clock;
class Compound;
class Connector;
class Constraint;
class GenericClock;
class LogicalClock;
class Node;
class Port;
class Priority;
class Scheduler;

namespace Vesk {

class ActivationCheck;
class ActivationPlan;
class InternalPorts;
struct LegalConnectors;
enum class Priorities : signed char;  // see priority.hpp

// A port and whether it is enabled, for Atom::sync.
struct PortGuard {
  Port* port;
  bool enabled;
};

// The same with the constraint under which it is enabled, for Atom::rt_sync; null for any time.
struct TimedPortGuard {
  Port* port;
  bool enabled;
  Constraint* constraint = nullptr;
};

}  // namespace Vesk

// A node of the component tree.
class Component {
 public:
  // Copies the name; null stays null. The holder is the enclosing compound, null for the root.
  Component(const char* name, const Compound* holder);
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;
  virtual ~Component();

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
  // Which of the two kinds it is. Called in every walk of the tree; models leave both as they are.
  virtual bool isAtom() { return false; }
  virtual bool isCompound() { return false; }
  // Sets the initial data and announces the enabled ports. Called by the other form, so once before
  // the first step. May change everything of this component. Must not rely on components that stand
  // behind it in the list of its compound, which are initialised after it.
  virtual void initialize() = 0;
  // The same for a run with time; null for a run without, for which no clocks and constraints are
  // needed. Called once before the first step, for a compound before its parts. The clock is not
  // owned.
  virtual void initialize(LogicalClock* clock) = 0;
  // The current state as a new tree that the caller owns. Called by explorations, once after each
  // transition, and by the self-timed loop with --trace, once in each step; never by the timed
  // engine. Must not change the state. Two states are the same when the texts of their trees are.
  virtual Node* getState() = 0;
  // Restores a state that getState() gave. Called by explorations whenever they go on from a state,
  // so once or more for each state and in any order of states; never by runs. May change the tree,
  // which then stays changed for this state; must not delete it or keep a pointer to it. An atom
  // announces its ports again.
  virtual void setState(Node* state) = 0;

  char* name() const { return mName; }
  Compound* holder() const { return mHolder; }
  // Set when the system is initialised; null in a run without time. Not owned.
  GenericClock* clock() const { return mClock; }
  void setClock(GenericClock* clock) { mClock = clock; }

 protected:
  char* mName;  // strdup; freed by the destructor
  Compound* mHolder;
  GenericClock* mClock;
};

// A named control state of an atom.
class CtrlState {
 public:
  // Copies the name; null stays null.
  CtrlState(const char* name);
  CtrlState(const CtrlState&) = delete;
  CtrlState& operator=(const CtrlState&) = delete;
  ~CtrlState();
  char* name() const { return mName; }

 protected:
  char* mName;  // strdup; freed by the destructor
};

// A leaf of the tree, whose behaviour the model supplies.
class Atom : public Component {
 public:
  Atom(const char* name, const Compound* holder);
  ~Atom() override;

  // Slot order is fixed: generated code is built against it.
  bool isAtom() override { return true; }
  // The model overrides it: initial data and state, then the enabled ports. The default does
  // nothing.
  void initialize() override {}
  // Calls initialize(). A timed model overrides it: when the clock is not null it makes its clocks
  // and constraints, adds them to clocks() and constraints(), then calls this.
  void initialize(LogicalClock* clock) override;
  // Performs the transition labelled by the port from the current control state, then announces the
  // enabled ports. Called once for each port of this atom in the interaction that fires, in the
  // order of the connector's ports, and in timed runs for a chosen internal port. In timed runs
  // dn() of the connectors has been called before. May change the data, clocks and constraints of
  // this atom. Must not fire ports or change other atoms. The port may be none of the enabled ones
  // when a connector is at fault.
  virtual void execute(Port* port) = 0;
  // Announces ports without time: n pairs (Port*, int guard). Marks the enabled ports synced,
  // without constraint. Stops at and returns the first enabled internal port: the model takes its
  // transition and announces again. Null when there is none. Clears nothing: the model takes all
  // ports back with setSynced(false) first. Called by the model alone, at the end of initialize(),
  // execute() and setState(). Arguments are not converted: write int(...) around a condition.
  virtual Port* sync(int n, ...);
  // Announces ports with time: n triples (Port*, int guard, Constraint*). Marks the enabled ports
  // that are not dominated synced, under the given constraint after its domination has been
  // applied. Stops at and returns the first enabled internal port whose constraint is null; timed
  // internal ports are marked like any other. Null when there is none. Otherwise as sync(). A null
  // constraint, which never restricts the port, needs its type: static_cast<Constraint*>(nullptr).
  virtual Port* rt_sync(int n, ...);

  // The same with the entries in a list, whose types are checked:
  //     sync({{start(), mCups > 0}, {serve(), mBrewing}});
  //     rt_sync({{start(), mCups > 0, nullptr}, {serve(), mBrewing, mReady}});
  // Each entry is handed to sync(1, ...) or rt_sync(1, ...), in order, up to the one that returns
  // an internal port. A class that overrides the form above hides this one, unless it says `using
  // Atom::sync;`.
  Port* sync(std::initializer_list<Vesk::PortGuard> entries);
  Port* rt_sync(std::initializer_list<Vesk::TimedPortGuard> entries);

  Array<Port, true>& ports() { return mPorts; }
  Array<Clock, true>& clocks() { return mClocks; }
  Array<Constraint, true>& constraints() { return mConstraints; }
  Array<CtrlState, true>& ctrlStates() { return mCtrlStates; }
  // The connectors that use a port of this atom, once per port.
  Array<Connector, false>& links() { return mLinks; }
  void addPort(Port* port) { mPorts.add(port); }

  // What the atom promises about itself, for exploration; see locality.hpp. Called by its
  // constructor; the last call counts.
  void declare(Vesk::Locality locality);
  Vesk::Locality locality() const;

  // Puts the connectors that use this atom's ports into the scheduler's heap, each once. Nothing
  // without a scheduler.
  void notifyDependentConn();
  // Makes the connectors that use this atom's ports evaluate again.
  void resetLink();
  // Intersects a null-terminated list of constraints into its first one. A list of fewer than two
  // is left alone.
  static void computePortConstraint(Constraint** list);
  // The same without the null at the end: computePortConstraint({result, mFirst, mSecond}). The
  // list ends before a null in it.
  static void computePortConstraint(std::initializer_list<Constraint*> list);
  // Sets the constraints of two ports of one atom and gives the high one priority over the low one.
  // A timed port cannot dominate an untimed one: that is reported on standard error and leaves both
  // as they are.
  void applyPriority(Port* low, Constraint* lowC, Port* high, Constraint* highC);

 protected:
  Array<Port, true> mPorts;
  Array<Clock, true> mClocks;
  Array<Constraint, true> mConstraints;
  Array<CtrlState, true> mCtrlStates;
  Array<Connector, false> mLinks;

 public:
  CtrlState* VESK_STATE;  // the current control state, kept by the model; null after construction.
                          // Not owned.
  Scheduler* mScheduler;  // whose heap gets the dependent connectors; set by the engine. Not owned.
};

// An inner node of the tree: its parts, what connects them, and who gives way to whom.
class Compound : public Component {
 public:
  // Builds the whole system from the untouched command line and returns its root, which the engine
  // deletes. Supplied by the model; called once, first of all. Null: the model has told the user
  // why there is no system.
  static Compound* Create(int argc, char** argv);

  Compound(const char* name, const Compound* holder);
  ~Compound() override;

  // Slot order is fixed: generated code is built against it.
  bool isCompound() override { return true; }
  // The walks visit the components in the order in which they were added. A model that overrides
  // one of them calls the engine's as well, or its components are left out.
  void initialize() override;
  void initialize(LogicalClock* clock) override;
  // A Nonleaf with a child per component, in the order of components(). A child text with "PRUNE"
  // sets global_prune, otherwise one with "ERROR" sets global_error, and faulty_leaf either way.
  // The flags are never cleared here. A component that a hook adds meanwhile ends the process with
  // a message, in setState() too.
  Node* getState() override;
  void setState(Node* state) override;

  // Sets up the priorities of the whole tree and, unless the scheduler is null, makes it the
  // scheduler of every atom.
  void setup(const Scheduler* scheduler);
  // Computes the static levels of all connectors. Requires: setup() has run over the whole tree.
  void setStaticPrioLevel();
  // Puts every connector of the tree into the scheduler's heap, a compound's own connectors first,
  // and makes the scheduler that of every atom.
  void initPrioHeap(Scheduler* scheduler);
  // Where the priorities of the whole tree act; see priority.hpp. Called on the root, by Create;
  // the last call counts.
  void declare(Vesk::Priorities priorities);
  Vesk::Priorities declaredPriorities() const;
  // Finds what can fire in the current state: returns the head of the list of legal connectors of
  // this compound and all below, linked through Connector::next(), with priorities applied, and
  // leaves the enabled timed internal ports in internals(). With incremental set, connectors whose
  // atoms have not moved keep their interactions.
  Connector* activate(bool incremental);
  // The part of activate() that visits the components.
  Connector* subactivate(bool incremental);

  Array<Component, true>& components() { return mComponents; }
  Array<Connector, true>& connectors() { return mConnectors; }
  Array<Priority, true>& priorities() { return mPriorities; }
  // Head of the list of enabled timed internal ports, linked through Port::next().
  Port* internals() const { return mInternals; }
  void setInternals(Port* port) { mInternals = port; }

 protected:
  Array<Component, true> mComponents;
  Array<Connector, true> mConnectors;
  Array<Priority, true> mPriorities;
  Connector* mLegals;  // unused by the engine
  Port* mInternals;

 private:
  friend class Vesk::ActivationCheck;
  friend class Vesk::ActivationPlan;
  friend class Vesk::InternalPorts;

  void setSchedulerOfAtoms(Scheduler* scheduler);
  void activateAlone(bool incremental);
  void takeListsOf(Compound& part);
  void takeInternalsOf(Compound& part);
  void takeInternalsOf(Atom& atom);
  void evaluateConnectors(bool incremental);
  void applyPriorities(const Vesk::LegalConnectors& legals);
  void settleConnectors();
  static void settle(Connector& connector);
  static bool isSettled(const Connector& connector);
  static bool isTimedInternal(const Port& port);

  Connector* mLegalHead;  // the list that activate() is building, and its last element
  Connector* mLegalTail;
  Port* mInternalTail;  // last element of the list of internal ports
};

#endif
