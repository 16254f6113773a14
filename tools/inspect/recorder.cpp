#include "recorder.hpp"

#include <cstdio>
#include <cstring>
#include <utility>

#include "chain.hpp"
#include "clock.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "constraint.hpp"
#include "names.hpp"
#include "port.hpp"
#include "recording-file.hpp"
#include "scheduler.hpp"

namespace Vesk::Inspect {

namespace {

using Json = nlohmann::ordered_json;

const char* const URGENCIES[] = {"lazy", "delayable", "eager"};

// Infinite times have no number.
Json timeJson(const Time& time) {
  if (time == Time::MIN || time == Time::MAX) return nullptr;
  return time.microseconds();
}

Json indexJson(std::size_t index) {
  return index == Parts::NONE ? Json(-1) : Json(index);
}

Json stateJson(const StateText& state) {
  return state.given ? Json(utf8(state.text)) : Json(nullptr);
}

template <class Placed>
Json pathsOf(const std::vector<Placed>& list) {
  Json paths = Json::array();
  for (const Placed& placed : list) paths.push_back(utf8(placed.path));
  return paths;
}

// The first interaction that a loop without time fires; null when none is possible at 0.
Interaction* firedOf(Connector& connector) {
  for (Interaction* feasible : Chain(connector.feasibleInter())) {
    if (feasible->constraint() == nullptr || feasible->constraint()->in(Time(0))) return feasible;
  }
  return nullptr;
}

const char* wordFor(RunEnd end, bool asksUser) {
  switch (end) {
    case RunEnd::DEADLOCK:
      return "deadlock";
    case RunEnd::LIMIT:
      return "limit";
    case RunEnd::NO_CHOICE:
      return asksUser ? "quit" : "error";
    default:
      return "error";
  }
}

}  // namespace

// While this lives the model is looked at: signals wait, and the label that was made last stays the
// one that the model sees.
class Recorder::Undisturbed {
 public:
  Undisturbed() { std::memcpy(mLabel, Connector::LABEL, sizeof mLabel); }
  ~Undisturbed() { std::memcpy(Connector::LABEL, mLabel, sizeof mLabel); }
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;

