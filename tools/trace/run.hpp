// A run as all outputs see it, whether it was read from a trace or from a recording. All texts are
// UTF-8.
#ifndef VESK_TRACE_RUN_HPP
#define VESK_TRACE_RUN_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "moment.hpp"
#include "names.hpp"

namespace Vesk::Traces {

// Something that has fired: an interaction of a connector, or an internal port.
struct Firing {
  std::string label;
  std::optional<std::size_t> connector;  // none: an internal port
  std::vector<std::size_t> ports;        // in the order of their numbers in the connector
  std::vector<std::size_t> exported;     // of a recording: connectors below, which fire with it
};

struct Step {
  std::uint64_t number = 0;
  std::optional<Moment> before;  // the logical time when the step began; none in runs without time
  std::optional<Moment> time;    // at which it fired
  std::vector<Firing> fired;     // several in a recording of maximal synchronisation
  std::vector<std::pair<std::size_t, std::string>>
      changed;  // parts and their states after the step
};

// How a run ended: the word of a recording, and the line of the engine.
struct End {
  std::string kind;  // empty: the file does not say
  std::string text;  // empty: the engine says nothing
  std::optional<Moment> time;
};

struct Run {
  std::string file;
  bool isRecording = false;
  std::string model;  // the name of the program; empty in a trace
  Names names;  // in a recording those of the model are there from the start, in a trace they grow
  std::vector<std::optional<std::string>> states;  // at the start, of the first parts
  std::uint64_t otherLines = 0;                    // neither a step nor an end: left alone

  // Whether times have microseconds.
  bool isExact() const { return isRecording; }
};

}  // namespace Vesk::Traces

#endif
