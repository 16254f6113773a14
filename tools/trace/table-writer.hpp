// One line a step, to read.
#ifndef VESK_TRACE_TABLE_WRITER_HPP
#define VESK_TRACE_TABLE_WRITER_HPP

#include <optional>
#include <string>
#include <vector>

#include "ending.hpp"
#include "pattern.hpp"
#include "run-writer.hpp"

namespace Vesk::Lts {
class OutputFile;
}

namespace Vesk::Traces {

class TableWriter : public Writer {
 public:
  struct Options {
    std::optional<Lts::Pattern> only;   // the steps in which something like that fires
    std::optional<Lts::Pattern> atoms;  // which atoms have a column
    bool hasColour = false;
  };

  TableWriter(Lts::OutputFile& file, Options options) : mFile(file), mOptions(std::move(options)) {}
  void begin(const Run& run) override;
  void step(const Run& run, const Step& step) override;
  void end(const Run& run, const End& end) override;

 private:
  // One for each atom of a recording that is wanted.
  struct Column {
    std::size_t atom;
    std::size_t width;
    std::string state;  // printable
    bool hasChanged = false;
  };

  bool isWanted(const Step& step) const;
  void setStates(const Step& step);
  void writeLine(const std::string& number, const std::string& time, const std::string& since,
                 bool timeHasChanged, const std::string& fired);
  void addStates(std::string& line);
  std::string coloured(const std::string& text, bool hasChanged) const;

  Lts::OutputFile& mFile;
  Options mOptions;
  Ending mEnding;
  std::vector<Column> mColumns;
  std::vector<std::size_t> mColumnOf;  // by atom; NONE: it has no column
  std::optional<Moment> mLast;         // the firing time of the last step
};

}  // namespace Vesk::Traces

#endif
