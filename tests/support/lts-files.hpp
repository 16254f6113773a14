// Files of explorations, for tests.
#ifndef VESK_TESTS_LTS_FILES_HPP
#define VESK_TESTS_LTS_FILES_HPP

#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "exploration.hpp"
#include "fault.hpp"
#include "progress.hpp"

// A folder that lives as long as this object.
class LtsFiles {
 public:
  LtsFiles() {
    std::string name = (std::filesystem::temp_directory_path() / "lts-XXXXXX").string();
    mFolder = mkdtemp(name.data());
  }
  ~LtsFiles() { std::filesystem::remove_all(mFolder); }
  LtsFiles(const LtsFiles&) = delete;
  LtsFiles& operator=(const LtsFiles&) = delete;

  std::string path(const std::string& name) const { return (mFolder / name).string(); }
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }
  std::string read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path(name), std::ios::binary).rdbuf();
    return text.str();
  }
  // The names of all files in the folder, in order.
  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(mFolder)) {
      result.push_back(entry.path().filename().string());
    }
    std::sort(result.begin(), result.end());
    return result;
  }

  // As the engine writes it: the header fills 38 characters.
  std::string writeOwn(const std::string& name, int transitions, int states,
                       const std::string& lines) const {
    std::string header =
        "des(0, " + std::to_string(transitions) + ", " + std::to_string(states) + ")\n";
    header.resize(37, ' ');
    return write(name, header + "\n" + lines);
  }

  // Two philosophers, each with the fork at the left: state 4 is the deadlock.
  void writeTable(const std::string& name) const {
    writeOwn(name + ".aut", 8, 6,
             "(0, table/left1/P1:left|F1:take, 1)\n"
             "(0, table/left0/P0:left|F0:take, 2)\n"
             "(1, table/right1/P1:right|F0:take, 3)\n"
             "(1, table/left0/P0:left|F0:take, 4)\n"
             "(2, table/left1/P1:left|F1:take, 4)\n"
             "(2, table/right0/P0:right|F1:take, 5)\n"
             "(3, table/release1/P1:release|F1:drop|F0:drop, 0)\n"
             "(5, table/release0/P0:release|F0:drop|F1:drop, 0)\n");
    write(name + ".state",
          "0 : t,f,t,f,\n1 : t,f,l,u,\n2 : l,u,t,f,\n3 : t,u,e,u,\n4 : l,u,l,u,\n5 : e,u,t,u,\n");
    write(name + ".deadlock", "4\n");
    write(name + ".pruned", "");
  }

  Vesk::Lts::Exploration explore(const std::string& name) {
    return Vesk::Lts::Exploration(path(name), mProgress);
  }
  Vesk::Lts::Progress& progress() { return mProgress; }

 private:
  std::filesystem::path mFolder;
  Vesk::Lts::Progress mProgress{stdin};  // no terminal in tests
};

// The message with which the statement fails, without the folder; empty when it does not.
template <class Action>
std::string faultOf(const LtsFiles& files, const Action& action) {
  try {
    action();
  } catch (const Vesk::Lts::Fault& fault) {
    std::string text = fault.what();
    const std::string folder = files.path("");
    if (text.compare(0, folder.size(), folder) == 0) text.erase(0, folder.size());
    return text;
  }
  return "";
}

#endif
