#include "kit/explorations.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "kit/output.hpp"
#include "literal-exploration.hpp"

namespace kit {

bool operator==(const Explored& one, const Explored& other) {
  return one.out == other.out && one.aut == other.aut && one.state == other.state &&
         one.pruned == other.pruned && one.deadlock == other.deadlock;
}

std::ostream& operator<<(std::ostream& out, const Explored& explored) {
  return out << "output:\n"
             << explored.out << "aut:\n"
             << explored.aut << "state:\n"
             << explored.state << "pruned:\n"
             << explored.pruned << "deadlock:\n"
             << explored.deadlock;
}

TemporaryFiles::TemporaryFiles() {
  for (FILE*& file : mFiles) file = std::tmpfile();
}

TemporaryFiles::~TemporaryFiles() {
  for (FILE* file : mFiles) std::fclose(file);
}

Explored TemporaryFiles::contents(const std::string& out) const {
  return {out, kit::contents(mFiles[0]), kit::contents(mFiles[1]), kit::contents(mFiles[2]),
          kit::contents(mFiles[3])};
}

ExploringScheduler::ExploringScheduler(Compound* system, Traversal traversal, int limit)
    : Scheduler(system, 0, false, 0, traversal, 0) {
  mSimLimit = limit != 0;
  mMaxSimLimit = limit;
}

void ExploringScheduler::setFiles(FILE* aut, FILE* state, FILE* pruned, FILE* deadlock) {
  aut_file = aut;
  state_file = state;
  pruned_paths = pruned;
  deadlock_states = deadlock;
}

bool ExploringScheduler::hasFiles() const {
  return aut_file != nullptr || state_file != nullptr || pruned_paths != nullptr ||
         deadlock_states != nullptr;
}

void ExploringScheduler::explore() {
  if (mTraverse == DFS) {
    run_dfs_exploration();
  } else {
    run_bfs_exploration();
  }
}

void clearGlobals() {
  global_error = global_prune = false;
  faulty_leaf = nullptr;
}

Explored explored(Compound& system, Traversal traversal, int limit) {
  clearGlobals();
  TemporaryFiles files;
  ExploringScheduler scheduler(&system, traversal, limit);
  scheduler.setFiles(files[0], files[1], files[2], files[3]);
  testing::internal::CaptureStdout();
  scheduler.explore();
  return files.contents(testing::internal::GetCapturedStdout());
}

Explored literallyExplored(Compound& system, Traversal traversal, int limit) {
  clearGlobals();
  TemporaryFiles files;
  FILE* out = std::tmpfile();
  LiteralExploration exploration(system, static_cast<LiteralExploration::Count>(limit), out,
                                 files[0], files[1], files[2], files[3]);
  if (traversal == DFS) {
    exploration.depthFirst();
  } else {
    exploration.breadthFirst();
  }
  const std::string printed = contents(out);
  std::fclose(out);
  return files.contents(printed);
}

}  // namespace kit
