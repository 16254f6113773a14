// Connectors and their interactions.
//
// A connector numbers its ports in the order in which they were given. Every set of them that may
// fire together is an interaction; for a given connector and set there is one Interaction object,
// kept in a global table. A rendezvous has one candidate, all of its ports; a broadcast may fire
// any set that its guard and completeness allow.
#ifndef VESK_CONNECTOR_HPP
#define VESK_CONNECTOR_HPP

#include <cstdarg>

#include "executable.hpp"
#include "structure.hpp"

class Compound;
class Connector;
class Port;
class Priority;

namespace Vesk {
class InteractionIndex;
template <class T>
class WorkStack;
}  // namespace Vesk

// A hash table of 511 chains of cells. A new element stands first in its chain.
// Constant-initialised, so that it works before any constructor of a global has run, and never
// destroyed, so that it works after any destructor. It owns neither elements nor order: whoever
// stores an element takes it out again.
template <class T>
class HashTable {
 public:
  static constexpr unsigned int CHAINS = 511;

  // Holds one element of a chain.
  class Cell {
   public:
    Cell* next() const { return mNext; }
    T* element() const { return mElement; }

   private:
    friend class HashTable;
    Cell* mNext;
    T* mElement;
    Cell** mLink;  // the pointer that points at this cell
  };

  constexpr HashTable() : mHeads{}, mCount(0) {}

  // Elements in the table.
  int count() const { return mCount; }
  // First cell of a chain, or null. Requires: number < CHAINS.
  Cell* chain(unsigned int number) const { return mHeads[number]; }
  // Stores an element at the front of a chain. The cell stays valid until it is removed.
  Cell* add(unsigned int number, T* element) {
    Cell* cell = new Cell;
    cell->mNext = mHeads[number];
    cell->mElement = element;
    cell->mLink = &mHeads[number];
    if (cell->mNext != nullptr) cell->mNext->mLink = &cell->mNext;
    mHeads[number] = cell;
    ++mCount;
    return cell;
  }
  // Takes an element out; the element itself stays.
  void remove(Cell* cell) {
    *cell->mLink = cell->mNext;
    if (cell->mNext != nullptr) cell->mNext->mLink = cell->mLink;
    --mCount;
    delete cell;
  }

 private:
  Cell* mHeads[CHAINS];
  int mCount;
};

// A set of ports of one connector that fire together. Owns its constraint, which is null when no
// port of the set is timed.
class Interaction : public Executable {
 public:
  // All interactions that Create() has made, by connector and set.
  static HashTable<Interaction> TABLE;

  // The one interaction of this connector and set, made when there is none yet. It belongs to the
  // connector. The second form takes the n port indices as int.
  static Interaction* Create(const Connector* connector, const BitVector& set);
  static Interaction* Create(const Connector* connector, int n, ...);
  // The same, with the intersection of the constraints of the set's ports as its constraint. Null
  // when that is empty. The set of enabled ports plays no part.
  static Interaction* CreateRealTime(const Connector* connector, const BitVector& enabled,
                                     const BitVector& set);

  // An interaction outside the table.
  Interaction(const Connector* connector, const BitVector& set);
  // A copy outside the table with a constraint of its own, mark and dominated flag of the other, no
  // inhibitors and no successor.
  Interaction(const Interaction& other);
  ~Interaction() override;
  // A new copy that the caller owns.
  Interaction* copy() const;

  // Slot order is fixed: generated code is built against it.
  // "compound/connector/atom:port|atom:port". The text is shared by all connectors: the next label
  // overwrites it.
  char* label() override;
  // Fires every port of the set in index order.
  void execute(const Vesk::Time& t) override;
  // Moves the data down: the connector's dn(), then every port of the set in index order.
  void actuate(const Vesk::Time& t) override;
  Vesk::Time deadline(const Vesk::Time& t) const override;
  Vesk::Time next(const Vesk::Time& t) const override;
  // The clock of the compound that holds the connector.
  GenericClock* displayClock() const override;

