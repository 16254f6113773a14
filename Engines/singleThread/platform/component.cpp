#include "component.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <new>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "activation-plan.hpp"
#include "blocks.hpp"
#include "clock.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "exploration/state-shape.hpp"
#include "internal-ports.hpp"
#include "markers.hpp"
#include "on-demand.hpp"
#include "plain-output.hpp"
#include "port.hpp"
#include "prefetch.hpp"
#include "priority.hpp"
#include "scheduler.hpp"
#include "states.hpp"

// Exported since the first version, and so part of the binary interface.
template Array<Constraint, true>::~Array();

namespace {

const char* const SKIP_TIMED_PRIORITY =
    "WARNING: skip priority for ports with time constraints (not supported yet!) ";
const char* const CHANGED_TREE = "vesk: compound %s: %d components, its state has %d\n";

Compound* asCompound(Component* component) {
  return component->isCompound() ? static_cast<Compound*>(component) : nullptr;
}

// Raises the flag for the marker that stands in the text of a leaf.
void noteMarker(Leaf* leaf) {
  const char* text = leaf->getAleaf() != nullptr ? leaf->getAleaf()->getVal() : nullptr;
  const Vesk::Marker marker = Vesk::markerIn(text);
  if (marker == Vesk::Marker::NONE) return;
  (marker == Vesk::Marker::PRUNE ? global_prune : global_error) = true;
  faulty_leaf = leaf;
}

// The tree that an exception has ended and faulty_leaf points into: the summary of a search shows
// that leaf. Kept until the next one.
std::unique_ptr<Node> unfinished;

// Ends the tree of a state that an exception leaves unfinished. Without memory for the search the
// leaf is taken for one of the tree.
struct EndUnfinished {
  void operator()(Nonleaf* ended) const noexcept {
    std::unique_ptr<Node> tree(ended);
    try {
      if (!Vesk::contains(tree.get(), faulty_leaf)) return;
    } catch (const std::bad_alloc&) {
    }
    unfinished = std::move(tree);
  }
};

// Components that a hook adds while states are read or restored have no place in them.
[[noreturn]] void refuseChangedTree(const Compound& compound, int components, int children) {
  const char* name = compound.name();
  std::fprintf(stderr, CHANGED_TREE, name != nullptr ? name : "", components, children);
  std::abort();
}

// What atoms have declared. It stands beside them because models that were compiled earlier know
// the size of an atom. Null as long as none has declared anything. Never destroyed: atoms may end
// after everything else.
std::unordered_map<const Atom*, Vesk::Locality>* declarations = nullptr;

// The compounds that have declared Vesk::Priorities::EVERYWHERE, in the same way.
std::unordered_set<const Compound*>* everywhere = nullptr;

void enqueue(Scheduler& scheduler, Connector* connector) {
  scheduler.prioHeap().put(connector);
  connector->setQueued(true);
}

}  // namespace

// ---- Component ---------------------------------------------------------------------------------

Component::Component(const char* name, const Compound* holder)
    : mName(Vesk::duplicate(name)),
      mHolder(const_cast<Compound*>(holder)),  // components reach the tree above them
      mClock(nullptr) {}

Component::~Component() {
  Vesk::endName(mName);
}

CtrlState::CtrlState(const char* name) : mName(Vesk::duplicate(name)) {}

CtrlState::~CtrlState() {
  Vesk::endName(mName);
}

// ---- Atom --------------------------------------------------------------------------------------

Atom::Atom(const char* name, const Compound* holder)
    : Component(name, holder),
      mPorts(Vesk::ON_DEMAND),
      mClocks(Vesk::ON_DEMAND),
      mConstraints(Vesk::ON_DEMAND),
      mCtrlStates(Vesk::ON_DEMAND),
      mLinks(Vesk::ON_DEMAND),
      VESK_STATE(nullptr),
      mScheduler(nullptr) {}

Atom::~Atom() {
  if (declarations != nullptr) declarations->erase(this);
}

void Atom::declare(Vesk::Locality locality) {
  if (declarations == nullptr) declarations = new std::unordered_map<const Atom*, Vesk::Locality>;
  (*declarations)[this] = locality;
}

