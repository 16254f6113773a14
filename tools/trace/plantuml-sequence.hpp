// Sequence diagrams for PlantUML.
#ifndef VESK_TRACE_PLANTUML_SEQUENCE_HPP
#define VESK_TRACE_PLANTUML_SEQUENCE_HPP

#include "sequence-writer.hpp"

namespace Vesk::Traces {

class PlantUmlSequence : public SequenceWriter {
 public:
  using SequenceWriter::SequenceWriter;

 protected:
  void start() override;
  void addColumn(std::size_t column, const std::string& name) override;
  void addTime(const std::string& text) override;
  void addArrow(std::size_t from, std::size_t to, const std::string& text) override;
  void finish(const std::string& text) override;
};

}  // namespace Vesk::Traces

#endif
