// Sequence diagrams as pictures that need no other program.
#ifndef VESK_TRACE_SVG_SEQUENCE_HPP
#define VESK_TRACE_SVG_SEQUENCE_HPP

#include <string>
#include <vector>

#include "sequence-writer.hpp"

namespace Vesk::Traces {

// Where the columns are is known at the end, so what is drawn is kept until then.
class SvgSequence : public SequenceWriter {
 public:
  using SequenceWriter::SequenceWriter;

 protected:
  void start() override {}
  void addColumn(std::size_t column, const std::string& name) override;
  void addTime(const std::string& text) override;
  void addArrow(std::size_t from, std::size_t to, const std::string& text) override;
  void finish(const std::string& text) override;

 private:
  struct Row {
    bool isTime;
    std::size_t from;
    std::size_t to;
    std::string text;
  };

  void placeColumns();
  void keepApart(std::size_t left, std::size_t right, int distance);
  void writeColumns(int bottom);
  void writeRow(const Row& row, int y);
  void writeArrow(const Row& row, int y);

  std::vector<std::string> mNames;
  std::vector<Row> mRows;
  std::vector<int> mPlaces;  // of the columns, from the left
};

}  // namespace Vesk::Traces

#endif
