// Writes a system in the formats of other programs.
#ifndef VESK_LTS_WRITER_HPP
#define VESK_LTS_WRITER_HPP

#include <cstdint>
#include <string>

#include "exploration.hpp"
#include "part.hpp"

namespace Vesk::Lts {

class OutputFile;
class Progress;
class StateTexts;

// The format of many tools for transition systems: labels in quotes, in printable ASCII; see
// hexEscaped(). States of a part are numbered anew, in ascending order. A text that is not empty is
// the label of a loop at each deadlock.
void writeAut(const Exploration& exploration, const Part& part, const std::string& loopLabel,
              OutputFile& file);

// For Graphviz, with the initial state, deadlocks, pruned and other special states marked, and a
// layout that is fit for the size. A text that is not empty makes a link of each state, with the
// number behind it.
void writeDot(const Exploration& exploration, const Part& part, const StateTexts& texts,
              const std::string& link, OutputFile& file);
// The same as a text.
std::string dotText(const Exploration& exploration, const Part& part, const StateTexts& texts,
                    const std::string& link);

// An object with states and transitions, one a line.
void writeJson(const Exploration& exploration, const Part& part, const StateTexts& texts,
               OutputFile& file);

// The transitions as a table with a header line.
void writeTransitionsCsv(const Exploration& exploration, const Part& part, OutputFile& file);

// The states as a table with a header line.
void writeStatesCsv(const Exploration& exploration, const Part& part, const StateTexts& texts,
                    OutputFile& file);

// What is special about a state: "initial", "deadlock", "pruned", "error", "unexpanded", or several
// with blanks between them, or nothing.
std::string kindsOf(const Exploration& exploration, State state);

}  // namespace Vesk::Lts

#endif
