#include "findings.hpp"

namespace Vesk::Inspect {

void Findings::add(const Finding& finding) {
  if (mKnown.insert(finding.place + '\n' + finding.what).second) mFindings.push_back(finding);
}

void Findings::note(const std::string& text) {
  if (mKnown.insert(text).second) mNotes.push_back(text);
}

std::string Findings::text() const {
  std::string text;
  for (const Finding& finding : mFindings) {
    text += finding.place + ": " + finding.what + "\n  why: " + finding.why +
            "\n  do:  " + finding.advice + "\n";
  }
  for (const std::string& note : mNotes) text += "note: " + note + "\n";
  const std::size_t count = mFindings.size();
  return text + (count == 1 ? "1 finding\n" : std::to_string(count) + " findings\n");
}

}  // namespace Vesk::Inspect
