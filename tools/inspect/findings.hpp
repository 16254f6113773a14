// What is probably a mistake in a model.
#ifndef VESK_INSPECT_FINDINGS_HPP
#define VESK_INSPECT_FINDINGS_HPP

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace Vesk::Inspect {

// Each one with its place, why it matters, and what to do about it.
struct Finding {
  std::string place;
  std::string what;
  std::string why;
  std::string advice;
};

class Findings {
 public:
  // The same thing at the same place counts once.
  void add(const Finding& finding);
  // What is no mistake, but good to know.
  void note(const std::string& text);

  bool empty() const { return mFindings.empty(); }
  // The number of findings, the findings, the notes.
  std::string text() const;

 private:
  std::vector<Finding> mFindings;
  std::set<std::string> mKnown;  // place and what
  std::vector<std::string> mNotes;
};

}  // namespace Vesk::Inspect

#endif
