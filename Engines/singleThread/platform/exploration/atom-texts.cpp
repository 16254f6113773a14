#include "exploration/atom-texts.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

#include "component.hpp"
#include "exploration/flags.hpp"
#include "exploration/state-shape.hpp"
#include "exploration/state-text.hpp"
#include "markers.hpp"
#include "states.hpp"

namespace Vesk {

namespace {

constexpr std::size_t FEW = 8;
constexpr std::size_t FIRST_SLOTS = 64;

std::uint64_t mix(std::uint64_t word) {
  word ^= word >> 33;
  word *= 0xFF51AFD7ED558CCDu;
  word ^= word >> 33;
  word *= 0xC4CEB9FE1A85EC53u;
  return word ^ (word >> 33);
}

// The text of a leaf, in the leaf itself; null for any other node.
const char* leafText(const Node* node) {
  if (node == nullptr || !node->isLeaf()) return nullptr;
  const Atomleaf* atom = static_cast<const Leaf*>(node)->getAleaf();
  return atom != nullptr ? atom->getVal() : nullptr;
}

AtomTexts::Short shortOf(std::string_view text, std::uint64_t key) {
  AtomTexts::Short start{{}, static_cast<std::uint32_t>(text.size()), key};
  std::copy_n(text.begin(), std::min(text.size(), sizeof start.text), start.text);
  return start;
}

// What getState() has raised, and what the engine raises for a marker. Only leaves are searched.
AtomTexts::Raised raisedFor(Node* node) {
  AtomTexts::Raised raised{global_prune, global_error, contains(node, faulty_leaf), faulty_leaf};
  const Marker marker = markerIn(leafText(node));
  if (marker == Marker::NONE) return raised;
  (marker == Marker::PRUNE ? raised.prune : raised.error) = true;
  raised.leaf = static_cast<Leaf*>(node);
  raised.isOwn = true;
  return raised;
}

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

}  // namespace

bool AtomTexts::Backwards::operator()(std::string_view one, std::string_view other) const {
  return std::lexicographical_compare(one.rbegin(), one.rend(), other.rbegin(), other.rend());
}

AtomTexts::Number AtomTexts::read() {
  const KeptFlags kept;
  clearFlags();
  Tree node(mAtom->getState());
  const char* own = leafText(node.get());
  StateText joined;
  if (own == nullptr) joined.append(node.get());
  const std::string_view text =
      own != nullptr ? std::string_view(own) : std::string_view(joined.data(), joined.length());
  const Number known = find(text);
  return known != count() ? known : add(std::move(node), text);
}

void AtomTexts::restore(Number number) const {
  mAtom->setState(mStates[number].node.get());
}

// ---- Numbers ---------------------------------------------------------------------------------

AtomTexts::Number AtomTexts::find(std::string_view text) const {
  if (!mSlots.empty()) {
    const Number used = mSlots[slotOf(text)];
    return used != 0 ? used - 1 : count();
  }
  Number number = 0;
  while (number < count() && mTexts[number] != text) ++number;
  return number;
}

AtomTexts::Number AtomTexts::add(Tree node, std::string_view text) {
  const Number number = count();
  const Raised raised = raisedFor(node.get());
  mStates.push_back({std::move(node), raised});
  mShorts.push_back(shortOf(text, mix(mix(mPosition + 1) + number)));
  mLongest = std::max(mLongest, text.size());
  mTexts.emplace_back(text);
  compareWithAll(mTexts.back());
  index(number);
  return number;
}

// Where the text is, or would be. Requires: there are slots.
std::size_t AtomTexts::slotOf(std::string_view text) const {
  const std::size_t last = mSlots.size() - 1;
  std::size_t slot = std::hash<std::string_view>()(text) & last;
  while (mSlots[slot] != 0 && mTexts[mSlots[slot] - 1] != text) slot = (slot + 1) & last;
  return slot;
}

void AtomTexts::index(Number number) {
  if (count() <= FEW) return;
  if (2 * std::size_t{count()} <= mSlots.size()) {
    mSlots[slotOf(mTexts[number])] = number + 1;
    return;
  }
  mSlots.assign(std::max(FIRST_SLOTS, 2 * mSlots.size()), 0);
  for (Number each = 0; each < count(); ++each) mSlots[slotOf(mTexts[each])] = each + 1;
}

// ---- Beginnings and ends ---------------------------------------------------------------------

// Among sorted texts of which none begins another one, only the neighbours of a new one can.
void AtomTexts::compareWithAll(std::string_view text) {
  if (mHaveOneLength && text.size() == mTexts.front().size()) return;
  if (mHaveOneLength) sortAll();
  if (mIsPrefixFree) {
    const auto at = mSorted.insert(text).first;
    if (at != mSorted.begin() && startsWith(text, *std::prev(at))) mIsPrefixFree = false;
    if (std::next(at) != mSorted.end() && startsWith(*std::next(at), text)) mIsPrefixFree = false;
  }
  if (mIsSuffixFree) {
    const auto at = mSortedBackwards.insert(text).first;
    if (at != mSortedBackwards.begin() && endsWith(text, *std::prev(at))) mIsSuffixFree = false;
    const auto after = std::next(at);
    if (after != mSortedBackwards.end() && endsWith(*after, text)) mIsSuffixFree = false;
  }
}

// All but the new one, which stands at the end.
void AtomTexts::sortAll() {
  mHaveOneLength = false;
  for (Number number = 0; number + 1 < count(); ++number) {
    mSorted.insert(mTexts[number]);
    mSortedBackwards.insert(mTexts[number]);
  }
}

}  // namespace Vesk
