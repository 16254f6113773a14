// The result of an exploration: the transition system and what the files beside it say about
// states.
#ifndef VESK_LTS_EXPLORATION_HPP
#define VESK_LTS_EXPLORATION_HPP

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "aut-reader.hpp"
#include "column.hpp"
#include "graph.hpp"

namespace Vesk::Lts {

class Progress;

// The names of the files of an exploration.
struct FileNames {
  std::string transitions;
  std::string states;     // empty: there is no such file
  std::string deadlocks;  // likewise
  std::string pruned;     // likewise

  // From what -o has named, from the name of the .aut file, or from that of any file.
  static FileNames of(const std::string& name);
};

class Exploration {
 public:
  // Throws a Fault when a file cannot be used.
  Exploration(const std::string& name, Progress& progress);

  const FileNames& files() const { return mFiles; }
  const Graph& graph() const { return mAut.graph; }
  const AutFile& aut() const { return mAut; }
  bool hasTexts() const { return !mFiles.states.empty(); }
  // The state with this number. Throws a Fault when there is none.
  State stateNumbered(std::uint64_t number) const;

  // In ascending order. Without a .deadlock file these are all states without a way out.
  const std::vector<State>& deadlocks() const { return mDeadlocks; }
  bool isDeadlock(State state) const { return is(state, DEADLOCK); }
  // The model did not want to be explored behind it.
  bool isPruned(State state) const { return is(state, PRUNED); }
  // The search ended before it came to this state.
  bool isUnexpanded(State state) const { return is(state, UNEXPANDED); }
  // The state in which the search met an error: depth-first search writes it.
  std::optional<State> errorState() const { return mErrorState; }
  // The state from which the search went into an error: breadth-first search does not write the
  // transition, but counts it.
  std::optional<State> errorSource() const { return mErrorSource; }

  // The states that were found: those of the header, or of the transitions when it has fewer.
  std::uint64_t statesFound() const;
  // How many times the search has pruned. More than there are pruned states when it was stopped,
  // because then some of them cannot be told from those that were waiting.
  std::uint64_t prunedCount() const { return mPrunedCount; }

  // What is wrong with the files, a line each.
  const std::vector<std::string>& warnings() const { return mWarnings; }

  // Calls use with each state and its text; with none when there is no .state file.
  void readTexts(Progress& progress, const std::function<void(State, std::string_view)>& use) const;

 private:
  enum Mark : std::uint8_t { LISTED = 1, DEADLOCK = 2, PRUNED = 4, UNEXPANDED = 8 };

  bool is(State state, Mark mark) const { return (mMarks[state] & mark) != 0; }
  void mark(State state, Mark mark) {
    mMarks[state] = static_cast<std::uint8_t>(mMarks[state] | mark);
  }
  void readMarks(Progress& progress);
  void readDeadlockMarks(Progress& progress);
  void readPrunedMarks(Progress& progress);
  void readStateMarks(Progress& progress);
  void markPrunedByBreadth(std::uint64_t count);
  void markUnexpanded();
  void findDeadlocks();
  void findError();
  void findWarnings();

  FileNames mFiles;
  AutFile mAut;
  Column<std::uint8_t> mMarks;  // of each state, from Mark
  std::vector<State> mDeadlocks;
  std::uint64_t mPrunedCount = 0;
  std::uint64_t mListed = 0;
  State mLastListed = 0;
  bool mLastHasError = false;
  bool mByDepth = false;
  std::optional<State> mErrorState;
  std::optional<State> mErrorSource;
  std::vector<std::string> mWarnings;
};

}  // namespace Vesk::Lts

#endif
