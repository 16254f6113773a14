// What all JSON output has in common.
#ifndef VESK_LTS_JSON_TEXT_HPP
#define VESK_LTS_JSON_TEXT_HPP

#include <nlohmann/json.hpp>
#include <string>

namespace Vesk::Lts {

// The keys stay in the order in which they are given.
using Json = nlohmann::ordered_json;

// Only ASCII; bytes that are not UTF-8 become U+FFFD. An indent of -1 makes one line.
inline std::string jsonText(const Json& json, int indent = -1) {
  return json.dump(indent, ' ', true, Json::error_handler_t::replace);
}

}  // namespace Vesk::Lts

#endif
