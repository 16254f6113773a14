// What users type to find labels and texts.
#ifndef VESK_LTS_PATTERN_HPP
#define VESK_LTS_PATTERN_HPP

#include <string>
#include <string_view>
#include <vector>

namespace Vesk::Lts {

// Matches where it occurs in a text: a star stands for any characters, a ^ at the start for the
// start of the text and a $ at the end for its end. All else stands for itself, so that a label can
// be copied as it is.
class Pattern {
 public:
  explicit Pattern(std::string_view pattern);
  bool matches(std::string_view text) const;

 private:
  std::vector<std::string> mParts;  // between the stars, at least one
  bool mFromStart = false;
  bool mToEnd = false;
};

}  // namespace Vesk::Lts

#endif
