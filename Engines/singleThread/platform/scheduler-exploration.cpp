// State-space exploration: enumerates the states that an untimed model can reach, breadth-first or
// depth-first. Opens, fills and closes the four files.
#include <cstdio>
#include <cstring>

#include "exploration/breadth-first.hpp"
#include "exploration/depth-first.hpp"
#include "exploration/signals.hpp"
#include "reports.hpp"
#include "scheduler.hpp"

namespace {

constexpr std::size_t NAME_SIZE = 50;  // of the name of a file, with its NUL

}  // namespace

// ---- Files -----------------------------------------------------------------------------------

struct Scheduler::Output {
  const char* suffix;
  const char* mode;
  const char* what;
  FILE* Scheduler::*file;
};

const Scheduler::Output Scheduler::OUTPUTS[] = {
    {".aut", "w+", "the transition system", &Scheduler::aut_file},
    {".state", "w", "the list of states", &Scheduler::state_file},
    {".pruned", "w", "the list of pruned paths", &Scheduler::pruned_paths},
    {".deadlock", "w", "the list of deadlocks", &Scheduler::deadlock_states},
};

// Deliberate: long names are cut, because scripts know the cut names. Of names that have become
// equal only the first one is opened, so that no file is written by two writers.
// (docs/decisions/0020-names-of-exploration-files-are-cut.md)
void Scheduler::openOutputFiles(const char* base) {
  char names[sizeof OUTPUTS / sizeof *OUTPUTS][NAME_SIZE];
  auto* name = names;
  for (const Output& output : OUTPUTS) {
    std::snprintf(*name, NAME_SIZE, "%s%s", base, output.suffix);
    bool taken = false;
    for (auto* other = names; other != name; ++other) {
      taken = taken || std::strcmp(*other, *name) == 0;
    }
    FILE*& file = this->*output.file;
    file = nullptr;
    if (taken) {
      std::fprintf(stderr, "vesk: there is no %s file: the name cut to %s is in use\n",
                   output.suffix, *name);
    } else {
      file = Vesk::openOutput(*name, output.mode);
      if (file == nullptr) Vesk::reportUnopened(*name);
    }
    ++name;
  }
}

// What could not be written is known for sure only when the file has been closed.
void Scheduler::closeOutputFiles() {
  if (disable_output) return;
  for (const Output& output : OUTPUTS) {
    FILE*& file = this->*output.file;
    if (file == nullptr) continue;
    const bool failed = std::ferror(file) != 0;
    if (std::fclose(file) != 0 || failed) Vesk::reportLost(output.what);
    file = nullptr;
  }
}

// ---- Searches --------------------------------------------------------------------------------

// The files are closed as well when model code throws.
void Scheduler::explore() {
  try {
    if (mTraverse == Vesk::DEPTH_FIRST) run_dfs_exploration();
    if (mTraverse == Vesk::BREADTH_FIRST) run_bfs_exploration();
  } catch (...) {
    closeOutputFiles();
    throw;
  }
  closeOutputFiles();
}

// A process that was asked to end does so when its files are complete and closed.
template <class Traversal>
void Scheduler::exploreBy() {
  Vesk::SearchSignals signals;
  Vesk::ExplorationFiles files(
      disable_output ? nullptr : aut_file, disable_output ? nullptr : state_file,
      disable_output ? nullptr : pruned_paths, disable_output ? nullptr : deadlock_states);
  Traversal({*mSystem, mLegal, mConnectorChoice}, files, Vesk::Progress(mSimLimit, mMaxSimLimit),
            signals)
      .run();
  if (signals.caught() == 0) return;
  closeOutputFiles();
  signals.endByCaught();
}

void Scheduler::run_bfs_exploration() {
  exploreBy<Vesk::BreadthFirst>();
}

void Scheduler::run_dfs_exploration() {
  exploreBy<Vesk::DepthFirst>();
}
