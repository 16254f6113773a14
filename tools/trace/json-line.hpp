// An object of JSON as one line, put together as text: millions of them are written.
#ifndef VESK_TRACE_JSON_LINE_HPP
#define VESK_TRACE_JSON_LINE_HPP

#include <cstdint>
#include <string>
#include <string_view>

namespace Vesk::Traces {

// Keys are printable ASCII without quotes.
class JsonLine {
 public:
  JsonLine& text(std::string_view key, std::string_view value);
  JsonLine& number(std::string_view key, std::int64_t value);
  // An object with one text.
  JsonLine& object(std::string_view key, std::string_view innerKey, std::string_view value);
  // The whole object.
  std::string finish() const { return mLine + "}"; }

 private:
  void key(std::string_view key);
  void quote(std::string_view value);

  std::string mLine = "{";
};

}  // namespace Vesk::Traces

#endif
