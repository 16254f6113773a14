#include "csv-writer.hpp"

#include "label.hpp"
#include "output-file.hpp"

namespace Vesk::Traces {

namespace {

const char* const HEADER = "number,before_ms,time_ms,compound,connector,ports,label";

// A comma, a quote and a line break need quotes around the field.
std::string field(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string result = "\"";
  for (char c : text) result.append(c == '"' ? 2 : 1, c);
  return result + "\"";
}

std::string timeField(const std::optional<Moment>& moment, bool exact) {
  return moment ? millisecondsText(*moment, exact) : "";
}

}  // namespace

void CsvWriter::begin(const Run& run) {
  mFile.write(HEADER);
  if (mOptions.hasStates) {
    mFile.write(",step");
    for (std::size_t atom = 0; atom < run.states.size(); ++atom) {
      mFile.write("," + field(run.names.parts()[atom]));
      mStates.push_back(field(run.states[atom].value_or("")));
    }
  }
  mFile.write("\n");
}

void CsvWriter::step(const Run& run, const Step& step) {
  if (mOptions.hasStates) {
    for (const auto& [atom, text] : step.changed) mStates[atom] = field(text);
  }
  for (const Firing& firing : step.fired) writeFiring(run, step, firing);
}

void CsvWriter::writeFiring(const Run& run, const Step& step, const Firing& firing) {
  const bool exact = run.isExact() && !mOptions.cutsTimes;
  const LabelPieces pieces = piecesOf(firing.label);
  mFile.write(std::to_string(++mNumber) + "," + timeField(step.before, exact) + "," +
              timeField(step.time, exact) + "," + field(pieces.compound) + "," +
              field(pieces.connector) + "," + field(pieces.ends) + "," + field(firing.label));
  if (mOptions.hasStates) writeStates(step);
  mFile.write("\n");
}

void CsvWriter::writeStates(const Step& step) {
  mFile.write("," + std::to_string(step.number));
  for (const std::string& state : mStates) mFile.write("," + state);
}

}  // namespace Vesk::Traces
