// What ends a tool that cannot go on with a model. Private to the plugin.
#ifndef VESK_PINS_FAULT_HPP
#define VESK_PINS_FAULT_HPP

#include <stdexcept>
#include <string>

namespace Vesk::Pins {

class Fault : public std::runtime_error {
 public:
  explicit Fault(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace Vesk::Pins

#endif
