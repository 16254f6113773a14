// What makes an input unusable, and how the texts about it are put together.
#ifndef VESK_LTS_FAULT_HPP
#define VESK_LTS_FAULT_HPP

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Vesk::Lts {

// The text is one line for the user: where, what is wrong, what was expected.
class Fault : public std::runtime_error {
 public:
  explicit Fault(const std::string& text) : std::runtime_error(text) {}
  // In a line of a file; lines count from 1.
  Fault(const std::string& file, std::uint64_t line, const std::string& text);
};

// A text of a file between quotes, fit for a message: without control characters, and cut when it
// is long.
std::string inQuotes(std::string_view text);

}  // namespace Vesk::Lts

#endif
