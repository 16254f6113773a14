// Runs an example program in a folder of its own.
#ifndef VESK_TESTS_EXPLORE_PROGRAM_HPP
#define VESK_TESTS_EXPLORE_PROGRAM_HPP

#include <cstdlib>
#include <filesystem>
#include <string>

#include "exploration-checker.hpp"

class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "vesk-explore-XXXXXX").string();
    mPath = mkdtemp(name.data());
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(mPath); }

  const std::string& path() const { return mPath; }
  std::string content(const std::string& name) const {
    return ExplorationChecker::contentOf(mPath + "/" + name);
  }
  // A command of the shell in this folder, with the example programs in its path. Standard output
  // goes to the file `out`, standard error to `err`. Returns the exit status.
  int run(const std::string& command) const {
    const std::string line = "cd '" + mPath + "' && PATH='" PROGRAMS "':\"$PATH\" && { " + command +
                             "\n} >out 2>err </dev/null";
    const int status = std::system(line.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  ExplorationChecker check(const std::string& base) const {
    return ExplorationChecker::read(mPath + "/" + base);
  }

 private:
  std::string mPath;
};

#endif