Vesk::Locality Atom::locality() const {
  if (declarations == nullptr) return Vesk::Locality::UNDECLARED;
  const auto declared = declarations->find(this);
  return declared != declarations->end() ? declared->second : Vesk::Locality::UNDECLARED;
}

void Atom::initialize(LogicalClock*) {
  initialize();
}

Port* Atom::sync(int n, ...) {
  va_list entries;
  va_start(entries, n);
  Port* internal = nullptr;
  for (int i = 0; i < n && internal == nullptr; ++i) {
    Port* port = va_arg(entries, Port*);
    const bool enabled = va_arg(entries, int) != 0;
    if (!enabled) continue;
    if (port->isInternal()) {
      internal = port;
    } else {
      // Most ports are announced as they are, and what is not written stays clean in the cache.
      if (!port->synced()) port->setSynced(true);
      if (port->constraint() != nullptr) port->setConstraint(nullptr);
    }
  }
  va_end(entries);
  return internal;
}

Port* Atom::rt_sync(int n, ...) {
  va_list entries;
  va_start(entries, n);
  Port* internal = nullptr;
  for (int i = 0; i < n && internal == nullptr; ++i) {
    Port* port = va_arg(entries, Port*);
    const bool enabled = va_arg(entries, int) != 0;
    Constraint* constraint = va_arg(entries, Constraint*);
    if (!enabled || port->dominated()) continue;
    if (port->isInternal() && constraint == nullptr) {
      internal = port;
    } else {
      if (constraint != nullptr) constraint->applyDomination();
      port->setSynced(true);
      port->setConstraint(constraint);
    }
  }
  va_end(entries);
  return internal;
}

void Atom::notifyDependentConn() {
  if (mScheduler == nullptr) return;
  for (Connector* connector : mLinks) {
    if (!connector->queued()) enqueue(*mScheduler, connector);
  }
}

void Atom::resetLink() {
  Vesk::InternalPorts::noteMoved(*this);
  for (Connector* connector : mLinks) connector->resetLink();
}

Port* Atom::sync(std::initializer_list<Vesk::PortGuard> entries) {
  Port* internal = nullptr;
  for (const Vesk::PortGuard& entry : entries) {
    internal = sync(1, entry.port, int{entry.enabled});
    if (internal != nullptr) break;
  }
  return internal;
}

Port* Atom::rt_sync(std::initializer_list<Vesk::TimedPortGuard> entries) {
  Port* internal = nullptr;
  for (const Vesk::TimedPortGuard& entry : entries) {
    internal = rt_sync(1, entry.port, int{entry.enabled}, entry.constraint);
    if (internal != nullptr) break;
  }
  return internal;
}

void Atom::computePortConstraint(std::initializer_list<Constraint*> list) {
  std::vector<Constraint*> terminated(list);
  terminated.push_back(nullptr);
  computePortConstraint(terminated.data());
}

void Atom::computePortConstraint(Constraint** list) {
  if (list == nullptr || list[0] == nullptr || list[1] == nullptr) return;
  Constraint& result = *list[0];
  result.reset();
  for (Constraint** other = list + 1; *other != nullptr; ++other) result &= **other;
}

void Atom::applyPriority(Port* low, Constraint* lowC, Port* high, Constraint* highC) {
  low->setConstraint(lowC);
  high->setConstraint(highC);
  if (lowC == nullptr && highC != nullptr) {
    const Vesk::PlainOutput plain(std::cerr);
    plain << SKIP_TIMED_PRIORITY << low->name() << "<" << high->name()
          << Vesk::PlainOutput::END_LINE;
    return;
  }
  high->dominate(*low, Vesk::Time(0));
}

// ---- Compound ----------------------------------------------------------------------------------

// The walks of the tree go by index: hooks may add components to the end, which are visited as
// well, and the frames must be small, because trees may be very deep.

Compound::Compound(const char* name, const Compound* holder)
    : Component(name, holder),
      mComponents(Vesk::ON_DEMAND),
      mConnectors(Vesk::ON_DEMAND),
      mPriorities(Vesk::ON_DEMAND),
      mLegals(nullptr),
      mInternals(nullptr),
      mLegalHead(nullptr),
      mLegalTail(nullptr),
      mInternalTail(nullptr) {}

