// The command line of the program: what it is to do, and what the model gets.
#ifndef VESK_INSPECT_ARGUMENTS_HPP
#define VESK_INSPECT_ARGUMENTS_HPP

#include <string>
#include <vector>

namespace Vesk::Inspect {

// What the user asks for: one of the tasks, and how.
struct Request {
  bool dot = false;
  bool json = false;
  bool check = false;
  bool promises = false;
  bool why = false;
  std::string record;  // a file, empty: no recording
  std::string replay;  // a file, empty: no replay
  unsigned int steps = 1000;
  int status = -1;  // not negative: the program ends with it at once
};

// Takes its own options out of a command line. All other words are the model's, in their order, and
// so is everything behind a `--`.
class Arguments {
 public:
  Arguments(int argc, char** argv);

  const Request& request() const { return mRequest; }
  // The command line of the model alone, ended by a null: its name has no `-inspect`.
  int argc() const { return static_cast<int>(mWords.size()) - 1; }
  char** argv() { return mWords.data(); }
  // The name of the model's program without folders.
  std::string model() const;
  // The words behind the name.
  std::vector<std::string> words() const;
  // The number of the engine's option --seed, the last one as for the engine; 1 when it is missing.
  unsigned int seed() const;

 private:
  std::string mProgram;  // argv()[0]
  std::vector<char*> mWords;
  Request mRequest;
};

}  // namespace Vesk::Inspect

#endif
