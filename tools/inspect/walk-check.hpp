// Mistakes that show when a model runs.
#ifndef VESK_INSPECT_WALK_CHECK_HPP
#define VESK_INSPECT_WALK_CHECK_HPP

#include <cstddef>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "parts.hpp"
#include "run-observer.hpp"

class Constraint;

namespace Vesk::Inspect {

class Findings;

// What has been possible at least once, by name: each walk has a system of its own.
struct Seen {
  std::set<std::string> ports;
  std::set<std::string> connectors;
};

// Looks at every step of a run, in whatever way the engine runs it.
class RunCheck : public RunObserver {
 public:
  // `way` is how the run was asked for, for the texts.
  RunCheck(std::string way, Seen& seen, Findings& findings);
  ~RunCheck() override;

  void configured(Compound* root, const Scheduler& settings) override;
  void started(Compound& system, const LogicalClock* clock) override;
  void stepBegins(Connector* legals, Port* internals) override;
  void firing(Executable&, const Time&) override {}
  void firing(Connector& connector) override;
  void stepEnds() override {}
  void ended(RunEnd, const char*) override {}
  std::ostream& line() override { return mNowhere; }
  void lineEnds() override {}

  // The run is over.
  void finish();

 private:
  static constexpr std::size_t MOST_NAMES = 3;

  void checkConstraints();
  void checkConstraint(const Constraint& constraint, std::size_t atom);

  std::string mWay;
  Seen& mSeen;
  Findings& mFindings;
  std::ostream mNowhere{nullptr};
  std::unique_ptr<Parts> mParts;
  std::set<Port*> mFired;        // in this step
  std::set<std::string> mTwice;  // that have fired more than once in a step
};

// Marks what can fire now, and looks at rendezvous that can.
void lookAtStep(const Parts& parts, Seen& seen, Findings& findings);

// Goes through states as an exploration does, at random, and restores every state that it finds.
// The system is built and not yet initialised.
void checkStates(Compound& system, unsigned int steps, unsigned int seed, Seen& seen,
                 Findings& findings);

// What no walk has seen.
void reportUnseen(const Parts& parts, const Seen& seen, unsigned int steps, Findings& findings);

}  // namespace Vesk::Inspect

#endif
