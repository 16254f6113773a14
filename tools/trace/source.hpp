// The lines of a trace or a recording, from a file or from standard input.
#ifndef VESK_TRACE_SOURCE_HPP
#define VESK_TRACE_SOURCE_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lines.hpp"

namespace Vesk::Traces {

class BadLines;

class Source {
 public:
  // "-" is standard input. Throws a Fault when it cannot be opened.
  Source(const std::string& path, Lts::Progress& progress, BadLines& badLines);

  // The next line without its end. The view holds until the next call.
  bool next(std::string_view& line);
  // What next() gives next; empty at the end.
  std::string_view peek();

  // Says that the last line was left out. What must say what was expected.
  void leaveOut(const std::string& what) const;
  // No more lines are wanted.
  void finish() const;

  // Whether a line break ended the last line.
  bool wasWhole() const { return mLines->wasWhole(); }
  std::uint64_t number() const { return mLines->number(); }
  const std::string& name() const { return mLines->path(); }

 private:
  bool read(std::string_view& line);

  BadLines& mBadLines;
  std::optional<Lts::Lines> mLines;  // always there
  bool mHasPeeked = false;           // the next two are what next() will say
  bool mIsThere = false;
  std::string_view mLine;
};

}  // namespace Vesk::Traces

#endif
