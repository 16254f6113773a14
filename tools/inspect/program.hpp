// What the tasks of the program share: its statuses, its output, and the system that it is about.
#ifndef VESK_INSPECT_PROGRAM_HPP
#define VESK_INSPECT_PROGRAM_HPP

#include <memory>
#include <string>

class Compound;

namespace Vesk::Inspect {

class Arguments;

// The exit statuses.
enum Status { SUCCESS = 0, NEGATIVE = 1, FAILURE = 2 };

// While this lives, what is written to standard output goes to standard error, or what is written
// to both goes nowhere: results alone stand there.
class OutputAside {
 public:
  enum Place { TO_STANDARD_ERROR, TO_NOWHERE };
  explicit OutputAside(Place place);
  OutputAside(const OutputAside&) = delete;
  OutputAside& operator=(const OutputAside&) = delete;
  ~OutputAside();

 private:
  int mOutput;  // copies of the descriptors; -1 when they were closed
  int mError;
};

// A line on standard error.
void say(const std::string& text);
// On standard output. The status tells whether that has taken it.
Status print(const std::string& text);
// A new system. What the model says meanwhile goes to standard error. Null when the model builds
// none, which is said.
std::unique_ptr<Compound> build(Arguments& arguments);

}  // namespace Vesk::Inspect

#endif
