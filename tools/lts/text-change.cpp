#include "text-change.hpp"

#include "printable.hpp"

namespace Vesk::Lts {

namespace {

constexpr std::string_view SEPARATORS = " \t\n\r,;:|/()[]{}<>=";

std::vector<TextRange> wordsOf(std::string_view text) {
  std::vector<TextRange> words;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = text.find_first_of(SEPARATORS, at);
    if (end == at) ++end;
    if (end == std::string_view::npos) end = text.size();
    words.push_back({at, end});
    at = end;
  }
  return words;
}

std::string_view partOf(std::string_view text, TextRange range) {
  return text.substr(range.begin, range.end - range.begin);
}

void addRange(std::vector<TextRange>& ranges, TextRange range) {
  if (!ranges.empty() && ranges.back().end == range.begin) {
    ranges.back().end = range.end;
  } else {
    ranges.push_back(range);
  }
}

}  // namespace

std::vector<TextRange> changedRanges(std::string_view before, std::string_view after) {
  const std::vector<TextRange> old = wordsOf(before);
  const std::vector<TextRange> now = wordsOf(after);
  const bool sameShape = old.size() == now.size();
  const std::size_t common = old.size() < now.size() ? old.size() : now.size();
  const auto same = [&](std::size_t i, std::size_t j) {
    return partOf(before, old[i]) == partOf(after, now[j]);
  };
  std::size_t first = 0;
  while (first < common && same(first, first)) ++first;
  std::size_t tail = 0;
  while (tail < common - first && same(old.size() - 1 - tail, now.size() - 1 - tail)) ++tail;
  std::vector<TextRange> ranges;
  for (std::size_t i = first; i < now.size() - tail; ++i) {
    if (!sameShape || !same(i, i)) addRange(ranges, now[i]);
  }
  return ranges;
}

std::string markLine(std::string_view text, const std::vector<TextRange>& ranges) {
  std::string line;
  for (const TextRange& range : ranges) {
    line.append(columns(printable(text.substr(0, range.begin))) - line.size(), ' ');
    line.append(columns(printable(partOf(text, range))), '^');
  }
  return line;
}

}  // namespace Vesk::Lts
