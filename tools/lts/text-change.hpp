// What a step has changed in the text of a state.
#ifndef VESK_LTS_TEXT_CHANGE_HPP
#define VESK_LTS_TEXT_CHANGE_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Vesk::Lts {

struct TextRange {
  std::size_t begin;
  std::size_t end;
};

// The parts of the new text that are not in the old one. The texts are taken as words and the
// characters between them: where both have the same number, each is compared with its counterpart,
// otherwise the changed part is what the same words at the start and at the end leave over.
std::vector<TextRange> changedRanges(std::string_view before, std::string_view after);

// A line with ^ below the ranges of the printable form of the text; empty when there are none.
std::string markLine(std::string_view text, const std::vector<TextRange>& ranges);

}  // namespace Vesk::Lts

#endif
