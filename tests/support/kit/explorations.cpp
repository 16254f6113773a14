#include "kit/explorations.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
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

std::string summary(int steps, int pruned, int deadlocks, int stored, int size) {
  char text[200];
  std::snprintf(text, sizeof text,
                "* Count : %10d [pruned : %10d] [deadlocks : %10d] [stored states: %10d]\n"
                "Final size : %d\n",
                steps, pruned, deadlocks, stored, size);
  return text;
}

std::string withoutRates(std::string text) {
  for (std::size_t at; (at = text.find(", SPS:")) != std::string::npos;) {
    text.erase(at, text.find("/s", at) + 2 - at);
  }
  return text;
}

std::string header(const std::string& text) {
  std::string area = text + "\n";
  area.resize(37, ' ');
  return area + "\n";
}

std::vector<std::string> numbered(int states) {
  std::vector<std::string> texts;
  for (int i = 0; i < states; ++i) texts.push_back(std::to_string(i) + ",");
  return texts;
}

namespace {

// Each state leads to the next one; of a ring the last one does, too.
std::unique_ptr<System> chain(const std::vector<std::string>& texts, bool closed) {
  const int states = static_cast<int>(texts.size());
  auto system = std::make_unique<System>("s");
  auto* atom = system->add(new Automaton("A", system.get(), texts));
  std::map<int, int> transitions;
  for (int i = 0; i < (closed ? states : states - 1); ++i) transitions[i] = (i + 1) % states;
  system->join("go", {atom->addPort("p", transitions)});
  return system;
}

}  // namespace

std::unique_ptr<System> line(const std::vector<std::string>& texts) {
  return chain(texts, false);
}

std::unique_ptr<System> ring(const std::vector<std::string>& texts) {
  return chain(texts, true);
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
