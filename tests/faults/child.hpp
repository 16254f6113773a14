// Runs programs one after the other in a folder, and keeps all that they leave behind.
#ifndef VESK_TESTS_FAULTS_CHILD_HPP
#define VESK_TESTS_FAULTS_CHILD_HPP

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "kit/output.hpp"

// How a program is started. Its streams are files of the folder unless a descriptor is given for
// them; -1 closes it.
struct Start {
  static constexpr int FILE_OF_FOLDER = -2;

  std::string program;  // the whole path
  std::vector<std::string> arguments;
  std::vector<std::string> environment;  // NAME=VALUE, and nothing else but LC_ALL and PATH
  std::string input;                     // on standard input
  int out = FILE_OF_FOLDER;
  int err = FILE_OF_FOLDER;
};

// What a program has left behind.
struct Outcome {
  int status = 0;  // as wait() has it
  bool hung = false;
  std::string out;
  std::string err;
  std::map<std::string, std::string> files;  // in its current folder

  // The content of a file; empty also when there is none.
  std::string file(const std::string& name) const;
};

// "exit status 3" or "signal 11".
std::string nameOfStatus(const Outcome& outcome);

class ChildFolder {
 public:
  ChildFolder();

  // Runs a program from beginning to end in an empty folder.
  Outcome run(const Start& start);

  // The same in parts: what happens between them is up to the caller.
  void clear();
  pid_t begin(const Start& start);
  Outcome end(pid_t child);

  // Where a file of the program is.
  std::string name(const std::string& entry) const { return mFolder.name("work/" + entry); }

 private:
  static bool waitFor(pid_t child);

  kit::Folder mFolder;
};

#endif
