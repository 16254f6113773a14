#include "exploration/search.hpp"

#include <pthread.h>

#include <cstdio>
#include <cstdlib>

#include "component.hpp"
#include "exploration/signals.hpp"
#include "exploration/standard-output.hpp"

namespace Vesk {

namespace {

constexpr char SUMMARY[] =
    "* Count : %10llu [pruned : %10llu] [deadlocks : %10llu] [stored states: %10llu]\n";
constexpr std::size_t SUMMARY_SIZE = 512;  // of these two lines, or less
constexpr char FINAL_SIZE[] = "Final size : %llu\n";
constexpr char INTERRUPTED[] =
    "Exploration was interrupted because an error state was encountered!";
constexpr char PATH_SIZE[] = "Path size : %llu\n";
constexpr char ERROR_PATH[] = "Error path is:";
constexpr char PATH_STATE[] = "%llu, ";
constexpr std::size_t PATH_STATE_SIZE = 24;
constexpr char PATH_LABEL[] = ":: %s\n";
constexpr char FAULTY_ATOM[] = "Faulty atom : %s\n";

const char* textOf(const Leaf& leaf) {
  const Atomleaf* atom = leaf.getAleaf();
  return atom != nullptr && atom->getVal() != nullptr ? atom->getVal() : "";
}

}  // namespace

// ---- Path ------------------------------------------------------------------------------------

void Path::write(OutputBuffer& file) const {
  for (const Entry& entry : mEntries) {
    file.put(entry.state);
    file.put(", ", 2);
  }
}

void Path::print() const {
  for (const Entry& entry : mEntries) {
    makeOutputRoom(PATH_STATE_SIZE);
    std::printf(PATH_STATE, Count{entry.state});
  }
}

// ---- Search ----------------------------------------------------------------------------------

Search* Search::sRunning = nullptr;

Search::Search(const Place& place, ExplorationFiles& files, const Progress& progress,
               const SearchSignals& signals)
    : mFiles(files), mPlace(place), mProgress(progress), mSignals(signals) {
  static const int registered =
      std::atexit(completeAtExit) | pthread_atfork(flushBeforeFork, nullptr, nullptr);
  static_cast<void>(registered);
  sRunning = this;
}

Search::~Search() {
  sRunning = nullptr;
}

// A process that model code has forked completes nothing: the files see to that.
void Search::completeAtExit() {
  if (sRunning != nullptr) sRunning->complete(sRunning->mFiles.transitions());
}

// What was printed would be printed by both processes.
void Search::flushBeforeFork() {
  if (sRunning != nullptr) flushOutput();
}

void Search::run() {
  try {
    explore();
  } catch (...) {
    complete(mFiles.transitions());
    finish();
    throw;
  }
  complete(mCounters.transitions);
  finish();
}

// There are no states when the model has thrown before any could be found.
void Search::finish() {
  printSummary();
  if (mSpace != nullptr) endAll();
}

void Search::explore() {
  mPlace.system.initialize(nullptr);
  mSpace = StateSpace::create(mPlace);
  mFiles.begin();
  begin();
  mProgress.start();
  while (mStored != 0 && !global_error && !isStopped()) {
    ++mCounters.steps;
    const Progress::Event event = mProgress.show(mCounters, mStored);
    if (event == Progress::LIMIT) return;
    if (event == Progress::RATE_SHOWN) complete(mCounters.transitions);
    takeOne();
  }
}

void Search::printSummary() const {
  makeOutputRoom(SUMMARY_SIZE);
  std::printf(SUMMARY, mCounters.steps, mCounters.pruned, mCounters.deadlocks, mStored);
  std::printf(FINAL_SIZE, Count{found()});
  if (global_error) printError();
  flushOutput();
}

void Search::printError() const {
  std::puts(INTERRUPTED);
  if (path() != nullptr) {
    std::printf(PATH_SIZE, path()->size());
    std::puts(ERROR_PATH);
    path()->print();
    flushOutput();
    std::printf(PATH_LABEL, mLabel.text);
  }
  if (faulty_leaf != nullptr) std::printf(FAULTY_ATOM, textOf(*faulty_leaf));
  faulty_leaf = nullptr;
}

void Search::writeTransition(StateNumber source, StateNumber target) {
  if (mFiles.hasTransitions()) mFiles.writeTransition(source, mLabel, target);
}

void Search::writePath(OutputBuffer& file) {
  if (!file.isOpen()) return;
  if (path() != nullptr) path()->write(file);
  file.put(" :: ");
  file.put(mLabel.text);
  file.put("[[");
  file.put(faulty_leaf != nullptr ? textOf(*faulty_leaf) : "NULL");
  file.put("]]");
  file.endLine();
  faulty_leaf = nullptr;
}

}  // namespace Vesk
