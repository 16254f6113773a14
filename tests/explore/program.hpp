// Runs an example program in a folder of its own.
#ifndef VESK_TESTS_EXPLORE_PROGRAM_HPP
#define VESK_TESTS_EXPLORE_PROGRAM_HPP

#include <cstdlib>
#include <string>

#include "kit/exploration-checker.hpp"
#include "kit/output.hpp"

class ProgramFolder : public kit::Folder {
 public:
  // A command of the shell in this folder, with the example programs in its path. Standard output
  // goes to the file `out`, standard error to `err`. Returns the exit status.
  int run(const std::string& command) const {
    const std::string line = "cd '" + path() + "' && PATH='" PROGRAMS "':\"$PATH\" && { " +
                             command + "\n} >out 2>err </dev/null";
    const int status = std::system(line.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  kit::ExplorationChecker check(const std::string& base) const {
    return kit::ExplorationChecker::read(name(base));
  }
};

#endif
