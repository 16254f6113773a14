#include "sequence-writer.hpp"

#include "output-file.hpp"
#include "printable.hpp"

namespace Vesk::Traces {

namespace {

using Lts::printable;

// "connector: port", as the arrow has it; an internal port stands alone. Requires: something fires.
std::string arrowText(const Run& run, const Firing& firing, std::size_t to) {
  std::string text;
  if (firing.connector) {
    text = printable(Names::ownName(run.names.connectors()[*firing.connector]));
  }
  if (!text.empty()) text += ": ";
  text += printable(run.names.ports()[firing.ports.front()].name);
  if (to != 0) text += ", " + printable(run.names.ports()[firing.ports[to]].name);
  return text;
}

}  // namespace

void SequenceWriter::begin(const Run&) {
  start();
}

void SequenceWriter::step(const Run& run, const Step& step) {
  mEnding.see(step);
  if (mDrawn == mMost) {
    ++mLeftOut;
    return;
  }
  ++mDrawn;
  for (const Firing& firing : step.fired) {
    for (std::size_t port : firing.ports) column(run, run.names.ports()[port].part);
  }
  if (step.time && step.time != mTime) {
    mTime = step.time;
    if (mColumns != 0) addTime(millisecondsText(*step.time, run.isExact()) + " ms");
  }
  for (const Firing& firing : step.fired) draw(run, firing);
}

// An atom is drawn when something fires in it for the first time.
std::size_t SequenceWriter::column(const Run& run, std::size_t part) {
  if (part >= mColumnOf.size()) mColumnOf.resize(part + 1);
  if (!mColumnOf[part]) {
    mColumnOf[part] = mColumns++;
    addColumn(*mColumnOf[part], printable(run.names.parts()[part]));
  }
  return *mColumnOf[part];
}

void SequenceWriter::draw(const Run& run, const Firing& firing) {
  if (firing.ports.empty()) return;
  const auto columnAt = [&](std::size_t place) {
    return column(run, run.names.ports()[firing.ports[place]].part);
  };
  const std::size_t from = columnAt(0);
  if (firing.ports.size() == 1) addArrow(from, from, arrowText(run, firing, 0));
  for (std::size_t to = 1; to < firing.ports.size(); ++to) {
    addArrow(from, columnAt(to), arrowText(run, firing, to));
  }
}

void SequenceWriter::end(const Run& run, const End& end) {
  std::string text = "end: " + mEnding.text(run, end);
  if (mLeftOut != 0) text = stepsText(mLeftOut) + " more; " + text;
  finish(text);
}

void SequenceWriter::write(const std::string& text) {
  mFile.write(text);
}

}  // namespace Vesk::Traces