Compound::~Compound() {
  Vesk::ActivationPlan::drop(*this);
  if (everywhere != nullptr) everywhere->erase(this);
}

void Compound::declare(Vesk::Priorities priorities) {
  if (everywhere == nullptr) everywhere = new std::unordered_set<const Compound*>;
  if (priorities == Vesk::Priorities::EVERYWHERE) {
    everywhere->insert(this);
  } else {
    everywhere->erase(this);
  }
}

Vesk::Priorities Compound::declaredPriorities() const {
  const bool declared = everywhere != nullptr && everywhere->count(this) != 0;
  return declared ? Vesk::Priorities::EVERYWHERE : Vesk::Priorities::UNDECLARED;
}

void Compound::initialize() {
  for (int i = 0; i < mComponents.count(); ++i) mComponents[i]->initialize();
}

void Compound::initialize(LogicalClock* clock) {
  mClock = clock;
  for (int i = 0; i < mComponents.count(); ++i) {
    if (mComponents[i]->isAtom()) mComponents[i]->setClock(clock);
    mComponents[i]->initialize(clock);
  }
}

// When a part throws, the tree so far ends here, and nobody may look at a faulty leaf in it any
// more. The frame is a small one: trees may be very deep.
Node* Compound::getState() {
  std::unique_ptr<Nonleaf, EndUnfinished> state(new Nonleaf(mComponents.count()));
  for (int i = 0; i < mComponents.count(); ++i) {
    if (i >= state->getNumChild()) refuseChangedTree(*this, mComponents.count(), i);
    Node* child = mComponents[i]->getState();
    state->setChild(child, i);
    if (child != nullptr && child->isLeaf()) noteMarker(static_cast<Leaf*>(child));
  }
  state->resetOutTrans();
  return state.release();
}

void Compound::setState(Node* state) {
  if (state == nullptr) return;
  Nonleaf* parts = state->isLeaf() ? nullptr : static_cast<Nonleaf*>(state);
  const int children = parts != nullptr ? parts->getNumChild() : 0;
  for (int i = 0; i < mComponents.count(); ++i) {
    if (i >= children) refuseChangedTree(*this, mComponents.count(), i);
    if (const int next = i + Vesk::AHEAD; next < children && next < mComponents.count()) {
      Vesk::prefetch(parts->getChild(next), sizeof(Leaf) + sizeof(Atomleaf));
      Vesk::prefetch(mComponents[next], sizeof(Atom));
    }
    mComponents[i]->setState(parts->getChild(i));
  }
}

void Compound::setup(const Scheduler* scheduler) {
  setSchedulerOfAtoms(const_cast<Scheduler*>(scheduler));  // atoms queue connectors in its heap
  for (int i = 0; i < mPriorities.count(); ++i) mPriorities[i]->setup();
  for (int i = 0; i < mComponents.count(); ++i) {
    if (Compound* part = asCompound(mComponents[i])) part->setup(scheduler);
  }
}

void Compound::setStaticPrioLevel() {
  for (int i = 0; i < mPriorities.count(); ++i) mPriorities[i]->setupPrioLevel();
  for (int i = 0; i < mComponents.count(); ++i) {
    if (Compound* part = asCompound(mComponents[i])) part->setStaticPrioLevel();
  }
}

void Compound::initPrioHeap(Scheduler* scheduler) {
  setSchedulerOfAtoms(scheduler);
  for (int i = 0; i < mConnectors.count(); ++i) enqueue(*scheduler, mConnectors[i]);
  for (int i = 0; i < mComponents.count(); ++i) {
    if (Compound* part = asCompound(mComponents[i])) part->initPrioHeap(scheduler);
  }
}

void Compound::setSchedulerOfAtoms(Scheduler* scheduler) {
  if (scheduler == nullptr) return;
  for (Component* component : mComponents) {
    if (component->isAtom()) static_cast<Atom*>(component)->mScheduler = scheduler;
  }
}
