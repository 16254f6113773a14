// Times of a run. Traces have them in whole milliseconds, recordings in microseconds; here they are
// always microseconds.
#ifndef VESK_TRACE_MOMENT_HPP
#define VESK_TRACE_MOMENT_HPP

#include <cstdint>
#include <string>
#include <string_view>

namespace Vesk::Traces {

using Moment = std::int64_t;

// Where model time ends; traces show it as "_".
constexpr Moment FOREVER = 2147483647;
constexpr Moment MILLISECOND = 1000;

// Takes the time at the start of the text away, "_" or a number with "ms". False when there is
// none.
bool takeMoment(std::string_view& text, Moment& moment);

// Without microseconds, as a trace shows it.
Moment cutToMilliseconds(Moment moment);

// In milliseconds, "12" or, when it is exact, "12.345"; "_" for FOREVER.
std::string millisecondsText(Moment moment, bool exact);

// What a recording says of a time; both infinities of the engine are FOREVER. Like those of traces,
// the results can be added and subtracted.
Moment momentOf(std::int64_t microseconds);

}  // namespace Vesk::Traces

#endif
