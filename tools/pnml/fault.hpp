// What makes a document unreadable, and how the texts about it are put together.
#ifndef VESK_PNML_FAULT_HPP
#define VESK_PNML_FAULT_HPP

#include <string>
#include <utility>

#include "net.hpp"

namespace pnml {

// Thrown within the reader only. The text says what is wrong, then what was expected.
class Fault {
 public:
  Fault(Position at, std::string text) : mAt(at), mText(std::move(text)) {}
  Position at() const { return mAt; }
  const std::string& text() const { return mText; }

 private:
  Position mAt;
  std::string mText;
};

// A text of the document between quotes, fit for one line of a terminal: control characters become
// question marks, and a long text is cut.
std::string quoted(const std::string& text);

}  // namespace pnml

#endif
