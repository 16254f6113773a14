// Names as the outputs show them.
#ifndef VESK_INSPECT_NAMES_HPP
#define VESK_INSPECT_NAMES_HPP

#include <string>
#include <string_view>
#include <typeinfo>

namespace Vesk::Inspect {

// Never null.
inline const char* textOf(const char* name) {
  return name != nullptr ? name : "";
}

// The text itself when it is UTF-8. Otherwise each of its bytes is a character, that of the byte's
// value.
std::string utf8(std::string_view bytes);

// A class as its author has written it, from its mangled name.
std::string readable(const char* mangled);

// The class of a part of a model; empty when the model was built without run-time type information.
template <class Part>
std::string className(const Part& part) {
  // The word in front of the table of virtual functions leads to that information.
  const void* const* table = *reinterpret_cast<const void* const* const*>(&part);
  return table[-1] != nullptr ? readable(typeid(part).name()) : std::string();
}

}  // namespace Vesk::Inspect

#endif
