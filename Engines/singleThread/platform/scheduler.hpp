// The scheduler: settings from the command line, the untimed and the self-timed execution loops,
// state-space exploration and the single-step console.
#ifndef VESK_SCHEDULER_HPP
#define VESK_SCHEDULER_HPP

#include <cstdio>
#include <fstream>

#include "state-nodes.hpp"
#include "structure.hpp"
#include "vesk-time.hpp"

class Compound;
class Connector;
class Interaction;
class Leaf;
class LogicalClock;
class Node;
class PlatformClock;
class Port;
class SimuClock;
class VeskDebugElmt;
struct option;

namespace Vesk {

// Who chooses what fires: deadlines, the user, or chance.
enum Mode : int { STANDARD = 0, INTERACTIVE = 1, RANDOM = 2 };
// What is done with the system. EXECUTE runs in simulated time.
enum RunMode : int { EXPLORE = 0, EXECUTE = 1, REALTIME = 3 };
// How an exploration goes through the states.
enum Traversal : int { NO_TRAVERSAL = -1, DEPTH_FIRST = 0, BREADTH_FIRST = 1 };
// The loops that run without time.
enum Optimization : int { NO_OPTIMIZATION = 0, MAXIMAL_SYNCHRONISATION = 1, PRIORITY_HEAP = 2 };

}  // namespace Vesk

// Built over a system that it does not own, configured once by parseCmdFile(), run once by run().
class Scheduler {
 public:
  // The numbers are those of Vesk::Mode, Vesk::RunMode, Vesk::Traversal and Vesk::Optimization.
  // quiet silences the trace.
  Scheduler(Compound* system, int mode, bool quiet, int runMode, int traverse,
            int optimizationMode);
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;
  // Deletes the clocks and closes the trace file; neither the system nor the files of an
  // exploration.
  virtual ~Scheduler();

  // Reads the command line into the settings, makes the clocks and, for an exploration, opens its
  // files. A bad option ends the process with the option list and status -1, `--help` with status
  // 0. Resets the traversal that the constructor was given: only an option chooses one, which makes
  // the run an exploration. The other settings of the constructor hold unless an option changes
  // them.
  void parseCmdFile(int argc, char** argv);
  // Explores or executes, as the settings say, until deadlock, error or step limit.
  void run();
  void run_execution();
  // Maximal synchronisation: every step fires all legal connectors up to the first dominated one.
  void runOptimizedExecution();
  // Priority heap: evaluates only connectors that can have changed, the highest level first, and
  // fires each that is legal.
  void runOptimizedExec2();
  // The self-timed loop: chooses by deadlines, or at random with mode 2, and waits for its logical
  // clock.
  void runRandomExecution();
  // Asks on standard input which connector fires, with the debug console.
  void runSinglestepExecution();
  // Fires the list from its head; false when the run is over.
  bool execMaxSynchronize(Connector* connector);
  // A legal, undominated connector: at random, or as the user says. Null when there is none or the
  // user ends the run.
  Connector* choose() const;
  Connector* userChoose() const;
  // True when nothing of the current step can fire at or after now.
  bool deadlock(Vesk::Time now);
  // Computes the earliest deadline of the current step.
  void setDeadline(Vesk::Time now);
  // Chooses what fires next, and when: what is possible first, unless something else would miss its
  // deadline. Exact ties are drawn uniformly.
  void rt_choose(Vesk::Time now);

  // Enumerate the reachable states of an untimed model and write them to the four files.
  void run_dfs_exploration();
  void run_bfs_exploration();

  // The debug console; every operation reports on standard error when the model has no debug
  // support. An element that a scheduler has made the current one is forgotten when it ends.
  void initDebugFct() const;
  // Lists the parts and values of the current element. The argument is not used.
  void displayList(char* unused) const;
  // Prints the value named by a dotted path from the current element.
  void displayElement(char* path) const;
  // Moves to the element named by a dotted path; "-" is the parent.
  void setCurrent(char* path) const;

  // Rebuild a path from a file of transitions. The texts that are given are not changed. At
  // least the last eight results of each operation stay valid side by side.
  char* getFirstChar(char* s, const char* delims) const;
  char* getLastChar(char* s, const char* delims) const;
  char* fromState(char* line) const;
  char* toState(char* line) const;
  bool matchToState(char* line, char* state) const;
  // dst holds at least 1000 characters.
  void getInteraction(char* dst, FILE* file, char* state, int limit) const;
  void getPath(FILE* file) const;

