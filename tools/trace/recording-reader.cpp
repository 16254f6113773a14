#include "recording-reader.hpp"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

#include "fault.hpp"
#include "label.hpp"
#include "scan.hpp"
#include "trace-line.hpp"

namespace Vesk::Traces {

namespace {

using Json = nlohmann::json;  // ordered_json looks for keys one by one

constexpr std::string_view START = "{\"vesk-recording\":";
constexpr int VERSION = 1;
constexpr std::size_t MAX_STEPS = std::numeric_limits<std::uint32_t>::max();
const char* const EXPECTED_START =
    "this is no start of a recording, expected {\"vesk-recording\":1, ...} with atoms, ports and "
    "connectors";
const char* const EXPECTED = ", expected {\"step\": ...} or {\"end\": ...}";
const char* const CUT = "the last line is cut, expected the end of an object";

// ---- Fields. What is missing or of another kind is as good as null.

const Json* fieldOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() || found->is_null() ? nullptr : &*found;
}

std::string textOf(const Json& object, const char* name) {
  const Json* field = fieldOf(object, name);
  return field != nullptr && field->is_string() ? field->get<std::string>() : std::string();
}

std::optional<Moment> momentIn(const Json& object, const char* name) {
  const Json* field = fieldOf(object, name);
  if (field == nullptr || !field->is_number_integer()) return std::nullopt;
  return momentOf(field->get<std::int64_t>());
}

std::optional<std::size_t> numberIn(const Json& number, std::size_t size) {
  if (!number.is_number_integer()) return std::nullopt;
  const auto value = number.get<std::int64_t>();
  if (value < 0 || static_cast<std::uint64_t>(value) >= size) return std::nullopt;
  return static_cast<std::size_t>(value);
}

bool isMinusOne(const Json& number) {
  return number.is_number_integer() && !number.is_number_unsigned() &&
         number.get<std::int64_t>() == -1;
}

// Calls take with each text of the list. False when it is no list of texts, or take says so.
template <class Take>
bool takeTexts(const Json& object, const char* name, const Take& take) {
  const Json* list = fieldOf(object, name);
  if (list == nullptr || !list->is_array()) return false;
  for (const Json& text : *list) {
    if (!text.is_string() || !take(text.get_ref<const std::string&>())) return false;
  }
  return true;
}

// ---- The parts of a step. False when they cannot be read.

// A port that a connector below exports is no port of an atom; the label names both.
void addExported(std::size_t place, std::size_t ports, Names& names, Firing& firing) {
  const std::vector<std::string_view> ends = endsOf(piecesOf(firing.label).ends);
  if (!firing.connector || ends.size() != ports) return;
  const auto [compound, port] = namesOf(ends[place]);
  std::string path(Names::compoundOf(names.connectors()[*firing.connector]));
  path.append("/").append(compound);
  firing.ports.push_back(names.port(names.part(path), port));
  const auto connector = names.findConnector(path + "/" + std::string(port));
  if (connector) firing.exported.push_back(*connector);
}

bool readPorts(const Json& list, std::size_t known, Names& names, Firing& firing) {
  for (std::size_t place = 0; place < list.size(); ++place) {
    const auto port = numberIn(list[place], known);
    if (isMinusOne(list[place])) {
      addExported(place, list.size(), names, firing);
    } else if (port) {
      firing.ports.push_back(*port);
    } else {
      return false;
    }
  }
  return true;
}

bool readFiring(const Json& json, std::size_t knownPorts, Names& names, Firing& firing) {
  if (!json.is_object()) return false;
  const Json* connector = fieldOf(json, "connector");
  const Json* ports = fieldOf(json, "ports");
  if (connector == nullptr || ports == nullptr || !ports->is_array()) return false;
  firing.label = textOf(json, "label");
  if (!isMinusOne(*connector)) {
    firing.connector = numberIn(*connector, names.connectors().size());
    if (!firing.connector) return false;
  }
  return readPorts(*ports, knownPorts, names, firing);
}

bool readChange(const std::string& key, const Json& text, std::size_t atoms, Step& step) {
  std::string_view rest = key;
  std::uint64_t atom;
  if (!Lts::takeNumber(rest, atom) || !rest.empty() || atom >= atoms) return false;
  if (text.is_null()) return true;
  if (!text.is_string()) return false;
  step.changed.emplace_back(atom, text.get<std::string>());
  return true;
}

bool readStep(const Json& json, std::size_t knownPorts, Run& run, Step& step) {
  const Json* number = fieldOf(json, "step");
  const Json* fired = fieldOf(json, "fired");
  const Json* changed = fieldOf(json, "changed");
  if (number == nullptr || !numberIn(*number, MAX_STEPS)) return false;
  if (fired == nullptr || !fired->is_array()) return false;
  step.number = number->get<std::uint64_t>();
  step.before = momentIn(json, "before");
  step.time = momentIn(json, "time");
  for (const Json& firing : *fired) {
    if (!readFiring(firing, knownPorts, run.names, step.fired.emplace_back())) return false;
  }
  if (changed == nullptr) return true;
  for (const auto& [key, text] : changed->items()) {
    if (!readChange(key, text, run.states.size(), step)) return false;
  }
  std::sort(step.changed.begin(), step.changed.end());  // the keys stood in the order of texts
  return true;
}

// The engine's line tells more than the word of the recording.
End readEnd(const Json& json) {
  End end{textOf(json, "end"), textOf(json, "text"), momentIn(json, "time")};
  if (end.kind.empty()) end.kind = "unknown";
  return end;
}

bool readStates(const Json& json, std::vector<std::optional<std::string>>& states) {
  const Json* list = fieldOf(json, "states");
  if (list == nullptr || !list->is_array()) return false;
  for (const Json& text : *list) {
    if (text.is_string()) {
      states.emplace_back(text.get<std::string>());
    } else {
      states.emplace_back();
    }
  }
  return true;
}

bool readRun(const Json& json, Run& run) {
  if (!json.is_object() || json.value("vesk-recording", Json()) != VERSION) return false;
  Names& names = run.names;
  run.model = textOf(json, "model");
  const auto addPart = [&](const std::string& text) {
    names.addPart(text);
    return true;
  };
  const auto addPort = [&](const std::string& text) { return names.addPort(text); };
  const auto addConnector = [&](const std::string& text) {
    names.addConnector(text);
    return true;
  };
  return takeTexts(json, "atoms", addPart) && takeTexts(json, "ports", addPort) &&
         takeTexts(json, "connectors", addConnector) && readStates(json, run.states);
}

}  // namespace

bool isRecording(std::string_view line) {
  return Lts::takePrefix(line, START);
}

RecordingReader::RecordingReader(std::unique_ptr<Source> source) : Reader(std::move(source)) {
  mRun.isRecording = true;
  readStart();
}

void RecordingReader::readStart() {
  std::string_view line;
  mSource->next(line);
  const Json json = Json::parse(line, nullptr, false);
  if (!readRun(json, mRun)) throw Lts::Fault(mSource->name(), 1, EXPECTED_START);
  mRun.states.resize(mRun.names.parts().size());
  mPorts = mRun.names.ports().size();
}

bool RecordingReader::next(Step& step) {
  std::string_view line;
  while (!mHasEnded && mSource->next(line)) {
    const Json json = Json::parse(line, nullptr, false);
    step = Step();
    if (json.is_object() && json.contains("end")) {
      mEnd = readEnd(json);
      mHasEnded = true;
    } else if (json.is_object() && readStep(json, mPorts, mRun, step)) {
      return true;
    } else {
      mSource->leaveOut(mSource->wasWhole() ? Lts::inQuotes(line) + EXPECTED : CUT);
    }
  }
  mSource->finish();
  return false;
}

}  // namespace Vesk::Traces
