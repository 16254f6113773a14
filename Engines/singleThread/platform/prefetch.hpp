// Memory that is going to be used soon. Private to the engine.
#ifndef VESK_PREFETCH_HPP
#define VESK_PREFETCH_HPP

#include <cstddef>

namespace Vesk {

// How far a walk through a list of parts looks ahead. Less, and a part is not there yet; more, and
// it may be gone again.
constexpr int AHEAD = 3;

// Brings the first bytes of an object into the cache, which a walk from object to object would else
// wait for. Null is allowed. Has no effect that can be seen.
inline void prefetch(const void* object, std::size_t bytes) {
  constexpr std::size_t LINE = 64;
  if (object == nullptr) return;
  for (std::size_t i = 0; i < bytes; i += LINE) {
    __builtin_prefetch(static_cast<const char*>(object) + i);
  }
}

}  // namespace Vesk

#endif
