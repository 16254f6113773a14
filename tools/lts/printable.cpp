#include "printable.hpp"

namespace Vesk::Lts {

namespace {

constexpr char HEX[] = "0123456789abcdef";

unsigned char byteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

void appendHex(std::string& result, unsigned char byte) {
  result += "\\x";
  result += HEX[byte >> 4];
  result += HEX[byte & 0xF];
}

void appendControl(std::string& result, unsigned char byte) {
  if (byte == '\n') {
    result += "\\n";
  } else if (byte == '\t') {
    result += "\\t";
  } else if (byte == '\r') {
    result += "\\r";
  } else {
    appendHex(result, byte);
  }
}

// How many bytes follow this one in its character; -1 when no character starts with it.
int continuations(unsigned char first) {
  if (first < 0x80) return 0;
  if (first < 0xC2) return -1;
  if (first < 0xE0) return 1;
  if (first < 0xF0) return 2;
  return first < 0xF5 ? 3 : -1;
}

// The second byte rules out surrogates, numbers beyond Unicode and forms that are too long.
bool isSecond(unsigned char first, unsigned char second) {
  if (first == 0xE0) return second >= 0xA0 && second < 0xC0;
  if (first == 0xED) return second >= 0x80 && second < 0xA0;
  if (first == 0xF0) return second >= 0x90 && second < 0xC0;
  if (first == 0xF4) return second >= 0x80 && second < 0x90;
  return second >= 0x80 && second < 0xC0;
}

// The bytes of the UTF-8 character that starts here; 0 when there is none.
std::size_t lengthAt(std::string_view text, std::size_t at) {
  const unsigned char first = byteAt(text, at);
  const int more = continuations(first);
  if (more < 0) return 0;
  const auto length = static_cast<std::size_t>(more) + 1;
  if (length > text.size() - at) return 0;
  if (more > 0 && !isSecond(first, byteAt(text, at + 1))) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if ((byteAt(text, at + i) & 0xC0u) != 0x80u) return 0;
  }
  return length;
}

// The same; 0 when it is none that can be shown.
std::size_t characterAt(std::string_view text, std::size_t at) {
  const unsigned char first = byteAt(text, at);
  const std::size_t length = lengthAt(text, at);
  if (first < 0x20 || first == 0x7F) return 0;
  if (length > 1 && first == 0xC2 && byteAt(text, at + 1) < 0xA0) return 0;  // controls of ISO 8859
  return length;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The byte that an escape of four characters stands for; -1 when there is none.
int escapedByte(std::string_view text, std::size_t at) {
  if (text.size() - at < 4 || text[at] != '\\' || text[at + 1] != 'x') return -1;
  const int high = hexDigit(text[at + 2]);
  const int low = hexDigit(text[at + 3]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = characterAt(text, at);
    if (length == 0) {
      appendControl(result, byteAt(text, at++));
    } else {
      result.append(text, at, length);
      at += length;
    }
  }
  return result;
}

bool isUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = lengthAt(text, at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

std::size_t columns(std::string_view printableText) {
  std::size_t count = 0;
  for (char c : printableText) count += (static_cast<unsigned char>(c) & 0xC0u) != 0x80u;
  return count;
}

std::string padded(const std::string& text, std::size_t width) {
  const std::size_t length = columns(text);
  return text + std::string(length < width ? width - length : 0, ' ');
}

std::string rightAligned(std::uint64_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(digits.size() < width ? width - digits.size() : 0, ' ') + digits;
}

std::string hexEscaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte >= 0x7F || c == '"' || c == '\\') {
      appendHex(result, byte);
    } else {
      result += c;
    }
  }
  return result;
}

std::string hexUnescaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const int byte = escapedByte(text, at);
    if (byte >= 0) {
      result += static_cast<char>(byte);
      at += 3;
    } else if (text[at] == '\\' && at + 1 < text.size() && text[at + 1] == '"') {
      result += text[++at];
    } else {
      result += text[at];
    }
  }
  return result;
}

}  // namespace Vesk::Lts
