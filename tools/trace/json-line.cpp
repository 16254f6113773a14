#include "json-line.hpp"

#include <algorithm>

#include "json-text.hpp"

namespace Vesk::Traces {

namespace {

bool isPlain(char c) {
  return c >= ' ' && c < '\x7F' && c != '"' && c != '\\';
}

}  // namespace

JsonLine& JsonLine::text(std::string_view name, std::string_view value) {
  key(name);
  quote(value);
  return *this;
}

JsonLine& JsonLine::number(std::string_view name, std::int64_t value) {
  key(name);
  mLine += std::to_string(value);
  return *this;
}

JsonLine& JsonLine::object(std::string_view name, std::string_view innerKey,
                           std::string_view value) {
  key(name);
  mLine += JsonLine().text(innerKey, value).finish();
  return *this;
}

void JsonLine::key(std::string_view name) {
  if (mLine.size() > 1) mLine += ',';
  mLine.append("\"").append(name).append("\":");
}

void JsonLine::quote(std::string_view value) {
  if (std::all_of(value.begin(), value.end(), isPlain)) {
    mLine.append("\"").append(value).append("\"");
  } else {
    mLine += Lts::jsonText(Lts::Json(std::string(value)));
  }
}

}  // namespace Vesk::Traces
