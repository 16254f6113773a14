// Connectors: what synchronises ports of several components.
//
// A rendezvous has one set of ports that may fire together, all of them; a broadcast may fire any
// set that its guard and completeness allow.
//
//     // Fires when all of its ports are enabled.
//     class Rendezvous : public Connector {
//      public:
//       Rendezvous(const char* name, const Compound* holder, Port* one, Port* other)
//           : Connector(name, holder, false, {one, other}) {}
//       bool isBroadcast() override { return false; }
//       using Connector::guard;
//       bool guard() override { return maximal(); }
//     };
//
//     // Fires when its first port is enabled, with those of the others that are enabled too.
//     class Broadcast : public Connector {
//      public:
//       Broadcast(const char* name, const Compound* holder, Port* trigger, Port* a, Port* b)
//           : Connector(name, holder, false, {trigger, a, b}) {}
//       bool complete() override { return mPorts[0]->complete(); }
//     };
//
// All hooks below but up() and dn() are questions, asked at every evaluation and for a broadcast
// once for each set: they must be cheap, give the same answer for the same state, and change
// nothing. Explorations of models that declare something about their parts ask less often; see
// locality.hpp.
#ifndef VESK_CONNECTOR_HPP
#define VESK_CONNECTOR_HPP

#include <cstdarg>
#include <cstddef>
#include <initializer_list>
#include <new>

#include "interaction.hpp"
#include "locality.hpp"
#include "structure.hpp"

class Compound;
class Port;
class Priority;

namespace Vesk {
class ActivationPlan;
class InteractionIndex;
template <class T>
class WorkStack;
}  // namespace Vesk

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
  // never fires by itself. The second form takes the n ports as Port*; the third takes them in a
  // list, in which ports of derived classes need no cast: Connector(name, holder, false, {a, b}).
  Connector(const char* name, const Compound* holder, bool subconn);
  Connector(const char* name, const Compound* holder, bool subconn, int n, ...);
  Connector(const char* name, const Compound* holder, bool subconn,
            std::initializer_list<Port*> ports);
  Connector(const Connector&) = delete;
  Connector& operator=(const Connector&) = delete;
  virtual ~Connector();

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
  // True: any set that guard() and complete() allow may fire. False: all ports together. Called at
  // the start of each evaluation; gives the same for the life of the connector. The default is
  // true.
  virtual bool isBroadcast() { return true; }
  // Broadcast only: whether the current set may fire without the other ports. During the
  // enumeration the synced flags of the ports are the current set, so a trigger is expressed by
  // `return mPorts[0]->complete();`. Called after guard() has allowed a set. A set of all ports may
  // fire whatever it says. The default is false.
  virtual bool complete() { return false; }
  // Whether the interaction under consideration, feasibleInter(), may fire in the current state. A
  // rendezvous must test its ports here: `return maximal() && ...`. Called at every evaluation, for
  // a broadcast once for each set that is considered. May read the variables of the ports in
  // feasibleInter()->synced(); must not change anything. The default is true.
  virtual bool guard() { return true; }
  // guard() with the given set as the interaction under consideration; false also when guard()
  // changed which one that is.
  virtual bool guard(const BitVector& set);
  // Fills the variables of the exported port from those of the ports. Called once after every
  // evaluation that found something feasible, before the connectors above are evaluated. May change
  // the variables of the exported port; must not change those of the ports. The second form makes
  // the set the interaction under consideration, then calls the first; the engine does not call it.
  virtual void up() {}
  virtual void up(const BitVector& set);
  // Writes the variables of the ports before they fire. Called by actuate, so by the timed engine
  // only, once for each interaction that fires, outer connectors first. May change the variables of
  // the ports; must not run transitions. feasibleInter() is the first feasible interaction, which
  // need not be the one that fires. The second form is as that of up().
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
  // Evaluated since the last resetLink(). A class that wants a new evaluation calls resetLink() or
  // setEvaluated(false), which is noted at once. Values that code of a model writes by hand into
  // mEval, mLegal, mSubconn or mRecomputexPort are found by a look, and then for good: in a system
  // of up to about 500 connectors before the next activation, and in a larger one as well when the
  // connector fires, takes part in a priority, or uses a port of an atom that moves in that step.
  // Elsewhere in a larger system such a value is found some steps later.
  bool evaluated() const { return mEval; }
  void setEvaluated(bool evaluated) {
    mEval = evaluated;
    if (!evaluated) noteEvaluation();
  }
  // A priority has changed the interactions, so the exported port must be computed again.
  bool recomputexPort() const { return mRecomputexPort; }
  void setRecomputexPort(bool recompute) {
    mRecomputexPort = recompute;
    if (recompute) noteDomination();
  }
  // The connectors that use the exported port.
  Array<Connector, false>& links() { return mLinks; }
  // What the connector promises about itself, for exploration; see locality.hpp. Called by its
  // constructor; the last call counts.
  void declare(Vesk::Locality locality) { mLocality = locality; }
  Vesk::Locality locality() const { return mLocality; }
  // All interactions of this connector, for the engine.
  Vesk::InteractionIndex& interactions() const { return *mInteractions; }

 protected:
  char* mName;  // strdup; freed by the destructor
  Compound* mHolder;
  Array<Port, false> mPorts;
  Port* mxPort;  // new; deleted with its constraint by the destructor, or null
  bool mLegal;   // before it is written by hand, see evaluated()
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
  friend class Vesk::ActivationPlan;  // evaluates what it has noted itself

  class EvalVisits;

  void evalNow(bool incremental);
  void evalDepthFirst(bool incremental);
  Connector* nextProvider(int& port) const;
  void evalAlone();
  void createFeasibleRendezvous();
  Interaction* unknownRendezvous();
  void createFeasibleSets();
  void reportManySets(const BitVector& enabled);
  Interaction* possible(const BitVector& enabled, const BitVector& set);
  Interaction* addFeasible(const BitVector& enabled, const BitVector& set, Interaction* list);
  Interaction* firstPossible(const Vesk::Time& t) const;
  void resetAll();
  void resetAlone(Vesk::WorkStack<Connector*>& dependent);
  void noteEvaluation();
  void noteStale();
  void noteDomination();

  bool mEvaluating;  // in the middle of eval(): exported ports must not form a ring
  bool mReported;    // that a broadcast has very many sets to look at
  Vesk::Locality mLocality;
  Vesk::InteractionIndex* mInteractions;  // owned: this connector's interactions by set
};

#endif
