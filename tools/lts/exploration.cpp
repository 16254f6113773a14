#include "exploration.hpp"

#include <sys/stat.h>

#include <algorithm>

#include "fault.hpp"
#include "printable.hpp"
#include "scan.hpp"
#include "side-files.hpp"

namespace Vesk::Lts {

namespace {

constexpr std::string_view AUT = ".aut";
constexpr std::string_view ERROR_WORD = "ERROR";

bool exists(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

std::string ifThere(const std::string& path) {
  return exists(path) ? path : std::string();
}

FileNames withSideFiles(const std::string& transitions, const std::string& stem) {
  return {transitions, ifThere(stem + ".state"), ifThere(stem + ".deadlock"),
          ifThere(stem + ".pruned")};
}

}  // namespace

// ---- Names -----------------------------------------------------------------------------------

FileNames FileNames::of(const std::string& name) {
  std::string_view stem = name;
  if (takeSuffix(stem, AUT) && exists(name)) return withSideFiles(name, std::string(stem));
  const std::string transitions = name + std::string(AUT);
  if (!exists(transitions) && exists(name)) return {name, "", "", ""};
  return withSideFiles(transitions, name);
}

// ---- Exploration -----------------------------------------------------------------------------

Exploration::Exploration(const std::string& name, Progress& progress)
    : mFiles(FileNames::of(name)),
      mAut(readAut(mFiles.transitions, progress)),
      mMarks(mAut.graph.states()) {
  readMarks(progress);
  findWarnings();
}

State Exploration::stateNumbered(std::uint64_t number) const {
  if (number < graph().states()) return static_cast<State>(number);
  throw Fault("there is no state " + std::to_string(number) + " in " +
              printable(mFiles.transitions) + ", expected a number below " +
              std::to_string(graph().states()));
}

std::uint64_t Exploration::statesFound() const {
  const std::uint64_t named = graph().states();
  return mAut.header ? std::max(named, mAut.header->states) : named;
}

void Exploration::readTexts(Progress& progress,
                            const std::function<void(State, std::string_view)>& use) const {
  if (hasTexts()) readStates(mFiles.states, graph().states(), progress, use);
}

void Exploration::readMarks(Progress& progress) {
  readDeadlockMarks(progress);
  readStateMarks(progress);
  readPrunedMarks(progress);
  findError();
  findDeadlocks();
  markUnexpanded();
}

void Exploration::readDeadlockMarks(Progress& progress) {
  if (mFiles.deadlocks.empty()) return;
  const NumberedStates read = readDeadlocks(mFiles.deadlocks, graph().states(), progress);
  mByDepth = read.hasPaths;
  for (State state : read.states) mark(state, DEADLOCK);
}

void Exploration::readStateMarks(Progress& progress) {
  readTexts(progress, [this](State state, std::string_view text) {
    mark(state, LISTED);
    ++mListed;
    mLastListed = state;
    mLastHasError = text.find(ERROR_WORD) != std::string_view::npos;
  });
}

void Exploration::readPrunedMarks(Progress& progress) {
  if (mFiles.pruned.empty()) return;
  const NumberedStates read = readPruned(mFiles.pruned, graph().states(), progress);
  mPrunedCount = read.states.size() + read.unnumbered;
  mByDepth = mByDepth || read.hasPaths;
  for (State state : read.states) mark(state, PRUNED);
  if (read.unnumbered != 0) markPrunedByBreadth(read.unnumbered);
}

// Breadth-first search expands and lists states in the order of their numbers, and skips those that
// were pruned. Behind the last one that it has listed, only the count tells whether all were.
void Exploration::markPrunedByBreadth(std::uint64_t count) {
  if (!hasTexts()) return;
  const bool all = graph().states() - mListed == count;
  const auto end = static_cast<State>(all ? graph().states() : mLastListed);
  for (State state = 0; state < end; ++state) {
    if (!is(state, LISTED)) mark(state, PRUNED);
  }
}

// A breadth-first search counts the transition into an error without writing it. A depth-first
// search ends with the state, which is the last one it lists.
void Exploration::findError() {
  if (!mAut.isOwn || !mAut.header || !hasTexts() || mListed == 0) return;
  if (mAut.header->transitions == graph().transitions() + 1 && !mAut.lastLineIsCut) {
    mErrorSource = mLastListed;
  } else if (mLastHasError && std::size_t{mLastListed} + 1 == graph().states()) {
    mErrorState = mLastListed;
  }
}

// Depth-first search does not report an initial state in which nothing can happen. Where nothing is
// reported, a state without a way out is a deadlock, unless the file has lost transitions.
void Exploration::findDeadlocks() {
  const std::uint64_t counted = mAut.header ? mAut.header->transitions : 0;
  const bool isReported = !mFiles.deadlocks.empty() || counted > graph().transitions();
  for (State state = 0; state < graph().states(); ++state) {
    if (isReported && !(state == graph().initial() && counted == 0 && graph().transitions() == 0))
      continue;
    const bool isListed = !hasTexts() || is(state, LISTED);
    const bool isError = errorState() == state;
    if (graph().out(state).size() == 0 && isListed && !isPruned(state) && !isError) {
      mark(state, DEADLOCK);
    }
  }
  for (State state = 0; state < graph().states(); ++state) {
    if (isDeadlock(state)) mDeadlocks.push_back(state);
  }
}

void Exploration::markUnexpanded() {
  for (State state = 0; state < graph().states(); ++state) {
    if (graph().out(state).size() != 0 || isDeadlock(state) || isPruned(state)) continue;
    if (errorState() != state) mark(state, UNEXPANDED);
  }
}

void Exploration::findWarnings() {
  const std::string name = printable(mFiles.transitions) + ": ";
  if (mAut.lastLineIsCut) {
    mWarnings.push_back(name + "the last line is cut and was left out");
  }
  if (!mAut.header) {
    mWarnings.push_back(name + "there is no header, so state 0 is taken for the initial one");
    return;
  }
  const std::uint64_t counted = mAut.header->transitions;
  const std::uint64_t read = graph().transitions();
  if (counted == read || mErrorSource) return;
  mWarnings.push_back(name + "the header counts " + std::to_string(counted) +
                      " transitions and the file has " + std::to_string(read) +
                      (counted < read ? ": the search was killed" : ": the file was cut"));
}

}  // namespace Vesk::Lts
