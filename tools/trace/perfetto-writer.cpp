#include "perfetto-writer.hpp"

#include <algorithm>

#include "json-line.hpp"
#include "output-file.hpp"

namespace Vesk::Traces {

namespace {

constexpr int COMPOUNDS = 1;  // numbers of "processes", which group the tracks
constexpr int ATOMS = 2;
constexpr Moment UNTIMED_STEP = MILLISECOND;

// The track of an atom or a compound; 0 is no track.
std::int64_t trackOf(std::size_t number) {
  return static_cast<std::int64_t>(number) + 1;
}

// What all events of a track have.
JsonLine eventOf(std::string_view phase, int process, std::int64_t track, Moment time) {
  JsonLine line;
  line.text("ph", phase).number("pid", process).number("tid", track).number("ts", time);
  return line;
}

const char* timeNote(const Run& run, bool hasTimes) {
  if (!hasTimes) return "the run has no time: a step is shown as a millisecond";
  return run.isExact() ? "microseconds" : "whole milliseconds: microseconds are cut off";
}

}  // namespace

void PerfettoWriter::begin(const Run& run) {
  mFile.write("{\"displayTimeUnit\":\"ms\",\"traceEvents\":[");
  declare("process_name", COMPOUNDS, 0, "compounds");
  declare("process_name", ATOMS, 0, "atoms");
  for (std::size_t part = 0; part < run.states.size(); ++part) {
    Atom& first = atom(run.names, part);
    first.hasState = run.states[part].has_value();
    first.state = run.states[part].value_or("");
  }
}

void PerfettoWriter::step(const Run& run, const Step& step) {
  if (!mHasStarted) start(step.before.value_or(0));
  mNow = timeOf(step);
  for (const Firing& firing : step.fired) {
    if (firing.connector) writeCompound(run, step, firing);
    if (firing.ports.size() > 1) ++mFlows;
    for (std::size_t i = 0; i < firing.ports.size(); ++i) writePort(run.names, firing, i);
  }
  for (const auto& [part, text] : step.changed) {
    Atom& changed = atom(run.names, part);
    if (changed.hasState) endSlice(changed, part, changed.state);
    changed.hasState = true;
    changed.since = mNow;
    changed.state = text;
  }
}

void PerfettoWriter::end(const Run& run, const End& end) {
  if (end.time && *end.time != FOREVER) mNow = std::max(mNow, *end.time);
  for (std::size_t part = 0; part < mAtoms.size(); ++part) {
    if (mAtoms[part].hasState) endSlice(mAtoms[part], part, mAtoms[part].state);
  }
  JsonLine about;
  about.text("model", run.model).text("file", run.file).text("end", end.kind);
  about.text("times", timeNote(run, mHasTimes));
  mFile.write("\n],\"otherData\":" + about.finish() + "}\n");
}

// What was so at the start has been so since then.
void PerfettoWriter::start(Moment time) {
  mHasStarted = true;
  mStart = time;
  for (Atom& atom : mAtoms) atom.since = time;
}

// Times do not go back, so that slices do not overlap.
Moment PerfettoWriter::timeOf(const Step& step) {
  if (!step.time) return static_cast<Moment>(step.number) * UNTIMED_STEP;
  mHasTimes = true;
  return *step.time == FOREVER ? mNow : std::max(mNow, *step.time);
}

void PerfettoWriter::writeEvent(const JsonLine& event) {
  mFile.write(mHasEvents ? ",\n" : "\n");
  mFile.write(event.finish());
  mHasEvents = true;
}

void PerfettoWriter::declare(std::string_view what, int process, std::int64_t track,
                             std::string_view name) {
  JsonLine line;
  line.text("ph", "M").text("name", what).number("pid", process).number("tid", track);
  writeEvent(line.object("args", "name", name));
}

std::int64_t PerfettoWriter::compoundTrack(std::string_view compound) {
  const auto [found, isNew] =
      mCompounds.try_emplace(std::string(compound), trackOf(mCompounds.size()));
  if (isNew) declare("thread_name", COMPOUNDS, found->second, compound);
  return found->second;
}

PerfettoWriter::Atom& PerfettoWriter::atom(const Names& names, std::size_t part) {
  if (part >= mAtoms.size()) mAtoms.resize(part + 1);
  Atom& atom = mAtoms[part];
  if (atom.isDeclared) return atom;
  declare("thread_name", ATOMS, trackOf(part), names.parts()[part]);
  atom.isDeclared = true;
  atom.since = mStart;
  return atom;
}

// The wait of the engine and the moment at which the connector acts.
void PerfettoWriter::writeCompound(const Run& run, const Step& step, const Firing& firing) {
  const std::string& path = run.names.connectors()[*firing.connector];
  const std::int64_t track = compoundTrack(Names::compoundOf(path));
  const std::string name(Names::ownName(path));
  if (step.before && *step.before < mNow) {
    JsonLine wait = eventOf("X", COMPOUNDS, track, *step.before);
    wait.number("dur", mNow - *step.before);
    writeEvent(wait.text("cat", "wait").text("name", "wait for " + name));
  }
  JsonLine act = eventOf("i", COMPOUNDS, track, mNow);
  act.text("s", "t").text("cat", "connector").text("name", name);
  writeEvent(act.object("args", "label", firing.label));
}

void PerfettoWriter::writePort(const Names& names, const Firing& firing, std::size_t place) {
  const Names::Port& port = names.ports()[firing.ports[place]];
  const std::int64_t track = trackOf(port.part);
  Atom& fired = atom(names, port.part);
  if (!fired.hasState) {
    endSlice(fired, port.part, "wait for " + port.name);
    fired.since = mNow;
  }
  JsonLine begin = eventOf("B", ATOMS, track, mNow);
  begin.text("cat", "port").text("name", port.name);
  writeEvent(begin.object("args", "label", firing.label));
  if (firing.ports.size() > 1) writeArrow(track, place, firing.ports.size());
  writeEvent(eventOf("E", ATOMS, track, mNow));
}

// The first port of a rendezvous starts it, the last one ends it, at the slice that is open there.
void PerfettoWriter::writeArrow(std::int64_t track, std::size_t place, std::size_t ports) {
  const bool isLast = place + 1 == ports;
  JsonLine arrow = eventOf(place == 0 ? "s" : isLast ? "f" : "t", ATOMS, track, mNow);
  arrow.text("cat", "rendezvous").text("name", "rendezvous").number("id", mFlows);
  if (isLast) arrow.text("bp", "e");
  writeEvent(arrow);
}

void PerfettoWriter::endSlice(const Atom& atom, std::size_t part, const std::string& name) {
  if (atom.since >= mNow) return;
  JsonLine slice = eventOf("X", ATOMS, trackOf(part), atom.since);
  writeEvent(slice.number("dur", mNow - atom.since).text("cat", "state").text("name", name));
}

}  // namespace Vesk::Traces
