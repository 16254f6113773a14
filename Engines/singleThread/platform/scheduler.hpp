// The scheduler: settings from the command line, the untimed and the self-timed execution loops,
// state-space exploration and the single-step console.
//
// The library's own `main` makes one. A program with a `main` of its own can do so as well:
//
//     // The options of the command line, with single steps by hand instead of the timed engine.
//     int runByHand(int argc, char** argv) {
//       Compound* system = Compound::Create(argc, argv);
//       if (system == nullptr) return 1;
//       {
//         Scheduler scheduler(system, Vesk::INTERACTIVE, false, Vesk::EXECUTE, Vesk::NO_TRAVERSAL,
//                             Vesk::NO_OPTIMIZATION);
//         scheduler.parseCmdFile(argc, argv);
//         scheduler.run();
//       }
//       delete system;
//       return 0;
//     }
//
// Times are microseconds. Lists of a step are those of Compound::activate(), in its order.
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

// Who chooses what fires: deadlines, the user (--interactive), or chance (--random).
enum Mode : int { STANDARD = 0, INTERACTIVE = 1, RANDOM = 2 };
// What is done with the system: its states are explored, or it runs in simulated or in real time. 2
// has no meaning.
enum RunMode : int { EXPLORE = 0, EXECUTE = 1, REALTIME = 3 };
// How an exploration goes through the states. With NO_TRAVERSAL its files are made and stay empty.
enum Traversal : int { NO_TRAVERSAL = -1, DEPTH_FIRST = 0, BREADTH_FIRST = 1 };
// The loops that run without time: --opt1 and --opt2.
enum Optimization : int { NO_OPTIMIZATION = 0, MAXIMAL_SYNCHRONISATION = 1, PRIORITY_HEAP = 2 };

}  // namespace Vesk

// Built over a system that it does not own, configured once by parseCmdFile(), run once by run(). A
// system that is deleted first must not be run any more; the destructor does not touch it.
class Scheduler {
 public:
  // The numbers are those of Vesk::Mode, Vesk::RunMode, Vesk::Traversal and Vesk::Optimization.
  // quiet silences the trace.
  Scheduler(Compound* system, int mode, bool quiet, int runMode, int traverse,
            int optimizationMode);
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;
  // Deletes the clocks and closes the trace file; neither the system nor the files of an
  // exploration, which run() closes. A trace that could not be written whole is reported on
  // standard error.
  virtual ~Scheduler();

  // Reads the command line into the settings, makes the clocks and, for an exploration, opens its
  // files. A bad option ends the process with the option list and status -1, `--help` with status
  // 0. Resets the traversal that the constructor was given: only an option chooses one, which makes
  // the run an exploration. The other settings of the constructor hold unless an option changes
  // them.
  void parseCmdFile(int argc, char** argv);
  // Explores or executes, as the settings say, until deadlock, error or step limit.
  void run();
  // The loop that optimisation and, without one, the mode of choice ask for. Other modes do
  // nothing.
  void run_execution();
  // Maximal synchronisation: every step fires all legal connectors up to the first dominated one.
  // Ends with a message when there is none, or at the step limit. Does not set priorities up.
  void runOptimizedExecution();
  // Priority heap: evaluates only connectors that can have changed, the highest level first, and
  // fires each that is legal. For systems without exported ports: what fires does not queue the
  // connectors above. Ends with a message when the heap is empty, or at the step limit.
  void runOptimizedExec2();
  // The self-timed loop: chooses by deadlines and waits for its logical clock; with mode RANDOM it
  // adds random waits. Ends by deadlock, a missed deadline, too much drift or the step limit, then
  // prints the CPU time. Without the clocks that parseCmdFile() makes, it reports that and returns.
  void runRandomExecution();
  // Asks on standard input which connector fires, with the debug console. Without time:
  // interactions fire at 0. Ends when the user says so or the input ends.
  void runSinglestepExecution();
  // Fires the list from its head up to the first dominated connector; false when the run is over.
  // Null is a deadlock.
  bool execMaxSynchronize(Connector* connector);
  // A legal, undominated connector of the current step: at random with one rand(), or as the user
  // says. Null when there is none or the user ends the run. The user is shown the connectors in the
  // order of the list, numbered from 1.
  Connector* choose() const;
  Connector* userChoose() const;
  // True when nothing of the current step can fire at or after now. A null list has nothing.
  bool deadlock(Vesk::Time now);
  // Computes the earliest deadline of the current step, for deadline(); MAX when nothing is urgent.
  void setDeadline(Vesk::Time now);
  // Chooses what fires next, and when: what is possible first, unless something else would miss its
  // deadline. Exact ties are drawn uniformly. Sets choice() or choicePort(), and the two times;
  // with nothing to choose both are null and both times MAX.
  void rt_choose(Vesk::Time now);

