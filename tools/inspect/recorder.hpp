// Writes a run step by step.
#ifndef VESK_INSPECT_RECORDER_HPP
#define VESK_INSPECT_RECORDER_HPP

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "parts.hpp"
#include "run-observer.hpp"

class Constraint;
class GenericClock;

namespace Vesk::Inspect {

class RecordingFile;

// A line of JSON for the model and its first state, one for each step, and one for the end; see
// docs/inspect.md. The texts of the atoms are asked for at the start and after every step.
class Recorder : public RunObserver {
 public:
  Recorder(RecordingFile& file, std::string model, std::vector<std::string> arguments);
  ~Recorder() override;

  void configured(Compound* root, const Scheduler& settings) override;
  void started(Compound& system, const LogicalClock* clock) override;
  void stepBegins(Connector* legals, Port* internals) override;
  void firing(Executable& choice, const Time& time) override;
  void firing(Connector& connector) override;
  void stepEnds() override;
  void ended(RunEnd end, const char* line) override;
  std::ostream& line() override { return mLine; }
  void lineEnds() override;

  // The program of the model has done. Says what could not be recorded.
  void finish();

 private:
  using Json = nlohmann::ordered_json;
  class Undisturbed;

  void addEnabled(Executable& executable);
  void addFired(std::string label, std::size_t connector, const std::vector<Port*>& ports);
  Json intervalsOf(const Constraint* constraint) const;
  Json changes();
  void writeEnd(const char* end, const Json& text);
  std::string endLine(const char* end, const Json& text) const;
  Json now() const;

  RecordingFile& mFile;
  std::string mModel;
  std::vector<std::string> mArguments;
  bool mAsksUser = false;
  bool mExplores = false;
  bool mStarted = false;
  bool mEnded = false;
  const LogicalClock* mClock = nullptr;  // null in a run without time
  std::unique_ptr<Parts> mParts;
  std::vector<StateText> mStates;  // of the atoms
  std::uint64_t mSteps = 0;
  Json mStep;
  std::ostringstream mLine;  // of the trace, so far
  std::string mLastLine;     // the last complete one
};

}  // namespace Vesk::Inspect

#endif