 private:
  RecordingFile::Busy mBusy;
  char mLabel[sizeof Connector::LABEL];
};

Recorder::Recorder(RecordingFile& file, std::string model, std::vector<std::string> arguments)
    : mFile(file), mModel(std::move(model)), mArguments(std::move(arguments)) {}

Recorder::~Recorder() = default;

void Recorder::configured(Compound*, const Scheduler& settings) {
  mAsksUser = settings.mode() == INTERACTIVE;
  mExplores = settings.runMode() == EXPLORE;
}

void Recorder::started(Compound& system, const LogicalClock* clock) {
  const Undisturbed undisturbed;
  mStarted = true;
  mClock = clock;
  mParts = std::make_unique<Parts>(system);
  Json head;
  head["vesk-recording"] = 1;
  head["model"] = utf8(mModel);
  head["root"] = utf8(textOf(system.name()));
  head["arguments"] = Json::array();
  for (const std::string& word : mArguments) head["arguments"].push_back(utf8(word));
  head["mode"] = clock != nullptr ? "timed" : "untimed";
  head["atoms"] = pathsOf(mParts->atoms());
  head["ports"] = pathsOf(mParts->ports());
  head["connectors"] = pathsOf(mParts->connectors());
  head["states"] = Json::array();
  for (const auto& atom : mParts->atoms()) {
    mStates.push_back(stateOf(*atom.part));
    head["states"].push_back(stateJson(mStates.back()));
  }
  mFile.add(head.dump());
  mFile.setLastWords(endLine("signal", nullptr) + "\n");
}

Recorder::Json Recorder::now() const {
  return mClock != nullptr ? timeJson(mClock->time()) : Json(nullptr);
}

void Recorder::stepBegins(Connector* legals, Port* internals) {
  const Undisturbed undisturbed;
  mStep = Json::object();
  mStep["step"] = mSteps + 1;
  mStep["before"] = now();
  mStep["time"] = nullptr;
  mStep["fired"] = Json::array();
  mStep["changed"] = Json::object();
  mStep["enabled"] = Json::array();
  for (Connector* legal : Chain(legals)) {
    for (Interaction* feasible : Chain(legal->feasibleInter())) addEnabled(*feasible);
  }
  for (Port* internal : Chain(internals)) addEnabled(*internal);
}

void Recorder::addEnabled(Executable& executable) {
  if (executable.dominated()) return;
  mStep["enabled"].push_back(
      {{"label", utf8(executable.label())}, {"intervals", intervalsOf(executable.constraint())}});
}

// In the values of the logical clock.
Recorder::Json Recorder::intervalsOf(const Constraint* constraint) const {
  Json intervals = Json::array();
  if (constraint == nullptr) {
    intervals.push_back({nullptr, nullptr, URGENCIES[LAZY]});
    return intervals;
  }
  Time offset(0);
  if (mClock != nullptr && constraint->clock() != nullptr) {
    offset = constraint->clock()->drift(mClock);
  }
  for (unsigned int i = 0; i < constraint->size(); ++i) {
    const Interval interval = (*constraint)[i] + offset;
    intervals.push_back(
        {timeJson(interval.low()), timeJson(interval.high()), URGENCIES[interval.urgency()]});
  }
  return intervals;
}

void Recorder::firing(Executable& choice, const Time& time) {
  const Undisturbed undisturbed;
  mStep["time"] = timeJson(time);
  if (auto* interaction = dynamic_cast<Interaction*>(&choice)) {
    Connector& connector = *interaction->connector();
    addFired(choice.label(), mParts->indexOf(&connector),
             portsOf(connector, interaction->synced()));
  } else if (auto* port = dynamic_cast<Port*>(&choice)) {
    addFired(choice.label(), Parts::NONE, {port});
  }
}

void Recorder::firing(Connector& connector) {
  const Undisturbed undisturbed;
  std::vector<Port*> ports;
  if (Interaction* fired = firedOf(connector)) ports = portsOf(connector, fired->synced());
  addFired(connector.label(), mParts->indexOf(&connector), ports);
}

void Recorder::addFired(std::string label, std::size_t connector, const std::vector<Port*>& ports) {
  Json indices = Json::array();
  for (Port* port : ports) indices.push_back(indexJson(mParts->indexOf(port)));
  mStep["fired"].push_back({{"label", utf8(std::move(label))},
                            {"connector", indexJson(connector)},
                            {"ports", std::move(indices)}});
}

Recorder::Json Recorder::changes() {
  Json changed = Json::object();
  for (std::size_t i = 0; i < mStates.size(); ++i) {
    StateText state = stateOf(*mParts->atoms()[i].part);
    if (state == mStates[i]) continue;
    changed[std::to_string(i)] = stateJson(state);
    mStates[i] = std::move(state);
  }
  return changed;
}

void Recorder::stepEnds() {
  const Undisturbed undisturbed;
  mStep["changed"] = changes();
  ++mSteps;
  mFile.add(mStep.dump());
  mFile.setLastWords(endLine("signal", nullptr) + "\n");
}

void Recorder::lineEnds() {
  mLastLine = mLine.str();
  mLine.str("");
}

void Recorder::ended(RunEnd end, const char* line) {
  const Undisturbed undisturbed;
  std::string text = line != nullptr ? line : mLastLine;
  if (!text.empty() && text.back() == '\n') text.pop_back();
  writeEnd(wordFor(end, mAsksUser), text.empty() ? Json(nullptr) : Json(utf8(text)));
}

std::string Recorder::endLine(const char* end, const Json& text) const {
  return Json({{"end", end}, {"text", text}, {"steps", mSteps}, {"time", now()}}).dump();
}

void Recorder::writeEnd(const char* end, const Json& text) {
  mEnded = true;
  mFile.add(endLine(end, text));
  mFile.setLastWords("");
}

void Recorder::finish() {
  const RecordingFile::Busy busy;
  if (mStarted && !mEnded) {
    mClock = nullptr;
    writeEnd("error", nullptr);
  }
  if (!mStarted && mExplores) {
    std::fprintf(stderr, "vesk: nothing is recorded of an exploration\n");
  }
  if (!mFile.flush()) std::fprintf(stderr, "vesk: the recording could not be written completely\n");
}

}  // namespace Vesk::Inspect
