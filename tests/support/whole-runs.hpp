// Whole runs of programs in this process: what main does with a command line, a standard input and
// a model, many times one after the other, and all that comes out. Time comes from a clock that
// every look moves on, so that a run is the same again and again. Include what is here in one
// program alone: it replaces gettimeofday, time and exit.
#ifndef VESK_TESTS_WHOLE_RUNS_HPP
#define VESK_TESTS_WHOLE_RUNS_HPP

#include <functional>
#include <memory>
#include <string>
#include <vector>

class Compound;

namespace kit {

struct UnderWay;

struct RunFile {
  std::string name;
  std::string content;
};

struct WholeRun {
  int status = 0;
  std::string out;
  std::string err;
  std::vector<RunFile> files;  // in the order of their names
};

// Everything of a run as one text.
std::string textOf(const WholeRun& run);

// A folder in memory, where the runs happen; it disappears at the end.
class RunFolder {
 public:
  RunFolder();
  RunFolder(const RunFolder&) = delete;
  RunFolder& operator=(const RunFolder&) = delete;
  ~RunFolder();

  // What main does. The model is made by Compound::Create and deleted by the run, also when that
  // ends by exit().
  WholeRun run(const std::vector<std::string>& arguments, const std::string& input,
               const std::function<std::unique_ptr<Compound>()>& model);
  // What the body does, which gives the status.
  WholeRun run(const std::string& input, const std::function<int()>& body);

 private:
  WholeRun runAs(UnderWay& way, const std::string& input, const std::function<int()>& body);

  std::string mPath;
  int mIn, mOut, mErr;
};

}  // namespace kit

#endif
