// Searches of whole systems into temporary files, by the engine and by the literal rules.
#ifndef VESK_TESTS_KIT_EXPLORATIONS_HPP
#define VESK_TESTS_KIT_EXPLORATIONS_HPP

#include <cstdio>
#include <ostream>
#include <string>

#include "vesk.hpp"

namespace kit {

// What an exploration leaves behind.
struct Explored {
  std::string out, aut, state, pruned, deadlock;
};
bool operator==(const Explored& one, const Explored& other);
std::ostream& operator<<(std::ostream& out, const Explored& explored);

// The four files, which disappear with this object.
class TemporaryFiles {
 public:
  TemporaryFiles();
  TemporaryFiles(const TemporaryFiles&) = delete;
  TemporaryFiles& operator=(const TemporaryFiles&) = delete;
  ~TemporaryFiles();
  FILE* operator[](int i) const { return mFiles[i]; }
  Explored contents(const std::string& out) const;

 private:
  FILE* mFiles[4];
};

enum Traversal { DFS = 0, BFS = 1 };

class ExploringScheduler : public Scheduler {
 public:
  ExploringScheduler(Compound* system, Traversal traversal, int limit = 0);
  void disableOutput() { disable_output = true; }
  // The files stay the caller's; run_..._exploration() does not close them.
  void setFiles(FILE* aut, FILE* state, FILE* pruned, FILE* deadlock);
  bool hasFiles() const;
  void explore();
};

// The flags by which a model speaks to a search.
void clearGlobals();

// What the engine's search, and the literal one, leave behind.
Explored explored(Compound& system, Traversal traversal, int limit = 0);
Explored literallyExplored(Compound& system, Traversal traversal, int limit = 0);

}  // namespace kit

#endif
