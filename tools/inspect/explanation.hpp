// Why a run has ended, in words.
#ifndef VESK_INSPECT_EXPLANATION_HPP
#define VESK_INSPECT_EXPLANATION_HPP

#include <memory>
#include <ostream>
#include <string>

#include "parts.hpp"
#include "run-observer.hpp"
#include "vesk-time.hpp"

namespace Vesk::Inspect {

// Watches a run and explains its end, while the system is still in its last state.
class Explanation : public RunObserver {
 public:
  Explanation();
  ~Explanation() override;

  void configured(Compound* root, const Scheduler& settings) override;
  void started(Compound& system, const LogicalClock* clock) override;
  void stepBegins(Connector* legals, Port* internals) override;
  void firing(Executable&, const Time&) override {}
  void firing(Connector&) override {}
  void stepEnds() override {}
  void ended(RunEnd end, const char* line) override;
  std::ostream& line() override { return mNowhere; }
  void lineEnds() override {}

  // Empty when no run has ended.
  const std::string& text() const { return mText; }
  // Why nothing of the connector fires in the step that has begun.
  std::string whyNot(Connector& connector) const;

 private:
  void add(const std::string& line) { mText += line + "\n"; }
  template <class Visit>
  void everyExecutable(Visit visit) const;
  bool isEndOfTime() const;
  long long startBeyondTime(const Port& port) const;

  void explainEndOfTime();
  void explainRandomTimes();
  void explainDeadlock();
  void explainEmptyHeap();
  void explainUrgency();
  void explainDrift();
  void explainNoChoice();
  void explainLimit();

  std::string whyNotNow(Connector& connector) const;
  std::string whyNotFeasible(Connector& connector) const;
  std::string whyNotPort(Port& port) const;
  std::string dominatorsOf(Interaction& interaction) const;
  void addStates();

  std::ostream mNowhere{nullptr};
  std::string mText;
  bool mAtRandom = false;
  bool mAsksUser = false;
  bool mByLevels = false;  // --opt2
  Compound* mSystem = nullptr;
  const LogicalClock* mClock = nullptr;
  std::unique_ptr<Parts> mParts;
  Connector* mLegals = nullptr;  // of the last step
  Port* mInternals = nullptr;
  Time mBefore;  // when that step began
};

}  // namespace Vesk::Inspect

#endif
