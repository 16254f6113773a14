// What single lines of a trace say. The grammar is in docs/traces.md.
#ifndef VESK_TRACE_TRACE_LINE_HPP
#define VESK_TRACE_TRACE_LINE_HPP

#include <optional>
#include <string_view>

#include "moment.hpp"

namespace Vesk::Traces {

// What the end of a run is called in recordings, by the text of the engine at the end of a line:
// "deadlock", "urgency", "drift", "missed-deadline", "error", "limit" or "quit". Empty: it is no
// end.
std::string_view endKind(std::string_view text);

// The first piece of a line, which has one of three forms.
enum class Form { TIMED, SELF_TIMED, UNTIMED };
struct Beginning {
  Form form;
  Moment before = 0;
  Moment now = 0;         // the same, or what the step has caught up to
  std::string_view rest;  // behind "] " or ": ", in SELF_TIMED behind "]"
};
// Nothing when the line does not begin like that behind the word "scheduler".
std::optional<Beginning> beginningOf(std::string_view rest);

// "[, wait for 5ms, ]label constraint"
struct Fired {
  std::string_view label;
  std::optional<Moment> wait;  // when it fires
};
std::optional<Fired> firedOf(std::string_view text);

// "[, (random) wait for 5ms, ]choose [label constraint] , wait for 5ms, execute..."
struct SelfTimedFired {
  std::string_view label;  // empty: nothing has fired
  Moment time;
};
std::optional<SelfTimedFired> selfTimedFiredOf(std::string_view text, Moment now);

// The dialogue of --interactive. takeQuestion() takes a question at the start of the text away.
bool isTimeQuestion(std::string_view text);
bool takeQuestion(std::string_view& text);
// "List of legal interactions or internal ports at 5ms:" has the time that was chosen.
std::optional<Moment> listTime(std::string_view text);
// "[1]    ", a row of the list.
bool isRow(std::string_view text);

// The question of single steps.
bool takeStepQuestion(std::string_view& text);

}  // namespace Vesk::Traces

#endif
