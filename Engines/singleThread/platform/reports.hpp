// Diagnostics that several sources make. Private to the engine.
#ifndef VESK_REPORTS_HPP
#define VESK_REPORTS_HPP

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace Vesk {

// Reports that something could not be written whole; what is its name, for example "the trace".
inline void reportLost(const char* what) {
  std::fprintf(stderr, "vesk: %s could not be written completely\n", what);
}

// Hands standard output over to the system, and reports when that has failed, now or before.
inline void reportLostOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) reportLost("standard output");
}

// errno says why.
inline void reportUnopened(const char* name) {
  std::fprintf(stderr, "vesk: cannot open %s: %s\n", name, std::strerror(errno));
}

}  // namespace Vesk

#endif
