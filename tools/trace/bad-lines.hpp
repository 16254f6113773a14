// Lines that cannot be read. They are named and left out, or end the work.
#ifndef VESK_TRACE_BAD_LINES_HPP
#define VESK_TRACE_BAD_LINES_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Vesk::Traces {

class BadLines {
 public:
  using Say = std::function<void(const std::string&)>;

  // A strict one throws a Fault at the first bad line. Otherwise the first ten are said, each in a
  // line, and at the end how many more there were.
  BadLines(bool strict, Say say) : mIsStrict(strict), mSay(std::move(say)) {}

  void add(const std::string& file, std::uint64_t line, const std::string& what);
  // No more of this file.
  void finish(const std::string& file);
  std::uint64_t count() const { return mCount; }

 private:
  bool mIsStrict;
  Say mSay;
  std::uint64_t mCount = 0;
};

}  // namespace Vesk::Traces

#endif
