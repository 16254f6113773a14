#include "activation-plan.hpp"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <unordered_map>

#include "component.hpp"
#include "connector.hpp"
#include "immortal.hpp"
#include "interaction-index.hpp"
#include "priority.hpp"

namespace {

constexpr int FEW_PARTS = 8;               // up to which the walk is as quick
constexpr unsigned int FEW_RUNS = 4;       // a plan with fewer has not paid
constexpr unsigned int MOST_WALKS = 1023;  // between two attempts to make a plan
constexpr unsigned int FOR_EVER = ~0u;

// Counts parts up to a limit, so that the depth of the recursion is limited as well.
void countParts(Compound& compound, int limit, int& parts) {
  parts += compound.connectors().count() + compound.components().count();
  for (int i = 0; i < compound.components().count() && parts <= limit; ++i) {
    Component* component = compound.components()[i];
    if (component->isCompound()) countParts(static_cast<Compound&>(*component), limit, parts);
  }
}

bool isSmall(Compound& root) {
  int parts = 0;
  countParts(root, FEW_PARTS, parts);
  return parts <= FEW_PARTS;
}

int countOf(Compound& compound) {
  return compound.components().count() + compound.connectors().count() +
         compound.priorities().count();
}

// Whether it is as most are: nothing is to be done for it, and it is not in the list.
bool isAtRest(const Connector& connector) {
  return connector.evaluated() && !connector.recomputexPort() && !connector.legal() &&
         connector.next() == nullptr;
}

}  // namespace

namespace Vesk {

// ---- The plans of this process -----------------------------------------------------------------

struct ActivationPlan::Registry {
  struct Entry {
    std::unique_ptr<ActivationPlan> plan;
    unsigned int walks = 0;     // to be done before the next attempt
    unsigned int patience = 0;  // as many were done before the last attempt

    void postpone() { walks = patience = std::min(2 * patience + 1, MOST_WALKS); }
    ActivationPlan* current(Compound& root) {
      return plan != nullptr && plan->holds() ? plan.get() : attempt(root);
    }
    ActivationPlan* attempt(Compound& root);
    void retire();
  };

  using Entries = std::unordered_map<const Compound*, Entry>;

  static Entries& entries() {
    static Immortal<Entries> all;
    return *all;
  }
  // Most steps ask for one compound all the time.
  static Entry& of(const Compound& root) {
    if (sLastRoot != &root) lookUp(root);
    return *sLast;
  }
  [[gnu::noinline]] static void lookUp(const Compound& root) {
    sLast = &entries()[&root];
    sLastRoot = &root;
  }
  static void drop(const Compound& root) {
    if (sLastRoot == &root) sLastRoot = nullptr;
    if (!entries().empty()) entries().erase(&root);
  }

