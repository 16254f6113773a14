// State-space exploration: enumerates the states that an untimed model can reach, breadth-first or
// depth-first.
#include "exploration/breadth-first.hpp"
#include "exploration/depth-first.hpp"
#include "exploration/signals.hpp"
#include "scheduler.hpp"

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
