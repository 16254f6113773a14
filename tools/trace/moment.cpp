#include "moment.hpp"

#include <algorithm>
#include <cstdio>

#include "scan.hpp"

namespace Vesk::Traces {

namespace {

constexpr std::uint64_t MAX_MILLISECONDS = 100000000000000;  // some thousand years
constexpr Moment MAX_MOMENT = static_cast<Moment>(MAX_MILLISECONDS) * MILLISECOND;
constexpr std::int64_t LOWER_INFINITY = -FOREVER - 1;

}  // namespace

bool takeMoment(std::string_view& text, Moment& moment) {
  if (Lts::takePrefix(text, "_")) {
    moment = FOREVER;
    return true;
  }
  std::string_view rest = text;
  const bool isNegative = Lts::takePrefix(rest, "-");
  std::uint64_t number;
  if (!Lts::takeNumber(rest, number) || number > MAX_MILLISECONDS) return false;
  if (!Lts::takePrefix(rest, "ms")) return false;
  moment = static_cast<Moment>(number) * MILLISECOND;
  if (isNegative) moment = -moment;
  text = rest;
  return true;
}

Moment cutToMilliseconds(Moment moment) {
  return moment == FOREVER ? FOREVER : moment / MILLISECOND * MILLISECOND;
}

std::string millisecondsText(Moment moment, bool exact) {
  if (moment == FOREVER) return "_";
  if (!exact) return std::to_string(moment / MILLISECOND);
  const bool isNegative = moment < 0;
  const std::uint64_t size =
      isNegative ? 0 - static_cast<std::uint64_t>(moment) : static_cast<std::uint64_t>(moment);
  char fraction[8];
  std::snprintf(fraction, sizeof fraction, ".%03u", static_cast<unsigned>(size % MILLISECOND));
  return (isNegative ? "-" : "") + std::to_string(size / MILLISECOND) + fraction;
}

Moment momentOf(std::int64_t microseconds) {
  if (microseconds == LOWER_INFINITY) return FOREVER;
  return std::clamp(microseconds, -MAX_MOMENT, MAX_MOMENT);
}

}  // namespace Vesk::Traces
