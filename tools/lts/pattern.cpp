#include "pattern.hpp"

#include "scan.hpp"

namespace Vesk::Lts {

Pattern::Pattern(std::string_view pattern)
    : mFromStart(takePrefix(pattern, "^")), mToEnd(takeSuffix(pattern, "$")) {
  for (;;) {
    const std::size_t star = pattern.find('*');
    mParts.emplace_back(pattern.substr(0, star));
    if (star == std::string_view::npos) return;
    pattern.remove_prefix(star + 1);
  }
}

// The first and the last part may be tied to the ends. Each other one is taken where it comes
// first.
bool Pattern::matches(std::string_view text) const {
  auto first = mParts.begin();
  auto last = mParts.end();
  if (mFromStart && mToEnd && mParts.size() == 1) return text == *first;
  if (mFromStart && !takePrefix(text, *first++)) return false;
  if (mToEnd && !takeSuffix(text, *--last)) return false;
  for (; first != last; ++first) {
    const std::size_t at = text.find(*first);
    if (at == std::string_view::npos) return false;
    text.remove_prefix(at + first->size());
  }
  return true;
}

}  // namespace Vesk::Lts
