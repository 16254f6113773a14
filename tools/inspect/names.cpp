#include "names.hpp"

#include <cxxabi.h>

#include <cstddef>
#include <cstdlib>

namespace Vesk::Inspect {

namespace {

unsigned char byteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// How many bytes the character has that starts with this one; 0 when none does.
std::size_t lengthOf(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xC2) return 0;
  if (first < 0xE0) return 2;
  if (first < 0xF0) return 3;
  return first < 0xF5 ? 4 : 0;
}

// The second byte rules out surrogates, numbers beyond Unicode and forms that are too long.
bool isSecond(unsigned char first, unsigned char second) {
  if (first == 0xE0 && second < 0xA0) return false;
  if (first == 0xED && second >= 0xA0) return false;
  if (first == 0xF0 && second < 0x90) return false;
  if (first == 0xF4 && second >= 0x90) return false;
  return (second & 0xC0) == 0x80;
}

bool isUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = lengthOf(byteAt(text, at));
    if (length == 0 || length > text.size() - at) return false;
    if (length > 1 && !isSecond(byteAt(text, at), byteAt(text, at + 1))) return false;
    for (std::size_t i = 2; i < length; ++i) {
      if ((byteAt(text, at + i) & 0xC0) != 0x80) return false;
    }
    at += length;
  }
  return true;
}

}  // namespace

std::string utf8(std::string_view bytes) {
  if (isUtf8(bytes)) return std::string(bytes);
  std::string result;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      result += c;
    } else {
      result += static_cast<char>(0xC0 | (byte >> 6));
      result += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return result;
}

std::string readable(const char* mangled) {
  int status = 0;
  char* text = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
  const std::string result = text != nullptr ? text : mangled;
  std::free(text);
  // Models often have their classes in a namespace without name, which says nothing.
  const std::string_view anonymous = "(anonymous namespace)::";
  std::string plain = result;
  for (std::size_t at; (at = plain.find(anonymous)) != std::string::npos;) {
    plain.erase(at, anonymous.size());
  }
  return plain;
}

}  // namespace Vesk::Inspect