  // Link of a connector's list of feasible interactions, rebuilt at every evaluation. The connector
  // holds the head; in a broadcast the set found last stands first.
  Interaction* next() const { return mNext; }
  void setNext(Interaction* interaction) { mNext = interaction; }
  Connector* connector() const { return mConnector; }
  // The port indices.
  const BitVector& synced() const { return mSynced; }
  // The priorities in which this is the low interaction.
  Array<Priority, false>& inhibitors() { return mInhibitors; }
  // Same connector and same set.
  bool equal(const Interaction* other) const;
  // Same connector and this set contained in the other's; equal tells whether the sets are the
  // same.
  bool isSubset(const Interaction* other, bool& equal) const;
  // A number below n from the connector's name and the set.
  unsigned int hash(unsigned int n) const;
  // Writes the names of the ports, separated by "|", to standard output.
  void print() const;

 protected:
  Connector* mConnector;
  BitVector mSynced;
  Array<Priority, false> mInhibitors;
  Interaction* mNext;

 private:
  friend class Vesk::InteractionIndex;

  Constraint& freshConstraint();
  void intersectPortConstraints();

  HashTable<Interaction>::Cell*
      mCell;  // where TABLE holds it; null for an interaction outside the table
};

// The model derives one class per connector type. Ports, holder and links are not owned; the
// exported port is, and so are the interactions of the connector.
class Connector {
 public:
  // Longest port list, the capacity of a BitVector. A connector with more ports ends the program
  // with a message.
  static constexpr int MAX_PORTS = BitVector::CAPACITY;
  // The level of a connector that takes part in no priority.
  static constexpr int NO_LEVEL = -9999;
  // The label built last, by whichever connector.
  static char LABEL[1024];

  // Copies the name. A sub-connector takes part in another connector through its exported port and
  // never fires by itself. The second form takes the n ports as Port*.
  Connector(const char* name, const Compound* holder, bool subconn);
  Connector(const char* name, const Compound* holder, bool subconn, int n, ...);
  Connector(const Connector&) = delete;
  Connector& operator=(const Connector&) = delete;
  virtual ~Connector();

  // Slot order is fixed: generated code is built against it.
  // True: any set that guard() and complete() allow may fire. False: all ports together. The
  // default is true.
  virtual bool isBroadcast() { return true; }
  // Broadcast only: whether the current set may fire without the other ports. During the
  // enumeration the synced flags of the ports are the current set, so a trigger is expressed by
  // `return mPorts[0]->complete();`. The default is false.
  virtual bool complete() { return false; }
  // Whether the interaction under consideration, feasibleInter(), may fire in the current state. A
  // rendezvous must test its ports here: `return maximal() && ...`. Called at every evaluation;
  // must not change anything. The default is true.
  virtual bool guard() { return true; }
  // guard() with the given set as the interaction under consideration; false also when guard()
  // changed which one that is.
  virtual bool guard(const BitVector& set);
  // Fills the variables of the exported port from those of the ports. Called after every evaluation
  // that found something feasible.
  virtual void up() {}
  virtual void up(const BitVector& set);
  // Writes the variables of the ports before they fire. Called by actuate, so by the timed engine
  // only.
  virtual void dn() {}
  virtual void dn(const BitVector& set);
  // Nothing calls it; generated code may.
  virtual void define() {}

  // Appends n ports, given as Port*, and links them to this connector.
  void setVarPorts(int n, va_list ports);
  // Finds the feasible interactions, after those of the connectors whose exported ports this one
  // uses. With incremental set, connectors that are still evaluated are left alone.
  void eval(bool incremental);
  // eval(), then puts this connector in front of the list when it is legal and no sub-connector.
  // Returns the new head.
  Connector* evaluate(Connector* list, bool subconn, bool incremental);
  // True when every port is synced.
  bool maximal() const;
  void createFeasibleInters();
  // The feasible interactions among the sets that contain the ports chosen so far (set, below index
  // i), in front of list.
  Interaction* createFeasibleBroadcast(BitVector& enabled, BitVector& set, int i,
                                       Interaction* list);
  // Makes the exported port enabled when something undominated is feasible, under the union of the
  // constraints.
  void computexPort();
  // Fires the first feasible interaction that is possible at t; nothing when there is none. Without
  // a time: at 0.
  void execute();
  void execute(const Vesk::Time& t);
  // Moves the data of the interaction that execute(t) fires.
  void actuate(const Vesk::Time& t);
  // Makes this connector, what depends on its exported port, and what it has dominated, evaluate
  // again.
  void resetLink();
  void resetDependentLinks();
  // The label of a set of ports; the text is in LABEL, or longer than that, and the next label
  // overwrites it.
  char* rt_label(const BitVector& set);
  // The label of the first feasible interaction, of the empty set when there is none.
  char* label();