  int mode() const { return mMode; }
  bool quiet() const { return mQuiet; }
  int runMode() const { return mRunMode; }
  int optimizationMode() const { return mOptimizationMode; }
  bool simLimit() const { return mSimLimit; }
  int maxSimLimit() const { return mMaxSimLimit; }
  int randSeed() const { return mRandSeed; }
  // Null in explore mode.
  PlatformClock* platformClock() const { return mPlatformClock; }
  LogicalClock* logicalClock() const { return mLogicalClock; }
  Interaction* choice() const { return mChoice; }
  Port* choicePort() const { return mChoicePort; }
  Vesk::Time choiceDeadline() const { return mChoiceDeadline; }
  Vesk::Time choiceNext() const { return mChoiceNext; }
  Vesk::Time deadline() const { return mDeadline; }
  Vesk::Time drift() const { return mDrift; }
  void setDrift(Vesk::Time drift) { mDrift = drift; }
  int zeroWaiting() const { return mZeroWaiting; }
  Vesk::Time maxWait() const { return mMaxWait; }
  VeskHeap<Connector>& prioHeap() { return mPrioHeap; }
  // Store a choice and its two times; the other kind of choice is cleared by rt_choose(), not here.
  void setChoice(Interaction* interaction, Vesk::Time next, Vesk::Time deadline);
  void setChoice(Port* port, Vesk::Time next, Vesk::Time deadline);

 protected:
  Compound* mSystem;
  Connector* mLegal;              // legal connectors of the current step
  Port* mInternals;               // enabled internal ports of the current step
  PlatformClock* mPlatformClock;  // owned
  LogicalClock* mLogicalClock;    // owned
  Connector* mConnectorChoice;
  Interaction* mChoice;
  Port* mChoicePort;
  Vesk::Time mChoiceNext;
  Vesk::Time mChoiceDeadline;
  Vesk::Time mDeadline;           // earliest deadline of the current step
  VeskHeap<Connector> mPrioHeap;  // connectors waiting for evaluation
  int mMode;
  int mIntQuiet;  // option flag
  bool mQuiet;
  int mRunMode;
  int mTraverse;
  int mOptimizationMode;
  bool mSimLimit;
  int mMaxSimLimit;
  int mSimStep;         // steps counted against the limit
  int mDisable_output;  // option flag
  bool disable_output;
  int mTrace;  // print the state after each step of the self-timed loop
  int mRandSeed;
  FILE* aut_file;
  FILE* state_file;
  std::ofstream simout_file;
  FILE* pruned_paths;
  FILE* deadlock_states;
  int mZeroWaiting;       // 1: fire at the chosen time; 0: add a random wait first
  Vesk::Time mMaxWait;    // upper bound of the random wait, microseconds
  Vesk::Time mDrift;      // platform time minus logical time, measured last
  Vesk::Time mMaxDrift;   // drift above which the run stops
  Vesk::Time mDelta;      // time that executing one step may take
  Vesk::Time mTolerance;  // how long before mDeadline the logical clock catches up

 public:
  std::ostream* simout;  // where the trace goes; not owned

 protected:
  // Counts a step when there is a limit; true when it was the last one.
  bool stepLimitReached();

 private:
  SimuClock* mIdleClock;  // owned: stands under the logical clock in explore mode, or null

  void enterConsole(VeskDebugElmt* element) const;
  void leaveConsole() const;
  struct Output;
  static const Output OUTPUTS[4];  // the files of an exploration

  option* bindOptions();
  void openTrace(const char* name);
  void openOutputFiles(const char* base);
  void closeOutputFiles();
  void createClocks();
  void explore();

  void traceFired(Connector& connector);
  bool timedStep();
  void traceTimes(const char* title);
  void catchUpWithPlatform();
  bool deadlineIsMet();
  bool driftIsBounded();
  void waitAtRandom();
  void waitAndFire();
  void traceState();

  template <class Traversal>
  void exploreBy();
};

// Writes the banner to standard output.
void printLogo();
// Writes the list of options, which ends with a null name, to standard output.
void help(option* table);

#endif
