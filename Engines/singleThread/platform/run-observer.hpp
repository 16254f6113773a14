// Watching a run from outside: for the program that inspects models. Private to the engine and that
// program; models do not see it.
#ifndef VESK_RUN_OBSERVER_HPP
#define VESK_RUN_OBSERVER_HPP

#include <iosfwd>

#include "vesk-time.hpp"

class Compound;
class Connector;
class Executable;
class LogicalClock;
class Port;
class Scheduler;

namespace Vesk {

// Why a loop has ended.
enum class RunEnd {
  DEADLOCK,
  URGENCY,    // an urgent time has passed, or a deadline was missed
  DRIFT,      // the platform clock is too far ahead
  NO_CHOICE,  // the policy or the user has chosen nothing
  LIMIT
};

// Told by every loop about every step. An observer changes nothing of the system, and does not
// throw. Deriving from it needs nothing of the library.
class RunObserver {
 public:
  virtual ~RunObserver() = default;

  // The options have been read; the root may be null. The run or the exploration follows.
  virtual void configured(Compound* root, const Scheduler& settings) = 0;
  // The system has been initialised; the clock is null in a loop without time.
  virtual void started(Compound& system, const LogicalClock* clock) = 0;
  // A step begins: what is enabled, before any filter. The loop by levels tells the connector that
  // it has evaluated, alone.
  virtual void stepBegins(Connector* legals, Port* internals) = 0;
  // Something is about to fire: in a loop with time what was chosen, and when; without time the
  // first interaction of the connector that is possible at 0. Several times in a step of maximal
  // synchronisation.
  virtual void firing(Executable& choice, const Time& time) = 0;
  virtual void firing(Connector& connector) = 0;
  // The step is over.
  virtual void stepEnds() = 0;
  // The loop is over. The line is what it has said about that; null when it says nothing, and in
  // the timed engine, which has written it to line().
  virtual void ended(RunEnd end, const char* line) = 0;
  // What the timed engine writes into its trace, or would write if it were not quiet: the line so
  // far, and that it is complete.
  virtual std::ostream& line() = 0;
  virtual void lineEnds() = 0;
};

// Who watches, or null. Asked by the loops at every step.
extern RunObserver* runObserver;

// Makes an observer, which is not owned, the one who watches; null: nobody does.
void watchRuns(RunObserver* observer);

// What the library's own `main` does, for a program that has another one.
int runProgram(int argc, char** argv);

// What the loops tell whoever watches.
inline void tellStarted(Compound& system, const LogicalClock* clock) {
  if (runObserver != nullptr) runObserver->started(system, clock);
}
inline void tellStep(Connector* legals, Port* internals) {
  if (runObserver != nullptr) runObserver->stepBegins(legals, internals);
}
inline void tellFiring(Executable& choice, const Time& time) {
  if (runObserver != nullptr) runObserver->firing(choice, time);
}
inline void tellFiring(Connector& connector) {
  if (runObserver != nullptr) runObserver->firing(connector);
}
inline void tellStepEnd() {
  if (runObserver != nullptr) runObserver->stepEnds();
}
inline void tellEnd(RunEnd end, const char* line = nullptr) {
  if (runObserver != nullptr) runObserver->ended(end, line);
}

}  // namespace Vesk

#endif
