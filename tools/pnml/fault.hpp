// What makes a document unreadable, and how the texts about it are put together.
#ifndef VESK_PNML_FAULT_HPP
#define VESK_PNML_FAULT_HPP

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

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

// One behind which nothing in the document can be understood.
class FinalFault : public Fault {
 public:
  using Fault::Fault;
};

// The faults of one document, up to a number that a reader can use.
class Faults {
 public:
  static constexpr std::size_t MOST = 20;

  // Those after the last one that there is room for are left out.
  void add(const Fault& fault) {
    if (!full()) mFaults.push_back(fault);
  }
  bool empty() const { return mFaults.empty(); }
  bool full() const { return mFaults.size() == MOST; }
  // By their positions.
  std::vector<Fault> inOrder() const;

 private:
  std::vector<Fault> mFaults;
};

// A text of the document between quotes, fit for one line of a terminal: control characters become
// question marks, and a long text is cut.
std::string quoted(const std::string& text);

}  // namespace pnml

#endif
