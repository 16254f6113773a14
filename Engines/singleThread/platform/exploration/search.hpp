// What both searches share: a search enumerates the states that an untimed model can reach. Private
// to the engine.
#ifndef VESK_EXPLORATION_SEARCH_HPP
#define VESK_EXPLORATION_SEARCH_HPP

#include <cstdint>
#include <memory>
#include <vector>

#include "exploration/files.hpp"
#include "exploration/progress.hpp"
#include "exploration/signals.hpp"
#include "exploration/state-space.hpp"

namespace Vesk {

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
  // counted among the pending ones of the entry before it. That entry may leave too early; readers
  // of the files know such paths. (docs/decisions/0004-the-path-to-a-deadlock.md)
  void backtrack() {
    while (!mEntries.empty() && mEntries.back().pending == 0) {
      mEntries.pop_back();
      if (!mEntries.empty()) --mEntries.back().pending;
    }
  }
  void write(OutputBuffer& file) const;
  // To standard output.
  void print() const;
  Count size() const { return mEntries.size(); }

 private:
  struct Entry {
    StateNumber state;
    std::uint64_t pending;  // transitions below this point that have still to be taken
  };
  std::vector<Entry> mEntries;
};

// Enumerates the reachable states, prints the summary and fills the files. The two kinds of search
// differ in what they take next.
class Search {
 public:
  Search(const Place& place, ExplorationFiles& files, const Progress& progress,
         const SearchSignals& signals);
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;
  virtual ~Search();

  // Explores, prints the summary and completes the files, also when model code throws: then the
  // exception goes on.
  void run();

 protected:
  // Finds the initial state.
  virtual void begin() = 0;
  // Takes one of them. Requires: there is one.
  virtual void takeOne() = 0;
  virtual const Path* path() const { return nullptr; }

  void writeTransition(StateNumber source, StateNumber target);
  void writePath(OutputBuffer& file);
  bool isStopped() const { return mSignals.caught() != 0; }

  std::unique_ptr<StateSpace> mSpace;  // made when the system has been initialised
  ExplorationFiles& mFiles;
  Counters mCounters;
  Count mStored = 0;  // how many are waiting in the queue or stack
  Label mLabel;       // of the transition that was taken last

 private:
  // Ends all states that are still waiting.
  virtual void endAll() = 0;

  void explore();
  void finish();
  void printSummary() const;
  void printError() const;
  StateNumber found() const { return mSpace != nullptr ? mSpace->count() : 0; }
  void complete(Count transitions) { mFiles.complete(transitions, found()); }
  static void completeAtExit();
  static void flushBeforeFork();

  static Search* sRunning;  // whose files are completed when model code ends the process

  const Place mPlace;
  Progress mProgress;
  const SearchSignals& mSignals;
};

}  // namespace Vesk

#endif
