#include "vcd-writer.hpp"

#include "output-file.hpp"
#include "printable.hpp"
#include "vcd-scopes.hpp"

namespace Vesk::Traces {

namespace {

enum Kind : std::size_t { STATE, PORT, CONNECTOR, KINDS };

// A number in printable characters, of which the format has 94.
std::string idOf(Kind kind, std::size_t number) {
  std::string id;
  for (std::size_t rest = number * KINDS + kind + 1; rest != 0; rest = (rest - 1) / 94) {
    id += static_cast<char>('!' + (rest - 1) % 94);
  }
  return id;
}

// A text ends at a blank, so that becomes \x20, as readers of texts take it.
std::string textIn(std::string_view text) {
  constexpr char HEX[] = "0123456789abcdef";
  std::string result;
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > 0x20 && byte != 0x7F && c != '\\') {
      result += c;
    } else {
      result += {'\\', 'x', HEX[byte >> 4], HEX[byte & 0xF]};
    }
  }
  return result;
}

std::string eventLine(Kind kind, std::size_t number) {
  return "1" + idOf(kind, number) + "\n";
}

std::string stateLine(std::size_t part, std::string_view text) {
  return "s" + textIn(text) + " " + idOf(STATE, part) + "\n";
}

}  // namespace

void VcdWriter::begin(const Run& run) {
  for (const auto& state : run.states) mHasState.push_back(state.has_value());
}

void VcdWriter::step(const Run& run, const Step& step) {
  if (step.time) mHasTimes = true;
  if (!step.time) {
    moveTo(static_cast<Moment>(step.number));
  } else if (*step.time != FOREVER) {
    moveTo(run.isExact() ? *step.time : *step.time / MILLISECOND);
  }
  for (const Firing& firing : step.fired) {
    if (firing.connector) mChanges.write(eventLine(CONNECTOR, *firing.connector));
    for (std::size_t connector : firing.exported) {
      mChanges.write(eventLine(CONNECTOR, connector));
    }
    for (std::size_t port : firing.ports) {
      const Names::Port& fired = run.names.ports()[port];
      mChanges.write(eventLine(PORT, port));
      mHasState.resize(run.names.parts().size());
      if (!mHasState[fired.part]) mChanges.write(stateLine(fired.part, fired.name));
    }
  }
  for (const auto& [part, text] : step.changed) mChanges.write(stateLine(part, text));
}

// The times of the format never go back and are not negative.
void VcdWriter::moveTo(Moment time) {
  if (time <= mNow) return;
  mNow = time;
  mChanges.write("#" + std::to_string(time) + "\n");
}

void VcdWriter::end(const Run& run, const End& end) {
  if (end.time && *end.time != FOREVER) {
    moveTo(run.isExact() ? *end.time : *end.time / MILLISECOND);
  }
  writeHeader(run);
  writeNames(run.names);
  writeStart(run);
  mChanges.copyTo(mFile);
}

void VcdWriter::writeHeader(const Run& run) {
  mFile.write("$version " + mVersion + " vesk-trace $end\n");
  if (!mHasTimes) {
    mFile.write("$comment The run has no time: a unit is a step. $end\n");
  } else if (!run.isExact()) {
    mFile.write("$comment The trace has whole milliseconds: microseconds are cut off. $end\n");
  }
  mFile.write(!mHasTimes || run.isExact() ? "$timescale 1 us $end\n" : "$timescale 1 ms $end\n");
}

void VcdWriter::writeNames(const Names& names) {
  VcdScopes scopes;
  for (std::size_t part = 0; part < names.parts().size(); ++part) {
    scopes.add(names.parts()[part], "string", idOf(STATE, part), "state");
  }
  for (std::size_t port = 0; port < names.ports().size(); ++port) {
    const Names::Port& named = names.ports()[port];
    scopes.add(names.parts()[named.part], "event", idOf(PORT, port), named.name);
  }
  for (std::size_t connector = 0; connector < names.connectors().size(); ++connector) {
    const std::string& path = names.connectors()[connector];
    scopes.add(Names::compoundOf(path), "event", idOf(CONNECTOR, connector), Names::ownName(path));
  }
  scopes.write(mFile);
  mFile.write("$enddefinitions $end\n");
}

void VcdWriter::writeStart(const Run& run) {
  mFile.write("#0\n$dumpvars\n");
  for (std::size_t part = 0; part < run.states.size(); ++part) {
    if (run.states[part]) mFile.write(stateLine(part, *run.states[part]));
  }
  mFile.write("$end\n");
}

}  // namespace Vesk::Traces