  static const Compound* sLastRoot;
  static Entry* sLast;
};

unsigned long long ActivationPlan::sPlans = 0;
const Compound* ActivationPlan::Registry::sLastRoot = nullptr;
ActivationPlan::Registry::Entry* ActivationPlan::Registry::sLast = nullptr;

// Makes a new plan, null when it would not pay.
[[gnu::noinline]] ActivationPlan* ActivationPlan::Registry::Entry::attempt(Compound& root) {
  if (plan != nullptr) retire();
  if (walks > 0) {
    if (walks != FOR_EVER) --walks;
    return nullptr;
  }
  if (isSmall(root)) {
    postpone();
    return nullptr;
  }
  plan = std::make_unique<ActivationPlan>(root);
  if (plan->mUsable) return plan.get();
  plan.reset();
  walks = FOR_EVER;  // a connector has two places
  return nullptr;
}

void ActivationPlan::Registry::Entry::retire() {
  if (plan->mWrittenByHand) {
    walks = FOR_EVER;
  } else if (plan->mRuns < FEW_RUNS) {
    postpone();
  } else {
    patience = 0;
  }
  plan.reset();
}

ActivationPlan* ActivationPlan::of(Compound& root) {
  return Registry::of(root).current(root);
}

ActivationPlan* ActivationPlan::lastOf(const Compound& root) {
  return Registry::of(root).plan.get();
}

void ActivationPlan::drop(const Compound& root) {
  Registry::drop(root);
}

// ---- Construction ------------------------------------------------------------------------------

// Everything is pending, so that the first run does all that the walk does.
ActivationPlan::ActivationPlan(Compound& root)
    : mNumber(++sPlans),
      mHead(nullptr),
      mLookedAt(0),
      mRuns(0),
      mIsLarge(false),
      mUsable(true),
      mDisturbed(false),
      mWrittenByHand(false),
      mRecords(false) {
  mFired.reserve(MANY_FIRED + 1);
  rankParts(root);
  mInternals.begin();
  mPending.reset(mTurns.size());
  mUnsettled.reset(mTurns.size());
  mListed.reset(mTurns.size());
  const std::size_t count = mTurns.size() + mInternals.ranks();
  if (Lookahead::pays(count)) mLookahead = std::make_unique<Lookahead>(count);
  mIsLarge = mTurns.size() >= MANY_TURNS || mLookahead != nullptr;
  for (std::size_t rank = 0; rank < mTurns.size(); ++rank) mPending.add(rank);
}

ActivationPlan::~ActivationPlan() {
  for (const Turn& turn : mTurns) {
    if (turn.connector == nullptr) continue;
    InteractionIndex& index = turn.connector->interactions();
    if (index.plan == this) index.plan = nullptr;
  }
}

// The order of the walk: the components of a compound, its connectors, its end.
void ActivationPlan::rankParts(Compound& root) {
  struct Visit {
    std::size_t part;
    int component;  // the next one
  };
  std::vector<Visit> visits{{enter(root), 0}};
  while (!visits.empty()) {
    Visit& visit = visits.back();
    Compound& compound = *mParts[visit.part].compound;
    if (visit.component < compound.components().count()) {
      Component* component = compound.components()[visit.component++];
      if (component->isCompound()) {
        visits.push_back({enter(static_cast<Compound&>(*component)), 0});
      } else if (component->isAtom()) {
        auto& atom = static_cast<Atom&>(*component);
        if (InternalPorts::hasInternalPorts(atom)) mInternals.add(atom);
      }
      continue;
    }
    rankConnectors(visit.part);
    mInternals.leave();
    visits.pop_back();
  }
}

std::size_t ActivationPlan::enter(Compound& compound) {
  mParts.push_back({&compound, mTurns.size(), 0, 0, countOf(compound)});
  mInternals.enter(compound);
  return mParts.size() - 1;
}

// A connector that stands in two places has no single turn.
void ActivationPlan::rankConnectors(std::size_t index) {
  Part& part = mParts[index];
  part.own = mTurns.size();
  for (Connector* connector : part.compound->connectors()) {
    InteractionIndex& place = connector->interactions();
    if (place.plan == this) mUsable = false;
    if (place.plan != nullptr) place.plan->disturb();
    place.plan = this;
    place.rank = static_cast<std::uint32_t>(mTurns.size());
    connector->setNext(nullptr);
    mTurns.push_back({connector, index});
  }
  part.end = mTurns.size();
  mTurns.push_back({nullptr, index});
  if (part.compound->priorities().count() > 0) mPriorityEnds.push_back(part.end);
}

// ---- Whether it still fits ---------------------------------------------------------------------

bool ActivationPlan::holds() {
  if (mDisturbed || !hasAllParts()) return false;
  if (!looksUntouched()) mWrittenByHand = true;
  return !mWrittenByHand && mInternals.update();
}

bool ActivationPlan::hasAllParts() const {
  for (const Part& part : mParts) {
    if (countOf(*part.compound) != part.count) return false;
  }
  return true;
}

// Whether a connector is as the last run has left it: in the list or not, with the given one behind
// it. One that is visited anyway may be in any state.
inline bool ActivationPlan::looksUntouched(std::size_t rank, bool listed,
                                           const Connector* below) const {
  const Connector* const connector = mTurns[rank].connector;
  if (connector == nullptr) return true;
  const bool same =
      connector->evaluated() && (!connector->recomputexPort() || mUnsettled.has(rank)) &&
      listed == (connector->legal() && !connector->isSubconn()) && connector->next() == below;
  return same || mPending.has(rank);
}

bool ActivationPlan::looksUntouched() {
  if (looksAtAll()) {
    mFired.clear();
    return allLookUntouched();
  }
  mFired.push_back(mLookedAt++);
  if (mLookedAt == mTurns.size()) mLookedAt = 0;
  if (mLookahead != nullptr) Lookahead::comesNear(mTurns[mLookedAt].connector);
  for (const std::size_t rank : mFired) {
    if (!looksUntouched(rank)) return false;
  }
  mFired.clear();
  return prioritiesLookUntouched();
}

bool ActivationPlan::allLookUntouched() const {
  const Connector* below = nullptr;
  std::size_t rank = 0;
  std::size_t nextListed = mListed.from(0);
  for (const Turn& turn : mTurns) {
    if (rank == nextListed) {
      if (!looksUntouched(rank, true, below)) return false;
      below = turn.connector;
      nextListed = mListed.from(rank + 1);
    } else if (turn.connector != nullptr && !isAtRest(*turn.connector) && !mPending.has(rank) &&
               !looksUntouched(rank, false, nullptr)) {
      return false;
    }
    ++rank;
  }
  return true;
}

// Their guards have run.
[[gnu::noinline]] bool ActivationPlan::prioritiesLookUntouched() const {
  for (const std::size_t end : mPriorityEnds) {
    for (Priority* priority : mParts[mTurns[end].compound].compound->priorities()) {
      if (!looksUntouched(*priority->low()->connector())) return false;
      if (priority->high() == nullptr) continue;
      if (!looksUntouched(*priority->high()->connector())) return false;
    }
  }
  return true;
}

bool ActivationPlan::looksUntouched(const Connector& connector) const {
  const InteractionIndex& place = connector.interactions();
  return place.plan != this || looksUntouched(place.rank);
}

bool ActivationPlan::looksUntouched(std::size_t rank) const {
  const bool listed = mListed.has(rank);
  const std::size_t below = listed ? mListed.below(rank) : RankSet::NONE;
  return looksUntouched(rank, listed, connectorAt(below));
}

// A write by hand, unless the connector is to be visited anyway. The walk would evaluate it in its
// turn.
void ActivationPlan::noteStale(std::size_t rank) {
  if (mPending.has(rank)) return;
  mPending.add(rank);
  mWrittenByHand = true;
}

void ActivationPlan::noteFiredAmongMany(std::size_t rank) {
  if (!looksAtAll()) mFired.push_back(rank);
  if (mLookahead != nullptr) mLookahead->fires(rank, *mTurns[rank].connector);
}

[[gnu::noinline]] void ActivationPlan::recordChange(std::size_t rank) {
  if (!mChanged.empty() && mChanged.back() == rank) return;
  mRecords = mChanged.size() < mTurns.size();
  mChanged.push_back(rank);
}

void ActivationPlan::record() {
  mChanged.clear();
  mRecords = true;
}

void ActivationPlan::forget(std::size_t rank) {
  mTurns[rank].connector = nullptr;
  mDisturbed = true;
}

// ---- The run -----------------------------------------------------------------------------------

// What is noted for a rank that the run has passed waits for the next one, as with the walk.
void ActivationPlan::run() {
  ++mRuns;
  for (const std::size_t end : mPriorityEnds) mPending.add(end);
  std::size_t rank = mPending.from(0);
  while (rank != RankSet::NONE) {
    if (mTurns[rank].connector != nullptr) {
      visitConnector(rank);
    } else {
      finish(mParts[mTurns[rank].compound]);
      mPending.remove(rank);
    }
    rank = mPending.from(rank + 1);
  }
  fillEnds();
}

// It stays noted when a hook throws.
void ActivationPlan::visitConnector(std::size_t rank) {
  Connector& connector = *mTurns[rank].connector;
  if (!connector.evaluated()) connector.evalNow(true);
  if (connector.evaluated()) mPending.remove(rank);
  if (connector.legal() != (connector.feasibleInter() != nullptr)) mWrittenByHand = true;
  list(rank, connector.legal() && !connector.isSubconn());
  if (mayNeedSettling(rank)) {
    noteDomination(rank);
  } else if (mRecords) {
    recordChange(rank);
  }
}

// Priorities may still change its interactions.
bool ActivationPlan::mayNeedSettling(std::size_t rank) const {
  const Turn& turn = mTurns[rank];
  if (turn.connector->feasibleInter() == nullptr) return turn.connector->recomputexPort();
  return mParts[turn.compound].compound->priorities().count() > 0 ||
         !Compound::isSettled(*turn.connector);
}

// Puts a connector into the list, or takes it out.
void ActivationPlan::list(std::size_t rank, bool legal) {
  if (legal == mListed.has(rank)) return;
  Connector* const connector = mTurns[rank].connector;
  const std::size_t above = mListed.from(rank + 1);
  Connector* const next = connectorAt(mListed.below(rank));
  if (legal) {
    mListed.add(rank);
    connector->setNext(next);
  } else {
    mListed.remove(rank);
    connector->setNext(nullptr);
  }
  Connector* const first = legal ? connector : next;
  if (above == RankSet::NONE) {
    mHead = first;
  } else {
    mTurns[above].connector->setNext(first);
  }
}

// The priorities of a compound, then what they and evaluations have changed in its connectors.
void ActivationPlan::finish(const Part& part) {
  if (part.compound->priorities().count() > 0) part.compound->applyPriorities(legalsOf(part));
  std::size_t rank = mUnsettled.from(part.own);
  while (rank < part.end) {
    mUnsettled.remove(rank);
    Compound::settle(*mTurns[rank].connector);
    rank = mUnsettled.from(rank + 1);
  }
}

// Where none is in the list up to the end of the part, both are null.
LegalConnectors ActivationPlan::legalsOf(const Part& part) const {
  const std::size_t last = mListed.below(part.end);
  Connector* const end = connectorAt(mListed.below(part.first));
  return {last < part.first ? end : connectorAt(last), end};
}

Connector* ActivationPlan::connectorAt(std::size_t rank) const {
  return rank != RankSet::NONE ? mTurns[rank].connector : nullptr;
}

// What the walk leaves in the compounds. Those below the root need the ends of their lists for the
// next walk alone, which finds them again, and for the check of the lists.
void ActivationPlan::fillEnds() {
  Compound& root = *mParts.front().compound;
  root.mLegalHead = mHead;
  root.mLegalTail = mHead != nullptr ? connectorAt(mListed.from(0)) : nullptr;
#ifdef VESK_VALIDATE
  for (const Part& part : mParts) fillEnds(part);
#endif
}

void ActivationPlan::fillEnds(const Part& part) {
  const LegalConnectors legals = legalsOf(part);
  const bool none = legals.first == legals.end;
  part.compound->mLegalHead = none ? nullptr : legals.first;
  part.compound->mLegalTail = none ? nullptr : connectorAt(mListed.from(part.first));
}

}  // namespace Vesk
