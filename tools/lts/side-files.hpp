// Reads the files that stand beside the transition system: the texts of states, the deadlocks and
// the pruned paths.
#ifndef VESK_LTS_SIDE_FILES_HPP
#define VESK_LTS_SIDE_FILES_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "graph.hpp"

namespace Vesk::Lts {

class Progress;

// Calls use with each state and its text, in the order of the file. A text goes on over lines that
// do not start a state: every state has a larger number than the one before. A last line that is
// not whole is left out. States from end on belong to transitions that the .aut file has lost; they
// are left out, too. Throws a Fault when the first line is no state.
void readStates(const std::string& path, std::size_t end, Progress& progress,
                const std::function<void(State, std::string_view)>& use);

struct NumberedStates {
  std::vector<State> states;     // in the order of the file
  std::uint64_t unnumbered = 0;  // lines without a number, as breadth-first search writes them
  bool hasPaths = false;         // depth-first search has written it
};

// Of a .deadlock file.
NumberedStates readDeadlocks(const std::string& path, std::size_t end, Progress& progress);

// Of a .pruned file.
NumberedStates readPruned(const std::string& path, std::size_t end, Progress& progress);

}  // namespace Vesk::Lts

#endif
