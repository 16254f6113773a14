// The texts that one slot of the state vector has held, each with a number. Private to the plugin.
#ifndef VESK_PINS_SLOT_TEXTS_HPP
#define VESK_PINS_SLOT_TEXTS_HPP

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "markers.hpp"
#include "states.hpp"

namespace Vesk::Pins {

// Numbers are this process's own: a text has the next one when it is seen for the first time.
class SlotTexts {
 public:
  using Number = std::uint32_t;

  SlotTexts() = default;
  SlotTexts(SlotTexts&&) = default;

  Number count() const { return static_cast<Number>(mTexts.size()); }
  // The number of a text that another process has found, or this one earlier.
  Number number(std::string_view text);
  // The number of the text of a node that an atom has given. The first node of a text is kept.
  Number number(std::unique_ptr<Node> node);
  const std::string& text(Number number) const { return mTexts[number].text; }
  // What setState() gets for the text.
  Node* node(Number number) const { return mTexts[number].node.get(); }
  Marker marker(Number number) const { return mTexts[number].marker; }
  // There is a text with a marker.
  bool hasMarkers() const { return mHasMarkers; }

 private:
  struct Text {
    std::string text;
    std::unique_ptr<Node> node;
    Marker marker;
  };

  Number add(std::string_view text, std::unique_ptr<Node> node);

  std::deque<Text> mTexts;  // they never move
  std::unordered_map<std::string_view, Number> mNumbers;
  bool mHasMarkers = false;
};

// The text of a leaf; empty when there is no leaf or no text.
std::string_view textOf(const Node* leaf);

}  // namespace Vesk::Pins

#endif
