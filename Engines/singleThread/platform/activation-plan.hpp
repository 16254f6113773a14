// What activate(true) remembers from one step to the next. Private to the engine.
#ifndef VESK_ACTIVATION_PLAN_HPP
#define VESK_ACTIVATION_PLAN_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "internal-ports.hpp"
#include "lookahead.hpp"
#include "rank-set.hpp"

class Compound;
class Connector;

namespace Vesk {

// A part of the list of legal connectors, from its first one to the one behind its last.
struct LegalConnectors {
  Connector* first;
  const Connector* end;
};

// Does what the walk of the tree does, but visits only what has changed since the last time. Every
// connector and the end of every compound has a rank, its turn in the walk. Whatever makes a
// connector evaluate again notes its rank here, and a run goes through the noted ranks in their
// order: hooks are called as often and in the same order as by the walk, and the lists are the
// same. The guards of all priorities are asked in every run, as by the walk.
//
// The walk is done, and the plan is made again when it pays, when parts have been added, and when
// something else has walked the connectors. It is always done for
// - small systems, which gain nothing;
// - systems that turn out to write the flags of their connectors by hand. The fields of a connector
//   are open to the classes of models, and such a write cannot be noted. So each run begins with a
//   look at all connectors, or of many, at those that have fired or use a port of an atom that has
//   moved, at those of all priorities, and at one more in turn. The first write that it finds ends
//   the plan for good.
class ActivationPlan {
 public:
  // The plan for the next activate(true) of a compound, null when it has to walk.
  static ActivationPlan* of(Compound& root);
  // The one that the last activate(true) of a compound has run, null when it has walked.
  static ActivationPlan* lastOf(const Compound& root);
  // Forgets the plan of a compound that ends.
  static void drop(const Compound& root);

  explicit ActivationPlan(Compound& root);
  ActivationPlan(const ActivationPlan&) = delete;
  ActivationPlan& operator=(const ActivationPlan&) = delete;
  ~ActivationPlan();

  // Requires: holds().
  void run();

  // The connector with this rank evaluates again, or has been evaluated.
  void noteEvaluation(std::size_t rank) { mPending.add(rank); }
  // It was to be reset, but is not evaluated any more.
  void noteStale(std::size_t rank);
  // It fires: code of the model runs. A small system is looked at as a whole anyway.
  void noteFired(std::size_t rank) {
    if (mIsLarge) noteFiredAmongMany(rank);
  }
  // A priority has changed its interactions.
  void noteDomination(std::size_t rank) {
    mUnsettled.add(rank);
    mPending.add(mParts[mTurns[rank].compound].end);
    if (mRecords) recordChange(rank);
  }
  // The connector with this rank ends.
  void forget(std::size_t rank);
  // Something else has linked connectors.
  void disturb() { mDisturbed = true; }

  // For who keeps something about what a run has found. No two plans have the same number.
  unsigned long long number() const { return mNumber; }
  std::size_t ranks() const { return mTurns.size(); }
  // Null when it is not in the list of legal connectors, or the turn is no connector's.
  Connector* listed(std::size_t rank) const {
    return mListed.has(rank) ? mTurns[rank].connector : nullptr;
  }
  const InternalPorts& internals() const { return mInternals; }
  // Of the connectors by their ranks, then of the internal ports by theirs; null in a small system.
  Lookahead* lookahead() const { return mLookahead.get(); }
  // Begins to record the ranks of the connectors that may have changed; empties the record.
  void record();
  // What has been recorded, some perhaps more than once; all may have changed when it is not whole.
  const std::vector<std::size_t>& changed() const { return mChanged; }
  bool recordIsWhole() const { return mRecords; }

 private:
  struct Registry;

  static constexpr std::size_t MANY_TURNS =
      512;  // from which a run looks at one in turn, not at all
  static constexpr std::size_t MANY_FIRED = 64;  // since the last run; from which it looks at all

  // The turn of a connector, or without one that of the end of a compound.
  struct Turn {
    Connector* connector;
    std::size_t compound;  // index of the compound that has the connector
  };
  // A compound with the ranks of its parts: those of its components from first on, those of its
  // connectors from own on, its end.
  struct Part {
    Compound* compound;
    std::size_t first;
    std::size_t own;
    std::size_t end;
    int count;  // of everything in its lists
  };
  void rankParts(Compound& root);
  std::size_t enter(Compound& compound);
  void rankConnectors(std::size_t index);
  bool holds();
  bool hasAllParts() const;
  bool looksAtAll() const { return mTurns.size() < MANY_TURNS || mFired.size() == MANY_FIRED; }
  bool looksUntouched();
  bool allLookUntouched() const;
  bool prioritiesLookUntouched() const;
  bool looksUntouched(const Connector& connector) const;
  bool looksUntouched(std::size_t rank) const;
  bool looksUntouched(std::size_t rank, bool listed, const Connector* below) const;
  void noteFiredAmongMany(std::size_t rank);
  void recordChange(std::size_t rank);
  void visitConnector(std::size_t rank);
  bool mayNeedSettling(std::size_t rank) const;
  void list(std::size_t rank, bool legal);
  void finish(const Part& part);
  LegalConnectors legalsOf(const Part& part) const;
  Connector* connectorAt(std::size_t rank) const;
  void fillEnds();
  void fillEnds(const Part& part);

  static unsigned long long sPlans;  // how many have been made

  const unsigned long long mNumber;
  std::vector<Part> mParts;
  std::vector<Turn> mTurns;
  InternalPorts mInternals;
  std::vector<std::size_t> mPriorityEnds;  // of the compounds that have priorities
  std::vector<std::size_t> mFired;         // connectors to be looked at, see looksAtAll()
  std::vector<std::size_t> mChanged;       // see record()
  std::unique_ptr<Lookahead> mLookahead;
  RankSet mPending;    // still to be visited
  RankSet mUnsettled;  // connectors whose interactions have changed
  RankSet mListed;
  Connector* mHead;
  std::size_t mLookedAt;
  unsigned int mRuns;
  bool mIsLarge;
  bool mUsable;
  bool mDisturbed;
  bool mWrittenByHand;
  bool mRecords;
};

}  // namespace Vesk

#endif
