// Searches of whole systems into temporary files, by the engine and by the literal rules.
#ifndef VESK_TESTS_KIT_EXPLORATIONS_HPP
#define VESK_TESTS_KIT_EXPLORATIONS_HPP

#include <cstdio>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "kit/systems.hpp"
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

inline const char* nameOf(Traversal traversal) {
  return traversal == BFS ? "breadth first" : "depth first";
}

class ExploringScheduler : public Scheduler {
 public:
  ExploringScheduler(Compound* system, Traversal traversal, int limit = 0);
  void disableOutput() { disable_output = true; }
  // The files stay the caller's; run_..._exploration() does not close them.
  void setFiles(FILE* aut, FILE* state, FILE* pruned, FILE* deadlock);
  bool hasFiles() const;
  void explore();
};

// What a search prints when an error state ends it.
constexpr char INTERRUPTED[] =
    "Exploration was interrupted because an error state was encountered!\n";
// What it prints at its end, but for the line of an error.
std::string summary(int steps, int pruned, int deadlocks, int stored, int size);
// What a search has printed, but for the rates, which depend on the machine.
std::string withoutRates(std::string text);
// The first two lines of a transition system, from "des(0, 1, 2)".
std::string header(const std::string& text);

// The texts of an automaton, "0,", "1," and so on.
std::vector<std::string> numbered(int states);
// One automaton A, one connector go: 0 -> 1 -> ... -> the last state, and back to 0 in a ring.
std::unique_ptr<System> line(const std::vector<std::string>& texts);
std::unique_ptr<System> ring(const std::vector<std::string>& texts);

// The flags by which a model speaks to a search.
void clearGlobals();

// What the engine's search, and the literal one, leave behind.
Explored explored(Compound& system, Traversal traversal, int limit = 0);
Explored literallyExplored(Compound& system, Traversal traversal, int limit = 0);

}  // namespace kit

#endif
