// The words in the text of an atom that raise a flag. Private to the engine.
#ifndef VESK_MARKERS_HPP
#define VESK_MARKERS_HPP

#include <cstddef>
#include <cstring>

namespace Vesk {

enum class Marker : unsigned char { NONE, PRUNE, ERROR };

// PRUNE has precedence. Null has none. Most texts are shorter than a marker.
inline Marker markerIn(const char* text) {
  if (text == nullptr) return Marker::NONE;
  for (std::size_t i = 0; i < sizeof "PRUNE" - 1; ++i) {
    if (text[i] == '\0') return Marker::NONE;
  }
  if (std::strstr(text, "PRUNE") != nullptr) return Marker::PRUNE;
  return std::strstr(text, "ERROR") != nullptr ? Marker::ERROR : Marker::NONE;
}

}  // namespace Vesk

#endif
