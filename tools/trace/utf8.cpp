#include "utf8.hpp"

#include "printable.hpp"

namespace Vesk::Traces {

std::string asUtf8(std::string_view text) {
  std::string result;
  if (Lts::isUtf8(text)) {
    result = text;
    return result;
  }
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      result += c;
    } else {
      result += static_cast<char>(0xC0u | (byte >> 6));
      result += static_cast<char>(0x80u | (byte & 0x3Fu));
    }
  }
  return result;
}

}  // namespace Vesk::Traces
