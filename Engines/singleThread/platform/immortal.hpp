// Objects that outlive everything else. Private to the engine.
#ifndef VESK_IMMORTAL_HPP
#define VESK_IMMORTAL_HPP

#include <new>

namespace Vesk {

// As a static variable of a function it is made at the first call and never destroyed, because
// globals of a model may end later. The place is its own, not memory from the heap: it may also be
// asked for by a destructor when there is none left. Requires: T() allocates nothing.
template <class T>
class Immortal {
 public:
  Immortal() noexcept { new (mPlace) T; }

  T& operator*() { return *std::launder(reinterpret_cast<T*>(mPlace)); }

 private:
  alignas(T) unsigned char mPlace[sizeof(T)];
};

}  // namespace Vesk

#endif
