// What both searches share: a search enumerates the states that an untimed model can reach. Private
// to the engine.
#ifndef VESK_EXPLORATION_SEARCH_HPP
#define VESK_EXPLORATION_SEARCH_HPP

#include <deque>
#include <memory>

#include "component.hpp"
#include "exploration/files.hpp"
#include "exploration/progress.hpp"
#include "exploration/state-table.hpp"
#include "states.hpp"
#include "structure.hpp"

class Connector;

namespace Vesk {

class SearchSignals;

// The label of the transition that was taken last. The text is built when it is asked for.
class LastLabel {
 public:
  void set(Connector* connector);
  // Valid until the next label of any connector.
  const char* text() const;

 private:
  Connector* mConnector = nullptr;
  BitVector mSet;
};

// The states from the root to the one that a depth-first search works on. An entry whose pending
// transitions have all been taken leaves the path.
class Path {
 public:
  void enter(StateNumber state) { mEntries.push_back({state, 0}); }
  // One more transition is pending out of the newest entry.
  void addPending() {
    if (!mEntries.empty()) ++mEntries.back().pending;
  }
  // Deliberate: a state without transitions leaves the path like any other, though it was never
  // counted among the pending ones of the entry before it. That entry may leave too early.
  void backtrack();
  void write(OutputBuffer& file) const;
  // To standard output.
  void print() const;
  Count size() const { return mEntries.size(); }

 private:
  struct Entry {
    StateNumber state;
    std::uint64_t pending;  // transitions below this point that have still to be taken
  };
  std::deque<Entry> mEntries;
};

// Enumerates the reachable states, prints the summary and fills the files. The two kinds of search
// differ in what they take next.
class Search {
 public:
  // What a search takes from the scheduler and leaves there.
  struct Place {
    Compound& system;
    Connector*& legal;
    Connector*& choice;
  };

  Search(const Place& place, ExplorationFiles& files, const Progress& progress,
         const SearchSignals& signals);
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;
  virtual ~Search();

  // Explores, prints the summary and completes the files, also when model code throws: then the
  // exception goes on.
  void run();

 protected:
  using Tree = std::unique_ptr<Node>;

  // Finds the initial state.
  virtual void begin() = 0;
  // How many are waiting in the queue or stack.
  virtual Count stored() const = 0;
  // Takes one of them. Requires: there is one.
  virtual void takeOne() = 0;
  virtual const Path* path() const { return nullptr; }

  Tree capture() { return Tree(mPlace.system.getState()); }
  void release(Tree tree);
  void activate() { mPlace.legal = mPlace.system.activate(false); }
  void restore(StateNumber state) { mPlace.system.setState(mStates.restore(state)); }
  void writeState(StateNumber state);
  void writeTransition(StateNumber source, StateNumber target);
  void writePath(OutputBuffer& file);

  const Place mPlace;
  ExplorationFiles& mFiles;
  StateTable mStates;
  Counters mCounters;
  LastLabel mLabel;

 private:
  void explore();
  void printSummary() const;
  void printError() const;
  void complete(Count transitions) { mFiles.complete(transitions, mStates.count()); }
  static void completeAtExit();

  static Search* sRunning;  // whose files are completed when model code ends the process

  Progress mProgress;
  const SearchSignals& mSignals;
  Tree mErrorState;  // keeps what faulty_leaf points into until it has been printed
};

// Lowers the flags that model code raises.
void clearFlags();

}  // namespace Vesk

#endif
