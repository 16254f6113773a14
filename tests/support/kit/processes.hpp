// Runs in a process of their own, whose output can be looked at.
#ifndef VESK_TESTS_KIT_PROCESSES_HPP
#define VESK_TESTS_KIT_PROCESSES_HPP

#include <functional>
#include <string>
#include <vector>

namespace kit {

struct Outcome {
  int status;  // exit status, or 1000 + the signal that ended the process
  std::string out;
  std::string err;
};

// Runs the body, which returns the exit status, in a child process with this standard input and a
// folder of its own. A body that takes longer than a minute is killed.
Outcome isolated(const std::function<int()>& body, const std::string& input = "");

// The command line of a program called "model".
class CommandLine {
 public:
  explicit CommandLine(const std::vector<std::string>& arguments);
  int count() const { return static_cast<int>(mTexts.size()); }
  char** values() { return mPointers.data(); }

 private:
  std::vector<std::string> mTexts;
  std::vector<char*> mPointers;
};

// The main of the engine's library, which the main of the test program hides.
int engineMain(const std::vector<std::string>& arguments);

}  // namespace kit

#endif
