#include "plain-output.hpp"

#include <charconv>
#include <cstring>
#include <ostream>

namespace Vesk {

namespace {

constexpr std::size_t MAX_DIGITS = 20;  // with the sign

}  // namespace

PlainOutput::PlainOutput(std::ostream& out) : mOut(out) {
  mOut.width(0);
}

const PlainOutput& PlainOutput::operator<<(const char* text) const {
  if (text == nullptr) {
    mOut.setstate(std::ios_base::badbit);
  } else {
    mOut.write(text, static_cast<std::streamsize>(std::strlen(text)));
  }
  return *this;
}

const PlainOutput& PlainOutput::operator<<(char sign) const {
  mOut.put(sign);
  return *this;
}

const PlainOutput& PlainOutput::decimal(long long number) const {
  char digits[MAX_DIGITS];
  const char* end = std::to_chars(digits, digits + MAX_DIGITS, number).ptr;
  mOut.write(digits, end - digits);
  return *this;
}

const PlainOutput& PlainOutput::operator<<(LineEnd) const {
  mOut.put('\n').flush();
  return *this;
}

}  // namespace Vesk