  // Enumerate the reachable states of an untimed model and write them to the four files,
  // depth-first or breadth-first, with progress and a summary on standard output. A step limit
  // counts transitions taken from the stack, or states taken from the queue. SIGINT, SIGTERM,
  // SIGHUP and SIGXCPU end the search with files that can be read, then the process; an exception
  // of model code passes through after that.
  void run_dfs_exploration();
  void run_bfs_exploration();

  // The debug console; every operation reports on standard error when the model has no debug
  // support. An element that a scheduler has made the current one is forgotten when it ends.
  void initDebugFct() const;
  // Lists the parts and values of the current element, in the order in which it names them. The
  // argument is not used.
  void displayList(char* unused) const;
  // Prints the value named by a dotted path from the current element: `a.b.c` is value c of part b
  // of part a. What does not exist is reported on standard error.
  void displayElement(char* path) const;
  // Moves to the element named by a dotted path; "-" is the parent. A path that leads nowhere
  // leaves the current element as it is.
  void setCurrent(char* path) const;

  // Rebuild a path from a file of transitions. The texts that are given are not changed. At
  // least the last eight results of each operation stay valid side by side; nobody frees them.

  // The first and the last part of a text between the given delimiters; null when there is none.
  char* getFirstChar(char* s, const char* delims) const;
  char* getLastChar(char* s, const char* delims) const;
  // Source and target of a line "(12, a, 7)": "12", and " 7" with the blank. Null when there is
  // none.
  char* fromState(char* line) const;
  char* toState(char* line) const;
  // True when the target of the line is the state, blanks included.
  bool matchToState(char* line, char* state) const;
  // Copies to dst the last of the first `limit` lines whose target is the state; dst stays as it is
  // when there is none. Reads the file from its start. dst holds at least 1000 characters.
  void getInteraction(char* dst, FILE* file, char* state, int limit) const;
  // Prints the path from state 0 to the last line of the file, at most 1000 lines, as far as lines
  // fit together.
  void getPath(FILE* file) const;

  // The settings, as the constructor and the options have left them. A limit counts only when
  // simLimit() is true; 0 then is never reached.
  int mode() const { return mMode; }
  bool quiet() const { return mQuiet; }
  int runMode() const { return mRunMode; }
  int optimizationMode() const { return mOptimizationMode; }
  bool simLimit() const { return mSimLimit; }
  int maxSimLimit() const { return mMaxSimLimit; }
  int randSeed() const { return mRandSeed; }
  // Null in explore mode, and before parseCmdFile(). Not owned by the caller.
  PlatformClock* platformClock() const { return mPlatformClock; }
  // Null before parseCmdFile().
  LogicalClock* logicalClock() const { return mLogicalClock; }
  // What rt_choose() has chosen last; at most one of the two is not null. Then when it fires, and
  // by when it must.
  Interaction* choice() const { return mChoice; }
  Port* choicePort() const { return mChoicePort; }
  Vesk::Time choiceDeadline() const { return mChoiceDeadline; }
  Vesk::Time choiceNext() const { return mChoiceNext; }
  // What setDeadline() has computed last; MAX at first.
  Vesk::Time deadline() const { return mDeadline; }
  // How far the platform clock was ahead of the logical clock in the last step.
  Vesk::Time drift() const { return mDrift; }
  void setDrift(Vesk::Time drift) { mDrift = drift; }
  // 1: fire at the chosen time; 0: wait at random first, with at most maxWait() for a draw.
  int zeroWaiting() const { return mZeroWaiting; }
  Vesk::Time maxWait() const { return mMaxWait; }
  // The connectors that are to be evaluated by the priority-heap loop.
  VeskHeap<Connector>& prioHeap() { return mPrioHeap; }
  // Store a choice, which may be null, and its two times. Called by rt_choose(), which clears the
  // other kind of choice; that does not happen here.
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
  // Counts a step when there is a limit; true when it was the last one. Called once after each step
  // of the loops here; a derived loop does the same.
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

// Writes the banner, the first line of every run, to standard output.
void printLogo();
// Writes the list of options, which ends with a null name, to standard output: each long name, and
// the letter of those that have one.
void help(option* table);

#endif
