// Traces have the bytes of the model's names as they are; recordings and all outputs are UTF-8.
#ifndef VESK_TRACE_UTF8_HPP
#define VESK_TRACE_UTF8_HPP

#include <string>
#include <string_view>

namespace Vesk::Traces {

// The text itself when it is UTF-8. Otherwise each of its bytes is the character of its value, as
// recordings write it.
std::string asUtf8(std::string_view text);

}  // namespace Vesk::Traces

#endif
