#include "trace-line.hpp"

#include <algorithm>

#include "label.hpp"
#include "scan.hpp"

namespace Vesk::Traces {

namespace {

using Lts::takePrefix;
using Lts::takeSuffix;

struct KnownEnd {
  std::string_view text;
  bool isWhole;  // otherwise it goes on
  std::string_view kind;
};
constexpr KnownEnd ENDS[] = {
    {"deadlock!", true, "deadlock"},
    {" deadlock!", true, "deadlock"},
    {"scheduler : deadlock", true, "deadlock"},
    {"Error or Deadlock!", true, "deadlock"},
    {"urgency violated! (", false, "urgency"},
    {"too much drift beetween logical clock and real-time clock! (", false, "drift"},
    {"miss deadline! (", false, "missed-deadline"},
    {"Interactions computation error: ", false, "error"},
    {"Execution limit size (", false, "limit"},
    {"Exiting ...", true, "quit"},
};

constexpr std::string_view TIME_QUESTION = "Enter a new value for current time in ";
constexpr std::string_view NUMBER_QUESTION =
    "Enter interaction or internal port number (hit 0 to exit): ";
constexpr std::string_view STEP_QUESTION = "Enter connector number (Hit 0 to exit) : ";
constexpr std::string_view LIST = "List of legal interactions or internal ports at ";

// "0ms], ", "0ms-> 2ms] " or "0ms (platform=2ms)] ": behind the bracket.
std::optional<Beginning> timedBeginning(std::string_view text) {
  Beginning result{Form::TIMED, 0, 0, {}};
  Moment platform;
  if (!takeMoment(text, result.before)) return std::nullopt;
  result.now = result.before;
  if (takePrefix(text, "-> ")) {
    if (!takeMoment(text, result.now)) return std::nullopt;
  } else if (takePrefix(text, " (platform=")) {
    if (!takeMoment(text, platform) || !takePrefix(text, ")")) return std::nullopt;
  }
  if (!takePrefix(text, "] ")) return std::nullopt;
  result.rest = text;
  return result;
}

// "[l: 0ms, r: 0ms]"
bool takeBothTimes(std::string_view& text, Moment& logical) {
  Moment real;
  return takePrefix(text, "[l: ") && takeMoment(text, logical) && takePrefix(text, ", r: ") &&
         takeMoment(text, real) && takePrefix(text, "]");
}

std::optional<Beginning> selfTimedBeginning(std::string_view text) {
  Beginning result{Form::SELF_TIMED, 0, 0, {}};
  if (!takeBothTimes(text, result.before)) return std::nullopt;
  result.now = result.before;
  if (takePrefix(text, " -> ") && !takeBothTimes(text, result.now)) return std::nullopt;
  result.rest = text;
  return result;
}

// The clock takes the time of the random wait for a span, see Scheduler::runRandomExecution().
Moment afterRandomWait(Moment now, Moment wait) {
  return wait == FOREVER || now == FOREVER ? FOREVER : now + wait;
}

}  // namespace

std::string_view endKind(std::string_view text) {
  for (const KnownEnd& end : ENDS) {
    if ((end.isWhole ? text : text.substr(0, end.text.size())) == end.text) return end.kind;
  }
  return {};
}

std::optional<Beginning> beginningOf(std::string_view rest) {
  if (takePrefix(rest, " : ")) return Beginning{Form::UNTIMED, 0, 0, rest};
  if (rest.substr(0, 5) == " [l: ") return selfTimedBeginning(rest.substr(1));
  if (takePrefix(rest, " [")) return timedBeginning(rest);
  return std::nullopt;
}

std::optional<Fired> firedOf(std::string_view text) {
  Fired result;
  if (takePrefix(text, ", wait for ")) {
    Moment wait;
    if (!takeMoment(text, wait) || !takePrefix(text, ", ")) return std::nullopt;
    result.wait = wait;
  }
  if (!takeConstraint(text) || !isLabel(text)) return std::nullopt;
  result.label = text;
  return result;
}

std::optional<SelfTimedFired> selfTimedFiredOf(std::string_view text, Moment now) {
  SelfTimedFired result{{}, now};
  if (takePrefix(text, ", (random) wait for ")) {
    Moment wait;
    if (!takeMoment(text, wait) || !takePrefix(text, ", ")) return std::nullopt;
    result.time = std::max(now, afterRandomWait(now, wait));
  }
  if (!takePrefix(text, "choose ") || !takeSuffix(text, ", execute...")) return std::nullopt;
  const std::size_t at = text.rfind(" , wait for ");
  if (at == std::string_view::npos) return std::nullopt;
  std::string_view end = text.substr(at + 12);
  Moment next;
  if (!takeMoment(end, next) || !end.empty()) return std::nullopt;
  result.time = std::max(result.time, next);
  result.label = text.substr(0, at);
  if (result.label.empty()) return result;
  if (!takeConstraint(result.label) || !isLabel(result.label)) return std::nullopt;
  return result;
}

bool isTimeQuestion(std::string_view text) {
  return takePrefix(text, TIME_QUESTION);
}

bool takeQuestion(std::string_view& text) {
  if (takePrefix(text, NUMBER_QUESTION)) return true;
  std::string_view rest = text;
  if (!takePrefix(rest, TIME_QUESTION)) return false;
  const std::size_t end = rest.find(": ");
  if (end == std::string_view::npos) return false;
  text = rest.substr(end + 2);
  return true;
}

std::optional<Moment> listTime(std::string_view text) {
  Moment time;
  if (!takePrefix(text, LIST) || !takeMoment(text, time) || text != ":") return std::nullopt;
  return time;
}

bool isRow(std::string_view text) {
  std::uint64_t number;
  return takePrefix(text, "[") && Lts::takeNumber(text, number) && takePrefix(text, "]    ");
}

bool takeStepQuestion(std::string_view& text) {
  return takePrefix(text, STEP_QUESTION);
}

}  // namespace Vesk::Traces
