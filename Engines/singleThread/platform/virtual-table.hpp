// The classes of objects with virtual operations. Private to the engine.
#ifndef VESK_VIRTUAL_TABLE_HPP
#define VESK_VIRTUAL_TABLE_HPP

#include <cstring>

namespace Vesk {

// The table of virtual operations, which tells classes from each other also when a model is built
// without run-time type information: an object with virtual operations begins with its address.
template <class T>
const void* tableOf(const T& object) {
  const void* table;
  std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
  return table;
}

}  // namespace Vesk

#endif
