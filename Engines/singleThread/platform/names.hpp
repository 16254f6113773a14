// The names of parts in texts. Private to the engine.
#ifndef VESK_NAMES_HPP
#define VESK_NAMES_HPP

namespace Vesk {

// A name, which may be null, as it stands in texts.
inline const char* textOf(const char* name) {
  return name != nullptr ? name : "";
}

}  // namespace Vesk

#endif