  char* name() const { return mName; }
  Compound* holder() const { return mHolder; }
  Array<Port, false>& ports() { return mPorts; }
  // The exported port, or null.
  Port* xPort() const { return mxPort; }
  // The last evaluation found something feasible.
  bool legal() const { return mLegal; }
  // Never set by the engine; the loops honour it.
  bool dominated() const { return mDominated; }
  void setDominated(bool dominated) { mDominated = dominated; }
  // Head of the list of feasible interactions of the last evaluation, linked through
  // Interaction::next(); the interaction under consideration while guard(set), up(set) or dn(set)
  // runs.
  Interaction* feasibleInter() const { return mFeasibleInter; }
  void setFeasibleInter(Interaction* interaction) { mFeasibleInter = interaction; }
  bool isSubconn() const { return mSubconn; }
  // Its exported port is used by a connector of the same compound.
  bool isSubconnSameHolder() const { return mSubconnSameHolder; }
  void setSubconnSameHolder(bool same) { mSubconnSameHolder = same; }
  // The static level; larger is more urgent, NO_LEVEL comes last.
  int getPriority() const { return mPriority; }
  void setPriority(int level) { mPriority = level; }
  bool noPrio() const { return mPriority == NO_LEVEL; }
  // Record a priority whose low interaction is this connector's, or by which this connector can
  // dominate; once each.
  void setDominatedPriority(Priority* priority);
  void setDominatorPriority(Priority* priority);
  // It is in the scheduler's heap.
  bool queued() const { return mQueued; }
  void setQueued(bool queued) { mQueued = queued; }
  // Link of a compound's list of legal connectors, rebuilt at every activation. The head is what
  // activate() returns; connectors come out in reverse order of the walk.
  Connector* next() const { return mNext; }
  void setNext(Connector* connector) { mNext = connector; }
  // Evaluated since the last resetLink().
  bool evaluated() const { return mEval; }
  void setEvaluated(bool evaluated) { mEval = evaluated; }
  // A priority has changed the interactions, so the exported port must be computed again.
  bool recomputexPort() const { return mRecomputexPort; }
  void setRecomputexPort(bool recompute) { mRecomputexPort = recompute; }
  // The connectors that use the exported port.
  Array<Connector, false>& links() { return mLinks; }

 protected:
  char* mName;  // strdup; freed by the destructor
  Compound* mHolder;
  Array<Port, false> mPorts;
  Port* mxPort;  // new; deleted with its constraint by the destructor, or null
  bool mLegal;
  bool mDominated;
  Array<Priority, false> mDominatedPriorities;
  Array<Priority, false> mDominatorPriorities;
  Interaction* mFeasibleInter;
  bool mSubconn;
  bool mSubconnSameHolder;
  int mPriority;
  bool mQueued;
  Connector* mNext;
  bool mEval;
  bool mRecomputexPort;
  Array<Connector, false> mLinks;

 private:
  friend class Interaction;

  class EvalVisits;

  void evalDepthFirst(bool incremental);
  Connector* nextProvider(int& port) const;
  void evalAlone();
  void createFeasibleRendezvous();
  void reportManySets(const BitVector& enabled);
  Interaction* possible(const BitVector& enabled, const BitVector& set);
  Interaction* addFeasible(const BitVector& enabled, const BitVector& set, Interaction* list);
  Interaction* firstPossible(const Vesk::Time& t) const;
  void resetAlone(Vesk::WorkStack<Connector*>& dependent);

  bool mEvaluating;  // in the middle of eval(): exported ports must not form a ring
  bool mReported;    // that a broadcast has very many sets to look at
  Vesk::InteractionIndex* mInteractions;  // owned: this connector's interactions by set
};

#endif
