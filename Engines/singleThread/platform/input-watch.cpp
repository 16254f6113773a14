#include "input-watch.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace Vesk {

namespace {

const char UNREADABLE[] = "vesk: standard input cannot be read: %s\n";

bool reported = false;

}  // namespace

InputWatch::InputWatch() {
  errno = 0;
}

// A stream that is not synchronised with stdio has a buffer of its own.
InputWatch::~InputWatch() {
  if (reported || (std::ferror(stdin) == 0 && !std::cin.bad())) return;
  std::fprintf(stderr, UNREADABLE, std::strerror(errno != 0 ? errno : EIO));
  reported = true;
}

}  // namespace Vesk
