#include "exploration/search.hpp"

#include <stdio_ext.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "connector.hpp"
#include "exploration/signals.hpp"

namespace Vesk {

namespace {

constexpr char SUMMARY[] =
    "* Count : %10llu [pruned : %10llu] [deadlocks : %10llu] [stored states: %10llu]\n";
constexpr char FINAL_SIZE[] = "Final size : %llu\n";
constexpr char INTERRUPTED[] =
    "Exploration was interrupted because an error state was encountered!";
constexpr char PATH_SIZE[] = "Path size : %llu\n";
constexpr char ERROR_PATH[] = "Error path is:";
constexpr char PATH_STATE[] = "%llu, ";
constexpr char PATH_LABEL[] = ":: %s\n";
constexpr char FAULTY_ATOM[] = "Faulty atom : %s\n";

const char* textOf(const Leaf& leaf) {
  const Atomleaf* atom = leaf.getAleaf();
  return atom != nullptr && atom->getVal() != nullptr ? atom->getVal() : "";
}

}  // namespace

void clearFlags() {
  global_error = false;
  global_prune = false;
  faulty_leaf = nullptr;
}

// ---- Label and path --------------------------------------------------------------------------

void LastLabel::set(Connector* connector) {
  const Interaction* interaction = connector->feasibleInter();
  mConnector = connector;
  mSet = interaction != nullptr ? interaction->synced() : BitVector::EMPTY;
}

const char* LastLabel::text() const {
  return mConnector != nullptr ? mConnector->rt_label(mSet) : "";
}

void Path::backtrack() {
  while (!mEntries.empty() && mEntries.back().pending == 0) {
    mEntries.pop_back();
    if (!mEntries.empty()) --mEntries.back().pending;
  }
}

void Path::write(OutputBuffer& file) const {
  for (const Entry& entry : mEntries) {
    file.put(entry.state);
    file.put(", ", 2);
  }
}

void Path::print() const {
  for (const Entry& entry : mEntries) std::printf(PATH_STATE, Count{entry.state});
}

// ---- Search ----------------------------------------------------------------------------------

Search* Search::sRunning = nullptr;

Search::Search(const Place& place, ExplorationFiles& files, const Progress& progress,
               const SearchSignals& signals)
    : mPlace(place), mFiles(files), mProgress(progress), mSignals(signals) {
  static const int registered = std::atexit(completeAtExit);
  static_cast<void>(registered);
  sRunning = this;
}

Search::~Search() {
  sRunning = nullptr;
}

void Search::completeAtExit() {
  if (sRunning != nullptr) sRunning->complete(sRunning->mFiles.transitions());
}

void Search::run() {
  try {
    explore();
  } catch (...) {
    complete(mFiles.transitions());
    printSummary();
    throw;
  }
  complete(mCounters.transitions);
  printSummary();
}

void Search::explore() {
  mPlace.system.initialize(nullptr);
  mFiles.begin();
  begin();
  mProgress.start();
  while (stored() != 0 && !global_error && mSignals.caught() == 0) {
    ++mCounters.steps;
    const Progress::Event event = mProgress.show(mCounters, stored());
    if (event == Progress::LIMIT) return;
    if (event == Progress::RATE_SHOWN) complete(mCounters.transitions);
    takeOne();
  }
}

void Search::printSummary() const {
  std::printf(SUMMARY, mCounters.steps, mCounters.pruned, mCounters.deadlocks, stored());
  std::printf(FINAL_SIZE, Count{mStates.count()});
  if (global_error) printError();
  // What standard output refuses now must not be tried again when broken pipes kill.
  if (std::fflush(stdout) != 0) __fpurge(stdout);
}

void Search::printError() const {
  std::puts(INTERRUPTED);
  if (path() != nullptr) std::printf(PATH_SIZE, path()->size());
  std::puts(ERROR_PATH);
  if (path() != nullptr) path()->print();
  std::printf(PATH_LABEL, mLabel.text());
  if (faulty_leaf != nullptr) std::printf(FAULTY_ATOM, textOf(*faulty_leaf));
  faulty_leaf = nullptr;
}

// The end of a captured tree. One in which an error was found stays until the summary.
void Search::release(Tree tree) {
  if (global_error) {
    mErrorState = std::move(tree);
  } else {
    faulty_leaf = nullptr;
  }
}

// A tree that the table had to keep is printed again, so that missing children are reported again.
void Search::writeState(StateNumber state) {
  if (!mFiles.states().isOpen()) return;
  if (const Node* kept = mStates.kept(state)) {
    StateText text;
    text.append(kept);
    mFiles.writeState(state, text.data(), text.length());
    return;
  }
  const StateTable::Text text = mStates.text(state);
  mFiles.writeState(state, text.data, text.length);
}

void Search::writeTransition(StateNumber source, StateNumber target) {
  if (mFiles.hasTransitions()) mFiles.writeTransition(source, mLabel.text(), target);
}

void Search::writePath(OutputBuffer& file) {
  if (!file.isOpen()) return;
  if (path() != nullptr) path()->write(file);
  file.put(" :: ");
  file.put(mLabel.text());
  file.put("[[");
  file.put(faulty_leaf != nullptr ? textOf(*faulty_leaf) : "NULL");
  file.put("]]\n");
  faulty_leaf = nullptr;
}

}  // namespace Vesk
