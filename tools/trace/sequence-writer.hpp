// Sequence diagrams: a column for each atom, an arrow from the first port of an interaction to each
// of the others, and the times between.
#ifndef VESK_TRACE_SEQUENCE_WRITER_HPP
#define VESK_TRACE_SEQUENCE_WRITER_HPP

#include <optional>
#include <string>
#include <vector>

#include "ending.hpp"
#include "run-writer.hpp"

namespace Vesk::Lts {
class OutputFile;
}

namespace Vesk::Traces {

// Goes through the run and leaves it to the derived class how a diagram is written. Texts are
// printable. Columns are numbered in the order in which they appear.
class SequenceWriter : public Writer {
 public:
  // Only the first steps are drawn: a diagram of all cannot be read.
  SequenceWriter(Lts::OutputFile& file, std::uint64_t most) : mFile(file), mMost(most) {}
  void begin(const Run& run) override;
  void step(const Run& run, const Step& step) override;
  void end(const Run& run, const End& end) override;
  std::uint64_t stepsLeftOut() const { return mLeftOut; }

 protected:
  virtual void start() = 0;
  virtual void addColumn(std::size_t column, const std::string& name) = 0;
  virtual void addTime(const std::string& text) = 0;
  virtual void addArrow(std::size_t from, std::size_t to, const std::string& text) = 0;
  virtual void finish(const std::string& text) = 0;

  void write(const std::string& text);
  std::size_t columns() const { return mColumns; }

 private:
  void draw(const Run& run, const Firing& firing);
  std::size_t column(const Run& run, std::size_t part);

  Lts::OutputFile& mFile;
  std::uint64_t mMost;
  std::uint64_t mDrawn = 0;
  std::uint64_t mLeftOut = 0;
  std::size_t mColumns = 0;
  std::vector<std::optional<std::size_t>> mColumnOf;  // by part
  std::optional<Moment> mTime;
  Ending mEnding;
};

}  // namespace Vesk::Traces

#endif
