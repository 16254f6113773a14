#include "slot-texts.hpp"

#include <utility>

namespace Vesk::Pins {

std::string_view textOf(const Node* leaf) {
  if (leaf == nullptr) return {};
  const Atomleaf* atom = static_cast<const Leaf*>(leaf)->getAleaf();
  return atom != nullptr && atom->getVal() != nullptr ? atom->getVal() : std::string_view();
}

SlotTexts::Number SlotTexts::number(std::string_view text) {
  const auto known = mNumbers.find(text);
  if (known != mNumbers.end()) return known->second;
  return add(text, std::make_unique<Leaf>(new Atomleaf(std::string(text).c_str())));
}

SlotTexts::Number SlotTexts::number(std::unique_ptr<Node> node) {
  const std::string_view text = textOf(node.get());
  const auto known = mNumbers.find(text);
  return known != mNumbers.end() ? known->second : add(text, std::move(node));
}

SlotTexts::Number SlotTexts::add(std::string_view text, std::unique_ptr<Node> node) {
  const Number number = count();
  mTexts.push_back({std::string(text), std::move(node), Marker::NONE});
  Text& added = mTexts.back();
  added.marker = markerIn(added.text.c_str());
  mHasMarkers = mHasMarkers || added.marker != Marker::NONE;
  mNumbers.emplace(added.text, number);
  return number;
}

}  // namespace Vesk::Pins
